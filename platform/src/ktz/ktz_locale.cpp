// Locale queries over nl_langinfo.
#include <ktz/ktz_locale.h>

#include <langinfo.h>
#include <cstring>

ZResult ktzGetLocaleParam(int param, char* buffer, std::size_t size) {
  if (!buffer || size == 0) return zob::kInvalidArgument;
  buffer[0] = '\0';
  const char* value = nullptr;
  switch (param) {
    case kKtzLocaleCodeSet:
      value = nl_langinfo(CODESET);
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
