/* Inspection of a PoolAllocator for the library's tests. Not part of the
 * public API. */
#ifndef KELP_UTIL_UTL_POOLALLOCATOR_IMPL_H
#define KELP_UTIL_UTL_POOLALLOCATOR_IMPL_H

#include <cstddef>

#include <kelp/kelp_api.h>
#include <kelp/util/utl_PoolAllocator.h>

namespace qor::quv::util::detail {

struct KELP_API PoolAllocatorProbe {
  static std::size_t maxChunkSize(const PoolAllocator& p);
  static std::size_t threshold(const PoolAllocator& p);
  static std::size_t totalSize(const PoolAllocator& p);
  /* The next free byte and the end of the current chunk. */
  static const char* pos(const PoolAllocator& p);
  static const char* end(const PoolAllocator& p);
  /* Chunks and large blocks made so far. */
  static std::size_t blockCount(const PoolAllocator& p);
  static std::size_t objectCount(const PoolAllocator& p);
};

}  // namespace qor::quv::util::detail

#endif
