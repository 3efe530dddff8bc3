// Decimal floating point in the BID encoding.
//
// The values are kept as raw BID bits. Each operation unpacks its operands
// into sign, coefficient and exponent, hands them to the decNumber library
// (the reference implementation of the General Decimal Arithmetic, plain C,
// so GCC and Clang build it alike) under a context of the format's precision
// and exponent range, and packs the result again. A few exact cases of
// addition and multiplication are done on the integers directly.
#include <ktz/ktz_decimal.h>

#include <cctype>
#include <charconv>
#include <climits>
#include <cstring>
#include <locale>
#include <ostream>
#include <system_error>
#include <vector>

#define DECNUMDIGITS 34
#include <decNumber.h>

using ktz::decimal::decimal128;
using ktz::decimal::decimal64;
using ktz::decimal::Rounding;

namespace {

using u128 = unsigned __int128;

thread_local Rounding tRounding = Rounding::HalfEven;
// The conditions met since the thread last cleared them (ktzDecGetStatus).
thread_local unsigned tStatus = 0;

constexpr std::uint64_t kPow10_16 = 10000000000000000ull;
constexpr std::uint64_t kPow10_17 = 100000000000000000ull;
constexpr u128 kPow10_34 = static_cast<u128>(kPow10_17) * kPow10_17;
constexpr u128 kPow10_33 = kPow10_34 / 10;
constexpr std::uint64_t kPow10_15 = kPow10_16 / 10;

// Formats: precision, exponent bias, largest quantum exponent.
struct Format {
  int digits;
  int bias;
  int maxExp;  // emax - digits + 1
  int contextKind;
};
constexpr Format kFmt64{16, 398, 369, DEC_INIT_DECIMAL64};
constexpr Format kFmt128{34, 6176, 6111, DEC_INIT_DECIMAL128};

enum class Kind { Finite, Inf, QNaN, SNaN };

struct Unpacked {
  bool neg = false;
  Kind kind = Kind::Finite;
  u128 coef = 0;  // the payload for NaNs
  int exp = 0;
};

Unpacked unpack(decimal64 d) {
  const std::uint64_t b = d.bits();
  Unpacked u;
  u.neg = (b >> 63) != 0;
  if ((b & 0x7800000000000000ull) == 0x7800000000000000ull) {
    if ((b & 0x7C00000000000000ull) == 0x7800000000000000ull) {
      u.kind = Kind::Inf;
      return u;
    }
    u.kind = (b & 0x7E00000000000000ull) == 0x7E00000000000000ull ? Kind::SNaN : Kind::QNaN;
    const std::uint64_t payload = b & 0x0003FFFFFFFFFFFFull;
    u.coef = payload < kPow10_15 ? payload : 0;
    return u;
  }
  if ((b & 0x6000000000000000ull) == 0x6000000000000000ull) {
    u.exp = static_cast<int>((b >> 51) & 0x3FF) - kFmt64.bias;
    const std::uint64_t c = (b & 0x0007FFFFFFFFFFFFull) | 0x0020000000000000ull;
    u.coef = c < kPow10_16 ? c : 0;
  } else {
    u.exp = static_cast<int>((b >> 53) & 0x3FF) - kFmt64.bias;
    u.coef = b & 0x001FFFFFFFFFFFFFull;
  }
  return u;
}

Unpacked unpack(const decimal128& d) {
  const std::uint64_t hi = d.high();
  Unpacked u;
  u.neg = (hi >> 63) != 0;
  if ((hi & 0x7800000000000000ull) == 0x7800000000000000ull) {
    if ((hi & 0x7C00000000000000ull) == 0x7800000000000000ull) {
      u.kind = Kind::Inf;
      return u;
    }
    u.kind = (hi & 0x7E00000000000000ull) == 0x7E00000000000000ull ? Kind::SNaN : Kind::QNaN;
    const u128 payload = (static_cast<u128>(hi & 0x00003FFFFFFFFFFFull) << 64) | d.low();
    u.coef = payload < kPow10_33 ? payload : 0;
    return u;
  }
  if ((hi & 0x6000000000000000ull) == 0x6000000000000000ull) {
    // The large-coefficient form holds at least 2^113 > 10^34 - 1: never
    // canonical, so the coefficient is 0.
    u.exp = static_cast<int>((hi >> 47) & 0x3FFF) - kFmt128.bias;
    u.coef = 0;
  } else {
    u.exp = static_cast<int>((hi >> 49) & 0x3FFF) - kFmt128.bias;
    const u128 c = (static_cast<u128>(hi & 0x0001FFFFFFFFFFFFull) << 64) | d.low();
    u.coef = c < kPow10_34 ? c : 0;
  }
  return u;
}

decimal64 pack64(const Unpacked& u) {
  std::uint64_t b = u.neg ? 0x8000000000000000ull : 0;
  switch (u.kind) {
    case Kind::Inf:
      return decimal64::fromBits(b | 0x7800000000000000ull);
    case Kind::QNaN:
    case Kind::SNaN: {
      b |= u.kind == Kind::SNaN ? 0x7E00000000000000ull : 0x7C00000000000000ull;
      if (u.coef < kPow10_15) b |= static_cast<std::uint64_t>(u.coef);
      return decimal64::fromBits(b);
    }
    case Kind::Finite:
      break;
  }
  const std::uint64_t c = static_cast<std::uint64_t>(u.coef);
  const std::uint64_t e = static_cast<unsigned>(u.exp + kFmt64.bias);  // 0 to 767
  if (c < 0x0020000000000000ull) {
    b |= (e << 53) | c;
  } else {
    b |= 0x6000000000000000ull | (e << 51) | (c & 0x0007FFFFFFFFFFFFull);
  }
  return decimal64::fromBits(b);
}

decimal128 pack128(const Unpacked& u) {
  std::uint64_t hi = u.neg ? 0x8000000000000000ull : 0;
  switch (u.kind) {
    case Kind::Inf:
      return decimal128::fromBits(hi | 0x7800000000000000ull, 0);
    case Kind::QNaN:
    case Kind::SNaN: {
      hi |= u.kind == Kind::SNaN ? 0x7E00000000000000ull : 0x7C00000000000000ull;
      const u128 p = u.coef < kPow10_33 ? u.coef : 0;
      return decimal128::fromBits(hi | static_cast<std::uint64_t>(p >> 64),
                                  static_cast<std::uint64_t>(p));
    }
    case Kind::Finite:
      break;
  }
  const std::uint64_t e = static_cast<unsigned>(u.exp + kFmt128.bias);  // 0 to 12287
  hi |= (e << 49) | static_cast<std::uint64_t>(u.coef >> 64);
  return decimal128::fromBits(hi, static_cast<std::uint64_t>(u.coef));
}

// --- decNumber glue ---------------------------------------------------------

enum rounding toDecRounding(Rounding r) {
  switch (r) {
    case Rounding::HalfEven:
      return DEC_ROUND_HALF_EVEN;
    case Rounding::HalfUp:
      return DEC_ROUND_HALF_UP;
    case Rounding::HalfDown:
      return DEC_ROUND_HALF_DOWN;
    case Rounding::Up:
      return DEC_ROUND_UP;
    case Rounding::Down:
      return DEC_ROUND_DOWN;
    case Rounding::Ceiling:
      return DEC_ROUND_CEILING;
    case Rounding::Floor:
      return DEC_ROUND_FLOOR;
    case Rounding::ZeroFiveUp:
      return DEC_ROUND_05UP;
  }
  return DEC_ROUND_HALF_EVEN;
}

decContext makeContext(const Format& f, Rounding r) {
  decContext ctx;
  decContextDefault(&ctx, f.contextKind);  // no traps, clamping on
  ctx.round = toDecRounding(r);
  return ctx;
}

// Adds the conditions an operation met to the thread's sticky status.
void note(const decContext& ctx) {
  const uint32_t st = ctx.status;
  unsigned add = 0;
  if (st & DEC_Inexact) add |= ktz::decimal::kStatusInexact;
  if (st & DEC_Overflow) add |= ktz::decimal::kStatusOverflow;
  if (st & DEC_Underflow) add |= ktz::decimal::kStatusUnderflow;
  if (st & DEC_Division_by_zero) add |= ktz::decimal::kStatusDivisionByZero;
  if (st & (DEC_Invalid_operation | DEC_Division_undefined | DEC_Division_impossible))
    add |= ktz::decimal::kStatusInvalid;
  tStatus |= add;
}

void toNumber(const Unpacked& u, decNumber* n) {
  n->bits = u.neg ? DECNEG : 0;
  n->exponent = 0;
  if (u.kind == Kind::Inf) n->bits |= DECINF;
  if (u.kind == Kind::QNaN) n->bits |= DECNAN;
  if (u.kind == Kind::SNaN) n->bits |= DECSNAN;
  if (u.kind == Kind::Inf) {
    n->digits = 1;
    n->lsu[0] = 0;
    return;
  }
  if (u.kind == Kind::Finite) n->exponent = u.exp;
  // Units of three digits, least significant first: split the coefficient
  // once into two 18-digit words so that the loop runs on 64-bit words.
  constexpr std::uint64_t kPow10_18 = 1000000000000000000ull;
  std::uint64_t words[2];
  if ((u.coef >> 64) == 0) {
    const std::uint64_t c = static_cast<std::uint64_t>(u.coef);
    words[0] = c % kPow10_18;
    words[1] = c / kPow10_18;
  } else {
    words[0] = static_cast<std::uint64_t>(u.coef % kPow10_18);
    words[1] = static_cast<std::uint64_t>(u.coef / kPow10_18);
  }
  int units = 1;
  n->lsu[0] = 0;
  for (int w = 0; w < 2; ++w) {
    std::uint64_t v = words[w];
    for (int i = 0; i < 6 && (v != 0 || w == 0); ++i) {
      const int unit = w * 6 + i;
      n->lsu[unit] = static_cast<decNumberUnit>(v % 1000);
      v /= 1000;
      if (n->lsu[unit] != 0) units = unit + 1;
      if (v == 0 && words[1] == 0) break;
    }
  }
  const int top = n->lsu[units - 1];
  n->digits = (units - 1) * DECDPUN + (top >= 100 ? 3 : top >= 10 ? 2 : 1);
}

Unpacked fromNumber(const decNumber* n) {
  Unpacked u;
  u.neg = (n->bits & DECNEG) != 0;
  if (n->bits & DECINF) {
    u.kind = Kind::Inf;
    return u;
  }
  if (n->bits & (DECNAN | DECSNAN)) u.kind = (n->bits & DECSNAN) ? Kind::SNaN : Kind::QNaN;
  const int units = (n->digits + DECDPUN - 1) / DECDPUN;
  u128 c = 0;
  for (int i = units - 1; i >= 0; --i) c = c * 1000 + n->lsu[i];
  u.coef = c;
  u.exp = u.kind == Kind::Finite ? n->exponent : 0;
  return u;
}

decimal64 pack(const decNumber* n, decimal64*) {
  return pack64(fromNumber(n));
}
decimal128 pack(const decNumber* n, decimal128*) {
  return pack128(fromNumber(n));
}

template <class D>
constexpr const Format& formatOf() {
  if constexpr (sizeof(D) == 8) {
    return kFmt64;
  } else {
    return kFmt128;
  }
}

template <class D>
D fromDec(const decNumber* n) {
  return pack(n, static_cast<D*>(nullptr));
}

using BinaryOp = decNumber* (*)(decNumber*, const decNumber*, const decNumber*, decContext*);
using UnaryOp = decNumber* (*)(decNumber*, const decNumber*, decContext*);

template <class D>
D binary(const D& a, const D& b, BinaryOp op, Rounding r) {
  decNumber x, y, res;
  toNumber(unpack(a), &x);
  toNumber(unpack(b), &y);
  decContext ctx = makeContext(formatOf<D>(), r);
  op(&res, &x, &y, &ctx);
  note(ctx);
  return fromDec<D>(&res);
}

template <class D>
D unary(const D& a, UnaryOp op, Rounding r) {
  decNumber x, res;
  toNumber(unpack(a), &x);
  decContext ctx = makeContext(formatOf<D>(), r);
  op(&res, &x, &ctx);
  note(ctx);
  return fromDec<D>(&res);
}

// --- exact shortcuts ----------------------------------------------------------

constexpr u128 maxCoef(const Format& f) {
  return f.digits == 16 ? kPow10_16 : kPow10_34;
}

u128 pow10(int n) {
  u128 p = 1;
  for (int i = 0; i < n; ++i) p *= 10;
  return p;
}

// a + b when both are finite and the exact sum fits the coefficient; the
// zero sum of opposite signs is left to the general path (its sign depends
// on the rounding).
template <class D>
bool addExact(const Unpacked& a, const Unpacked& b, D* out) {
  const Format& f = formatOf<D>();
  if (a.kind != Kind::Finite || b.kind != Kind::Finite) return false;
  const Unpacked& hiE = a.exp >= b.exp ? a : b;
  const Unpacked& loE = a.exp >= b.exp ? b : a;
  const int shift = hiE.exp - loE.exp;
  if (shift > f.digits) return false;
  const u128 limit = maxCoef(f);
  const u128 scale = pow10(shift);
  if (hiE.coef >= (limit + scale - 1) / scale) return false;  // scaled >= limit
  const u128 scaled = hiE.coef * scale;
  Unpacked r;
  r.exp = loE.exp;
  if (a.neg == b.neg) {
    r.coef = scaled + loE.coef;
    if (r.coef >= limit) return false;
    r.neg = a.neg;
  } else if (scaled > loE.coef) {
    r.coef = scaled - loE.coef;
    r.neg = hiE.neg;
  } else if (scaled < loE.coef) {
    r.coef = loE.coef - scaled;
    r.neg = loE.neg;
  } else {
    return false;
  }
  if constexpr (sizeof(D) == 8) {
    *out = pack64(r);
  } else {
    *out = pack128(r);
  }
  return true;
}

// a * b when both are finite, non-zero and the exact product fits with an
// exponent inside the format's range.
template <class D>
bool mulExact(const Unpacked& a, const Unpacked& b, D* out) {
  const Format& f = formatOf<D>();
  if (a.kind != Kind::Finite || b.kind != Kind::Finite || a.coef == 0 || b.coef == 0) return false;
  const int e = a.exp + b.exp;
  if (e < -f.bias || e > f.maxExp) return false;
  const u128 limit = maxCoef(f);
  if (a.coef > (limit - 1) / b.coef) return false;  // the product would not fit
  Unpacked r;
  r.coef = a.coef * b.coef;
  r.exp = e;
  r.neg = a.neg != b.neg;
  if constexpr (sizeof(D) == 8) {
    *out = pack64(r);
  } else {
    *out = pack128(r);
  }
  return true;
}

template <class D>
D add(const D& a, const D& b) {
  D r;
  if (addExact(unpack(a), unpack(b), &r)) return r;
  return binary(a, b, decNumberAdd, tRounding);
}

template <class D>
D mul(const D& a, const D& b) {
  D r;
  if (mulExact(unpack(a), unpack(b), &r)) return r;
  return binary(a, b, decNumberMultiply, tRounding);
}

// -1, 0, 1, or 2 for unordered.
template <class D>
int compare(const D& a, const D& b) {
  decNumber x, y, res;
  toNumber(unpack(a), &x);
  toNumber(unpack(b), &y);
  if (decNumberIsNaN(&x) || decNumberIsNaN(&y)) return 2;
  decContext ctx = makeContext(formatOf<D>(), Rounding::HalfEven);
  decNumberCompare(&res, &x, &y, &ctx);
  if (decNumberIsZero(&res)) return 0;
  return decNumberIsNegative(&res) ? -1 : 1;
}

template <class D>
D scaleB(const D& d, int n) {
  // Beyond twice the exponent range every result is an overflow or an
  // underflow already; limit n so that the arithmetic accepts it.
  const Format& f = formatOf<D>();
  const int emax = f.maxExp + f.digits - 1;
  const int limit = 2 * (emax + f.digits);
  if (n > limit) n = limit;
  if (n < -limit) n = -limit;
  decNumber x, k, res;
  toNumber(unpack(d), &x);
  decNumberFromInt32(&k, n);
  decContext ctx = makeContext(f, tRounding);
  decNumberScaleB(&res, &x, &k, &ctx);
  note(ctx);
  return fromDec<D>(&res);
}

// Reads the whole text with decNumber's own syntax.
template <class D>
bool fromString(const char* s, D* out) {
  if (!s) return false;
  decNumber n;
  decContext ctx = makeContext(formatOf<D>(), tRounding);
  decNumberFromString(&n, s, &ctx);
  if (ctx.status & DEC_Conversion_syntax) return false;
  note(ctx);
  *out = fromDec<D>(&n);
  return true;
}

std::string digitsOf(u128 c) {
  char buf[40];
  int i = 40;
  do {
    buf[--i] = static_cast<char>('0' + static_cast<int>(c % 10));
    c /= 10;
  } while (c != 0);
  return std::string(buf + i, buf + 40);
}

template <class D>
std::string toString(const D& d, bool engineering = false) {
  decNumber n;
  toNumber(unpack(d), &n);
  char buf[DECNUMDIGITS + 16];
  if (engineering) {
    decNumberToEngString(&n, buf);
  } else {
    decNumberToString(&n, buf);
  }
  return buf;
}

// Whether dropping digits from a kept value rounds its magnitude up.
bool roundsUp(Rounding mode, bool neg, int lastKept, int firstDropped, bool restNonZero) {
  const bool inexact = firstDropped != 0 || restNonZero;
  if (!inexact) return false;
  switch (mode) {
    case Rounding::HalfEven:
      return firstDropped > 5 || (firstDropped == 5 && (restNonZero || lastKept % 2 == 1));
    case Rounding::HalfUp:
      return firstDropped >= 5;
    case Rounding::HalfDown:
      return firstDropped > 5 || (firstDropped == 5 && restNonZero);
    case Rounding::Up:
      return true;
    case Rounding::Down:
      return false;
    case Rounding::Ceiling:
      return !neg;
    case Rounding::Floor:
      return neg;
    case Rounding::ZeroFiveUp:
      return lastKept == 0 || lastKept == 5;
  }
  return false;
}

template <class D>
std::string toFixed(const D& d, int decimals) {
  const Unpacked u = unpack(d);
  if (u.kind == Kind::Inf) return u.neg ? "-Infinity" : "Infinity";
  if (u.kind != Kind::Finite) return "NaN";
  if (decimals < 0) decimals = 0;
  std::string digits = digitsOf(u.coef);
  // digits * 10^exp written with `decimals` decimals: make the digit string
  // the value in units of 10^-decimals.
  const long shift = static_cast<long>(u.exp) + decimals;
  if (shift >= 0) {
    if (u.coef != 0) digits.append(static_cast<size_t>(shift), '0');
  } else {
    const size_t drop = static_cast<size_t>(-shift);
    int firstDropped = 0;
    bool rest = false;
    std::string kept;
    if (drop > digits.size()) {
      rest = u.coef != 0;
    } else {
      const size_t keep = digits.size() - drop;
      kept.append(digits, 0, keep);
      firstDropped = digits[keep] - '0';
      rest = digits.find_first_not_of('0', keep + 1) != std::string::npos;
    }
    if (kept.empty()) kept.push_back('0');
    if (roundsUp(tRounding, u.neg, kept.back() - '0', firstDropped, rest)) {
      size_t i = kept.size();
      while (i > 0 && kept[i - 1] == '9') kept[--i] = '0';
      if (i == 0) {
        kept.push_back('0');
        kept[0] = '1';  // all nines: 99 becomes 100
      } else {
        ++kept[i - 1];
      }
    }
    digits = kept;
  }
  const size_t dec = static_cast<size_t>(decimals);
  if (digits.size() <= dec) digits.insert(0, dec + 1 - digits.size(), '0');
  // Strip leading zeros of the integer part that the padding did not need.
  size_t lead = 0;
  while (lead + dec + 1 < digits.size() && digits[lead] == '0') ++lead;
  digits.erase(0, lead);
  if (dec > 0) digits.insert(digits.size() - dec, 1, '.');
  if (u.neg) digits.insert(0, 1, '-');
  return digits;
}

bool isSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}
bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

bool matchWord(const char* p, const char* word) {
  for (; *word; ++p, ++word) {
    if (std::tolower(static_cast<unsigned char>(*p)) != *word) return false;
  }
  return true;
}

struct Punctuation {
  char point = '.';
  char sep = 0;  // 0: no grouping
  std::string grouping;
};

// Group size i (counted from the decimal point) under a grouping string;
// 0 when the digits to the left are not grouped any more.
int groupSize(const std::string& grouping, size_t i) {
  if (grouping.empty()) return 0;
  const char g = i < grouping.size() ? grouping[i] : grouping.back();
  if (g <= 0 || g == CHAR_MAX) return 0;
  return g;
}

// Scans the number at s (after blanks) into the General Decimal Arithmetic
// syntax. Returns the position behind it, or s when there is none.
const char* scanNumber(const char* s, const Punctuation& punct, std::string* text) {
  const char* p = s;
  while (isSpace(*p)) ++p;
  text->clear();
  if (*p == '+' || *p == '-') {
    if (*p == '-') text->push_back('-');
    ++p;
  }
  if (matchWord(p, "inf")) {
    text->append("Inf");
    return p + (matchWord(p, "infinity") ? 8 : 3);
  }
  const bool signalling = matchWord(p, "snan");
  if (signalling || matchWord(p, "nan")) {
    p += signalling ? 4 : 3;
    text->append(signalling ? "sNaN" : "NaN");
    const char* q = p;
    const bool paren = *q == '(';
    if (paren) ++q;
    const char* digitsStart = q;
    while (isDigit(*q)) ++q;
    if (paren) {
      if (*q != ')') return p;
      text->append(digitsStart, q);
      return q + 1;
    }
    text->append(digitsStart, q);
    return q;
  }
  // Integer digits, with thousands separators where the locale has them.
  const char* intStart = p;
  size_t intDigits = 0;
  std::vector<size_t> groups;  // digit counts between separators, left first
  size_t current = 0;
  const char* firstSep = nullptr;
  for (;;) {
    if (isDigit(*p)) {
      ++intDigits;
      ++current;
      ++p;
    } else if (punct.sep != 0 && *p == punct.sep && current > 0 && isDigit(p[1])) {
      if (!firstSep) firstSep = p;
      groups.push_back(current);
      current = 0;
      ++p;
    } else {
      break;
    }
  }
  if (firstSep) {
    groups.push_back(current);
    // Check the groups from the right against the grouping.
    bool ok = true;
    const size_t n = groups.size();
    for (size_t i = 0; i + 1 < n && ok; ++i) {
      const int size = groupSize(punct.grouping, i);
      ok = size > 0 && groups[n - 1 - i] == static_cast<size_t>(size);
    }
    if (ok) {
      const int size = groupSize(punct.grouping, n - 1);
      ok = size == 0 || groups[0] <= static_cast<size_t>(size);
    }
    if (!ok) {
      // A separator out of place ends the number in front of it.
      p = firstSep;
      for (const char* q = intStart; q < firstSep; ++q) text->push_back(*q);
      return p;
    }
  }
  for (const char* q = intStart; q < p; ++q) {
    if (isDigit(*q)) text->push_back(*q);
  }
  size_t fracDigits = 0;
  if (*p == punct.point && (intDigits > 0 || isDigit(p[1]))) {
    text->push_back('.');
    ++p;
    while (isDigit(*p)) {
      text->push_back(*p++);
      ++fracDigits;
    }
  }
  if (intDigits + fracDigits == 0) {
    text->clear();
    return s;
  }
  if (*p == 'e' || *p == 'E') {
    const char* q = p + 1;
    if (*q == '+' || *q == '-') ++q;
    if (isDigit(*q)) {
      text->push_back('E');
      text->append(p + 1, q);
      // decNumber takes exponents of up to nine digits; longer ones only
      // matter through their size, so cap the digits beyond leading zeros.
      while (*q == '0' && isDigit(q[1])) ++q;
      size_t expDigits = 0;
      const char* e = q;
      while (isDigit(*e)) ++e;
      expDigits = static_cast<size_t>(e - q);
      if (expDigits > 9) {
        text->append("999999999");
      } else {
        text->append(q, e);
      }
      p = e;
    }
  }
  return p;
}

template <class D>
D strToDec(const char* s, const char** end, const Punctuation& punct) {
  if (end) *end = s;
  if (!s) return D();
  std::string text;
  const char* stop = scanNumber(s, punct, &text);
  if (stop == s) return D();
  decNumber n;
  decContext ctx = makeContext(formatOf<D>(), tRounding);
  decNumberFromString(&n, text.c_str(), &ctx);
  if (ctx.status & DEC_Conversion_syntax) return D();  // e.g. an overlong NaN payload
  note(ctx);
  if (end) *end = stop;
  return fromDec<D>(&n);
}

Punctuation localPunctuation() {
  Punctuation p;
  const std::locale loc;
  const auto& np = std::use_facet<std::numpunct<char>>(loc);
  p.point = np.decimal_point();
  p.grouping = np.grouping();
  p.sep = p.grouping.empty() ? 0 : np.thousands_sep();
  if (p.sep == p.point) p.sep = 0;
  return p;
}

template <class D>
D fromBinary(double v, bool isFloat) {
  decNumber n;
  decContext ctx = makeContext(formatOf<D>(), tRounding);
  if (v != v) {
    decNumberFromString(&n, "NaN", &ctx);
  } else {
    char buf[64];
    const auto res = isFloat ? std::to_chars(buf, buf + sizeof buf - 1, static_cast<float>(v))
                             : std::to_chars(buf, buf + sizeof buf - 1, v);
    *res.ptr = '\0';
    decNumberFromString(&n, buf, &ctx);  // "inf" and "-inf" are valid here too
  }
  note(ctx);
  return fromDec<D>(&n);
}

template <class D>
double toDouble(const D& d) {
  const Unpacked u = unpack(d);
  if (u.kind == Kind::Inf) return u.neg ? -__builtin_inf() : __builtin_inf();
  if (u.kind != Kind::Finite) return __builtin_nan("");
  const std::string s = toString(d);
  double v = 0;
  const auto res = std::from_chars(s.data(), s.data() + s.size(), v);
  if (res.ec == std::errc::result_out_of_range) {
    // from_chars leaves v alone on overflow and underflow.
    const bool tiny = u.exp < 0;
    v = tiny ? 0.0 : __builtin_inf();
  }
  return u.neg && v > 0 ? -v : (u.neg && v == 0 ? -0.0 : v);
}

template <class D>
D fromInteger(unsigned long long magnitude, bool neg) {
  Unpacked u;
  u.coef = magnitude;
  u.neg = neg;
  if (sizeof(D) == 16 || magnitude < kPow10_16) {
    if constexpr (sizeof(D) == 8) {
      return pack64(u);
    } else {
      return pack128(u);
    }
  }
  decNumber n;
  toNumber(u, &n);
  decContext ctx = makeContext(formatOf<D>(), tRounding);
  decNumber res;
  decNumberPlus(&res, &n, &ctx);
  note(ctx);
  return fromDec<D>(&res);
}

unsigned long long magnitudeOf(long long v) {
  return v < 0 ? 0ull - static_cast<unsigned long long>(v) : static_cast<unsigned long long>(v);
}

}  // namespace

// --- constructors and operators -------------------------------------------------

namespace ktz::decimal {

decimal64::decimal64(long v) noexcept
    : bits_(fromInteger<decimal64>(magnitudeOf(v), v < 0).bits()) {}
decimal64::decimal64(long long v) noexcept
    : bits_(fromInteger<decimal64>(magnitudeOf(v), v < 0).bits()) {}
decimal64::decimal64(unsigned long v) noexcept : bits_(fromInteger<decimal64>(v, false).bits()) {}
decimal64::decimal64(unsigned long long v) noexcept
    : bits_(fromInteger<decimal64>(v, false).bits()) {}
decimal64::decimal64(const decimal128& d) noexcept : bits_(ktzDec128ToDec64(d).bits()) {}

decimal128::decimal128(const decimal64& d) noexcept {
  const decimal128 w = ktzDec64ToDec128(d);
  lo_ = w.low();
  hi_ = w.high();
}

decimal64& decimal64::operator+=(const decimal64& o) noexcept {
  return *this = *this + o;
}
decimal64& decimal64::operator-=(const decimal64& o) noexcept {
  return *this = *this - o;
}
decimal64& decimal64::operator*=(const decimal64& o) noexcept {
  return *this = *this * o;
}
decimal64& decimal64::operator/=(const decimal64& o) noexcept {
  return *this = *this / o;
}
decimal128& decimal128::operator+=(const decimal128& o) noexcept {
  return *this = *this + o;
}
decimal128& decimal128::operator-=(const decimal128& o) noexcept {
  return *this = *this - o;
}
decimal128& decimal128::operator*=(const decimal128& o) noexcept {
  return *this = *this * o;
}
decimal128& decimal128::operator/=(const decimal128& o) noexcept {
  return *this = *this / o;
}

decimal64 operator+(const decimal64& a, const decimal64& b) noexcept {
  return add(a, b);
}
decimal64 operator-(const decimal64& a, const decimal64& b) noexcept {
  // Subtraction is not addition of the negation for NaN operands: the
  // payload's sign must stay that of the operand.
  return binary(a, b, decNumberSubtract, tRounding);
}
decimal64 operator*(const decimal64& a, const decimal64& b) noexcept {
  return mul(a, b);
}
decimal64 operator/(const decimal64& a, const decimal64& b) noexcept {
  return binary(a, b, decNumberDivide, tRounding);
}
bool operator==(const decimal64& a, const decimal64& b) noexcept {
  return compare(a, b) == 0;
}
bool operator<(const decimal64& a, const decimal64& b) noexcept {
  return compare(a, b) == -1;
}
bool operator<=(const decimal64& a, const decimal64& b) noexcept {
  const int c = compare(a, b);
  return c == -1 || c == 0;
}

decimal128 operator+(const decimal128& a, const decimal128& b) noexcept {
  return add(a, b);
}
decimal128 operator-(const decimal128& a, const decimal128& b) noexcept {
  return binary(a, b, decNumberSubtract, tRounding);
}
decimal128 operator*(const decimal128& a, const decimal128& b) noexcept {
  return mul(a, b);
}
decimal128 operator/(const decimal128& a, const decimal128& b) noexcept {
  return binary(a, b, decNumberDivide, tRounding);
}
bool operator==(const decimal128& a, const decimal128& b) noexcept {
  return compare(a, b) == 0;
}
bool operator<(const decimal128& a, const decimal128& b) noexcept {
  return compare(a, b) == -1;
}
bool operator<=(const decimal128& a, const decimal128& b) noexcept {
  const int c = compare(a, b);
  return c == -1 || c == 0;
}

std::ostream& operator<<(std::ostream& os, const decimal64& d) {
  return os << toString(d);
}
std::ostream& operator<<(std::ostream& os, const decimal128& d) {
  return os << toString(d);
}

}  // namespace ktz::decimal

// --- runtime functions -------------------------------------------------------------

Rounding ktzDecGetRounding() noexcept {
  return tRounding;
}
void ktzDecSetRounding(Rounding mode) noexcept {
  if (static_cast<int>(mode) >= 0 && mode <= Rounding::ZeroFiveUp) tRounding = mode;
}
unsigned ktzDecGetStatus() noexcept {
  return tStatus;
}
void ktzDecSetStatus(unsigned status) noexcept {
  tStatus = status & ktz::decimal::kStatusAll;
}

bool ktzDec64IsNaN(decimal64 d) noexcept {
  const Kind k = unpack(d).kind;
  return k == Kind::QNaN || k == Kind::SNaN;
}
bool ktzDec64IsSNaN(decimal64 d) noexcept {
  return unpack(d).kind == Kind::SNaN;
}
bool ktzDec64IsInf(decimal64 d) noexcept {
  return unpack(d).kind == Kind::Inf;
}
bool ktzDec64IsFinite(decimal64 d) noexcept {
  return unpack(d).kind == Kind::Finite;
}
bool ktzDec64IsZero(decimal64 d) noexcept {
  const Unpacked u = unpack(d);
  return u.kind == Kind::Finite && u.coef == 0;
}
bool ktzDec64SignBit(decimal64 d) noexcept {
  return (d.bits() >> 63) != 0;
}
int ktzDec64Exponent(decimal64 d) noexcept {
  return unpack(d).exp;
}

bool ktzDec128IsNaN(const decimal128& d) noexcept {
  const Kind k = unpack(d).kind;
  return k == Kind::QNaN || k == Kind::SNaN;
}
bool ktzDec128IsSNaN(const decimal128& d) noexcept {
  return unpack(d).kind == Kind::SNaN;
}
bool ktzDec128IsInf(const decimal128& d) noexcept {
  return unpack(d).kind == Kind::Inf;
}
bool ktzDec128IsFinite(const decimal128& d) noexcept {
  return unpack(d).kind == Kind::Finite;
}
bool ktzDec128IsZero(const decimal128& d) noexcept {
  const Unpacked u = unpack(d);
  return u.kind == Kind::Finite && u.coef == 0;
}
bool ktzDec128SignBit(const decimal128& d) noexcept {
  return (d.high() >> 63) != 0;
}
int ktzDec128Exponent(const decimal128& d) noexcept {
  return unpack(d).exp;
}

bool ktzDec64QuietEqual(decimal64 a, decimal64 b) noexcept {
  return compare(a, b) == 0;
}
bool ktzDec128QuietEqual(const decimal128& a, const decimal128& b) noexcept {
  return compare(a, b) == 0;
}
decimal64 ktzDec64Compare(decimal64 a, decimal64 b) noexcept {
  return binary(a, b, decNumberCompare, tRounding);
}
decimal128 ktzDec128Compare(const decimal128& a, const decimal128& b) noexcept {
  return binary(a, b, decNumberCompare, tRounding);
}

decimal64 ktzDec64RoundExact(decimal64 d) noexcept {
  return unary(d, decNumberToIntegralExact, tRounding);
}
decimal64 ktzDec64RoundIntegral(decimal64 d, Rounding mode) noexcept {
  return unary(d, decNumberToIntegralValue, mode);
}
decimal64 ktzDec64RoundDown(decimal64 d) noexcept {
  return ktzDec64RoundIntegral(d, Rounding::Down);
}
decimal64 ktzDec64RoundHalfUp(decimal64 d) noexcept {
  return ktzDec64RoundIntegral(d, Rounding::HalfUp);
}
decimal64 ktzDec64Ceil(decimal64 d) noexcept {
  return ktzDec64RoundIntegral(d, Rounding::Ceiling);
}
decimal64 ktzDec64Floor(decimal64 d) noexcept {
  return ktzDec64RoundIntegral(d, Rounding::Floor);
}

decimal128 ktzDec128RoundExact(const decimal128& d) noexcept {
  return unary(d, decNumberToIntegralExact, tRounding);
}
decimal128 ktzDec128RoundIntegral(const decimal128& d, Rounding mode) noexcept {
  return unary(d, decNumberToIntegralValue, mode);
}
decimal128 ktzDec128RoundDown(const decimal128& d) noexcept {
  return ktzDec128RoundIntegral(d, Rounding::Down);
}
decimal128 ktzDec128RoundHalfUp(const decimal128& d) noexcept {
  return ktzDec128RoundIntegral(d, Rounding::HalfUp);
}
decimal128 ktzDec128Ceil(const decimal128& d) noexcept {
  return ktzDec128RoundIntegral(d, Rounding::Ceiling);
}
decimal128 ktzDec128Floor(const decimal128& d) noexcept {
  return ktzDec128RoundIntegral(d, Rounding::Floor);
}

decimal64 ktzDec64ScaleB(decimal64 d, int n) noexcept {
  return scaleB(d, n);
}
decimal128 ktzDec128ScaleB(const decimal128& d, int n) noexcept {
  return scaleB(d, n);
}
decimal64 ktzDec64Quantize(decimal64 d, decimal64 q) noexcept {
  return binary(d, q, decNumberQuantize, tRounding);
}
decimal128 ktzDec128Quantize(const decimal128& d, const decimal128& q) noexcept {
  return binary(d, q, decNumberQuantize, tRounding);
}
decimal64 ktzDec64Reduce(decimal64 d) noexcept {
  return unary(d, decNumberReduce, tRounding);
}
decimal128 ktzDec128Reduce(const decimal128& d) noexcept {
  return unary(d, decNumberReduce, tRounding);
}
decimal64 ktzDec64CopySign(decimal64 d, decimal64 s) noexcept {
  return decimal64::fromBits((d.bits() & ~0x8000000000000000ull) |
                             (s.bits() & 0x8000000000000000ull));
}
decimal128 ktzDec128CopySign(const decimal128& d, const decimal128& s) noexcept {
  return decimal128::fromBits(
      (d.high() & ~0x8000000000000000ull) | (s.high() & 0x8000000000000000ull), d.low());
}

decimal128 ktzDec64ToDec128(decimal64 d) noexcept {
  return pack128(unpack(d));
}
decimal64 ktzDec128ToDec64(const decimal128& d) noexcept {
  const Unpacked u = unpack(d);
  if (u.kind == Kind::Finite && u.coef < kPow10_16 && u.exp >= -kFmt64.bias &&
      u.exp <= kFmt64.maxExp) {
    return pack64(u);  // representable as it is, zeros with their sign included
  }
  decNumber x, res;
  toNumber(u, &x);
  decContext ctx = makeContext(kFmt64, tRounding);
  decNumberPlus(&res, &x, &ctx);
  note(ctx);
  decimal64 r = fromDec<decimal64>(&res);
  if (u.kind == Kind::Finite && u.coef == 0) {
    r = decimal64::fromBits((r.bits() & ~0x8000000000000000ull) |
                            (u.neg ? 0x8000000000000000ull : 0));
  }
  return r;
}

decimal64 ktzDec64FromDouble(double v) noexcept {
  return fromBinary<decimal64>(v, false);
}
decimal64 ktzDec64FromFloat(float v) noexcept {
  return fromBinary<decimal64>(v, true);
}
decimal128 ktzDec128FromDouble(double v) noexcept {
  return fromBinary<decimal128>(v, false);
}
decimal128 ktzDec128FromFloat(float v) noexcept {
  return fromBinary<decimal128>(v, true);
}
double ktzDec64ToDouble(decimal64 d) noexcept {
  return toDouble(d);
}
double ktzDec128ToDouble(const decimal128& d) noexcept {
  return toDouble(d);
}

std::string ktzDec64ToString(decimal64 d) {
  return toString(d);
}
std::string ktzDec128ToString(const decimal128& d) {
  return toString(d);
}
std::string ktzDec64ToEngString(decimal64 d) {
  return toString(d, true);
}
std::string ktzDec128ToEngString(const decimal128& d) {
  return toString(d, true);
}
std::string ktzDec64ToFixed(decimal64 d, int decimals) {
  return toFixed(d, decimals);
}
std::string ktzDec128ToFixed(const decimal128& d, int decimals) {
  return toFixed(d, decimals);
}

bool ktzDec64FromString(const char* s, decimal64* out) noexcept {
  return fromString(s, out);
}
bool ktzDec128FromString(const char* s, decimal128* out) noexcept {
  return fromString(s, out);
}

decimal64 ktzStrToDec64(const char* s, const char** end) noexcept {
  return strToDec<decimal64>(s, end, Punctuation());
}
decimal128 ktzStrToDec128(const char* s, const char** end) noexcept {
  return strToDec<decimal128>(s, end, Punctuation());
}
decimal64 ktzStrToDec64Local(const char* s, const char** end) noexcept {
  return strToDec<decimal64>(s, end, localPunctuation());
}
decimal128 ktzStrToDec128Local(const char* s, const char** end) noexcept {
  return strToDec<decimal128>(s, end, localPunctuation());
}
