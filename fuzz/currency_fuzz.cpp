// Currency readers: ECurrency::parseString and decodeAttributes on arbitrary
// text. Every accepted value keeps the canonical form (a NaN amount has no
// unit; without a unit the amount is a zero or NaN), and a value read by
// parseString reads back from its unit and classic amount text.
#include <kelp/util/utl_Decimal.h>
#include <kelp/util/utl_ECurrency.h>

#include <cstdint>
#include <cstdlib>
#include <string>

using namespace qor::quv::util;

namespace {

void check(bool ok) {
  if (!ok) std::abort();
}

void checkCanonical(const ECurrency& c) {
  if (ktzDec128IsNaN(c.amount)) check(c.getUnit().empty());
  if (c.getUnit().empty()) check(ktzDec128IsNaN(c.amount) || ktzDec128IsZero(c.amount));
  check(c.isValid() != c.isInvalid());
  (void)c.formatString();
  (void)c.sign();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 4096) return 0;
  const std::string text(reinterpret_cast<const char*>(data), size);
  const size_t len = text.find('\0') == std::string::npos ? size : text.find('\0');

  ECurrency value = ECurrency::Null;
  const char* end = nullptr;
  if (value.parseString(text.c_str(), &end)) {
    check(end > text.c_str() && end <= text.c_str() + len);
    checkCanonical(value);
    if (value.isValid() && ktzDec128IsFinite(value.amount)) {
      // Unit and amount written out again read back to an equal value.
      const std::string again = value.getUnit() + " " + formatDecimalCString(value.amount, -1);
      ECurrency back;
      check(back.parseString(again.c_str(), nullptr));
      check(back == value);
    }
  } else {
    check(end == text.c_str());
  }
  ECurrency whole;
  if (whole.parseString(text.c_str(), nullptr)) checkCanonical(whole);

  // The first line is the currency attribute, the rest the value.
  const size_t nl = text.find('\n');
  const std::string currency = text.substr(0, nl == std::string::npos ? 0 : nl);
  const std::string amount = nl == std::string::npos ? text : text.substr(nl + 1);
  ECurrency decoded = ECurrency::Invalid;
  std::string error;
  if (decoded.decodeAttributes(currency.c_str(), amount.c_str(), &error)) {
    checkCanonical(decoded);
  } else {
    check(!error.empty());
    check(decoded.isInvalid());
  }
  checkCanonical(value + decoded);
  checkCanonical(value * decoded);
  checkCanonical(value / decoded);
  checkCanonical(value & decoded);
  checkCanonical(value.round());
  return 0;
}
