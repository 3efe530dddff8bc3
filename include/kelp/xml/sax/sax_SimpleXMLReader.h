/* SimpleXMLReader: the library's non-validating XML reader.
 *
 * It turns a byte stream into SAX events for the handlers set on it. Every
 * problem is fatal: it goes to ErrorHandler::fatalError with the position of
 * the input being read, and parse() returns false after endDocument.
 *
 *   SimpleXMLReader reader(app);
 *   reader.setFeature(SimpleXMLReader::UseUTF8, true);
 *   reader.setContentHandler(&myHandler);
 *   reader.setErrorHandler(&myHandler);
 *   bool ok = reader.parse("/path/catalogue.xml");
 *
 * Strings handed to handlers live until the end of the element in which they
 * occur (element names, attributes, namespace strings) or until the callback
 * returns (character data, comments, processing instructions); handlers copy
 * what they keep. The element grammar works with an explicit stack of open
 * elements, so nesting depth is bounded by memory, not by the call stack.
 *
 * One reader may read many documents one after another; it is not meant for
 * concurrent use. Handlers are borrowed, never owned. */
#ifndef KELP_XML_SAX_SAX_SIMPLEXMLREADER_H
#define KELP_XML_SAX_SAX_SIMPLEXMLREADER_H

#include <string>

#include <fw/fw_IApplication.h>
#include <kelp/kelp_api.h>
#include <kelp/xml/sax/sax_XMLReader.h>

namespace qor::quv::xml::sax {

class KELP_API SimpleXMLReader : public XMLReader {
 public:
  /* The SAX2 features "namespaces" and "namespace-prefixes". */
  static const char* const Namespaces;
  static const char* const NamespacePrefixes;
  /* The reader's own features: deliver all text in UTF-8 instead of the
   * locale's charset, and look undeclared entity names up in the HTML 4
   * entity set. */
  static const char* const UseUTF8;
  static const char* const HTML4Entities;

  /* app receives debug messages and assertions; it may be null. */
  explicit SimpleXMLReader(fw::IApplication* app);
  ~SimpleXMLReader() override;
  SimpleXMLReader(const SimpleXMLReader&) = delete;
  SimpleXMLReader& operator=(const SimpleXMLReader&) = delete;

  void setContentHandler(ContentHandler* handler) override;
  ContentHandler* getContentHandler() const override;
  void setDTDHandler(DTDHandler* handler) override;
  DTDHandler* getDTDHandler() const override;
  void setEntityResolver(EntityResolver* resolver) override;
  EntityResolver* getEntityResolver() const override;
  void setErrorHandler(ErrorHandler* handler) override;
  ErrorHandler* getErrorHandler() const override;
  void setDeclHandler(DeclHandler* handler) override;
  DeclHandler* getDeclHandler() const override;
  void setLexicalHandler(LexicalHandler* handler) override;
  LexicalHandler* getLexicalHandler() const override;

  /* Exactly the four features above are known; other names change nothing
   * (setFeature) or read as false (getFeature), with a debug message. */
  void setFeature(const std::string& name, bool value) override;
  bool getFeature(const std::string& name) override;
  bool hasFeature(const std::string& name) override;

  /* Reads one document from input, which stays the caller's. */
  bool parse(InputSource* input) override;
  /* Reads the file at systemId. */
  bool parse(const std::string& systemId) override;

 private:
  struct Data;
  Data* d;
};

}  // namespace qor::quv::xml::sax

#endif
