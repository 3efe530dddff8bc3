/* EBounds: an axis-aligned box in 3D space, or the empty box.
 *
 * A plain copyable value: a minimum and a maximum corner with min <= max in
 * every axis, or the distinct empty value that contains nothing (the box of
 * no points; extending it by a point gives the box of that point alone). A
 * box of one point is not empty: it has zero size and contains its point.
 * Article dimensions and room extents use millimetres by convention.
 *
 * Text form: "minx miny minz maxx maxy maxz", numbers in the shortest
 * notation that reads back to the same double (classic locale), single
 * blanks between; the empty box is "". The reader refuses NaN, infinity and
 * a minimum above its maximum.
 *
 * XML: the attributes "minx", "miny", "minz", "maxx", "maxy", "maxz"; the
 * empty box writes none, and reading six missing attributes gives it.
 *
 *   EBounds box;                              // empty
 *   box.extend(EVector3(0, 0, 0));
 *   box.extend(EVector3(600, 560, 720));
 *   box.size();                               // (600, 560, 720)
 *   EBounds turned = box.transformed(EMatrix4::translation(EVector3(10, 0, 0)));
 *
 * Nothing throws. Readers answer false, leave the value unchanged and put an
 * English message into *error when given. Any thread may use any value. */
#ifndef KELP_UTIL_UTL_EBOUNDS_H
#define KELP_UTIL_UTL_EBOUNDS_H

#include <string>

#include <kelp/kelp_api.h>
#include <kelp/util/utl_EVector3.h>

namespace qor::quv::util {

class EMatrix4;

class KELP_API EBounds {
 public:
  /* The empty box. */
  EBounds() noexcept;
  /* The smallest box holding both points (their order does not matter). A
   * NaN or infinite coordinate gives the empty box. */
  EBounds(const EVector3& a, const EVector3& b) noexcept;
  static EBounds empty() { return EBounds(); }

  bool isEmpty() const { return empty_; }
  /* The corners; both the zero vector for the empty box. */
  const EVector3& getMin() const { return min_; }
  const EVector3& getMax() const { return max_; }

  /* Grows the box to hold the point (or the other box); a NaN or infinite
   * point, and the empty box, change nothing. */
  void extend(const EVector3& p);
  void extend(const EBounds& b);

  /* The common part; empty when the boxes do not meet (boxes that only
   * touch have a flat common part). */
  EBounds intersection(const EBounds& b) const;
  /* The smallest box holding both. */
  EBounds unionWith(const EBounds& b) const;

  /* The point lies inside or on the surface. */
  bool contains(const EVector3& p) const;
  /* Every point of b lies in this box; the empty box lies in every box. */
  bool contains(const EBounds& b) const;
  /* The boxes share a point. With `touchingCounts` false their common part
   * must have positive extent in every axis: boxes that only touch by faces,
   * edges or corners do not overlap, and neither do flat boxes. */
  bool overlaps(const EBounds& b, bool touchingCounts = true) const;

  /* Midpoint, extents and volume; zero for the empty box. */
  EVector3 centre() const;
  EVector3 size() const;
  double volume() const;

  /* The box that encloses this box transformed by `m` (all eight corners
   * through m.transformPoint); empty stays empty, and corners that come out
   * NaN or infinite are left out. */
  EBounds transformed(const EMatrix4& m) const;

  /* Same corners within `tolerance` per component, or both empty. */
  bool equals(const EBounds& b, double tolerance) const;

  /* The text form, "" for the empty box. */
  std::string formatString() const;
  /* Reads six numbers, or nothing but white space for the empty box. With
   * `end`, *end receives the position behind the sixth (s on failure) and
   * any text may follow; without, only white space may. */
  bool parseString(const char* s, const char** end, std::string* error = nullptr);

  /* From the element's six attributes; all six missing or empty gives the
   * empty box. */
  bool decodeAttributes(const xml::sax::Attributes& attrs, std::string* error);
  /* Writes the six attributes, none for the empty box; false as soon as the
   * writer refuses one. */
  bool encodeAttributes(xml::XMLWriterItfWrapper* writer) const;

 private:
  EVector3 min_, max_;
  bool empty_ = true;
};

/* Both empty, or the same corners exactly. */
KELP_API bool operator==(const EBounds& a, const EBounds& b);
KELP_API bool operator!=(const EBounds& a, const EBounds& b);

}  // namespace qor::quv::util

#endif
