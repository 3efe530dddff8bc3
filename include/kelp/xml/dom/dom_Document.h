/* qor::quv::xml::dom::Document: a document (IDomDocument), type 9,
 * "#document".
 *
 * The document is the factory of its nodes: they refer to it weakly, so
 * the caller keeps a reference to the document for as long as the tree is
 * used. It carries an identifier, a random UUID made at construction, by
 * which nodes are told apart from other documents' nodes; it is its own
 * owner document. It accepts elements (any number; the first is the
 * document element) and refuses text. Comments, processing instructions,
 * entity references, namespaces, getElementsByTagName and importNode
 * answer zob::kNotImplemented; getElementById always finds nothing.
 * Reference counted like every node, starting at 0; one thread at a time.
 *
 *   zob::Ref<Document> doc = Document::create();
 *   zob::Ref<Element> root = doc->createElement("catalogue");
 *   doc->appendChild(root.get());
 */
#ifndef KELP_XML_DOM_DOM_DOCUMENT_H
#define KELP_XML_DOM_DOM_DOCUMENT_H

#include <string>

#include <kelp/kelp_api.h>
#include <kelp/util/utl_EUUID.h>
#include <kelp/util/utl_WeakRef.h>
#include <kelp/xml/dom/dom_Node.h>

namespace qor::quv::xml::dom {

class Attr;
class CDATASection;
class DocumentFragment;
class DomImplementation;
class Element;
class Text;

class KELP_API Document : public Node, public IDomDocument_Adapter {
 public:
  KELP_DOM_NODE_UNKNOWN

  /* An empty document holding `implementation` (may be null); null when
   * out of memory. */
  static zob::Ref<Document> create(DomImplementation* implementation = nullptr);

  // IDomDocument
  ZResult getDoctype(zob::IUnknown** doctype) override;
  ZResult getImplementation(IDomImplementation** implementation) override;
  ZResult getDocumentElement(IDomElement** element) override;
  ZResult createElement(const char* tagName, IDomElement** element) override;
  ZResult createDocumentFragment(IDomDocumentFragment** fragment) override;
  ZResult createTextNode(const char* data, IDomText** text) override;
  ZResult createComment(const char* data, zob::IUnknown** comment) override;
  ZResult createCDATASection(const char* data, IDomCDATASection** section) override;
  ZResult createProcessingInstruction(const char* target, const char* data,
                                      zob::IUnknown** instruction) override;
  ZResult createAttribute(const char* name, IDomAttr** attribute) override;
  ZResult createEntityReference(const char* name, zob::IUnknown** reference) override;
  ZResult getElementsByTagName(const char* tagName, IDomNodeList** list) override;
  ZResult importNode(IDomNode* node, int deep, IDomNode** imported) override;
  ZResult createElementNS(const char* namespaceURI, const char* qualifiedName,
                          IDomElement** element) override;
  ZResult createAttributeNS(const char* namespaceURI, const char* qualifiedName,
                            IDomAttr** attribute) override;
  ZResult getElementsByTagNameNS(const char* namespaceURI, const char* localName,
                                 IDomNodeList** list) override;
  ZResult getElementById(const char* elementId, IDomElement** element) override;

  // Native forms; the factories answer null when out of memory. New nodes
  // have no parent and belong to this document.
  /* The first child that is an element, or null. */
  Element* getDocumentElement() const;
  DomImplementation* getImplementation() const { return implementation_; }
  zob::Ref<Element> createElement(std::string tagName);
  zob::Ref<DocumentFragment> createDocumentFragment();
  zob::Ref<Text> createTextNode(std::string data);
  zob::Ref<CDATASection> createCDATASection(std::string data);
  zob::Ref<Attr> createAttribute(const std::string& name);
  const util::EUUID& getId() const { return id_; }

  using Node::getDocumentId;
  using Node::getNodeName;
  using Node::getNodeType;
  std::string getNodeName() const override { return "#document"; }
  int getNodeType() const override { return kDocumentNode; }
  util::EUUID getDocumentId() const override { return id_; }
  bool mayInsertNode(Node* child) const override;
  /* Writes the document element; zob::kDomHierarchyRequest without one. */
  ZResult write(IXMLWriter* writer) override;

 protected:
  explicit Document(DomImplementation* implementation);
  ~Document() override;

  zob::Ref<Node> cloneShallow(util::WeakRefData* document) const override;
  void releaseOwned(NodeArena::ReleaseBatch& batch) override;

 private:
  friend class Node;
  util::WeakRefData* anchorData() const { return const_cast<util::WeakRefData*>(anchor_.getData()); }
  util::WeakRefBase anchor_;           // owner handle its nodes copy
  DomImplementation* implementation_;  // counted
  util::EUUID id_;
  NodeArena arena_;  // storage of the nodes it makes
};

}  // namespace qor::quv::xml::dom

#endif
