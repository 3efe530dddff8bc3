/* URI helpers of the utility library, after RFC 3986.
 *
 *   gIsURI("http://example.com/a%20b");             // true
 *   gNormalizeURI("HTTP://Example.COM/a/./b/../c");  // "http://example.com/a/c"
 *   gEscapeURIComponent("a b/c", "/");              // "a%20b/c"
 *   gUnescapePartOfURI("a%20b");                     // "a b"
 *
 * Work on bytes: non-ASCII bytes (UTF-8 sequences) are percent-encoded one
 * byte at a time. Pure; any thread. */
#ifndef VORN_VORN_URI_H
#define VORN_VORN_URI_H

#include <string>

#include <zob/zob_api.h>

/* True for an absolute URI: a scheme (a letter, then letters, digits, "+",
 * "-", "."), ":", and only characters a URI may hold (unreserved, reserved,
 * "%" followed by two hex digits) after it. */
ZOB_API bool gIsURI(const std::string& text);

/* The syntax-based normal form (RFC 3986 6.2.2): scheme and host in lower
 * case, hex digits of percent-encodings in upper case, percent-encoded
 * unreserved characters decoded, and the dot segments removed from the
 * path. Text that is not a URI reference is returned with only the
 * percent-encodings normalized. */
ZOB_API std::string gNormalizeURI(const std::string& uri);

/* Percent-encodes every byte except the unreserved characters (letters,
 * digits, "-", ".", "_", "~") and those listed in `keep` (may be null). */
ZOB_API std::string gEscapeURIComponent(const std::string& text, const char* keep);

/* Decodes every "%" followed by two hex digits; any other "%" stays. */
ZOB_API std::string gUnescapePartOfURI(const std::string& text);

#endif
