/* Interned strings: PString handles and the process-wide table behind them.
 *
 * A PString is one pointer to the characters of an entry of the interning
 * table. Equal texts share one stored copy, so equality of two handles is a
 * pointer comparison and the hash travels with the text. Entries are never
 * freed: a handle stays valid for the whole life of the process, on every
 * thread, and copying or destroying one costs nothing.
 *
 * The table takes no lock. It is created by the first PString made from
 * text, and every interning assumes one thread at a time; callers that
 * intern from several threads put their own lock around it. Handles, once
 * made, are immutable and may be read from any thread.
 *
 *   PString tag("item");
 *   if (tag == PString("item")) ...          // one pointer comparison
 *   if (tag.isEqual("ITEM", true)) ...       // ignoring ASCII case
 *
 * The null handle (PString() or PString::null) differs from the interned
 * empty text, but both read as "" and compare equal with operator==. */
#ifndef KELP_UTIL_UTL_PSTRING_H
#define KELP_UTIL_UTL_PSTRING_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <kelp/kelp_api.h>

namespace qor::quv::util {

namespace detail {
struct PStrTabProbe;
}

/* Interns the first n bytes of s and returns the stored characters (null
 * when s is null or memory runs out). The table must exist. */
KELP_API const char* pstrAlloc(const char* s, std::size_t n);

/* Creates the process-wide table (once), points sPStrAlloc at pstrAlloc and
 * interns its argument. */
KELP_API const char* pstrAllocInit(const char* s, std::size_t n);

/* The entry through which every PString constructor interns; it starts at
 * pstrAllocInit, which creates the table on first use. */
extern KELP_API const char* (*sPStrAlloc)(const char* s, std::size_t n);

/* The interning table: 8192 buckets (the table never grows) of chained
 * entries cut from 16384-byte chunks. The process-wide instance lives until
 * the process ends; other instances free their storage on destruction. */
class KELP_API PStrTab {
 public:
  /* One distinct text. The characters follow the flag byte directly and end
   * with a zero byte; an entry takes the text length plus 21 bytes, rounded
   * down to a multiple of 8. */
  struct Entry {
    Entry* next;    // next entry of the same bucket
    uint32_t hash;  // PStrTab::hash of the text
    uint8_t flags;  // kIsUpper, kIsLower and the case class

    static constexpr std::size_t kCharsOffset = 13;  // offsetof(Entry, flags) + 1

    char* chars() { return reinterpret_cast<char*>(this) + kCharsOffset; }
    static const Entry* fromChars(const char* s) {
      return reinterpret_cast<const Entry*>(s - kCharsOffset);
    }
  };

  /* Flag bits of an entry. kIsUpper: no lower-case letter; kIsLower: no
   * upper-case letter. Bits 2 and 3 hold the case class: 1 only upper-case
   * letters, 2 only lower-case, 3 no letters at all, 0 both cases. */
  static constexpr uint8_t kIsUpper = 0x01;
  static constexpr uint8_t kIsLower = 0x02;
  static constexpr unsigned kCaseClassShift = 2;
  static constexpr uint8_t kCaseClassMask = 0x0c;

  static constexpr uint32_t kBucketCount = 8192;
  static constexpr std::size_t kChunkSize = 16384;
  /* A chunk with no more than this many bytes left is abandoned when an
   * entry does not fit; with more left the entry gets a block of its own. */
  static constexpr std::size_t kAbandonLimit = 128;

  PStrTab();
  ~PStrTab();
  PStrTab(const PStrTab&) = delete;
  PStrTab& operator=(const PStrTab&) = delete;

  /* h = h * 65 + byte over the unsigned bytes, in 32-bit arithmetic. */
  static constexpr uint32_t hash(const char* s, std::size_t n) {
    // Four bytes per step: h*65^4 + b0*65^3 + b1*65^2 + b2*65 + b3 is the
    // same sum modulo 2^32, with a shorter chain of dependent multiplies.
    uint32_t h = 0;
    std::size_t i = 0;
    for (; i + 4 <= n; i += 4) {
      h = h * 17850625u + static_cast<unsigned char>(s[i]) * 274625u +
          static_cast<unsigned char>(s[i + 1]) * 4225u +
          static_cast<unsigned char>(s[i + 2]) * 65u + static_cast<unsigned char>(s[i + 3]);
    }
    for (; i < n; ++i) h = h * 65u + static_cast<unsigned char>(s[i]);
    return h;
  }

  /* The storage an entry of a text of n bytes takes. */
  static constexpr std::size_t entrySize(std::size_t n) { return (n + 21) & ~std::size_t(7); }

  /* The stored characters of the first n bytes of s, made when new; null
   * when the table could not be set up or memory runs out. */
  const char* alloc(const char* s, std::size_t n);

 private:
  friend struct detail::PStrTabProbe;
  friend const char* pstrAlloc(const char* s, std::size_t n);

  const char* intern(const char* s, std::size_t n);
  Entry* allocEntry(std::size_t size);
  void keepBlock(void* block);

  uint32_t mBucketCount;
  Entry** mBuckets;
  uint64_t mChunkLeft;
  char* mChunkNext;
  // Every chunk and single-entry block, for freeing by instances other than
  // the process-wide one; their counts are kept for inspection.
  std::vector<void*> mBlocks;
  std::size_t mChunkCount;
  std::size_t mOwnBlockCount;
  std::size_t mEntryCount;
};

/* Handle to an interned, immutable text; see the top of this file. */
class KELP_API PString {
 public:
  /* The null handle, a global. */
  static const PString null;

  /* A predicate for searching containers: tests isEqual(argument,
   * ignoreCase) against the handle it holds. */
  class EqPred;

  constexpr PString() noexcept : mStr(nullptr) {}
  /* Each interns its text; a null pointer gives the null handle. */
  PString(const char* s) : mStr(s ? sPStrAlloc(s, std::strlen(s)) : nullptr) {}
  PString(const char* s, std::size_t n) : mStr(s ? sPStrAlloc(s, n) : nullptr) {}
  PString(const std::string& s) : mStr(sPStrAlloc(s.data(), s.size())) {}

  /* The characters, or "" for the null handle. */
  operator const char*() const { return mStr ? mStr : ""; }
  const char* c_str() const { return mStr ? mStr : ""; }
  std::string str() const { return std::string(c_str()); }
  char operator[](unsigned i) const { return c_str()[i]; }

  bool isNull() const { return mStr == nullptr; }
  /* True for the null handle and for "". */
  bool isEmpty() const { return !mStr || !*mStr; }
  std::size_t getSize() const { return mStr ? std::strlen(mStr) : 0; }
  void clear() { mStr = nullptr; }
  /* The stored hash (PStrTab::hash of the text), 0 for the null handle. */
  uint32_t getHash() const { return mStr ? PStrTab::Entry::fromChars(mStr)->hash : 0; }

  /* The text with toupper / tolower of the current locale applied to every
   * byte. When the stored flags show that nothing would change, the same
   * handle comes back without a copy; null stays null. */
  PString toUpper() const;
  PString toLower() const;
  PString casefold() const { return toLower(); }

  /* Compares the first strlen(prefix) bytes, exactly or ignoring ASCII case.
   * A null prefix counts as "". */
  bool startsWith(const char* prefix, bool ignoreCase = false) const;

  /* Note the sense: false when the text is shorter than the suffix, and
   * otherwise true when the tail DIFFERS from the suffix. Callers wanting
   * "ends with" check the length and test for false. */
  bool endsWith(const char* suffix, bool ignoreCase = false) const;

  /* Exact equality (null and "" equal); ignoring ASCII case when asked, in
   * which case a null side never matches. Two texts of the same non-zero
   * case class that differ exactly are unequal without a comparison. */
  bool isEqual(const PString& other, bool ignoreCase = false) const;
  /* The same against plain text (a null pointer reads as ""), without the
   * case-class shortcut. */
  bool isEqual(const char* other, bool ignoreCase = false) const;

  friend bool operator==(const PString& a, const PString& b) {
    return a.mStr == b.mStr || (a.isEmpty() && b.isEmpty());
  }
  friend bool operator==(const PString& a, const char* b) {
    return std::strcmp(a.c_str(), b ? b : "") == 0;
  }
  friend bool operator==(const char* a, const PString& b) { return b == a; }

  /* Byte order of the texts; null sorts as "". */
  friend bool operator<(const PString& a, const PString& b) {
    return std::strcmp(a.c_str(), b.c_str()) < 0;
  }
  friend bool operator<(const PString& a, const char* b) {
    return std::strcmp(a.c_str(), b ? b : "") < 0;
  }
  friend bool operator<(const char* a, const PString& b) {
    return std::strcmp(a ? a : "", b.c_str()) < 0;
  }

 private:
  friend struct detail::PStrTabProbe;

  const char* mStr;
};

class PString::EqPred {
 public:
  explicit EqPred(const PString& s, bool ignoreCase = false) : mStr(s), mIgnoreCase(ignoreCase) {}
  bool operator()(const PString& other) const { return mStr.isEqual(other, mIgnoreCase); }
  bool operator()(const char* other) const { return mStr.isEqual(other, mIgnoreCase); }

 private:
  PString mStr;
  bool mIgnoreCase;
};

}  // namespace qor::quv::util

/* Hashing a handle uses the stored hash. */
template <>
struct std::hash<qor::quv::util::PString> {
  std::size_t operator()(const qor::quv::util::PString& s) const noexcept { return s.getHash(); }
};

#endif
