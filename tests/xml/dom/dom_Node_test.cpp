// Child editing with every error path, reference counts, navigation,
// normalising, copying, writing and very wide and deep trees.
#include <kelp/xml/dom/dom_ChildNodeList.h>
#include <kelp/xml/dom/dom_Implementation.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <sstream>
#include <vector>

#include <kelp/xml/xml_Writer.h>
#include <zob/zob_mem.h>

#include "tests/xml/dom/dom_test_util.h"

namespace {

using namespace qor::quv::xml::dom;
namespace qx = qor::quv::xml;
using kelp::test::shape;

class NodeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    doc = Document::create();
    root = doc->createElement("root");
    a = doc->createElement("a");
    b = doc->createElement("b");
    t = doc->createTextNode("t");
    ASSERT_TRUE(doc->appendChild(root.get()));
    ASSERT_TRUE(root->appendChild(a.get()));
    ASSERT_TRUE(root->appendChild(t.get()));
    ASSERT_TRUE(a->appendChild(b.get()));
  }

  std::vector<std::int32_t> counts() const {
    return {doc->getRefCount(), root->getRefCount(), a->getRefCount(), b->getRefCount(),
            t->getRefCount()};
  }

  zob::Ref<Document> doc;
  zob::Ref<Element> root, a, b;
  zob::Ref<Text> t;
};

TEST_F(NodeTest, RefCountsFollowOwnership) {
  // Each node: the test's reference plus its owner's (parent or previous
  // sibling); the document only the test's.
  EXPECT_EQ(counts(), (std::vector<std::int32_t>{1, 2, 2, 2, 2}));
  EXPECT_EQ(shape(doc.get()), "D[E(root)[E(a)[E(b)],T(t)]]");
  EXPECT_EQ(root->getParentNode(), doc.get());
  EXPECT_EQ(a->getNextSibling(), t.get());
  EXPECT_EQ(t->getPreviousSibling(), a.get());
  EXPECT_EQ(root->getLastChild(), t.get());
  EXPECT_EQ(b->getOwnerDocument(), doc.get());
  EXPECT_EQ(doc->getOwnerDocument(), doc.get());
  EXPECT_EQ(doc->getDocumentElement(), root.get());
}

TEST_F(NodeTest, NativeEditErrorsLeaveTreeAndCountsUnchanged) {
  zob::Ref<Document> other = Document::create();
  zob::Ref<Element> foreign = other->createElement("x");
  zob::Ref<DocumentFragment> frag = doc->createDocumentFragment();
  zob::Ref<Element> loose = doc->createElement("loose");
  zob::Ref<Attr> attr = doc->createAttribute("n");
  ASSERT_TRUE(EFAILED(0) == false);
  root->setAttribute("k", "v");
  Attr* rootAttr = root->getAttributeNode("k");

  struct Case {
    const char* name;
    std::function<ZResult()> op;
    ZResult expected;
  };
  std::vector<Case> cases = {
      {"insert null", [&] { return root->insertBeforeChecked(nullptr, nullptr); },
       zob::kInvalidArgument},
      {"insert before itself", [&] { return root->insertBeforeChecked(a.get(), a.get()); },
       zob::kInvalidArgument},
      {"other document", [&] { return root->insertBeforeChecked(foreign.get(), nullptr); },
       zob::kDomWrongDocument},
      {"other document before a missing ref",
       [&] { return root->insertBeforeChecked(foreign.get(), loose.get()); },
       zob::kDomWrongDocument},
      {"into itself", [&] { return root->insertBeforeChecked(root.get(), nullptr); },
       zob::kDomHierarchyRequest},
      {"ancestor", [&] { return b->insertBeforeChecked(root.get(), nullptr); },
       zob::kDomHierarchyRequest},
      {"parent", [&] { return b->insertBeforeChecked(a.get(), nullptr); },
       zob::kDomHierarchyRequest},
      {"document into element", [&] { return a->insertBeforeChecked(doc.get(), nullptr); },
       zob::kDomHierarchyRequest},
      {"text into document", [&] { return doc->insertBeforeChecked(t.get(), nullptr); },
       zob::kDomHierarchyRequest},
      {"fragment into element", [&] { return root->insertBeforeChecked(frag.get(), nullptr); },
       zob::kDomHierarchyRequest},
      {"attribute into element", [&] { return root->insertBeforeChecked(attr.get(), nullptr); },
       zob::kDomHierarchyRequest},
      {"element into text", [&] { return t->insertBeforeChecked(loose.get(), nullptr); },
       zob::kDomHierarchyRequest},
      {"element into attribute", [&] { return attr->insertBeforeChecked(loose.get(), nullptr); },
       zob::kDomHierarchyRequest},
      {"ref not a child", [&] { return root->insertBeforeChecked(loose.get(), b.get()); },
       zob::kDomNotFound},
      {"ref loose", [&] { return root->insertBeforeChecked(loose.get(), loose.get()); },
       zob::kInvalidArgument},
      {"ref is an attribute of the parent",
       [&] { return root->insertBeforeChecked(loose.get(), rootAttr); }, zob::kDomNotFound},
      {"ref foreign", [&] { return root->insertBeforeChecked(loose.get(), nullptr, true); },
       zob::kDomNotFound},
      {"remove null", [&] { return root->removeChildChecked(nullptr); }, zob::kInvalidArgument},
      {"remove grandchild", [&] { return root->removeChildChecked(b.get()); }, zob::kDomNotFound},
      {"remove loose", [&] { return root->removeChildChecked(loose.get()); }, zob::kDomNotFound},
      {"remove attribute", [&] { return root->removeChildChecked(rootAttr); }, zob::kDomNotFound},
      {"replace null new", [&] { return root->replaceChildChecked(nullptr, a.get()); },
       zob::kInvalidArgument},
      {"replace null old", [&] { return root->replaceChildChecked(loose.get(), nullptr); },
       zob::kInvalidArgument},
      {"replace by itself", [&] { return root->replaceChildChecked(a.get(), a.get()); },
       zob::kInvalidArgument},
      {"replace by other document",
       [&] { return root->replaceChildChecked(foreign.get(), a.get()); }, zob::kDomWrongDocument},
      {"replace by ancestor", [&] { return a->replaceChildChecked(root.get(), b.get()); },
       zob::kDomHierarchyRequest},
      {"replace a non-child", [&] { return root->replaceChildChecked(loose.get(), b.get()); },
       zob::kDomNotFound},
  };
  const std::string before = shape(doc.get());
  const auto countsBefore = counts();
  const std::int32_t looseBefore = loose->getRefCount();
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.op(), c.expected);
    EXPECT_EQ(shape(doc.get()), before);
    EXPECT_EQ(counts(), countsBefore);
    EXPECT_EQ(loose->getRefCount(), looseBefore);
    EXPECT_EQ(loose->getParentNode(), nullptr);
  }
  // The native forms answer null for the same refusals.
  EXPECT_EQ(root->appendChild(root.get()), nullptr);
  EXPECT_FALSE(root->removeChild(b.get()));
  EXPECT_FALSE(root->replaceChild(loose.get(), b.get()));
  EXPECT_EQ(shape(doc.get()), before);
  EXPECT_EQ(counts(), countsBefore);
}

TEST_F(NodeTest, InterfaceEditErrors) {
  zob::Ref<Document> other = Document::create();
  zob::Ref<Element> foreign = other->createElement("x");
  zob::Ref<Element> loose = doc->createElement("loose");
  kelp::test::ForeignNode alien;
  qx::IDomNode* R = root.get();
  qx::IDomNode* out = reinterpret_cast<qx::IDomNode*>(&alien);  // overwritten with null
  struct Case {
    const char* name;
    std::function<ZResult(qx::IDomNode**)> op;
    ZResult expected;
  };
  std::vector<Case> cases = {
      {"null", [&](qx::IDomNode** o) { return R->appendChild(nullptr, o); }, zob::kInvalidArgument},
      {"same as ref", [&](qx::IDomNode** o) { return R->insertBefore(a.get(), a.get(), o); },
       zob::kInvalidArgument},
      {"not a library node", [&](qx::IDomNode** o) { return R->appendChild(&alien, o); },
       zob::kDomWrongDocument},
      {"other document", [&](qx::IDomNode** o) { return R->appendChild(foreign.get(), o); },
       zob::kDomWrongDocument},
      {"itself", [&](qx::IDomNode** o) { return R->appendChild(R, o); }, zob::kDomHierarchyRequest},
      {"foreign ref", [&](qx::IDomNode** o) { return R->insertBefore(loose.get(), &alien, o); },
       zob::kDomNotFound},
      {"ref not a child",
       [&](qx::IDomNode** o) { return R->insertBefore(loose.get(), b.get(), o); },
       zob::kDomNotFound},
      {"remove null", [&](qx::IDomNode** o) { return R->removeChild(nullptr, o); },
       zob::kInvalidArgument},
      {"remove foreign", [&](qx::IDomNode** o) { return R->removeChild(&alien, o); },
       zob::kDomNotFound},
      {"remove non-child", [&](qx::IDomNode** o) { return R->removeChild(b.get(), o); },
       zob::kDomNotFound},
      {"replace foreign old",
       [&](qx::IDomNode** o) { return R->replaceChild(loose.get(), &alien, o); },
       zob::kDomNotFound},
      {"replace null old",
       [&](qx::IDomNode** o) { return R->replaceChild(loose.get(), nullptr, o); },
       zob::kInvalidArgument},
      {"replace by alien", [&](qx::IDomNode** o) { return R->replaceChild(&alien, a.get(), o); },
       zob::kDomWrongDocument},
  };
  const std::string before = shape(doc.get());
  const auto countsBefore = counts();
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    out = reinterpret_cast<qx::IDomNode*>(&alien);
    EXPECT_EQ(c.op(&out), c.expected);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(c.op(nullptr), c.expected);
    EXPECT_EQ(shape(doc.get()), before);
    EXPECT_EQ(counts(), countsBefore);
    EXPECT_EQ(alien.refs, 1);
  }
}

TEST_F(NodeTest, InterfaceEditsHandOutReferences) {
  zob::Ref<Element> c = doc->createElement("c");
  qx::IDomNode* out = nullptr;
  ASSERT_EQ(root->insertBefore(c.get(), t.get(), &out), zob::kOk);
  EXPECT_EQ(out, static_cast<qx::IDomNode*>(c.get()));
  EXPECT_EQ(c->getRefCount(), 3);  // ours, a's next link, out
  out->_comRelease();
  EXPECT_EQ(shape(root.get()), "E(root)[E(a)[E(b)],E(c),T(t)]");

  ASSERT_EQ(root->removeChild(c.get(), &out), zob::kOk);
  EXPECT_EQ(out, static_cast<qx::IDomNode*>(c.get()));
  EXPECT_EQ(c->getRefCount(), 2);
  out->_comRelease();
  EXPECT_EQ(c->getRefCount(), 1);
  EXPECT_EQ(c->getParentNode(), nullptr);
  EXPECT_EQ(a->getNextSibling(), t.get());

  ASSERT_EQ(root->replaceChild(c.get(), a.get(), &out), zob::kOk);
  EXPECT_EQ(out, static_cast<qx::IDomNode*>(a.get()));
  out->_comRelease();
  EXPECT_EQ(shape(root.get()), "E(root)[E(c),T(t)]");
  EXPECT_EQ(a->getRefCount(), 1);
  EXPECT_EQ(a->getParentNode(), nullptr);
  EXPECT_EQ(b->getParentNode(), a.get());  // the subtree goes with it

  zob::Ref<qx::IDomNode> first;
  ASSERT_EQ(root->getFirstChild(first.out()), zob::kOk);
  EXPECT_EQ(first.get(), static_cast<qx::IDomNode*>(c.get()));
  int has = -1;
  ASSERT_EQ(b->hasChildNodes(&has), zob::kOk);
  EXPECT_EQ(has, 0);
}

TEST_F(NodeTest, MovingNodesKeepsCounts) {
  // Moving the first child to the end: its only owner is the list it leaves.
  zob::Ref<Element> c = doc->createElement("c");
  root->appendChild(c.get());
  Element* raw = c.get();
  c.reset();
  ASSERT_EQ(raw->getRefCount(), 1);
  Node* first = root->getFirstChild();
  zob::Ref<Node> keepA;  // a is held by the fixture already
  EXPECT_EQ(root->appendChild(first), first);
  EXPECT_EQ(shape(root.get()), "E(root)[T(t),E(c),E(a)[E(b)]]");
  EXPECT_EQ(root->insertBefore(raw, root->getFirstChild()), raw);
  EXPECT_EQ(shape(root.get()), "E(root)[E(c),T(t),E(a)[E(b)]]");
  EXPECT_EQ(raw->getRefCount(), 1);
  // Into another parent.
  EXPECT_EQ(b->appendChild(raw), raw);
  EXPECT_EQ(shape(root.get()), "E(root)[T(t),E(a)[E(b)[E(c)]]]");
  EXPECT_EQ(raw->getRefCount(), 1);
  // Same place again: before its own next sibling.
  EXPECT_EQ(root->insertBefore(t.get(), a.get()), t.get());
  EXPECT_EQ(shape(root.get()), "E(root)[T(t),E(a)[E(b)[E(c)]]]");
  EXPECT_EQ(t->getRefCount(), 2);
  // Replace by a node from elsewhere in the tree.
  zob::Ref<Node> old = root->replaceChild(raw, t.get());
  EXPECT_EQ(old.get(), t.get());
  EXPECT_EQ(shape(root.get()), "E(root)[E(c),E(a)[E(b)]]");
  old.reset();
  EXPECT_EQ(t->getRefCount(), 1);
  EXPECT_EQ(counts(), (std::vector<std::int32_t>{1, 2, 2, 2, 1}));
}

// The builder's append hands the caller's reference over on success only,
// and checks like appendChild whatever the node is.
TEST_F(NodeTest, AppendHandingOver) {
  zob::Ref<Document> doc2 = Document::create();
  zob::Ref<Element> foreign = doc2->createElement("f");
  EXPECT_EQ(root->appendHandingOver(foreign.get()), zob::kDomWrongDocument);
  EXPECT_EQ(foreign->getRefCount(), 1);
  EXPECT_EQ(b->appendHandingOver(root.get()), zob::kDomHierarchyRequest);
  EXPECT_EQ(doc->appendHandingOver(doc->createTextNode("x").get()), zob::kDomHierarchyRequest);
  // A node already in the tree moves; the reference handed over stays one.
  zob::Ref<Element> fresh = doc->createElement("n");
  ASSERT_EQ(b->appendHandingOver(fresh.get()), zob::kOk);
  Element* n = fresh.detach();
  ASSERT_EQ(root->appendHandingOver(b.get()), zob::kOk);
  b.detach();
  EXPECT_EQ(shape(root.get()), "E(root)[E(a),T(t),E(b)[E(n)]]");
  EXPECT_EQ(n->getRefCount(), 1);
  EXPECT_EQ(root->getLastChild()->getRefCount(), 1);
}

TEST_F(NodeTest, ChildNodeListIsLiveAndDetaches) {
  ChildNodeList* list = root->getChildNodes();
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(root->getChildNodes(), list);
  EXPECT_EQ(list->getLength(), 2);
  EXPECT_EQ(list->item(1), t.get());
  EXPECT_EQ(list->item(2), nullptr);
  EXPECT_EQ(list->item(-1), nullptr);
  zob::Ref<qx::IDomNodeList> held;
  ASSERT_EQ(static_cast<qx::IDomNode*>(a.get())->getChildNodes(held.out()), zob::kOk);
  root->removeChild(t.get());
  EXPECT_EQ(list->getLength(), 1);
  int n = -1;
  held->getLength(&n);
  EXPECT_EQ(n, 1);
  // Destroying the node detaches its list.
  zob::Ref<Node> gone = root->removeChild(a.get());
  a.reset();
  gone.reset();
  held->getLength(&n);
  EXPECT_EQ(n, 0);
  zob::Ref<qx::IDomNode> item;
  ASSERT_EQ(held->item(0, item.out()), zob::kOk);
  EXPECT_FALSE(item);
  EXPECT_EQ(b->getParentNode(), nullptr);
}

TEST_F(NodeTest, NormalizeMergesAcrossElements) {
  zob::Ref<Element> e = doc->createElement("e");
  e->appendChild(doc->createTextNode("a").get());
  e->appendChild(doc->createElement("x").get());
  e->appendChild(doc->createTextNode("b").get());
  EXPECT_EQ(e->normalize(), zob::kOk);
  EXPECT_EQ(shape(e.get()), "E(e)[T(ab),E(x)]");

  zob::Ref<DocumentFragment> f = doc->createDocumentFragment();
  f->appendChild(doc->createElement("p").get());
  f->appendChild(doc->createCDATASection("1").get());
  f->appendChild(doc->createTextNode("2").get());
  Node* p = f->getFirstChild();
  p->appendChild(doc->createTextNode("x").get());
  p->appendChild(doc->createTextNode("y").get());
  p->appendChild(doc->createElement("q").get());
  p->getLastChild()->appendChild(doc->createTextNode("").get());
  p->getLastChild()->appendChild(doc->createTextNode("z").get());
  p->appendChild(doc->createCDATASection("w").get());
  f->normalize();
  EXPECT_EQ(shape(f.get()), "F[E(p)[T(xyw),E(q)[T(z)]],C(12)]");
}

TEST_F(NodeTest, CloneNode) {
  root->setAttribute("id", "1");
  zob::Ref<Node> shallow = root->cloneNode(false);
  EXPECT_EQ(shape(shallow.get()), "E(root id=1)");
  EXPECT_EQ(shallow->getParentNode(), nullptr);
  EXPECT_EQ(shallow->getOwnerDocument(), doc.get());
  zob::Ref<Node> deep = root->cloneNode(true);
  EXPECT_EQ(shape(deep.get()), shape(root.get()));
  EXPECT_NE(deep->getFirstChild(), a.get());
  // The copy is independent.
  static_cast<Element*>(deep.get())->setAttribute("id", "2");
  EXPECT_EQ(root->getAttribute("id"), "1");

  zob::Ref<Node> docCopy = doc->cloneNode(true);
  ASSERT_TRUE(docCopy);
  EXPECT_EQ(shape(docCopy.get()), shape(doc.get()));
  auto* d2 = static_cast<Document*>(docCopy.get());
  EXPECT_NE(d2->getId().compare(doc->getId()), 0);
  EXPECT_EQ(d2->getDocumentElement()->getOwnerDocument(), d2);
  EXPECT_EQ(d2->getDocumentElement()->getAttributeNode("id")->getOwnerDocument(), d2);

  zob::Ref<qx::IDomNode> viaItf;
  ASSERT_EQ(static_cast<qx::IDomNode*>(t.get())->cloneNode(1, viaItf.out()), zob::kOk);
  EXPECT_EQ(shape(Node::fromInterface(viaItf.get())), "T(t)");
}

TEST_F(NodeTest, NodeNamesValuesAndTypes) {
  zob::Ref<Attr> at = doc->createAttribute("n");
  at->setValue("v");
  zob::Ref<CDATASection> cd = doc->createCDATASection("c");
  zob::Ref<DocumentFragment> fr = doc->createDocumentFragment();
  struct Row {
    Node* node;
    const char* name;
    const char* value;  // null: no value
    int type;
  };
  Row rows[] = {{doc.get(), "#document", nullptr, 9},
                {root.get(), "root", nullptr, 1},
                {at.get(), "n", "v", 2},
                {t.get(), "#text", "t", 3},
                {cd.get(), "#cdata-section", "c", 4},
                {fr.get(), "#document-fragment", nullptr, 11}};
  for (const Row& r : rows) {
    SCOPED_TRACE(r.name);
    qx::IDomNode* n = r.node;
    char* s = nullptr;
    ASSERT_EQ(n->getNodeName(&s), zob::kOk);
    EXPECT_STREQ(s, r.name);
    zobFree(s);
    ASSERT_EQ(n->getNodeValue(&s), zob::kOk);
    if (r.value) {
      EXPECT_STREQ(s, r.value);
    } else {
      EXPECT_EQ(s, nullptr);
    }
    zobFree(s);
    int type = 0;
    ASSERT_EQ(n->getNodeType(&type), zob::kOk);
    EXPECT_EQ(type, r.type);
    EXPECT_EQ(n->setNodeValue("x"), zob::code(0x96260107u));
    EXPECT_EQ(r.node->setNodeValue(std::string("x")), zob::kDomNoModificationAllowed);
    int b = -1;
    EXPECT_EQ(n->isSupported("Core", "2.0", &b), zob::code(0x80000001u));
    EXPECT_EQ(n->setPrefix("p"), zob::kNotImplemented);
    for (auto get :
         {&qx::IDomNode::getNamespaceURI, &qx::IDomNode::getPrefix, &qx::IDomNode::getLocalName}) {
      s = reinterpret_cast<char*>(1);
      EXPECT_EQ((n->*get)(&s), zob::kOk);
      EXPECT_EQ(s, nullptr);
    }
    EXPECT_EQ(n->getNodeName(nullptr), zob::kInvalidArgument);
  }
  // An attribute's owner is not its parent.
  root->setAttributeNode(at.get(), nullptr);
  zob::Ref<qx::IDomNode> parent;
  ASSERT_EQ(static_cast<qx::IDomNode*>(at.get())->getParentNode(parent.out()), zob::kOk);
  EXPECT_FALSE(parent);
  EXPECT_EQ(at->getOwnerElement(), root.get());
}

TEST_F(NodeTest, QueryInterface) {
  struct Row {
    Node* node;
    const char* iid;
    bool answers;
  };
  zob::Ref<CDATASection> cd = doc->createCDATASection("c");
  Row rows[] = {
      {root.get(), qx::IDomElement::IID, true},
      {root.get(), qx::IDomText::IID, false},
      {t.get(), qx::IDomText::IID, true},
      {t.get(), qx::IDomCharacterData::IID, true},
      {t.get(), qx::IDomCDATASection::IID, false},
      {cd.get(), qx::IDomCDATASection::IID, true},
      {cd.get(), qx::IDomText::IID, true},
      {doc.get(), qx::IDomDocument::IID, true},
      {doc.get(), qx::IDomNodeExt::IID, true},
      {doc.get(), qx::IDomElement::IID, false},
      {root.get(), qx::IDomNodeQUVInternal::IID, true},
      {root.get(), "IDL:qor/quv/xml/IDomComment:1.0", false},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.iid);
    std::int32_t before = r.node->getRefCount();
    zob::IUnknown* out = nullptr;
    ZResult res = static_cast<qx::IDomNode*>(r.node)->_comQueryInterface(r.iid, &out);
    if (r.answers) {
      ASSERT_EQ(res, zob::kOk);
      ASSERT_NE(out, nullptr);
      EXPECT_EQ(r.node->getRefCount(), before + 1);
      EXPECT_EQ(Node::fromInterface(out), r.node);
      out->_comRelease();
    } else {
      EXPECT_EQ(res, zob::kNoInterface);
      EXPECT_EQ(out, nullptr);
    }
    EXPECT_EQ(r.node->getRefCount(), before);
  }
  ZobUUID id;
  zob::Ref<qx::IDomNodeQUVInternal> internal;
  ASSERT_EQ(zob::query(static_cast<qx::IDomNode*>(b.get()), internal), zob::kOk);
  ASSERT_EQ(internal->getDocumentId(&id), zob::kOk);
  EXPECT_EQ(qor::quv::util::EUUID(id).compare(doc->getId()), 0);
  EXPECT_FALSE(doc->getId().isNull());
}

TEST_F(NodeTest, NodesOutliveTheirDocument) {
  zob::Ref<Element> keep = b;
  root.reset();
  a.reset();
  b.reset();
  t.reset();
  doc.reset();
  // The tree went with the document except for what we hold.
  EXPECT_EQ(keep->getRefCount(), 1);
  EXPECT_EQ(keep->getParentNode(), nullptr);
  EXPECT_EQ(keep->getOwnerDocument(), nullptr);
  EXPECT_TRUE(keep->getDocumentId().isNull());
  // A node whose document is gone is accepted by any document.
  zob::Ref<Document> d2 = Document::create();
  zob::Ref<Element> r2 = d2->createElement("r");
  ASSERT_EQ(r2->insertBeforeChecked(keep.get(), nullptr), zob::kOk);
  EXPECT_EQ(keep->getOwnerDocument(), d2.get());
}

TEST_F(NodeTest, WriteThroughTheInterface) {
  root->setAttribute("z", "2");
  root->setAttribute("a", "1");
  b->appendChild(doc->createCDATASection("c<").get());
  kelp::test::RecordingWriter w;
  ASSERT_EQ(doc->write(&w), zob::kOk);
  EXPECT_EQ(w.text(), "<root:0 @a=1 @z=2 <a:0 <b:0 ' [[ 'c< ]] > > 't > ");
  // The first failing call stops the walk and its code is returned.
  for (int failAt = 1; failAt <= static_cast<int>(w.calls.size()); ++failAt) {
    SCOPED_TRACE(failAt);
    kelp::test::RecordingWriter f;
    f.failAt = failAt;
    f.failure = zob::kInvalidState;
    ZResult res = doc->write(&f);
    EXPECT_EQ(static_cast<int>(f.calls.size()), failAt);
    EXPECT_EQ(res, w.calls[static_cast<std::size_t>(failAt - 1)] == "]]" ? zob::kWriteFailure
                                                                         : zob::kInvalidState);
  }
  zob::Ref<Document> empty = Document::create();
  kelp::test::RecordingWriter e;
  EXPECT_EQ(empty->write(&e), zob::kDomHierarchyRequest);
  EXPECT_TRUE(e.calls.empty());
  zob::Ref<DocumentFragment> f = doc->createDocumentFragment();
  f->appendChild(doc->createElement("x").get());
  f->appendChild(doc->createTextNode("y").get());
  kelp::test::RecordingWriter fw;
  zob::Ref<qx::IDomNodeExt> ext;
  ASSERT_EQ(zob::query(static_cast<qx::IDomNode*>(f.get()), ext), zob::kOk);
  ASSERT_EQ(ext->write(&fw), zob::kOk);
  EXPECT_EQ(fw.text(), "<x:0 > 'y ");
}

TEST_F(NodeTest, WriteWithTheXmlWriter) {
  root->setAttribute("q", "it's");
  t->setData("1 < 2 & 3");
  std::ostringstream out;
  zob::Ref<qx::XMLWriter> w(new qx::XMLWriter(&out, 2));
  w->setEncoding("");
  ASSERT_EQ(doc->write(w.get()), zob::kOk);
  w->close();
  std::string text = out.str();
  EXPECT_EQ(text.substr(text.find("?>") + 2),
            "\n<root q='it&apos;s'><a><b/></a>1 &lt; 2 &amp; 3</root>");
}

// ---- node storage --------------------------------------------------------------

// Nodes share storage blocks with the other nodes their document made: each
// must stay whole while any of them lives, whatever goes first.
TEST(DomNodeStorage, NodesKeepTheirContentWhateverIsFreedFirst) {
  constexpr int kCount = 5000;  // several blocks
  std::vector<zob::Ref<Node>> kept;
  zob::Ref<Document> other = Document::create();
  {
    zob::Ref<Document> doc = Document::create();
    zob::Ref<Element> root = doc->createElement("root");
    doc->appendChild(root.get());
    for (int i = 0; i < kCount; ++i) {
      const std::string n = std::to_string(i);
      zob::Ref<Element> e = doc->createElement("e" + n);
      // More attributes than the first room made for them.
      ASSERT_TRUE(e->reserveAttributes(1));
      for (const char* name : {"z", "b", "m", "a"})
        ASSERT_EQ(e->setAttribute(std::string(name), name + n), zob::kOk);
      e->appendChild(doc->createTextNode("text of " + n + std::string(40, 'x')).get());
      root->appendChild(e.get());
      if (i % 3 == 0) kept.push_back(zob::Ref<Node>(e.get()));
      if (i % 7 == 0) kept.push_back(zob::Ref<Node>(doc->createCDATASection("cdata " + n).get()));
    }
    // Half of the kept elements leave the tree before the document goes.
    for (std::size_t k = 0; k < kept.size(); k += 2)
      if (Node* parent = kept[k]->getParentNode()) parent->removeChild(kept[k].get());
    root.reset();
    doc.reset();
  }
  // The rest of the tree is gone; the kept nodes are intact.
  zob::Ref<Element> holder = other->createElement("holder");
  for (std::size_t k = 0; k < kept.size(); ++k) {
    SCOPED_TRACE(k);
    Node* n = kept[k].get();
    EXPECT_EQ(n->getParentNode(), nullptr);
    if (n->getNodeType() == qx::kElementNode) {
      auto* e = static_cast<Element*>(n);
      const std::string i = e->getTagName().substr(1);
      ASSERT_EQ(e->getAttributeCount(), 4);
      EXPECT_EQ(e->getAttributeAt(0)->getName(), "a");
      EXPECT_EQ(e->getAttributeAt(3)->getValue(), "z" + i);
      ASSERT_NE(e->getFirstChild(), nullptr);
      EXPECT_EQ(static_cast<CharacterData*>(e->getFirstChild())->getData(),
                "text of " + i + std::string(40, 'x'));
      // Moved into another document, where new attributes join them.
      ASSERT_EQ(holder->insertBeforeChecked(e, nullptr), zob::kOk);
      EXPECT_EQ(e->setAttribute(std::string("q"), std::string("new")), zob::kOk);
      EXPECT_EQ(e->getAttributeCount(), 5);
    } else {
      EXPECT_EQ(static_cast<CharacterData*>(n)->getData().compare(0, 6, "cdata "), 0);
    }
  }
  EXPECT_EQ(other->getRefCount(), 1);
  // The second document goes before the nodes placed in the first.
  other.reset();
  zob::Ref<Node> copy = holder->cloneNode(true);
  holder.reset();
  kept.clear();
  ASSERT_TRUE(copy);
  int children = 0;
  for (Node* c = copy->getFirstChild(); c; c = c->getNextSibling()) ++children;
  EXPECT_EQ(children, (kCount + 2) / 3);
}

// A dying tree is freed in one pass in document order; whatever somebody
// still holds stays whole with its subtree and loses parent and siblings,
// wherever it sits: a last child (through which the pass continues), a node
// in the middle, a deep node, an attribute.
TEST(DomNodeStorage, HeldNodesSurviveTheSweep) {
  zob::Ref<Document> doc = Document::create();
  auto el = [&](Node* parent, const char* name) {
    zob::Ref<Element> e = doc->createElement(name);
    parent->appendChild(e.get());
    return e.get();
  };
  Element* root = el(doc.get(), "root");
  Element* a = el(root, "a");
  Element* deep = el(el(a, "a1"), "deep");
  deep->appendChild(doc->createTextNode("d").get());
  Element* mid = el(root, "mid");
  el(mid, "m1");
  root->appendChild(doc->createTextNode("t").get());
  Element* last = el(root, "last");
  el(last, "l1");
  el(last, "l2")->setAttribute(std::string("k"), std::string("v"));
  ASSERT_EQ(shape(root), "E(root)[E(a)[E(a1)[E(deep)[T(d)]]],E(mid)[E(m1)],T(t),E(last)[E(l1),E(l2 k=v)]]");
  zob::Ref<Attr> attr(static_cast<Element*>(last->getLastChild())->getAttributeNode("k"));
  std::vector<zob::Ref<Node>> kept = {zob::Ref<Node>(deep), zob::Ref<Node>(mid),
                                      zob::Ref<Node>(last)};
  doc.reset();
  const char* shapes[] = {"E(deep)[T(d)]", "E(mid)[E(m1)]", "E(last)[E(l1),E(l2 k=v)]"};
  for (std::size_t i = 0; i < kept.size(); ++i) {
    SCOPED_TRACE(shapes[i]);
    Node* n = kept[i].get();
    EXPECT_EQ(shape(n), shapes[i]);
    EXPECT_EQ(n->getRefCount(), 1);
    EXPECT_EQ(n->getParentNode(), nullptr);
    EXPECT_EQ(n->getPreviousSibling(), nullptr);
    EXPECT_EQ(n->getNextSibling(), nullptr);
  }
  // The attribute is still its element's (held by the kept last child).
  EXPECT_EQ(attr->getOwnerElement(), last->getLastChild());
  EXPECT_EQ(attr->getRefCount(), 2);
  // A subtree that goes frees the same way; the attribute held alone stays.
  kept.pop_back();
  EXPECT_EQ(attr->getOwnerElement(), nullptr);
  EXPECT_EQ(attr->getRefCount(), 1);
  EXPECT_EQ(attr->getValue(), "v");
}

#if defined(__SANITIZE_ADDRESS__)
#define KELP_TEST_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KELP_TEST_ASAN 1
#endif
#endif

#ifdef KELP_TEST_ASAN
// Under AddressSanitizer a freed node is caught even while the other nodes
// of its block live.
TEST(DomNodeStorageDeathTest, AFreedNodeIsPoisoned) {
  zob::Ref<Document> doc = Document::create();
  zob::Ref<Element> before = doc->createElement("before");
  Element* freed = doc->createElement("freed").get();  // gone at once
  zob::Ref<Element> after = doc->createElement("after");
  EXPECT_EQ(after->getTagName(), "after");
  EXPECT_DEATH((void)*static_cast<volatile int*>(static_cast<void*>(freed)), "use-after-poison");
}
#endif

// An element with many attributes: their list outgrows what a storage block
// holds.
TEST(DomNodeStorage, ManyAttributes) {
  zob::Ref<Document> doc = Document::create();
  zob::Ref<Element> e = doc->createElement("e");
  constexpr int kCount = 3000;
  for (int i = kCount - 1; i >= 0; --i) {
    char name[16];
    std::snprintf(name, sizeof name, "a%05d", i);
    ASSERT_EQ(e->setAttribute(std::string(name), std::to_string(i)), zob::kOk);
  }
  ASSERT_EQ(e->getAttributeCount(), kCount);
  for (int i = 0; i < kCount; i += 499)
    EXPECT_EQ(e->getAttributeAt(i)->getValue(), std::to_string(i));
  for (int i = 0; i < kCount; i += 2) {
    char name[16];
    std::snprintf(name, sizeof name, "a%05d", i);
    e->removeAttribute(std::string(name));
  }
  ASSERT_EQ(e->getAttributeCount(), kCount / 2);
  EXPECT_EQ(e->getAttributeAt(0)->getValue(), "1");
  zob::Ref<Node> copy = e->cloneNode(false);
  doc.reset();
  e.reset();
  ASSERT_EQ(static_cast<Element*>(copy.get())->getAttributeCount(), kCount / 2);
  EXPECT_EQ(static_cast<Element*>(copy.get())->getAttributeAt(kCount / 2 - 1)->getValue(),
            std::to_string(kCount - 1));
}

// ---- trees too wide and too deep for recursion -------------------------------

constexpr int kMillion = 1000000;

TEST(DomLargeTree, MillionSiblings) {
  zob::Ref<Document> doc = Document::create();
  zob::Ref<Element> root = doc->createElement("r");
  doc->appendChild(root.get());
  for (int i = 0; i < kMillion; ++i) {
    zob::Ref<Element> e = doc->createElement("e");
    ASSERT_EQ(root->appendChild(e.get()), e.get());
  }
  int n = 0;
  for (Node* c = root->getFirstChild(); c; c = c->getNextSibling()) ++n;
  EXPECT_EQ(n, kMillion);
  n = 0;
  for (Node* c = root->getLastChild(); c; c = c->getPreviousSibling()) ++n;
  EXPECT_EQ(n, kMillion);
  EXPECT_EQ(root->getChildNodes()->getLength(), kMillion);
  // Free the siblings through the first one's ownership chain, not the
  // parent's loop: detach the first child and drop it.
  zob::Ref<Node> first = root->removeChild(root->getFirstChild());
  root.reset();
  doc.reset();
  EXPECT_EQ(first->getRefCount(), 1);
}

TEST(DomLargeTree, MillionLevels) {
  zob::Ref<Document> doc = Document::create();
  zob::Ref<Element> root = doc->createElement("r");
  doc->appendChild(root.get());
  Node* cur = root.get();
  for (int i = 0; i < kMillion; ++i) {
    zob::Ref<Element> e = doc->createElement("e");
    ASSERT_EQ(cur->appendChild(e.get()), e.get());
    cur = e.get();
  }
  cur->appendChild(doc->createTextNode("leaf").get());
  cur->appendChild(doc->createTextNode("!").get());
  int depth = 0;
  for (Node* c = root.get(); c->getFirstChild(); c = c->getFirstChild()) ++depth;
  EXPECT_EQ(depth, kMillion + 1);
  // Appending the root below its deepest descendant walks all the way up.
  EXPECT_EQ(cur->insertBeforeChecked(root.get(), nullptr), zob::kDomHierarchyRequest);
  // Walk, normalise, copy and write without recursion.
  EXPECT_EQ(root->normalize(), zob::kOk);
  EXPECT_EQ(shape(cur), "E(e)[T(leaf!)]");
  zob::Ref<Node> copy = root->cloneNode(true);
  ASSERT_TRUE(copy);
  kelp::test::RecordingWriter w;
  ASSERT_EQ(copy->write(&w), zob::kOk);
  EXPECT_EQ(w.calls.size(), 2u * (kMillion + 1) + 1);
  copy.reset();
  root.reset();
  doc.reset();
}

}  // namespace
