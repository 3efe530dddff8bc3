/* qor::quv::xml::XMLWriter: the library's streaming XML writer.
 *
 * Opened on an object-model output stream (one reference held until close)
 * or on a std::ostream (borrowed: it must outlive the writer's output). The
 * first startElement writes the declaration "<?xml version='1.0'
 * encoding='...'?>" and the document type when one was set; the writer then
 * writes the markup in the order of the calls, escapes attribute values and
 * character data, breaks lines and indents by each element's ElementFormat,
 * and converts the text from the application's code set (the locale's) into
 * the output encoding, "UTF-8" unless setEncoding chose another. Bytes that
 * cannot be converted are dropped, not reported. Output is buffered: call
 * flush() or close() to push it out; the destructor closes an open writer.
 *
 * The writer is reference counted: create it with new, starting with a count
 * of 0, and hold it in a zob::Ref or an XMLWriterItfWrapper; it deletes
 * itself when the count returns to zero. Element names are interned
 * (PString), so the writer shares the interning table's thread rule: one
 * thread at a time.
 *
 *   zob::Ref<XMLWriter> w(new XMLWriter(stream, 2));
 *   w->startElement("catalogue", kFormatIndentedBlock);
 *   w->startElement("article", kFormatBlock);
 *   w->stringAttribute("id", "A-1");
 *   w->endElement();
 *   w->endElement();
 *   w->close();
 *   // <?xml version='1.0' encoding='UTF-8'?>
 *   // <catalogue>
 *   //   <article id='A-1'/>
 *   // </catalogue>
 */
#ifndef KELP_XML_XML_WRITER_H
#define KELP_XML_XML_WRITER_H

#include <cstdint>
#include <iosfwd>
#include <string>

#include <kelp/kelp_api.h>
#include <kelp/xml/xml_IXMLWriter.h>
#include <zob/zob_io.h>

namespace qor::quv::xml {

namespace detail {
struct XMLWriterProbe;
}

class KELP_API XMLWriter : public IXMLWriter_Adapter {
 public:
  /* Writes to `stream` (a reference is held; null leaves the writer
   * closed), indenting by `indentStep` columns per level. */
  XMLWriter(zob::io::IOutputStream* stream, int indentStep);
  /* Writes to `stream` (borrowed; null leaves the writer closed). */
  XMLWriter(std::ostream* stream, int indentStep);
  XMLWriter(const XMLWriter&) = delete;
  XMLWriter& operator=(const XMLWriter&) = delete;

  /* Answers IUnknown and IXMLWriter with itself (adding a reference). */
  ZResult queryInterface(const char* iid, zob::IUnknown** out) override;
  std::uint32_t addRef() override;
  std::uint32_t release() override;

  ZResult startElement(const char* name, ElementFormat format) override;
  ZResult endElement() override;
  ZResult stringAttribute(const char* name, const char* value) override;
  /* The number in the classic locale. */
  ZResult intAttribute(const char* name, int value) override;
  /* The number in the classic locale with at most 15 significant digits,
   * in the default notation of printf's %g ("0.1", "1e+20"). */
  ZResult floatAttribute(const char* name, double value) override;
  ZResult characters(const char* text) override;
  /* Writes "<![CDATA[": 0, or zob::kWriteFailure. Text written before
   * endCDATA is escaped as ordinary character data all the same. */
  ZResult startCDATA() override;
  /* Writes "]]>": 1 when the write succeeded, 0 when it failed. */
  ZResult endCDATA() override;
  /* The last state error, or "XMLWriter not initialized" when closed. */
  ZResult getErrorMessage(char** message) override;
  /* Writes the buffered output to the stream and flushes the stream. */
  ZResult flush() override;

  /* The output encoding named in the declaration and converted to; "" means
   * the application's code set (no conversion). Takes effect at the first
   * element. */
  void setEncoding(const std::string& name);
  /* A document type declaration after the XML declaration: with a public
   * id "<!DOCTYPE name PUBLIC 'pub' 'sys'>", else "<!DOCTYPE name SYSTEM
   * 'sys'>". An empty name writes none. */
  void setExternalDTD(const std::string& name, const std::string& publicId,
                      const std::string& systemId);
  /* Pushes out everything (ending the conversion), flushes and lets go of
   * the stream: 0, zob::kWriteFailure, or 1 when the writer was not open. */
  ZResult close();
  bool isOpen() const;

  /* Lossless output, for copying a document so that reading the copy gives
   * back the same events (off by default, which writes as described
   * above): tab, line feed and carriage return in attribute values and
   * carriage return in character data are written as "&#9;", "&#10;",
   * "&#13;"; a character of UTF-8 text (the application's code set) that
   * the output encoding cannot hold is written as a decimal character
   * reference instead of being dropped (inside CDATA sections, comments
   * and processing instructions no reference is possible: there it is
   * dropped as before); and startCDATA/endCDATA write a real CDATA
   * section, whose text is written unescaped ("]]>" split across two
   * sections). */
  void setLossless(bool on);
  /* Comments and processing instructions, allowed before, in and after
   * the document element (the XML declaration is written first when
   * nothing was). Outside the document element each stands on a line of
   * its own; inside it they are written in place. "--" in a comment and
   * "?>" in PI data cannot be written: zob::kInvalidArgument. */
  ZResult comment(const char* text);
  ZResult processingInstruction(const char* target, const char* data);
  /* Writes the document type declaration now, after the XML declaration
   * (written first when nothing was) and before the document element:
   * "<!DOCTYPE name", the external id as setExternalDTD writes it (none
   * when both ids are empty), " [" internalSubset "]" when that is not
   * empty (written as it is: it is markup), ">". zob::kInvalidState once
   * an element was started. */
  ZResult docType(const char* name, const char* publicId, const char* systemId,
                  const char* internalSubset);
  /* Writes the entity reference "&name;" in content. */
  ZResult entityReference(const char* name);

  /* The text between single quotes, with ' & < as &apos; &amp; &lt;. */
  static std::string quoteAttrValue(const char* text);
  /* The text with < > & as &lt; &gt; &amp;, without quotes. */
  static std::string quoteCharData(const char* text);
  /* The code set of the current locale, or "US-ASCII" when it is unknown. */
  static std::string getAppCodeSet();

 protected:
  /* Closes the writer when it is still open. */
  virtual ~XMLWriter();

 private:
  friend struct detail::XMLWriterProbe;
  struct Data;

  ZResult invalidState(const char* message);
  ZResult writeDeclaration();
  ZResult openContent();
  ZResult prologItem(const std::string& text);
  static std::string quoteId(const char* id);
  bool cdata(const char* text);

  Data* d_;
  std::int32_t refs_;
};

}  // namespace qor::quv::xml

#endif
