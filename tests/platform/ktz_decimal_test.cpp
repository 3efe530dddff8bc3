// The BID encoding of the runtime's decimal types, their classification,
// operators, rounding per thread, fixed-point text, the strtod-style readers
// and the conversions. With GCC the results are also checked bit for bit
// against the compiler's own decimal floating point.
#include <ktz/ktz_decimal.h>

#include <gtest/gtest.h>

#include "decimal_test_util.h"

#include <cmath>
#include <cstring>
#include <random>
#include <sstream>
#include <thread>

using ktz::decimal::decimal128;
using ktz::decimal::decimal64;
using ktz::decimal::Rounding;

namespace {

using kelp::test::d128;
using kelp::test::d64;
using kelp::test::str;

// Encodings worked out from the format: sign, biased exponent (bias 6176 or
// 398) above the coefficient, or the large-coefficient form for decimal64
// coefficients of 2^53 and more.
TEST(Decimal, Encoding128) {
  const struct {
    const char* text;
    std::uint64_t high, low;
  } cases[] = {
      {"0", 0x3040000000000000ull, 0},
      {"1", 0x3040000000000000ull, 1},
      {"-1", 0xB040000000000000ull, 1},
      {"12.50", 0x303C000000000000ull, 1250},
      {"-0.000", 0xB03A000000000000ull, 0},
      {"1E+6111", 0x5FFE000000000000ull, 1},
      {"1E-6176", 0x0000000000000000ull, 1},
      {"9999999999999999999999999999999999", 0x3041ED09BEAD87C0ull, 0x378D8E63FFFFFFFFull},
      {"Infinity", 0x7800000000000000ull, 0},
      {"-Infinity", 0xF800000000000000ull, 0},
      {"NaN", 0x7C00000000000000ull, 0},
      {"-NaN42", 0xFC00000000000000ull, 42},
      {"sNaN7", 0x7E00000000000000ull, 7},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const decimal128 d = d128(c.text);
    EXPECT_EQ(d.high(), c.high);
    EXPECT_EQ(d.low(), c.low);
    EXPECT_EQ(str(decimal128::fromBits(c.high, c.low)), c.text);
  }
  static_assert(decimal128().high() == 0x3040000000000000ull);
  static_assert(decimal128(-5).high() == 0xB040000000000000ull && decimal128(-5).low() == 5);
  static_assert((-decimal128(3)).high() == 0xB040000000000000ull);
}

TEST(Decimal, Encoding64) {
  const struct {
    const char* text;
    std::uint64_t bits;
  } cases[] = {
      {"0", 0x31C0000000000000ull},
      {"1", 0x31C0000000000001ull},
      {"-12.5", 0xB1A000000000007Dull},
      {"9007199254740991", 0x31DFFFFFFFFFFFFFull},  // 2^53 - 1: last small form
      {"9007199254740992", 0x6C70000000000000ull},  // 2^53: large form
      {"9999999999999999", 0x6C7386F26FC0FFFFull},
      {"1E+369", 0x5FE0000000000001ull},
      {"Infinity", 0x7800000000000000ull},
      {"-NaN3", 0xFC00000000000003ull},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(d64(c.text).bits(), c.bits);
    EXPECT_EQ(str(decimal64::fromBits(c.bits)), c.text);
  }
  static_assert(decimal64(-7).bits() == 0xB1C0000000000007ull);
  static_assert(decimal64(2147483647u).bits() == 0x31C000007FFFFFFFull);
}

TEST(Decimal, NonCanonicalEncodingsReadAsZero) {
  // decimal128 large-coefficient form: always above 10^34 - 1.
  const decimal128 large = decimal128::fromBits(0x6000000000000000ull | (6176ull << 47), 5);
  EXPECT_TRUE(ktzDec128IsZero(large));
  EXPECT_TRUE(ktzDec128IsFinite(large));
  EXPECT_EQ(str(large), "0");
  // Small form with a coefficient of 10^34.
  const decimal128 tooBig = decimal128::fromBits(0x3041ED09BEAD87C0ull, 0x378D8E6400000000ull);
  EXPECT_TRUE(ktzDec128IsZero(tooBig));
  EXPECT_TRUE(tooBig == decimal128(0));
  // decimal64 large form above 10^16 - 1.
  EXPECT_TRUE(ktzDec64IsZero(decimal64::fromBits(0x6C7FFFFFFFFFFFFFull)));
  // Overlong NaN payloads read as 0; bits below the combination field of an
  // infinity are ignored.
  EXPECT_EQ(str(decimal128::fromBits(0x7C003FFFFFFFFFFFull, ~0ull)), "NaN");
  EXPECT_EQ(str(decimal64::fromBits(0x7C03FFFFFFFFFFFFull)), "NaN");
  EXPECT_EQ(str(decimal128::fromBits(0x7A00000000000000ull, 99)), "Infinity");
}

TEST(Decimal, Classification) {
  const char* texts[] = {"1.5", "-0.00", "-Inf", "NaN", "-sNaN"};
  decimal128 values[5];
  for (int i = 0; i < 5; ++i) values[i] = d128(texts[i]);
  const bool nan[] = {false, false, false, true, true};
  const bool snan[] = {false, false, false, false, true};
  const bool inf[] = {false, false, true, false, false};
  const bool zero[] = {false, true, false, false, false};
  const bool sign[] = {false, true, true, false, true};
  for (int i = 0; i < 5; ++i) {
    SCOPED_TRACE(str(values[i]));
    EXPECT_EQ(ktzDec128IsNaN(values[i]), nan[i]);
    EXPECT_EQ(ktzDec128IsSNaN(values[i]), snan[i]);
    EXPECT_EQ(ktzDec128IsInf(values[i]), inf[i]);
    EXPECT_EQ(ktzDec128IsFinite(values[i]), !nan[i] && !inf[i]);
    EXPECT_EQ(ktzDec128IsZero(values[i]), zero[i]);
    EXPECT_EQ(ktzDec128SignBit(values[i]), sign[i]);
    const decimal64 n = d64(texts[i]);
    EXPECT_EQ(ktzDec64IsNaN(n), nan[i]);
    EXPECT_EQ(ktzDec64IsSNaN(n), snan[i]);
    EXPECT_EQ(ktzDec64IsInf(n), inf[i]);
    EXPECT_EQ(ktzDec64IsFinite(n), !nan[i] && !inf[i]);
    EXPECT_EQ(ktzDec64IsZero(n), zero[i]);
    EXPECT_EQ(ktzDec64SignBit(n), sign[i]);
  }
  EXPECT_EQ(ktzDec128Exponent(d128("12.50")), -2);
  EXPECT_EQ(ktzDec128Exponent(d128("1E+5")), 5);
  EXPECT_EQ(ktzDec128Exponent(d128("Inf")), 0);
  EXPECT_EQ(ktzDec64Exponent(d64("-0.001")), -3);
}

TEST(Decimal, OperatorsAndComparisons) {
  EXPECT_EQ(str(d128("1.20") + d128("1.3")), "2.50");
  EXPECT_EQ(str(d128("1.20") - d128("1.3")), "-0.10");
  EXPECT_EQ(str(d128("1.20") * d128("3")), "3.60");
  EXPECT_EQ(str(d128("1") / d128("3")), "0.3333333333333333333333333333333333");
  EXPECT_EQ(str(d128("1") / d128("0")), "Infinity");
  EXPECT_EQ(str(d128("0") / d128("0")), "NaN");
  EXPECT_EQ(str(d64("1") / d64("3")), "0.3333333333333333");
  EXPECT_EQ(str(d64("2.5") * d64("-4")), "-10.0");
  decimal128 acc = 10;
  acc += d128("0.5");
  acc -= 1;
  acc *= 2;
  acc /= 4;
  EXPECT_EQ(str(acc), "4.75");
  decimal64 acc64 = 10;
  acc64 += d64("0.5");
  acc64 -= 1;
  acc64 *= 2;
  acc64 /= 4;
  EXPECT_EQ(str(acc64), "4.75");

  EXPECT_TRUE(d128("1.0") == d128("1.00"));
  EXPECT_TRUE(d128("-0") == d128("0E+7"));
  EXPECT_FALSE(d128("NaN") == d128("NaN"));
  EXPECT_TRUE(d128("NaN") != d128("NaN"));
  EXPECT_FALSE(d128("NaN") < d128("1"));
  EXPECT_FALSE(d128("NaN") >= d128("1"));
  EXPECT_TRUE(d128("-Inf") < d128("-1E+6000"));
  EXPECT_TRUE(d128("2") > d128("1.999"));
  EXPECT_TRUE(d128("2") >= d128("2.000"));
  EXPECT_TRUE(d128("2") <= d128("2.000"));
  EXPECT_TRUE(d64("1.5") < d64("1.51"));
  EXPECT_TRUE(d64("1.5") == d64("1.50"));
  EXPECT_FALSE(d64("NaN") <= d64("NaN"));
  EXPECT_TRUE(ktzDec128QuietEqual(d128("12.5"), d128("12.500")));
  EXPECT_FALSE(ktzDec128QuietEqual(d128("sNaN"), d128("sNaN")));
  EXPECT_TRUE(ktzDec64QuietEqual(d64("-0"), d64("0")));
  EXPECT_EQ(str(ktzDec128Compare(d128("1"), d128("2"))), "-1");
  EXPECT_EQ(str(ktzDec64Compare(d64("3"), d64("2"))), "1");

  // Unary minus flips the sign only.
  EXPECT_EQ(str(-d128("0")), "-0");
  EXPECT_EQ(str(-d128("NaN5")), "-NaN5");
  EXPECT_EQ(str(-d64("-1.5")), "1.5");
  EXPECT_EQ(str(ktzDec128CopySign(d128("2"), d128("-0"))), "-2");

  std::ostringstream os;
  os << d128("12.50") << ' ' << d64("-1E+3");
  EXPECT_EQ(os.str(), "12.50 -1E+3");
}

TEST(Decimal, IntegerConstruction) {
  EXPECT_EQ(str(decimal128(-42)), "-42");
  EXPECT_EQ(str(decimal128(9223372036854775807LL)), "9223372036854775807");
  EXPECT_EQ(str(decimal128(-9223372036854775807LL - 1)), "-9223372036854775808");
  EXPECT_EQ(str(decimal128(18446744073709551615ULL)), "18446744073709551615");
  EXPECT_EQ(str(decimal64(-42)), "-42");
  EXPECT_EQ(str(decimal64(1234567890123456LL)), "1234567890123456");
  // More than 16 digits round under the thread's rounding.
  EXPECT_EQ(str(decimal64(12345678901234567LL)), "1.234567890123457E+16");
  EXPECT_EQ(str(decimal64(18446744073709551615ULL)), "1.844674407370955E+19");
  EXPECT_EQ(str(decimal64(-9223372036854775807L - 1)), "-9.223372036854776E+18");
  EXPECT_EQ(str(decimal64(4000000000UL)), "4000000000");
}

TEST(Decimal, RoundingToIntegers) {
  const struct {
    const char* value;
    const char *exact, *down, *halfUp, *ceil, *floor;
  } cases[] = {
      {"2.5", "2", "2", "3", "3", "2"},
      {"-2.5", "-2", "-2", "-3", "-2", "-3"},
      {"3.5", "4", "3", "4", "4", "3"},
      {"-0.4", "-0", "-0", "-0", "-0", "-1"},
      {"12.50E+3", "1.250E+4", "1.250E+4", "1.250E+4", "1.250E+4", "1.250E+4"},
      {"7.000", "7", "7", "7", "7", "7"},
      {"Inf", "Infinity", "Infinity", "Infinity", "Infinity", "Infinity"},
      {"NaN", "NaN", "NaN", "NaN", "NaN", "NaN"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    const decimal128 v = d128(c.value);
    EXPECT_EQ(str(ktzDec128RoundExact(v)), c.exact);
    EXPECT_EQ(str(ktzDec128RoundDown(v)), c.down);
    EXPECT_EQ(str(ktzDec128RoundHalfUp(v)), c.halfUp);
    EXPECT_EQ(str(ktzDec128Ceil(v)), c.ceil);
    EXPECT_EQ(str(ktzDec128Floor(v)), c.floor);
    const decimal64 w = d64(c.value);
    EXPECT_EQ(str(ktzDec64RoundExact(w)), c.exact);
    EXPECT_EQ(str(ktzDec64RoundDown(w)), c.down);
    EXPECT_EQ(str(ktzDec64RoundHalfUp(w)), c.halfUp);
    EXPECT_EQ(str(ktzDec64Ceil(w)), c.ceil);
    EXPECT_EQ(str(ktzDec64Floor(w)), c.floor);
  }
  EXPECT_EQ(str(ktzDec128RoundIntegral(d128("2.5"), Rounding::HalfDown)), "2");
  EXPECT_EQ(str(ktzDec128RoundIntegral(d128("2.1"), Rounding::Up)), "3");
  EXPECT_EQ(str(ktzDec64RoundIntegral(d64("4.1"), Rounding::ZeroFiveUp)), "4");
  EXPECT_EQ(str(ktzDec64RoundIntegral(d64("5.1"), Rounding::ZeroFiveUp)), "6");
}

TEST(Decimal, RoundingIsPerThread) {
  EXPECT_EQ(ktzDecGetRounding(), Rounding::HalfEven);
  ktzDecSetRounding(Rounding::Ceiling);
  EXPECT_EQ(ktzDecGetRounding(), Rounding::Ceiling);
  EXPECT_EQ(str(d128("1") / d128("3")), "0.3333333333333333333333333333333334");
  EXPECT_EQ(str(ktzDec128RoundExact(d128("2.1"))), "3");
  Rounding other = Rounding::Floor;
  std::string otherText;
  std::thread([&] {
    other = ktzDecGetRounding();
    otherText = str(d128("1") / d128("3"));
  }).join();
  EXPECT_EQ(other, Rounding::HalfEven);
  EXPECT_EQ(otherText, "0.3333333333333333333333333333333333");
  ktzDecSetRounding(static_cast<Rounding>(99));  // ignored
  EXPECT_EQ(ktzDecGetRounding(), Rounding::Ceiling);
  ktzDecSetRounding(Rounding::HalfEven);
}

TEST(Decimal, ToFixed) {
  const struct {
    const char* value;
    int decimals;
    const char* expected;
  } cases[] = {
      {"12.5", 2, "12.50"},   {"12.345", 2, "12.34"},      {"12.355", 2, "12.36"},
      {"0.005", 2, "0.00"},   {"0.0051", 2, "0.01"},       {"-0.0051", 2, "-0.01"},
      {"9.995", 2, "10.00"},  {"999", 0, "999"},           {"999.5", 0, "1000"},
      {"1E+3", 2, "1000.00"}, {"1.5E-7", 8, "0.00000015"}, {"-0", 1, "-0.0"},
      {"0E+5", 0, "0"},       {"0E-9", 2, "0.00"},         {"123", -4, "123"},
      {"1E-30", 2, "0.00"},   {"Infinity", 2, "Infinity"}, {"-Inf", 0, "-Infinity"},
      {"NaN", 2, "NaN"},      {"-sNaN", 2, "NaN"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    EXPECT_EQ(ktzDec128ToFixed(d128(c.value), c.decimals), c.expected);
    EXPECT_EQ(ktzDec64ToFixed(d64(c.value), c.decimals), c.expected);
  }
  ktzDecSetRounding(Rounding::Floor);
  EXPECT_EQ(ktzDec128ToFixed(d128("-0.001"), 2), "-0.01");
  EXPECT_EQ(ktzDec128ToFixed(d128("0.009"), 2), "0.00");
  ktzDecSetRounding(Rounding::Up);
  EXPECT_EQ(ktzDec128ToFixed(d128("1E-30"), 2), "0.01");
  ktzDecSetRounding(Rounding::HalfEven);
  EXPECT_EQ(ktzDec128ToFixed(d128("1E+40"), 1).size(), 43u);
}

TEST(Decimal, StrictAndPrefixReaders) {
  decimal128 v = 7;
  for (const char* bad : {"", " 1", "1 ", "1,5", "1e", "abc", "--1", "1.2.3"}) {
    SCOPED_TRACE(bad);
    EXPECT_FALSE(ktzDec128FromString(bad, &v));
  }
  EXPECT_FALSE(ktzDec128FromString(nullptr, &v));
  EXPECT_EQ(str(v), "7");
  decimal64 w;
  EXPECT_FALSE(ktzDec64FromString("x", &w));

  const char* end = nullptr;
  EXPECT_EQ(str(ktzStrToDec128("  -12.50kg", &end)), "-12.50");
  EXPECT_STREQ(end, "kg");
  EXPECT_EQ(str(ktzStrToDec128("nothing", &end)), "0");
  EXPECT_STREQ(end, "nothing");
  EXPECT_EQ(str(ktzStrToDec64("1.5e3", &end)), "1.5E+3");
  EXPECT_EQ(*end, '\0');
  EXPECT_EQ(str(ktzStrToDec128(nullptr, &end)), "0");
  EXPECT_EQ(end, nullptr);
  EXPECT_EQ(str(ktzStrToDec128("5", nullptr)), "5");
  // A NaN payload longer than the format holds is no number.
  const std::string longNan = "NaN" + std::string(40, '1');
  EXPECT_EQ(str(ktzStrToDec128(longNan.c_str(), &end)), "0");
  EXPECT_EQ(end, longNan.c_str());
  // Long digit strings round to the format.
  const std::string digits = "0." + std::string(60, '6');
  EXPECT_EQ(str(ktzStrToDec128(digits.c_str(), &end)), "0.6666666666666666666666666666666667");
  EXPECT_EQ(str(ktzStrToDec64(digits.c_str(), &end)), "0.6666666666666667");
}

TEST(Decimal, WidthConversions) {
  const char* exact[] = {"12.50",    "-0.000", "1E+369", "-1E-398", "9999999999999999",
                         "Infinity", "-NaN12", "sNaN"};
  for (const char* t : exact) {
    SCOPED_TRACE(t);
    const decimal64 n = d64(t);
    const decimal128 w = n;
    EXPECT_EQ(str(w), t);
    EXPECT_EQ(str(ktzDec64ToDec128(n)), t);
    EXPECT_EQ(str(decimal64(w)), ktzDec128IsSNaN(w) ? "NaN" : std::string(t));
  }
  EXPECT_EQ(str(ktzDec128ToDec64(d128("1.23456789012345678"))), "1.234567890123457");
  EXPECT_EQ(str(ktzDec128ToDec64(d128("1E+400"))), "Infinity");
  EXPECT_EQ(str(ktzDec128ToDec64(d128("-1E-500"))), "-0E-398");
  EXPECT_EQ(str(ktzDec128ToDec64(d128("-0E-500"))), "-0E-398");
  EXPECT_EQ(str(ktzDec128ToDec64(d128("0E+500"))), "0E+369");
  EXPECT_EQ(str(ktzDec128ToDec64(d128("1E+384"))), "1.000000000000000E+384");

  EXPECT_EQ(ktzDec128ToDouble(d128("0.1")), 0.1);
  EXPECT_EQ(ktzDec128ToDouble(d128("-2.5E+10")), -2.5e10);
  EXPECT_EQ(ktzDec128ToDouble(d128("1E+400")), HUGE_VAL);
  EXPECT_EQ(ktzDec128ToDouble(d128("-1E+400")), -HUGE_VAL);
  EXPECT_EQ(ktzDec128ToDouble(d128("1E-400")), 0.0);
  EXPECT_TRUE(std::signbit(ktzDec128ToDouble(d128("-1E-400"))));
  EXPECT_TRUE(std::signbit(ktzDec64ToDouble(d64("-0"))));
  EXPECT_TRUE(std::isnan(ktzDec64ToDouble(d64("NaN"))));
  EXPECT_EQ(ktzDec64ToDouble(d64("-Inf")), -HUGE_VAL);
  EXPECT_EQ(ktzDec64ToDouble(d64("123.456")), 123.456);
  EXPECT_EQ(str(ktzDec128FromDouble(0.1)), "0.1");
  EXPECT_EQ(str(ktzDec64FromFloat(0.1f)), "0.1");
}

TEST(Decimal, ScaleQuantizeReduce) {
  EXPECT_EQ(str(ktzDec128ScaleB(d128("7.50"), 2)), "750");
  EXPECT_EQ(str(ktzDec128ScaleB(d128("7.50"), -2)), "0.0750");
  EXPECT_EQ(str(ktzDec128ScaleB(d128("1"), 1000000)), "Infinity");
  EXPECT_EQ(str(ktzDec128ScaleB(d128("1"), -1000000)), "0E-6176");
  EXPECT_EQ(str(ktzDec64ScaleB(d64("-1"), 1000000)), "-Infinity");
  EXPECT_EQ(str(ktzDec64ScaleB(d64("1"), INT32_MIN)), "0E-398");
  EXPECT_EQ(str(ktzDec128Quantize(d128("2.345"), d128("0.01"))), "2.34");
  EXPECT_EQ(str(ktzDec64Quantize(d64("2.355"), d64("0.01"))), "2.36");
  EXPECT_EQ(str(ktzDec128Quantize(d128("1E+40"), d128("1"))), "NaN");
  EXPECT_EQ(str(ktzDec128Reduce(d128("120.00"))), "1.2E+2");
  EXPECT_EQ(str(ktzDec64Reduce(d64("0.000"))), "0");
}

#if defined(__GNUC__) && !defined(__clang__)
// GCC's own BID arithmetic as the reference: the same random operands must
// give the same bits.
typedef float GccDecimal128 __attribute__((mode(TD)));
typedef float GccDecimal64 __attribute__((mode(DD)));

TEST(Decimal, MatchesCompilerArithmeticBitForBit) {
  std::mt19937_64 rng(20261121);
  // Coefficients of 1 to 34 digits, exponents mostly near each other (exact
  // sums and products) and sometimes anywhere in the range (rounding,
  // overflow, underflow, clamping).
  auto random128 = [&] {
    const int digits = 1 + static_cast<int>(rng() % 34);
    unsigned __int128 limit = 1;
    for (int i = 0; i < digits; ++i) limit *= 10;
    const unsigned __int128 coef = ((static_cast<unsigned __int128>(rng()) << 64) | rng()) % limit;
    const int exp =
        rng() % 8 == 0 ? static_cast<int>(rng() % 12288) - 6176 : static_cast<int>(rng() % 41) - 20;
    const std::uint64_t sign = rng() % 2 ? 0x8000000000000000ull : 0;
    return decimal128::fromBits(sign | (static_cast<std::uint64_t>(exp + 6176) << 49) |
                                    static_cast<std::uint64_t>(coef >> 64),
                                static_cast<std::uint64_t>(coef));
  };
  for (int i = 0; i < 20000; ++i) {
    const decimal128 a = random128(), b = random128();
    GccDecimal128 ga, gb;
    const std::uint64_t wa[2] = {a.low(), a.high()}, wb[2] = {b.low(), b.high()};
    std::memcpy(&ga, wa, 16);
    std::memcpy(&gb, wb, 16);
    const GccDecimal128 expected[] = {ga + gb, ga - gb, ga * gb, ga / gb};
    const decimal128 got[] = {a + b, a - b, a * b, a / b};
    for (int k = 0; k < 4; ++k) {
      std::uint64_t words[2];
      std::memcpy(words, &expected[k], 16);  // low word first
      const decimal128 e = decimal128::fromBits(words[1], words[0]);
      ASSERT_TRUE(e.high() == got[k].high() && e.low() == got[k].low())
          << "op " << k << " on " << str(a) << ", " << str(b) << ": " << str(got[k])
          << " instead of " << str(e);
    }
    const decimal64 c(a), d(b);
    GccDecimal64 gc, gd;
    const std::uint64_t bc = c.bits(), bd = d.bits();
    std::memcpy(&gc, &bc, 8);
    std::memcpy(&gd, &bd, 8);
    const GccDecimal64 expected64[] = {gc + gd, gc - gd, gc * gd, gc / gd,
                                       static_cast<GccDecimal64>(ga)};
    const decimal64 got64[] = {c + d, c - d, c * d, c / d, c};
    for (int k = 0; k < 5; ++k) {
      std::uint64_t e;
      std::memcpy(&e, &expected64[k], 8);
      ASSERT_EQ(e, got64[k].bits()) << "op " << k << " on " << str(c) << ", " << str(d);
    }
  }
}
#endif

}  // namespace
