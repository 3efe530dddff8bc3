// EUUID: creation, ordering, the parser's group rules and the three text
// forms.
#define QUV_SOURCE_NAME "utl_EUUID_test"
#include <kelp/util/utl_EUUID.h>

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>

using namespace qor::quv::util;

namespace {

const EUUID kDns("6ba7b810-9dad-11d1-80b4-00c04fd430c8");
const EUUID kUrl("6ba7b811-9dad-11d1-80b4-00c04fd430c8");

}  // namespace

TEST(EUUID, DefaultIsNullAndSetNullClears) {
  EUUID u;
  EXPECT_TRUE(u.isNull());
  EXPECT_EQ(u.formatString(), "00000000-0000-0000-0000-000000000000");
  EXPECT_EQ(u.formatString(true), std::string(32, '0'));
  EXPECT_EQ(u.formatBase64(), std::string(22, 'A'));
  ASSERT_TRUE(u.create());
  EXPECT_FALSE(u.isNull());
  u.setNull();
  EXPECT_TRUE(u.isNull());
  ZobUUID raw = kDns;
  EXPECT_FALSE(EUUID::isNull(raw));
  EUUID::setNull(raw);
  EXPECT_TRUE(EUUID::isNull(raw));
  // Any single bit set makes a UUID non-null.
  for (int byte = 0; byte < 16; ++byte) {
    SCOPED_TRACE(byte);
    ZobUUID one{};
    reinterpret_cast<unsigned char*>(&one)[byte] = 0x80;
    EXPECT_FALSE(EUUID::isNull(one));
  }
}

TEST(EUUID, CreateMakesDistinctVersion4UUIDs) {
  std::set<std::string> seen;
  for (int i = 0; i < 32; ++i) {
    EUUID u;
    ASSERT_TRUE(u.create());
    std::string text = u.formatString();
    EXPECT_EQ(text[14], '4') << text;
    EXPECT_NE(std::strchr("89ab", text[19]), nullptr) << text;
    EXPECT_TRUE(seen.insert(text).second);
    ZobUUID raw{};
    ASSERT_TRUE(EUUID::create(raw));
    EXPECT_EQ(raw.timeHiAndVersion >> 12, 4);
    EXPECT_NE(EUUID(raw), u);
  }
}

TEST(EUUID, NameBasedUUIDsMatchPublishedResults) {
  struct Case {
    const EUUID* ns;
    const char* name;
    const char* expected;
  } cases[] = {
      {&kDns, "python.org", "886313e1-3b8a-5372-9b90-0c9aee199e5d"},
      {&kUrl, "http://python.org/", "4c565f0d-3f5a-5890-b41b-20cf47701c5e"},
      {&kDns, "", "4ebd0208-8328-5d69-8c44-ec50939c0967"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EUUID u;
    ASSERT_TRUE(u.createFromName(*c.ns, c.name, std::strlen(c.name)));
    EXPECT_EQ(u.formatString(), c.expected);
    ZobUUID raw{};
    ASSERT_TRUE(EUUID::createFromName(raw, *c.ns, c.name, std::strlen(c.name)));
    EXPECT_EQ(EUUID::formatString(raw), c.expected);
  }
  // A null name with a length is refused and leaves the null UUID.
  EUUID u = kDns;
  EXPECT_FALSE(u.createFromName(kDns, nullptr, 3));
  EXPECT_TRUE(u.isNull());
}

TEST(EUUID, ComparisonOperatorsFollowCompare) {
  const EUUID lo("00000000-0000-0000-0000-0000000000ff");
  const EUUID mid("00000000-0000-0000-0001-000000000000");
  const EUUID hi("ffffffff-0000-0000-0000-000000000000");
  const EUUID ordered[] = {EUUID(), lo, mid, kDns, kUrl, hi};
  constexpr int n = sizeof ordered / sizeof ordered[0];
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < n; ++j) {
      SCOPED_TRACE(testing::Message() << i << " vs " << j);
      const EUUID& a = ordered[i];
      const ZobUUID& b = ordered[j];
      EXPECT_EQ(a.compare(b) < 0, i < j);
      EXPECT_EQ(EUUID::compare(a, b) > 0, i > j);
      EXPECT_EQ(a == b, i == j);
      EXPECT_EQ(a != b, i != j);
      EXPECT_EQ(a < b, i < j);
      EXPECT_EQ(a <= b, i <= j);
      EXPECT_EQ(a >= b, i >= j);
      EXPECT_EQ(a > b, i > j);
    }
}

TEST(EUUID, ParseAcceptsTheGroupsAfterLeadingSpace) {
  struct Case {
    const char* text;
    const char* expected;  // formatted result
    size_t consumed;
  } cases[] = {
      {"  123e4567-e89b-12d3-a456-426614174000xyz", "123e4567-e89b-12d3-a456-426614174000", 38},
      {"123E4567-E89B-12D3-A456-42661417400F", "123e4567-e89b-12d3-a456-42661417400f", 36},
      {"\t\n\v\f\r 00000000-0000-0000-0000-000000000000", "00000000-0000-0000-0000-000000000000",
       42},
      {"ffffffff-ffff-ffff-ffff-ffffffffffff-", "ffffffff-ffff-ffff-ffff-ffffffffffff", 36},
      // Trailing digits are not examined.
      {"123e4567-e89b-12d3-a456-4266141740001", "123e4567-e89b-12d3-a456-426614174000", 36},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    EUUID u;
    const char* end = nullptr;
    ASSERT_TRUE(u.parseString(c.text, &end));
    EXPECT_EQ(u.formatString(), c.expected);
    EXPECT_EQ(end, c.text + c.consumed);
    EXPECT_EQ(EUUID(c.text).formatString(), c.expected);
    EXPECT_EQ(EUUID(std::string(c.text)).formatString(), c.expected);
    ZobUUID raw{};
    ASSERT_TRUE(EUUID::parseString(raw, c.text));
    EXPECT_EQ(EUUID::formatString(raw), c.expected);
  }
  EUUID u;
  ASSERT_TRUE(u.parseString("123e4567-e89b-12d3-a456-426614174000"));
  EXPECT_EQ(u.get().timeLow, 0x123e4567u);
  EXPECT_EQ(u.get().timeMid, 0xe89b);
  EXPECT_EQ(u.get().timeHiAndVersion, 0x12d3);
  EXPECT_EQ(u.get().clockSeqHiAndReserved, 0xa4);
  EXPECT_EQ(u.get().clockSeqLow, 0x56);
  const unsigned char node[6] = {0x42, 0x66, 0x14, 0x17, 0x40, 0x00};
  EXPECT_EQ(std::memcmp(u.get().node, node, 6), 0);
}

TEST(EUUID, ParseFailuresLeaveUUIDAndEndAlone) {
  const char* bad[] = {
      "",
      "   ",
      "123e4567e89b-12d3-a456-426614174000",    // hyphen missing after 8
      "123e456-e89b-12d3-a456-426614174000",    // 7 digits
      "123e45678-e89b-12d3-a456-426614174000",  // 9 digits
      "123e4567-e89b12d3-a456-426614174000",
      "123e4567-e89-b12d3-a456-426614174000",
      "123e4567-e89b-12d3a456-426614174000",
      "123e4567-e89b-12d3-a45-6426614174000",
      "123e4567-e89b-12d3-a4-56-426614174000",
      "123e4567-e89b-12d3-a456426614174000",
      "123e4567-e89b-12d3-a456-42661417400",  // 11 digits at the end
      "123e4567-e89b-12d3-a456-4266141740g0",
      "123e4567-e89b-12d3-a456-42661417-000",
      "{123e4567-e89b-12d3-a456-426614174000}",
      "x123e4567-e89b-12d3-a456-426614174000",
      "+23e4567-e89b-12d3-a456-426614174000",
      "0x3e4567-e89b-12d3-a456-426614174000",
      "123e4567 -e89b-12d3-a456-426614174000",
  };
  for (const char* text : bad) {
    SCOPED_TRACE(text);
    EUUID u = kDns;
    const char* end = reinterpret_cast<const char*>(&u);  // must be overwritten
    EXPECT_FALSE(u.parseString(text, &end));
    EXPECT_EQ(end, text);
    EXPECT_EQ(u, kDns);
    EXPECT_TRUE(EUUID(text).isNull());
    EXPECT_FALSE(u.parseString(text));
  }
  // A UUID cut short anywhere fails.
  const std::string good = "123e4567-e89b-12d3-a456-426614174000";
  for (size_t n = 0; n < good.size(); ++n) {
    SCOPED_TRACE(n);
    EXPECT_TRUE(EUUID(good.substr(0, n)).isNull());
  }
  EUUID u = kDns;
  const char* end = "x";
  EXPECT_FALSE(u.parseString(nullptr, &end));
  EXPECT_EQ(end, nullptr);
  EXPECT_TRUE(EUUID(static_cast<const char*>(nullptr)).isNull());
}

TEST(EUUID, FormatsRoundTrip) {
  for (int i = 0; i < 16; ++i) {
    EUUID u;
    ASSERT_TRUE(u.create());
    std::string text = u.formatString();
    ASSERT_EQ(text.size(), 36u);
    EXPECT_EQ(EUUID(text), u);
    std::string compact = u.formatString(true);
    ASSERT_EQ(compact.size(), 32u);
    std::string stripped = text;
    std::erase(stripped, '-');
    EXPECT_EQ(compact, stripped);
    EXPECT_EQ(EUUID::formatString(u, true), compact);
    std::string upper = text;
    for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    EXPECT_EQ(EUUID(upper).formatString(), text);
  }
}

TEST(EUUID, Base64OfKnownValues) {
  struct Case {
    const char* uuid;
    const char* base64;
  } cases[] = {
      {"00000000-0000-0000-0000-000000000000", "AAAAAAAAAAAAAAAAAAAAAA"},
      {"123e4567-e89b-12d3-a456-426614174000", "Ej5FZ-ibEtOkVkJmFBdAAA"},
      {"ffffffff-ffff-ffff-ffff-ffffffffffff", "_____________________w"},
      {"00000000-0000-0000-0000-000000000001", "AAAAAAAAAAAAAAAAAAAAAQ"},
      {"6ba7b810-9dad-11d1-80b4-00c04fd430c8", "a6e4EJ2tEdGAtADAT9QwyA"},
      {"fbfffbff-effb-bfff-fbef-fbffbfeffbf0", "-__7_-_7v__77_v_v-_78A"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.uuid);
    EUUID u(c.uuid);
    ASSERT_EQ(u.formatString(), c.uuid);
    EXPECT_EQ(u.formatBase64(), c.base64);
    EXPECT_EQ(EUUID::formatBase64(u), c.base64);
  }
}
