// 4x4 matrices: products, determinant and inverse, factories, point and
// normal transforms, decomposition, text and XML attributes.
#define QUV_SOURCE_NAME "utl_EMatrix4"

#include <kelp/util/utl_EMatrix4.h>
#include <kelp/util/utl_EVersor.h>
#include <kelp/xml/sax/sax_Attributes.h>
#include <kelp/xml/xml_XMLWriterItfWrapper.h>

#include <cmath>
#include <cstring>
#include <limits>

#include <vorn/vorn_placeholder.h>

#include "util/utl_GeomText_impl.h"

namespace qor::quv::util {

namespace {

constexpr double kIdentity[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

// The twelve 2x2 minors of the upper two rows (s) and the lower two rows
// (c) from which both the determinant and the adjugate are built.
struct Minors {
  double s0, s1, s2, s3, s4, s5, c0, c1, c2, c3, c4, c5;
  explicit Minors(const double* m) {
    s0 = m[0] * m[5] - m[4] * m[1];
    s1 = m[0] * m[6] - m[4] * m[2];
    s2 = m[0] * m[7] - m[4] * m[3];
    s3 = m[1] * m[6] - m[5] * m[2];
    s4 = m[1] * m[7] - m[5] * m[3];
    s5 = m[2] * m[7] - m[6] * m[3];
    c5 = m[10] * m[15] - m[14] * m[11];
    c4 = m[9] * m[15] - m[13] * m[11];
    c3 = m[9] * m[14] - m[13] * m[10];
    c2 = m[8] * m[15] - m[12] * m[11];
    c1 = m[8] * m[14] - m[12] * m[10];
    c0 = m[8] * m[13] - m[12] * m[9];
  }
  double determinant() const { return s0 * c5 - s1 * c4 + s2 * c3 + s3 * c2 - s4 * c1 + s5 * c0; }
};

// Two lanes of doubles: GCC and Clang lower these to SSE2 on x86-64 and
// to scalar code where there is no vector unit.
using V2 = double __attribute__((vector_size(16)));

// The adjugate of m divided by its determinant, two elements of a row at a
// time: row i of the inverse pairs (b[i][0], b[i][1]) and (b[i][2],
// b[i][3]), each a sum of three products of a column pair of rows 0 and 1
// (or 2 and 3) with a minor of the other two rows. False, and *out
// untouched, when the determinant is too small for the rows' lengths
// (Hadamard's bound: |det| <= product of the row lengths). colScale undoes
// a scaling of the rows when kScaled.
template <bool kScaled>
bool invertScaled(const double* m, const double* colScale, double* out) {
  const Minors k(m);
  const double det = k.determinant();
  auto sq = [&](int r) {
    return m[r] * m[r] + m[r + 1] * m[r + 1] + m[r + 2] * m[r + 2] + m[r + 3] * m[r + 3];
  };
  // Squared on both sides, which saves the square root: the rows are of
  // ordinary size here, so neither side overflows.
  const double tol = EMatrix4::kSingularTolerance;
  if (!(det * det > tol * tol * (sq(0) * sq(4) * sq(8) * sq(12)))) return false;
  // A_j = (m[1][j], -m[0][j]) and B_j = (m[3][j], -m[2][j]).
  V2 a[4], b[4];
  for (int j = 0; j < 4; ++j) {
    a[j] = V2{m[4 + j], -m[j]};
    b[j] = V2{m[12 + j], -m[8 + j]};
  }
  const double f = 1 / det;
  V2 r[8];
  r[0] = a[1] * k.c5 - a[2] * k.c4 + a[3] * k.c3;
  r[1] = b[1] * k.s5 - b[2] * k.s4 + b[3] * k.s3;
  r[2] = a[2] * k.c2 - a[0] * k.c5 - a[3] * k.c1;
  r[3] = b[2] * k.s2 - b[0] * k.s5 - b[3] * k.s1;
  r[4] = a[0] * k.c4 - a[1] * k.c2 + a[3] * k.c0;
  r[5] = b[0] * k.s4 - b[1] * k.s2 + b[3] * k.s0;
  r[6] = a[1] * k.c1 - a[0] * k.c3 - a[2] * k.c0;
  r[7] = b[1] * k.s1 - b[0] * k.s3 - b[2] * k.s0;
  if constexpr (!kScaled) {
    for (int i = 0; i < 8; ++i) {
      const V2 v = r[i] * f;
      std::memcpy(out + 2 * i, &v, sizeof v);
    }
    return true;
  } else {
    double t[16];
    for (int i = 0; i < 8; ++i) {
      const int c = (2 * i) % 4;
      t[2 * i] = r[i][0] * f * colScale[c];
      t[2 * i + 1] = r[i][1] * f * colScale[c + 1];
      // The inverse of rows of tiny numbers can exceed the range.
      if (!std::isfinite(t[2 * i]) || !std::isfinite(t[2 * i + 1])) return false;
    }
    std::memcpy(out, t, sizeof t);
    return true;
  }
}

V2 load(const double* p) {
  V2 v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

// Rows with a largest element below 2^-100 or not below 2^100 (or NaN or
// infinite ones): the rare case, kept out of the common path.
[[gnu::noinline, gnu::cold]] bool invertOddRows(const double* src, double* out) {
  double m[16];
  double colScale[4];
  for (int r = 0; r < 4; ++r) {
    double top = 0;
    bool finite = true;
    for (int c = 0; c < 4; ++c) {
      const double a = std::fabs(src[r * 4 + c]);
      finite &= a <= std::numeric_limits<double>::max();  // false for NaN too
      top = a > top ? a : top;
    }
    if (!finite || top == 0) return false;
    const int e = std::ilogb(top);
    for (int c = 0; c < 4; ++c) m[r * 4 + c] = std::ldexp(src[r * 4 + c], -e);
    colScale[r] = std::ldexp(1.0, -e);  // infinite only where the inverse is too
  }
  return invertScaled<true>(m, colScale, out);
}

}  // namespace

EMatrix4::EMatrix4() noexcept {
  std::memcpy(m_, kIdentity, sizeof m_);
}

EMatrix4::EMatrix4(const double (&rowMajor)[16]) noexcept {
  std::memcpy(m_, rowMajor, sizeof m_);
}

EMatrix4::EMatrix4(double m00, double m01, double m02, double m03, double m10, double m11,
                   double m12, double m13, double m20, double m21, double m22, double m23,
                   double m30, double m31, double m32, double m33) noexcept
    : m_{m00, m01, m02, m03, m10, m11, m12, m13, m20, m21, m22, m23, m30, m31, m32, m33} {}

EMatrix4 EMatrix4::translation(const EVector3& t) {
  EMatrix4 r;
  r.m_[3] = t.x;
  r.m_[7] = t.y;
  r.m_[11] = t.z;
  return r;
}

EMatrix4 EMatrix4::scaling(const EVector3& s) {
  EMatrix4 r;
  r.m_[0] = s.x;
  r.m_[5] = s.y;
  r.m_[10] = s.z;
  return r;
}

EMatrix4 EMatrix4::scaling(double s) {
  return scaling(EVector3(s, s, s));
}

EMatrix4 EMatrix4::rotation(const EVersor& q) {
  return q.toMatrix();
}

bool EMatrix4::rotation(const EVector3& axis, const EAngle& angle, EMatrix4* out) {
  EVersor q;
  if (!EVersor::fromAxisAngle(axis, angle, &q)) return false;
  if (out) *out = q.toMatrix();
  return true;
}

EMatrix4 EMatrix4::fromTRS(const EVector3& t, const EVersor& r, const EVector3& s) {
  EMatrix4 m = r.toMatrix();
  for (int i = 0; i < 3; ++i) {
    m.m_[i * 4 + 0] *= s.x;
    m.m_[i * 4 + 1] *= s.y;
    m.m_[i * 4 + 2] *= s.z;
  }
  m.m_[3] = t.x;
  m.m_[7] = t.y;
  m.m_[11] = t.z;
  return m;
}

EMatrix4 EMatrix4::transposed() const {
  EMatrix4 r;
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) r.m_[j * 4 + i] = m_[i * 4 + j];
  return r;
}

double EMatrix4::determinant() const {
  return Minors(m_).determinant();
}

bool EMatrix4::inverse(EMatrix4* out) const {
  // The test for singularity does not change when a row is scaled, but the
  // determinant of rows of tiny or huge numbers underflows or overflows.
  // Such rows are scaled by powers of two (exactly) to a largest element in
  // [1, 2); as inverse(D * M) = inverse(M) * inverse(D) for the diagonal
  // D, the columns of the result are scaled back. Rows of ordinary size, the
  // common case, skip all that: every element below 2^100 in magnitude (not
  // NaN), and one of each row at least 2^-100.
  using I2 = long long __attribute__((vector_size(16)));
  const V2 low = {0x1p-100, 0x1p-100}, high = {0x1p100, 0x1p100};
  const V2 sign = {-0.0, -0.0};
  I2 small = {0, 0};
  I2 fine = {-1, -1};
  for (int r = 0; r < 4; ++r) {
    const V2 a = (V2)((I2)load(m_ + r * 4) & ~(I2)sign);
    const V2 b = (V2)((I2)load(m_ + r * 4 + 2) & ~(I2)sign);
    fine &= (a < high) & (b < high);
    const I2 big = (a >= low) | (b >= low);
    small |= ~(big | I2{big[1], big[0]});
  }
  double scratch[16];
  double* dst = out ? out->m_ : scratch;
  if (!(fine[0] & fine[1]) || (small[0] | small[1])) return invertOddRows(m_, dst);
  return invertScaled<false>(m_, nullptr, dst);
}

bool EMatrix4::transformPointProjective(const EVector3& p, EVector3* out) const {
  const double w = m_[12] * p.x + m_[13] * p.y + m_[14] * p.z + m_[15];
  if (w == 0 || !std::isfinite(w)) return false;
  if (out) *out = transformPoint(p) / w;
  return true;
}

EVector3 EMatrix4::transformNormal(const EVector3& n) const {
  // The cofactor matrix of A is det(A) times the inverse transpose; its
  // columns are the cross products of A's columns. It needs no division,
  // and the sign of det restores the direction a mirror would flip.
  const EVector3 a0(m_[0], m_[4], m_[8]), a1(m_[1], m_[5], m_[9]), a2(m_[2], m_[6], m_[10]);
  const EVector3 k0 = a1.cross(a2), k1 = a2.cross(a0), k2 = a0.cross(a1);
  EVector3 r = k0 * n.x + k1 * n.y + k2 * n.z;
  if (a0.dot(k0) < 0) r = -r;
  EVector3 u;
  return r.normalized(&u) ? u : EVector3();
}

bool EMatrix4::isAffine() const {
  return m_[12] == 0 && m_[13] == 0 && m_[14] == 0 && m_[15] == 1;
}

bool EMatrix4::isIdentity() const {
  for (int i = 0; i < 16; ++i)
    if (m_[i] != kIdentity[i]) return false;
  return true;
}

bool EMatrix4::isFinite() const {
  for (double v : m_)
    if (!std::isfinite(v)) return false;
  return true;
}

bool EMatrix4::equals(const EMatrix4& o, double tolerance) const {
  for (int i = 0; i < 16; ++i)
    if (!(std::fabs(m_[i] - o.m_[i]) <= tolerance)) return false;
  return true;
}

bool EMatrix4::decompose(EVector3* t, EVersor* r, EVector3* s) const {
  if (!isAffine() || !isFinite()) return false;
  const EVector3 c0(m_[0], m_[4], m_[8]), c1(m_[1], m_[5], m_[9]), c2(m_[2], m_[6], m_[10]);
  const double s0 = c0.length(), s1 = c1.length(), s2 = c2.length();
  if (!(s0 > 0 && s1 > 0 && s2 > 0)) return false;
  constexpr double shear = 1e-9;
  if (std::fabs(c0.dot(c1)) > shear * s0 * s1 || std::fabs(c1.dot(c2)) > shear * s1 * s2 ||
      std::fabs(c2.dot(c0)) > shear * s2 * s0)
    return false;
  if (!(c0.cross(c1).dot(c2) > 0)) return false;
  const EMatrix4 rot(c0.x / s0, c1.x / s1, c2.x / s2, 0, c0.y / s0, c1.y / s1, c2.y / s2, 0,
                     c0.z / s0, c1.z / s1, c2.z / s2, 0, 0, 0, 0, 1);
  EVersor q;
  if (!EVersor::fromMatrix(rot, &q)) return false;
  if (t) *t = EVector3(m_[3], m_[7], m_[11]);
  if (r) *r = q;
  if (s) *s = EVector3(s0, s1, s2);
  return true;
}

std::string EMatrix4::formatString() const {
  return detail::formatNumbers(m_, 16);
}

bool EMatrix4::parseString(const char* s, const char** end, std::string* error) {
  double v[16];
  if (!detail::parseNumbers(s, 16, v, end, error)) return false;
  std::memcpy(m_, v, sizeof m_);
  return true;
}

bool EMatrix4::decodeAttributes(const xml::sax::Attributes& attrs, std::string* error,
                                const char* name) {
  if (!name) name = "";
  const char* text = attrs.getValue("", name);
  if (!text || !*text) {
    detail::setGeomError(error, std::string("attribute '%1' is missing or empty") << name);
    return false;
  }
  std::string why;
  EMatrix4 m;
  if (!m.parseString(text, nullptr, &why)) {
    detail::setGeomError(error, std::string("attribute '%1' has invalid value '%2': %3")
                                    << name << text << why);
    return false;
  }
  *this = m;
  return true;
}

bool EMatrix4::decodeAttributes(const xml::sax::Attributes& attrs, const EMatrix4& fallback,
                                std::string* error, const char* name) {
  const char* text = attrs.getValue("", name ? name : "");
  if (!text || !*text) {
    *this = fallback;
    return true;
  }
  return decodeAttributes(attrs, error, name);
}

bool EMatrix4::encodeAttributes(xml::XMLWriterItfWrapper* writer, const char* name) const {
  if (!writer || !name) return false;
  return writer->attribute(name, formatString());
}

EMatrix4 operator*(const EMatrix4& a, const EMatrix4& b) {
  // Row i of the product is the rows of b weighted by row i of a: four
  // contiguous rows, which the compiler keeps in vector registers.
  const double* x = a.data();
  const double* y = b.data();
  double r[16];
  for (int i = 0; i < 4; ++i) {
    const double a0 = x[i * 4], a1 = x[i * 4 + 1], a2 = x[i * 4 + 2], a3 = x[i * 4 + 3];
    for (int j = 0; j < 4; ++j)
      r[i * 4 + j] = a0 * y[j] + a1 * y[4 + j] + a2 * y[8 + j] + a3 * y[12 + j];
  }
  return EMatrix4(r);
}

bool operator==(const EMatrix4& a, const EMatrix4& b) {
  for (int i = 0; i < 16; ++i)
    if (a.data()[i] != b.data()[i]) return false;
  return true;
}

bool operator!=(const EMatrix4& a, const EMatrix4& b) {
  return !(a == b);
}

}  // namespace qor::quv::util
