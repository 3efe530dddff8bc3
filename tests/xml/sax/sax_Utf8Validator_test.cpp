// The UTF-8 validator: every path (scalar, SSE2, AVX2 where the processor
// has it) finds the first ill-formed sequence at any place in a block.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "xml/sax/sax_Utf8Validator.h"

using qor::quv::xml::sax::detail::Utf8Path;
using qor::quv::xml::sax::detail::utf8PathAvailable;
using qor::quv::xml::sax::detail::utf8Sequence;
using qor::quv::xml::sax::detail::utf8ValidPrefix;

namespace {

std::vector<Utf8Path> paths() {
  std::vector<Utf8Path> all;
  for (Utf8Path p : {Utf8Path::Best, Utf8Path::Scalar, Utf8Path::Sse2, Utf8Path::Avx2})
    if (utf8PathAvailable(p)) all.push_back(p);
  return all;
}

// Valid text of exactly n bytes: ASCII, or mixed with two-, three- and
// four-byte characters where they fit.
std::string filler(std::size_t n, bool mixed) {
  static const char* const kChars[] = {"a", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9D\x84\x9E"};
  std::string s;
  std::size_t i = 0;
  while (s.size() < n) {
    std::string c = mixed ? kChars[i++ % 4] : "a";
    if (s.size() + c.size() > n) c = "a";
    s += c;
  }
  return s;
}

}  // namespace

TEST(Utf8Validator, FindsEveryIllFormedSequenceAtEveryPlace) {
  const std::string bad[] = {
      "\xC0\xBC",          // overlong
      "\xC1\xBF",          // overlong
      "\xE0\x9F\xBF",      // overlong three-byte
      "\xF0\x8F\xBF\xBF",  // overlong four-byte
      "\xED\xA0\x80",      // surrogate
      "\xED\xBF\xBF",      // surrogate
      "\xF4\x90\x80\x80",  // beyond U+10FFFF
      "\xF5\x80\x80\x80",  // no such lead
      "\xFF",              // no such byte
      "\x80",              // stray continuation
      "\xE2\x82" "a",      // truncated before ASCII
      "\xF0\x9D\x84" "\xC3\xA9",  // truncated before another character
  };
  for (Utf8Path path : paths()) {
    SCOPED_TRACE(static_cast<int>(path));
    for (const std::string& b : bad) {
      SCOPED_TRACE(testing::PrintToString(b));
      for (bool mixed : {false, true}) {
        for (std::size_t at = 0; at < 100; ++at) {
          std::string s = filler(at, mixed) + b + filler(70, mixed);
          ASSERT_EQ(utf8ValidPrefix(s.data(), s.size(), path), at) << at << " mixed " << mixed;
        }
      }
    }
  }
}

TEST(Utf8Validator, WholeTextAndCutEnds) {
  const std::string good = filler(200, true);
  const std::string fourByte = "\xF0\x9D\x84\x9E";
  for (Utf8Path path : paths()) {
    SCOPED_TRACE(static_cast<int>(path));
    for (std::size_t n = 0; n <= good.size(); ++n) {
      std::string s = filler(n, true);
      ASSERT_EQ(utf8ValidPrefix(s.data(), s.size(), path), n);
      // A character cut by the end stops the prefix before it.
      for (std::size_t cut = 1; cut < 4; ++cut) {
        std::string t = s + fourByte.substr(0, cut);
        ASSERT_EQ(utf8ValidPrefix(t.data(), t.size(), path), n) << n << " cut " << cut;
      }
    }
  }
}

TEST(Utf8Validator, SingleSequences) {
  const struct {
    std::string bytes;
    int result;
  } cases[] = {
      {"A", 1},           {"\x7F", 1},         {"\xC2\x80", 2},        {"\xDF\xBF", 2},
      {"\xE0\xA0\x80", 3}, {"\xED\x9F\xBF", 3}, {"\xEE\x80\x80", 3},    {"\xEF\xBF\xBF", 3},
      {"\xF0\x90\x80\x80", 4}, {"\xF4\x8F\xBF\xBF", 4}, {"\xC2", -1},   {"\xF0\x90\x80", -1},
      {"\xC1\x80", 0},    {"\xE0\x9F\x80", 0},  {"\xED\xA0\x80", 0},    {"\xF4\x90\x80\x80", 0},
      {"\xC2" "A", 0},    {"\xBF", 0},          {"\xF8", 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.bytes));
    EXPECT_EQ(utf8Sequence(c.bytes.data(), c.bytes.size()), c.result);
  }
}
