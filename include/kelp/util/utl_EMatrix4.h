/* EMatrix4: a 4x4 matrix of doubles for affine (and projective) transforms.
 *
 * Row-major storage, column vectors: a point p maps to M * (p, 1), so in a
 * product A * B the transform B applies first. A translation sits in the
 * last column (elements (0,3), (1,3), (2,3)). The default value is the
 * identity.
 *
 * Text form: the 16 numbers row by row, in the shortest notation that reads
 * back to the same double (classic locale), separated by single blanks. The
 * reader refuses NaN and infinity ("expected 16 numbers, found 12").
 *
 * XML: one attribute, "matrix" unless named otherwise, holding the text form.
 *
 *   EVersor turn;
 *   EVersor::fromAxisAngle(EVector3(0, 0, 1), EAngle(90, types::AU_DEG), &turn);
 *   EMatrix4 place = EMatrix4::fromTRS(EVector3(1200, 0, 0), turn, EVector3(1, 1, 1));
 *   EVector3 corner = place.transformPoint(EVector3(600, 0, 0));
 *   EMatrix4 back;
 *   if (place.inverse(&back)) ...
 *
 * Nothing throws. Readers answer false, leave the value unchanged and put an
 * English message into *error when given. Any thread may use any value. */
#ifndef KELP_UTIL_UTL_EMATRIX4_H
#define KELP_UTIL_UTL_EMATRIX4_H

#include <string>

#include <kelp/kelp_api.h>
#include <kelp/util/utl_EAngle.h>
#include <kelp/util/utl_EVector3.h>

namespace qor::quv::util {

class EVersor;

class KELP_API EMatrix4 {
 public:
  /* Relative size of the determinant below which inverse() treats a matrix
   * as singular: |det| <= kSingularTolerance * |row 0| * |row 1| * |row 2| *
   * |row 3| (Euclidean row lengths; by Hadamard's inequality the ratio is at
   * most 1, it is 1 for orthogonal rows, and it does not change when a row
   * or the whole matrix is scaled, so tiny and huge matrices invert alike). */
  static constexpr double kSingularTolerance = 1e-12;

  /* The identity. */
  EMatrix4() noexcept;
  /* From 16 numbers, row by row. */
  explicit EMatrix4(const double (&rowMajor)[16]) noexcept;
  EMatrix4(double m00, double m01, double m02, double m03, double m10, double m11, double m12,
           double m13, double m20, double m21, double m22, double m23, double m30, double m31,
           double m32, double m33) noexcept;

  static EMatrix4 identity() { return EMatrix4(); }
  static EMatrix4 translation(const EVector3& t);
  static EMatrix4 scaling(const EVector3& s);
  static EMatrix4 scaling(double s);
  /* The rotation of the versor (about the origin). */
  static EMatrix4 rotation(const EVersor& q);
  /* Rotation by `angle` about `axis` (right-handed: counter-clockwise when
   * the axis points at the viewer) into *out; false for a zero or
   * non-finite axis and for an invalid angle. */
  static bool rotation(const EVector3& axis, const EAngle& angle, EMatrix4* out);
  /* translation(t) * rotation(r) * scaling(s): scale first, then rotate,
   * then move. */
  static EMatrix4 fromTRS(const EVector3& t, const EVersor& r, const EVector3& s);

  /* Element at row r, column c (0 to 3; other indices are clamped). */
  double operator()(int r, int c) const { return m_[index(r, c)]; }
  double& operator()(int r, int c) { return m_[index(r, c)]; }
  /* The 16 elements row by row. */
  const double* data() const { return m_; }
  double* data() { return m_; }

  EMatrix4 transposed() const;
  double determinant() const;
  /* The inverse into *out; false (and *out unchanged) when the matrix is
   * singular by kSingularTolerance, has a NaN or infinite element, or its
   * inverse would not be finite. */
  bool inverse(EMatrix4* out) const;

  /* The upper three rows applied to (p, 1): the last row is taken to be
   * 0 0 0 1, as for every affine matrix. Inline: it runs once per point. */
  EVector3 transformPoint(const EVector3& p) const {
    return {m_[0] * p.x + m_[1] * p.y + m_[2] * p.z + m_[3],
            m_[4] * p.x + m_[5] * p.y + m_[6] * p.z + m_[7],
            m_[8] * p.x + m_[9] * p.y + m_[10] * p.z + m_[11]};
  }
  /* M * (p, 1) divided by its fourth component, for projective matrices;
   * false when that component is zero. */
  bool transformPointProjective(const EVector3& p, EVector3* out) const;
  /* The upper-left 3x3 applied to v (no translation). */
  EVector3 transformVector(const EVector3& v) const {
    return {m_[0] * v.x + m_[1] * v.y + m_[2] * v.z, m_[4] * v.x + m_[5] * v.y + m_[6] * v.z,
            m_[8] * v.x + m_[9] * v.y + m_[10] * v.z};
  }
  /* The normal n of a surface mapped along with it (by the inverse
   * transpose of the upper-left 3x3), scaled to length 1; the zero vector
   * when the matrix flattens the surface or n is zero. */
  EVector3 transformNormal(const EVector3& n) const;

  /* The last row is exactly 0 0 0 1. */
  bool isAffine() const;
  bool isIdentity() const;
  bool isFinite() const;
  /* No element differs by more than `tolerance`. */
  bool equals(const EMatrix4& o, double tolerance) const;

  /* Splits an affine matrix into fromTRS(t, r, s) with positive scale
   * factors. False when the last row is not 0 0 0 1, when the columns of the
   * upper-left 3x3 are not orthogonal within 1e-9 of their lengths (shear),
   * or when its determinant is not positive (a mirror or a flattening,
   * which no versor with positive scales can represent). Outputs may be
   * null; on failure none is written. */
  bool decompose(EVector3* t, EVersor* r, EVector3* s) const;

  /* The text form, 16 numbers. */
  std::string formatString() const;
  /* Reads 16 numbers. With `end`, *end receives the position behind the
   * last (s on failure) and any text may follow; without, only white space
   * may. */
  bool parseString(const char* s, const char** end, std::string* error = nullptr);

  /* From the element's attribute `name` (the text form). */
  bool decodeAttributes(const xml::sax::Attributes& attrs, std::string* error,
                        const char* name = "matrix");
  /* As above, but `fallback` when the attribute is missing or empty. */
  bool decodeAttributes(const xml::sax::Attributes& attrs, const EMatrix4& fallback,
                        std::string* error, const char* name = "matrix");
  /* Writes the attribute `name` with the text form. */
  bool encodeAttributes(xml::XMLWriterItfWrapper* writer, const char* name = "matrix") const;

 private:
  static int index(int r, int c) {
    r = r < 0 ? 0 : (r > 3 ? 3 : r);
    c = c < 0 ? 0 : (c > 3 ? 3 : c);
    return r * 4 + c;
  }
  double m_[16];
};

KELP_API EMatrix4 operator*(const EMatrix4& a, const EMatrix4& b);
/* Exact comparison of all elements. */
KELP_API bool operator==(const EMatrix4& a, const EMatrix4& b);
KELP_API bool operator!=(const EMatrix4& a, const EMatrix4& b);

}  // namespace qor::quv::util

#endif
