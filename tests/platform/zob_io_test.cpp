// Byte streams over files, descriptors and memory.
#include <gtest/gtest.h>
#include <test_support.h>
#include <zob/zob_io.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <string>

namespace {

using zob::io::IInputStream;
using zob::io::IMemoryOutputStream;
using zob::io::IOutputStream;

std::string readAll(IInputStream* in, std::size_t block) {
  std::string out;
  std::string buf(block, '\0');
  for (;;) {
    std::size_t n = 99;
    EXPECT_EQ(in->read(buf.data(), block, &n), zob::kOk);
    if (n == 0) break;
    EXPECT_LE(n, block);
    out.append(buf.data(), n);
  }
  return out;
}

}  // namespace

TEST(ZobIo, FileInputStreamReadsAndReportsOpenFailures) {
  kelp::test::TempDir dir;
  kelp::test::writeFile(dir.file("a.txt"), "hello, world");
  zob::Ref<IInputStream> in;
  ASSERT_EQ(zobCreateFileInputStream(dir.file("a.txt").c_str(), in.out()), zob::kOk);
  EXPECT_EQ(readAll(in.get(), 5), "hello, world");
  std::size_t n = 1;
  EXPECT_EQ(in->read(nullptr, 0, &n), zob::kOk);  // size 0 reads nothing
  EXPECT_EQ(n, 0u);
  EXPECT_EQ(in->read(nullptr, 4, &n), zob::kInvalidArgument);
  char c;
  EXPECT_EQ(in->read(&c, 1, nullptr), zob::kInvalidArgument);

  IInputStream* raw = reinterpret_cast<IInputStream*>(1);
  EXPECT_EQ(zobCreateFileInputStream(dir.file("missing").c_str(), &raw), zob::kNotFound);
  EXPECT_EQ(raw, nullptr);
  EXPECT_EQ(zobCreateFileInputStream(dir.path().c_str(), &raw), zob::kIOError);
  EXPECT_EQ(raw, nullptr);
  EXPECT_EQ(zobCreateFileInputStream(nullptr, &raw), zob::kInvalidArgument);
  EXPECT_EQ(zobCreateFileInputStream("x", nullptr), zob::kInvalidArgument);
  if (geteuid() != 0) {  // root reads everything
    kelp::test::writeFile(dir.file("secret"), "x");
    ::chmod(dir.file("secret").c_str(), 0);
    EXPECT_EQ(zobCreateFileInputStream(dir.file("secret").c_str(), &raw), zob::kPermissionDenied);
  }
}

TEST(ZobIo, DescriptorStreams) {
  int fds[2];
  ASSERT_EQ(::pipe(fds), 0);
  zob::Ref<IOutputStream> out;
  ASSERT_EQ(zobCreateFdOutputStream(fds[1], true, out.out()), zob::kOk);
  std::size_t n = 0;
  EXPECT_EQ(out->write("abc", 3, &n), zob::kOk);
  EXPECT_EQ(n, 3u);
  EXPECT_EQ(out->write("", 0, nullptr), zob::kOk);
  EXPECT_EQ(out->flush(), zob::kOk);
  out.reset();  // closes the writing end: the reader sees the end
  zob::Ref<IInputStream> in;
  ASSERT_EQ(zobCreateFdInputStream(fds[0], true, in.out()), zob::kOk);
  EXPECT_EQ(readAll(in.get(), 2), "abc");

  IInputStream* raw = nullptr;
  EXPECT_EQ(zobCreateFdInputStream(-1, false, &raw), zob::kInvalidArgument);
  // A descriptor not open for writing fails the write.
  int ro = ::open("/dev/null", O_RDONLY);
  ASSERT_GE(ro, 0);
  ASSERT_EQ(zobCreateFdOutputStream(ro, true, out.out()), zob::kOk);
  n = 7;
  EXPECT_EQ(out->write("abc", 3, &n), zob::kWriteFailure);
  EXPECT_EQ(n, 0u);
  // A read failure is an error, not the end.
  int wo = ::open("/dev/null", O_WRONLY);
  ASSERT_GE(wo, 0);
  ASSERT_EQ(zobCreateFdInputStream(wo, true, in.out()), zob::kOk);
  char buf[4];
  EXPECT_EQ(in->read(buf, sizeof buf, &n), zob::kIOError);
  EXPECT_EQ(n, 0u);
}

TEST(ZobIo, FileOutputStreamWritesTheFile) {
  kelp::test::TempDir dir;
  zob::Ref<IOutputStream> out;
  ASSERT_EQ(zobCreateFileOutputStream(dir.file("o.txt").c_str(), out.out()), zob::kOk);
  EXPECT_EQ(out->write("line\n", 5, nullptr), zob::kOk);
  EXPECT_EQ(out->write("more", 4, nullptr), zob::kOk);
  out.reset();
  EXPECT_EQ(kelp::test::readFile(dir.file("o.txt")), "line\nmore");
  IOutputStream* raw = nullptr;
  EXPECT_EQ(zobCreateFileOutputStream(dir.file("no/such/dir").c_str(), &raw), zob::kNotFound);
  EXPECT_EQ(raw, nullptr);
}

TEST(ZobIo, MemoryInputStream) {
  std::string text = "0123456789";
  for (bool copy : {false, true}) {
    SCOPED_TRACE(copy);
    zob::Ref<IInputStream> in;
    ASSERT_EQ(zobCreateMemoryInputStream(text.data(), text.size(), copy, in.out()), zob::kOk);
    EXPECT_EQ(readAll(in.get(), 3), text);
  }
  // The copy does not depend on the caller's memory.
  std::string temp = "abc";
  zob::Ref<IInputStream> in;
  ASSERT_EQ(zobCreateMemoryInputStream(temp.data(), temp.size(), true, in.out()), zob::kOk);
  temp = "xyz";
  EXPECT_EQ(readAll(in.get(), 8), "abc");
  ASSERT_EQ(zobCreateMemoryInputStream(nullptr, 0, true, in.out()), zob::kOk);
  EXPECT_EQ(readAll(in.get(), 8), "");
  IInputStream* raw = nullptr;
  EXPECT_EQ(zobCreateMemoryInputStream(nullptr, 3, false, &raw), zob::kInvalidArgument);
}

TEST(ZobIo, MemoryOutputStreamCollectsBytes) {
  zob::Ref<IMemoryOutputStream> out;
  ASSERT_EQ(zobCreateMemoryOutputStream(out.out()), zob::kOk);
  const char* data = nullptr;
  std::size_t size = 9;
  EXPECT_EQ(out->getData(&data, &size), zob::kOk);
  EXPECT_STREQ(data, "");
  EXPECT_EQ(size, 0u);
  std::string expected;
  for (int i = 0; i < 1000; ++i) {
    std::string piece = std::to_string(i) + ",";
    std::size_t n = 0;
    ASSERT_EQ(out->write(piece.data(), piece.size(), &n), zob::kOk);
    EXPECT_EQ(n, piece.size());
    expected += piece;
  }
  EXPECT_EQ(out->write(std::string(1, '\0').data(), 1, nullptr), zob::kOk);  // NUL bytes too
  expected.push_back('\0');
  EXPECT_EQ(out->getData(&data, &size), zob::kOk);
  EXPECT_EQ(std::string(data, size), expected);
  EXPECT_EQ(data[size], '\0');
  out->clear();
  EXPECT_EQ(out->getData(&data, &size), zob::kOk);
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(out->getData(nullptr, &size), zob::kInvalidArgument);
  EXPECT_EQ(out->write(nullptr, 2, nullptr), zob::kInvalidArgument);
}

TEST(ZobIo, InterfacesAndReferenceCounts) {
  zob::Ref<IMemoryOutputStream> mem;
  ASSERT_EQ(zobCreateMemoryOutputStream(mem.out()), zob::kOk);
  EXPECT_STREQ(mem->_comGetInterfaceId(), "IDL:zob/io/IMemoryOutputStream:1.0");
  zob::Ref<IOutputStream> out;
  EXPECT_EQ(zob::query(mem.get(), out), zob::kOk);
  EXPECT_EQ(static_cast<IOutputStream*>(mem.get()), out.get());
  EXPECT_STREQ(IOutputStream::IID, "IDL:zob/io/IOutputStream:1.0");
  zob::Ref<zob::IUnknown> unk;
  EXPECT_EQ(zob::query(mem.get(), unk), zob::kOk);
  zob::Ref<IInputStream> in;
  EXPECT_EQ(zob::query(mem.get(), in), zob::kNoInterface);
  EXPECT_FALSE(in);
  zob::IUnknown* p = reinterpret_cast<zob::IUnknown*>(1);
  EXPECT_EQ(mem->_comQueryInterface("IDL:nothing:1.0", &p), zob::kNoInterface);
  EXPECT_EQ(p, nullptr);
  // One reference from creation, one from each successful query.
  EXPECT_EQ(mem->_comAddRef(), 4u);
  EXPECT_EQ(mem->_comRelease(), 3u);

  std::string text = "x";
  ASSERT_EQ(zobCreateMemoryInputStream(text.data(), 1, false, in.out()), zob::kOk);
  EXPECT_STREQ(in->_comGetInterfaceId(), "IDL:zob/io/IInputStream:1.0");
  zob::Ref<IOutputStream> none;
  EXPECT_EQ(zob::query(in.get(), none), zob::kNoInterface);
}
