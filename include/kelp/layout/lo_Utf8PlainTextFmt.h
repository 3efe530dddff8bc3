/* Utf8PlainTextFmt: writes a layout Document as plain text in UTF-8.
 *
 * The same text as SimplePlainTextFmt (the same walk, blocks, rules, styles
 * and line starts) except for the characters: each is written as UTF-8,
 * a surrogate pair as the one character it encodes, a lone surrogate as
 * U+FFFD. So "12 €" stays "12 €", where SimplePlainTextFmt keeps only the
 * low byte of every character.
 *
 *   std::string text = Utf8PlainTextFmt(app, doc).str();
 *
 * The formatter holds one reference to the document. It keeps its
 * at-line-start state between calls: use one formatter per output. */
#ifndef KELP_LAYOUT_LO_UTF8PLAINTEXTFMT_H
#define KELP_LAYOUT_LO_UTF8PLAINTEXTFMT_H

#include <iosfwd>
#include <string>

#include <kelp/kelp_api.h>
#include <kelp/layout/lo_PlainTextFmt.h>

namespace qor::quv::layout {

class KELP_API Utf8PlainTextFmt : public SimplePlainTextFmt {
 public:
  /* As SimplePlainTextFmt's. */
  Utf8PlainTextFmt(fw::IApplication* app, Document* doc);

  /* The body as UTF-8 text; a stream that fails ends the text early. */
  std::string str();
  /* A character atom as UTF-8, every other atom as SimplePlainTextFmt
   * writes it. */
  bool format(std::ostream& stream, const Atom& atom);
  bool format(std::ostream& stream, Block* block);
  /* Used by the block walk: SimplePlainTextFmt's, after a pending high
   * surrogate was written. */
  bool open(std::ostream& stream, Block* block);
  bool close(std::ostream& stream, Block* block);

 private:
  // A high surrogate waiting for its low half (0: none).
  unsigned short high_ = 0;

  bool flushHigh(std::ostream& stream);
  bool outCodePoint(std::ostream& stream, unsigned long cp);
};

}  // namespace qor::quv::layout

#endif
