// Throughput of the rich-text path: reading a generated product description
// page of about 5 MB with XHtmlReader, and writing the document with both
// formatters, each reported in bytes of XHTML per second. The page
// (deterministic) mixes paragraphs with inline styles, lists, definition
// lists, quotations, preformatted text, rules and breaks, and text in
// several languages and scripts with character and entity references.
#include <benchmark/benchmark.h>
#include <zob/zob_io.h>

#include <cstdint>
#include <string>

#include <kelp/layout/lo_HtmlFmt.h>
#include <kelp/layout/lo_PlainTextFmt.h>
#include <kelp/layout/lo_XHtmlReader.h>
#include <kelp/xml/sax/sax_ISInputSource.h>

using namespace qor::quv::layout;
using qor::quv::xml::sax::ISInputSource;

namespace {

class Random {
 public:
  explicit Random(std::uint64_t seed) : s_(seed) {}
  std::uint32_t below(std::uint32_t n) {
    s_ = s_ * 6364136223846793005ull + 1442695040888963407ull;
    return static_cast<std::uint32_t>(s_ >> 33) % n;
  }
  template <size_t N>
  const char* pick(const char* const (&a)[N]) {
    return a[below(N)];
  }

 private:
  std::uint64_t s_;
};

const char* const kWords[] = {
    "ergonomic", "chair",   "desk",   "oak",       "steel",    "durable",
    "office",    "modular", "shelf",  "Bürostuhl", "Eiche",    "höhenverstellbar",
    "für",       "weiß",    "chaise", "élégante",  "réglable", "façade",
    "オフィス",  "チェア",  "стул",   "стол",      "&amp;",    "&eacute;t&eacute;",
    "&euro;",    "&#8482;", "&nbsp;", "50&#160;cm"};
const char* const kStyles[] = {"b", "i", "em", "strong", "code", "q", "span", "sub", "sup", "tt"};

void sentence(Random& r, std::string& out) {
  const int words = 6 + static_cast<int>(r.below(14));
  for (int i = 0; i < words; ++i) {
    if (i) out += r.below(10) == 0 ? "  \n  " : " ";
    if (r.below(8) == 0) {
      const char* style = r.pick(kStyles);
      out += std::string("<") + style + ">" + r.pick(kWords) + "</" + style + ">";
    } else {
      out += r.pick(kWords);
    }
  }
  out += ". ";
}

void paragraphs(Random& r, std::string& out, int count) {
  for (int i = 0; i < count; ++i) {
    out += "<p>";
    for (int s = 1 + static_cast<int>(r.below(4)); s > 0; --s) sentence(r, out);
    if (r.below(5) == 0) out += "<br/>";
    out += "</p>\n";
  }
}

std::string makePage(size_t target) {
  Random r(20261121);
  std::string page =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<html xmlns=\"http://www.w3.org/1999/xhtml\"><head><title>Catalogue "
      "descriptions</title></head><body>\n";
  while (page.size() < target) {
    page += "<h2>Article ";
    page += std::to_string(r.below(100000));
    page += "</h2>\n";
    paragraphs(r, page, 2);
    switch (r.below(5)) {
      case 0:
        page += "<ul>\n";
        for (int i = 0; i < 4; ++i) {
          page += "<li>";
          sentence(r, page);
          page += "</li>\n";
        }
        page += "</ul>\n";
        break;
      case 1:
        page += "<dl>\n";
        for (int i = 0; i < 3; ++i) {
          page += std::string("<dt>") + r.pick(kWords) + "</dt><dd>";
          sentence(r, page);
          page += "</dd>\n";
        }
        page += "</dl>\n";
        break;
      case 2:
        page += "<blockquote><div>";
        paragraphs(r, page, 1);
        page += "</div></blockquote>\n";
        break;
      case 3:
        page += "<pre>  width   120 cm\n  depth    60 cm\n  height   75 cm</pre>\n";
        break;
      default:
        page += "<hr/>\n<ol><li><p>";
        sentence(r, page);
        page += "</p></li></ol>\n";
        break;
    }
  }
  page += "</body></html>\n";
  return page;
}

const std::string& page() {
  static const std::string p = makePage(5u << 20);
  return p;
}

Document* readPage(XHtmlReader& reader, const std::string& text) {
  zob::Ref<zob::io::IInputStream> in;
  zobCreateMemoryInputStream(text.data(), text.size(), false, in.out());
  ISInputSource source("", "page.xhtml", in.get());
  Document* doc = nullptr;
  reader.parse(&source, &doc);
  return doc;
}

void BM_Read(benchmark::State& state) {
  const std::string& text = page();
  XHtmlReader reader(nullptr);
  for (auto _ : state) {
    Document* doc = readPage(reader, text);
    if (!doc) {
      state.SkipWithError(reader.getErrorMessage().c_str());
      return;
    }
    doc->release();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

template <class Fmt>
void BM_Format(benchmark::State& state) {
  const std::string& text = page();
  XHtmlReader reader(nullptr);
  Document* doc = readPage(reader, text);
  if (!doc) {
    state.SkipWithError(reader.getErrorMessage().c_str());
    return;
  }
  size_t written = 0;
  for (auto _ : state) {
    std::string out = Fmt(nullptr, doc).str();
    written = out.size();
    benchmark::DoNotOptimize(out.data());
  }
  doc->release();
  state.counters["output_bytes"] = static_cast<double>(written);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

void BM_ReadAndFormat(benchmark::State& state) {
  const std::string& text = page();
  XHtmlReader reader(nullptr);
  for (auto _ : state) {
    Document* doc = readPage(reader, text);
    if (!doc) {
      state.SkipWithError(reader.getErrorMessage().c_str());
      return;
    }
    std::string plain = SimplePlainTextFmt(nullptr, doc).str();
    std::string html = HtmlFmt(nullptr, doc).str();
    benchmark::DoNotOptimize(plain.data());
    benchmark::DoNotOptimize(html.data());
    doc->release();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

}  // namespace

BENCHMARK(BM_Read)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Format<SimplePlainTextFmt>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Format<HtmlFmt>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadAndFormat)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
