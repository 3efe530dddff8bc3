// kelp money: exact results of arithmetic, rounding under every mode,
// locale formats, and the exit statuses of undefined and unreadable input.
#include <gtest/gtest.h>

#include <string>

#include "tool_cases.h"

using kelp::test::expectCases;
using kelp::test::runKelp;
using kelp::test::usageText;

namespace {

std::string failed(const std::string& message) {
  return "kelp money: " + message + "\n";
}

}  // namespace

TEST(KelpMoney, EvalComputesExactly) {
  expectCases({
      {{"money", "eval", "100 EUR", "+", "10 %"}, 0, "110.00 EUR\n", ""},
      {{"money", "eval", "100 EUR + 10 %"}, 0, "110.00 EUR\n", ""},
      {{"money", "eval", "10 %", "+", "100 EUR"}, 0, "110.00 EUR\n", ""},
      {{"money", "eval", "100 EUR", "-", "10 %"}, 0, "90.00 EUR\n", ""},
      {{"money", "eval", "10 % + 5 %"}, 0, "15.00 %\n", ""},
      {{"money", "eval", "200 EUR", "*", "15 %"}, 0, "30.00 EUR\n", ""},
      {{"money", "eval", "30 EUR / 15 %"}, 0, "200.00 EUR\n", ""},
      {{"money", "eval", "30 EUR / 200 EUR"}, 0, "15.00 %\n", ""},
      {{"money", "eval", "EUR 2 * 3"}, 0, "6.00 EUR\n", ""},
      {{"money", "eval", "2 * 100 EUR"}, 0, "200.00 EUR\n", ""},
      {{"money", "eval", "10 EUR / 3"}, 0, "3.333333333333333333333333333333333 EUR\n", ""},
      {{"money", "eval", "0.1 + 0.2"}, 0, "0.3\n", ""},
      {{"money", "eval", "1 + 2 * 3"}, 0, "7\n", ""},
      {{"money", "eval", "(1 + 2) * 3"}, 0, "9\n", ""},
      {{"money", "eval", "5 - -3"}, 0, "8\n", ""},
      {{"money", "eval", "-(2 EUR)"}, 0, "-2.00 EUR\n", ""},
      {{"money", "eval", "(100 EUR - 20 EUR) * 2 + 10 %"}, 0, "176.00 EUR\n", ""},
      // The currency's customary decimals at least: JPY none, KWD three.
      {{"money", "eval", "1000 JPY", "+", "8 %"}, 0, "1080 JPY\n", ""},
      {{"money", "eval", "1.5 KWD * 3"}, 0, "4.500 KWD\n", ""},
      {{"money", "eval", "1.5 XAU * 3"}, 0, "4.5 XAU\n", ""},
      {{"money", "eval", "--round", "10 EUR / 3"}, 0, "3.33 EUR\n", ""},
      {{"money", "eval", "--round", "1000 JPY / 3"}, 0, "333 JPY\n", ""},
      {{"money", "eval", "--round", "20 KWD / 3"}, 0, "6.667 KWD\n", ""},
      {{"money", "eval", "--mode", "down", "20 KWD / 3"}, 0, "6.666 KWD\n", ""},
      {{"money", "eval", "--decimals", "1", "1 / 8"}, 0, "0.1\n", ""},
  });
}

TEST(KelpMoney, EvalFailsOnUndefinedOperations) {
  const std::string nine = "9" + std::string(6000, '0');
  const std::string nine144 = "9" + std::string(6144, '0');
  expectCases({
      {{"money", "eval", "100 EUR", "+", "5 USD"},
       1,
       "",
       failed("cannot add 100.00 EUR and 5.00 USD: the currencies differ")},
      {{"money", "eval", "100 EUR - 5 USD"},
       1,
       "",
       failed("cannot subtract 5.00 USD from 100.00 EUR: the currencies differ")},
      {{"money", "eval", "15 % * 200 EUR"},
       1,
       "",
       failed("cannot multiply 15.00 % by 200.00 EUR: only an amount times a percentage is "
              "defined")},
      {{"money", "eval", "30 EUR / 20 USD"},
       1,
       "",
       failed("cannot divide 30.00 EUR by 20.00 USD: the currencies differ")},
      {{"money", "eval", "10 % / 20 EUR"},
       1,
       "",
       failed("cannot divide 10.00 % by 20.00 EUR: a percentage can only be multiplied")},
      {{"money", "eval", "3 / 2 EUR"},
       1,
       "",
       failed("cannot divide the plain number 3 by 2.00 EUR")},
      {{"money", "eval", "100 EUR + 5"},
       1,
       "",
       failed("cannot add 100.00 EUR and 5: 5 is a plain number (write '5 %' for a percentage)")},
      {{"money", "eval", "30 EUR / 0"}, 1, "", failed("division by zero")},
      {{"money", "eval", "30 EUR / 0 EUR"}, 1, "", failed("division by zero")},
      {{"money", "eval", "9E6000 * 9E6000"},
       1,
       "",
       failed("cannot multiply " + nine + " by " + nine + ": the result is too large")},
      // Sums and products are exact or fail; they never lose cents.
      {{"money", "eval", "9e6144 EUR + 9e6144 EUR"},
       1,
       "",
       failed("cannot add " + nine144 + ".00 EUR and " + nine144 +
              ".00 EUR: the result is too large")},
      {{"money", "eval", "1e34 EUR + 0.01 EUR + 0.01 EUR"},
       1,
       "",
       failed("cannot add 1" + std::string(34, '0') +
              ".00 EUR and 0.01 EUR: the result has more than 34 significant digits")},
      {{"money", "eval", "1e33 + 0.1"},
       1,
       "",
       failed("cannot add 1" + std::string(33, '0') +
              " and 0.1: the result has more than 34 significant digits")},
      {{"money", "eval", "7 EUR * 3333333333333333333333333333333333"},
       1,
       "",
       failed("cannot multiply 7.00 EUR by 3333333333333333333333333333333333: the result has "
              "more than 34 significant digits")},
      // A quotient is rounded to 34 digits, but must stay in range.
      {{"money", "eval", "1e6144 / 1e-100"},
       1,
       "",
       failed("cannot divide 1" + std::string(6144, '0') + " by 0." + std::string(99, '0') +
              "1: the result is too large")},
      // Exact sums keep every digit: 34 of them.
      {{"money", "eval", "1e31 EUR + 0.01 EUR + 0.01 EUR"},
       0,
       "1" + std::string(31, '0') + ".02 EUR\n",
       ""},
  });
}

// More significant digits than a decimal128 holds are refused, never
// rounded once on reading and again to the currency's decimals.
TEST(KelpMoney, RefusesAmountsOfMoreThan34Digits) {
  const std::string digits36 = "1.00499999999999999999999999999999999";
  const std::string why = "' has more than 34 significant digits";
  expectCases({
      {{"money", "round", digits36 + " EUR"},
       2,
       "",
       usageText("money", "cannot read the amount '" + digits36 +
                              " EUR': it has more than 34 significant digits")},
      {{"money", "round", "--decimals", "2", digits36},
       2,
       "",
       usageText("money", "cannot read the amount '" + digits36 +
                              "': it has more than 34 significant digits")},
      {{"money", "format", "EUR " + digits36},
       2,
       "",
       usageText("money", "cannot read the amount 'EUR " + digits36 +
                              "': it has more than 34 significant digits")},
      {{"money", "eval", digits36 + " EUR + 1 EUR"},
       2,
       "",
       usageText("money", "'" + digits36 + " EUR" + why)},
      {{"money", "eval", "1 + " + digits36}, 2, "", usageText("money", "'" + digits36 + why)},
      // 34 digits are exact, and a trailing zero beyond them loses nothing.
      {{"money", "round", "1.004999999999999999999999999999999 EUR"}, 0, "1.00 EUR\n", ""},
      {{"money", "eval", "1.0049999999999999999999999999999990 EUR"},
       0,
       "1.004999999999999999999999999999999 EUR\n",
       ""},
  });
}

TEST(KelpMoney, EvalRejectsUnreadableExpressions) {
  std::string deep(100, '(');
  expectCases({
      {{"money", "eval"}, 2, "", usageText("money", "missing operand")},
      {{"money", "eval", "100 EUR", "+"},
       2,
       "",
       usageText("money", "the expression ends where an operand should follow")},
      {{"money", "eval", "abc"},
       2,
       "",
       usageText("money", "cannot read an amount, a percentage or a number at 'abc'")},
      {{"money", "eval", "(1 + 2"}, 2, "", usageText("money", "missing ')'")},
      {{"money", "eval", "1 + 2)"}, 2, "", usageText("money", "unbalanced ')'")},
      {{"money", "eval", "1 2"}, 2, "", usageText("money", "expected an operator at '2'")},
      {{"money", "eval", "NaN EUR"}, 2, "", usageText("money", "'NaN EUR' is not a finite amount")},
      {{"money", "eval", "inf"}, 2, "", usageText("money", "'inf' is not a finite number")},
      {{"money", "eval", deep + "1"},
       2,
       "",
       usageText("money", "the expression is nested too deeply")},
      {{"money", "eval", "--mode", "sideways", "1 EUR"},
       2,
       "",
       usageText("money", "unknown rounding mode 'sideways'")},
      {{"money", "tally"},
       2,
       "",
       usageText("money", "unknown subcommand 'tally' (one of eval, round, format)")},
  });
}

TEST(KelpMoney, RoundsHalfWayCasesUnderEveryMode) {
  struct Row {
    const char* mode;
    const char* eur;     // 2.345 EUR
    const char* negEur;  // -2.345 EUR
    const char* jpy;     // 1234.5 JPY
    const char* kwd;     // 1.2345 KWD
  };
  const Row rows[] = {
      {"half-up", "2.35 EUR", "-2.35 EUR", "1235 JPY", "1.235 KWD"},
      {"half-down", "2.34 EUR", "-2.34 EUR", "1234 JPY", "1.234 KWD"},
      {"up", "2.35 EUR", "-2.35 EUR", "1235 JPY", "1.235 KWD"},
      {"down", "2.34 EUR", "-2.34 EUR", "1234 JPY", "1.234 KWD"},
      {"ceiling", "2.35 EUR", "-2.34 EUR", "1235 JPY", "1.235 KWD"},
      {"floor", "2.34 EUR", "-2.35 EUR", "1234 JPY", "1.234 KWD"},
      {"integral", "2.34 EUR", "-2.34 EUR", "1234 JPY", "1.234 KWD"},
      {"exact", "2.35 EUR", "-2.35 EUR", "1235 JPY", "1.235 KWD"},
      {"none", "2.345 EUR", "-2.345 EUR", "1234.5 JPY", "1.2345 KWD"},
      {"8", "2.34 EUR", "-2.34 EUR", "1234 JPY", "1.234 KWD"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.mode);
    const std::pair<const char*, const char*> inputs[] = {{"2.345 EUR", row.eur},
                                                          {"-2.345 EUR", row.negEur},
                                                          {"1234.5 JPY", row.jpy},
                                                          {"1.2345 KWD", row.kwd}};
    for (const auto& [input, expected] : inputs) {
      SCOPED_TRACE(input);
      auto r = runKelp({"money", "round", "--mode", row.mode, input});
      EXPECT_EQ(r.status, 0);
      EXPECT_EQ(r.out, std::string(expected) + "\n");
      EXPECT_EQ(r.err, "");
    }
  }
}

TEST(KelpMoney, RoundsToCustomaryOrGivenDecimals) {
  expectCases({
      {{"money", "round", "2.345 EUR"}, 0, "2.35 EUR\n", ""},
      {{"money", "round", "EUR 2.345"}, 0, "2.35 EUR\n", ""},
      {{"money", "round", "1234.5 JPY"}, 0, "1235 JPY\n", ""},
      {{"money", "round", "1235.5 JPY", "--mode", "integral"}, 0, "1236 JPY\n", ""},
      {{"money", "round", "1.2355 KWD", "--mode=integral"}, 0, "1.236 KWD\n", ""},
      {{"money", "round", "1.23455 CLF"}, 0, "1.2346 CLF\n", ""},
      {{"money", "round", "1.23456 XAU"}, 0, "1.23456 XAU\n", ""},
      {{"money", "round", "12.345 %"}, 0, "12.35 %\n", ""},
      {{"money", "round", "2.345 EUR", "--decimals", "1"}, 0, "2.3 EUR\n", ""},
      {{"money", "round", "2.345 EUR", "--decimals", "4"}, 0, "2.3450 EUR\n", ""},
      {{"money", "round", "1234 JPY", "--decimals", "-1"}, 0, "1230 JPY\n", ""},
      {{"money", "round", "2.5", "--decimals", "0", "--mode", "integral"}, 0, "2\n", ""},
      {{"money", "round", "2.5"}, 2, "", usageText("money", "a plain number needs --decimals")},
      {{"money", "round", "2 EURO"}, 2, "", usageText("money", "cannot read the amount '2 EURO'")},
      {{"money", "round", "1 EUR", "--decimals", "x"},
       2,
       "",
       usageText("money", "--decimals needs a whole number from -30 to 30, not 'x'")},
      {{"money", "round", "1 EUR", "2 EUR"},
       2,
       "",
       usageText("money", "unexpected operand '2 EUR'")},
  });
}

TEST(KelpMoney, FormatsInTheLocale) {
  auto german = runKelp({"money", "format", "1234.5 EUR"}, "", {{"LC_ALL", "de_DE.UTF-8"}});
  if (german.status == 0 && german.out == "1234.50 EUR\n")
    GTEST_SKIP() << "de_DE.UTF-8 not installed (scripts/bootstrap.sh makes it)";
  EXPECT_EQ(german.out, "1.234,50 EUR\n");
  expectCases({
      {{"money", "format", "1234.5 EUR"}, 0, "1234.50 EUR\n", ""},
      {{"money", "format", "1234.5 EUR", "--locale", "de_DE"}, 0, "1.234,50 EUR\n", ""},
      {{"money", "format", "1234567.891 EUR", "--locale", "de_DE"}, 0, "1.234.567,891 EUR\n", ""},
      {{"money", "format", "1234567.891 EUR", "--locale", "de_DE", "--extra-decimals", "0"},
       0,
       "1.234.567,89 EUR\n",
       ""},
      {{"money", "format", "1234 JPY", "--locale", "de_DE"}, 0, "1.234 JPY\n", ""},
      {{"money", "format", "-0.5 KWD", "--locale", "de_DE"}, 0, "-0,500 KWD\n", ""},
      {{"money", "format", "1234.5678", "--locale", "de_DE"}, 0, "1.234,5678\n", ""},
      {{"money", "format", "1234.5 EUR", "--locale", "en_US.UTF-8"}, 0, "1,234.50 EUR\n", ""},
      {{"money", "format", "1 EUR", "--locale", "xx_YY"},
       1,
       "",
       failed("the locale 'xx_YY' is not installed")},
      {{"money", "format", "1,5 EUR", "--locale", "de_DE"},
       2,
       "",
       usageText("money", "cannot read the amount '1,5 EUR'")},
  });
}

TEST(KelpMoney, HelpStartsWithTheUsage) {
  auto r = runKelp({"money", "round", "--help"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out.rfind("usage: kelp money eval ", 0), 0u);
  EXPECT_NE(r.out.find("half-down"), std::string::npos);
}
