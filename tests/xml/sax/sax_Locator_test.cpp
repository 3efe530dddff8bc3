// Locators, parse exceptions and the do-nothing handler.
#include <gtest/gtest.h>
#include <kelp/xml/sax/sax_DefaultHandler.h>
#include <kelp/xml/sax/sax_Locator.h>
#include <kelp/xml/sax/sax_ParseException.h>

#include <string>

using namespace qor::quv::xml::sax;

namespace {

// Locator data that moves and counts its instances, like a live input.
class MovingData : public Locator::Data {
 public:
  explicit MovingData(int* alive) : alive_(alive) { ++*alive_; }
  ~MovingData() override { --*alive_; }
  std::string getPublicId() const override { return "pub"; }
  std::string getSystemId() const override { return "sys"; }
  int getLineNumber() const override { return line; }
  int getColumnNumber() const override { return column; }
  int line = 1;
  int column = 0;

 private:
  int* alive_;
};

}  // namespace

TEST(SaxLocator, DefaultLocatorKeepsItsValues) {
  DefaultLocator loc("-//P//EN", "file.xml", 7, 3);
  EXPECT_EQ(loc.getPublicId(), "-//P//EN");
  EXPECT_EQ(loc.getSystemId(), "file.xml");
  EXPECT_EQ(loc.getLineNumber(), 7);
  EXPECT_EQ(loc.getColumnNumber(), 3);
  Locator copy = loc;  // slicing to the handle keeps the data
  EXPECT_EQ(copy.getData(), loc.getData());
  EXPECT_EQ(copy.getSystemId(), "file.xml");
}

TEST(SaxLocator, EmptyLocator) {
  Locator loc;
  EXPECT_EQ(loc.getData(), nullptr);
  EXPECT_EQ(loc.getPublicId(), "");
  EXPECT_EQ(loc.getSystemId(), "");
  EXPECT_EQ(loc.getLineNumber(), 0);
  EXPECT_EQ(loc.getColumnNumber(), 0);
  Locator other(nullptr);
  other = loc;
  EXPECT_EQ(other.getData(), nullptr);
}

TEST(SaxLocator, HandlesShareAndReleaseTheData) {
  int alive = 0;
  {
    Locator a(new MovingData(&alive));
    EXPECT_EQ(alive, 1);
    {
      Locator b = a;
      Locator c;
      c = b;
      Locator& same = c;
      c = same;  // self-assignment keeps the data
      EXPECT_EQ(c.getData(), a.getData());
    }
    EXPECT_EQ(alive, 1);  // a still holds it
    a = Locator();
    EXPECT_EQ(alive, 0);  // the last handle deleted it
  }
  EXPECT_EQ(alive, 0);
}

TEST(SaxParseException, Constructors) {
  SAXParseException none;
  EXPECT_EQ(none.getMessage(), "");
  EXPECT_EQ(none.getPublicId(), "");
  EXPECT_EQ(none.getSystemId(), "");
  EXPECT_EQ(none.getLineNumber(), 0);
  EXPECT_EQ(none.getColumnNumber(), 0);

  SAXParseException full("read error", "p", "s", 4, 2);
  EXPECT_EQ(full.getMessage(), "read error");
  EXPECT_EQ(full.getPublicId(), "p");
  EXPECT_EQ(full.getSystemId(), "s");
  EXPECT_EQ(full.getLineNumber(), 4);
  EXPECT_EQ(full.getColumnNumber(), 2);

  SAXParseException copy = full;
  none = copy;
  SAXParseException& same = none;
  none = same;
  EXPECT_EQ(none.getMessage(), "read error");
  EXPECT_EQ(none.getLineNumber(), 4);
}

TEST(SaxParseException, KeepsThePositionOfItsMoment) {
  int alive = 0;
  auto* data = new MovingData(&alive);
  Locator live(data);
  data->line = 5;
  data->column = 9;
  SAXParseException e("syntax error (name expected)", live);
  data->line = 42;  // the input moves on
  data->column = 1;
  EXPECT_EQ(e.getLineNumber(), 5);
  EXPECT_EQ(e.getColumnNumber(), 9);
  EXPECT_EQ(e.getPublicId(), "pub");
  EXPECT_EQ(e.getSystemId(), "sys");
  EXPECT_EQ(e.getMessage(), "syntax error (name expected)");
  SAXParseException fromEmpty("x", Locator());
  EXPECT_EQ(fromEmpty.getLineNumber(), 0);
  EXPECT_EQ(fromEmpty.getSystemId(), "");
}

TEST(SaxDefaultHandler, AcceptsEverything) {
  DefaultHandler h;
  Attributes atts;
  SAXParseException e("boom", "", "", 1, 0);
  h.setDocumentLocator(DefaultLocator("", "", 1, 0));
  EXPECT_TRUE(h.startDocument());
  EXPECT_TRUE(h.startElement("", "a", "a", atts));
  EXPECT_TRUE(h.characters("text"));
  EXPECT_TRUE(h.ignorableWhitespace(" "));
  EXPECT_TRUE(h.processingInstruction("t", "d"));
  EXPECT_TRUE(h.skippedEntity("e"));
  EXPECT_TRUE(h.startPrefixMapping("p", "u"));
  EXPECT_TRUE(h.endPrefixMapping("p"));
  EXPECT_TRUE(h.endElement("", "a", "a"));
  EXPECT_TRUE(h.endDocument());
  EXPECT_TRUE(h.notationDecl("n", "p", "s"));
  EXPECT_TRUE(h.unparsedEntityDecl("n", "p", "s", "x"));
  InputSource* resolved = reinterpret_cast<InputSource*>(&h);
  EXPECT_TRUE(h.resolveEntity("p", "s", &resolved));
  EXPECT_EQ(resolved, nullptr);  // open the system id as a file
  EXPECT_TRUE(h.resolveEntity("p", "s", nullptr));
  EXPECT_TRUE(h.error(e));
  EXPECT_TRUE(h.fatalError(e));
  EXPECT_TRUE(h.warning(e));
  EXPECT_TRUE(h.attributeDecl("e", "a", "CDATA", "#IMPLIED", ""));
  EXPECT_TRUE(h.elementDecl("e", "EMPTY"));
  EXPECT_TRUE(h.externalEntityDecl("e", "p", "s"));
  EXPECT_TRUE(h.internalEntityDecl("e", "v"));
  EXPECT_TRUE(h.comment("c"));
  EXPECT_TRUE(h.startDTD("d", "p", "s"));
  EXPECT_TRUE(h.endDTD());
  EXPECT_TRUE(h.startEntity("e"));
  EXPECT_TRUE(h.endEntity("e"));
  EXPECT_TRUE(h.startCDATA());
  EXPECT_TRUE(h.endCDATA());
  // Every interface's getErrorMessage reaches the same empty text.
  EXPECT_EQ(static_cast<ContentHandler&>(h).getErrorMessage(), "");
  EXPECT_EQ(static_cast<DTDHandler&>(h).getErrorMessage(), "");
  EXPECT_EQ(static_cast<EntityResolver&>(h).getErrorMessage(), "");
  EXPECT_EQ(static_cast<ErrorHandler&>(h).getErrorMessage(), "");
  EXPECT_EQ(static_cast<DeclHandler&>(h).getErrorMessage(), "");
  EXPECT_EQ(static_cast<LexicalHandler&>(h).getErrorMessage(), "");
}

TEST(SaxDefaultHandler, OverridesStopWithAMessage) {
  // The pattern the reader relies on: a handler stores its message and
  // returns false; the message comes back through getErrorMessage.
  class Refusing : public DefaultHandler {
   public:
    bool startElement(const char*, const char*, const char* qName, const Attributes&) override {
      message_ = std::string("element ") + qName + " not allowed";
      return false;
    }
    std::string getErrorMessage() override { return message_; }
    std::string message_;
  } h;
  ContentHandler* content = &h;
  ErrorHandler* errors = &h;
  EXPECT_FALSE(content->startElement("", "x", "x", Attributes()));
  EXPECT_EQ(content->getErrorMessage(), "element x not allowed");
  EXPECT_EQ(errors->getErrorMessage(), "element x not allowed");
  EXPECT_TRUE(content->characters("still fine"));
}
