// The HTML 4.01 entity table: size, known values, both lookups.
#include <gtest/gtest.h>
#include <kelp/xml/sax/sax_HTML4Entities.h>

#include <cstring>
#include <set>
#include <string>

using qor::quv::xml::sax::HTML4Entities;

TEST(HTML4Entities, HoldsTheWholeSetInDeclarationOrder) {
  ASSERT_EQ(HTML4Entities::Count, 252);
  // The three sets follow one another: Latin-1 first, then the symbols,
  // then the special characters, which end with the euro sign.
  EXPECT_STREQ(HTML4Entities::entry(0).name, "nbsp");
  EXPECT_EQ(HTML4Entities::entry(95).codePoint, 255u);
  EXPECT_STREQ(HTML4Entities::entry(96).name, "fnof");
  EXPECT_STREQ(HTML4Entities::entry(219).name, "diams");
  EXPECT_STREQ(HTML4Entities::entry(220).name, "quot");
  EXPECT_STREQ(HTML4Entities::entry(251).name, "euro");
  // The Latin-1 set covers U+00A0 to U+00FF one by one.
  for (int i = 0; i < 96; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(HTML4Entities::entry(i).codePoint, 160u + static_cast<unsigned>(i));
  }
}

TEST(HTML4Entities, OutOfRangeEntryIsEmpty) {
  for (int i : {-1, 252, 1000}) {
    SCOPED_TRACE(i);
    ASSERT_NE(HTML4Entities::entry(i).name, nullptr);
    EXPECT_STREQ(HTML4Entities::entry(i).name, "");
    EXPECT_EQ(HTML4Entities::entry(i).codePoint, 0u);
  }
}

TEST(HTML4Entities, KnownNames) {
  struct Case {
    const char* name;
    unsigned int codePoint;
  };
  const Case cases[] = {
      {"nbsp", 160},   {"eacute", 233}, {"OElig", 338},  {"euro", 8364},    {"hellip", 8230},
      {"trade", 8482}, {"diams", 9830}, {"quot", 34},    {"amp", 38},       {"lt", 60},
      {"gt", 62},      {"Eacute", 201}, {"sigmaf", 962}, {"alefsym", 8501}, {"zwnj", 8204},
      {"yuml", 255},   {"Yuml", 376},   {"fnof", 402},   {"rang", 9002},    {"thetasym", 977},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(HTML4Entities::lookup(c.name), c.codePoint);
    EXPECT_STREQ(HTML4Entities::nameOf(c.codePoint), c.name);
  }
}

TEST(HTML4Entities, UnknownNames) {
  // XML's own apos is not part of HTML 4; names are case-sensitive and must
  // match whole.
  for (const char* name :
       {"apos", "", "EURO", "eacut", "eacutee", "nbsp;", "&nbsp", " nbsp", "zzzz", "AElig2"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(HTML4Entities::lookup(name), 0u);
  }
  EXPECT_EQ(HTML4Entities::lookup(nullptr), 0u);
  EXPECT_EQ(HTML4Entities::lookup(nullptr, 4), 0u);
}

TEST(HTML4Entities, CountedLookupNeedsNoTerminator) {
  const char text[] = "eacute;rest";
  EXPECT_EQ(HTML4Entities::lookup(text, 6), 233u);
  EXPECT_EQ(HTML4Entities::lookup(text, 5), 0u);  // "eacut"
  EXPECT_EQ(HTML4Entities::lookup(text, 7), 0u);  // "eacute;"
  EXPECT_EQ(HTML4Entities::lookup("ltx", 2), 60u);
  EXPECT_EQ(HTML4Entities::lookup("lt", 0), 0u);
}

TEST(HTML4Entities, UnknownCodePoints) {
  for (unsigned int cp : {0u, 39u, 65u, 159u, 256u, 930u, 8365u, 9831u, 0x10FFFFu, 0xFFFFFFFFu}) {
    SCOPED_TRACE(cp);
    EXPECT_EQ(HTML4Entities::nameOf(cp), nullptr);
  }
}

TEST(HTML4Entities, NamesAndCodePointsAreUniqueAndMapBothWays) {
  std::set<std::string> names;
  std::set<unsigned int> codes;
  for (int i = 0; i < HTML4Entities::Count; ++i) {
    const HTML4Entities::Entry& e = HTML4Entities::entry(i);
    SCOPED_TRACE(e.name);
    ASSERT_NE(e.name, nullptr);
    ASSERT_GT(std::strlen(e.name), 0u);
    EXPECT_TRUE(names.insert(e.name).second) << "duplicate name";
    EXPECT_TRUE(codes.insert(e.codePoint).second) << "duplicate code point";
    EXPECT_EQ(HTML4Entities::lookup(e.name), e.codePoint);
    EXPECT_STREQ(HTML4Entities::nameOf(e.codePoint), e.name);
  }
  EXPECT_EQ(names.size(), 252u);
  EXPECT_EQ(codes.size(), 252u);
}
