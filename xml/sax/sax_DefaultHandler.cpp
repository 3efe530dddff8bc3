// The handler interfaces' destructors and the accept-everything
// DefaultHandler.
#define QUV_SOURCE_NAME "sax_DefaultHandler"
#include <kelp/xml/sax/sax_DefaultHandler.h>

namespace qor::quv::xml::sax {

ContentHandler::~ContentHandler() = default;
DTDHandler::~DTDHandler() = default;
EntityResolver::~EntityResolver() = default;
ErrorHandler::~ErrorHandler() = default;
DeclHandler::~DeclHandler() = default;
LexicalHandler::~LexicalHandler() = default;

DefaultHandler::DefaultHandler() = default;
DefaultHandler::~DefaultHandler() = default;

void DefaultHandler::setDocumentLocator(const Locator&) {}
bool DefaultHandler::startDocument() {
  return true;
}
bool DefaultHandler::endDocument() {
  return true;
}
bool DefaultHandler::startElement(const char*, const char*, const char*, const Attributes&) {
  return true;
}
bool DefaultHandler::endElement(const char*, const char*, const char*) {
  return true;
}
bool DefaultHandler::ignorableWhitespace(const char*) {
  return true;
}
bool DefaultHandler::characters(const char*) {
  return true;
}
bool DefaultHandler::processingInstruction(const char*, const char*) {
  return true;
}
bool DefaultHandler::skippedEntity(const char*) {
  return true;
}
bool DefaultHandler::startPrefixMapping(const char*, const char*) {
  return true;
}
bool DefaultHandler::endPrefixMapping(const char*) {
  return true;
}

bool DefaultHandler::notationDecl(const char*, const char*, const char*) {
  return true;
}
bool DefaultHandler::unparsedEntityDecl(const char*, const char*, const char*, const char*) {
  return true;
}

bool DefaultHandler::resolveEntity(const char*, const char*, InputSource** result) {
  if (result) *result = nullptr;
  return true;
}

bool DefaultHandler::error(const SAXParseException&) {
  return true;
}
bool DefaultHandler::fatalError(const SAXParseException&) {
  return true;
}
bool DefaultHandler::warning(const SAXParseException&) {
  return true;
}

bool DefaultHandler::attributeDecl(const char*, const char*, const char*, const char*,
                                   const char*) {
  return true;
}
bool DefaultHandler::elementDecl(const char*, const char*) {
  return true;
}
bool DefaultHandler::externalEntityDecl(const char*, const char*, const char*) {
  return true;
}
bool DefaultHandler::internalEntityDecl(const char*, const char*) {
  return true;
}

bool DefaultHandler::comment(const char*) {
  return true;
}
bool DefaultHandler::startDTD(const char*, const char*, const char*) {
  return true;
}
bool DefaultHandler::endDTD() {
  return true;
}
bool DefaultHandler::startEntity(const char*) {
  return true;
}
bool DefaultHandler::endEntity(const char*) {
  return true;
}
bool DefaultHandler::startCDATA() {
  return true;
}
bool DefaultHandler::endCDATA() {
  return true;
}

std::string DefaultHandler::getErrorMessage() {
  return std::string();
}

}  // namespace qor::quv::xml::sax
