// EClassification: the escaped text form gives every record back; each
// malformed form is refused with its message.
#include <kelp/util/utl_EClassification.h>

#include <gtest/gtest.h>

#include <random>

using qor::quv::basket::EClassification;

TEST(EClassification, EscapesReservedCharactersInEveryField) {
  EClassification c("ECL/ASS", "13:0", "21;04");
  c.addFeature("col=our", "red%\nblue");
  EXPECT_EQ(c.formatString(), "ECL%2FASS/13%3A0:21%3B04;col%3Dour=red%25%0Ablue");
}

TEST(EClassification, RoundTripsGeneratedRecords) {
  // Fields drawn from an alphabet dense in separators, escapes and
  // control characters, so that every escaping rule is exercised.
  static const char kAlphabet[] = "%/:;=ab\x01\x7f\xc3\xa9 0F";
  const std::string alphabet(kAlphabet, sizeof kAlphabet - 1);
  std::mt19937 rng(23);
  auto field = [&](bool nonEmpty) {
    std::string s;
    const int n = static_cast<int>(rng() % 6) + (nonEmpty ? 1 : 0);
    for (int i = 0; i < n; ++i) s += alphabet[rng() % alphabet.size()];
    return s;
  };
  for (int i = 0; i < 2000; ++i) {
    EClassification c(field(true), field(false), field(true));
    for (int f = static_cast<int>(rng() % 3); f > 0; --f) c.addFeature(field(true), field(false));
    const std::string text = c.formatString();
    EClassification back;
    std::string error;
    ASSERT_TRUE(back.parseString(text, &error)) << text << ": " << error;
    ASSERT_EQ(back, c) << text;
  }
}

TEST(EClassification, RefusesMalformedTexts) {
  const struct {
    const char* text;
    const char* message;
  } cases[] = {
      {"ECLASS", "no '/' after the system id"},
      {"ECLASS/13", "no ':' after the system version"},
      {"/13:1", "the system id is empty"},
      {"ECLASS/13:", "the class code is empty"},
      {"ECLASS/13:1:2", "unescaped '/', ':' or '=' in the class code"},
      {"ECLASS/1/3:1", "unescaped '/', ':' or '=' in the system version"},
      {"ECLASS/13:%4", "bad '%' escape in the class code"},
      {"ECLASS/13:%G0", "bad '%' escape in the class code"},
      {"ECLASS/13:1;colour", "feature 'colour' has no '='"},
      {"ECLASS/13:1;=red", "a feature name is empty"},
      {"ECLASS/13:1;a=b=c", "unescaped '/', ':' or '=' in the feature value"},
      {"ECLASS/13:1\n", "control characters must be escaped"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EClassification r("S", "V", "C");
    std::string error;
    EXPECT_FALSE(r.parseString(c.text, &error));
    EXPECT_EQ(error, "classification '" + EClassification::escape(c.text) + "': " + c.message);
    EXPECT_EQ(r, EClassification("S", "V", "C"));
  }
}
