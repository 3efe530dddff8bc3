// The tool's own front: usage, help, unknown commands, the manual page.
#include <gtest/gtest.h>

#include <cctype>

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
