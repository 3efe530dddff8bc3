// The HTML the formatter writes for every golden page, and for pages that
// use every block and style, parses as an HTML fragment without errors in
// libxml2's HTML parser. A separate program (tests/cmake/
// layout_html_check.cmake): libxml2 is linked here only.
#include <kelp/layout/lo_HtmlFmt.h>
#include <kelp/layout/lo_XHtmlReader.h>

#include <algorithm>
#include <filesystem>

#include <gtest/gtest.h>
#include <libxml/HTMLparser.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlversion.h>

#include "test_support.h"
#include "tests/layout/lo_test_support.h"

using namespace kelp::test::layout;

namespace {

struct Errors {
  std::vector<std::string> texts;
};

#if LIBXML_VERSION >= 21200
void collect(void* ctx, const xmlError* error) {
#else
void collect(void* ctx, xmlError* error) {
#endif
  if (!error || error->level < XML_ERR_ERROR) return;
  std::string text = error->message ? error->message : "";
  while (!text.empty() && text.back() == '\n') text.pop_back();
  // ADDR is the formatter's defined tag for addresses, though HTML 4 has
  // no such element; libxml2 reports it as unknown and reads on.
  if (error->code == XML_HTML_UNKNOWN_TAG && text == "Tag addr invalid") return;
  static_cast<Errors*>(ctx)->texts.push_back(text + " (line " + std::to_string(error->line) + ")");
}

std::vector<std::string> htmlErrors(const std::string& html) {
  // An empty fragment is well formed; libxml2 makes no document of it.
  if (html.empty()) return {};
  Errors errors;
  xmlSetStructuredErrorFunc(&errors, collect);
  htmlDocPtr doc = htmlReadMemory(html.data(), static_cast<int>(html.size()), "fragment.html",
                                  "UTF-8", HTML_PARSE_NONET);
  xmlSetStructuredErrorFunc(nullptr, nullptr);
  if (!doc)
    errors.texts.push_back("no document");
  else
    xmlFreeDoc(doc);
  return errors.texts;
}

std::string formatHtml(const std::string& text) {
  XHtmlReader reader(nullptr);
  Document* doc = read(reader, text);
  if (!doc) return "";
  std::string html = HtmlFmt(nullptr, doc).str();
  doc->release();
  return html;
}

}  // namespace

TEST(LayoutHtmlCheck, GoldenPagesParseWithoutErrors) {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(kelp::test::dataFile("layout"))) {
    if (entry.path().extension() != ".xhtml") continue;
    SCOPED_TRACE(entry.path().filename().string());
    const std::string html = formatHtml(kelp::test::readFile(entry.path().string()));
    EXPECT_EQ(htmlErrors(html), std::vector<std::string>{}) << html;
    ++count;
  }
  EXPECT_GE(count, 10);
}

TEST(LayoutHtmlCheck, EveryBlockAndStyleParsesWithoutErrors) {
  const char* bodies[] = {
      "<p>a<br/>b<hr/>c</p>",
      "<pre>x</pre><h1>1</h1><h2>2</h2><h3>3</h3><h4>4</h4><h5>5</h5><h6>6</h6>",
      "<blockquote><div><p>x</p></div></blockquote>",
      "<dl><dt>t</dt><dd><p>d</p></dd></dl>",
      "<ol><li>a<ul><li>b</li></ul></li></ol>",
      "<p><b>b</b><i>i</i><u>u</u><big>g</big><small>s</small><sub>1</sub><sup>2</sup>"
      "<tt>t</tt><abbr>a</abbr><acronym>a</acronym><cite>c</cite><code>c</code><dfn>d</dfn>"
      "<em>e</em><kbd>k</kbd><q>q</q><samp>s</samp><span>s</span><strong>s</strong>"
      "<var>v</var></p>",
      "<p>&quot;&amp;&lt;&gt;&nbsp;&#233;&#8364;&#9786;</p>",
      "loose <b>text</b><p>after</p>",
      "<address>a</address>",
  };
  for (const char* body : bodies) {
    SCOPED_TRACE(body);
    const std::string html = formatHtml(page(body));
    ASSERT_FALSE(html.empty());
    EXPECT_EQ(htmlErrors(html), std::vector<std::string>{}) << html;
  }
}

TEST(LayoutHtmlCheck, CheckerSeesErrors) {
  EXPECT_FALSE(htmlErrors("<P>a</Q>").empty());
  EXPECT_FALSE(htmlErrors("<P>a &b <FOO>").empty());
}
