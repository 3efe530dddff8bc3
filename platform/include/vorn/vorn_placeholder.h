/* Message templates with numbered placeholders.
 *
 *   std::string msg = "Can't open %1: %2";
 *   msg << path << zobStrError(res);
 *
 * Each `<<` replaces the lowest-numbered placeholder %N still present in the
 * template, every occurrence of it, with the text of the value (integers in
 * decimal, bools as "true"/"false", a null const char* as ""). A placeholder
 * is '%' followed by decimal digits, read greedily: %1 does not match inside
 * %10. When no placeholder is left, the value changes nothing. "%%" is not
 * special.
 *
 * The operators live in namespace vorn and are brought into the global
 * namespace and the library's namespaces by using-declarations below, so that
 * a namespace's own operator<< never hides them. */
#ifndef VORN_VORN_PLACEHOLDER_H
#define VORN_VORN_PLACEHOLDER_H

#include <string>
#include <string_view>

#include <zob/zob_api.h>

namespace vorn {

/* Replaces the lowest-numbered placeholder with text; false when none. */
ZOB_API bool replacePlaceholder(std::string& tmpl, std::string_view text);

ZOB_API std::string& operator<<(std::string& s, const char* v);
ZOB_API std::string& operator<<(std::string& s, const std::string& v);
ZOB_API std::string& operator<<(std::string& s, int v);
ZOB_API std::string& operator<<(std::string& s, unsigned int v);
ZOB_API std::string& operator<<(std::string& s, bool v);

/* Temporaries: std::string("...%1") << x yields the filled-in string. */
template <class T>
inline std::string operator<<(std::string&& s, const T& v) {
  s << v;
  return std::move(s);
}

}  // namespace vorn

using vorn::operator<<;
namespace qor::quv {
using vorn::operator<<;
namespace util {
using vorn::operator<<;
}
namespace types {
using vorn::operator<<;
}
namespace basket {
using vorn::operator<<;
}
namespace xml {
using vorn::operator<<;
}
namespace xml::sax {
using vorn::operator<<;
}
namespace xml::dom {
using vorn::operator<<;
}
namespace layout {
using vorn::operator<<;
}
namespace fw {
using vorn::operator<<;
}
}  // namespace qor::quv

#endif
