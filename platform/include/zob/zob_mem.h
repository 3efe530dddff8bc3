/* Allocation and string copies of the object model.
 *
 * Memory handed across object-model interfaces (strings returned through
 * out-parameters in particular) is allocated with these functions and freed
 * by the receiver with zobFree. They are thin wrappers of the malloc family;
 * allocation failure returns null, never throws. */
#ifndef ZOB_ZOB_MEM_H
#define ZOB_ZOB_MEM_H

#include <cstddef>

#include <zob/zob_api.h>

ZOB_API void* zobMalloc(std::size_t size);
ZOB_API void* zobCalloc(std::size_t count, std::size_t size);
ZOB_API void* zobRealloc(void* p, std::size_t size);
ZOB_API void zobFree(void* p);

/* Copy of a zero-terminated string; null for a null argument. */
ZOB_API char* zobStrDup(const char* s);
/* Like zobStrDup, but a null argument gives a copy of "". */
ZOB_API char* zobStrDup0(const char* s);
/* Copy of at most n bytes (stops at a NUL); null for a null argument. */
ZOB_API char* zobStrNDup(const char* s, std::size_t n);
/* Like zobStrNDup, but a null argument gives a copy of "". */
ZOB_API char* zobStrNDup0(const char* s, std::size_t n);

#endif
