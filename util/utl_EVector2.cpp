// Vectors in the plane: lengths, interpolation, text and XML attributes.
#define QUV_SOURCE_NAME "utl_EVector2"

#include <kelp/util/utl_EVector2.h>

#include <algorithm>
#include <cmath>

#include "util/utl_GeomText_impl.h"

namespace qor::quv::util {

namespace {
const char* const kNames[2] = {"x", "y"};
}

double EVector2::length() const {
  return std::hypot(x, y);
}

double EVector2::distance(const EVector2& o) const {
  return (*this - o).length();
}

bool EVector2::normalized(EVector2* out) const {
  const double len = length();
  if (!(len > 0) || !std::isfinite(len)) return false;
  if (out) *out = EVector2(x / len, y / len);
  return true;
}

EVector2 EVector2::lerp(const EVector2& a, const EVector2& b, double t) {
  return {std::lerp(a.x, b.x, t), std::lerp(a.y, b.y, t)};
}

EVector2 EVector2::min(const EVector2& a, const EVector2& b) {
  return {std::min(a.x, b.x), std::min(a.y, b.y)};
}

EVector2 EVector2::max(const EVector2& a, const EVector2& b) {
  return {std::max(a.x, b.x), std::max(a.y, b.y)};
}

bool EVector2::isFinite() const {
  return std::isfinite(x) && std::isfinite(y);
}

bool EVector2::equals(const EVector2& o, double tolerance) const {
  return std::fabs(x - o.x) <= tolerance && std::fabs(y - o.y) <= tolerance;
}

std::string EVector2::formatString() const {
  const double v[2] = {x, y};
  return detail::formatNumbers(v, 2);
}

bool EVector2::parseString(const char* s, const char** end, std::string* error) {
  double v[2];
  if (!detail::parseNumbers(s, 2, v, end, error)) return false;
  *this = EVector2(v[0], v[1]);
  return true;
}

bool EVector2::decodeAttributes(const char* x_, const char* y_, std::string* error) {
  const char* const texts[2] = {x_, y_};
  double v[2];
  if (!detail::decodeNumberAttributes(kNames, texts, 2, v, error)) return false;
  *this = EVector2(v[0], v[1]);
  return true;
}

bool EVector2::decodeAttributes(const xml::sax::Attributes& attrs, std::string* error,
                                const char* prefix) {
  std::string names[2];
  const char* texts[2];
  detail::lookUpAttributes(attrs, prefix, kNames, 2, names, texts);
  const char* const full[2] = {names[0].c_str(), names[1].c_str()};
  double v[2];
  if (!detail::decodeNumberAttributes(full, texts, 2, v, error)) return false;
  *this = EVector2(v[0], v[1]);
  return true;
}

bool EVector2::decodeAttributes(const xml::sax::Attributes& attrs, const EVector2& fallback,
                                std::string* error, const char* prefix) {
  std::string names[2];
  const char* texts[2];
  if (!detail::lookUpAttributes(attrs, prefix, kNames, 2, names, texts)) {
    *this = fallback;
    return true;
  }
  return decodeAttributes(attrs, error, prefix);
}

bool EVector2::encodeAttributes(xml::XMLWriterItfWrapper* writer, const char* prefix) const {
  const double v[2] = {x, y};
  return detail::encodeNumberAttributes(writer, prefix, kNames, v, 2);
}

}  // namespace qor::quv::util
