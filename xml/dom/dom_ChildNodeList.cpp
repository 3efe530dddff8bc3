// The live list of a node's children.
#define QUV_SOURCE_NAME "dom_ChildNodeList"
#include <kelp/xml/dom/dom_ChildNodeList.h>

#include <cstdlib>

#include <kelp/xml/dom/dom_Node.h>
#include <ktz/ktz_atomic.h>

#include "dom_Node_impl.h"

namespace qor::quv::xml::dom {

ChildNodeList::ChildNodeList(Node* node) : node_(node), refs_(0) {}

ChildNodeList::~ChildNodeList() = default;

ZResult ChildNodeList::queryInterface(const char* iid, zob::IUnknown** out) {
  if (!out) return zob::kInvalidArgument;
  if (zobCompareIID(iid, zob::IUnknown::IID) || zobCompareIID(iid, IDomNodeList::IID)) {
    addRef();
    *out = this;
    return zob::kOk;
  }
  *out = nullptr;
  return zob::kNoInterface;
}

std::uint32_t ChildNodeList::addRef() {
  return static_cast<std::uint32_t>(ktzAtomicIncrement(&refs_));
}

std::uint32_t ChildNodeList::release() {
  std::int32_t left = ktzAtomicDecrement(&refs_);
  if (left < 0) std::abort();  // released more often than referenced
  if (left == 0) delete this;
  return static_cast<std::uint32_t>(left);
}

Node* ChildNodeList::item(int index) const {
  if (!node_ || index < 0) return nullptr;
  Node* c = node_->getFirstChild();
  for (; c && index > 0; --index) c = c->getNextSibling();
  return c;
}

int ChildNodeList::getLength() const {
  int n = 0;
  if (node_)
    for (Node* c = node_->getFirstChild(); c; c = c->getNextSibling()) ++n;
  return n;
}

ZResult ChildNodeList::item(int index, IDomNode** node) {
  return detail::interfaceOut<IDomNode>(item(index), node);
}

ZResult ChildNodeList::getLength(int* length) {
  if (!length) return zob::kInvalidArgument;
  *length = getLength();
  return zob::kOk;
}

}  // namespace qor::quv::xml::dom
