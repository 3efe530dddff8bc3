// ELength: units, conversion and text forms of a measured length.
#define QUV_SOURCE_NAME "utl_ELength"
#include <kelp/util/utl_ELength.h>

#include <cmath>
#include <limits>

#include "util/utl_Measure_impl.h"

namespace qor::quv::util {

namespace {

// Every name of every unit; the first row of a unit is its display name.
detail::UnitName sUnitNames[] = {
    {types::LU_MM, "mm", nullptr},       {types::LU_CM, "cm", nullptr},
    {types::LU_DM, "dm", nullptr},       {types::LU_M, "m", nullptr},
    {types::LU_KM, "km", nullptr},       {types::LU_INCH, "in", nullptr},
    {types::LU_INCH, "inch", nullptr},   {types::LU_FEET, "ft", nullptr},
    {types::LU_FEET, "feet", nullptr},   {types::LU_PICA, "pc", nullptr},
    {types::LU_PICA, "pica", nullptr},   {types::LU_POINT, "pt", nullptr},
    {types::LU_POINT, "point", nullptr}, {types::LU_TWIP, "twip", nullptr},
};

const double kFactors[] = {0.0,    0.001,  0.01,       0.1,         1.0,          1000.0,
                           0.0254, 0.3048, 0.0254 / 6, 0.0254 / 72, 0.0254 / 1440};

detail::UnitTable sUnits = {sUnitNames, sizeof sUnitNames / sizeof sUnitNames[0], kFactors, 10,
                            false};

}  // namespace

ELength::ELength() {
  value = 0.0;
  unit = types::LU_NONE;
}
ELength::ELength(const types::Length& other) : types::Length(other) {}
ELength::ELength(double v, types::LengthUnit u) {
  value = v;
  unit = u;
}

ELength& ELength::operator=(const types::Length& other) {
  types::Length::operator=(other);
  return *this;
}

bool ELength::isValid() const {
  return detail::isKnownUnit(sUnits, unit) && std::isfinite(value);
}

ELength ELength::makeNaN() {
  return ELength(std::numeric_limits<double>::quiet_NaN(), types::LU_NONE);
}

std::string ELength::formatString(double v, types::LengthUnit u, int precision) {
  return detail::formatMeasure(sUnits, v, u, precision);
}

std::string ELength::formatString(int precision) const {
  return formatString(value, unit, precision);
}

bool ELength::matchUnit(const char* s, const char** end, types::LengthUnit* out) {
  int u = 0;
  if (!detail::matchUnitName(sUnits, s, end, &u)) return false;
  if (out) *out = static_cast<types::LengthUnit>(u);
  return true;
}

bool ELength::parseString(types::LengthUnit defaultUnit, const char* s, const char** end,
                          types::Length* out) {
  double v = 0.0;
  int u = 0;
  if (!detail::parseMeasure(sUnits, defaultUnit, s, end, &v, &u)) return false;
  if (out) {
    out->value = v;
    out->unit = static_cast<types::LengthUnit>(u);
  }
  return true;
}

bool ELength::parseString(types::LengthUnit defaultUnit, const char* s, const char** end) {
  return parseString(defaultUnit, s, end, this);
}

double ELength::convert(double v, types::LengthUnit from, types::LengthUnit to) {
  return detail::convertUnits(sUnits, v, from, to);
}

double ELength::convert(types::LengthUnit to) const {
  return convert(value, unit, to);
}

}  // namespace qor::quv::util
