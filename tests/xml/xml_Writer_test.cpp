// The XML writer: declaration and document type, markup and escaping, line
// breaks and indentation, state errors with their messages, conversion into
// the output encoding, stream failures, reference counts and the wrapper.
#include <kelp/xml/xml_Writer.h>

#include <gtest/gtest.h>
#include <kelp/host.h>
#include <kelp/xml/sax/sax_Attributes.h>
#include <kelp/xml/sax/sax_DefaultHandler.h>
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <kelp/xml/sax/sax_ParseException.h>
#include <kelp/xml/sax/sax_SimpleXMLReader.h>
#include <kelp/xml/xml_XMLWriterItfWrapper.h>
#include <zob/zob_io.h>
#include <zob/zob_mem.h>

#include <clocale>
#include <cstring>
#include <locale>
#include <sstream>
#include <string>
#include <vector>

#include "xml/xml_Writer_impl.h"

using namespace qor::quv::xml;
using detail::XMLWriterProbe;
using zob::io::IMemoryOutputStream;

namespace {

constexpr const char kDecl[] = "<?xml version='1.0' encoding='UTF-8'?>\n";

// A writer on a memory stream; text() is what reached the stream.
struct MemWriter {
  explicit MemWriter(int step = 2) {
    EXPECT_EQ(zobCreateMemoryOutputStream(mem.out()), zob::kOk);
    w = zob::Ref<XMLWriter>(new XMLWriter(mem.get(), step));
  }
  std::string text() {
    const char* data = nullptr;
    std::size_t size = 0;
    EXPECT_EQ(mem->getData(&data, &size), zob::kOk);
    return std::string(data, size);
  }
  // Flushes the writer and returns everything written.
  std::string flushed() {
    EXPECT_EQ(w->flush(), zob::kOk);
    return text();
  }
  std::string closed() {
    EXPECT_EQ(w->close(), zob::kOk);
    return text();
  }
  zob::Ref<IMemoryOutputStream> mem;
  zob::Ref<XMLWriter> w;
};

std::string errorOf(IXMLWriter* w) {
  char* message = nullptr;
  EXPECT_EQ(w->getErrorMessage(&message), zob::kOk);
  std::string text = message ? message : "(null)";
  zobFree(message);
  return text;
}

// An output stream that takes `budget` bytes and then refuses every write.
class FailingStream final : public kelp::host::Object<zob::io::IOutputStream> {
 public:
  explicit FailingStream(std::size_t budget) : budget_(budget) {}
  ZResult write(const void* data, std::size_t size, std::size_t* count) override {
    if (count) *count = 0;
    if (size > budget_) {
      taken_.append(static_cast<const char*>(data), budget_);
      budget_ = 0;
      return zob::kWriteFailure;
    }
    budget_ -= size;
    taken_.append(static_cast<const char*>(data), size);
    if (count) *count = size;
    return zob::kOk;
  }
  ZResult flush() override { return failFlush_ ? zob::kWriteFailure : zob::kOk; }
  std::string taken_;
  bool failFlush_ = false;

 private:
  std::size_t budget_;
};

// Switches LC_CTYPE for one test and back.
class CTypeLocale {
 public:
  explicit CTypeLocale(const char* name) : old_(std::setlocale(LC_CTYPE, nullptr)) {
    ok_ = std::setlocale(LC_CTYPE, name) != nullptr;
  }
  ~CTypeLocale() { std::setlocale(LC_CTYPE, old_.c_str()); }
  bool ok() const { return ok_; }

 private:
  std::string old_;
  bool ok_;
};

}  // namespace

TEST(XMLWriter, WritesDeclarationMarkupAndEmptyElements) {
  MemWriter m;
  XMLWriter& w = *m.w;
  EXPECT_TRUE(w.isOpen());
  EXPECT_EQ(w.startElement("doc", kFormatInline), zob::kOk);
  EXPECT_EQ(w.startElement("name", kFormatInline), zob::kOk);
  EXPECT_EQ(w.stringAttribute("a", "1"), zob::kOk);
  EXPECT_EQ(w.endElement(), zob::kOk);
  EXPECT_EQ(w.startElement("empty", kFormatInline), zob::kOk);
  EXPECT_EQ(w.endElement(), zob::kOk);
  EXPECT_EQ(w.characters("text"), zob::kOk);
  EXPECT_EQ(w.startElement("full", kFormatInline), zob::kOk);
  EXPECT_EQ(w.characters("x"), zob::kOk);
  EXPECT_EQ(w.endElement(), zob::kOk);
  EXPECT_EQ(w.endElement(), zob::kOk);
  EXPECT_EQ(m.closed(), std::string(kDecl) + "<doc><name a='1'/><empty/>text<full>x</full></doc>");
  EXPECT_FALSE(w.isOpen());
  EXPECT_EQ(w.close(), 1);  // not open any more
}

TEST(XMLWriter, EscapesCharacterDataAndAttributeValues) {
  struct Case {
    const char* value;
    const char* attribute;  // as written in the start tag
  } attrs[] = {
      {"x'y", "'x&apos;y'"}, {"x>y", "'x>y'"},
      {"a&b", "'a&amp;b'"},  {"<", "'&lt;'"},
      {"q\"q", "'q\"q'"},    {"", "''"},
      {nullptr, "''"},       {"a'<&>\"", "'a&apos;&lt;&amp;>\"'"},
  };
  for (const Case& c : attrs) {
    SCOPED_TRACE(c.attribute);
    MemWriter m;
    m.w->startElement("e", kFormatInline);
    EXPECT_EQ(m.w->stringAttribute("v", c.value), zob::kOk);
    m.w->endElement();
    EXPECT_EQ(m.flushed(), std::string(kDecl) + "<e v=" + c.attribute + "/>");
  }
  struct Text {
    const char* text;
    const char* written;
  } texts[] = {
      {"a<b", "a&lt;b"}, {"a>b", "a&gt;b"}, {"a&b", "a&amp;b"},
      {"'\"", "'\""},    {"", ""},          {"<&>", "&lt;&amp;&gt;"},
  };
  for (const Text& t : texts) {
    SCOPED_TRACE(t.text);
    MemWriter m;
    m.w->startElement("e", kFormatInline);
    EXPECT_EQ(m.w->characters(t.text), zob::kOk);
    EXPECT_EQ(m.w->characters(nullptr), zob::kOk);
    m.w->endElement();
    EXPECT_EQ(m.flushed(), std::string(kDecl) + "<e>" + t.written + "</e>");
  }
}

TEST(XMLWriter, QuoteFunctions) {
  EXPECT_EQ(XMLWriter::quoteAttrValue("it's <a> & \"b\""), "'it&apos;s &lt;a> &amp; \"b\"'");
  EXPECT_EQ(XMLWriter::quoteAttrValue(""), "''");
  EXPECT_EQ(XMLWriter::quoteAttrValue(nullptr), "''");
  EXPECT_EQ(XMLWriter::quoteCharData("it's <a> & \"b\""), "it's &lt;a&gt; &amp; \"b\"");
  EXPECT_EQ(XMLWriter::quoteCharData(nullptr), "");
}

TEST(XMLWriter, IndentedBlockIndentsItsContent) {
  MemWriter m(2);
  XMLWriter& w = *m.w;
  w.startElement("root", kFormatIndentedBlock);
  w.startElement("child", kFormatBlock);
  EXPECT_EQ(XMLWriterProbe::indent(w), 2);
  w.endElement();
  w.startElement("list", kFormatIndentedBlock);
  w.intAttribute("n", 2);
  w.startElement("item", kFormatBlock);
  w.characters("one");
  w.endElement();
  w.startElement("item", kFormatBlock);
  w.startElement("b", kFormatInline);
  w.characters("two");
  w.endElement();
  w.endElement();
  w.endElement();
  w.endElement();
  EXPECT_EQ(XMLWriterProbe::indent(w), 0);
  EXPECT_EQ(XMLWriterProbe::depth(w), 0u);
  EXPECT_EQ(m.closed(), std::string(kDecl) +
                            "<root>\n"
                            "  <child/>\n"
                            "  <list n='2'>\n"
                            "    <item>one</item>\n"
                            "    <item><b>two</b></item>\n"
                            "  </list>\n"
                            "</root>\n");
}

TEST(XMLWriter, IndentationUsesTabsForEveryEightColumns) {
  struct Case {
    int step;
    int depth;
    const char* indentation;
  } cases[] = {
      {9, 1, "\t "}, {8, 1, "\t"}, {4, 2, "\t"}, {3, 3, "\t "}, {5, 3, "\t       "}, {0, 3, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.step << " x " << c.depth);
    MemWriter m(c.step);
    for (int i = 0; i < c.depth; ++i) m.w->startElement("d", kFormatIndentedBlock);
    m.w->startElement("x", kFormatBlock);
    m.w->endElement();
    std::string out = m.flushed();
    std::string expected = std::string("\n") + c.indentation + "<x/>\n";
    EXPECT_EQ(out.substr(out.size() - expected.size()), expected);
  }
}

TEST(XMLWriter, ConsecutiveBlocksAreSeparatedByOneLineBreak) {
  MemWriter m;
  XMLWriter& w = *m.w;
  w.startElement("a", kFormatBlock);
  w.endElement();
  w.startElement("b", kFormatBlock);
  w.characters("t");
  w.endElement();
  w.startElement("c", kFormatInline);
  w.endElement();
  w.startElement("d", kFormatBlock);
  w.endElement();
  // Several top-level elements are allowed.
  EXPECT_EQ(m.closed(), std::string(kDecl) + "<a/>\n<b>t</b>\n<c/>\n<d/>\n");
}

TEST(XMLWriter, CharacterDataIsNeverIndented) {
  MemWriter m(4);
  XMLWriter& w = *m.w;
  w.startElement("p", kFormatIndentedBlock);
  w.characters("text");
  w.startElement("q", kFormatBlock);
  w.endElement();
  w.characters("more");
  w.endElement();
  EXPECT_EQ(m.closed(), std::string(kDecl) + "<p>\ntext\n    <q/>\nmore\n</p>\n");
}

TEST(XMLWriter, NumbersUseTheClassicLocale) {
  std::locale previous = std::locale::global(std::locale::classic());
  try {
    std::locale::global(std::locale("de_DE.UTF-8"));
  } catch (const std::runtime_error&) {
    // Without the German locale the test still checks the formats.
  }
  struct Case {
    double value;
    const char* text;
  } cases[] = {
      {0.1, "0.1"},
      {1e20, "1e+20"},
      {1.0 / 3, "0.333333333333333"},
      {-2.5, "-2.5"},
      {123456789012345.0, "123456789012345"},
      {1234567890123456.0, "1.23456789012346e+15"},
      {1e-5, "1e-05"},
      {0.0, "0"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    MemWriter m;
    m.w->startElement("e", kFormatInline);
    EXPECT_EQ(m.w->floatAttribute("v", c.value), zob::kOk);
    m.w->endElement();
    EXPECT_EQ(m.flushed(), std::string(kDecl) + "<e v='" + c.text + "'/>");
  }
  MemWriter m;
  m.w->startElement("e", kFormatInline);
  EXPECT_EQ(m.w->intAttribute("a", -42), zob::kOk);
  EXPECT_EQ(m.w->intAttribute("b", 1234567), zob::kOk);
  m.w->endElement();
  EXPECT_EQ(m.flushed(), std::string(kDecl) + "<e a='-42' b='1234567'/>");
  std::locale::global(previous);
}

TEST(XMLWriter, DocumentTypeFollowsTheDeclaration) {
  {
    MemWriter m;
    m.w->setExternalDTD("html", "-//W3C//DTD XHTML 1.0 Strict//EN", "it's.dtd");
    m.w->startElement("html", kFormatInline);
    m.w->endElement();
    EXPECT_EQ(m.closed(), std::string(kDecl) +
                              "<!DOCTYPE html PUBLIC '-//W3C//DTD XHTML 1.0 Strict//EN' "
                              "'it&apos;s.dtd'>\n<html/>");
  }
  {
    MemWriter m;
    m.w->setExternalDTD("catalogue", "", "catalogue.dtd");
    m.w->startElement("catalogue", kFormatBlock);
    m.w->endElement();
    EXPECT_EQ(m.closed(),
              std::string(kDecl) + "<!DOCTYPE catalogue SYSTEM 'catalogue.dtd'>\n<catalogue/>\n");
  }
  {
    MemWriter m;
    m.w->setExternalDTD("", "pub", "sys");  // no name, no document type
    m.w->startElement("a", kFormatInline);
    m.w->endElement();
    EXPECT_EQ(m.closed(), std::string(kDecl) + "<a/>");
  }
}

TEST(XMLWriter, StateErrorsSetTheMessageAndKeepTheState) {
  MemWriter m;
  XMLWriter& w = *m.w;
  EXPECT_EQ(errorOf(&w), "");
  EXPECT_EQ(w.characters("x"), zob::kInvalidState);
  EXPECT_EQ(errorOf(&w), "Character data in prolog.");
  EXPECT_EQ(w.endElement(), zob::kInvalidState);
  EXPECT_EQ(errorOf(&w), "Empty element stack in end of element.");
  EXPECT_EQ(w.stringAttribute("a", "1"), zob::kInvalidState);
  EXPECT_EQ(errorOf(&w), "Attribute outside start element tag");
  EXPECT_EQ(XMLWriterProbe::state(w), XMLWriterProbe::kProlog);
  EXPECT_EQ(m.flushed(), "");  // nothing written yet

  EXPECT_EQ(w.startElement("e", kFormatInline), zob::kOk);
  EXPECT_EQ(w.characters("t"), zob::kOk);
  EXPECT_EQ(w.intAttribute("n", 1), zob::kInvalidState);
  EXPECT_EQ(w.floatAttribute("f", 1.5), zob::kInvalidState);
  EXPECT_EQ(errorOf(&w), "Attribute outside start element tag");
  EXPECT_EQ(w.endElement(), zob::kOk);
  EXPECT_EQ(w.endElement(), zob::kInvalidState);
  EXPECT_EQ(errorOf(&w), "Empty element stack in end of element.");
  // Bad names and formats.
  EXPECT_EQ(w.startElement(nullptr, kFormatInline), zob::kInvalidArgument);
  EXPECT_EQ(w.startElement("", kFormatInline), zob::kInvalidArgument);
  EXPECT_EQ(w.startElement("x", static_cast<ElementFormat>(3)), zob::kInvalidArgument);
  EXPECT_EQ(w.startElement("x", static_cast<ElementFormat>(-1)), zob::kInvalidArgument);
  EXPECT_EQ(w.startElement("f", kFormatInline), zob::kOk);
  EXPECT_EQ(w.stringAttribute(nullptr, "v"), zob::kInvalidArgument);
  EXPECT_EQ(w.stringAttribute("", "v"), zob::kInvalidArgument);
  EXPECT_EQ(w.intAttribute("", 1), zob::kInvalidArgument);
  EXPECT_EQ(w.endElement(), zob::kOk);
  EXPECT_EQ(w.getErrorMessage(nullptr), zob::kInvalidArgument);
  EXPECT_EQ(m.closed(), std::string(kDecl) + "<e>t</e><f/>");
  EXPECT_EQ(errorOf(&w), "XMLWriter not initialized");
}

TEST(XMLWriter, AClosedWriterRefusesEverything) {
  for (int kind = 0; kind < 2; ++kind) {
    SCOPED_TRACE(kind);
    zob::Ref<XMLWriter> w(kind == 0
                              ? new XMLWriter(static_cast<zob::io::IOutputStream*>(nullptr), 2)
                              : new XMLWriter(static_cast<std::ostream*>(nullptr), 2));
    EXPECT_FALSE(w->isOpen());
    EXPECT_EQ(w->startElement("a", kFormatInline), zob::kInvalidState);
    EXPECT_EQ(w->endElement(), zob::kInvalidState);
    EXPECT_EQ(w->stringAttribute("a", "b"), zob::kInvalidState);
    EXPECT_EQ(w->intAttribute("a", 1), zob::kInvalidState);
    EXPECT_EQ(w->floatAttribute("a", 1), zob::kInvalidState);
    EXPECT_EQ(w->characters("a"), zob::kInvalidState);
    EXPECT_EQ(w->startCDATA(), zob::kInvalidState);
    EXPECT_EQ(w->endCDATA(), zob::kInvalidState);
    EXPECT_EQ(w->flush(), zob::kInvalidState);
    EXPECT_EQ(w->close(), 1);
    EXPECT_EQ(errorOf(w.get()), "XMLWriter not initialized");
  }
}

TEST(XMLWriter, CDATAMarkersLeaveTheTextEscaped) {
  MemWriter m;
  XMLWriter& w = *m.w;
  w.startElement("e", kFormatInline);
  EXPECT_EQ(w.characters(""), zob::kOk);
  EXPECT_EQ(w.startCDATA(), zob::kOk);
  EXPECT_EQ(w.characters("a<b]]>"), zob::kOk);
  EXPECT_EQ(w.endCDATA(), 1);  // a boolean, not a result code
  EXPECT_EQ(XMLWriterProbe::state(w), XMLWriterProbe::kContent);
  w.endElement();
  EXPECT_EQ(m.flushed(), std::string(kDecl) + "<e><![CDATA[a&lt;b]]&gt;]]></e>");
}

TEST(XMLWriter, CDATASplitterBreaksTheSectionBeforeEveryClosingBracket) {
  struct Case {
    std::vector<const char*> parts;
    const char* written;
  } cases[] = {
      {{"a]]>b"}, "a]]]]><![CDATA[>b"},
      {{"]]]>"}, "]]]]]><![CDATA[>"},
      {{"a]>b]]c>"}, "a]>b]]c>"},
      {{"a]", "]>b"}, "a]]]]><![CDATA[>b"},
      {{"x]]>]]>y"}, "x]]]]><![CDATA[>]]]]><![CDATA[>y"},
      {{">", "<&"}, "><&"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.written);
    MemWriter m;
    XMLWriter& w = *m.w;
    w.startElement("e", kFormatInline);
    w.characters("");
    w.startCDATA();
    XMLWriterProbe::setState(w, XMLWriterProbe::kCData);
    for (const char* p : c.parts) EXPECT_EQ(w.characters(p), 1);
    EXPECT_EQ(w.startElement("x", kFormatInline), zob::kInvalidState);
    EXPECT_EQ(w.endElement(), zob::kInvalidState);
    XMLWriterProbe::setState(w, XMLWriterProbe::kContent);
    w.endCDATA();
    EXPECT_EQ(m.flushed(), std::string(kDecl) + "<e><![CDATA[" + c.written + "]]>");
  }
}

TEST(XMLWriter, EncodingEqualToTheApplicationCodeSetPassesBytesThrough) {
  // The tests run in the "C" locale.
  const std::string appCodeSet = XMLWriter::getAppCodeSet();
  EXPECT_FALSE(appCodeSet.empty());
  std::string bytes = "caf\xc3\xa9 \xff\x80";
  for (const std::string& encoding : {std::string(), appCodeSet}) {
    SCOPED_TRACE(encoding);
    MemWriter m;
    m.w->setEncoding(encoding);
    m.w->startElement("t", kFormatInline);
    EXPECT_FALSE(XMLWriterProbe::converts(*m.w));
    m.w->characters(bytes.c_str());
    m.w->endElement();
    EXPECT_EQ(m.closed(),
              "<?xml version='1.0' encoding='" + appCodeSet + "'?>\n<t>" + bytes + "</t>");
  }
}

TEST(XMLWriter, UnconvertibleBytesAreDropped) {
  MemWriter m;  // UTF-8 (the "C" locale's) to ASCII: ill-formed bytes and é
  m.w->setEncoding("US-ASCII");
  m.w->startElement("t", kFormatInline);
  EXPECT_TRUE(XMLWriterProbe::converts(*m.w));
  EXPECT_EQ(m.w->characters("a\xe9z\x80\xff!\xc3\xa9"), zob::kOk);
  m.w->endElement();
  EXPECT_EQ(m.closed(), "<?xml version='1.0' encoding='US-ASCII'?>\n<t>az!</t>");
}

TEST(XMLWriter, ConvertsFromAUTF8LocaleAcrossBufferBoundaries) {
  CTypeLocale utf8("C.UTF-8");
  ASSERT_TRUE(utf8.ok());
  EXPECT_EQ(XMLWriter::getAppCodeSet(), "UTF-8");
  // An odd prefix puts two-byte sequences across every buffer boundary.
  std::string text = "x";
  for (int i = 0; i < 10000; ++i) text += "\xc3\xa9";  // U+00E9
  {
    MemWriter m;
    m.w->setEncoding("ISO-8859-1");
    m.w->startElement("t", kFormatInline);
    EXPECT_EQ(m.w->characters(text.c_str()), zob::kOk);
    EXPECT_EQ(m.w->characters("\xe2\x82\xac|"), zob::kOk);  // the euro sign has no byte
    m.w->endElement();
    EXPECT_EQ(m.closed(), "<?xml version='1.0' encoding='ISO-8859-1'?>\n<t>x" +
                              std::string(10000, '\xe9') + "|</t>");
  }
  {
    MemWriter m;
    m.w->setEncoding("UTF-16BE");
    m.w->startElement("t", kFormatInline);
    m.w->characters(text.c_str());
    m.w->endElement();
    std::string expected;
    for (char c : std::string("<?xml version='1.0' encoding='UTF-16BE'?>\n<t>x")) {
      expected += '\0';
      expected += c;
    }
    for (int i = 0; i < 10000; ++i) expected += std::string("\x00\xe9", 2);
    for (char c : std::string("</t>")) {
      expected += '\0';
      expected += c;
    }
    EXPECT_EQ(m.closed(), expected);
  }
  {
    // A sequence cut off at the end of the document is dropped at close.
    MemWriter m;
    m.w->setEncoding("ISO-8859-1");
    m.w->startElement("t", kFormatInline);
    m.w->endElement();
    m.w->characters("\xc3");
    EXPECT_EQ(m.closed(), "<?xml version='1.0' encoding='ISO-8859-1'?>\n<t/>");
  }
}

TEST(XMLWriter, AnUnknownEncodingFailsTheFirstElement) {
  MemWriter m;
  m.w->setEncoding("NO-SUCH-CHARSET");
  EXPECT_EQ(m.w->startElement("t", kFormatInline), zob::kWriteFailure);
  EXPECT_EQ(m.flushed(), "");
}

TEST(XMLWriter, StreamFailuresAreWriteFailures) {
  zob::Ref<FailingStream> s(new FailingStream(10));
  zob::Ref<XMLWriter> w(new XMLWriter(s.get(), 2));
  EXPECT_EQ(w->startElement("a", kFormatInline), zob::kOk);  // still buffered
  EXPECT_EQ(w->flush(), zob::kWriteFailure);
  EXPECT_EQ(s->taken_, "<?xml vers");
  // A text larger than the buffer reaches the stream at once.
  std::string big(3 * XMLWriterProbe::kBufferSize, 'x');
  EXPECT_EQ(w->characters(big.c_str()), zob::kWriteFailure);
  // The writer keeps its state and goes on; no message is set.
  EXPECT_EQ(w->endElement(), zob::kOk);
  EXPECT_EQ(errorOf(w.get()), "");
  EXPECT_EQ(XMLWriterProbe::depth(*w), 0u);
  EXPECT_EQ(w->close(), zob::kWriteFailure);

  zob::Ref<FailingStream> t(new FailingStream(1000));
  t->failFlush_ = true;
  zob::Ref<XMLWriter> v(new XMLWriter(t.get(), 2));
  EXPECT_EQ(v->startElement("a", kFormatInline), zob::kOk);
  EXPECT_EQ(v->flush(), zob::kWriteFailure);  // the stream's own flush failed
  EXPECT_EQ(t->taken_, std::string(kDecl) + "<a");
  EXPECT_EQ(v->close(), zob::kWriteFailure);
}

TEST(XMLWriter, WritesToAStdOstream) {
  std::ostringstream out;
  {
    zob::Ref<XMLWriter> w(new XMLWriter(&out, 1));
    w->startElement("a", kFormatIndentedBlock);
    w->startElement("b", kFormatBlock);
    w->stringAttribute("k", "v");
    w->endElement();
    w->endElement();
    EXPECT_EQ(w->flush(), zob::kOk);
    EXPECT_EQ(out.str(), std::string(kDecl) + "<a>\n <b k='v'/>\n</a>\n");
  }
  std::ostringstream broken;
  broken.setstate(std::ios::badbit);
  zob::Ref<XMLWriter> w(new XMLWriter(&broken, 1));
  EXPECT_EQ(w->startElement("a", kFormatInline), zob::kOk);
  EXPECT_EQ(w->flush(), zob::kWriteFailure);
}

TEST(XMLWriter, ReferenceCountingAndTheLastReleaseClosing) {
  zob::Ref<IMemoryOutputStream> mem;
  ASSERT_EQ(zobCreateMemoryOutputStream(mem.out()), zob::kOk);
  auto* writer = new XMLWriter(mem.get(), 2);
  EXPECT_EQ(writer->addRef(), 1u);
  zob::Ref<IXMLWriter> itf;
  ASSERT_EQ(zob::query(writer, itf), zob::kOk);
  EXPECT_EQ(itf.get(), static_cast<IXMLWriter*>(writer));
  zob::Ref<zob::IUnknown> unknown;
  EXPECT_EQ(zob::query(writer, unknown), zob::kOk);
  zob::Ref<zob::io::IOutputStream> notThere;
  EXPECT_EQ(zob::query(writer, notThere), zob::kNoInterface);
  EXPECT_STREQ(writer->_comGetInterfaceId(), "IDL:qor/quv/xml/IXMLWriter:1.0");
  EXPECT_EQ(writer->release(), 2u);
  unknown.reset();
  XMLWriterItfWrapper out(itf.get());
  itf.reset();
  EXPECT_TRUE(out.startElement("a", kFormatInline));
  EXPECT_TRUE(out.characters("z"));
  {
    XMLWriterItfWrapper copy = out;
    EXPECT_EQ(static_cast<IXMLWriter*>(copy), static_cast<IXMLWriter*>(out));
  }
  EXPECT_TRUE(out.endElement());
  const char* data = nullptr;
  std::size_t size = 0;
  mem->getData(&data, &size);
  EXPECT_EQ(size, 0u);                 // all still buffered in the writer
  out = XMLWriterItfWrapper(nullptr);  // the last reference: closes and deletes
  mem->getData(&data, &size);
  EXPECT_EQ(std::string(data, size), std::string(kDecl) + "<a>z</a>");
}

namespace {

// An IXMLWriter that records the calls and answers with a chosen code.
class RecordingWriter final : public kelp::host::Object<IXMLWriter> {
 public:
  ZResult startElement(const char* name, ElementFormat format) override {
    return log(std::string("start ") + name + " " + std::to_string(format));
  }
  ZResult endElement() override { return log("end"); }
  ZResult stringAttribute(const char* name, const char* value) override {
    return log(std::string("attr ") + name + "=" + value);
  }
  ZResult intAttribute(const char* name, int value) override {
    return log(std::string("int ") + name + "=" + std::to_string(value));
  }
  ZResult floatAttribute(const char* name, double value) override {
    return log(std::string("float ") + name + "=" + std::to_string(value));
  }
  ZResult characters(const char* text) override { return log(std::string("chars ") + text); }
  ZResult startCDATA() override { return log("startCDATA"); }
  ZResult endCDATA() override { return log("endCDATA"); }
  ZResult getErrorMessage(char** message) override {
    *message = messageText ? zobStrDup(messageText) : nullptr;
    return messageResult;
  }
  ZResult flush() override { return log("flush"); }

  ZResult log(const std::string& call) {
    calls.push_back(call);
    return result;
  }
  std::vector<std::string> calls;
  ZResult result = zob::kOk;
  const char* messageText = nullptr;
  ZResult messageResult = zob::kOk;
};

}  // namespace

TEST(XMLWriterItfWrapper, ForwardsEveryCallAndTurnsResultsIntoBooleans) {
  zob::Ref<RecordingWriter> rec(new RecordingWriter);
  XMLWriterItfWrapper w(rec.get());
  EXPECT_EQ(rec->refCount(), 2u);
  EXPECT_TRUE(w.startElement("e", kFormatIndentedBlock));
  EXPECT_TRUE(w.attribute("s", "v"));
  EXPECT_TRUE(w.attribute("t", std::string("w")));
  EXPECT_TRUE(w.attribute("i", 7));
  EXPECT_TRUE(w.attribute("f", 0.5));
  EXPECT_TRUE(w.characters("c"));
  EXPECT_TRUE(w.characters(std::string("d")));
  EXPECT_TRUE(w.flush());
  rec->result = 1;  // positive results are not failures
  EXPECT_TRUE(w.endElement());
  rec->result = zob::kWriteFailure;
  EXPECT_FALSE(w.endElement());
  EXPECT_FALSE(w.attribute("x", 1));
  EXPECT_EQ(rec->calls, (std::vector<std::string>{"start e 2", "attr s=v", "attr t=w", "int i=7",
                                                  "float f=0.500000", "chars c", "chars d", "flush",
                                                  "end", "end", "int x=1"}));
}

TEST(XMLWriterItfWrapper, ErrorMessages) {
  zob::Ref<RecordingWriter> rec(new RecordingWriter);
  XMLWriterItfWrapper w(rec.get());
  EXPECT_EQ(w.getErrorMessage(), "");  // null text
  rec->messageText = "broken";
  EXPECT_EQ(w.getErrorMessage(), "broken");
  // A failure gives the fixed text; the buffer handed back is freed all the
  // same (the leak checker of the sanitizer build would see it otherwise).
  rec->messageResult = zob::kOutOfMemory;
  EXPECT_EQ(w.getErrorMessage(), "Failed to get error message of XML writer: out of memory");
  rec->messageText = nullptr;
  rec->messageResult = zob::kNotImplemented;
  EXPECT_EQ(w.getErrorMessage(), "Failed to get error message of XML writer: not implemented");

  XMLWriterItfWrapper none(nullptr);
  EXPECT_FALSE(none.startElement("a", kFormatInline));
  EXPECT_FALSE(none.endElement());
  EXPECT_FALSE(none.attribute("a", "b"));
  EXPECT_FALSE(none.attribute("a", std::string("b")));
  EXPECT_FALSE(none.attribute("a", 1));
  EXPECT_FALSE(none.attribute("a", 1.0));
  EXPECT_FALSE(none.characters("a"));
  EXPECT_FALSE(none.characters(std::string("a")));
  EXPECT_FALSE(none.flush());
  EXPECT_EQ(none.getErrorMessage(), "");
  EXPECT_EQ(static_cast<IXMLWriter*>(none), nullptr);
}

TEST(XMLWriterItfWrapper, DrivesTheRealWriter) {
  MemWriter m;
  XMLWriterItfWrapper w(m.w.get());
  EXPECT_TRUE(w.startElement("price", kFormatBlock));
  EXPECT_TRUE(w.attribute("currency", std::string("EUR")));
  EXPECT_TRUE(w.attribute("amount", 12.5));
  EXPECT_TRUE(w.attribute("qty", 3));
  EXPECT_TRUE(w.characters(std::string("net & gross")));
  EXPECT_FALSE(w.attribute("late", "x"));
  EXPECT_EQ(w.getErrorMessage(), "Attribute outside start element tag");
  EXPECT_TRUE(w.endElement());
  EXPECT_TRUE(w.flush());
  EXPECT_EQ(m.text(), std::string(kDecl) +
                          "<price currency='EUR' amount='12.5' qty='3'>net &amp; gross</price>\n");
}

namespace {

namespace sax = qor::quv::xml::sax;

// One call on the writer, and the reader's view of it: "start name a=v ...",
// "chars text", "end name".
struct Call {
  enum Kind { kStart, kAttr, kInt, kFloat, kText, kEnd } kind;
  const char* name;
  const char* value;
  ElementFormat format;
  double number;
};

Call start(const char* name, ElementFormat f) {
  return {Call::kStart, name, nullptr, f, 0};
}
Call attr(const char* name, const char* value) {
  return {Call::kAttr, name, value, kFormatInline, 0};
}
Call number(const char* name, double value, bool isInt) {
  return {isInt ? Call::kInt : Call::kFloat, name, nullptr, kFormatInline, value};
}
Call text(const char* value) {
  return {Call::kText, nullptr, value, kFormatInline, 0};
}
Call end() {
  return {Call::kEnd, nullptr, nullptr, kFormatInline, 0};
}

// A catalogue in UTF-8 with markup characters, quotes and text in several
// scripts; `latin` keeps to characters that ISO-8859-1 has.
std::vector<Call> catalogueCalls(bool latin) {
  std::vector<Call> c = {
      start("catalogue", kFormatIndentedBlock),
      attr("version", "3.1"),
      attr("note", "it's <fine> & \"quoted\""),
      start("article", kFormatIndentedBlock),
      attr("id", "A-1"),
      attr("name", "B\xc3\xbcrostuhl"),
      number("count", -12, true),
      number("weight", 12.5, false),
      start("name", kFormatBlock),
      text("Chaise r\xc3\xa9glable & \xc3\xa9l\xc3\xa9gante <neu>"),
      end(),
      start("description", kFormatBlock),
      text("a "),
      start("b", kFormatInline),
      text("bold"),
      end(),
      text(" c > d; "),
      text("\xc2\xa3 5 \xc2\xbd"),
      end(),
      start("empty", kFormatInline),
      end(),
      end(),
      start("article", kFormatBlock),
      attr("id", "A-2"),
      attr("empty", ""),
      text("Gr\xc3\xb6\xc3\x9f"
           "e ]]> \xc3\xbf"),
      end(),
  };
  if (!latin) {
    c.push_back(start("article", kFormatIndentedBlock));
    c.push_back(attr("lang", "\xe6\x97\xa5\xe6\x9c\xac"));  // 日本
    c.push_back(start("name", kFormatBlock));
    c.push_back(
        text("\xe3\x82\xaa\xe3\x83\x95\xe3\x82\xa3\xe3\x82\xb9 \xd1\x81\xd1\x82\xd1\x83\xd0\xbb "
             "\xe2\x82\xac \xf0\x9f\xaa\x91 ok"));  // オフィス стул € 🪑 ok
    c.push_back(end());
    c.push_back(end());
  }
  c.push_back(end());
  return c;
}

// Plays the calls on a writer; every call must succeed.
void play(IXMLWriter& w, const std::vector<Call>& calls) {
  for (const Call& c : calls) {
    ZResult res = zob::kOk;
    switch (c.kind) {
      case Call::kStart:
        res = w.startElement(c.name, c.format);
        break;
      case Call::kAttr:
        res = w.stringAttribute(c.name, c.value);
        break;
      case Call::kInt:
        res = w.intAttribute(c.name, static_cast<int>(c.number));
        break;
      case Call::kFloat:
        res = w.floatAttribute(c.name, c.number);
        break;
      case Call::kText:
        res = w.characters(c.value);
        break;
      case Call::kEnd:
        res = w.endElement();
        break;
    }
    EXPECT_EQ(res, zob::kOk) << (c.name ? c.name : c.value ? c.value : "end");
  }
}

// The events that the calls should read back as: attributes collected on
// their start tag, neighbouring texts as one.
std::vector<std::string> expectedEvents(const std::vector<Call>& calls) {
  std::vector<std::string> events;
  std::vector<std::string> open;
  bool inStartTag = false;
  for (const Call& c : calls) {
    switch (c.kind) {
      case Call::kStart:
        events.push_back(std::string("start ") + c.name);
        open.push_back(c.name);
        inStartTag = true;
        break;
      case Call::kAttr:
        events.back() += std::string(" ") + c.name + "=" + c.value;
        break;
      case Call::kInt:
        events.back() +=
            std::string(" ") + c.name + "=" + std::to_string(static_cast<int>(c.number));
        break;
      case Call::kFloat: {
        std::ostringstream s;
        s << c.number;  // the plain numbers used format alike everywhere
        events.back() += std::string(" ") + c.name + "=" + s.str();
        break;
      }
      case Call::kText:
        if (!inStartTag && !events.empty() && events.back().rfind("chars ", 0) == 0)
          events.back() += c.value;
        else
          events.push_back(std::string("chars ") + c.value);
        inStartTag = false;
        break;
      case Call::kEnd:
        events.push_back("end " + open.back());
        open.pop_back();
        inStartTag = false;
        break;
    }
  }
  return events;
}

// Records what the reader reports, joining neighbouring character data and
// leaving out the line breaks and indentation between elements.
class EventRecorder : public sax::DefaultHandler {
 public:
  std::vector<std::string> events;

  bool startElement(const char*, const char*, const char* qName,
                    const sax::Attributes& attrs) override {
    endText();
    std::string e = std::string("start ") + qName;
    for (int i = 0; i < attrs.getLength(); ++i)
      e += std::string(" ") + attrs.getQName(i) + "=" + attrs.getValue(i);
    events.push_back(e);
    return true;
  }
  bool endElement(const char*, const char*, const char* qName) override {
    endText();
    events.push_back(std::string("end ") + qName);
    return true;
  }
  bool characters(const char* chars) override {
    text_ += chars;
    return true;
  }
  bool fatalError(const sax::SAXParseException& e) override {
    events.push_back("fatal " + e.getMessage());
    return false;
  }
  void endText() {
    if (text_.find_first_not_of(" \t\n") != std::string::npos) events.push_back("chars " + text_);
    text_.clear();
  }

 private:
  std::string text_;
};

std::vector<std::string> readBack(const std::string& bytes) {
  EventRecorder rec;
  sax::SimpleXMLReader reader(nullptr);
  reader.setContentHandler(&rec);
  reader.setErrorHandler(&rec);
  reader.setFeature(sax::SimpleXMLReader::Namespaces, false);
  reader.setFeature(sax::SimpleXMLReader::UseUTF8, true);
  zob::Ref<zob::io::IInputStream> stream;
  EXPECT_EQ(zobCreateMemoryInputStream(bytes.data(), bytes.size(), false, stream.out()), zob::kOk);
  sax::ISInputSource source("", "written.xml", stream.get());
  EXPECT_TRUE(reader.parse(&source));
  return rec.events;
}

std::string writeAll(const std::vector<Call>& calls, const std::string& encoding) {
  MemWriter m;
  m.w->setEncoding(encoding);
  play(*m.w, calls);
  return m.closed();
}

// Removes every character beyond U+00FF from UTF-8 text.
std::string latinOnly(const std::string& s) {
  std::string out;
  for (std::size_t i = 0; i < s.size();) {
    unsigned char c = static_cast<unsigned char>(s[i]);
    std::size_t n = c < 0x80 ? 1 : c < 0xe0 ? 2 : c < 0xf0 ? 3 : 4;
    if (n == 1 || c == 0xc2 || c == 0xc3) out.append(s, i, n);
    i += n;
  }
  return out;
}

}  // namespace

TEST(XMLWriterRoundTrip, EveryEncodingReadsBackToTheSameEvents) {
  CTypeLocale utf8("C.UTF-8");
  ASSERT_TRUE(utf8.ok());
  for (bool latin : {true, false}) {
    const std::vector<Call> calls = catalogueCalls(latin);
    const std::vector<std::string> expected = expectedEvents(calls);
    // "UTF-16" output starts with a byte-order mark, which is how the reader
    // recognises UTF-16 (the forms without a mark, UTF-16LE and UTF-16BE, it
    // does not detect).
    std::vector<std::string> encodings = {"UTF-8", "UTF-16"};
    if (latin) encodings.push_back("ISO-8859-1");
    for (const std::string& encoding : encodings) {
      SCOPED_TRACE(encoding + (latin ? " latin" : " all scripts"));
      std::string bytes = writeAll(calls, encoding);
      EXPECT_EQ(readBack(bytes), expected);
      if (encoding == "UTF-8") {
        // Nothing to convert: the text is written as it was given.
        EXPECT_NE(bytes.find("r\xc3\xa9glable &amp; "), std::string::npos);
        EXPECT_NE(bytes.find("note='it&apos;s &lt;fine> &amp; \"quoted\"'"), std::string::npos);
      }
      if (encoding == "ISO-8859-1") {
        EXPECT_NE(bytes.find("r\xe9glable"), std::string::npos);
      }
      if (encoding == "UTF-16") {
        ASSERT_GE(bytes.size(), 2u);  // a byte-order mark in either order
        EXPECT_TRUE(bytes.compare(0, 2, "\xfe\xff") == 0 || bytes.compare(0, 2, "\xff\xfe") == 0);
      }
    }
  }
}

TEST(XMLWriterRoundTrip, UnconvertibleCharactersAreLostAndTheDocumentStillWritten) {
  CTypeLocale utf8("C.UTF-8");
  ASSERT_TRUE(utf8.ok());
  const std::vector<Call> calls = catalogueCalls(false);
  std::vector<std::string> expected = expectedEvents(calls);
  for (std::string& e : expected) e = latinOnly(e);
  std::string bytes = writeAll(calls, "ISO-8859-1");
  EXPECT_EQ(readBack(bytes), expected);
  // The Japanese and Cyrillic letters, the euro sign and the chair are gone
  // byte by byte; the spaces between them stay.
  EXPECT_NE(bytes.find("<name>    ok</name>"), std::string::npos);
  EXPECT_NE(bytes.find("lang=''"), std::string::npos);
}

namespace {

// An output stream that keeps every write apart.
class ChunkStream final : public kelp::host::Object<zob::io::IOutputStream> {
 public:
  ZResult write(const void* data, std::size_t size, std::size_t* count) override {
    chunks.emplace_back(static_cast<const char*>(data), size);
    if (count) *count = size;
    return zob::kOk;
  }
  ZResult flush() override { return zob::kOk; }
  std::string all() const {
    std::string s;
    for (const std::string& c : chunks) s += c;
    return s;
  }
  std::vector<std::string> chunks;
};

// A writer that sees the attribute calls that the number attributes make.
class SpyWriter : public XMLWriter {
 public:
  using XMLWriter::XMLWriter;
  ZResult stringAttribute(const char* name, const char* value) override {
    seen.push_back(std::string(name) + "=" + value);
    return XMLWriter::stringAttribute(name, value);
  }
  std::vector<std::string> seen;
};

}  // namespace

TEST(XMLWriter, NumberAttributesGoThroughTheStringAttributeOperation) {
  zob::Ref<IMemoryOutputStream> mem;
  ASSERT_EQ(zobCreateMemoryOutputStream(mem.out()), zob::kOk);
  zob::Ref<SpyWriter> w(new SpyWriter(mem.get(), 2));
  w->startElement("e", kFormatInline);
  EXPECT_EQ(w->intAttribute("i", 7), zob::kOk);
  EXPECT_EQ(w->floatAttribute("f", 0.25), zob::kOk);
  EXPECT_EQ(w->seen, (std::vector<std::string>{"i=7", "f=0.25"}));
}

TEST(XMLWriter, AFullBufferNeverSplitsAUTF8SequenceBetweenWrites) {
  CTypeLocale utf8("C.UTF-8");
  ASSERT_TRUE(utf8.ok());
  // Each offset puts a different byte of the sequences at the buffer's end.
  const std::string sequences[] = {"\xc3\xa9", "\xe2\x82\xac", "\xf0\x9f\xaa\x91"};
  for (const std::string& seq : sequences) {
    for (std::size_t offset = 0; offset < seq.size(); ++offset) {
      SCOPED_TRACE(testing::Message() << seq.size() << " bytes, offset " << offset);
      zob::Ref<ChunkStream> s(new ChunkStream);
      zob::Ref<XMLWriter> w(new XMLWriter(s.get(), 2));
      w->startElement("t", kFormatInline);
      std::string text(offset, 'x');
      while (text.size() < 3 * XMLWriterProbe::kBufferSize) text += seq;
      EXPECT_EQ(w->characters(text.c_str()), zob::kOk);
      w->endElement();
      EXPECT_EQ(w->close(), zob::kOk);
      EXPECT_EQ(s->all(), std::string(kDecl) + "<t>" + text + "</t>");
      ASSERT_GE(s->chunks.size(), 3u);
      for (const std::string& chunk : s->chunks)
        EXPECT_EQ(detail::incompleteUtf8Tail(chunk.data(), chunk.data() + chunk.size()), 0u);
    }
  }
}

TEST(XMLWriter, IncompleteUTF8TailCountsOnlyAnUnfinishedSequence) {
  struct Case {
    const char* bytes;
    std::size_t tail;
  } cases[] = {
      {"", 0},
      {"abc", 0},
      {"a\xc3", 1},
      {"a\xc3\xa9", 0},
      {"\xe2\x82", 2},
      {"\xe2\x82\xac", 0},
      {"\xf0\x9f\xaa", 3},
      {"\xf0\x9f\xaa\x91", 0},
      {"\x80\x80", 0},
      {"\xe2", 1},
      {"x\x80\x80\x80\x80", 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.bytes);
    const std::size_t n = std::strlen(c.bytes);
    EXPECT_EQ(detail::incompleteUtf8Tail(c.bytes, c.bytes + n), c.tail);
  }
}

TEST(XMLWriter, ConversionKeepsACutSequenceAcrossFlushAndDrainsAtClose) {
  CTypeLocale utf8("C.UTF-8");
  ASSERT_TRUE(utf8.ok());
  {
    MemWriter m;
    m.w->setEncoding("ISO-8859-1");
    m.w->startElement("t", kFormatInline);
    EXPECT_EQ(m.w->characters("a\xc3"), zob::kOk);
    const std::string head = "<?xml version='1.0' encoding='ISO-8859-1'?>\n<t>a";
    EXPECT_EQ(m.flushed(), head);  // the cut sequence waits for its end
    EXPECT_EQ(m.w->characters("\xa9"), zob::kOk);
    m.w->endElement();
    EXPECT_EQ(m.closed(), head + "\xe9</t>");
  }
  {
    // A stateful charset returns to its initial state only when the
    // conversion is ended at close.
    MemWriter m;
    m.w->setEncoding("ISO-2022-JP");
    m.w->startElement("t", kFormatInline);
    m.w->endElement();
    m.w->characters("\xe6\x97\xa5");  // after the element: nothing ASCII follows
    EXPECT_EQ(m.flushed(), "<?xml version='1.0' encoding='ISO-2022-JP'?>\n<t/>\x1b$BF|");
    EXPECT_EQ(m.closed(), "<?xml version='1.0' encoding='ISO-2022-JP'?>\n<t/>\x1b$BF|\x1b(B");
  }
}

TEST(XMLWriter, AStreamThatRefusesConvertedOutputGivesWriteFailures) {
  CTypeLocale utf8("C.UTF-8");
  ASSERT_TRUE(utf8.ok());
  zob::Ref<FailingStream> s(new FailingStream(4));
  zob::Ref<XMLWriter> w(new XMLWriter(s.get(), 2));
  w->setEncoding("UTF-16BE");
  EXPECT_EQ(w->startElement("a", kFormatIndentedBlock), zob::kOk);
  EXPECT_EQ(w->flush(), zob::kWriteFailure);
  EXPECT_EQ(s->taken_, std::string("\0<\0?", 4));
  EXPECT_EQ(XMLWriterProbe::state(*w), XMLWriterProbe::kStartTagOpen);
  std::string big(2 * XMLWriterProbe::kBufferSize, 'x');
  EXPECT_EQ(w->characters(big.c_str()), zob::kWriteFailure);
  EXPECT_EQ(XMLWriterProbe::state(*w), XMLWriterProbe::kContent);
  EXPECT_EQ(XMLWriterProbe::indent(*w), 2);
  EXPECT_EQ(w->endElement(), zob::kOk);
  EXPECT_EQ(errorOf(w.get()), "");
  EXPECT_EQ(w->close(), zob::kWriteFailure);
}

// ---- lossless output, comments, PIs, document types --------------------------

TEST(XMLWriterLossless, WhiteSpaceAndUnconvertibleCharactersAsReferences) {
  const struct {
    const char* name;
    const char* encoding;
    bool lossless;
    const char* attr;
    const char* text;
    const char* expected;  // after the declaration
  } cases[] = {
      {"off: as specified", "UTF-8", false, "a\tb\nc\rd", "x\ry", "<e v='a\tb\nc\rd'>x\ry</e>"},
      {"on: references", "UTF-8", true, "a\tb\nc\rd", "x\ry\tz\n",
       "<e v='a&#9;b&#10;c&#13;d'>x&#13;y\tz\n</e>"},
      {"on: ASCII gets references", "US-ASCII", true, "Zo\xC3\xAB", "\xE2\x82\xAC\xF0\x9F\x98\x80!",
       "<e v='Zo&#235;'>&#8364;&#128512;!</e>"},
      {"off: ASCII drops", "US-ASCII", false, "Zo\xC3\xAB", "\xE2\x82\xAC!", "<e v='Zo'>!</e>"},
      {"on: Latin-1 keeps what it holds", "ISO-8859-1", true, "\xC3\xAB", "\xE2\x82\xAC",
       "<e v='\xEB'>&#8364;</e>"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    MemWriter m;
    m.w->setEncoding(c.encoding);
    m.w->setLossless(c.lossless);
    m.w->startElement("e", kFormatInline);
    m.w->stringAttribute("v", c.attr);
    m.w->characters(c.text);
    m.w->endElement();
    EXPECT_EQ(m.closed(),
              std::string("<?xml version='1.0' encoding='") + c.encoding + "'?>\n" + c.expected);
  }
}

TEST(XMLWriterLossless, LiteralsAndSectionsGetNoReferences) {
  // In a comment, a PI or a CDATA section a reference would not be one:
  // there the character is dropped.
  MemWriter m;
  m.w->setEncoding("US-ASCII");
  m.w->setLossless(true);
  m.w->startElement("e", kFormatInline);
  m.w->comment("\xC3\xAB");
  m.w->processingInstruction("p", "\xC3\xAB");
  EXPECT_EQ(m.w->startCDATA(), zob::kOk);
  m.w->characters("\xC3\xAB]]>");
  EXPECT_EQ(m.w->endCDATA(), 1);
  m.w->characters("\xC3\xAB");
  m.w->endElement();
  EXPECT_EQ(m.closed(), "<?xml version='1.0' encoding='US-ASCII'?>\n"
                        "<e><!----><?p ?><![CDATA[]]]]><![CDATA[>]]>&#235;</e>");
}

TEST(XMLWriterLossless, PrologItemsAndDocumentType) {
  MemWriter m;
  EXPECT_EQ(m.w->comment("a"), zob::kOk);
  EXPECT_EQ(m.w->docType("r", "", "r.dtd", "\n<!ENTITY e 'x'>\n"), zob::kOk);
  EXPECT_EQ(m.w->processingInstruction("pi", ""), zob::kOk);
  m.w->startElement("r", kFormatInline);
  EXPECT_EQ(m.w->entityReference("e"), zob::kOk);
  EXPECT_EQ(m.w->comment("in"), zob::kOk);
  m.w->endElement();
  EXPECT_EQ(m.w->processingInstruction("end", "x y"), zob::kOk);
  EXPECT_EQ(m.closed(), std::string(kDecl) +
                            "<!--a-->\n<!DOCTYPE r SYSTEM 'r.dtd' [\n<!ENTITY e 'x'>\n]>\n"
                            "<?pi?>\n<r>&e;<!--in--></r>\n<?end x y?>\n");
  // What cannot be written.
  MemWriter n;
  EXPECT_EQ(n.w->comment("a--b"), zob::kInvalidArgument);
  EXPECT_EQ(n.w->comment("a-"), zob::kInvalidArgument);
  EXPECT_EQ(n.w->processingInstruction("p", "a?>"), zob::kInvalidArgument);
  EXPECT_EQ(n.w->processingInstruction("", "a"), zob::kInvalidArgument);
  EXPECT_EQ(n.w->entityReference("e"), zob::kInvalidState);  // in the prolog
  n.w->startElement("r", kFormatInline);
  EXPECT_EQ(n.w->docType("r", "", "", ""), zob::kInvalidState);
  EXPECT_EQ(errorOf(n.w.get()), "Document type after the document element");
}
