// Funcs::copyFile and Funcs::removeDirectory on real temporary trees, with
// every failure message checked.
#include <gtest/gtest.h>
#include <kelp/host.h>
#include <kelp/util/utl_Funcs.h>

#include <string>
#include <vector>

#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "test_support.h"

using kelp::host::LogLevel;
using kelp::host::RecordingLogger;
using kelp::test::TempDir;
using qor::quv::util::Funcs;

namespace {

struct Fixture {
  zob::Ref<kelp::host::Application> app = kelp::host::Application::create();
  zob::Ref<RecordingLogger> log = RecordingLogger::create();
  Fixture() { app->installLogger(log.get()); }
  std::vector<std::string> messages() const { return log->texts(LogLevel::Debug); }
};

std::string bytes(std::size_t n) {
  std::string s(n, '\0');
  unsigned x = 12345;
  for (char& c : s) {
    x = x * 1103515245u + 12345u;
    c = static_cast<char>(x >> 16);
  }
  return s;
}

bool exists(const std::string& path) {
  struct stat st {};
  return ::lstat(path.c_str(), &st) == 0;
}

}  // namespace

TEST(FuncsCopyFile, CopiesExactlyAcrossBlocks) {
  TempDir dir;
  for (std::size_t size : {std::size_t(0), std::size_t(1), std::size_t(32767), std::size_t(32768),
                           std::size_t(32769), std::size_t(100000)}) {
    SCOPED_TRACE(size);
    Fixture f;
    const std::string content = bytes(size);
    kelp::test::writeFile(dir.file("src"), content);
    kelp::test::writeFile(dir.file("dst"), "old content that is longer than some sources");
    EXPECT_EQ(Funcs::copyFile(f.app.get(), dir.file("src"), dir.file("dst")), zob::kOk);
    EXPECT_EQ(kelp::test::readFile(dir.file("dst")), content);
    EXPECT_TRUE(f.messages().empty());
  }
}

TEST(FuncsCopyFile, OpenFailures) {
  TempDir dir;
  kelp::test::writeFile(dir.file("src"), "data");
  kelp::test::writeFile(dir.file("plain"), "x");
  ::mkdir(dir.file("sub").c_str(), 0755);
  struct Case {
    std::string from, to;
    ZResult code;
    std::string message;
  } cases[] = {
      {dir.file("missing"), dir.file("dst"), zob::kNotFound,
       "Can't open " + dir.file("missing") + " for reading: not found"},
      {dir.file("src"), dir.file("sub"), zob::kIsDirectory,
       "Can't open " + dir.file("sub") + " for writing: is a directory"},
      {dir.file("src"), dir.file("plain/under"), zob::kNotDirectory,
       "Can't open " + dir.file("plain/under") + " for writing: not a directory"},
      {dir.file("src"), dir.file("nowhere/dst"), zob::kNotFound,
       "Can't open " + dir.file("nowhere/dst") + " for writing: not found"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.message);
    Fixture f;
    EXPECT_EQ(Funcs::copyFile(f.app.get(), c.from, c.to), c.code);
    EXPECT_EQ(f.messages(), std::vector<std::string>{c.message});
  }
}

TEST(FuncsCopyFile, UnreadableSource) {
  if (::geteuid() == 0) GTEST_SKIP() << "permission bits do not stop root from reading";
  TempDir dir;
  kelp::test::writeFile(dir.file("secret"), "data");
  ::chmod(dir.file("secret").c_str(), 0);
  Fixture f;
  EXPECT_EQ(Funcs::copyFile(f.app.get(), dir.file("secret"), dir.file("dst")),
            zob::kPermissionDenied);
  EXPECT_EQ(f.messages(), std::vector<std::string>{"Can't open " + dir.file("secret") +
                                                   " for reading: permission denied"});
}

TEST(FuncsCopyFile, ReadError) {
  // A directory opens for reading, but reading it fails.
  TempDir dir;
  ::mkdir(dir.file("sub").c_str(), 0755);
  Fixture f;
  EXPECT_EQ(Funcs::copyFile(f.app.get(), dir.file("sub"), dir.file("dst")), zob::kIsDirectory);
  EXPECT_EQ(f.messages(),
            std::vector<std::string>{"Read error on " + dir.file("sub") + ": is a directory"});
  EXPECT_EQ(kelp::test::readFile(dir.file("dst")), "");  // opened, then closed
}

TEST(FuncsCopyFile, WriteError) {
  if (::access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full";
  TempDir dir;
  kelp::test::writeFile(dir.file("src"), "data");
  Fixture f;
  EXPECT_EQ(Funcs::copyFile(f.app.get(), dir.file("src"), "/dev/full"), zob::kNoSpace);
  EXPECT_EQ(f.messages(),
            std::vector<std::string>{"Write error on /dev/full: no space left on device"});
}

TEST(FuncsCopyFile, ShortWrite) {
  // A file size limit lets the second block through only in part.
  TempDir dir;
  kelp::test::writeFile(dir.file("src"), bytes(70000));
  const std::string dst = dir.file("dst");
  const kelp::test::ChildResult child = kelp::test::runInChild([&] {
    ::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{40000, 40000};
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) return 3;
    Fixture f;
    const ZResult r = Funcs::copyFile(f.app.get(), dir.file("src"), dst);
    const std::vector<std::string> expected{"Short write on " + dst +
                                            " (wrote 7232 of 32768 bytes)."};
    if (r != zob::kWriteFailure) return 1;
    return f.messages() == expected ? 0 : 2;
  });
  EXPECT_EQ(child.exitStatus, 0) << child.stderrText;
  EXPECT_EQ(kelp::test::readFile(dst), bytes(70000).substr(0, 40000));
}

TEST(FuncsRemoveDirectory, RemovesATree) {
  TempDir dir;
  const std::string root = dir.file("tree");
  ::mkdir(root.c_str(), 0755);
  ::mkdir((root + "/a").c_str(), 0755);
  ::mkdir((root + "/a/b").c_str(), 0755);
  ::mkdir((root + "/empty").c_str(), 0755);
  kelp::test::writeFile(root + "/f1", "1");
  kelp::test::writeFile(root + "/a/f2", "2");
  kelp::test::writeFile(root + "/a/b/f3", bytes(40000));
  kelp::test::writeFile(root + "/.hidden", "h");
  kelp::test::writeFile(dir.file("outside"), "keep");
  ::symlink(dir.path().c_str(), (root + "/a/link-to-outside").c_str());
  ::symlink("dangling-target", (root + "/dangling").c_str());

  Fixture f;
  EXPECT_EQ(Funcs::removeDirectory(f.app.get(), root + "//", true), zob::kOk);
  EXPECT_TRUE(f.messages().empty());
  EXPECT_FALSE(exists(root));
  EXPECT_EQ(kelp::test::readFile(dir.file("outside")), "keep");  // the link was not followed
}

TEST(FuncsRemoveDirectory, NonRecursive) {
  TempDir dir;
  ::mkdir(dir.file("empty").c_str(), 0755);
  ::mkdir(dir.file("full").c_str(), 0755);
  kelp::test::writeFile(dir.file("full/x"), "x");
  Fixture f;
  EXPECT_EQ(Funcs::removeDirectory(f.app.get(), dir.file("empty"), false), zob::kOk);
  EXPECT_FALSE(exists(dir.file("empty")));
  EXPECT_EQ(Funcs::removeDirectory(f.app.get(), dir.file("full"), false), zob::kNotEmpty);
  EXPECT_EQ(f.messages(), std::vector<std::string>{"Failed to remove " + dir.file("full") +
                                                   ": directory not empty"});
  EXPECT_TRUE(exists(dir.file("full/x")));
}

TEST(FuncsRemoveDirectory, Failures) {
  TempDir dir;
  kelp::test::writeFile(dir.file("file"), "x");
  {
    SCOPED_TRACE("missing");
    Fixture f;
    EXPECT_EQ(Funcs::removeDirectory(f.app.get(), dir.file("missing"), true), zob::kNotFound);
    EXPECT_EQ(f.messages(), (std::vector<std::string>{
                                "Failed to open directory " + dir.file("missing") + ": not found",
                                "Failed to remove " + dir.file("missing") + ": not found"}));
  }
  {
    SCOPED_TRACE("a file");
    Fixture f;
    EXPECT_EQ(Funcs::removeDirectory(f.app.get(), dir.file("file"), true), zob::kNotDirectory);
    EXPECT_EQ(f.messages(),
              (std::vector<std::string>{
                  "Failed to open directory " + dir.file("file") + ": not a directory",
                  "Failed to remove " + dir.file("file") + ": not a directory"}));
    EXPECT_TRUE(exists(dir.file("file")));
  }
  {
    SCOPED_TRACE("unknown type");
    const std::string root = dir.file("withfifo");
    ::mkdir(root.c_str(), 0755);
    ASSERT_EQ(::mkfifo((root + "/pipe").c_str(), 0600), 0);
    kelp::test::writeFile(root + "/plain", "p");
    Fixture f;
    EXPECT_EQ(Funcs::removeDirectory(f.app.get(), root, true), zob::kUnsupported);
    EXPECT_EQ(f.messages(),
              (std::vector<std::string>{"Unknown file type: " + root + "/pipe",
                                        "Failed to remove " + root + ": directory not empty"}));
    EXPECT_FALSE(exists(root + "/plain"));  // the walk went on past the failure
    EXPECT_TRUE(exists(root + "/pipe"));
  }
}

TEST(FuncsRemoveDirectory, UnwritableParent) {
  if (::geteuid() == 0) GTEST_SKIP() << "permission bits do not stop root from removing";
  TempDir dir;
  const std::string root = dir.file("locked");
  ::mkdir(root.c_str(), 0755);
  kelp::test::writeFile(root + "/x", "x");
  ::chmod(root.c_str(), 0555);
  Fixture f;
  EXPECT_EQ(Funcs::removeDirectory(f.app.get(), root, true), zob::kPermissionDenied);
  EXPECT_EQ(f.messages(),
            (std::vector<std::string>{"Failed to remove " + root + "/x: permission denied",
                                      "Failed to remove " + root + ": directory not empty"}));
  ::chmod(root.c_str(), 0755);
}
