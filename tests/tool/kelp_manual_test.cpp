// The manual page and the bash completion that `kelp help` writes: the
// page has the sections a manual page needs and formats without a warning;
// the completion, loaded into bash, offers the commands, subcommands and
// options of the help texts.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "tool_runner.h"

namespace {

using kelp::test::readFile;
using kelp::test::runKelp;
using kelp::test::TempDir;
using kelp::test::ToolResult;
using kelp::test::writeFile;

// Runs a shell command line; returns its exit status.
int shell(const std::string& command) {
  int rc = std::system(command.c_str());
  return WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
}

TEST(KelpManual, HasTheSectionsOfAManualPage) {
  ToolResult man = runKelp({"help", "--man"});
  ASSERT_EQ(man.status, 0) << man.err;
  for (const char* section :
       {".SH NAME\nkelp \\- ", ".SH SYNOPSIS\n", ".SH DESCRIPTION\n", ".SH \"EXIT STATUS\"\n",
        ".SH ENVIRONMENT\n", ".SH FILES\n", ".SH EXAMPLES\n", ".SH \"SEE ALSO\"\n"}) {
    SCOPED_TRACE(section);
    EXPECT_NE(man.out.find(section), std::string::npos);
  }
  for (const char* variable : {".B KELP_LOG\n", ".B KELP_REGISTRY_DIR\n", "LANG"})
    EXPECT_NE(man.out.find(variable), std::string::npos) << variable;
  // The formats are referred to where they are installed.
  EXPECT_NE(man.out.find("/share/doc/kelp/formats.md"), std::string::npos);
  // Help texts are filled paragraphs with tagged lists, not no-fill copies.
  EXPECT_NE(man.out.find(".TP 9\n.B check\nreads each FILE"), std::string::npos);
}

TEST(KelpManual, FormatsWithoutWarnings) {
  if (shell("command -v groff >/dev/null") != 0) GTEST_SKIP() << "groff is not installed";
  TempDir dir;
  ASSERT_EQ(runKelp({"help", "--man", dir.file("kelp.1")}).status, 0);
  EXPECT_EQ(shell("groff -ww -man -z " + dir.file("kelp.1") + " 2>" + dir.file("warnings")), 0);
  EXPECT_EQ(readFile(dir.file("warnings")), "");
}

TEST(KelpManual, BashCompletionOffersCommandsSubcommandsAndOptions) {
  if (shell("command -v bash >/dev/null") != 0) GTEST_SKIP() << "bash is not installed";
  TempDir dir;
  std::string script = dir.file("kelp.bash");
  ASSERT_EQ(runKelp({"help", "--bash-completion", script}).status, 0);
  struct Case {
    std::vector<std::string> words;  // the command line, the last word being completed
    std::string offered;             // COMPREPLY, one word a line
  } cases[] = {
      {{"kelp", "mo"}, "money\n"},
      {{"kelp", "--v"}, "--version\n"},
      {{"kelp", "xml", ""}, "check\nevents\nformat\ncanon\n--help\n"},
      {{"kelp", "xml", "check", "--"},
       "--help\n--html4-entities\n--json\n--load-external\n--no-namespaces\n"},
      {{"kelp", "money", "round", "--m"}, "--mode\n"},
      {{"kelp", "help", "--"}, "--man\n"},
      {{"kelp", "help", "ca"}, "catalogue\n"},
      // Operands are left to bash's file names.
      {{"kelp", "xml", "check", "sam"}, ""},
  };
  for (const Case& c : cases) {
    std::string words;
    for (const std::string& w : c.words) words += " '" + w + "'";
    SCOPED_TRACE(words);
    std::string command = "source '" + script + "'; COMP_WORDS=(" + words +
                          "); COMP_CWORD=" + std::to_string(c.words.size() - 1) +
                          "; _kelp; printf '%s\\n' \"${COMPREPLY[@]}\"";
    writeFile(dir.file("command"), command);
    ASSERT_EQ(shell("bash " + dir.file("command") + " >" + dir.file("out")), 0);
    std::string offered = readFile(dir.file("out"));
    EXPECT_EQ(offered == "\n" ? "" : offered, c.offered);
  }
}

}  // namespace
