/* Locale queries of the portable runtime.
 *
 * Parameters come from the process's current locale (as set with
 * setlocale), so a program that never sets one sees the "C" locale.
 *
 * The code set of the "C" and "POSIX" locales is answered as "UTF-8",
 * not as the C library's ASCII ("ANSI_X3.4-1968"): in those locales nobody
 * asked for ASCII, and taking them at their word would make every
 * converter from the application's code set drop all non-ASCII text in a
 * program that never calls setlocale. A locale that names an ASCII charset
 * explicitly keeps it.
 *
 *   char codeset[32];
 *   if (EFAILED(ktzGetLocaleParam(kKtzLocaleCodeSet, codeset, sizeof codeset)))
 *     std::strcpy(codeset, "US-ASCII");
 */
#ifndef KTZ_KTZ_LOCALE_H
#define KTZ_KTZ_LOCALE_H

#include <cstddef>

#include <zob/zob_api.h>
#include <zob/zob_result.h>

/* Parameters ktzGetLocaleParam knows. */
enum KtzLocaleParam {
  /* The name of the charset of the current locale ("UTF-8",
   * "ISO-8859-1" ...; "UTF-8" for the "C" and "POSIX" locales), a name the
   * text codecs accept. */
  kKtzLocaleCodeSet = 6,
};

/* Copies the zero-terminated value of `param` into buffer. Fails with
 * zob::kInvalidArgument for an unknown parameter, a null buffer or a buffer
 * too small for the value and its terminator (buffer then holds ""), and
 * with zob::kNotFound when the locale does not define the parameter. */
ZOB_API ZResult ktzGetLocaleParam(int param, char* buffer, std::size_t size);

#endif
