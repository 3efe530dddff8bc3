/* EVersor: a rotation in 3D space as a unit quaternion w + xi + yj + zk.
 *
 * A plain copyable value; the default is the identity (1, 0, 0, 0). The
 * factories and operations give unit quaternions in the canonical form
 * (w >= 0; where w is 0, the first non-zero of x, y, z positive), so that
 * q and -q, which are the same rotation, compare and print equal. Values
 * set through the members or the raw constructor are taken as given;
 * canonical() and normalize() bring them into shape.
 *
 * Rotations are right-handed: about an axis pointing at the viewer they turn
 * counter-clockwise. In a product a * b the rotation b applies first.
 *
 * Euler angles: fromEulerZYX(yaw, pitch, roll) turns by roll about x, then
 * by pitch about y, then by yaw about z, all about the fixed axes (the same
 * as yaw about z, then pitch about the new y, then roll about the newest x):
 * rotation = Rz(yaw) * Ry(pitch) * Rx(roll).
 *
 * Text form: "w x y z", numbers in the shortest notation that reads back to
 * the same double (classic locale), single blanks between; formatString
 * writes the canonical form. The reader refuses NaN, infinity and
 * quaternions whose length is not 1 within 1e-6, and keeps the numbers as
 * read.
 *
 * XML: the attributes "qw", "qx", "qy", "qz"; a prefix other than "q" names
 * them differently.
 *
 *   EVersor turn;
 *   EVersor::fromAxisAngle(EVector3(0, 0, 1), EAngle(90, types::AU_DEG), &turn);
 *   turn.rotate(EVector3(1, 0, 0));            // (0, 1, 0) within rounding
 *
 * Nothing throws. Readers answer false, leave the value unchanged and put an
 * English message into *error when given. Any thread may use any value. */
#ifndef KELP_UTIL_UTL_EVERSOR_H
#define KELP_UTIL_UTL_EVERSOR_H

#include <string>

#include <kelp/kelp_api.h>
#include <kelp/util/utl_EAngle.h>
#include <kelp/util/utl_EVector3.h>

namespace qor::quv::util {

class EMatrix4;

class KELP_API EVersor {
 public:
  double w = 1, x = 0, y = 0, z = 0;

  /* The identity rotation. */
  constexpr EVersor() noexcept = default;
  /* Takes the four numbers as they are. */
  constexpr EVersor(double w_, double x_, double y_, double z_) noexcept
      : w(w_), x(x_), y(y_), z(z_) {}

  static EVersor identity() { return EVersor(); }
  /* Rotation by `angle` about `axis` (any length but zero) into *out; false
   * for a zero or non-finite axis and for an invalid angle. Angles in
   * degrees that are multiples of 90 give exact versors: a half turn about
   * z is exactly (0, 0, 0, 1), a full turn the identity. */
  static bool fromAxisAngle(const EVector3& axis, const EAngle& angle, EVersor* out);
  /* Rz(yaw) * Ry(pitch) * Rx(roll) into *out; false for an invalid angle. */
  static bool fromEulerZYX(const EAngle& yaw, const EAngle& pitch, const EAngle& roll,
                           EVersor* out);
  /* The rotation of the upper-left 3x3 of `m` into *out; false when that is
   * not a rotation (columns of length 1 and orthogonal within 1e-6,
   * determinant +1). */
  static bool fromMatrix(const EMatrix4& m, EVersor* out);

  /* The angles of fromEulerZYX in radians, pitch within [-pi/2, pi/2] and
   * the others within [-pi, pi]; at pitch +-pi/2 (gimbal lock) roll is 0.
   * Outputs may be null. */
  void toEulerZYX(EAngle* yaw, EAngle* pitch, EAngle* roll) const;
  /* Rotation angle in radians within [0, pi] and the unit axis (x for the
   * identity). Outputs may be null. */
  void toAxisAngle(EVector3* axis, EAngle* angle) const;
  /* The rotation matrix (last row and column those of the identity), of
   * the quaternion scaled to length 1; quarter turns give exact zeros and
   * ones. */
  EMatrix4 toMatrix() const;

  /* The conjugate: the reverse rotation of a unit quaternion. */
  EVersor inverse() const;
  /* The vector turned by this rotation. */
  EVector3 rotate(const EVector3& v) const;
  /* Spherical interpolation along the shorter arc: t = 0 gives a, t = 1
   * gives b (both canonical), and every t a unit quaternion. */
  static EVersor slerp(const EVersor& a, const EVersor& b, double t);

  double dot(const EVersor& o) const { return w * o.w + x * o.x + y * o.y + z * o.z; }
  double length() const;
  /* Scales to length 1 and brings into the canonical form; false (and the
   * value unchanged) for zero or a NaN or infinite component. */
  bool normalize();
  /* The same quaternion or its negation, whichever has the canonical sign. */
  EVersor canonical() const;
  bool isUnit(double tolerance = 1e-9) const;
  bool isFinite() const;
  /* The same rotation within `tolerance` per component (q and -q agree). */
  bool equals(const EVersor& o, double tolerance) const;

  /* The text form of the canonical quaternion, "w x y z". */
  std::string formatString() const;
  /* Reads four numbers of a unit quaternion. With `end`, *end receives the
   * position behind the fourth (s on failure) and any text may follow;
   * without, only white space may. */
  bool parseString(const char* s, const char** end, std::string* error = nullptr);

  /* From the texts of the attributes w, x, y and z (null or empty: missing). */
  bool decodeAttributes(const char* w, const char* x, const char* y, const char* z,
                        std::string* error);
  /* From an element's attributes prefix+"w" ... prefix+"z". */
  bool decodeAttributes(const xml::sax::Attributes& attrs, std::string* error,
                        const char* prefix = "q");
  /* As above, but `fallback` when all four are missing or empty. */
  bool decodeAttributes(const xml::sax::Attributes& attrs, const EVersor& fallback,
                        std::string* error, const char* prefix = "q");
  /* Writes the four attributes of the canonical form; false as soon as the
   * writer refuses one. */
  bool encodeAttributes(xml::XMLWriterItfWrapper* writer, const char* prefix = "q") const;
};

/* The Hamilton product: b first, then a. */
KELP_API EVersor operator*(const EVersor& a, const EVersor& b);
/* The canonical forms are equal exactly (so q equals -q). */
KELP_API bool operator==(const EVersor& a, const EVersor& b);
KELP_API bool operator!=(const EVersor& a, const EVersor& b);

}  // namespace qor::quv::util

#endif
