// Elements: tag name, the ordered attribute map and writing.
#define QUV_SOURCE_NAME "dom_Element"
#include <kelp/xml/dom/dom_Element.h>

#include <cstring>
#include <new>
#include <utility>

#include <kelp/xml/dom/dom_AttrNodeMap.h>

#include "dom_Node_impl.h"

namespace qor::quv::xml::dom {

Element::Element(util::WeakRefData* document, std::string tagName)
    : Node(document), tagName_(std::move(tagName)), attrMap_(nullptr) {}

Element::~Element() = default;

void Element::releaseOwned(NodeArena::ReleaseBatch& batch) {
  if (AttrNodeMap* map = attrMap_) {
    attrMap_ = nullptr;
    map->detach();
    map->release();
  }
  AttrSlot* attributes = attrs_;
  const std::uint32_t count = attrCount_;
  attrs_ = nullptr;
  attrCount_ = attrCapacity_ = 0;
  // Nodes are freed here while they are warm, unless somebody else holds
  // them.
  for (std::uint32_t i = 0; i < count; ++i) {
    if (Attr* a = attributes[i].node) {
      a->parent_ = nullptr;
      if (a->dropTreeRef()) sweep(a, batch);
    }
    attributes[i].~AttrSlot();
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

namespace {

int compareName(const std::string& stored, const char* name, std::size_t length) {
  const std::size_t n = stored.size() < length ? stored.size() : length;
  int c = n ? std::memcmp(stored.data(), name, n) : 0;
  if (c) return c;
  return stored.size() < length ? -1 : stored.size() > length ? 1 : 0;
}

}  // namespace

std::size_t Element::lowerBound(const char* name, std::size_t length) const {
  std::size_t lo = 0;
  std::size_t hi = attrCount_;
  // Attributes often arrive in name order: the end is tried first.
  if (hi && compareName(attrs_[hi - 1].name, name, length) < 0) return hi;
  while (lo < hi) {
    std::size_t mid = (lo + hi) / 2;
    if (compareName(attrs_[mid].name, name, length) < 0)
      lo = mid + 1;
    else
      hi = mid;
  }
  return lo;
}

std::size_t Element::find(const char* name, std::size_t length) const {
  std::size_t pos = lowerBound(name, length);
  if (pos < attrCount_ && compareName(attrs_[pos].name, name, length) == 0) return pos;
  return attrCount_;
}

bool Element::growAttrs(std::size_t count) {
  if (count <= attrCapacity_) return true;
  if (count > 0x7FFFFFF) return false;
  if (count < 2 * static_cast<std::size_t>(attrCapacity_)) count = 2 * attrCapacity_;
  NodeArena* arena = arenaOf(documentRef());
  const std::size_t bytes = count * sizeof(AttrSlot);
  auto* grown =
      static_cast<AttrSlot*>(arena ? arena->allocate(bytes) : NodeArena::allocateAlone(bytes));
  if (!grown) return false;
  for (std::uint32_t i = 0; i < attrCount_; ++i) {
    new (grown + i) AttrSlot(std::move(attrs_[i]));
    attrs_[i].~AttrSlot();
  }
  NodeArena::release(attrs_);
  attrs_ = grown;
  attrCapacity_ = static_cast<std::uint32_t>(count);
  return true;
}

Element::AttrSlot& Element::openAt(std::size_t pos) {
  AttrSlot* end = attrs_ + attrCount_;
  new (end) AttrSlot{std::string(), std::string(), nullptr};
  for (AttrSlot* p = end; p != attrs_ + pos; --p) *p = std::move(p[-1]);
  ++attrCount_;
  AttrSlot& slot = attrs_[pos];
  slot.name.clear();
  slot.value.clear();
  slot.node = nullptr;
  return slot;
}

Attr* Element::takeAt(std::size_t pos) {
  Attr* a = attrs_[pos].node;
  for (std::size_t i = pos + 1; i < attrCount_; ++i) attrs_[i - 1] = std::move(attrs_[i]);
  --attrCount_;
  attrs_[attrCount_].~AttrSlot();
  if (a) a->parent_ = nullptr;
  return a;
}

Attr* Element::nodeAt(std::size_t pos) {
  AttrSlot& slot = attrs_[pos];
  if (!slot.node) {
    // Made in the document the element belongs to now, which may not be the
    // one that placed the element.
    Attr* a = new (arenaOf(documentRef())) Attr(documentRef(), slot.name, std::move(slot.value));
    if (!a) return nullptr;
    slot.value = std::string();
    a->nodeAddRef();
    a->parent_ = this;
    slot.node = a;
  }
  return slot.node;
}

ZResult Element::put(const char* name, std::size_t nameLength, const char* value,
                     std::size_t valueLength) {
  std::size_t pos = lowerBound(name, nameLength);
  if (pos < attrCount_ && compareName(attrs_[pos].name, name, nameLength) == 0) {
    AttrSlot& slot = attrs_[pos];
    (slot.node ? slot.node->value_ : slot.value).assign(value, valueLength);
    return zob::kOk;
  }
  if (attrCount_ == attrCapacity_ && !growAttrs(attrCount_ + 1u)) return zob::kOutOfMemory;
  AttrSlot& slot = openAt(pos);
  slot.name.assign(name, nameLength);
  slot.value.assign(value, valueLength);
  return zob::kOk;
}

const std::string& Element::getAttributeValue(int index) const {
  const AttrSlot& slot = attrs_[index];
  return slot.node ? slot.node->value_ : slot.value;
}

std::string Element::getAttribute(const std::string& name) const {
  std::size_t pos = find(name.data(), name.size());
  return pos < attrCount_ ? getAttributeValue(static_cast<int>(pos)) : std::string();
}

ZResult Element::setAttribute(const std::string& name, const std::string& value) {
  return put(name.data(), name.size(), value.data(), value.size());
}

void Element::removeAttribute(const std::string& name) {
  std::size_t pos = find(name.data(), name.size());
  if (pos < attrCount_) {
    if (Attr* a = takeAt(pos)) a->release();
  }
}

Attr* Element::getAttributeNode(const std::string& name) const {
  std::size_t pos = find(name.data(), name.size());
  return pos < attrCount_ ? const_cast<Element*>(this)->nodeAt(pos) : nullptr;
}

bool Element::hasAttribute(const std::string& name) const {
  return find(name.data(), name.size()) < attrCount_;
}

bool Element::reserveAttributes(int count) {
  return count <= 0 || growAttrs(static_cast<std::size_t>(count));
}

Attr* Element::getAttributeAt(int index) const {
  if (index < 0 || static_cast<std::uint32_t>(index) >= attrCount_) return nullptr;
  return const_cast<Element*>(this)->nodeAt(static_cast<std::size_t>(index));
}

ZResult Element::setAttributeNode(Attr* attribute, zob::Ref<Attr>* replaced) {
  if (replaced) replaced->reset();
  if (!attribute) return zob::kInvalidArgument;
  if (!sameDocument(attribute)) return zob::kDomWrongDocument;
  if (attribute->parent_ == this) return zob::kOk;  // already here: nothing replaced
  if (attribute->parent_) return zob::kDomInuseAttribute;
  const std::string& name = attribute->name_;
  std::size_t pos = lowerBound(name.data(), name.size());
  if (pos < attrCount_ && attrs_[pos].name == name) {
    // The one replaced is handed back as a node, made now when it had none.
    if (replaced) {
      if (!nodeAt(pos)) return zob::kOutOfMemory;
      *replaced = zob::Ref<Attr>::adopt(takeAt(pos));
    } else if (Attr* old = takeAt(pos)) {
      old->release();
    }
  }
  if (attrCount_ == attrCapacity_ && !growAttrs(attrCount_ + 1u)) return zob::kOutOfMemory;
  if (needsAdoption(attribute)) attribute->adoptDocument(documentRef());
  AttrSlot& slot = openAt(pos);
  slot.name = name;
  slot.node = attribute;
  attribute->nodeAddRef();
  attribute->parent_ = this;
  return zob::kOk;
}

ZResult Element::removeAttributeNode(Attr* attribute, zob::Ref<Attr>* removed) {
  if (removed) removed->reset();
  if (!attribute) return zob::kInvalidArgument;
  if (attribute->parent_ != this) return zob::kDomNotFound;
  const std::string& name = attribute->name_;
  std::size_t pos = lowerBound(name.data(), name.size());
  if (pos >= attrCount_ || attrs_[pos].node != attribute) return zob::kDomNotFound;
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

void Element::adoptDocument(util::WeakRefData* document) {
  Node::adoptDocument(document);
  for (std::uint32_t i = 0; i < attrCount_; ++i)
    if (Attr* a = attrs_[i].node) a->adoptDocument(document);
}

// ---- writing and copying -----------------------------------------------------

ZResult Element::writeStart(IXMLWriter* writer) {
  ZResult res = writer->startElement(tagName_.c_str(), kFormatInline);
  if (EFAILED(res)) return res;
  for (std::uint32_t i = 0; i < attrCount_; ++i) {
    res = writer->stringAttribute(attrs_[i].name.c_str(),
                                  getAttributeValue(static_cast<int>(i)).c_str());
    if (EFAILED(res)) return res;
  }
  return zob::kOk;
}

ZResult Element::writeEnd(IXMLWriter* writer) {
  return writer->endElement();
}

zob::Ref<Node> Element::cloneShallow(util::WeakRefData* document) const {
  zob::Ref<Element> copy(new (arenaOf(document)) Element(document, tagName_));
  if (!copy) return {};
  if (!copy->growAttrs(attrCount_)) return {};
  for (std::uint32_t i = 0; i < attrCount_; ++i) {
    // Already in order: append.
    AttrSlot& slot = copy->openAt(i);
    slot.name = attrs_[i].name;
    slot.value = getAttributeValue(static_cast<int>(i));
  }
  return zob::Ref<Node>(copy.get());
}

// ---- IDomElement -------------------------------------------------------------

ZResult Element::getTagName(char** tagName) {
  return detail::copyOut(tagName_, tagName);
}

ZResult Element::getAttribute(const char* name, char** value) {
  if (!value) return zob::kInvalidArgument;
  name = detail::orEmpty(name);
  std::size_t pos = find(name, std::strlen(name));
  return detail::copyOut(
      pos < attrCount_ ? getAttributeValue(static_cast<int>(pos)) : std::string(), value);
}

ZResult Element::setAttribute(const char* name, const char* value) {
  name = detail::orEmpty(name);
  value = detail::orEmpty(value);
  return put(name, std::strlen(name), value, std::strlen(value));
}

ZResult Element::removeAttribute(const char* name) {
  removeAttribute(std::string(detail::orEmpty(name)));
  return zob::kOk;
}

ZResult Element::getAttributeNode(const char* name, IDomAttr** attribute) {
  if (!attribute) return zob::kInvalidArgument;
  name = detail::orEmpty(name);
  std::size_t pos = find(name, std::strlen(name));
  Attr* a = pos < attrCount_ ? nodeAt(pos) : nullptr;
  ZResult res = detail::interfaceOut<IDomAttr>(a, attribute);
  return pos < attrCount_ && !a ? zob::kOutOfMemory : res;
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
  name = detail::orEmpty(name);
  *result = find(name, std::strlen(name)) < attrCount_ ? 1 : 0;
  return zob::kOk;
}

ZResult Element::hasAttributeNS(const char*, const char*, int* result) {
  if (result) *result = 0;
  return zob::kNotImplemented;
}

}  // namespace qor::quv::xml::dom
