// kelp uuid: new and name-based UUIDs, parsing with variant and version,
// and the base64 form both ways.
#include <gtest/gtest.h>

#include <cctype>
#include <set>
#include <string>

#include "tool_cases.h"

using kelp::test::expectCases;
using kelp::test::runKelp;
using kelp::test::usageText;

namespace {

bool isCanonical(const std::string& s) {
  if (s.size() != 36) return false;
  for (std::size_t i = 0; i < s.size(); ++i) {
    bool hyphen = i == 8 || i == 13 || i == 18 || i == 23;
    if (hyphen ? s[i] != '-'
               : !std::isxdigit(static_cast<unsigned char>(s[i])) ||
                     std::isupper(static_cast<unsigned char>(s[i])))
      return false;
  }
  return true;
}

}  // namespace

TEST(KelpUuid, NewMakesDistinctRandomUuids) {
  auto r = runKelp({"uuid", "new", "--count", "3"});
  ASSERT_EQ(r.status, 0);
  ASSERT_EQ(r.out.size(), 3u * 37);
  std::set<std::string> seen;
  for (int i = 0; i < 3; ++i) {
    std::string line = r.out.substr(i * 37, 36);
    SCOPED_TRACE(line);
    EXPECT_TRUE(isCanonical(line));
    EXPECT_EQ(line[14], '4');  // version 4
    EXPECT_NE(std::string("89ab").find(line[19]), std::string::npos);
    seen.insert(line);
    auto parsed = runKelp({"uuid", "parse", line});
    EXPECT_EQ(parsed.out, line + "\nvariant: RFC 4122\nversion: 4 (random)\n");
  }
  EXPECT_EQ(seen.size(), 3u);
  auto compact = runKelp({"uuid", "new", "--compact"});
  EXPECT_EQ(compact.out.size(), 33u);
  auto base64 = runKelp({"uuid", "new", "--base64"});
  EXPECT_EQ(base64.out.size(), 23u);
}

TEST(KelpUuid, NameBasedUuids) {
  const std::string python = "886313e1-3b8a-5372-9b90-0c9aee199e5d";
  expectCases({
      {{"uuid", "from-name", "dns", "python.org"}, 0, python + "\n", ""},
      {{"uuid", "from-name", "6BA7B810-9DAD-11D1-80B4-00C04FD430C8", "python.org"},
       0,
       python + "\n",
       ""},
      {{"uuid", "from-name", "--compact", "dns", "python.org"},
       0,
       "886313e13b8a53729b900c9aee199e5d\n",
       ""},
      {{"uuid", "from-name", "url", "http://python.org/"},
       0,
       "4c565f0d-3f5a-5890-b41b-20cf47701c5e\n",
       ""},
      {{"uuid", "from-name", "foo", "bar"},
       2,
       "",
       usageText("uuid", "the namespace 'foo' is neither dns, url, oid, x500 nor a UUID")},
      {{"uuid", "from-name", "dns"}, 2, "", usageText("uuid", "missing operand")},
      {{"uuid", "from-name", "--compact", "--base64", "dns", "x"},
       2,
       "",
       usageText("uuid", "--compact and --base64 exclude each other")},
  });
  // Different names and namespaces give different UUIDs.
  auto oid = runKelp({"uuid", "from-name", "oid", "python.org"});
  auto x500 = runKelp({"uuid", "from-name", "x500", "python.org"});
  EXPECT_NE(oid.out, x500.out);
  EXPECT_NE(oid.out, python + "\n");
}

TEST(KelpUuid, ParseReportsVariantAndVersion) {
  expectCases({
      {{"uuid", "parse", " 123E4567-E89B-12D3-A456-426614174000 "},
       0,
       "123e4567-e89b-12d3-a456-426614174000\nvariant: RFC 4122\nversion: 1 (time-based)\n",
       ""},
      {{"uuid", "parse", "00000000-0000-0000-0000-000000000000"},
       0,
       "00000000-0000-0000-0000-000000000000\nvariant: none (the nil UUID)\n",
       ""},
      {{"uuid", "parse", "00000000-0000-0000-c000-000000000046"},
       0,
       "00000000-0000-0000-c000-000000000046\nvariant: Microsoft (reserved)\n",
       ""},
      {{"uuid", "parse", "123e4567-e89b-12d3-a456-426614174000x"},
       1,
       "",
       "kelp uuid: '123e4567-e89b-12d3-a456-426614174000x' is not a UUID\n"},
      {{"uuid", "parse", "123e4567e89b-12d3-a456-426614174000"},
       1,
       "",
       "kelp uuid: '123e4567e89b-12d3-a456-426614174000' is not a UUID\n"},
      {{"uuid", "parse"}, 2, "", usageText("uuid", "missing operand")},
  });
}

TEST(KelpUuid, Base64BothWays) {
  expectCases({
      {{"uuid", "base64", "886313e1-3b8a-5372-9b90-0c9aee199e5d"},
       0,
       "iGMT4TuKU3KbkAya7hmeXQ\n",
       ""},
      {{"uuid", "base64", "--decode", "iGMT4TuKU3KbkAya7hmeXQ"},
       0,
       "886313e1-3b8a-5372-9b90-0c9aee199e5d\n",
       ""},
      {{"uuid", "base64", "00000000-0000-0000-0000-000000000000"},
       0,
       std::string(22, 'A') + "\n",
       ""},
      {{"uuid", "base64", "--decode", "_____________________w"},
       0,
       "ffffffff-ffff-ffff-ffff-ffffffffffff\n",
       ""},
      // The low bits of the last character must be clear.
      {{"uuid", "base64", "--decode", "iGMT4TuKU3KbkAya7hmeXR"},
       1,
       "",
       "kelp uuid: 'iGMT4TuKU3KbkAya7hmeXR' is not the base64 form of a UUID\n"},
      {{"uuid", "base64", "--decode", "iGMT4TuKU3KbkAya7hme+Q"},
       1,
       "",
       "kelp uuid: 'iGMT4TuKU3KbkAya7hme+Q' is not the base64 form of a UUID\n"},
      {{"uuid", "base64", "--decode", "iGMT"},
       1,
       "",
       "kelp uuid: 'iGMT' is not the base64 form of a UUID\n"},
      {{"uuid", "base64", "nope"}, 2, "", usageText("uuid", "'nope' is not a UUID")},
      {{"uuid"},
       2,
       "",
       usageText("uuid", "missing subcommand (one of new, from-name, parse, base64)")},
      {{"uuid", "new", "--count", "0"},
       2,
       "",
       usageText("uuid", "--count needs a whole number from 1 to 1000000, not '0'")},
  });
}
