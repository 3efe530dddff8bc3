// Canonical XML from the reader's events and from direct calls.
#include <gtest/gtest.h>
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <kelp/xml/sax/sax_SimpleXMLReader.h>
#include <kelp/xml/xml_CanonicalWriter.h>

#include <sstream>
#include <string>

using qor::quv::xml::CanonicalWriter;
using namespace qor::quv::xml::sax;

namespace {

// Parses text and returns the canonical form; ok tells whether parse
// succeeded.
std::string canon(const std::string& text, bool* ok = nullptr, bool secondForm = false) {
  std::string out;
  CanonicalWriter writer(&out);
  writer.setSecondForm(secondForm);
  SimpleXMLReader reader(nullptr);
  reader.setFeature(SimpleXMLReader::UseUTF8, true);
  reader.setContentHandler(&writer);
  reader.setDTDHandler(&writer);
  reader.setLexicalHandler(&writer);
  ISInputSource source("", "mem", new std::istringstream(text), true);
  bool result = reader.parse(&source);
  if (ok) *ok = result;
  return out;
}

}  // namespace

TEST(CanonicalWriter, Documents) {
  struct Case {
    const char* in;
    const char* out;
  };
  const Case cases[] = {
      {"<a/>", "<a></a>"},
      {"<?xml version='1.0'?>\n<a>x</a>\n", "<a>x</a>"},
      {"<a z='1' b=\"2\" a='3'/>", "<a a=\"3\" b=\"2\" z=\"1\"></a>"},
      {"<a>&amp;&lt;&gt;\"'</a>", "<a>&amp;&lt;&gt;&quot;'</a>"},
      {"<a>\t\r\n\r</a>", "<a>&#9;&#10;&#10;</a>"},  // line ends become line feeds
      {"<a>&#13;&#9;&#10;</a>", "<a>&#13;&#9;&#10;</a>"},
      {"<a v='&#9;&lt;&quot;&amp;&#13;'/>", "<a v=\"&#9;&lt;&quot;&amp;&#13;\"></a>"},
      {"<a><![CDATA[<&>]]></a>", "<a>&lt;&amp;&gt;</a>"},
      {"<!-- c --><a><!-- d --></a><!-- e -->", "<a></a>"},
      {"<?p?><a><?q  data ?></a><?r x?>", "<?p ?><a><?q data ?></a><?r x?>"},
      {"<a><b/><c>\xC3\xA9</c></a>", "<a><b></b><c>\xC3\xA9</c></a>"},
      {"<x:a xmlns:x='u' x:b='1' c='2'/>", "<x:a c=\"2\" x:b=\"1\" xmlns:x=\"u\"></x:a>"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.in);
    bool ok = false;
    EXPECT_EQ(canon(c.in, &ok), c.out);
    EXPECT_TRUE(ok);
  }
}

TEST(CanonicalWriter, AttributesSortByteWise) {
  // Upper case before lower case, a prefix before its extensions, and a
  // non-ASCII name (UTF-8 lead byte above 0x7F) last.
  EXPECT_EQ(canon("<a \xC3\xA9='4' ab='3' a='2' B='1'/>"),
            "<a B=\"1\" a=\"2\" ab=\"3\" \xC3\xA9=\"4\"></a>");
}

TEST(CanonicalWriter, StopsWithTheDocument) {
  bool ok = true;
  EXPECT_EQ(canon("<a><b></a>", &ok), "<a><b>");
  EXPECT_FALSE(ok);
}

TEST(CanonicalWriter, EscapeHelper) {
  std::string s = "x";
  CanonicalWriter::escape("a&b<c>d\"e\tf\ng\rh'", &s);
  EXPECT_EQ(s, "xa&amp;b&lt;c&gt;d&quot;e&#9;f&#10;g&#13;h'");
  CanonicalWriter::escape(nullptr, &s);
  CanonicalWriter::escape("", &s);
  EXPECT_EQ(s, "xa&amp;b&lt;c&gt;d&quot;e&#9;f&#10;g&#13;h'");
}

TEST(CanonicalWriter, SecondFormListsNotationsSorted) {
  std::string out;
  CanonicalWriter w(&out);
  w.setSecondForm(true);
  EXPECT_TRUE(w.getSecondForm());
  ASSERT_TRUE(w.startDocument());
  EXPECT_TRUE(w.processingInstruction("pi", "x"));
  EXPECT_TRUE(w.startDTD("doc", "", "doc.dtd"));
  EXPECT_TRUE(w.processingInstruction("inside", "dtd"));  // written where it stands
  EXPECT_TRUE(w.notationDecl("z", "", "z.txt"));
  EXPECT_TRUE(w.notationDecl("b", "-//pub//b", ""));
  EXPECT_TRUE(w.notationDecl("a", "-//pub//a", "a.sys"));
  EXPECT_TRUE(w.endDTD());
  EXPECT_TRUE(w.startElement("", "doc", "doc", Attributes()));
  EXPECT_TRUE(w.endElement("", "doc", "doc"));
  EXPECT_TRUE(w.endDocument());
  EXPECT_EQ(out,
            "<?pi x?><?inside dtd?><!DOCTYPE doc [\n"
            "<!NOTATION a PUBLIC '-//pub//a' 'a.sys'>\n"
            "<!NOTATION b PUBLIC '-//pub//b'>\n"
            "<!NOTATION z SYSTEM 'z.txt'>\n"
            "]>\n"
            "<doc></doc>");
}

TEST(CanonicalWriter, FirstFormAndEmptyNotationListWriteNoDocType) {
  for (bool second : {false, true}) {
    SCOPED_TRACE(second);
    std::string out;
    CanonicalWriter w(&out);
    w.setSecondForm(second);
    w.startDocument();
    w.startDTD("doc", "", "");
    if (!second) w.notationDecl("n", "", "n");
    w.endDTD();
    w.startElement("", "doc", "doc", Attributes());
    w.endElement("", "doc", "doc");
    w.endDocument();
    EXPECT_EQ(out, "<doc></doc>");
  }
}

TEST(CanonicalWriter, StreamTargetAndWriteFailure) {
  std::ostringstream os;
  {
    CanonicalWriter w(os);
    w.startDocument();
    EXPECT_TRUE(w.startElement("", "a", "a", Attributes()));
    EXPECT_TRUE(w.characters("1<2"));
    EXPECT_TRUE(w.endElement("", "a", "a"));
    EXPECT_TRUE(w.endDocument());
    EXPECT_EQ(w.getErrorMessage(), "");
  }
  EXPECT_EQ(os.str(), "<a>1&lt;2</a>");

  std::ostringstream bad;
  bad.setstate(std::ios::badbit);
  CanonicalWriter w(bad);
  w.startDocument();
  EXPECT_FALSE(w.startElement("", "a", "a", Attributes()));
  EXPECT_FALSE(w.characters("x"));
  EXPECT_FALSE(w.endDocument());
  EXPECT_EQ(w.getErrorMessage(), "failed to write canonical XML");
  // The reader reports the writer's message as a fatal error.
  SimpleXMLReader reader(nullptr);
  reader.setContentHandler(&w);
  ISInputSource source("", "mem", new std::istringstream("<a/>"), true);
  EXPECT_FALSE(reader.parse(&source));
}
