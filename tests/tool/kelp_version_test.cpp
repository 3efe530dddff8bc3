// kelp version: comparing, merging, formatting and parsing versions.
#include <gtest/gtest.h>

#include "tool_cases.h"

using kelp::test::expectCases;
using kelp::test::usageText;

TEST(KelpVersion, Compare) {
  expectCases({
      {{"version", "compare", "2.1", "2.1.5"}, 0, "<\n", ""},
      {{"version", "compare", "2.1.5", "2.1"}, 0, ">\n", ""},
      {{"version", "compare", "2.1beta3", "2.1b3"}, 0, "=\n", ""},
      {{"version", "compare", "2.1rc1", "2.1b9"}, 0, ">\n", ""},
      {{"version", "compare", "--number", "2.1", "2.1.5"}, 0, "-1\n", ""},
      {{"version", "compare", "--number", "2.1b1", "2.1.5"}, 0, "-2\n", ""},
      {{"version", "compare", "--number", "2.1.5", "2.1"}, 0, "1\n", ""},
      {{"version", "compare", "--number", "3", "2.9"}, 0, "2\n", ""},
      {{"version", "compare", "--three-part", "1.2.3", "1.10.0"}, 0, "<\n", ""},
      {{"version", "compare", "--three-part", "--number", "1.2.3", " 1.2.3 "}, 0, "0\n", ""},
      {{"version", "compare", "1.2", "x"},
       2,
       "",
       usageText("version", "cannot read the release version 'x'")},
      {{"version", "compare", "--three-part", "1.2", "1.2.3"},
       2,
       "",
       usageText("version", "cannot read the three-part version '1.2'")},
      {{"version", "compare", "1.2"}, 2, "", usageText("version", "missing operand")},
  });
}

TEST(KelpVersion, MergeKeepsTheCommonPart) {
  expectCases({
      {{"version", "merge", "2.1.5", "2.1.7"}, 0, "2.1final\n", ""},
      {{"version", "merge", "2.1.5", "2.2.5"}, 0, "2\n", ""},
      {{"version", "merge", "2.1b3", "2.1b3", "2.1b4"}, 0, "2.1beta\n", ""},
      {{"version", "merge", "2.1b3"}, 0, "2.1beta3\n", ""},
      {{"version", "merge", "2.1.5", "3.1"},
       1,
       "",
       "kelp version: the versions have nothing in common\n"},
      {{"version", "merge", "2.1", "2.x"},
       2,
       "",
       usageText("version", "cannot read the release version '2.x'")},
      {{"version", "merge"}, 2, "", usageText("version", "missing operand")},
  });
}

TEST(KelpVersion, FormatAndParse) {
  expectCases({
      {{"version", "format", "2.1b3"}, 0, "2.1beta3\n", ""},
      {{"version", "format", "2.1b", "--precision", "4"}, 0, "2.1beta\n", ""},
      {{"version", "format", "2.1.5", "--precision", "3"}, 0, "2.1final\n", ""},
      {{"version", "format", "2.1a2", "--precision", "2"}, 0, "2.1\n", ""},
      {{"version", "format", "2"}, 0, "2\n", ""},
      {{"version", "format", "--three-part", " 01.2.3 "}, 0, "1.2.3\n", ""},
      {{"version", "format", "2.1b3", "--precision", "5"},
       2,
       "",
       usageText("version", "--precision needs a whole number from 1 to 4, not '5'")},
      {{"version", "format", "--three-part", "--precision", "2", "1.2.3"},
       2,
       "",
       usageText("version", "--precision applies to release versions only")},
      {{"version", "parse", "2.1rc2"},
       0,
       "major: 2\nminor: 1\nlevel: rc\npatch level: 2\nprecision: 4\n",
       ""},
      {{"version", "parse", "2.1"},
       0,
       "major: 2\nminor: 1\nlevel: open\npatch level: open\nprecision: 2\n",
       ""},
      {{"version", "parse", "--three-part", "1.2.3"}, 0, "major: 1\nminor: 2\nsubminor: 3\n", ""},
      {{"version", "parse", "--three-part", "1.2.40000"},
       1,
       "",
       "kelp version: '1.2.40000' is not a three-part version\n"},
      {{"version", "parse", "2.1 x"}, 1, "", "kelp version: '2.1 x' is not a release version\n"},
      {{"version", "bump"},
       2,
       "",
       usageText("version", "unknown subcommand 'bump' (one of compare, merge, format, parse)")},
  });
}
