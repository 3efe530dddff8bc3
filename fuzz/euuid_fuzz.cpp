// EUUID's text parser: every input is parsed (as a zero-terminated string);
// what parses is formatted and must parse back to the same UUID, in both
// hyphenated forms' cases, and its other forms must have their fixed sizes.
#include <kelp/util/utl_EUUID.h>

#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

using qor::quv::util::EUUID;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  const char* s = text.c_str();
  EUUID u;
  const char* end = nullptr;
  bool ok = u.parseString(s, &end);
  // The constructor agrees with parseString.
  EUUID viaString(text);
  if (!ok) {
    if (end != s || !u.isNull() || !viaString.isNull()) std::abort();
    return 0;
  }
  if (end < s + 36 || end > s + std::strlen(s)) std::abort();
  if (viaString != u) std::abort();

  std::string formatted = u.formatString();
  if (formatted.size() != 36) std::abort();
  EUUID back;
  const char* backEnd = nullptr;
  if (!back.parseString(formatted.c_str(), &backEnd) || back != u) std::abort();
  if (backEnd != formatted.c_str() + 36) std::abort();
  if (back.formatString() != formatted) std::abort();

  // The digits read are the formatted ones, case aside.
  std::string read(end - 36, end);
  for (char& c : read) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (read != formatted) std::abort();

  std::string upper = formatted;
  for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  if (EUUID(upper) != u) std::abort();

  std::string compact = u.formatString(true);
  if (compact.size() != 32) std::abort();
  std::string stripped;
  for (char c : formatted)
    if (c != '-') stripped += c;
  if (compact != stripped) std::abort();

  std::string base64 = u.formatBase64();
  if (base64.size() != 22) std::abort();
  for (char c : base64)
    if (!std::isalnum(static_cast<unsigned char>(c)) && c != '-' && c != '_') std::abort();
  if (u.isNull() != (formatted == "00000000-0000-0000-0000-000000000000")) std::abort();
  return 0;
}
