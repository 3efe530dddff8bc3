/* Decimal literals and their text for the tests: d128("12.50") reads a
 * decimal (a failed read fails the test), str(d) writes one back as the
 * runtime does. */
#ifndef KELP_TEST_DECIMAL_TEST_UTIL_H
#define KELP_TEST_DECIMAL_TEST_UTIL_H

#include <ktz/ktz_decimal.h>

#include <gtest/gtest.h>

#include <string>

namespace kelp::test {

inline ktz::decimal::decimal128 d128(const char* s) {
  ktz::decimal::decimal128 d;
  EXPECT_TRUE(ktzDec128FromString(s, &d)) << s;
  return d;
}
inline ktz::decimal::decimal64 d64(const char* s) {
  ktz::decimal::decimal64 d;
  EXPECT_TRUE(ktzDec64FromString(s, &d)) << s;
  return d;
}
inline std::string str(const ktz::decimal::decimal128& d) {
  return ktzDec128ToString(d);
}
inline std::string str(ktz::decimal::decimal64 d) {
  return ktzDec64ToString(d);
}

}  // namespace kelp::test

#endif
