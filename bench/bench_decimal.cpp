// Decimal arithmetic: the runtime's decimal128/decimal64 operators against
// the compiler's bare decimal floating point (GCC only, libgcc's BID code).
// Two operand sets: prices whose sums and products are exact (the runtime's
// integer shortcut) and 34-digit values that must be rounded (decNumber).
#include <ktz/ktz_decimal.h>

#include <benchmark/benchmark.h>

#include <cstring>

using ktz::decimal::decimal128;
using ktz::decimal::decimal64;

namespace {

decimal128 d128(const char* s) {
  return ktzStrToDec128(s, nullptr);
}
decimal64 d64(const char* s) {
  return ktzStrToDec64(s, nullptr);
}

struct Operands {
  decimal128 a, b;
};
const Operands kPrices{d128("12.50"), d128("3.75")};
const Operands kLong{d128("0.3333333333333333333333333333333333"),
                     d128("1.414213562373095048801688724209698")};

template <class Op>
void runtime128(benchmark::State& state, const Operands& o, Op op) {
  decimal128 a = o.a;
  const decimal128 b = o.b;
  for (auto _ : state) {
    benchmark::DoNotOptimize(a);
    decimal128 r = op(a, b);
    benchmark::DoNotOptimize(r);
  }
}

void BM_Runtime128AddExact(benchmark::State& s) {
  runtime128(s, kPrices, [](const decimal128& a, const decimal128& b) { return a + b; });
}
void BM_Runtime128MulExact(benchmark::State& s) {
  runtime128(s, kPrices, [](const decimal128& a, const decimal128& b) { return a * b; });
}
void BM_Runtime128AddRounded(benchmark::State& s) {
  runtime128(s, kLong, [](const decimal128& a, const decimal128& b) { return a + b; });
}
void BM_Runtime128MulRounded(benchmark::State& s) {
  runtime128(s, kLong, [](const decimal128& a, const decimal128& b) { return a * b; });
}
void BM_Runtime128Div(benchmark::State& s) {
  runtime128(s, kPrices, [](const decimal128& a, const decimal128& b) { return a / b; });
}
void BM_Runtime64AddExact(benchmark::State& state) {
  decimal64 a = d64("12.50");
  const decimal64 b = d64("3.75");
  for (auto _ : state) {
    benchmark::DoNotOptimize(a);
    decimal64 r = a + b;
    benchmark::DoNotOptimize(r);
  }
}
void BM_Runtime64MulExact(benchmark::State& state) {
  decimal64 a = d64("12.50");
  const decimal64 b = d64("3.75");
  for (auto _ : state) {
    benchmark::DoNotOptimize(a);
    decimal64 r = a * b;
    benchmark::DoNotOptimize(r);
  }
}
BENCHMARK(BM_Runtime128AddExact);
BENCHMARK(BM_Runtime128MulExact);
BENCHMARK(BM_Runtime128AddRounded);
BENCHMARK(BM_Runtime128MulRounded);
BENCHMARK(BM_Runtime128Div);
BENCHMARK(BM_Runtime64AddExact);
BENCHMARK(BM_Runtime64MulExact);

#if defined(__GNUC__) && !defined(__clang__)
typedef float Bare128 __attribute__((mode(TD)));
typedef float Bare64 __attribute__((mode(DD)));

Bare128 bare(const decimal128& d) {
  const std::uint64_t w[2] = {d.low(), d.high()};
  Bare128 r;
  std::memcpy(&r, w, sizeof r);
  return r;
}
Bare64 bare(decimal64 d) {
  const std::uint64_t w = d.bits();
  Bare64 r;
  std::memcpy(&r, &w, sizeof r);
  return r;
}

template <class T, class Op>
void bareLoop(benchmark::State& state, T a, const T b, Op op) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(a);
    T r = op(a, b);
    benchmark::DoNotOptimize(r);
  }
}

void BM_Bare128AddExact(benchmark::State& s) {
  bareLoop(s, bare(kPrices.a), bare(kPrices.b), [](Bare128 a, Bare128 b) { return a + b; });
}
void BM_Bare128MulExact(benchmark::State& s) {
  bareLoop(s, bare(kPrices.a), bare(kPrices.b), [](Bare128 a, Bare128 b) { return a * b; });
}
void BM_Bare128AddRounded(benchmark::State& s) {
  bareLoop(s, bare(kLong.a), bare(kLong.b), [](Bare128 a, Bare128 b) { return a + b; });
}
void BM_Bare128MulRounded(benchmark::State& s) {
  bareLoop(s, bare(kLong.a), bare(kLong.b), [](Bare128 a, Bare128 b) { return a * b; });
}
void BM_Bare128Div(benchmark::State& s) {
  bareLoop(s, bare(kPrices.a), bare(kPrices.b), [](Bare128 a, Bare128 b) { return a / b; });
}
void BM_Bare64AddExact(benchmark::State& s) {
  bareLoop(s, bare(d64("12.50")), bare(d64("3.75")), [](Bare64 a, Bare64 b) { return a + b; });
}
void BM_Bare64MulExact(benchmark::State& s) {
  bareLoop(s, bare(d64("12.50")), bare(d64("3.75")), [](Bare64 a, Bare64 b) { return a * b; });
}
BENCHMARK(BM_Bare128AddExact);
BENCHMARK(BM_Bare128MulExact);
BENCHMARK(BM_Bare128AddRounded);
BENCHMARK(BM_Bare128MulRounded);
BENCHMARK(BM_Bare128Div);
BENCHMARK(BM_Bare64AddExact);
BENCHMARK(BM_Bare64MulExact);
#endif

}  // namespace

BENCHMARK_MAIN();
