// Vectors in 3D space: lengths, interpolation, text and XML attributes.
#define QUV_SOURCE_NAME "utl_EVector3"

#include <kelp/util/utl_EVector3.h>

#include <algorithm>
#include <cmath>

#include "util/utl_GeomText_impl.h"

namespace qor::quv::util {

namespace {
const char* const kNames[3] = {"x", "y", "z"};
}

double EVector3::length() const {
  return std::hypot(x, y, z);
}

double EVector3::distance(const EVector3& o) const {
  return (*this - o).length();
}

bool EVector3::normalized(EVector3* out) const {
  const double len = length();
  if (!(len > 0) || !std::isfinite(len)) return false;
  if (out) *out = EVector3(x / len, y / len, z / len);
  return true;
}

EVector3 EVector3::lerp(const EVector3& a, const EVector3& b, double t) {
  return {std::lerp(a.x, b.x, t), std::lerp(a.y, b.y, t), std::lerp(a.z, b.z, t)};
}

EVector3 EVector3::min(const EVector3& a, const EVector3& b) {
  return {std::min(a.x, b.x), std::min(a.y, b.y), std::min(a.z, b.z)};
}

EVector3 EVector3::max(const EVector3& a, const EVector3& b) {
  return {std::max(a.x, b.x), std::max(a.y, b.y), std::max(a.z, b.z)};
}

bool EVector3::isFinite() const {
  return std::isfinite(x) && std::isfinite(y) && std::isfinite(z);
}

bool EVector3::equals(const EVector3& o, double tolerance) const {
  return std::fabs(x - o.x) <= tolerance && std::fabs(y - o.y) <= tolerance &&
         std::fabs(z - o.z) <= tolerance;
}

std::string EVector3::formatString() const {
  const double v[3] = {x, y, z};
  return detail::formatNumbers(v, 3);
}

bool EVector3::parseString(const char* s, const char** end, std::string* error) {
  double v[3];
  if (!detail::parseNumbers(s, 3, v, end, error)) return false;
  *this = EVector3(v[0], v[1], v[2]);
  return true;
}

bool EVector3::decodeAttributes(const char* x_, const char* y_, const char* z_,
                                std::string* error) {
  const char* const texts[3] = {x_, y_, z_};
  double v[3];
  if (!detail::decodeNumberAttributes(kNames, texts, 3, v, error)) return false;
  *this = EVector3(v[0], v[1], v[2]);
  return true;
}

bool EVector3::decodeAttributes(const xml::sax::Attributes& attrs, std::string* error,
                                const char* prefix) {
  std::string names[3];
  const char* texts[3];
  detail::lookUpAttributes(attrs, prefix, kNames, 3, names, texts);
  const char* const full[3] = {names[0].c_str(), names[1].c_str(), names[2].c_str()};
  double v[3];
  if (!detail::decodeNumberAttributes(full, texts, 3, v, error)) return false;
  *this = EVector3(v[0], v[1], v[2]);
  return true;
}

bool EVector3::decodeAttributes(const xml::sax::Attributes& attrs, const EVector3& fallback,
                                std::string* error, const char* prefix) {
  std::string names[3];
  const char* texts[3];
  if (!detail::lookUpAttributes(attrs, prefix, kNames, 3, names, texts)) {
    *this = fallback;
    return true;
  }
  return decodeAttributes(attrs, error, prefix);
}

bool EVector3::encodeAttributes(xml::XMLWriterItfWrapper* writer, const char* prefix) const {
  const double v[3] = {x, y, z};
  return detail::encodeNumberAttributes(writer, prefix, kNames, v, 3);
}

}  // namespace qor::quv::util
