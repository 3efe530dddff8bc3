// XHtmlReader: the page structure and its messages, blocks and atoms made
// from elements and text, white space, character conversion and logging.
#include <kelp/layout/lo_XHtmlReader.h>

#include <gtest/gtest.h>
#include <kelp/host.h>
#include <kelp/xml/sax/sax_Attributes.h>
#include <kelp/xml/sax/sax_ParseException.h>

#include "tests/layout/lo_test_support.h"

using namespace kelp::test::layout;
using kelp::host::Application;
using kelp::host::LogLevel;
using kelp::host::RecordingLogger;
using qor::quv::xml::sax::Attributes;

namespace {

struct Case {
  const char* name;
  std::string page;
  std::string expected;  // the body's dump, or "error: " and the message
};

void runCases(const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(readDump(c.page), c.expected);
  }
}

// Drives a reader through its callbacks, as a reader of events would.
struct Driver {
  XHtmlReader reader{nullptr};
  Attributes none;
  bool start(const char* name) { return reader.startElement("", name, name, none); }
  bool end(const char* name) { return reader.endElement("", name, name); }
};

}  // namespace

TEST(XHtmlReaderTags, EveryElementHasItsCode) {
  const char* names[] = {
      "body", "head", "html",  "title", "abbr", "acronym", "address", "blockquote", "br",
      "cite", "code", "dfn",   "div",   "em",   "h1",      "h2",      "h3",         "h4",
      "h5",   "h6",   "kbd",   "p",     "pre",  "q",       "samp",    "span",       "strong",
      "var",  "dl",   "dt",    "dd",    "ol",   "ul",      "li",      "b",          "big",
      "hr",   "i",    "small", "sub",   "sup",  "tt",      "u"};
  for (int i = 0; i < 43; ++i) {
    SCOPED_TRACE(names[i]);
    EXPECT_EQ(XHtmlReader::getElementTag(names[i]), i + 1);
  }
  for (const char* other : {"", "font", "P", "Body", "h7", "h", "htm", "bodyx", "a", "img"}) {
    SCOPED_TRACE(other);
    EXPECT_EQ(XHtmlReader::getElementTag(other), 0);
  }
  EXPECT_EQ(XHtmlReader::getElementTag(nullptr), 0);
}

TEST(XHtmlReaderStructure, EveryMessageFromAPage) {
  const std::string head = "<head><title>t</title></head>";
  runCases({
      {"html not root", "<html><html/></html>", "error: <html> must be root element."},
      {"html below body", "<html>" + head + "<body><html/></body></html>",
       "error: <html> must be root element."},
      {"head in head", "<html><head><head/></head></html>",
       "error: <head> must be child of <html>."},
      {"head at root", "<head/>", "error: <head> must be child of <html>."},
      {"second head", "<html>" + head + "<head/></html>",
       "error: Only one <head> element allowed."},
      {"title in html", "<html><title/></html>", "error: <title> must be child of <head>."},
      {"title in body", "<html>" + head + "<body><title/></body></html>",
       "error: <title> must be child of <head>."},
      {"second title", "<html><head><title/><title/></head></html>",
       "error: Only one <title> element allowed."},
      {"body in body", "<html>" + head + "<body><body/></body></html>",
       "error: <body> must be child of <html>."},
      {"body at root", "<body/>", "error: <body> must be child of <html>."},
      {"second body", "<html>" + head + "<body/><body/></html>",
       "error: Only one <body> element allowed."},
      {"body before head", "<html><body/></html>",
       "error: <head> element expected prior to <body> element."},
      {"p in p", page("<p><p/></p>"), "error: Invalid paragraph nesting (<p>)."},
      {"h2 in p", page("<p><h2/></p>"), "error: Invalid paragraph nesting (<h?>)."},
      {"h6 in pre", page("<pre><h6/></pre>"), "error: Invalid paragraph nesting (<h?>)."},
      {"ul in dt", page("<dl><dt><ul/></dt></dl>"), "error: Invalid paragraph nesting (<ul>)."},
      {"div in address", page("<address><div/></address>"),
       "error: Invalid paragraph nesting (<div>)."},
      {"p in head", "<html><head><p/></head></html>", "error: Invalid paragraph nesting (<p>)."},
      {"li at root", "<li/>", "error: Invalid paragraph nesting (<li>)."},
      {"b in head", "<html><head><b/></head></html>", "error: <b> outside of <body>."},
      {"br in head", "<html><head><br/></head></html>", "error: <br> outside of <body>."},
      {"hr at root", "<hr/>", "error: <hr> outside of <body>."},
      {"em after body", "<html>" + head + "<body/><em/></html>", "error: <em> outside of <body>."},
      {"no title", "<html><head></head></html>", "error: <title> element missing."},
      {"no body", "<html>" + head + "</html>", "error: <body> element missing."},
      {"no head no body", "<html></html>", "error: <body> element missing."},
  });
}

TEST(XHtmlReaderStructure, MessagesOnlyEventsCanProduce) {
  // A reader of documents stops after the root element and matches end
  // tags itself, so these two need a driver.
  {
    Driver d;
    ASSERT_TRUE(d.start("html"));
    ASSERT_TRUE(d.start("head"));
    ASSERT_TRUE(d.start("title"));
    ASSERT_TRUE(d.end("title"));
    ASSERT_TRUE(d.end("head"));
    ASSERT_TRUE(d.start("body"));
    ASSERT_TRUE(d.end("body"));
    ASSERT_TRUE(d.end("html"));
    EXPECT_FALSE(d.start("html"));
    EXPECT_EQ(d.reader.getErrorMessage(), "Only one root element allowed.");
  }
  {
    Driver d;
    ASSERT_TRUE(d.start("html"));
    EXPECT_FALSE(d.end("body"));
    EXPECT_EQ(d.reader.getErrorMessage(), "Internal error: end tag mismatch (body)");
    EXPECT_EQ(d.reader.getContext(), 3);
    EXPECT_FALSE(d.end("html"));  // popped, but the body is missing
    EXPECT_EQ(d.reader.getErrorMessage(), "<body> element missing.");
    EXPECT_EQ(d.reader.getContext(), 0);
    EXPECT_FALSE(d.end("html"));
    EXPECT_EQ(d.reader.getErrorMessage(), "Internal error: end tag mismatch (html)");
  }
}

TEST(XHtmlReaderStructure, ContextFollowsOpenElements) {
  Driver d;
  EXPECT_EQ(d.reader.getContext(), 0);
  ASSERT_TRUE(d.start("html"));
  EXPECT_EQ(d.reader.getContext(), 3);
  ASSERT_TRUE(d.start("font"));
  EXPECT_EQ(d.reader.getContext(), 0);  // undefined elements are pushed as 0
  ASSERT_TRUE(d.end("font"));
  EXPECT_EQ(d.reader.getContext(), 3);
  ASSERT_TRUE(d.start("head"));
  ASSERT_TRUE(d.start("title"));
  EXPECT_EQ(d.reader.getContext(), 4);
}

TEST(XHtmlReaderBlocks, ExamplesGiveTheirBlocksAndAtoms) {
  runCases({
      {"collapsed spaces", page("<p>a  b</p>"), "100{2[a_b]}"},
      {"implicit closed by p", page("text<p>more</p>"), "100{1[text],2[more]}"},
      {"unknown font", page("<p>x<font>kept</font>y</p>"), "100{2[xkepty]}"},
      {"unknown at root", "<font>x</font>", "100{}"},
      {"empty page", page(""), "100{}"},
      {"white space between blocks", page("\n <p>a</p>\n\t<p>b</p>\r\n"), "100{2[a],2[b]}"},
      {"every paragraph type",
       page("<p>p</p><pre>r</pre><h1>1</h1><h2>2</h2><h3>3</h3><h4>4</h4><h5>5</h5><h6>6</h6>"
            "<dl><dt>t</dt></dl><address>a</address>"),
       "100{2[p],3[r],4[1],5[2],6[3],7[4],8[5],9[6],103{10[t]},11[a]}"},
      {"every environment type", page("<blockquote/><div/><dl><dd/></dl><ol><li/></ol><ul/>"),
       "100{101{},102{},103{104{}},105{107{}},106{}}"},
      {"text in list item", page("<ul><li>one</li><li><p>two</p></li></ul>"),
       "100{106{107{1[one]},107{2[two]}}}"},
      {"block closes implicit paragraph", page("<ul><li>a<ul><li>b</li></ul>c</li></ul>"),
       "100{106{107{1[a],106{107{1[b]}},1[c]}}}"},
      {"nested divs", page("<div><div><p>x</p></div>y</div>z"), "100{102{102{2[x]},1[y]},1[z]}"},
      {"break and rule", page("<p>a<br/>b<hr/>c</p>"), "100{2[a/b=c]}"},
      {"inline in body makes implicit", page("<b>x</b>"), "100{1[(+1)x(-1)]}"},
      {"break in body makes implicit", page("<br/>x"), "100{1[/x]}"},
      {"rule then p", page("<hr/><p>x</p>"), "100{1[=],2[x]}"},
      {"styles", page("<p><b/><i/><u/><big/><small/><sub/><sup/><tt/></p>"),
       "100{2[(+1)(-1)(+2)(-2)(+4)(-4)(+8)(-8)(+16)(-16)(+32)(-32)(+64)(-64)(+128)(-128)]}"},
      {"phrase styles",
       page("<p><abbr/><acronym/><cite/><code/><dfn/><em/><kbd/><q/><span/><samp/><strong/>"
            "<var/></p>"),
       "100{2[(+256)(-256)(+512)(-512)(+768)(-768)(+1024)(-1024)(+1280)(-1280)(+1536)(-1536)"
       "(+1792)(-1792)(+2048)(-2048)(+2304)(-2304)(+2560)(-2560)(+2816)(-2816)(+3072)(-3072)]}"},
      {"text after body dropped", "<html><head><title/></head><body>a</body>b</html>", "100{1[a]}"},
      {"text in head dropped", "<html><head>x<title/>y</head><body/></html>", "100{}"},
      {"namespaced page",
       "<html xmlns='http://www.w3.org/1999/xhtml'><head><title/></head><body><p>a</p></body>"
       "</html>",
       "100{2[a]}"},
      {"prefixed page",
       "<x:html xmlns:x='http://www.w3.org/1999/xhtml'><x:head><x:title/></x:head><x:body>"
       "<x:p>a</x:p></x:body></x:html>",
       "100{2[a]}"},
      {"case matters", page("<P>a</P>"), "100{1[a]}"},
  });
}

TEST(XHtmlReaderBlocks, WhiteSpaceCollapses) {
  runCases({
      {"leading and repeated", page("<p>  a \t\r\n b  </p>"), "100{2[a_b_]}"},
      {"also in pre", page("<pre>  a\n   b</pre>"), "100{3[a_b]}"},
      {"across styles", page("<p>a <b> b</b></p>"), "100{2[a_(+1)b(-1)]}"},
      {"not after a style at the start", page("<p><b> a</b></p>"), "100{2[(+1)a(-1)]}"},
      {"not after a break at the start", page("<p><br/> a</p>"), "100{2[/a]}"},
      {"after a break following a char", page("<p>a<br/> b</p>"), "100{2[a/_b]}"},
      {"white space alone opens nothing", page(" <b/> "), "100{1[(+1)(-1)]}"},
      {"across character runs", page("<p>a &amp; b</p>"), "100{2[a_&_b]}"},
      {"space from an entity", page("<p>a&#32;&#32;b</p>"), "100{2[a_b]}"},
  });
}

TEST(XHtmlReaderText, CharactersBecomeUtf16Units) {
  runCases({
      {"latin-1", page("<p>\xC3\xA9\xC3\xBF</p>"), "100{2[\\u00e9\\u00ff]}"},
      {"bmp", page("<p>\xE2\x82\xAC\xE2\x80\x93</p>"), "100{2[\\u20ac\\u2013]}"},
      {"html entity", page("<p>&eacute;&euro;&nbsp;</p>"), "100{2[\\u00e9\\u20ac\\u00a0]}"},
      {"character reference", page("<p>&#233;&#x263A;</p>"), "100{2[\\u00e9\\u263a]}"},
      {"latin-1 document", "<?xml version='1.0' encoding='ISO-8859-1'?>" + page("<p>\xE9</p>"),
       "100{2[\\u00e9]}"},
      // UCS-2 has no room for U+1F600: the run is read byte by byte.
      {"beyond the bmp", page("<p>a\xF0\x9F\x98\x80</p>"), "100{2[a\\u00f0\\u009f\\u0098\\u0080]}"},
  });
}

TEST(XHtmlReaderText, ConversionFailureIsAsserted) {
  auto app = Application::create();
  auto log = RecordingLogger::create();
  app->installLogger(log.get());
  XHtmlReader reader(app.get());
  Document* doc = read(reader, page("<p>\xF0\x9F\x98\x80</p>"));
  ASSERT_NE(doc, nullptr);
  EXPECT_EQ(dump(doc->getBody()), "100{2[\\u00f0\\u009f\\u0098\\u0080]}");
  doc->release();
  auto debug = log->texts(LogLevel::Debug);
  ASSERT_EQ(debug.size(), 1u);
  EXPECT_EQ(debug[0].rfind("QUV assertion failed: lo_XHtmlReader[", 0), 0u) << debug[0];
  EXPECT_NE(debug[0].find("tRes == zob::kOk"), std::string::npos) << debug[0];
}

TEST(XHtmlReaderText, TitleIsKeptAsItIs) {
  XHtmlReader reader(nullptr);
  Document* doc =
      read(reader, "<html><head><title> Caf\xC3\xA9  &amp; more</title></head><body/></html>");
  ASSERT_NE(doc, nullptr);
  EXPECT_EQ(doc->getTitle(), " Caf\xC3\xA9  & more");
  EXPECT_EQ(dump(doc->getBody()), "100{}");
  doc->release();
}

TEST(XHtmlReaderLogging, UnknownElementsAndErrorsAreDebugMessages) {
  auto app = Application::create();
  auto log = RecordingLogger::create();
  app->installLogger(log.get());
  XHtmlReader reader(app.get());
  Document* doc = read(reader, page("<p><font>x</font></p>"));
  ASSERT_NE(doc, nullptr);
  doc->release();
  EXPECT_EQ(log->records(), (std::vector<kelp::host::LogRecord>{
                                {LogLevel::Debug, "quv:kelp", "Element 'font' not supported."}}));

  log->clear();
  EXPECT_EQ(read(reader, page("<p><p/></p>")), nullptr);
  EXPECT_EQ(
      log->texts(LogLevel::Debug),
      std::vector<std::string>{"Fatal SAX error: page.xhtml[1]: Invalid paragraph nesting (<p>)."});

  log->clear();
  EXPECT_EQ(read(reader, "<html><a></b></html>"), nullptr);
  EXPECT_EQ(log->texts(LogLevel::Debug),
            (std::vector<std::string>{
                "Element 'a' not supported.",
                "Fatal SAX error: page.xhtml[1]: element start/end tag name mismatch: a vs. b"}));
  EXPECT_EQ(reader.getErrorMessage(), "");

  log->clear();
  qor::quv::xml::sax::SAXParseException e("odd", "", "x.xhtml", 7, 0);
  EXPECT_TRUE(reader.error(e));
  EXPECT_TRUE(reader.warning(e));
  EXPECT_FALSE(reader.fatalError(e));
  EXPECT_EQ(log->texts(LogLevel::Debug),
            (std::vector<std::string>{"SAX error: x.xhtml[7]: odd", "SAX warning: x.xhtml[7]: odd",
                                      "Fatal SAX error: x.xhtml[7]: odd"}));
}

TEST(XHtmlReaderBlocks, StyleEndWithoutParagraphIsAsserted) {
  auto app = Application::create();
  auto log = RecordingLogger::create();
  app->installLogger(log.get());
  XHtmlReader reader(app.get());
  // b opens an implicit paragraph, p closes it: b ends with none open.
  Document* doc = read(reader, page("<b>x<p>y</p></b>z"));
  ASSERT_NE(doc, nullptr);
  EXPECT_EQ(dump(doc->getBody()), "100{1[(+1)x],2[y],1[z]}");
  doc->release();
  auto debug = log->texts(LogLevel::Debug);
  ASSERT_EQ(debug.size(), 1u);
  EXPECT_EQ(debug[0].rfind("QUV assertion failed: lo_XHtmlReader[", 0), 0u) << debug[0];
  EXPECT_NE(debug[0].find("]: tPara != 0"), std::string::npos) << debug[0];
}

TEST(XHtmlReaderParse, ReaderIsReusableAndOutStaysNullOnFailure) {
  XHtmlReader reader(nullptr);
  Document* doc = reinterpret_cast<Document*>(0x1);
  auto* in = new std::istringstream("<html><p/></html>");
  qor::quv::xml::sax::ISInputSource source("", "bad.xhtml", in, true);
  EXPECT_FALSE(reader.parse(&source, &doc));
  EXPECT_EQ(doc, nullptr);
  EXPECT_EQ(reader.getErrorMessage(), "Invalid paragraph nesting (<p>).");

  doc = read(reader, page("<p>a</p>"));
  ASSERT_NE(doc, nullptr);
  EXPECT_EQ(dump(doc->getBody()), "100{2[a]}");
  EXPECT_EQ(reader.getErrorMessage(), "");
  EXPECT_EQ(reader.getContext(), 0);
  Document* second = read(reader, page("<p>b</p>"));
  ASSERT_NE(second, nullptr);
  EXPECT_NE(second, doc);
  EXPECT_EQ(dump(second->getBody()), "100{2[b]}");
  EXPECT_EQ(dump(doc->getBody()), "100{2[a]}");
  second->release();
  doc->release();

  EXPECT_EQ(read(reader, "<html"), nullptr);  // not well-formed
  EXPECT_EQ(read(reader, ""), nullptr);
  EXPECT_FALSE(reader.parse(nullptr, &doc));
  EXPECT_EQ(doc, nullptr);
}

TEST(XHtmlReaderParse, DeepNestingNeedsNoRecursion) {
  std::string body;
  const int depth = 100000;
  for (int i = 0; i < depth; ++i) body += "<div>";
  body += "x";
  for (int i = 0; i < depth; ++i) body += "</div>";
  XHtmlReader reader(nullptr);
  Document* doc = read(reader, page(body));
  ASSERT_NE(doc, nullptr);
  const Block* b = doc->getBody();
  int levels = 0;
  while (!isParagraphType(b->getType())) {
    b = static_cast<const EnvBlock*>(b)->getBlocks().at(0);
    ++levels;
  }
  EXPECT_EQ(levels, depth + 1);
  doc->release();
}
