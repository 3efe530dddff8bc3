// Character data index rules and splitting text.
#include <kelp/xml/dom/dom_CharacterData.h>

#include <gtest/gtest.h>

#include <zob/zob_mem.h>

#include "tests/xml/dom/dom_test_util.h"

namespace {

using namespace qor::quv::xml::dom;
namespace qx = qor::quv::xml;
using kelp::test::shape;

TEST(CharacterData, EditingAndIndexRules) {
  zob::Ref<Document> doc = Document::create();
  enum Op { kSub, kInsert, kDelete, kReplace };
  struct Case {
    Op op;
    int offset;
    int count;
    const char* text;
    ZResult result;
    const char* after;  // data afterwards (or the substring for kSub)
  };
  const ZResult bad = zob::code(0x96260101u);
  Case cases[] = {
      {kDelete, 2, 100, "", zob::kOk, "ab"},
      {kDelete, 0, 0, "", zob::kOk, "abcdef"},
      {kDelete, 6, 1, "", zob::kOk, "abcdef"},
      {kDelete, 1, 2, "", zob::kOk, "adef"},
      {kDelete, 7, 0, "", bad, "abcdef"},
      {kDelete, -1, 1, "", bad, "abcdef"},
      {kDelete, 1, -1, "", bad, "abcdef"},
      {kInsert, 7, 0, "x", bad, "abcdef"},
      {kInsert, -1, 0, "x", bad, "abcdef"},
      {kInsert, 6, 0, "x", zob::kOk, "abcdefx"},
      {kInsert, 0, 0, "x", zob::kOk, "xabcdef"},
      {kInsert, 3, 0, "", zob::kOk, "abcdef"},
      {kReplace, 1, 2, "XYZ", zob::kOk, "aXYZdef"},
      {kReplace, 4, 100, "!", zob::kOk, "abcd!"},
      {kReplace, 6, 0, "!", zob::kOk, "abcdef!"},
      {kReplace, 7, 0, "!", bad, "abcdef"},
      {kReplace, 0, -2, "!", bad, "abcdef"},
      {kSub, 1, 3, "", zob::kOk, "bcd"},
      {kSub, 4, 10, "", zob::kOk, "ef"},
      {kSub, 6, 1, "", zob::kOk, ""},
      {kSub, 7, 0, "", bad, ""},
      {kSub, -1, 1, "", bad, ""},
      {kSub, 0, -1, "", bad, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.op << " " << c.offset << " " << c.count);
    zob::Ref<Text> t = doc->createTextNode("abcdef");
    qx::IDomCharacterData* cd = t.get();
    char* sub = reinterpret_cast<char*>(1);
    ZResult r = zob::kOk;
    switch (c.op) {
      case kSub:
        r = cd->substringData(c.offset, c.count, &sub);
        if (r == zob::kOk) {
          EXPECT_STREQ(sub, c.after);
          zobFree(sub);
        } else {
          EXPECT_EQ(sub, nullptr);
        }
        break;
      case kInsert:
        r = cd->insertData(c.offset, c.text);
        break;
      case kDelete:
        r = cd->deleteData(c.offset, c.count);
        break;
      case kReplace:
        r = cd->replaceData(c.offset, c.count, c.text);
        break;
    }
    EXPECT_EQ(r, c.result);
    if (c.op != kSub) {
      EXPECT_EQ(t->getData(), c.after);
    }
    // The native forms agree.
    zob::Ref<Text> n = doc->createTextNode("abcdef");
    bool ok = true;
    std::string s;
    switch (c.op) {
      case kSub:
        ok = n->substringData(c.offset, c.count, &s) == zob::kOk;
        if (ok) {
          EXPECT_EQ(s, c.after);
        }
        break;
      case kInsert:
        ok = n->insertData(c.offset, std::string(c.text)) == zob::kOk;
        break;
      case kDelete:
        ok = n->deleteData(c.offset, c.count) == zob::kOk;
        break;
      case kReplace:
        ok = n->replaceData(c.offset, c.count, std::string(c.text)) == zob::kOk;
        break;
    }
    EXPECT_EQ(ok, c.result == zob::kOk);
    if (c.op != kSub) {
      EXPECT_EQ(n->getData(), c.after);
    }
  }
}

TEST(CharacterData, SetAppendLength) {
  zob::Ref<Document> doc = Document::create();
  zob::Ref<CDATASection> c = doc->createCDATASection("x");
  qx::IDomCharacterData* cd = c.get();
  ASSERT_EQ(cd->appendData("yz"), zob::kOk);
  ASSERT_EQ(cd->appendData(nullptr), zob::kOk);
  int n = 0;
  ASSERT_EQ(cd->getLength(&n), zob::kOk);
  EXPECT_EQ(n, 3);
  char* s = nullptr;
  ASSERT_EQ(cd->getData(&s), zob::kOk);
  EXPECT_STREQ(s, "xyz");
  zobFree(s);
  ASSERT_EQ(cd->setData(nullptr), zob::kOk);
  EXPECT_EQ(c->getLength(), 0);
  c->setData("ab");
  c->appendData("c");
  EXPECT_EQ(c->getNodeValue(), "abc");
}

TEST(Text, SplitText) {
  zob::Ref<Document> doc = Document::create();
  zob::Ref<Element> p = doc->createElement("p");
  zob::Ref<Text> t = doc->createTextNode("abc");
  p->appendChild(t.get());
  p->appendChild(doc->createElement("after").get());

  zob::Ref<Text> tail = t->splitText(0);
  ASSERT_TRUE(tail);
  EXPECT_EQ(shape(p.get()), "E(p)[T(),T(abc),E(after)]");
  EXPECT_EQ(tail->getRefCount(), 2);  // ours and t's next link

  zob::Ref<Text> end = tail->splitText(3);
  EXPECT_EQ(shape(p.get()), "E(p)[T(),T(abc),T(),E(after)]");
  const std::string before = shape(p.get());
  EXPECT_FALSE(tail->splitText(4));
  EXPECT_FALSE(tail->splitText(-1));
  EXPECT_EQ(shape(p.get()), before);

  qx::IDomText* it = tail.get();
  qx::IDomText* out = reinterpret_cast<qx::IDomText*>(1);
  EXPECT_EQ(it->splitText(9, &out), zob::code(0x96260101u));
  EXPECT_EQ(out, nullptr);
  ASSERT_EQ(it->splitText(1, &out), zob::kOk);
  EXPECT_EQ(shape(p.get()), "E(p)[T(),T(a),T(bc),T(),E(after)]");
  out->_comRelease();

  // Without a parent the new node is only handed out.
  zob::Ref<Text> loose = doc->createTextNode("xy");
  zob::Ref<Text> y = loose->splitText(1);
  EXPECT_EQ(loose->getData(), "x");
  EXPECT_EQ(y->getData(), "y");
  EXPECT_EQ(y->getParentNode(), nullptr);
  EXPECT_EQ(y->getRefCount(), 1);

  // A CDATA section splits into a CDATA section.
  zob::Ref<CDATASection> cd = doc->createCDATASection("12");
  zob::Ref<Text> two = cd->splitText(1);
  EXPECT_EQ(two->getNodeType(), qx::kCDATASectionNode);
  EXPECT_EQ(two->getData(), "2");
}

}  // namespace
