// EPositionNumber: accepted texts format to a text that reads back equal,
// and navigation stays inside the limits; failures leave the value alone.
#include <kelp/util/utl_EPositionNumber.h>

#include <cstdint>
#include <cstdlib>
#include <string>

using qor::quv::basket::EPositionNumber;

namespace {
void check(bool condition) {
  if (!condition) std::abort();
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 256) return 0;
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::string error;
  EPositionNumber p = EPositionNumber::top(7);
  if (!p.parseString(text.c_str(), &error)) {
    check(!error.empty());
    check(p == EPositionNumber::top(7));
    return 0;
  }
  check(p.getDepth() >= 1 && p.getDepth() <= EPositionNumber::MAX_LEVELS);
  EPositionNumber again;
  check(again.parseString(p.formatString(), &error));
  check(again == p);
  const EPositionNumber parent = p.parent(), child = p.firstChild(), next = p.nextSibling();
  if (!parent.isNull()) check(parent < p && p.isBelow(parent));
  if (!child.isNull()) check(p < child && child.isBelow(p) && child.parent() == p);
  if (!next.isNull()) check(p < next && next.parent() == parent);
  return 0;
}
