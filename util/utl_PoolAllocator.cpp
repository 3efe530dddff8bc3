// Pool allocation: doubling zero-filled chunks, large blocks of their own,
// and the destructors of registered objects run when the pool goes.
#define QUV_SOURCE_NAME "utl_PoolAllocator"
#include <kelp/util/utl_PoolAllocator.h>

#include <cstdint>
#include <new>
#include <typeinfo>

#include <zob/zob_mem.h>

#include "util/utl_PoolAllocator_impl.h"

namespace qor::quv::util {

namespace {

constexpr std::size_t kDefaultInitial = 128;
constexpr std::size_t kDefaultMax = 4096;

bool isPowerOfTwo(std::size_t n) {
  return n && !(n & (n - 1));
}

// Requests from this size on get a block of their own.
std::size_t thresholdFor(std::size_t chunkSize) {
  return chunkSize < 512 ? 64 : chunkSize / 8;
}

}  // namespace

PoolAllocator::Class::~Class() = default;

PoolAllocator::PoolAllocator(std::size_t initialSize, std::size_t maxSize)
    : mMaxChunkSize(kDefaultMax),
      mLargeThreshold(thresholdFor(kDefaultInitial)),
      mTotalSize(0),
      mPos(nullptr),
      mEnd(nullptr) {
  std::size_t first = kDefaultInitial;
  if (initialSize >= 64 && initialSize <= maxSize && isPowerOfTwo(initialSize) &&
      isPowerOfTwo(maxSize)) {
    mMaxChunkSize = maxSize;
    first = initialSize;
    mLargeThreshold = thresholdFor(initialSize);
  }
  try {
    mObjects.reserve(8);
  } catch (const std::bad_alloc&) {
  }
  if (char* chunk = static_cast<char*>(newChunk(first))) {
    mPos = chunk;
    mEnd = chunk + first;
    mTotalSize = first;
  }
}

PoolAllocator::~PoolAllocator() {
  // An object whose dynamic type is Class itself has only Class's empty
  // destructor: every derived class, with a destructor of its own or an
  // implicit one, overrides it. Those objects are skipped.
  for (Class* object : mObjects) {
    if (object && typeid(*object) != typeid(Class)) object->~Class();
  }
  for (void* block : mBlocks) zobFree(block);
}

// A zero-filled block recorded for freeing; null when memory runs out.
void* PoolAllocator::newChunk(std::size_t size) {
  void* block = zobCalloc(1, size);
  if (!block) return nullptr;
  try {
    mBlocks.push_back(block);
  } catch (const std::bad_alloc&) {
    zobFree(block);
    return nullptr;
  }
  return block;
}

void* PoolAllocator::_allocMem(std::size_t n) {
  if (n > SIZE_MAX - 7) return nullptr;
  const std::size_t size = (n + 7) & ~static_cast<std::size_t>(7);
  if (size >= mLargeThreshold) return newChunk(size);
  if (size <= static_cast<std::size_t>(mEnd - mPos)) {
    char* p = mPos;
    mPos += size;
    return p;
  }
  // The rest of the current chunk is abandoned. The new chunk is as large
  // as all chunks so far (up to the largest size), so sizes double.
  const std::size_t chunkSize = mTotalSize < mMaxChunkSize ? mTotalSize : mMaxChunkSize;
  const std::size_t grown = chunkSize >= size ? chunkSize : mMaxChunkSize;
  char* chunk = static_cast<char*>(newChunk(grown));
  if (!chunk) return nullptr;
  mLargeThreshold = thresholdFor(grown);
  mTotalSize += grown;
  mPos = chunk + size;
  mEnd = chunk + grown;
  return chunk;
}

void PoolAllocator::_registerInstance(Class* object) {
  try {
    mObjects.push_back(object);
  } catch (const std::bad_alloc&) {
    // The object's destructor will not run; its memory goes with the pool.
  }
}

namespace detail {

std::size_t PoolAllocatorProbe::maxChunkSize(const PoolAllocator& p) {
  return p.mMaxChunkSize;
}
std::size_t PoolAllocatorProbe::threshold(const PoolAllocator& p) {
  return p.mLargeThreshold;
}
std::size_t PoolAllocatorProbe::totalSize(const PoolAllocator& p) {
  return p.mTotalSize;
}
const char* PoolAllocatorProbe::pos(const PoolAllocator& p) {
  return p.mPos;
}
const char* PoolAllocatorProbe::end(const PoolAllocator& p) {
  return p.mEnd;
}
std::size_t PoolAllocatorProbe::blockCount(const PoolAllocator& p) {
  return p.mBlocks.size();
}
std::size_t PoolAllocatorProbe::objectCount(const PoolAllocator& p) {
  return p.mObjects.size();
}

}  // namespace detail

}  // namespace qor::quv::util
