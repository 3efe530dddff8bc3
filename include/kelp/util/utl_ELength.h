/* ELength: a measured length, a double value with a unit (the library's view of
 * the record qor::quv::types::Length).
 *
 * Units convert by a factor table; the text form is the value in fixed
 * notation followed by the unit's translated display name, and the reader
 * accepts a number in the user's or the classic notation followed by an
 * optional unit name (translated names, the longest that fits).
 *
 *   ELength a;
 *   a.parseString(types::LU_NONE, "12 inch", nullptr);   // 12 in unit 6
 *   a.formatString(2);                                    // "12.00 in"
 *
 * Unit names are translated from the library's text domain on first use and
 * cached for the life of the process, without a lock: make the first use on
 * one thread. parseString reads the user's notation under the numeric locale
 * of the environment on the calling thread only. Nothing throws: readers
 * answer false and leave the value unchanged; units outside the table give a
 * not-a-number conversion or an empty text. */
#ifndef KELP_UTIL_UTL_ELENGTH_H
#define KELP_UTIL_UTL_ELENGTH_H

#include <string>

#include <fw/fw_ValueRecords.h>
#include <kelp/kelp_api.h>

namespace qor::quv::util {

class KELP_API ELength : public types::Length {
 public:
  /* The value 0 with no unit (LU_NONE). */
  ELength();
  ELength(const ELength& other) = default;
  ELength(const types::Length& other);
  ELength(double value, types::LengthUnit unit);
  ELength& operator=(const ELength& other) = default;
  ELength& operator=(const types::Length& other);

  double getValue() const { return value; }
  types::LengthUnit getUnit() const { return unit; }
  /* A unit of the table and a finite value. */
  bool isValid() const;
  /* Not a number, with no unit (LU_NONE). */
  static ELength makeNaN();

  /* The value in fixed notation with `precision` decimals (classic locale),
   * then the unit's translated display name, after a blank when the name
   * begins with a letter. "" for a unit outside the table. */
  static std::string formatString(double value, types::LengthUnit unit, int precision);
  std::string formatString(int precision) const;

  /* Skips white space and matches the longest translated unit name at the
   * start of `s`; on success `*end` points behind it. */
  static bool matchUnit(const char* s, const char** end, types::LengthUnit* out);

  /* A number, then an optional unit name; without one `defaultUnit` applies
   * (LU_NONE makes the text invalid). With `end` given it receives the
   * position reached; without it only white space may follow. */
  static bool parseString(types::LengthUnit defaultUnit, const char* s, const char** end,
                          types::Length* out);
  bool parseString(types::LengthUnit defaultUnit, const char* s, const char** end);

  /* value * factor[from] / factor[to]; not a number for units outside the
   * table. */
  static double convert(double value, types::LengthUnit from, types::LengthUnit to);
  /* This length's value expressed in `to`. */
  double convert(types::LengthUnit to) const;
};

}  // namespace qor::quv::util

#endif
