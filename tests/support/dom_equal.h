/* Structural equality of DOM subtrees, for round-trip tests and the DOM
 * fuzz target (header only: the fuzz targets do not link the test support
 * library).
 *
 * Two nodes are equal when they have the same type, name and data, their
 * elements the same attributes (by name, with equal values), and their
 * children are equal in order; empty Text nodes are skipped, since they
 * leave no trace in written XML. With `asRead`, `b` is taken to be what
 * reading the written form of `a` gives, so `a`'s strings are compared in
 * that form: line ends normalised ("\r\n" and "\r" become "\n"; the
 * reader normalises nothing else in attribute values), and the data of
 * CDATA sections escaped like character data (the writer escapes text
 * inside CDATA markers too). The walk is iterative, for trees of any depth. */
#ifndef KELP_TEST_DOM_EQUAL_H
#define KELP_TEST_DOM_EQUAL_H

#include <string>

#include <kelp/xml/dom/dom_Attr.h>
#include <kelp/xml/dom/dom_CharacterData.h>
#include <kelp/xml/dom/dom_Element.h>
#include <kelp/xml/dom/dom_Node.h>
#include <kelp/xml/xml_Writer.h>

namespace kelp::test {

namespace detail {

inline std::string lineEnds(const std::string& s) {
  std::string r;
  r.reserve(s.size());
  for (std::size_t i = 0; i < s.size(); ++i) {
    if (s[i] == '\r') {
      r += '\n';
      if (i + 1 < s.size() && s[i + 1] == '\n') ++i;
    } else {
      r += s[i];
    }
  }
  return r;
}

inline bool skipped(const qor::quv::xml::dom::Node* n) {
  return n && n->getNodeType() == qor::quv::xml::kTextNode &&
         static_cast<const qor::quv::xml::dom::CharacterData*>(n)->getData().empty();
}

inline const qor::quv::xml::dom::Node* firstKept(const qor::quv::xml::dom::Node* n) {
  while (skipped(n)) n = n->getNextSibling();
  return n;
}

inline const qor::quv::xml::dom::Node* nextKept(const qor::quv::xml::dom::Node* n) {
  return firstKept(n->getNextSibling());
}

inline bool sameNode(const qor::quv::xml::dom::Node* a, const qor::quv::xml::dom::Node* b,
                     bool asRead, std::string* why) {
  namespace dom = qor::quv::xml::dom;
  namespace qx = qor::quv::xml;
  auto fail = [&](const std::string& what) {
    if (why) *why = what + " at " + a->getNodeName() + " / " + b->getNodeName();
    return false;
  };
  if (a->getNodeType() != b->getNodeType()) return fail("type");
  if (a->getNodeName() != b->getNodeName()) return fail("name");
  int type = a->getNodeType();
  if (type == qx::kTextNode || type == qx::kCDATASectionNode) {
    std::string da = static_cast<const dom::CharacterData*>(a)->getData();
    if (asRead) {
      if (type == qx::kCDATASectionNode) da = qx::XMLWriter::quoteCharData(da.c_str());
      da = lineEnds(da);
    }
    if (da != static_cast<const dom::CharacterData*>(b)->getData()) return fail("data");
  }
  if (type == qx::kElementNode) {
    auto* ea = static_cast<const dom::Element*>(a);
    auto* eb = static_cast<const dom::Element*>(b);
    if (ea->getAttributeCount() != eb->getAttributeCount()) return fail("attribute count");
    for (int i = 0; i < ea->getAttributeCount(); ++i) {
      const dom::Attr* x = ea->getAttributeAt(i);
      const dom::Attr* y = eb->getAttributeAt(i);
      if (x->getName() != y->getName()) return fail("attribute name " + x->getName());
      std::string v = asRead ? lineEnds(x->getValue()) : x->getValue();
      if (v != y->getValue()) return fail("attribute value " + x->getName());
    }
  }
  return true;
}

}  // namespace detail

inline bool domEqual(const qor::quv::xml::dom::Node* a, const qor::quv::xml::dom::Node* b,
                     bool asRead = false, std::string* why = nullptr) {
  using qor::quv::xml::dom::Node;
  if (!a || !b) {
    if (why) *why = "null node";
    return a == b;
  }
  const Node* ra = a;
  for (;;) {
    if (!detail::sameNode(a, b, asRead, why)) return false;
    const Node* ca = detail::firstKept(a->getFirstChild());
    const Node* cb = detail::firstKept(b->getFirstChild());
    if (!ca != !cb) {
      if (why) *why = "children of " + a->getNodeName();
      return false;
    }
    if (ca) {
      a = ca;
      b = cb;
      continue;
    }
    for (;;) {
      if (a == ra) return true;
      const Node* na = detail::nextKept(a);
      const Node* nb = detail::nextKept(b);
      if (!na != !nb) {
        if (why) *why = "siblings after " + a->getNodeName();
        return false;
      }
      if (na) {
        a = na;
        b = nb;
        break;
      }
      a = a->getParentNode();
      b = b->getParentNode();
    }
  }
}

}  // namespace kelp::test

#endif
