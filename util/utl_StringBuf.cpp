// Growable zero-terminated buffer: construction, growth by doubling and the
// operations that move text around.
#define QUV_SOURCE_NAME "utl_StringBuf"
#include <kelp/util/utl_StringBuf.h>

#include <algorithm>
#include <cstdint>

#include <zob/zob_mem.h>

namespace qor::quv::util {

namespace {

constexpr std::size_t kDefaultCapacity = 16;
constexpr std::size_t kFallbackCapacity = 64;
// Positions are 32-bit: the longest text leaves room for the terminator
// within an unsigned capacity.
constexpr std::size_t kMaxLength = UINT32_MAX - 1;

// A single empty byte for a buffer whose very first block could not be had:
// every operation sees capacity 1 and tries to grow before writing a byte.
char sNoMemory[1] = {'\0'};

}  // namespace

void StringBuf::initOwned(const char* s, std::size_t n, std::size_t capacity) {
  mBlock = static_cast<char*>(zobMalloc(capacity));
  if (!mBlock) {
    mBegin = mEnd = sNoMemory;
    mCapEnd = sNoMemory + 1;
    return;
  }
  mBegin = mBlock;
  mCapEnd = mBlock + capacity;
  if (n) std::memcpy(mBegin, s, n);
  mEnd = mBegin + n;
  *mEnd = '\0';
}

StringBuf::StringBuf() {
  initOwned(nullptr, 0, kDefaultCapacity);
}

StringBuf::StringBuf(const char* s) {
  if (!s) s = "";
  const std::size_t n = std::min(std::strlen(s), kMaxLength);
  initOwned(s, n, std::max(n + 1, kDefaultCapacity));
}

StringBuf::StringBuf(ExtBufTag*, char* buffer, unsigned size) {
  if (!buffer || size < 2) {
    initOwned(nullptr, 0, kFallbackCapacity);
    return;
  }
  mBlock = nullptr;
  mBegin = mEnd = buffer;
  mCapEnd = buffer + size;
  *mEnd = '\0';
}

StringBuf::StringBuf(const StringBuf& other) {
  const std::size_t n = other.getLength();
  initOwned(other.mBegin, n, std::max(n + 1, kDefaultCapacity));
}

StringBuf& StringBuf::operator=(const StringBuf& other) {
  if (this == &other) return *this;
  const std::size_t n = other.getLength();
  if (mBlock && static_cast<std::size_t>(mCapEnd - mBegin) > n) {
    // Already in a block of our own with room: copy in place.
    std::memcpy(mBegin, other.mBegin, n);
    mEnd = mBegin + n;
    *mEnd = '\0';
    return *this;
  }
  char* old = mBlock;
  char* oldBegin = mBegin;
  char* oldEnd = mEnd;
  char* oldCapEnd = mCapEnd;
  initOwned(other.mBegin, n, std::max(n + 1, kDefaultCapacity));
  if (!mBlock) {
    // Out of memory: keep the old text rather than lose it.
    mBlock = old;
    mBegin = oldBegin;
    mEnd = oldEnd;
    mCapEnd = oldCapEnd;
    return *this;
  }
  zobFree(old);
  return *this;
}

StringBuf::~StringBuf() {
  zobFree(mBlock);
}

bool StringBuf::resize(std::size_t capacity) {
  if (capacity == 0) capacity = 1;
  if (capacity > kMaxLength + 1) return false;
  char* block = static_cast<char*>(zobMalloc(capacity));
  if (!block) return false;
  const std::size_t n = std::min(static_cast<std::size_t>(mEnd - mBegin), capacity - 1);
  std::memcpy(block, mBegin, n);
  block[n] = '\0';
  zobFree(mBlock);  // null while on the caller's buffer
  mBlock = mBegin = block;
  mEnd = block + n;
  mCapEnd = block + capacity;
  return true;
}

std::size_t StringBuf::grownCapacity(std::size_t length, bool doubleOnce) const {
  if (length > kMaxLength) return 0;
  std::size_t cap = static_cast<std::size_t>(mCapEnd - mBegin);
  if (doubleOnce) cap *= 2;
  while (cap <= length) cap *= 2;
  return cap;
}

void StringBuf::appendSlow(const char* s, std::size_t n) {
  if (!s || !n) return;
  const std::size_t len = getLength();
  if (n < static_cast<std::size_t>(mCapEnd - mEnd)) {
    std::memmove(mEnd, s, n);
  } else {
    const std::size_t cap = grownCapacity(len + n, true);
    if (!cap) return;
    // The source may be part of the text that resize is about to move.
    const bool inside = s >= mBegin && s < mCapEnd;
    const std::size_t offset = inside ? static_cast<std::size_t>(s - mBegin) : 0;
    if (!resize(cap)) return;
    if (inside) s = mBegin + offset;
    std::memmove(mBegin + len, s, n);
  }
  mEnd = mBegin + len + n;
  *mEnd = '\0';
}

void StringBuf::assign(char c) {
  assign(&c, 1);
}

void StringBuf::assign(const char* s) {
  if (!s) s = "";
  const std::size_t n = std::strlen(s);
  if (n > kMaxLength) return;
  assign(s, static_cast<unsigned>(n));
}

void StringBuf::assign(const char* s, unsigned n) {
  if (!s) {
    s = "";
    n = 0;
  }
  if (static_cast<std::size_t>(mCapEnd - mBegin) <= n) {
    const std::size_t cap = grownCapacity(n, false);
    if (!cap) return;
    if (s >= mBegin && s < mCapEnd) {
      // A source inside the block that is about to be replaced.
      const std::string copy(s, n);
      assign(copy.data(), n);
      return;
    }
    // The old text need not be moved along.
    char* oldEnd = mEnd;
    mEnd = mBegin;
    if (!resize(cap)) {
      mEnd = oldEnd;
      return;
    }
  }
  std::memmove(mBegin, s, n);
  mEnd = mBegin + n;
  *mEnd = '\0';
}

void StringBuf::insert(unsigned pos, char c) {
  if (mEnd + 1 >= mCapEnd) {
    if (!resize(static_cast<std::size_t>(mCapEnd - mBegin) * 2)) return;
  }
  const std::size_t len = getLength();
  if (pos > len) pos = static_cast<unsigned>(len);
  std::memmove(mBegin + pos + 1, mBegin + pos, len - pos + 1);
  mBegin[pos] = c;
  ++mEnd;
}

void StringBuf::insert(unsigned pos, const char* s) {
  if (!s) return;
  const std::size_t n = std::strlen(s);
  if (n == 0) return;
  const std::size_t len = getLength();
  if (pos > len) pos = static_cast<unsigned>(len);
  if (s >= mBegin && s < mCapEnd) {
    // Inserting part of our own text: take a copy before anything moves.
    const std::string copy(s, n);
    insert(pos, copy.c_str());
    return;
  }
  if (n >= static_cast<std::size_t>(mCapEnd - mEnd)) {
    const std::size_t cap = grownCapacity(len + n, true);
    if (!cap || !resize(cap)) return;
  }
  std::memmove(mBegin + pos + n, mBegin + pos, len - pos + 1);
  std::memcpy(mBegin + pos, s, n);
  mEnd = mBegin + len + n;
}

void StringBuf::truncate(unsigned n) {
  const std::size_t cap = static_cast<std::size_t>(mCapEnd - mBegin);
  const std::size_t keep = std::min<std::size_t>(n, cap - 1);
  mEnd = mBegin + keep;
  *mEnd = '\0';
}

bool StringBuf::startsWith(const char* prefix) const {
  if (!prefix) return true;
  return std::strncmp(mBegin, prefix, std::strlen(prefix)) == 0;
}

std::string StringBuf::getSubString(unsigned pos, unsigned n) const {
  const std::size_t cap = static_cast<std::size_t>(mCapEnd - mBegin);
  if (pos >= cap) return std::string();
  const std::size_t count = std::min<std::size_t>(n, cap - pos);
  return std::string(mBegin + pos, count);
}

}  // namespace qor::quv::util
