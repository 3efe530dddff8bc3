// The well-formed documents of the W3C XML conformance suite through the
// DOM and the writer: every valid or invalid test case of the XML 1.0
// selection (xmlconf_cases.h) that DomReader accepts is read into a
// Document, normalised, written with XMLWriter and read again; the second
// tree must equal the first as read back (dom_equal.h). Documents the
// reader rejects are counted, not failed: xmlconf judges the reader.
//
// Environment: KELP_XMLCONF_DIR overrides where the suite is looked for.
#include <gtest/gtest.h>
#include <kelp/host.h>
#include <kelp/xml/dom/dom_Document.h>
#include <kelp/xml/sax/sax_SimpleXMLReader.h>
#include <kelp/xml/xml_DomReader.h>
#include <kelp/xml/xml_Writer.h>
#include <zob/zob_mem.h>
#include <zob/zob_result.h>

#include <clocale>
#include <cstdio>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "dom_equal.h"
#include "xmlconf_cases.h"

namespace {

namespace dom = qor::quv::xml::dom;
namespace qx = qor::quv::xml;
namespace sax = qor::quv::xml::sax;
namespace fs = std::filesystem;

// The written form in *out; false with the writer's message in *error.
bool write(dom::Node* node, std::string* out, std::string* error) {
  std::ostringstream s;
  zob::Ref<qx::XMLWriter> w(new qx::XMLWriter(&s, 0));
  const ZResult res = node->write(w.get());
  if (EFAILED(res)) {
    char* message = nullptr;
    w->getErrorMessage(&message);
    *error = std::string(zobStrError(res)) + ": " + (message ? message : "");
    zobFree(message);
  }
  if (w->close() != 0 && error->empty()) *error = "close failed";
  *out = s.str();
  return error->empty();
}

struct Counts {
  int roundTripped = 0;
  int rejected = 0;
  int failed = 0;
};

}  // namespace

TEST(XmlConformance, DomRoundTrip) {
  const fs::path root = kelp::xmlconf::envOr("KELP_XMLCONF_DIR", KELP_XMLCONF_DIR);
  if (!fs::exists(root / "xmlconf.xml"))
    GTEST_SKIP() << "the W3C XML conformance suite is not at " << root.string()
                 << "; run scripts/fetch-test-data.sh";
  std::vector<kelp::xmlconf::TestCase> all;
  {
    std::string error;
    ASSERT_TRUE(kelp::xmlconf::readCatalogues(root, &all, &error)) << error;
  }
  kelp::xmlconf::Utf8Locale locale;
  ASSERT_TRUE(locale.ok) << "no C.UTF-8 locale";
  // The handler's debug messages about rejected documents go to a logger
  // that only keeps them.
  zob::Ref<kelp::host::Application> app = kelp::host::Application::create();
  zob::Ref<kelp::host::RecordingLogger> log = kelp::host::RecordingLogger::create();
  app->installLogger(log.get());

  std::map<std::string, Counts> byType;
  Counts total;
  std::vector<std::string> failures, rejected;
  int selected = 0;
  for (const kelp::xmlconf::TestCase& t : all) {
    if (!kelp::xmlconf::exclusion(t).empty()) continue;
    ++selected;
    if (t.type != "valid" && t.type != "invalid") continue;
    Counts* counts[] = {&byType[t.type], &total};
    auto fail = [&](const std::string& why) {
      for (Counts* c : counts) ++c->failed;
      failures.push_back(t.id + " [" + t.type + "] " +
                         fs::path(t.file).lexically_relative(root).string() + ": " + why);
    };

    qx::DomReader reader(app.get());
    reader.setFeature(sax::SimpleXMLReader::UseUTF8, true);
    reader.setFeature(sax::SimpleXMLReader::Namespaces, t.namespaces);
    zob::Ref<dom::Document> first = reader.readFile(t.file);
    if (!first) {
      for (Counts* c : counts) ++c->rejected;
      rejected.push_back(t.id + ": " + reader.getErrorMessage());
      continue;
    }
    first->normalize();
    std::string text, writeError;
    if (!write(first.get(), &text, &writeError)) {
      fail("not written: " + writeError);
      continue;
    }
    zob::Ref<dom::Document> second = reader.readString(text, t.file);
    if (!second) {
      fail("written form rejected: " + reader.getErrorMessage() + " (line " +
           std::to_string(reader.getErrorLine()) + ")\n" + text);
      continue;
    }
    second->normalize();
    std::string why;
    if (!kelp::test::domEqual(first.get(), second.get(), true, &why)) {
      fail("trees differ: " + why + "\n" + text);
      continue;
    }
    for (Counts* c : counts) ++c->roundTripped;
  }

  std::printf("W3C XML conformance suite through the DOM and the writer\n");
  auto row = [](const std::string& name, const Counts& c) {
    std::printf("  %-8s %5d round-tripped %5d rejected by the reader %5d failed\n", name.c_str(),
                c.roundTripped, c.rejected, c.failed);
  };
  for (const auto& [type, c] : byType) row(type, c);
  row("total", total);
  for (const std::string& r : rejected) std::printf("  rejected: %s\n", r.c_str());
  std::fflush(stdout);

  EXPECT_EQ(selected, kelp::xmlconf::kSelectedCount) << "test cases selected";
  EXPECT_GT(total.roundTripped, 0);
  for (const std::string& f : failures) ADD_FAILURE() << f;
}
