// Attribute lists and their object-model wrapper.
#include <gtest/gtest.h>
#include <kelp/xml/sax/sax_Attributes.h>
#include <kelp/xml/sax/sax_AttributesItf.h>
#include <kelp/xml/sax/sax_XMLReader.h>
#include <zob/zob_mem.h>

#include <string>

using namespace qor::quv::xml::sax;
namespace xml = qor::quv::xml;

namespace {

// A reader that does nothing but fill attribute lists, as real readers do.
class FillingReader : public XMLReader {
 public:
  void setContentHandler(ContentHandler*) override {}
  ContentHandler* getContentHandler() const override { return nullptr; }
  void setDTDHandler(DTDHandler*) override {}
  DTDHandler* getDTDHandler() const override { return nullptr; }
  void setEntityResolver(EntityResolver*) override {}
  EntityResolver* getEntityResolver() const override { return nullptr; }
  void setErrorHandler(ErrorHandler*) override {}
  ErrorHandler* getErrorHandler() const override { return nullptr; }
  void setDeclHandler(DeclHandler*) override {}
  DeclHandler* getDeclHandler() const override { return nullptr; }
  void setLexicalHandler(LexicalHandler*) override {}
  LexicalHandler* getLexicalHandler() const override { return nullptr; }
  void setFeature(const std::string&, bool) override {}
  bool getFeature(const std::string&) override { return false; }
  bool hasFeature(const std::string&) override { return false; }
  bool parse(InputSource*) override { return false; }
  bool parse(const std::string&) override { return false; }

  void reserve(Attributes* a, unsigned n) { reserveAttributes(a, n); }
  void add(Attributes* a, const char* uri, const char* local, const char* q, const char* type,
           const char* value) {
    addAttribute(a, uri, local, q, type, value);
  }
};

// Three attributes, two of them with the same qualified name.
Attributes sample() {
  FillingReader reader;
  Attributes atts;
  reader.reserve(&atts, 4);
  reader.add(&atts, "", "id", "id", "CDATA", "a1");
  reader.add(&atts, "urn:x", "lang", "x:lang", "CDATA", "de");
  reader.add(&atts, "urn:y", "id", "id", "ID", "second");
  return atts;
}

}  // namespace

TEST(SaxAttributes, EmptyListAnswersEmptyStrings) {
  Attributes atts;
  EXPECT_EQ(atts.getLength(), 0);
  EXPECT_STREQ(atts.getValue(0), "");
  EXPECT_STREQ(atts.getQName(-1), "");
  EXPECT_EQ(atts.getIndex("id"), -1);
  EXPECT_EQ(atts.getIndex("", "id"), -1);
  EXPECT_STREQ(atts.getValue("id"), "");
  EXPECT_STREQ(atts.getType("", "id"), "");
}

TEST(SaxAttributes, FieldsByIndexAndOutOfRange) {
  Attributes atts = sample();
  ASSERT_EQ(atts.getLength(), 3);
  EXPECT_STREQ(atts.getURI(1), "urn:x");
  EXPECT_STREQ(atts.getLocalName(1), "lang");
  EXPECT_STREQ(atts.getQName(1), "x:lang");
  EXPECT_STREQ(atts.getType(2), "ID");
  EXPECT_STREQ(atts.getValue(2), "second");
  for (int bad : {-1, 3, 100, -1000}) {
    SCOPED_TRACE(bad);
    for (const char* s : {atts.getURI(bad), atts.getLocalName(bad), atts.getQName(bad),
                          atts.getType(bad), atts.getValue(bad)}) {
      ASSERT_NE(s, nullptr);
      EXPECT_STREQ(s, "");
    }
  }
}

TEST(SaxAttributes, LookupsFindTheFirstMatch) {
  Attributes atts = sample();
  EXPECT_EQ(atts.getIndex("id"), 0);  // the first of two
  EXPECT_STREQ(atts.getValue("id"), "a1");
  EXPECT_EQ(atts.getIndex("x:lang"), 1);
  EXPECT_EQ(atts.getIndex("lang"), -1);  // qualified names compare whole
  EXPECT_EQ(atts.getIndex("ID"), -1);    // and by bytes
  EXPECT_EQ(atts.getIndex("urn:y", "id"), 2);
  EXPECT_EQ(atts.getIndex("", "id"), 0);
  EXPECT_EQ(atts.getIndex("urn:x", "id"), -1);
  EXPECT_STREQ(atts.getType("urn:y", "id"), "ID");
  EXPECT_STREQ(atts.getValue("urn:x", "lang"), "de");
  EXPECT_STREQ(atts.getValue("urn:z", "lang"), "");
  EXPECT_STREQ(atts.getType("x:lang"), "CDATA");
  EXPECT_EQ(atts.getIndex(nullptr), -1);
}

TEST(SaxAttributes, StringsAreBorrowedAndHandlesShared) {
  std::string value = "before";
  FillingReader reader;
  Attributes atts;
  reader.add(&atts, nullptr, "a", "a", nullptr, value.c_str());
  EXPECT_EQ(atts.getValue(0), value.c_str());  // the reader's own pointer
  EXPECT_STREQ(atts.getURI(0), "");            // null stored as ""
  EXPECT_STREQ(atts.getType(0), "");
  Attributes copy = atts;
  reader.add(&atts, "", "b", "b", "CDATA", "2");
  EXPECT_EQ(copy.getLength(), 2);  // copies share the list
  Attributes other;
  other = copy;
  copy = Attributes();
  EXPECT_EQ(copy.getLength(), 0);
  EXPECT_EQ(other.getLength(), 2);
  Attributes& same = other;
  other = same;  // self-assignment keeps the list
  EXPECT_EQ(other.getLength(), 2);
}

TEST(SaxAttributesItf, ForwardsAndCopiesOut) {
  zob::Ref<xml::IAttributes> itf(new AttributesItf(sample()));
  int n = 0;
  ASSERT_EQ(itf->getLength(&n), zob::kOk);
  EXPECT_EQ(n, 3);
  int index = 9;
  EXPECT_EQ(itf->getIndexQ("x:lang", &index), zob::kOk);
  EXPECT_EQ(index, 1);
  EXPECT_EQ(itf->getIndexQ(nullptr, &index), zob::kOk);
  EXPECT_EQ(index, -1);
  EXPECT_EQ(itf->getIndex("urn:y", "id", &index), zob::kOk);
  EXPECT_EQ(index, 2);
  EXPECT_EQ(itf->getIndex(nullptr, "id", &index), zob::kOk);  // null uri is ""
  EXPECT_EQ(index, 0);

  struct Case {
    const char* name;
    ZResult (*call)(xml::IAttributes*, char**);
    const char* expected;
  } cases[] = {
      {"getURI", [](xml::IAttributes* a, char** s) { return a->getURI(1, s); }, "urn:x"},
      {"getLocalName", [](xml::IAttributes* a, char** s) { return a->getLocalName(1, s); }, "lang"},
      {"getQName", [](xml::IAttributes* a, char** s) { return a->getQName(1, s); }, "x:lang"},
      {"getTypeI", [](xml::IAttributes* a, char** s) { return a->getTypeI(2, s); }, "ID"},
      {"getTypeQ", [](xml::IAttributes* a, char** s) { return a->getTypeQ("id", s); }, "CDATA"},
      {"getType", [](xml::IAttributes* a, char** s) { return a->getType("urn:y", "id", s); }, "ID"},
      {"getValueI", [](xml::IAttributes* a, char** s) { return a->getValueI(0, s); }, "a1"},
      {"getValueQ", [](xml::IAttributes* a, char** s) { return a->getValueQ("id", s); }, "a1"},
      {"getValue", [](xml::IAttributes* a, char** s) { return a->getValue("urn:y", "id", s); },
       "second"},
      {"out of range", [](xml::IAttributes* a, char** s) { return a->getValueI(3, s); }, ""},
      {"absent", [](xml::IAttributes* a, char** s) { return a->getValueQ("nope", s); }, ""},
      {"null name", [](xml::IAttributes* a, char** s) { return a->getValueQ(nullptr, s); }, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    char* s = nullptr;
    ASSERT_EQ(c.call(itf.get(), &s), zob::kOk);
    ASSERT_NE(s, nullptr);
    EXPECT_STREQ(s, c.expected);
    zobFree(s);  // a fresh copy for the caller
  }
  EXPECT_EQ(itf->getValueI(0, nullptr), zob::kInvalidArgument);
  EXPECT_EQ(itf->getLength(nullptr), zob::kInvalidArgument);
}

TEST(SaxAttributesItf, InterfacesAndReferenceCount) {
  auto* raw = new AttributesItf(sample());
  EXPECT_EQ(raw->_comAddRef(), 1u);  // created with a count of 0
  zob::Ref<xml::IAttributes> itf = zob::Ref<xml::IAttributes>::adopt(raw);
  EXPECT_STREQ(itf->getInterfaceId(), "IDL:qor/quv/xml/IAttributes:1.0");
  EXPECT_STREQ(itf->_comGetInterfaceId(), "IDL:qor/quv/xml/IAttributes:1.0");

  zob::Ref<zob::IUnknown> unk;
  EXPECT_EQ(zob::query(itf.get(), unk), zob::kOk);
  EXPECT_EQ(unk.get(), static_cast<zob::IUnknown*>(raw));
  zob::Ref<xml::IAttributes> again;
  EXPECT_EQ(zob::query(unk.get(), again), zob::kOk);
  EXPECT_EQ(again.get(), itf.get());
  EXPECT_EQ(raw->addRef(), 4u);
  EXPECT_EQ(raw->release(), 3u);

  zob::IUnknown* none = reinterpret_cast<zob::IUnknown*>(1);
  EXPECT_EQ(itf->_comQueryInterface("IDL:qor/quv/xml/IOther:1.0", &none), zob::kNoInterface);
  EXPECT_EQ(none, nullptr);
  EXPECT_EQ(itf->_comQueryInterface(xml::IAttributes::IID, nullptr), zob::kInvalidArgument);
}

TEST(SaxAttributesItf, KeepsItsOwnHandle) {
  zob::Ref<xml::IAttributes> itf;
  {
    Attributes atts = sample();
    itf = zob::Ref<xml::IAttributes>(new AttributesItf(atts));
  }  // the caller's handle is gone; the wrapper's copy keeps the list
  int n = 0;
  EXPECT_EQ(itf->getLength(&n), zob::kOk);
  EXPECT_EQ(n, 3);
}
