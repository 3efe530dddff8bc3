// kelp registry: typed values in a hive kept in a temporary folder, and
// the failures of missing keys, values and non-empty keys.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "tool_cases.h"

using kelp::test::expectCases;
using kelp::test::runKelp;
using kelp::test::TempDir;
using kelp::test::ToolResult;
using kelp::test::usageText;

namespace {

// `kelp registry SUB --dir DIR args...`
std::vector<std::string> reg(const TempDir& dir, const std::string& sub,
                             std::vector<std::string> args) {
  std::vector<std::string> all = {"registry", sub, "--dir", dir.path()};
  all.insert(all.end(), args.begin(), args.end());
  return all;
}

std::string failed(const std::string& message) {
  return "kelp registry: " + message + "\n";
}

}  // namespace

// Names and values are quoted as `cmdline join` quotes arguments: every
// listed line splits back into its words, and a line break stays inside
// its quotes instead of starting a forged line.
TEST(KelpRegistry, ListQuotesNamesAndValuesAsJoinDoes) {
  TempDir dir;
  const std::string forged = "x\nfake (string) = 1";
  ASSERT_EQ(runKelp(reg(dir, "set", {"A/my key", forged, "v a"})).status, 0);
  ASSERT_EQ(runKelp(reg(dir, "set", {"A", "it's", "ok"})).status, 0);
  ASSERT_EQ(runKelp(reg(dir, "set", {"A", "l", "--type", "list", "x", "y z", ""})).status, 0);
  auto r = runKelp(reg(dir, "list", {"--recursive"}));
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out,
            "A/\n'A/my key/'\n\"A/it's\" (string) = ok\nA/l (list) = x 'y z' ''\n'A/my key/" +
                forged + "' (string) = 'v a'\n");
  auto nulTerminated = [](const std::vector<std::string>& words) {
    std::string out;
    for (const std::string& w : words) out += w + '\0';
    return out;
  };
  auto split = runKelp({"cmdline", "split", "--null", "--file", "-"}, r.out);
  EXPECT_EQ(split.out,
            nulTerminated({"A/", "A/my key/", "A/it's", "(string)", "=", "ok", "A/l", "(list)", "=",
                           "x", "y z", "", "A/my key/" + forged, "(string)", "=", "v a"}));
  // A single quote with a double quote cannot be quoted to read back.
  ASSERT_EQ(runKelp(reg(dir, "set", {"A", "bad'\"", "ok"})).status, 0);
  r = runKelp(reg(dir, "list", {"A"}));
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "'my key/'\n\"it's\" (string) = ok\nl (list) = x 'y z' ''\n");
  EXPECT_EQ(r.err, failed("1 entry of key A left out: a single quote together with a double "
                          "quote or a backslash cannot be quoted so that it reads back"));
}

TEST(KelpRegistry, SetGetListTypedValues) {
  TempDir dir;
  expectCases({
      {reg(dir, "list", {}), 0, "", ""},
      {reg(dir, "set", {"A/B", "name", "hello"}), 0, "", ""},
      {reg(dir, "set", {"A/B", "n32", "--type", "int32", "42"}), 0, "", ""},
      {reg(dir, "set", {"--type=int64", "A/B", "n64", "--", "-9000000000"}), 0, "", ""},
      {reg(dir, "set", {"A/B", "flag", "--type", "bool", "true"}), 0, "", ""},
      {reg(dir, "set", {"A/B", "raw", "--type", "bytes", "00fF10"}), 0, "", ""},
      {reg(dir, "set", {"A/B", "items", "--type", "list", "x", "y z"}), 0, "", ""},
      {reg(dir, "set", {"A/B", "none", "--type", "list"}), 0, "", ""},
      {reg(dir, "set", {"A/B/C", "deep", "say \"hi\""}), 0, "", ""},
      {reg(dir, "get", {"A/B", "name"}), 0, "hello\n", ""},
      {reg(dir, "get", {"/A/B/", "n32"}), 0, "42\n", ""},
      {reg(dir, "get", {"A/B", "n64"}), 0, "-9000000000\n", ""},
      {reg(dir, "get", {"A/B", "flag"}), 0, "1\n", ""},
      {reg(dir, "get", {"A/B", "raw"}), 0, "00ff10\n", ""},
      {reg(dir, "get", {"A/B", "items"}), 0, "x\ny z\n", ""},
      {reg(dir, "get", {"A/B", "none"}), 0, "", ""},
      {reg(dir, "list", {"A/B"}), 0,
       "C/\nflag (int32) = 1\nitems (list) = x 'y z'\nn32 (int32) = 42\n"
       "n64 (int64) = -9000000000\nname (string) = hello\nnone (list) =\n"
       "raw (bytes) = 00ff10\n",
       ""},
      {reg(dir, "list", {"--recursive", "A/B/C"}), 0, "A/B/C/deep (string) = 'say \"hi\"'\n", ""},
      {reg(dir, "list", {"--recursive"}), 0,
       "A/\nA/B/\nA/B/C/\nA/B/flag (int32) = 1\nA/B/items (list) = x 'y z'\n"
       "A/B/n32 (int32) = 42\nA/B/n64 (int64) = -9000000000\nA/B/name (string) = hello\n"
       "A/B/none (list) =\nA/B/raw (bytes) = 00ff10\nA/B/C/deep (string) = 'say \"hi\"'\n",
       ""},
      // Overwriting changes the type as well.
      {reg(dir, "set", {"A/B", "name", "--type", "int32", "7"}), 0, "", ""},
      {reg(dir, "get", {"A/B", "name"}), 0, "7\n", ""},
      // The machine's hive is a different one.
      {reg(dir, "list", {"--machine"}), 0, "", ""},
  });
}

TEST(KelpRegistry, MissingKeysValuesAndNonEmptyKeys) {
  TempDir dir;
  expectCases({
      {reg(dir, "get", {"A", "x"}), 1, "", failed("no key 'A' in the current user's registry")},
      {reg(dir, "list", {"A"}), 1, "", failed("no key 'A' in the current user's registry")},
      {reg(dir, "set", {"A/B", "x", "1"}), 0, "", ""},
      {reg(dir, "get", {"A/B", "y"}), 1, "", failed("no value 'y' in key 'A/B'")},
      {reg(dir, "get", {"A/X", "y"}), 1, "", failed("no key 'A/X' in the current user's registry")},
      {reg(dir, "delete", {"A/B", "y"}), 1, "", failed("no value 'y' in key 'A/B'")},
      {reg(dir, "delete", {"A/X"}), 1, "", failed("no key 'A/X' in the current user's registry")},
      {reg(dir, "delete", {"A"}), 1, "", failed("key 'A' has subkeys; use --recursive")},
      {reg(dir, "get", {"--machine", "A", "x"}), 1, "",
       failed("no key 'A' in the local machine's registry")},
      {reg(dir, "delete", {"A/B", "x"}), 0, "", ""},
      {reg(dir, "get", {"A/B", "x"}), 1, "", failed("no value 'x' in key 'A/B'")},
      {reg(dir, "delete", {"A/B"}), 0, "", ""},
      {reg(dir, "list", {"A"}), 0, "", ""},
      {reg(dir, "set", {"A/B/C", "x", "1"}), 0, "", ""},
      {reg(dir, "delete", {"--recursive", "A"}), 0, "", ""},
      {reg(dir, "list", {}), 0, "", ""},
  });
}

TEST(KelpRegistry, UsageErrorsAndDamagedHives) {
  TempDir dir;
  expectCases({
      {reg(dir, "delete", {"/"}), 2, "", usageText("registry", "the root key cannot be deleted")},
      {reg(dir, "get", {"A//B", "x"}), 2, "", usageText("registry", "invalid key path 'A//B'")},
      {reg(dir, "set", {"A", "a/b", "x"}), 2, "",
       usageText("registry", "invalid value name 'a/b'")},
      {reg(dir, "set", {"A", "n", "--type", "int32", "99999999999"}), 2, "",
       usageText("registry", "'99999999999' is not a 32-bit integer")},
      {reg(dir, "set", {"A", "n", "--type", "bool", "maybe"}), 2, "",
       usageText("registry", "'maybe' is not true, false, 1 or 0")},
      {reg(dir, "set", {"A", "n", "--type", "bytes", "abc"}), 2, "",
       usageText("registry", "'abc' is not an even number of hex digits")},
      {reg(dir, "set", {"A", "n", "--type", "float", "1"}), 2, "",
       usageText("registry",
                 "unknown type 'float' (one of string, int32, int64, bool, bytes, list)")},
      {reg(dir, "set", {"A", "n"}), 2, "", usageText("registry", "missing VALUE")},
      {reg(dir, "set", {"A", "n", "a", "b"}), 2, "",
       usageText("registry", "a string takes one VALUE")},
      {reg(dir, "get", {"A"}), 2, "", usageText("registry", "missing operand")},
  });
  // Nothing was made by the refused commands.
  EXPECT_EQ(runKelp(reg(dir, "list", {})).out, "");
  kelp::test::writeFile(dir.file("current_user.db"), "not a database at all");
  ToolResult r = runKelp(reg(dir, "list", {}));
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err.rfind("kelp registry: cannot open the current user's registry: ", 0), 0u)
      << r.err;
  // A folder that is a file cannot take a hive.
  std::string file = dir.file("plain");
  kelp::test::writeFile(file, "");
  r = runKelp({"registry", "set", "--dir", file, "A", "b", "c"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err.rfind("kelp registry: cannot open the current user's registry: ", 0), 0u)
      << r.err;
}

TEST(KelpRegistry, TheEnvironmentNamesTheFolder) {
  TempDir dir;
  std::map<std::string, std::string> env{{"KELP_REGISTRY_DIR", dir.path()}};
  auto set = runKelp({"registry", "set", "K", "v", "x"}, "", env);
  EXPECT_EQ(set.status, 0) << set.err;
  EXPECT_EQ(runKelp(reg(dir, "get", {"K", "v"})).out, "x\n");
}

// Read as another user for real (setpriv to nobody): a hive in a folder and
// file that user may not write is read read-only, leaves no files behind,
// and the owner can still write afterwards. A FIFO in place of the file is
// "data corrupt" at once.
TEST(KelpRegistry, ReadersOfAHiveTheyMayNotWrite) {
  TempDir dir;
  ASSERT_EQ(runKelp(reg(dir, "set", {"A", "v", "hello"})).status, 0);
  const std::string db = dir.file("current_user.db");
  ASSERT_EQ(chmod(dir.path().c_str(), 0555), 0);
  ASSERT_EQ(chmod(db.c_str(), 0444), 0);
  const std::string asNobody = "setpriv --reuid=65534 --regid=65534 --clear-groups ";
  if (kelp::test::runShell(asNobody + "\"$KELP\" --version").status != 0) {
    chmod(dir.path().c_str(), 0700);
    GTEST_SKIP() << "cannot run the tool as another user here";
  }
  auto r = kelp::test::runShell(asNobody + "\"$KELP\" registry get --dir " + dir.path() + " A v");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "hello\n");
  r = kelp::test::runShell(asNobody + "\"$KELP\" registry list --dir " + dir.path() + " A");
  EXPECT_EQ(r.out, "v (string) = hello\n");
  EXPECT_EQ(kelp::test::runShell("ls -A " + dir.path()).out, "current_user.db\n");
  ASSERT_EQ(chmod(dir.path().c_str(), 0700), 0);
  ASSERT_EQ(chmod(db.c_str(), 0600), 0);
  EXPECT_EQ(runKelp(reg(dir, "set", {"A", "v", "again"})).status, 0);
  EXPECT_EQ(runKelp(reg(dir, "get", {"A", "v"})).out, "again\n");

  TempDir fifoDir;
  ASSERT_EQ(mkfifo(fifoDir.file("current_user.db").c_str(), 0600), 0);
  for (const char* op : {"get", "set"}) {
    SCOPED_TRACE(op);
    std::vector<std::string> rest{"A", "v"};
    if (std::string(op) == "set") rest.push_back("x");
    r = runKelp(reg(fifoDir, op, rest));
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, failed("cannot open the current user's registry: data corrupt"));
  }
}
