/* qor::quv::xml::CanonicalWriter: writes the SAX events of one document in
 * canonical XML form, the form in which XML test suites give the expected
 * output of a parser.
 *
 *   - the document element and every processing instruction, those of the
 *     document type declaration included, in document order; no XML
 *     declaration, no comments, no document type (but see the second form
 *     below, which puts its declaration behind the processing instructions
 *     of the internal subset);
 *   - start tags as "<" name, then the attributes sorted by name (byte-wise,
 *     which for UTF-8 is code point order) as ' name="value"', then ">";
 *     empty elements as a start and an end tag;
 *   - processing instructions as "<?" target " " data "?>", the space
 *     written even for empty data;
 *   - in character data and attribute values '&', '<', '>', '"', tab, line
 *     feed and carriage return written as "&amp;", "&lt;", "&gt;", "&quot;",
 *     "&#9;", "&#10;" and "&#13;", everything else as it comes;
 *   - CDATA sections as plain (escaped) text.
 *
 * The second form adds, where the document type declared notations, a
 * document type declaration in place of the original one that holds only
 * the notations, sorted by name:
 *
 *   <!DOCTYPE doc [
 *   <!NOTATION n PUBLIC 'pubid' 'sysid'>
 *   ]>
 *
 * The writer is a DefaultHandler: set it as the reader's content, DTD and
 * lexical handler. Text is written in the reader's output encoding as it
 * comes (turn the reader's use-utf8 feature on for UTF-8 output).
 *
 *   std::string out;
 *   CanonicalWriter canon(&out);
 *   reader.setContentHandler(&canon);
 *   reader.setDTDHandler(&canon);
 *   reader.setLexicalHandler(&canon);
 *   reader.parse(path);
 *
 * A writer may serve one document after another; each startDocument starts
 * afresh (a string target is not emptied: the caller does that). A stream
 * that fails makes the next callback return false, which stops the parse
 * with "failed to write canonical XML". One thread at a time. */
#ifndef KELP_XML_XML_CANONICALWRITER_H
#define KELP_XML_XML_CANONICALWRITER_H

#include <iosfwd>
#include <string>

#include <kelp/kelp_api.h>
#include <kelp/xml/sax/sax_DefaultHandler.h>

namespace qor::quv::xml {

class KELP_API CanonicalWriter : public sax::DefaultHandler {
 public:
  /* Appends to *out, which must outlive the writer's use. */
  explicit CanonicalWriter(std::string* out);
  /* Writes to out, which must outlive the writer's use. */
  explicit CanonicalWriter(std::ostream& out);
  ~CanonicalWriter() override;
  CanonicalWriter(const CanonicalWriter&) = delete;
  CanonicalWriter& operator=(const CanonicalWriter&) = delete;

  /* Selects the second form (document type with the notations). Off by
   * default. */
  void setSecondForm(bool on);
  bool getSecondForm() const;

  /* Appends s escaped as canonical character data to *out. */
  static void escape(const char* s, std::string* out);

  bool startDocument() override;
  bool endDocument() override;
  bool startElement(const char* uri, const char* localName, const char* qName,
                    const sax::Attributes& attributes) override;
  bool endElement(const char* uri, const char* localName, const char* qName) override;
  bool ignorableWhitespace(const char* chars) override;
  bool characters(const char* chars) override;
  bool processingInstruction(const char* target, const char* data) override;
  bool notationDecl(const char* name, const char* publicId, const char* systemId) override;
  bool startDTD(const char* name, const char* publicId, const char* systemId) override;
  bool endDTD() override;
  std::string getErrorMessage() override;

 private:
  struct Data;
  Data* d;
};

}  // namespace qor::quv::xml

#endif
