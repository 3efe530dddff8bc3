// The XML reader's scanner: the one byte-class table every part of the
// reader classifies input bytes with, the UTF-8 name-character checks, and
// the cursor through which it reads the buffered input of the innermost
// source in runs. Nothing here knows the grammar.
#ifndef KELP_XML_SAX_SAX_SCANNER_IMPL_H
#define KELP_XML_SAX_SAX_SCANNER_IMPL_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include <kelp/xml/sax/sax_InputSource.h>
#include <kelp/xml/sax/sax_StackedInputSource.h>

namespace qor::quv::xml::sax::detail {

// One flag per scanner. Every "stop" class holds CR and LF: the scanners
// normalise line ends and count line feeds as they go; and the control
// characters that XML forbids, which they reject.
enum : std::uint16_t {
  kNameStart = 1u << 0,     // ASCII letters, '_' and ':'
  kNameChar = 1u << 1,      // ASCII name start plus digits, '-' and '.'
  kSpace = 1u << 2,         // space, tab, CR, LF
  kTextStop = 1u << 3,      // character data: '<' '&' ']'
  kAttrDqStop = 1u << 4,    // attribute value in double quotes: '"' '<' '&'
  kAttrSqStop = 1u << 5,    // attribute value in single quotes: '\'' '<' '&'
  kDashStop = 1u << 6,      // comment: '-'
  kBracketStop = 1u << 7,   // CDATA section: ']'
  kQuestionStop = 1u << 8,  // processing instruction: '?'
  kForbidden = 1u << 9,     // control characters XML does not allow
  kUtf8Check = 1u << 10,    // lead bytes of surrogates, U+FFFE/F, > U+10FFFF
  kNonAscii = 1u << 11,     // bytes from 0x80: names check them one character at a time
  kNamePart = 1u << 12      // name characters but ':', which splits qualified names
};

struct ScanClassTable {
  std::uint16_t v[256];
  constexpr ScanClassTable() : v() {
    for (int c = 0; c < 256; ++c) {
      std::uint16_t f = 0;
      bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
      if (letter || c == '_' || c == ':') f |= kNameStart | kNameChar;
      if (c >= 0x80) f |= kNonAscii;
      if ((c >= '0' && c <= '9') || c == '-' || c == '.') f |= kNameChar;
      if (c == ' ' || c == '\t' || c == '\r' || c == '\n') f |= kSpace;
      if ((c < 0x20 && c != '\t' && c != '\r' && c != '\n'))
        f |= kForbidden | kTextStop | kAttrDqStop | kAttrSqStop | kDashStop | kBracketStop |
             kQuestionStop;
      if (c == 0xED || c == 0xEF || c >= 0xF4) f |= kUtf8Check;
      if (c == '\r' || c == '\n')
        f |= kTextStop | kAttrDqStop | kAttrSqStop | kDashStop | kBracketStop | kQuestionStop;
      if (c == '<' || c == '&') f |= kTextStop | kAttrDqStop | kAttrSqStop;
      if (c == ']') f |= kTextStop | kBracketStop;
      if (c == '"') f |= kAttrDqStop;
      if (c == '\'') f |= kAttrSqStop;
      if (c == '-') f |= kDashStop;
      if (c == '?') f |= kQuestionStop;
      if ((f & kNameChar) && c != ':') f |= kNamePart;
      v[c] = f;
    }
  }
};

inline constexpr ScanClassTable kScanClass{};

inline std::uint16_t scanClass(char c) {
  return kScanClass.v[static_cast<unsigned char>(c)];
}

// Whether code point c (from U+0080 up) may stand in an XML name, as its
// first character when `first`.
inline bool isNameCodePoint(std::uint32_t c, bool first) {
  if (c >= 0xC0 && c <= 0x2FF) return c != 0xD7 && c != 0xF7;
  if (c >= 0x370 && c <= 0x1FFF) return c != 0x37E;
  if (c == 0x200C || c == 0x200D) return true;
  if ((c >= 0x2070 && c <= 0x218F) || (c >= 0x2C00 && c <= 0x2FEF)) return true;
  if ((c >= 0x3001 && c <= 0xD7FF) || (c >= 0xF900 && c <= 0xFDCF)) return true;
  if ((c >= 0xFDF0 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0xEFFFF)) return true;
  if (first) return false;
  return c == 0xB7 || (c >= 0x300 && c <= 0x36F) || c == 0x203F || c == 0x2040;
}

// The UTF-8 character at [p, e), p < e, as a name character: its length in
// bytes when it is one (a first one when `first`), 0 when it is not or is
// malformed, -1 when the window ends inside a sequence that is well formed
// so far.
inline int utf8NameChar(const char* p, const char* e, bool first) {
  auto b = [p](std::ptrdiff_t i) { return static_cast<unsigned char>(p[i]); };
  int n;
  std::uint32_t c;
  if (b(0) < 0xC2) return 0;  // ASCII, a continuation byte or an overlong lead
  if (b(0) < 0xE0) {
    n = 2;
    c = b(0) & 0x1Fu;
  } else if (b(0) < 0xF0) {
    n = 3;
    c = b(0) & 0x0Fu;
  } else if (b(0) < 0xF5) {
    n = 4;
    c = b(0) & 0x07u;
  } else {
    return 0;
  }
  std::ptrdiff_t have = e - p < n ? e - p : n;
  for (std::ptrdiff_t i = 1; i < have; ++i) {
    if ((b(i) & 0xC0) != 0x80) return 0;
    c = (c << 6) | (b(i) & 0x3Fu);
  }
  if (have < n) return -1;
  if ((n == 3 && c < 0x800) || (n == 4 && (c < 0x10000 || c > 0x10FFFF))) return 0;
  return isNameCodePoint(c, first) ? n : 0;
}

// The length of the UTF-8 sequence that lead byte b starts (1 for any
// other byte).
inline int utf8Length(unsigned char b) {
  return b < 0xC0 ? 1 : b < 0xE0 ? 2 : b < 0xF0 ? 3 : 4;
}

// The reader's view of its input: a window [p, e) of buffered bytes of the
// innermost source. Bytes are taken by moving p; the source learns of them
// (count and line feeds) only at commit(), which happens before every refill,
// before any direct call on the source and before an error is reported, so
// the source's line number is exact whenever anyone can see it.
struct Cursor {
  InputSource* in = nullptr;   // the source the window belongs to
  const char* mark = nullptr;  // first byte not yet committed
  const char* p = nullptr;
  const char* e = nullptr;
  int lineFeeds = 0;  // line feeds among [mark, p)
  // With a stack: the runs come straight from its top source (the stack is
  // only asked to pop an exhausted one); whether the window belongs to an
  // entity pushed on it, and the bytes taken from the outermost source.
  StackedInputSource* stack = nullptr;
  InputSource* base = nullptr;
  bool inEntity = false;
  std::size_t outerBytes = 0;
  // Entity ends to report: set once the stack is below watchDepth, the
  // depth of the innermost entity whose end is awaited (0: none).
  std::size_t watchDepth = 0;
  bool ended = false;
  // External entities on the stack (source and depth, innermost last).
  // Every byte taken from one counts against the expansion budget, the
  // larger of expansionMin and expansionFactor times outerBytes; a new
  // window is refused once the count has passed it (overBudget).
  struct External {
    const InputSource* source;
    std::size_t depth;
  };
  std::vector<External> externals;
  bool inExternal = false;
  bool overBudget = false;
  std::size_t* expanded = nullptr;
  std::size_t expansionMin = 0;
  std::size_t expansionFactor = 0;

  void attach(InputSource* source, StackedInputSource* stacked = nullptr) {
    in = base = stacked ? stacked->top() : source;
    stack = stacked;
    mark = p = e = nullptr;
    lineFeeds = 0;
    inEntity = false;
    outerBytes = 0;
    watchDepth = 0;
    ended = false;
    externals.clear();
    inExternal = false;
    overBudget = false;
  }
  // Forgets the external entities that have left the stack.
  void pruneExternals() {
    const std::size_t depth = stack ? stack->depth() : 0;
    while (!externals.empty() && externals.back().depth > depth) externals.pop_back();
  }
  bool withinBudget() const {
    std::size_t budget;
    if (__builtin_mul_overflow(outerBytes, expansionFactor, &budget))
      budget = static_cast<std::size_t>(-1);
    if (budget < expansionMin) budget = expansionMin;
    return *expanded <= budget;
  }
  void commit() {
    if (p != mark) {
      std::size_t n = static_cast<std::size_t>(p - mark);
      in->consumeRun(n, lineFeeds);
      if (!inEntity)
        outerBytes += n;
      else if (inExternal)
        *expanded += n;
    }
    mark = p;
    lineFeeds = 0;
  }
  // Commits and forgets the window: the source is about to be used directly
  // (reset, pushed on, read byte by byte).
  void drop() {
    commit();
    mark = p = e = nullptr;
  }
  // Makes at least one byte available; false at end of input or on a read
  // error (the source's flags tell which).
  bool fill() {
    commit();
    if (inExternal && !withinBudget()) overBudget = true;
    if (overBudget) {
      mark = p = e = nullptr;
      return false;
    }
    const char* b = nullptr;
    const char* end = nullptr;
    if (stack) {
      in = stack->top();
      while (!in->peekRun(&b, &end) || b == end) {
        if (!stack->pop()) {
          if (stack->depth() < watchDepth) ended = true;
          mark = p = e = nullptr;
          return false;
        }
        in = stack->top();
      }
      inEntity = in != base;
      if (stack->depth() < watchDepth) ended = true;
      inExternal = false;
      if (!externals.empty()) {
        pruneExternals();
        inExternal = !externals.empty() && externals.back().source == in &&
                     externals.back().depth == stack->depth();
        if (inExternal && !withinBudget()) {
          overBudget = true;
          mark = p = e = nullptr;
          return false;
        }
      }
    } else if (!in->peekRun(&b, &end) || b == end) {
      mark = p = e = nullptr;
      return false;
    }
    mark = p = b;
    e = end;
    return true;
  }
  // The next byte (0..255) without taking it, or -1 at the end.
  int peek() {
    if (p == e && !fill()) return -1;
    return static_cast<unsigned char>(*p);
  }
  // Takes the byte peek() returned.
  void skip() {
    if (*p == '\n') ++lineFeeds;
    ++p;
  }
  int next() {
    int c = peek();
    if (c >= 0) skip();
    return c;
  }
};

}  // namespace qor::quv::xml::sax::detail

#endif
