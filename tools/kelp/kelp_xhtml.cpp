// kelp xhtml: reads a rich-text page in the layout module's restricted
// XHTML and renders it as plain text or as an HTML body fragment.
#include <string>

#include <kelp/layout/lo_Document.h>
#include <kelp/layout/lo_HtmlFmt.h>
#include <kelp/layout/lo_PlainTextFmt.h>
#include <kelp/layout/lo_XHtmlReader.h>
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <kelp/xml/sax/sax_ParseException.h>

#include "kelp_tool.h"

namespace tool = kelp::tool;
namespace layout = qor::quv::layout;
namespace sax = qor::quv::xml::sax;

namespace {

constexpr const char kXhtmlHelp[] =
    "usage: kelp xhtml text [--load-external] FILE\n"
    "       kelp xhtml html [--load-external] FILE\n"
    "\n"
    "Reads a rich-text page in restricted XHTML (html, head with title,\n"
    "body; paragraphs, headings, pre, address, blockquote, div, lists and\n"
    "definition lists; b, i, em, strong, code, q ... inside them; HTML 4\n"
    "character entities such as &eacute;) and renders its body. A FILE\n"
    "named '-' is standard input.\n"
    "\n"
    "text   plain text in UTF-8: one line per paragraph, list items as\n"
    "       '- ', b and strong as *...*, q as \"...\"; the plain-text\n"
    "       formatter keeps one byte per character, so characters beyond\n"
    "       Latin-1 lose their high byte.\n"
    "html   an HTML body fragment with upper-case tags (P, H1, UL, LI, B\n"
    "       ...), non-ASCII characters as character references.\n"
    "\n"
    "A page that is not well-formed or breaks the structure rules (a p in a\n"
    "p, a body before the head, text outside the body ...) is reported as\n"
    "'file:line: message' and the command exits with 1.\n"
    "\n"
    "--load-external   read external entities (SYSTEM \"file\"), regular files\n"
    "                  only, relative to the page; without it a reference to\n"
    "                  one is skipped and no file is opened\n";

// The layout reader, remembering where the parse stopped: the reader hands
// syntax errors and the structural faults alike to fatalError.
class PageReader : public layout::XHtmlReader {
 public:
  using XHtmlReader::XHtmlReader;

  bool fatalError(const sax::SAXParseException& e) override {
    if (!failed) {
      failed = true;
      message = e.getMessage();
      systemId = e.getSystemId();
      line = e.getLineNumber();
    }
    return XHtmlReader::fatalError(e);
  }

  bool failed = false;
  std::string message;
  std::string systemId;
  int line = 0;
};

// The plain-text formatter writes each character's low byte: Latin-1.
std::string latin1ToUtf8(const std::string& text) {
  std::string out;
  out.reserve(text.size());
  for (char ch : text) {
    auto c = static_cast<unsigned char>(ch);
    if (c < 0x80) {
      out += ch;
    } else {
      out += static_cast<char>(0xC0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return out;
}

int render(tool::Invocation& inv, bool html) {
  tool::ParsedArgs args;
  int status = tool::kExitOk;
  if (!tool::parseArgs(inv, 1, {{"load-external", false}}, args, &status)) return status;
  if (!tool::checkOperands(inv, args, 1, 1, &status)) return status;
  const std::string& path = args.operands[0];
  const std::string name = tool::displayName(path);
  tool::StreamInput in;
  std::string message;
  if (!in.open(path, message)) {
    tool::reportAt(inv, name, 0, message);
    return tool::kExitFailed;
  }
  PageReader reader(inv.app);
  reader.setLoadExternal(args.has("load-external"));
  layout::Document* doc = nullptr;
  bool ok;
  {
    sax::ISInputSource source("", name, &in.stream(), false);
    ok = reader.parse(&source, &doc);
  }
  in.finish();
  if (!ok || !doc || !in.error().empty()) {
    if (doc) doc->release();
    if (!in.error().empty()) {
      tool::reportAt(inv, name, 0, in.error());
    } else {
      std::string why = reader.failed ? reader.message : reader.getErrorMessage();
      tool::reportAt(inv, reader.systemId.empty() ? name : reader.systemId, reader.line,
                     why.empty() ? "cannot read the page" : why);
    }
    return tool::kExitFailed;
  }
  std::string text = html ? layout::HtmlFmt(inv.app, doc).str()
                          : latin1ToUtf8(layout::SimplePlainTextFmt(inv.app, doc).str());
  doc->release();
  std::fwrite(text.data(), 1, text.size(), inv.out);
  return tool::kExitOk;
}

int renderText(tool::Invocation& inv) {
  return render(inv, false);
}

int renderHtml(tool::Invocation& inv) {
  return render(inv, true);
}

int run(tool::Invocation& inv) {
  return tool::dispatch(inv, {{"text", renderText}, {"html", renderHtml}});
}

const tool::Family kXhtml{"xhtml", "render restricted XHTML rich text as plain text or HTML",
                          kXhtmlHelp, run};
const tool::Registration reg(kXhtml);

}  // namespace
