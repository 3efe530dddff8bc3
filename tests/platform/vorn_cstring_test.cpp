// Locale-independent number reading and the C string literal form.
#include <vorn/vorn_cstring.h>

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstring>
#include <random>
#include <string>

TEST(GParseCDouble, ReadsWhatStrtodReadsInTheClassicLocale) {
  struct Case {
    const char* text;
    double value;
    int consumed;
  };
  const Case cases[] = {
      {"1.5", 1.5, 3}, {"  -2e3x", -2000, 6}, {"1,5", 1, 1}, {".25", 0.25, 3},
      {"0x10", 16, 4}, {"abc", 0, 0},         {"", 0, 0},    {"+7.", 7, 3},
      {"1e", 1, 1},    {"-", 0, 0},
  };
  auto check = [&](const char* phase) {
    for (const Case& c : cases) {
      SCOPED_TRACE(std::string(phase) + ": " + c.text);
      const char* end = nullptr;
      EXPECT_EQ(gParseCDouble(c.text, &end), c.value);
      EXPECT_EQ(end, c.text + c.consumed);
    }
    const char* end = nullptr;
    EXPECT_TRUE(std::isinf(gParseCDouble("inf", &end)));
    EXPECT_TRUE(std::isnan(gParseCDouble("nan", &end)));
  };
  check("classic");
  std::string saved = std::setlocale(LC_NUMERIC, nullptr);
  if (std::setlocale(LC_NUMERIC, "de_DE.UTF-8")) {
    check("German numeric locale");
    std::setlocale(LC_NUMERIC, saved.c_str());
  }
  const char* end = reinterpret_cast<const char*>(1);
  EXPECT_EQ(gParseCDouble(nullptr, &end), 0.0);
  EXPECT_EQ(end, nullptr);
}

TEST(GConvertToCString, Escapes) {
  struct Case {
    std::string bytes;
    const char* literal;
  };
  const Case cases[] = {
      {"", "\"\""},
      {"plain text", "\"plain text\""},
      {"a\"b\\c", "\"a\\\"b\\\\c\""},
      {"\a\b\t\n\v\f\r", "\"\\a\\b\\t\\n\\v\\f\\r\""},
      {std::string("\0"
                   "1",
                   2),
       "\"\\0001\""},  // always three digits
      {"\x7f\x80\xff", "\"\\177\\200\\377\""},
      {"'?", "\"'?\""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.literal);
    EXPECT_EQ(gConvertToCString(c.bytes), c.literal);
    EXPECT_EQ(gConvertToCString(c.bytes.data(), c.bytes.size()), c.literal);
  }
}

TEST(GParseCString, AcceptsAndRejects) {
  struct Case {
    const char* text;
    bool ok;
    std::string bytes;
    int consumed;
  };
  const Case cases[] = {
      {"\"abc\"", true, "abc", 5},
      {" \t\"abc\" rest", true, "abc", 7},
      {"\"\"", true, "", 2},
      {"\"\\\"\\'\\?\\\\\"", true, "\"'?\\", 10},
      {"\"\\a\\b\\f\\n\\r\\t\\v\"", true, "\a\b\f\n\r\t\v", 16},
      {"\"\\0\"", true, std::string(1, '\0'), 4},
      {"\"\\1234\"", true, "S4", 7},  // at most three octal digits
      {"\"\\377\"", true, "\xff", 6},
      {"\"\\x41\\x4a\\xf\"", true, "AJ\x0f", 13},
      {"\"\\x414\"", true, "A4", 7},  // at most two hex digits
      {"\"raw\nline\"", true, "raw\nline", 10},
      {"abc", false, "", 0},
      {"\"abc", false, "", 0},
      {"\"abc\\\"", false, "", 0},
      {"\"\\q\"", false, "", 0},
      {"\"\\400\"", false, "", 0},
      {"\"\\x\"", false, "", 0},
      {"\"\\", false, "", 0},
      {"", false, "", 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    std::string out = "unchanged";
    const char* end = nullptr;
    EXPECT_EQ(gParseCString(c.text, &end, &out), c.ok);
    if (c.ok) {
      EXPECT_EQ(out, c.bytes);
      EXPECT_EQ(end, c.text + c.consumed);
    } else {
      EXPECT_EQ(out, "unchanged");
      EXPECT_EQ(end, nullptr);
    }
  }
  EXPECT_FALSE(gParseCString(nullptr, nullptr, nullptr));
}

// Property: reading the literal of any byte string gives the bytes back, and
// the reader stops exactly at the end of the literal.
TEST(GParseCString, InverseOfGConvertToCStringOnRandomBytes) {
  std::mt19937 rng(20261121);
  std::uniform_int_distribution<int> len(0, 64), byte(0, 255), pick(0, 9);
  const std::string alphabet = "\"\\0178x\n?";
  for (int i = 0; i < 5000; ++i) {
    std::string bytes;
    int n = len(rng);
    for (int k = 0; k < n; ++k) {
      // Mix uniformly random bytes with the characters escapes are made of.
      bytes += pick(rng) < 3 ? alphabet[static_cast<std::size_t>(byte(rng)) % alphabet.size()]
                             : static_cast<char>(byte(rng));
    }
    std::string literal = gConvertToCString(bytes);
    std::string text = literal + "tail";
    std::string back;
    const char* end = nullptr;
    ASSERT_TRUE(gParseCString(text.c_str(), &end, &back)) << literal;
    ASSERT_EQ(back, bytes) << literal;
    ASSERT_EQ(end, text.c_str() + literal.size());
    // The literal holds printable ASCII only.
    for (char c : literal) ASSERT_TRUE(c >= 0x20 && c <= 0x7e);
  }
}
