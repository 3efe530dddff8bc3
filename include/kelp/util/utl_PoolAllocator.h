/* Region allocator for objects that all die with the pool.
 *
 * Memory comes zero-filled from chunks that double in size up to a largest
 * chunk size; requests at or above a threshold get a block of their own.
 * Nothing is freed before the pool is destroyed, which first runs the
 * destructors of the objects registered with it (in the order of
 * registration), then frees every chunk and block. Allocation is rounded up
 * to a multiple of 8 bytes; alignment beyond 8 is not provided. One thread
 * at a time; no lock.
 *
 *   struct Node : PoolAllocator::Class { std::string name; };
 *   PoolAllocator pool(1024, 8192);
 *   Node* n = new (pool._allocMem(sizeof(Node))) Node();
 *   pool._registerInstance(n);        // ~Node runs with ~PoolAllocator
 *
 * _allocMem returns null only when memory runs out. */
#ifndef KELP_UTIL_UTL_POOLALLOCATOR_H
#define KELP_UTIL_UTL_POOLALLOCATOR_H

#include <cstddef>
#include <vector>

#include <kelp/kelp_api.h>

namespace qor::quv::util {

namespace detail {
struct PoolAllocatorProbe;
}

class KELP_API PoolAllocator {
 public:
  /* Base of objects placed in pool memory whose destructors the pool runs.
   * Objects whose dynamic type is Class itself have nothing to destroy and
   * are skipped. */
  class KELP_API Class {
   public:
    virtual ~Class();
  };

  /* initialSize (at least 64) and maxSize (not below it), both powers of
   * two, give the first and the largest chunk size; other values fall back
   * to a first chunk of 128 and a largest chunk of 4096 bytes. */
  PoolAllocator(std::size_t initialSize = 128, std::size_t maxSize = 4096);
  ~PoolAllocator();
  PoolAllocator(const PoolAllocator&) = delete;
  PoolAllocator& operator=(const PoolAllocator&) = delete;

  /* n zero-filled bytes, n rounded up to a multiple of 8. */
  void* _allocMem(std::size_t n);
  /* Records an object whose destructor the pool runs on destruction. */
  void _registerInstance(Class* object);

 private:
  friend struct detail::PoolAllocatorProbe;

  void* newChunk(std::size_t size);

  std::size_t mMaxChunkSize;
  std::size_t mLargeThreshold;  // requests from this size get a block of their own
  std::size_t mTotalSize;       // of all chunks so far
  char* mPos;                   // next free byte of the current chunk
  char* mEnd;                   // end of the current chunk
  std::vector<void*> mBlocks;   // every chunk and large block
  std::vector<Class*> mObjects;
};

}  // namespace qor::quv::util

#endif
