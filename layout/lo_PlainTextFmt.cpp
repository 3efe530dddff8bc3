// Writing a layout document as plain text.
#define QUV_SOURCE_NAME "lo_PlainTextFmt"
#include <kelp/layout/lo_PlainTextFmt.h>

#include <cstring>
#include <sstream>

#include <kelp/util/utl_Logger.h>

#include "layout/lo_Walk_impl.h"

namespace qor::quv::layout {

SimplePlainTextFmt::SimplePlainTextFmt(fw::IApplication* app, Document* doc)
    : app_(app), doc_(doc), bol_(true) {
  if (doc_) doc_->addRef();
}

SimplePlainTextFmt::~SimplePlainTextFmt() {
  if (doc_) doc_->release();
}

std::string SimplePlainTextFmt::str() {
  std::ostringstream stream;
  Document* tDoc = doc_;
  if (QUV_ASSERT(app_, tDoc != 0)) format(stream, tDoc->getBody());
  return stream.str();
}

bool SimplePlainTextFmt::out(std::ostream& stream, char c) {
  stream.put(c);
  bol_ = c == '\n';
  return !stream.fail();
}

bool SimplePlainTextFmt::out(std::ostream& stream, const char* text) {
  const std::size_t length = std::strlen(text);
  if (length == 0) return !stream.fail();
  stream.write(text, static_cast<std::streamsize>(length));
  bol_ = text[length - 1] == '\n';
  return !stream.fail();
}

bool SimplePlainTextFmt::forceBOL(std::ostream& stream) {
  return bol_ ? !stream.fail() : out(stream, '\n');
}

bool SimplePlainTextFmt::format(std::ostream& stream, const Atom& atom) {
  switch (atom.getType()) {
    case kAtomSpace:
    case kAtomNbSpace:
      return out(stream, ' ');
    case kAtomBreak:
      return out(stream, '\n');
    case kAtomChar:
      // Only the low byte: beyond U+00FF characters lose their high byte.
      return out(stream, static_cast<char>(atom.getChar() & 0xFF));
    case kAtomStyleOn:
    case kAtomStyleOff: {
      const Style style = atom.getStyle();
      if (style == kStyleQ) return out(stream, '"');
      if (style == kStyleB || style == kStyleStrong) return out(stream, '*');
      return !stream.fail();
    }
    case kAtomHRule:
      return forceBOL(stream) && out(stream, "-----------") && forceBOL(stream);
    default:
      return !stream.fail();
  }
}

bool SimplePlainTextFmt::format(std::ostream& stream, Block* block) {
  return detail::walkBlocks(*this, stream, block);
}

bool SimplePlainTextFmt::open(std::ostream& stream, Block* block) {
  switch (block->getType()) {
    case kEnvDD:
      return out(stream, " -- ");
    case kParaDT:
      return bol_ ? !stream.fail() : out(stream, ", ");
    case kEnvDL:
    case kEnvOL:
    case kEnvUL:
      return forceBOL(stream);
    case kEnvLI:
      return out(stream, "- ");
    default:
      return !stream.fail();
  }
}

bool SimplePlainTextFmt::close(std::ostream& stream, Block* block) {
  // A term stays on its line: its descriptions follow it there.
  if (block->getType() == kParaDT) return !stream.fail();
  return forceBOL(stream);
}

}  // namespace qor::quv::layout
