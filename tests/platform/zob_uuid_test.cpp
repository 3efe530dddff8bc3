// The object model's UUIDs: version and variant bits, published name-based
// results, ordering.
#include <gtest/gtest.h>
#include <zob/zob_uuid.h>

#include <cstring>
#include <set>
#include <string>
#include <tuple>

namespace {

constexpr ZobUUID kDns = {0x6ba7b810, 0x9dad, 0x11d1,
                          0x80,       0xb4,   {0x00, 0xc0, 0x4f, 0xd4, 0x30, 0xc8}};
constexpr ZobUUID kUrl = {0x6ba7b811, 0x9dad, 0x11d1,
                          0x80,       0xb4,   {0x00, 0xc0, 0x4f, 0xd4, 0x30, 0xc8}};

std::tuple<std::uint32_t, int, int, int, int, std::string> fields(const ZobUUID& u) {
  return {u.timeLow,          u.timeMid,
          u.timeHiAndVersion, u.clockSeqHiAndReserved,
          u.clockSeqLow,      std::string(reinterpret_cast<const char*>(u.node), 6)};
}

}  // namespace

TEST(ZobUUID, RandomUUIDsAreVersion4WithTheRfcVariantAndDiffer) {
  std::set<std::tuple<std::uint32_t, int, int, int, int, std::string>> seen;
  for (int i = 0; i < 64; ++i) {
    ZobUUID u;
    ASSERT_EQ(zobUUIDCreate(&u), zob::kOk);
    EXPECT_EQ(u.timeHiAndVersion >> 12, 4);
    EXPECT_EQ(u.clockSeqHiAndReserved >> 6, 2);
    EXPECT_TRUE(seen.insert(fields(u)).second);
  }
  EXPECT_EQ(zobUUIDCreate(nullptr), zob::kInvalidArgument);
}

TEST(ZobUUID, NameBasedUUIDsMatchPublishedVersion5Results) {
  struct Case {
    const ZobUUID* ns;
    const char* name;
    ZobUUID expected;
  } cases[] = {
      // uuid5(DNS, "python.org") = 886313e1-3b8a-5372-9b90-0c9aee199e5d
      {&kDns,
       "python.org",
       {0x886313e1, 0x3b8a, 0x5372, 0x9b, 0x90, {0x0c, 0x9a, 0xee, 0x19, 0x9e, 0x5d}}},
      // uuid5(URL, "http://python.org/") = 4c565f0d-3f5a-5890-b41b-20cf47701c5e
      {&kUrl,
       "http://python.org/",
       {0x4c565f0d, 0x3f5a, 0x5890, 0xb4, 0x1b, {0x20, 0xcf, 0x47, 0x70, 0x1c, 0x5e}}},
      // uuid5(DNS, "") = 4ebd0208-8328-5d69-8c44-ec50939c0967
      {&kDns, "", {0x4ebd0208, 0x8328, 0x5d69, 0x8c, 0x44, {0xec, 0x50, 0x93, 0x9c, 0x09, 0x67}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ZobUUID u;
    ASSERT_EQ(zobUUIDCreateFromName(&u, c.ns, c.name, std::strlen(c.name)), zob::kOk);
    EXPECT_EQ(fields(u), fields(c.expected));
    EXPECT_EQ(zobUUIDCompare(&u, &c.expected), 0);
    EXPECT_EQ(u.timeHiAndVersion >> 12, 5);
    EXPECT_EQ(u.clockSeqHiAndReserved >> 6, 2);
  }
  ZobUUID u;
  EXPECT_EQ(zobUUIDCreateFromName(nullptr, &kDns, "a", 1), zob::kInvalidArgument);
  EXPECT_EQ(zobUUIDCreateFromName(&u, nullptr, "a", 1), zob::kInvalidArgument);
  EXPECT_EQ(zobUUIDCreateFromName(&u, &kDns, nullptr, 1), zob::kInvalidArgument);
  // A null name of length 0 is the empty name.
  ASSERT_EQ(zobUUIDCreateFromName(&u, &kDns, nullptr, 0), zob::kOk);
  EXPECT_EQ(fields(u), fields(cases[2].expected));
}

TEST(ZobUUID, CompareOrdersFieldByFieldNumerically) {
  const ZobUUID null{};
  // Each UUID sorts after the previous one; the earlier field decides.
  const ZobUUID ordered[] = {
      {0x00000000, 0x0000, 0x0000, 0x00, 0x00, {0, 0, 0, 0, 0, 0}},
      {0x00000000, 0x0000, 0x0000, 0x00, 0x00, {0, 0, 0, 0, 0, 1}},
      {0x00000000, 0x0000, 0x0000, 0x00, 0x01, {0, 0, 0, 0, 0, 0}},
      {0x00000000, 0x0000, 0x0000, 0x01, 0x00, {0xff, 0, 0, 0, 0, 0}},
      {0x00000000, 0x0000, 0x0001, 0x00, 0x00, {0, 0, 0, 0, 0, 0}},
      {0x00000000, 0x00ff, 0x0000, 0xff, 0xff, {0, 0, 0, 0, 0, 0}},
      {0x00000000, 0x0100, 0x0000, 0x00, 0x00, {0, 0, 0, 0, 0, 0}},
      {0x000000ff, 0xffff, 0xffff, 0xff, 0xff, {0xff, 0xff, 0xff, 0xff, 0xff, 0xff}},
      {0x01000000, 0x0000, 0x0000, 0x00, 0x00, {0, 0, 0, 0, 0, 0}},
  };
  constexpr int n = sizeof ordered / sizeof ordered[0];
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < n; ++j) {
      SCOPED_TRACE(testing::Message() << i << " vs " << j);
      int c = zobUUIDCompare(&ordered[i], &ordered[j]);
      EXPECT_EQ(c < 0, i < j);
      EXPECT_EQ(c == 0, i == j);
      EXPECT_EQ(c > 0, i > j);
    }
  EXPECT_EQ(zobUUIDCompare(nullptr, &null), 0);
  EXPECT_EQ(zobUUIDCompare(&null, nullptr), 0);
  EXPECT_LT(zobUUIDCompare(nullptr, &kDns), 0);
}
