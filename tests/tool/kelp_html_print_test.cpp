// The HTML quote and catalogue report as a customer gets them: printed to
// PDF by a real browser engine (headless chromium) and read back with
// pdftotext, the totals must be the computed ones and the report must
// start every article on a page of its own. Skipped where chromium is not
// installed.
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <string>

#include "tool_runner.h"

using kelp::test::runKelp;
using kelp::test::TempDir;

namespace {

bool onPath(const std::string& program) {
  return std::system(("command -v " + program + " >/dev/null 2>&1").c_str()) == 0;
}

// Prints the page `html` (a file) to `pdf`; a fresh, empty profile and no
// network, sync or updates, so the run touches nothing outside `dir`.
bool printToPdf(const TempDir& dir, const std::string& html, const std::string& pdf) {
  const std::string command =
      "timeout 120 chromium --headless --no-sandbox --disable-gpu "
      "--disable-background-networking --disable-component-update --disable-sync "
      "--no-first-run --no-pdf-header-footer --user-data-dir='" +
      dir.file("profile") + "' --print-to-pdf='" + pdf + "' 'file://" + html + "' >/dev/null 2>&1";
  return std::system(command.c_str()) == 0;
}

std::string pdfText(const TempDir& dir, const std::string& pdf) {
  const std::string txt = dir.file("out.txt");
  if (std::system(("pdftotext -layout '" + pdf + "' '" + txt + "'").c_str()) != 0) return "";
  return kelp::test::readFile(txt);
}

// Some line of `text` has exactly these words (blank-separated).
bool hasRow(const std::string& text, const std::string& row) {
  std::istringstream lines(text);
  for (std::string l; std::getline(lines, l);) {
    std::istringstream in(l);
    std::string words, w;
    while (in >> w) words += (words.empty() ? "" : " ") + w;
    if (words == row) return true;
  }
  return false;
}

class HtmlPrint : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!onPath("chromium")) GTEST_SKIP() << "chromium is not installed";
    ASSERT_TRUE(onPath("pdftotext")) << "pdftotext (poppler-utils) is needed";
  }
  TempDir dir_;
};

}  // namespace

TEST_F(HtmlPrint, QuoteTotalsReadBackFromThePdf) {
  auto r = runKelp(
      {"basket", "price", "--html", "--catalogue", "samples/catalogue.xml", "samples/basket.xml"});
  ASSERT_EQ(r.status, 0);
  kelp::test::writeFile(dir_.file("quote.html"), r.out);
  ASSERT_TRUE(printToPdf(dir_, dir_.file("quote.html"), dir_.file("quote.pdf")));
  const std::string text = pdfText(dir_, dir_.file("quote.pdf"));
  // The amounts of the sample quote worked out in samples/README.md.
  for (const char* row :
       {"Net 3,558.70 EUR", "Tax 662.04 EUR", "Gross 4,220.74 EUR", "Payable 4,220.74 EUR",
        "Deposit paid -1,000.00 EUR", "Due 3,220.74 EUR", "standard 19 % 3,185.25 605.20"})
    EXPECT_TRUE(hasRow(text, row)) << row << "\n" << text;
}

TEST_F(HtmlPrint, CatalogueReportTotalsAndOneArticlePerPage) {
  auto r = runKelp({"catalogue", "report", "--html", "samples/catalogue.xml"});
  ASSERT_EQ(r.status, 0);
  kelp::test::writeFile(dir_.file("report.html"), r.out);
  ASSERT_TRUE(printToPdf(dir_, dir_.file("report.html"), dir_.file("report.pdf")));
  const std::string text = pdfText(dir_, dir_.file("report.pdf"));
  // The totals of the sample catalogue (kelp_catalogue_test derives them).
  for (const char* row :
       {"EUR 6,593.48 29", "CHF 2,167.14 5", "JPY 991,465 29", "KWD 2,193.358 29"})
    EXPECT_TRUE(hasRow(text, row)) << row;
  // pdftotext ends every page with a form feed: 29 articles, 29 pages at
  // least.
  std::size_t pages = 0;
  for (char c : text) pages += c == '\f';
  EXPECT_GE(pages, 29u);
}
