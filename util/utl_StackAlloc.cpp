// Scratch allocation: blocks in creation order, reused after a rewind.
#define QUV_SOURCE_NAME "utl_StackAlloc"
#include <kelp/util/utl_StackAlloc.h>

#include <cstdint>
#include <cstring>
#include <new>

#include "util/utl_StackAlloc_impl.h"

namespace qor::quv::util {

namespace {

// A new block of `size` bytes appended to the list and made current; false
// when memory runs out.
bool addBlock(StackAlloc::Data& d, std::size_t size) {
  char* begin = new (std::nothrow) char[size > 0 ? size : 1];
  if (!begin) return false;
  try {
    d.blocks.emplace_back(begin, begin + size);
  } catch (const std::bad_alloc&) {
    delete[] begin;
    return false;
  }
  d.current = d.blocks.size() - 1;
  return true;
}

}  // namespace

StackAlloc::StackAlloc(unsigned blockSize) : mData(nullptr), mPos(nullptr), mEnd(nullptr) {
  mData = new (std::nothrow) Data();
  if (!mData) return;
  mData->blockSize = blockSize;
  mData->current = 0;
  if (addBlock(*mData, blockSize)) {
    mPos = mData->blocks.back().first;
    mEnd = mData->blocks.back().second;
  }
}

StackAlloc::~StackAlloc() {
  if (!mData) return;
  for (auto& block : mData->blocks) delete[] block.first;
  delete mData;
}

void* StackAlloc::allocSlow(std::size_t size) {
  if (!mData) return nullptr;
  Data& d = *mData;
  // Blocks after the current one are left over from before a rewind: the
  // first with room from its beginning is reused.
  for (std::size_t i = d.current + 1; i < d.blocks.size(); ++i) {
    auto& block = d.blocks[i];
    if (static_cast<std::size_t>(block.second - block.first) >= size) {
      d.current = i;
      mPos = block.first + size;
      mEnd = block.second;
      return block.first;
    }
  }
  if (!addBlock(d, size > d.blockSize ? size : d.blockSize)) return nullptr;
  char* p = d.blocks.back().first;
  mPos = p + size;
  mEnd = d.blocks.back().second;
  return p;
}

char* StackAlloc::strDup(const char* s) {
  if (!s) return nullptr;
  const std::size_t n = std::strlen(s) + 1;
  if (n > 0xffffffffu) return nullptr;  // beyond what alloc can be asked for
  char* d = static_cast<char*>(alloc(static_cast<unsigned>(n)));
  if (d) std::memcpy(d, s, n);
  return d;
}

void StackAlloc::setAllocBase(void* mark) {
  if (!mData) return;
  Data& d = *mData;
  const char* m = static_cast<const char*>(mark);
  for (std::size_t i = d.blocks.size(); i-- > 0;) {
    auto& block = d.blocks[i];
    // Compared as addresses: the mark may come from any block.
    const auto addr = reinterpret_cast<std::uintptr_t>(m);
    if (reinterpret_cast<std::uintptr_t>(block.first) <= addr &&
        addr <= reinterpret_cast<std::uintptr_t>(block.second)) {
      d.current = i;
      mPos = block.first + (addr - reinterpret_cast<std::uintptr_t>(block.first));
      mEnd = block.second;
      return;
    }
  }
}

namespace detail {

std::size_t StackAllocProbe::blockCount(const StackAlloc& a) {
  return a.mData ? a.mData->blocks.size() : 0;
}
std::size_t StackAllocProbe::currentBlock(const StackAlloc& a) {
  return a.mData ? a.mData->current : 0;
}
std::pair<const char*, const char*> StackAllocProbe::block(const StackAlloc& a, std::size_t i) {
  if (!a.mData || i >= a.mData->blocks.size()) return {nullptr, nullptr};
  return a.mData->blocks[i];
}
const char* StackAllocProbe::currentEnd(const StackAlloc& a) {
  return a.mEnd;
}

}  // namespace detail

}  // namespace qor::quv::util
