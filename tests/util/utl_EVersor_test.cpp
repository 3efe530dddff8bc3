// Rotations: round trips through matrices and Euler angles, the canonical
// sign, slerp, and the quaternion product and slerp against Eigen.
#include <kelp/util/utl_EMatrix4.h>
#include <kelp/util/utl_EVersor.h>

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "attribute_maker.h"

#ifdef KELP_HAVE_EIGEN
#include <Eigen/Geometry>
#endif

using qor::quv::types::AU_DEG;
using qor::quv::types::AU_RAD;
using qor::quv::util::EAngle;
using qor::quv::util::EMatrix4;
using qor::quv::util::EVector3;
using qor::quv::util::EVersor;

namespace {

constexpr double kPi = 3.14159265358979323846;

EVersor randomVersor(std::mt19937_64& rng) {
  std::normal_distribution<double> n;
  EVersor q(n(rng), n(rng), n(rng), n(rng));
  q.normalize();
  return q;
}

EVersor about(const EVector3& axis, double degrees) {
  EVersor q;
  EXPECT_TRUE(EVersor::fromAxisAngle(axis, EAngle(degrees, AU_DEG), &q));
  return q;
}

}  // namespace

TEST(EVersor, MatrixRoundTripGivesTheCanonicalVersor) {
  std::mt19937_64 rng(9);
  for (int i = 0; i < 3000; ++i) {
    const EVersor q = randomVersor(rng);
    ASSERT_GE(q.w, 0);
    EVersor back;
    ASSERT_TRUE(EVersor::fromMatrix(q.toMatrix(), &back));
    EXPECT_GE(back.w, 0);
    EXPECT_NEAR(back.w, q.w, 1e-14);
    EXPECT_NEAR(back.x, q.x, 1e-14);
    EXPECT_NEAR(back.y, q.y, 1e-14);
    EXPECT_NEAR(back.z, q.z, 1e-14);
    // The matrix and the versor turn vectors alike.
    const EVector3 v(1, -2, 3);
    EXPECT_TRUE(q.rotate(v).equals(q.toMatrix().transformVector(v), 1e-14));
    EXPECT_TRUE((q * q.inverse()).equals(EVersor(), 1e-15));
  }
  EVersor out(0.5, 0.5, 0.5, 0.5);
  EXPECT_FALSE(EVersor::fromMatrix(EMatrix4::scaling(2), &out));
  EXPECT_FALSE(EVersor::fromMatrix(EMatrix4::scaling(EVector3(-1, 1, 1)), &out));
  EXPECT_EQ(out, EVersor(0.5, 0.5, 0.5, 0.5));
}

TEST(EVersor, CanonicalSign) {
  // A full turn is the identity, though the quaternion comes out negated;
  // quarter and half turns in degrees are exact.
  EXPECT_EQ(about(EVector3(0, 0, 1), 360).formatString(), "1 0 0 0");
  EXPECT_EQ(about(EVector3(0, 0, 1), -180).formatString(), "0 0 0 1");
  EXPECT_EQ(about(EVector3(0, 0, 5), 90), EVersor(std::sqrt(0.5), 0, 0, std::sqrt(0.5)));
  EXPECT_EQ(about(EVector3(0, 0, 1), 270), EVersor(std::sqrt(0.5), 0, 0, -std::sqrt(0.5)));
  EXPECT_EQ(EVersor(-0.0, 0, -1, 0).canonical().formatString(), "0 0 1 0");
  const EVersor q(0.5, -0.5, 0.5, -0.5);
  const EVersor minus(-0.5, 0.5, -0.5, 0.5);
  EXPECT_EQ(q, minus);
  EXPECT_EQ(q.formatString(), minus.formatString());
  // Turning by 90 degrees about z and then about x: rotations compose
  // right to left, and x then points at z.
  const EVersor zx = about(EVector3(1, 0, 0), 90) * about(EVector3(0, 0, 1), 90);
  EXPECT_TRUE(zx.rotate(EVector3(1, 0, 0)).equals(EVector3(0, 0, 1), 1e-15));
  EXPECT_FALSE(EVersor::fromAxisAngle(EVector3(), EAngle(1, AU_DEG), nullptr));
  EVersor zero(0, 0, 0, 0);
  EXPECT_FALSE(zero.normalize());
}

TEST(EVersor, EulerAngles) {
  std::mt19937_64 rng(10);
  std::uniform_real_distribution<double> half(-kPi / 2 + 1e-3, kPi / 2 - 1e-3), full(-kPi, kPi);
  for (int i = 0; i < 1000; ++i) {
    const double yaw = full(rng), pitch = half(rng), roll = full(rng);
    EVersor q;
    ASSERT_TRUE(EVersor::fromEulerZYX(EAngle(yaw, AU_RAD), EAngle(pitch, AU_RAD),
                                      EAngle(roll, AU_RAD), &q));
    // Rz * Ry * Rx about the fixed axes.
    const EMatrix4 m = about(EVector3(0, 0, 1), yaw * 180 / kPi).toMatrix() *
                       about(EVector3(0, 1, 0), pitch * 180 / kPi).toMatrix() *
                       about(EVector3(1, 0, 0), roll * 180 / kPi).toMatrix();
    EXPECT_TRUE(q.toMatrix().equals(m, 1e-14));
    EAngle y, p, r;
    q.toEulerZYX(&y, &p, &r);
    EXPECT_NEAR(y.getValue(), yaw, 1e-9);
    EXPECT_NEAR(p.getValue(), pitch, 1e-9);
    EXPECT_NEAR(r.getValue(), roll, 1e-9);
  }
  // At the gimbal lock the angles still describe the rotation.
  EVersor q, back;
  ASSERT_TRUE(
      EVersor::fromEulerZYX(EAngle(30, AU_DEG), EAngle(90, AU_DEG), EAngle(10, AU_DEG), &q));
  EAngle y, p, r;
  q.toEulerZYX(&y, &p, &r);
  EXPECT_EQ(r.getValue(), 0);
  ASSERT_TRUE(EVersor::fromEulerZYX(y, p, r, &back));
  EXPECT_TRUE(back.equals(q, 1e-7));
}

TEST(EVersor, Slerp) {
  std::mt19937_64 rng(11);
  for (int i = 0; i < 500; ++i) {
    const EVersor a = randomVersor(rng), b = randomVersor(rng);
    EXPECT_EQ(EVersor::slerp(a, b, 0), a);
    EXPECT_EQ(EVersor::slerp(a, b, 1), b);
    // The shorter arc: halfway, the angle to each end is half the angle
    // between them, whichever sign b has.
    const EVersor mid = EVersor::slerp(a, EVersor(-b.w, -b.x, -b.y, -b.z), 0.5);
    const double whole = std::acos(std::min(1.0, std::fabs(a.dot(b))));
    EXPECT_NEAR(std::acos(std::min(1.0, std::fabs(a.dot(mid)))), whole / 2, 1e-7);
    EXPECT_NEAR(std::acos(std::min(1.0, std::fabs(b.dot(mid)))), whole / 2, 1e-7);
    for (double t = 0.1; t < 1; t += 0.1) EXPECT_NEAR(EVersor::slerp(a, b, t).length(), 1, 1e-15);
  }
  // Nearly equal ends do not divide by zero.
  const EVersor a = about(EVector3(0, 0, 1), 10), b = about(EVector3(0, 0, 1), 10 + 1e-9);
  EXPECT_TRUE(EVersor::slerp(a, b, 0.5).isFinite());
}

#ifdef KELP_HAVE_EIGEN
TEST(EVersor, AgreesWithEigen) {
  std::mt19937_64 rng(12);
  std::uniform_real_distribution<double> u(0, 1);
  for (int i = 0; i < 2000; ++i) {
    const EVersor a = randomVersor(rng), b = randomVersor(rng);
    const Eigen::Quaterniond ea(a.w, a.x, a.y, a.z), eb(b.w, b.x, b.y, b.z);
    const Eigen::Quaterniond ep = ea * eb;
    EXPECT_TRUE((a * b).equals(EVersor(ep.w(), ep.x(), ep.y(), ep.z()), 1e-15));
    const double t = u(rng);
    const Eigen::Quaterniond es = ea.slerp(t, eb);
    EXPECT_TRUE(EVersor::slerp(a, b, t).equals(EVersor(es.w(), es.x(), es.y(), es.z()), 1e-12));
    const Eigen::Matrix3d er = ea.toRotationMatrix();
    const EMatrix4 m = a.toMatrix();
    for (int r = 0; r < 3; ++r)
      for (int c = 0; c < 3; ++c) EXPECT_NEAR(m(r, c), er(r, c), 4e-15);
  }
}
#endif

TEST(EVersor, TextAndAttributes) {
  std::mt19937_64 rng(13);
  for (int i = 0; i < 500; ++i) {
    const EVersor q = randomVersor(rng);
    EVersor back;
    ASSERT_TRUE(back.parseString(q.formatString().c_str(), nullptr));
    EXPECT_EQ(back.formatString(), q.formatString());
    EXPECT_TRUE(back.w == q.w && back.x == q.x && back.y == q.y && back.z == q.z);
  }
  EVersor q;
  std::string error;
  EXPECT_FALSE(q.parseString("1 1 0 0", nullptr, &error));
  EXPECT_EQ(error, "not a unit quaternion (length 1.4142135623730951)");
  EXPECT_FALSE(q.parseString("1 0 0", nullptr, &error));
  EXPECT_EQ(error, "expected 4 numbers, found 3");
  EXPECT_EQ(q, EVersor());

  kelp::test::AttributeMaker maker;
  ASSERT_TRUE(q.decodeAttributes(maker.make({{"qw", "0"}, {"qx", "0"}, {"qy", "0"}, {"qz", "-1"}}),
                                 &error));
  EXPECT_EQ(q, about(EVector3(0, 0, 1), 180));
  EXPECT_FALSE(q.decodeAttributes("2", "0", "0", "0", &error));
  EXPECT_EQ(error, "attributes 'w', 'x', 'y', 'z' are not a unit quaternion (length 2)");
  ASSERT_TRUE(q.decodeAttributes(maker.make({}), EVersor(), &error, "r"));
  EXPECT_EQ(q, EVersor());
}
