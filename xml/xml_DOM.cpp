// Static helpers over the DOM interfaces.
#define QUV_SOURCE_NAME "xml_DOM"
#include <kelp/xml/xml_DOM.h>

#include <cstring>

#include <zob/zob_mem.h>

namespace qor::quv::xml::dom {

namespace {

template <class T>
zob::Ref<T> as(zob::IUnknown* object) {
  zob::Ref<T> r;
  if (object) zob::query(object, r);
  return r;
}

using NodeGetter = ZResult (IDomNode::*)(IDomNode**);

zob::Ref<IDomNode> follow(IDomNode* node, NodeGetter get) {
  zob::Ref<IDomNode> r;
  if (!node) return r;
  IDomNode* out = nullptr;
  if (EFAILED((node->*get)(&out))) {
    if (out) out->_comRelease();
    return r;
  }
  return zob::Ref<IDomNode>::adopt(out);
}

// Owns a string handed out by an interface.
struct Str {
  char* s = nullptr;
  ~Str() { zobFree(s); }
  const char* get() const { return s ? s : ""; }
};

}  // namespace

zob::Ref<IDomNode> DOM::toNode(zob::IUnknown* object) {
  return as<IDomNode>(object);
}

zob::Ref<IDomElement> DOM::toElement(zob::IUnknown* object) {
  return as<IDomElement>(object);
}

zob::Ref<IDomCharacterData> DOM::toCharacterData(zob::IUnknown* object) {
  return as<IDomCharacterData>(object);
}

zob::Ref<IDomText> DOM::toText(zob::IUnknown* object) {
  return as<IDomText>(object);
}

zob::Ref<IDomNode> DOM::getParentNode(IDomNode* node) {
  return follow(node, &IDomNode::getParentNode);
}

zob::Ref<IDomNode> DOM::getParentNode(zob::IUnknown* node) {
  return getParentNode(toNode(node).get());
}

zob::Ref<IDomNode> DOM::getFirstChild(IDomNode* node) {
  return follow(node, &IDomNode::getFirstChild);
}

zob::Ref<IDomNode> DOM::getFirstChild(zob::IUnknown* node) {
  return getFirstChild(toNode(node).get());
}

zob::Ref<IDomNode> DOM::getNextSibling(IDomNode* node) {
  return follow(node, &IDomNode::getNextSibling);
}

zob::Ref<IDomNode> DOM::getNextSibling(zob::IUnknown* node) {
  return getNextSibling(toNode(node).get());
}

zob::Ref<IDomDocument> DOM::getOwnerDocument(IDomNode* node) {
  zob::Ref<IDomDocument> r;
  if (!node) return r;
  IDomDocument* out = nullptr;
  if (EFAILED(node->getOwnerDocument(&out))) {
    if (out) out->_comRelease();
    return r;
  }
  return zob::Ref<IDomDocument>::adopt(out);
}

zob::Ref<IDomDocument> DOM::getOwnerDocument(zob::IUnknown* node) {
  return getOwnerDocument(toNode(node).get());
}

bool DOM::removeChild(IDomNode* parent, zob::IUnknown* child) {
  zob::Ref<IDomNode> c = toNode(child);
  if (!parent || !c) return false;
  zob::Ref<IDomNode> removed;
  return !EFAILED(parent->removeChild(c.get(), removed.out()));
}

bool DOM::removeChild(zob::IUnknown* parent, zob::IUnknown* child) {
  return removeChild(toNode(parent).get(), child);
}

bool DOM::appendChild(IDomNode* parent, zob::IUnknown* child) {
  zob::Ref<IDomNode> c = toNode(child);
  if (!parent || !c) return false;
  zob::Ref<IDomNode> added;
  return !EFAILED(parent->appendChild(c.get(), added.out()));
}

bool DOM::appendChild(zob::IUnknown* parent, zob::IUnknown* child) {
  return appendChild(toNode(parent).get(), child);
}

bool DOM::hasChildNodes(IDomNode* node) {
  int result = 0;
  return node && !EFAILED(node->hasChildNodes(&result)) && result != 0;
}

bool DOM::hasChildNodes(zob::IUnknown* node) {
  return hasChildNodes(toNode(node).get());
}

bool DOM::hasAttributes(IDomNode* node) {
  int result = 0;
  return node && !EFAILED(node->hasAttributes(&result)) && result != 0;
}

bool DOM::hasAttributes(zob::IUnknown* node) {
  return hasAttributes(toNode(node).get());
}

char* DOM::getTagName(IDomElement* element) {
  char* s = nullptr;
  if (!element || EFAILED(element->getTagName(&s))) {
    zobFree(s);
    return nullptr;
  }
  return s;
}

char* DOM::getAttribute(IDomElement* element, const char* name) {
  char* s = nullptr;
  if (!element || EFAILED(element->getAttribute(name, &s))) {
    zobFree(s);
    return nullptr;
  }
  return s;
}

bool DOM::setAttribute(IDomElement* element, const char* name, const char* value) {
  return element && !EFAILED(element->setAttribute(name, value));
}

bool DOM::removeAttribute(IDomElement* element, const char* name) {
  return element && !EFAILED(element->removeAttribute(name));
}

bool DOM::hasAttribute(IDomElement* element, const char* name) {
  int result = 0;
  return element && !EFAILED(element->hasAttribute(name, &result)) && result != 0;
}

bool DOM::setData(IDomCharacterData* data, const char* text) {
  return data && !EFAILED(data->setData(text));
}

bool DOM::setData(IDomText* text, const char* data) {
  return setData(toCharacterData(text).get(), data);
}

char* DOM::getData(IDomCharacterData* data) {
  char* s = nullptr;
  if (!data || EFAILED(data->getData(&s))) {
    zobFree(s);
    return nullptr;
  }
  return s;
}

char* DOM::getData(IDomText* text) {
  return getData(toCharacterData(text).get());
}

zob::Ref<IDomElement> DOM::createElement(IDomDocument* document, const char* name) {
  zob::Ref<IDomElement> r;
  if (!document) return r;
  IDomElement* out = nullptr;
  if (EFAILED(document->createElement(name, &out))) {
    if (out) out->_comRelease();
    return r;
  }
  return zob::Ref<IDomElement>::adopt(out);
}

zob::Ref<IDomText> DOM::createTextNode(IDomDocument* document, const char* text) {
  zob::Ref<IDomText> r;
  if (!document) return r;
  IDomText* out = nullptr;
  if (EFAILED(document->createTextNode(text, &out))) {
    if (out) out->_comRelease();
    return r;
  }
  return zob::Ref<IDomText>::adopt(out);
}

zob::Ref<IDomElement> DOM::getChildElement(IDomNode* parent, const char* name, const char* attrName,
                                           const char* attrValue, bool create) {
  if (!parent || !name || !*name) return {};
  for (zob::Ref<IDomNode> c = getFirstChild(parent); c; c = getNextSibling(c.get())) {
    zob::Ref<IDomElement> e = toElement(c.get());
    if (!e) continue;
    Str tag;
    if (EFAILED(e->getTagName(&tag.s)) || std::strcmp(tag.get(), name) != 0) continue;
    if (attrName) {
      Str value;
      if (EFAILED(e->getAttribute(attrName, &value.s))) continue;
      if (std::strcmp(value.get(), attrValue ? attrValue : "") != 0) continue;
    }
    return e;
  }
  if (!create) return {};
  zob::Ref<IDomElement> e = createElement(getOwnerDocument(parent).get(), name);
  if (!e) return {};
  if (attrName && !setAttribute(e.get(), attrName, attrValue ? attrValue : "")) return {};
  if (!appendChild(parent, e.get())) return {};
  return e;
}

zob::Ref<IDomElement> DOM::getChildElement(IDomNode* parent, const char* name, bool create) {
  return getChildElement(parent, name, nullptr, nullptr, create);
}

bool DOM::setAttribute(IDomNode* parent, const char* childName, const char* attrName,
                       const char* value) {
  zob::Ref<IDomElement> child = getChildElement(parent, childName, true);
  return setAttribute(child.get(), attrName, value);
}

char* DOM::getAttribute(IDomNode* parent, const char* childName, const char* attrName) {
  zob::Ref<IDomElement> child = getChildElement(parent, childName, false);
  return getAttribute(child.get(), attrName);
}

bool DOM::removeAttribute(IDomNode* parent, const char* childName, const char* attrName,
                          bool prune) {
  zob::Ref<IDomElement> child = getChildElement(parent, childName, false);
  if (!removeAttribute(child.get(), attrName)) return false;
  if (!prune) return true;
  zob::Ref<IDomNode> stop = toNode(parent);
  zob::Ref<IDomNode> cur = toNode(child.get());
  while (cur && cur.get() != stop.get() && !hasAttributes(cur.get()) && !hasChildNodes(cur.get())) {
    zob::Ref<IDomNode> up = getParentNode(cur.get());
    if (!up || !removeChild(up.get(), cur.get())) break;
    cur = up;
  }
  return true;
}

}  // namespace qor::quv::xml::dom
