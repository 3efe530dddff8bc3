/* Plain records of the host framework's value types: versions, lengths and
 * angles. They carry no behaviour; the library's views of them are
 * qor::quv::util::EVersion, EVersion2, ELength and EAngle. */
#ifndef FW_FW_VALUERECORDS_H
#define FW_FW_VALUERECORDS_H

#include <cstdint>

namespace qor::quv::types {

/* major.minor.subMinor of a data or file format. */
struct Version {
  std::int16_t major;
  std::int16_t minor;
  std::int16_t subMinor;
};

/* Maturity of a release. */
enum VersionLevel : std::int32_t {
  VL_UNSPECIFIED = -1,
  VL_ALPHA = 0,
  VL_BETA = 1,
  VL_RC = 2,
  VL_FINAL = 3
};

/* A release version; -1 (for the patch level the 16-bit pattern 65535) marks a
 * part as not specified. */
struct Version2 {
  std::int16_t major;
  std::int16_t minor;
  VersionLevel level;
  std::uint16_t patchLevel;
};

enum LengthUnit : std::int32_t {
  LU_NONE = 0,
  LU_MM = 1,
  LU_CM = 2,
  LU_DM = 3,
  LU_M = 4,
  LU_KM = 5,
  LU_INCH = 6,
  LU_FEET = 7,
  LU_PICA = 8,
  LU_POINT = 9,
  LU_TWIP = 10
};

struct Length {
  double value;
  LengthUnit unit;
};

enum AngleUnit : std::int32_t { AU_NONE = 0, AU_DEG = 1, AU_RAD = 2 };

struct Angle {
  double value;
  AngleUnit unit;
};

}  // namespace qor::quv::types

#endif
