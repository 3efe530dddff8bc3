// Rounding to decimals in every mode, the default money rounding, trailing
// zeros, classic and locale text output and reading it back.
#define QUV_SOURCE_NAME "utl_Decimal_test"
#include <kelp/util/utl_Decimal.h>

#include <gtest/gtest.h>

#include "decimal_test_util.h"

#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <locale>

#include <ktz/ktz_gettext.h>

#include "test_support.h"

using namespace qor::quv::util;
using namespace qor::quv::types;

namespace {

using kelp::test::d128;
using kelp::test::d64;
using kelp::test::str;

// Switches the global C++ (and C) locale for one test and back.
class GlobalLocale {
 public:
  explicit GlobalLocale(const char* name) : saved_(std::locale()) {
    try {
      std::locale::global(std::locale(name));
      ok_ = true;
    } catch (const std::runtime_error&) {
      ok_ = false;
    }
  }
  ~GlobalLocale() { std::locale::global(saved_); }
  bool ok() const { return ok_; }

 private:
  std::locale saved_;
  bool ok_;
};

// Restores the default money rounding mode after a test changes it.
class MoneyModeGuard {
 public:
  MoneyModeGuard() : saved_(getDefaultMoneyRoundingMode()) {}
  ~MoneyModeGuard() { setDefaultMoneyRoundingMode(saved_); }

 private:
  RoundingMode saved_;
};

struct RoundCase {
  const char* value;
  int digits;
  RoundingMode mode;
  const char* expected;
};

// Every mode on positive, negative, half-way and above/below half inputs,
// with negative digits too. Expected texts keep the quantum the operation
// gives (scale, round to an integer, scale back).
const RoundCase kRoundCases[] = {
    {"2.345", 2, eRoundingHalfUp, "2.35"},
    {"2.345", 2, eRoundingHalfDown, "2.34"},
    {"2.345", 2, eRoundingDown, "2.34"},
    {"2.345", 2, eRoundingUp, "2.35"},
    {"2.345", 2, eRoundingCeiling, "2.35"},
    {"2.345", 2, eRoundingFloor, "2.34"},
    {"2.345", 2, eRoundingExact, "2.34"},     // half to even
    {"2.355", 2, eRoundingExact, "2.36"},     // half to even
    {"2.355", 2, eRoundingIntegral, "2.36"},  // as eRoundingExact
    {"2.345", 2, eRoundingNone, "2.345"},
    {"2.345", 2, static_cast<RoundingMode>(0), "2.345"},
    {"2.345", 2, static_cast<RoundingMode>(10), "2.345"},
    {"2.345", 2, static_cast<RoundingMode>(-3), "2.345"},
    {"-2.345", 2, eRoundingFloor, "-2.35"},
    {"-2.345", 2, eRoundingCeiling, "-2.34"},
    {"-2.345", 2, eRoundingHalfUp, "-2.35"},
    {"-2.345", 2, eRoundingHalfDown, "-2.34"},
    {"-2.345", 2, eRoundingUp, "-2.35"},
    {"-2.345", 2, eRoundingDown, "-2.34"},
    {"-2.345", 2, eRoundingExact, "-2.34"},
    {"2.3451", 2, eRoundingHalfDown, "2.35"},  // above half
    {"-2.3451", 2, eRoundingHalfDown, "-2.35"},
    {"2.3449", 2, eRoundingHalfUp, "2.34"},  // below half
    {"2.341", 2, eRoundingUp, "2.35"},
    {"-2.341", 2, eRoundingUp, "-2.35"},
    {"2.349", 2, eRoundingDown, "2.34"},
    {"-0.4", 0, eRoundingHalfDown, "-0"},  // the sign stays
    {"-0.5", 0, eRoundingHalfDown, "-0"},
    {"-0.6", 0, eRoundingHalfDown, "-1"},
    {"0.5", 0, eRoundingHalfDown, "0"},
    {"0.5", 0, eRoundingHalfUp, "1"},
    {"-0.5", 0, eRoundingHalfUp, "-1"},
    {"1234.5", -2, eRoundingHalfUp, "1.2E+3"},  // to hundreds
    {"1250", -2, eRoundingHalfUp, "1.3E+3"},
    {"1250", -2, eRoundingHalfDown, "1.2E+3"},
    {"1250", -2, eRoundingExact, "1.2E+3"},
    {"-1250", -2, eRoundingFloor, "-1.3E+3"},
    {"-1250", -2, eRoundingUp, "-1.3E+3"},
    {"1201", -2, eRoundingCeiling, "1.3E+3"},
    {"15", -1, eRoundingDown, "1E+1"},
    {"2.3", 2, eRoundingHalfUp, "2.3"},  // already within the digits: unchanged
    {"2.30", 2, eRoundingFloor, "2.30"},
    {"Infinity", 2, eRoundingHalfUp, "Infinity"},
    {"-Infinity", 2, eRoundingFloor, "-Infinity"},
    {"NaN", 2, eRoundingCeiling, "NaN"},
};

TEST(Decimal, RoundDecimalEveryMode128) {
  for (const RoundCase& c : kRoundCases) {
    SCOPED_TRACE(std::string(c.value) + " digits " + std::to_string(c.digits) + " mode " +
                 std::to_string(c.mode));
    EXPECT_EQ(str(roundDecimal(d128(c.value), c.digits, c.mode)), c.expected);
  }
}

TEST(Decimal, RoundDecimalEveryMode64) {
  for (const RoundCase& c : kRoundCases) {
    SCOPED_TRACE(std::string(c.value) + " digits " + std::to_string(c.digits) + " mode " +
                 std::to_string(c.mode));
    EXPECT_EQ(str(roundDecimal(d64(c.value), c.digits, c.mode)), c.expected);
  }
}

TEST(Decimal, RoundDecimalTwoArgumentsIsExactRounding) {
  EXPECT_EQ(str(roundDecimal(d128("2.345"), 2)), "2.34");
  EXPECT_EQ(str(roundDecimal(d128("2.3451"), 2)), "2.35");
  EXPECT_EQ(str(roundDecimal(d64("-7.125"), 2)), "-7.12");
  // Under another runtime rounding the exact rounding follows it.
  ktzDecSetRounding(ktz::decimal::Rounding::HalfUp);
  EXPECT_EQ(str(roundDecimal(d128("2.345"), 2)), "2.35");
  EXPECT_EQ(str(roundDecimal(d64("2.345"), 2)), "2.35");
  ktzDecSetRounding(ktz::decimal::Rounding::HalfEven);
}

TEST(Decimal, RoundingExtremeDigitsStaysDefined) {
  // Huge digit counts saturate the scaling instead of overflowing.
  EXPECT_EQ(str(roundDecimal(d128("2.345"), INT32_MAX, eRoundingHalfUp)), "2.345");
  EXPECT_TRUE(ktzDec128IsZero(roundDecimal(d128("2.345"), INT32_MIN, eRoundingHalfUp)));
  EXPECT_TRUE(ktzDec64IsZero(roundDecimal(d64("2.345"), INT32_MIN, eRoundingDown)));
}

TEST(Decimal, TruncateDecimal) {
  const struct {
    const char* value;
    int digits;
    const char* expected;
  } cases[] = {{"2.349", 2, "2.34"},   {"-2.349", 2, "-2.34"}, {"2.3", 2, "2.3"},
               {"1299", -2, "1.2E+3"}, {"-0.001", 2, "-0.00"}, {"99.999", 0, "99"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    EXPECT_EQ(str(truncateDecimal(d128(c.value), c.digits)), c.expected);
    EXPECT_EQ(str(truncateDecimal(d64(c.value), c.digits)), c.expected);
  }
}

TEST(Decimal, MoneyRoundingDefault) {
  MoneyModeGuard guard;
  EXPECT_EQ(getDefaultMoneyRoundingMode(), eRoundingHalfUp);
  EXPECT_EQ(str(roundMoney(d128("2.345"), 2, eRoundingExact)), "2.35");  // as mode 7
  EXPECT_EQ(str(roundMoney(d128("2.345"), 2)), "2.35");
  EXPECT_EQ(str(roundMoney(d128("-2.345"), 2)), "-2.35");
  // Mode 9 stays the exact rounding, other modes are used as given.
  EXPECT_EQ(str(roundMoney(d128("2.345"), 2, eRoundingIntegral)), "2.34");
  EXPECT_EQ(str(roundMoney(d128("2.345"), 2, eRoundingFloor)), "2.34");
  EXPECT_EQ(str(roundMoney(d128("2.345"), 2, eRoundingNone)), "2.345");

  // Only 3 to 9 are taken; the rest leave the mode alone.
  for (int bad : {0, 1, 2, 10, -1, 1000}) {
    SCOPED_TRACE(bad);
    setDefaultMoneyRoundingMode(static_cast<RoundingMode>(bad));
    EXPECT_EQ(getDefaultMoneyRoundingMode(), eRoundingHalfUp);
  }
  for (int good = 3; good <= 9; ++good) {
    SCOPED_TRACE(good);
    setDefaultMoneyRoundingMode(static_cast<RoundingMode>(good));
    EXPECT_EQ(getDefaultMoneyRoundingMode(), good);
  }

  setDefaultMoneyRoundingMode(eRoundingHalfDown);
  EXPECT_EQ(str(roundMoney(d128("2.345"), 2, eRoundingExact)), "2.34");
  EXPECT_EQ(str(roundMoney(d128("2.345"), 2)), "2.34");
  EXPECT_EQ(str(roundMoney(d128("1234.5"), 0)), "1234");
  setDefaultMoneyRoundingMode(eRoundingCeiling);
  EXPECT_EQ(str(roundMoney(d128("-2.345"), 2)), "-2.34");
  EXPECT_EQ(str(roundMoney(d128("1234.1"), 0)), "1235");
  // roundDecimal is not affected by the money default.
  EXPECT_EQ(str(roundDecimal(d128("2.345"), 2)), "2.34");
}

TEST(Decimal, StripTrailingZeros) {
  const struct {
    const char* value;
    const char* expected;
  } cases[] = {{"12.500", "12.5"},   {"1200", "1.2E+3"},       {"-0.000", "-0"}, {"12", "12"},
               {"1.000E+5", "1E+5"}, {"Infinity", "Infinity"}, {"NaN", "NaN"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    EXPECT_EQ(str(stripTrailingZeros(d128(c.value))), c.expected);
    EXPECT_EQ(str(stripTrailingZeros(d64(c.value))), c.expected);
  }
}

TEST(Decimal, FormatDecimalCString) {
  const struct {
    const char* value;
    int digits;
    const char* expected;
  } cases[] = {
      {"12.50", -1, "12.5"},
      {"12.000", -1, "12.0"},
      {"12", -1, "12.0"},
      {"12.55", -1, "12.55"},
      {"12.5", 2, "12.50"},
      {"-0.00", -1, "0.0"},
      {"-0E+5", 2, "0.00"},
      {"1E+2", -1, "100.0"},
      {"1E+2", 0, "100"},
      {"0.05", -1, "0.05"},
      {"-0.050", -1, "-0.05"},
      {"-12.50", -1, "-12.5"},
      {"2.345", 2, "2.34"},
      {"2.355", 2, "2.36"},
      {"9.999", 2, "10.00"},
      {"-9.999", 1, "-10.0"},
      {"123456.7", -1, "123456.7"},
      {"0.001", 2, "0.00"},
      {"1.5E-7", -1, "0.00000015"},
      {"5", -5, "5.0"},
      {"0.7", 0, "1"},
      {"Infinity", -1, "Infinity"},
      {"-Infinity", 2, "-Infinity"},
      {"NaN", 2, "NaN"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.value) + " " + std::to_string(c.digits));
    EXPECT_EQ(formatDecimalCString(d128(c.value), c.digits), c.expected);
    EXPECT_EQ(formatDecimalCString(d64(c.value), c.digits), c.expected);
  }
}

TEST(Decimal, FormatDecimalStringNonFiniteWords) {
  // In the classic locale the words stay untranslated. Looked up in a child,
  // as the first lookup binds the message domain for the whole process.
  const kelp::test::ChildResult r = kelp::test::runInChild([] {
    unsetenv("LANGUAGE");
    std::setlocale(LC_ALL, "C");
    const decimal128 inf = d128("Infinity");
    std::printf(
        "%s|%s|%s|%s|%s|%s|%s", formatDecimalString(inf, 2).c_str(),
        formatDecimalString(-inf, 2).c_str(), formatDecimalString(d128("NaN"), 2).c_str(),
        formatDecimalString(d128("-sNaN"), 2).c_str(), formatDecimalString(d64("-Inf"), -1).c_str(),
        formatDecimalString(d64("NaN"), 0, 4).c_str(), formatDecimalString(inf, 0, 4).c_str());
    return 0;
  });
  EXPECT_EQ(r.exitStatus, 0);
  EXPECT_EQ(r.stdoutText,
            "pos. infinity|neg. infinity|invalid|invalid|neg. infinity|invalid|pos. infinity");
}

TEST(Decimal, FormatDecimalStringTranslatesNonFiniteWords) {
  // In a child, so that the locale and the catalogue binding of this
  // process stay as they are.
  const kelp::test::ChildResult r = kelp::test::runInChild([] {
    unsetenv("LANGUAGE");
    if (!std::setlocale(LC_ALL, "de_DE.UTF-8")) return 2;
    // The parent may have bound the domain already; bind the build tree's
    // catalogues explicitly.
    if (!ktzBindTextDomain(KTZ_KELP_TEXT_DOMAIN, KELP_BINARY_DIR "/locale")) return 3;
    const decimal128 inf = d128("Infinity");
    std::printf("%s|%s|%s|%s", formatDecimalString(inf, 2).c_str(),
                formatDecimalString(-inf, -1).c_str(), formatDecimalString(d128("NaN"), 2).c_str(),
                formatDecimalString(d64("-Inf"), 0, 3).c_str());
    return 0;
  });
  if (r.exitStatus == 2) GTEST_SKIP() << "locale de_DE.UTF-8 not installed";
  EXPECT_EQ(r.exitStatus, 0);
  EXPECT_EQ(r.stdoutText, "pos. unendlich|neg. unendlich|ungültig|neg. unendlich");
}

TEST(Decimal, FormatDecimalStringClassicLocale) {
  GlobalLocale loc("C");
  EXPECT_EQ(formatDecimalString(d128("1234567.5"), -1), "1234567.5");
  EXPECT_EQ(formatDecimalString(d64("-12.50"), 2), "-12.50");
}

TEST(Decimal, FormatAndParseGermanLocale) {
  GlobalLocale loc("de_DE.UTF-8");
  if (!loc.ok()) GTEST_SKIP() << "de_DE.UTF-8 not installed (scripts/bootstrap.sh makes it)";
  const struct {
    const char* value;
    int digits;
    const char* expected;
  } cases[] = {
      {"1234567.5", -1, "1.234.567,5"},
      {"-1234567.5", 2, "-1.234.567,50"},
      {"999.5", -1, "999,5"},
      {"1000", 0, "1.000"},
      {"123456", 1, "123.456,0"},
      {"-100000", -1, "-100.000,0"},
      {"0.25", 2, "0,25"},
      {"-0.00", -1, "0,0"},
      {"12345678901234567890", 0, "12.345.678.901.234.567.890"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    const decimal128 v = d128(c.value);
    const std::string text = formatDecimalString(v, c.digits);
    EXPECT_EQ(text, c.expected);
    // Reading the text back gives the value again.
    decimal128 back;
    ASSERT_TRUE(parseDecimalString(&back, text.c_str(), nullptr)) << text;
    EXPECT_TRUE(back == v) << str(back);
  }
  decimal64 back64;
  ASSERT_TRUE(
      parseDecimalString(&back64, formatDecimalString(d64("1234567.5"), -1).c_str(), nullptr));
  EXPECT_EQ(str(back64), "1234567.5");

  // The locale reader takes the comma and the grouping, and stops at a
  // separator out of place.
  decimal128 v;
  const char* end = nullptr;
  ASSERT_TRUE(parseDecimalString(&v, "1.234,5 EUR", &end));
  EXPECT_EQ(str(v), "1234.5");
  EXPECT_STREQ(end, " EUR");
  ASSERT_TRUE(parseDecimalString(&v, "12,5", nullptr));
  EXPECT_EQ(str(v), "12.5");
  ASSERT_TRUE(parseDecimalString(&v, "1.5", &end));  // "." groups three digits
  EXPECT_EQ(str(v), "1");
  EXPECT_STREQ(end, ".5");
  EXPECT_FALSE(parseDecimalString(&v, "1.5", nullptr));
  EXPECT_FALSE(parseDecimalString(&v, "12.34.567", nullptr));
  ASSERT_TRUE(parseDecimalString(&v, "12.345.678", nullptr));
  EXPECT_EQ(str(v), "12345678");
  // The classic reader is not affected by the locale.
  ASSERT_TRUE(parseDecimalCString(&v, "1234.5", nullptr));
  EXPECT_EQ(str(v), "1234.5");
  EXPECT_FALSE(parseDecimalCString(&v, "1,5", nullptr));
  EXPECT_EQ(formatDecimalCString(d128("1234567.5"), -1), "1234567.5");

  // Between the bounds: the significant decimals, at least min, at most max.
  EXPECT_EQ(formatDecimalString(d128("1234.500"), 0, 4), "1.234,5");
  EXPECT_EQ(formatDecimalString(d128("1234"), 2, 4), "1.234,00");
  EXPECT_EQ(formatDecimalString(d128("1.23456"), 0, 3), "1,235");
  EXPECT_EQ(formatDecimalString(d64("1200"), 0, 2), "1.200");
  EXPECT_EQ(formatDecimalString(d64("0.1"), -3, -5), "0");
}

TEST(Decimal, FormatGroupingRules) {
  // A locale whose grouping is 3 then 2 repeating (as in Indian English) and
  // one that stops grouping after one group.
  struct IndianPunct : std::numpunct<char> {
    char do_thousands_sep() const override { return ','; }
    char do_decimal_point() const override { return '.'; }
    std::string do_grouping() const override { return "\3\2"; }
  };
  struct OnceOnly : std::numpunct<char> {
    char do_thousands_sep() const override { return '\''; }
    std::string do_grouping() const override { return std::string("\3\x7f", 2); }
  };
  std::locale saved = std::locale::global(std::locale(std::locale::classic(), new IndianPunct));
  EXPECT_EQ(formatDecimalString(d128("123456789.5"), -1), "12,34,56,789.5");
  decimal128 v;
  ASSERT_TRUE(parseDecimalString(&v, "12,34,56,789.5", nullptr));
  EXPECT_EQ(str(v), "123456789.5");
  EXPECT_FALSE(parseDecimalString(&v, "1,234,567", nullptr));
  std::locale::global(std::locale(std::locale::classic(), new OnceOnly));
  EXPECT_EQ(formatDecimalString(d128("123456789"), 0), "123456'789");
  ASSERT_TRUE(parseDecimalString(&v, "123456'789", nullptr));
  EXPECT_EQ(str(v), "123456789");
  std::locale::global(saved);
}

TEST(Decimal, ParseDecimalCStringEndRules) {
  decimal128 v = d128("7");
  const char* end = nullptr;
  EXPECT_TRUE(parseDecimalCString(&v, "12.5 ", nullptr));
  EXPECT_EQ(str(v), "12.5");
  EXPECT_TRUE(parseDecimalCString(&v, " \t-3.25\n\r\f\v", nullptr));
  EXPECT_EQ(str(v), "-3.25");

  v = d128("7");
  EXPECT_FALSE(parseDecimalCString(&v, "12.5x", nullptr));
  EXPECT_FALSE(parseDecimalCString(&v, "", nullptr));
  EXPECT_FALSE(parseDecimalCString(&v, "   ", nullptr));
  EXPECT_FALSE(parseDecimalCString(&v, "x", nullptr));
  EXPECT_FALSE(parseDecimalCString(&v, nullptr, nullptr));
  EXPECT_EQ(str(v), "7");  // untouched on failure

  const char* text = "abc";
  EXPECT_FALSE(parseDecimalCString(&v, text, &end));
  EXPECT_EQ(end, text);
  text = "   ";
  EXPECT_FALSE(parseDecimalCString(&v, text, &end));
  EXPECT_EQ(end, text);

  text = "12.5x";
  ASSERT_TRUE(parseDecimalCString(&v, text, &end));
  EXPECT_EQ(end, text + 4);
  EXPECT_EQ(str(v), "12.5");

  const struct {
    const char* text;
    const char* value;
    size_t used;
  } cases[] = {
      {"1E+2", "1E+2", 4},
      {"1e5x", "1E+5", 3},
      {"1e", "1", 1},
      {"1e+", "1", 1},
      {".5", "0.5", 2},
      {"5.", "5", 2},
      {"-.5e-1", "-0.05", 6},
      {"+7", "7", 2},
      {"NaN", "NaN", 3},
      {"nan(12)", "NaN12", 7},
      {"nan(12", "NaN", 3},
      {"-Inf", "-Infinity", 4},
      {"infinity!", "Infinity", 8},
      {"INFINITE", "Infinity", 3},
      {"sNaN", "sNaN", 4},
      {"0.1000", "0.1000", 6},
      {"12.50EUR", "12.50", 5},
      {"1e0000000000003", "1E+3", 15},
      {"1e99999999999", "Infinity", 13},
      {"1e-99999999999", "0E-6176", 14},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    ASSERT_TRUE(parseDecimalCString(&v, c.text, &end));
    EXPECT_EQ(str(v), c.value);
    EXPECT_EQ(static_cast<size_t>(end - c.text), c.used);
  }
  // Nothing that forms a number.
  for (const char* bad : {".", "-", "+.", "e5", "-e", "in", "na"}) {
    SCOPED_TRACE(bad);
    EXPECT_FALSE(parseDecimalCString(&v, bad, &end));
    EXPECT_EQ(end, bad);
  }

  decimal64 v64;
  ASSERT_TRUE(parseDecimalCString(&v64, "0.12345678901234567", nullptr));
  EXPECT_EQ(str(v64), "0.1234567890123457");  // rounded to 16 digits
  EXPECT_FALSE(parseDecimalCString(&v64, "1,5", nullptr));
  ASSERT_TRUE(parseDecimalString(&v64, "1.5", nullptr));  // classic global locale
  EXPECT_EQ(str(v64), "1.5");
}

TEST(Decimal, FloatAndDoubleConversion) {
  const struct {
    double value;
    const char* expected;
  } cases[] = {{0.1, "0.1"},   {2.345, "2.345"},  {-1.5, "-1.5"},
               {100.0, "100"}, {1e300, "1E+300"}, {5e-324, "5E-324"},
               {0.0, "0"},     {-0.0, "-0"},      {1.0 / 3.0, "0.3333333333333333"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expected);
    EXPECT_EQ(str(doubleToDecimal(c.value)), c.expected);
  }
  EXPECT_EQ(str(doubleToDecimal(HUGE_VAL)), "Infinity");
  EXPECT_EQ(str(doubleToDecimal(-HUGE_VAL)), "-Infinity");
  EXPECT_TRUE(ktzDec128IsNaN(doubleToDecimal(std::nan(""))));
  EXPECT_EQ(str(floatToDecimal(0.1f)), "0.1");
  EXPECT_EQ(str(floatToDecimal(16777216.0f)), "16777216");
  EXPECT_EQ(str(floatToDecimal(-2.5e-10f)), "-2.5E-10");
  EXPECT_TRUE(ktzDec128IsInf(floatToDecimal(HUGE_VALF)));
  EXPECT_EQ(str(doubleToDecimal64(0.1)), "0.1");
  EXPECT_EQ(str(doubleToDecimal64(1.0 / 3.0)), "0.3333333333333333");
  EXPECT_EQ(str(doubleToDecimal64(0.1 + 0.2)), "0.3000000000000000");  // 17 digits rounded
  EXPECT_EQ(str(floatToDecimal64(0.3f)), "0.3");
  EXPECT_TRUE(ktzDec64IsNaN(floatToDecimal64(std::nanf(""))));
  // Rounding a converted price works on the decimal digits.
  EXPECT_EQ(str(roundDecimal(doubleToDecimal(2.345), 2, eRoundingHalfUp)), "2.35");
}

}  // namespace

// Reading and arithmetic either keep every digit or say what they lost;
// rounding on purpose says nothing.
TEST(DecimalExactness, TellsExactResultsFromLostDigits) {
  struct Case {
    const char* what;
    decimal128 (*run)();
    const char* problem;
  };
  static const std::string d36 = "1.00499999999999999999999999999999999";
  const Case cases[] = {
      {"34 digits read", [] { return d128("1.004999999999999999999999999999999"); }, ""},
      {"36 digits read",
       [] {
         decimal128 d;
         EXPECT_TRUE(parseDecimalCString(&d, d36.c_str(), nullptr));
         return d;
       },
       "has more than 34 significant digits"},
      {"a trailing zero beyond 34", [] { return d128("1.0049999999999999999999999999999990"); },
       ""},
      {"1E+34 + 0.01", [] { return d128("1E+34") + d128("0.01"); },
       "has more than 34 significant digits"},
      {"9E+6144 + 9E+6144", [] { return d128("9E+6144") + d128("9E+6144"); }, "is too large"},
      {"9E+6144 * 10", [] { return d128("9E+6144") * d128("10"); }, "is too large"},
      {"1E-6176 / 10", [] { return d128("1E-6176") / d128("10"); }, "is too close to zero"},
      {"Inf - Inf", [] { return d128("Inf") - d128("Inf"); }, "is not a number"},
      {"1 / 0", [] { return d128("1") / d128("0"); }, "is a division by zero"},
      {"exact sum", [] { return d128("1E+31") + d128("0.01"); }, ""},
      {"rounding on purpose", [] { return roundDecimal(d128("2.345"), 2); }, ""},
      {"rounding a huge value", [] { return roundMoney(d128("9E+6144"), 2); }, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    DecimalExactness check;
    c.run();
    EXPECT_EQ(check.problem(), c.problem);
    EXPECT_EQ(check.exact(), *c.problem == '\0');
  }
}

TEST(DecimalExactness, NestsAndResets) {
  ktzDecSetStatus(0);
  {
    DecimalExactness outer;
    (void)(d128("1E+34") + d128("0.01"));
    {
      DecimalExactness inner;  // starts clean inside a spoilt outer watch
      EXPECT_TRUE(inner.exact());
      (void)(d128("9E+6144") * d128("10"));
      EXPECT_EQ(inner.problem(), "is too large");
      inner.reset();
      EXPECT_TRUE(inner.exact());
    }
    // The outer watch sees its own loss and the inner one's.
    EXPECT_TRUE(ktzDecGetStatus() & ktz::decimal::kStatusOverflow);
    EXPECT_TRUE(ktzDecGetStatus() & ktz::decimal::kStatusInexact);
  }
  ktzDecSetStatus(0);
}
