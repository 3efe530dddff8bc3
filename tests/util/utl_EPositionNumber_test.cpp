// EPositionNumber: text form, limits, tree order and navigation.
#include <kelp/util/utl_EPositionNumber.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

using qor::quv::basket::EPositionNumber;

namespace {
EPositionNumber pos(const char* s) {
  EPositionNumber p;
  std::string error;
  EXPECT_TRUE(p.parseString(s, &error)) << s << ": " << error;
  return p;
}
}  // namespace

TEST(EPositionNumber, ParsesAndFormatsWithinLimits) {
  for (const char* s : {"1", "2.1", "2.1.3", "9999", "1.2.3.4.5.6.7.8", "9999.9999"}) {
    SCOPED_TRACE(s);
    EXPECT_EQ(pos(s).formatString(), s);
  }
  EXPECT_EQ(pos("2.1.3").getDepth(), 3);
  EXPECT_EQ(pos("2.1.3").getNumber(1), 1);
}

TEST(EPositionNumber, RejectsMalformedTextsWithAMessage) {
  const struct {
    const char* text;
    const char* message;
  } cases[] = {
      {"", "position number is empty"},
      {"0", "position number '0' has a level 0 (levels count from 1)"},
      {"10000", "position number '10000' has a number beyond 9999"},
      {"1.2.3.4.5.6.7.8.9", "position number '1.2.3.4.5.6.7.8.9' has more than 8 levels"},
      {"1..2", "position number '1..2' needs a number of 1 to 9999 at each level"},
      {"1.", "position number '1.' needs a number of 1 to 9999 at each level"},
      {" 1", "position number ' 1' needs a number of 1 to 9999 at each level"},
      {"1-2", "position number '1-2' may hold only digits and '.'"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EPositionNumber p = pos("7");
    std::string error;
    EXPECT_FALSE(p.parseString(c.text, &error));
    EXPECT_EQ(error, c.message);
    EXPECT_EQ(p.formatString(), "7");
  }
}

TEST(EPositionNumber, OrdersParentsBeforeChildrenAndNumerically) {
  const std::vector<const char*> sorted = {"1", "1.1", "1.1.9", "1.2", "1.10", "2", "10", "10.1"};
  std::vector<EPositionNumber> shuffled;
  for (const char* s : sorted) shuffled.push_back(pos(s));
  std::mt19937 rng(7);
  std::shuffle(shuffled.begin(), shuffled.end(), rng);
  std::sort(shuffled.begin(), shuffled.end());
  for (std::size_t i = 0; i < sorted.size(); ++i) EXPECT_EQ(shuffled[i].formatString(), sorted[i]);
}

TEST(EPositionNumber, NavigatesAndStopsAtTheLimits) {
  EXPECT_EQ(pos("2.1").parent().formatString(), "2");
  EXPECT_TRUE(pos("2").parent().isNull());
  EXPECT_EQ(pos("2.1").firstChild().formatString(), "2.1.1");
  EXPECT_EQ(pos("2.1").nextSibling().formatString(), "2.2");
  EXPECT_TRUE(pos("2.9999").nextSibling().isNull());
  EXPECT_TRUE(pos("1.2.3.4.5.6.7.8").firstChild().isNull());
  EXPECT_TRUE(pos("2.1.5").isBelow(pos("2")));
  EXPECT_FALSE(pos("2").isBelow(pos("2")));
  EXPECT_FALSE(pos("20.1").isBelow(pos("2")));
}
