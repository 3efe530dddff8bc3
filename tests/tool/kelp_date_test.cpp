// kelp date: the three text forms, comparison, differences and moves.
#include <gtest/gtest.h>

#include <string>

#include "tool_cases.h"

using kelp::test::expectCases;
using kelp::test::runKelp;
using kelp::test::usageText;

TEST(KelpDate, ParseAndFormat) {
  expectCases({
      {{"date", "parse", "  2024-3-7  "}, 0, "2024-03-07\n", ""},
      {{"date", "parse", "2000-02-29"}, 0, "2000-02-29\n", ""},
      {{"date", "parse", "--from", "compact", "20240229"}, 0, "2024-02-29\n", ""},
      {{"date", "parse", "2023-02-29"}, 1, "", "kelp date: '2023-02-29' is not a valid date\n"},
      {{"date", "parse", "1900-02-29"}, 1, "", "kelp date: '1900-02-29' is not a valid date\n"},
      {{"date", "parse", "10000-01-01"}, 1, "", "kelp date: '10000-01-01' is not a valid date\n"},
      {{"date", "parse", "2024-03-07x"},
       1,
       "",
       "kelp date: '2024-03-07x' is not a date (YYYY-MM-DD)\n"},
      {{"date", "parse", "+2024-01-01"},
       1,
       "",
       "kelp date: '+2024-01-01' is not a date (YYYY-MM-DD)\n"},
      {{"date", "parse", "--from", "compact", "00000000"},
       1,
       "",
       "kelp date: '00000000' is not a valid date\n"},
      {{"date", "parse", "--from", "compact", "20240230"},
       1,
       "",
       "kelp date: '20240230' is not a date (YYYYMMDD)\n"},
      {{"date", "parse", "--from", "julian", "1"},
       2,
       "",
       usageText("date", "unknown date form 'julian' (one of iso, compact, local)")},
      {{"date", "format", "2024-2-9"}, 0, "2024-02-09\n", ""},
      {{"date", "format", "--to", "compact", "2024-2-9"}, 0, "20240209\n", ""},
      {{"date", "format", "2024-02-30"},
       2,
       "",
       usageText("date", "'2024-02-30' is not a valid date")},
      {{"date", "format", "soon"}, 2, "", usageText("date", "'soon' is not a date (YYYY-MM-DD)")},
      // The classic locale writes %m/%d/%y.
      {{"date", "pattern"}, 0, "%m/%d/%y\n", ""},
      // The full year, so that the local form reads back (not as 0024).
      {{"date", "format", "--to", "local", "2024-02-29"}, 0, "02/29/2024\n", ""},
      {{"date", "parse", "--from", "local", "02/29/2024"}, 0, "2024-02-29\n", ""},
  });
}

TEST(KelpDate, LocalFormFollowsTheLocale) {
  std::map<std::string, std::string> german{{"LC_ALL", "de_DE.UTF-8"}};
  if (runKelp({"date", "pattern"}, "", german).out != "%d.%m.%Y\n")
    GTEST_SKIP() << "de_DE.UTF-8 not installed (scripts/bootstrap.sh makes it)";
  expectCases({{{"date", "format", "--to", "local", "2024-02-29"}, 0, "29.02.2024\n", ""},
               {{"date", "parse", "--from", "local", "7.3.2024"}, 0, "2024-03-07\n", ""},
               {{"date", "parse", "--from", "local", "7.3.202"},
                1,
                "",
                "kelp date: '7.3.202' is not a date (%d.%m.%Y)\n"}},
              german);
}

TEST(KelpDate, CompareDiffAndAdd) {
  expectCases({
      {{"date", "compare", "2024-01-01", "2023-12-31"}, 0, ">\n", ""},
      {{"date", "compare", "2024-01-01", "2024-1-1"}, 0, "=\n", ""},
      {{"date", "compare", "2024-01-01", "2024-01-02"}, 0, "<\n", ""},
      {{"date", "diff", "2024-03-31", "2024-03-01"}, 0, "30\n", ""},
      {{"date", "diff", "2023-03-01", "2024-03-01"}, 0, "-366\n", ""},
      {{"date", "add", "2024-02-28", "1"}, 0, "2024-02-29\n", ""},
      {{"date", "add", "2023-12-31", "1"}, 0, "2024-01-01\n", ""},
      {{"date", "add", "2024-03-01", "-1"}, 0, "2024-02-29\n", ""},
      {{"date", "add", "2000-01-01", "24855"}, 0, "2068-01-19\n", ""},
      {{"date", "add", "9999-12-31", "1"},
       1,
       "",
       "kelp date: the result lies outside 0001-01-01 to 9999-12-31\n"},
      {{"date", "add", "2024-01-01", "30000"},
       2,
       "",
       usageText("date", "DAYS needs a whole number from -24855 to 24855, not '30000'")},
      {{"date", "diff", "2024-01-01"}, 2, "", usageText("date", "missing operand")},
      {{"date", "compare", "2024-01-01", "x"},
       2,
       "",
       usageText("date", "'x' is not a date (YYYY-MM-DD)")},
  });
}

TEST(KelpDate, TodayAgreesWithItsForms) {
  auto iso = runKelp({"date", "today", "--utc"});
  auto compact = runKelp({"date", "today", "--utc", "--to", "compact"});
  ASSERT_EQ(iso.status, 0);
  ASSERT_EQ(iso.out.size(), 11u);
  // A run across midnight could differ; compare through the tool itself.
  auto back = runKelp({"date", "parse", "--from", "compact", compact.out.substr(0, 8)});
  auto sameDay = runKelp({"date", "diff", back.out.substr(0, 10), iso.out.substr(0, 10)});
  EXPECT_TRUE(sameDay.out == "0\n" || sameDay.out == "1\n") << sameDay.out;
  EXPECT_EQ(runKelp({"date", "compare", "today", "2000-01-01"}).out, ">\n");
}
