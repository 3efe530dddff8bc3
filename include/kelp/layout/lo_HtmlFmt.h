/* HtmlFmt: writes a layout Document as an HTML body fragment.
 *
 * The body is walked depth first. Blocks other than implicit paragraphs
 * start on a new line with an upper-case start tag (P, PRE, H1 to H6, DT,
 * ADDR, BLOCKQUOTE, DIV, DL, DD, OL, UL, LI) and end on a line of their
 * own; P, DT, DD and LI are left open, as HTML allows. Style switches
 * become start and end tags (B, I, EM, Q ...), breaks <BR>, rules <HR>.
 * ASCII characters other than " & < > are written as they are; every other
 * character as a named reference when HTML 4.01 has one (&eacute;), else
 * as a decimal reference (&#8240;). The title is not written.
 *
 *   std::string html = HtmlFmt(app, doc).str();
 *
 * The formatter holds one reference to the document. It keeps its
 * at-line-start state between calls: use one formatter per output. */
#ifndef KELP_LAYOUT_LO_HTMLFMT_H
#define KELP_LAYOUT_LO_HTMLFMT_H

#include <iosfwd>
#include <string>

#include <fw/fw_IApplication.h>
#include <kelp/kelp_api.h>
#include <kelp/layout/lo_Document.h>

namespace qor::quv::layout {

class KELP_API HtmlFmt {
 public:
  /* app (may be null) receives assertions; doc may be null (nothing is
   * written then, after an assertion). */
  HtmlFmt(fw::IApplication* app, Document* doc);
  ~HtmlFmt();
  HtmlFmt(const HtmlFmt&) = delete;
  HtmlFmt& operator=(const HtmlFmt&) = delete;

  /* The body as HTML; a stream that fails ends the text early. */
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

  /* The tag of a style ("B", "EM" ...), or null for an unknown value. */
  static const char* styleTag(Style style);

 private:
  fw::IApplication* app_;
  Document* doc_;
  bool bol_;
};

}  // namespace qor::quv::layout

#endif
