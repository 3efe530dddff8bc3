// Locale queries over nl_langinfo.
#include <ktz/ktz_locale.h>

#include <langinfo.h>
#include <clocale>
#include <cstring>

namespace {

// The C library's name for the charset of the "C" and "POSIX" locales.
constexpr const char kCLocaleCharset[] = "ANSI_X3.4-1968";

// Whether the character type comes from the "C" or "POSIX" locale: there
// nobody chose ASCII, so the charset is taken to be UTF-8, as the C.UTF-8
// locale does.
bool defaultCType() {
  const char* name = std::setlocale(LC_CTYPE, nullptr);
  return name && (!std::strcmp(name, "C") || !std::strcmp(name, "POSIX"));
}

}  // namespace

ZResult ktzGetLocaleParam(int param, char* buffer, std::size_t size) {
  if (!buffer || size == 0) return zob::kInvalidArgument;
  buffer[0] = '\0';
  const char* value = nullptr;
  switch (param) {
    case kKtzLocaleCodeSet:
      value = nl_langinfo(CODESET);
      if (value && !std::strcmp(value, kCLocaleCharset) && defaultCType()) value = "UTF-8";
      break;
    default:
      return zob::kInvalidArgument;
  }
  if (!value || !*value) return zob::kNotFound;
  std::size_t n = std::strlen(value);
  if (n >= size) return zob::kInvalidArgument;
  std::memcpy(buffer, value, n + 1);
  return zob::kOk;
}
