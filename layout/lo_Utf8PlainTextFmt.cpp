// Writing a layout document as plain text in UTF-8: the plain-text walk
// and rules with characters written whole.
#define QUV_SOURCE_NAME "lo_Utf8PlainTextFmt"
#include <kelp/layout/lo_Utf8PlainTextFmt.h>

#include <sstream>

#include <kelp/util/utl_Logger.h>

#include "layout/lo_Walk_impl.h"

namespace qor::quv::layout {

namespace {

constexpr unsigned long kReplacement = 0xFFFD;

bool isHigh(unsigned short u) {
  return u >= 0xD800 && u <= 0xDBFF;
}
bool isLow(unsigned short u) {
  return u >= 0xDC00 && u <= 0xDFFF;
}

}  // namespace

Utf8PlainTextFmt::Utf8PlainTextFmt(fw::IApplication* app, Document* doc)
    : SimplePlainTextFmt(app, doc) {}

std::string Utf8PlainTextFmt::str() {
  std::ostringstream stream;
  Document* tDoc = getDocument();
  if (QUV_ASSERT(getApplication(), tDoc != 0)) format(stream, tDoc->getBody());
  return stream.str();
}

bool Utf8PlainTextFmt::format(std::ostream& stream, Block* block) {
  return detail::walkBlocks(*this, stream, block);
}

bool Utf8PlainTextFmt::open(std::ostream& stream, Block* block) {
  return flushHigh(stream) && SimplePlainTextFmt::open(stream, block);
}

bool Utf8PlainTextFmt::close(std::ostream& stream, Block* block) {
  return flushHigh(stream) && SimplePlainTextFmt::close(stream, block);
}

bool Utf8PlainTextFmt::format(std::ostream& stream, const Atom& atom) {
  if (atom.getType() != kAtomChar) return flushHigh(stream) && SimplePlainTextFmt::format(stream, atom);
  const unsigned short u = atom.getChar();
  if (high_ != 0 && isLow(u)) {
    const unsigned long cp = 0x10000ul + ((high_ - 0xD800ul) << 10) + (u - 0xDC00ul);
    high_ = 0;
    return outCodePoint(stream, cp);
  }
  if (!flushHigh(stream)) return false;
  if (isHigh(u)) {
    high_ = u;
    return !stream.fail();
  }
  return outCodePoint(stream, isLow(u) ? kReplacement : u);
}

// A high surrogate that no low one followed stands for nothing it could
// say: U+FFFD.
bool Utf8PlainTextFmt::flushHigh(std::ostream& stream) {
  if (high_ == 0) return !stream.fail();
  high_ = 0;
  return outCodePoint(stream, kReplacement);
}

bool Utf8PlainTextFmt::outCodePoint(std::ostream& stream, unsigned long cp) {
  char bytes[5] = {};
  if (cp < 0x80) {
    bytes[0] = static_cast<char>(cp);
  } else if (cp < 0x800) {
    bytes[0] = static_cast<char>(0xC0 | (cp >> 6));
    bytes[1] = static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    bytes[0] = static_cast<char>(0xE0 | (cp >> 12));
    bytes[1] = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    bytes[2] = static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    bytes[0] = static_cast<char>(0xF0 | (cp >> 18));
    bytes[1] = static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    bytes[2] = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    bytes[3] = static_cast<char>(0x80 | (cp & 0x3F));
  }
  // A NUL code unit is written as the one byte it is.
  if (cp == 0) return out(stream, '\0');
  return out(stream, bytes);
}

}  // namespace qor::quv::layout
