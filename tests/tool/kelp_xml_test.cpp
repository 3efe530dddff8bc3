// kelp xml: check, events, format and canon, run as a process.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <vector>

#include "tool_runner.h"

using kelp::test::runKelp;
using kelp::test::TempDir;
using kelp::test::ToolResult;
using kelp::test::writeFile;

namespace {

const char kUsage[] = "see 'kelp xml --help'\n";

// A document with a bit of everything the reader reports.
const char kRich[] =
    "<?xml version=\"1.0\"?>\n"
    "<!DOCTYPE r [\n"
    "<!ELEMENT r ANY>\n"
    "<!ATTLIST r x CDATA \"d\">\n"
    "<!ENTITY e \"ee\">\n"
    "<!NOTATION n SYSTEM \"s\">\n"
    "]>\n"
    "<r xmlns=\"urn:a\" xmlns:p=\"urn:p\" p:x=\"1\" y=\"a&quot;b\">"
    "<!-- c --><?pi some data?><p:b>t&e;\tx</p:b><![CDATA[<cd>]]>&eacute;\n</r>\n";

// Nested elements: element-only content (laid out anew) and text.
const char kNested[] =
    "<catalogue  id=\"c1\">\n"
    "      <article n='A&amp;1'>  <name>Chair</name><price cur=\"EUR\">12.50</price>"
    "<empty/></article>\n"
    "  <note>a <b>bold</b> word</note>\n"
    "</catalogue>";

}  // namespace

TEST(KelpXml, CheckIsSilentOnGoodFilesAndReportsEachBadOne) {
  TempDir dir;
  std::string good = dir.file("good.xml"), bad = dir.file("bad.xml"), eof = dir.file("eof.xml");
  writeFile(good, kNested);
  writeFile(bad, "<a>\n<b>\n</c>\n</a>\n");
  writeFile(eof, "<a>\n<b/>\n");

  ToolResult r = runKelp({"xml", "check", good});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, "");

  // Every file is read; each failure is reported; the status says any failed.
  r = runKelp({"xml", "check", bad, good, eof, dir.file("missing.xml"), dir.path()});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, bad + ":3: element start/end tag name mismatch: b vs. c\n" + eof +
                       ":3: unexpected end of input\n" + dir.file("missing.xml") +
                       ": cannot open: No such file or directory\n" + dir.path() +
                       ": cannot read: Is a directory\n");
}

TEST(KelpXml, CheckReadsStandardInputAndFeatures) {
  ToolResult r = runKelp({"xml", "check", "-"}, "<a>\n\n<b a='1' a2=\"<\"/></a>");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "<stdin>:3: syntax error ('<' not allowed in attribute value)\n");

  r = runKelp({"xml", "check", "-"}, kRich);
  EXPECT_EQ(r.status, 0) << r.err;
  // Options go anywhere among the operands.
  r = runKelp({"xml", "check", "-", "--html4-entities", "--no-namespaces"}, kRich);
  EXPECT_EQ(r.status, 0) << r.err;
}

TEST(KelpXml, ErrorsInAnExternalEntityNameItsFile) {
  TempDir dir;
  std::string doc = dir.file("doc.xml");
  writeFile(doc, "<!DOCTYPE a [<!ENTITY e SYSTEM \"part.ent\">]>\n<a>&e;</a>\n");
  writeFile(dir.file("part.ent"), "<b>\n\n<c></b>");
  ToolResult r = runKelp({"xml", "check", "--load-external", doc});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, dir.file("part.ent") + ":3: element start/end tag name mismatch: c vs. b\n");

  // A missing entity is the reader's error, at the reference.
  writeFile(doc, "<!DOCTYPE a [<!ENTITY e SYSTEM \"gone.ent\">]>\n<a>\n&e;</a>\n");
  r = runKelp({"xml", "check", "--load-external", doc});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, doc + ":3: entity '" + dir.file("gone.ent") + "' doesn't exist\n");
}

TEST(KelpXml, UsageErrors) {
  TempDir dir;
  std::string f = dir.file("a.xml");
  writeFile(f, "<a/>");
  const struct {
    std::vector<std::string> args;
    std::string message;
  } cases[] = {
      {{"xml"}, "missing subcommand (one of check, events, format, canon)"},
      {{"xml", "lint", f}, "unknown subcommand 'lint' (one of check, events, format, canon)"},
      {{"xml", "check"}, "missing operand"},
      {{"xml", "check", "--strict", f}, "unknown option '--strict'"},
      {{"xml", "check", "--html4-entities=yes", f}, "option '--html4-entities' takes no value"},
      {{"xml", "events"}, "missing operand"},
      {{"xml", "events", f, "b.xml"}, "unexpected operand 'b.xml'"},
      {{"xml", "canon", f, "-"}, "unexpected operand '-'"},
      {{"xml", "canon", "--indent", "2", f}, "unknown option '--indent'"},
      {{"xml", "format"}, "missing operand"},
      {{"xml", "format", f, "--indent", "2", "c.xml"}, "unexpected operand 'c.xml'"},
      {{"xml", "format", f, "--indent"}, "option '--indent' needs a value"},
      {{"xml", "format", "--indent=x", f},
       "invalid indentation 'x' (a number from 0 to 32 expected)"},
      {{"xml", "format", "--indent", "33", f},
       "invalid indentation '33' (a number from 0 to 32 expected)"},
      {{"xml", "format", "--indent=-1", f},
       "invalid indentation '-1' (a number from 0 to 32 expected)"},
      {{"xml", "format", "--no-namespaces", f}, "unknown option '--no-namespaces'"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.message);
    ToolResult r = runKelp(c.args);
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, "kelp xml: " + c.message + "\n" + kUsage);
  }
}

TEST(KelpXml, HelpStartsWithTheUsageLines) {
  for (const char* flag : {"--help", "-h"}) {
    ToolResult r = runKelp({"xml", "format", flag});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out.rfind("usage: kelp xml check [--html4-entities] [--no-namespaces] "
                          "[--load-external] [--json] FILE...\n"
                          "       kelp xml events ",
                          0),
              0u);
  }
  ToolResult r = runKelp({"help", "--man"});
  EXPECT_NE(r.out.find(".SH \"KELP XML\"\n"), std::string::npos);
}

TEST(KelpXml, EventsOneLinePerEvent) {
  ToolResult r = runKelp({"xml", "events", "-"}, kRich);
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(r.out,
            "startDocument\n"
            "startDTD r \"\" \"\"\n"
            "elementDecl r \"ANY\"\n"
            "attributeDecl r x \"CDATA\" \"\" \"d\"\n"
            "internalEntityDecl e \"ee\"\n"
            "notationDecl n \"\" \"s\"\n"
            "endDTD\n"
            "startPrefixMapping \"\" \"urn:a\"\n"
            "startPrefixMapping \"p\" \"urn:p\"\n"
            "startElement r {urn:a} [xmlns=\"urn:a\" {http://www.w3.org/2000/xmlns/}xmlns:p="
            "\"urn:p\" {urn:p}p:x=\"1\" y=\"a\\\"b\"]\n"
            "comment \" c \"\n"
            "processingInstruction pi \"some data\"\n"
            "startElement p:b {urn:p}\n"
            "characters \"t\"\n"
            "startEntity e\n"
            "characters \"ee\"\n"
            "endEntity e\n"
            "characters \"\\tx\"\n"
            "endElement p:b {urn:p}\n"
            "startCDATA\n"
            "characters \"<cd>\"\n"
            "endCDATA\n"
            "skippedEntity eacute\n"
            "characters \"\\n\"\n"
            "endElement r {urn:a}\n"
            "endPrefixMapping \"p\"\n"
            "endPrefixMapping \"\"\n"
            "endDocument\n");
}

TEST(KelpXml, EventsOfTheDocumentType) {
  ToolResult r = runKelp({"xml", "events", "-"},
                         "<!DOCTYPE d PUBLIC \"-//x//y\" \"d.dtd\" [\n"
                         "<!NOTATION gif PUBLIC \"-//g\">\n"
                         "<!ENTITY u SYSTEM \"x.gif\" NDATA gif>\n"
                         "<!ENTITY % pe \"x\">\n"
                         "<!ENTITY ext PUBLIC \"-//p\" \"e.xml\">\n"
                         "<!ATTLIST d k (a|b) #REQUIRED>\n"
                         "<!ELEMENT d (a,(b|c)*)>\n"
                         "]>\n"
                         "<d><?t?>&amp;&#x41;</d>");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out,
            "startDocument\n"
            "startDTD d \"-//x//y\" \"d.dtd\"\n"
            "notationDecl gif \"-//g\" \"\"\n"
            "unparsedEntityDecl u \"\" \"x.gif\" gif\n"
            "internalEntityDecl %pe \"x\"\n"
            "externalEntityDecl ext \"-//p\" \"e.xml\"\n"
            "attributeDecl d k \"(a|b)\" \"#REQUIRED\" \"\"\n"
            "elementDecl d \"(a,(b|c)*)\"\n"
            "endDTD\n"
            "startElement d\n"
            "processingInstruction t \"\"\n"
            "characters \"&\"\n"
            "characters \"A\"\n"
            "endElement d\n"
            "endDocument\n");
}

TEST(KelpXml, EventsEscapingAndOptions) {
  // Control characters, backslashes and braces stay on one line.
  ToolResult r =
      runKelp({"xml", "events", "-"}, "<a xmlns='urn:{x}\\' b='&#9;\r'>\\&#127;&#13;&#233;</a>");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out,
            "startDocument\n"
            "startPrefixMapping \"\" \"urn:{x}\\\\\"\n"
            "startElement a {urn:{x\\}\\\\} [xmlns=\"urn:{x}\\\\\" b=\"\\t\\n\"]\n"
            "characters \"\\\\\"\n"
            "characters \"\\x7F\"\n"
            "characters \"\\r\"\n"
            "characters \"\xC3\xA9\"\n"
            "endElement a {urn:{x\\}\\\\}\n"
            "endPrefixMapping \"\"\n"
            "endDocument\n");

  // HTML 4 entities, and names left whole without namespaces.
  r = runKelp({"xml", "events", "--html4-entities", "--no-namespaces", "-"},
              "<p:a xmlns:p='u' p:x='1'>&eacute;</p:a>");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out,
            "startDocument\n"
            "startElement p:a [p:x=\"1\"]\n"
            "characters \"\xC3\xA9\"\n"
            "endElement p:a\n"
            "endDocument\n");
}

TEST(KelpXml, EventsUpToAnError) {
  ToolResult r = runKelp({"xml", "events", "-"}, "<a>\n<b>x</a>");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out,
            "startDocument\n"
            "startElement a\n"
            "characters \"\\n\"\n"
            "startElement b\n"
            "characters \"x\"\n"
            "endDocument\n");
  EXPECT_EQ(r.err, "<stdin>:2: element start/end tag name mismatch: b vs. a\n");
}

TEST(KelpXml, FormatIndentsElementContentAndKeepsText) {
  ToolResult r = runKelp({"xml", "format", "-"}, kNested);
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(r.out,
            "<?xml version='1.0' encoding='UTF-8'?>\n"
            "<catalogue id='c1'>\n"
            "  <article n='A&amp;1'>\n"
            "    <name>Chair</name>\n"
            "    <price cur='EUR'>12.50</price>\n"
            "    <empty/>\n"
            "  </article>\n"
            "  <note>a <b>bold</b> word</note>\n"
            "</catalogue>\n");

  // Four columns a level; eight make a tab, nine a tab and a space.
  r = runKelp({"xml", "format", "--indent", "4", "-"}, "<a><b><c/></b></a>");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out,
            "<?xml version='1.0' encoding='UTF-8'?>\n<a>\n    <b>\n\t<c/>\n    </b>\n</a>\n");
  r = runKelp({"xml", "format", "--indent=9", "-"}, "<a><b/></a>");
  EXPECT_EQ(r.out, "<?xml version='1.0' encoding='UTF-8'?>\n<a>\n\t <b/>\n</a>\n");
  // No indentation: white space stays as it is.
  r = runKelp({"xml", "format", "--indent=0", "-"}, "<a><b/>\n </a>");
  EXPECT_EQ(r.out, "<?xml version='1.0' encoding='UTF-8'?>\n<a><b/>\n </a>\n");

  // Text-only and mixed content come out exactly, CDATA sections included.
  r = runKelp({"xml", "format", "-"}, "<a>  x &lt; <![CDATA[<y>]]>\n <b> </b></a>");
  EXPECT_EQ(r.out,
            "<?xml version='1.0' encoding='UTF-8'?>\n<a>  x &lt; <![CDATA[<y>]]>\n <b> </b></a>\n");

  // Indentation stops growing 40 levels down: 80 columns are ten tabs.
  std::string deep, expected = "<?xml version='1.0' encoding='UTF-8'?>\n";
  for (int i = 0; i < 45; ++i) deep += "<e>";
  for (int i = 0; i < 45; ++i) deep += "</e>";
  r = runKelp({"xml", "format", "-"}, deep);
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("\n" + std::string(10, '\t') + "<e>\n" + std::string(10, '\t') + "<e>"),
            std::string::npos);
  EXPECT_EQ(r.out.find(std::string(11, '\t')), std::string::npos);
}

TEST(KelpXml, FormatKeepsWhatTheReaderReports) {
  // Document type with its internal subset, comments and PIs in and out of
  // the element, CDATA, skipped entities, attribute order and white space.
  const char doc[] =
      "<?xml version='1.0'?>\n<!-- before -->\n"
      "<!DOCTYPE r SYSTEM 'r.dtd' [\n<!ELEMENT r ANY>\n<!ATTLIST r x CDATA \"d&amp;\">\n"
      "<!ENTITY e \"&#38;#38;\">\n<!ENTITY % p 'q'>\n<!NOTATION n PUBLIC 'pn'>\n"
      "<!ENTITY u SYSTEM 'u.bin' NDATA n>\n<?dtd pi?>\n]>\n"
      "<r z='1' a='t&#9;b&#10;c&#13;d' m='1'>\n<!--c--><?p d?>\n<b>a&#13;b<![CDATA[x]]]]><![CDATA[>y]]>"
      "&e;&skipped;</b>\n</r>\n<?after?>\n";
  ToolResult r = runKelp({"xml", "format", "-"}, doc);
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out,
            "<?xml version='1.0' encoding='UTF-8'?>\n<!-- before -->\n"
            "<!DOCTYPE r SYSTEM 'r.dtd' [\n<!ELEMENT r ANY>\n<!ATTLIST r x CDATA \"d&#38;\">\n"
            "<!ENTITY e \"&#38;#38;\">\n<!ENTITY % p \"q\">\n<!NOTATION n PUBLIC \"pn\">\n"
            "<!ENTITY u SYSTEM \"u.bin\" NDATA n>\n<?dtd pi?>\n]>\n"
            "<r z='1' a='t&#9;b&#10;c&#13;d' m='1'>\n  <!--c-->\n  <?p d?>\n"
            "  <b>a&#13;b<![CDATA[x]]]]><![CDATA[>y]]>&e;&skipped;</b>\n</r>\n<?after?>\n");
  // Without layout the copy reads back as the same events.
  ToolResult copy = runKelp({"xml", "format", "--indent=0", "-"}, doc);
  EXPECT_EQ(runKelp({"xml", "events", "-"}, copy.out).out, runKelp({"xml", "events", "-"}, doc).out);
}

TEST(KelpXml, FormatKeepsNamesAsWritten) {
  // Prefixes, namespace declarations and names the namespace rules would
  // leave without a local name.
  ToolResult r =
      runKelp({"xml", "format", "-"}, "<p:a xmlns:p='u' xmlns='d'><p:b x:y='1'/><c :='2'/></p:a>");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out,
            "<?xml version='1.0' encoding='UTF-8'?>\n"
            "<p:a xmlns:p='u' xmlns='d'>\n"
            "  <p:b x:y='1'/>\n"
            "  <c :='2'/>\n"
            "</p:a>\n");
}

TEST(KelpXml, FormatIsStableAndReadsBack) {
  TempDir dir;
  std::string once = dir.file("once.xml");
  ToolResult r = runKelp({"xml", "format", "-"}, kNested);
  ASSERT_EQ(r.status, 0) << r.err;
  writeFile(once, r.out);
  ToolResult twice = runKelp({"xml", "format", once});
  EXPECT_EQ(twice.status, 0) << twice.err;
  EXPECT_EQ(twice.out, r.out);
  // The text of the document is untouched: same canonical form once the
  // indentation white space is taken out of element content.
  ToolResult a = runKelp({"xml", "canon", "-"}, "<a>\n  <b>x y</b>\n</a>");
  ToolResult b = runKelp({"xml", "format", "-"}, "<a><b>x y</b></a>");
  EXPECT_EQ(a.out, "<a>&#10;  <b>x y</b>&#10;</a>");
  EXPECT_EQ(b.out, "<?xml version='1.0' encoding='UTF-8'?>\n<a>\n  <b>x y</b>\n</a>\n");
}

TEST(KelpXml, FormatEncodings) {
  ToolResult r =
      runKelp({"xml", "format", "--encoding", "ISO-8859-1", "-"}, "<a><b>\xC3\xA9</b></a>");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "<?xml version='1.0' encoding='ISO-8859-1'?>\n<a>\n  <b>\xE9</b>\n</a>\n");
  // The declared encoding is kept; the reader decodes it.
  TempDir dir;
  const std::string latin1 = r.out;
  writeFile(dir.file("l1.xml"), latin1);
  r = runKelp({"xml", "format", dir.file("l1.xml")});
  EXPECT_EQ(r.out, latin1);
  r = runKelp({"xml", "format", "--encoding", "UTF-8", dir.file("l1.xml")});
  EXPECT_EQ(r.out, "<?xml version='1.0' encoding='UTF-8'?>\n<a>\n  <b>\xC3\xA9</b>\n</a>\n");
  // What the encoding cannot hold becomes a character reference.
  r = runKelp({"xml", "format", "--encoding", "ASCII", "-"},
              "<a o='Zo\xC3\xAB'>\xC3\xAB\xE2\x82\xAC<!--\xC3\xAB--></a>");
  EXPECT_EQ(r.out, "<?xml version='1.0' encoding='ASCII'?>\n<a o='Zo&#235;'>&#235;&#8364;<!----></a>\n");

  // UTF-8 text whatever the locale.
  r = runKelp({"xml", "format", "-"}, "<a>\xE2\x82\xAC</a>", {{"LC_ALL", "C"}});
  EXPECT_EQ(r.out, "<?xml version='1.0' encoding='UTF-8'?>\n<a>\xE2\x82\xAC</a>\n");

  r = runKelp({"xml", "format", "--encoding", "NO-SUCH-CHARSET", "-"}, "<a/>");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, "kelp xml: unknown encoding 'NO-SUCH-CHARSET'\n");
  r = runKelp({"xml", "format", "--encoding=", "-"}, "<a/>");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "kelp xml: unknown encoding ''\n");
}

TEST(KelpXml, FormatFailures) {
  TempDir dir;
  const struct {
    std::string input;
    std::string err;
  } cases[] = {
      {"<a>\n<b>\n</a>", "<stdin>:3: element start/end tag name mismatch: b vs. a\n"},
      {"", "<stdin>:1: unexpected end of input\n"},
      {"<?xml version='1.0' standalone='maybe'?><a/>",
       "<stdin>:1: syntax error (standalone must be either 'yes' or 'no')\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.input);
    ToolResult r = runKelp({"xml", "format", "-"}, c.input);
    EXPECT_EQ(r.status, 1);  // the output stops where the error was found
    EXPECT_EQ(r.err, c.err);
  }
  ToolResult r = runKelp({"xml", "format", dir.file("none.xml")});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, dir.file("none.xml") + ": cannot open: No such file or directory\n");
}

TEST(KelpXml, CanonicalForm) {
  ToolResult r = runKelp({"xml", "canon", "-"}, kRich);
  EXPECT_EQ(r.status, 0) << r.err;
  const std::string body =
      "<r p:x=\"1\" xmlns=\"urn:a\" xmlns:p=\"urn:p\" y=\"a&quot;b\"><?pi some data?>"
      "<p:b>tee&#9;x</p:b>&lt;cd&gt;&#10;</r>";
  EXPECT_EQ(r.out, body);
  r = runKelp({"xml", "canon", "--notations", "-"}, kRich);
  EXPECT_EQ(r.out, "<!DOCTYPE r [\n<!NOTATION n SYSTEM 's'>\n]>\n" + body);
  r = runKelp({"xml", "canon", "--html4-entities", "-"}, "<a>&eacute;<b/></a>");
  EXPECT_EQ(r.out, "<a>\xC3\xA9<b></b></a>");

  r = runKelp({"xml", "canon", "-"}, "<a><b></a>");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "<stdin>:1: element start/end tag name mismatch: b vs. a\n");
}

TEST(KelpXml, W3CCanonicalForm) {
  // Expected forms worked out by hand from the rules of Canonical XML 1.0.
  const struct {
    const char* name;
    const char* input;
    const char* plain;     // without comments
    const char* comments;  // with comments; null: as plain
  } cases[] = {
      {"outside the document element",
       "<?xml version=\"1.0\"?>\n\n<?style   href=\"d\"\n  t=\"x\"  ?>\n\n"
       "<!DOCTYPE doc SYSTEM \"doc.dtd\">\n<doc>Hi<!-- c1 --></doc>\n\n<?nodata   ?>\n"
       "<!-- c2 -->\n\n<!-- c3 -->",
       "<?style href=\"d\"\n  t=\"x\"  ?>\n<doc>Hi</doc>\n<?nodata?>",
       "<?style href=\"d\"\n  t=\"x\"  ?>\n<doc>Hi<!-- c1 --></doc>\n<?nodata?>\n<!-- c2 -->\n"
       "<!-- c3 -->"},
      {"superfluous declarations and attribute order",
       "<a xmlns=\"urn:d\" xmlns:p=\"urn:p\"><b xmlns=\"urn:d\" xmlns:q=\"urn:q\" "
       "xmlns:p=\"urn:p2\" p:y=\"1\" y=\"2\"><c xmlns=\"\"/></b></a>",
       "<a xmlns=\"urn:d\" xmlns:p=\"urn:p\"><b xmlns:p=\"urn:p2\" xmlns:q=\"urn:q\" y=\"2\" "
       "p:y=\"1\"><c xmlns=\"\"></c></b></a>",
       nullptr},
      {"attributes by namespace URI, not prefix",
       "<e xmlns:z='urn:a' xmlns:a='urn:b' a:x='1' z:x='2' b='3'/>",
       "<e xmlns:a=\"urn:b\" xmlns:z=\"urn:a\" b=\"3\" z:x=\"2\" a:x=\"1\"></e>", nullptr},
      {"an empty default where none was in scope", "<r xmlns=''><s xmlns:p='u'/></r>",
       "<r><s xmlns:p=\"u\"></s></r>", nullptr},
      {"escaping",
       "<a t='&#9;&#10;&#13;&quot;&lt;&gt;\"&amp;'>&#13;&lt;&gt;&amp;\"'<![CDATA[<x>]]></a>",
       "<a t=\"&#x9;&#xA;&#xD;&quot;&lt;>&quot;&amp;\">&#xD;&lt;&gt;&amp;\"'&lt;x&gt;</a>", nullptr},
      {"entities expanded, the document type left out",
       "<!DOCTYPE a [<!ENTITY e 'x&#38;#38;y'><?dpi d?><!--dc-->]><a>&e;</a>",
       "<a>x&amp;y</a>", nullptr},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    ToolResult r = runKelp({"xml", "canon", "--c14n", "-"}, c.input);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, c.plain);
    r = runKelp({"xml", "canon", "--c14n", "--with-comments", "-"}, c.input);
    EXPECT_EQ(r.out, c.comments ? c.comments : c.plain);
  }
  ToolResult r = runKelp({"xml", "canon", "--c14n", "--notations", "-"}, "<a/>");
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.err, "kelp xml: --c14n goes with neither --notations nor --no-namespaces\n" +
                       std::string(kUsage));
  r = runKelp({"xml", "canon", "--with-comments", "-"}, "<a/>");
  EXPECT_EQ(r.status, 2);
}

TEST(KelpXml, LargeInputsShowNoBarWithoutATerminal) {
  TempDir dir;
  std::string big = dir.file("big.xml");
  std::string text = "<list>\n";
  while (text.size() < (5u << 20)) text += "  <item n='1'>some text &amp; more</item>\n";
  text += "</list>\n";
  writeFile(big, text);
  ToolResult r = runKelp({"xml", "check", big});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, "");
}

namespace {

// Runs kelp with standard error on a pseudo-terminal; returns what the
// terminal showed, and the exit status in *status.
std::string runOnTerminal(const std::vector<std::string>& args, int* status) {
  *status = -1;
  int master = posix_openpt(O_RDWR | O_NOCTTY);
  if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) return "no pty";
  std::string slave = ptsname(master);
  pid_t pid = fork();
  if (pid == 0) {
    int fd = open(slave.c_str(), O_RDWR | O_NOCTTY);
    int devnull = open("/dev/null", O_RDWR);
    if (fd < 0 || devnull < 0) _exit(127);
    dup2(devnull, 0);
    dup2(devnull, 1);
    dup2(fd, 2);
    std::vector<char*> argv;
    std::string tool = KELP_TOOL_PATH;
    argv.push_back(tool.data());
    std::vector<std::string> copy = args;
    for (std::string& a : copy) argv.push_back(a.data());
    argv.push_back(nullptr);
    execv(tool.c_str(), argv.data());
    _exit(127);
  }
  std::string shown;
  char buffer[4096];
  for (;;) {
    ssize_t n = read(master, buffer, sizeof buffer);
    if (n > 0) {
      shown.append(buffer, static_cast<std::size_t>(n));
      continue;
    }
    if (n < 0 && errno == EINTR) continue;
    break;  // EIO once the child has closed its side
  }
  int wstatus = 0;
  if (pid > 0 && waitpid(pid, &wstatus, 0) == pid && WIFEXITED(wstatus))
    *status = WEXITSTATUS(wstatus);
  close(master);
  return shown;
}

}  // namespace

TEST(KelpXml, LargeInputsShowAProgressBarOnATerminal) {
  TempDir dir;
  std::string big = dir.file("big.xml"), small = dir.file("small.xml");
  std::string text = "<list>\n";
  while (text.size() < (5u << 20)) text += "  <item n='1'>some text &amp; more</item>\n";
  writeFile(big, text + "</list>\n");
  writeFile(small, "<list/>");

  int status = -1;
  std::string shown = runOnTerminal({"xml", "check", big}, &status);
  EXPECT_EQ(status, 0);
  // The bar moves while the input is read, not only at the end, and is
  // cleared afterwards.
  EXPECT_EQ(shown.rfind("\r" + big + " [", 0), 0u) << shown.substr(0, 200);
  std::vector<int> percents;
  for (std::size_t at = shown.find("] "); at != std::string::npos; at = shown.find("] ", at + 1))
    percents.push_back(std::atoi(shown.c_str() + at + 2));
  ASSERT_GE(percents.size(), 20u);
  EXPECT_LT(percents.front(), 5);
  EXPECT_EQ(percents.back(), 100);
  for (std::size_t i = 1; i < percents.size(); ++i) EXPECT_GT(percents[i], percents[i - 1]);
  // Cleared at the end: the last thing shown is a carriage return.
  EXPECT_EQ(shown.back(), '\r');

  // An error after the bar starts on a clean line.
  writeFile(big, text + "</lost>\n");
  shown = runOnTerminal({"xml", "check", big}, &status);
  EXPECT_EQ(status, 1);
  std::string message = big + ":";
  std::size_t at = shown.rfind(message);
  ASSERT_NE(at, std::string::npos) << shown;
  EXPECT_GT(at, 0u);
  EXPECT_EQ(shown[at - 1], '\r');
  EXPECT_NE(shown.find("element start/end tag name mismatch: list vs. lost", at),
            std::string::npos);

  shown = runOnTerminal({"xml", "check", small}, &status);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(shown, "");
}

// External entities: read only on request, and only regular files.
TEST(KelpXml, ExternalEntitiesOnlyOnRequest) {
  TempDir dir;
  writeFile(dir.file("secret.txt"), "root:x:0:0");
  std::string doc = dir.file("doc.xml");
  writeFile(doc, "<!DOCTYPE a [<!ENTITY x SYSTEM \"secret.txt\">]><a v=\"&x;\">&x;</a>");
  for (const char* command : {"check", "events", "format", "canon"}) {
    SCOPED_TRACE(command);
    ToolResult r = runKelp({"xml", command, doc});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out.find("root:x"), std::string::npos) << r.out;
  }
  ToolResult r = runKelp({"xml", "events", "--load-external", doc});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_NE(
      r.out.find("startElement a [v=\"root:x:0:0\"]\nstartEntity x\ncharacters \"root:x:0:0\""),
      std::string::npos)
      << r.out;
  EXPECT_NE(runKelp({"xml", "format", "--load-external", doc}).out.find(">root:x:0:0</a>"),
            std::string::npos);

  // Devices, FIFOs and directories are refused without blocking.
  ASSERT_EQ(mkfifo(dir.file("fifo").c_str(), 0600), 0);
  for (const char* target : {"/dev/zero", "fifo", "."}) {
    SCOPED_TRACE(target);
    writeFile(doc, std::string("<!DOCTYPE a [<!ENTITY x SYSTEM \"") + target + "\">]>\n<a>&x;</a>");
    r = runKelp({"xml", "check", "--load-external", doc});
    EXPECT_EQ(r.status, 1);
    std::string path = target[0] == '/' ? std::string(target) : dir.file(target);
    EXPECT_EQ(r.err, doc + ":2: entity '" + path + "' is not a regular file\n");
  }

  // The page reader follows the same rule.
  writeFile(doc,
            "<!DOCTYPE html [<!ENTITY x SYSTEM \"secret.txt\">]>"
            "<html><head><title>t</title></head><body><p>&x;</p></body></html>");
  EXPECT_EQ(runKelp({"xhtml", "text", doc}).out.find("root:x"), std::string::npos);
  EXPECT_NE(runKelp({"xhtml", "text", "--load-external", doc}).out.find("root:x:0:0"),
            std::string::npos);
}

// Endless tokens end at the reader's token limit (64 MiB), within a memory
// limit of 512 MiB, with exit status 1 and one message.
TEST(KelpXml, EndlessTokensEndAtTheLimit) {
#if defined(__SANITIZE_ADDRESS__)
  const std::string limit;  // the sanitizer's shadow memory needs more address space
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
  const std::string limit;
#else
  const std::string limit = "ulimit -v 524288; ";
#endif
#else
  const std::string limit = "ulimit -v 524288; ";
#endif
  struct Case {
    const char* name;
    const char* stream;
  };
  const Case cases[] = {
      {"text", "(echo '<r>'; yes aaaa)"},
      {"comment", "(echo '<r><!--'; yes aaaa)"},
      {"attribute value", "(printf '<r a=\"'; yes aaaa)"},
      {"name", "(printf '<r'; yes a | tr -d '\\n')"},
  };
  TempDir dir;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::string err = dir.file("err");
    std::string command = std::string(c.stream) + " | head -c 200000000 | (" + limit + "LC_ALL=C " +
                          KELP_TOOL_PATH + " xml check - 2>" + err + "; echo $? >" +
                          dir.file("status") + ")";
    ASSERT_EQ(std::system(command.c_str()), 0);
    EXPECT_EQ(kelp::test::readFile(dir.file("status")), "1\n");
    std::string message = kelp::test::readFile(err);
    EXPECT_NE(message.find(": token longer than the limit of 67108864 bytes\n"), std::string::npos)
        << message;
    EXPECT_EQ(message.find('\n'), message.size() - 1) << message;
  }
}
