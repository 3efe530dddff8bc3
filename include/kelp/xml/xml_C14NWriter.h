/* qor::quv::xml::C14NWriter: writes the SAX events of one document as
 * Canonical XML 1.0 (the whole document, without comments unless asked
 * for), the form in which signatures and byte-wise comparisons of XML are
 * made:
 *
 *   - UTF-8 (turn the reader's use-utf8 feature on), no XML declaration,
 *     no document type;
 *   - processing instructions (and comments) before the document element
 *     each followed by a line feed, after it each preceded by one; those of
 *     the document type declaration are left out; "<?target?>" when there
 *     is no data, else "<?target data?>";
 *   - start tags as "<" qName, then the namespace declarations that change
 *     what the parent had in scope (so superfluous ones vanish, and
 *     xmlns="" appears only where a default namespace was in scope), sorted
 *     by prefix with the default namespace first, then the attributes
 *     sorted by namespace URI (none first) and then local name, each as
 *     ' name="value"'; empty elements as a start and an end tag;
 *   - in text '&', '<', '>' and carriage return as "&amp;", "&lt;", "&gt;",
 *     "&#xD;"; in attribute values '&', '<', '"', tab, line feed and carriage
 *     return as "&amp;", "&lt;", "&quot;", "&#x9;", "&#xA;", "&#xD;";
 *   - CDATA sections as their text, entity references as their replacement.
 *
 * The reader must process namespaces (the default): declarations are taken
 * from its prefix mappings, and attributes named xmlns or xmlns:* are not
 * written as attributes. What the reader does not do, the writer cannot
 * mend: the library's default reading adds no attribute defaults and
 * normalises no attribute values.
 *
 * Set the writer as the reader's content and lexical handler. It may serve
 * one document after another (a string target is not emptied). A stream
 * that fails makes the next callback return false, which stops the parse
 * with "failed to write canonical XML". One thread at a time.
 *
 *   std::string out;
 *   C14NWriter c14n(&out);
 *   reader.setContentHandler(&c14n);
 *   reader.setLexicalHandler(&c14n);
 *   reader.parse(path);
 */
#ifndef KELP_XML_XML_C14NWRITER_H
#define KELP_XML_XML_C14NWRITER_H

#include <iosfwd>
#include <string>

#include <kelp/kelp_api.h>
#include <kelp/xml/sax/sax_DefaultHandler.h>

namespace qor::quv::xml {

class KELP_API C14NWriter : public sax::DefaultHandler {
 public:
  /* Appends to *out, which must outlive the writer's use. */
  explicit C14NWriter(std::string* out);
  /* Writes to out, which must outlive the writer's use. */
  explicit C14NWriter(std::ostream& out);
  ~C14NWriter() override;
  C14NWriter(const C14NWriter&) = delete;
  C14NWriter& operator=(const C14NWriter&) = delete;

  /* Keeps comments (the "with comments" form). Off by default. */
  void setWithComments(bool on);

  bool startDocument() override;
  bool endDocument() override;
  bool startPrefixMapping(const char* prefix, const char* uri) override;
  bool startElement(const char* uri, const char* localName, const char* qName,
                    const sax::Attributes& attributes) override;
  bool endElement(const char* uri, const char* localName, const char* qName) override;
  bool ignorableWhitespace(const char* chars) override;
  bool characters(const char* chars) override;
  bool processingInstruction(const char* target, const char* data) override;
  bool comment(const char* text) override;
  bool startDTD(const char* name, const char* publicId, const char* systemId) override;
  bool endDTD() override;
  std::string getErrorMessage() override;

 private:
  struct Data;
  Data* d;
};

}  // namespace qor::quv::xml

#endif
