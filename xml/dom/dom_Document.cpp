// Documents: the factory of nodes, the document element and the identifier.
#define QUV_SOURCE_NAME "dom_Document"
#include <kelp/xml/dom/dom_Document.h>

#include <new>
#include <utility>

#include <kelp/xml/dom/dom_Attr.h>
#include <kelp/xml/dom/dom_CDATASection.h>
#include <kelp/xml/dom/dom_DocumentFragment.h>
#include <kelp/xml/dom/dom_Element.h>
#include <kelp/xml/dom/dom_Implementation.h>
#include <kelp/xml/dom/dom_Text.h>

#include "dom_Node_impl.h"

namespace qor::quv::xml::dom {

Document::Document(DomImplementation* implementation)
    : Node(nullptr), anchor_(this), implementation_(implementation) {
  // The node part refers to the document like every other node does.
  Node::adoptDocument(anchorData());
  arena_.setDocument(anchorData());
  if (implementation_) implementation_->addRef();
  id_.create();
}

Document::~Document() = default;

void Document::releaseOwned(NodeArena::ReleaseBatch& batch) {
  Node::releaseOwned(batch);
  if (DomImplementation* impl = implementation_) {
    implementation_ = nullptr;
    impl->release();
  }
}

zob::Ref<Document> Document::create(DomImplementation* implementation) {
  return zob::Ref<Document>(new (std::nothrow) Document(implementation));
}

ZResult Document::queryInterface(const char* iid, zob::IUnknown** out) {
  if (out && zobCompareIID(iid, IDomDocument::IID)) {
    *out = static_cast<IDomDocument*>(this);
    nodeAddRef();
    return zob::kOk;
  }
  return Node::queryInterface(iid, out);
}

bool Document::mayInsertNode(Node* child) const {
  switch (child ? child->getNodeType() : 0) {
    case kElementNode:
    case kProcessingInstructionNode:
    case kCommentNode:
    case kDocumentTypeNode:
      return true;
    default:
      return false;
  }
}

Element* Document::getDocumentElement() const {
  for (Node* c = getFirstChild(); c; c = c->getNextSibling())
    if (c->getNodeType() == kElementNode) return static_cast<Element*>(c);
  return nullptr;
}

zob::Ref<Element> Document::createElement(std::string tagName) {
  return zob::Ref<Element>(new (&arena_) Element(anchorData(), std::move(tagName)));
}

zob::Ref<DocumentFragment> Document::createDocumentFragment() {
  return zob::Ref<DocumentFragment>(new (&arena_) DocumentFragment(anchorData()));
}

zob::Ref<Text> Document::createTextNode(std::string data) {
  return zob::Ref<Text>(new (&arena_) Text(anchorData(), std::move(data)));
}

zob::Ref<CDATASection> Document::createCDATASection(std::string data) {
  return zob::Ref<CDATASection>(new (&arena_) CDATASection(anchorData(), std::move(data)));
}

zob::Ref<Attr> Document::createAttribute(const std::string& name) {
  return zob::Ref<Attr>(new (&arena_) Attr(anchorData(), name, std::string()));
}

ZResult Document::write(IXMLWriter* writer) {
  if (!writer) return zob::kInvalidArgument;
  Element* root = getDocumentElement();
  if (!root) return zob::kDomHierarchyRequest;
  return root->write(writer);
}

zob::Ref<Node> Document::cloneShallow(util::WeakRefData*) const {
  return zob::Ref<Node>(new (std::nothrow) Document(implementation_));
}

// ---- IDomDocument ------------------------------------------------------------

ZResult Document::getDoctype(zob::IUnknown** doctype) {
  if (!doctype) return zob::kInvalidArgument;
  *doctype = nullptr;
  return zob::kOk;
}

ZResult Document::getImplementation(IDomImplementation** implementation) {
  return detail::interfaceOut<IDomImplementation>(implementation_, implementation);
}

ZResult Document::getDocumentElement(IDomElement** element) {
  return detail::interfaceOut<IDomElement>(getDocumentElement(), element);
}

ZResult Document::createElement(const char* tagName, IDomElement** element) {
  return detail::newOut<IDomElement>(createElement(std::string(detail::orEmpty(tagName))), element);
}

ZResult Document::createDocumentFragment(IDomDocumentFragment** fragment) {
  return detail::newOut<IDomDocumentFragment>(createDocumentFragment(), fragment);
}

ZResult Document::createTextNode(const char* data, IDomText** text) {
  return detail::newOut<IDomText>(createTextNode(std::string(detail::orEmpty(data))), text);
}

ZResult Document::createComment(const char*, zob::IUnknown** comment) {
  if (comment) *comment = nullptr;
  return zob::kNotImplemented;
}

ZResult Document::createCDATASection(const char* data, IDomCDATASection** section) {
  return detail::newOut<IDomCDATASection>(createCDATASection(std::string(detail::orEmpty(data))),
                                          section);
}

ZResult Document::createProcessingInstruction(const char*, const char*,
                                              zob::IUnknown** instruction) {
  if (instruction) *instruction = nullptr;
  return zob::kNotImplemented;
}

ZResult Document::createAttribute(const char* name, IDomAttr** attribute) {
  return detail::newOut<IDomAttr>(createAttribute(std::string(detail::orEmpty(name))), attribute);
}

ZResult Document::createEntityReference(const char*, zob::IUnknown** reference) {
  if (reference) *reference = nullptr;
  return zob::kNotImplemented;
}

ZResult Document::getElementsByTagName(const char*, IDomNodeList** list) {
  if (list) *list = nullptr;
  return zob::kNotImplemented;
}

ZResult Document::importNode(IDomNode*, int, IDomNode** imported) {
  if (imported) *imported = nullptr;
  return zob::kNotImplemented;
}

ZResult Document::createElementNS(const char*, const char*, IDomElement** element) {
  if (element) *element = nullptr;
  return zob::kNotImplemented;
}

ZResult Document::createAttributeNS(const char*, const char*, IDomAttr** attribute) {
  if (attribute) *attribute = nullptr;
  return zob::kNotImplemented;
}

ZResult Document::getElementsByTagNameNS(const char*, const char*, IDomNodeList** list) {
  if (list) *list = nullptr;
  return zob::kNotImplemented;
}

ZResult Document::getElementById(const char*, IDomElement** element) {
  if (!element) return zob::kInvalidArgument;
  *element = nullptr;
  return zob::kOk;
}

}  // namespace qor::quv::xml::dom
