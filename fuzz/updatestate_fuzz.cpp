// Funcs::parseTarnUpdateState: never reads past the text, the two forms
// agree, and every state's keyword reads back to the state.
#include <kelp/util/utl_Funcs.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

using qor::quv::util::Funcs;

namespace {
void check(bool condition) {
  if (!condition) std::abort();
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 4096) return 0;
  const std::string text(reinterpret_cast<const char*>(data), size);
  const char* s = text.c_str();
  const int whole = Funcs::parseTarnUpdateState(s, nullptr);
  const char* end = nullptr;
  const int prefix = Funcs::parseTarnUpdateState(s, &end);
  check(whole >= -1 && whole <= 4);
  check(prefix >= -1 && prefix <= 4);
  if (whole >= 0) check(prefix == whole);
  if (prefix < 0) {
    check(end == s);
    check(whole == -1);
  } else {
    check(end > s && end <= s + std::strlen(s));
    const char* keyword =
        Funcs::tarnUpdateStateToString(static_cast<qor::quv::basket::TarnUpdateState>(prefix));
    const std::size_t n = std::strlen(keyword);
    check(n > 0 && static_cast<std::size_t>(end - s) >= n);
    check(std::memcmp(end - n, keyword, n) == 0);
    check(Funcs::parseTarnUpdateState(keyword, nullptr) == prefix);
  }
  return 0;
}
