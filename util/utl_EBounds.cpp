// Axis-aligned boxes: growing, set operations, containment, overlap, the
// box around a transformed box, text and XML attributes.
#define QUV_SOURCE_NAME "utl_EBounds"

#include <kelp/util/utl_EBounds.h>
#include <kelp/util/utl_EMatrix4.h>

#include <algorithm>

#include <vorn/vorn_placeholder.h>

#include "util/utl_GeomText_impl.h"
#include "util/utl_TextScan_impl.h"

namespace qor::quv::util {

namespace {

const char* const kNames[6] = {"minx", "miny", "minz", "maxx", "maxy", "maxz"};
const char* const kAxes[3] = {"x", "y", "z"};

// The first axis in which min exceeds max, or -1.
int invertedAxis(const double* v) {
  for (int i = 0; i < 3; ++i)
    if (v[i] > v[i + 3]) return i;
  return -1;
}

}  // namespace

EBounds::EBounds() noexcept = default;

EBounds::EBounds(const EVector3& a, const EVector3& b) noexcept {
  if (!a.isFinite() || !b.isFinite()) return;
  min_ = EVector3::min(a, b);
  max_ = EVector3::max(a, b);
  empty_ = false;
}

void EBounds::extend(const EVector3& p) {
  if (!p.isFinite()) return;
  if (empty_) {
    min_ = max_ = p;
    empty_ = false;
    return;
  }
  min_ = EVector3::min(min_, p);
  max_ = EVector3::max(max_, p);
}

void EBounds::extend(const EBounds& b) {
  if (b.empty_) return;
  extend(b.min_);
  extend(b.max_);
}

EBounds EBounds::intersection(const EBounds& b) const {
  if (empty_ || b.empty_) return EBounds();
  const EVector3 lo = EVector3::max(min_, b.min_);
  const EVector3 hi = EVector3::min(max_, b.max_);
  if (lo.x > hi.x || lo.y > hi.y || lo.z > hi.z) return EBounds();
  return EBounds(lo, hi);
}

EBounds EBounds::unionWith(const EBounds& b) const {
  EBounds r = *this;
  r.extend(b);
  return r;
}

bool EBounds::contains(const EVector3& p) const {
  return !empty_ && min_.x <= p.x && p.x <= max_.x && min_.y <= p.y && p.y <= max_.y &&
         min_.z <= p.z && p.z <= max_.z;
}

bool EBounds::contains(const EBounds& b) const {
  if (b.empty_) return true;
  return contains(b.min_) && contains(b.max_);
}

bool EBounds::overlaps(const EBounds& b, bool touchingCounts) const {
  if (empty_ || b.empty_) return false;
  for (int i = 0; i < 3; ++i) {
    const double lo = std::max(min_[i], b.min_[i]), hi = std::min(max_[i], b.max_[i]);
    if (touchingCounts ? !(lo <= hi) : !(lo < hi)) return false;
  }
  return true;
}

EVector3 EBounds::centre() const {
  if (empty_) return EVector3();
  // Halve first: the sum of two large coordinates could overflow.
  return min_ * 0.5 + max_ * 0.5;
}

EVector3 EBounds::size() const {
  return empty_ ? EVector3() : max_ - min_;
}

double EBounds::volume() const {
  const EVector3 s = size();
  return s.x * s.y * s.z;
}

EBounds EBounds::transformed(const EMatrix4& m) const {
  EBounds r;
  if (empty_) return r;
  for (int corner = 0; corner < 8; ++corner) {
    const EVector3 p((corner & 1) ? max_.x : min_.x, (corner & 2) ? max_.y : min_.y,
                     (corner & 4) ? max_.z : min_.z);
    r.extend(m.transformPoint(p));
  }
  return r;
}

bool EBounds::equals(const EBounds& b, double tolerance) const {
  if (empty_ || b.empty_) return empty_ == b.empty_;
  return min_.equals(b.min_, tolerance) && max_.equals(b.max_, tolerance);
}

std::string EBounds::formatString() const {
  if (empty_) return std::string();
  const double v[6] = {min_.x, min_.y, min_.z, max_.x, max_.y, max_.z};
  return detail::formatNumbers(v, 6);
}

bool EBounds::parseString(const char* s, const char** end, std::string* error) {
  if (s && *detail::skipSpace(s) == '\0') {
    if (end) *end = detail::skipSpace(s);
    *this = EBounds();
    return true;
  }
  double v[6];
  if (!detail::parseNumbers(s, 6, v, end, error)) return false;
  const int axis = invertedAxis(v);
  if (axis >= 0) {
    if (end) *end = s;
    detail::setGeomError(error, std::string("the minimum exceeds the maximum in %1")
                                    << kAxes[axis]);
    return false;
  }
  *this = EBounds(EVector3(v[0], v[1], v[2]), EVector3(v[3], v[4], v[5]));
  return true;
}

bool EBounds::decodeAttributes(const xml::sax::Attributes& attrs, std::string* error) {
  std::string names[6];
  const char* texts[6];
  if (!detail::lookUpAttributes(attrs, "", kNames, 6, names, texts)) {
    *this = EBounds();
    return true;
  }
  double v[6];
  if (!detail::decodeNumberAttributes(kNames, texts, 6, v, error)) return false;
  const int axis = invertedAxis(v);
  if (axis >= 0) {
    detail::setGeomError(error, std::string("attribute '%1' exceeds attribute '%2'")
                                    << kNames[axis] << kNames[axis + 3]);
    return false;
  }
  *this = EBounds(EVector3(v[0], v[1], v[2]), EVector3(v[3], v[4], v[5]));
  return true;
}

bool EBounds::encodeAttributes(xml::XMLWriterItfWrapper* writer) const {
  if (!writer) return false;
  if (empty_) return true;
  const double v[6] = {min_.x, min_.y, min_.z, max_.x, max_.y, max_.z};
  return detail::encodeNumberAttributes(writer, "", kNames, v, 6);
}

bool operator==(const EBounds& a, const EBounds& b) {
  if (a.isEmpty() || b.isEmpty()) return a.isEmpty() == b.isEmpty();
  return a.getMin() == b.getMin() && a.getMax() == b.getMax();
}

bool operator!=(const EBounds& a, const EBounds& b) {
  return !(a == b);
}

}  // namespace qor::quv::util
