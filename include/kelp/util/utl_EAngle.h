/* EAngle: a measured angle, a double value with a unit (the library's view of
 * the record qor::quv::types::Angle).
 *
 * Units convert by a factor table; the text form is the value in fixed
 * notation followed by the unit's translated display name, and the reader
 * accepts a number in the user's or the classic notation followed by an
 * optional unit name (translated names, the longest that fits).
 *
 *   EAngle a;
 *   a.parseString(types::AU_NONE, "90 deg", nullptr);   // 90 in unit 1
 *   a.formatString(2);                                    // "90.00 deg"
 *
 * Unit names are translated from the library's text domain on first use and
 * cached for the life of the process, without a lock: make the first use on
 * one thread. parseString reads the user's notation under the numeric locale
 * of the environment on the calling thread only. Nothing throws: readers
 * answer false and leave the value unchanged; units outside the table give a
 * not-a-number conversion or an empty text. */
#ifndef KELP_UTIL_UTL_EANGLE_H
#define KELP_UTIL_UTL_EANGLE_H

#include <string>

#include <fw/fw_ValueRecords.h>
#include <kelp/kelp_api.h>

namespace qor::quv::util {

class KELP_API EAngle : public types::Angle {
 public:
  /* The value 0 with no unit (AU_NONE). */
  EAngle();
  EAngle(const EAngle& other) = default;
  EAngle(const types::Angle& other);
  EAngle(double value, types::AngleUnit unit);
  EAngle& operator=(const EAngle& other) = default;
  EAngle& operator=(const types::Angle& other);

  double getValue() const { return value; }
  types::AngleUnit getUnit() const { return unit; }
  /* A unit of the table and a finite value. */
  bool isValid() const;
  /* Not a number, with no unit (AU_NONE). */
  static EAngle makeNaN();

  /* The value in fixed notation with `precision` decimals (classic locale),
   * then the unit's translated display name, after a blank when the name
   * begins with a letter. "" for a unit outside the table. */
  static std::string formatString(double value, types::AngleUnit unit, int precision);
  std::string formatString(int precision) const;

  /* Skips white space and matches the longest translated unit name at the
   * start of `s`; on success `*end` points behind it. */
  static bool matchUnit(const char* s, const char** end, types::AngleUnit* out);

  /* A number, then an optional unit name; without one `defaultUnit` applies
   * (AU_NONE makes the text invalid). With `end` given it receives the
   * position reached; without it only white space may follow. */
  static bool parseString(types::AngleUnit defaultUnit, const char* s, const char** end,
                          types::Angle* out);
  bool parseString(types::AngleUnit defaultUnit, const char* s, const char** end);

  /* value * factor[from] / factor[to]; not a number for units outside the
   * table. */
  static double convert(double value, types::AngleUnit from, types::AngleUnit to);
  /* This angle's value expressed in `to`. */
  double convert(types::AngleUnit to) const;
};

}  // namespace qor::quv::util

#endif
