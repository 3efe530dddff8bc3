// ASCII case-insensitive comparison, independent of the current locale.
#include <vorn/vorn_string.h>

namespace {
inline unsigned char lowerAscii(unsigned char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<unsigned char>(c + ('a' - 'A')) : c;
}
}  // namespace

int gStrNCaseCmp(const char* a, const char* b, unsigned long n) {
  if (a == b) return 0;
  if (!a) return -1;
  if (!b) return 1;
  for (unsigned long i = 0; i < n; ++i) {
    unsigned char ca = lowerAscii(static_cast<unsigned char>(a[i]));
    unsigned char cb = lowerAscii(static_cast<unsigned char>(b[i]));
    if (ca != cb) return ca < cb ? -1 : 1;
    if (ca == '\0') return 0;
  }
  return 0;
}

int gStrCaseCmp(const char* a, const char* b) {
  return gStrNCaseCmp(a, b, ~0UL);
}
