// ELength and EAngle parseString: accepted texts format and read back to the
// same unit and (to the printed precision) the same value.
#include <kelp/util/utl_EAngle.h>
#include <kelp/util/utl_ELength.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>

using namespace qor::quv;

namespace {

void check(bool condition) {
  if (!condition) std::abort();
}

template <class E, class Rec, class Unit>
void roundTrip(const char* s, int maxUnit) {
  for (int def = -1; def <= maxUnit + 1; ++def) {
    for (bool withEnd : {false, true}) {
      Rec out{42.0, static_cast<Unit>(1)};
      const char* end = nullptr;
      bool ok = E::parseString(static_cast<Unit>(def), s, withEnd ? &end : nullptr, &out);
      if (!ok) {
        check(out.value == 42.0 && out.unit == static_cast<Unit>(1));
        continue;
      }
      check(out.unit >= 1 && out.unit <= maxUnit);
      if (!std::isfinite(out.value) || std::fabs(out.value) > 1e30) continue;
      std::string shown = E::formatString(out.value, out.unit, 17);
      Rec again{0, static_cast<Unit>(0)};
      check(E::parseString(static_cast<Unit>(0), shown.c_str(), nullptr, &again));
      check(again.unit == out.unit);
      check(std::fabs(again.value - out.value) <= 1e-17 + std::fabs(out.value) * 1e-15);
      for (int to = 0; to <= maxUnit + 1; ++to)
        check(std::isnan(E::convert(out.value, out.unit, static_cast<Unit>(to))) ==
              (to < 1 || to > maxUnit));
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 1024) return 0;
  std::string text(reinterpret_cast<const char*>(data), size);
  roundTrip<util::ELength, types::Length, types::LengthUnit>(text.c_str(), 10);
  roundTrip<util::EAngle, types::Angle, types::AngleUnit>(text.c_str(), 2);
  types::LengthUnit lu;
  const char* end;
  if (util::ELength::matchUnit(text.c_str(), &end, &lu)) check(lu >= 1 && lu <= 10);
  return 0;
}
