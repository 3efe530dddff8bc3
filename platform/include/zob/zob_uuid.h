/* UUIDs of the object model.
 *
 * ZobUUID is the 128-bit record: the three numeric fields in host byte
 * order, then the two clock-sequence bytes and the six node bytes as they
 * stand in the text form. zobUUIDCreate makes a random (version 4) UUID,
 * zobUUIDCreateFromName a name-based one (version 5, SHA-1 of the name
 * space's 16 bytes in network order followed by the name). zobUUIDCompare
 * orders UUIDs field by field, numerically. All three may be called from any
 * thread. */
#ifndef ZOB_ZOB_UUID_H
#define ZOB_ZOB_UUID_H

#include <cstdint>

#include <zob/zob_api.h>
#include <zob/zob_result.h>

struct ZobUUID {
  std::uint32_t timeLow;
  std::uint16_t timeMid;
  std::uint16_t timeHiAndVersion;
  std::uint8_t clockSeqHiAndReserved;
  std::uint8_t clockSeqLow;
  std::uint8_t node[6];
};

static_assert(sizeof(ZobUUID) == 16, "ZobUUID is 16 bytes");

/* Fills *out with a new random UUID; zob::kInvalidArgument for null. */
ZOB_API ZResult zobUUIDCreate(ZobUUID* out);
/* Fills *out with the name-based UUID of `length` bytes at `name` in the
 * given name space; zob::kInvalidArgument for a null out or name space, or a
 * null name with a non-zero length. */
ZOB_API ZResult zobUUIDCreateFromName(ZobUUID* out, const ZobUUID* nameSpace, const void* name,
                                      unsigned long length);
/* Negative, zero or positive as a sorts before, equal to or after b. A null
 * pointer stands for the null UUID. */
ZOB_API int zobUUIDCompare(const ZobUUID* a, const ZobUUID* b);

#endif
