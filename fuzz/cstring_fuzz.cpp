// gParseCString and gConvertToCString: reading never overruns, and writing
// then reading any byte string gives it back.
#include <vorn/vorn_cstring.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {
void check(bool condition) {
  if (!condition) std::abort();
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string bytes(reinterpret_cast<const char*>(data), size);

  // Any bytes: the literal reads back to them.
  std::string literal = gConvertToCString(bytes);
  std::string back;
  const char* end = nullptr;
  check(gParseCString(literal.c_str(), &end, &back));
  check(back == bytes);
  check(end == literal.c_str() + literal.size());

  // The bytes as a literal to read: on success the result writes and reads
  // back to itself.
  std::string out = "unchanged";
  const char* e = nullptr;
  const char* s = bytes.c_str();
  if (gParseCString(s, &e, &out)) {
    check(e > s && e <= s + std::strlen(s));
    std::string again;
    check(gParseCString(gConvertToCString(out).c_str(), nullptr, &again));
    check(again == out);
  } else {
    check(out == "unchanged" && e == nullptr);
  }

  const char* de = nullptr;
  double d = gParseCDouble(s, &de);
  check(de >= s && de <= s + std::strlen(s));
  (void)d;
  return 0;
}
