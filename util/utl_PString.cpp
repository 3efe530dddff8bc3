// Interned strings: the process-wide table, its entry storage and the
// operations of PString handles.
#define QUV_SOURCE_NAME "utl_PString"
#include <kelp/util/utl_PString.h>

#include <cctype>
#include <cstdlib>
#include <new>

#include <vorn/vorn_string.h>
#include <zob/zob_mem.h>

#include "util/utl_PString_impl.h"

namespace qor::quv::util {

static_assert(offsetof(PStrTab::Entry, flags) + 1 == PStrTab::Entry::kCharsOffset,
              "the characters follow the flag byte");
static_assert(PStrTab::entrySize(0) == 16 && PStrTab::entrySize(3) == 24,
              "fields and terminator rounded up to 8 bytes");
static_assert(PStrTab::hash("ab", 2) == 65u * 97u + 98u);

namespace {

// The process-wide table; made by pstrAllocInit, never destroyed.
PStrTab* sTable = nullptr;

// The flag byte of a text. ASCII letters are classified directly: every
// locale counts A-Z as upper-case and a-z as lower-case, and no other ASCII
// byte as either. Other bytes ask the locale's isupper / islower.
uint8_t caseFlags(const char* s, std::size_t n) {
  bool hasUpper = false;
  bool hasLower = false;
  for (std::size_t i = 0; i < n; ++i) {
    unsigned char c = static_cast<unsigned char>(s[i]);
    if (c < 0x80) {
      hasUpper |= (c >= 'A' && c <= 'Z');
      hasLower |= (c >= 'a' && c <= 'z');
    } else {
      hasUpper |= std::isupper(c) != 0;
      hasLower |= std::islower(c) != 0;
    }
  }
  // The case class (1 only upper, 2 only lower, 3 none, 0 both) coincides
  // with the two "no lower" / "no upper" bits.
  uint8_t flags = 0;
  if (!hasLower) flags |= PStrTab::kIsUpper;
  if (!hasUpper) flags |= PStrTab::kIsLower;
  return static_cast<uint8_t>(flags | (flags << PStrTab::kCaseClassShift));
}

uint8_t flagsOf(const char* s) {
  return PStrTab::Entry::fromChars(s)->flags;
}

unsigned caseClassOf(const char* s) {
  return (flagsOf(s) & PStrTab::kCaseClassMask) >> PStrTab::kCaseClassShift;
}

// Applies a per-byte mapping and interns the result. Texts up to 128 bytes
// are built on the stack; longer ones in a heap string.
template <class Map>
PString mapped(const char* s, std::size_t n, Map map) {
  constexpr std::size_t kLocal = 128;
  if (n <= kLocal) {
    char buf[kLocal];
    for (std::size_t i = 0; i < n; ++i) buf[i] = map(s[i]);
    return PString(buf, n);
  }
  std::string out(s, n);
  for (char& c : out) c = map(c);
  return PString(out);
}

char upperByte(char c) {
  return static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
}
char lowerByte(char c) {
  return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

}  // namespace

// --- interning ---------------------------------------------------------------

const char* (*sPStrAlloc)(const char* s, std::size_t n) = pstrAllocInit;

const char* pstrAlloc(const char* s, std::size_t n) {
  return sTable ? sTable->intern(s, n) : nullptr;
}

const char* pstrAllocInit(const char* s, std::size_t n) {
  if (!sTable) sTable = new (std::nothrow) PStrTab();
  if (!sTable) return nullptr;
  sPStrAlloc = pstrAlloc;
  return pstrAlloc(s, n);
}

PStrTab::PStrTab()
    : mBucketCount(kBucketCount),
      mBuckets(static_cast<Entry**>(zobCalloc(kBucketCount, sizeof(Entry*)))),
      mChunkLeft(0),
      mChunkNext(nullptr),
      mChunkCount(0),
      mOwnBlockCount(0),
      mEntryCount(0) {
  // The block list grows by one pointer per 16 KiB of text; starting with
  // some room keeps its own reallocations rare.
  try {
    mBlocks.reserve(64);
  } catch (const std::bad_alloc&) {
  }
}

PStrTab::~PStrTab() {
  for (void* block : mBlocks) std::free(block);
  zobFree(mBuckets);
}

void PStrTab::keepBlock(void* block) {
  try {
    mBlocks.push_back(block);
  } catch (const std::bad_alloc&) {
    // Only the freeing of a non-global table misses the block: entries stay
    // valid either way.
  }
}

PStrTab::Entry* PStrTab::allocEntry(std::size_t size) {
  if (size <= mChunkLeft) {
    Entry* e = reinterpret_cast<Entry*>(mChunkNext);
    mChunkNext += size;
    mChunkLeft -= size;
    return e;
  }
  if (mChunkLeft <= kAbandonLimit) {
    // Too little is left to be worth keeping: start a fresh chunk.
    if (char* chunk = static_cast<char*>(std::malloc(kChunkSize))) {
      keepBlock(chunk);
      ++mChunkCount;
      mChunkNext = chunk;
      mChunkLeft = kChunkSize;
      if (size <= kChunkSize) {
        mChunkNext += size;
        mChunkLeft -= size;
        return reinterpret_cast<Entry*>(chunk);
      }
    }
  }
  // Larger than the chunk, or a chunk with enough left to keep: a block of
  // its own.
  void* block = std::malloc(size);
  if (!block) return nullptr;
  keepBlock(block);
  ++mOwnBlockCount;
  return static_cast<Entry*>(block);
}

const char* PStrTab::alloc(const char* s, std::size_t n) {
  return intern(s, n);
}

// The lookup proper, kept inside the library so that pstrAlloc reaches it
// without going through the exported (interposable) alloc.
inline const char* PStrTab::intern(const char* s, std::size_t n) {
  if (!s || !mBuckets) return nullptr;
  const uint32_t h = hash(s, n);
  Entry** bucket = &mBuckets[h & (mBucketCount - 1)];
  for (Entry* e = *bucket; e; e = e->next) {
    if (e->hash != h) continue;
    const char* chars = e->chars();
    if (std::memcmp(chars, s, n) == 0 && chars[n] == '\0') return chars;
  }
  if (n > SIZE_MAX - 32) return nullptr;  // no storage size can hold it
  const std::size_t size = entrySize(n);
  Entry* e = allocEntry(size);
  if (!e) return nullptr;
  // Zero the last word first: the padding after the terminator then reads
  // as zeros and the entry holds no indeterminate byte.
  std::memset(reinterpret_cast<char*>(e) + size - 8, 0, 8);
  e->hash = h;
  e->flags = caseFlags(s, n);
  char* chars = e->chars();
  std::memcpy(chars, s, n);
  chars[n] = '\0';
  e->next = *bucket;
  *bucket = e;
  ++mEntryCount;
  return chars;
}

// --- PString -------------------------------------------------------------------

const PString PString::null;

PString PString::toUpper() const {
  if (!mStr || (flagsOf(mStr) & PStrTab::kIsUpper)) return *this;
  return mapped(mStr, std::strlen(mStr), upperByte);
}

PString PString::toLower() const {
  if (!mStr || (flagsOf(mStr) & PStrTab::kIsLower)) return *this;
  return mapped(mStr, std::strlen(mStr), lowerByte);
}

bool PString::startsWith(const char* prefix, bool ignoreCase) const {
  if (!prefix) prefix = "";
  const std::size_t n = std::strlen(prefix);
  return ignoreCase ? gStrNCaseCmp(c_str(), prefix, n) == 0 : std::strncmp(c_str(), prefix, n) == 0;
}

bool PString::endsWith(const char* suffix, bool ignoreCase) const {
  if (!suffix) suffix = "";
  const std::size_t len = getSize();
  const std::size_t n = std::strlen(suffix);
  if (len < n) return false;
  const char* tail = c_str() + (len - n);
  return ignoreCase ? gStrCaseCmp(tail, suffix) != 0 : std::strcmp(tail, suffix) != 0;
}

bool PString::isEqual(const PString& other, bool ignoreCase) const {
  const bool exact = (*this == other);
  if (exact || !ignoreCase) return exact;
  if (!mStr || !other.mStr) return false;
  const unsigned cls = caseClassOf(mStr);
  if (cls != 0 && cls == caseClassOf(other.mStr)) return false;
  return gStrCaseCmp(mStr, other.mStr) == 0;
}

bool PString::isEqual(const char* other, bool ignoreCase) const {
  const bool exact = (*this == other);
  if (exact || !ignoreCase) return exact;
  if (!mStr || !other) return false;
  return gStrCaseCmp(mStr, other) == 0;
}

// --- inspection ------------------------------------------------------------------

namespace detail {

const PStrTab* PStrTabProbe::global() {
  return sTable;
}
std::size_t PStrTabProbe::chunkLeft(const PStrTab& t) {
  return t.mChunkLeft;
}
const char* PStrTabProbe::chunkNext(const PStrTab& t) {
  return t.mChunkNext;
}
std::size_t PStrTabProbe::chunkCount(const PStrTab& t) {
  return t.mChunkCount;
}
std::size_t PStrTabProbe::ownBlockCount(const PStrTab& t) {
  return t.mOwnBlockCount;
}
std::size_t PStrTabProbe::entryCount(const PStrTab& t) {
  return t.mEntryCount;
}
uint32_t PStrTabProbe::bucketCount(const PStrTab& t) {
  return t.mBucketCount;
}
uint8_t PStrTabProbe::flags(const char* chars) {
  return chars ? flagsOf(chars) : 0;
}
const char* PStrTabProbe::chars(const PString& s) {
  return s.mStr;
}

}  // namespace detail

}  // namespace qor::quv::util
