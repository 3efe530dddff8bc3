// SimplePlainTextFmt and HtmlFmt on documents built by hand and read from
// pages: the atom and block tables, line starts and assertions.
#include <kelp/layout/lo_HtmlFmt.h>
#include <kelp/layout/lo_PlainTextFmt.h>

#include <sstream>

#include <gtest/gtest.h>
#include <kelp/host.h>

#include "tests/layout/lo_test_support.h"

using namespace kelp::test::layout;
using kelp::host::Application;
using kelp::host::LogLevel;
using kelp::host::RecordingLogger;

namespace {

struct Out {
  std::string text;
  std::string html;
};

Out formatPage(const std::string& body) {
  XHtmlReader reader(nullptr);
  Document* doc = read(reader, page(body));
  if (!doc) return {"error: " + reader.getErrorMessage(), ""};
  Out o{SimplePlainTextFmt(nullptr, doc).str(), HtmlFmt(nullptr, doc).str()};
  doc->release();
  return o;
}

struct Case {
  const char* name;
  std::string body;
  std::string text;
  std::string html;
};

void runCases(const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Out o = formatPage(c.body);
    EXPECT_EQ(o.text, c.text);
    EXPECT_EQ(o.html, c.html);
  }
}

}  // namespace

TEST(Formatters, PagesInBothForms) {
  runCases({
      {"empty", "", "", ""},
      {"break", "<p>a<br/>b</p>", "a\nb\n", "<P>a<BR>b\n"},
      {"implicit then p", "x<p>y</p>", "x\ny\n", "x\n<P>y\n"},
      {"rule at line start", "<hr/>", "-----------\n", "<HR>\n"},
      {"rule inside text", "<p>a<hr/>b</p>", "a\n-----------\nb\n", "<P>a\n<HR>\nb\n"},
      {"list item with paragraph", "<ul><li><p>x</p></li></ul>", "- x\n",
       "<UL>\n<LI>\n<P>x\n</UL>\n"},
      {"ordered list", "<ol><li>a</li><li>b</li></ol>", "- a\n- b\n",
       "<OL>\n<LI>a\n<LI>b\n</OL>\n"},
      {"list after text", "t<ul><li>a</li></ul>", "t\n- a\n", "t\n<UL>\n<LI>a\n</UL>\n"},
      {"terms share a line", "<dl><dt>a</dt><dt>b</dt><dd>c</dd><dd>d</dd></dl>",
       "a, b -- c\n -- d\n", "<DL>\n<DT>a\n<DT>b\n<DD>c\n<DD>d\n</DL>\n"},
      {"empty term", "<dl><dt/><dt>b</dt></dl>", "b\n", "<DL>\n<DT>\n<DT>b\n</DL>\n"},
      {"headings", "<h1>a</h1><h3>b</h3><h6>c</h6>", "a\nb\nc\n",
       "<H1>a</H1>\n<H3>b</H3>\n<H6>c</H6>\n"},
      {"pre and address", "<pre>a</pre><address>b</address>", "a\nb\n",
       "<PRE>a</PRE>\n<ADDR>b</ADDR>\n"},
      {"quote and division", "<blockquote><div>a</div></blockquote>", "a\n",
       "<BLOCKQUOTE>\n<DIV>a</DIV>\n</BLOCKQUOTE>\n"},
      {"q, b and strong marks", "<p><q>a</q> <b>b</b> <strong>c</strong> <em>d</em></p>",
       "\"a\" *b* *c* d\n", "<P><Q>a</Q> <B>b</B> <STRONG>c</STRONG> <EM>d</EM>\n"},
      {"escapes", "<p>&quot;&amp;&lt;&gt;'</p>", "\"&<>'\n", "<P>&quot;&amp;&lt;&gt;'\n"},
      {"named and decimal references", "<p>&#233;&#8364;&#9786;&#128;&#307;</p>",
       "\xE9\xAC\x3A\x80\x33\n", "<P>&eacute;&euro;&#9786;&#128;&#307;\n"},
      {"nbsp character", "<p>a&nbsp;b</p>",
       "a\xA0"
       "b\n",
       "<P>a&nbsp;b\n"},
  });
}

TEST(Formatters, NonBreakingSpaceAtom) {
  auto* doc = new Document(nullptr);
  doc->addRef();
  ParaBlock* p = doc->getBody()->appendParagraph(kParaImplicit);
  p->appendChar('a');
  p->appendAtom(Atom(kAtomNbSpace));
  p->appendChar('b');
  EXPECT_EQ(SimplePlainTextFmt(nullptr, doc).str(), "a b\n");
  EXPECT_EQ(HtmlFmt(nullptr, doc).str(), "a&nbsp;b\n");
  doc->release();
}

TEST(Formatters, OutTracksLineStart) {
  SimplePlainTextFmt text(nullptr, nullptr);
  HtmlFmt html(nullptr, nullptr);
  std::ostringstream s1, s2;
  EXPECT_TRUE(text.atBOL());
  EXPECT_TRUE(text.out(s1, "ab"));
  EXPECT_FALSE(text.atBOL());
  EXPECT_TRUE(text.out(s1, ""));  // writes nothing, keeps the flag
  EXPECT_FALSE(text.atBOL());
  EXPECT_TRUE(text.out(s1, "c\n"));
  EXPECT_TRUE(text.atBOL());
  EXPECT_TRUE(text.forceBOL(s1));
  EXPECT_TRUE(text.out(s1, 'd'));
  EXPECT_TRUE(text.forceBOL(s1));
  EXPECT_TRUE(text.forceBOL(s1));
  EXPECT_EQ(s1.str(), "abc\nd\n");

  EXPECT_TRUE(html.out(s2, '\n'));
  EXPECT_TRUE(html.atBOL());
  EXPECT_TRUE(html.out(s2, "x"));
  EXPECT_TRUE(html.out(s2, ""));
  EXPECT_FALSE(html.atBOL());
  EXPECT_TRUE(html.forceBOL(s2));
  EXPECT_EQ(s2.str(), "\nx\n");

  std::ostringstream failed;
  failed.setstate(std::ios::badbit);
  EXPECT_FALSE(text.out(failed, 'x'));
  EXPECT_FALSE(html.out(failed, "x"));
  EXPECT_FALSE(html.format(failed, Atom(kAtomChar, 'x')));
  EXPECT_FALSE(text.format(failed, Atom(kAtomSpace)));
}

TEST(Formatters, StyleTags) {
  const std::pair<Style, const char*> tags[] = {
      {1, "B"},      {2, "I"},       {4, "U"},       {8, "BIG"},       {16, "SMALL"},
      {32, "SUB"},   {64, "SUP"},    {128, "TT"},    {256, "ABBR"},    {512, "ACRONYM"},
      {768, "CITE"}, {1024, "CODE"}, {1280, "DFN"},  {1536, "EM"},     {1792, "KBD"},
      {2048, "Q"},   {2304, "SPAN"}, {2560, "SAMP"}, {2816, "STRONG"}, {3072, "VAR"}};
  for (const auto& [style, tag] : tags) {
    SCOPED_TRACE(tag);
    ASSERT_NE(HtmlFmt::styleTag(style), nullptr);
    EXPECT_STREQ(HtmlFmt::styleTag(style), tag);
  }
  for (Style other : {0, 3, 256 + 1, 13 << 8, 0xFFFF}) EXPECT_EQ(HtmlFmt::styleTag(other), nullptr);
}

TEST(Formatters, UnknownStyleAndNullBlocksAreAsserted) {
  auto app = Application::create();
  auto log = RecordingLogger::create();
  app->installLogger(log.get());
  auto* doc = new Document(app.get());
  doc->addRef();
  ParaBlock* p = doc->getBody()->appendParagraph(kParaBlock);
  p->appendStyleOn(3);  // b and i at once: no single tag
  p->appendChar('x');
  p->appendStyleOff(3);
  EXPECT_EQ(HtmlFmt(app.get(), doc).str(), "<P>x\n");
  auto debug = log->texts(LogLevel::Debug);
  ASSERT_EQ(debug.size(), 2u);
  EXPECT_NE(debug[0].find("lo_HtmlFmt["), std::string::npos) << debug[0];
  EXPECT_NE(debug[0].find("]: tTag != 0"), std::string::npos) << debug[0];
  EXPECT_EQ(SimplePlainTextFmt(app.get(), doc).str(), "x\n");  // other styles write nothing

  log->clear();
  std::ostringstream s;
  SimplePlainTextFmt text(app.get(), doc);
  EXPECT_TRUE(text.format(s, nullptr));
  HtmlFmt html(app.get(), doc);
  EXPECT_TRUE(html.format(s, nullptr));
  EXPECT_EQ(s.str(), "");
  debug = log->texts(LogLevel::Debug);
  ASSERT_EQ(debug.size(), 2u);
  EXPECT_NE(debug[0].find("lo_PlainTextFmt["), std::string::npos) << debug[0];
  EXPECT_NE(debug[0].find("]: tEnv != 0"), std::string::npos) << debug[0];
  EXPECT_NE(debug[1].find("lo_HtmlFmt["), std::string::npos) << debug[1];
  doc->release();

  log->clear();
  EXPECT_EQ(HtmlFmt(app.get(), nullptr).str(), "");
  EXPECT_EQ(log->texts(LogLevel::Debug).size(), 1u);
}

TEST(Formatters, FormatterHoldsTheDocument) {
  auto* doc = new Document(nullptr);
  doc->addRef();
  doc->getBody()->appendParagraph(kParaBlock)->appendChar('k');
  auto* text = new SimplePlainTextFmt(nullptr, doc);
  auto* html = new HtmlFmt(nullptr, doc);
  doc->release();  // the formatters keep it alive
  EXPECT_EQ(text->str(), "k\n");
  EXPECT_EQ(html->str(), "<P>k\n");
  delete text;
  delete html;
}

TEST(Formatters, DeepDocumentIsWrittenWithoutRecursion) {
  auto* doc = new Document(nullptr);
  doc->addRef();
  EnvBlock* env = doc->getBody();
  const int depth = 100000;
  for (int i = 0; i < depth; ++i) env = env->appendEnvironment(kEnvBlockQuote);
  env->appendParagraph(kParaImplicit)->appendChar('x');
  EXPECT_EQ(SimplePlainTextFmt(nullptr, doc).str(), "x\n");
  std::string html = HtmlFmt(nullptr, doc).str();
  EXPECT_EQ(html.size(), static_cast<size_t>(depth) * (13 + 14));
  doc->release();
}
