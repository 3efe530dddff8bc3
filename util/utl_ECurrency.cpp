// Currency amounts: absolute and relative arithmetic, rounding to the
// customary decimals, text form, XML attributes.
#define QUV_SOURCE_NAME "utl_ECurrency"

#include <kelp/util/utl_Decimal.h>
#include <kelp/util/utl_ECurrency.h>
#include <kelp/xml/sax/sax_Attributes.h>
#include <kelp/xml/xml_XMLWriterItfWrapper.h>

#include <cstring>
#include <locale>
#include <ostream>
#include <sstream>

#include <vorn/vorn_cstring.h>
#include <vorn/vorn_placeholder.h>

#include "util/utl_TextScan_impl.h"

namespace qor::quv::util {

namespace {

using basket::CurrencyUnit;
using detail::isSpace;
using ktz::decimal::decimal128;

constexpr std::uint64_t kSign = 0x8000000000000000ull;
constexpr decimal128 kNaN = decimal128::fromBits(0x7C00000000000000ull, 0);

// Classification on the upper word of the encoding.
bool isNaNAmount(const decimal128& d) {
  return (d.high() & 0x7C00000000000000ull) == 0x7C00000000000000ull;
}
bool isLargeForm(const decimal128& d) {
  return (d.high() & 0x6000000000000000ull) == 0x6000000000000000ull;
}
bool isInfAmount(const decimal128& d) {
  return (d.high() & 0x7C00000000000000ull) == 0x7800000000000000ull;
}
// A zero coefficient; the large-coefficient form is a non-canonical zero
// unless it encodes an infinity or a NaN.
bool isZeroAmount(const decimal128& d) {
  return ktzDec128IsZero(d);
}

bool isEmpty(const CurrencyUnit& u) {
  return u.code[0] == '\0';
}
bool isPercent(const CurrencyUnit& u) {
  return u.code[0] == '%' && u.code[1] == '\0';
}
// Units match in all four bytes up to the terminator (strncmp over 4).
bool sameUnit(const CurrencyUnit& a, const CurrencyUnit& b) {
  return std::strncmp(a.code, b.code, 4) == 0;
}

constexpr CurrencyUnit percentUnit() {
  CurrencyUnit u;
  u.code[0] = '%';
  return u;
}

// d times 10^n. Moving the exponent field is exact for a finite amount of
// the ordinary form with a canonical coefficient as long as the exponent
// stays in range, which covers every percentage and cent; the rest goes to
// the runtime.
decimal128 scaleB(const decimal128& d, int n) {
  constexpr std::uint64_t kExpMask = 0x3FFFull << 49;
  constexpr std::uint64_t kCoefHighMask = (1ull << 49) - 1;
  // 10^34, the first coefficient that is not canonical.
  constexpr std::uint64_t kLimitHigh = 0x1ED09BEAD87C0ull;
  constexpr std::uint64_t kLimitLow = 0x378D8E6400000000ull;
  const std::uint64_t h = d.high();
  if (!isLargeForm(d) && n > -12288 && n < 12288) {
    const std::uint64_t coefHigh = h & kCoefHighMask;
    const int e = static_cast<int>((h & kExpMask) >> 49) + n;
    if (e >= 0 && e <= 12287 &&
        (coefHigh < kLimitHigh || (coefHigh == kLimitHigh && d.low() < kLimitLow))) {
      return decimal128::fromBits((h & ~kExpMask) | (static_cast<std::uint64_t>(e) << 49), d.low());
    }
  }
  return ktzDec128ScaleB(d, n);
}

// The factor 1 + x/100 by which a percentage x raises an amount.
decimal128 raiseFactor(const decimal128& percent) {
  return scaleB(percent, -2) + decimal128(1);
}

struct FractionDigits {
  const char* code;
  int digits;
};
// Sorted by code (strcmp) for the binary search.
constexpr FractionDigits kFractionDigits[] = {
    {"ADP", 0},  {"BEF", 0},  {"BHD", 3},  {"BIF", 0},  {"BYB", 0},  {"BYR", 0},  {"CLF", 4},
    {"CLP", 0},  {"DJF", 0},  {"ESP", 0},  {"GNF", 0},  {"GRD", 0},  {"IQD", 3},  {"ISK", 0},
    {"ITL", 0},  {"JOD", 3},  {"JPY", 0},  {"KMF", 0},  {"KRW", 0},  {"KWD", 3},  {"LUF", 0},
    {"LYD", 3},  {"MGF", 0},  {"OMR", 3},  {"PTE", 0},  {"PYG", 0},  {"RWF", 0},  {"TND", 3},
    {"TPE", 0},  {"TRL", 0},  {"UGX", 0},  {"UYI", 0},  {"VND", 0},  {"VUV", 0},  {"XAF", 0},
    {"XAG", -1}, {"XAU", -1}, {"XBA", -1}, {"XBB", -1}, {"XBC", -1}, {"XBD", -1}, {"XDR", -1},
    {"XFO", -1}, {"XFU", -1}, {"XOF", 0},  {"XPD", -1}, {"XPF", 0},  {"XPT", -1}, {"XSU", -1},
    {"XTS", -1}, {"XUA", -1}, {"XXX", -1},
};
static_assert(sizeof(kFractionDigits) / sizeof(kFractionDigits[0]) == 52);

bool isUpper(char c) {
  return c >= 'A' && c <= 'Z';
}

// A unit at p: three letters A-Z or "%". Returns the position behind it, or
// null.
const char* scanUnit(const char* p, CurrencyUnit* unit) {
  if (*p == '%') {
    *unit = percentUnit();
    return p + 1;
  }
  if (isUpper(p[0]) && isUpper(p[1]) && isUpper(p[2])) {
    *unit = ECurrency::makeUnit(p, 3);
    return p + 3;
  }
  return nullptr;
}

// The first three characters of a code, zero-padded (strncpy).
CurrencyUnit unitFromCode(const char* code) {
  CurrencyUnit u;
  if (code) std::strncpy(u.code, code, 3);
  u.code[3] = '\0';
  return u;
}

void setError(std::string* error, std::string message) {
  if (error) *error = std::move(message);
}

// The invariant of every value: a NaN amount drops the unit; without a unit
// only a zero of the ordinary form stays (sign and exponent kept, the
// coefficient made 0); everything else, the large-coefficient form
// included, is no amount without a unit. Kept here, inline, for the
// operators below; the canonical constructor is the same.
basket::Currency canonical(const CurrencyUnit& u, const decimal128& a) {
  if (isNaNAmount(a)) return basket::Currency{CurrencyUnit{}, a};
  if (!isEmpty(u)) return basket::Currency{u, a};
  if (!isLargeForm(a) && isZeroAmount(a)) {
    return basket::Currency{CurrencyUnit{},
                            decimal128::fromBits(a.high() & 0xFFFE000000000000ull, 0)};
  }
  return basket::Currency{CurrencyUnit{}, kNaN};
}

// The predicates of ECurrency on a plain record, for the operators.
bool validOf(const basket::Currency& c) {
  return !isNaNAmount(c.amount) && (!isEmpty(c.unit) || isZeroAmount(c.amount));
}
bool nullOf(const basket::Currency& c) {
  return isEmpty(c.unit) && isZeroAmount(c.amount);
}
bool absoluteOf(const basket::Currency& c) {
  return !isEmpty(c.unit) && !isPercent(c.unit) && !isNaNAmount(c.amount);
}
bool relativeOf(const basket::Currency& c) {
  return isPercent(c.unit) && !isNaNAmount(c.amount);
}
// All four bytes equal: the same unit without looking for the terminator.
bool identicalUnit(const CurrencyUnit& a, const CurrencyUnit& b) {
  std::uint32_t x, y;
  std::memcpy(&x, a.code, 4);
  std::memcpy(&y, b.code, 4);
  return x == y;
}

}  // namespace

const ECurrency ECurrency::Null{};
const ECurrency ECurrency::Invalid{basket::Currency{CurrencyUnit{}, kNaN}};
const CurrencyUnit ECurrency::Percent = percentUnit();

ECurrency::ECurrency(const CurrencyUnit& u, const decimal128& a) noexcept
    : basket::Currency(canonical(u, a)) {}

ECurrency::ECurrency(const char* code, const decimal128& a) noexcept
    : ECurrency(isNaNAmount(a) ? CurrencyUnit{} : unitFromCode(code), a) {}

ECurrency::ECurrency(const std::string& code, const decimal128& a) noexcept
    : ECurrency(code.c_str(), a) {}

// --- predicates ------------------------------------------------------------------

bool ECurrency::isValid() const {
  return !isNaNAmount(amount) && (!isEmpty(unit) || isZeroAmount(amount));
}
bool ECurrency::isNull() const {
  return isEmpty(unit) && isZeroAmount(amount);
}
bool ECurrency::isAbsolute() const {
  return !isEmpty(unit) && !isPercent(unit) && !isNaNAmount(amount);
}
bool ECurrency::isRelative() const {
  return isPercent(unit) && !isNaNAmount(amount);
}
bool ECurrency::isZero() const {
  return isZeroAmount(amount);
}
bool ECurrency::isNonZero() const {
  return isValid() && !isZeroAmount(amount);
}
bool ECurrency::isFinite() const {
  if (isZeroAmount(amount)) return true;
  return !isEmpty(unit) && ktzDec128IsFinite(amount);
}
bool ECurrency::isInfinite() const {
  return !isEmpty(unit) && isInfAmount(amount);
}
bool ECurrency::isFiniteNonZero() const {
  return !isEmpty(unit) && ktzDec128IsFinite(amount) && !isZeroAmount(amount);
}
bool ECurrency::isPositive() const {
  return isFiniteNonZero() && (amount.high() & kSign) == 0;
}
bool ECurrency::isNegative() const {
  return isFiniteNonZero() && (amount.high() & kSign) != 0;
}
int ECurrency::sign() const {
  if (isEmpty(unit) || isNaNAmount(amount) || isZeroAmount(amount)) return 0;
  return (amount.high() & kSign) != 0 ? -1 : 1;
}

// --- rounding ----------------------------------------------------------------------

ECurrency ECurrency::abs() const {
  return ECurrency(unit, decimal128::fromBits(amount.high() & ~kSign, amount.low()));
}

ECurrency ECurrency::round() const {
  const int digits = getDefaultFractionDigits(unit);
  return digits < 0 ? *this : round(digits);
}
ECurrency ECurrency::round(int digits) const {
  return ECurrency(unit, roundMoney(amount, digits));
}
ECurrency ECurrency::round(int digits, types::RoundingMode mode) const {
  return ECurrency(unit, roundMoney(amount, digits, mode));
}
ECurrency ECurrency::truncate() const {
  const int digits = getDefaultFractionDigits(unit);
  return digits < 0 ? *this : truncate(digits);
}
ECurrency ECurrency::truncate(int digits) const {
  return ECurrency(unit, truncateDecimal(amount, digits));
}

// --- units ---------------------------------------------------------------------------

std::string ECurrency::getUnit() const {
  return getUnit(unit);
}

std::string ECurrency::getUnit(const CurrencyUnit& u) {
  return std::string(u.code, strnlen(u.code, sizeof u.code));
}

CurrencyUnit ECurrency::makeUnit(const char* s, std::size_t n) {
  CurrencyUnit u;
  if (!s) return u;
  if (n == 1 && s[0] == '%') return percentUnit();
  if (n == 3) std::memcpy(u.code, s, 3);
  return u;
}

CurrencyUnit ECurrency::makeUnit(const char* s) {
  return makeUnit(s, s ? std::strlen(s) : 0);
}

int ECurrency::getDefaultFractionDigits(const char* code) {
  if (!code) return 2;
  size_t lo = 0;
  size_t hi = sizeof(kFractionDigits) / sizeof(kFractionDigits[0]);
  while (lo < hi) {
    const size_t mid = (lo + hi) / 2;
    const int c = std::strcmp(code, kFractionDigits[mid].code);
    if (c == 0) return kFractionDigits[mid].digits;
    if (c < 0) {
      hi = mid;
    } else {
      lo = mid + 1;
    }
  }
  return 2;
}

int ECurrency::getDefaultFractionDigits(const CurrencyUnit& u) {
  return getDefaultFractionDigits(getUnit(u).c_str());
}

int ECurrency::getDefaultExtraFractionDigits() {
  return 1;
}

ECurrency ECurrency::convert(basket::ICurrencyConverter* conv, const char* code, int digits) const {
  if (conv) {
    basket::Currency out = Invalid;
    if (EFAILED(conv->convert(*this, code, digits, &out))) return Invalid;
    return ECurrency(out.unit, out.amount);
  }
  if (!code || std::strlen(code) != 3 || std::strncmp(code, unit.code, 4) != 0) return Invalid;
  return digits < 0 ? *this : round(digits);
}

// --- text ------------------------------------------------------------------------------

std::string ECurrency::formatString() const {
  // The text the stream operators write, put together without a stream:
  // neither the amount's text nor the quoted unit depends on a locale.
  std::string s = "[";
  s += ktzDec128ToString(amount);
  s += ", ";
  s += gConvertToCString(unit.code, strnlen(unit.code, sizeof unit.code));
  s += ']';
  return s;
}

bool ECurrency::parseString(const char* s, const char** end) {
  if (end) *end = s;
  if (!s) return false;
  const char* p = s;
  while (isSpace(*p)) ++p;
  CurrencyUnit u;
  decimal128 a;
  const char* stop = nullptr;
  // A unit first, then the amount ...
  if (const char* q = scanUnit(p, &u)) {
    if (!parseDecimalString(&a, q, &stop)) stop = nullptr;
  }
  // ... or the amount first, then the unit.
  if (!stop) {
    const char* q = nullptr;
    if (parseDecimalString(&a, p, &q)) {
      while (isSpace(*q)) ++q;
      stop = scanUnit(q, &u);
    }
  }
  if (!stop) return false;
  if (end) {
    *end = stop;
  } else {
    const char* rest = stop;
    while (isSpace(*rest)) ++rest;
    if (*rest != '\0') return false;
  }
  *this = ECurrency(u, a);
  return true;
}

// --- XML attributes ------------------------------------------------------------------

bool ECurrency::decodeAttributes(const char* currency, const char* value, std::string* error) {
  if (!value || !*value) {
    setError(error, "attribute 'value' is missing or empty");
    return false;
  }
  decimal128 a;
  if (!parseDecimalCString(&a, value, nullptr)) {
    setError(error, std::string("attribute 'value' has invalid value '%1'") << value);
    return false;
  }
  const size_t len = currency ? std::strlen(currency) : 0;
  const bool percent = len == 1 && currency[0] == '%';
  if (len == 0 && !isZeroAmount(a) && !isNaNAmount(a)) {
    setError(error,
             "if the 'currency' attribute is missing or empty, the 'value' attribute must be "
             "zero or NaN");
    return false;
  }
  if ((len == 3 || percent) && isNaNAmount(a)) {
    setError(error,
             "if the 'currency' attribute exists, the 'value' attribute must exist and must not "
             "be NaN");
    return false;
  }
  if (len == 3 || percent || len == 0) {
    *this = ECurrency(currency ? currency : "", a);
    return true;
  }
  setError(error, std::string("attribute 'currency' has invalid value '%1'") << currency);
  return false;
}

bool ECurrency::decodeAttributes(const xml::sax::Attributes& attrs, std::string* error) {
  return decodeAttributes(attrs.getValue("", "currency"), attrs.getValue("", "value"), error);
}

bool ECurrency::decodeAttributes(const xml::sax::Attributes& attrs, const ECurrency& fallback,
                                 std::string* error) {
  const char* currency = attrs.getValue("", "currency");
  const char* value = attrs.getValue("", "value");
  if ((!currency || !*currency) && (!value || !*value)) {
    *this = fallback;
    return true;
  }
  return decodeAttributes(currency, value, error);
}

bool ECurrency::encodeAttributes(xml::XMLWriterItfWrapper* writer) const {
  if (!writer) return false;
  if (!writer->attribute("currency", getUnit())) return false;
  return writer->attribute("value", formatDecimalCString(amount, -1));
}

}  // namespace qor::quv::util

// --- operators ---------------------------------------------------------------------------

namespace qor::quv::basket {

using ktz::decimal::decimal128;
using util::ECurrency;

bool operator==(const Currency& a, const Currency& b) {
  if (!util::sameUnit(a.unit, b.unit)) return false;
  const bool nanA = ktzDec128IsNaN(a.amount);
  const bool nanB = ktzDec128IsNaN(b.amount);
  if (nanA || nanB) return nanA && nanB;
  return ktzDec128QuietEqual(a.amount, b.amount);
}

bool operator!=(const Currency& a, const Currency& b) {
  return !(a == b);
}

ECurrency operator-(const Currency& a) {
  return util::canonical(a.unit, -a.amount);
}

ECurrency operator+(const Currency& a, const Currency& b) {
  using namespace util;
  // The common case first: two amounts of one currency.
  if (identicalUnit(a.unit, b.unit) && absoluteOf(a) && !isNaNAmount(b.amount)) {
    return canonical(a.unit, a.amount + b.amount);
  }
  if (!validOf(a) || !validOf(b)) return ECurrency::Invalid;
  if (nullOf(a)) return nullOf(b) ? ECurrency::Null : ECurrency(b);
  if (nullOf(b)) return a;
  if (relativeOf(a)) {
    if (relativeOf(b)) return canonical(a.unit, a.amount + b.amount);
    // Adding a percentage to a price raises the price.
    return canonical(b.unit, b.amount * raiseFactor(a.amount));
  }
  if (relativeOf(b)) {
    return canonical(a.unit, a.amount * raiseFactor(b.amount));
  }
  if (!sameUnit(a.unit, b.unit)) return ECurrency::Invalid;
  return canonical(a.unit, a.amount + b.amount);
}

ECurrency operator-(const Currency& a, const Currency& b) {
  return a + -b;
}

ECurrency operator*(const Currency& a, const decimal128& f) {
  if (!util::validOf(a)) return ECurrency::Invalid;
  return util::canonical(a.unit, a.amount * f);
}

ECurrency operator*(const decimal128& f, const Currency& a) {
  return a * f;
}

ECurrency operator*(const Currency& a, const Currency& b) {
  using namespace util;
  // The share of an amount that a percentage denotes.
  if (absoluteOf(a) && relativeOf(b)) {
    return canonical(a.unit, a.amount * scaleB(b.amount, -2));
  }
  return ECurrency::Invalid;
}

ECurrency operator/(const Currency& a, const decimal128& f) {
  if (!util::validOf(a)) return ECurrency::Invalid;
  return util::canonical(a.unit, a.amount / f);
}

ECurrency operator/(const Currency& a, const Currency& b) {
  using namespace util;
  if (!absoluteOf(a) || !validOf(b) || isZeroAmount(b.amount)) return ECurrency::Invalid;
  // The base of which a is the given percentage.
  if (relativeOf(b)) return canonical(a.unit, a.amount / scaleB(b.amount, -2));
  // The percentage that a is of b.
  if (absoluteOf(b) && sameUnit(a.unit, b.unit)) {
    return canonical(ECurrency::Percent, scaleB(a.amount / b.amount, 2));
  }
  return ECurrency::Invalid;
}

ECurrency operator&(const Currency& a, const Currency& b) {
  using namespace util;
  if (!validOf(a) || !validOf(b)) return ECurrency::Invalid;
  if (nullOf(a) && isZeroAmount(b.amount)) return b;
  if (nullOf(b) && isZeroAmount(a.amount)) return a;
  if (!sameUnit(a.unit, b.unit)) return ECurrency::Invalid;
  const int d = ECurrency::getDefaultFractionDigits(a.unit);
  if (d >= 0 && (ktzDec128Exponent(a.amount) < -d || ktzDec128Exponent(b.amount) < -d)) {
    // Compare one decimal beyond the customary ones, rounded half up.
    const decimal128 sa = ktzDec128RoundHalfUp(scaleB(a.amount, d + 1));
    const decimal128 sb = ktzDec128RoundHalfUp(scaleB(b.amount, d + 1));
    if (!ktzDec128QuietEqual(sa, sb)) return ECurrency::Invalid;
    return canonical(a.unit, (a.amount + b.amount) / decimal128(2));
  }
  if (!ktzDec128QuietEqual(a.amount, b.amount)) return ECurrency::Invalid;
  return a;
}

std::ostream& operator<<(std::ostream& os, const Currency& c) {
  return os << '[' << ktzDec128ToString(c.amount) << ", "
            << gConvertToCString(ECurrency::getUnit(c.unit)) << ']';
}

std::string& operator<<(std::string& s, const Currency& c) {
  std::ostringstream os;
  os.imbue(std::locale::classic());
  os << c;
  if (os) {
    s += os.str();
  } else {
    s += "[nan, \"XXX\"]";
  }
  return s;
}

}  // namespace qor::quv::basket
