// Arbitrary bytes read into a DOM in both of the DOM handler's modes: what
// reads is normalised, copied, written and read again, and the second tree
// must equal the first as read back (see tests/support/dom_equal.h). Trees
// whose names do not read back as themselves (local parts of qualified
// names that are no names) are written but not compared. The first byte
// picks the reader features.
#include <kelp/host.h>
#include <kelp/xml/dom/dom_Document.h>
#include <kelp/xml/dom/dom_Element.h>
#include <kelp/xml/dom/dom_Implementation.h>
#include <kelp/xml/sax/sax_DefaultHandler.h>
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <kelp/xml/sax/sax_SimpleXMLReader.h>
#include <kelp/xml/xml_DomReader.h>
#include <kelp/xml/xml_DomSaxHandler.h>
#include <kelp/xml/xml_Writer.h>

#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/dom_equal.h"

namespace {

namespace qx = qor::quv::xml;
namespace dom = qor::quv::xml::dom;
namespace sax = qor::quv::xml::sax;

// Drops every message: failures are expected all the time here.
class QuietLogger : public kelp::host::Object<qor::quv::fw::ILogger> {
 public:
  void fatal(const char*, const char*) override {}
  void error(const char*, const char*) override {}
  void warning(const char*, const char*) override {}
  void notice(const char*, const char*) override {}
  void info(const char*, const char*) override {}
  void debug(const char*, const char*) override {}
};

qor::quv::fw::IApplication* application() {
  static zob::Ref<kelp::host::Application> app = [] {
    // The writer converts from the locale's charset; the reader delivers it.
    std::setlocale(LC_ALL, "C.UTF-8");
    zob::Ref<kelp::host::Application> a = kelp::host::Application::create();
    zob::Ref<QuietLogger> log(new QuietLogger());
    a->installLogger(log.get());
    return a;
  }();
  return app.get();
}

// An attribute named xmlns would be written as a namespace declaration,
// which is not read back as an attribute.
void dropXmlnsAttributes(dom::Node* root) {
  std::vector<dom::Node*> todo{root};
  while (!todo.empty()) {
    dom::Node* n = todo.back();
    todo.pop_back();
    if (n->getNodeType() == qx::kElementNode)
      static_cast<dom::Element*>(n)->removeAttribute(std::string("xmlns"));
    for (dom::Node* c = n->getFirstChild(); c; c = c->getNextSibling()) todo.push_back(c);
  }
}

// Whether `name` reads back as the same local name: the tree holds the
// local parts of qualified names, which need not be names themselves
// ("a:b:c" gives "b:c", which reads back as "c"; "a:\xff" gives "\xff").
bool nameReadsBack(const std::string& name) {
  static std::map<std::string, bool> known;
  auto it = known.find(name);
  if (it != known.end()) return it->second;
  bool ok = !name.empty() && name.find(':') == std::string::npos;
  if (ok) {
    sax::SimpleXMLReader reader(application());
    sax::DefaultHandler h;
    reader.setContentHandler(&h);
    reader.setErrorHandler(&h);
    sax::ISInputSource source("", "name.xml", new std::istringstream("<" + name + "/>"), true);
    ok = reader.parse(&source);
  }
  if (known.size() < 100000) known.emplace(name, ok);
  return ok;
}

// Whether every element and attribute name of the tree reads back.
bool namesReadBack(dom::Node* root) {
  std::vector<dom::Node*> todo{root};
  while (!todo.empty()) {
    dom::Node* n = todo.back();
    todo.pop_back();
    if (n->getNodeType() == qx::kElementNode) {
      auto* e = static_cast<dom::Element*>(n);
      if (!nameReadsBack(e->getTagName())) return false;
      for (int i = 0; i < e->getAttributeCount(); ++i)
        if (!nameReadsBack(e->getAttributeAt(i)->getName())) return false;
    }
    for (dom::Node* c = n->getFirstChild(); c; c = c->getNextSibling()) todo.push_back(c);
  }
  return true;
}

bool write(dom::Node* node, std::string* out) {
  std::ostringstream s;
  zob::Ref<qx::XMLWriter> w(new qx::XMLWriter(&s, 0));
  ZResult res = node->write(w.get());
  w->close();
  *out = s.str();
  return !EFAILED(res);
}

void check(bool ok) {
  if (!ok) std::abort();
}

// Normalises, checks a deep copy, writes, reads back with `reread` and
// compares.
template <class Reread>
void roundTrip(dom::Node* first, Reread reread) {
  first->normalize();
  dropXmlnsAttributes(first);
  zob::Ref<dom::Node> copy = first->cloneNode(true);
  check(copy && kelp::test::domEqual(first, copy.get()));
  std::string text;
  bool written = write(first, &text);
  if (!namesReadBack(first)) return;
  check(written);
  zob::Ref<dom::Node> second = reread(text);
  check(static_cast<bool>(second));
  second->normalize();
  check(kelp::test::domEqual(first, second.get(), true));
}

void fragmentMode(const std::string& text, bool utf8, bool html) {
  qx::DomReader reader(application());
  reader.setFeature(sax::SimpleXMLReader::UseUTF8, utf8);
  reader.setFeature(sax::SimpleXMLReader::HTML4Entities, html);
  zob::Ref<dom::Document> doc = reader.readString(text);
  if (!doc) return;
  roundTrip(doc.get(), [&](const std::string& written) {
    zob::Ref<dom::Document> again = reader.readString(written);
    return zob::Ref<dom::Node>(again.get());
  });
}

// Implementation mode: only documents whose root has no child element
// read (every later element starts a new document).
zob::Ref<dom::Document> readImplementationMode(const std::string& text, bool utf8) {
  zob::Ref<dom::DomImplementation> impl(new dom::DomImplementation());
  qx::DomSaxHandler handler(application(), impl.get());
  sax::SimpleXMLReader reader(application());
  reader.setFeature(sax::SimpleXMLReader::UseUTF8, utf8);
  reader.setContentHandler(&handler);
  reader.setErrorHandler(&handler);
  reader.setLexicalHandler(&handler);
  sax::ISInputSource source("", "fuzz.xml", new std::istringstream(text), true);
  if (!reader.parse(&source)) return {};
  return zob::Ref<dom::Document>(handler.getDocument());
}

void implementationMode(const std::string& text, bool utf8) {
  zob::Ref<dom::Document> doc = readImplementationMode(text, utf8);
  if (!doc) return;
  roundTrip(doc.get(), [&](const std::string& written) {
    zob::Ref<dom::Document> again = readImplementationMode(written, utf8);
    return zob::Ref<dom::Node>(again.get());
  });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  application();
  if (size == 0) return 0;
  const unsigned options = data[0];
  std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  fragmentMode(text, options & 1, options & 2);
  implementationMode(text, options & 1);
  return 0;
}
