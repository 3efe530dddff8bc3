// Attributes: name, value and owner element.
#define QUV_SOURCE_NAME "dom_Attr"
#include <kelp/xml/dom/dom_Attr.h>

#include <new>
#include <utility>

#include <kelp/xml/dom/dom_Element.h>

#include "dom_Node_impl.h"

namespace qor::quv::xml::dom {

Attr::Attr(util::WeakRefData* document, std::string name, std::string value)
    : Node(document), name_(std::move(name)), value_(std::move(value)) {}

Attr::~Attr() = default;

ZResult Attr::queryInterface(const char* iid, zob::IUnknown** out) {
  if (out && zobCompareIID(iid, IDomAttr::IID)) {
    *out = static_cast<IDomAttr*>(this);
    nodeAddRef();
    return zob::kOk;
  }
  return Node::queryInterface(iid, out);
}

Element* Attr::getOwnerElement() const {
  return static_cast<Element*>(parent_);
}

bool Attr::mayInsertNode(Node* child) const {
  int type = child ? child->getNodeType() : 0;
  return type == kTextNode || type == kEntityReferenceNode;
}

ZResult Attr::write(IXMLWriter* writer) {
  if (!writer) return zob::kInvalidArgument;
  return writer->stringAttribute(name_.c_str(), value_.c_str());
}

zob::Ref<Node> Attr::cloneShallow(util::WeakRefData* document) const {
  return zob::Ref<Node>(new (arenaOf(document)) Attr(document, name_, value_));
}

ZResult Attr::getName(char** name) {
  return detail::copyOut(name_, name);
}

ZResult Attr::getSpecified(int* specified) {
  if (!specified) return zob::kInvalidArgument;
  *specified = specified_ ? 1 : 0;
  return zob::kOk;
}

ZResult Attr::getValue(char** value) {
  return detail::copyOut(value_, value);
}

ZResult Attr::setValue(const char* value) {
  value_ = detail::orEmpty(value);
  return zob::kOk;
}

ZResult Attr::getOwnerElement(IDomElement** element) {
  return detail::interfaceOut<IDomElement>(getOwnerElement(), element);
}

}  // namespace qor::quv::xml::dom
