// Funcs: code validators, object paths, update states, command lines and
// number formatting.
#include <gtest/gtest.h>
#include <kelp/util/utl_Decimal.h>
#include <kelp/util/utl_ECurrency.h>
#include <kelp/util/utl_Funcs.h>

#include <clocale>
#include <locale>
#include <random>
#include <string>
#include <vector>

using ktz::decimal::decimal128;
using ktz::decimal::decimal64;
using qor::quv::util::Funcs;
using qor::quv::util::PString;
namespace basket = qor::quv::basket;

namespace {

decimal64 dec(const char* s) {
  decimal64 d;
  EXPECT_TRUE(ktzDec64FromString(s, &d)) << s;
  return d;
}

std::vector<std::string> split(const std::string& line) {
  std::vector<std::string> args;
  Funcs::splitCommandLine(line, &args);
  return args;
}

// Sets the global C++ and C locales for the life of the object.
class ScopedLocale {
 public:
  explicit ScopedLocale(const char* name) : old_(std::locale()) {
    try {
      std::locale::global(std::locale(name));
      ok_ = true;
    } catch (const std::runtime_error&) {
      ok_ = false;
    }
  }
  ~ScopedLocale() { std::locale::global(old_); }
  bool ok() const { return ok_; }

 private:
  std::locale old_;
  bool ok_;
};

}  // namespace

TEST(Funcs, CodeValidators) {
  struct Case {
    const char* code;
    bool language, country, currency;
  } cases[] = {
      {"de", true, false, false},     {"DE", false, true, false},
      {"deu", false, false, false},   {"d", false, false, false},
      {"", false, false, false},      {"EUR", false, false, true},
      {"EU", false, true, false},     {"EURO", false, false, false},
      {"eur", false, false, false},   {"d1", false, false, false},
      {"D\xc3", false, false, false}, {"\xe4\xf6", false, false, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.code);
    EXPECT_EQ(Funcs::isValidLanguageCode(c.code), c.language);
    EXPECT_EQ(Funcs::isValidLanguageCode(std::string(c.code)), c.language);
    EXPECT_EQ(Funcs::isValidCountryCode(c.code), c.country);
    EXPECT_EQ(Funcs::isValidCountryCode(std::string(c.code)), c.country);
    EXPECT_EQ(Funcs::isValidCurrencyCode(c.code), c.currency);
    EXPECT_EQ(Funcs::isValidCurrencyCode(std::string(c.code)), c.currency);
  }
  EXPECT_FALSE(Funcs::isValidLanguageCode(static_cast<const char*>(nullptr)));
  EXPECT_FALSE(Funcs::isValidCountryCode(static_cast<const char*>(nullptr)));
  EXPECT_FALSE(Funcs::isValidCurrencyCode(static_cast<const char*>(nullptr)));
}

TEST(Funcs, SubdivisionCodes) {
  struct Case {
    const char* code;
    bool withoutCountry;
    bool ok;
  } cases[] = {
      {"DE-BY", false, true},    {"BY", true, true},      {"DE-", false, false},
      {"DE-ABCD", false, false}, {"DE-1", false, true},   {"FR-75C", false, true},
      {"de-BY", false, false},   {"DE_BY", false, false}, {"DE-B-", false, false},
      {"BY", false, false},      {"", true, false},       {"ABCD", true, false},
      {"a1z", true, true},       {"DE-BY", true, false},  {"DE-by", false, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.code) + (c.withoutCountry ? " without" : " with"));
    EXPECT_EQ(Funcs::isValidSubdivisionCode(c.code, c.withoutCountry), c.ok);
    EXPECT_EQ(Funcs::isValidSubdivisionCode(std::string(c.code), c.withoutCountry), c.ok);
  }
  EXPECT_FALSE(Funcs::isValidSubdivisionCode(static_cast<const char*>(nullptr), true));
}

TEST(Funcs, TaxUnits) {
  struct Case {
    const char* unit;
    bool ok;
  } cases[] = {
      {"%", true},        {"EUR/KGM", true},  {"CHF/LBR", true},  {"USD/MGM", true},
      {"EUR/kgm", false}, {"EUR/KG", false},  {"%x", false},      {"EUR/KGMX", false},
      {"eur/KGM", false}, {"EUR-KGM", false}, {"EUR/GRM", false}, {"", false},
      {"EU/KGM", false},  {"EUR/", false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.unit);
    EXPECT_EQ(Funcs::isValidTaxUnit(c.unit), c.ok);
    EXPECT_EQ(Funcs::isValidTaxUnit(std::string(c.unit)), c.ok);
  }
}

TEST(Funcs, ObjectPaths) {
  struct Case {
    const char* a;
    const char* b;
    bool sameOrParent, parent;
  } cases[] = {
      {"a.b", "a.bc", false, false}, {"a.b", "a.b.c", true, true},   {"a.b", "a.b", true, false},
      {"a", "a.b.c", true, true},    {"a.b.c", "a.b", false, false}, {"", ".x", true, true},
      {"", "", true, false},         {"a.b", "a.b.", true, true},    {"b", "a.b", false, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.a) + " / " + c.b);
    EXPECT_EQ(Funcs::isSameObjectOrParent(c.a, c.b), c.sameOrParent);
    EXPECT_EQ(Funcs::isSameObjectOrParent(std::string(c.a), std::string(c.b)), c.sameOrParent);
    EXPECT_EQ(Funcs::isParentObject(c.a, c.b), c.parent);
    EXPECT_EQ(Funcs::isParentObject(std::string(c.a), std::string(c.b)), c.parent);
  }
}

TEST(Funcs, PackageNamesToProgIds) {
  struct Case {
    const char* name;
    const char* id;  // null: the null interned string
  } cases[] = {
      {"::ab::cd::", "@ab_cd"},
      {"@x::y", "@x::y"},
      {"::ab", "@ab"},
      {"::a::b::c", "@a_b_c"},
      {"::", "@"},
      {"::x", "@x"},
      {"::::", "@"},
      {"ab::cd", nullptr},
      {"", nullptr},
      {":x", nullptr},
      {"::a:::b::", "@a_:b"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const PString id = Funcs::pkgNameToProgId(c.name);
    if (!c.id) {
      EXPECT_TRUE(id.isNull());
    } else {
      EXPECT_STREQ(id.c_str(), c.id);
      EXPECT_EQ(id, PString(c.id));  // interned: the same handle
    }
    EXPECT_EQ(Funcs::pkgNameToProgId(std::string(c.name)), id);
  }
  EXPECT_TRUE(Funcs::pkgNameToProgId(static_cast<const char*>(nullptr)).isNull());
}

TEST(Funcs, UpdateStates) {
  struct Case {
    const char* text;
    int state;
  } cases[] = {
      {"  @Up2Date  ", 1}, {"@Up2Dates", -1},  {"@Up2Date x", -1}, {"@Undefined", 0},
      {"@Updatable", 2},   {"@Migratable", 3}, {"@Invalid", 4},    {"\t@Invalid\n", 4},
      {"@up2date", -1},    {"Up2Date", -1},    {"", -1},           {"@Up2Date_", -1},
      {"@Up2Date9", -1},   {"@Up2Date-", -1},  {"@", -1},          {"@Invalidx", -1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(Funcs::parseTarnUpdateState(c.text, nullptr), c.state);
    EXPECT_EQ(Funcs::parseTarnUpdateState(std::string(c.text), nullptr), c.state);
  }
  const char* text = "@Up2Date x";
  const char* end = nullptr;
  EXPECT_EQ(Funcs::parseTarnUpdateState(text, &end), 1);
  EXPECT_EQ(end, text + 8);
  const char* bad = "  @Up2Dates";
  EXPECT_EQ(Funcs::parseTarnUpdateState(bad, &end), -1);
  EXPECT_EQ(end, bad);
  EXPECT_EQ(Funcs::parseTarnUpdateState(static_cast<const char*>(nullptr), nullptr), -1);

  for (int s = 0; s <= 4; ++s) {
    const char* keyword = Funcs::tarnUpdateStateToString(static_cast<basket::TarnUpdateState>(s));
    SCOPED_TRACE(keyword);
    EXPECT_EQ(Funcs::parseTarnUpdateState(keyword, nullptr), s);
  }
  EXPECT_STREQ(Funcs::tarnUpdateStateToString(basket::TarnUpdateState::Up2Date), "@Up2Date");
  EXPECT_STREQ(Funcs::tarnUpdateStateToString(static_cast<basket::TarnUpdateState>(5)), "");
  EXPECT_STREQ(Funcs::tarnUpdateStateToString(static_cast<basket::TarnUpdateState>(-1)), "");
}

TEST(Funcs, SplitCommandLineExamples) {
  using V = std::vector<std::string>;
  struct Case {
    const char* line;
    V args;
  } cases[] = {
      {"a  'b c'd ''", {"a", "b cd", ""}},
      {"x'y", {"x'y"}},
      {"", {}},
      {" \t\n\v\f\r ", {}},
      {"a\\a", {"aaa"}},  // the escaped character is read twice
      {"\\a", {"aa"}},
      {"a\\ b", {"a ", "b"}},      // ... and the blank then ends the argument
      {"\"a\\\"b\"", {"a\"b\""}},  // \" appends and then closes the section
      {"\"a\\\\b\"", {"a\\\\b"}},  // \\ appends, then escapes again
      {"\"a\\xb\"", {"a\\xb"}},    // any other backslash is an ordinary character
      {"'a\\b'", {"a\\b"}},
      {"a\\", {"a\\"}},     // a final backslash stays
      {"'open", {"open"}},  // an unclosed quote ends with the line
      {"\"", {""}},
      {"\"\"", {""}},
      {"a\"b c\"", {"a\"b", "c\""}},
      {"'a'\"b\"", {"a\"b\""}},  // a quote after the start is ordinary
      {"'a b'  c", {"a b", "c"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.line);
    EXPECT_EQ(split(c.line), c.args);
  }
  std::vector<std::string> args{"kept"};
  Funcs::splitCommandLine("one two", &args);
  EXPECT_EQ(args, (V{"kept", "one", "two"}));
  Funcs::splitCommandLine("x", nullptr);  // nothing to fill: no crash
}

TEST(Funcs, JoinCommandLineExamples) {
  using V = std::vector<std::string>;
  EXPECT_EQ(Funcs::joinCommandLine(V{""}), "''");
  EXPECT_EQ(Funcs::joinCommandLine(V{"it's"}), "\"it's\"");
  EXPECT_EQ(Funcs::joinCommandLine(V{"a b"}), "'a b'");
  EXPECT_EQ(Funcs::joinCommandLine(V{"plain", "a\"b", "c\\d", "t\tx"}),
            "plain 'a\"b' 'c\\d' 't\tx'");
  EXPECT_EQ(Funcs::joinCommandLine(V{"it's \"x\""}), "\"it's \\\"x\\\"\"");
  EXPECT_EQ(Funcs::joinCommandLine(V{}), "");
  // Only a leading empty text suppresses the separator.
  EXPECT_EQ(Funcs::joinCommandLine(V{"", "a"}), "'' a");
}

TEST(Funcs, CommandLineRoundTripProperty) {
  // Arguments that hold a single quote come back unchanged only without a
  // double quote or backslash (the double-quoted form re-reads escapes);
  // every other argument always does.
  const char alphabet[] = {'a', 'b', ' ', '\t', '\n', '\'', '"', '\\', 'x', '-', '\r', '\v', '\f'};
  std::mt19937 rng(20241121);
  std::uniform_int_distribution<int> count(0, 6);
  std::uniform_int_distribution<int> length(0, 8);
  std::uniform_int_distribution<int> pick(0, sizeof alphabet - 1);
  int checked = 0;
  for (int round = 0; round < 5000; ++round) {
    std::vector<std::string> args(count(rng));
    for (std::string& arg : args) {
      const int n = length(rng);
      for (int i = 0; i < n; ++i) arg += alphabet[pick(rng)];
      if (arg.find('\'') != std::string::npos) {
        std::erase(arg, '"');
        std::erase(arg, '\\');
      }
    }
    const std::string line = Funcs::joinCommandLine(args);
    SCOPED_TRACE(line);
    ASSERT_EQ(split(line), args);
    ++checked;
  }
  EXPECT_EQ(checked, 5000);
}

TEST(Funcs, CommandLineKeptBehaviourForQuotesWithEscapes) {
  using V = std::vector<std::string>;
  // Outside the promised set the escapes are re-read: "'\"" comes back with
  // an extra quote, as the parser has always done.
  const std::string line = Funcs::joinCommandLine(V{"'\""});
  EXPECT_EQ(line, "\"'\\\"\"");
  EXPECT_EQ(split(line), (V{"'\"\""}));
}

TEST(Funcs, FormatCurrencyAmounts) {
  ScopedLocale loc("C");
  using qor::quv::util::ECurrency;
  auto money = [](const char* code, const char* amount) {
    decimal128 d;
    EXPECT_TRUE(ktzDec128FromString(amount, &d)) << amount;
    return ECurrency(code, d);
  };
  struct Case {
    ECurrency c;
    int extra;
    const char* value;
    const char* full;
  } cases[] = {
      {money("EUR", "12.5"), 1, "12.50", "12.50 EUR"},
      {money("EUR", "12.555"), 1, "12.555", "12.555 EUR"},
      {money("EUR", "12.5555"), 1, "12.556", "12.556 EUR"},  // rounded at 2 + 1 decimals
      {money("EUR", "12.5555"), 0, "12.56", "12.56 EUR"},
      {money("EUR", "12.5555"), -1, "12.5555", "12.5555 EUR"},
      {money("EUR", "12.5555"), 2147483647, "12.5555", "12.5555 EUR"},
      {money("JPY", "1234"), 1, "1234", "1234 JPY"},
      {money("JPY", "1234.56"), 1, "1234.6", "1234.6 JPY"},
      {money("KWD", "1.2"), 1, "1.200", "1.200 KWD"},
      {money("XAU", "1.23456789"), 1, "1.23456789", "1.23456789 XAU"},
      {money("%", "15"), 1, "15.00", "15.00 %"},
      {money("EUR", "Infinity"), 1, "pos. infinity", "pos. infinity"},
      {ECurrency::Invalid, 1, "invalid", "invalid"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.full);
    EXPECT_EQ(Funcs::formatValue(c.c, c.extra), c.value);
    EXPECT_EQ(Funcs::format(c.c, c.extra), c.full);
    if (c.extra == 1) {
      EXPECT_EQ(Funcs::formatValue(c.c), c.value);
      EXPECT_EQ(Funcs::format(c.c), c.full);
    }
  }
}

TEST(Funcs, FormatQuantity) {
  ScopedLocale loc("C");
  struct Case {
    const char* value;
    const char* text;
  } cases[] = {
      {"5", "5.00"},     {"1.2345", "1.2345"}, {"1.50000", "1.50"}, {"0", "0.00"},
      {"-2.5", "-2.50"}, {"1E+3", "1000.00"},  {"0.001", "0.001"},  {"12.340", "12.34"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.value);
    EXPECT_EQ(Funcs::formatQuantity(dec(c.value)), c.text);
  }
}

TEST(Funcs, FormatConversionRate) {
  ScopedLocale loc("C");
  struct Case {
    const char* value;
    const char* text;
  } cases[] = {
      {"1.5", "1.50000"},
      {"0", "???"},
      {"-0.00", "???"},
      {"Infinity", "???"},
      {"-Infinity", "???"},
      {"NaN", "???"},
      {"123456", "123456"},
      {"1234567", "1234570"},
      {"0.000123456789", "0.000123457"},
      {"99999.94", "99999.9"},
      {"12.3456789", "12.3457"},
      {"-1.5", "-1.50000"},
      {"7.80E+8", "780000000"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.value);
    EXPECT_EQ(Funcs::formatConversionRate(dec(c.value)), c.text);
  }
}

TEST(Funcs, NumbersFollowTheUserLocale) {
  ScopedLocale loc("de_DE.UTF-8");
  ASSERT_TRUE(loc.ok()) << "de_DE.UTF-8 is not installed (scripts/bootstrap.sh)";
  EXPECT_EQ(Funcs::formatQuantity(dec("1234.5")), "1.234,50");
  EXPECT_EQ(Funcs::formatConversionRate(dec("1.5")), "1,50000");
}

TEST(Funcs, RemoveTrailingZeros) {
  struct Case {
    const char* in;
    const char* out;
  } cases[] = {
      {"3.000", "3."},  {"12.000", "12."},  {"1.500 kg", "1.5 kg"},
      {"1.05", "1.05"}, {"100", "100"},     {"", ""},
      {".", "."},       {"1.0.0", "1..0"},  {"0.10x0", "0.1x0"},
      {"a.b", "a.b"},   {"1,500", "1,500"}, {"-2.2000", "-2.2"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.in);
    EXPECT_EQ(Funcs::removeTrailingZeros(c.in), c.out);
  }
}

TEST(Funcs, RoundingIntervals) {
  const char* expected[] = {"0.00", "0.01", "0.05", "0.10", "0.25", "0.50", "1.00", "0.00"};
  for (int i = 0; i <= 7; ++i) {
    SCOPED_TRACE(i);
    const decimal64 d =
        Funcs::getRoundingIntervalAsNumber(static_cast<basket::RoundingInterval>(i));
    EXPECT_EQ(ktzDec64ToString(d), expected[i]);
    EXPECT_EQ(ktzDec64Exponent(d), -2);
  }
}

TEST(Funcs, ConvertWeight) {
  struct Case {
    const char* value;
    const char* from;
    const char* to;
    const char* result;
  } cases[] = {
      {"1", "LBR", "KGM", "0.45359237"}, {"1", "KGM", "GRM", "1000"},
      {"1500", "MGM", "GRM", "1.5"},     {"2", "KGM", "MGM", "2000000"},
      {"0.45359237", "KGM", "LBR", "1"}, {"3.5", "GRM", "GRM", "3.5"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.value) + " " + c.from + " -> " + c.to);
    decimal64 v = dec(c.value);
    std::string unit = c.from;
    EXPECT_TRUE(Funcs::convertWeight(&v, &unit, c.to));
    EXPECT_EQ(unit, c.to);
    EXPECT_TRUE(v == dec(c.result)) << ktzDec64ToString(v);
  }
  for (const char* pair : {"XXX>KGM", "KGM>XXX", "kgm>GRM", "KGM>"}) {
    SCOPED_TRACE(pair);
    const std::string p(pair);
    decimal64 v = dec("2.5");
    std::string unit = p.substr(0, p.find('>'));
    const std::string from = unit;
    EXPECT_FALSE(Funcs::convertWeight(&v, &unit, p.substr(p.find('>') + 1)));
    EXPECT_EQ(ktzDec64ToString(v), "2.5");
    EXPECT_EQ(unit, from);
  }
}

TEST(Funcs, CompareToDigits) {
  EXPECT_EQ(Funcs::compare(1.004, 1.0, 2), 0);
  EXPECT_EQ(Funcs::compare(1.01, 1.0, 2), 1);
  EXPECT_EQ(Funcs::compare(1.0, 1.01, 2), -1);
  EXPECT_EQ(Funcs::compare(1.0004f, 1.0f, 3), 0);
  EXPECT_EQ(Funcs::compare(1.5f, 1.0f, 0), 0);
  EXPECT_EQ(Funcs::compare(2.0f, 1.0f, 0), 1);
  EXPECT_EQ(Funcs::compare(140.0, 100.0, -2), 0);
  EXPECT_EQ(Funcs::compare(1.0 / 0.0, 1.0 / 0.0, 2), 0);
}

TEST(Funcs, CalcItemTypeMapping) {
  const int expected[] = {16, 17, 11, 6, 11, 12, 3, 5, 7};
  for (int t = -1; t <= 40; ++t) {
    SCOPED_TRACE(t);
    const int mapped =
        static_cast<int>(Funcs::mapToPreQUV19CalcItemType(static_cast<basket::CalcItemType>(t)));
    EXPECT_EQ(mapped, t >= 19 && t <= 27 ? expected[t - 19] : t);
  }
}

TEST(Funcs, UriHelpers) {
  EXPECT_TRUE(Funcs::isURI("http://example.com/a%20b"));
  EXPECT_TRUE(Funcs::isURI("urn:isbn:0451450523"));
  EXPECT_FALSE(Funcs::isURI("/just/a/path"));
  EXPECT_FALSE(Funcs::isURI("1http://x"));
  EXPECT_FALSE(Funcs::isURI("http://a b"));
  EXPECT_FALSE(Funcs::isURI("http://x/%zz"));
  EXPECT_FALSE(Funcs::isURI("http://x/%4"));
  EXPECT_EQ(Funcs::getNormalizedURI("HTTP://User@Example.COM/a/./b/../c/%7euser/%2f"),
            "http://User@example.com/a/c/~user/%2F");
  EXPECT_EQ(Funcs::getNormalizedURI("http://x/a/b/../../../g"), "http://x/g");
  EXPECT_EQ(Funcs::getNormalizedURI("../a/./b"), "../a/./b");
  EXPECT_EQ(Funcs::getNormalizedURI("file:///tmp/./x?q=%41#f"), "file:///tmp/x?q=A#f");
  EXPECT_EQ(Funcs::escapeForUseInURI("a b/c~\xc3\xa4"), "a%20b%2Fc~%C3%A4");
  EXPECT_EQ(Funcs::unescapePartOfURI("a%20b%2fc%zz%4"), "a b/c%zz%4");
  EXPECT_EQ(Funcs::unescapePartOfURI(Funcs::escapeForUseInURI("x y%z\n")), "x y%z\n");
}
