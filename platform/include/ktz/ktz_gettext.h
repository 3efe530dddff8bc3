/* Message catalogues of the portable runtime, over the C library's gettext.
 *
 * The library's own text domain "quv:kelp" is bound on first use to the
 * folder its catalogues were installed in (the build's KELP_LOCALEDIR); the
 * environment variable KELP_LOCALEDIR, when set and not empty, overrides that
 * folder, so that tests can use the catalogues of a build tree. Any other
 * domain is looked up wherever the host bound it (ktzBindTextDomain).
 *
 *   const char* name = ktzDGetText("quv:kelp", "inch");   // "Zoll" in German
 *
 * The translation follows the LC_MESSAGES category (and LANGUAGE) of the
 * process locale; ktzDGetTextIn asks for a given language instead. Returned texts belong to the catalogue and stay valid for
 * the life of the process; the msgid itself comes back when there is no
 * translation. Thread-safe. */
#ifndef KTZ_KTZ_GETTEXT_H
#define KTZ_KTZ_GETTEXT_H

#include <zob/zob_api.h>

/* The library's text domain. */
#define KTZ_KELP_TEXT_DOMAIN "quv:kelp"

/* The translation of `msgid` in `domain`; a null msgid gives "". */
ZOB_API const char* ktzDGetText(const char* domain, const char* msgid);

/* The translation of `msgid` in `domain` into `language` ("de", "fr";
 * "de_CH" falls back to "de"), whatever the process locale: for texts that
 * follow a document's language rather than the user's. Read from
 * <dir>/<language>/LC_MESSAGES/<domain>.mo in the domain's catalogue folder
 * (as bound above), once per domain and language. msgid itself comes back
 * when there is no such catalogue or entry, or when the language is not a
 * plain name (letters, digits, '_', '-', '@', '.', no "..": never a path);
 * a null msgid gives "". Thread-safe; texts live as long as the process. */
ZOB_API const char* ktzDGetTextIn(const char* domain, const char* language, const char* msgid);

/* Binds `domain` to the catalogue folder `dir` (folders
 * <dir>/<language>/LC_MESSAGES/<domain>.mo). Returns false when the C library
 * refuses. A later ktzDGetText does not rebind a domain bound this way. */
ZOB_API bool ktzBindTextDomain(const char* domain, const char* dir);

#endif
