/* Scratch memory handed out from a list of blocks and rewound to a mark.
 *
 * alloc() moves a position through the current block; getAllocBase() takes
 * that position as a mark and setAllocBase() rewinds to it, making the
 * memory after the mark reusable (the blocks are kept, not freed). Memory
 * is only given back when the allocator is destroyed. Every allocation is
 * rounded up to a multiple of 8 bytes; alignment beyond 8 is not provided.
 * One thread at a time; no lock.
 *
 *   StackAlloc scratch(4096);
 *   void* mark = scratch.getAllocBase();
 *   char* copy = scratch.strDup(name);
 *   ...
 *   scratch.setAllocBase(mark);   // copy's memory is free for reuse
 *
 * alloc() returns null only when memory runs out. */
#ifndef KELP_UTIL_UTL_STACKALLOC_H
#define KELP_UTIL_UTL_STACKALLOC_H

#include <cstddef>

#include <kelp/kelp_api.h>

namespace qor::quv::util {

namespace detail {
struct StackAllocProbe;
}

class KELP_API StackAlloc {
 public:
  /* The block size and the blocks (begin, end) in the order of their
   * creation, with the current block's place among them. */
  struct Data;

  /* Creates the first block of blockSize bytes. */
  explicit StackAlloc(unsigned blockSize);
  /* Frees every block. */
  ~StackAlloc();
  StackAlloc(const StackAlloc&) = delete;
  StackAlloc& operator=(const StackAlloc&) = delete;

  /* n bytes, n rounded up to a multiple of 8. When the current block is
   * full, later blocks left over from before a rewind are tried in order,
   * then a new block of the block size (or of n, when larger) is made. */
  void* alloc(unsigned n) {
    const std::size_t size = (static_cast<std::size_t>(n) + 7) & ~static_cast<std::size_t>(7);
    if (size <= static_cast<std::size_t>(mEnd - mPos)) {
      char* p = mPos;
      mPos += size;
      return p;
    }
    return allocSlow(size);
  }

  /* A copy of s, terminator included, in memory from alloc(); null for a
   * null s. */
  char* strDup(const char* s);

  /* The current position (the next free byte), to be used as a mark. */
  void* getAllocBase() const { return mPos; }
  /* Rewinds to a mark taken earlier: the last block whose range holds it
   * becomes current. A mark in no block changes nothing. */
  void setAllocBase(void* mark);

 private:
  friend struct detail::StackAllocProbe;

  void* allocSlow(std::size_t size);

  Data* mData;
  char* mPos;  // next free byte
  char* mEnd;  // end of the current block
};

}  // namespace qor::quv::util

#endif
