/* qor::quv::xml::sax::XMLReader: the abstract event-driven XML reader.
 *
 * A reader never owns its handlers: the getters and setters trade raw
 * pointers that must outlive the parse. Both parse operations return true
 * when the whole document was read and every callback returned true.
 * Derived readers fill the otherwise read-only Attributes handed to
 * startElement through reserveAttributes and addAttribute.
 *
 *   reader->setContentHandler(&handler);
 *   reader->setErrorHandler(&handler);
 *   bool ok = reader->parse("catalogue.xml");
 */
#ifndef KELP_XML_SAX_SAX_XMLREADER_H
#define KELP_XML_SAX_SAX_XMLREADER_H

#include <string>

#include <kelp/kelp_api.h>
#include <kelp/xml/sax/sax_Attributes.h>
#include <kelp/xml/sax/sax_ContentHandler.h>
#include <kelp/xml/sax/sax_DTDHandler.h>
#include <kelp/xml/sax/sax_DeclHandler.h>
#include <kelp/xml/sax/sax_EntityResolver.h>
#include <kelp/xml/sax/sax_ErrorHandler.h>
#include <kelp/xml/sax/sax_LexicalHandler.h>

namespace qor::quv::xml::sax {

class InputSource;

class KELP_API XMLReader {
 public:
  virtual ~XMLReader();

  virtual void setContentHandler(ContentHandler* handler) = 0;
  virtual ContentHandler* getContentHandler() const = 0;
  virtual void setDTDHandler(DTDHandler* handler) = 0;
  virtual DTDHandler* getDTDHandler() const = 0;
  virtual void setEntityResolver(EntityResolver* resolver) = 0;
  virtual EntityResolver* getEntityResolver() const = 0;
  virtual void setErrorHandler(ErrorHandler* handler) = 0;
  virtual ErrorHandler* getErrorHandler() const = 0;
  virtual void setDeclHandler(DeclHandler* handler) = 0;
  virtual DeclHandler* getDeclHandler() const = 0;
  virtual void setLexicalHandler(LexicalHandler* handler) = 0;
  virtual LexicalHandler* getLexicalHandler() const = 0;

  virtual void setFeature(const std::string& name, bool value) = 0;
  virtual bool getFeature(const std::string& name) = 0;
  virtual bool hasFeature(const std::string& name) = 0;

  /* Reads a document from input, which stays the caller's. */
  virtual bool parse(InputSource* input) = 0;
  /* Reads the document in the file systemId. */
  virtual bool parse(const std::string& systemId) = 0;

 protected:
  /* Makes room for count attributes in *attributes. */
  void reserveAttributes(Attributes* attributes, unsigned count);
  /* Empties *attributes but keeps its storage, so that a reader can fill
   * one list for every start tag without allocating. A handler that kept a
   * copy of the handle sees the change; it must not keep one anyway, since
   * the strings end with the callback. */
  void clearAttributes(Attributes* attributes);
  /* Appends an attribute to *attributes; the strings are borrowed and must
   * stay valid while handlers see the list. A null string counts as "". */
  void addAttribute(Attributes* attributes, const char* uri, const char* localName,
                    const char* qName, const char* type, const char* value);
};

}  // namespace qor::quv::xml::sax

#endif
