/* qor::quv::xml::dom::Element: an element (IDomElement), type 1, named by
 * its tag name.
 *
 * The element owns its attributes, kept in a map from name to value ordered
 * by name (byte order), which is also the order in which they are listed
 * and written. An attribute costs no node until it is asked for as one
 * (getAttributeNode, getAttributeAt, the AttrNodeMap): that Attr is made
 * then, in the element's current document, and stands for the attribute
 * from then on; getAttributeName and getAttributeValue read an attribute
 * without making it. getAttributes gives the live AttrNodeMap view of the
 * map, made on the first request. Names are not checked against the XML name rules.
 * Namespace operations and getElementsByTagName answer
 * zob::kNotImplemented. Same ownership and thread rules as Node; created by
 * Document::createElement.
 */
#ifndef KELP_XML_DOM_DOM_ELEMENT_H
#define KELP_XML_DOM_DOM_ELEMENT_H

#include <string>
#include <vector>

#include <kelp/kelp_api.h>
#include <kelp/xml/dom/dom_Attr.h>
#include <kelp/xml/dom/dom_Node.h>

namespace qor::quv::xml::dom {

class KELP_API Element : public Node, public IDomElement_Adapter {
 public:
  KELP_DOM_NODE_UNKNOWN

  // IDomElement
  ZResult getTagName(char** tagName) override;
  ZResult getAttribute(const char* name, char** value) override;
  ZResult setAttribute(const char* name, const char* value) override;
  ZResult removeAttribute(const char* name) override;
  ZResult getAttributeNode(const char* name, IDomAttr** attribute) override;
  ZResult setAttributeNode(IDomAttr* attribute, IDomAttr** replaced) override;
  ZResult removeAttributeNode(IDomAttr* attribute, IDomAttr** removed) override;
  ZResult getElementsByTagName(const char* name, IDomNodeList** list) override;
  ZResult getAttributeNS(const char* namespaceURI, const char* localName, char** value) override;
  ZResult setAttributeNS(const char* namespaceURI, const char* qualifiedName,
                         const char* value) override;
  ZResult removeAttributeNS(const char* namespaceURI, const char* localName) override;
  ZResult getAttributeNodeNS(const char* namespaceURI, const char* localName,
                             IDomAttr** attribute) override;
  ZResult setAttributeNodeNS(IDomAttr* attribute, IDomAttr** replaced) override;
  ZResult getElementsByTagNameNS(const char* namespaceURI, const char* localName,
                                 IDomNodeList** list) override;
  ZResult hasAttribute(const char* name, int* result) override;
  ZResult hasAttributeNS(const char* namespaceURI, const char* localName, int* result) override;

  // Native forms
  const std::string& getTagName() const { return tagName_; }
  /* "" when absent. */
  std::string getAttribute(const std::string& name) const;
  /* Sets the value of the attribute, creating it when absent:
   * zob::kOk, or zob::kOutOfMemory (the same codes as the interface form). */
  ZResult setAttribute(const std::string& name, const std::string& value);
  /* Removes the attribute when present (its owner is cleared). */
  void removeAttribute(const std::string& name);
  Attr* getAttributeNode(const std::string& name) const;
  /* Adds `attribute` (of this element's document and without an owner),
   * replacing one of the same name, which is handed back with its owner
   * cleared. Codes: zob::kInvalidArgument for null, zob::kDomWrongDocument,
   * zob::kDomInuseAttribute when it belongs to another element. */
  ZResult setAttributeNode(Attr* attribute, zob::Ref<Attr>* replaced);
  /* zob::kDomNotFound when `attribute` is not one of this element's. */
  ZResult removeAttributeNode(Attr* attribute, zob::Ref<Attr>* removed);
  bool hasAttribute(const std::string& name) const;
  /* The number of attributes and the i-th in name order as a node (made
   * on the first request; null when out of range or out of memory). */
  int getAttributeCount() const { return static_cast<int>(attrCount_); }
  /* Makes room for `count` attributes in one allocation (false when out of
   * memory). */
  bool reserveAttributes(int count);
  Attr* getAttributeAt(int index) const;
  /* The name and value of the i-th attribute in name order, without making
   * a node; `index` must be in range. */
  const std::string& getAttributeName(int index) const { return attrs_[index].name; }
  const std::string& getAttributeValue(int index) const;

  using Node::getAttributes;
  using Node::getNodeName;
  using Node::getNodeType;
  using Node::hasAttributes;
  std::string getNodeName() const override { return tagName_; }
  int getNodeType() const override { return kElementNode; }
  AttrNodeMap* getAttributes() override;
  bool hasAttributes() const override { return attrCount_ != 0; }
  bool mayInsertNode(Node* child) const override;

 protected:
  friend class Document;
  friend class AttrNodeMap;
  Element(util::WeakRefData* document, std::string tagName);
  ~Element() override;

  /* One attribute: its name and, until a node stands for it, its value. */
  struct AttrSlot {
    std::string name;
    std::string value;
    Attr* node;  // counted, made when the attribute is asked for as a node
  };

  ZResult writeStart(IXMLWriter* writer) override;
  ZResult writeEnd(IXMLWriter* writer) override;
  zob::Ref<Node> cloneShallow(util::WeakRefData* document) const override;
  void adoptDocument(util::WeakRefData* document) override;
  void releaseOwned(NodeArena::ReleaseBatch& batch) override;

 private:
  /* The position of `name` in the ordered list, or where it would go. */
  std::size_t lowerBound(const char* name, std::size_t length) const;
  /* The position of `name`, or attrCount_ when absent. */
  std::size_t find(const char* name, std::size_t length) const;
  /* The node standing for the attribute at `pos`, made when missing; null
   * when out of memory. */
  Attr* nodeAt(std::size_t pos);
  /* Sets the value of `name`, adding the attribute at its place. */
  ZResult put(const char* name, std::size_t nameLength, const char* value,
              std::size_t valueLength);
  /* Room for at least `count` attributes. */
  bool growAttrs(std::size_t count);
  /* Opens an empty slot at `pos` (room must exist). */
  AttrSlot& openAt(std::size_t pos);
  /* Takes the attribute at `pos` out; the reference to its node, if any,
   * passes to the caller. */
  Attr* takeAt(std::size_t pos);

  std::string tagName_;
  // The attributes ordered by name: an array placed in the document's
  // arena like the nodes.
  AttrSlot* attrs_ = nullptr;
  std::uint32_t attrCount_ = 0;
  std::uint32_t attrCapacity_ = 0;
  AttrNodeMap* attrMap_;  // counted, made on first request
};

}  // namespace qor::quv::xml::dom

#endif
