// Attributes of elements: the ordered map, attribute nodes and the live
// named node map.
#include <kelp/xml/dom/dom_AttrNodeMap.h>

#include <gtest/gtest.h>

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

class ElementTest : public ::testing::Test {
 protected:
  zob::Ref<Document> doc = Document::create();
  zob::Ref<Element> e = doc->createElement("item");
};

TEST_F(ElementTest, AttributesAreKeptInNameOrder) {
  EXPECT_EQ(e->setAttribute("price", "3"), zob::kOk);
  EXPECT_EQ(e->setAttribute(std::string("id"), std::string("A-1")), zob::kOk);
  EXPECT_EQ(e->setAttribute("Zeta", "z"), zob::kOk);
  EXPECT_EQ(e->setAttribute("id", "A-2"), zob::kOk);  // replaces the value
  EXPECT_EQ(shape(e.get()), "E(item Zeta=z id=A-2 price=3)");
  EXPECT_EQ(e->getAttribute("id"), "A-2");
  EXPECT_EQ(e->getAttribute("missing"), "");
  EXPECT_TRUE(e->hasAttribute("price"));
  EXPECT_FALSE(e->hasAttribute("Price"));
  EXPECT_TRUE(e->hasAttributes());
  e->removeAttribute("Zeta");
  e->removeAttribute("absent");
  EXPECT_EQ(shape(e.get()), "E(item id=A-2 price=3)");
  EXPECT_EQ(e->getAttributeNode("id")->getOwnerElement(), e.get());
  EXPECT_EQ(e->getAttributeNode("id")->getRefCount(), 1);
}

TEST_F(ElementTest, InterfaceForms) {
  qx::IDomElement* ie = e.get();
  ASSERT_EQ(ie->setAttribute("b", "2"), zob::kOk);
  ASSERT_EQ(ie->setAttribute("a", nullptr), zob::kOk);
  char* s = nullptr;
  ASSERT_EQ(ie->getAttribute("b", &s), zob::kOk);
  EXPECT_EQ(take(s), "2");
  ASSERT_EQ(ie->getAttribute("none", &s), zob::kOk);
  EXPECT_EQ(take(s), "");
  ASSERT_EQ(ie->getTagName(&s), zob::kOk);
  EXPECT_EQ(take(s), "item");
  int has = -1;
  ASSERT_EQ(ie->hasAttribute("a", &has), zob::kOk);
  EXPECT_EQ(has, 1);
  ASSERT_EQ(ie->removeAttribute("a"), zob::kOk);
  ASSERT_EQ(ie->removeAttribute("a"), zob::kOk);
  ASSERT_EQ(ie->hasAttribute("a", &has), zob::kOk);
  EXPECT_EQ(has, 0);
  zob::Ref<qx::IDomAttr> node;
  ASSERT_EQ(ie->getAttributeNode("b", node.out()), zob::kOk);
  ASSERT_TRUE(node);
  ASSERT_EQ(node->getName(&s), zob::kOk);
  EXPECT_EQ(take(s), "b");
  ASSERT_EQ(node->setValue("3"), zob::kOk);
  EXPECT_EQ(e->getAttribute("b"), "3");
  ASSERT_EQ(node->getSpecified(&has), zob::kOk);
  EXPECT_EQ(has, 1);
  zob::Ref<qx::IDomElement> owner;
  ASSERT_EQ(node->getOwnerElement(owner.out()), zob::kOk);
  EXPECT_EQ(owner.get(), ie);
  ASSERT_EQ(ie->getAttributeNode("none", node.out()), zob::kOk);
  EXPECT_FALSE(node);
}

TEST_F(ElementTest, AttributeNodes) {
  zob::Ref<Attr> x = doc->createAttribute("x");
  x->setValue("1");
  zob::Ref<Attr> replaced;
  ASSERT_EQ(e->setAttributeNode(x.get(), &replaced), zob::kOk);
  EXPECT_FALSE(replaced);
  EXPECT_EQ(x->getOwnerElement(), e.get());
  EXPECT_EQ(x->getRefCount(), 2);
  // Setting it again on its own element changes nothing.
  ASSERT_EQ(e->setAttributeNode(x.get(), &replaced), zob::kOk);
  EXPECT_FALSE(replaced);

  zob::Ref<Attr> x2 = doc->createAttribute("x");
  x2->setValue("2");
  ASSERT_EQ(e->setAttributeNode(x2.get(), &replaced), zob::kOk);
  EXPECT_EQ(replaced.get(), x.get());
  EXPECT_EQ(x->getOwnerElement(), nullptr);
  replaced.reset();
  EXPECT_EQ(x->getRefCount(), 1);
  EXPECT_EQ(e->getAttribute("x"), "2");

  zob::Ref<Element> other = doc->createElement("other");
  zob::Ref<Document> doc2 = Document::create();
  zob::Ref<Attr> foreign = doc2->createAttribute("f");
  const std::string before = shape(e.get());
  struct Case {
    const char* name;
    Attr* attr;
    Element* target;
    ZResult expected;
  };
  Case cases[] = {
      {"null", nullptr, e.get(), zob::kInvalidArgument},
      {"other document", foreign.get(), e.get(), zob::kDomWrongDocument},
      {"in use", x2.get(), other.get(), zob::code(0x9626010au)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.target->setAttributeNode(c.attr, &replaced), c.expected);
    EXPECT_FALSE(replaced);
    EXPECT_EQ(shape(e.get()), before);
    EXPECT_FALSE(other->hasAttributes());
  }
  EXPECT_EQ(x2->getRefCount(), 2);

  zob::Ref<Attr> removed;
  EXPECT_EQ(other->removeAttributeNode(x2.get(), &removed), zob::kDomNotFound);
  EXPECT_EQ(e->removeAttributeNode(x.get(), &removed), zob::kDomNotFound);
  EXPECT_EQ(e->removeAttributeNode(nullptr, &removed), zob::kInvalidArgument);
  ASSERT_EQ(e->removeAttributeNode(x2.get(), &removed), zob::kOk);
  EXPECT_EQ(removed.get(), x2.get());
  EXPECT_EQ(x2->getOwnerElement(), nullptr);
  removed.reset();
  EXPECT_EQ(x2->getRefCount(), 1);
  EXPECT_FALSE(e->hasAttributes());

  // Through the interface: a replaced node is handed out with a reference.
  qx::IDomElement* ie = e.get();
  qx::IDomAttr* out = nullptr;
  ASSERT_EQ(ie->setAttributeNode(x.get(), &out), zob::kOk);
  EXPECT_EQ(out, nullptr);
  ASSERT_EQ(ie->setAttributeNode(x2.get(), &out), zob::kOk);
  EXPECT_EQ(out, static_cast<qx::IDomAttr*>(x.get()));
  out->_comRelease();
  EXPECT_EQ(ie->setAttributeNode(x2.get(), &out), zob::kOk);
  EXPECT_EQ(ie->removeAttributeNode(x.get(), &out), zob::kDomNotFound);
  ASSERT_EQ(ie->removeAttributeNode(x2.get(), &out), zob::kOk);
  EXPECT_EQ(out, static_cast<qx::IDomAttr*>(x2.get()));
  out->_comRelease();
  EXPECT_EQ(x2->getRefCount(), 1);
}

// An attribute set by value has no node until one is asked for; that node
// then stands for it: the value read and written through either side is one.
TEST_F(ElementTest, AttributeNodeMadeOnRequestIsTheAttribute) {
  ASSERT_EQ(e->setAttribute("b", "2"), zob::kOk);
  ASSERT_EQ(e->setAttribute("a", "1"), zob::kOk);
  EXPECT_EQ(e->getAttributeName(0), "a");
  EXPECT_EQ(e->getAttributeValue(1), "2");
  Attr* b = e->getAttributeNode("b");
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(e->getAttributeNode("b"), b);  // made once
  EXPECT_EQ(e->getAttributeAt(1), b);
  EXPECT_EQ(b->getOwnerElement(), e.get());
  EXPECT_EQ(b->getOwnerDocument(), doc.get());
  EXPECT_EQ(b->getRefCount(), 1);  // the element's
  b->setValue("3");
  EXPECT_EQ(e->getAttribute("b"), "3");
  ASSERT_EQ(e->setAttribute("b", "4"), zob::kOk);
  EXPECT_EQ(b->getValue(), "4");
  EXPECT_EQ(e->getAttributeValue(1), "4");
  // Removing the attribute by name lets its node go, whole, to a holder.
  zob::Ref<Attr> held(b);
  e->removeAttribute("b");
  EXPECT_EQ(b->getOwnerElement(), nullptr);
  EXPECT_EQ(b->getValue(), "4");
  EXPECT_EQ(shape(e.get()), "E(item a=1)");
}

// An element that outlived its document and moved into another makes the
// nodes of its attributes in the document it belongs to now, and they stay
// whole after that document too is gone.
TEST(ElementMoves, AttributeNodeAskedForAfterTheMove) {
  zob::Ref<Element> moved;
  {
    zob::Ref<Document> first = Document::create();
    moved = first->createElement("m");
    ASSERT_EQ(moved->setAttribute("k", "v"), zob::kOk);
    ASSERT_EQ(moved->setAttribute("j", std::string(40, 'w')), zob::kOk);
  }
  EXPECT_TRUE(moved->getDocumentId().isNull());
  zob::Ref<Attr> k;
  {
    zob::Ref<Document> second = Document::create();
    zob::Ref<Element> root = second->createElement("root");
    second->appendChild(root.get());
    ASSERT_EQ(root->insertBeforeChecked(moved.get(), nullptr), zob::kOk);
    k = zob::Ref<Attr>(moved->getAttributeNode("k"));
    ASSERT_TRUE(k);
    EXPECT_EQ(k->getOwnerDocument(), second.get());
    EXPECT_EQ(k->getDocumentId().compare(second->getId()), 0);
    EXPECT_EQ(k->getOwnerElement(), moved.get());
    root.reset();
  }
  // The second document went; the element and the node it made stay.
  EXPECT_EQ(moved->getParentNode(), nullptr);
  EXPECT_EQ(k->getOwnerElement(), moved.get());
  EXPECT_EQ(k->getValue(), "v");
  ASSERT_NE(moved->getAttributeNode("j"), nullptr);
  EXPECT_EQ(moved->getAttributeNode("j")->getValue(), std::string(40, 'w'));
  moved.reset();
  EXPECT_EQ(k->getOwnerElement(), nullptr);
  EXPECT_EQ(k->getName(), "k");
}

TEST_F(ElementTest, NamedNodeMapIsLive) {
  AttrNodeMap* map = e->getAttributes();
  ASSERT_NE(map, nullptr);
  EXPECT_EQ(e->getAttributes(), map);
  EXPECT_EQ(map->getLength(), 0);
  e->setAttribute("b", "2");
  e->setAttribute("a", "1");
  EXPECT_EQ(map->getLength(), 2);
  EXPECT_EQ(map->item(0)->getName(), "a");
  EXPECT_EQ(map->item(2), nullptr);
  EXPECT_EQ(map->getNamedItem("b")->getValue(), "2");

  zob::Ref<qx::IDomNamedNodeMap> m;
  ASSERT_EQ(static_cast<qx::IDomNode*>(e.get())->getAttributes(m.out()), zob::kOk);
  zob::Ref<Attr> c = doc->createAttribute("c");
  zob::Ref<qx::IDomNode> out;
  ASSERT_EQ(m->setNamedItem(c.get(), out.out()), zob::kOk);
  EXPECT_FALSE(out);
  zob::Ref<Element> notAttr = doc->createElement("n");
  EXPECT_EQ(m->setNamedItem(notAttr.get(), out.out()), zob::kDomHierarchyRequest);
  EXPECT_EQ(m->setNamedItem(nullptr, out.out()), zob::kInvalidArgument);
  kelp::test::ForeignNode alien;
  EXPECT_EQ(m->setNamedItem(&alien, out.out()), zob::kDomWrongDocument);
  EXPECT_EQ(m->removeNamedItem("zz", out.out()), zob::kDomNotFound);
  ASSERT_EQ(m->removeNamedItem("a", out.out()), zob::kOk);
  EXPECT_EQ(Node::fromInterface(out.get())->getNodeName(), "a");
  int n = 0;
  ASSERT_EQ(m->getLength(&n), zob::kOk);
  EXPECT_EQ(n, 2);
  ASSERT_EQ(m->item(1, out.out()), zob::kOk);
  EXPECT_EQ(Node::fromInterface(out.get()), c.get());
  ASSERT_EQ(m->getNamedItem("b", out.out()), zob::kOk);
  EXPECT_EQ(Node::fromInterface(out.get())->getNodeValue(), "2");
  EXPECT_EQ(m->getNamedItemNS("", "b", out.out()), zob::kNotImplemented);
  EXPECT_EQ(m->setNamedItemNS(c.get(), out.out()), zob::kNotImplemented);
  EXPECT_EQ(m->removeNamedItemNS("", "b", out.out()), zob::kNotImplemented);
  out.reset();

  // The element goes; the map stays with us, detached.
  e.reset();
  EXPECT_EQ(c->getOwnerElement(), nullptr);
  ASSERT_EQ(m->getLength(&n), zob::kOk);
  EXPECT_EQ(n, 0);
  EXPECT_EQ(m->setNamedItem(c.get(), out.out()), zob::kInvalidState);
  EXPECT_EQ(m->removeNamedItem("b", out.out()), zob::kInvalidState);
  // Attributes not held elsewhere went with the element.
  EXPECT_EQ(c->getRefCount(), 1);
}

TEST_F(ElementTest, NotImplementedOperations) {
  qx::IDomElement* ie = e.get();
  char* s = reinterpret_cast<char*>(1);
  qx::IDomAttr* a = reinterpret_cast<qx::IDomAttr*>(1);
  qx::IDomNodeList* l = reinterpret_cast<qx::IDomNodeList*>(1);
  int b = -1;
  const ZResult ni = zob::code(0x80000001u);
  EXPECT_EQ(ie->getAttributeNS("u", "n", &s), ni);
  EXPECT_EQ(s, nullptr);
  EXPECT_EQ(ie->setAttributeNS("u", "n", "v"), ni);
  EXPECT_EQ(ie->removeAttributeNS("u", "n"), ni);
  EXPECT_EQ(ie->getAttributeNodeNS("u", "n", &a), ni);
  EXPECT_EQ(a, nullptr);
  a = reinterpret_cast<qx::IDomAttr*>(1);
  EXPECT_EQ(ie->setAttributeNodeNS(nullptr, &a), ni);
  EXPECT_EQ(a, nullptr);
  EXPECT_EQ(ie->getElementsByTagNameNS("u", "n", &l), ni);
  EXPECT_EQ(l, nullptr);
  l = reinterpret_cast<qx::IDomNodeList*>(1);
  EXPECT_EQ(ie->getElementsByTagName("n", &l), ni);
  EXPECT_EQ(l, nullptr);
  EXPECT_EQ(ie->hasAttributeNS("u", "n", &b), ni);
  EXPECT_FALSE(e->hasAttributes());
}

}  // namespace
