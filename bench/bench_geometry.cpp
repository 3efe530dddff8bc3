// Geometry hot paths against Eigen's fixed-size types in the same run: the
// 4x4 product, the 4x4 inverse and transforming points by an affine matrix.
// Each benchmark works through 1024 generated operands per iteration (the
// placements of a room full of articles), so that the compiler cannot fold
// a constant operand; items per second count single operations.
#include <kelp/util/utl_EMatrix4.h>
#include <kelp/util/utl_EVersor.h>

#include <benchmark/benchmark.h>

#include <Eigen/Dense>
#include <Eigen/Geometry>

#include <random>
#include <vector>

using qor::quv::util::EMatrix4;
using qor::quv::util::EVector3;
using qor::quv::util::EVersor;

namespace {

constexpr int kCount = 1024;

// Placements: translation in millimetres, any rotation, scale near 1.
struct Data {
  std::vector<EMatrix4> a, b, out;
  std::vector<Eigen::Matrix4d> ea, eb, eout;
  std::vector<EVector3> points, pointsOut;
  std::vector<Eigen::Vector3d> epoints, epointsOut;
  EMatrix4 place;
  Eigen::Affine3d eplace;

  Data() {
    std::mt19937_64 rng(2026);
    std::uniform_real_distribution<double> mm(-5000, 5000), s(0.5, 2);
    std::normal_distribution<double> n;
    auto placement = [&] {
      EVersor q(n(rng), n(rng), n(rng), n(rng));
      q.normalize();
      return EMatrix4::fromTRS(EVector3(mm(rng), mm(rng), mm(rng)), q,
                               EVector3(s(rng), s(rng), s(rng)));
    };
    auto toEigen = [](const EMatrix4& m) {
      Eigen::Matrix4d e;
      for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) e(r, c) = m(r, c);
      return e;
    };
    for (int i = 0; i < kCount; ++i) {
      a.push_back(placement());
      b.push_back(placement());
      ea.push_back(toEigen(a.back()));
      eb.push_back(toEigen(b.back()));
      points.emplace_back(mm(rng), mm(rng), mm(rng));
      epoints.emplace_back(points.back().x, points.back().y, points.back().z);
    }
    out.resize(kCount);
    eout.resize(kCount);
    pointsOut.resize(kCount);
    epointsOut.resize(kCount);
    place = a[0];
    eplace.matrix() = ea[0];
  }
};

Data& data() {
  static Data d;
  return d;
}

void done(benchmark::State& state) {
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kCount);
}

void BM_Product_EMatrix4(benchmark::State& state) {
  Data& d = data();
  for (auto _ : state) {
    for (int i = 0; i < kCount; ++i) d.out[i] = d.a[i] * d.b[i];
    benchmark::ClobberMemory();
  }
  done(state);
}

void BM_Product_Eigen(benchmark::State& state) {
  Data& d = data();
  for (auto _ : state) {
    for (int i = 0; i < kCount; ++i) d.eout[i].noalias() = d.ea[i] * d.eb[i];
    benchmark::ClobberMemory();
  }
  done(state);
}

void BM_Inverse_EMatrix4(benchmark::State& state) {
  Data& d = data();
  for (auto _ : state) {
    for (int i = 0; i < kCount; ++i) d.a[i].inverse(&d.out[i]);
    benchmark::ClobberMemory();
  }
  done(state);
}

void BM_Inverse_Eigen(benchmark::State& state) {
  Data& d = data();
  for (auto _ : state) {
    for (int i = 0; i < kCount; ++i) d.eout[i] = d.ea[i].inverse();
    benchmark::ClobberMemory();
  }
  done(state);
}

// Eigen's inverse with the same kind of singularity test as ours.
void BM_InverseChecked_Eigen(benchmark::State& state) {
  Data& d = data();
  for (auto _ : state) {
    for (int i = 0; i < kCount; ++i) {
      bool ok;
      d.ea[i].computeInverseWithCheck(d.eout[i], ok, 1e-12);
      benchmark::DoNotOptimize(ok);
    }
    benchmark::ClobberMemory();
  }
  done(state);
}

void BM_TransformPoint_EMatrix4(benchmark::State& state) {
  Data& d = data();
  for (auto _ : state) {
    for (int i = 0; i < kCount; ++i) d.pointsOut[i] = d.place.transformPoint(d.points[i]);
    benchmark::ClobberMemory();
  }
  done(state);
}

void BM_TransformPoint_Eigen(benchmark::State& state) {
  Data& d = data();
  for (auto _ : state) {
    for (int i = 0; i < kCount; ++i) d.epointsOut[i] = d.eplace * d.epoints[i];
    benchmark::ClobberMemory();
  }
  done(state);
}

}  // namespace

BENCHMARK(BM_Product_EMatrix4);
BENCHMARK(BM_Product_Eigen);
BENCHMARK(BM_Inverse_EMatrix4);
BENCHMARK(BM_Inverse_Eigen);
BENCHMARK(BM_InverseChecked_Eigen);
BENCHMARK(BM_TransformPoint_EMatrix4);
BENCHMARK(BM_TransformPoint_Eigen);

BENCHMARK_MAIN();
