// SimpleXMLReader::Data's token readers over the scanner's cursor: white
// space, fixed strings, runs of text, names and attribute values, and the
// fatal error reports every part of the grammar ends with. Inline, as the
// grammar calls them for every token; included at the end of
// sax_SimpleXMLReader_impl.h, which defines Data.
#ifndef KELP_XML_SAX_SAX_READERTOKENS_IMPL_H
#define KELP_XML_SAX_SAX_READERTOKENS_IMPL_H

#include <kelp/xml/sax/sax_ParseException.h>

namespace qor::quv::xml::sax {

// Reports msg as a fatal error at the current input position. Always
// returns false so that grammar routines can `return fatal(...)`.
inline bool SimpleXMLReader::Data::fatal(const std::string& msg) {
  cur.commit();
  if (failed) return false;  // the first error ends the parse; callers may only echo it
  failed = true;
  // Input refused for the expansion budget looks like its end to the
  // grammar: the budget is the reason.
  SAXParseException ex(cur.overBudget ? std::string(kExpansionLimit) : msg, input->getLocator());
  errors->fatalError(ex);  // its answer changes nothing: the parse stops
  return false;
}

// After scanText returned a negative result.
inline bool SimpleXMLReader::Data::scanEnd(int c) {
  return c == -1 ? endOfInput() : false;
}

inline bool SimpleXMLReader::Data::endOfInput() {
  return fatal(input->error() ? "read error" : "unexpected end of input");
}

inline bool SimpleXMLReader::Data::expected(const char* what) {
  return fatal(std::string("syntax error ('%1' expected)") << what);
}

inline bool SimpleXMLReader::Data::expectedOneOf(const char* set) {
  return fatal(std::string("syntax error ([%1] expected)") << set);
}

// A token past maxToken: the parse ends rather than memory.
inline bool SimpleXMLReader::Data::tooLong() {
  return fatal(std::string("token longer than the limit of %1 bytes") << std::to_string(maxToken));
}

// Skips white space; true when there was any.
[[gnu::always_inline]] inline bool SimpleXMLReader::Data::skipSpace() {
  bool any = false;
  for (;;) {
    if (cur.p == cur.e && !cur.fill()) return any;
    const char* p = cur.p;
    const char* e = cur.e;
    int lf = 0;
    while (p < e && (scanClass(*p) & detail::kSpace)) {
      lf += *p == '\n';
      ++p;
    }
    any |= p != cur.p;
    cur.lineFeeds += lf;
    cur.p = p;
    if (p < e) return any;
  }
}

// Does the input continue with s (n bytes, zero-terminated) and, when
// follow is given, then with one of its bytes? Takes nothing.
inline bool SimpleXMLReader::Data::lookingAt(const char* s, size_t n, const char* follow) {
  if (cur.p == cur.e && !cur.fill()) return false;
  size_t have = static_cast<size_t>(cur.e - cur.p);
  if (have > n || (have == n && !follow)) {
    if (std::memcmp(cur.p, s, n) != 0) return false;
    return !follow || (cur.p[n] && std::strchr(follow, cur.p[n]));
  }
  if (std::memcmp(cur.p, s, have < n ? have : n) != 0) return false;
  // The window ends inside the pattern: the source looks further.
  cur.drop();
  const char* patterns[] = {s, nullptr};
  return input->testPending(patterns, follow);
}

// Takes n bytes known to be there (after lookingAt).
inline void SimpleXMLReader::Data::take(size_t n) {
  while (n-- > 0) {
    cur.peek();
    cur.skip();
  }
}

inline bool SimpleXMLReader::Data::accept(const char* s, size_t n) {
  if (!lookingAt(s, n)) return false;
  take(n);
  return true;
}

inline bool SimpleXMLReader::Data::expect(char c) {
  int got = cur.peek();
  if (got < 0) return endOfInput();
  if (got != static_cast<unsigned char>(c)) {
    char s[2] = {c, 0};
    return expected(s);
  }
  cur.skip();
  return true;
}

inline int SimpleXMLReader::Data::scanText(std::uint16_t stop, std::string& out,
                                           bool untilEntityEnd) {
  // UTF-8 output is the input's own bytes: the characters that XML
  // forbids and a decoder would not have let through are looked for here.
  if (useUtf8) stop |= detail::kUtf8Check;
  for (;;) {
    if (out.size() > maxToken) [[unlikely]] {
      tooLong();
      return -2;
    }
    if (cur.p == cur.e) {
      if (!cur.fill()) return -1;
      if (untilEntityEnd && cur.ended) return kEntityEnded;
    }
    const char* s = cur.p;
    const char* p = s;
    const char* e = cur.e;
    for (;;) {
      while (e - p >= 4) {
        if (scanClass(p[0]) & stop) goto hit;
        if (scanClass(p[1]) & stop) {
          p += 1;
          goto hit;
        }
        if (scanClass(p[2]) & stop) {
          p += 2;
          goto hit;
        }
        if (scanClass(p[3]) & stop) {
          p += 3;
          goto hit;
        }
        p += 4;
      }
      while (p < e && !(scanClass(*p) & stop)) ++p;
    hit:
      if (p == e) break;
      if (*p == '\n') {
        ++cur.lineFeeds;
        ++p;
        continue;
      }
      if (scanClass(*p) & (detail::kUtf8Check | detail::kForbidden)) [[unlikely]] {
        bool bad = scanClass(*p) & detail::kForbidden;
        if (!bad) {
          if (e - p >= 3 || static_cast<unsigned char>(*p) >= 0xF5) {
            bad = forbiddenUtf8(p, e);
          } else {
            // The window ends inside the sequence.
            out.append(s, static_cast<size_t>(p - s));
            cur.p = p;
            bad = forbiddenHere();
            s = p = cur.p;
            e = cur.e;
          }
          if (!bad) {
            ++p;
            continue;
          }
        }
        out.append(s, static_cast<size_t>(p - s));
        cur.p = p;
        fatal(kIllegalCharacter);
        return -2;
      }
      if (*p == '\r') {
        out.append(s, static_cast<size_t>(p - s));
        out += '\n';
        cur.p = p + 1;
        if (cur.p == cur.e && !cur.fill()) return -1;
        if (*cur.p == '\n') cur.skip();
        if (untilEntityEnd && cur.ended) return kEntityEnded;
        s = p = cur.p;
        e = cur.e;
        continue;
      }
      out.append(s, static_cast<size_t>(p - s));
      cur.p = p;
      if (out.size() > maxToken) [[unlikely]] {
        tooLong();
        return -2;
      }
      return static_cast<unsigned char>(*p);
    }
    out.append(s, static_cast<size_t>(p - s));
    cur.p = p;
  }
}

// Does [p, e) start with an encoded surrogate, U+FFFE, U+FFFF or a code
// point beyond U+10FFFF? A
// sequence cut by the end of the window is let through.
inline bool SimpleXMLReader::Data::forbiddenUtf8(const char* p, const char* e) {
  auto b = [p](int i) { return static_cast<unsigned char>(p[i]); };
  if (b(0) >= 0xF5) return true;
  if (e - p < 3) return false;
  if (b(0) == 0xF4) return b(1) >= 0x90;
  if (b(0) == 0xED) return b(1) >= 0xA0 && b(1) <= 0xBF;
  return b(1) == 0xBF && (b(2) == 0xBE || b(2) == 0xBF);
}

// Does the input at cur.p start with a sequence that forbiddenUtf8
// refuses? A sequence cut by the window's end is read from the source
// and put back, after which the window shows it whole (when the source
// can show more than one byte at a time).
inline bool SimpleXMLReader::Data::forbiddenHere() {
  const int n = detail::utf8Length(static_cast<unsigned char>(*cur.p));
  if (cur.e - cur.p >= n || static_cast<unsigned char>(*cur.p) >= 0xF5)
    return forbiddenUtf8(cur.p, cur.e);
  char bytes[4];
  int got = takeCutSequence(n, bytes);
  bool bad = forbiddenUtf8(bytes, bytes + got);
  putBack(bytes, got);
  return !cur.fill() || bad;
}

// The n-byte UTF-8 sequence at cur.p, cut by the window's end, taken from
// the source into bytes; returns how many of its bytes there were.
inline int SimpleXMLReader::Data::takeCutSequence(int n, char* bytes) {
  cur.drop();
  int got = 0;
  while (got < n) {
    int c = input->get();
    if (c < 0) break;
    bytes[got++] = static_cast<char>(c);
  }
  return got;
}

inline void SimpleXMLReader::Data::putBack(const char* bytes, int got) {
  for (int i = got; i-- > 0;) input->unget(bytes[i]);
}

inline char* SimpleXMLReader::Data::scratchCopy(const char* s, size_t n) {
  char* r = static_cast<char*>(scratch.alloc(static_cast<unsigned>(n + 1)));
  std::memcpy(r, s, n);
  r[n] = 0;
  return r;
}

// Reads a name into the scratch allocator; null (nothing reported) when no
// name starts here. ASCII names that end inside the window take the first
// loop only.
// Also notes where the name's first colon stands and whether there are
// more (nameColon, nameColons); the scan stops at each colon, so this
// costs nothing per character.
inline char* SimpleXMLReader::Data::readName(size_t* length) {
  if (cur.p == cur.e && !cur.fill()) return nullptr;
  const char* s = cur.p;
  const char* p = s;
  if (scanClass(*p) & detail::kNameStart) {
    const char* colon = *p == ':' ? p : nullptr;
    int colons = colon != nullptr;
    ++p;
    std::uint16_t c = 0;
    for (;;) {
      while (p < cur.e && ((c = scanClass(*p)) & detail::kNamePart)) ++p;
      // A name character that is no name part is a colon.
      if (p == cur.e || !(c & detail::kNameChar)) break;
      if (!colons++) colon = p;
      ++p;
    }
    if (p < cur.e && !(c & detail::kNonAscii) && static_cast<size_t>(p - s) <= maxToken) {
      cur.p = p;
      *length = static_cast<size_t>(p - s);
      char* name = scratchCopy(s, *length);
      nameColon = colon ? name + (colon - s) : nullptr;
      nameColons = colons;
      return name;
    }
  } else if (!(scanClass(*p) & detail::kNonAscii)) {
    return nullptr;
  }
  nameBuf.assign(s, static_cast<size_t>(p - s));
  cur.p = p;
  char* name = readNameRest(false, length);
  if (name) {
    nameColon = static_cast<char*>(std::memchr(name, ':', *length));
    nameColons = 0;
    for (size_t i = 0; i < *length; ++i) nameColons += name[i] == ':';
  }
  return name;
}

// A name token (any name character may come first), or null.
inline char* SimpleXMLReader::Data::readNmToken(size_t* length) {
  nameBuf.clear();
  return readNameRest(true, length);
}

// Goes on with the name begun in nameBuf: characters outside ASCII and
// names that run past the window. With UTF-8 text every character from
// U+0080 is checked against the XML name ranges; other output encodings
// cannot be told apart byte by byte and pass as they are.
inline char* SimpleXMLReader::Data::readNameRest(bool token, size_t* length) {
  for (;;) {
    if (cur.p == cur.e && !cur.fill()) break;
    const char* p = cur.p;
    const std::uint16_t cls = scanClass(*p);
    if (cls & ((nameBuf.empty() && !token) ? detail::kNameStart : detail::kNameChar)) {
      const char* s = p++;
      while (p < cur.e && (scanClass(*p) & detail::kNameChar)) ++p;
      nameBuf.append(s, static_cast<size_t>(p - s));
      cur.p = p;
      if (nameBuf.size() > maxToken) return tooLong(), nullptr;
      continue;
    }
    if (!(cls & detail::kNonAscii)) break;
    int n = 1;
    if (useUtf8) {
      n = detail::utf8NameChar(p, cur.e, nameBuf.empty() && !token);
      if (n < 0) {
        // The window ends inside the character.
        if (joinCharacter(nameBuf.empty() && !token)) continue;
        break;
      }
      if (n == 0) break;
    }
    nameBuf.append(p, static_cast<size_t>(n));
    cur.p = p + n;
    if (nameBuf.size() > maxToken) return tooLong(), nullptr;
  }
  if (nameBuf.empty()) return nullptr;
  if (nameBuf.size() > maxToken) return tooLong(), nullptr;
  *length = nameBuf.size();
  return scratchCopy(nameBuf.data(), nameBuf.size());
}

// The window ends inside the UTF-8 sequence at cur.p: takes its bytes from
// the source one by one and appends them to nameBuf when they form a name
// character; otherwise puts them back and returns false.
inline bool SimpleXMLReader::Data::joinCharacter(bool first) {
  const int n = detail::utf8Length(static_cast<unsigned char>(*cur.p));
  char bytes[4];
  int got = takeCutSequence(n, bytes);
  if (got == n && detail::utf8NameChar(bytes, bytes + n, first) == n) {
    nameBuf.append(bytes, static_cast<size_t>(n));
    return true;
  }
  putBack(bytes, got);
  return false;
}

// Reads an attribute value after its opening quote, resolving references;
// the result lives in the scratch allocator. Null after a reported error.
inline const char* SimpleXMLReader::Data::readAttributeValue(char quote, size_t* length) {
  const std::uint16_t stop = (quote == '"' ? detail::kAttrDqStop : detail::kAttrSqStop) |
                             (useUtf8 ? detail::kUtf8Check : 0);
  // The common case: the whole value lies in the window and holds no
  // reference and no line end.
  const char* s = cur.p;
  const char* p = s;
  while (p < cur.e && !(scanClass(*p) & stop)) ++p;
  if (p < cur.e && *p == quote && static_cast<size_t>(p - s) <= maxToken) {
    cur.p = p + 1;
    if (length) *length = static_cast<size_t>(p - s);
    return scratchCopy(s, static_cast<size_t>(p - s));
  }
  value.clear();
  const std::size_t depth = input->depth();
  for (;;) {
    int c = scanText(stop, value);
    if (c < 0) return scanEnd(c), nullptr;
    if (c == quote && cur.inEntity && input->depth() > depth) {
      // A quote from entity text is part of the value.
      cur.skip();
      value += quote;
      continue;
    }
    cur.skip();
    if (c == quote) break;
    if (c == '<') return fatal("syntax error ('<' not allowed in attribute value)"), nullptr;
    // '&': the replacement becomes part of the value
    if (!reference(RefContext::AttributeValue, quote, value)) return nullptr;
  }
  if (length) *length = value.size();
  return scratchCopy(value.data(), value.size());
}

// Removes the bindings above `keep`, newest first, and reports their ends.
inline bool SimpleXMLReader::Data::unbind(size_t keep) {
  while (scope.size() > keep)
    if (!content->endPrefixMapping(scope.unbindNewest())) return refused(content);
  return true;
}

// With namespaces on, element and attribute names are qualified names: at
// most one colon, with a name on either side of it; and no element has
// the prefix xmlns.
// colon: the first; colons: how many the name holds. The usual valid
// name passes the first test.
inline bool SimpleXMLReader::Data::checkQName(const char* name, size_t length, const char* colon,
                                              int colons, bool isElement) {
  if (colons == 1 && colon != name && colon + 1 != name + length &&
      (scanClass(colon[1]) & detail::kNameStart) && !(isElement && colon - name == 5))
    return true;
  return checkQNameFully(name, length, colon, colons, isElement);
}

// Splits a qualified name: uri and localName per the namespace rules.
// colon is the name's first colon, or null.
inline void SimpleXMLReader::Data::resolve(const char* qName, const char* colon, bool isElement,
                                           const char** uri, const char** localName) {
  if (!namespaces) {
    *uri = kEmpty;
    *localName = kEmpty;
    return;
  }
  scope.resolve(qName, colon, isElement, uri, localName);
}

}  // namespace qor::quv::xml::sax

#endif
