/* qor::quv::xml::sax::ContentHandler: the document's content as events.
 *
 * Every callback but setDocumentLocator returns true to go on and false to
 * stop the parse at once; the reader then asks getErrorMessage() for the
 * text of the fatal error it reports. Strings are zero-terminated, in the
 * reader's output encoding, and valid only during the call. Character data
 * comes as one zero-terminated string per call.
 *
 * Order during one parse: setDocumentLocator once (a snapshot at line 1,
 * column 0 that does not move), startDocument, the document's events,
 * endDocument exactly once (also after a failure). Prefix mappings come
 * before the startElement of their element and are unmapped after its
 * endElement. */
#ifndef KELP_XML_SAX_SAX_CONTENTHANDLER_H
#define KELP_XML_SAX_SAX_CONTENTHANDLER_H

#include <string>

#include <kelp/kelp_api.h>
#include <kelp/xml/sax/sax_Attributes.h>
#include <kelp/xml/sax/sax_Locator.h>

namespace qor::quv::xml::sax {

class KELP_API ContentHandler {
 public:
  virtual ~ContentHandler();

  virtual void setDocumentLocator(const Locator& locator) = 0;
  virtual bool startDocument() = 0;
  virtual bool endDocument() = 0;
  virtual bool startElement(const char* uri, const char* localName, const char* qName,
                            const Attributes& attributes) = 0;
  virtual bool endElement(const char* uri, const char* localName, const char* qName) = 0;
  virtual bool ignorableWhitespace(const char* chars) = 0;
  virtual bool characters(const char* chars) = 0;
  virtual bool processingInstruction(const char* target, const char* data) = 0;
  virtual bool skippedEntity(const char* name) = 0;
  virtual bool startPrefixMapping(const char* prefix, const char* uri) = 0;
  virtual bool endPrefixMapping(const char* prefix) = 0;
  /* The text of the fatal error after a callback returned false. */
  virtual std::string getErrorMessage() = 0;
};

}  // namespace qor::quv::xml::sax

#endif
