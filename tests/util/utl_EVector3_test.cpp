// Vectors and the number runs that all geometry text forms share: bit-exact
// round trips, the reader's messages, identities of the vector algebra, and
// the XML attributes.
#include <kelp/util/utl_EVector2.h>
#include <kelp/util/utl_EVector3.h>
#include <kelp/xml/xml_Writer.h>
#include <kelp/xml/xml_XMLWriterItfWrapper.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <sstream>

#include "attribute_maker.h"

using qor::quv::util::EVector2;
using qor::quv::util::EVector3;

namespace {

using Limits = std::numeric_limits<double>;

bool sameBits(double a, double b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

// Any finite double, every bit pattern equally likely.
double randomFinite(std::mt19937_64& rng) {
  for (;;) {
    std::uint64_t bits = rng();
    double v;
    std::memcpy(&v, &bits, sizeof v);
    if (std::isfinite(v)) return v;
  }
}

}  // namespace

TEST(EVector3, TextRoundTripIsBitExact) {
  const double special[] = {0.0,
                            -0.0,
                            Limits::denorm_min(),
                            -Limits::denorm_min(),
                            Limits::min(),
                            Limits::min() / 3,
                            Limits::max(),
                            -Limits::max(),
                            0.1,
                            1.0 / 3,
                            1e23,
                            5e-324 * 12345};
  std::vector<EVector3> values;
  for (double a : special)
    for (double b : {0.0, -0.0, Limits::max()}) values.emplace_back(a, b, -a);
  std::mt19937_64 rng(22);
  for (int i = 0; i < 3000; ++i)
    values.emplace_back(randomFinite(rng), randomFinite(rng), randomFinite(rng));
  for (const EVector3& v : values) {
    const std::string text = v.formatString();
    SCOPED_TRACE(text);
    EVector3 back(7, 7, 7);
    std::string error;
    ASSERT_TRUE(back.parseString(text.c_str(), nullptr, &error)) << error;
    EXPECT_TRUE(sameBits(back.x, v.x) && sameBits(back.y, v.y) && sameBits(back.z, v.z));
    // Single blanks, nothing else.
    EXPECT_EQ(std::count(text.begin(), text.end(), ' '), 2);
    EXPECT_EQ(text.find("  "), std::string::npos);
  }
  EVector2 p(-0.0, Limits::denorm_min()), q;
  ASSERT_TRUE(q.parseString(p.formatString().c_str(), nullptr));
  EXPECT_TRUE(sameBits(q.x, -0.0) && sameBits(q.y, Limits::denorm_min()));
}

TEST(EVector3, ShortestForm) {
  EXPECT_EQ(EVector3(1, -2.5, 0).formatString(), "1 -2.5 0");
  EXPECT_EQ(EVector3(-0.0, 0.1, 1e300).formatString(), "-0 0.1 1e+300");
  EXPECT_EQ(EVector2(0.5, 250).formatString(), "0.5 250");
}

TEST(EVector3, ReaderMessages) {
  struct Case {
    const char* text;
    const char* error;
  } cases[] = {
      // clang-format off
      {"1 2", "expected 3 numbers, found 2"},
      {"", "expected 3 numbers, found 0"},
      {"   ", "expected 3 numbers, found 0"},
      {"1,2,3", "expected 3 numbers, found 1"},
      {"1-2 3", "expected 3 numbers, found 1"},
      {"1 x 3", "expected 3 numbers, found 1"},
      {"0x10 1 2", "expected 3 numbers, found 1"},
      {"1 2 nan", "number 3 is not finite"},
      {"inf 1 2", "number 1 is not finite"},
      {"1 -infinity 2", "number 2 is not finite"},
      {"1 2 1e400", "number 3 is out of range"},
      {"1 1e-400 2", "number 2 is out of range"},
      {"1 2 3 4", "expected 3 numbers, found more"},
      {"1 2 3 x", "unexpected text after 3 numbers"},
      {"1 2 3x", "unexpected text after 3 numbers"},
      // clang-format on
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    EVector3 v(4, 5, 6);
    std::string error;
    EXPECT_FALSE(v.parseString(c.text, nullptr, &error));
    EXPECT_EQ(error, c.error);
    EXPECT_EQ(v, EVector3(4, 5, 6));  // unchanged
  }
  EVector3 v;
  EXPECT_FALSE(v.parseString(nullptr, nullptr, nullptr));

  // White space of any kind around and between, a leading plus, and an end
  // position that lets other text follow.
  const char* text = "\t+1\n -2.5e3  3;rest";
  const char* end = nullptr;
  ASSERT_TRUE(v.parseString(text, &end));
  EXPECT_EQ(v, EVector3(1, -2500, 3));
  EXPECT_STREQ(end, ";rest");
  EXPECT_FALSE(v.parseString("1 2", &end));
  EXPECT_STREQ(end, "1 2");
  std::string error;
  EXPECT_FALSE(EVector2().parseString("1", nullptr, &error));
  EXPECT_EQ(error, "expected 2 numbers, found 1");
}

TEST(EVector3, AlgebraIdentities) {
  std::mt19937_64 rng(3);
  std::uniform_real_distribution<double> d(-1000, 1000);
  for (int i = 0; i < 1000; ++i) {
    const EVector3 a(d(rng), d(rng), d(rng)), b(d(rng), d(rng), d(rng));
    const EVector3 c = a.cross(b);
    const double scale = a.length() * b.length();
    // Perpendicular to both, and Lagrange's identity.
    EXPECT_NEAR(c.dot(a) / (scale * a.length()), 0, 1e-12);
    EXPECT_NEAR(c.dot(b) / (scale * b.length()), 0, 1e-12);
    EXPECT_NEAR((c.lengthSquared() + a.dot(b) * a.dot(b)) / (scale * scale), 1, 1e-12);
    EVector3 u;
    ASSERT_TRUE(a.normalized(&u));
    EXPECT_NEAR(u.length(), 1, 1e-15);
    EXPECT_NEAR(u.dot(a), a.length(), 1e-9);
    EXPECT_EQ(EVector3::lerp(a, b, 0), a);
    EXPECT_EQ(EVector3::lerp(a, b, 1), b);
    EXPECT_TRUE(EVector3::lerp(a, b, 0.5).equals((a + b) / 2, 1e-12));
    EXPECT_NEAR(a.distance(b), (b - a).length(), 0);
    const EVector3 lo = EVector3::min(a, b), hi = EVector3::max(a, b);
    EXPECT_EQ(lo + hi, a + b);
  }
  // Neither the zero vector nor a vector with NaN has a direction.
  EVector3 u(9, 9, 9);
  EXPECT_FALSE(EVector3().normalized(&u));
  EXPECT_FALSE(EVector3(Limits::quiet_NaN(), 0, 0).normalized(&u));
  EXPECT_EQ(u, EVector3(9, 9, 9));
  EXPECT_FALSE(EVector2().normalized(nullptr));
  // Lengths of huge and tiny vectors do not overflow or vanish.
  EXPECT_DOUBLE_EQ(EVector3(3e300, 4e300, 0).length(), 5e300);
  EXPECT_DOUBLE_EQ(EVector2(3e-310, 4e-310).length(), 5e-310);
  EXPECT_EQ(EVector2(1, 0).cross(EVector2(0, 1)), 1);  // counter-clockwise is positive
}

TEST(EVector3, Attributes) {
  kelp::test::AttributeMaker maker;
  EVector3 v(1, 1, 1);
  std::string error;
  ASSERT_TRUE(
      v.decodeAttributes(maker.make({{"px", "1.5"}, {"py", "-0"}, {"pz", "2e3"}}), &error, "p"));
  EXPECT_EQ(v, EVector3(1.5, 0, 2000));
  EXPECT_FALSE(v.decodeAttributes(maker.make({{"x", "1"}, {"y", "2"}}), &error));
  EXPECT_EQ(error, "attribute 'z' is missing or empty");
  EXPECT_FALSE(v.decodeAttributes(maker.make({{"x", "1"}, {"y", "2 3"}, {"z", "3"}}), &error));
  EXPECT_EQ(error, "attribute 'y' has invalid value '2 3'");
  EXPECT_FALSE(v.decodeAttributes("1", "2", "NaN", &error));
  EXPECT_EQ(error, "attribute 'z' has invalid value 'NaN'");
  EXPECT_EQ(v, EVector3(1.5, 0, 2000));
  // The fallback only when none is there.
  ASSERT_TRUE(v.decodeAttributes(maker.make({{"x", ""}}), EVector3(7, 8, 9), &error));
  EXPECT_EQ(v, EVector3(7, 8, 9));
  EXPECT_FALSE(v.decodeAttributes(maker.make({{"y", "1"}}), EVector3(), &error));
  EXPECT_EQ(error, "attribute 'x' is missing or empty");
  EVector2 w;
  ASSERT_TRUE(w.decodeAttributes(maker.make({{"x", "3"}, {"y", "4"}}), &error));
  EXPECT_EQ(w, EVector2(3, 4));

  std::ostringstream out;
  {
    zob::Ref<qor::quv::xml::XMLWriter> writer(new qor::quv::xml::XMLWriter(&out, 0));
    qor::quv::xml::XMLWriterItfWrapper wrap(writer.get());
    ASSERT_TRUE(wrap.startElement("at", qor::quv::xml::kFormatInline));
    ASSERT_TRUE(EVector3(0.1, -0.0, 1e21).encodeAttributes(&wrap));
    ASSERT_TRUE(EVector2(1, 2).encodeAttributes(&wrap, "size-"));
    ASSERT_TRUE(wrap.endElement());
    writer->close();
  }
  EXPECT_NE(out.str().find("<at x='0.1' y='-0' z='1e+21' size-x='1' size-y='2'/>"),
            std::string::npos)
      << out.str();
  EXPECT_FALSE(EVector3().encodeAttributes(nullptr));
}
