// Writing a layout document as an HTML body fragment.
#define QUV_SOURCE_NAME "lo_HtmlFmt"
#include <kelp/layout/lo_HtmlFmt.h>

#include <cstdio>
#include <cstring>
#include <sstream>

#include <kelp/util/utl_Logger.h>
#include <kelp/xml/sax/sax_HTML4Entities.h>

#include "layout/lo_Walk_impl.h"

namespace qor::quv::layout {

namespace {

// The tag written at the start of a block, or null for none.
const char* startTag(BlockType type) {
  switch (type) {
    case kParaBlock:
      return "P";
    case kParaPre:
      return "PRE";
    case kParaH1:
      return "H1";
    case kParaH2:
      return "H2";
    case kParaH3:
      return "H3";
    case kParaH4:
      return "H4";
    case kParaH5:
      return "H5";
    case kParaH6:
      return "H6";
    case kParaDT:
      return "DT";
    case kParaAddress:
      return "ADDR";
    case kEnvBlockQuote:
      return "BLOCKQUOTE";
    case kEnvDiv:
      return "DIV";
    case kEnvDL:
      return "DL";
    case kEnvDD:
      return "DD";
    case kEnvOL:
      return "OL";
    case kEnvUL:
      return "UL";
    case kEnvLI:
      return "LI";
    default:
      return nullptr;
  }
}

// The tag written at the end of a block: P, DT, DD and LI are left open on
// purpose, as HTML permits.
const char* endTag(BlockType type) {
  switch (type) {
    case kParaBlock:
    case kParaDT:
    case kEnvDD:
    case kEnvLI:
      return nullptr;
    default:
      return startTag(type);
  }
}

}  // namespace

HtmlFmt::HtmlFmt(fw::IApplication* app, Document* doc) : app_(app), doc_(doc), bol_(true) {
  if (doc_) doc_->addRef();
}

HtmlFmt::~HtmlFmt() {
  if (doc_) doc_->release();
}

const char* HtmlFmt::styleTag(Style style) {
  switch (style) {
    case kStyleB:
      return "B";
    case kStyleI:
      return "I";
    case kStyleU:
      return "U";
    case kStyleBig:
      return "BIG";
    case kStyleSmall:
      return "SMALL";
    case kStyleSub:
      return "SUB";
    case kStyleSup:
      return "SUP";
    case kStyleTT:
      return "TT";
    case kStyleAbbr:
      return "ABBR";
    case kStyleAcronym:
      return "ACRONYM";
    case kStyleCite:
      return "CITE";
    case kStyleCode:
      return "CODE";
    case kStyleDfn:
      return "DFN";
    case kStyleEm:
      return "EM";
    case kStyleKbd:
      return "KBD";
    case kStyleQ:
      return "Q";
    case kStyleSamp:
      return "SAMP";
    case kStyleSpan:
      return "SPAN";
    case kStyleStrong:
      return "STRONG";
    case kStyleVar:
      return "VAR";
    default:
      return nullptr;
  }
}

std::string HtmlFmt::str() {
  std::ostringstream stream;
  Document* tDoc = doc_;
  if (QUV_ASSERT(app_, tDoc != 0)) format(stream, tDoc->getBody());
  return stream.str();
}

bool HtmlFmt::out(std::ostream& stream, char c) {
  stream.put(c);
  bol_ = c == '\n';
  return !stream.fail();
}

bool HtmlFmt::out(std::ostream& stream, const char* text) {
  const std::size_t length = std::strlen(text);
  if (length == 0) return !stream.fail();
  stream.write(text, static_cast<std::streamsize>(length));
  bol_ = text[length - 1] == '\n';
  return !stream.fail();
}

bool HtmlFmt::forceBOL(std::ostream& stream) {
  return bol_ ? !stream.fail() : out(stream, '\n');
}

bool HtmlFmt::format(std::ostream& stream, const Atom& atom) {
  switch (atom.getType()) {
    case kAtomSpace:
      return out(stream, ' ');
    case kAtomNbSpace:
      return out(stream, "&nbsp;");
    case kAtomBreak:
      return out(stream, "<BR>");
    case kAtomHRule:
      return forceBOL(stream) && out(stream, "<HR>") && forceBOL(stream);
    case kAtomChar: {
      const unsigned c = atom.getChar();
      if (c < 128 && c != '"' && c != '&' && c != '<' && c != '>')
        return out(stream, static_cast<char>(c));
      if (const char* name = xml::sax::HTML4Entities::nameOf(c))
        return out(stream, '&') && out(stream, name) && out(stream, ';');
      char reference[16];
      std::snprintf(reference, sizeof reference, "&#%d;", static_cast<int>(c));
      return out(stream, reference);
    }
    case kAtomStyleOn:
    case kAtomStyleOff: {
      const char* tTag = styleTag(atom.getStyle());
      if (!QUV_ASSERT(app_, tTag != 0)) return !stream.fail();
      return out(stream, atom.getType() == kAtomStyleOn ? "<" : "</") && out(stream, tTag) &&
             out(stream, '>');
    }
    default:
      return !stream.fail();
  }
}

bool HtmlFmt::format(std::ostream& stream, Block* block) {
  return detail::walkBlocks(*this, stream, block);
}

bool HtmlFmt::open(std::ostream& stream, Block* block) {
  const BlockType type = block->getType();
  if (type == kParaImplicit) return !stream.fail();
  if (!forceBOL(stream)) return false;
  const char* tag = startTag(type);
  if (!tag) return true;
  return out(stream, '<') && out(stream, tag) && out(stream, '>');
}

bool HtmlFmt::close(std::ostream& stream, Block* block) {
  const BlockType type = block->getType();
  if (type == kParaImplicit) return !stream.fail();
  if (const char* tag = endTag(type)) {
    if (!(out(stream, "</") && out(stream, tag) && out(stream, '>'))) return false;
  }
  return forceBOL(stream);
}

}  // namespace qor::quv::layout
