// Comparison of floating-point numbers to a number of decimal digits.
#include <vorn/vorn_compare.h>

#include <cmath>

int gCompare(double a, double b, int digits) {
  const bool nanA = std::isnan(a);
  const bool nanB = std::isnan(b);
  if (nanA || nanB) return nanA == nanB ? 0 : (nanA ? 1 : -1);
  if (a == b) return 0;  // also equal infinities
  if (std::isinf(a) || std::isinf(b)) return a < b ? -1 : 1;
  if (digits > 400) digits = 400;
  if (digits < -400) digits = -400;
  const double tolerance = 0.5 * std::pow(10.0, -digits);
  const double diff = a - b;
  if (std::fabs(diff) <= tolerance) return 0;
  return diff < 0 ? -1 : 1;
}

int gCompare(float a, float b, int digits) {
  return gCompare(static_cast<double>(a), static_cast<double>(b), digits);
}
