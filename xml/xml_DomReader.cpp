// Reading a document into a new Document through DomSaxHandler in fragment
// mode.
#define QUV_SOURCE_NAME "xml_DomReader"
#include <kelp/xml/xml_DomReader.h>

#include <memory>
#include <new>
#include <sstream>

#include <kelp/util/utl_Logger.h>
#include <kelp/xml/dom/dom_DocumentFragment.h>
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <kelp/xml/sax/sax_ParseException.h>
#include <kelp/xml/sax/sax_SimpleXMLReader.h>
#include <kelp/xml/xml_DomSaxHandler.h>
#include <vorn/vorn_placeholder.h>

namespace qor::quv::xml {

namespace {

// Hands every event to the DOM handler except startDocument, which the
// handler refuses in fragment mode; keeps the reader's fatal error.
class Forwarder : public sax::DefaultHandler {
 public:
  explicit Forwarder(DomSaxHandler* target) : target_(target) {}

  bool startDocument() override { return true; }
  bool endDocument() override { return target_->endDocument(); }
  bool startElement(const char* uri, const char* localName, const char* qName,
                    const sax::Attributes& attributes) override {
    return target_->startElement(uri, localName, qName, attributes);
  }
  bool endElement(const char* uri, const char* localName, const char* qName) override {
    return target_->endElement(uri, localName, qName);
  }
  bool characters(const char* text) override { return target_->characters(text); }
  bool ignorableWhitespace(const char* text) override { return target_->ignorableWhitespace(text); }
  bool startCDATA() override { return target_->startCDATA(); }
  bool endCDATA() override { return target_->endCDATA(); }
  bool error(const sax::SAXParseException& e) override { return target_->error(e); }
  bool warning(const sax::SAXParseException& e) override { return target_->warning(e); }
  bool fatalError(const sax::SAXParseException& e) override {
    if (!failed) {
      failed = true;
      message = e.getMessage();
      line = e.getLineNumber();
      systemId = e.getSystemId();
    }
    return target_->fatalError(e);
  }
  std::string getErrorMessage() override { return target_->getErrorMessage(); }

  bool failed = false;
  std::string message;
  int line = 0;
  std::string systemId;

 private:
  DomSaxHandler* target_;
};

}  // namespace

struct DomReader::Data {
  explicit Data(fw::IApplication* a) : app(a), reader(a) {}
  zob::Ref<fw::IApplication> app;
  sax::SimpleXMLReader reader;
  zob::Ref<dom::DomImplementation> impl;
  std::string errorMessage;
  int errorLine = 0;
  std::string errorSystemId;
};

DomReader::DomReader(fw::IApplication* app) : d_(new Data(app)) {}

DomReader::~DomReader() {
  delete d_;
}

void DomReader::setFeature(const std::string& name, bool value) {
  d_->reader.setFeature(name, value);
}

bool DomReader::getFeature(const std::string& name) {
  return d_->reader.getFeature(name);
}

void DomReader::setImplementation(dom::DomImplementation* impl) {
  d_->impl = zob::Ref<dom::DomImplementation>(impl);
}

const std::string& DomReader::getErrorMessage() const {
  return d_->errorMessage;
}

int DomReader::getErrorLine() const {
  return d_->errorLine;
}

const std::string& DomReader::getErrorSystemId() const {
  return d_->errorSystemId;
}

template <class Parse>
zob::Ref<dom::Document> DomReader::run(Parse parse) {
  // The reader catches what happens inside the parse; this is for the
  // document, the handler and the moves around it.
  try {
    return build(parse);
  } catch (...) {
    d_->errorMessage = "out of memory";
    d_->errorLine = 0;
    d_->errorSystemId.clear();
    return {};
  }
}

template <class Parse>
zob::Ref<dom::Document> DomReader::build(Parse parse) {
  d_->errorMessage.clear();
  d_->errorLine = 0;
  d_->errorSystemId.clear();
  if (!d_->impl)
    d_->impl = zob::Ref<dom::DomImplementation>(new (std::nothrow) dom::DomImplementation());
  zob::Ref<dom::Document> doc = dom::Document::create(d_->impl.get());
  if (!doc) {
    d_->errorMessage = "Cannot create document.";
    return {};
  }
  zob::Ref<dom::Node> fragment;
  {
    DomSaxHandler handler(d_->app.get(), doc.get());
    Forwarder forwarder(&handler);
    sax::SimpleXMLReader& reader = d_->reader;
    reader.setContentHandler(&forwarder);
    reader.setErrorHandler(&forwarder);
    reader.setLexicalHandler(&forwarder);
    bool ok = parse(reader);
    reader.setContentHandler(nullptr);
    reader.setErrorHandler(nullptr);
    reader.setLexicalHandler(nullptr);
    if (!ok || forwarder.failed) {
      d_->errorMessage = forwarder.failed ? forwarder.message : "Cannot read the document.";
      d_->errorLine = forwarder.line;
      d_->errorSystemId = forwarder.systemId;
      return {};
    }
    fragment = zob::Ref<dom::Node>(handler.getRootNode());
  }
  // The top-level nodes move from the fragment into the document.
  while (dom::Node* top = fragment ? fragment->getFirstChild() : nullptr) {
    ZResult res = doc->insertBeforeChecked(top, nullptr);
    if (EFAILED(res)) {
      d_->errorMessage = std::string("Cannot add a top-level %1 node to the document: %2")
                         << top->getNodeName() << zobStrError(res);
      return {};
    }
  }
  if (!doc->getDocumentElement()) {
    d_->errorMessage = "No document element.";
    return {};
  }
  return doc;
}

zob::Ref<dom::Document> DomReader::readFile(const std::string& path) {
  return run([&](sax::SimpleXMLReader& r) { return r.parse(path); });
}

zob::Ref<dom::Document> DomReader::readString(const std::string& text,
                                              const std::string& systemId) {
  return run([&](sax::SimpleXMLReader& r) {
    sax::ISInputSource source("", systemId, new std::istringstream(text), true);
    return r.parse(&source);
  });
}

zob::Ref<dom::Document> DomReader::read(sax::InputSource* input) {
  if (!input) {
    d_->errorMessage = "No input.";
    return {};
  }
  return run([&](sax::SimpleXMLReader& r) { return r.parse(input); });
}

}  // namespace qor::quv::xml
