// Text readers of the geometry values (EVector2, EVector3, EBounds, EMatrix4,
// EVersor): a refused text leaves the value alone and says why; an accepted
// one is finite, ends where it says, and formats and reads back to the same
// bits.
#include <kelp/util/utl_EBounds.h>
#include <kelp/util/utl_EMatrix4.h>
#include <kelp/util/utl_EVector2.h>
#include <kelp/util/utl_EVector3.h>
#include <kelp/util/utl_EVersor.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

using namespace qor::quv::util;

namespace {

void check(bool condition) {
  if (!condition) std::abort();
}

// Reads `s` into a copy of `start`, with and without an end position.
template <class T, class Finite>
void roundTrip(const char* s, const T& start, Finite finite) {
  for (bool withEnd : {false, true}) {
    T v = start;
    std::string error;
    const char* end = nullptr;
    const bool ok = v.parseString(s, withEnd ? &end : nullptr, &error);
    if (withEnd) check(end >= s && end <= s + std::strlen(s));
    if (!ok) {
      check(!error.empty());
      check(v == start);
      if (withEnd) check(end == s);
      continue;
    }
    check(finite(v));
    const std::string text = v.formatString();
    T again = start;
    check(again.parseString(text.c_str(), nullptr, &error));
    check(again.formatString() == text);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 4096) return 0;
  const std::string text(reinterpret_cast<const char*>(data), size);
  const char* s = text.c_str();
  roundTrip(s, EVector2(7, 7), [](const EVector2& v) { return v.isFinite(); });
  roundTrip(s, EVector3(7, 7, 7), [](const EVector3& v) { return v.isFinite(); });
  roundTrip(s, EMatrix4(), [](const EMatrix4& m) { return m.isFinite(); });
  roundTrip(s, EVersor(), [](const EVersor& q) { return q.isFinite() && q.isUnit(1e-6); });
  roundTrip(s, EBounds(EVector3(1, 1, 1), EVector3(2, 2, 2)), [](const EBounds& b) {
    return b.isEmpty() || (b.getMin().isFinite() && b.getMax().isFinite() &&
                           b.contains(b.getMin()) && b.contains(b.getMax()));
  });
  // Whatever was read, the operations on it stay defined.
  EMatrix4 m, inv;
  if (m.parseString(s, nullptr) && m.inverse(&inv)) {
    check(inv.isFinite());
    EVector3 t, sc;
    EVersor q;
    if (m.decompose(&t, &q, &sc)) check(q.isUnit(1e-6) && sc.x > 0 && sc.y > 0 && sc.z > 0);
  }
  return 0;
}
