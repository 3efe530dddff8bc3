// Pool allocation: the size rules, doubling chunks, large blocks, zero
// filling and the destructors run by the pool.
#define QUV_SOURCE_NAME "utl_PoolAllocator_test"
#include <kelp/util/utl_PoolAllocator.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "util/utl_PoolAllocator_impl.h"

using namespace qor::quv::util;
using detail::PoolAllocatorProbe;

namespace {

std::size_t chunkLeft(const PoolAllocator& p) {
  return static_cast<std::size_t>(PoolAllocatorProbe::end(p) - PoolAllocatorProbe::pos(p));
}

}  // namespace

TEST(PoolAllocator, SizeRules) {
  struct Case {
    std::size_t initial, max;
    std::size_t firstChunk, maxChunk, threshold;
  } cases[] = {
      {100, 4096, 128, 4096, 64},     // not a power of two
      {4096, 1024, 128, 4096, 64},    // first chunk above the largest
      {32, 4096, 128, 4096, 64},      // below 64
      {128, 3000, 128, 4096, 64},     // largest not a power of two
      {0, 0, 128, 4096, 64},          //
      {1024, 8192, 1024, 8192, 128},  // one eighth from 512 on
      {64, 64, 64, 64, 64},           //
      {256, 4096, 256, 4096, 64},     // below 512: 64
      {512, 512, 512, 512, 64},       //
      {4096, 65536, 4096, 65536, 512},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.initial) + "/" + std::to_string(c.max));
    PoolAllocator p(c.initial, c.max);
    EXPECT_EQ(chunkLeft(p), c.firstChunk);
    EXPECT_EQ(PoolAllocatorProbe::totalSize(p), c.firstChunk);
    EXPECT_EQ(PoolAllocatorProbe::maxChunkSize(p), c.maxChunk);
    EXPECT_EQ(PoolAllocatorProbe::threshold(p), c.threshold);
    EXPECT_EQ(PoolAllocatorProbe::blockCount(p), 1u);
  }
  PoolAllocator byDefault;
  EXPECT_EQ(chunkLeft(byDefault), 128u);
  EXPECT_EQ(PoolAllocatorProbe::maxChunkSize(byDefault), 4096u);
}

TEST(PoolAllocator, LargeRequestsGetBlocksOfTheirOwn) {
  PoolAllocator p(1024, 8192);
  const char* pos = PoolAllocatorProbe::pos(p);
  char* large = static_cast<char*>(p._allocMem(128));
  ASSERT_NE(large, nullptr);
  EXPECT_EQ(PoolAllocatorProbe::blockCount(p), 2u);
  EXPECT_EQ(PoolAllocatorProbe::pos(p), pos);  // the chunk is kept
  for (int i = 0; i < 128; ++i) ASSERT_EQ(large[i], 0);
  // 121 rounds up to 128: also large. 120 is cut from the chunk.
  p._allocMem(121);
  EXPECT_EQ(PoolAllocatorProbe::blockCount(p), 3u);
  EXPECT_EQ(p._allocMem(120), pos);
  EXPECT_EQ(PoolAllocatorProbe::pos(p), pos + 120);
  EXPECT_EQ(PoolAllocatorProbe::totalSize(p), 1024u);  // blocks are not chunks
}

TEST(PoolAllocator, RoundsAndZeroFills) {
  PoolAllocator p;
  struct Case {
    std::size_t n, advance;
  } cases[] = {{0, 0}, {1, 8}, {8, 8}, {9, 16}, {56, 56}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.n);
    const char* before = PoolAllocatorProbe::pos(p);
    char* m = static_cast<char*>(p._allocMem(c.n));
    EXPECT_EQ(m, before);
    EXPECT_EQ(static_cast<std::size_t>(PoolAllocatorProbe::pos(p) - before), c.advance);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(m) % 8, 0u);
    for (std::size_t i = 0; i < c.advance; ++i) ASSERT_EQ(m[i], 0);
  }
}

TEST(PoolAllocator, ChunksDoubleUpToTheLargestSize) {
  PoolAllocator p;  // first chunk 128, largest 4096
  std::vector<std::size_t> chunks = {chunkLeft(p)};
  std::vector<std::size_t> thresholds = {PoolAllocatorProbe::threshold(p)};
  std::size_t blocks = PoolAllocatorProbe::blockCount(p);
  for (int i = 0; i < 4000 && chunks.size() < 9; ++i) {
    p._allocMem(56);
    if (PoolAllocatorProbe::blockCount(p) != blocks) {
      blocks = PoolAllocatorProbe::blockCount(p);
      chunks.push_back(chunkLeft(p) + 56);
      thresholds.push_back(PoolAllocatorProbe::threshold(p));
    }
  }
  // Each new chunk is as large as all before it, up to 4096.
  std::vector<std::size_t> expected;
  std::size_t total = 0;
  for (std::size_t i = 0; i < chunks.size(); ++i) {
    const std::size_t size = i == 0 ? 128 : std::min<std::size_t>(total, 4096);
    expected.push_back(size);
    total += size;
  }
  EXPECT_EQ(chunks, expected);
  EXPECT_EQ(chunks, (std::vector<std::size_t>{128, 128, 256, 512, 1024, 2048, 4096, 4096, 4096}));
  EXPECT_EQ(thresholds, (std::vector<std::size_t>{64, 64, 64, 64, 128, 256, 512, 512, 512}));
  EXPECT_EQ(PoolAllocatorProbe::totalSize(p), total);
}

TEST(PoolAllocator, RestOfAChunkIsAbandoned) {
  PoolAllocator p;  // 128 bytes
  char* a = static_cast<char*>(p._allocMem(56));
  char* b = static_cast<char*>(p._allocMem(56));
  EXPECT_EQ(b, a + 56);
  EXPECT_EQ(chunkLeft(p), 16u);
  char* c = static_cast<char*>(p._allocMem(24));  // does not fit the 16 left
  EXPECT_EQ(PoolAllocatorProbe::blockCount(p), 2u);
  EXPECT_EQ(chunkLeft(p), 128u - 24u);
  EXPECT_EQ(p._allocMem(16), c + 24);
}

namespace {

std::vector<std::string>* gLog = nullptr;

struct Logged : PoolAllocator::Class {
  explicit Logged(const char* n) : name(n) {}
  ~Logged() override { gLog->push_back(name); }
  std::string name;
};

struct LoggedChild : Logged {
  explicit LoggedChild(const char* n) : Logged(n) {}
  ~LoggedChild() override { gLog->push_back(std::string("child ") + name); }
};

// No destructor of its own beyond the implicit one: it must still run, or
// the string's heap memory leaks (the sanitizer build reports it).
struct Holder : PoolAllocator::Class {
  std::string text = std::string(200, 'h');
};

template <class T, class... Args>
T* make(PoolAllocator& pool, Args... args) {
  T* object = new (pool._allocMem(sizeof(T))) T(args...);
  pool._registerInstance(object);
  return object;
}

}  // namespace

TEST(PoolAllocator, DestroysRegisteredObjectsInOrder) {
  std::vector<std::string> log;
  gLog = &log;
  {
    PoolAllocator pool(64, 1024);
    make<Logged>(pool, "first");
    make<PoolAllocator::Class>(pool);  // nothing to destroy: skipped
    make<LoggedChild>(pool, "second");
    make<Holder>(pool);
    pool._registerInstance(nullptr);                          // recorded, skipped at the end
    for (int i = 0; i < 40; ++i) make<Logged>(pool, "more");  // past the 8 reserved
    make<Logged>(pool, "last");
    EXPECT_EQ(PoolAllocatorProbe::objectCount(pool), 46u);
    EXPECT_TRUE(log.empty());
  }
  ASSERT_EQ(log.size(), 44u);
  EXPECT_EQ(log[0], "first");
  EXPECT_EQ(log[1], "child second");
  EXPECT_EQ(log[2], "second");
  EXPECT_EQ(log[3], "more");
  EXPECT_EQ(log.back(), "last");
  gLog = nullptr;
}
