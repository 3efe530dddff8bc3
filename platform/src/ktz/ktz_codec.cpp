// Text codecs over the C library's iconv.
#include <ktz/ktz_codec.h>

#include <iconv.h>
#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>

namespace {
// What iconv_open returns on failure.
const iconv_t kNoDescriptor = reinterpret_cast<iconv_t>(static_cast<std::intptr_t>(-1));
}  // namespace

struct KtzTextCodec {
  // ISO-8859-1 into UTF-8, the commonest decoding of XML input, runs in a
  // loop of its own; everything else goes through iconv.
  bool latin1ToUtf8 = false;
  iconv_t cd = kNoDescriptor;
  std::string from;
  std::string to;
  // Whether a conversion ran since the descriptor was opened: a new text
  // then needs a fresh descriptor, because iconv's reset keeps what the
  // Unicode converters learned (byte order, mark already written).
  bool used = false;
};

namespace {

ZResult openDescriptor(const char* from, const char* to, iconv_t* cd) {
  *cd = iconv_open(to, from);
  if (*cd != kNoDescriptor) return zob::kOk;
  return errno == ENOMEM ? zob::kOutOfMemory : zob::kUnsupported;
}

// ISO-8859-1 to UTF-8: runs of ASCII are copied eight bytes at a time, the
// upper half becomes two bytes each. Never an illegal sequence.
ZResult convertLatin1ToUtf8(const unsigned char* in, std::size_t inSize, std::size_t* inUsed,
                            unsigned char* out, std::size_t outSize, std::size_t* outUsed) {
  std::size_t i = 0, o = 0;
  ZResult result = zob::kOk;
  while (i < inSize) {
    if (in[i] < 0x80) {
      std::size_t n = std::min(inSize - i, outSize - o);
      std::size_t k = 0;
      for (; k + 8 <= n; k += 8) {
        std::uint64_t word;
        std::memcpy(&word, in + i + k, 8);
        if (word & 0x8080808080808080ull) break;
        std::memcpy(out + o + k, &word, 8);
      }
      for (; k < n && in[i + k] < 0x80; ++k) out[o + k] = in[i + k];
      if (k == 0) {
        result = kKtzConvOutputFull;
        break;
      }
      i += k;
      o += k;
      continue;
    }
    if (outSize - o < 2) {
      result = kKtzConvOutputFull;
      break;
    }
    out[o++] = static_cast<unsigned char>(0xC0 | (in[i] >> 6));
    out[o++] = static_cast<unsigned char>(0x80 | (in[i] & 0x3F));
    ++i;
  }
  *inUsed = i;
  *outUsed = o;
  return result;
}

}  // namespace

ZResult ktzOpenTextCodec(const char* from, const char* to, KtzTextCodec** out) {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  if (!from || !*from || !to || !*to) return zob::kInvalidArgument;
  KtzTextCodec* codec = new (std::nothrow) KtzTextCodec;
  if (!codec) return zob::kOutOfMemory;
  try {
    codec->from = from;
    codec->to = to;
  } catch (const std::bad_alloc&) {
    delete codec;
    return zob::kOutOfMemory;
  }
  if (ktzCSNameToMIBenum(from) == 4 && ktzCSNameToMIBenum(to) == 106) {
    codec->latin1ToUtf8 = true;
    *out = codec;
    return zob::kOk;
  }
  ZResult r = openDescriptor(from, to, &codec->cd);
  if (EFAILED(r)) {
    delete codec;
    return r;
  }
  *out = codec;
  return zob::kOk;
}

ZResult ktzConvertText2(KtzTextCodec* codec, const void* in, std::size_t inSize,
                        std::size_t* inUsed, void* out, std::size_t outSize, std::size_t* outUsed,
                        unsigned flags) {
  if (inUsed) *inUsed = 0;
  if (outUsed) *outUsed = 0;
  if (!codec || !inUsed || !outUsed || (!in && inSize) || (!out && outSize))
    return zob::kInvalidArgument;

  if (codec->latin1ToUtf8)  // stateless: no first or final work
    return convertLatin1ToUtf8(static_cast<const unsigned char*>(in), inSize, inUsed,
                               static_cast<unsigned char*>(out), outSize, outUsed);

  if (flags & kKtzConvFirst) {
    if (codec->used) {
      iconv_t fresh;
      ZResult r = openDescriptor(codec->from.c_str(), codec->to.c_str(), &fresh);
      if (EFAILED(r)) return r;
      iconv_close(codec->cd);
      codec->cd = fresh;
    }
  }
  codec->used = true;

  // iconv's prototype takes non-const input although it never writes to it.
  char* ip = const_cast<char*>(static_cast<const char*>(in));
  std::size_t il = inSize;
  char* op = static_cast<char*>(out);
  std::size_t ol = outSize;
  ZResult result = zob::kOk;
  if (il > 0 && iconv(codec->cd, &ip, &il, &op, &ol) == static_cast<std::size_t>(-1)) {
    switch (errno) {
      case E2BIG:
        result = kKtzConvOutputFull;
        break;
      case EILSEQ:
        result = zob::kIllegalSequence;
        break;
      case EINVAL:
        result = (flags & kKtzConvFinal) ? zob::kIllegalSequence : kKtzConvNeedInput;
        break;
      default:
        result = zob::kIOError;
        break;
    }
  }
  if (result == zob::kOk && (flags & kKtzConvFinal)) {
    // Return to the initial shift state; a no-op for stateless charsets.
    if (iconv(codec->cd, nullptr, nullptr, &op, &ol) == static_cast<std::size_t>(-1))
      result = errno == E2BIG ? kKtzConvOutputFull : zob::kIOError;
  }
  *inUsed = static_cast<std::size_t>(ip - static_cast<const char*>(in));
  *outUsed = static_cast<std::size_t>(op - static_cast<char*>(out));
  return result;
}

void ktzCloseTextCodec(KtzTextCodec* codec) {
  if (!codec) return;
  if (codec->cd != kNoDescriptor) iconv_close(codec->cd);
  delete codec;
}
