/* EVector2: a point or direction in the plane, two doubles x, y.
 *
 * A plain copyable value with component-wise IEEE arithmetic; nothing throws
 * and nothing aborts.
 *
 * Text form: the two numbers in the shortest notation that reads back to the
 * same double (classic locale), separated by a single blank: "1 -2.5".
 * Negative zero keeps its sign ("-0"). The reader takes the numbers separated
 * by white space, refuses NaN and infinity, and names what is wrong
 * ("expected 2 numbers, found 1").
 *
 * XML: the attributes "x" and "y", each holding one number; a prefix names
 * them differently.
 *
 *   EVector2 a(3, 4);
 *   a.length();                                   // 5
 *   a.formatString();                             // "3 4"
 *
 * Readers answer false, leave the value unchanged and put an English message
 * into *error when given. Any thread may use any value. */
#ifndef KELP_UTIL_UTL_EVECTOR2_H
#define KELP_UTIL_UTL_EVECTOR2_H

#include <string>

#include <kelp/kelp_api.h>

namespace qor::quv::xml {
class XMLWriterItfWrapper;
}
namespace qor::quv::xml::sax {
class Attributes;
}

namespace qor::quv::util {

class KELP_API EVector2 {
 public:
  double x = 0, y = 0;

  /* The zero vector. */
  constexpr EVector2() noexcept = default;
  constexpr EVector2(double x_, double y_) noexcept : x(x_), y(y_) {}

  /* Component i (0 x, 1 y); indices outside give y. */
  double operator[](int i) const { return i == 0 ? x : y; }
  double& operator[](int i) { return i == 0 ? x : y; }

  EVector2 operator-() const { return {-x, -y}; }
  EVector2& operator+=(const EVector2& o) {
    x += o.x;
    y += o.y;
    return *this;
  }
  EVector2& operator-=(const EVector2& o) {
    x -= o.x;
    y -= o.y;
    return *this;
  }
  EVector2& operator*=(double f) {
    x *= f;
    y *= f;
    return *this;
  }
  EVector2& operator/=(double f) {
    x /= f;
    y /= f;
    return *this;
  }

  double dot(const EVector2& o) const { return x * o.x + y * o.y; }
  /* The z component of the cross product of (x, y, 0) and (o.x, o.y, 0):
   * positive when o lies counter-clockwise of this vector. */
  double cross(const EVector2& o) const { return x * o.y - y * o.x; }
  double lengthSquared() const { return dot(*this); }
  /* Euclidean length, without overflow or underflow in the squares. */
  double length() const;
  double distance(const EVector2& o) const;
  /* The vector scaled to length 1 into *out; false (and *out unchanged) for
   * the zero vector and for vectors with a NaN or infinite component. */
  bool normalized(EVector2* out) const;
  /* a + (b - a) * t; t = 0 gives a and t = 1 gives b exactly. */
  static EVector2 lerp(const EVector2& a, const EVector2& b, double t);
  /* Component-wise minimum and maximum. */
  static EVector2 min(const EVector2& a, const EVector2& b);
  static EVector2 max(const EVector2& a, const EVector2& b);

  /* Every component finite. */
  bool isFinite() const;
  /* No component differs by more than `tolerance`. */
  bool equals(const EVector2& o, double tolerance) const;

  /* The text form "x y". */
  std::string formatString() const;
  /* Reads two numbers. With `end`, *end receives the position behind the
   * second (s on failure) and any text may follow; without, only white
   * space may. */
  bool parseString(const char* s, const char** end, std::string* error = nullptr);

  /* From the texts of the attributes x and y (null or empty: missing). */
  bool decodeAttributes(const char* x, const char* y, std::string* error);
  /* From an element's attributes prefix+"x" and prefix+"y". */
  bool decodeAttributes(const xml::sax::Attributes& attrs, std::string* error,
                        const char* prefix = "");
  /* As above, but `fallback` when both are missing or empty. */
  bool decodeAttributes(const xml::sax::Attributes& attrs, const EVector2& fallback,
                        std::string* error, const char* prefix = "");
  /* Writes the two attributes (shortest round-trip numbers); false as soon
   * as the writer refuses one. */
  bool encodeAttributes(xml::XMLWriterItfWrapper* writer, const char* prefix = "") const;
};

/* Exact comparison of the components (so 0 equals -0, NaN equals nothing). */
inline bool operator==(const EVector2& a, const EVector2& b) {
  return a.x == b.x && a.y == b.y;
}
inline bool operator!=(const EVector2& a, const EVector2& b) {
  return !(a == b);
}
inline EVector2 operator+(EVector2 a, const EVector2& b) {
  return a += b;
}
inline EVector2 operator-(EVector2 a, const EVector2& b) {
  return a -= b;
}
inline EVector2 operator*(EVector2 a, double f) {
  return a *= f;
}
inline EVector2 operator*(double f, EVector2 a) {
  return a *= f;
}
inline EVector2 operator/(EVector2 a, double f) {
  return a /= f;
}

}  // namespace qor::quv::util

#endif
