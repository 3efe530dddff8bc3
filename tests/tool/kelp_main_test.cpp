// The tool's own front: usage, help, unknown commands, the manual page.
#include <gtest/gtest.h>

#include <cctype>

#include "tool_cases.h"
#include "tool_runner.h"

using kelp::test::runKelp;

TEST(KelpMain, UsageHelpAndUnknownCommands) {
  auto r = runKelp({});
  EXPECT_EQ(r.status, 2);
  EXPECT_NE(r.err.find("usage: kelp"), std::string::npos);
  EXPECT_TRUE(r.out.empty());

  r = runKelp({"--help"});
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("usage: kelp"), std::string::npos);

  r = runKelp({"--version"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out.rfind("kelp ", 0), 0u);

  r = runKelp({"frobnicate"});
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.err, "kelp: 'frobnicate' is not a kelp command; see 'kelp --help'\n");

  r = runKelp({"help", "frobnicate"});
  EXPECT_EQ(r.status, 2);
}

TEST(KelpMain, ManualPageNamesEveryCommand) {
  auto usage = runKelp({"--help"});
  auto man = runKelp({"help", "--man"});
  ASSERT_EQ(man.status, 0);
  EXPECT_EQ(man.out.rfind(".TH KELP 1", 0), 0u);
  // Every command listed by --help has its section, with its help text.
  std::size_t at = usage.out.find("commands:\n");
  ASSERT_NE(at, std::string::npos);
  std::size_t end = usage.out.find("\n\n", at);
  std::string list = usage.out.substr(at, end - at);
  std::size_t line = list.find("\n  ");
  while (line != std::string::npos) {
    std::string name = list.substr(line + 3, list.find(' ', line + 3) - line - 3);
    if (name != "help") {
      std::string title = "KELP " + name;
      for (char& c : title) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
      EXPECT_NE(man.out.find(".SH \"" + title + "\"\n"), std::string::npos) << name;
      auto help = runKelp({name, "--help"});
      EXPECT_EQ(help.status, 0) << name;
      EXPECT_NE(help.out.find("usage: kelp " + name), std::string::npos) << name;
    }
    line = list.find("\n  ", line + 1);
  }
}

// Output that cannot be written fails every command with exactly one
// message, help and version included.
TEST(KelpMain, UnwritableOutputFailsWithOneMessage) {
  kelp::test::TempDir dir;
  const struct {
    std::vector<std::string> args;
    const char* who;  // the message's prefix
  } cases[] = {
      {{"help"}, "kelp"},
      {{"--help"}, "kelp"},
      {{"--version"}, "kelp"},
      {{"help", "--man"}, "kelp"},
      {{"help", "xml"}, "kelp"},
      {{"xml", "--help"}, "kelp xml"},
      {{"xml", "format", "samples/catalogue.xml"}, "kelp xml"},
      {{"xml", "events", "samples/catalogue.xml"}, "kelp xml"},
      {{"xml", "canon", "samples/catalogue.xml"}, "kelp xml"},
      {{"money", "eval", "1 + 1"}, "kelp money"},
      {{"date", "format", "2024-02-29"}, "kelp date"},
      {{"cmdline", "split", "a b"}, "kelp cmdline"},
      {{"cmdline", "join", "a", "b"}, "kelp cmdline"},
      {{"uuid", "--help"}, "kelp uuid"},
      {{"registry", "set", "--dir", dir.path(), "K", "v", "x"}, nullptr},
      {{"registry", "list", "--dir", dir.path(), "K"}, "kelp registry"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(kelp::test::describe(c.args));
    auto r = kelp::test::runKelp(c.args, "", {}, "/dev/full");
    if (!c.who) {  // writes nothing: nothing to fail
      EXPECT_EQ(r.status, 0) << r.err;
      continue;
    }
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, std::string(c.who) + ": cannot write the output\n");
  }
  // The manual page into a file, as the build writes it.
  auto man = kelp::test::runKelp({"help", "--man", "/dev/full"});
  EXPECT_EQ(man.status, 1);
  EXPECT_EQ(man.err, "kelp help: cannot write /dev/full: No space left on device\n");
}
