// Decimal readers: parseDecimalCString and parseDecimalString on arbitrary
// text, in both widths, with and without an end pointer. Accepted text must
// round-trip: the scientific text reads back to the same encoding, the
// classic and locale texts to the same value. A read that says it lost
// digits had more than 34 of them.
#include <kelp/util/utl_Decimal.h>

#include <cstdint>
#include <cstdlib>
#include <locale>
#include <string>

using namespace qor::quv::util;

namespace {

// A locale with "," as decimal point and "." grouping three digits, so the
// locale reader meets separators.
struct CommaPunct : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

void check(bool ok) {
  if (!ok) std::abort();
}

bool sameBits(const decimal128& a, const decimal128& b) {
  return a.high() == b.high() && a.low() == b.low();
}
bool sameBits(decimal64 a, decimal64 b) {
  return a.bits() == b.bits();
}
bool isNaN(const decimal128& d) {
  return ktzDec128IsNaN(d);
}
bool isNaN(decimal64 d) {
  return ktzDec64IsNaN(d);
}
std::string sci(const decimal128& d) {
  return ktzDec128ToString(d);
}
std::string sci(decimal64 d) {
  return ktzDec64ToString(d);
}

template <class D>
void roundTrip(const char* text, size_t size, bool local) {
  D value;
  const char* end = nullptr;
  auto parse = [local](D* out, const char* s, const char** e) {
    return local ? parseDecimalString(out, s, e) : parseDecimalCString(out, s, e);
  };
  const bool withEnd = parse(&value, text, &end);
  check(end >= text && end <= text + size);
  if (!withEnd) check(end == text);
  D whole;
  const bool alone = parse(&whole, text, nullptr);
  if (alone) check(withEnd);
  if (!withEnd) return;

  // The scientific text is exact, NaN payloads and signs included.
  const std::string s = sci(value);
  D back;
  check(parseDecimalCString(&back, s.c_str(), nullptr));
  check(sameBits(back, value));

  // Classic and locale text keep the value (not always the exponent).
  if (!isNaN(value)) {
    const std::string c = formatDecimalCString(value, -1);
    check(parseDecimalCString(&back, c.c_str(), nullptr));
    check(back == value);
    const std::string l = formatDecimalString(value, -1);
    if (!ktzDec128IsInf(decimal128(value))) {
      check(parseDecimalString(&back, l.c_str(), nullptr));
      check(back == value);
    }
  }
}

// DecimalExactness after a classic read: a number with at most 34
// significant digits in range is exact; one reported as having more than
// 34 digits really has them.
void exactness(const char* text) {
  DecimalExactness watch;
  decimal128 value;
  const char* end = nullptr;
  if (!parseDecimalCString(&value, text, &end)) {
    check(watch.exact());  // nothing read, nothing lost
    return;
  }
  const std::string problem = watch.problem();
  if (problem != "has more than 34 significant digits") return;
  // Count the significant digits of the mantissa that was read.
  size_t digits = 0;
  bool leading = true;
  for (const char* p = text; p < end && *p != 'e' && *p != 'E'; ++p) {
    if (*p < '0' || *p > '9') continue;
    if (leading && *p == '0') continue;
    leading = false;
    ++digits;
  }
  check(digits > 34);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool localeSet = [] {
    std::locale::global(std::locale(std::locale::classic(), new CommaPunct));
    return true;
  }();
  (void)localeSet;
  if (size > 4096) return 0;  // long inputs only repeat what short ones test
  const std::string text(reinterpret_cast<const char*>(data), size);
  // Text up to the first NUL is what the readers see.
  const size_t len = text.find('\0') == std::string::npos ? size : text.find('\0');
  exactness(text.c_str());
  for (bool local : {false, true}) {
    roundTrip<decimal128>(text.c_str(), len, local);
    roundTrip<decimal64>(text.c_str(), len, local);
  }
  return 0;
}
