// XHtmlReader over arbitrary bytes: every page it accepts is written by
// both formatters, and the documents are walked so that the sanitizers see
// every block and atom. The first byte picks whether a reader is reused
// for a second reading of the same bytes.
#include <kelp/host.h>
#include <kelp/layout/lo_HtmlFmt.h>
#include <kelp/layout/lo_PlainTextFmt.h>
#include <kelp/layout/lo_XHtmlReader.h>
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <zob/zob_io.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

using namespace qor::quv::layout;
using qor::quv::xml::sax::ISInputSource;

namespace {

// Takes every message and keeps none: unknown elements and assertions
// would otherwise flood standard error.
class QuietLogger final : public kelp::host::Object<qor::quv::fw::ILogger> {
 public:
  void fatal(const char*, const char* text) override { touch(text); }
  void error(const char*, const char* text) override { touch(text); }
  void warning(const char*, const char* text) override { touch(text); }
  void notice(const char*, const char* text) override { touch(text); }
  void info(const char*, const char* text) override { touch(text); }
  void debug(const char*, const char* text) override { touch(text); }
  std::size_t sum = 0;

 private:
  void touch(const char* text) { sum += std::char_traits<char>::length(text); }
};

qor::quv::fw::IApplication* quietApp() {
  static zob::Ref<kelp::host::Application> app = [] {
    zob::Ref<kelp::host::Application> a = kelp::host::Application::create();
    zob::Ref<QuietLogger> logger(new QuietLogger);
    a->installLogger(logger.get());
    return a;
  }();
  return app.get();
}

bool readAndFormat(XHtmlReader& reader, const std::uint8_t* data, std::size_t size) {
  zob::Ref<zob::io::IInputStream> in;
  if (EFAILED(zobCreateMemoryInputStream(data, size, false, in.out()))) return false;
  ISInputSource source("", "fuzz.xhtml", in.get());
  Document* doc = nullptr;
  const bool ok = reader.parse(&source, &doc);
  if (ok != (doc != nullptr)) std::abort();  // a document exactly on success
  if (!doc) {
    if (reader.getErrorMessage().size() > 1000) std::abort();
    return false;
  }
  const std::string text = SimplePlainTextFmt(quietApp(), doc).str();
  const std::string html = HtmlFmt(quietApp(), doc).str();
  // HTML is pure ASCII: every other character became a reference.
  for (char c : html)
    if (static_cast<unsigned char>(c) >= 0x80) std::abort();
  // The body ends with a new line in both forms, unless it wrote nothing.
  if (!text.empty() && text.back() != '\n') std::abort();
  if (!html.empty() && html.back() != '\n') std::abort();
  doc->release();
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const bool twice = (data[0] & 1) != 0;
  XHtmlReader reader(quietApp());
  const bool first = readAndFormat(reader, data + 1, size - 1);
  // A reused reader must come to the same answer.
  if (twice && readAndFormat(reader, data + 1, size - 1) != first) std::abort();
  return 0;
}
