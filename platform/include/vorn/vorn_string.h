/* String helpers of the utility library. */
#ifndef VORN_VORN_STRING_H
#define VORN_VORN_STRING_H

#include <zob/zob_api.h>

/* strcmp without regard to ASCII case: negative, zero or positive. Null
 * pointers sort before every string and equal each other. */
ZOB_API int gStrCaseCmp(const char* a, const char* b);
/* The same over at most n bytes. */
ZOB_API int gStrNCaseCmp(const char* a, const char* b, unsigned long n);

#endif
