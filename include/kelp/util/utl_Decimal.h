/* Decimal and money rounding: free functions around the runtime's decimal
 * types ktz::decimal::decimal64 and decimal128.
 *
 * Rounding to a number of decimals under a RoundingMode, truncation, removal
 * of trailing zeros, text in the classic locale and in the user's locale,
 * reading both back, conversion from binary floating point, and the
 * process-wide default rounding mode for money. Every function except
 * roundMoney exists for both widths with the same behaviour.
 *
 *   decimal128 price = doubleToDecimal(2.345);
 *   roundDecimal(price, 2, types::eRoundingHalfUp);    // 2.35
 *   roundMoney(price, 2);                              // default mode: 2.35
 *   formatDecimalCString(price, -1);                   // "2.345"
 *   formatDecimalString(price, 2);                     // "2,35" in German
 *
 * Nothing throws. The default money rounding mode is one process-wide value
 * meant to be set once at start-up; a reader on another thread sees the old
 * or the new mode. The locale functions read the global C++ locale. */
#ifndef KELP_UTIL_UTL_DECIMAL_H
#define KELP_UTIL_UTL_DECIMAL_H

#include <string>

#include <fw/fw_RoundingMode.h>
#include <kelp/kelp_api.h>
#include <ktz/ktz_decimal.h>

namespace qor::quv::util {

using ktz::decimal::decimal128;
using ktz::decimal::decimal64;

/* The shortest decimal that reads back as the same binary value (0.1f gives
 * 0.1); infinities and NaN map over. */
KELP_API decimal128 floatToDecimal(float v);
KELP_API decimal128 doubleToDecimal(double v);
/* The same into a decimal64 (rounded to 16 digits where needed). */
KELP_API decimal64 floatToDecimal64(float v);
KELP_API decimal64 doubleToDecimal64(double v);

/* Rounds to `digits` decimals (negative: to tens, hundreds ...) with the
 * runtime's exact rounding to an integer. */
KELP_API decimal64 roundDecimal(decimal64 d, int digits);
KELP_API decimal128 roundDecimal(decimal128 d, int digits);
/* Rounds to `digits` decimals under `mode`; eRoundingNone and values
 * outside the enumeration return d unchanged. */
KELP_API decimal64 roundDecimal(decimal64 d, int digits, types::RoundingMode mode);
KELP_API decimal128 roundDecimal(decimal128 d, int digits, types::RoundingMode mode);
/* Cuts to `digits` decimals toward zero. */
KELP_API decimal64 truncateDecimal(decimal64 d, int digits);
KELP_API decimal128 truncateDecimal(decimal128 d, int digits);

/* As roundDecimal, with eRoundingExact standing for the default money
 * rounding mode. */
KELP_API decimal128 roundMoney(decimal128 d, int digits, types::RoundingMode mode);
/* Under the default money rounding mode. */
KELP_API decimal128 roundMoney(decimal128 d, int digits);
/* Accepts the modes 3 to 9 only; anything else leaves the mode as it is.
 * The mode starts as eRoundingHalfUp. */
KELP_API void setDefaultMoneyRoundingMode(types::RoundingMode mode);
KELP_API types::RoundingMode getDefaultMoneyRoundingMode();

/* The same value with the coefficient's trailing zeros removed (12.500
 * becomes 12.5, 1200 becomes 1.2E+3). */
KELP_API decimal64 stripTrailingZeros(decimal64 d);
KELP_API decimal128 stripTrailingZeros(decimal128 d);

/* Text in the classic locale with `digits` decimals, rounded under the
 * runtime's decimal rounding. With `digits` below 0 the decimals follow the
 * value's quantum, trailing zeros dropped down to one decimal: 12.50 gives
 * "12.5", 12 gives "12.0", 12.55 gives "12.55". A zero of any sign and
 * exponent prints as a positive zero ("0.0"). Non-finite values give
 * "Infinity", "-Infinity", "NaN". */
KELP_API std::string formatDecimalCString(decimal64 d, int digits);
KELP_API std::string formatDecimalCString(decimal128 d, int digits);
/* The same in the user's locale: its decimal point and digit grouping;
 * infinities and NaN as the translated words "pos. infinity", "neg.
 * infinity" and "invalid". */
KELP_API std::string formatDecimalString(decimal64 d, int digits);
KELP_API std::string formatDecimalString(decimal128 d, int digits);
/* Locale text with as many decimals as the value has significant ones, but
 * at least minDigits and at most maxDigits (rounded there). */
KELP_API std::string formatDecimalString(decimal64 d, int minDigits, int maxDigits);
KELP_API std::string formatDecimalString(decimal128 d, int minDigits, int maxDigits);

/* Read a number, after leading white space: in the user's locale (its
 * decimal point and thousands separator) or in the classic locale ("." as
 * decimal point, exponent, "NaN" and "Inf" forms). False when no character
 * forms a number (*end is then s). With `end`, *end receives the position
 * behind the number; without it, only white space may follow. *out is
 * written only on success. */
KELP_API bool parseDecimalString(decimal64* out, const char* s, const char** end);
KELP_API bool parseDecimalString(decimal128* out, const char* s, const char** end);
KELP_API bool parseDecimalCString(decimal64* out, const char* s, const char** end);
KELP_API bool parseDecimalCString(decimal128* out, const char* s, const char** end);

/* Watches the decimal arithmetic and number reading of the calling thread
 * for results that are not exact: digits other than zeros rounded away (a
 * number of more than 34 significant digits read into a decimal128, a sum
 * that needs more), an overflow to infinity, an underflow, an invalid
 * operation or a division by zero. Reading, adding, subtracting and
 * multiplying money this way either keeps every digit or says that it
 * could not:
 *
 *   DecimalExactness check;                  // starts with a clean slate
 *   ECurrency total = a + b;
 *   if (!check.exact()) error = "the total " + check.problem();
 *
 * Rounding to decimals on purpose (roundDecimal, roundMoney with the fixed
 * modes) does not count. The watch works on the runtime's sticky status of
 * the thread (ktzDecGetStatus): the constructor saves and clears it, the
 * destructor puts the saved conditions back together with those met
 * meanwhile, so watches nest. Belongs to the thread that made it. */
class KELP_API DecimalExactness {
 public:
  DecimalExactness();
  ~DecimalExactness();
  DecimalExactness(const DecimalExactness&) = delete;
  DecimalExactness& operator=(const DecimalExactness&) = delete;

  /* True while nothing was rounded away, overflowed, underflowed or was
   * invalid since construction or the last reset(). */
  bool exact() const;
  /* Starts watching afresh (the conditions met so far are kept for the
   * destructor). */
  void reset();
  /* What went wrong, as the end of a sentence about the number: "is too
   * large", "is too close to zero", "has more than 34 significant digits",
   * "is not a number", "is a division by zero"; "" while exact. */
  std::string problem() const;

 private:
  unsigned saved_;
};

}  // namespace qor::quv::util

#endif
