// Interning and scratch allocation against the standard library's nearest
// equivalents, in one program:
//   - interning a name already present (hit) and a new one (miss): PString
//     against std::unordered_set<std::string> with string_view lookup, the
//     misses both into the process-wide table as it fills up (it never
//     grows past 8192 buckets) and into a fresh table;
//   - StackAlloc::alloc with a rewind every 1024 requests against malloc
//     and free of the same sizes.
// Names are generated deterministically in the manner of a catalogue's XML:
// element and attribute names, article numbers, short keywords.
#include <benchmark/benchmark.h>
#include <kelp/util/utl_PString.h>
#include <kelp/util/utl_StackAlloc.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

using qor::quv::util::PString;
using qor::quv::util::StackAlloc;

namespace {

// A small deterministic generator (xorshift), the same on every run.
struct Rng {
  uint64_t s = 0x9e3779b97f4a7c15ull;
  uint64_t next() {
    s ^= s << 13;
    s ^= s >> 7;
    s ^= s << 17;
    return s;
  }
};

// Names of 4 to 24 bytes: "article", "priceEntry-17", "A-004711" ...
std::vector<std::string> makeNames(std::size_t count, const char* prefix) {
  static const char* const stems[] = {"article", "price",  "catalogue", "choice", "text",
                                      "lang",    "value",  "currency",  "item",   "basket",
                                      "tax",     "option", "feature",   "id",     "name"};
  Rng rng;
  std::vector<std::string> names;
  names.reserve(count);
  char buf[64];
  for (std::size_t i = 0; i < count; ++i) {
    const char* stem = stems[rng.next() % (sizeof stems / sizeof stems[0])];
    std::snprintf(buf, sizeof buf, "%s%s-%zu", prefix, stem, i);
    names.emplace_back(buf);
  }
  return names;
}

struct SvHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view s) const { return std::hash<std::string_view>()(s); }
};
struct SvEq {
  using is_transparent = void;
  bool operator()(std::string_view a, std::string_view b) const { return a == b; }
};
using StdTable = std::unordered_set<std::string, SvHash, SvEq>;

// Interning with the standard container: look up by view, insert when new,
// hand out the stored characters.
const char* internStd(StdTable& table, std::string_view s) {
  auto it = table.find(s);
  if (it == table.end()) it = table.emplace(s).first;
  return it->c_str();
}

constexpr std::size_t kHitNames = 10000;

void BM_InternHit_PString(benchmark::State& state) {
  const std::vector<std::string> names = makeNames(kHitNames, "hit:");
  for (const std::string& n : names) PString p(n);
  std::size_t i = 0;
  for (auto _ : state) {
    const std::string& n = names[i];
    PString p(n.data(), n.size());
    benchmark::DoNotOptimize(p.c_str());
    if (++i == names.size()) i = 0;
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}
BENCHMARK(BM_InternHit_PString);

void BM_InternHit_UnorderedSet(benchmark::State& state) {
  const std::vector<std::string> names = makeNames(kHitNames, "hit:");
  StdTable table;
  for (const std::string& n : names) internStd(table, n);
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(internStd(table, names[i]));
    if (++i == names.size()) i = 0;
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}
BENCHMARK(BM_InternHit_UnorderedSet);

// Misses: every iteration interns a name never seen before. The interning
// table never shrinks, so a fixed iteration count keeps runs comparable
// (the table ends with about 300 000 entries).
constexpr int64_t kMisses = 1 << 18;

void BM_InternMiss_PString(benchmark::State& state) {
  static int run = 0;
  const std::string prefix = "miss" + std::to_string(++run) + ":";
  const std::vector<std::string> names =
      makeNames(static_cast<std::size_t>(kMisses), prefix.c_str());
  std::size_t i = 0;
  for (auto _ : state) {
    const std::string& n = names[i++];
    PString p(n.data(), n.size());
    benchmark::DoNotOptimize(p.c_str());
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}
BENCHMARK(BM_InternMiss_PString)->Iterations(kMisses);

void BM_InternMiss_UnorderedSet(benchmark::State& state) {
  const std::vector<std::string> names = makeNames(static_cast<std::size_t>(kMisses), "miss:");
  StdTable table;
  std::size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(internStd(table, names[i++]));
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}
BENCHMARK(BM_InternMiss_UnorderedSet)->Iterations(kMisses);

// Misses at a low load: 8192 new names (one per bucket on average) into a
// fresh table, made and dropped outside the timing.
constexpr std::size_t kFreshBatch = 8192;

void BM_InternMissFresh_PStrTab(benchmark::State& state) {
  const std::vector<std::string> names = makeNames(kFreshBatch, "fresh:");
  for (auto _ : state) {
    state.PauseTiming();
    auto* table = new qor::quv::util::PStrTab();
    state.ResumeTiming();
    for (const std::string& n : names) benchmark::DoNotOptimize(table->alloc(n.data(), n.size()));
    state.PauseTiming();
    delete table;
    state.ResumeTiming();
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kFreshBatch));
}
BENCHMARK(BM_InternMissFresh_PStrTab);

void BM_InternMissFresh_UnorderedSet(benchmark::State& state) {
  const std::vector<std::string> names = makeNames(kFreshBatch, "fresh:");
  for (auto _ : state) {
    state.PauseTiming();
    auto* table = new StdTable();
    state.ResumeTiming();
    for (const std::string& n : names) benchmark::DoNotOptimize(internStd(*table, n));
    state.PauseTiming();
    delete table;
    state.ResumeTiming();
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kFreshBatch));
}
BENCHMARK(BM_InternMissFresh_UnorderedSet);

// Scratch allocation: 1024 requests of 8 to 64 bytes, then everything goes
// back (a rewind, or 1024 frees).
constexpr std::size_t kBatch = 1024;

std::vector<unsigned> batchSizes() {
  Rng rng;
  std::vector<unsigned> sizes(kBatch);
  for (unsigned& s : sizes) s = 8 + static_cast<unsigned>(rng.next() % 57);
  return sizes;
}

void BM_Alloc_StackAlloc(benchmark::State& state) {
  const std::vector<unsigned> sizes = batchSizes();
  StackAlloc scratch(16384);
  void* mark = scratch.getAllocBase();
  for (auto _ : state) {
    for (unsigned n : sizes) benchmark::DoNotOptimize(scratch.alloc(n));
    scratch.setAllocBase(mark);
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kBatch));
}
BENCHMARK(BM_Alloc_StackAlloc);

void BM_Alloc_Malloc(benchmark::State& state) {
  const std::vector<unsigned> sizes = batchSizes();
  std::vector<void*> blocks(kBatch);
  for (auto _ : state) {
    for (std::size_t i = 0; i < kBatch; ++i) {
      blocks[i] = std::malloc(sizes[i]);
      benchmark::DoNotOptimize(blocks[i]);
    }
    for (void* p : blocks) std::free(p);
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kBatch));
}
BENCHMARK(BM_Alloc_Malloc);

}  // namespace

BENCHMARK_MAIN();
