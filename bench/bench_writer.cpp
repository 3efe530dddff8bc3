// Throughput of XMLWriter next to libxml2's xmlTextWriter, both writing the
// same product catalogue into memory in the same program.
//
// The catalogue (the generator the reader's benchmark uses) is recorded once
// as a list of calls: elements with their layout, attributes, texts with
// markup characters to escape and words in five languages and scripts. Each
// iteration plays the list into a fresh writer on a fresh memory buffer and
// ends the document. Comments are left out (XMLWriter has no call for them)
// and CDATA texts are written as ordinary text by both. Both writers indent
// by two spaces and quote attributes with apostrophes; bytes per second
// count each writer's own output.
//
// Arguments: 0 output in UTF-8 (the application's code set, no conversion),
// 1 output in UTF-16 (converted on the way out).
#include <benchmark/benchmark.h>
#include <libxml/xmlwriter.h>
#include <zob/zob_io.h>

#include <clocale>
#include <cstdint>
#include <string>
#include <vector>

#include <kelp/xml/xml_Writer.h>

#include "catalogue_gen.h"

using namespace qor::quv::xml;

namespace {

// ---- the recorded calls ---------------------------------------------------------

struct Calls {
  enum Op : std::uint8_t { kStart, kAttr, kText, kEnd };
  struct Call {
    Op op;
    std::uint8_t format;
    std::uint32_t a;  // offsets into the pool of zero-terminated strings
    std::uint32_t b;
  };
  std::vector<Call> list;
  std::string pool;

  const char* str(std::uint32_t offset) const { return pool.data() + offset; }
};

class RecordingSink {
 public:
  RecordingSink(Calls& calls, std::uint32_t articles) : c_(calls), articles_(articles) {}

  void start(const char* name, int format) {
    c_.list.push_back({Calls::kStart, static_cast<std::uint8_t>(format), add(name), 0});
  }
  void attr(const char* name, const std::string& value) {
    c_.list.push_back({Calls::kAttr, 0, add(name), add(value)});
  }
  void text(const std::string& t) { c_.list.push_back({Calls::kText, 0, add(t), 0}); }
  void cdata(const std::string& t) { text(t); }
  void comment(const char*) {}
  void end() { c_.list.push_back({Calls::kEnd, 0, 0, 0}); }
  bool more() { return done_++ < articles_; }

 private:
  std::uint32_t add(const std::string& s) {
    auto offset = static_cast<std::uint32_t>(c_.pool.size());
    c_.pool += s;
    c_.pool += '\0';
    return offset;
  }

  Calls& c_;
  std::uint32_t articles_;
  std::uint32_t done_ = 0;
};

const Calls& catalogue() {
  static const Calls calls = [] {
    Calls c;
    RecordingSink sink(c, 4000);  // about 8 MB of output
    kelp::bench::generateCatalogue(sink);
    return c;
  }();
  return calls;
}

const char* encodingOf(const benchmark::State& state) {
  return state.range(0) == 0 ? "UTF-8" : "UTF-16";
}

// ---- XMLWriter ------------------------------------------------------------------

void playKelp(IXMLWriter* w, const Calls& calls) {
  for (const Calls::Call& c : calls.list) {
    switch (c.op) {
      case Calls::kStart:
        w->startElement(calls.str(c.a), static_cast<ElementFormat>(c.format));
        break;
      case Calls::kAttr:
        w->stringAttribute(calls.str(c.a), calls.str(c.b));
        break;
      case Calls::kText:
        w->characters(calls.str(c.a));
        break;
      case Calls::kEnd:
        w->endElement();
        break;
    }
  }
}

void BM_XMLWriter(benchmark::State& state) {
  // The catalogue's text is UTF-8: so is the application's code set.
  if (!std::setlocale(LC_CTYPE, "C.UTF-8")) state.SkipWithError("no C.UTF-8 locale");
  const Calls& calls = catalogue();
  std::size_t bytes = 0;
  for (auto _ : state) {
    zob::Ref<zob::io::IMemoryOutputStream> mem;
    zobCreateMemoryOutputStream(mem.out());
    zob::Ref<XMLWriter> w(new XMLWriter(mem.get(), 2));
    w->setEncoding(encodingOf(state));
    playKelp(w.get(), calls);
    if (w->close() != 0) state.SkipWithError("XMLWriter failed");
    const char* data = nullptr;
    mem->getData(&data, &bytes);
    benchmark::DoNotOptimize(data);
  }
  state.counters["output_MB"] = static_cast<double>(bytes) / 1e6;
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}

// ---- libxml2 ----------------------------------------------------------------------

bool playXml2(xmlTextWriterPtr w, const Calls& calls) {
  int rc = 0;
  for (const Calls::Call& c : calls.list) {
    switch (c.op) {
      case Calls::kStart:
        rc = xmlTextWriterStartElement(w, BAD_CAST calls.str(c.a));
        break;
      case Calls::kAttr:
        rc = xmlTextWriterWriteAttribute(w, BAD_CAST calls.str(c.a), BAD_CAST calls.str(c.b));
        break;
      case Calls::kText:
        rc = xmlTextWriterWriteString(w, BAD_CAST calls.str(c.a));
        break;
      case Calls::kEnd:
        rc = xmlTextWriterEndElement(w);
        break;
    }
    if (rc < 0) return false;
  }
  return true;
}

void BM_LibXml2Writer(benchmark::State& state) {
  const Calls& calls = catalogue();
  std::size_t bytes = 0;
  for (auto _ : state) {
    xmlBufferPtr buf = xmlBufferCreate();
    xmlTextWriterPtr w = xmlNewTextWriterMemory(buf, 0);
    xmlTextWriterSetIndent(w, 1);
    xmlTextWriterSetIndentString(w, BAD_CAST "  ");
    xmlTextWriterSetQuoteChar(w, '\'');
    bool ok = xmlTextWriterStartDocument(w, "1.0", encodingOf(state), nullptr) >= 0 &&
              playXml2(w, calls) && xmlTextWriterEndDocument(w) >= 0;
    xmlFreeTextWriter(w);  // flushes into buf
    if (!ok) state.SkipWithError("libxml2 failed");
    bytes = static_cast<std::size_t>(xmlBufferLength(buf));
    benchmark::DoNotOptimize(xmlBufferContent(buf));
    xmlBufferFree(buf);
  }
  state.counters["output_MB"] = static_cast<double>(bytes) / 1e6;
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}

BENCHMARK(BM_XMLWriter)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LibXml2Writer)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
