/* SimplePlainTextFmt: writes a layout Document as plain text.
 *
 * The body is walked depth first. Paragraphs and lists start on a new line,
 * list items begin with "- ", a definition term and its descriptions share
 * one line (", " between terms, " -- " before a description), a rule is a
 * line of eleven hyphens, q writes double quotation marks and b and strong
 * asterisks. Lines are never wrapped and the title is not written.
 * Characters are written as the low byte of their UTF-16 code unit (so
 * Latin-1 text comes out as ISO-8859-1; beyond U+00FF the high byte is
 * lost by design).
 *
 *   std::string text = SimplePlainTextFmt(app, doc).str();
 *
 * The formatter holds one reference to the document. It keeps its
 * at-line-start state between calls: use one formatter per output. */
#ifndef KELP_LAYOUT_LO_PLAINTEXTFMT_H
#define KELP_LAYOUT_LO_PLAINTEXTFMT_H

#include <iosfwd>
#include <string>

#include <fw/fw_IApplication.h>
#include <kelp/kelp_api.h>
#include <kelp/layout/lo_Document.h>

namespace qor::quv::layout {

class KELP_API SimplePlainTextFmt {
 public:
  /* app (may be null) receives assertions; doc may be null (nothing is
   * written then, after an assertion). */
  SimplePlainTextFmt(fw::IApplication* app, Document* doc);
  ~SimplePlainTextFmt();
  SimplePlainTextFmt(const SimplePlainTextFmt&) = delete;
  SimplePlainTextFmt& operator=(const SimplePlainTextFmt&) = delete;

  /* The body as text; a stream that fails ends the text early. */
  std::string str();

  /* The steps of str(), each false once the stream has failed. out writes
   * and remembers whether the last character written was a line feed (an
   * empty text changes nothing); forceBOL starts a new line unless at the
   * start of one. format(Block*) writes a block with everything in it. */
  bool out(std::ostream& stream, char c);
  bool out(std::ostream& stream, const char* text);
  bool atBOL() const { return bol_; }
  bool forceBOL(std::ostream& stream);
  bool format(std::ostream& stream, const Atom& atom);
  bool format(std::ostream& stream, Block* block);

  /* Used by the block walk: what goes before and after a block's content. */
  bool open(std::ostream& stream, Block* block);
  bool close(std::ostream& stream, Block* block);
  fw::IApplication* getApplication() const { return app_; }
  Document* getDocument() const { return doc_; }

 private:
  fw::IApplication* app_;
  Document* doc_;
  bool bol_;
};

}  // namespace qor::quv::layout

#endif
