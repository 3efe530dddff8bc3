// Documents and the DOM implementation: factories, the document element,
// identifiers and the operations that are not modelled.
#include <kelp/xml/dom/dom_Implementation.h>

#include <gtest/gtest.h>

#include <zob/zob_mem.h>

#include "tests/xml/dom/dom_test_util.h"

namespace {

using namespace qor::quv::xml::dom;
namespace qx = qor::quv::xml;
using kelp::test::shape;

TEST(DomImplementation, CreateDocument) {
  zob::Ref<DomImplementation> impl(new DomImplementation());
  {
    zob::Ref<Document> doc = impl->createDocument("urn:x", "catalogue");
    ASSERT_TRUE(doc);
    EXPECT_EQ(shape(doc.get()), "D[E(catalogue)]");
    EXPECT_EQ(doc->getImplementation(), impl.get());
    EXPECT_EQ(impl->getRefCount(), 2);
    EXPECT_EQ(doc->getRefCount(), 1);
    EXPECT_FALSE(impl->hasFeature("Core", "2.0"));
  }
  EXPECT_EQ(impl->getRefCount(), 1);

  qx::IDomImplementation* ii = impl.get();
  zob::Ref<qx::IDomDocument> idoc;
  ASSERT_EQ(ii->createDocument(nullptr, "r", nullptr, idoc.out()), zob::kOk);
  zob::Ref<qx::IDomElement> root;
  ASSERT_EQ(idoc->getDocumentElement(root.out()), zob::kOk);
  char* s = nullptr;
  ASSERT_EQ(root->getTagName(&s), zob::kOk);
  EXPECT_STREQ(s, "r");
  zobFree(s);
  zob::Ref<qx::IDomImplementation> back;
  ASSERT_EQ(idoc->getImplementation(back.out()), zob::kOk);
  EXPECT_EQ(back.get(), ii);
  int b = -1;
  EXPECT_EQ(ii->hasFeature("Core", "2.0", &b), zob::kNotImplemented);
  zob::IUnknown* dt = reinterpret_cast<zob::IUnknown*>(1);
  EXPECT_EQ(ii->createDocumentType("r", "", "", &dt), zob::kNotImplemented);
  EXPECT_EQ(dt, nullptr);
  EXPECT_EQ(ii->createDocument("", "r", nullptr, nullptr), zob::kInvalidArgument);
}

TEST(Document, FactoriesAndDocumentElement) {
  zob::Ref<Document> doc = Document::create();
  EXPECT_EQ(doc->getDocumentElement(), nullptr);
  EXPECT_EQ(doc->getImplementation(), nullptr);
  qx::IDomDocument* id = doc.get();
  zob::Ref<qx::IDomElement> e;
  ASSERT_EQ(id->createElement("first", e.out()), zob::kOk);
  zob::Ref<qx::IDomText> t;
  ASSERT_EQ(id->createTextNode(nullptr, t.out()), zob::kOk);
  zob::Ref<qx::IDomCDATASection> c;
  ASSERT_EQ(id->createCDATASection("c", c.out()), zob::kOk);
  zob::Ref<qx::IDomAttr> a;
  ASSERT_EQ(id->createAttribute("a", a.out()), zob::kOk);
  zob::Ref<qx::IDomDocumentFragment> f;
  ASSERT_EQ(id->createDocumentFragment(f.out()), zob::kOk);
  for (zob::IUnknown* u :
       std::initializer_list<zob::IUnknown*>{e.get(), t.get(), c.get(), a.get(), f.get()}) {
    Node* n = Node::fromInterface(u);
    ASSERT_NE(n, nullptr);
    EXPECT_EQ(n->getOwnerDocument(), doc.get());
    EXPECT_EQ(n->getParentNode(), nullptr);
    EXPECT_EQ(n->getRefCount(), 1);
  }
  // Elements are accepted (a second one too); text is not.
  qx::IDomNode* dn = static_cast<qx::IDomNode*>(doc.get());
  zob::Ref<qx::IDomNode> n;
  ASSERT_EQ(zob::query(e.get(), n), zob::kOk);
  ASSERT_EQ(dn->appendChild(n.get(), nullptr), zob::kOk);
  zob::Ref<Element> second = doc->createElement("second");
  EXPECT_EQ(doc->appendChild(second.get()), second.get());
  ASSERT_EQ(zob::query(t.get(), n), zob::kOk);
  EXPECT_EQ(dn->appendChild(n.get(), nullptr), zob::code(0x96260103u));
  EXPECT_EQ(shape(doc.get()), "D[E(first),E(second)]");
  zob::Ref<qx::IDomElement> de;
  ASSERT_EQ(id->getDocumentElement(de.out()), zob::kOk);
  EXPECT_EQ(de.get(), e.get());
  zob::Ref<qx::IDomElement> byId;
  ASSERT_EQ(id->getElementById("first", byId.out()), zob::kOk);
  EXPECT_FALSE(byId);
  zob::IUnknown* dt = reinterpret_cast<zob::IUnknown*>(1);
  ASSERT_EQ(id->getDoctype(&dt), zob::kOk);
  EXPECT_EQ(dt, nullptr);
}

TEST(Document, NotImplementedOperations) {
  zob::Ref<Document> doc = Document::create();
  qx::IDomDocument* d = doc.get();
  const ZResult ni = zob::code(0x80000001u);
  zob::IUnknown* u = reinterpret_cast<zob::IUnknown*>(1);
  EXPECT_EQ(d->createComment("c", &u), ni);
  EXPECT_EQ(u, nullptr);
  u = reinterpret_cast<zob::IUnknown*>(1);
  EXPECT_EQ(d->createProcessingInstruction("t", "d", &u), ni);
  EXPECT_EQ(u, nullptr);
  u = reinterpret_cast<zob::IUnknown*>(1);
  EXPECT_EQ(d->createEntityReference("e", &u), ni);
  EXPECT_EQ(u, nullptr);
  qx::IDomNodeList* l = reinterpret_cast<qx::IDomNodeList*>(1);
  EXPECT_EQ(d->getElementsByTagName("x", &l), ni);
  EXPECT_EQ(l, nullptr);
  l = reinterpret_cast<qx::IDomNodeList*>(1);
  EXPECT_EQ(d->getElementsByTagNameNS("u", "x", &l), ni);
  EXPECT_EQ(l, nullptr);
  qx::IDomNode* n = reinterpret_cast<qx::IDomNode*>(1);
  EXPECT_EQ(d->importNode(nullptr, 1, &n), ni);
  EXPECT_EQ(n, nullptr);
  qx::IDomElement* e = reinterpret_cast<qx::IDomElement*>(1);
  EXPECT_EQ(d->createElementNS("u", "x", &e), ni);
  EXPECT_EQ(e, nullptr);
  qx::IDomAttr* a = reinterpret_cast<qx::IDomAttr*>(1);
  EXPECT_EQ(d->createAttributeNS("u", "x", &a), ni);
  EXPECT_EQ(a, nullptr);
}

TEST(Document, IdentifiersDifferAndVanishWithTheDocument) {
  zob::Ref<Document> d1 = Document::create();
  zob::Ref<Document> d2 = Document::create();
  EXPECT_NE(d1->getId().compare(d2->getId()), 0);
  zob::Ref<Element> e = d1->createElement("e");
  EXPECT_EQ(e->getDocumentId().compare(d1->getId()), 0);
  EXPECT_EQ(d1->getDocumentId().compare(d1->getId()), 0);
  d1.reset();
  EXPECT_TRUE(e->getDocumentId().isNull());
  ZobUUID id;
  ASSERT_EQ(static_cast<qx::IDomNodeQUVInternal*>(e.get())->getDocumentId(&id), zob::kOk);
  EXPECT_TRUE(qor::quv::util::EUUID(id).isNull());
  qx::IDomDocument* owner = reinterpret_cast<qx::IDomDocument*>(1);
  ASSERT_EQ(static_cast<qx::IDomNode*>(e.get())->getOwnerDocument(&owner), zob::kOk);
  EXPECT_EQ(owner, nullptr);
}

}  // namespace
