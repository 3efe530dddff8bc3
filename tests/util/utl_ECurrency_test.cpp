// Currency amounts: the canonical form, predicates, absolute/relative
// arithmetic, reconciliation, rounding by currency, text form, parsing and
// the XML attributes.
#define QUV_SOURCE_NAME "utl_ECurrency_test"
#include <kelp/util/utl_Decimal.h>
#include <kelp/util/utl_ECurrency.h>
#include <kelp/xml/sax/sax_Attributes.h>
#include <kelp/xml/sax/sax_DefaultHandler.h>
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <kelp/xml/sax/sax_SimpleXMLReader.h>
#include <kelp/xml/sax/sax_XMLReader.h>
#include <kelp/xml/xml_Writer.h>
#include <kelp/xml/xml_XMLWriterItfWrapper.h>

#include <gtest/gtest.h>

#include "decimal_test_util.h"

#include "attribute_maker.h"

#include <atomic>
#include <cstring>
#include <locale>
#include <sstream>
#include <vector>

using namespace qor::quv::util;
using namespace qor::quv::types;
using ktz::decimal::decimal128;
using qor::quv::basket::Currency;
using qor::quv::basket::CurrencyUnit;
using qor::quv::basket::ICurrencyConverter;
namespace sax = qor::quv::xml::sax;

namespace {

using kelp::test::str;
decimal128 d(const char* s) {
  return kelp::test::d128(s);
}
ECurrency money(const char* code, const char* amount) {
  return ECurrency(code, d(amount));
}
// The text form: "[amount, "unit"]".
std::string text(const ECurrency& c) {
  return c.formatString();
}

TEST(ECurrency, CanonicalConstructor) {
  const ECurrency eur = money("EUR", "12.50");
  EXPECT_EQ(eur.getUnit(), "EUR");
  EXPECT_EQ(str(eur.amount), "12.50");
  // No unit: only zeros stay, with sign and exponent.
  EXPECT_TRUE(ECurrency(CurrencyUnit{}, d("5")).isInvalid());
  EXPECT_TRUE(ktzDec128IsNaN(ECurrency(CurrencyUnit{}, d("5")).amount));
  EXPECT_EQ(str(ECurrency(CurrencyUnit{}, d("-0.00")).amount), "-0.00");
  EXPECT_TRUE(ECurrency(CurrencyUnit{}, d("-0.00")).isNull());
  EXPECT_TRUE(ECurrency(CurrencyUnit{}, d("Infinity")).isInvalid());
  // A non-canonical coefficient (10^34) is a zero; the large-coefficient
  // form is no amount without a unit.
  const decimal128 tooBig = decimal128::fromBits(0x3041ED09BEAD87C0ull, 0x378D8E6400000000ull);
  const ECurrency zeroed(CurrencyUnit{}, tooBig);
  EXPECT_TRUE(zeroed.isNull());
  EXPECT_EQ(zeroed.amount.high(), 0x3040000000000000ull);
  EXPECT_EQ(zeroed.amount.low(), 0u);
  const decimal128 large = decimal128::fromBits(0x6000000000000000ull | (6176ull << 47), 1);
  EXPECT_TRUE(ECurrency(CurrencyUnit{}, large).isInvalid());
  EXPECT_TRUE(ECurrency("EUR", large).isZero());
  // A NaN amount drops the unit.
  const ECurrency nan = money("EUR", "NaN");
  EXPECT_EQ(nan.getUnit(), "");
  EXPECT_TRUE(nan.isInvalid());
  // Codes: the first three characters; shorter codes as they are.
  EXPECT_EQ(money("EURO", "1").getUnit(), "EUR");
  EXPECT_EQ(money("%", "1").getUnit(), "%");
  EXPECT_EQ(money("EU", "1").getUnit(), "EU");
  EXPECT_EQ(ECurrency(std::string("USDX"), d("1")).getUnit(), "USD");
  EXPECT_TRUE(ECurrency(static_cast<const char*>(nullptr), d("0")).isNull());
  EXPECT_TRUE(ECurrency(static_cast<const char*>(nullptr), d("3")).isInvalid());
  // From and to the plain record.
  const Currency plain = eur;
  const ECurrency back(plain);
  EXPECT_TRUE(back == eur);
  EXPECT_EQ(sizeof(Currency), 32u);
}

TEST(ECurrency, Constants) {
  EXPECT_TRUE(ECurrency::Null.isNull());
  EXPECT_TRUE(ECurrency::Null.isValid());
  EXPECT_TRUE(ECurrency().isNull());
  EXPECT_TRUE(ECurrency::Invalid.isInvalid());
  EXPECT_TRUE(ktzDec128IsNaN(ECurrency::Invalid.amount));
  EXPECT_EQ(ECurrency::getUnit(ECurrency::Percent), "%");
  EXPECT_STREQ(ECurrency::Percent.code, "%");
}

TEST(ECurrency, Predicates) {
  struct Case {
    ECurrency value;
    bool valid, null, absolute, relative, zero, nonZero, finite, infinite, positive, negative;
    int sign;
  };
  const Case cases[] = {
      // valid null   abs    rel    zero   nonZ   finite inf    pos    neg    sign
      {ECurrency::Null, true, true, false, false, true, false, true, false, false, false, 0},
      {ECurrency::Invalid, false, false, false, false, false, false, false, false, false, false, 0},
      {money("EUR", "12.5"), true, false, true, false, false, true, true, false, true, false, 1},
      {money("EUR", "-3"), true, false, true, false, false, true, true, false, false, true, -1},
      {money("EUR", "-0"), true, false, true, false, true, false, true, false, false, false, 0},
      {money("%", "10"), true, false, false, true, false, true, true, false, true, false, 1},
      {money("%", "-5"), true, false, false, true, false, true, true, false, false, true, -1},
      {money("EUR", "-Inf"), true, false, true, false, false, true, false, true, false, false, -1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(text(c.value));
    EXPECT_EQ(c.value.isValid(), c.valid);
    EXPECT_EQ(c.value.isInvalid(), !c.valid);
    EXPECT_EQ(c.value.isNull(), c.null);
    EXPECT_EQ(c.value.isAbsolute(), c.absolute);
    EXPECT_EQ(c.value.isRelative(), c.relative);
    EXPECT_EQ(c.value.isZero(), c.zero);
    EXPECT_EQ(c.value.isNonZero(), c.nonZero);
    EXPECT_EQ(c.value.isFinite(), c.finite);
    EXPECT_EQ(c.value.isInfinite(), c.infinite);
    EXPECT_EQ(c.value.isPositive(), c.positive);
    EXPECT_EQ(c.value.isNegative(), c.negative);
    EXPECT_EQ(c.value.isFiniteNonZero(), c.positive || c.negative);
    EXPECT_EQ(c.value.sign(), c.sign);
  }
  // A raw record breaking the invariant (no unit, amount 5) is invalid.
  Currency raw;
  raw.amount = d("5");
  EXPECT_TRUE(ECurrency(raw).isInvalid());
  EXPECT_EQ(ECurrency(raw).sign(), 0);
}

TEST(ECurrency, EqualityAndUnaryMinus) {
  EXPECT_TRUE(money("EUR", "1.0") == money("EUR", "1.00"));
  EXPECT_FALSE(money("EUR", "1") == money("USD", "1"));
  EXPECT_TRUE(money("EUR", "1") != money("EUR", "2"));
  EXPECT_TRUE(ECurrency::Invalid == ECurrency::Invalid);  // two NaN amounts
  EXPECT_FALSE(ECurrency::Invalid == ECurrency::Null);
  EXPECT_TRUE(ECurrency::Null == ECurrency(CurrencyUnit{}, d("-0E+3")));
  // Bytes behind the terminator do not count.
  Currency a = money("EU", "1"), b = money("EU", "1");
  b.unit.code[3] = 'X';
  EXPECT_TRUE(a == b);
  EXPECT_EQ(text(-money("EUR", "12.50")), "[-12.50, \"EUR\"]");
  EXPECT_EQ(text(-ECurrency::Null), "[-0, \"\"]");
  EXPECT_TRUE((-ECurrency::Invalid).isInvalid());
}

TEST(ECurrency, Addition) {
  const struct {
    ECurrency a, b;
    const char* expected;
  } cases[] = {
      {money("EUR", "100"), money("%", "10"), "[110.00, \"EUR\"]"},
      {money("%", "10"), money("EUR", "100"), "[110.00, \"EUR\"]"},
      {money("%", "10"), money("%", "5"), "[15, \"%\"]"},
      {money("EUR", "100"), money("USD", "5"), "[NaN, \"\"]"},
      {money("EUR", "100"), ECurrency::Null, "[100, \"EUR\"]"},
      {ECurrency::Null, money("EUR", "100"), "[100, \"EUR\"]"},
      {ECurrency::Null, ECurrency::Null, "[0, \"\"]"},
      {money("%", "10"), ECurrency::Null, "[10, \"%\"]"},
      {ECurrency::Invalid, money("EUR", "1"), "[NaN, \"\"]"},
      {money("EUR", "1"), ECurrency::Invalid, "[NaN, \"\"]"},
      {money("EUR", "12.50"), money("EUR", "0.75"), "[13.25, \"EUR\"]"},
      {money("EUR", "100"), money("%", "-10"), "[90.00, \"EUR\"]"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(text(c.a) + " + " + text(c.b));
    EXPECT_EQ(text(c.a + c.b), c.expected);
  }
  EXPECT_TRUE(money("EUR", "100") + money("%", "10") == money("EUR", "110"));
  EXPECT_EQ(text(money("EUR", "12.50") - money("EUR", "0.75")), "[11.75, \"EUR\"]");
  EXPECT_EQ(text(money("EUR", "100") - money("%", "10")), "[90.00, \"EUR\"]");
  EXPECT_EQ(text(ECurrency::Null - money("EUR", "3")), "[-3, \"EUR\"]");
  EXPECT_TRUE((money("EUR", "1") - money("USD", "1")).isInvalid());
}

TEST(ECurrency, MultiplicationAndDivision) {
  EXPECT_TRUE(money("EUR", "200") * money("%", "15") == money("EUR", "30"));
  EXPECT_TRUE((money("%", "15") * money("EUR", "200")).isInvalid());
  EXPECT_TRUE((money("EUR", "2") * money("EUR", "2")).isInvalid());
  EXPECT_TRUE((money("%", "2") * money("%", "2")).isInvalid());
  EXPECT_TRUE(money("EUR", "30") / money("%", "15") == money("EUR", "200"));
  EXPECT_TRUE(money("EUR", "30") / money("EUR", "200") == money("%", "15"));
  EXPECT_EQ((money("EUR", "30") / money("EUR", "200")).getUnit(), "%");
  EXPECT_TRUE((money("EUR", "30") / money("EUR", "0")).isInvalid());
  EXPECT_TRUE((money("EUR", "30") / money("%", "0")).isInvalid());
  EXPECT_TRUE((money("EUR", "30") / money("USD", "2")).isInvalid());
  EXPECT_TRUE((money("%", "30") / money("%", "2")).isInvalid());
  EXPECT_TRUE((money("EUR", "30") / ECurrency::Invalid).isInvalid());
  EXPECT_TRUE((money("EUR", "30") / ECurrency::Null).isInvalid());

  EXPECT_EQ(text(money("EUR", "12.50") * d("3")), "[37.50, \"EUR\"]");
  EXPECT_EQ(text(d("3") * money("EUR", "12.50")), "[37.50, \"EUR\"]");
  EXPECT_EQ(text(money("%", "10") * d("2")), "[20, \"%\"]");
  EXPECT_EQ(text(ECurrency::Null * d("2")), "[0, \"\"]");
  EXPECT_TRUE((ECurrency::Invalid * d("2")).isInvalid());
  EXPECT_TRUE((ECurrency::Null * d("Inf")).isInvalid());
  EXPECT_EQ(text(money("EUR", "10") / d("4")), "[2.5, \"EUR\"]");
  EXPECT_EQ(text(money("EUR", "10") / d("0")), "[Infinity, \"EUR\"]");
  EXPECT_TRUE((ECurrency::Invalid / d("2")).isInvalid());
}

// Every pairing of the four kinds of operand: absolute (100 EUR), relative
// (10 %), null and invalid, on either side of each operator.
TEST(ECurrency, ArithmeticTable) {
  const ECurrency A = money("EUR", "100");
  const ECurrency R = money("%", "10");
  const ECurrency N = ECurrency::Null;
  const ECurrency I = ECurrency::Invalid;
  const ECurrency bad = ECurrency::Invalid;
  struct Case {
    const char* name;
    ECurrency a, b;
    ECurrency sum, difference, product, quotient, reconciled;
  };
  const Case cases[] = {
      // a + b, a - b, a * b, a / b, a & b
      {"abs,abs", A, A, money("EUR", "200"), money("EUR", "0"), bad, money("%", "100"), A},
      {"abs,rel", A, R, money("EUR", "110"), money("EUR", "90"), money("EUR", "10"),
       money("EUR", "1000"), bad},
      {"abs,null", A, N, A, A, bad, bad, bad},
      {"abs,invalid", A, I, bad, bad, bad, bad, bad},
      {"rel,abs", R, A, money("EUR", "110"), money("EUR", "-110"), bad, bad, bad},
      {"rel,rel", R, R, money("%", "20"), money("%", "0"), bad, bad, R},
      {"rel,null", R, N, R, R, bad, bad, bad},
      {"rel,invalid", R, I, bad, bad, bad, bad, bad},
      {"null,abs", N, A, A, money("EUR", "-100"), bad, bad, bad},
      {"null,rel", N, R, R, money("%", "-10"), bad, bad, bad},
      {"null,null", N, N, N, N, bad, bad, N},
      {"null,invalid", N, I, bad, bad, bad, bad, bad},
      {"invalid,abs", I, A, bad, bad, bad, bad, bad},
      {"invalid,rel", I, R, bad, bad, bad, bad, bad},
      {"invalid,null", I, N, bad, bad, bad, bad, bad},
      {"invalid,invalid", I, I, bad, bad, bad, bad, bad},
  };
  const auto check = [](const char* op, const ECurrency& got, const ECurrency& want) {
    SCOPED_TRACE(op);
    EXPECT_TRUE(got == want) << text(got) << " expected " << text(want);
    EXPECT_EQ(got.isInvalid(), want.isInvalid()) << text(got);
    if (got.isInvalid()) {
      EXPECT_EQ(got.getUnit(), "");  // the invariant
    }
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    check("+", c.a + c.b, c.sum);
    check("-", c.a - c.b, c.difference);
    check("*", c.a * c.b, c.product);
    check("/", c.a / c.b, c.quotient);
    check("&", c.a & c.b, c.reconciled);
    // The decimal factor keeps the unit of any valid operand.
    check("* 2", c.a * d("2"), c.a.isInvalid() ? bad : ECurrency(c.a.unit, c.a.amount * d("2")));
    check("2 *", d("2") * c.a, c.a.isInvalid() ? bad : ECurrency(c.a.unit, c.a.amount * d("2")));
    check("/ 4", c.a / d("4"), c.a.isInvalid() ? bad : ECurrency(c.a.unit, c.a.amount / d("4")));
  }
  // Exact digits where the factor 1 + x/100 is involved.
  EXPECT_EQ(text(A + R), "[110.00, \"EUR\"]");
  EXPECT_EQ(text(R - A), "[-110.00, \"EUR\"]");
  EXPECT_EQ(text(A * R), "[10.00, \"EUR\"]");
  EXPECT_EQ(text(N - A), "[-100, \"EUR\"]");
}

// The share and the base move the percentage's exponent by two places; at
// the ends of the exponent range and for odd encodings the result is the
// runtime's own.
TEST(ECurrency, PercentScalingAtTheEdges) {
  const decimal128 nonCanonical =
      decimal128::fromBits(0x3041ED09BEAD87C0ull, 0x378D8E6400000000ull);  // 10^34: a zero
  const decimal128 percents[] = {
      d("19"),      d("-2.5"),    d("0.000001"),   d("1E-6176"),
      d("1E-6175"), d("1E-6174"), d("9.99E+6144"), d("1E+6111"),
      d("-0"),      d("Inf"),     nonCanonical,    d("9999999999999999999999999999999999"),
  };
  const ECurrency price = money("EUR", "200");
  for (const decimal128& p : percents) {
    SCOPED_TRACE(str(p));
    const decimal128 scaled = ktzDec128ScaleB(p, -2);
    const ECurrency share = price * ECurrency("%", p);
    const ECurrency expected("EUR", price.amount * scaled);
    EXPECT_TRUE(share == expected) << text(share) << " expected " << text(expected);
    EXPECT_EQ(share.amount.high(), expected.amount.high());
    EXPECT_EQ(share.amount.low(), expected.amount.low());
    const ECurrency raised = price + ECurrency("%", p);
    const ECurrency expectedRaise("EUR", price.amount * (scaled + decimal128(1)));
    EXPECT_EQ(text(raised), text(expectedRaise));
    if (!ktzDec128IsZero(p) && !ktzDec128IsInf(p)) {
      EXPECT_EQ(text(price / ECurrency("%", p)), text(ECurrency("EUR", price.amount / scaled)));
    }
  }
  // The percentage of one amount in another moves the exponent up.
  EXPECT_EQ(text(money("EUR", "1E+6111") / money("EUR", "1E-6176")),
            text(ECurrency("%", ktzDec128ScaleB(d("1E+6111") / d("1E-6176"), 2))));
}

TEST(ECurrency, Reconciliation) {
  EXPECT_TRUE((money("EUR", "10.004") & money("EUR", "10.0049")).isInvalid());
  EXPECT_EQ(text(money("EUR", "10.004") & money("EUR", "10.0041")), "[10.00405, \"EUR\"]");
  EXPECT_EQ(text(money("EUR", "10.00") & money("EUR", "10.0")), "[10.00, \"EUR\"]");
  EXPECT_TRUE((money("EUR", "10.00") & money("EUR", "10.01")).isInvalid());
  EXPECT_TRUE((money("EUR", "1") & money("USD", "1")).isInvalid());
  EXPECT_TRUE((ECurrency::Invalid & money("EUR", "1")).isInvalid());
  EXPECT_EQ(text(ECurrency::Null & money("EUR", "0.00")), "[0.00, \"EUR\"]");
  EXPECT_EQ(text(money("EUR", "0") & ECurrency::Null), "[0, \"EUR\"]");
  EXPECT_TRUE((ECurrency::Null & money("EUR", "1")).isInvalid());
  // JPY has no decimals: 1234.4 and 1234.35 agree at one decimal.
  EXPECT_EQ(text(money("JPY", "1234.4") & money("JPY", "1234.35")), "[1234.375, \"JPY\"]");
  // Units that are not money compare exactly.
  EXPECT_EQ(text(money("XAU", "1.23456") & money("XAU", "1.234560")), "[1.23456, \"XAU\"]");
  EXPECT_TRUE((money("XAU", "1.23456") & money("XAU", "1.23457")).isInvalid());
}

TEST(ECurrency, RoundingByCurrency) {
  const RoundingMode saved = getDefaultMoneyRoundingMode();
  EXPECT_EQ(text(money("JPY", "1234.5").round()), "[1235, \"JPY\"]");
  setDefaultMoneyRoundingMode(eRoundingHalfDown);
  EXPECT_EQ(text(money("JPY", "1234.5").round()), "[1234, \"JPY\"]");
  setDefaultMoneyRoundingMode(saved);
  EXPECT_EQ(text(money("XAU", "1.23456").round()), "[1.23456, \"XAU\"]");
  EXPECT_EQ(text(money("KWD", "1.2345").round()), "[1.235, \"KWD\"]");
  EXPECT_EQ(text(money("EUR", "2.345").round()), "[2.35, \"EUR\"]");
  EXPECT_EQ(text(money("CLF", "1.234567").round()), "[1.2346, \"CLF\"]");
  EXPECT_EQ(text(money("%", "12.345").round()), "[12.35, \"%\"]");
  EXPECT_EQ(text(money("EUR", "2.345").round(1)), "[2.3, \"EUR\"]");
  EXPECT_EQ(text(money("EUR", "2.345").round(2, eRoundingFloor)), "[2.34, \"EUR\"]");
  EXPECT_EQ(text(money("EUR", "2.349").truncate()), "[2.34, \"EUR\"]");
  EXPECT_EQ(text(money("EUR", "-2.349").truncate(1)), "[-2.3, \"EUR\"]");
  EXPECT_EQ(text(money("XAU", "2.349").truncate()), "[2.349, \"XAU\"]");
  EXPECT_EQ(text(money("EUR", "-2.5").abs()), "[2.5, \"EUR\"]");
  EXPECT_TRUE(ECurrency::Invalid.round().isInvalid());
  EXPECT_TRUE(ECurrency::Invalid.abs().isInvalid());
}

TEST(ECurrency, FractionDigitsTable) {
  const struct {
    int digits;
    const char* codes;
  } groups[] = {
      {0,
       "ADP BEF BIF BYB BYR CLP DJF ESP GNF GRD ISK ITL JPY KMF KRW LUF MGF PTE PYG RWF TPE TRL "
       "UGX UYI VND VUV XAF XOF XPF"},
      {3, "BHD IQD JOD KWD LYD OMR TND"},
      {4, "CLF"},
      {-1, "XAG XAU XBA XBB XBC XBD XDR XFO XFU XPD XPT XSU XTS XUA XXX"},
  };
  int count = 0;
  for (const auto& g : groups) {
    std::istringstream in(g.codes);
    std::string code;
    while (in >> code) {
      SCOPED_TRACE(code);
      EXPECT_EQ(ECurrency::getDefaultFractionDigits(code.c_str()), g.digits);
      EXPECT_EQ(ECurrency::getDefaultFractionDigits(ECurrency::makeUnit(code.c_str())), g.digits);
      ++count;
    }
  }
  EXPECT_EQ(count, 52);
  for (const char* code : {"EUR", "USD", "%", "", "AAA", "ZZZ", "JP", "JPYY", "jpy"}) {
    SCOPED_TRACE(code);
    EXPECT_EQ(ECurrency::getDefaultFractionDigits(code), 2);
  }
  EXPECT_EQ(ECurrency::getDefaultFractionDigits(static_cast<const char*>(nullptr)), 2);
  EXPECT_EQ(ECurrency::getDefaultExtraFractionDigits(), 1);
}

TEST(ECurrency, Units) {
  EXPECT_EQ(ECurrency::getUnit(ECurrency::makeUnit("EURO", 3)), "EUR");
  EXPECT_EQ(ECurrency::getUnit(ECurrency::makeUnit("%", 1)), "%");
  EXPECT_EQ(ECurrency::getUnit(ECurrency::makeUnit("%x", 2)), "");
  EXPECT_EQ(ECurrency::getUnit(ECurrency::makeUnit("E", 1)), "");
  EXPECT_EQ(ECurrency::getUnit(ECurrency::makeUnit("EURO")), "");
  EXPECT_EQ(ECurrency::getUnit(ECurrency::makeUnit("CHF")), "CHF");
  EXPECT_EQ(ECurrency::getUnit(ECurrency::makeUnit(nullptr)), "");
  const CurrencyUnit u = ECurrency::makeUnit("ABC");
  EXPECT_EQ(u.code[0], 'A');  // the first character in the lowest byte
  EXPECT_EQ(u.code[3], '\0');
}

class FakeConverter : public qor::quv::basket::ICurrencyConverter_Adapter {
 public:
  ZResult queryInterface(const char*, zob::IUnknown** out) override {
    *out = nullptr;
    return zob::kNoInterface;
  }
  std::uint32_t addRef() override { return 1; }
  std::uint32_t release() override { return 1; }
  ZResult convert(const Currency& amount, const char* code, int digits, Currency* out) override {
    calls++;
    lastDigits = digits;
    if (std::strcmp(code, "USD") != 0) return zob::kInvalidArgument;
    *out = ECurrency(code, amount.amount * d("1.1"));
    return zob::kOk;
  }
  int calls = 0;
  int lastDigits = 0;
};

TEST(ECurrency, Convert) {
  FakeConverter conv;
  EXPECT_EQ(text(money("EUR", "10").convert(&conv, "USD", 2)), "[11.0, \"USD\"]");
  EXPECT_EQ(conv.calls, 1);
  EXPECT_EQ(conv.lastDigits, 2);
  EXPECT_TRUE(money("EUR", "10").convert(&conv, "GBP", 2).isInvalid());
  // Without a converter only the own unit converts.
  EXPECT_EQ(text(money("EUR", "10.456").convert(nullptr, "EUR", -1)), "[10.456, \"EUR\"]");
  EXPECT_EQ(text(money("EUR", "10.456").convert(nullptr, "EUR", 2)), "[10.46, \"EUR\"]");
  EXPECT_TRUE(money("EUR", "10").convert(nullptr, "USD", 2).isInvalid());
  EXPECT_TRUE(money("EUR", "10").convert(nullptr, "EURO", 2).isInvalid());
  EXPECT_TRUE(money("%", "10").convert(nullptr, "%", 2).isInvalid());
  EXPECT_TRUE(money("EUR", "10").convert(nullptr, nullptr, 2).isInvalid());
}

TEST(ECurrency, TextForm) {
  EXPECT_EQ(money("EUR", "12.50").formatString(), "[12.50, \"EUR\"]");
  EXPECT_EQ(ECurrency::Invalid.formatString(), "[NaN, \"\"]");
  EXPECT_EQ(money("EUR", "1E+3").formatString(), "[1E+3, \"EUR\"]");
  std::ostringstream os;
  os << money("%", "-2.5");
  EXPECT_EQ(os.str(), "[-2.5, \"%\"]");
  std::string s = "total ";
  s << money("USD", "3");
  EXPECT_EQ(s, "total [3, \"USD\"]");
  // The text is appended, placeholders or not.
  s = "price %1 ";
  s << money("CHF", "0.05");
  EXPECT_EQ(s, "price %1 [0.05, \"CHF\"]");
  // Odd bytes in a unit are escaped.
  Currency odd;
  odd.unit.code[0] = '"';
  odd.unit.code[1] = '\\';
  odd.unit.code[2] = '\n';
  odd.amount = d("1");
  EXPECT_EQ(ECurrency(odd).formatString(), "[1, \"\\\"\\\\\\n\"]");
  odd.unit.code[0] = '\x01';
  odd.unit.code[1] = '\xe9';
  odd.unit.code[2] = '\t';
  EXPECT_EQ(ECurrency(odd).formatString(), "[1, \"\\001\\351\\t\"]");
}

TEST(ECurrency, ParseString) {
  const struct {
    const char* input;
    const char* expected;
  } good[] = {
      {"EUR 12.50", "[12.50, \"EUR\"]"}, {"12.50 EUR", "[12.50, \"EUR\"]"},
      {"EUR12.50", "[12.50, \"EUR\"]"},  {"12.50EUR", "[12.50, \"EUR\"]"},
      {"  10 %  ", "[10, \"%\"]"},       {"%-5", "[-5, \"%\"]"},
      {"\t-3 USD\n", "[-3, \"USD\"]"},   {"JPY 1E+3", "[1E+3, \"JPY\"]"},
  };
  for (const auto& c : good) {
    SCOPED_TRACE(c.input);
    ECurrency v;
    ASSERT_TRUE(v.parseString(c.input, nullptr));
    EXPECT_EQ(text(v), c.expected);
  }
  for (const char* bad : {"", "12.50", "EUR", "eur 12", "12 eur", "EUR 12 x", "12 EURO", "EU 12",
                          "12,50 EUR", "%", "EUR EUR"}) {
    SCOPED_TRACE(bad);
    ECurrency v = money("CHF", "1");
    EXPECT_FALSE(v.parseString(bad, nullptr));
    EXPECT_EQ(text(v), "[1, \"CHF\"]");  // unchanged
    const char* end = reinterpret_cast<const char*>(1);
    if (!v.parseString(bad, &end)) {
      EXPECT_EQ(end, bad);
    }
  }
  ECurrency v;
  EXPECT_FALSE(v.parseString(nullptr, nullptr));
  const char* input = " 12.50 EUR; next";
  const char* end = nullptr;
  ASSERT_TRUE(v.parseString(input, &end));
  EXPECT_STREQ(end, "; next");
  input = "12 EURO";
  ASSERT_TRUE(v.parseString(input, &end));
  EXPECT_STREQ(end, "O");
  // A NaN amount makes the value invalid.
  ASSERT_TRUE(v.parseString("NaN EUR", nullptr));
  EXPECT_TRUE(v.isInvalid());
  // The amount is read in the user's locale.
  std::locale saved = std::locale::global(std::locale(std::locale::classic()));
  try {
    std::locale::global(std::locale("de_DE.UTF-8"));
    ASSERT_TRUE(v.parseString("1.234,50 EUR", nullptr));
    EXPECT_EQ(text(v), "[1234.50, \"EUR\"]");
  } catch (const std::runtime_error&) {
    // de_DE.UTF-8 not installed: the classic part above still ran.
  }
  std::locale::global(saved);
}

// Amounts printed for a German reader (decimal comma, "." grouping) read
// back to the same value, unit after or before the amount.
TEST(ECurrency, GermanLocaleTextRoundTrip) {
  const std::locale saved = std::locale::global(std::locale::classic());
  try {
    std::locale::global(std::locale("de_DE.UTF-8"));
  } catch (const std::runtime_error&) {
    GTEST_SKIP() << "de_DE.UTF-8 not installed (scripts/bootstrap.sh makes it)";
  }
  const struct {
    const char* code;
    const char* amount;
    const char* printed;  // the amount to the unit's customary decimals
  } cases[] = {
      {"EUR", "1234567.5", "1.234.567,50"},
      {"EUR", "-1234.56", "-1.234,56"},
      {"JPY", "1234567", "1.234.567"},
      {"KWD", "1000.125", "1.000,125"},
      {"%", "19", "19,00"},
      {"EUR", "999.99", "999,99"},
      {"CHF", "0.05", "0,05"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.amount) + " " + c.code);
    const ECurrency value = money(c.code, c.amount).round();
    const std::string printed =
        formatDecimalString(value.amount, ECurrency::getDefaultFractionDigits(c.code));
    EXPECT_EQ(printed, c.printed);
    for (const std::string& form :
         {printed + " " + c.code, std::string(c.code) + " " + printed, printed + c.code}) {
      SCOPED_TRACE(form);
      ECurrency back;
      ASSERT_TRUE(back.parseString(form.c_str(), nullptr));
      EXPECT_TRUE(back == value) << text(back);
      EXPECT_EQ(back.getUnit(), c.code);
    }
  }
  // The text form stays locale-independent.
  EXPECT_EQ(money("EUR", "1234.50").formatString(), "[1234.50, \"EUR\"]");
  // A classic decimal point is a misplaced group separator here.
  ECurrency v = money("CHF", "1");
  EXPECT_FALSE(v.parseString("12.50 EUR", nullptr));
  EXPECT_EQ(text(v), "[1, \"CHF\"]");
  std::locale::global(saved);
}

TEST(ECurrency, DecodeAttributeTexts) {
  const struct {
    const char* currency;
    const char* value;
    const char* expected;  // text form, or the error message
    bool ok;
  } cases[] = {
      {"EUR", "12.50", "[12.50, \"EUR\"]", true},
      {"%", "-3", "[-3, \"%\"]", true},
      {"", "0", "[0, \"\"]", true},
      {nullptr, "0.00", "[0.00, \"\"]", true},
      {"", "NaN", "[NaN, \"\"]", true},
      {"XYZ", "1", "[1, \"XYZ\"]", true},  // three characters are not checked further
      {"EUR", "", "attribute 'value' is missing or empty", false},
      {"EUR", nullptr, "attribute 'value' is missing or empty", false},
      {"EUR", "12,50", "attribute 'value' has invalid value '12,50'", false},
      {"EUR", "12.5 x", "attribute 'value' has invalid value '12.5 x'", false},
      {"", "5",
       "if the 'currency' attribute is missing or empty, the 'value' attribute must be zero or "
       "NaN",
       false},
      {"EUR", "NaN",
       "if the 'currency' attribute exists, the 'value' attribute must exist and must not be NaN",
       false},
      {"%", "nan",
       "if the 'currency' attribute exists, the 'value' attribute must exist and must not be NaN",
       false},
      {"EU", "5", "attribute 'currency' has invalid value 'EU'", false},
      {"EURO", "5", "attribute 'currency' has invalid value 'EURO'", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.currency ? c.currency : "(null)") + " / " +
                 (c.value ? c.value : "(null)"));
    ECurrency v = money("CHF", "7");
    std::string error = "untouched";
    EXPECT_EQ(v.decodeAttributes(c.currency, c.value, &error), c.ok);
    if (c.ok) {
      EXPECT_EQ(text(v), c.expected);
      EXPECT_EQ(error, "untouched");
    } else {
      EXPECT_EQ(error, c.expected);
      EXPECT_EQ(text(v), "[7, \"CHF\"]");
    }
    ECurrency w;
    EXPECT_EQ(w.decodeAttributes(c.currency, c.value, nullptr), c.ok);  // no message wanted
  }
}

// A reader that only fills attribute lists.

using kelp::test::AttributeMaker;

TEST(ECurrency, DecodeAttributeList) {
  AttributeMaker reader;
  ECurrency v;
  std::string error;
  ASSERT_TRUE(v.decodeAttributes(reader.make({{"value", "3.5"}, {"currency", "USD"}}), &error));
  EXPECT_EQ(text(v), "[3.5, \"USD\"]");
  EXPECT_FALSE(v.decodeAttributes(reader.make({{"currency", "USD"}}), &error));
  EXPECT_EQ(error, "attribute 'value' is missing or empty");
  EXPECT_EQ(text(v), "[3.5, \"USD\"]");
  // Attributes in a namespace are not the ones meant.
  EXPECT_FALSE(
      v.decodeAttributes(reader.make({{"currency", "USD"}, {"value", "1"}}, "urn:x"), &error));
  EXPECT_EQ(error, "attribute 'value' is missing or empty");

  // The fallback applies only when both are missing or empty.
  const ECurrency fallback = money("EUR", "9.99");
  ASSERT_TRUE(v.decodeAttributes(reader.make({}), fallback, &error));
  EXPECT_EQ(text(v), "[9.99, \"EUR\"]");
  ASSERT_TRUE(
      v.decodeAttributes(reader.make({{"currency", ""}, {"value", ""}}), ECurrency::Null, &error));
  EXPECT_TRUE(v.isNull());
  ASSERT_TRUE(
      v.decodeAttributes(reader.make({{"currency", "%"}, {"value", "7"}}), fallback, &error));
  EXPECT_EQ(text(v), "[7, \"%\"]");
  EXPECT_FALSE(v.decodeAttributes(reader.make({{"value", "7"}}), fallback, &error));
  EXPECT_EQ(error,
            "if the 'currency' attribute is missing or empty, the 'value' attribute must be zero "
            "or NaN");
  EXPECT_EQ(text(v), "[7, \"%\"]");
}

TEST(ECurrency, RoundTripThroughAttributeTexts) {
  // What the writer stores as "value" (all significant digits) reads back to
  // an equal amount.
  for (const char* amount : {"12.50", "-0.001", "1E+20", "123456789012345678901234.5678"}) {
    SCOPED_TRACE(amount);
    const ECurrency original = money("EUR", amount);
    const std::string value = formatDecimalCString(original.amount, -1);
    ECurrency back;
    ASSERT_TRUE(back.decodeAttributes(original.getUnit().c_str(), value.c_str(), nullptr));
    EXPECT_TRUE(back == original);
  }
}

// Collects the amount of every <price> element through decodeAttributes.
class PriceCollector : public sax::DefaultHandler {
 public:
  bool startElement(const char*, const char*, const char* qName,
                    const sax::Attributes& attributes) override {
    if (std::strcmp(qName, "price") != 0) return true;
    ECurrency v = money("CHF", "-1");
    std::string error;
    ok.push_back(v.decodeAttributes(attributes, &error));
    values.push_back(v);
    errors.push_back(error);
    return true;
  }
  std::vector<bool> ok;
  std::vector<ECurrency> values;
  std::vector<std::string> errors;
};

TEST(ECurrency, RoundTripThroughWriterAndReader) {
  const std::vector<ECurrency> amounts = {
      money("EUR", "12.50"),  money("EUR", "-0.001"), money("JPY", "1E+20"),
      money("%", "19"),       money("%", "-2.5"),     money("USD", "123456789012345678901234.5678"),
      ECurrency::Null,        money("CHF", "0.00"),   money("XAU", "0.0000000001"),
      money("KWD", "1.2345"), money("EUR", "-Inf"),
  };
  std::ostringstream out;
  {
    zob::Ref<qor::quv::xml::XMLWriter> writer(new qor::quv::xml::XMLWriter(&out, 2));
    qor::quv::xml::XMLWriterItfWrapper w(writer.get());
    ASSERT_TRUE(w.startElement("prices", qor::quv::xml::kFormatIndentedBlock));
    for (const ECurrency& a : amounts) {
      ASSERT_TRUE(w.startElement("price", qor::quv::xml::kFormatBlock));
      ASSERT_TRUE(a.encodeAttributes(&w)) << text(a);
      ASSERT_TRUE(w.endElement());
    }
    ASSERT_TRUE(w.endElement());
    EXPECT_EQ(writer->close(), zob::kOk);
  }
  const std::string xml = out.str();
  EXPECT_NE(xml.find("<price currency='EUR' value='12.5'/>"), std::string::npos) << xml;

  // The reader as it comes (namespaces on): the attributes without a prefix
  // have no namespace, which is where decodeAttributes looks.
  {
    PriceCollector collector;
    sax::SimpleXMLReader reader(nullptr);
    reader.setContentHandler(&collector);
    reader.setErrorHandler(&collector);
    sax::ISInputSource source("", "mem", new std::istringstream(xml), true);
    ASSERT_TRUE(reader.parse(&source)) << xml;
    ASSERT_EQ(collector.values.size(), amounts.size());
    for (size_t i = 0; i < amounts.size(); ++i) {
      SCOPED_TRACE(text(amounts[i]));
      EXPECT_TRUE(collector.ok[i]) << collector.errors[i];
      EXPECT_TRUE(collector.values[i] == amounts[i]) << text(collector.values[i]);
      EXPECT_EQ(collector.values[i].getUnit(), amounts[i].getUnit());
    }
  }

  // What the reader rejects arrives with the message.
  PriceCollector collector;
  sax::SimpleXMLReader reader(nullptr);
  reader.setContentHandler(&collector);
  sax::ISInputSource source(
      "", "mem",
      new std::istringstream("<p><price currency='EUR' value='1,5'/><price value='5'/>"
                             "<price currency='EU' value='5'/><price currency='EUR'/></p>"),
      true);
  ASSERT_TRUE(reader.parse(&source));
  ASSERT_EQ(collector.values.size(), 4u);
  EXPECT_EQ(collector.errors[0], "attribute 'value' has invalid value '1,5'");
  EXPECT_EQ(collector.errors[1],
            "if the 'currency' attribute is missing or empty, the 'value' attribute must be zero "
            "or NaN");
  EXPECT_EQ(collector.errors[2], "attribute 'currency' has invalid value 'EU'");
  EXPECT_EQ(collector.errors[3], "attribute 'value' is missing or empty");
  for (size_t i = 0; i < 4; ++i) {
    EXPECT_FALSE(collector.ok[i]);
    EXPECT_EQ(text(collector.values[i]), "[-1, \"CHF\"]");  // unchanged
  }
}

// Records string attributes; refuses the attribute named `refuse`.
class RecordingWriter : public qor::quv::xml::IXMLWriter_Adapter {
 public:
  ZResult queryInterface(const char*, zob::IUnknown** out) override {
    *out = nullptr;
    return zob::kNoInterface;
  }
  std::uint32_t addRef() override { return ++refs; }
  std::uint32_t release() override { return --refs; }
  ZResult startElement(const char*, qor::quv::xml::ElementFormat) override { return zob::kOk; }
  ZResult endElement() override { return zob::kOk; }
  ZResult stringAttribute(const char* name, const char* value) override {
    if (refuse == name) return zob::code(0x80000008u);
    written += std::string(name) + "=" + value + ";";
    return zob::kOk;
  }
  ZResult intAttribute(const char*, int) override { return zob::kNotImplemented; }
  ZResult floatAttribute(const char*, double) override { return zob::kNotImplemented; }
  ZResult characters(const char*) override { return zob::kOk; }
  ZResult startCDATA() override { return zob::kOk; }
  ZResult endCDATA() override { return zob::kOk; }
  ZResult getErrorMessage(char** message) override {
    *message = nullptr;
    return zob::kNotImplemented;
  }
  ZResult flush() override { return zob::kOk; }
  std::uint32_t refs = 1;
  std::string refuse;
  std::string written;
};

TEST(ECurrency, EncodeAttributes) {
  RecordingWriter w;
  {
    qor::quv::xml::XMLWriterItfWrapper out(&w);
    EXPECT_TRUE(money("EUR", "12.50").encodeAttributes(&out));
    EXPECT_TRUE(ECurrency::Null.encodeAttributes(&out));
    EXPECT_TRUE(money("%", "1E+2").encodeAttributes(&out));
    EXPECT_EQ(w.written, "currency=EUR;value=12.5;currency=;value=0.0;currency=%;value=100.0;");
    w.written.clear();
    w.refuse = "currency";
    EXPECT_FALSE(money("EUR", "1").encodeAttributes(&out));
    EXPECT_EQ(w.written, "");  // nothing after the refused attribute
    w.refuse = "value";
    EXPECT_FALSE(money("EUR", "1").encodeAttributes(&out));
    EXPECT_EQ(w.written, "currency=EUR;");
  }
  EXPECT_EQ(w.refs, 1u);
}

}  // namespace
