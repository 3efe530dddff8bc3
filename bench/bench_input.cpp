// Throughput of the decoding input source next to a plain memcpy of the same
// data: UTF-8 passed through and ISO-8859-1 decoded into UTF-8, read in
// blocks (fetch, the decoding layer alone) and byte by byte (get, as the
// reader pulls it). The UTF-8 validator that checks the pass-through is
// measured alone too, on each of its paths. After the runs the program
// prints each rate as a fraction of memcpy's.
#include <benchmark/benchmark.h>
#include <kelp/util/utl_StringBuf.h>
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <zob/zob_io.h>

#include "xml/sax/sax_Utf8Validator.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

using namespace qor::quv::xml::sax;

namespace {

constexpr std::size_t kDocSize = 1 << 20;
constexpr std::size_t kBlock = 8192 - 16;  // what the source fetches at a time

// A deterministic catalogue-like document; `latin1` writes the accented
// letters as ISO-8859-1 bytes, otherwise as UTF-8.
std::string makeDocument(bool latin1) {
  static const char* const kWords[] = {"Tisch",
                                       "Stuhl",
                                       "Regal",
                                       "Kommode",
                                       "Sofa",
                                       "B\xfc"
                                       "ro",
                                       "K\xfc"
                                       "che",
                                       "Gr\xf6\xdf"
                                       "e",
                                       "Ma\xdf",
                                       "Fa\xe7"
                                       "ade",
                                       "caf\xe9"};
  std::string doc = "<?xml version='1.0'?>\n<catalogue>\n";
  unsigned seed = 12345;
  for (int article = 0; doc.size() < kDocSize; ++article) {
    doc += "  <article id='A" + std::to_string(article) + "' price='" +
           std::to_string(100 + article % 900) + ".50'>\n    <text lang='de'>";
    for (int w = 0; w < 12; ++w) {
      seed = seed * 1103515245u + 12345u;
      doc += kWords[(seed >> 16) % (sizeof kWords / sizeof kWords[0])];
      doc += ' ';
    }
    doc += "</text>\n  </article>\n";
  }
  doc.resize(kDocSize);
  if (latin1) return doc;
  std::string utf8;
  for (unsigned char c : doc) {
    if (c < 0x80) {
      utf8 += static_cast<char>(c);
    } else {
      utf8 += static_cast<char>(0xC0 | (c >> 6));
      utf8 += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return utf8;
}

const std::string& document(bool latin1) {
  static const std::string kLatin1 = makeDocument(true);
  static const std::string kUtf8 = makeDocument(false);
  return latin1 ? kLatin1 : kUtf8;
}

void BM_Memcpy(benchmark::State& state) {
  const std::string& doc = document(false);
  std::vector<char> buffer(kBlock);
  for (auto _ : state) {
    for (std::size_t pos = 0; pos < doc.size(); pos += kBlock) {
      std::size_t n = std::min(kBlock, doc.size() - pos);
      std::memcpy(buffer.data(), doc.data() + pos, n);
      benchmark::DoNotOptimize(buffer.data());
      benchmark::ClobberMemory();
    }
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * doc.size()));
}

// Reads the whole document through a fresh source per iteration.
template <bool kLatin1, bool kByByte>
void BM_Source(benchmark::State& state) {
  const std::string& doc = document(kLatin1);
  std::vector<char> buffer(kBlock);
  std::size_t out = 0;
  for (auto _ : state) {
    zob::Ref<zob::io::IInputStream> stream;
    zobCreateMemoryInputStream(doc.data(), doc.size(), false, stream.out());
    ISInputSource in("", "bench", stream.get());
    in.setEncoding(kLatin1 ? "ISO-8859-1" : "UTF-8", "UTF-8");
    out = 0;
    if (kByByte) {
      unsigned sum = 0;
      int c;
      while ((c = in.get()) >= 0) {
        sum += static_cast<unsigned>(c);
        ++out;
      }
      benchmark::DoNotOptimize(sum);
    } else {
      int n;
      while ((n = in.fetch(buffer.data(), buffer.size())) > 0) {
        benchmark::DoNotOptimize(buffer.data());
        out += static_cast<std::size_t>(n);
      }
    }
  }
  // Rates count the bytes of the source document.
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * doc.size()));
  state.counters["output_bytes"] = static_cast<double>(out);
}

// The validator over the whole document, in the source's block size.
void BM_Utf8Validate(benchmark::State& state) {
  const auto path = static_cast<detail::Utf8Path>(state.range(0));
  if (!detail::utf8PathAvailable(path)) {
    state.SkipWithError("not on this processor");
    return;
  }
  const std::string& doc = document(false);
  std::size_t valid = 0;
  for (auto _ : state) {
    valid = 0;
    for (std::size_t pos = 0; pos < doc.size(); pos += kBlock) {
      std::size_t n = std::min(kBlock, doc.size() - pos);
      valid += detail::utf8ValidPrefix(doc.data() + pos, n, path);
    }
    benchmark::DoNotOptimize(valid);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * doc.size()));
}

BENCHMARK(BM_Memcpy);
BENCHMARK(BM_Utf8Validate)
    ->ArgName("path")
    ->Arg(static_cast<int>(detail::Utf8Path::Scalar))
    ->Arg(static_cast<int>(detail::Utf8Path::Sse2))
    ->Arg(static_cast<int>(detail::Utf8Path::Avx2));
BENCHMARK_TEMPLATE(BM_Source, false, false)->Name("Utf8PassThrough/fetch");
BENCHMARK_TEMPLATE(BM_Source, true, false)->Name("Latin1ToUtf8/fetch");
BENCHMARK_TEMPLATE(BM_Source, false, true)->Name("Utf8PassThrough/get");
BENCHMARK_TEMPLATE(BM_Source, true, true)->Name("Latin1ToUtf8/get");

// Prints as usual and keeps every rate for the closing table of ratios.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      auto it = run.counters.find("bytes_per_second");
      if (it != run.counters.end()) rates_[run.benchmark_name()] = it->second.value;
    }
  }
  void printRatios() const {
    auto base = rates_.find("BM_Memcpy");
    if (base == rates_.end() || base->second <= 0) return;
    std::printf("\nThroughput relative to memcpy (%.0f MB/s):\n", base->second / 1e6);
    for (const auto& [name, rate] : rates_)
      std::printf("  %-28s %10.1f MB/s  %6.3f x memcpy  (memcpy is %.1f x faster)\n", name.c_str(),
                  rate / 1e6, rate / base->second, base->second / rate);
  }

 private:
  std::map<std::string, double> rates_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.printRatios();
  benchmark::Shutdown();
  return 0;
}
