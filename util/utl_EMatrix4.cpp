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

V2 load(const double* p) {
  V2 v;
  std::memcpy(&v, p, sizeof v);
  return v;
}
void store(double* p, V2 v) {
  std::memcpy(p, &v, sizeof v);
}
V2 dup(double x) {
  return V2{x, x};
}
double sum(V2 v) {
  return v[0] + v[1];
}

// The inverse by 2x2 blocks M = [A B; C D], each row of a block one pair of
// lanes. With X# the adjugate of a 2x2 matrix (X X# = |X| I):
//   det M = |A||D| + |B||C| - trace((A#B)(D#C))
//   inverse = [P# Q#; R# S#] / det M, where
//   P = A|D| - B(D#C), Q = C|B| - D(A#B)#, R = B|C| - A(D#C)#,
//   S = D|A| - C(A#B).
// kSingular, and *out untouched, when |det| is at most kSingularTolerance
// times Hadamard's bound, the product of the row lengths (compared squared,
// which saves a root). With kCheckRows, rows whose squared length lies
// outside [2^-200, 2^200], where that comparison could overflow or vanish,
// answer kOddRows, again before anything is written.
enum class Inverted { kOk, kSingular, kOddRows };

template <bool kCheckRows>
[[gnu::always_inline]] inline Inverted blockInverse(const double* m, double* out) {
  const V2 a1 = load(m), b1 = load(m + 2), a2 = load(m + 4), b2 = load(m + 6);
  const V2 c1 = load(m + 8), d1 = load(m + 10), c2 = load(m + 12), d2 = load(m + 14);
  const double detA = a1[0] * a2[1] - a1[1] * a2[0], detB = b1[0] * b2[1] - b1[1] * b2[0];
  const double detC = c1[0] * c2[1] - c1[1] * c2[0], detD = d1[0] * d2[1] - d1[1] * d2[0];
  // A#B and D#C, row by row.
  const V2 ab1 = b1 * dup(a2[1]) - b2 * dup(a1[1]), ab2 = b2 * dup(a1[0]) - b1 * dup(a2[0]);
  const V2 dc1 = c1 * dup(d2[1]) - c2 * dup(d1[1]), dc2 = c2 * dup(d1[0]) - c1 * dup(d2[0]);
  const double trace = sum(ab1 * V2{dc1[0], dc2[0]} + ab2 * V2{dc1[1], dc2[1]});
  const double det = detA * detD + detB * detC - trace;
  const V2 u = a1 * a1 + b1 * b1, v = a2 * a2 + b2 * b2;
  const V2 w = c1 * c1 + d1 * d1, x = c2 * c2 + d2 * d2;
  const V2 sq02 = V2{u[0], w[0]} + V2{u[1], w[1]}, sq13 = V2{v[0], x[0]} + V2{v[1], x[1]};
  if constexpr (kCheckRows) {
    // Rows of ordinary size keep both sides of the test below (and every
    // product on the way) far from overflow and underflow; NaN fails too.
    constexpr double kLow = 0x1p-200, kHigh = 0x1p200;
    if (!(sq02[0] >= kLow && sq02[0] <= kHigh && sq02[1] >= kLow && sq02[1] <= kHigh &&
          sq13[0] >= kLow && sq13[0] <= kHigh && sq13[1] >= kLow && sq13[1] <= kHigh))
      return Inverted::kOddRows;
  }
  const V2 rows = sq02 * sq13;
  constexpr double tol = EMatrix4::kSingularTolerance;
  if (!(det * det > tol * tol * (rows[0] * rows[1]))) return Inverted::kSingular;
  const V2 p1 = a1 * dup(detD) - (dc1 * dup(b1[0]) + dc2 * dup(b1[1]));
  const V2 p2 = a2 * dup(detD) - (dc1 * dup(b2[0]) + dc2 * dup(b2[1]));
  const V2 s1 = d1 * dup(detA) - (ab1 * dup(c1[0]) + ab2 * dup(c1[1]));
  const V2 s2 = d2 * dup(detA) - (ab1 * dup(c2[0]) + ab2 * dup(c2[1]));
  // (A#B)# and (D#C)# row by row.
  const V2 abT1 = V2{ab2[1], -ab1[1]}, abT2 = V2{-ab2[0], ab1[0]};
  const V2 dcT1 = V2{dc2[1], -dc1[1]}, dcT2 = V2{-dc2[0], dc1[0]};
  const V2 q1 = c1 * dup(detB) - (abT1 * dup(d1[0]) + abT2 * dup(d1[1]));
  const V2 q2 = c2 * dup(detB) - (abT1 * dup(d2[0]) + abT2 * dup(d2[1]));
  const V2 r1 = b1 * dup(detC) - (dcT1 * dup(a1[0]) + dcT2 * dup(a1[1]));
  const V2 r2 = b2 * dup(detC) - (dcT1 * dup(a2[0]) + dcT2 * dup(a2[1]));
  // X# / det: row 1 (x3, -x1), row 2 (-x2, x0).
  const double f = 1 / det;
  const V2 plusMinus = {f, -f}, minusPlus = {-f, f};
  store(out, V2{p2[1], p1[1]} * plusMinus);
  store(out + 2, V2{q2[1], q1[1]} * plusMinus);
  store(out + 4, V2{p2[0], p1[0]} * minusPlus);
  store(out + 6, V2{q2[0], q1[0]} * minusPlus);
  store(out + 8, V2{r2[1], r1[1]} * plusMinus);
  store(out + 10, V2{s2[1], s1[1]} * plusMinus);
  store(out + 12, V2{r2[0], r1[0]} * minusPlus);
  store(out + 14, V2{s2[0], s1[0]} * minusPlus);
  return Inverted::kOk;
}

// Rows whose squared length lies outside [2^-200, 2^200] (or is NaN or
// infinite): the rare case, kept out of the common path. Each row is
// scaled by a power of two (exactly) to a largest element in [1, 2); as
// inverse(D * M) = inverse(M) * inverse(D) for the diagonal D, the columns
// of the result are scaled back.
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
  double t[16];
  if (blockInverse<false>(m, t) != Inverted::kOk) return false;
  for (int i = 0; i < 16; ++i) {
    t[i] *= colScale[i % 4];
    // The inverse of rows of tiny numbers can exceed the range.
    if (!std::isfinite(t[i])) return false;
  }
  std::memcpy(out, t, sizeof t);
  return true;
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
  // determinant of rows of tiny or huge numbers underflows or overflows:
  // such rows, and NaN and infinity, take the slow path.
  double scratch[16];
  double* dst = out ? out->m_ : scratch;
  switch (blockInverse<true>(m_, dst)) {
    case Inverted::kOk:
      return true;
    case Inverted::kSingular:
      return false;
    case Inverted::kOddRows:
      break;
  }
  return invertOddRows(m_, dst);
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
