// Rotations as unit quaternions: factories, conversion to and from
// matrices and Euler angles, composition, interpolation, text and XML
// attributes.
#define QUV_SOURCE_NAME "utl_EVersor"

#include <kelp/util/utl_EMatrix4.h>
#include <kelp/util/utl_EVersor.h>

#include <algorithm>
#include <cmath>

#include <vorn/vorn_placeholder.h>

#include "util/utl_GeomText_impl.h"

namespace qor::quv::util {

namespace {

const char* const kNames[4] = {"w", "x", "y", "z"};
// How far from 1 the length of a quaternion read from text may be.
constexpr double kUnitTolerance = 1e-6;
constexpr double kPi = 3.14159265358979323846;

// Cosine and sine of half the angle. Angles in degrees are reduced in
// degrees first, and multiples of 90 degrees come out exact, so that a
// quarter or half turn about the vertical gives the versor that is written
// in a file, and a full turn gives the identity.
bool halfAngle(const EAngle& a, double* c, double* s) {
  if (!a.isValid()) return false;
  if (a.getUnit() == types::AU_DEG) {
    const double h = std::fmod(a.getValue(), 720.0) / 2;  // exact
    if (std::fmod(h, 45.0) == 0) {
      constexpr double r = 0.70710678118654752440;  // sqrt(1/2)
      static constexpr double kCos[8] = {1, r, 0, -r, -1, -r, 0, r};
      const int k = (static_cast<int>(h / 45) + 8) % 8;
      *c = kCos[k];
      *s = kCos[(k + 6) % 8];  // sin(x) = cos(x - 90)
      return true;
    }
    const double rad = h * (kPi / 180);
    *c = std::cos(rad);
    *s = std::sin(rad);
    return true;
  }
  const double rad = a.convert(types::AU_RAD);
  if (!std::isfinite(rad)) return false;
  *c = std::cos(rad / 2);
  *s = std::sin(rad / 2);
  return true;
}

bool aboutAxis(double ax, double ay, double az, const EAngle& a, EVersor* q) {
  double c, s;
  if (!halfAngle(a, &c, &s)) return false;
  *q = EVersor(c, ax * s, ay * s, az * s);
  return true;
}

// The reader's test, on the same length that isUnit() measures.
bool isUnitLength(const double* v) {
  return std::fabs(EVersor(v[0], v[1], v[2], v[3]).length() - 1) <= kUnitTolerance;
}

std::string lengthText(const double* v) {
  std::string t;
  detail::appendNumber(&t, EVersor(v[0], v[1], v[2], v[3]).length());
  return t;
}

}  // namespace

bool EVersor::fromAxisAngle(const EVector3& axis, const EAngle& angle, EVersor* out) {
  EVector3 u;
  EVersor q;
  if (!axis.normalized(&u) || !aboutAxis(u.x, u.y, u.z, angle, &q)) return false;
  if (out) *out = q.canonical();
  return true;
}

bool EVersor::fromEulerZYX(const EAngle& yaw, const EAngle& pitch, const EAngle& roll,
                           EVersor* out) {
  EVersor z, y, x;
  if (!aboutAxis(0, 0, 1, yaw, &z) || !aboutAxis(0, 1, 0, pitch, &y) ||
      !aboutAxis(1, 0, 0, roll, &x))
    return false;
  if (out) *out = z * y * x;
  return true;
}

bool EVersor::fromMatrix(const EMatrix4& m, EVersor* out) {
  if (!m.isFinite()) return false;
  const EVector3 c0(m(0, 0), m(1, 0), m(2, 0));
  const EVector3 c1(m(0, 1), m(1, 1), m(2, 1));
  const EVector3 c2(m(0, 2), m(1, 2), m(2, 2));
  constexpr double tol = 1e-6;
  if (std::fabs(c0.length() - 1) > tol || std::fabs(c1.length() - 1) > tol ||
      std::fabs(c2.length() - 1) > tol)
    return false;
  if (std::fabs(c0.dot(c1)) > tol || std::fabs(c1.dot(c2)) > tol || std::fabs(c2.dot(c0)) > tol)
    return false;
  if (c0.cross(c1).dot(c2) <= 0) return false;
  // Shepperd: take the square root of the largest of the four diagonal
  // combinations, so that no division is by a small number.
  const double m00 = m(0, 0), m11 = m(1, 1), m22 = m(2, 2);
  const double trace = m00 + m11 + m22;
  EVersor q;
  if (trace >= m00 && trace >= m11 && trace >= m22) {
    const double s = std::sqrt(1 + trace) * 2;  // 4w
    q = EVersor(s / 4, (m(2, 1) - m(1, 2)) / s, (m(0, 2) - m(2, 0)) / s, (m(1, 0) - m(0, 1)) / s);
  } else if (m00 >= m11 && m00 >= m22) {
    const double s = std::sqrt(1 + m00 - m11 - m22) * 2;  // 4x
    q = EVersor((m(2, 1) - m(1, 2)) / s, s / 4, (m(0, 1) + m(1, 0)) / s, (m(0, 2) + m(2, 0)) / s);
  } else if (m11 >= m22) {
    const double s = std::sqrt(1 + m11 - m00 - m22) * 2;  // 4y
    q = EVersor((m(0, 2) - m(2, 0)) / s, (m(0, 1) + m(1, 0)) / s, s / 4, (m(1, 2) + m(2, 1)) / s);
  } else {
    const double s = std::sqrt(1 + m22 - m00 - m11) * 2;  // 4z
    q = EVersor((m(1, 0) - m(0, 1)) / s, (m(0, 2) + m(2, 0)) / s, (m(1, 2) + m(2, 1)) / s, s / 4);
  }
  if (!q.normalize()) return false;
  if (out) *out = q;
  return true;
}

void EVersor::toEulerZYX(EAngle* yaw, EAngle* pitch, EAngle* roll) const {
  const double sp = 2 * (w * y - z * x);
  double ry, rp, rr;
  if (std::fabs(sp) >= 1 - 1e-12) {
    // Gimbal lock: only yaw - roll (or yaw + roll) is defined; put it all
    // into yaw.
    rp = sp > 0 ? kPi / 2 : -kPi / 2;
    rr = 0;
    ry = std::atan2(-2 * (x * y - w * z), 1 - 2 * (x * x + z * z));
  } else {
    rp = std::asin(sp);
    rr = std::atan2(2 * (w * x + y * z), 1 - 2 * (x * x + y * y));
    ry = std::atan2(2 * (w * z + x * y), 1 - 2 * (y * y + z * z));
  }
  if (yaw) *yaw = EAngle(ry, types::AU_RAD);
  if (pitch) *pitch = EAngle(rp, types::AU_RAD);
  if (roll) *roll = EAngle(rr, types::AU_RAD);
}

void EVersor::toAxisAngle(EVector3* axis, EAngle* angle) const {
  const EVersor c = canonical();
  const EVector3 v(c.x, c.y, c.z);
  EVector3 u(1, 0, 0);
  v.normalized(&u);
  if (axis) *axis = u;
  if (angle) *angle = EAngle(2 * std::atan2(v.length(), c.w), types::AU_RAD);
}

EMatrix4 EVersor::toMatrix() const {
  // 2 / |q|^2 rather than 2: the rounding of a stored versor cancels, so
  // that a quarter turn, sqrt(1/2) twice, gives exact zeros and ones.
  const double n = w * w + x * x + y * y + z * z;
  const double k = n > 0 ? 2 / n : 2;
  const double xx = x * x, yy = y * y, zz = z * z;
  const double xy = x * y, xz = x * z, yz = y * z;
  const double wx = w * x, wy = w * y, wz = w * z;
  return EMatrix4(1 - k * (yy + zz), k * (xy - wz), k * (xz + wy), 0,  //
                  k * (xy + wz), 1 - k * (xx + zz), k * (yz - wx), 0,  //
                  k * (xz - wy), k * (yz + wx), 1 - k * (xx + yy), 0,  //
                  0, 0, 0, 1);
}

EVersor EVersor::inverse() const {
  return EVersor(w, -x, -y, -z).canonical();
}

EVector3 EVersor::rotate(const EVector3& v) const {
  // v + 2w (u x v) + 2 u x (u x v), u the vector part: fewer products than
  // q v q*.
  const EVector3 u(x, y, z);
  const EVector3 t = u.cross(v) * 2;
  return v + t * w + u.cross(t);
}

EVersor EVersor::slerp(const EVersor& a, const EVersor& b, double t) {
  if (t == 0) return a.canonical();
  if (t == 1) return b.canonical();
  double d = a.dot(b);
  EVersor e = b;
  if (d < 0) {  // q and -q are one rotation: take the nearer one
    e = EVersor(-b.w, -b.x, -b.y, -b.z);
    d = -d;
  }
  double ka, kb;
  if (d > 1 - 1e-12) {
    // Nearly the same rotation: sin(theta) would vanish; the straight line
    // is as good and normalize() puts it back on the sphere.
    ka = 1 - t;
    kb = t;
  } else {
    const double theta = std::acos(std::min(d, 1.0));
    const double s = std::sin(theta);
    ka = std::sin((1 - t) * theta) / s;
    kb = std::sin(t * theta) / s;
  }
  EVersor r(ka * a.w + kb * e.w, ka * a.x + kb * e.x, ka * a.y + kb * e.y, ka * a.z + kb * e.z);
  if (!r.normalize()) return a.canonical();
  return r;
}

double EVersor::length() const {
  // NaN for a NaN component, else infinity for an infinite one.
  if (!isFinite()) return std::fabs(w) + std::fabs(x) + std::fabs(y) + std::fabs(z);
  // Scaled by the largest component, so that the squares neither overflow
  // nor vanish.
  const double m = std::max({std::fabs(w), std::fabs(x), std::fabs(y), std::fabs(z)});
  if (m == 0) return 0;
  const double a = w / m, b = x / m, c = y / m, e = z / m;
  return m * std::sqrt(a * a + b * b + c * c + e * e);
}

bool EVersor::normalize() {
  if (!isFinite()) return false;
  const double len = length();
  if (!(len > 0) || !std::isfinite(len)) return false;
  *this = EVersor(w / len, x / len, y / len, z / len).canonical();
  return true;
}

EVersor EVersor::canonical() const {
  bool flip = w < 0;
  if (w == 0) {
    if (x != 0)
      flip = x < 0;
    else if (y != 0)
      flip = y < 0;
    else
      flip = z < 0;
  }
  // Adding +0 turns a negative zero into a positive one, so that equal
  // rotations also print equal.
  if (flip) return EVersor(-w + 0.0, -x + 0.0, -y + 0.0, -z + 0.0);
  return EVersor(w + 0.0, x + 0.0, y + 0.0, z + 0.0);
}

bool EVersor::isUnit(double tolerance) const {
  return std::fabs(length() - 1) <= tolerance;
}

bool EVersor::isFinite() const {
  return std::isfinite(w) && std::isfinite(x) && std::isfinite(y) && std::isfinite(z);
}

bool EVersor::equals(const EVersor& o, double tolerance) const {
  auto near = [&](double s) {
    return std::fabs(w - s * o.w) <= tolerance && std::fabs(x - s * o.x) <= tolerance &&
           std::fabs(y - s * o.y) <= tolerance && std::fabs(z - s * o.z) <= tolerance;
  };
  return near(1) || near(-1);
}

std::string EVersor::formatString() const {
  const EVersor c = canonical();
  const double v[4] = {c.w, c.x, c.y, c.z};
  return detail::formatNumbers(v, 4);
}

bool EVersor::parseString(const char* s, const char** end, std::string* error) {
  double v[4];
  if (!detail::parseNumbers(s, 4, v, end, error)) return false;
  if (!isUnitLength(v)) {
    if (end) *end = s;
    detail::setGeomError(error, std::string("not a unit quaternion (length %1)") << lengthText(v));
    return false;
  }
  *this = EVersor(v[0], v[1], v[2], v[3]);
  return true;
}

namespace {

bool decodeVersor(const char* const* names, const char* const* texts, EVersor* out,
                  std::string* error) {
  double v[4];
  if (!detail::decodeNumberAttributes(names, texts, 4, v, error)) return false;
  if (!isUnitLength(v)) {
    detail::setGeomError(error, std::string("attributes '%1', '%2', '%3', '%4' are not a unit "
                                            "quaternion (length %5)")
                                    << names[0] << names[1] << names[2] << names[3]
                                    << lengthText(v));
    return false;
  }
  *out = EVersor(v[0], v[1], v[2], v[3]);
  return true;
}

}  // namespace

bool EVersor::decodeAttributes(const char* w_, const char* x_, const char* y_, const char* z_,
                               std::string* error) {
  const char* const texts[4] = {w_, x_, y_, z_};
  return decodeVersor(kNames, texts, this, error);
}

bool EVersor::decodeAttributes(const xml::sax::Attributes& attrs, std::string* error,
                               const char* prefix) {
  std::string names[4];
  const char* texts[4];
  detail::lookUpAttributes(attrs, prefix, kNames, 4, names, texts);
  const char* const full[4] = {names[0].c_str(), names[1].c_str(), names[2].c_str(),
                               names[3].c_str()};
  return decodeVersor(full, texts, this, error);
}

bool EVersor::decodeAttributes(const xml::sax::Attributes& attrs, const EVersor& fallback,
                               std::string* error, const char* prefix) {
  std::string names[4];
  const char* texts[4];
  if (!detail::lookUpAttributes(attrs, prefix, kNames, 4, names, texts)) {
    *this = fallback;
    return true;
  }
  return decodeAttributes(attrs, error, prefix);
}

bool EVersor::encodeAttributes(xml::XMLWriterItfWrapper* writer, const char* prefix) const {
  const EVersor c = canonical();
  const double v[4] = {c.w, c.x, c.y, c.z};
  return detail::encodeNumberAttributes(writer, prefix, kNames, v, 4);
}

EVersor operator*(const EVersor& a, const EVersor& b) {
  return EVersor(a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z,
                 a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y,
                 a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x,
                 a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w)
      .canonical();
}

bool operator==(const EVersor& a, const EVersor& b) {
  const EVersor p = a.canonical(), q = b.canonical();
  return p.w == q.w && p.x == q.x && p.y == q.y && p.z == q.z;
}

bool operator!=(const EVersor& a, const EVersor& b) {
  return !(a == b);
}

}  // namespace qor::quv::util
