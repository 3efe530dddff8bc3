// Reading documents into a DOM, and the round trip read, write, read.
#include <kelp/xml/xml_DomReader.h>

#include <gtest/gtest.h>

#include <clocale>
#include <sstream>

#include <kelp/host.h>
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <kelp/xml/sax/sax_SimpleXMLReader.h>
#include <kelp/xml/xml_Writer.h>

#include "dom_equal.h"
#include "test_support.h"
#include "tests/xml/dom/dom_test_util.h"

namespace {

using namespace qor::quv::xml;
using kelp::test::shape;

// The writer converts from the locale's charset: run these with UTF-8.
class DomReaderTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr); }
  void TearDown() override { std::setlocale(LC_ALL, "C"); }

  static std::string write(dom::Node* node) {
    std::ostringstream out;
    zob::Ref<XMLWriter> w(new XMLWriter(&out, 0));
    EXPECT_EQ(node->write(w.get()), zob::kOk);
    w->close();
    return out.str();
  }

  DomReader reader{nullptr};
};

TEST_F(DomReaderTest, ReadsWholeDocuments) {
  zob::Ref<dom::Document> doc = reader.readString(
      "<?xml version='1.0'?>\n<!-- c --><cat a='1'><item id='x'>t<b/>u</item>"
      "<?pi data?><![CDATA[<raw>]]></cat>\n");
  ASSERT_TRUE(doc) << reader.getErrorMessage();
  EXPECT_EQ(shape(doc.get()), "D[E(cat a=1)[E(item id=x)[T(t),E(b),T(u)],C(<raw>)]]");
  EXPECT_EQ(reader.getErrorMessage(), "");
  EXPECT_EQ(reader.getErrorLine(), 0);
  EXPECT_NE(doc->getImplementation(), nullptr);
  EXPECT_EQ(doc->getRefCount(), 1);
  EXPECT_EQ(doc->getDocumentElement()->getRefCount(), 1);
}

// Without namespace processing the reader gives no local names: nodes are
// named by the qualified names, and what is written reads back the same.
TEST_F(DomReaderTest, NamesNodesByQualifiedNamesWithoutNamespaces) {
  reader.setFeature(sax::SimpleXMLReader::Namespaces, false);
  zob::Ref<dom::Document> doc =
      reader.readString("<p:doc xmlns:p='urn:p' p:a='1' :='2'><x.-:y/></p:doc>");
  ASSERT_TRUE(doc) << reader.getErrorMessage();
  EXPECT_EQ(shape(doc.get()), "D[E(p:doc :=2 p:a=1)[E(x.-:y)]]");
  zob::Ref<dom::Document> again = reader.readString(write(doc.get()));
  ASSERT_TRUE(again) << reader.getErrorMessage();
  EXPECT_TRUE(kelp::test::domEqual(doc.get(), again.get(), true));
  // With namespaces, the local names.
  reader.setFeature(sax::SimpleXMLReader::Namespaces, true);
  doc = reader.readString("<p:doc p:a='1'><p:x/></p:doc>");
  ASSERT_TRUE(doc) << reader.getErrorMessage();
  EXPECT_EQ(shape(doc.get()), "D[E(doc a=1)[E(x)]]");
}

TEST_F(DomReaderTest, ReportsTheFatalErrorWithItsLine) {
  struct Case {
    const char* text;
    int line;
  };
  Case cases[] = {{"<a>\n<b>\n</a>", 3}, {"", 1}, {"<a x=1/>", 1}, {"<a>\n\n<b c></b></a>", 3}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_FALSE(reader.readString(c.text, "doc.xml"));
    EXPECT_NE(reader.getErrorMessage(), "");
    EXPECT_EQ(reader.getErrorLine(), c.line);
    EXPECT_EQ(reader.getErrorSystemId(), "doc.xml");
  }
  // The next read starts afresh.
  EXPECT_TRUE(reader.readString("<ok/>"));
  EXPECT_EQ(reader.getErrorMessage(), "");
  EXPECT_FALSE(reader.readFile("/nonexistent/dir/file.xml"));
  EXPECT_NE(reader.getErrorMessage(), "");
  EXPECT_FALSE(reader.read(nullptr));
}

TEST_F(DomReaderTest, ReadsFilesAndInputSources) {
  kelp::test::TempDir dir;
  kelp::test::writeFile(dir.file("a.xml"), "<a><b c='d'/></a>");
  zob::Ref<dom::Document> doc = reader.readFile(dir.file("a.xml"));
  ASSERT_TRUE(doc) << reader.getErrorMessage();
  EXPECT_EQ(shape(doc.get()), "D[E(a)[E(b c=d)]]");
  sax::ISInputSource source("", "s.xml", new std::istringstream("<s>1</s>"), true);
  doc = reader.read(&source);
  ASSERT_TRUE(doc);
  EXPECT_EQ(shape(doc.get()), "D[E(s)[T(1)]]");
}

TEST_F(DomReaderTest, TracesThroughTheApplication) {
  auto app = kelp::host::Application::create();
  auto log = kelp::host::RecordingLogger::create();
  app->installLogger(log.get());
  DomReader r(app.get());
  EXPECT_FALSE(r.readString("<a>", "t.xml"));
  auto debug = log->texts(kelp::host::LogLevel::Debug);
  ASSERT_FALSE(debug.empty());
  EXPECT_EQ(debug.back(), "Fatal SAX error: t.xml[1]: " + r.getErrorMessage());
}

TEST_F(DomReaderTest, RoundTrip) {
  const char* docs[] = {
      "<a/>",
      "<a x='1' b=\"2\" m='&lt;&amp;&gt;&apos;&quot;'>text &amp; more</a>",
      "<catalogue xmlns='urn:c' xmlns:p='urn:p'><p:item p:id='1'>A</p:item><item/></catalogue>",
      "<a>\n  <b>one</b>\n  <b>two<c/>three</b>\n</a>",
      "<a><![CDATA[x < y && ]]]]><![CDATA[> z]]>tail</a>",
      "<a t='&#9;tab&#10;lf&#13;cr'>&#13;&#10;line&#13;end</a>",
      "<?xml version='1.0' encoding='UTF-8'?><a>\xc3\xa4\xe2\x82\xac\xf0\x9f\x90\x9f</a>",
      "<a v='&#x41;&#66;\xc3\xa4'>&#x41;&#66; text&#xe4;</a>",
      "<a><b><c><d><e>deep</e></d></c></b><![CDATA[]]></a>",
      "<a>]]&gt;</a>",
  };
  for (const char* text : docs) {
    SCOPED_TRACE(text);
    zob::Ref<dom::Document> first = reader.readString(text);
    ASSERT_TRUE(first) << reader.getErrorMessage();
    first->normalize();
    std::string written = write(first.get());
    zob::Ref<dom::Document> second = reader.readString(written);
    ASSERT_TRUE(second) << reader.getErrorMessage() << "\n" << written;
    second->normalize();
    std::string why;
    EXPECT_TRUE(kelp::test::domEqual(first.get(), second.get(), true, &why)) << why << "\n"
                                                                             << written;
  }
}

TEST_F(DomReaderTest, DeepDocument) {
  const int depth = 100000;
  std::string text;
  for (int i = 0; i < depth; ++i) text += "<e>";
  text += "x";
  for (int i = 0; i < depth; ++i) text += "</e>";
  zob::Ref<dom::Document> doc = reader.readString(text);
  ASSERT_TRUE(doc) << reader.getErrorMessage();
  int n = 0;
  for (dom::Node* c = doc->getDocumentElement(); c->getFirstChild(); c = c->getFirstChild()) ++n;
  EXPECT_EQ(n, depth);
  EXPECT_EQ(write(doc.get()).size(),
            text.size() + std::string("<?xml version='1.0' encoding='UTF-8'?>\n").size());
}

TEST(DomEqual, TellsDifferences) {
  zob::Ref<dom::Document> doc = dom::Document::create();
  auto make = [&](const char* attr, const char* text) {
    zob::Ref<dom::Element> e = doc->createElement("e");
    e->setAttribute("a", attr);
    e->appendChild(doc->createTextNode(text).get());
    e->appendChild(doc->createTextNode("").get());
    return e;
  };
  std::string why;
  EXPECT_TRUE(kelp::test::domEqual(make("1", "t").get(), make("1", "t").get()));
  EXPECT_FALSE(kelp::test::domEqual(make("1", "t").get(), make("2", "t").get(), false, &why));
  EXPECT_EQ(why, "attribute value a at e / e");
  EXPECT_FALSE(kelp::test::domEqual(make("1", "t").get(), make("1", "u").get(), false, &why));
  EXPECT_EQ(why, "data at #text / #text");
  EXPECT_TRUE(kelp::test::domEqual(make("x\ry", "a\r\nb").get(), make("x\ny", "a\nb").get(), true));
  EXPECT_FALSE(kelp::test::domEqual(make("x\ry", "a").get(), make("x\ny", "a").get(), false));
  zob::Ref<dom::Element> more = make("1", "t");
  more->appendChild(doc->createElement("c").get());
  EXPECT_FALSE(kelp::test::domEqual(make("1", "t").get(), more.get(), false, &why));
  EXPECT_EQ(why, "siblings after #text");
}

}  // namespace
