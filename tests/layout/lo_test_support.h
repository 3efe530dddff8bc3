// Helpers of the layout tests: reading a page from a string and writing a
// document's blocks and atoms as a compact text.
//
// Dump form: an environment is "<type>{children}", a paragraph
// "<type>[atoms]"; atoms are the character itself (printable ASCII) or
// "\u<hex>", "_" space, "~" non-breaking space, "/" break, "=" rule,
// "(+<style>)" and "(-<style>)" style switches.
#ifndef KELP_TESTS_LAYOUT_LO_TEST_SUPPORT_H
#define KELP_TESTS_LAYOUT_LO_TEST_SUPPORT_H

#include <cstdio>
#include <sstream>
#include <string>

#include <kelp/layout/lo_Document.h>
#include <kelp/layout/lo_XHtmlReader.h>
#include <kelp/xml/sax/sax_ISInputSource.h>

namespace kelp::test::layout {

using namespace qor::quv::layout;

inline std::string dumpAtom(const Atom& atom) {
  switch (atom.getType()) {
    case kAtomSpace:
      return "_";
    case kAtomNbSpace:
      return "~";
    case kAtomBreak:
      return "/";
    case kAtomHRule:
      return "=";
    case kAtomChar: {
      const unsigned c = atom.getChar();
      if (c >= 0x20 && c < 0x7F) return std::string(1, static_cast<char>(c));
      char buf[16];
      std::snprintf(buf, sizeof buf, "\\u%04x", c);
      return buf;
    }
    case kAtomStyleOn:
      return "(+" + std::to_string(atom.getStyle()) + ")";
    case kAtomStyleOff:
      return "(-" + std::to_string(atom.getStyle()) + ")";
    default:
      return "?" + std::to_string(static_cast<int>(atom.getType()));
  }
}

inline std::string dump(const Block* block) {
  if (!block) return "null";
  std::string s = std::to_string(static_cast<int>(block->getType()));
  if (isParagraphType(block->getType())) {
    s += "[";
    for (const Atom& atom : static_cast<const ParaBlock*>(block)->getAtoms()) s += dumpAtom(atom);
    return s + "]";
  }
  s += "{";
  const auto& children = static_cast<const EnvBlock*>(block)->getBlocks();
  for (size_t i = 0; i < children.size(); ++i) {
    if (i) s += ",";
    s += dump(children[i]);
  }
  return s + "}";
}

/* Reads page with reader; the document (one reference) or null. */
inline Document* read(XHtmlReader& reader, const std::string& page) {
  auto* in = new std::istringstream(page);
  qor::quv::xml::sax::ISInputSource source("", "page.xhtml", in, true);
  Document* doc = nullptr;
  reader.parse(&source, &doc);
  return doc;
}

/* Wraps body content in a complete page. */
inline std::string page(const std::string& body) {
  return "<html><head><title>t</title></head><body>" + body + "</body></html>";
}

/* The dump of the body read from a page, or "error: <message>". */
inline std::string readDump(const std::string& text) {
  XHtmlReader reader(nullptr);
  Document* doc = read(reader, text);
  if (!doc) return "error: " + reader.getErrorMessage();
  std::string s = dump(doc->getBody());
  doc->release();
  return s;
}

}  // namespace kelp::test::layout

#endif
