// Scratch allocation: rounding, oversize blocks, marks and the reuse of
// blocks after a rewind.
#define QUV_SOURCE_NAME "utl_StackAlloc_test"
#include <kelp/util/utl_StackAlloc.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "util/utl_StackAlloc_impl.h"

using namespace qor::quv::util;
using detail::StackAllocProbe;

namespace {

char* at(void* p) {
  return static_cast<char*>(p);
}

std::size_t blockSize(const StackAlloc& a, std::size_t i) {
  auto range = StackAllocProbe::block(a, i);
  return static_cast<std::size_t>(range.second - range.first);
}

const char* blockBegin(const StackAlloc& a, std::size_t i) {
  return StackAllocProbe::block(a, i).first;
}

}  // namespace

TEST(StackAlloc, RoundsToEightBytes) {
  struct Case {
    unsigned n, advance;
  } cases[] = {{0, 0}, {1, 8}, {7, 8}, {8, 8}, {9, 16}, {15, 16}, {16, 16}, {17, 24}};
  StackAlloc a(1024);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.n);
    char* before = at(a.getAllocBase());
    void* p = a.alloc(c.n);
    EXPECT_EQ(p, before);
    EXPECT_EQ(at(a.getAllocBase()) - before, static_cast<std::ptrdiff_t>(c.advance));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % 8, 0u);
  }
  EXPECT_EQ(StackAllocProbe::blockCount(a), 1u);
  EXPECT_EQ(blockSize(a, 0), 1024u);
}

TEST(StackAlloc, OversizeRequestGetsABlockOfItsRoundedSize) {
  StackAlloc a(64);
  a.alloc(8);
  void* big = a.alloc(100);
  ASSERT_EQ(StackAllocProbe::blockCount(a), 2u);
  EXPECT_EQ(big, blockBegin(a, 1));
  EXPECT_EQ(blockSize(a, 1), 104u);
  EXPECT_EQ(StackAllocProbe::currentBlock(a), 1u);
  std::memset(big, 0xab, 100);  // the whole request is usable
  // The oversize block is full: the next request starts a block of the
  // block size.
  a.alloc(8);
  ASSERT_EQ(StackAllocProbe::blockCount(a), 3u);
  EXPECT_EQ(blockSize(a, 2), 64u);
}

TEST(StackAlloc, MarkOfTheCurrentPositionChangesNothing) {
  StackAlloc a(64);
  a.alloc(40);
  a.alloc(40);
  void* mark = a.getAllocBase();
  const std::size_t current = StackAllocProbe::currentBlock(a);
  const char* end = StackAllocProbe::currentEnd(a);
  a.setAllocBase(a.getAllocBase());
  EXPECT_EQ(a.getAllocBase(), mark);
  EXPECT_EQ(StackAllocProbe::currentBlock(a), current);
  EXPECT_EQ(StackAllocProbe::currentEnd(a), end);
  EXPECT_EQ(StackAllocProbe::blockCount(a), 2u);
  // A mark in no block changes nothing either.
  int elsewhere = 0;
  a.setAllocBase(&elsewhere);
  a.setAllocBase(nullptr);
  EXPECT_EQ(a.getAllocBase(), mark);
  EXPECT_EQ(StackAllocProbe::currentBlock(a), current);
}

TEST(StackAlloc, RewindReusesBlocksInOrder) {
  StackAlloc a(64);
  void* mark = a.getAllocBase();
  void* first[4];
  for (void*& p : first) p = a.alloc(48);  // one per block
  ASSERT_EQ(StackAllocProbe::blockCount(a), 4u);
  for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(first[i], blockBegin(a, i));

  a.setAllocBase(mark);
  EXPECT_EQ(StackAllocProbe::currentBlock(a), 0u);
  EXPECT_EQ(a.getAllocBase(), mark);
  for (std::size_t i = 0; i < 4; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(a.alloc(48), first[i]);
    EXPECT_EQ(StackAllocProbe::currentBlock(a), i);
  }
  EXPECT_EQ(StackAllocProbe::blockCount(a), 4u);  // nothing new so far
  a.alloc(48);
  EXPECT_EQ(StackAllocProbe::blockCount(a), 5u);

  // A mark inside a later block resumes there.
  a.setAllocBase(at(first[2]) + 16);
  EXPECT_EQ(StackAllocProbe::currentBlock(a), 2u);
  EXPECT_EQ(a.alloc(8), at(first[2]) + 16);
  EXPECT_EQ(a.alloc(48), first[3]);
  // A mark at a block's end is inside it: the next request moves on.
  a.setAllocBase(const_cast<char*>(StackAllocProbe::block(a, 0).second));
  EXPECT_EQ(StackAllocProbe::currentBlock(a), 0u);
  EXPECT_EQ(a.alloc(8), first[1]);
}

TEST(StackAlloc, RewindSkipsBlocksWithoutRoom) {
  StackAlloc a(64);
  void* mark = a.getAllocBase();
  a.alloc(64);              // block 0, full
  void* b1 = a.alloc(200);  // block 1 of 200
  void* b2 = a.alloc(64);   // block 2 of 64
  ASSERT_EQ(StackAllocProbe::blockCount(a), 3u);
  a.setAllocBase(mark);
  a.alloc(64);
  EXPECT_EQ(a.alloc(100), b1);  // block 1 is the first with room for 104
  EXPECT_EQ(StackAllocProbe::currentBlock(a), 1u);
  // 96 bytes are left in block 1 and block 2 has 64: a new block of 104.
  void* fresh = a.alloc(100);
  EXPECT_NE(fresh, b2);
  ASSERT_EQ(StackAllocProbe::blockCount(a), 4u);
  EXPECT_EQ(fresh, blockBegin(a, 3));
  EXPECT_EQ(blockSize(a, 3), 104u);
}

TEST(StackAlloc, StrDup) {
  StackAlloc a(32);
  struct Case {
    const char* text;
    std::ptrdiff_t advance;
  } cases[] = {{"", 8}, {"1234567", 8}, {"12345678", 16}, {"a longer text than a block", 0}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    char* before = at(a.getAllocBase());
    char* copy = a.strDup(c.text);
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy, c.text);
    EXPECT_STREQ(copy, c.text);
    if (c.advance) {
      EXPECT_EQ(at(a.getAllocBase()) - before, c.advance);
    }
  }
  EXPECT_EQ(a.strDup(nullptr), nullptr);
}

TEST(StackAlloc, ZeroBlockSize) {
  StackAlloc a(0);
  EXPECT_EQ(StackAllocProbe::blockCount(a), 1u);
  EXPECT_EQ(blockSize(a, 0), 0u);
  void* p = a.alloc(3);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(blockSize(a, 1), 8u);
  std::memset(p, 1, 8);
}
