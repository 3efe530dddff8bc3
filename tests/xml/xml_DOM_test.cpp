// The DOM helpers: conversions, null handling, child elements and child
// attributes with pruning.
#include <kelp/xml/xml_DOM.h>

#include <gtest/gtest.h>

#include <kelp/xml/dom/dom_Implementation.h>
#include <zob/zob_mem.h>

#include "tests/xml/dom/dom_test_util.h"

namespace {

using namespace qor::quv::xml::dom;
namespace qx = qor::quv::xml;
using kelp::test::shape;

std::string take(char* s) {
  std::string r = s ? s : "(null)";
  zobFree(s);
  return r;
}

class DomHelpers : public ::testing::Test {
 protected:
  void SetUp() override {
    doc = Document::create();
    root = doc->createElement("settings");
    doc->appendChild(root.get());
  }
  qx::IDomNode* parent() { return static_cast<qx::IDomNode*>(root.get()); }

  zob::Ref<Document> doc;
  zob::Ref<Element> root;
};

TEST_F(DomHelpers, NullArgumentsGiveNeutralResults) {
  EXPECT_FALSE(DOM::toNode(nullptr));
  EXPECT_FALSE(DOM::toElement(nullptr));
  EXPECT_FALSE(DOM::toText(nullptr));
  EXPECT_FALSE(DOM::getParentNode(static_cast<qx::IDomNode*>(nullptr)));
  EXPECT_FALSE(DOM::getFirstChild(static_cast<zob::IUnknown*>(nullptr)));
  EXPECT_FALSE(DOM::getNextSibling(static_cast<qx::IDomNode*>(nullptr)));
  EXPECT_FALSE(DOM::getOwnerDocument(static_cast<zob::IUnknown*>(nullptr)));
  EXPECT_FALSE(DOM::removeChild(static_cast<qx::IDomNode*>(nullptr), nullptr));
  EXPECT_FALSE(DOM::appendChild(parent(), nullptr));
  EXPECT_FALSE(DOM::hasChildNodes(static_cast<qx::IDomNode*>(nullptr)));
  EXPECT_FALSE(DOM::hasAttributes(static_cast<zob::IUnknown*>(nullptr)));
  EXPECT_EQ(DOM::getTagName(nullptr), nullptr);
  EXPECT_EQ(DOM::getAttribute(static_cast<qx::IDomElement*>(nullptr), "a"), nullptr);
  EXPECT_FALSE(DOM::setAttribute(static_cast<qx::IDomElement*>(nullptr), "a", "b"));
  EXPECT_FALSE(DOM::removeAttribute(static_cast<qx::IDomElement*>(nullptr), "a"));
  EXPECT_FALSE(DOM::hasAttribute(nullptr, "a"));
  EXPECT_FALSE(DOM::setData(static_cast<qx::IDomText*>(nullptr), "x"));
  EXPECT_EQ(DOM::getData(static_cast<qx::IDomCharacterData*>(nullptr)), nullptr);
  EXPECT_FALSE(DOM::createElement(nullptr, "x"));
  EXPECT_FALSE(DOM::createTextNode(nullptr, "x"));
  EXPECT_FALSE(DOM::getChildElement(nullptr, "x", true));
  EXPECT_FALSE(DOM::getChildElement(parent(), nullptr, true));
  EXPECT_FALSE(DOM::getChildElement(parent(), "", true));
  EXPECT_FALSE(root->hasChildNodes());
  // A failing query gives null too.
  zob::Ref<Text> t = doc->createTextNode("x");
  EXPECT_FALSE(DOM::toElement(static_cast<qx::IDomNode*>(t.get())));
  EXPECT_TRUE(DOM::toText(static_cast<qx::IDomNode*>(t.get())));
}

TEST_F(DomHelpers, WrappersAndReferences) {
  qx::IDomDocument* d = doc.get();
  zob::Ref<qx::IDomElement> e = DOM::createElement(d, "a");
  ASSERT_TRUE(e);
  zob::Ref<qx::IDomText> t = DOM::createTextNode(d, "hello");
  ASSERT_TRUE(t);
  EXPECT_TRUE(DOM::appendChild(parent(), e.get()));
  EXPECT_TRUE(DOM::appendChild(static_cast<zob::IUnknown*>(e.get()), t.get()));
  EXPECT_FALSE(DOM::appendChild(static_cast<zob::IUnknown*>(t.get()), e.get()));
  EXPECT_EQ(shape(root.get()), "E(settings)[E(a)[T(hello)]]");
  EXPECT_EQ(take(DOM::getData(t.get())), "hello");
  EXPECT_TRUE(DOM::setData(t.get(), "bye"));
  EXPECT_EQ(take(DOM::getData(DOM::toCharacterData(t.get()).get())), "bye");
  EXPECT_TRUE(DOM::setAttribute(e.get(), "k", "v"));
  EXPECT_TRUE(DOM::hasAttribute(e.get(), "k"));
  EXPECT_TRUE(DOM::hasAttributes(static_cast<zob::IUnknown*>(e.get())));
  EXPECT_EQ(take(DOM::getAttribute(e.get(), "k")), "v");
  EXPECT_EQ(take(DOM::getAttribute(e.get(), "none")), "");
  EXPECT_EQ(take(DOM::getTagName(e.get())), "a");
  EXPECT_TRUE(DOM::removeAttribute(e.get(), "k"));
  EXPECT_FALSE(DOM::hasAttributes(static_cast<zob::IUnknown*>(e.get())));
  EXPECT_TRUE(DOM::hasChildNodes(static_cast<zob::IUnknown*>(e.get())));

  zob::Ref<qx::IDomNode> first = DOM::getFirstChild(parent());
  EXPECT_EQ(Node::fromInterface(first.get()), root->getFirstChild());
  EXPECT_EQ(Node::fromInterface(DOM::getParentNode(first.get()).get()), root.get());
  EXPECT_FALSE(DOM::getNextSibling(first.get()));
  EXPECT_EQ(Node::fromInterface(DOM::getOwnerDocument(t.get()).get()), doc.get());
  EXPECT_TRUE(DOM::removeChild(static_cast<zob::IUnknown*>(e.get()), t.get()));
  EXPECT_FALSE(DOM::removeChild(static_cast<zob::IUnknown*>(e.get()), t.get()));
  // Only our references and the tree's remain.
  first.reset();
  EXPECT_EQ(root->getFirstChild()->getRefCount(), 2);
  EXPECT_EQ(Node::fromInterface(t.get())->getRefCount(), 1);
}

TEST_F(DomHelpers, GetChildElement) {
  zob::Ref<Element> a1 = doc->createElement("item");
  zob::Ref<Element> a2 = doc->createElement("item");
  a2->setAttribute("id", "2");
  root->appendChild(doc->createTextNode("x").get());
  root->appendChild(a1.get());
  root->appendChild(a2.get());
  // Two of the name: the first one, even with create.
  EXPECT_EQ(Node::fromInterface(DOM::getChildElement(parent(), "item", true).get()), a1.get());
  EXPECT_EQ(Node::fromInterface(DOM::getChildElement(parent(), "item", "id", "2", false).get()),
            a2.get());
  // A missing attribute compares as "".
  EXPECT_EQ(Node::fromInterface(DOM::getChildElement(parent(), "item", "id", "", false).get()),
            a1.get());
  EXPECT_FALSE(DOM::getChildElement(parent(), "Item", false));
  EXPECT_FALSE(DOM::getChildElement(parent(), "item", "id", "3", false));
  EXPECT_EQ(shape(root.get()), "E(settings)[T(x),E(item),E(item id=2)]");
  zob::Ref<qx::IDomElement> made = DOM::getChildElement(parent(), "item", "id", "3", true);
  ASSERT_TRUE(made);
  EXPECT_EQ(shape(root.get()), "E(settings)[T(x),E(item),E(item id=2),E(item id=3)]");
  // On the document itself.
  EXPECT_EQ(
      Node::fromInterface(
          DOM::getChildElement(static_cast<qx::IDomNode*>(doc.get()), "settings", false).get()),
      root.get());
}

TEST_F(DomHelpers, ChildAttributes) {
  EXPECT_EQ(DOM::getAttribute(parent(), "window", "width"), nullptr);
  EXPECT_FALSE(root->hasChildNodes());  // nothing created
  EXPECT_TRUE(DOM::setAttribute(parent(), "window", "width", "640"));
  EXPECT_TRUE(DOM::setAttribute(parent(), "window", "height", "480"));
  EXPECT_EQ(shape(root.get()), "E(settings)[E(window height=480 width=640)]");
  EXPECT_EQ(take(DOM::getAttribute(parent(), "window", "width")), "640");
  EXPECT_EQ(take(DOM::getAttribute(parent(), "window", "depth")), "");

  EXPECT_TRUE(DOM::removeAttribute(parent(), "window", "width", true));
  EXPECT_EQ(shape(root.get()), "E(settings)[E(window height=480)]");
  EXPECT_FALSE(DOM::removeAttribute(parent(), "door", "width", true));
  // The last attribute of a child without children: the child goes too.
  EXPECT_TRUE(DOM::removeAttribute(parent(), "window", "height", true));
  EXPECT_EQ(shape(root.get()), "E(settings)");
  // Without prune the empty child stays.
  DOM::setAttribute(parent(), "window", "x", "1");
  EXPECT_TRUE(DOM::removeAttribute(parent(), "window", "x", false));
  EXPECT_EQ(shape(root.get()), "E(settings)[E(window)]");
}

TEST_F(DomHelpers, PruneStopsAtTheParentAndAtContent) {
  // parent <- wrap <- inner(attr): pruning from wrap's child climbs to the
  // first ancestor with content but never removes the parent passed in.
  zob::Ref<Element> wrap = doc->createElement("wrap");
  root->appendChild(wrap.get());
  qx::IDomNode* w = static_cast<qx::IDomNode*>(wrap.get());
  DOM::setAttribute(w, "inner", "a", "1");
  ASSERT_EQ(shape(root.get()), "E(settings)[E(wrap)[E(inner a=1)]]");
  EXPECT_TRUE(DOM::removeAttribute(w, "inner", "a", true));
  EXPECT_EQ(shape(root.get()), "E(settings)[E(wrap)]");

  DOM::setAttribute(w, "inner", "a", "1");
  zob::Ref<Element> inner = zob::Ref<Element>(static_cast<Element*>(wrap->getFirstChild()));
  inner->appendChild(doc->createTextNode("keep").get());
  EXPECT_TRUE(DOM::removeAttribute(w, "inner", "a", true));
  EXPECT_EQ(shape(root.get()), "E(settings)[E(wrap)[E(inner)[T(keep)]]]");
}

}  // namespace
