// The XML toolkit with allocations failing: the reader, the DOM builder and
// the writer are each run with the Nth allocation failing for every N until
// the run gets through, and must fail cleanly each time (their out-of-memory
// result, no exception escaping, nothing leaked) or succeed whole.
#include <gtest/gtest.h>
#include <kelp/xml/sax/sax_DefaultHandler.h>
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <kelp/xml/sax/sax_ParseException.h>
#include <kelp/xml/sax/sax_SimpleXMLReader.h>
#include <kelp/xml/xml_DomReader.h>
#include <kelp/xml/xml_Writer.h>
#include <zob/zob_io.h>

#include <algorithm>
#include <clocale>
#include <sstream>
#include <string>

#include "alloc_failure.h"
#include "tests/xml/dom/dom_test_util.h"

namespace {

using namespace qor::quv::xml;
using kelp::test::endAllocationFailure;
using kelp::test::forEachAllocationFailure;
using kelp::test::startAllocationFailure;

constexpr const char kDoc[] =
    "<?xml version='1.0'?><!DOCTYPE cat [<!ENTITY e 'ent'>]>"
    "<cat xmlns:p='urn:p' a='1'><p:item id='x'>t&e;&amp;<b/></p:item><![CDATA[c]]></cat>";

// Counts what a parse reports without allocating itself (its texts fit in
// the room reserved up front), so that every failing allocation is the
// reader's.
class Counter : public sax::DefaultHandler {
 public:
  Counter() {
    chars.reserve(64);
    fatal.reserve(256);
  }
  bool startElement(const char*, const char*, const char*, const sax::Attributes&) override {
    ++elements;
    return true;
  }
  bool characters(const char* text) override {
    chars += text;
    return true;
  }
  bool fatalError(const sax::SAXParseException& e) override {
    fatal = e.getMessage();
    return false;
  }
  int elements = 0;
  std::string chars;
  std::string fatal;
};

// The reader reports an allocation failure as its fatal error "out of
// memory".
// Disabled until the reader turns allocation failures into that fatal
// error: std::bad_alloc escapes SimpleXMLReader::parse from its first
// allocation on (the namespace bindings that resetBindings makes).
TEST(OutOfMemoryTest, DISABLED_ReaderFailsCleanly) {
  int failures = forEachAllocationFailure([] {
    Counter counter;
    bool ok;
    {
      sax::SimpleXMLReader reader(nullptr);
      reader.setContentHandler(&counter);
      reader.setErrorHandler(&counter);
      auto* in = new std::istringstream(kDoc);
      sax::ISInputSource source("", "doc.xml", in, true);
      startAllocationFailure();
      ok = reader.parse(&source);
    }
    if (!endAllocationFailure()) {
      EXPECT_TRUE(ok) << counter.fatal;
      EXPECT_EQ(counter.elements, 3);
      EXPECT_EQ(counter.chars, "tent&c");
    } else if (!ok) {
      EXPECT_EQ(counter.fatal, "out of memory");
    }
  });
  EXPECT_GT(failures, 0);
}

// Disabled: std::bad_alloc still escapes DomReader::readString (through the
// reader) until the reader and the DOM builder turn it into their "out of
// memory" error.
// Disabled until the DOM builder reports allocation failures as its "out of
// memory" error: std::bad_alloc escapes DomReader::readString (first from
// the input source it makes for the text, then through the reader).
TEST(OutOfMemoryTest, DISABLED_DomReaderFailsCleanly) {
  int failures = forEachAllocationFailure([] {
    DomReader reader(nullptr);
    std::string text = kDoc;
    startAllocationFailure();
    zob::Ref<dom::Document> doc = reader.readString(text);
    if (!endAllocationFailure()) {
      ASSERT_TRUE(doc) << reader.getErrorMessage();
      EXPECT_EQ(kelp::test::shape(doc.get()),
                "D[E(cat a=1 p=urn:p)[E(item id=x)[T(t),T(ent),T(&),E(b)],C(c)]]");
    } else if (!doc) {
      EXPECT_EQ(reader.getErrorMessage(), "out of memory");
    }
  });
  EXPECT_GT(failures, 0);
}

// A call that meets the failure answers kOutOfMemory (or, when the writer
// could not even make its state, kInvalidState as a writer that is not open);
// the calls after it may fail too, as nothing is rolled back. When every call
// answered success the text is whole.
TEST(OutOfMemoryTest, WriterFailsCleanly) {
  ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
  int failures = forEachAllocationFailure([] {
    zob::Ref<zob::io::IMemoryOutputStream> mem;
    ASSERT_EQ(zobCreateMemoryOutputStream(mem.out()), zob::kOk);
    ZResult r[8];
    {
      startAllocationFailure();
      zob::Ref<XMLWriter> w(new (std::nothrow) XMLWriter(mem.get(), 2));
      if (!w) {
        EXPECT_TRUE(endAllocationFailure());
        return;
      }
      r[0] = w->startElement("cat", kFormatIndentedBlock);
      r[1] = w->stringAttribute("name", "a<b");
      r[2] = w->startElement("item", kFormatBlock);
      r[3] = w->intAttribute("n", 42);
      r[4] = w->characters("x & y");
      r[5] = w->endElement();
      r[6] = w->endElement();
      r[7] = w->close() == 1 ? zob::kInvalidState : zob::kOk;  // 1: was not open
    }
    bool failed = endAllocationFailure();
    const ZResult* firstFailure = std::find_if(r, r + 8, [](ZResult x) { return x != zob::kOk; });
    if (firstFailure != r + 8) {
      EXPECT_TRUE(failed);
      EXPECT_TRUE(*firstFailure == zob::kOutOfMemory || *firstFailure == zob::kInvalidState)
          << *firstFailure << " from call " << (firstFailure - r);
    } else {
      const char* data = nullptr;
      std::size_t size = 0;
      ASSERT_EQ(mem->getData(&data, &size), zob::kOk);
      EXPECT_EQ(std::string(data, size),
                "<?xml version='1.0' encoding='UTF-8'?>\n"
                "<cat name='a&lt;b'>\n  <item n='42'>x &amp; y</item>\n</cat>\n");
    }
  });
  std::setlocale(LC_ALL, "C");
  EXPECT_GT(failures, 0);
}

}  // namespace
