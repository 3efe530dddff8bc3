// UTF-8 validation: a scalar checker, an SSE2 one that skips ASCII sixteen
// bytes at a time, and an AVX2 one that checks 32 bytes at a time with the
// nibble-table method (three table lookups classify every pair of adjacent
// bytes; carried lead bytes mark where continuations must stand). The AVX2
// path is chosen at run time; SSE2 is always there on x86-64.
#include "xml/sax/sax_Utf8Validator.h"

#include <cstdint>
#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#define KELP_UTF8_X86 1
#endif

namespace qor::quv::xml::sax::detail {

int utf8Sequence(const char* s, std::size_t n) {
  const auto* p = reinterpret_cast<const unsigned char*>(s);
  const unsigned b0 = p[0];
  if (b0 < 0x80) return 1;
  if (b0 < 0xC2) return 0;  // a continuation byte or an overlong two-byte lead
  int len;
  unsigned lo = 0x80, hi = 0xBF;  // the range of the second byte
  if (b0 < 0xE0) {
    len = 2;
  } else if (b0 < 0xF0) {
    len = 3;
    if (b0 == 0xE0) lo = 0xA0;  // overlong
    if (b0 == 0xED) hi = 0x9F;  // surrogates
  } else if (b0 < 0xF5) {
    len = 4;
    if (b0 == 0xF0) lo = 0x90;  // overlong
    if (b0 == 0xF4) hi = 0x8F;  // beyond U+10FFFF
  } else {
    return 0;
  }
  if (n < 2) return -1;
  if (p[1] < lo || p[1] > hi) return 0;
  for (int i = 2; i < len; ++i) {
    if (static_cast<std::size_t>(i) >= n) return -1;
    if ((p[i] & 0xC0) != 0x80) return 0;
  }
  return len;
}

namespace {

// From i, sequence by sequence; ASCII eight bytes at a time.
std::size_t scalarFrom(const char* p, std::size_t i, std::size_t n) {
  while (i < n) {
    while (i + 8 <= n) {
      std::uint64_t w;
      std::memcpy(&w, p + i, 8);
      if (w & 0x8080808080808080ull) break;
      i += 8;
    }
    if (i == n) break;
    int len = utf8Sequence(p + i, n - i);
    if (len <= 0) return i;
    i += static_cast<std::size_t>(len);
  }
  return i;
}

// The start of the sequence that holds byte i - 1 (i itself when that byte
// is ASCII or i is 0): where a scalar check may resume without losing a
// sequence that began before i. Never more than three bytes back.
std::size_t sequenceStart(const char* p, std::size_t i) {
  std::size_t j = i;
  while (j > 0 && i - j < 3 && (static_cast<unsigned char>(p[j - 1]) & 0xC0) == 0x80) --j;
  if (j > 0 && static_cast<unsigned char>(p[j - 1]) >= 0xC0) return j - 1;
  return i;
}

#ifdef KELP_UTF8_X86

std::size_t sse2From(const char* p, std::size_t n) {
  std::size_t i = 0;
  while (i < n) {
    while (i + 16 <= n) {
      __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
      unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(v));
      if (mask) {
        i += static_cast<std::size_t>(__builtin_ctz(mask));
        break;
      }
      i += 16;
    }
    if (i == n) break;
    if (static_cast<unsigned char>(p[i]) < 0x80) {
      if (n - i < 16) return scalarFrom(p, i, n);
      ++i;
      continue;
    }
    int len = utf8Sequence(p + i, n - i);
    if (len <= 0) return i;
    i += static_cast<std::size_t>(len);
  }
  return i;
}

// Error classes of a pair of adjacent bytes (previous byte's high nibble,
// its low nibble, the current byte's high nibble); a pair is bad when all
// three lookups share a bit.
constexpr std::uint8_t kTooShort = 1 << 0;    // lead, then no continuation
constexpr std::uint8_t kTooLong = 1 << 1;     // ASCII, then a continuation
constexpr std::uint8_t kOverlong3 = 1 << 2;   // E0 80..9F
constexpr std::uint8_t kTooLarge = 1 << 3;    // F4 90..BF, F5..FF
constexpr std::uint8_t kSurrogate = 1 << 4;   // ED A0..BF
constexpr std::uint8_t kOverlong2 = 1 << 5;   // C0, C1
constexpr std::uint8_t kTooLarge1000 = 1 << 6;
constexpr std::uint8_t kOverlong4 = 1 << 6;   // F0 80..8F
constexpr std::uint8_t kTwoConts = 1 << 7;    // two continuations: fine only after a 3/4-byte lead
constexpr std::uint8_t kCarry = kTooShort | kTooLong | kTwoConts;

#define KELP_T16(...) _mm256_setr_epi8(__VA_ARGS__, __VA_ARGS__)

__attribute__((target("avx2"))) inline __m256i prevBytes(__m256i in, __m256i prev, int n) {
  __m256i shifted = _mm256_permute2x128_si256(prev, in, 0x21);
  switch (n) {
    case 1:
      return _mm256_alignr_epi8(in, shifted, 15);
    case 2:
      return _mm256_alignr_epi8(in, shifted, 14);
    default:
      return _mm256_alignr_epi8(in, shifted, 13);
  }
}

__attribute__((target("avx2"))) std::size_t avx2From(const char* p, std::size_t n) {
  const __m256i byte1High = KELP_T16(
      static_cast<char>(kTooLong), static_cast<char>(kTooLong), static_cast<char>(kTooLong),
      static_cast<char>(kTooLong), static_cast<char>(kTooLong), static_cast<char>(kTooLong),
      static_cast<char>(kTooLong), static_cast<char>(kTooLong), static_cast<char>(kTwoConts),
      static_cast<char>(kTwoConts), static_cast<char>(kTwoConts), static_cast<char>(kTwoConts),
      static_cast<char>(kTooShort | kOverlong2), static_cast<char>(kTooShort),
      static_cast<char>(kTooShort | kOverlong3 | kSurrogate),
      static_cast<char>(kTooShort | kTooLarge | kTooLarge1000 | kOverlong4));
  const char big = static_cast<char>(kCarry | kTooLarge | kTooLarge1000);
  const __m256i byte1Low = KELP_T16(
      static_cast<char>(kCarry | kOverlong3 | kOverlong2 | kOverlong4),
      static_cast<char>(kCarry | kOverlong2), static_cast<char>(kCarry),
      static_cast<char>(kCarry), static_cast<char>(kCarry | kTooLarge), big, big, big, big, big,
      big, big, big, static_cast<char>(kCarry | kTooLarge | kTooLarge1000 | kSurrogate), big,
      big);
  const char cont80 =
      static_cast<char>(kTooLong | kOverlong2 | kTwoConts | kOverlong3 | kTooLarge1000 | kOverlong4);
  const char cont90 = static_cast<char>(kTooLong | kOverlong2 | kTwoConts | kOverlong3 | kTooLarge);
  const char contA0 = static_cast<char>(kTooLong | kOverlong2 | kTwoConts | kSurrogate | kTooLarge);
  const char ts = static_cast<char>(kTooShort);
  const __m256i byte2High =
      KELP_T16(ts, ts, ts, ts, ts, ts, ts, ts, cont80, cont90, contA0, contA0, ts, ts, ts, ts);
  const __m256i nibble = _mm256_set1_epi8(0x0F);
  // A lead byte in the last three positions still waits for continuations.
  const __m256i incompleteAbove = _mm256_setr_epi8(
      -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1,
      -1, -1, -1, -1, -1, -1, static_cast<char>(0xF0 - 1), static_cast<char>(0xE0 - 1),
      static_cast<char>(0xC0 - 1));

  __m256i prev = _mm256_setzero_si256();
  __m256i prevIncomplete = _mm256_setzero_si256();
  std::size_t i = 0;
  for (; i + 32 <= n; i += 32) {
    const __m256i in = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + i));
    __m256i error;
    if (_mm256_movemask_epi8(in) == 0) {
      error = prevIncomplete;
    } else {
      const __m256i prev1 = prevBytes(in, prev, 1);
      const __m256i b1h = _mm256_shuffle_epi8(byte1High, _mm256_and_si256(_mm256_srli_epi16(prev1, 4), nibble));
      const __m256i b1l = _mm256_shuffle_epi8(byte1Low, _mm256_and_si256(prev1, nibble));
      const __m256i b2h = _mm256_shuffle_epi8(byte2High, _mm256_and_si256(_mm256_srli_epi16(in, 4), nibble));
      const __m256i special = _mm256_and_si256(_mm256_and_si256(b1h, b1l), b2h);
      const __m256i prev2 = prevBytes(in, prev, 2);
      const __m256i prev3 = prevBytes(in, prev, 3);
      const __m256i third = _mm256_subs_epu8(prev2, _mm256_set1_epi8(static_cast<char>(0xE0 - 0x80)));
      const __m256i fourth = _mm256_subs_epu8(prev3, _mm256_set1_epi8(static_cast<char>(0xF0 - 0x80)));
      const __m256i must23 =
          _mm256_and_si256(_mm256_or_si256(third, fourth), _mm256_set1_epi8(static_cast<char>(0x80)));
      error = _mm256_xor_si256(must23, special);
      prevIncomplete = _mm256_subs_epu8(in, incompleteAbove);
    }
    if (!_mm256_testz_si256(error, error)) {
      // Somewhere in this block, or in a sequence begun before it: the
      // scalar check finds the exact place.
      return scalarFrom(p, sequenceStart(p, i), n);
    }
    if (_mm256_movemask_epi8(in) == 0) prevIncomplete = _mm256_setzero_si256();
    prev = in;
  }
  return scalarFrom(p, sequenceStart(p, i), n);
}

#undef KELP_T16

bool haveAvx2() {
  static const bool have = __builtin_cpu_supports("avx2");
  return have;
}

#endif

}  // namespace

bool utf8PathAvailable(Utf8Path path) {
#ifdef KELP_UTF8_X86
  if (path == Utf8Path::Avx2) return haveAvx2();
  return true;
#else
  return path == Utf8Path::Best || path == Utf8Path::Scalar;
#endif
}

std::size_t utf8ValidPrefix(const char* p, std::size_t n, Utf8Path path) {
#ifdef KELP_UTF8_X86
  if (path == Utf8Path::Best) path = haveAvx2() ? Utf8Path::Avx2 : Utf8Path::Sse2;
  if (path == Utf8Path::Avx2 && haveAvx2()) return avx2From(p, n);
  if (path != Utf8Path::Scalar) return sse2From(p, n);
#endif
  return scalarFrom(p, 0, n);
}

}  // namespace qor::quv::xml::sax::detail
