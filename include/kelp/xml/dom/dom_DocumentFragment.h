/* qor::quv::xml::dom::DocumentFragment: a parentless container of nodes
 * (IDomDocumentFragment), type 11, "#document-fragment".
 *
 * It accepts the children an element accepts and writes them in order.
 * No node accepts a fragment as a child, so inserting one is refused with
 * zob::kDomHierarchyRequest. Same ownership and thread rules as Node;
 * created by Document::createDocumentFragment.
 */
#ifndef KELP_XML_DOM_DOM_DOCUMENTFRAGMENT_H
#define KELP_XML_DOM_DOM_DOCUMENTFRAGMENT_H

#include <string>

#include <kelp/kelp_api.h>
#include <kelp/xml/dom/dom_Node.h>

namespace qor::quv::xml::dom {

class KELP_API DocumentFragment : public Node, public IDomDocumentFragment_Adapter {
 public:
  KELP_DOM_NODE_UNKNOWN

  using Node::getNodeName;
  using Node::getNodeType;
  std::string getNodeName() const override { return "#document-fragment"; }
  int getNodeType() const override { return kDocumentFragmentNode; }
  bool mayInsertNode(Node* child) const override;

 protected:
  friend class Document;
  explicit DocumentFragment(util::WeakRefData* document);
  ~DocumentFragment() override;

  zob::Ref<Node> cloneShallow(util::WeakRefData* document) const override;
};

}  // namespace qor::quv::xml::dom

#endif
