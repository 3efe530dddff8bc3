// Decimal and money rounding, text output and input of decimals.
#define QUV_SOURCE_NAME "utl_Decimal"

#include <kelp/util/utl_Decimal.h>
#include <ktz/ktz_gettext.h>

#include <atomic>
#include <climits>
#include <locale>

#include "util/utl_TextScan_impl.h"

namespace qor::quv::util {

namespace {

using detail::isDigit;
using detail::isSpace;
using types::RoundingMode;

// The default money rounding mode: a process-wide value set at start-up.
// Atomic only so that a reader racing a change sees a whole value.
std::atomic<int> gMoneyRounding{types::eRoundingHalfUp};

// A text of the library's message domain in the user's language.
std::string translate(const char* msgid) {
  return ktzDGetText(KTZ_KELP_TEXT_DOMAIN, msgid);
}

// The runtime's functions by width, so each algorithm is written once.
struct Rt64 {
  using D = decimal64;
  static D scaleB(D d, int n) { return ktzDec64ScaleB(d, n); }
  static D exact(D d) { return ktzDec64RoundExact(d); }
  static D down(D d) { return ktzDec64RoundDown(d); }
  static D halfUp(D d) { return ktzDec64RoundHalfUp(d); }
  static D ceil(D d) { return ktzDec64Ceil(d); }
  static D floor(D d) { return ktzDec64Floor(d); }
  static D copySign(D d, D s) { return ktzDec64CopySign(d, s); }
  static bool signBit(D d) { return ktzDec64SignBit(d); }
  static bool isZero(D d) { return ktzDec64IsZero(d); }
  static bool isNaN(D d) { return ktzDec64IsNaN(d); }
  static bool isInf(D d) { return ktzDec64IsInf(d); }
  static int exponent(D d) { return ktzDec64Exponent(d); }
  static D reduce(D d) { return ktzDec64Reduce(d); }
  static std::string fixed(D d, int n) { return ktzDec64ToFixed(d, n); }
  static D read(const char* s, const char** end) { return ktzStrToDec64(s, end); }
  static D readLocal(const char* s, const char** end) { return ktzStrToDec64Local(s, end); }
};

struct Rt128 {
  using D = decimal128;
  static D scaleB(const D& d, int n) { return ktzDec128ScaleB(d, n); }
  static D exact(const D& d) { return ktzDec128RoundExact(d); }
  static D down(const D& d) { return ktzDec128RoundDown(d); }
  static D halfUp(const D& d) { return ktzDec128RoundHalfUp(d); }
  static D ceil(const D& d) { return ktzDec128Ceil(d); }
  static D floor(const D& d) { return ktzDec128Floor(d); }
  static D copySign(const D& d, const D& s) { return ktzDec128CopySign(d, s); }
  static bool signBit(const D& d) { return ktzDec128SignBit(d); }
  static bool isZero(const D& d) { return ktzDec128IsZero(d); }
  static bool isNaN(const D& d) { return ktzDec128IsNaN(d); }
  static bool isInf(const D& d) { return ktzDec128IsInf(d); }
  static int exponent(const D& d) { return ktzDec128Exponent(d); }
  static D reduce(const D& d) { return ktzDec128Reduce(d); }
  static std::string fixed(const D& d, int n) { return ktzDec128ToFixed(d, n); }
  static D read(const char* s, const char** end) { return ktzStrToDec128(s, end); }
  static D readLocal(const char* s, const char** end) { return ktzStrToDec128Local(s, end); }
};

// Rounding on purpose is no loss that DecimalExactness should report: the
// thread's decimal status is left as the caller had it.
class KeepStatus {
 public:
  KeepStatus() : status_(ktzDecGetStatus()) {}
  ~KeepStatus() { ktzDecSetStatus(status_); }
  KeepStatus(const KeepStatus&) = delete;
  KeepStatus& operator=(const KeepStatus&) = delete;

 private:
  unsigned status_;
};

template <class Rt>
typename Rt::D roundTo(const typename Rt::D& d, int digits, RoundingMode mode) {
  using D = typename Rt::D;
  const KeepStatus keep;
  if (mode < types::eRoundingExact || mode > types::eRoundingIntegral) return d;
  // Beyond this every scaling saturates anyway; the bound keeps -digits
  // defined.
  constexpr int kLimit = 100000;
  if (digits > kLimit) digits = kLimit;
  if (digits < -kLimit) digits = -kLimit;
  const D scaled = Rt::scaleB(d, digits);
  // Only a value with fewer decimals than asked for overflows here: there
  // is nothing to round.
  if (Rt::isInf(scaled) && !Rt::isInf(d)) return d;
  D r;
  switch (mode) {
    case types::eRoundingUp:
      r = Rt::signBit(scaled) ? Rt::floor(scaled) : Rt::ceil(scaled);
      break;
    case types::eRoundingDown:
      r = Rt::down(scaled);
      break;
    case types::eRoundingCeiling:
      r = Rt::ceil(scaled);
      break;
    case types::eRoundingFloor:
      r = Rt::floor(scaled);
      break;
    case types::eRoundingHalfUp:
      r = Rt::halfUp(scaled);
      break;
    case types::eRoundingHalfDown: {
      // Half toward zero: shift by a half toward zero, round away from the
      // shift, and keep the sign of the input (-0.4 gives -0).
      const D half = Rt::scaleB(D(5), -1);
      r = Rt::signBit(scaled) ? Rt::floor(scaled + half) : Rt::ceil(scaled - half);
      r = Rt::copySign(r, scaled);
      break;
    }
    default:  // eRoundingExact, eRoundingIntegral
      r = Rt::exact(scaled);
      break;
  }
  return Rt::scaleB(r, -digits);
}

template <class Rt>
std::string formatC(const typename Rt::D& d, int digits) {
  using D = typename Rt::D;
  const D v = Rt::isZero(d) ? D(0) : d;
  const bool automatic = digits < 0;
  if (automatic) {
    const int e = Rt::exponent(v);
    digits = e < 0 ? -e : 1;
  }
  std::string s = Rt::fixed(v, digits);
  if (automatic && digits >= 2) {
    const size_t first = !s.empty() && s[0] == '-' ? 1 : 0;
    if (first < s.size() && isDigit(s[first])) {
      const size_t point = s.find('.');
      size_t last = s.size();
      while (last > point + 2 && s[last - 1] == '0') --last;
      s.erase(last);
    }
  }
  return s;
}

// The classic text of a finite value in the global locale's punctuation.
std::string localize(const std::string& text) {
  const std::locale loc;
  const auto& np = std::use_facet<std::numpunct<char>>(loc);
  const std::string grouping = np.grouping();
  const char sep = np.thousands_sep();
  const size_t first = !text.empty() && text[0] == '-' ? 1 : 0;
  size_t point = text.find('.');
  if (point == std::string::npos) point = text.size();
  std::string intPart = text.substr(first, point - first);
  std::string grouped;
  size_t remaining = intPart.size();
  size_t group = 0;
  // Groups from the right: each size in turn, the last one repeating; a
  // size of 0, a negative one or CHAR_MAX leaves the rest ungrouped.
  while (!grouping.empty() && remaining > 0) {
    const char g = group < grouping.size() ? grouping[group] : grouping.back();
    if (g <= 0 || g == CHAR_MAX) break;
    const size_t size = static_cast<unsigned char>(g);
    if (size >= remaining) break;
    grouped.insert(0, intPart.substr(remaining - size, size));
    grouped.insert(grouped.begin(), sep);
    remaining -= size;
    ++group;
  }
  grouped.insert(0, intPart.substr(0, remaining));
  std::string out = text.substr(0, first) + grouped;
  if (point < text.size()) {
    out.push_back(np.decimal_point());
    out.append(text, point + 1, std::string::npos);
  }
  return out;
}

template <class Rt>
bool nonFiniteWord(const typename Rt::D& d, std::string* word) {
  if (Rt::isNaN(d)) {
    *word = translate("invalid");
    return true;
  }
  if (Rt::isInf(d)) {
    *word = translate(Rt::signBit(d) ? "neg. infinity" : "pos. infinity");
    return true;
  }
  return false;
}

template <class Rt>
std::string formatLocal(const typename Rt::D& d, int digits) {
  std::string word;
  if (nonFiniteWord<Rt>(d, &word)) return word;
  return localize(formatC<Rt>(d, digits));
}

template <class Rt>
std::string formatLocal(const typename Rt::D& d, int minDigits, int maxDigits) {
  std::string word;
  if (nonFiniteWord<Rt>(d, &word)) return word;
  if (minDigits < 0) minDigits = 0;
  if (maxDigits < minDigits) maxDigits = minDigits;
  const int e = Rt::exponent(Rt::reduce(d));
  int digits = e < 0 ? -e : 0;
  if (digits < minDigits) digits = minDigits;
  if (digits > maxDigits) digits = maxDigits;
  return localize(formatC<Rt>(d, digits));
}

template <class Rt>
bool parse(typename Rt::D* out, const char* s, const char** end, bool local) {
  if (end) *end = s;
  if (!s) return false;
  const char* stop = s;
  const typename Rt::D v = local ? Rt::readLocal(s, &stop) : Rt::read(s, &stop);
  if (stop == s) return false;
  if (end) {
    *end = stop;
  } else {
    while (isSpace(*stop)) ++stop;
    if (*stop != '\0') return false;
  }
  if (out) *out = v;
  return true;
}

}  // namespace

decimal128 floatToDecimal(float v) {
  return ktzDec128FromFloat(v);
}
decimal128 doubleToDecimal(double v) {
  return ktzDec128FromDouble(v);
}
decimal64 floatToDecimal64(float v) {
  return ktzDec64FromFloat(v);
}
decimal64 doubleToDecimal64(double v) {
  return ktzDec64FromDouble(v);
}

decimal64 roundDecimal(decimal64 d, int digits) {
  return roundTo<Rt64>(d, digits, types::eRoundingExact);
}
decimal128 roundDecimal(decimal128 d, int digits) {
  return roundTo<Rt128>(d, digits, types::eRoundingExact);
}
decimal64 roundDecimal(decimal64 d, int digits, types::RoundingMode mode) {
  return roundTo<Rt64>(d, digits, mode);
}
decimal128 roundDecimal(decimal128 d, int digits, types::RoundingMode mode) {
  return roundTo<Rt128>(d, digits, mode);
}
decimal64 truncateDecimal(decimal64 d, int digits) {
  return roundTo<Rt64>(d, digits, types::eRoundingDown);
}
decimal128 truncateDecimal(decimal128 d, int digits) {
  return roundTo<Rt128>(d, digits, types::eRoundingDown);
}

decimal128 roundMoney(decimal128 d, int digits, types::RoundingMode mode) {
  if (mode == types::eRoundingExact) mode = getDefaultMoneyRoundingMode();
  return roundTo<Rt128>(d, digits, mode);
}
decimal128 roundMoney(decimal128 d, int digits) {
  return roundTo<Rt128>(d, digits, getDefaultMoneyRoundingMode());
}
void setDefaultMoneyRoundingMode(types::RoundingMode mode) {
  if (mode < types::eRoundingUp || mode > types::eRoundingIntegral) return;
  gMoneyRounding.store(mode, std::memory_order_relaxed);
}
types::RoundingMode getDefaultMoneyRoundingMode() {
  return static_cast<types::RoundingMode>(gMoneyRounding.load(std::memory_order_relaxed));
}

decimal64 stripTrailingZeros(decimal64 d) {
  return ktzDec64Reduce(d);
}
decimal128 stripTrailingZeros(decimal128 d) {
  return ktzDec128Reduce(d);
}

std::string formatDecimalCString(decimal64 d, int digits) {
  return formatC<Rt64>(d, digits);
}
std::string formatDecimalCString(decimal128 d, int digits) {
  return formatC<Rt128>(d, digits);
}
std::string formatDecimalString(decimal64 d, int digits) {
  return formatLocal<Rt64>(d, digits);
}
std::string formatDecimalString(decimal128 d, int digits) {
  return formatLocal<Rt128>(d, digits);
}
std::string formatDecimalString(decimal64 d, int minDigits, int maxDigits) {
  return formatLocal<Rt64>(d, minDigits, maxDigits);
}
std::string formatDecimalString(decimal128 d, int minDigits, int maxDigits) {
  return formatLocal<Rt128>(d, minDigits, maxDigits);
}

bool parseDecimalString(decimal64* out, const char* s, const char** end) {
  return parse<Rt64>(out, s, end, true);
}
bool parseDecimalString(decimal128* out, const char* s, const char** end) {
  return parse<Rt128>(out, s, end, true);
}
bool parseDecimalCString(decimal64* out, const char* s, const char** end) {
  return parse<Rt64>(out, s, end, false);
}
bool parseDecimalCString(decimal128* out, const char* s, const char** end) {
  return parse<Rt128>(out, s, end, false);
}

DecimalExactness::DecimalExactness() : saved_(ktzDecGetStatus()) {
  ktzDecSetStatus(0);
}

DecimalExactness::~DecimalExactness() {
  ktzDecSetStatus(saved_ | ktzDecGetStatus());
}

bool DecimalExactness::exact() const {
  return problem().empty();
}

void DecimalExactness::reset() {
  saved_ |= ktzDecGetStatus();
  ktzDecSetStatus(0);
}

std::string DecimalExactness::problem() const {
  using namespace ktz::decimal;
  const unsigned st = ktzDecGetStatus();
  // The most telling condition first: an overflow is inexact as well.
  if (st & kStatusInvalid) return "is not a number";
  if (st & kStatusDivisionByZero) return "is a division by zero";
  if (st & kStatusOverflow) return "is too large";
  if (st & kStatusUnderflow) return "is too close to zero";
  if (st & kStatusInexact) return "has more than 34 significant digits";
  return std::string();
}

}  // namespace qor::quv::util
