// ELength and EAngle: factor tables, unit names, the text forms and reading
// numbers in the user's and the classic notation.
#include <kelp/util/utl_EAngle.h>
#include <kelp/util/utl_ELength.h>

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>
#include <string>

using namespace qor::quv;
using types::AngleUnit;
using types::LengthUnit;
using util::EAngle;
using util::ELength;

namespace {

constexpr double kPi = 3.14159265358979323846;

// Sets an environment variable for the life of the object.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const char* value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    if (value)
      setenv(name, value, 1);
    else
      unsetenv(name);
  }
  ~ScopedEnv() {
    if (old_)
      setenv(name_, old_->c_str(), 1);
    else
      unsetenv(name_);
  }

 private:
  const char* name_;
  std::optional<std::string> old_;
};

bool haveGermanLocale() {
  locale_t l = newlocale(LC_NUMERIC_MASK, "de_DE.UTF-8", static_cast<locale_t>(nullptr));
  if (!l) return false;
  freelocale(l);
  return true;
}

}  // namespace

TEST(ELength, ConstructionAndValidity) {
  ELength a;
  EXPECT_EQ(a.getValue(), 0.0);
  EXPECT_EQ(a.getUnit(), types::LU_NONE);
  EXPECT_FALSE(a.isValid());
  ELength b(2.5, types::LU_CM);
  EXPECT_TRUE(b.isValid());
  types::Length rec = b;
  EXPECT_EQ(rec.unit, types::LU_CM);
  ELength c(rec);
  EXPECT_EQ(c.getValue(), 2.5);
  c = types::Length{1.0, types::LU_TWIP};
  EXPECT_EQ(c.getUnit(), types::LU_TWIP);
  EXPECT_TRUE(c.isValid());
  EXPECT_FALSE(ELength(1.0, static_cast<LengthUnit>(11)).isValid());
  EXPECT_FALSE(ELength(INFINITY, types::LU_M).isValid());
  ELength nan = ELength::makeNaN();
  EXPECT_TRUE(std::isnan(nan.getValue()));
  EXPECT_EQ(nan.getUnit(), types::LU_NONE);
  EXPECT_FALSE(nan.isValid());
}

TEST(ELength, Convert) {
  struct Case {
    double value;
    LengthUnit from, to;
    double expected;
  };
  const Case cases[] = {
      {1, types::LU_INCH, types::LU_MM, 25.4},   {1, types::LU_POINT, types::LU_TWIP, 20},
      {1, types::LU_PICA, types::LU_POINT, 12},  {1, types::LU_FEET, types::LU_INCH, 12},
      {1, types::LU_KM, types::LU_CM, 100000},   {3, types::LU_DM, types::LU_M, 0.3},
      {1, types::LU_INCH, types::LU_TWIP, 1440}, {-2, types::LU_M, types::LU_MM, -2000},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.from) + " -> " + std::to_string(c.to));
    EXPECT_NEAR(ELength::convert(c.value, c.from, c.to), c.expected, 1e-9 * std::fabs(c.expected));
  }
  EXPECT_NEAR(ELength(1, types::LU_INCH).convert(types::LU_MM), 25.4, 1e-12);
  EXPECT_TRUE(std::isnan(ELength::convert(1, types::LU_NONE, types::LU_MM)));
  EXPECT_TRUE(std::isnan(ELength::convert(1, types::LU_MM, static_cast<LengthUnit>(11))));
  EXPECT_TRUE(std::isnan(ELength::convert(1, static_cast<LengthUnit>(-3), types::LU_MM)));
}

TEST(ELength, Format) {
  EXPECT_EQ(ELength::formatString(12.5, types::LU_MM, 2), "12.50 mm");
  EXPECT_EQ(ELength::formatString(12.5, types::LU_INCH, 1), "12.5 in");  // the first name
  EXPECT_EQ(ELength::formatString(-3, types::LU_FEET, 0), "-3 ft");
  EXPECT_EQ(ELength::formatString(1, types::LU_TWIP, 3), "1.000 twip");
  EXPECT_EQ(ELength::formatString(2.25, types::LU_PICA, 1), "2.2 pc");
  EXPECT_EQ(ELength::formatString(1234567.5, types::LU_KM, 1), "1234567.5 km");
  EXPECT_EQ(ELength::formatString(1, types::LU_NONE, 2), "");
  EXPECT_EQ(ELength::formatString(1, static_cast<LengthUnit>(11), 2), "");
  EXPECT_EQ(ELength(0.5, types::LU_M).formatString(2), "0.50 m");
  EXPECT_EQ(ELength::formatString(1.5, types::LU_MM, -4), "2 mm");  // no decimals
}

TEST(ELength, FormatIgnoresTheNumericLocale) {
  if (!haveGermanLocale()) GTEST_SKIP() << "locale de_DE.UTF-8 not installed";
  std::string saved = std::setlocale(LC_NUMERIC, nullptr);
  std::setlocale(LC_NUMERIC, "de_DE.UTF-8");
  std::string text = ELength::formatString(12.5, types::LU_MM, 2);
  std::setlocale(LC_NUMERIC, saved.c_str());
  EXPECT_EQ(text, "12.50 mm");
}

TEST(ELength, MatchUnit) {
  struct Case {
    const char* text;
    bool ok;
    LengthUnit unit;
    int length;
  };
  const Case cases[] = {
      {"inch", true, types::LU_INCH, 4},  {"in", true, types::LU_INCH, 2},
      {"  mm x", true, types::LU_MM, 4},  {"m", true, types::LU_M, 1},
      {"min", true, types::LU_M, 1},      {"feet", true, types::LU_FEET, 4},
      {"ft", true, types::LU_FEET, 2},    {"pica", true, types::LU_PICA, 4},
      {"pt", true, types::LU_POINT, 2},   {"points", true, types::LU_POINT, 5},
      {"twips", true, types::LU_TWIP, 4}, {"km2", true, types::LU_KM, 2},
      {"yard", false, types::LU_NONE, 0}, {"", false, types::LU_NONE, 0},
      {"MM", false, types::LU_NONE, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    const char* end = nullptr;
    LengthUnit u = types::LU_NONE;
    EXPECT_EQ(ELength::matchUnit(c.text, &end, &u), c.ok);
    if (c.ok) {
      EXPECT_EQ(u, c.unit);
      EXPECT_EQ(end, c.text + c.length);
    }
  }
}

TEST(ELength, Parse) {
  struct Case {
    const char* text;
    LengthUnit defaultUnit;
    bool withEnd;
    bool ok;
    double value;
    LengthUnit unit;
    int endOffset;
  };
  const Case cases[] = {
      {"12inch", types::LU_NONE, false, true, 12, types::LU_INCH, 0},
      {"12 inch", types::LU_NONE, false, true, 12, types::LU_INCH, 0},
      {"12 in", types::LU_NONE, false, true, 12, types::LU_INCH, 0},
      {" 12.5mm ", types::LU_NONE, false, true, 12.5, types::LU_MM, 0},
      {"12", types::LU_CM, false, true, 12, types::LU_CM, 0},
      {"12", types::LU_NONE, false, false, 0, types::LU_NONE, 0},
      {"-1e3 m", types::LU_NONE, false, true, -1000, types::LU_M, 0},
      {"12 yards", types::LU_M, false, false, 0, types::LU_NONE, 0},
      {"12 yards", types::LU_M, true, true, 12, types::LU_M, 2},
      {"12 mm and more", types::LU_NONE, true, true, 12, types::LU_MM, 5},
      {"mm", types::LU_MM, false, false, 0, types::LU_NONE, 0},
      {"", types::LU_MM, false, false, 0, types::LU_NONE, 0},
      {"12 mm", static_cast<LengthUnit>(11), false, false, 0, types::LU_NONE, 0},
      {"12", types::LU_TWIP, false, true, 12, types::LU_TWIP, 0},
      {"1,5 mm", types::LU_NONE, false, false, 0, types::LU_NONE, 0},  // classic locale
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    types::Length out{7.0, types::LU_KM};
    const char* end = nullptr;
    EXPECT_EQ(ELength::parseString(c.defaultUnit, c.text, c.withEnd ? &end : nullptr, &out), c.ok);
    if (c.ok) {
      EXPECT_DOUBLE_EQ(out.value, c.value);
      EXPECT_EQ(out.unit, c.unit);
      if (c.withEnd) {
        EXPECT_EQ(end, c.text + c.endOffset);
      }
    } else {
      EXPECT_EQ(out.value, 7.0);  // unchanged
      EXPECT_EQ(out.unit, types::LU_KM);
    }
  }
  ELength member(1, types::LU_M);
  EXPECT_TRUE(member.parseString(types::LU_NONE, "3 ft", nullptr));
  EXPECT_EQ(member.getUnit(), types::LU_FEET);
  EXPECT_FALSE(member.parseString(types::LU_NONE, "3", nullptr));
  EXPECT_EQ(member.getValue(), 3.0);
}

TEST(ELength, ParseTheUserDecimalComma) {
  if (!haveGermanLocale()) GTEST_SKIP() << "locale de_DE.UTF-8 not installed";
  ScopedEnv noAll("LC_ALL", nullptr);
  ScopedEnv numeric("LC_NUMERIC", "de_DE.UTF-8");
  std::string before = std::setlocale(LC_NUMERIC, nullptr);
  ASSERT_EQ(before, "C");

  struct Case {
    const char* text;
    bool ok;
    double value;
    LengthUnit unit;
  };
  const Case cases[] = {
      {"12,5 mm", true, 12.5, types::LU_MM},  // the user's notation
      {"12.5 mm", true, 12.5, types::LU_MM},  // the classic one still reads
      {"12.5mm", true, 12.5, types::LU_MM},    {"0,25", true, 0.25, types::LU_CM},  // default unit
      {"12,5.5 mm", false, 0, types::LU_NONE},
  };
  auto run = [&](const char* phase) {
    for (const Case& c : cases) {
      SCOPED_TRACE(std::string(phase) + ": " + c.text);
      types::Length out{0, types::LU_NONE};
      EXPECT_EQ(ELength::parseString(types::LU_CM, c.text, nullptr, &out), c.ok);
      if (c.ok) {
        EXPECT_DOUBLE_EQ(out.value, c.value);
        EXPECT_EQ(out.unit, c.unit);
      }
    }
  };
  // The process runs in the classic numeric locale: the user's conventions
  // are used for the reading only.
  run("classic process locale");
  EXPECT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
  char buf[16];
  std::snprintf(buf, sizeof buf, "%.1f", 1.5);
  EXPECT_STREQ(buf, "1.5");

  // The process itself in the German numeric locale.
  ASSERT_NE(std::setlocale(LC_NUMERIC, "de_DE.UTF-8"), nullptr);
  run("German process locale");
  std::setlocale(LC_NUMERIC, before.c_str());
  EXPECT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
}

TEST(EAngle, ConvertFormatParse) {
  EXPECT_NEAR(EAngle::convert(180, types::AU_DEG, types::AU_RAD), kPi, 1e-15);
  EXPECT_NEAR(EAngle::convert(kPi / 2, types::AU_RAD, types::AU_DEG), 90, 1e-12);
  EXPECT_TRUE(std::isnan(EAngle::convert(1, types::AU_NONE, types::AU_DEG)));
  EXPECT_TRUE(std::isnan(EAngle::convert(1, types::AU_DEG, static_cast<AngleUnit>(3))));
  EXPECT_EQ(EAngle::formatString(90, types::AU_DEG, 2), "90.00 deg");
  EXPECT_EQ(EAngle(1.5, types::AU_RAD).formatString(1), "1.5 rad");
  EXPECT_EQ(EAngle::formatString(1, static_cast<AngleUnit>(3), 1), "");
  EXPECT_TRUE(EAngle(1, types::AU_RAD).isValid());
  EXPECT_FALSE(EAngle(1, static_cast<AngleUnit>(3)).isValid());
  EXPECT_FALSE(EAngle::makeNaN().isValid());
  EXPECT_EQ(EAngle().getUnit(), types::AU_NONE);

  types::Angle out{0, types::AU_NONE};
  EXPECT_TRUE(EAngle::parseString(types::AU_NONE, "45deg", nullptr, &out));
  EXPECT_EQ(out.value, 45);
  EXPECT_EQ(out.unit, types::AU_DEG);
  EXPECT_TRUE(EAngle::parseString(types::AU_RAD, " 0.5 ", nullptr, &out));
  EXPECT_EQ(out.unit, types::AU_RAD);
  EXPECT_FALSE(EAngle::parseString(types::AU_NONE, "0.5", nullptr, &out));
  EXPECT_FALSE(EAngle::parseString(static_cast<AngleUnit>(3), "1 deg", nullptr, &out));
  EXPECT_FALSE(EAngle::parseString(types::AU_DEG, "1 mm", nullptr, &out));
  AngleUnit u;
  const char* end;
  EXPECT_TRUE(EAngle::matchUnit(" rad!", &end, &u));
  EXPECT_EQ(u, types::AU_RAD);
  EXPECT_STREQ(end, "!");
  EXPECT_FALSE(EAngle::matchUnit("mm", &end, &u));
  EAngle a;
  EXPECT_TRUE(a.parseString(types::AU_NONE, "3 rad", nullptr));
  EXPECT_NEAR(a.convert(types::AU_DEG), 3 * 180 / kPi, 1e-12);
}
