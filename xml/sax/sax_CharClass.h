// Byte classes of the XML scanners: one 256-entry table, queried by inline
// functions, shared by the input sources and the reader. Internal to the
// library.
//
// Bytes from 0x80 up count as name characters (also as first ones): in
// UTF-8 they are the bytes of multi-byte sequences, and every character
// outside ASCII that may stand in an XML name is encoded with them. The
// scanners therefore never split a multi-byte sequence, and they stop at
// the NUL sentinel behind the buffered data because NUL is in no class.
#ifndef KELP_XML_SAX_SAX_CHARCLASS_H
#define KELP_XML_SAX_SAX_CHARCLASS_H

#include <cstdint>

namespace qor::quv::xml::sax::detail {

enum CharClassBits : std::uint8_t {
  kCharSpace = 0x01,      // white space: space, tab, CR, LF
  kCharNameStart = 0x02,  // may start a name: letters, '_', ':', bytes >= 0x80
  kCharName = 0x04,       // may continue a name: the above, digits, '-', '.'
};

struct CharClassTable {
  std::uint8_t bits[256];
};

constexpr void setCharClass(CharClassTable& t, const char* chars, std::uint8_t bits) {
  for (; *chars; ++chars) t.bits[static_cast<unsigned char>(*chars)] = bits;
}

constexpr CharClassTable makeCharClassTable() {
  CharClassTable t{};
  setCharClass(t, " \t\r\n", kCharSpace);
  setCharClass(
      t, "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_:", kCharNameStart | kCharName);
  setCharClass(t, "0123456789-.", kCharName);
  for (int c = 0x80; c <= 0xff; ++c) t.bits[c] = kCharNameStart | kCharName;
  return t;
}

inline constexpr CharClassTable kCharClass = makeCharClassTable();

inline bool isCharClass(char c, std::uint8_t bits) {
  return (kCharClass.bits[static_cast<unsigned char>(c)] & bits) != 0;
}
inline bool isXmlSpace(char c) {
  return isCharClass(c, kCharSpace);
}
inline bool isNameStartChar(char c) {
  return isCharClass(c, kCharNameStart);
}
inline bool isNameChar(char c) {
  return isCharClass(c, kCharName);
}

}  // namespace qor::quv::xml::sax::detail

#endif
