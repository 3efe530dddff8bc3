/* Three-way comparison of floating-point numbers to a number of decimal
 * digits.
 *
 *   gCompare(1.004, 1.0, 2);   // 0: equal to two decimals
 *   gCompare(1.01, 1.0, 2);    // 1
 *
 * Two numbers are equal when they differ by at most half a unit of the
 * last digit kept (0.5 * 10^-digits); otherwise the sign of a - b decides.
 * A negative `digits` compares to tens, hundreds ... A NaN equals a NaN and
 * sorts after every number. Pure; any thread. */
#ifndef VORN_VORN_COMPARE_H
#define VORN_VORN_COMPARE_H

#include <zob/zob_api.h>

ZOB_API int gCompare(double a, double b, int digits);
ZOB_API int gCompare(float a, float b, int digits);

#endif
