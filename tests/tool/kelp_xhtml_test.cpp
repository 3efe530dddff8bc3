// kelp xhtml: rendering restricted XHTML as plain text and HTML, run as a
// process.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tool_runner.h"

using kelp::test::runKelp;
using kelp::test::TempDir;
using kelp::test::ToolResult;
using kelp::test::writeFile;

namespace {

const char kPage[] =
    "<html>\n"
    "<head><title>Menu</title></head>\n"
    "<body>\n"
    "<h1>Caf&eacute; menu</h1>\n"
    "<p>Fresh <b>bread</b> and <q>good</q>   coffee.<br/>Daily.</p>\n"
    "<ul><li>one</li><li><p>two &amp; more</p></li></ul>\n"
    "<dl><dt>term</dt><dd>desc</dd></dl>\n"
    "<hr/>\n"
    "<pre>a   b</pre>\n"
    "</body>\n"
    "</html>\n";

std::string page(const std::string& body) {
  return "<html><head><title>t</title></head>\n<body>\n" + body + "\n</body></html>";
}

}  // namespace

TEST(KelpXhtml, PlainText) {
  TempDir dir;
  writeFile(dir.file("page.xhtml"), kPage);
  ToolResult r = runKelp({"xhtml", "text", dir.file("page.xhtml")});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err, "");
  // Latin-1 characters come out as UTF-8.
  EXPECT_EQ(r.out,
            "Caf\xC3\xA9 menu\n"
            "Fresh *bread* and \"good\" coffee.\n"
            "Daily.\n"
            "- one\n"
            "- two & more\n"
            "term -- desc\n"
            "-----------\n"
            "a b\n");
}

TEST(KelpXhtml, Html) {
  ToolResult r = runKelp({"xhtml", "html", "-"}, kPage);
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out,
            "<H1>Caf&eacute; menu</H1>\n"
            "<P>Fresh <B>bread</B> and <Q>good</Q> coffee.<BR>Daily.\n"
            "<UL>\n"
            "<LI>one\n"
            "<LI>\n"
            "<P>two &amp; more\n"
            "</UL>\n"
            "<DL>\n"
            "<DT>term\n"
            "<DD>desc\n"
            "</DL>\n"
            "<HR>\n"
            "<PRE>a b</PRE>\n");

  r = runKelp({"xhtml", "html", "-"}, page("&#8240; <em>x</em> &lt;"));
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "&permil; <EM>x</EM> &lt; \n");
}

TEST(KelpXhtml, FaultsAreReportedWithFileAndLine) {
  TempDir dir;
  const struct {
    std::string input;
    std::string message;
  } cases[] = {
      {page("<p><p>x</p></p>"), ":3: Invalid paragraph nesting (<p>)."},
      {page("<p>\n<h2>x</h2></p>"), ":4: Invalid paragraph nesting (<h?>)."},
      {"<html>\n<body/></html>", ":2: <head> element expected prior to <body> element."},
      {"<html><head>\n</head><body/></html>", ":2: <title> element missing."},
      {"<html><head><title>t</title>\n<b>x</b></head></html>", ":2: <b> outside of <body>."},
      {"<html><head><title>t</title></head></html>", ":1: <body> element missing."},
      {"<body/>", ":1: <body> must be child of <html>."},
      {page("<p>x</b>"), ":3: element start/end tag name mismatch: p vs. b"},
      {"", ":1: unexpected end of input"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.message);
    std::string file = dir.file("bad.xhtml");
    writeFile(file, c.input);
    ToolResult r = runKelp({"xhtml", "text", file});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, file + c.message + "\n");
    r = runKelp({"xhtml", "html", "-"}, c.input);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "<stdin>" + c.message + "\n");
  }
}

TEST(KelpXhtml, UnreadableInputsAndUsage) {
  TempDir dir;
  ToolResult r = runKelp({"xhtml", "text", dir.file("none.xhtml")});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, dir.file("none.xhtml") + ": cannot open: No such file or directory\n");
  r = runKelp({"xhtml", "html", dir.path()});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, dir.path() + ": cannot read: Is a directory\n");

  const struct {
    std::vector<std::string> args;
    std::string message;
  } cases[] = {
      {{"xhtml"}, "missing subcommand (one of text, html)"},
      {{"xhtml", "pdf", "a"}, "unknown subcommand 'pdf' (one of text, html)"},
      {{"xhtml", "text"}, "missing operand"},
      {{"xhtml", "html", "a", "b"}, "unexpected operand 'b'"},
      {{"xhtml", "text", "--wrap", "a"}, "unknown option '--wrap'"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.message);
    r = runKelp(c.args);
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, "kelp xhtml: " + c.message + "\nsee 'kelp xhtml --help'\n");
  }

  r = runKelp({"xhtml", "--help"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out.rfind("usage: kelp xhtml text [--load-external] FILE\n"
                        "       kelp xhtml html [--load-external] FILE\n",
                        0),
            0u);
}
