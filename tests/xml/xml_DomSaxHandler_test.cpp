// Building DOM nodes from SAX events: both modes, every message, the
// pending-document quirk, and the error callbacks' logging.
#include <kelp/xml/xml_DomSaxHandler.h>

#include <gtest/gtest.h>

#include "attribute_maker.h"

#include <functional>
#include <sstream>

#include <kelp/host.h>
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <kelp/xml/sax/sax_ParseException.h>
#include <kelp/xml/sax/sax_SimpleXMLReader.h>
#include <kelp/xml/sax/sax_XMLReader.h>

#include "tests/xml/dom/dom_test_util.h"

namespace {

using namespace qor::quv::xml;
namespace sax = qor::quv::xml::sax;
using kelp::test::shape;

using kelp::test::AttributeMaker;

sax::Attributes none() {
  return AttributeMaker().make({});
}

class FragmentMode : public ::testing::Test {
 protected:
  zob::Ref<dom::Document> doc = dom::Document::create();
  DomSaxHandler h{nullptr, doc.get()};
};

TEST_F(FragmentMode, TextElementText) {
  EXPECT_TRUE(h.characters("a"));
  EXPECT_TRUE(h.startElement("", "e", "p:e", AttributeMaker().make({{"k", "v"}})));
  EXPECT_EQ(h.getCurrentElement()->getTagName(), "e");
  EXPECT_TRUE(h.endElement("", "e", "p:e"));
  EXPECT_EQ(h.getCurrentElement(), nullptr);
  EXPECT_TRUE(h.characters("b"));
  EXPECT_TRUE(h.endDocument());
  ASSERT_NE(h.getRootNode(), nullptr);
  EXPECT_EQ(shape(h.getRootNode()), "F[T(a),E(e k=v),T(b)]");
  EXPECT_EQ(h.getRootNode()->getOwnerDocument(), doc.get());
  EXPECT_FALSE(doc->hasChildNodes());
  EXPECT_EQ(h.getErrorMessage(), "");
}

TEST_F(FragmentMode, TwoTopLevelElementsAndSplitText) {
  EXPECT_TRUE(h.startElement("", "a", "a", none()));
  EXPECT_TRUE(h.characters("x"));
  EXPECT_TRUE(h.characters("y"));
  EXPECT_TRUE(h.endElement("", "a", "a"));
  EXPECT_TRUE(h.startElement("", "b", "b", none()));
  EXPECT_TRUE(h.startCDATA());
  EXPECT_TRUE(h.characters("x"));
  EXPECT_TRUE(h.characters("y"));
  EXPECT_TRUE(h.endCDATA());
  EXPECT_TRUE(h.endElement("", "b", "b"));
  EXPECT_EQ(shape(h.getRootNode()), "F[E(a)[T(x),T(y)],E(b)[C(xy)]]");
}

TEST_F(FragmentMode, Refusals) {
  struct Case {
    const char* name;
    std::function<void(DomSaxHandler&)> setup;
    std::function<bool(DomSaxHandler&)> call;
    const char* message;
  };
  auto nothing = [](DomSaxHandler&) {};
  auto inElement = [](DomSaxHandler& x) { x.startElement("", "e", "e", none()); };
  auto inCDATA = [](DomSaxHandler& x) {
    x.startElement("", "e", "e", none());
    x.startCDATA();
  };
  Case cases[] = {
      {"startDocument", nothing, [](DomSaxHandler& x) { return x.startDocument(); },
       "Start of document within document!"},
      {"unmatched end", nothing, [](DomSaxHandler& x) { return x.endElement("", "e", "e"); },
       "Unmatched end of element."},
      {"end at fragment level",
       [](DomSaxHandler& x) {
         x.startElement("", "e", "e", none());
         x.endElement("", "e", "e");
       },
       [](DomSaxHandler& x) { return x.endElement("", "e", "e"); }, "Unmatched end of element."},
      {"element in CDATA", inCDATA,
       [](DomSaxHandler& x) { return x.startElement("", "f", "f", none()); },
       "Start of element within CDATA section!"},
      {"end in CDATA", inCDATA, [](DomSaxHandler& x) { return x.endElement("", "e", "e"); },
       "End of element within CDATA section!"},
      {"nested CDATA", inCDATA, [](DomSaxHandler& x) { return x.startCDATA(); },
       "Nested CDATA section."},
      {"end without CDATA", inElement, [](DomSaxHandler& x) { return x.endCDATA(); },
       "Unexpected end of CDATA section."},
      {"end of document in element", inElement, [](DomSaxHandler& x) { return x.endDocument(); },
       "Encountered end of document while still in document element"},
      {"document element without implementation", nothing,
       [](DomSaxHandler& x) { return x.documentElement("", "r", "r", none()); },
       "Cannot create document without DOM implementation."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    DomSaxHandler x(nullptr, doc.get());
    c.setup(x);
    std::string before = shape(x.getRootNode());
    EXPECT_FALSE(c.call(x));
    EXPECT_EQ(x.getErrorMessage(), c.message);
    EXPECT_EQ(shape(x.getRootNode()), before);
  }
}

TEST(ImplementationMode, DocumentElementBecomesRoot) {
  zob::Ref<dom::DomImplementation> impl(new dom::DomImplementation());
  DomSaxHandler h(nullptr, impl.get());
  EXPECT_EQ(h.getRootNode(), nullptr);
  EXPECT_TRUE(h.startDocument());
  EXPECT_TRUE(h.startElement("urn:x", "root", "p:root", AttributeMaker().make({{"a", "1"}})));
  ASSERT_NE(h.getDocument(), nullptr);
  zob::Ref<dom::Document> doc(h.getDocument());
  // The qualified name names the document element.
  EXPECT_EQ(shape(doc.get()), "D[E(p:root a=1)]");
  EXPECT_EQ(h.getRootNode(), doc->getDocumentElement());
  EXPECT_EQ(h.getCurrentElement(), doc->getDocumentElement());
  EXPECT_TRUE(h.characters("t"));
  EXPECT_TRUE(h.endElement("urn:x", "root", "p:root"));
  EXPECT_EQ(h.getCurrentElement(), nullptr);
  EXPECT_FALSE(h.characters("late"));
  EXPECT_EQ(h.getErrorMessage(), "Character data outside of element or document fragment.");
  EXPECT_FALSE(h.startCDATA());
  EXPECT_EQ(h.getErrorMessage(), "CDATA section outside of element or document fragment.");
  EXPECT_FALSE(h.startDocument());
  EXPECT_EQ(h.getErrorMessage(), "Start of document within document!");
  EXPECT_TRUE(h.endDocument());
  EXPECT_EQ(shape(doc.get()), "D[E(p:root a=1)[T(t)]]");
}

TEST(ImplementationMode, EveryLaterElementStartsANewDocument) {
  zob::Ref<dom::DomImplementation> impl(new dom::DomImplementation());
  DomSaxHandler h(nullptr, impl.get());
  ASSERT_TRUE(h.startDocument());
  ASSERT_TRUE(h.startElement("", "root", "root", none()));
  zob::Ref<dom::Document> first(h.getDocument());
  ASSERT_TRUE(h.startElement("", "child", "child", none()));
  EXPECT_NE(h.getDocument(), first.get());
  EXPECT_EQ(shape(h.getDocument()), "D[E(child)]");
  EXPECT_EQ(shape(first.get()), "D[E(root)]");
  EXPECT_TRUE(h.endElement("", "child", "child"));
  EXPECT_FALSE(h.endElement("", "root", "root"));
  EXPECT_EQ(h.getErrorMessage(), "Unmatched end of element.");
}

TEST(ImplementationMode, Refusals) {
  zob::Ref<dom::DomImplementation> impl(new dom::DomImplementation());
  struct Case {
    const char* name;
    std::function<bool(DomSaxHandler&)> call;
    const char* message;
  };
  Case cases[] = {
      {"end of document first", [](DomSaxHandler& x) { return x.endDocument(); },
       "No document element at end of document."},
      {"element without startDocument",
       [](DomSaxHandler& x) { return x.startElement("", "e", "e", none()); },
       "No document on start of element."},
      {"end of element", [](DomSaxHandler& x) { return x.endElement("", "e", "e"); },
       "Unexpected end of element with no document."},
      {"characters", [](DomSaxHandler& x) { return x.characters("x"); },
       "Character data without document."},
      {"CDATA", [](DomSaxHandler& x) { return x.startCDATA(); }, "CDATA section without document."},
      {"second document element",
       [](DomSaxHandler& x) {
         x.documentElement("", "r", "r", none());
         x.endElement("", "r", "r");
         return x.startElement("", "s", "s", none());
       },
       "Multiple document elements."},
      {"element lost its parent",
       [](DomSaxHandler& x) {
         x.documentElement("", "r", "r", none());
         x.getDocument()->removeChild(x.getDocument()->getDocumentElement());
         return x.endElement("", "r", "r");
       },
       "Internal error: no parent node at end of element."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    DomSaxHandler x(nullptr, impl.get());
    EXPECT_FALSE(c.call(x));
    EXPECT_EQ(x.getErrorMessage(), c.message);
  }
  DomSaxHandler noImpl(nullptr, static_cast<dom::DomImplementation*>(nullptr));
  EXPECT_TRUE(noImpl.startDocument());
  EXPECT_FALSE(noImpl.startElement("", "r", "r", none()));
  EXPECT_EQ(noImpl.getErrorMessage(), "Cannot create document without DOM implementation.");
  EXPECT_EQ(impl->getRefCount(), 1);
}

TEST(DomSaxHandler, ErrorCallbacksLogAtDebugLevel) {
  auto app = kelp::host::Application::create();
  auto log = kelp::host::RecordingLogger::create();
  app->installLogger(log.get());
  zob::Ref<dom::Document> doc = dom::Document::create();
  DomSaxHandler h(app.get(), doc.get());
  h.startDocument();  // leaves a message behind
  sax::SAXParseException e("bad thing", "", "file.xml", 7, 3);
  EXPECT_FALSE(h.fatalError(e));
  EXPECT_TRUE(h.error(e));
  EXPECT_TRUE(h.warning(e));
  EXPECT_EQ(log->texts(kelp::host::LogLevel::Debug),
            (std::vector<std::string>{"Fatal SAX error: file.xml[7]: bad thing",
                                      "SAX error: file.xml[7]: bad thing",
                                      "SAX warning: file.xml[7]: bad thing"}));
  EXPECT_EQ(log->records().size(), 3u);
  EXPECT_EQ(log->records()[0].category, "quv:kelp");
  EXPECT_EQ(h.getErrorMessage(), "Start of document within document!");
}

bool parseWith(DomSaxHandler& h, const std::string& text) {
  sax::SimpleXMLReader reader(nullptr);
  reader.setContentHandler(&h);
  reader.setErrorHandler(&h);
  reader.setLexicalHandler(&h);
  sax::ISInputSource source("", "mem.xml", new std::istringstream(text), true);
  return reader.parse(&source);
}

TEST(DomSaxHandler, WithTheReader) {
  zob::Ref<dom::DomImplementation> impl(new dom::DomImplementation());
  {
    DomSaxHandler h(nullptr, impl.get());
    ASSERT_TRUE(parseWith(h, "<?xml version='1.0'?>\n<root a='1'>x<![CDATA[<y>]]>z</root>"));
    EXPECT_EQ(shape(h.getDocument()), "D[E(root a=1)[T(x),C(<y>),T(z)]]");
  }
  {
    // A root with child elements runs into the never-cleared pending mark.
    DomSaxHandler h(nullptr, impl.get());
    EXPECT_FALSE(parseWith(h, "<root><child/></root>"));
    EXPECT_EQ(h.getErrorMessage(), "Unmatched end of element.");
  }
  {
    // Fragment mode refuses startDocument, and the reader stops there.
    zob::Ref<dom::Document> doc = dom::Document::create();
    DomSaxHandler h(nullptr, doc.get());
    EXPECT_FALSE(parseWith(h, "<root/>"));
    EXPECT_EQ(h.getErrorMessage(), "Start of document within document!");
    EXPECT_EQ(h.getRootNode(), nullptr);
  }
}

}  // namespace
