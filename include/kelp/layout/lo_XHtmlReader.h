/* XHtmlReader: reads a strict subset of XHTML into a layout Document.
 *
 * A SAX handler driven by SimpleXMLReader (UTF-8 text, HTML 4 entity names
 * known). It checks the page structure (html, head, title, body), turns
 * block elements into environments and paragraphs and inline elements into
 * style switches, and stops at the first structural fault with a message
 * (getErrorMessage). Elements it does not know are skipped with a debug
 * message; their content is read as usual.
 *
 *   XHtmlReader reader(app);
 *   Document* doc = nullptr;
 *   if (reader.parse(&source, &doc)) {
 *     std::string text = SimplePlainTextFmt(app, doc).str();
 *     doc->release();
 *   } else {
 *     report(reader.getErrorMessage());
 *   }
 *
 * Text is kept as UTF-16 code units (UCS-2: characters beyond the Basic
 * Multilingual Plane make the conversion fail, and the text is then read
 * byte by byte). White space collapses to single spaces between
 * characters, also inside pre.
 *
 * One reader may read many documents one after another, on one thread at
 * a time. The handler callbacks are public so that the reader can be
 * driven by other event sources: a fresh reader, and a reader after each
 * parse, builds a new document of its own (the title goes to
 * Document::setTitle at the end of title). */
#ifndef KELP_LAYOUT_LO_XHTMLREADER_H
#define KELP_LAYOUT_LO_XHTMLREADER_H

#include <cstdint>
#include <string>
#include <vector>

#include <fw/fw_IApplication.h>
#include <kelp/kelp_api.h>
#include <kelp/layout/lo_Document.h>
#include <kelp/xml/sax/sax_DefaultHandler.h>
#include <kelp/xml/sax/sax_InputSource.h>

struct KtzTextCodec;

namespace qor::quv::layout {

/* Codes of the elements the reader knows; 0 for any other. */
enum ElementTag : int {
  kTagUndefined = 0,
  kTagBody = 1,
  kTagHead = 2,
  kTagHtml = 3,
  kTagTitle = 4,
  kTagAbbr = 5,
  kTagAcronym = 6,
  kTagAddress = 7,
  kTagBlockQuote = 8,
  kTagBr = 9,
  kTagCite = 10,
  kTagCode = 11,
  kTagDfn = 12,
  kTagDiv = 13,
  kTagEm = 14,
  kTagH1 = 15,
  kTagH2 = 16,
  kTagH3 = 17,
  kTagH4 = 18,
  kTagH5 = 19,
  kTagH6 = 20,
  kTagKbd = 21,
  kTagP = 22,
  kTagPre = 23,
  kTagQ = 24,
  kTagSamp = 25,
  kTagSpan = 26,
  kTagStrong = 27,
  kTagVar = 28,
  kTagDL = 29,
  kTagDT = 30,
  kTagDD = 31,
  kTagOL = 32,
  kTagUL = 33,
  kTagLI = 34,
  kTagB = 35,
  kTagBig = 36,
  kTagHr = 37,
  kTagI = 38,
  kTagSmall = 39,
  kTagSub = 40,
  kTagSup = 41,
  kTagTT = 42,
  kTagU = 43
};

class KELP_API XHtmlReader : public xml::sax::DefaultHandler {
 public:
  /* app (may be null) receives debug messages and assertions and is
   * handed to the reader and the documents; one reference is held. */
  explicit XHtmlReader(fw::IApplication* app);
  ~XHtmlReader() override;
  XHtmlReader(const XHtmlReader&) = delete;
  XHtmlReader& operator=(const XHtmlReader&) = delete;

  /* Reads one page from input (which stays the caller's). On success *out
   * receives a new document carrying one reference; otherwise it is set to
   * null (when out is not null). Returns whether the page was read. */
  bool parse(xml::sax::InputSource* input, Document** out);
  /* Whether the reader reads external entities that no resolver served
   * (SimpleXMLReader's external-entity features); off by default. */
  void setLoadExternal(bool load);

  /* The last structural fault. */
  std::string getErrorMessage() override;
  /* The code of the innermost open element, 0 when none is open. */
  int getContext() const;
  /* The code of an element by its local name (exact match), else 0. */
  static int getElementTag(const char* localName);

  bool startElement(const char* uri, const char* localName, const char* qName,
                    const xml::sax::Attributes& attributes) override;
  bool endElement(const char* uri, const char* localName, const char* qName) override;
  bool characters(const char* chars) override;
  /* Log "Fatal SAX error: ...", "SAX error: ...", "SAX warning: ..." at
   * debug level with system id, line and message; only fatalError stops. */
  bool error(const xml::sax::SAXParseException& exception) override;
  bool fatalError(const xml::sax::SAXParseException& exception) override;
  bool warning(const xml::sax::SAXParseException& exception) override;

 private:
  bool fail(const std::string& message);
  void reset();
  bool checkPosition(const char* name);
  ParaBlock* paragraph();
  void setParagraph(ParaBlock* para);
  void setEnvironment(EnvBlock* env);
  bool startStructure(int code);
  bool startBlock(int code, const char* name);
  bool startInline(int code, const char* name);
  bool toUTF16(const char* chars, std::size_t length);

  fw::IApplication* app_;
  Document* doc_;
  std::vector<int> stack_;
  EnvBlock* env_;
  ParaBlock* para_;
  std::string title_;
  bool htmlEnded_;
  bool headEnded_;
  bool titleEnded_;
  bool bodyEnded_;
  KtzTextCodec* codec_;
  std::vector<std::uint16_t> utf16_;
  std::size_t utf16Length_;
  std::string errorMessage_;
  bool loadExternal_ = false;
};

}  // namespace qor::quv::layout

#endif
