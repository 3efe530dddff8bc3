/* EVersion2: a release version major.minor, a maturity level (alpha, beta,
 * release candidate, final) and a patch level, of which trailing parts may be
 * left unspecified (-1; the patch level's 16-bit pattern 65535). The library's
 * view of the record qor::quv::types::Version2.
 *
 *   EVersion2 v;
 *   v.parseString("2.1b3", nullptr);   // 2.1, beta, patch 3
 *   v.formatString(4);                  // "2.1beta3"
 *   v.formatString(2);                  // "2.1"
 *
 * The precision of a version is the number of its leading specified parts
 * (0 to 4). compare() answers with a magnitude of 1 when two versions differ
 * only in that one of them leaves the deciding part open, and 2 when they
 * really differ. A plain value: copy freely, no locking. */
#ifndef KELP_UTIL_UTL_EVERSION2_H
#define KELP_UTIL_UTL_EVERSION2_H

#include <string>

#include <fw/fw_ValueRecords.h>
#include <kelp/kelp_api.h>

namespace qor::quv::util {

class KELP_API EVersion2 : public types::Version2 {
 public:
  /* All four parts unspecified. */
  EVersion2();
  EVersion2(const EVersion2& other) = default;
  EVersion2(const types::Version2& other);
  EVersion2(int major, int minor, types::VersionLevel level, int patchLevel);
  EVersion2& operator=(const EVersion2& other) = default;
  EVersion2& operator=(const types::Version2& other);

  void set(int major, int minor, types::VersionLevel level, int patchLevel);
  void setMajor(int v) { major = static_cast<std::int16_t>(v); }
  int getMajor() const { return major; }
  void setMinor(int v) { minor = static_cast<std::int16_t>(v); }
  int getMinor() const { return minor; }
  void setLevel(types::VersionLevel v) { level = v; }
  types::VersionLevel getLevel() const { return level; }
  void setPatchLevel(int v) { patchLevel = static_cast<std::uint16_t>(v); }
  /* The patch level as a signed number: -1 when unspecified. */
  int getPatchLevel() const { return static_cast<std::int16_t>(patchLevel); }
  void setNull();
  bool isNull() const;
  /* 0 when the major is unspecified, 1 the minor, 2 the level, 3 the patch
   * level, else 4. */
  int getPrecision() const;

  /* Writes the fields into `out`; the flag is accepted for symmetry with the
   * records that own strings and has nothing to free here. */
  void copy(types::Version2* out, bool freeOld) const;

  /* Reduces this version to what it has in common with `other`: from the
   * first differing part on, every part becomes unspecified. */
  void merge(const types::Version2& other);

  /* Reads "2", "2.1", "2.1a", "2.1alpha2", "2.1b3", "2.1rc1", "2.1.5",
   * "2.1final" ... after optional white space. A bare major is accepted only
   * when `end` is given. With `end` given it first receives `s` and, on
   * success, the position reached; without it only white space may follow.
   * The value changes only on success. */
  bool parseString(const char* s, const char** end);

  /* The first difference over major, minor, level, patch level, by cmp():
   * -2, -1, 0, 1 or 2. */
  int compare(const types::Version2& other) const;

  /* The version at the smaller of `precision` and getPrecision(): "2",
   * "2.1", "2.1beta", "2.1rc3", "2.1.3" (final with a patch level). A level
   * outside alpha..final gives "" at precision 3 and 4. */
  std::string formatString(int precision) const;

  /* a < b: -1 when a is unspecified (-1), else -2; a > b: 1 when b is
   * unspecified, else 2; 0 when equal. */
  static int cmp(int a, int b);
  /* True at the end of the text or at white space. */
  static bool endOfV(const char* p);
  /* endOfV, or a decimal digit. */
  static bool endOfVT(const char* p);
};

}  // namespace qor::quv::util

#endif
