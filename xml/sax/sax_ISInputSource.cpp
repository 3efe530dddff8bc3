// Input from object-model and standard streams, decoded by a text codec.
#define QUV_SOURCE_NAME "sax_ISInputSource"
#include <kelp/xml/sax/sax_ISInputSource.h>

#include <cstdlib>
#include <cstring>
#include <istream>

#include <ktz/ktz_codec.h>
#include <ktz/ktz_locale.h>
#include <vorn/vorn_string.h>

#include "xml/sax/sax_Utf8Validator.h"

namespace qor::quv::xml::sax {

namespace {

// Bits of the flags word.
constexpr unsigned kConverting = 0x1;  // a codec decodes the input
constexpr unsigned kExhausted = 0x2;   // the stream has no more bytes
constexpr unsigned kValidating = 0x4;  // UTF-8 passes through, checked
constexpr unsigned kToUtf8 = 0x8;      // a codec decodes into UTF-8
constexpr int kMibUtf8 = 106;

// Raw bytes kept from the start of the input, so that a change of encoding
// can decode them again.
constexpr std::size_t kRetainLimit = 65536;
// The block read when setEncoding looks for a byte-order mark before any
// fetch did: what the first fetch of an 8192-byte buffer reads.
constexpr std::size_t kFirstBlock = 8192 - 16;
// Fetches smaller than this decode into a stash first, so that a whole
// character always has room.
constexpr std::size_t kStashSize = 32;

struct ByteOrderMark {
  const char* name;
  const char* bytes;
  std::size_t length;
};

constexpr ByteOrderMark kMarks[] = {
    {"UTF-8", "\xEF\xBB\xBF", 3},        {"UTF-16BE", "\xFE\xFF", 2},
    {"UTF-16LE", "\xFF\xFE", 2},         {"UTF-32BE", "\x00\x00\xFE\xFF", 4},
    {"UTF-32LE", "\xFF\xFE\x00\x00", 4},
};

inline bool isHighSurrogate(unsigned u) {
  return u >= 0xD800 && u <= 0xDBFF;
}
inline bool isLowSurrogate(unsigned u) {
  return u >= 0xDC00 && u <= 0xDFFF;
}

// The number of bytes that make up the undecodable unit at p (left > 0) in
// the encoding with the given MIBenum. When fewer bytes remain than a unit,
// the rest is one unit.
std::size_t badUnitLength(int mib, const unsigned char* p, std::size_t left) {
  switch (mib) {
    case 106: {  // UTF-8: the lead byte and its continuation bytes
      std::size_t n = 1;
      while (n < left && (p[n] & 0xC0) == 0x80) ++n;
      return n;
    }
    case 1000:  // UCS-2
      return left >= 2 ? 2 : left;
    case 1001:  // UCS-4
    case 1017:  // UTF-32
    case 1018:  // UTF-32BE
    case 1019:  // UTF-32LE
      return left > 3 ? 4 : left;
    case 1013:  // UTF-16BE
      if (left < 2) return left;
      if (left >= 4 && isHighSurrogate((p[0] << 8) | p[1]) && isLowSurrogate((p[2] << 8) | p[3]))
        return 4;
      return 2;
    case 1014:  // UTF-16LE
    case 1015:  // UTF-16
      if (left < 2) return left;
      if (left >= 4 && isHighSurrogate((p[1] << 8) | p[0]) && isLowSurrogate((p[3] << 8) | p[2]))
        return 4;
      return 2;
    default:
      return 1;
  }
}

}  // namespace

struct ISInputSource::Data {
  zob::io::IInputStream* stream = nullptr;  // a reference is held
  std::istream* istream = nullptr;
  bool ownIStream = false;
  KtzTextCodec* codec = nullptr;
  unsigned flags = 0;
  int mib = 0;
  // The raw input: raw[0, rawEnd) is the block kept (the start of the input
  // while it fits in kRetainLimit), raw[rawPos, rawEnd) is still pending.
  char* raw = nullptr;
  std::size_t rawCapacity = 0;
  std::size_t rawPos = 0;
  std::size_t rawEnd = 0;
  bool firstConversion = false;  // the next conversion starts the text
  bool finalDone = false;        // the codec has ended the text
  bool errorPending = false;     // a stream error to report on the next fetch
  // An ill-formed UTF-8 unit, already given its "?", may go on with
  // continuation bytes in the next block.
  bool skipContinuations = false;
  // Decoded bytes that did not fit a small fetch.
  char stash[kStashSize];
  std::size_t stashPos = 0;
  std::size_t stashLen = 0;

  ~Data() {
    ktzCloseTextCodec(codec);
    if (stream) stream->_comRelease();
    if (ownIStream) delete istream;
    std::free(raw);
  }

  // Reads up to n bytes of the stream into dst: the count, 0 at the end, -1
  // on an error.
  long readStream(char* dst, std::size_t n) {
    if (stream) {
      std::size_t got = 0;
      if (EFAILED(stream->read(dst, n, &got))) return -1;
      return static_cast<long>(got < n ? got : n);
    }
    if (istream) {
      try {
        istream->read(dst, static_cast<std::streamsize>(n));
        std::streamsize got = istream->gcount();
        if (got > 0) return static_cast<long>(got);
        return istream->bad() ? -1 : 0;
      } catch (...) {  // a stream that throws: no exception leaves the library
        return -1;
      }
    }
    return -1;
  }

  // Appends up to `want` bytes of the stream to the raw block. Consumed
  // bytes are dropped first when keeping them would pass kRetainLimit.
  long readBlock(std::size_t want) {
    if (want == 0) want = 1;
    if (rawPos > 0 && rawEnd + want > kRetainLimit) {
      std::memmove(raw, raw + rawPos, rawEnd - rawPos);
      rawEnd -= rawPos;
      rawPos = 0;
    }
    if (rawEnd + want > rawCapacity) {
      std::size_t capacity = rawCapacity ? rawCapacity : kFirstBlock;
      while (capacity < rawEnd + want) capacity *= 2;
      char* grown = static_cast<char*>(std::realloc(raw, capacity));
      if (!grown) return -1;
      raw = grown;
      rawCapacity = capacity;
    }
    long n = readStream(raw + rawEnd, want);
    if (n > 0) rawEnd += static_cast<std::size_t>(n);
    return n;
  }

  int fetchRaw(char* buffer, std::size_t size) {
    if (rawPos == rawEnd) {
      if (flags & kExhausted) return 0;
      long n = readBlock(size);
      if (n < 0) return -1;
      if (n == 0) {
        flags |= kExhausted;
        return 0;
      }
    }
    std::size_t n = rawEnd - rawPos < size ? rawEnd - rawPos : size;
    std::memcpy(buffer, raw + rawPos, n);
    rawPos += n;
    return static_cast<int>(n);
  }

  // The rest of an ill-formed UTF-8 unit whose "?" went out with the
  // previous block.
  void skipPendingContinuations() {
    while (rawPos < rawEnd && (static_cast<unsigned char>(raw[rawPos]) & 0xC0) == 0x80) ++rawPos;
    if (rawPos < rawEnd) skipContinuations = false;
  }

  // UTF-8 passed through without a codec is checked all the same: each
  // ill-formed unit becomes one "?", as a UTF-8 decoder would make it.
  int fetchValidated(char* buffer, std::size_t size) {
    std::size_t produced = 0;
    for (;;) {
      if (skipContinuations) skipPendingContinuations();
      if (rawPos == rawEnd) {
        if (produced > 0 || (flags & kExhausted)) break;
        long n = readBlock(size);
        if (n < 0) return -1;
        if (n == 0) flags |= kExhausted;
        continue;
      }
      const std::size_t room = size - produced;
      if (room == 0) break;
      const std::size_t left = rawEnd - rawPos;
      const std::size_t chunk = left < room ? left : room;
      const std::size_t good = detail::utf8ValidPrefix(raw + rawPos, chunk);
      std::memcpy(buffer + produced, raw + rawPos, good);
      produced += good;
      rawPos += good;
      if (good == chunk) {
        if (chunk == left) continue;
        break;
      }
      const int len = detail::utf8Sequence(raw + rawPos, left - good);
      if (len > 0) break;  // whole, but no room left for it
      if (len < 0 && !(flags & kExhausted)) {
        // Cut by the end of what was read: the rest comes with the next block.
        if (produced > 0) break;
        long n = readBlock(size);
        if (n < 0) return -1;
        if (n == 0) flags |= kExhausted;
        continue;
      }
      std::size_t skip =
          badUnitLength(kMibUtf8, reinterpret_cast<unsigned char*>(raw + rawPos), rawEnd - rawPos);
      rawPos += skip;
      if (rawPos == rawEnd && !(flags & kExhausted)) skipContinuations = true;
      buffer[produced++] = '?';
    }
    return static_cast<int>(produced);
  }

  int decode(char* buffer, std::size_t size) {
    if (!(flags & kConverting)) return fetchValidated(buffer, size);
    int n = fetchConverted(buffer, size);
    if (n > 0 && (flags & kToUtf8)) n = static_cast<int>(repairUtf8(buffer, static_cast<std::size_t>(n)));
    return n;
  }

  // The codecs' own idea of UTF-8 is wider than RFC 3629 (five- and
  // six-byte forms, values beyond U+10FFFF from UCS-4): what they make is
  // checked as well, each ill-formed unit made one "?" in place.
  static std::size_t repairUtf8(char* buffer, std::size_t n) {
    std::size_t r = detail::utf8ValidPrefix(buffer, n);
    std::size_t w = r;
    while (r < n) {
      r += badUnitLength(kMibUtf8, reinterpret_cast<unsigned char*>(buffer + r), n - r);
      buffer[w++] = '?';
      std::size_t good = detail::utf8ValidPrefix(buffer + r, n - r);
      std::memmove(buffer + w, buffer + r, good);
      w += good;
      r += good;
    }
    return w;
  }

  // One call of the codec on the pending raw input.
  ZResult convert(char* out, std::size_t outSize, std::size_t* made) {
    unsigned convFlags =
        (firstConversion ? kKtzConvFirst : 0u) | ((flags & kExhausted) ? kKtzConvFinal : 0u);
    std::size_t used = 0;
    ZResult r = ktzConvertText2(codec, raw ? raw + rawPos : nullptr, rawEnd - rawPos, &used, out,
                                outSize, made, convFlags);
    firstConversion = false;
    rawPos += used;
    if (r == zob::kOk && (convFlags & kKtzConvFinal)) finalDone = true;
    return r;
  }

  // Decodes into buffer until it is full or the input ends. size is at
  // least kStashSize.
  int fetchConverted(char* buffer, std::size_t size) {
    std::size_t produced = 0;
    // A stream error after decoded output: that output went out first.
    auto failRead = [&]() -> int {
      if (produced == 0) return -1;
      errorPending = true;
      return static_cast<int>(produced);
    };
    while (produced < size) {
      if (skipContinuations) skipPendingContinuations();
      if (rawPos == rawEnd) {
        if (flags & kExhausted) {
          if (!finalDone) {
            std::size_t made = 0;
            ZResult r = convert(buffer + produced, size - produced, &made);
            produced += made;
            if (r != kKtzConvOutputFull) finalDone = true;
          }
          break;
        }
        long n = readBlock(size);
        if (n < 0) return failRead();
        if (n == 0) flags |= kExhausted;
        continue;
      }
      std::size_t made = 0;
      ZResult r = convert(buffer + produced, size - produced, &made);
      produced += made;
      if (r == zob::kOk) continue;
      if (r == kKtzConvOutputFull) {
        // With kStashSize bytes every character fits; an empty result here
        // means a codec that cannot make progress.
        if (produced == 0) return -1;
        break;
      }
      if (r == kKtzConvNeedInput) {
        // The input ends inside a character: append more to the rest.
        long n = readBlock(2 * size + 10);
        if (n < 0) return failRead();
        if (n == 0) {
          flags |= kExhausted;  // the rest becomes an illegal sequence
          if (produced) break;
        }
        continue;
      }
      if (r == zob::kIllegalSequence) {
        if (produced == size) break;  // no room for the "?": next time
        std::size_t skip =
            badUnitLength(mib, reinterpret_cast<unsigned char*>(raw + rawPos), rawEnd - rawPos);
        rawPos += skip;
        if (mib == kMibUtf8 && rawPos == rawEnd && !(flags & kExhausted)) skipContinuations = true;
        buffer[produced++] = '?';
        continue;
      }
      return failRead();  // the codec itself failed
    }
    return static_cast<int>(produced);
  }
};

ISInputSource::ISInputSource(const std::string& publicId, const std::string& systemId,
                             zob::io::IInputStream* stream)
    : SimpleInputSource(publicId, systemId), m_(new Data) {
  m_->stream = stream;
  if (stream) stream->_comAddRef();
}

ISInputSource::ISInputSource(const std::string& publicId, const std::string& systemId,
                             std::istream* stream, bool own)
    : SimpleInputSource(publicId, systemId), m_(new Data) {
  m_->istream = stream;
  m_->ownIStream = own;
}

ISInputSource::~ISInputSource() {
  delete m_;
}

bool ISInputSource::setEncoding(const char* from, const char* to) {
  Data* m = m_;
  ktzCloseTextCodec(m->codec);
  m->codec = nullptr;
  m->flags &= ~(kConverting | kValidating | kToUtf8);
  m->mib = 0;
  m->skipContinuations = false;
  reset();
  // Decode again from the start of the raw block.
  m->rawPos = 0;
  m->finalDone = false;
  m->errorPending = false;
  m->stashPos = m->stashLen = 0;

  char localeCharset[32];
  if (!to || !*to) {
    if (EFAILED(ktzGetLocaleParam(kKtzLocaleCodeSet, localeCharset, sizeof localeCharset)))
      std::strcpy(localeCharset, "US-ASCII");
    to = localeCharset;
  }
  if (!from || !*from) return false;
  if (std::strcmp(from, to) != 0) {
    if (EFAILED(ktzOpenTextCodec(from, to, &m->codec))) return false;
    m->flags |= kConverting;
    if (ktzCSNameToMIBenum(to) == kMibUtf8) m->flags |= kToUtf8;
    m->mib = ktzCSNameToMIBenum(from);
    m->firstConversion = true;
  } else if (ktzCSNameToMIBenum(from) == kMibUtf8) {
    m->flags |= kValidating;
  }
  if (gStrNCaseCmp(from, "UTF-", 4) == 0) {
    for (const ByteOrderMark& mark : kMarks) {
      if (gStrCaseCmp(from, mark.name) != 0) continue;
      while (m->rawEnd - m->rawPos < mark.length && !(m->flags & kExhausted)) {
        long n = m->readBlock(kFirstBlock);
        if (n < 0) {
          m->errorPending = true;  // reported by the next fetch
          break;
        }
        if (n == 0) m->flags |= kExhausted;
      }
      if (m->rawEnd - m->rawPos >= mark.length &&
          std::memcmp(m->raw + m->rawPos, mark.bytes, mark.length) == 0)
        m->rawPos += mark.length;
      break;
    }
  }
  return true;
}

int ISInputSource::fetch(char* buffer, std::size_t size) {
  Data* m = m_;
  if (!buffer || size == 0) return 0;
  if (size > 0x7fffffff) size = 0x7fffffff;  // the count must fit the result
  if (m->stashLen) {
    std::size_t n = m->stashLen < size ? m->stashLen : size;
    std::memcpy(buffer, m->stash + m->stashPos, n);
    m->stashPos += n;
    m->stashLen -= n;
    return static_cast<int>(n);
  }
  if (m->errorPending) {
    m->errorPending = false;
    return -1;
  }
  if (!(m->flags & (kConverting | kValidating))) return m->fetchRaw(buffer, size);
  if (size >= kStashSize) return m->decode(buffer, size);
  int n = m->decode(m->stash, kStashSize);
  if (n <= 0) return n;
  m->stashPos = 0;
  m->stashLen = static_cast<std::size_t>(n);
  return fetch(buffer, size);
}

int ISInputSource::getSourceMIBenum() const {
  return m_->mib;
}

}  // namespace qor::quv::xml::sax
