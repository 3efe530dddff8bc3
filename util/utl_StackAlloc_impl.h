/* StackAlloc's private state, and inspection of it for the library's
 * tests. Not part of the public API. */
#ifndef KELP_UTIL_UTL_STACKALLOC_IMPL_H
#define KELP_UTIL_UTL_STACKALLOC_IMPL_H

#include <cstddef>
#include <utility>
#include <vector>

#include <kelp/kelp_api.h>
#include <kelp/util/utl_StackAlloc.h>

namespace qor::quv::util {

struct StackAlloc::Data {
  unsigned blockSize;
  std::vector<std::pair<char*, char*>> blocks;  // (begin, end), oldest first
  std::size_t current;                          // index of the current block
};

namespace detail {

struct KELP_API StackAllocProbe {
  static std::size_t blockCount(const StackAlloc& a);
  static std::size_t currentBlock(const StackAlloc& a);
  /* The range of block i, oldest first. */
  static std::pair<const char*, const char*> block(const StackAlloc& a, std::size_t i);
  /* The end of the current block. */
  static const char* currentEnd(const StackAlloc& a);
};

}  // namespace detail

}  // namespace qor::quv::util

#endif
