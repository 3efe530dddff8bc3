// Axis-aligned boxes: the empty value, set operations, overlap with and
// without touching, transformed boxes, text and attributes.
#include <kelp/util/utl_EBounds.h>
#include <kelp/util/utl_EMatrix4.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "attribute_maker.h"

using qor::quv::types::AU_DEG;
using qor::quv::util::EAngle;
using qor::quv::util::EBounds;
using qor::quv::util::EMatrix4;
using qor::quv::util::EVector3;

TEST(EBounds, EmptyIsDistinct) {
  const EBounds none;
  EXPECT_TRUE(none.isEmpty());
  EXPECT_FALSE(none.contains(EVector3()));
  EXPECT_EQ(none.volume(), 0);
  EXPECT_EQ(none.size(), EVector3());
  // A box of one point is not empty.
  EBounds point;
  point.extend(EVector3(1, 2, 3));
  EXPECT_FALSE(point.isEmpty());
  EXPECT_NE(point, none);
  EXPECT_TRUE(point.contains(EVector3(1, 2, 3)));
  EXPECT_EQ(point.size(), EVector3());
  EXPECT_TRUE(point.contains(none));
  EXPECT_FALSE(none.contains(point));
  EXPECT_EQ(none.unionWith(point), point);
  EXPECT_TRUE(none.intersection(point).isEmpty());
  EXPECT_TRUE(none.transformed(EMatrix4::translation(EVector3(1, 1, 1))).isEmpty());
  // NaN and infinity do not sneak in.
  point.extend(EVector3(std::nan(""), 0, 0));
  EXPECT_EQ(point, EBounds(EVector3(1, 2, 3), EVector3(1, 2, 3)));
  EXPECT_TRUE(
      EBounds(EVector3(), EVector3(std::numeric_limits<double>::infinity(), 0, 0)).isEmpty());
}

TEST(EBounds, SetOperationsAndOverlap) {
  const EBounds a(EVector3(0, 0, 0), EVector3(10, 10, 10));
  const EBounds b(EVector3(15, 5, 5), EVector3(5, 20, 20));  // corners in any order
  EXPECT_EQ(b.getMin(), EVector3(5, 5, 5));
  EXPECT_EQ(a.intersection(b), EBounds(EVector3(5, 5, 5), EVector3(10, 10, 10)));
  EXPECT_EQ(a.unionWith(b), EBounds(EVector3(0, 0, 0), EVector3(15, 20, 20)));
  EXPECT_TRUE(a.unionWith(b).contains(a) && a.unionWith(b).contains(b));
  EXPECT_FALSE(a.contains(b));
  EXPECT_EQ(a.centre(), EVector3(5, 5, 5));
  EXPECT_EQ(b.volume(), 10 * 15 * 15);

  struct Case {
    EBounds other;
    bool touching, strict;
  } cases[] = {
      {b, true, true},
      {EBounds(EVector3(10, 0, 0), EVector3(20, 10, 10)), true, false},    // shares a face
      {EBounds(EVector3(10, 10, 10), EVector3(20, 20, 20)), true, false},  // a corner
      {EBounds(EVector3(10.5, 0, 0), EVector3(20, 10, 10)), false, false},
      {EBounds(EVector3(2, 2, 5), EVector3(8, 8, 5)), true, false},  // flat, inside
      {EBounds(), false, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.other.formatString());
    EXPECT_EQ(a.overlaps(c.other), c.touching);
    EXPECT_EQ(c.other.overlaps(a), c.touching);
    EXPECT_EQ(a.overlaps(c.other, false), c.strict);
    // Touching boxes meet in a flat common part; apart ones in nothing.
    EXPECT_EQ(!a.intersection(c.other).isEmpty(), c.touching);
  }
}

TEST(EBounds, RotatedBoxSwapsExtents) {
  const EBounds cabinet(EVector3(0, 0, 0), EVector3(600, 400, 720));
  EMatrix4 quarter;
  ASSERT_TRUE(EMatrix4::rotation(EVector3(0, 0, 1), EAngle(90, AU_DEG), &quarter));
  // Quarter turns are exact: x' = -y, y' = x.
  const EBounds turned = cabinet.transformed(quarter);
  EXPECT_EQ(turned, EBounds(EVector3(-400, 0, 0), EVector3(0, 600, 720)));
  EXPECT_EQ(cabinet.transformed(quarter * quarter),
            EBounds(EVector3(-600, -400, 0), EVector3(0, 0, 720)));
  // 45 degrees: the footprint's diagonal projections.
  EMatrix4 eighth;
  ASSERT_TRUE(EMatrix4::rotation(EVector3(0, 0, 1), EAngle(45, AU_DEG), &eighth));
  const double side = (600 + 400) / std::sqrt(2.0);
  EXPECT_TRUE(cabinet.transformed(eighth).size().equals(EVector3(side, side, 720), 1e-9));
}

TEST(EBounds, TextAndAttributes) {
  const EBounds box(EVector3(-0.5, 0, 1e-300), EVector3(600, 560.25, 720));
  EXPECT_EQ(box.formatString(), "-0.5 0 1e-300 600 560.25 720");
  EBounds back;
  ASSERT_TRUE(back.parseString(box.formatString().c_str(), nullptr));
  EXPECT_EQ(back, box);
  ASSERT_TRUE(back.parseString("  ", nullptr));
  EXPECT_TRUE(back.isEmpty());
  EXPECT_EQ(back.formatString(), "");
  std::string error;
  EXPECT_FALSE(back.parseString("0 0 0 1 -1 1", nullptr, &error));
  EXPECT_EQ(error, "the minimum exceeds the maximum in y");
  EXPECT_FALSE(back.parseString("0 0 0 1 1", nullptr, &error));
  EXPECT_EQ(error, "expected 6 numbers, found 5");
  EXPECT_TRUE(back.isEmpty());

  kelp::test::AttributeMaker maker;
  ASSERT_TRUE(back.decodeAttributes(maker.make({{"minx", "1"},
                                                {"miny", "2"},
                                                {"minz", "3"},
                                                {"maxx", "4"},
                                                {"maxy", "5"},
                                                {"maxz", "6"}}),
                                    &error));
  EXPECT_EQ(back, EBounds(EVector3(1, 2, 3), EVector3(4, 5, 6)));
  EXPECT_FALSE(back.decodeAttributes(maker.make({{"minx", "1"}}), &error));
  EXPECT_EQ(error, "attribute 'miny' is missing or empty");
  EXPECT_FALSE(back.decodeAttributes(maker.make({{"minx", "9"},
                                                 {"miny", "2"},
                                                 {"minz", "3"},
                                                 {"maxx", "4"},
                                                 {"maxy", "5"},
                                                 {"maxz", "6"}}),
                                     &error));
  EXPECT_EQ(error, "attribute 'minx' exceeds attribute 'maxx'");
  ASSERT_TRUE(back.decodeAttributes(maker.make({}), &error));
  EXPECT_TRUE(back.isEmpty());
}
