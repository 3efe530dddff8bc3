// Unit names in the user's language: started with LC_ALL set to a German or
// French locale, the program takes the environment's locale and checks that
// lengths and angles are written and read with the translated names.
#include <kelp/util/utl_EAngle.h>
#include <kelp/util/utl_ELength.h>

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <string>

using namespace qor::quv;
using util::EAngle;
using util::ELength;

namespace {

std::string language() {
  const char* l = std::setlocale(LC_MESSAGES, nullptr);
  return l ? std::string(l, strnlen(l, 2)) : std::string();
}

struct Parsed {
  bool ok;
  double value;
  int unit;
};

Parsed parseLength(const char* text) {
  types::Length out{0, types::LU_NONE};
  bool ok = ELength::parseString(types::LU_NONE, text, nullptr, &out);
  return {ok, out.value, out.unit};
}

}  // namespace

TEST(UnitNames, German) {
  if (language() != "de") GTEST_SKIP() << "not started in a German locale";
  EXPECT_EQ(ELength::formatString(2.5, types::LU_INCH, 1), "2.5 Zoll");
  EXPECT_EQ(ELength::formatString(3, types::LU_FEET, 0), "3 Fuß");
  EXPECT_EQ(ELength::formatString(12.5, types::LU_MM, 2), "12.50 mm");
  EXPECT_EQ(ELength::formatString(1, types::LU_PICA, 0), "1 Pica");
  // A name that does not begin with a letter is joined without a blank.
  EXPECT_EQ(EAngle::formatString(90, types::AU_DEG, 0), "90°");
  EXPECT_EQ(EAngle::formatString(1.5, types::AU_RAD, 1), "1.5 rad");

  struct Case {
    const char* text;
    Parsed expected;
  };
  const Case cases[] = {
      {"12 Zoll", {true, 12, types::LU_INCH}},
      {"12,5 Zoll", {true, 12.5, types::LU_INCH}},  // the German decimal comma
      {"12.5 Zoll", {true, 12.5, types::LU_INCH}},  // and the classic point
      {"3 Fuß", {true, 3, types::LU_FEET}},
      {"2 Punkt", {true, 2, types::LU_POINT}},
      {"2 Pt", {true, 2, types::LU_POINT}},
      {"1,25 km", {true, 1.25, types::LU_KM}},
      {"12 inch", {false, 0, 0}},  // only the translated names are known
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    Parsed p = parseLength(c.text);
    EXPECT_EQ(p.ok, c.expected.ok);
    if (c.expected.ok) {
      EXPECT_DOUBLE_EQ(p.value, c.expected.value);
      EXPECT_EQ(p.unit, c.expected.unit);
    }
  }
  types::Angle a{0, types::AU_NONE};
  EXPECT_TRUE(EAngle::parseString(types::AU_NONE, "45°", nullptr, &a));
  EXPECT_EQ(a.unit, types::AU_DEG);
  EXPECT_EQ(a.value, 45);
}

TEST(UnitNames, French) {
  if (language() != "fr") GTEST_SKIP() << "not started in a French locale";
  EXPECT_EQ(ELength::formatString(2.5, types::LU_INCH, 1), "2.5 po");
  EXPECT_EQ(ELength::formatString(3, types::LU_FEET, 0), "3 pi");
  EXPECT_EQ(EAngle::formatString(90, types::AU_DEG, 0), "90°");
  // "pica" is longer than "pi" (feet) and wins.
  Parsed p = parseLength("4 pica");
  EXPECT_TRUE(p.ok);
  EXPECT_EQ(p.unit, types::LU_PICA);
  p = parseLength("4 pi");
  EXPECT_TRUE(p.ok);
  EXPECT_EQ(p.unit, types::LU_FEET);
  p = parseLength("1,5 pouce");
  EXPECT_TRUE(p.ok);
  EXPECT_DOUBLE_EQ(p.value, 1.5);
  EXPECT_EQ(p.unit, types::LU_INCH);
}

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  unsetenv("LANGUAGE");
  if (!std::setlocale(LC_ALL, "")) {
    std::fprintf(stderr, "locale of the environment not installed; skipped\n");
    return 77;
  }
  return RUN_ALL_TESTS();
}
