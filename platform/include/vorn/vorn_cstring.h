/* Locale-independent number reading and the C string literal form of byte
 * strings.
 *
 * gConvertToCString writes any byte string as a double-quoted literal with
 * backslash escapes; gParseCString reads such a literal back. For every byte
 * string b, gParseCString(gConvertToCString(b)) yields b again.
 *
 *   std::string lit = gConvertToCString("a\"b\n", 4);   // "\"a\\\"b\\n\""
 *   std::string back;
 *   const char* end;
 *   gParseCString(lit.c_str(), &end, &back);             // back == "a\"b\n"
 *
 * All functions are pure and may be called from any thread. */
#ifndef VORN_VORN_CSTRING_H
#define VORN_VORN_CSTRING_H

#include <cstddef>
#include <string>

#include <zob/zob_api.h>

/* Reads a floating-point number exactly as strtod does in the classic ("C")
 * locale, whatever the process or thread locale is: leading white space, sign,
 * decimal point ".", exponent, "inf", "nan" and hexadecimal forms. `*end` (when
 * given) receives the position behind the number, or `s` when there is none
 * (the result is then 0). */
ZOB_API double gParseCDouble(const char* s, const char** end);

/* The double-quoted literal of `length` bytes at `data`: printable ASCII
 * (0x20 to 0x7E) stands for itself except '"' and '\\', which are escaped;
 * BEL, BS, HT, LF, VT, FF and CR become \a \b \t \n \v \f \r; every other byte
 * becomes a three-digit octal escape (\000 to \377). */
ZOB_API std::string gConvertToCString(const char* data, std::size_t length);
ZOB_API std::string gConvertToCString(const std::string& bytes);

/* Reads a double-quoted literal, after optional leading white space (HT to CR
 * and space). Inside the quotes any byte but '"' and '\\' stands for itself;
 * escapes are \" \' \? \\ \a \b \f \n \r \t \v, one to three octal digits (at
 * most \377) and \x with one or two hex digits. On success the decoded bytes
 * replace `*out`, `*end` (when given) points behind the closing quote and the
 * result is true. On failure (no opening quote, unknown escape, octal value
 * above 255, \x without a digit, missing closing quote) the result is false
 * and neither `*out` nor `*end` changes. */
ZOB_API bool gParseCString(const char* s, const char** end, std::string* out);

#endif
