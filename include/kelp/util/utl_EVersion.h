/* EVersion: a three-part version number major.minor.subMinor of a data or
 * file format, the library's view of the record qor::quv::types::Version.
 *
 *   EVersion v;
 *   v.parseString("1.2.3", nullptr);   // true
 *   v.formatString();                   // "1.2.3"
 *   v.compare(EVersion(1, 3, 0));       // -1
 *
 * A plain value: copy freely, no locking. parseString leaves the value
 * unchanged when it fails. */
#ifndef KELP_UTIL_UTL_EVERSION_H
#define KELP_UTIL_UTL_EVERSION_H

#include <string>

#include <fw/fw_ValueRecords.h>
#include <kelp/kelp_api.h>

namespace qor::quv::util {

class KELP_API EVersion : public types::Version {
 public:
  /* The null version 0.0.0. */
  EVersion();
  EVersion(const EVersion& other) = default;
  EVersion(const types::Version& other);
  EVersion(int major, int minor, int subMinor);
  EVersion& operator=(const EVersion& other) = default;
  EVersion& operator=(const types::Version& other);

  void set(int major, int minor, int subMinor);
  void setMajor(int v) { major = static_cast<std::int16_t>(v); }
  int getMajor() const { return major; }
  void setMinor(int v) { minor = static_cast<std::int16_t>(v); }
  int getMinor() const { return minor; }
  void setSubMinor(int v) { subMinor = static_cast<std::int16_t>(v); }
  int getSubMinor() const { return subMinor; }
  void setNull() { set(0, 0, 0); }
  bool isNull() const { return major == 0 && minor == 0 && subMinor == 0; }

  /* Writes the fields into `out`; the flag is accepted for symmetry with the
   * records that own strings and has nothing to free here. */
  void copy(types::Version* out, bool freeOld) const;

  /* Reads "major.minor.subMinor" after optional white space, each number at
   * most 32767 and each "." directly followed by a digit. With `end` given it
   * first receives `s` and, on success, the position behind the third number;
   * without it only white space may follow. */
  bool parseString(const char* s, const char** end);

  /* -1, 0 or 1, lexicographically over major, minor, subMinor. */
  int compare(const types::Version& other) const;

  /* "%hd.%hd.%hd" */
  std::string formatString() const;
};

}  // namespace qor::quv::util

#endif
