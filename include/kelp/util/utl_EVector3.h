/* EVector3: a point or direction in 3D space, three doubles x, y, z.
 *
 * A plain copyable value (positions of articles in rooms are in millimetres
 * by convention; the type itself carries no unit). Arithmetic is
 * component-wise IEEE arithmetic; nothing throws and nothing aborts.
 *
 * Text form: the three numbers in the shortest notation that reads back to
 * the same double (classic locale: "." as decimal point, exponent as in
 * "1e+300"), separated by single blanks: "1 -2.5 3e-07". Negative zero keeps
 * its sign ("-0"). The reader takes the numbers separated by white space
 * (a leading "+" is allowed, hexadecimal is not) and names what is wrong:
 * "expected 3 numbers, found 2", "number 3 is not finite" (NaN, infinity),
 * "number 3 is out of range" (beyond the doubles, or so small that it would
 * read as 0), "expected 3 numbers, found more", "unexpected text after 3
 * numbers". The other geometry values read their numbers the same way.
 *
 * XML: the attributes "x", "y" and "z", each holding one number; a prefix
 * names them differently ("minx" ... for the prefix "min").
 *
 *   EVector3 p(100, 250, 0), q;
 *   std::string text = p.formatString();        // "100 250 0"
 *   q.parseString("1 2", nullptr, &error);       // false: "expected 3 numbers, found 2"
 *   EVector3 n;
 *   (p - q).normalized(&n);
 *
 * Readers answer false, leave the value unchanged and put an English message
 * into *error when given. Any thread may use any value. */
#ifndef KELP_UTIL_UTL_EVECTOR3_H
#define KELP_UTIL_UTL_EVECTOR3_H

#include <string>

#include <kelp/kelp_api.h>

namespace qor::quv::xml {
class XMLWriterItfWrapper;
}
namespace qor::quv::xml::sax {
class Attributes;
}

namespace qor::quv::util {

class KELP_API EVector3 {
 public:
  double x = 0, y = 0, z = 0;

  /* The zero vector. */
  constexpr EVector3() noexcept = default;
  constexpr EVector3(double x_, double y_, double z_) noexcept : x(x_), y(y_), z(z_) {}

  /* Component i (0 x, 1 y, 2 z); indices outside give z. */
  double operator[](int i) const { return i == 0 ? x : (i == 1 ? y : z); }
  double& operator[](int i) { return i == 0 ? x : (i == 1 ? y : z); }

  EVector3 operator-() const { return {-x, -y, -z}; }
  EVector3& operator+=(const EVector3& o) {
    x += o.x;
    y += o.y;
    z += o.z;
    return *this;
  }
  EVector3& operator-=(const EVector3& o) {
    x -= o.x;
    y -= o.y;
    z -= o.z;
    return *this;
  }
  EVector3& operator*=(double f) {
    x *= f;
    y *= f;
    z *= f;
    return *this;
  }
  EVector3& operator/=(double f) {
    x /= f;
    y /= f;
    z /= f;
    return *this;
  }

  double dot(const EVector3& o) const { return x * o.x + y * o.y + z * o.z; }
  EVector3 cross(const EVector3& o) const {
    return {y * o.z - z * o.y, z * o.x - x * o.z, x * o.y - y * o.x};
  }
  double lengthSquared() const { return dot(*this); }
  /* Euclidean length, without overflow or underflow in the squares. */
  double length() const;
  double distance(const EVector3& o) const;
  /* The vector scaled to length 1 into *out; false (and *out unchanged) for
   * the zero vector and for vectors with a NaN or infinite component. */
  bool normalized(EVector3* out) const;
  /* a + (b - a) * t; t = 0 gives a and t = 1 gives b exactly. */
  static EVector3 lerp(const EVector3& a, const EVector3& b, double t);
  /* Component-wise minimum and maximum. */
  static EVector3 min(const EVector3& a, const EVector3& b);
  static EVector3 max(const EVector3& a, const EVector3& b);

  /* Every component finite. */
  bool isFinite() const;
  /* No component differs by more than `tolerance`. */
  bool equals(const EVector3& o, double tolerance) const;

  /* The text form "x y z". */
  std::string formatString() const;
  /* Reads three numbers. With `end`, *end receives the position behind the
   * third (s on failure) and any text may follow; without, only white space
   * may. */
  bool parseString(const char* s, const char** end, std::string* error = nullptr);

  /* From the texts of the attributes x, y and z (null or empty: missing). */
  bool decodeAttributes(const char* x, const char* y, const char* z, std::string* error);
  /* From an element's attributes prefix+"x", prefix+"y", prefix+"z". */
  bool decodeAttributes(const xml::sax::Attributes& attrs, std::string* error,
                        const char* prefix = "");
  /* As above, but `fallback` when all three are missing or empty. */
  bool decodeAttributes(const xml::sax::Attributes& attrs, const EVector3& fallback,
                        std::string* error, const char* prefix = "");
  /* Writes the three attributes (shortest round-trip numbers); false as
   * soon as the writer refuses one. */
  bool encodeAttributes(xml::XMLWriterItfWrapper* writer, const char* prefix = "") const;
};

/* Exact comparison of the components (so 0 equals -0, NaN equals nothing). */
inline bool operator==(const EVector3& a, const EVector3& b) {
  return a.x == b.x && a.y == b.y && a.z == b.z;
}
inline bool operator!=(const EVector3& a, const EVector3& b) {
  return !(a == b);
}
inline EVector3 operator+(EVector3 a, const EVector3& b) {
  return a += b;
}
inline EVector3 operator-(EVector3 a, const EVector3& b) {
  return a -= b;
}
inline EVector3 operator*(EVector3 a, double f) {
  return a *= f;
}
inline EVector3 operator*(double f, EVector3 a) {
  return a *= f;
}
inline EVector3 operator/(EVector3 a, double f) {
  return a /= f;
}

}  // namespace qor::quv::util

#endif
