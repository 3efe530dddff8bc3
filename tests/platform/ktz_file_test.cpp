// The runtime's files and directories, and the path helpers over them.
#include <gtest/gtest.h>
#include <ktz/ktz_file.h>
#include <vorn/vorn_file.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include <sys/stat.h>

#include "test_support.h"

using kelp::test::TempDir;

TEST(KtzFile, WriteReadAndErrors) {
  TempDir dir;
  const std::string path = dir.file("f");
  EXPECT_EQ(kKtzFileWrite | kKtzFileCreate | kKtzFileTruncate, 82);
  KtzFile* f = nullptr;
  ASSERT_EQ(ktzFileOpen(path.c_str(), 82, &f), zob::kOk);
  std::size_t n = 0;
  EXPECT_EQ(ktzFileWrite(f, "hello", 5, &n), zob::kOk);
  EXPECT_EQ(n, 5u);
  EXPECT_EQ(ktzFileClose(f), zob::kOk);

  ASSERT_EQ(ktzFileOpen(path.c_str(), kKtzFileRead, &f), zob::kOk);
  char buf[16];
  EXPECT_EQ(ktzFileRead(f, buf, sizeof buf, &n), zob::kOk);
  EXPECT_EQ(std::string(buf, n), "hello");
  EXPECT_EQ(ktzFileRead(f, buf, sizeof buf, &n), zob::kOk);
  EXPECT_EQ(n, 0u);
  EXPECT_EQ(ktzFileWrite(f, "x", 1, &n), zob::kInvalidArgument);  // EBADF: opened for reading
  EXPECT_EQ(ktzFileClose(f), zob::kOk);

  EXPECT_EQ(ktzFileOpen(dir.file("missing").c_str(), kKtzFileRead, &f), zob::kNotFound);
  EXPECT_EQ(f, nullptr);
  EXPECT_EQ(ktzFileOpen(path.c_str(), 0, &f), zob::kInvalidArgument);
  EXPECT_EQ(ktzFileOpen(nullptr, kKtzFileRead, &f), zob::kInvalidArgument);
  EXPECT_EQ(ktzFileOpen(path.c_str(), kKtzFileWrite | kKtzFileCreate | kKtzFileExclusive, &f),
            zob::kExists);
  EXPECT_EQ(ktzFileOpen((path + "/x").c_str(), kKtzFileRead, &f), zob::kNotDirectory);
  EXPECT_EQ(ktzFileOpen(dir.path().c_str(), 82, &f), zob::kIsDirectory);
  EXPECT_EQ(ktzFileClose(nullptr), zob::kInvalidArgument);
  EXPECT_STREQ(zobStrError(zob::kIsDirectory), "is a directory");
  EXPECT_STREQ(zobStrError(zob::kNotEmpty), "directory not empty");
}

TEST(KtzFile, DirectoriesAndTypes) {
  TempDir dir;
  ASSERT_EQ(ktzCreateDirectory(dir.file("d").c_str()), zob::kOk);
  EXPECT_EQ(ktzCreateDirectory(dir.file("d").c_str()), zob::kExists);
  kelp::test::writeFile(dir.file("d/a"), "1");
  kelp::test::writeFile(dir.file("d/b"), "2");
  ASSERT_EQ(::symlink("a", dir.file("d/l").c_str()), 0);

  KtzDir* d = nullptr;
  ASSERT_EQ(ktzDirOpen(dir.file("d").c_str(), &d), zob::kOk);
  std::vector<std::string> names;
  char name[256];
  ZResult r;
  while ((r = ktzDirRead(d, name, sizeof name)) == zob::kOk) names.push_back(name);
  EXPECT_EQ(r, zob::kEndOfStream);
  EXPECT_EQ(ktzDirClose(d), zob::kOk);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"a", "b", "l"}));  // no "." or ".."

  ASSERT_EQ(ktzDirOpen(dir.file("d").c_str(), &d), zob::kOk);
  char tiny[1];
  EXPECT_EQ(ktzDirRead(d, tiny, sizeof tiny), zob::kNameTooLong);
  EXPECT_STREQ(tiny, "");
  EXPECT_EQ(ktzDirClose(d), zob::kOk);
  EXPECT_EQ(ktzDirOpen(dir.file("d/a").c_str(), &d), zob::kNotDirectory);

  int type = 0;
  EXPECT_EQ(ktzGetFileType(dir.file("d").c_str(), &type), zob::kOk);
  EXPECT_EQ(type, kKtzFileTypeDirectory);
  EXPECT_EQ(ktzGetFileType(dir.file("d/a").c_str(), &type), zob::kOk);
  EXPECT_EQ(type, kKtzFileTypeRegular);
  EXPECT_EQ(ktzGetFileType(dir.file("d/l").c_str(), &type), zob::kOk);
  EXPECT_EQ(type, kKtzFileTypeLink);
  EXPECT_EQ(ktzGetFileType(dir.file("none").c_str(), &type), zob::kNotFound);
  ASSERT_EQ(::mkfifo(dir.file("p").c_str(), 0600), 0);
  EXPECT_EQ(ktzGetFileType(dir.file("p").c_str(), &type), zob::kOk);
  EXPECT_EQ(type, kKtzFileTypeOther);

  EXPECT_EQ(ktzRemoveDirectory(dir.file("d").c_str()), zob::kNotEmpty);
  EXPECT_EQ(ktzRemoveFile(dir.file("d").c_str()), zob::kIsDirectory);
  EXPECT_EQ(ktzRemoveFile(dir.file("d/l").c_str()), zob::kOk);
  EXPECT_EQ(ktzRemoveFile(dir.file("d/a").c_str()), zob::kOk);
  EXPECT_EQ(ktzRemoveFile(dir.file("d/b").c_str()), zob::kOk);
  EXPECT_EQ(ktzRemoveDirectory(dir.file("d").c_str()), zob::kOk);
  EXPECT_EQ(ktzRemoveDirectory(dir.file("d").c_str()), zob::kNotFound);
}

TEST(KtzFile, AppendToPath) {
  struct Case {
    const char* path;
    const char* name;
    const char* result;
  } cases[] = {{"/tmp", "a", "/tmp/a"},
               {"/tmp/", "a", "/tmp/a"},
               {"", "a", "a"},
               {"/", "etc", "/etc"},
               {"a", "", "a/"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.path) + " + " + c.name);
    char buf[32];
    std::strcpy(buf, c.path);
    EXPECT_EQ(ktzAppendToPath(buf, sizeof buf, c.name), zob::kOk);
    EXPECT_STREQ(buf, c.result);
  }
  char small[8] = "/tmp";
  EXPECT_EQ(ktzAppendToPath(small, sizeof small, "abc"), zob::kNameTooLong);  // needs 9 bytes
  EXPECT_STREQ(small, "/tmp");
  EXPECT_EQ(ktzAppendToPath(small, sizeof small, "ab"), zob::kOk);  // exactly 8
  EXPECT_STREQ(small, "/tmp/ab");
  EXPECT_EQ(ktzAppendToPath(nullptr, 8, "a"), zob::kInvalidArgument);
}

TEST(VornFile, PathsAndDirectories) {
  struct Case {
    const char* in;
    const char* out;
  } cases[] = {{"/tmp//data/", "/tmp/data"},
               {"/", "/"},
               {"//", "/"},
               {"a/b", "a/b"},
               {"", ""},
               {"a///", "a"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.in);
    EXPECT_EQ(GDirectory::unix2nativePath(c.in), c.out);
    EXPECT_EQ(GDirectory::native2unixPath(c.in), c.out);
  }
  TempDir dir;
  EXPECT_TRUE(GDirectory::exists(dir.path()));
  EXPECT_EQ(GDirectory::create(dir.file("x/y/z")), zob::kNotFound);
  EXPECT_EQ(GDirectory::create(dir.file("x/y/z"), true), zob::kOk);
  EXPECT_EQ(GDirectory::create(dir.file("x/y/z/"), true), zob::kOk);
  EXPECT_TRUE(GDirectory::exists(dir.file("x/y/z")));
  kelp::test::writeFile(dir.file("f"), "12345");
  EXPECT_EQ(GDirectory::create(dir.file("f/sub"), true), zob::kNotDirectory);
  EXPECT_TRUE(GFile::exists(dir.file("f")));
  EXPECT_FALSE(GFile::exists(dir.file("x")));
  std::uint64_t size = 0;
  EXPECT_EQ(GFile::getSize(dir.file("f"), &size), zob::kOk);
  EXPECT_EQ(size, 5u);
  EXPECT_EQ(GFile::getSize(dir.file("x"), &size), zob::kIsDirectory);
  EXPECT_EQ(GFile::remove(dir.file("f")), zob::kOk);
  EXPECT_FALSE(GFile::exists(dir.file("f")));
  EXPECT_EQ(GFile::getSize(dir.file("f"), &size), zob::kNotFound);
}
