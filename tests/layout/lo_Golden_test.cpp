// Golden files: every page in tests/data/layout/*.xhtml is read and
// formatted, and both outputs must equal the .txt and .html files beside it
// byte for byte.
#include <kelp/layout/lo_HtmlFmt.h>
#include <kelp/layout/lo_PlainTextFmt.h>
#include <kelp/layout/lo_XHtmlReader.h>

#include <algorithm>
#include <filesystem>

#include <gtest/gtest.h>
#include <kelp/host.h>

#include "test_support.h"
#include "tests/layout/lo_test_support.h"

using namespace kelp::test::layout;

namespace {

std::vector<std::string> pages() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(kelp::test::dataFile("layout")))
    if (entry.path().extension() == ".xhtml") names.push_back(entry.path().stem().string());
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

TEST(LayoutGolden, EveryPageFormatsAsExpected) {
  const std::vector<std::string> names = pages();
  ASSERT_GE(names.size(), 10u);
  auto app = kelp::host::Application::create();
  auto log = kelp::host::RecordingLogger::create();
  app->installLogger(log.get());
  for (const std::string& name : names) {
    SCOPED_TRACE(name);
    const std::string base = kelp::test::dataFile("layout/" + name);
    XHtmlReader reader(app.get());
    Document* doc = read(reader, kelp::test::readFile(base + ".xhtml"));
    ASSERT_NE(doc, nullptr) << reader.getErrorMessage();
    EXPECT_EQ(SimplePlainTextFmt(app.get(), doc).str(), kelp::test::readFile(base + ".txt"));
    EXPECT_EQ(HtmlFmt(app.get(), doc).str(), kelp::test::readFile(base + ".html"));
    doc->release();
  }
  // Only the unknown element and the page with a character beyond the BMP
  // log anything.
  for (const std::string& text : log->texts(kelp::host::LogLevel::Debug)) {
    SCOPED_TRACE(text);
    EXPECT_TRUE(text == "Element 'font' not supported." ||
                text.find("QUV assertion failed: lo_XHtmlReader[") == 0);
  }
}
