// Decimal arithmetic: the runtime's decimal128/decimal64 operators against
// the compiler's bare decimal floating point (GCC only, libgcc's BID code).
// Two operand sets: prices whose sums and products are exact (the runtime's
// integer shortcut) and 34-digit values that must be rounded (decNumber).
// Then money amounts (ECurrency): addition, share and raise by a percentage,
// rounding to cents and the text form, each next to the bare decimal
// operations doing the same work.
#include <kelp/util/utl_ECurrency.h>
#include <ktz/ktz_decimal.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <string>

using ktz::decimal::decimal128;
using ktz::decimal::decimal64;
using qor::quv::util::ECurrency;

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

// Money amounts: 1234.56 EUR + 78.90 EUR; 19 % of 1234.56 EUR; 1234.56 EUR
// raised by 19 %; 1468.9264 EUR rounded to cents; the text form.
const ECurrency kPrice("EUR", d128("1234.56"));
const ECurrency kShipping("EUR", d128("78.90"));
const ECurrency kVat("%", d128("19"));
const ECurrency kGross("EUR", d128("1468.9264"));

template <class Op>
void currencyLoop(benchmark::State& state, ECurrency a, const ECurrency& b, Op op) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(a);
    ECurrency r = op(a, b);
    benchmark::DoNotOptimize(r);
  }
}

void BM_CurrencyAdd(benchmark::State& s) {
  currencyLoop(s, kPrice, kShipping, [](const ECurrency& a, const ECurrency& b) { return a + b; });
}
void BM_CurrencyPercentShare(benchmark::State& s) {
  currencyLoop(s, kPrice, kVat, [](const ECurrency& a, const ECurrency& b) { return a * b; });
}
void BM_CurrencyPercentRaise(benchmark::State& s) {
  currencyLoop(s, kPrice, kVat, [](const ECurrency& a, const ECurrency& b) { return a + b; });
}
void BM_CurrencyRound(benchmark::State& s) {
  currencyLoop(s, kGross, kGross, [](const ECurrency& a, const ECurrency&) { return a.round(); });
}
void BM_CurrencyFormatString(benchmark::State& state) {
  ECurrency a = kGross.round();
  for (auto _ : state) {
    benchmark::DoNotOptimize(a);
    std::string r = a.formatString();
    benchmark::DoNotOptimize(r);
  }
}
// The runtime's own text conversion of the same amount, without the unit.
void BM_Runtime128ToString(benchmark::State& state) {
  decimal128 a = kGross.round().amount;
  for (auto _ : state) {
    benchmark::DoNotOptimize(a);
    std::string r = ktzDec128ToString(a);
    benchmark::DoNotOptimize(r);
  }
}
BENCHMARK(BM_CurrencyAdd);
BENCHMARK(BM_CurrencyPercentShare);
BENCHMARK(BM_CurrencyPercentRaise);
BENCHMARK(BM_CurrencyRound);
BENCHMARK(BM_CurrencyFormatString);
BENCHMARK(BM_Runtime128ToString);

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

// The same money work on bare decimals: the sum; a * (p * 0.01), the share;
// a * (p * 0.01 + 1), the raise; a * 100 rounded half away from zero to an
// integer and scaled back by 0.01; the text through the integer cents.
void BM_BareCurrencyAdd(benchmark::State& s) {
  bareLoop(s, bare(kPrice.amount), bare(kShipping.amount),
           [](Bare128 a, Bare128 b) { return a + b; });
}
void BM_BareCurrencyPercentShare(benchmark::State& s) {
  bareLoop(s, bare(kPrice.amount), bare(kVat.amount),
           [](Bare128 a, Bare128 p) { return a * (p * Bare128(0.01DL)); });
}
void BM_BareCurrencyPercentRaise(benchmark::State& s) {
  bareLoop(s, bare(kPrice.amount), bare(kVat.amount),
           [](Bare128 a, Bare128 p) { return a * (p * Bare128(0.01DL) + Bare128(1)); });
}
void BM_BareCurrencyRound(benchmark::State& s) {
  bareLoop(s, bare(kGross.amount), bare(kGross.amount), [](Bare128 a, Bare128) {
    const Bare128 scaled = a * Bare128(100);
    const long long cents =
        static_cast<long long>(scaled < 0 ? scaled - Bare128(0.5DL) : scaled + Bare128(0.5DL));
    return static_cast<Bare128>(cents) * Bare128(0.01DL);
  });
}
void BM_BareCurrencyFormatString(benchmark::State& state) {
  Bare128 a = bare(kGross.round().amount);
  for (auto _ : state) {
    benchmark::DoNotOptimize(a);
    const long long cents = static_cast<long long>(a * Bare128(100));
    char buf[64];
    std::snprintf(buf, sizeof buf, "[%lld.%02lld, \"%s\"]", cents / 100, cents % 100, "EUR");
    std::string r(buf);
    benchmark::DoNotOptimize(r);
  }
}
BENCHMARK(BM_BareCurrencyAdd);
BENCHMARK(BM_BareCurrencyPercentShare);
BENCHMARK(BM_BareCurrencyPercentRaise);
BENCHMARK(BM_BareCurrencyRound);
BENCHMARK(BM_BareCurrencyFormatString);
#endif

}  // namespace

BENCHMARK_MAIN();
