// Helpers shared by the DOM tests: a compact text form of a tree, a
// foreign IDomNode, and a writer that records or fails calls.
#ifndef KELP_TESTS_XML_DOM_DOM_TEST_UTIL_H
#define KELP_TESTS_XML_DOM_DOM_TEST_UTIL_H

#include <kelp/xml/dom/dom_Attr.h>
#include <kelp/xml/dom/dom_CDATASection.h>
#include <kelp/xml/dom/dom_Document.h>
#include <kelp/xml/dom/dom_DocumentFragment.h>
#include <kelp/xml/dom/dom_Element.h>
#include <kelp/xml/dom/dom_Text.h>
#include <kelp/xml/xml_IXMLWriter.h>

#include <string>
#include <vector>

namespace kelp::test {

namespace dom = qor::quv::xml::dom;
namespace qx = qor::quv::xml;

/* E(name a=v)[children], T(data), C(data), F[children], D[children]. */
inline std::string shape(const dom::Node* n) {
  if (!n) return "null";
  std::string s;
  switch (n->getNodeType()) {
    case qx::kElementNode: {
      auto* e = static_cast<const dom::Element*>(n);
      s = "E(" + e->getTagName();
      for (int i = 0; i < e->getAttributeCount(); ++i)
        s += " " + e->getAttributeAt(i)->getName() + "=" + e->getAttributeAt(i)->getValue();
      s += ")";
      break;
    }
    case qx::kTextNode:
      return "T(" + static_cast<const dom::Text*>(n)->getData() + ")";
    case qx::kCDATASectionNode:
      return "C(" + static_cast<const dom::Text*>(n)->getData() + ")";
    case qx::kDocumentFragmentNode:
      s = "F";
      break;
    case qx::kDocumentNode:
      s = "D";
      break;
    case qx::kAttributeNode:
      return "A(" + n->getNodeName() + "=" + n->getNodeValue() + ")";
    default:
      s = "?";
  }
  if (n->hasChildNodes()) {
    s += "[";
    for (const dom::Node* c = n->getFirstChild(); c; c = c->getNextSibling()) {
      if (c != n->getFirstChild()) s += ",";
      s += shape(c);
    }
    s += "]";
  }
  return s;
}

/* An IDomNode of somebody else: every operation is refused. */
class ForeignNode : public qx::IDomNode_Adapter {
 public:
  ZResult queryInterface(const char* iid, zob::IUnknown** out) override {
    if (zobCompareIID(iid, zob::IUnknown::IID) || zobCompareIID(iid, qx::IDomNode::IID)) {
      *out = this;
      addRef();
      return zob::kOk;
    }
    *out = nullptr;
    return zob::kNoInterface;
  }
  std::uint32_t addRef() override { return ++refs; }
  std::uint32_t release() override { return --refs; }
#define KELP_TEST_NI(sig)        \
  ZResult sig override {         \
    return zob::kNotImplemented; \
  }
  KELP_TEST_NI(getNodeName(char**))
  KELP_TEST_NI(getNodeValue(char**))
  KELP_TEST_NI(setNodeValue(const char*))
  KELP_TEST_NI(getNodeType(int*))
  KELP_TEST_NI(getParentNode(qx::IDomNode**))
  KELP_TEST_NI(getChildNodes(qx::IDomNodeList**))
  KELP_TEST_NI(getFirstChild(qx::IDomNode**))
  KELP_TEST_NI(getLastChild(qx::IDomNode**))
  KELP_TEST_NI(getPreviousSibling(qx::IDomNode**))
  KELP_TEST_NI(getNextSibling(qx::IDomNode**))
  KELP_TEST_NI(getAttributes(qx::IDomNamedNodeMap**))
  KELP_TEST_NI(getOwnerDocument(qx::IDomDocument**))
  KELP_TEST_NI(insertBefore(qx::IDomNode*, qx::IDomNode*, qx::IDomNode**))
  KELP_TEST_NI(replaceChild(qx::IDomNode*, qx::IDomNode*, qx::IDomNode**))
  KELP_TEST_NI(removeChild(qx::IDomNode*, qx::IDomNode**))
  KELP_TEST_NI(appendChild(qx::IDomNode*, qx::IDomNode**))
  KELP_TEST_NI(hasChildNodes(int*))
  KELP_TEST_NI(cloneNode(int, qx::IDomNode**))
  KELP_TEST_NI(normalize())
  KELP_TEST_NI(isSupported(const char*, const char*, int*))
  KELP_TEST_NI(getNamespaceURI(char**))
  KELP_TEST_NI(getPrefix(char**))
  KELP_TEST_NI(setPrefix(const char*))
  KELP_TEST_NI(getLocalName(char**))
  KELP_TEST_NI(hasAttributes(int*))
#undef KELP_TEST_NI
  int refs = 1;
};

/* Records the calls as text; the call numbered failAt (from 1) fails. */
class RecordingWriter : public qx::IXMLWriter_Adapter {
 public:
  ZResult queryInterface(const char* iid, zob::IUnknown** out) override {
    if (zobCompareIID(iid, zob::IUnknown::IID) || zobCompareIID(iid, qx::IXMLWriter::IID)) {
      *out = this;
      addRef();
      return zob::kOk;
    }
    *out = nullptr;
    return zob::kNoInterface;
  }
  std::uint32_t addRef() override { return ++refs; }
  std::uint32_t release() override { return --refs; }

  ZResult startElement(const char* name, qx::ElementFormat format) override {
    return call("<" + std::string(name) + ":" + std::to_string(format));
  }
  ZResult endElement() override { return call(">"); }
  ZResult stringAttribute(const char* name, const char* value) override {
    return call("@" + std::string(name) + "=" + value);
  }
  ZResult intAttribute(const char*, int) override { return call("int"); }
  ZResult floatAttribute(const char*, double) override { return call("float"); }
  ZResult characters(const char* text) override { return call("'" + std::string(text)); }
  ZResult startCDATA() override { return call("[["); }
  ZResult endCDATA() override {
    ZResult r = call("]]");
    // endCDATA answers 1 for success and 0 for failure.
    return EFAILED(r) ? 0 : 1;
  }
  ZResult getErrorMessage(char** message) override {
    *message = nullptr;
    return zob::kOk;
  }
  ZResult flush() override { return zob::kOk; }

  std::string text() const {
    std::string s;
    for (auto& c : calls) s += c + " ";
    return s;
  }

  std::vector<std::string> calls;
  int failAt = 0;
  ZResult failure = zob::kWriteFailure;
  int refs = 1;

 private:
  ZResult call(const std::string& what) {
    calls.push_back(what);
    return static_cast<int>(calls.size()) == failAt ? failure : zob::kOk;
  }
};

}  // namespace kelp::test

#endif
