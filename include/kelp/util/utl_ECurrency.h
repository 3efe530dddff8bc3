/* qor::quv::util::ECurrency: a money amount or a percentage.
 *
 * A decimal128 amount with a three-letter currency code, or with the unit
 * "%" that makes it relative (a percentage). A plain copyable value over the
 * object model's basket::Currency, to which it converts freely. Every value
 * keeps one invariant, established by the canonical constructor
 * ECurrency(CurrencyUnit, decimal128) that all arithmetic passes through: a
 * NaN amount has the empty unit (the value is Invalid), and without a unit
 * the amount is a zero (the value is Null) or NaN.
 *
 * Arithmetic depends on which operands are absolute and which relative:
 *
 *   ECurrency price("EUR", 100), rebate("%", -10);
 *   ECurrency net = price + rebate;          // 90.00 EUR (100 * (1 - 10/100))
 *   ECurrency share = price * ECurrency("%", 15);   // 15.00 EUR
 *   ECurrency ratio = share / price;          // 15 %
 *   (price + ECurrency("USD", 5)).isInvalid();      // different units
 *
 * Undefined combinations give Invalid, which every further operation keeps.
 * Readers report failure by result and English message and leave the value
 * unchanged. The constants and the table of customary decimals are
 * immutable; any thread may use them. */
#ifndef KELP_UTIL_UTL_ECURRENCY_H
#define KELP_UTIL_UTL_ECURRENCY_H

#include <cstddef>
#include <iosfwd>
#include <string>

#include <fw/fw_Currency.h>
#include <fw/fw_RoundingMode.h>
#include <kelp/kelp_api.h>
#include <ktz/ktz_decimal.h>

namespace qor::quv::xml {
class XMLWriterItfWrapper;
}
namespace qor::quv::xml::sax {
class Attributes;
}

namespace qor::quv::util {

class KELP_API ECurrency : public basket::Currency {
 public:
  using decimal128 = ktz::decimal::decimal128;

  /* Null: no unit, amount 0. */
  static const ECurrency Null;
  /* Invalid: no unit, amount NaN. */
  static const ECurrency Invalid;
  /* The unit "%" of percentages. */
  static const basket::CurrencyUnit Percent;

  /* Null. */
  constexpr ECurrency() noexcept : basket::Currency{} {}
  ECurrency(const ECurrency&) = default;
  ECurrency& operator=(const ECurrency&) = default;
  constexpr ECurrency(const basket::Currency& c) noexcept : basket::Currency(c) {}
  /* The canonical constructor: a NaN amount drops the unit; without a unit
   * every amount but a finite zero becomes NaN. */
  ECurrency(const basket::CurrencyUnit& unit, const decimal128& amount) noexcept;
  /* The first three characters of `code` (fewer when it is shorter) as the
   * unit, then as the canonical constructor. */
  ECurrency(const char* code, const decimal128& amount) noexcept;
  ECurrency(const std::string& code, const decimal128& amount) noexcept;

  /* Not NaN, and a unit or a zero amount. */
  bool isValid() const;
  bool isInvalid() const { return !isValid(); }
  /* No unit and a zero amount. */
  bool isNull() const;
  /* A unit other than "%", not NaN. */
  bool isAbsolute() const;
  /* The unit "%", not NaN. */
  bool isRelative() const;
  bool isZero() const;
  /* Valid and not zero. */
  bool isNonZero() const;
  /* A zero amount, or any other finite amount with a unit. */
  bool isFinite() const;
  bool isInfinite() const;
  /* A finite non-zero amount with a unit, sign clear or set. */
  bool isPositive() const;
  bool isNegative() const;
  bool isFiniteNonZero() const;
  /* 0 without a unit, for NaN and for zero; else -1 or 1. */
  int sign() const;

  ECurrency abs() const;
  /* To the unit's customary decimals under the default money rounding mode;
   * units with none (getDefaultFractionDigits -1) stay as they are. */
  ECurrency round() const;
  ECurrency round(int digits) const;
  ECurrency round(int digits, types::RoundingMode mode) const;
  /* Cut toward zero to the customary decimals, or to `digits`. */
  ECurrency truncate() const;
  ECurrency truncate(int digits) const;

  /* The code as text ("EUR", "%", ""). */
  std::string getUnit() const;
  static std::string getUnit(const basket::CurrencyUnit& unit);
  /* n = 1 and "%": Percent; n = 3: the three characters; else the empty
   * unit. */
  static basket::CurrencyUnit makeUnit(const char* s, std::size_t n);
  static basket::CurrencyUnit makeUnit(const char* s);

  /* Customary decimals of a currency: 2 unless the code is one of the
   * exceptions (0 for JPY, 3 for KWD, 4 for CLF, -1 for units that are not
   * money such as XAU). */
  static int getDefaultFractionDigits(const char* code);
  static int getDefaultFractionDigits(const basket::CurrencyUnit& unit);
  /* Decimals kept beyond the customary ones in intermediate results: 1. */
  static int getDefaultExtraFractionDigits();

  /* Converts into the currency `code`. With a converter: its result, or
   * Invalid when it fails. Without: the amount itself (digits below 0) or
   * rounded to `digits` when `code` is the own three-letter unit, else
   * Invalid. */
  ECurrency convert(basket::ICurrencyConverter* conv, const char* code, int digits) const;

  /* The text form, e.g. [12.50, "EUR"]. */
  std::string formatString() const;
  /* Reads a unit (three letters A-Z or "%") and an amount in the user's
   * locale, in either order, white space around and between optional. With
   * `end`, *end receives the position behind them (s on failure); without,
   * only white space may follow. */
  bool parseString(const char* s, const char** end);

  /* From the texts of the attributes "currency" and "value"; on failure an
   * English message goes to *error (when given) and the value stays. */
  bool decodeAttributes(const char* currency, const char* value, std::string* error);
  /* The same from an element's "currency" and "value" attributes. */
  bool decodeAttributes(const xml::sax::Attributes& attrs, std::string* error);
  /* As above, but `fallback` when both attributes are missing or empty. */
  bool decodeAttributes(const xml::sax::Attributes& attrs, const ECurrency& fallback,
                        std::string* error);
  /* Writes the attributes "currency" and "value" (all significant digits);
   * false as soon as the writer refuses one. */
  bool encodeAttributes(xml::XMLWriterItfWrapper* writer) const;
};

}  // namespace qor::quv::util

namespace qor::quv::basket {

/* Same unit (all four bytes) and equal amounts, numerically (1.0 equals
 * 1.00); two NaN amounts are equal. */
KELP_API bool operator==(const Currency& a, const Currency& b);
KELP_API bool operator!=(const Currency& a, const Currency& b);
KELP_API util::ECurrency operator-(const Currency& a);
/* Absolute plus relative raises the amount by the percentage; relative
 * plus relative adds percentages; absolute plus absolute needs one unit. */
KELP_API util::ECurrency operator+(const Currency& a, const Currency& b);
KELP_API util::ECurrency operator-(const Currency& a, const Currency& b);
KELP_API util::ECurrency operator*(const Currency& a, const ktz::decimal::decimal128& f);
KELP_API util::ECurrency operator*(const ktz::decimal::decimal128& f, const Currency& a);
/* Absolute times relative: the share the percentage denotes; else Invalid. */
KELP_API util::ECurrency operator*(const Currency& a, const Currency& b);
KELP_API util::ECurrency operator/(const Currency& a, const ktz::decimal::decimal128& f);
/* Absolute by relative: the base of which a is the percentage; absolute by
 * absolute of one unit: the percentage; else Invalid. */
KELP_API util::ECurrency operator/(const Currency& a, const Currency& b);
/* Reconciles two amounts that should agree: their mean when they agree to
 * one decimal beyond the customary ones, else Invalid. */
KELP_API util::ECurrency operator&(const Currency& a, const Currency& b);
KELP_API std::ostream& operator<<(std::ostream& os, const Currency& c);
KELP_API std::string& operator<<(std::string& s, const Currency& c);

}  // namespace qor::quv::basket

#endif
