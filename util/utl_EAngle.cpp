// EAngle: units, conversion and text forms of a measured angle.
#define QUV_SOURCE_NAME "utl_EAngle"
#include <kelp/util/utl_EAngle.h>

#include <cmath>
#include <limits>

#include "util/utl_Measure_impl.h"

namespace qor::quv::util {

namespace {

// Every name of every unit; the first row of a unit is its display name.
detail::UnitName sUnitNames[] = {
    {types::AU_DEG, "deg", nullptr},
    {types::AU_RAD, "rad", nullptr},
};

const double kFactors[] = {0.0, 1.0, 57.29577951308232};

detail::UnitTable sUnits = {sUnitNames, sizeof sUnitNames / sizeof sUnitNames[0], kFactors, 2,
                            false};

}  // namespace

EAngle::EAngle() {
  value = 0.0;
  unit = types::AU_NONE;
}
EAngle::EAngle(const types::Angle& other) : types::Angle(other) {}
EAngle::EAngle(double v, types::AngleUnit u) {
  value = v;
  unit = u;
}

EAngle& EAngle::operator=(const types::Angle& other) {
  types::Angle::operator=(other);
  return *this;
}

bool EAngle::isValid() const {
  return detail::isKnownUnit(sUnits, unit) && std::isfinite(value);
}

EAngle EAngle::makeNaN() {
  return EAngle(std::numeric_limits<double>::quiet_NaN(), types::AU_NONE);
}

std::string EAngle::formatString(double v, types::AngleUnit u, int precision) {
  return detail::formatMeasure(sUnits, v, u, precision);
}

std::string EAngle::formatString(int precision) const {
  return formatString(value, unit, precision);
}

bool EAngle::matchUnit(const char* s, const char** end, types::AngleUnit* out) {
  int u = 0;
  if (!detail::matchUnitName(sUnits, s, end, &u)) return false;
  if (out) *out = static_cast<types::AngleUnit>(u);
  return true;
}

bool EAngle::parseString(types::AngleUnit defaultUnit, const char* s, const char** end,
                         types::Angle* out) {
  double v = 0.0;
  int u = 0;
  if (!detail::parseMeasure(sUnits, defaultUnit, s, end, &v, &u)) return false;
  if (out) {
    out->value = v;
    out->unit = static_cast<types::AngleUnit>(u);
  }
  return true;
}

bool EAngle::parseString(types::AngleUnit defaultUnit, const char* s, const char** end) {
  return parseString(defaultUnit, s, end, this);
}

double EAngle::convert(double v, types::AngleUnit from, types::AngleUnit to) {
  return detail::convertUnits(sUnits, v, from, to);
}

double EAngle::convert(types::AngleUnit to) const {
  return convert(value, unit, to);
}

}  // namespace qor::quv::util
