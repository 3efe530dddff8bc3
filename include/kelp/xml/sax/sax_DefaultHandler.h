/* qor::quv::xml::sax::DefaultHandler: accepts everything and goes on.
 *
 * Implements all six handler interfaces: every callback returns true,
 * setDocumentLocator does nothing, resolveEntity sets *result to null (open
 * the system id as a file), getErrorMessage() is "". Errors and warnings
 * are ignored too, so a client that wants them overrides error, fatalError
 * and warning. Holds no state; derive from it and override what you need:
 *
 *   class Titles : public DefaultHandler {
 *     bool characters(const char* chars) override { text_ += chars; return true; }
 *     std::string text_;
 *   };
 */
#ifndef KELP_XML_SAX_SAX_DEFAULTHANDLER_H
#define KELP_XML_SAX_SAX_DEFAULTHANDLER_H

#include <string>

#include <kelp/kelp_api.h>
#include <kelp/xml/sax/sax_ContentHandler.h>
#include <kelp/xml/sax/sax_DTDHandler.h>
#include <kelp/xml/sax/sax_DeclHandler.h>
#include <kelp/xml/sax/sax_EntityResolver.h>
#include <kelp/xml/sax/sax_ErrorHandler.h>
#include <kelp/xml/sax/sax_LexicalHandler.h>

namespace qor::quv::xml::sax {

class KELP_API DefaultHandler : public ContentHandler,
                                public DTDHandler,
                                public EntityResolver,
                                public ErrorHandler,
                                public DeclHandler,
                                public LexicalHandler {
 public:
  DefaultHandler();
  ~DefaultHandler() override;

  // ContentHandler
  void setDocumentLocator(const Locator& locator) override;
  bool startDocument() override;
  bool endDocument() override;
  bool startElement(const char* uri, const char* localName, const char* qName,
                    const Attributes& attributes) override;
  bool endElement(const char* uri, const char* localName, const char* qName) override;
  bool ignorableWhitespace(const char* chars) override;
  bool characters(const char* chars) override;
  bool processingInstruction(const char* target, const char* data) override;
  bool skippedEntity(const char* name) override;
  bool startPrefixMapping(const char* prefix, const char* uri) override;
  bool endPrefixMapping(const char* prefix) override;

  // DTDHandler
  bool notationDecl(const char* name, const char* publicId, const char* systemId) override;
  bool unparsedEntityDecl(const char* name, const char* publicId, const char* systemId,
                          const char* notationName) override;

  // EntityResolver
  bool resolveEntity(const char* publicId, const char* systemId, InputSource** result) override;

  // ErrorHandler
  bool error(const SAXParseException& exception) override;
  bool fatalError(const SAXParseException& exception) override;
  bool warning(const SAXParseException& exception) override;

  // DeclHandler
  bool attributeDecl(const char* elementName, const char* attributeName, const char* type,
                     const char* valueDefault, const char* value) override;
  bool elementDecl(const char* name, const char* model) override;
  bool externalEntityDecl(const char* name, const char* publicId, const char* systemId) override;
  bool internalEntityDecl(const char* name, const char* value) override;

  // LexicalHandler
  bool comment(const char* text) override;
  bool startDTD(const char* name, const char* publicId, const char* systemId) override;
  bool endDTD() override;
  bool startEntity(const char* name) override;
  bool endEntity(const char* name) override;
  bool startCDATA() override;
  bool endCDATA() override;

  // Every interface's getErrorMessage: "".
  std::string getErrorMessage() override;
};

}  // namespace qor::quv::xml::sax

#endif
