/* The object model's plain value records: the tagged value zob::Variant with
 * its type tags, the date and time records and the counted sequence.
 *
 * These are C-like records without constructors or destructors: whoever fills
 * a Variant owns its string (tag VT_STRING, allocated with zobStrDup) or its
 * byte buffer (tag VT_BYTES, allocated with zobCalloc) and frees them with
 * zobFree. The library's owning wrapper is qor::quv::util::EVariant.
 *
 *   zob::Variant v;
 *   v.type = zob::VT_INT;
 *   v.u.iVal = 42;
 */
#ifndef ZOB_ZOB_VARIANT_H
#define ZOB_ZOB_VARIANT_H

#include <cstdint>

#include <zob/zob_api.h>

namespace zob {

/* Type tags of a Variant. The numbers are part of the object model's binary
 * interface; 5 and 15 are not used by any value. */
enum VariantType : std::int32_t {
  VT_INVALID = 0,
  VT_NULL = 1,
  VT_BOOL = 2,
  VT_UCHAR = 3,
  VT_CHAR = 4,
  VT_UNUSED5 = 5,
  VT_SHORT = 6,
  VT_USHORT = 7,
  VT_INT = 8,
  VT_UINT = 9,
  VT_LONG = 10,
  VT_ULONG = 11,
  VT_FLOAT = 12,
  VT_DOUBLE = 13,
  VT_STRING = 14,
  VT_UNUSED15 = 15,
  VT_DATE = 16,
  VT_TIME = 17,
  VT_DATETIME = 18,
  VT_BYTES = 19
};

struct Date {
  std::int16_t year;
  std::int16_t month;
  std::int16_t day;
};

struct Time {
  std::int16_t hour;
  std::int16_t minute;
  std::int16_t second;
  std::int16_t millisecond;
};

struct DateTime {
  std::int16_t year;
  std::int16_t month;
  std::int16_t day;
  std::int16_t hour;
  std::int16_t minute;
  std::int16_t second;
  std::int16_t millisecond;
};

/* A counted array: `length` elements at `buffer` (allocated with the zob
 * allocation functions by whoever fills it). */
template <class T>
struct Sequence {
  std::uint32_t length;
  T* buffer;
};

/* The tagged value: the tag says which member of the payload is live. */
struct Variant {
  VariantType type;
  union {
    std::int32_t boolVal; /* 0 or 1 */
    unsigned char ucVal;
    char cVal;
    short sVal;
    unsigned short usVal;
    int iVal;
    unsigned int uiVal;
    long lVal;
    unsigned long ulVal;
    float fVal;
    double dVal;
    char* strVal; /* may be null, which reads as "" */
    Date dateVal;
    Time timeVal;
    DateTime dateTimeVal;
    Sequence<unsigned char> bytesVal;
  } u;
};

}  // namespace zob

/* Frees every string of a sequence of strings and its buffer, and empties it
 * (the form in which lists of codes are handed out). */
ZOB_API void zobFreeStrSeq(zob::Sequence<char*>* seq);

#endif
