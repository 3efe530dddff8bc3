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

namespace qor::quv::util {

namespace {

using basket::CurrencyUnit;
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

// The factor 1 + x/100 by which a percentage x raises an amount.
decimal128 raiseFactor(const decimal128& percent) {
  return ktzDec128ScaleB(percent, -2) + decimal128(1);
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

bool isBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}
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

}  // namespace

const ECurrency ECurrency::Null{};
const ECurrency ECurrency::Invalid{basket::Currency{CurrencyUnit{}, kNaN}};
const CurrencyUnit ECurrency::Percent = percentUnit();

ECurrency::ECurrency(const CurrencyUnit& u, const decimal128& a) noexcept {
  if (isNaNAmount(a)) {
    unit = CurrencyUnit{};
    amount = a;
  } else if (isEmpty(u)) {
    unit = CurrencyUnit{};
    // Only a zero of the ordinary form stays (sign and exponent kept, the
    // coefficient made 0); everything else, the large-coefficient form
    // included, is no amount without a unit.
    if (!isLargeForm(a) && isZeroAmount(a)) {
      amount = decimal128::fromBits(a.high() & 0xFFFE000000000000ull, 0);
    } else {
      amount = kNaN;
    }
  } else {
    unit = u;
    amount = a;
  }
}

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
  std::string s;
  s << *this;
  return s;
}

bool ECurrency::parseString(const char* s, const char** end) {
  if (end) *end = s;
  if (!s) return false;
  const char* p = s;
  while (isBlank(*p)) ++p;
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
      while (isBlank(*q)) ++q;
      stop = scanUnit(q, &u);
    }
  }
  if (!stop) return false;
  if (end) {
    *end = stop;
  } else {
    const char* rest = stop;
    while (isBlank(*rest)) ++rest;
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
  return ECurrency(a.unit, -a.amount);
}

ECurrency operator+(const Currency& a, const Currency& b) {
  const ECurrency x(a), y(b);
  if (x.isInvalid() || y.isInvalid()) return ECurrency::Invalid;
  if (x.isNull()) return y.isNull() ? ECurrency::Null : y;
  if (y.isNull()) return x;
  if (x.isRelative()) {
    if (y.isRelative()) return ECurrency(x.unit, x.amount + y.amount);
    // Adding a percentage to a price raises the price.
    return ECurrency(y.unit, y.amount * util::raiseFactor(x.amount));
  }
  if (y.isRelative()) {
    return ECurrency(x.unit, x.amount * util::raiseFactor(y.amount));
  }
  if (!util::sameUnit(x.unit, y.unit)) return ECurrency::Invalid;
  return ECurrency(x.unit, x.amount + y.amount);
}

ECurrency operator-(const Currency& a, const Currency& b) {
  return a + -b;
}

ECurrency operator*(const Currency& a, const decimal128& f) {
  const ECurrency x(a);
  if (x.isInvalid()) return ECurrency::Invalid;
  return ECurrency(x.unit, x.amount * f);
}

ECurrency operator*(const decimal128& f, const Currency& a) {
  return a * f;
}

ECurrency operator*(const Currency& a, const Currency& b) {
  const ECurrency x(a), y(b);
  // The share of an amount that a percentage denotes.
  if (x.isAbsolute() && y.isRelative()) {
    return ECurrency(x.unit, x.amount * ktzDec128ScaleB(y.amount, -2));
  }
  return ECurrency::Invalid;
}

ECurrency operator/(const Currency& a, const decimal128& f) {
  const ECurrency x(a);
  if (x.isInvalid()) return ECurrency::Invalid;
  return ECurrency(x.unit, x.amount / f);
}

ECurrency operator/(const Currency& a, const Currency& b) {
  const ECurrency x(a), y(b);
  if (!x.isAbsolute() || !y.isValid() || y.isZero()) return ECurrency::Invalid;
  // The base of which a is the given percentage.
  if (y.isRelative()) return ECurrency(x.unit, x.amount / ktzDec128ScaleB(y.amount, -2));
  // The percentage that a is of b.
  if (y.isAbsolute() && util::sameUnit(x.unit, y.unit)) {
    return ECurrency(ECurrency::Percent, ktzDec128ScaleB(x.amount / y.amount, 2));
  }
  return ECurrency::Invalid;
}

ECurrency operator&(const Currency& a, const Currency& b) {
  const ECurrency x(a), y(b);
  if (x.isInvalid() || y.isInvalid()) return ECurrency::Invalid;
  if (x.isNull() && y.isZero()) return y;
  if (y.isNull() && x.isZero()) return x;
  if (!util::sameUnit(x.unit, y.unit)) return ECurrency::Invalid;
  const int d = ECurrency::getDefaultFractionDigits(x.unit);
  if (d >= 0 && (ktzDec128Exponent(x.amount) < -d || ktzDec128Exponent(y.amount) < -d)) {
    // Compare one decimal beyond the customary ones, rounded half up.
    const decimal128 sx = ktzDec128RoundHalfUp(ktzDec128ScaleB(x.amount, d + 1));
    const decimal128 sy = ktzDec128RoundHalfUp(ktzDec128ScaleB(y.amount, d + 1));
    if (!ktzDec128QuietEqual(sx, sy)) return ECurrency::Invalid;
    return ECurrency(x.unit, (x.amount + y.amount) / decimal128(2));
  }
  if (!ktzDec128QuietEqual(x.amount, y.amount)) return ECurrency::Invalid;
  return x;
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
