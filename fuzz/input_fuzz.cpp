// Fuzz target for the input sources: an ISInputSource (inside a
// StackedInputSource, as the reader uses it) decodes random bytes from a
// charset picked by the input, served in blocks of input-chosen sizes, and an
// input-chosen script drives every operation.
//
// Layout of an input: byte 0 picks the source charset, byte 1 the target,
// byte 2 the stream's block sizes, byte 3 the length n of the script; the
// next n bytes are the script, the rest is the document.
#include <kelp/host.h>
#include <kelp/util/utl_StringBuf.h>
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <kelp/xml/sax/sax_StackedInputSource.h>
#include <zob/zob_io.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

using namespace qor::quv::xml::sax;
using qor::quv::util::StringBuf;

namespace {

const char* const kCharsets[] = {
    "UTF-8",    "utf-8",      "UTF8",        "UTF-16",       "UTF-16BE",
    "UTF-16LE", "UTF-32",     "UTF-32BE",    "UTF-32LE",     "UCS-2",
    "UCS-4",    "ISO-8859-1", "latin1",      "windows-1252", "Shift_JIS",
    "EUC-JP",   "US-ASCII",   "ISO-2022-JP", "GB18030",      "Big5",
    "UTF-7",    "KOI8-R",     "EUC-KR",      "IBM037",       "NO-SUCH",
    ""};
constexpr std::size_t kCharsetCount = sizeof kCharsets / sizeof kCharsets[0];

const char* const kTargets[] = {"UTF-8", "ISO-8859-1", "", "UTF-16"};

// A stream over the document that hands out blocks of sizes picked by a
// seed and fails at the end when the seed says so; counted by the host's
// object base.
class FuzzStream final : public kelp::host::Object<zob::io::IInputStream> {
 public:
  FuzzStream(const std::uint8_t* data, std::size_t size, std::uint8_t seed)
      : data_(data), size_(size), seed_(seed) {}
  ZResult read(void* buffer, std::size_t size, std::size_t* count) override {
    *count = 0;
    if (pos_ == size_) return (seed_ & 0x80) ? zob::kIOError : zob::kOk;
    std::size_t block = (seed_ & 0x40) ? size : 1 + (turn_++ * (seed_ | 1)) % 17;
    std::size_t n = block < size ? block : size;
    if (n > size_ - pos_) n = size_ - pos_;
    std::memcpy(buffer, data_ + pos_, n);
    pos_ += n;
    *count = n;
    return zob::kOk;
  }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
  std::size_t pos_ = 0;
  std::size_t turn_ = 0;
  std::uint8_t seed_;
};

// Reads every byte of a string the library handed out.
std::size_t touch(const char* s, std::size_t n) {
  std::size_t sum = 0;
  for (std::size_t i = 0; i < n; ++i) sum += static_cast<unsigned char>(s[i]);
  return sum;
}

void check(bool ok) {
  if (!ok) std::abort();
}

volatile std::size_t gSink;

// RFC 3629, decoded the long way: an oracle apart from the library's.
bool wellFormed(const std::string& s) {
  for (std::size_t i = 0; i < s.size();) {
    const unsigned b = static_cast<unsigned char>(s[i]);
    const std::size_t n = b < 0x80 ? 1 : (b >> 5) == 6 ? 2 : (b >> 4) == 14 ? 3 : (b >> 3) == 30 ? 4 : 0;
    if (n == 0 || i + n > s.size()) return false;
    std::uint32_t c = n == 1 ? b : b & (0x7Fu >> n);
    for (std::size_t k = 1; k < n; ++k) {
      const unsigned t = static_cast<unsigned char>(s[i + k]);
      if ((t >> 6) != 2) return false;
      c = (c << 6) | (t & 0x3F);
    }
    static const std::uint32_t kMin[] = {0, 0, 0x80, 0x800, 0x10000};
    if (c < kMin[n] || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) return false;
    i += n;
  }
  return true;
}

// The whole document decoded from `from` into UTF-8, fetched in blocks of
// up to 61 bytes.
std::string drain(const std::uint8_t* data, std::size_t size, const char* from) {
  zob::Ref<zob::io::IInputStream> stream;
  if (EFAILED(zobCreateMemoryInputStream(data, size, false, stream.out()))) return "";
  ISInputSource source("", "whole", stream.get());
  if (!source.setEncoding(from, "UTF-8")) return "";
  std::string out;
  char block[61];
  int n;
  while ((n = source.fetch(block, sizeof block)) > 0) out.append(block, static_cast<std::size_t>(n));
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 4) return 0;
  const char* from = kCharsets[data[0] % kCharsetCount];
  const char* to = kTargets[data[1] % 4];
  const std::uint8_t blocks = data[2];
  std::size_t scriptLength = data[3];
  data += 4;
  size -= 4;
  if (scriptLength > size) scriptLength = size;
  const std::uint8_t* script = data;
  data += scriptLength;
  size -= scriptLength;

  zob::Ref<zob::io::IInputStream> stream(new FuzzStream(data, size, blocks));
  ISInputSource base("pub", "fuzz", stream.get());
  StackedInputSource in(&base);
  (void)in.setEncoding(from, to);

  const char* patterns[] = {"<?xml", "<!--", "]]>", "&#x", "\xEF\xBB\xBF", nullptr};
  std::string longPattern(9000, 'a');  // longer than the first buffer
  const char* longPatterns[] = {longPattern.c_str(), nullptr};
  StringBuf buf;
  char block[64];
  std::size_t sink = 0;
  int last = 'x';

  for (std::size_t i = 0; i < scriptLength; ++i) {
    const std::uint8_t op = script[i];
    const std::uint8_t arg = op >> 4;
    switch (op % 14) {
      case 0: {
        int c = in.get();
        check(c >= -1 && c <= 255);
        if (c >= 0) last = c;
        break;
      }
      case 1:
        in.unget(static_cast<char>(last));
        break;
      case 2: {
        int n = in.consume(arg * 3);
        check(n >= -1 && n <= arg * 3);
        break;
      }
      case 3:
        sink += in.testPending(patterns, (arg & 1) ? " \t\r\n" : nullptr);
        break;
      case 4:
        sink += in.testPending(longPatterns, nullptr);
        break;
      case 5: {
        unsigned before = buf.getLength();
        int n = in.skipSpace((arg & 1) ? nullptr : &buf);
        check(n >= 0);
        if (!(arg & 1)) check(buf.getLength() == before + static_cast<unsigned>(n));
        break;
      }
      case 6:
      case 7: {
        unsigned before = buf.getLength();
        bool found = (op % 14 == 6) ? in.getName(&buf) : in.getNmToken(&buf);
        check(found == (buf.getLength() > before));
        break;
      }
      case 8: {
        Locator loc = in.getLocator();
        std::string pub = loc.getPublicId(), sys = loc.getSystemId();
        sink += touch(pub.data(), pub.size()) + touch(sys.data(), sys.size());
        // The line follows the script's ungets of line feeds, so only the
        // column has a fixed value.
        check(loc.getColumnNumber() == 0);
        sink += static_cast<std::size_t>(loc.getLineNumber());
        break;
      }
      case 9:
        (void)in.setEncoding(kCharsets[arg % kCharsetCount], to);
        break;
      case 10: {
        int n = in.fetch(block, 1 + arg * 4);
        check(n >= -1 && n <= 1 + arg * 4);
        if (n > 0) sink += touch(block, static_cast<std::size_t>(n));
        break;
      }
      case 11: {
        // Entity text: a source over a piece of the document, decoded alike.
        std::size_t n = size < arg * 5u ? size : arg * 5u;
        zob::Ref<zob::io::IInputStream> piece;
        if (!EFAILED(zobCreateMemoryInputStream(data, n, true, piece.out()))) {
          auto* entity = new ISInputSource("", "entity", piece.get());
          (void)entity->setEncoding(from, to);
          in.push(entity);
        }
        break;
      }
      case 12:
        (void)in.pop();
        break;
      case 13:
        sink += touch(buf.c_str(), buf.getLength());
        check(std::strlen(buf.c_str()) <= buf.getLength());
        buf.clear();
        break;
    }
  }
  // Whatever is left must come out and end.
  int c;
  std::size_t rest = 0;
  while ((c = in.get()) >= 0) {
    check(c <= 255);
    ++rest;
  }
  check(in.eof() || in.error());
  sink += rest;
  gSink = sink;  // keeps the reads alive
  // UTF-8 checked on its way through (equal names) and UTF-8 decoded by a
  // codec (names that differ in case) are both well formed, and the same
  // "?" for "?" unless the document holds lead bytes that no longer exist
  // (F5 to FF), or F4 with values past U+10FFFF, whose units the codec
  // counts differently.
  const std::string passed = drain(data, size, "UTF-8");
  const std::string decoded = drain(data, size, "utf-8");
  check(wellFormed(passed) && wellFormed(decoded));
  if (std::find_if(data, data + size, [](std::uint8_t b) { return b >= 0xF4; }) == data + size)
    check(passed == decoded);
  check(wellFormed(drain(data, size, from)));
  return 0;
}
