// The live view of an element's attributes.
#define QUV_SOURCE_NAME "dom_AttrNodeMap"
#include <kelp/xml/dom/dom_AttrNodeMap.h>

#include <cstdlib>

#include <kelp/xml/dom/dom_Attr.h>
#include <kelp/xml/dom/dom_Element.h>
#include <ktz/ktz_atomic.h>

#include "dom_Node_impl.h"

namespace qor::quv::xml::dom {

AttrNodeMap::AttrNodeMap(Element* element) : element_(element), refs_(0) {}

AttrNodeMap::~AttrNodeMap() = default;

ZResult AttrNodeMap::queryInterface(const char* iid, zob::IUnknown** out) {
  if (!out) return zob::kInvalidArgument;
  if (zobCompareIID(iid, zob::IUnknown::IID) || zobCompareIID(iid, IDomNamedNodeMap::IID)) {
    addRef();
    *out = this;
    return zob::kOk;
  }
  *out = nullptr;
  return zob::kNoInterface;
}

std::uint32_t AttrNodeMap::addRef() {
  return static_cast<std::uint32_t>(ktzAtomicIncrement(&refs_));
}

std::uint32_t AttrNodeMap::release() {
  std::int32_t left = ktzAtomicDecrement(&refs_);
  if (left < 0) std::abort();  // released more often than referenced
  if (left == 0) delete this;
  return static_cast<std::uint32_t>(left);
}

Attr* AttrNodeMap::getNamedItem(const char* name) const {
  return element_ ? element_->getAttributeNode(std::string(detail::orEmpty(name))) : nullptr;
}

Attr* AttrNodeMap::item(int index) const {
  return element_ ? element_->getAttributeAt(index) : nullptr;
}

int AttrNodeMap::getLength() const {
  return element_ ? element_->getAttributeCount() : 0;
}

ZResult AttrNodeMap::getNamedItem(const char* name, IDomNode** node) {
  return detail::interfaceOut<IDomNode>(getNamedItem(name), node);
}

ZResult AttrNodeMap::setNamedItem(IDomNode* node, IDomNode** replaced) {
  if (replaced) *replaced = nullptr;
  if (!node) return zob::kInvalidArgument;
  if (!element_) return zob::kInvalidState;
  Node* n = Node::fromInterface(node);
  if (!n) return zob::kDomWrongDocument;
  if (n->getNodeType() != kAttributeNode) return zob::kDomHierarchyRequest;
  zob::Ref<Attr> old;
  ZResult res = element_->setAttributeNode(static_cast<Attr*>(n), &old);
  if (!EFAILED(res) && replaced) *replaced = static_cast<IDomNode*>(old.detach());
  return res;
}

ZResult AttrNodeMap::removeNamedItem(const char* name, IDomNode** removed) {
  if (removed) *removed = nullptr;
  if (!element_) return zob::kInvalidState;
  Attr* a = getNamedItem(name);
  if (!a) return zob::kDomNotFound;
  zob::Ref<Attr> old;
  ZResult res = element_->removeAttributeNode(a, &old);
  if (!EFAILED(res) && removed) *removed = static_cast<IDomNode*>(old.detach());
  return res;
}

ZResult AttrNodeMap::item(int index, IDomNode** node) {
  return detail::interfaceOut<IDomNode>(item(index), node);
}

ZResult AttrNodeMap::getLength(int* length) {
  if (!length) return zob::kInvalidArgument;
  *length = getLength();
  return zob::kOk;
}

ZResult AttrNodeMap::getNamedItemNS(const char*, const char*, IDomNode** node) {
  if (node) *node = nullptr;
  return zob::kNotImplemented;
}

ZResult AttrNodeMap::setNamedItemNS(IDomNode*, IDomNode** replaced) {
  if (replaced) *replaced = nullptr;
  return zob::kNotImplemented;
}

ZResult AttrNodeMap::removeNamedItemNS(const char*, const char*, IDomNode** removed) {
  if (removed) *removed = nullptr;
  return zob::kNotImplemented;
}

}  // namespace qor::quv::xml::dom
