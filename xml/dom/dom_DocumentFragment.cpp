// Document fragments: parentless containers of nodes.
#define QUV_SOURCE_NAME "dom_DocumentFragment"
#include <kelp/xml/dom/dom_DocumentFragment.h>

#include <new>

#include "dom_Node_impl.h"

namespace qor::quv::xml::dom {

DocumentFragment::DocumentFragment(util::WeakRefData* document) : Node(document) {}

DocumentFragment::~DocumentFragment() = default;

ZResult DocumentFragment::queryInterface(const char* iid, zob::IUnknown** out) {
  if (out && zobCompareIID(iid, IDomDocumentFragment::IID)) {
    *out = static_cast<IDomDocumentFragment*>(this);
    nodeAddRef();
    return zob::kOk;
  }
  return Node::queryInterface(iid, out);
}

bool DocumentFragment::mayInsertNode(Node* child) const {
  return detail::isContentChild(child);
}

zob::Ref<Node> DocumentFragment::cloneShallow(util::WeakRefData* document) const {
  return zob::Ref<Node>(new (arenaOf(document)) DocumentFragment(document));
}

}  // namespace qor::quv::xml::dom
