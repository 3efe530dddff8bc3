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

void Element::releaseOwned(NodeArena::ReleaseBatch& batch) {
  if (AttrNodeMap* map = attrMap_) {
    attrMap_ = nullptr;
    map->detach();
    map->release();
  }
  Attr** attributes = attrs_;
  const std::uint32_t count = attrCount_;
  attrs_ = nullptr;
  attrCount_ = attrCapacity_ = 0;
  // Freed here while they are warm, unless somebody else holds them.
  for (std::uint32_t i = 0; i < count; ++i) {
    Attr* a = attributes[i];
    a->parent_ = nullptr;
    if (a->dropTreeRef()) sweep(a, batch);
  }
  batch.add(attributes);
  Node::releaseOwned(batch);
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
  std::size_t hi = attrCount_;
  while (lo < hi) {
    std::size_t mid = (lo + hi) / 2;
    if (std::strcmp(attrs_[mid]->name_.c_str(), name) < 0)
      lo = mid + 1;
    else
      hi = mid;
  }
  return lo;
}

Attr* Element::find(const char* name) const {
  std::size_t pos = lowerBound(name);
  if (pos < attrCount_ && attrs_[pos]->name_ == name) return attrs_[pos];
  return nullptr;
}

bool Element::growAttrs(std::size_t count) {
  if (count <= attrCapacity_) return true;
  if (count > 0x7FFFFFFF) return false;
  if (count < 2 * static_cast<std::size_t>(attrCapacity_)) count = 2 * attrCapacity_;
  NodeArena* arena = arenaOf(documentRef());
  const std::size_t bytes = count * sizeof(Attr*);
  auto** grown =
      static_cast<Attr**>(arena ? arena->allocate(bytes) : NodeArena::allocateAlone(bytes));
  if (!grown) return false;
  if (attrCount_) std::memcpy(grown, attrs_, attrCount_ * sizeof(Attr*));
  NodeArena::release(attrs_);
  attrs_ = grown;
  attrCapacity_ = static_cast<std::uint32_t>(count);
  return true;
}

bool Element::insertAttr(Attr* attribute) {
  if (attrCount_ == attrCapacity_ && !growAttrs(attrCount_ + 1u)) return false;
  std::size_t pos = attrCount_;
  // Attributes often arrive in name order: append without a search.
  if (pos > 0 && attrs_[pos - 1]->name_.compare(attribute->name_) >= 0)
    pos = lowerBound(attribute->name_.c_str());
  std::memmove(attrs_ + pos + 1, attrs_ + pos, (attrCount_ - pos) * sizeof(Attr*));
  attrs_[pos] = attribute;
  ++attrCount_;
  attribute->nodeAddRef();
  attribute->parent_ = this;
  return true;
}

Attr* Element::takeAt(std::size_t pos) {
  Attr* a = attrs_[pos];
  std::memmove(attrs_ + pos, attrs_ + pos + 1, (attrCount_ - pos - 1) * sizeof(Attr*));
  --attrCount_;
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
  Attr* a = new (arenaOf(documentRef())) Attr(documentRef(), name, value);
  if (!a) return zob::kOutOfMemory;
  zob::Ref<Attr> hold(a);  // freed again when it cannot be inserted
  return insertAttr(a) ? zob::kOk : zob::kOutOfMemory;
}

void Element::removeAttribute(const std::string& name) {
  std::size_t pos = lowerBound(name.c_str());
  if (pos < attrCount_ && attrs_[pos]->name_ == name) takeAt(pos)->release();
}

Attr* Element::getAttributeNode(const std::string& name) const {
  return find(name.c_str());
}

bool Element::hasAttribute(const std::string& name) const {
  return find(name.c_str()) != nullptr;
}

bool Element::reserveAttributes(int count) {
  return count <= 0 || growAttrs(static_cast<std::size_t>(count));
}

Attr* Element::getAttributeAt(int index) const {
  if (index < 0 || static_cast<std::uint32_t>(index) >= attrCount_) return nullptr;
  return attrs_[index];
}

ZResult Element::setAttributeNode(Attr* attribute, zob::Ref<Attr>* replaced) {
  if (replaced) replaced->reset();
  if (!attribute) return zob::kInvalidArgument;
  if (!sameDocument(attribute)) return zob::kDomWrongDocument;
  if (attribute->parent_ == this) return zob::kOk;  // already here: nothing replaced
  if (attribute->parent_) return zob::kDomInuseAttribute;
  zob::Ref<Attr> hold(attribute);
  std::size_t pos = lowerBound(attribute->name_.c_str());
  if (pos < attrCount_ && attrs_[pos]->name_ == attribute->name_) {
    zob::Ref<Attr> old = zob::Ref<Attr>::adopt(takeAt(pos));
    if (replaced) *replaced = std::move(old);
  }
  if (needsAdoption(attribute)) attribute->adoptDocument(documentRef());
  return insertAttr(attribute) ? zob::kOk : zob::kOutOfMemory;
}

ZResult Element::removeAttributeNode(Attr* attribute, zob::Ref<Attr>* removed) {
  if (removed) removed->reset();
  if (!attribute) return zob::kInvalidArgument;
  if (attribute->parent_ != this) return zob::kDomNotFound;
  std::size_t pos = lowerBound(attribute->name_.c_str());
  if (pos >= attrCount_ || attrs_[pos] != attribute) return zob::kDomNotFound;
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
  for (std::uint32_t i = 0; i < attrCount_; ++i) attrs_[i]->adoptDocument(document);
}

// ---- writing and copying -----------------------------------------------------

ZResult Element::writeStart(IXMLWriter* writer) {
  ZResult res = writer->startElement(tagName_.c_str(), kFormatInline);
  if (EFAILED(res)) return res;
  for (std::uint32_t i = 0; i < attrCount_; ++i) {
    const Attr* a = attrs_[i];
    res = writer->stringAttribute(a->name_.c_str(), a->value_.c_str());
    if (EFAILED(res)) return res;
  }
  return zob::kOk;
}

ZResult Element::writeEnd(IXMLWriter* writer) {
  return writer->endElement();
}

zob::Ref<Node> Element::cloneShallow(const util::WeakRefBase& document) const {
  zob::Ref<Element> copy(new (arenaOf(document)) Element(document, tagName_));
  if (!copy) return {};
  if (!copy->growAttrs(attrCount_)) return {};
  for (std::uint32_t i = 0; i < attrCount_; ++i) {
    const Attr* a = attrs_[i];
    Attr* c = new (arenaOf(document)) Attr(document, a->name_, a->value_);
    if (!c) return {};
    // Already in order: append.
    copy->attrs_[copy->attrCount_++] = c;
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
  Attr* a = new (arenaOf(documentRef())) Attr(documentRef(), name, value);
  if (!a) return zob::kOutOfMemory;
  zob::Ref<Attr> hold(a);  // freed again when it cannot be inserted
  return insertAttr(a) ? zob::kOk : zob::kOutOfMemory;
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
