// EVersion and EVersion2: reading, order, common prefix and text forms.
#include <kelp/util/utl_EVersion.h>
#include <kelp/util/utl_EVersion2.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

using namespace qor::quv;
using util::EVersion;
using util::EVersion2;

namespace {

std::string fields(const EVersion2& v) {
  return std::to_string(v.getMajor()) + "/" + std::to_string(v.getMinor()) + "/" +
         std::to_string(v.getLevel()) + "/" + std::to_string(v.getPatchLevel());
}

EVersion2 v2(const char* s) {
  EVersion2 v;
  EXPECT_TRUE(v.parseString(s, nullptr)) << s;
  return v;
}

}  // namespace

TEST(EVersion, NullAndAccessors) {
  EVersion v;
  EXPECT_TRUE(v.isNull());
  v.set(1, 2, 3);
  EXPECT_FALSE(v.isNull());
  EXPECT_EQ(v.getMajor(), 1);
  EXPECT_EQ(v.getMinor(), 2);
  EXPECT_EQ(v.getSubMinor(), 3);
  types::Version rec{};
  v.copy(&rec, true);
  EXPECT_EQ(rec.major, 1);
  EXPECT_EQ(rec.subMinor, 3);
  EVersion w(rec);
  EXPECT_EQ(w.compare(v), 0);
  w = types::Version{4, 5, 6};
  EXPECT_EQ(w.formatString(), "4.5.6");
  w.setNull();
  EXPECT_TRUE(w.isNull());
}

TEST(EVersion, Parse) {
  struct Case {
    const char* text;
    bool withEnd;
    bool ok;
    const char* value;  // formatString on success
    int endOffset;      // where *end stops (with end pointer)
  };
  const Case cases[] = {
      {"1.2.3", false, true, "1.2.3", 0},
      {" 1.2.3 ", false, true, "1.2.3", 0},
      {"\t10.20.30\n", false, true, "10.20.30", 0},
      {"1.2", false, false, nullptr, 0},
      {"1. 2.3", false, false, nullptr, 0},
      {"1.2.40000", false, false, nullptr, 0},
      {"1.2.32767", false, true, "1.2.32767", 0},
      {"1.2.32768", false, false, nullptr, 0},
      {"1.2.3x", false, false, nullptr, 0},
      {"1..2.3", false, false, nullptr, 0},
      {"v1.2.3", false, false, nullptr, 0},
      {"-1.2.3", false, false, nullptr, 0},
      {"", false, false, nullptr, 0},
      {"1.2.3x", true, true, "1.2.3", 5},
      {" 1.2.3 rest", true, true, "1.2.3", 6},
      {"1.2", true, false, nullptr, 0},
      {"1.2.99999999999999999999", true, false, nullptr, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    EVersion v(7, 7, 7);
    const char* end = reinterpret_cast<const char*>(0x1);
    bool ok = v.parseString(c.text, c.withEnd ? &end : nullptr);
    EXPECT_EQ(ok, c.ok);
    EXPECT_EQ(v.formatString(), c.ok ? c.value : "7.7.7");
    if (c.withEnd) {
      EXPECT_EQ(end, c.text + c.endOffset);
    }
  }
}

TEST(EVersion, Compare) {
  EXPECT_EQ(EVersion(1, 2, 3).compare(EVersion(1, 2, 3)), 0);
  EXPECT_EQ(EVersion(1, 2, 3).compare(EVersion(1, 2, 4)), -1);
  EXPECT_EQ(EVersion(1, 3, 0).compare(EVersion(1, 2, 9)), 1);
  EXPECT_EQ(EVersion(2, 0, 0).compare(EVersion(10, 0, 0)), -1);
  EXPECT_EQ(EVersion(-1, 0, 0).compare(EVersion(0, 0, 0)), -1);  // signed
  EXPECT_EQ(EVersion(-1, 0, 0).formatString(), "-1.0.0");
}

TEST(EVersion2, NullAndPrecision) {
  EVersion2 v;
  EXPECT_TRUE(v.isNull());
  EXPECT_EQ(v.getPrecision(), 0);
  EXPECT_EQ(v.patchLevel, 65535);  // the 16-bit pattern of -1
  EXPECT_EQ(fields(v), "-1/-1/-1/-1");
  EXPECT_EQ(EVersion2(2, -1, types::VL_UNSPECIFIED, -1).getPrecision(), 1);
  EXPECT_EQ(EVersion2(2, 1, types::VL_UNSPECIFIED, -1).getPrecision(), 2);
  EXPECT_EQ(EVersion2(2, 1, types::VL_BETA, -1).getPrecision(), 3);
  EXPECT_EQ(EVersion2(2, 1, types::VL_BETA, 4).getPrecision(), 4);
  types::Version2 rec{};
  EVersion2(2, 1, types::VL_RC, 3).copy(&rec, false);
  EXPECT_EQ(rec.level, types::VL_RC);
  EXPECT_EQ(rec.patchLevel, 3);
  EVersion2 w(rec);
  EXPECT_EQ(w.formatString(4), "2.1rc3");
  w.setNull();
  EXPECT_TRUE(w.isNull());
}

TEST(EVersion2, Parse) {
  struct Case {
    const char* text;
    bool withEnd;
    bool ok;
    const char* fields;
    int endOffset;
  };
  const Case cases[] = {
      {"2.1", false, true, "2/1/-1/-1", 0},
      {" 2.1 ", false, true, "2/1/-1/-1", 0},
      {"2.1b", false, true, "2/1/1/-1", 0},
      {"2.1beta3", false, true, "2/1/1/3", 0},
      {"2.1b3", false, true, "2/1/1/3", 0},
      {"2.1a", false, true, "2/1/0/-1", 0},
      {"2.1alpha 2", false, false, nullptr, 0},
      {"2.1alpha2", false, true, "2/1/0/2", 0},
      {"2.1rc1", false, true, "2/1/2/1", 0},
      {"2.1rc", false, true, "2/1/2/-1", 0},
      {"2.1.5", false, true, "2/1/3/5", 0},
      {"2.1final", false, true, "2/1/3/-1", 0},
      {"2.1final ", false, true, "2/1/3/-1", 0},
      {"2.1final5", false, false, nullptr, 0},  // "final" must end the word
      {"2.1betax", false, false, nullptr, 0},
      {"2.1bx", false, false, nullptr, 0},
      {"2.1x", false, false, nullptr, 0},
      {"2.1.", false, false, nullptr, 0},
      {"2", false, false, nullptr, 0},  // a bare major needs an end pointer
      {"2 ", false, false, nullptr, 0},
      {"2", true, true, "2/-1/-1/-1", 1},
      {"  7 rest", true, true, "7/-1/-1/-1", 3},
      {"2.x", true, true, "2/-1/-1/-1", 1},
      {"2.1x", true, true, "2/1/-1/-1", 3},
      {"2.1b3 tail", true, true, "2/1/1/3", 5},
      {"32768", true, false, nullptr, 0},
      {"2.32768", false, false, nullptr, 0},
      {"2.1.32768", false, false, nullptr, 0},
      {"2.1.32767", false, true, "2/1/3/32767", 0},
      {"", false, false, nullptr, 0},
      {"x2.1", true, false, nullptr, 0},
      {"2.1B", false, false, nullptr, 0},  // level words are lower case
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    EVersion2 v(9, 9, types::VL_FINAL, 9);
    const char* end = reinterpret_cast<const char*>(0x1);
    EXPECT_EQ(v.parseString(c.text, c.withEnd ? &end : nullptr), c.ok);
    EXPECT_EQ(fields(v), c.ok ? c.fields : "9/9/3/9");
    if (c.withEnd) {
      EXPECT_EQ(end, c.text + c.endOffset);
    }
  }
  EXPECT_EQ(v2("2.1beta3").compare(v2("2.1b3")), 0);
}

TEST(EVersion2, Format) {
  struct Case {
    const char* text;
    int precision;
    const char* out;
  };
  const Case cases[] = {
      {"2.1", 4, "2.1"},         {"2.1b", 4, "2.1beta"},   {"2.1final", 4, "2.1final"},
      {"2.1.5", 4, "2.1.5"},     {"2.1rc3", 4, "2.1rc3"},  {"2.1a1", 4, "2.1alpha1"},
      {"2.1b3", 3, "2.1beta"},   {"2.1.5", 3, "2.1final"}, {"2.1.5", 2, "2.1"},
      {"2.1.5", 1, "2"},         {"2.1.5", 0, "2"},        {"2.1.5", -3, "2"},
      {"2.1b3", 99, "2.1beta3"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.text) + " @" + std::to_string(c.precision));
    EXPECT_EQ(v2(c.text).formatString(c.precision), c.out);
  }
  EXPECT_EQ(EVersion2().formatString(4), "-1");
  // A level outside alpha..final has no word.
  EXPECT_EQ(EVersion2(2, 1, static_cast<types::VersionLevel>(7), 1).formatString(4), "");
  EXPECT_EQ(EVersion2(2, 1, static_cast<types::VersionLevel>(7), -1).formatString(3), "");
  EXPECT_EQ(EVersion2(2, 1, static_cast<types::VersionLevel>(7), 1).formatString(2), "2.1");
}

TEST(EVersion2, CompareMagnitudes) {
  struct Case {
    const char* a;
    const char* b;
    int result;
  };
  const Case cases[] = {
      {"2.1", "2.1.5", -1},  {"2.1b1", "2.1.5", -2},    {"2.1.5", "2.1", 1},
      {"2.1.5", "2.1.5", 0}, {"2.1.5", "2.1.7", -2},    {"2.2", "2.1.7", 2},
      {"2.1b", "2.1b2", -1}, {"2.1rc2", "2.1rc", 1},    {"3.0", "2.9", 2},
      {"2.1a", "2.1b", -2},  {"2.1final", "2.1.0", -1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.a) + " vs " + c.b);
    EXPECT_EQ(v2(c.a).compare(v2(c.b)), c.result);
    EXPECT_EQ(v2(c.b).compare(v2(c.a)), -c.result);
  }
  EVersion2 bare;
  const char* end;
  ASSERT_TRUE(bare.parseString("2", &end));
  EXPECT_EQ(bare.compare(v2("2.1")), -1);
  EXPECT_EQ(EVersion2::cmp(-1, 5), -1);
  EXPECT_EQ(EVersion2::cmp(0, 5), -2);
  EXPECT_EQ(EVersion2::cmp(5, -1), 1);
  EXPECT_EQ(EVersion2::cmp(5, 0), 2);
  EXPECT_EQ(EVersion2::cmp(3, 3), 0);
}

TEST(EVersion2, Merge) {
  struct Case {
    const char* a;
    const char* b;
    const char* fields;
  };
  const Case cases[] = {
      {"2.1.5", "2.1.7", "2/1/3/-1"},    {"2.1.5", "2.2.5", "2/-1/-1/-1"},
      {"2.1.5", "3.1.5", "-1/-1/-1/-1"}, {"2.1b2", "2.1.2", "2/1/-1/-1"},
      {"2.1rc1", "2.1rc1", "2/1/2/1"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.a) + " with " + c.b);
    EVersion2 v = v2(c.a);
    v.merge(v2(c.b));
    EXPECT_EQ(fields(v), c.fields);
  }
  EVersion2 v = v2("2.1.5");
  v.merge(v2("2.1.7"));
  EXPECT_EQ(v.formatString(4), "2.1final");
  v.merge(v2("2.2.5"));
  EXPECT_EQ(v.getPrecision(), 1);
  EXPECT_EQ(v.formatString(4), "2");
  EXPECT_TRUE(EVersion2::endOfV(""));
  EXPECT_TRUE(EVersion2::endOfV(" x"));
  EXPECT_FALSE(EVersion2::endOfV("1"));
  EXPECT_TRUE(EVersion2::endOfVT("1"));
  EXPECT_FALSE(EVersion2::endOfVT("x"));
}
