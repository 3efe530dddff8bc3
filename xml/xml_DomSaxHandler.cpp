// Building DOM nodes from SAX events.
#define QUV_SOURCE_NAME "xml_DomSaxHandler"
#include <kelp/xml/xml_DomSaxHandler.h>

#include <kelp/util/utl_Logger.h>
#include <kelp/xml/dom/dom_DocumentFragment.h>
#include <kelp/xml/dom/dom_Text.h>
#include <kelp/xml/sax/sax_Attributes.h>
#include <kelp/xml/sax/sax_ParseException.h>
#include <vorn/vorn_placeholder.h>

namespace qor::quv::xml {

namespace {

const char* orEmpty(const char* s) {
  return s ? s : "";
}

// The name a node is made with: the local name, or the qualified name when
// the reader gives no local name (namespace processing off).
const char* nodeName(const char* localName, const char* qName) {
  return localName && *localName ? localName : orEmpty(qName);
}

}  // namespace

DomSaxHandler::DomSaxHandler(fw::IApplication* app, dom::DomImplementation* impl)
    : app_(app), impl_(impl), documentElementPending_(false) {}

DomSaxHandler::DomSaxHandler(fw::IApplication* app, dom::Document* doc)
    : app_(app), document_(doc), documentElementPending_(false) {}

DomSaxHandler::~DomSaxHandler() {
  // In the reverse order of holding.
  cdata_.reset();
  current_.reset();
  root_.reset();
  document_.reset();
  impl_.reset();
  app_.reset();
}

dom::Element* DomSaxHandler::getCurrentElement() const {
  dom::Node* n = current_.get();
  return n && n->getNodeType() == kElementNode ? static_cast<dom::Element*>(n) : nullptr;
}

std::string DomSaxHandler::getErrorMessage() {
  return errorMessage_;
}

bool DomSaxHandler::fail(const std::string& message) {
  errorMessage_ = message;
  return false;
}

bool DomSaxHandler::ensureCurrent() {
  if (current_) return true;
  zob::Ref<dom::DocumentFragment> fragment = document_->createDocumentFragment();
  if (!fragment) return fail("Cannot create document fragment.");
  root_ = zob::Ref<dom::Node>(fragment.get());
  current_ = root_;
  return true;
}

bool DomSaxHandler::startDocument() {
  if (document_) return fail("Start of document within document!");
  if (current_) return fail("Start of document within element!");
  documentElementPending_ = true;
  return true;
}

bool DomSaxHandler::endDocument() {
  if (!document_) return fail("No document element at end of document.");
  if (getCurrentElement())
    return fail("Encountered end of document while still in document element");
  return true;
}

bool DomSaxHandler::startElement(const char* uri, const char* localName, const char* qName,
                                 const sax::Attributes& attributes) {
  // The pending mark stays set: each later element starts a new document.
  if (documentElementPending_) return documentElement(uri, localName, qName, attributes);
  if (!document_) return fail("No document on start of element.");
  if (cdata_) return fail("Start of element within CDATA section!");
  if (!ensureCurrent()) return false;
  if (current_.get() == document_.get() && document_->getDocumentElement())
    return fail("Multiple document elements.");
  const char* name = nodeName(localName, qName);
  zob::Ref<dom::Element> element = document_->createElement(name);
  ZResult res = element ? current_->appendHandingOver(element.get()) : zob::kOutOfMemory;
  if (EFAILED(res))
    return fail(std::string("Cannot append element %1: %2") << name << zobStrError(res));
  // The tree holds the element now; the handler takes it as current node.
  dom::Element* e = element.detach();
  if (!setAttributes(e, attributes)) return false;
  current_ = zob::Ref<dom::Node>(e);
  return true;
}

bool DomSaxHandler::documentElement(const char* uri, const char*, const char* qName,
                                    const sax::Attributes& attributes) {
  if (!impl_) return fail("Cannot create document without DOM implementation.");
  zob::Ref<dom::Document> doc = impl_->createDocument(orEmpty(uri), orEmpty(qName));
  if (!doc) return fail("Cannot create document.");
  document_ = doc;
  dom::Element* root = document_->getDocumentElement();
  if (!setAttributes(root, attributes)) return false;
  root_ = zob::Ref<dom::Node>(root);
  current_ = root_;
  return true;
}

bool DomSaxHandler::setAttributes(dom::Element* element, const sax::Attributes& attributes) {
  if (!element) return fail("Cannot set attributes without an element.");
  const int count = attributes.getLength();
  element->reserveAttributes(count);
  for (int i = 0; i < count; ++i) {
    const char* name = nodeName(attributes.getLocalName(i), attributes.getQName(i));
    ZResult res = element->setAttribute(name, attributes.getValue(i));
    if (EFAILED(res))
      return fail(std::string("Cannot set attribute %1: %2") << name << zobStrError(res));
  }
  return true;
}

bool DomSaxHandler::endElement(const char*, const char*, const char*) {
  if (!document_) return fail("Unexpected end of element with no document.");
  if (cdata_) return fail("End of element within CDATA section!");
  if (!getCurrentElement()) return fail("Unmatched end of element.");
  dom::Node* parent = current_->getParentNode();
  if (!parent) return fail("Internal error: no parent node at end of element.");
  current_ = zob::Ref<dom::Node>(parent);
  return true;
}

bool DomSaxHandler::characters(const char* text) {
  if (!document_) return fail("Character data without document.");
  if (!ensureCurrent()) return false;
  if (current_.get() == document_.get())
    return fail("Character data outside of element or document fragment.");
  if (cdata_) {
    cdata_->appendData(std::string(orEmpty(text)));
    return true;
  }
  zob::Ref<dom::Text> node = document_->createTextNode(orEmpty(text));
  ZResult res = node ? current_->appendHandingOver(node.get()) : zob::kOutOfMemory;
  if (EFAILED(res))
    return fail(std::string("Cannot append character data: %1") << zobStrError(res));
  node.detach();  // the tree's reference now
  return true;
}

bool DomSaxHandler::startCDATA() {
  if (!document_) return fail("CDATA section without document.");
  if (!ensureCurrent()) return false;
  if (current_.get() == document_.get())
    return fail("CDATA section outside of element or document fragment.");
  if (cdata_) return fail("Nested CDATA section.");
  zob::Ref<dom::CDATASection> section = document_->createCDATASection(std::string());
  ZResult res = section ? current_->insertBeforeChecked(section.get(), nullptr) : zob::kOutOfMemory;
  if (EFAILED(res)) return fail(std::string("Cannot append CDATA section: %1") << zobStrError(res));
  cdata_ = section;
  return true;
}

bool DomSaxHandler::endCDATA() {
  if (!cdata_) return fail("Unexpected end of CDATA section.");
  cdata_.reset();
  return true;
}

// All three are debug messages, fatal errors included: the reader reports
// them to the caller, this is only a trace.
bool DomSaxHandler::fatalError(const sax::SAXParseException& exception) {
  util::eDebug(app_.get(), QUV_LOG_CATEGORY,
               std::string("Fatal SAX error: %1[%2]: %3")
                   << exception.getSystemId() << exception.getLineNumber()
                   << exception.getMessage());
  return false;
}

bool DomSaxHandler::error(const sax::SAXParseException& exception) {
  util::eDebug(app_.get(), QUV_LOG_CATEGORY,
               std::string("SAX error: %1[%2]: %3")
                   << exception.getSystemId() << exception.getLineNumber()
                   << exception.getMessage());
  return true;
}

bool DomSaxHandler::warning(const sax::SAXParseException& exception) {
  util::eDebug(app_.get(), QUV_LOG_CATEGORY,
               std::string("SAX warning: %1[%2]: %3")
                   << exception.getSystemId() << exception.getLineNumber()
                   << exception.getMessage());
  return true;
}

}  // namespace qor::quv::xml
