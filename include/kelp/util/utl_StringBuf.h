/* A growable, always zero-terminated character buffer for building text
 * byte by byte.
 *
 * A StringBuf owns a heap block, or starts on a buffer that the caller
 * supplies: that one is used as it is, never freed, and left alone for good
 * once the text outgrows it and moves into a block of the buffer's own.
 * Positions and counts are 32-bit unsigned. When memory runs out (or a text
 * would pass 4 GiB) an operation that needs to grow leaves the text as it
 * was. One owner at a time; no lock.
 *
 *   char local[256];
 *   StringBuf name(nullptr, local, sizeof local);   // starts on the stack
 *   name.append(run, runLength);
 *   name.append(':');
 *   use(name.c_str(), name.getLength());
 *
 * Appending a character or a run that fits costs a compare and a copy; only
 * growth leaves the header. */
#ifndef KELP_UTIL_UTL_STRINGBUF_H
#define KELP_UTIL_UTL_STRINGBUF_H

#include <cstddef>
#include <cstring>
#include <string>

#include <kelp/kelp_api.h>

namespace qor::quv::util {

class KELP_API StringBuf {
 public:
  /* Selects the constructor on a caller's buffer; pass a null pointer. */
  struct ExtBufTag {};

  /* Owns a 16-byte block holding "". */
  StringBuf();
  /* Owns a block of the text's length plus one, at least 16 bytes; a null
   * pointer reads as "". */
  explicit StringBuf(const char* s);
  /* Works in buffer[0, size), emptied; neither owned nor freed. A size below
   * 2 (or a null buffer) is not usable: a 64-byte block of its own is taken
   * instead. */
  StringBuf(ExtBufTag*, char* buffer, unsigned size);
  /* Copies take the text into a block of their own. */
  StringBuf(const StringBuf& other);
  StringBuf& operator=(const StringBuf& other);
  ~StringBuf();

  const char* c_str() const { return mBegin; }
  operator const char*() const { return mBegin; }
  /* The writable buffer: getCapacity() bytes. Bytes written past the text
   * become part of it through truncate(). */
  char* getBuffer() { return mBegin; }
  unsigned getLength() const { return static_cast<unsigned>(mEnd - mBegin); }
  unsigned getCapacity() const { return static_cast<unsigned>(mCapEnd - mBegin); }
  bool isEmpty() const { return mEnd == mBegin; }
  /* True while the text lives in a block of the buffer's own. */
  bool isOwned() const { return mBlock != nullptr; }
  std::string str() const { return std::string(mBegin, mEnd); }
  char operator[](unsigned i) const { return mBegin[i]; }
  void clear() {
    mEnd = mBegin;
    *mEnd = '\0';
  }

  /* Replace the text. The capacity doubles until it exceeds the new
   * length. The source may lie inside this buffer. */
  void assign(char c);
  void assign(const char* s);
  void assign(const char* s, unsigned n);

  /* Add at the end. When the text does not fit, the capacity doubles once
   * and then again while it is not larger than the length needed. */
  void append(char c) {
    if (mCapEnd - mEnd > 1) {
      *mEnd++ = c;
      *mEnd = '\0';
    } else {
      appendSlow(&c, 1);
    }
  }
  /* s points at n bytes (it may be null when n is 0). */
  void append(const char* s, unsigned n) {
    if (static_cast<std::size_t>(mCapEnd - mEnd) > n) {
      if (n) std::memmove(mEnd, s, n);
      mEnd += n;
      *mEnd = '\0';
    } else {
      appendSlow(s, n);
    }
  }
  /* A null pointer appends nothing. */
  void append(const char* s) {
    if (s) append(s, static_cast<unsigned>(std::strlen(s)));
  }

  /* Insert at a position (at most the length), moving the rest. A character
   * doubles the capacity when the text end plus one reaches the capacity
   * end; a string grows as append does. */
  void insert(unsigned pos, char c);
  void insert(unsigned pos, const char* s);

  /* Cuts the text to n bytes. There is no check against the length: a
   * larger n takes in what the buffer holds there (see getBuffer). n is
   * kept below the capacity. */
  void truncate(unsigned n);

  /* Moves the text into a new owned block of exactly `capacity` bytes (at
   * least 1; a longer text is cut to fit); the old block is freed only when
   * it was owned. False, with nothing changed, when memory runs out. */
  bool resize(std::size_t capacity);

  bool startsWith(const char* prefix) const;

  /* n bytes from pos. n is limited by the end of the capacity, not of the
   * text: ask only for ranges inside the text. */
  std::string getSubString(unsigned pos, unsigned n) const;

 private:
  void appendSlow(const char* s, std::size_t n);
  void initOwned(const char* s, std::size_t n, std::size_t minCapacity);
  // The capacity that growth by doubling reaches from the current one for
  // a text of `length` bytes (0 when none can hold it).
  std::size_t grownCapacity(std::size_t length, bool doubleOnce) const;

  char* mBegin;   // the text
  char* mCapEnd;  // end of the capacity
  char* mEnd;     // end of the text, where the terminating zero stands
  char* mBlock;   // the owned heap block, null on a caller's buffer
};

}  // namespace qor::quv::util

#endif
