/* Inspection of the interning table, for the library's tests: how entries
 * were placed (chunk or block of their own), what is left of the current
 * chunk, and the flag byte of an entry. Not part of the public API. */
#ifndef KELP_UTIL_UTL_PSTRING_IMPL_H
#define KELP_UTIL_UTL_PSTRING_IMPL_H

#include <cstddef>
#include <cstdint>

#include <kelp/kelp_api.h>
#include <kelp/util/utl_PString.h>

namespace qor::quv::util::detail {

struct KELP_API PStrTabProbe {
  /* The process-wide table, or null before the first interning. */
  static const PStrTab* global();
  /* Bytes left in the current chunk and its next free byte. */
  static std::size_t chunkLeft(const PStrTab& t);
  static const char* chunkNext(const PStrTab& t);
  /* Chunks made so far, and entries that got a block of their own. */
  static std::size_t chunkCount(const PStrTab& t);
  static std::size_t ownBlockCount(const PStrTab& t);
  static std::size_t entryCount(const PStrTab& t);
  static uint32_t bucketCount(const PStrTab& t);
  /* The flag byte of the entry holding these characters (0 for null). */
  static uint8_t flags(const char* chars);
  /* The handle's pointer, null for the null handle. */
  static const char* chars(const PString& s);
};

}  // namespace qor::quv::util::detail

#endif
