// Elements: tag name, the ordered attribute map and writing.
#define QUV_SOURCE_NAME "dom_Element"
#include <kelp/xml/dom/dom_Element.h>

#include <cstring>
#include <new>
#include <utility>

#include <kelp/xml/dom/dom_AttrNodeMap.h>

#include "dom_Node_impl.h"

namespace qor::quv::xml::dom {

Element::Element(const util::WeakRefBase& document, std::string tagName)
    : Node(document), tagName_(std::move(tagName)), attrMap_(nullptr) {}

Element::~Element() = default;

void Element::releaseOwned() {
  if (AttrNodeMap* map = attrMap_) {
    attrMap_ = nullptr;
    map->detach();
    map->release();
  }
  std::vector<Attr*> attributes;
  attributes.swap(attributes_);
  for (Attr* a : attributes) {
    a->parent_ = nullptr;
    a->release();
  }
  Node::releaseOwned();
}

ZResult Element::queryInterface(const char* iid, zob::IUnknown** out) {
  if (out && zobCompareIID(iid, IDomElement::IID)) {
    *out = static_cast<IDomElement*>(this);
    nodeAddRef();
    return zob::kOk;
  }
  return Node::queryInterface(iid, out);
}

bool Element::mayInsertNode(Node* child) const {
  return detail::isContentChild(child);
}

// ---- the attribute map -------------------------------------------------------

std::size_t Element::lowerBound(const char* name) const {
  std::size_t lo = 0;
  std::size_t hi = attributes_.size();
  while (lo < hi) {
    std::size_t mid = (lo + hi) / 2;
    if (std::strcmp(attributes_[mid]->name_.c_str(), name) < 0)
      lo = mid + 1;
    else
      hi = mid;
  }
  return lo;
}

Attr* Element::find(const char* name) const {
  std::size_t pos = lowerBound(name);
  if (pos < attributes_.size() && attributes_[pos]->name_ == name) return attributes_[pos];
  return nullptr;
}

void Element::insertAttr(Attr* attribute) {
  std::size_t pos = attributes_.size();
  // Attributes often arrive in name order: append without a search.
  if (pos > 0 && attributes_.back()->name_.compare(attribute->name_) >= 0)
    pos = lowerBound(attribute->name_.c_str());
  attributes_.insert(attributes_.begin() + static_cast<std::ptrdiff_t>(pos), attribute);
  attribute->nodeAddRef();
  attribute->parent_ = this;
}

Attr* Element::takeAt(std::size_t pos) {
  Attr* a = attributes_[pos];
  attributes_.erase(attributes_.begin() + static_cast<std::ptrdiff_t>(pos));
  a->parent_ = nullptr;
  return a;
}

std::string Element::getAttribute(const std::string& name) const {
  Attr* a = find(name.c_str());
  return a ? a->value_ : std::string();
}

ZResult Element::setAttribute(const std::string& name, const std::string& value) {
  if (Attr* a = find(name.c_str())) {
    a->value_ = value;
    return zob::kOk;
  }
  Attr* a = new (std::nothrow) Attr(documentRef(), name, value);
  if (!a) return zob::kOutOfMemory;
  insertAttr(a);
  return zob::kOk;
}

void Element::removeAttribute(const std::string& name) {
  std::size_t pos = lowerBound(name.c_str());
  if (pos < attributes_.size() && attributes_[pos]->name_ == name) takeAt(pos)->release();
}

Attr* Element::getAttributeNode(const std::string& name) const {
  return find(name.c_str());
}

bool Element::hasAttribute(const std::string& name) const {
  return find(name.c_str()) != nullptr;
}

void Element::reserveAttributes(int count) {
  if (count > 0) attributes_.reserve(static_cast<std::size_t>(count));
}

Attr* Element::getAttributeAt(int index) const {
  if (index < 0 || static_cast<std::size_t>(index) >= attributes_.size()) return nullptr;
  return attributes_[static_cast<std::size_t>(index)];
}

ZResult Element::setAttributeNode(Attr* attribute, zob::Ref<Attr>* replaced) {
  if (replaced) replaced->reset();
  if (!attribute) return zob::kInvalidArgument;
  if (!sameDocument(attribute)) return zob::kDomWrongDocument;
  if (attribute->parent_ == this) return zob::kOk;  // already here: nothing replaced
  if (attribute->parent_) return zob::kDomInuseAttribute;
  zob::Ref<Attr> hold(attribute);
  std::size_t pos = lowerBound(attribute->name_.c_str());
  if (pos < attributes_.size() && attributes_[pos]->name_ == attribute->name_) {
    zob::Ref<Attr> old = zob::Ref<Attr>::adopt(takeAt(pos));
    if (replaced) *replaced = std::move(old);
  }
  if (needsAdoption(attribute)) attribute->adoptDocument(documentRef());
  insertAttr(attribute);
  return zob::kOk;
}

ZResult Element::removeAttributeNode(Attr* attribute, zob::Ref<Attr>* removed) {
  if (removed) removed->reset();
  if (!attribute) return zob::kInvalidArgument;
  if (attribute->parent_ != this) return zob::kDomNotFound;
  std::size_t pos = lowerBound(attribute->name_.c_str());
  if (pos >= attributes_.size() || attributes_[pos] != attribute) return zob::kDomNotFound;
  zob::Ref<Attr> old = zob::Ref<Attr>::adopt(takeAt(pos));
  if (removed) *removed = std::move(old);
  return zob::kOk;
}

AttrNodeMap* Element::getAttributes() {
  if (!attrMap_) {
    attrMap_ = new (std::nothrow) AttrNodeMap(this);
    if (attrMap_) attrMap_->addRef();
  }
  return attrMap_;
}

void Element::adoptDocument(const util::WeakRefBase& document) {
  Node::adoptDocument(document);
  for (Attr* a : attributes_) a->adoptDocument(document);
}

// ---- writing and copying -----------------------------------------------------

ZResult Element::writeStart(IXMLWriter* writer) {
  ZResult res = writer->startElement(tagName_.c_str(), kFormatInline);
  if (EFAILED(res)) return res;
  for (Attr* a : attributes_) {
    res = writer->stringAttribute(a->name_.c_str(), a->value_.c_str());
    if (EFAILED(res)) return res;
  }
  return zob::kOk;
}

ZResult Element::writeEnd(IXMLWriter* writer) {
  return writer->endElement();
}

zob::Ref<Node> Element::cloneShallow(const util::WeakRefBase& document) const {
  zob::Ref<Element> copy(new (std::nothrow) Element(document, tagName_));
  if (!copy) return {};
  copy->attributes_.reserve(attributes_.size());
  for (Attr* a : attributes_) {
    Attr* c = new (std::nothrow) Attr(document, a->name_, a->value_);
    if (!c) return {};
    // Already in order: append.
    copy->attributes_.push_back(c);
    c->nodeAddRef();
    c->parent_ = copy.get();
  }
  return zob::Ref<Node>(copy.get());
}

// ---- IDomElement -------------------------------------------------------------

ZResult Element::getTagName(char** tagName) {
  return detail::copyOut(tagName_, tagName);
}

ZResult Element::getAttribute(const char* name, char** value) {
  if (!value) return zob::kInvalidArgument;
  Attr* a = find(detail::orEmpty(name));
  return detail::copyOut(a ? a->value_ : std::string(), value);
}

ZResult Element::setAttribute(const char* name, const char* value) {
  name = detail::orEmpty(name);
  value = detail::orEmpty(value);
  if (Attr* a = find(name)) {
    a->value_ = value;
    return zob::kOk;
  }
  Attr* a = new (std::nothrow) Attr(documentRef(), name, value);
  if (!a) return zob::kOutOfMemory;
  insertAttr(a);
  return zob::kOk;
}

ZResult Element::removeAttribute(const char* name) {
  removeAttribute(std::string(detail::orEmpty(name)));
  return zob::kOk;
}

ZResult Element::getAttributeNode(const char* name, IDomAttr** attribute) {
  return detail::interfaceOut<IDomAttr>(find(detail::orEmpty(name)), attribute);
}

namespace {

Attr* attrOf(IDomAttr* attribute) {
  Node* n = Node::fromInterface(attribute);
  return n && n->getNodeType() == kAttributeNode ? static_cast<Attr*>(n) : nullptr;
}

}  // namespace

ZResult Element::setAttributeNode(IDomAttr* attribute, IDomAttr** replaced) {
  if (replaced) *replaced = nullptr;
  if (!attribute) return zob::kInvalidArgument;
  Attr* a = attrOf(attribute);
  if (!a) return zob::kDomWrongDocument;
  zob::Ref<Attr> old;
  ZResult res = setAttributeNode(a, &old);
  if (!EFAILED(res) && replaced) *replaced = old.detach();
  return res;
}

ZResult Element::removeAttributeNode(IDomAttr* attribute, IDomAttr** removed) {
  if (removed) *removed = nullptr;
  if (!attribute) return zob::kInvalidArgument;
  Attr* a = attrOf(attribute);
  if (!a) return zob::kDomNotFound;
  zob::Ref<Attr> old;
  ZResult res = removeAttributeNode(a, &old);
  if (!EFAILED(res) && removed) *removed = old.detach();
  return res;
}

ZResult Element::getElementsByTagName(const char*, IDomNodeList** list) {
  if (list) *list = nullptr;
  return zob::kNotImplemented;
}

ZResult Element::getAttributeNS(const char*, const char*, char** value) {
  if (value) *value = nullptr;
  return zob::kNotImplemented;
}

ZResult Element::setAttributeNS(const char*, const char*, const char*) {
  return zob::kNotImplemented;
}

ZResult Element::removeAttributeNS(const char*, const char*) {
  return zob::kNotImplemented;
}

ZResult Element::getAttributeNodeNS(const char*, const char*, IDomAttr** attribute) {
  if (attribute) *attribute = nullptr;
  return zob::kNotImplemented;
}

ZResult Element::setAttributeNodeNS(IDomAttr*, IDomAttr** replaced) {
  if (replaced) *replaced = nullptr;
  return zob::kNotImplemented;
}

ZResult Element::getElementsByTagNameNS(const char*, const char*, IDomNodeList** list) {
  if (list) *list = nullptr;
  return zob::kNotImplemented;
}

ZResult Element::hasAttribute(const char* name, int* result) {
  if (!result) return zob::kInvalidArgument;
  *result = find(detail::orEmpty(name)) ? 1 : 0;
  return zob::kOk;
}

ZResult Element::hasAttributeNS(const char*, const char*, int* result) {
  if (result) *result = 0;
  return zob::kNotImplemented;
}

}  // namespace qor::quv::xml::dom
