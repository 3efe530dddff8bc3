// The layout document model: atoms and their payloads, blocks, reference
// counts and the space-collapsing rule.
#include <kelp/layout/lo_Document.h>

#include <functional>

#include <gtest/gtest.h>
#include <kelp/host.h>

#include "tests/layout/lo_test_support.h"

using namespace kelp::test::layout;

TEST(LayoutAtom, InlineAtomsCarryTypeAndValue) {
  struct {
    AtomType type;
    std::uint16_t value;
  } cases[] = {{kAtomSpace, 0},
               {kAtomNbSpace, 0},
               {kAtomBreak, 0},
               {kAtomHRule, 0},
               {kAtomChar, 0xFFFF},
               {kAtomChar, 'a'},
               {kAtomStyleOn, kStyleStrong},
               {kAtomStyleOff, kStyleTT}};
  for (const auto& c : cases) {
    SCOPED_TRACE(static_cast<int>(c.type));
    Atom a(c.type, c.value);
    EXPECT_FALSE(a.isShared());
    EXPECT_EQ(a.getType(), c.type);
    EXPECT_EQ(a.getChar(), c.value);
    EXPECT_EQ(a.getStyle(), c.value);
    Atom copy(a);
    EXPECT_EQ(copy.getType(), c.type);
    EXPECT_EQ(copy.getChar(), c.value);
  }
}

TEST(LayoutAtom, SharedPayloadIsCounted) {
  AtomData* data = AtomData::create(kAtomChar, 0x263A);
  EXPECT_EQ(data->refs, 0);
  {
    Atom a(data);
    EXPECT_TRUE(a.isShared());
    EXPECT_EQ(a.getType(), kAtomChar);
    EXPECT_EQ(a.getChar(), 0x263A);
    EXPECT_EQ(data->refs, 1);
    Atom b(a);
    EXPECT_EQ(data->refs, 2);
    Atom c(kAtomSpace);
    c = b;
    EXPECT_EQ(data->refs, 3);
    EXPECT_EQ(c.getChar(), 0x263A);
    c = Atom(kAtomBreak);
    EXPECT_EQ(data->refs, 2);
    EXPECT_EQ(c.getType(), kAtomBreak);
    Atom& alias = b;
    b = alias;  // self-assignment keeps the count
    EXPECT_EQ(data->refs, 2);
    data->addRef();  // keep it beyond the atoms
  }
  EXPECT_EQ(data->refs, 1);
  data->release();
}

TEST(LayoutAtom, TypesWithoutInlineFormUseARecord) {
  Atom zero(static_cast<AtomType>(0), 7);
  EXPECT_TRUE(zero.isShared());
  EXPECT_EQ(static_cast<int>(zero.getType()), 0);
  EXPECT_EQ(zero.getChar(), 7);
  Atom copy = zero;
  EXPECT_EQ(static_cast<int>(copy.getType()), 0);
}

TEST(LayoutBlocks, EnvironmentsLinkTheirChildren) {
  auto app = kelp::host::Application::create();
  auto* doc = new Document(app.get());
  doc->addRef();
  EXPECT_EQ(app->refCount(), 2u);  // ours and the document's
  EXPECT_EQ(doc->getApplication(), app.get());
  EnvBlock* body = doc->getBody();
  EXPECT_EQ(body->getType(), kEnvBody);
  EXPECT_EQ(body->getEnclBlock(), nullptr);
  EXPECT_EQ(body->getDoc(), doc);
  EnvBlock* list = body->appendEnvironment(kEnvUL);
  EnvBlock* item = list->appendEnvironment(kEnvLI);
  ParaBlock* para = item->appendParagraph(kParaBlock);
  EXPECT_EQ(list->getEnclBlock(), body);
  EXPECT_EQ(item->getEnclBlock(), list);
  EXPECT_EQ(para->getEnclBlock(), item);
  EXPECT_EQ(para->getDoc(), doc);
  EXPECT_EQ(para->getType(), kParaBlock);
  ParaBlock* second = body->appendParagraph(kParaPre);
  ASSERT_EQ(body->getBlocks().size(), 2u);
  EXPECT_EQ(body->getBlocks()[0], list);
  EXPECT_EQ(body->getBlocks()[1], second);
  EXPECT_EQ(dump(body), "100{106{107{2[]}},3[]}");

  // A block kept beyond its document outlives it.
  para->addRef();
  para->appendChar('x');
  doc->release();
  EXPECT_EQ(app->refCount(), 1u);
  EXPECT_EQ(para->getAtoms().size(), 1u);
  para->release();
}

TEST(LayoutBlocks, TypeKinds) {
  for (int t : {1, 2, 3, 4, 9, 10, 11}) EXPECT_TRUE(isParagraphType(static_cast<BlockType>(t)));
  for (int t : {100, 101, 107}) EXPECT_FALSE(isParagraphType(static_cast<BlockType>(t)));
}

TEST(LayoutParagraph, AppendSpaceCollapses) {
  struct Step {
    const char* name;
    std::function<void(ParaBlock*)> build;
    std::string expected;
  };
  auto* doc = new Document(nullptr);
  doc->addRef();
  std::vector<Step> steps = {
      {"leading", [](ParaBlock* p) { p->appendSpace(); }, "2[]"},
      {"after char", [](ParaBlock* p) { p->appendChar('a'), p->appendSpace(); }, "2[a_]"},
      {"repeated", [](ParaBlock* p) { p->appendChar('a'), p->appendSpace(), p->appendSpace(); },
       "2[a_]"},
      {"over styles",
       [](ParaBlock* p) {
         p->appendChar('a'), p->appendStyleOn(kStyleB), p->appendStyleOff(kStyleB);
         p->appendSpace();
       },
       "2[a(+1)(-1)_]"},
      {"over break and rule",
       [](ParaBlock* p) {
         p->appendChar('a'), p->appendBreak(), p->appendHRule(), p->appendSpace();
       },
       "2[a/=_]"},
      {"space then styles",
       [](ParaBlock* p) {
         p->appendChar('a'), p->appendSpace(), p->appendStyleOn(kStyleI), p->appendSpace();
       },
       "2[a_(+2)]"},
      {"only styles", [](ParaBlock* p) { p->appendStyleOn(kStyleI), p->appendSpace(); }, "2[(+2)]"},
      {"after nbsp",
       [](ParaBlock* p) {
         p->appendChar('a'), p->appendAtom(Atom(kAtomNbSpace)), p->appendSpace();
       },
       "2[a~]"},
      {"after appended char",
       [](ParaBlock* p) { p->appendAtom(Atom(kAtomChar, 'b')), p->appendSpace(); }, "2[b_]"},
  };
  for (const Step& s : steps) {
    SCOPED_TRACE(s.name);
    ParaBlock* p = doc->getBody()->appendParagraph(kParaBlock);
    s.build(p);
    EXPECT_EQ(dump(p), s.expected);
  }
  doc->release();
}

TEST(LayoutBlocks, DeepTreeIsReleasedWithoutRecursion) {
  auto* doc = new Document(nullptr);
  doc->addRef();
  EnvBlock* env = doc->getBody();
  for (int i = 0; i < 200000; ++i) env = env->appendEnvironment(kEnvDiv);
  env->appendParagraph(kParaBlock)->appendChar('x');
  doc->release();
}
