// kelp cmdline: splitting and joining command lines, round trips and the
// cases the quoting cannot carry.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tool_cases.h"

using kelp::test::expectCases;
using kelp::test::runKelp;
using kelp::test::TempDir;
using kelp::test::usageText;

TEST(KelpCmdline, Split) {
  expectCases({
      {{"cmdline", "split", "a  'b c'd ''"}, 0, "a\nb cd\n\n", ""},
      {{"cmdline", "split", "x'y"}, 0, "x'y\n", ""},
      // An escaped character is read once more: "\a" gives "aa".
      {{"cmdline", "split", "\\a 'l\\t' end\\"}, 0, "aa\nl\\t\nend\\\n", ""},
      {{"cmdline", "split", "   "}, 0, "", ""},
      {{"cmdline", "split", "a \"b\nc\""},
       1,
       "",
       "kelp cmdline: argument 2 holds a line break; use --null\n"},
      {{"cmdline", "split", "--null", "a \"b\nc\""}, 0, std::string("a\0b\nc\0", 6), ""},
      {{"cmdline", "split"}, 2, "", usageText("cmdline", "missing operand")},
      {{"cmdline", "split", "--file", "-", "x"},
       2,
       "",
       usageText("cmdline", "unexpected operand 'x'")},
      {{"cmdline", "split", "--file", "/nonexistent/line"},
       1,
       "",
       "/nonexistent/line: cannot open: No such file or directory\n"},
  });
  auto r = runKelp({"cmdline", "split", "--file", "-"}, "one 'two three'\n");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "one\ntwo three\n");
}

TEST(KelpCmdline, JoinReadsBack) {
  expectCases({
      {{"cmdline", "join", "a", "b c", "", "it's"}, 0, "a 'b c' '' \"it's\"\n", ""},
      {{"cmdline", "join", "--", "-x", "--y"}, 0, "-x --y\n", ""},
      {{"cmdline", "join"}, 0, "\n", ""},
      {{"cmdline", "join", "ok", "it's \"x\""},
       1,
       "",
       "kelp cmdline: argument 2 ('it's \"x\"') cannot be quoted so that it reads back "
       "unchanged\n"},
      {{"cmdline", "join", "-x"}, 2, "", usageText("cmdline", "unknown option '-x'")},
  });
  const std::vector<std::string> args = {"plain",       "with blank", "",     "tab\there",
                                         "back\\slash", "dq\"uote",   "it's", "new\nline"};
  std::vector<std::string> joinArgs = {"cmdline", "join", "--"};
  joinArgs.insert(joinArgs.end(), args.begin(), args.end());
  auto joined = runKelp(joinArgs);
  ASSERT_EQ(joined.status, 0) << joined.err;
  ASSERT_FALSE(joined.out.empty());
  auto split = runKelp({"cmdline", "split", "--null", joined.out.substr(0, joined.out.size() - 1)});
  std::string expected;
  for (const std::string& a : args) expected += a + std::string(1, '\0');
  EXPECT_EQ(split.out, expected);
}

// An endless input ends at the 2 MiB bound with a message, in bounded
// memory (the address space is capped where the sanitizers allow it) and
// time (head cuts the stream).
TEST(KelpCmdline, EndlessFileIsBounded) {
  const std::string limit = kelp::test::memoryLimit(400000);
  const struct {
    const char* feed;
    const char* file;
    const char* name;
  } cases[] = {
      {"head -c 1073741824 /dev/zero | ", "-", "<stdin>"},
      {"yes aaaa | head -c 1073741824 | ", "-", "<stdin>"},
      {"", "/dev/zero", "/dev/zero"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.file);
    auto r = kelp::test::runShell(limit + c.feed + "\"$KELP\" cmdline split --file " + c.file);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, std::string(c.name) + ": the input is larger than 2 MiB\n");
  }
}
