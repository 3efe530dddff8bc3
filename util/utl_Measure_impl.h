// The machinery that ELength and EAngle share: a table of unit names with
// their translations, the unit factors, and the text forms.
#ifndef KELP_UTIL_UTL_MEASURE_IMPL_H
#define KELP_UTIL_UTL_MEASURE_IMPL_H

#include <cstddef>
#include <string>

namespace qor::quv::util::detail {

// One name of a unit. The first row of a unit is its display name.
// `translated` is filled from the library's text domain on first use.
struct UnitName {
  int unit;
  const char* name;
  const char* translated;
};

struct UnitTable {
  UnitName* names;
  std::size_t nameCount;
  // factors[unit] is the unit's size in the table's base unit; index 0 is
  // unused.
  const double* factors;
  int maxUnit;
  // Set once the translations are in `names`; checked through
  // translatedNames().
  bool translated;
};

// The table with its translated names filled in. The first caller fills
// them; callers on other threads at that moment must not race it (the names
// are cached without a lock).
UnitTable& translatedNames(UnitTable& table);

bool isKnownUnit(const UnitTable& table, int unit);
double convertUnits(const UnitTable& table, double value, int from, int to);
std::string formatMeasure(UnitTable& table, double value, int unit, int precision);
bool matchUnitName(UnitTable& table, const char* s, const char** end, int* unit);
bool parseMeasure(UnitTable& table, int defaultUnit, const char* s, const char** end, double* value,
                  int* unit);

}  // namespace qor::quv::util::detail

#endif
