// Small character tests shared by the text readers of the value types. They
// are locale-independent on purpose: the text forms are fixed.
#ifndef KELP_UTIL_UTL_TEXTSCAN_IMPL_H
#define KELP_UTIL_UTL_TEXTSCAN_IMPL_H

namespace qor::quv::util::detail {

// Blank and the control characters HT to CR.
inline bool isSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}
inline bool isDigit(char c) {
  return c >= '0' && c <= '9';
}
inline const char* skipSpace(const char* p) {
  while (isSpace(*p)) ++p;
  return p;
}

// Reads the decimal number at *p (which starts with a digit) and moves *p
// behind it. The value stops growing above `limit`, so that long runs of
// digits cannot overflow; callers compare the result with the limit.
inline long readBoundedNumber(const char** p, long limit) {
  long v = 0;
  for (; isDigit(**p); ++*p)
    if (v <= limit) v = v * 10 + (**p - '0');
  return v;
}

}  // namespace qor::quv::util::detail

#endif
