// 4x4 matrices: inverse and determinant against identities and against
// Eigen, transforms, decomposition, text form.
#include <kelp/util/utl_EBounds.h>
#include <kelp/util/utl_EMatrix4.h>
#include <kelp/util/utl_EVersor.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

#include "attribute_maker.h"

#ifdef KELP_HAVE_EIGEN
#include <Eigen/Dense>
#endif

using qor::quv::types::AU_DEG;
using qor::quv::util::EAngle;
using qor::quv::util::EBounds;
using qor::quv::util::EMatrix4;
using qor::quv::util::EVector3;
using qor::quv::util::EVersor;

namespace {

// Random entries in [-1, 1] plus 4 on the diagonal: strictly diagonally
// dominant, so well conditioned; then scaled by a random power of ten, which
// the singularity test must not mind.
EMatrix4 wellConditioned(std::mt19937_64& rng) {
  std::uniform_real_distribution<double> d(-1, 1);
  std::uniform_int_distribution<int> e(-100, 100);
  const double scale = std::pow(10.0, e(rng));
  EMatrix4 m;
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c) m(r, c) = (d(rng) + (r == c ? 4 : 0)) * scale;
  return m;
}

EVersor randomVersor(std::mt19937_64& rng) {
  std::normal_distribution<double> n;
  EVersor q(n(rng), n(rng), n(rng), n(rng));
  q.normalize();
  return q;
}

}  // namespace

TEST(EMatrix4, InverseTimesMatrixIsIdentity) {
  std::mt19937_64 rng(4);
  for (int i = 0; i < 5000; ++i) {
    const EMatrix4 m = wellConditioned(rng);
    EMatrix4 inv;
    ASSERT_TRUE(m.inverse(&inv)) << m.formatString();
    ASSERT_TRUE((m * inv).equals(EMatrix4::identity(), 1e-14)) << m.formatString();
    ASSERT_TRUE((inv * m).equals(EMatrix4::identity(), 1e-14)) << m.formatString();
  }
}

TEST(EMatrix4, SingularMatricesHaveNoInverse) {
  const EMatrix4 keep(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16);
  EMatrix4 out = keep;
  // Rows in arithmetic progression: rank 2.
  EXPECT_FALSE(keep.inverse(&out));
  EXPECT_EQ(out, keep);
  EXPECT_FALSE(EMatrix4::scaling(EVector3(1, 0, 1)).inverse(&out));
  // Two rows nearly parallel: |det| / (|row 0| |row 1|) = d / 2 for the
  // rows (1, 1) and (1, 1 + d); the tolerance lies between these two.
  EMatrix4 close;
  close(0, 1) = close(1, 0) = 1;
  close(1, 1) = 1 + 1e-13;
  EXPECT_FALSE(close.inverse(&out));
  close(1, 1) = 1 + 1e-11;
  EXPECT_TRUE(close.inverse(&out));
  // Rows of very different size are no reason to fail.
  EXPECT_TRUE(EMatrix4::scaling(EVector3(1, 1e-13, 1e13)).inverse(&out));
  EXPECT_EQ(out(2, 2), 1e-13);
  EMatrix4 nan;
  nan(2, 1) = std::nan("");
  EXPECT_FALSE(nan.inverse(&out));
  // A uniformly tiny or huge matrix is as regular as the identity.
  EXPECT_TRUE(EMatrix4::scaling(1e-200).inverse(&out));
  EXPECT_DOUBLE_EQ(out(0, 0), 1e200);
  EXPECT_TRUE(EMatrix4::scaling(1e150).inverse(&out));
  // The inverse of a matrix of the smallest numbers is beyond the range.
  EXPECT_FALSE(EMatrix4::scaling(1e-310).inverse(&out));
}

#ifdef KELP_HAVE_EIGEN
TEST(EMatrix4, AgreesWithEigen) {
  std::mt19937_64 rng(5);
  std::uniform_real_distribution<double> d(-10, 10);
  for (int i = 0; i < 2000; ++i) {
    EMatrix4 m, n;
    Eigen::Matrix4d em, en;
    for (int r = 0; r < 4; ++r)
      for (int c = 0; c < 4; ++c) {
        em(r, c) = m(r, c) = d(rng);
        en(r, c) = n(r, c) = d(rng);
      }
    EXPECT_NEAR(m.determinant(), em.determinant(), 1e-10 * std::fabs(em.determinant()) + 1e-9);
    const Eigen::Matrix4d ep = em * en;
    const EMatrix4 p = m * n;
    EMatrix4 inv;
    const bool invertible = m.inverse(&inv);
    Eigen::Matrix4d einv;
    bool eInvertible = false;
    em.computeInverseWithCheck(einv, eInvertible, 1e-9);
    ASSERT_EQ(invertible, eInvertible);
    // Compare relative to the size of the inverse: random matrices can be
    // badly conditioned.
    const double norm = einv.cwiseAbs().maxCoeff();
    for (int r = 0; r < 4; ++r)
      for (int c = 0; c < 4; ++c) {
        EXPECT_NEAR(p(r, c), ep(r, c), 1e-12 * 400);
        if (invertible) {
          EXPECT_NEAR(inv(r, c), einv(r, c), 1e-9 * norm);
        }
      }
  }
}
#endif

TEST(EMatrix4, TransformsAndFactories) {
  EMatrix4 rz;
  ASSERT_TRUE(EMatrix4::rotation(EVector3(0, 0, 2), EAngle(90, AU_DEG), &rz));
  // Counter-clockwise about z: x turns into y.
  EXPECT_TRUE(rz.transformVector(EVector3(1, 0, 0)).equals(EVector3(0, 1, 0), 1e-15));
  EXPECT_FALSE(EMatrix4::rotation(EVector3(), EAngle(90, AU_DEG), &rz));
  EXPECT_FALSE(EMatrix4::rotation(EVector3(0, 0, 1), EAngle::makeNaN(), &rz));

  const EMatrix4 t = EMatrix4::translation(EVector3(10, 20, 30));
  EXPECT_EQ(t.transformPoint(EVector3(1, 2, 3)), EVector3(11, 22, 33));
  EXPECT_EQ(t.transformVector(EVector3(1, 2, 3)), EVector3(1, 2, 3));
  // Scale first, then rotate, then move.
  EXPECT_TRUE((t * rz * EMatrix4::scaling(2))
                  .transformPoint(EVector3(1, 0, 0))
                  .equals(EVector3(10, 22, 30), 1e-14));
  EXPECT_EQ(t.transposed().transposed(), t);
  EXPECT_TRUE(EMatrix4().isIdentity() && t.isAffine() && !t.isIdentity());

  EVector3 p;
  EMatrix4 proj = EMatrix4::identity();
  proj(3, 2) = 1;  // w = z
  proj(3, 3) = 0;
  ASSERT_TRUE(proj.transformPointProjective(EVector3(2, 4, 2), &p));
  EXPECT_EQ(p, EVector3(1, 2, 1));
  EXPECT_FALSE(proj.transformPointProjective(EVector3(2, 4, 0), &p));
}

TEST(EMatrix4, NormalsStayPerpendicular) {
  std::mt19937_64 rng(6);
  std::uniform_real_distribution<double> d(-3, 3);
  for (int i = 0; i < 500; ++i) {
    const EMatrix4 m = EMatrix4::fromTRS(EVector3(d(rng), d(rng), d(rng)), randomVersor(rng),
                                         EVector3(d(rng), d(rng), d(rng)));
    const EVector3 n(d(rng), d(rng), d(rng));
    // Two tangents of the plane with normal n, mapped as vectors.
    const EVector3 t1 = n.cross(EVector3(1, 0, 0)), t2 = n.cross(t1);
    const EVector3 mn = m.transformNormal(n);
    EXPECT_NEAR(mn.length(), 1, 1e-12);
    EXPECT_NEAR(mn.dot(m.transformVector(t1)) / m.transformVector(t1).length(), 0, 1e-9);
    EXPECT_NEAR(mn.dot(m.transformVector(t2)) / m.transformVector(t2).length(), 0, 1e-9);
  }
  // A mirror keeps the outward side: the normal of the plane z = 0 facing
  // +z, mirrored in x, still faces +z.
  EXPECT_TRUE(EMatrix4::scaling(EVector3(-1, 1, 1))
                  .transformNormal(EVector3(0, 0, 1))
                  .equals(EVector3(0, 0, 1), 0));
  // Flattened onto the plane z = 0: a surface facing x becomes a line.
  EXPECT_EQ(EMatrix4::scaling(EVector3(1, 1, 0)).transformNormal(EVector3(1, 0, 0)), EVector3());
}

TEST(EMatrix4, DecomposeUndoesCompose) {
  std::mt19937_64 rng(7);
  std::uniform_real_distribution<double> d(0.01, 100);
  for (int i = 0; i < 1000; ++i) {
    const EVector3 t(d(rng), -d(rng), d(rng)), s(d(rng), d(rng), d(rng));
    const EVersor q = randomVersor(rng);
    EVector3 t2, s2;
    EVersor q2;
    ASSERT_TRUE(EMatrix4::fromTRS(t, q, s).decompose(&t2, &q2, &s2));
    EXPECT_EQ(t2, t);
    EXPECT_TRUE(q2.equals(q, 1e-9));
    EXPECT_TRUE(s2.equals(s, 1e-12 * s.length()));
  }
  EMatrix4 shear;
  shear(0, 1) = 0.5;
  EVector3 t(5, 5, 5);
  EXPECT_FALSE(shear.decompose(&t, nullptr, nullptr));
  EXPECT_FALSE(EMatrix4::scaling(EVector3(-1, 1, 1)).decompose(&t, nullptr, nullptr));
  EXPECT_FALSE(EMatrix4::scaling(EVector3(1, 0, 1)).decompose(&t, nullptr, nullptr));
  EMatrix4 projective;
  projective(3, 0) = 1;
  EXPECT_FALSE(projective.decompose(&t, nullptr, nullptr));
  EXPECT_EQ(t, EVector3(5, 5, 5));
}

TEST(EMatrix4, TextAndAttribute) {
  std::mt19937_64 rng(8);
  for (int i = 0; i < 200; ++i) {
    EMatrix4 m;
    for (int k = 0; k < 16;) {  // any finite bit pattern
      const std::uint64_t bits = rng();
      std::memcpy(&m.data()[k], &bits, sizeof(double));
      if (std::isfinite(m.data()[k])) ++k;
    }
    EMatrix4 back(1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1);
    ASSERT_TRUE(back.parseString(m.formatString().c_str(), nullptr)) << m.formatString();
    EXPECT_EQ(std::memcmp(back.data(), m.data(), sizeof(double) * 16), 0);
  }
  EXPECT_EQ(EMatrix4::translation(EVector3(1.5, 0, -2)).formatString(),
            "1 0 0 1.5 0 1 0 0 0 0 1 -2 0 0 0 1");
  std::string error;
  EMatrix4 m;
  EXPECT_FALSE(m.parseString("1 0 0 0 0 1 0 0 0 0 1 0", nullptr, &error));
  EXPECT_EQ(error, "expected 16 numbers, found 12");
  EXPECT_TRUE(m.isIdentity());

  kelp::test::AttributeMaker maker;
  ASSERT_TRUE(m.decodeAttributes(maker.make({{"place", "2 0 0 0 0 2 0 0 0 0 2 0 0 0 0 1"}}), &error,
                                 "place"));
  EXPECT_EQ(m, EMatrix4::scaling(2));
  EXPECT_FALSE(m.decodeAttributes(maker.make({{"matrix", "1 2 3"}}), &error));
  EXPECT_EQ(error, "attribute 'matrix' has invalid value '1 2 3': expected 16 numbers, found 3");
  EXPECT_FALSE(m.decodeAttributes(maker.make({}), &error));
  EXPECT_EQ(error, "attribute 'matrix' is missing or empty");
  ASSERT_TRUE(m.decodeAttributes(maker.make({}), EMatrix4(), &error));
  EXPECT_TRUE(m.isIdentity());
}
