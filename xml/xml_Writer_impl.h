/* Internals of XMLWriter shared with its tests: the character classes of
 * the escaping loops, the UTF-8 boundary rule of the buffer, and inspection
 * of a writer's state (the writer state, the indentation, the element stack,
 * and a way into the CDATA state that no public operation enters). Not part
 * of the public API. */
#ifndef KELP_XML_XML_WRITER_IMPL_H
#define KELP_XML_XML_WRITER_IMPL_H

#include <array>
#include <cstddef>

#include <kelp/kelp_api.h>
#include <kelp/xml/xml_Writer.h>

namespace qor::quv::xml::detail {

/* Character classes of the escaping loops: the bytes that end a run of
 * plain text in an attribute value (' & <) and in character data (< > &).
 * The terminating NUL ends a run in both. */
constexpr unsigned char kAttrSpecial = 0x1;
constexpr unsigned char kTextSpecial = 0x2;
/* The further bytes a lossless writer escapes: tab, line feed and carriage
 * return in attribute values (a reader would normalise them to spaces) and
 * carriage return in character data (a reader would turn it into a line
 * feed). */
constexpr unsigned char kAttrLossless = kAttrSpecial | 0x4;
constexpr unsigned char kTextLossless = kTextSpecial | 0x8;

constexpr std::array<unsigned char, 256> makeWriterChars() {
  std::array<unsigned char, 256> t{};
  t[0] = kAttrSpecial | kTextSpecial;
  t['\''] = kAttrSpecial;
  t['&'] = kAttrSpecial | kTextSpecial;
  t['<'] = kAttrSpecial | kTextSpecial;
  t['>'] = kTextSpecial;
  t['\t'] = 0x4;
  t['\n'] = 0x4;
  t['\r'] = 0x4 | 0x8;
  return t;
}
inline constexpr std::array<unsigned char, 256> kWriterChars = makeWriterChars();

/* The number of bytes at the end of [begin, end) that start a UTF-8
 * sequence without finishing it (0 to 3): a lead byte followed by fewer
 * continuation bytes than it announces. */
inline std::size_t incompleteUtf8Tail(const char* begin, const char* end) {
  std::size_t back = 0;
  const char* p = end;
  while (p > begin && back < 4) {
    unsigned char c = static_cast<unsigned char>(*--p);
    ++back;
    if ((c & 0xc0) == 0x80) continue;  // a continuation byte: look further
    std::size_t len = c >= 0xf0 ? 4 : c >= 0xe0 ? 3 : c >= 0xc0 ? 2 : 1;
    return len > back ? back : 0;
  }
  return 0;  // only continuation bytes: nothing to wait for
}

struct KELP_API XMLWriterProbe {
  /* Writer states. */
  static constexpr int kProlog = 0;
  static constexpr int kContent = 1;
  static constexpr int kStartTagOpen = 2;
  static constexpr int kCData = 3;
  /* The size of the output buffer and of the conversion buffer. */
  static constexpr std::size_t kBufferSize = 8192;

  static int state(const XMLWriter& w);
  static void setState(XMLWriter& w, int state);
  /* The current indentation in columns. */
  static int indent(const XMLWriter& w);
  static std::size_t depth(const XMLWriter& w);
  /* Whether output is converted (a codec is open). */
  static bool converts(const XMLWriter& w);
};

}  // namespace qor::quv::xml::detail

#endif
