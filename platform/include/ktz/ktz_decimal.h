/* Decimal floating point of the portable runtime: ktz::decimal::decimal64 and
 * ktz::decimal::decimal128, IEEE 754-2008 decimal64 and decimal128 in the
 * binary integer decimal (BID) encoding.
 *
 * The types are plain values holding the raw encoding (decimal128 has the
 * size, alignment and byte layout of a BID _Decimal128 on x86-64, low word
 * first), so they can sit in records shared with other components. Every
 * operation is out of line; the headers need no compiler support for decimal
 * floating point.
 *
 * Arithmetic follows IEEE 754-2008 and the General Decimal Arithmetic rules:
 * results are rounded to 16 (decimal64) or 34 (decimal128) digits under the
 * calling thread's decimal rounding (ktzDecSetRounding, half to even at
 * first), exact results keep their ideal exponent (1.20 + 1.3 is 2.50), and
 * NaN operands propagate. No operation raises a signal or throws. The status
 * flags of the standard are kept per thread and are sticky: an operation
 * that rounds away digits other than zeros (Inexact), overflows to an
 * infinity (Overflow), underflows, divides by zero or is invalid adds its
 * condition, and only ktzDecSetStatus clears them, so that a caller can
 * tell an exact chain of operations from a rounded one:
 *
 *   ktzDecSetStatus(0);
 *   decimal128 sum = a + b + c;
 *   if (ktzDecGetStatus() & (kStatusInexact | kStatusOverflow)) ... not exact
 *
 *   using ktz::decimal::decimal128;
 *   decimal128 price = ktzStrToDec128("12.50", nullptr);
 *   decimal128 total = price * decimal128(3);          // 37.50
 *   std::string text = ktzDec128ToString(total);        // "37.50"
 *   decimal128 cents = ktzDec128RoundHalfUp(ktzDec128ScaleB(total, 2));
 */
#ifndef KTZ_KTZ_DECIMAL_H
#define KTZ_KTZ_DECIMAL_H

#include <cstdint>
#include <iosfwd>
#include <string>

#include <zob/zob_api.h>

namespace ktz::decimal {

/* The conditions of the status flags (bits of ktzDecGetStatus). Reading
 * text sets them as the conversion to the format does: a number with more
 * significant digits than the format holds is Inexact, one beyond its
 * exponent range Overflow (an infinity) or Underflow. Rounding to an
 * integer (RoundIntegral and the fixed directions) sets none of them, the
 * exact rounding (RoundExact) sets Inexact when it drops digits; ToFixed
 * sets none. */
enum Status : unsigned {
  kStatusInexact = 1,
  kStatusOverflow = 2,
  kStatusUnderflow = 4,
  kStatusDivisionByZero = 8,
  kStatusInvalid = 16,  // e.g. infinity minus infinity, 0/0, a signalling NaN
  kStatusAll = 31
};

/* The rounding directions of decimal arithmetic. */
enum class Rounding : int {
  HalfEven,   // to nearest, ties to even (the default)
  HalfUp,     // to nearest, ties away from zero
  HalfDown,   // to nearest, ties toward zero
  Up,         // away from zero
  Down,       // toward zero
  Ceiling,    // toward positive infinity
  Floor,      // toward negative infinity
  ZeroFiveUp  // toward zero, unless that would leave 0 or 5 as last digit
};

class decimal64;
class decimal128;

/* IEEE 754-2008 decimal64, BID encoding: 16 digits, exponents -398 to 369. */
class decimal64 {
 public:
  /* Positive zero with exponent 0. */
  constexpr decimal64() noexcept : bits_(0x31C0000000000000ull) {}
  constexpr decimal64(int v) noexcept
      : bits_((v < 0 ? 0xB1C0000000000000ull : 0x31C0000000000000ull) |
              (v < 0 ? 0ull - static_cast<unsigned long long>(v)
                     : static_cast<unsigned long long>(v))) {}
  constexpr decimal64(unsigned v) noexcept : bits_(0x31C0000000000000ull | v) {}
  /* Integers are exact up to 16 digits; larger ones are rounded under the
   * thread's decimal rounding. */
  ZOB_API decimal64(long v) noexcept;
  ZOB_API decimal64(long long v) noexcept;
  ZOB_API decimal64(unsigned long v) noexcept;
  ZOB_API decimal64(unsigned long long v) noexcept;
  /* Rounded under the thread's decimal rounding. */
  ZOB_API explicit decimal64(const decimal128& d) noexcept;

  static constexpr decimal64 fromBits(std::uint64_t bits) noexcept {
    decimal64 d;
    d.bits_ = bits;
    return d;
  }
  constexpr std::uint64_t bits() const noexcept { return bits_; }

  ZOB_API decimal64& operator+=(const decimal64& o) noexcept;
  ZOB_API decimal64& operator-=(const decimal64& o) noexcept;
  ZOB_API decimal64& operator*=(const decimal64& o) noexcept;
  ZOB_API decimal64& operator/=(const decimal64& o) noexcept;

 private:
  std::uint64_t bits_;
};

/* IEEE 754-2008 decimal128, BID encoding: 34 digits, exponents -6176 to
 * 6111. */
class alignas(16) decimal128 {
 public:
  /* Positive zero with exponent 0. */
  constexpr decimal128() noexcept : lo_(0), hi_(0x3040000000000000ull) {}
  constexpr decimal128(int v) noexcept : decimal128(static_cast<long long>(v)) {}
  constexpr decimal128(long v) noexcept : decimal128(static_cast<long long>(v)) {}
  constexpr decimal128(long long v) noexcept
      : lo_(v < 0 ? 0ull - static_cast<unsigned long long>(v) : static_cast<unsigned long long>(v)),
        hi_(v < 0 ? 0xB040000000000000ull : 0x3040000000000000ull) {}
  constexpr decimal128(unsigned v) noexcept : lo_(v), hi_(0x3040000000000000ull) {}
  constexpr decimal128(unsigned long v) noexcept : lo_(v), hi_(0x3040000000000000ull) {}
  constexpr decimal128(unsigned long long v) noexcept : lo_(v), hi_(0x3040000000000000ull) {}
  /* Exact: every decimal64 is a decimal128 with the same exponent. */
  ZOB_API decimal128(const decimal64& d) noexcept;

  static constexpr decimal128 fromBits(std::uint64_t high, std::uint64_t low) noexcept {
    decimal128 d;
    d.hi_ = high;
    d.lo_ = low;
    return d;
  }
  /* The upper and lower 64 bits of the encoding (sign and combination field
   * in the upper word). */
  constexpr std::uint64_t high() const noexcept { return hi_; }
  constexpr std::uint64_t low() const noexcept { return lo_; }

  ZOB_API decimal128& operator+=(const decimal128& o) noexcept;
  ZOB_API decimal128& operator-=(const decimal128& o) noexcept;
  ZOB_API decimal128& operator*=(const decimal128& o) noexcept;
  ZOB_API decimal128& operator/=(const decimal128& o) noexcept;

 private:
  std::uint64_t lo_;  // little-endian: the low word comes first in memory
  std::uint64_t hi_;
};

static_assert(sizeof(decimal64) == 8);
static_assert(sizeof(decimal128) == 16);
static_assert(alignof(decimal128) == 16);

ZOB_API decimal64 operator+(const decimal64& a, const decimal64& b) noexcept;
ZOB_API decimal64 operator-(const decimal64& a, const decimal64& b) noexcept;
ZOB_API decimal64 operator*(const decimal64& a, const decimal64& b) noexcept;
ZOB_API decimal64 operator/(const decimal64& a, const decimal64& b) noexcept;
/* Flips the sign bit only (also of zeros and NaNs). */
constexpr decimal64 operator-(const decimal64& a) noexcept {
  return decimal64::fromBits(a.bits() ^ 0x8000000000000000ull);
}
constexpr decimal64 operator+(const decimal64& a) noexcept {
  return a;
}
/* Quiet comparisons: numerically (1.0 == 1.00, -0 == +0); a NaN is unordered,
 * so == is false and != true for it. */
ZOB_API bool operator==(const decimal64& a, const decimal64& b) noexcept;
ZOB_API bool operator<(const decimal64& a, const decimal64& b) noexcept;
ZOB_API bool operator<=(const decimal64& a, const decimal64& b) noexcept;
inline bool operator!=(const decimal64& a, const decimal64& b) noexcept {
  return !(a == b);
}
inline bool operator>(const decimal64& a, const decimal64& b) noexcept {
  return b < a;
}
inline bool operator>=(const decimal64& a, const decimal64& b) noexcept {
  return b <= a;
}

ZOB_API decimal128 operator+(const decimal128& a, const decimal128& b) noexcept;
ZOB_API decimal128 operator-(const decimal128& a, const decimal128& b) noexcept;
ZOB_API decimal128 operator*(const decimal128& a, const decimal128& b) noexcept;
ZOB_API decimal128 operator/(const decimal128& a, const decimal128& b) noexcept;
constexpr decimal128 operator-(const decimal128& a) noexcept {
  return decimal128::fromBits(a.high() ^ 0x8000000000000000ull, a.low());
}
constexpr decimal128 operator+(const decimal128& a) noexcept {
  return a;
}
ZOB_API bool operator==(const decimal128& a, const decimal128& b) noexcept;
ZOB_API bool operator<(const decimal128& a, const decimal128& b) noexcept;
ZOB_API bool operator<=(const decimal128& a, const decimal128& b) noexcept;
inline bool operator!=(const decimal128& a, const decimal128& b) noexcept {
  return !(a == b);
}
inline bool operator>(const decimal128& a, const decimal128& b) noexcept {
  return b < a;
}
inline bool operator>=(const decimal128& a, const decimal128& b) noexcept {
  return b <= a;
}

/* Writes the scientific text form (ktzDec128ToString). */
ZOB_API std::ostream& operator<<(std::ostream& os, const decimal64& d);
ZOB_API std::ostream& operator<<(std::ostream& os, const decimal128& d);

}  // namespace ktz::decimal

/* --- rounding direction ------------------------------------------------------
 * Per thread; every thread starts with HalfEven. */
ZOB_API ktz::decimal::Rounding ktzDecGetRounding() noexcept;
ZOB_API void ktzDecSetRounding(ktz::decimal::Rounding mode) noexcept;

/* --- status flags ------------------------------------------------------------
 * Per thread, sticky, every thread starts with 0: the Status bits that the
 * thread's operations met since it last set them. */
ZOB_API unsigned ktzDecGetStatus() noexcept;
ZOB_API void ktzDecSetStatus(unsigned status) noexcept;

/* --- classification ----------------------------------------------------------
 * A non-canonical coefficient (above 10^16-1 or 10^34-1, which covers every
 * decimal128 of the large-coefficient form) reads as 0. */
ZOB_API bool ktzDec64IsNaN(ktz::decimal::decimal64 d) noexcept;
ZOB_API bool ktzDec64IsSNaN(ktz::decimal::decimal64 d) noexcept;
ZOB_API bool ktzDec64IsInf(ktz::decimal::decimal64 d) noexcept;
ZOB_API bool ktzDec64IsFinite(ktz::decimal::decimal64 d) noexcept;
ZOB_API bool ktzDec64IsZero(ktz::decimal::decimal64 d) noexcept;
ZOB_API bool ktzDec64SignBit(ktz::decimal::decimal64 d) noexcept;
/* The exponent of the quantum (12.50 has -2); 0 for infinities and NaNs. */
ZOB_API int ktzDec64Exponent(ktz::decimal::decimal64 d) noexcept;
ZOB_API bool ktzDec128IsNaN(const ktz::decimal::decimal128& d) noexcept;
ZOB_API bool ktzDec128IsSNaN(const ktz::decimal::decimal128& d) noexcept;
ZOB_API bool ktzDec128IsInf(const ktz::decimal::decimal128& d) noexcept;
ZOB_API bool ktzDec128IsFinite(const ktz::decimal::decimal128& d) noexcept;
ZOB_API bool ktzDec128IsZero(const ktz::decimal::decimal128& d) noexcept;
ZOB_API bool ktzDec128SignBit(const ktz::decimal::decimal128& d) noexcept;
ZOB_API int ktzDec128Exponent(const ktz::decimal::decimal128& d) noexcept;

/* --- comparison ---------------------------------------------------------------
 * Quiet equality: numeric, NaN equals nothing (as operator==). */
ZOB_API bool ktzDec64QuietEqual(ktz::decimal::decimal64 a, ktz::decimal::decimal64 b) noexcept;
ZOB_API bool ktzDec128QuietEqual(const ktz::decimal::decimal128& a,
                                 const ktz::decimal::decimal128& b) noexcept;
/* -1, 0 or 1 as a decimal; a NaN operand gives a NaN (its payload kept). */
ZOB_API ktz::decimal::decimal64 ktzDec64Compare(ktz::decimal::decimal64 a,
                                                ktz::decimal::decimal64 b) noexcept;
ZOB_API ktz::decimal::decimal128 ktzDec128Compare(const ktz::decimal::decimal128& a,
                                                  const ktz::decimal::decimal128& b) noexcept;

/* --- rounding to an integer ---------------------------------------------------
 * An operand with exponent 0 or above comes back unchanged; otherwise the
 * result has exponent 0. RoundExact uses the thread's rounding, the others
 * their own direction whatever the thread's rounding is. */
ZOB_API ktz::decimal::decimal64 ktzDec64RoundExact(ktz::decimal::decimal64 d) noexcept;
ZOB_API ktz::decimal::decimal64 ktzDec64RoundDown(ktz::decimal::decimal64 d) noexcept;
ZOB_API ktz::decimal::decimal64 ktzDec64RoundHalfUp(ktz::decimal::decimal64 d) noexcept;
ZOB_API ktz::decimal::decimal64 ktzDec64Ceil(ktz::decimal::decimal64 d) noexcept;
ZOB_API ktz::decimal::decimal64 ktzDec64Floor(ktz::decimal::decimal64 d) noexcept;
ZOB_API ktz::decimal::decimal64 ktzDec64RoundIntegral(ktz::decimal::decimal64 d,
                                                      ktz::decimal::Rounding mode) noexcept;
ZOB_API ktz::decimal::decimal128 ktzDec128RoundExact(const ktz::decimal::decimal128& d) noexcept;
ZOB_API ktz::decimal::decimal128 ktzDec128RoundDown(const ktz::decimal::decimal128& d) noexcept;
ZOB_API ktz::decimal::decimal128 ktzDec128RoundHalfUp(const ktz::decimal::decimal128& d) noexcept;
ZOB_API ktz::decimal::decimal128 ktzDec128Ceil(const ktz::decimal::decimal128& d) noexcept;
ZOB_API ktz::decimal::decimal128 ktzDec128Floor(const ktz::decimal::decimal128& d) noexcept;
ZOB_API ktz::decimal::decimal128 ktzDec128RoundIntegral(const ktz::decimal::decimal128& d,
                                                        ktz::decimal::Rounding mode) noexcept;

/* --- exponent operations ------------------------------------------------------
 * ScaleB: d times 10^n by moving the exponent (exact unless the result leaves
 * the exponent range). Quantize: d with the exponent of q, rounded under the
 * thread's rounding; NaN when the coefficient would not fit. Reduce: trailing
 * zeros of the coefficient removed (a zero becomes 0 with exponent 0). */
ZOB_API ktz::decimal::decimal64 ktzDec64ScaleB(ktz::decimal::decimal64 d, int n) noexcept;
ZOB_API ktz::decimal::decimal64 ktzDec64Quantize(ktz::decimal::decimal64 d,
                                                 ktz::decimal::decimal64 q) noexcept;
ZOB_API ktz::decimal::decimal64 ktzDec64Reduce(ktz::decimal::decimal64 d) noexcept;
ZOB_API ktz::decimal::decimal128 ktzDec128ScaleB(const ktz::decimal::decimal128& d, int n) noexcept;
ZOB_API ktz::decimal::decimal128 ktzDec128Quantize(const ktz::decimal::decimal128& d,
                                                   const ktz::decimal::decimal128& q) noexcept;
ZOB_API ktz::decimal::decimal128 ktzDec128Reduce(const ktz::decimal::decimal128& d) noexcept;
/* The magnitude with the sign of s (bits only, as copySign). */
ZOB_API ktz::decimal::decimal64 ktzDec64CopySign(ktz::decimal::decimal64 d,
                                                 ktz::decimal::decimal64 s) noexcept;
ZOB_API ktz::decimal::decimal128 ktzDec128CopySign(const ktz::decimal::decimal128& d,
                                                   const ktz::decimal::decimal128& s) noexcept;

/* --- conversions ----------------------------------------------------------------
 * Between the widths: exact widening, narrowing rounded under the thread's
 * rounding. From binary floating point: the shortest decimal that reads back
 * as the same binary value (0.1 gives 0.1, not 0.1000000000000000055...),
 * rounded to the format's digits; infinities and NaN map over. To double: the
 * nearest double. */
ZOB_API ktz::decimal::decimal128 ktzDec64ToDec128(ktz::decimal::decimal64 d) noexcept;
ZOB_API ktz::decimal::decimal64 ktzDec128ToDec64(const ktz::decimal::decimal128& d) noexcept;
ZOB_API ktz::decimal::decimal64 ktzDec64FromDouble(double v) noexcept;
ZOB_API ktz::decimal::decimal64 ktzDec64FromFloat(float v) noexcept;
ZOB_API ktz::decimal::decimal128 ktzDec128FromDouble(double v) noexcept;
ZOB_API ktz::decimal::decimal128 ktzDec128FromFloat(float v) noexcept;
ZOB_API double ktzDec64ToDouble(ktz::decimal::decimal64 d) noexcept;
ZOB_API double ktzDec128ToDouble(const ktz::decimal::decimal128& d) noexcept;

/* --- text -------------------------------------------------------------------------
 * ToString: the scientific form of the General Decimal Arithmetic ("12.50",
 * "1E+2", "-0.000", "1.5E-7", "Infinity", "-NaN12", "sNaN"), which
 * ktzDec*FromString reads back to the identical encoding.
 * ToFixed: plain notation with exactly `decimals` decimals (none for 0 or
 * less), rounded under the thread's rounding; "Infinity", "-Infinity" and
 * "NaN" for the non-finite values. */
ZOB_API std::string ktzDec64ToString(ktz::decimal::decimal64 d);
ZOB_API std::string ktzDec128ToString(const ktz::decimal::decimal128& d);
/* The engineering form: as ToString, with exponents a multiple of three. */
ZOB_API std::string ktzDec64ToEngString(ktz::decimal::decimal64 d);
ZOB_API std::string ktzDec128ToEngString(const ktz::decimal::decimal128& d);
ZOB_API std::string ktzDec64ToFixed(ktz::decimal::decimal64 d, int decimals);
ZOB_API std::string ktzDec128ToFixed(const ktz::decimal::decimal128& d, int decimals);

/* Reads a whole numeric string of the General Decimal Arithmetic (sign,
 * digits with optional point, exponent; "Inf", "Infinity", "NaN", "sNaN",
 * NaN payloads; any case), rounded under the thread's rounding. False (and
 * *out untouched) for anything else, including surrounding blanks. */
ZOB_API bool ktzDec64FromString(const char* s, ktz::decimal::decimal64* out) noexcept;
ZOB_API bool ktzDec128FromString(const char* s, ktz::decimal::decimal128* out) noexcept;

/* strtod for decimals in the classic locale: skips leading white space, reads
 * the longest prefix that forms a number ("." as decimal point, exponent,
 * "inf", "infinity", "nan", "nan(payload)", "snan" in any case) and stores the
 * position behind it in *end; when nothing forms a number the result is +0
 * and *end is s. */
ZOB_API ktz::decimal::decimal64 ktzStrToDec64(const char* s, const char** end) noexcept;
ZOB_API ktz::decimal::decimal128 ktzStrToDec128(const char* s, const char** end) noexcept;
/* The same bound to the global C++ locale: its decimal point instead of ".",
 * and its thousands separator between the integer digits where the groups
 * fit the locale's grouping. */
ZOB_API ktz::decimal::decimal64 ktzStrToDec64Local(const char* s, const char** end) noexcept;
ZOB_API ktz::decimal::decimal128 ktzStrToDec128Local(const char* s, const char** end) noexcept;

#endif
