// SimpleXMLReader over arbitrary bytes. The first byte picks the features and
// how the input arrives (whole or in small pieces); the input's length
// modulo 4 turns the two external-entity features on; every handler is
// installed (the DTD ones too) and touches every string it receives, so the
// sanitizers check each pointer the reader hands out.
#include <kelp/xml/sax/sax_Attributes.h>
#include <kelp/xml/sax/sax_DefaultHandler.h>
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <kelp/xml/sax/sax_ParseException.h>
#include <kelp/xml/sax/sax_SimpleXMLReader.h>
#include <stdlib.h>
#include <unistd.h>
#include <zob/zob_io.h>

#include <algorithm>
#include <cstdlib>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <string>

using namespace qor::quv::xml::sax;

namespace {

size_t touch(const char* s) {
  return std::strlen(s);
}

class Toucher : public DefaultHandler {
 public:
  size_t sum = 0;
  size_t events = 0;
  size_t stopAfter = 0;  // 0: never stop

  bool go() { return stopAfter == 0 || ++events < stopAfter; }
  bool startElement(const char* uri, const char* localName, const char* qName,
                    const Attributes& a) override {
    sum += touch(uri) + touch(localName) + touch(qName);
    for (int i = 0; i < a.getLength(); ++i)
      sum += touch(a.getURI(i)) + touch(a.getLocalName(i)) + touch(a.getQName(i)) +
             touch(a.getType(i)) + touch(a.getValue(i));
    return go();
  }
  bool endElement(const char* uri, const char* localName, const char* qName) override {
    sum += touch(uri) + touch(localName) + touch(qName);
    return go();
  }
  bool characters(const char* c) override {
    sum += touch(c);
    return go();
  }
  bool processingInstruction(const char* t, const char* d) override {
    sum += touch(t) + touch(d);
    return go();
  }
  bool skippedEntity(const char* n) override {
    sum += touch(n);
    return go();
  }
  bool startPrefixMapping(const char* p, const char* u) override {
    sum += touch(p) + touch(u);
    return go();
  }
  bool endPrefixMapping(const char* p) override {
    sum += touch(p);
    return go();
  }
  bool comment(const char* c) override {
    sum += touch(c);
    return go();
  }
  bool startEntity(const char* n) override {
    sum += touch(n);
    return go();
  }
  bool endEntity(const char* n) override {
    sum += touch(n);
    return go();
  }
  bool startDTD(const char* n, const char* p, const char* s) override {
    sum += touch(n) + touch(p) + touch(s);
    return go();
  }
  bool elementDecl(const char* n, const char* m) override {
    sum += touch(n) + touch(m);
    return go();
  }
  bool attributeDecl(const char* e, const char* a, const char* t, const char* m,
                     const char* v) override {
    sum += touch(e) + touch(a) + touch(t) + touch(m) + touch(v);
    return go();
  }
  bool internalEntityDecl(const char* n, const char* v) override {
    sum += touch(n) + touch(v);
    return go();
  }
  bool externalEntityDecl(const char* n, const char* p, const char* s) override {
    sum += touch(n) + touch(p) + touch(s);
    return go();
  }
  bool unparsedEntityDecl(const char* n, const char* p, const char* s, const char* no) override {
    sum += touch(n) + touch(p) + touch(s) + touch(no);
    return go();
  }
  bool notationDecl(const char* n, const char* p, const char* s) override {
    sum += touch(n) + touch(p) + touch(s);
    return go();
  }
  // An external entity reads its own system id as its text, so that the
  // input decides what it holds; ids starting with "-" are refused, "="
  // read a small entity from memory, "!" and "e.ent" are left to the reader
  // (with the features on, it finds no file "!..." and reads the file
  // e.ent beside the document; with them off, it skips the reference).
  bool resolveEntity(const char* publicId, const char* systemId, InputSource** result) override {
    sum += touch(publicId);
    *result = nullptr;
    if (*systemId == '-') return false;
    if (*systemId == '!' || std::strcmp(systemId, "e.ent") == 0) return true;
    if (*systemId == '=') {
      *result = new ISInputSource(publicId, systemId, new std::istringstream(kEntityText), true);
      return go();
    }
    *result = new ISInputSource(publicId, systemId, new std::istringstream(systemId), true);
    return go();
  }
  static constexpr const char* kEntityText =
      "<?xml encoding='UTF-8'?><e a='v&amp;'>t&#233;\xC3\xA9<!--c--></e>&lt;";
  bool fatalError(const SAXParseException& e) override {
    sum += e.getMessage().size() + static_cast<size_t>(e.getLineNumber());
    return true;
  }
  std::string getErrorMessage() override { return "stop"; }
};

// Hands out the input in pieces of a fixed size.
class PieceStream final : public zob::io::IInputStream_Adapter {
 public:
  PieceStream(const uint8_t* data, size_t size, size_t piece)
      : data_(data), size_(size), piece_(piece) {}
  ZResult queryInterface(const char*, zob::IUnknown** out) override {
    *out = nullptr;
    return zob::kNoInterface;
  }
  std::uint32_t addRef() override { return 1; }
  std::uint32_t release() override { return 1; }
  ZResult read(void* buffer, std::size_t size, std::size_t* count) override {
    size_t n = std::min({size, piece_, size_ - pos_});
    if (n) std::memcpy(buffer, data_ + pos_, n);
    pos_ += n;
    *count = n;
    return zob::kOk;
  }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t piece_;
  size_t pos_ = 0;
};

// A directory holding the document's neighbour e.ent, made once and
// removed at exit.
char gDir[] = "/tmp/kelp-sax-fuzz-XXXXXX";
std::string gEntityFile;

void removeEntityFile() {
  std::remove(gEntityFile.c_str());
  rmdir(gDir);
}

const std::string& documentId() {
  static const std::string id = [] {
    if (!mkdtemp(gDir)) return std::string("fuzz.xml");
    std::string base(gDir);
    gEntityFile = base + "/e.ent";
    if (FILE* f = std::fopen(gEntityFile.c_str(), "w")) {
      std::fputs("<?xml version='1.0' encoding='UTF-8'?><f b='1'>file &amp; text</f>", f);
      std::fclose(f);
    }
    std::atexit(removeEntityFile);
    return base + "/fuzz.xml";
  }();
  return id;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const uint8_t opts = data[0];
  ++data;
  --size;
  SimpleXMLReader reader(nullptr);
  // Tighter bounds than the defaults keep every run short.
  SimpleXMLReader::EntityLimits limits;
  limits.maxDepth = 16;
  limits.minExpansion = 1 << 16;
  limits.expansionFactor = 20;
  reader.setEntityLimits(limits);
  Toucher handler;
  handler.stopAfter = (opts & 0x30) == 0x30 ? size % 17 + 1 : 0;
  reader.setContentHandler(&handler);
  reader.setErrorHandler(&handler);
  reader.setLexicalHandler(&handler);
  reader.setDTDHandler(&handler);
  reader.setDeclHandler(&handler);
  reader.setEntityResolver(&handler);
  reader.setFeature(SimpleXMLReader::Namespaces, opts & 1);
  reader.setFeature(SimpleXMLReader::NamespacePrefixes, opts & 2);
  reader.setFeature(SimpleXMLReader::UseUTF8, opts & 4);
  reader.setFeature(SimpleXMLReader::HTML4Entities, opts & 8);
  reader.setFeature(SimpleXMLReader::ExternalGeneralEntities, size & 1);
  reader.setFeature(SimpleXMLReader::ExternalParameterEntities, size & 2);
  // A small token limit, so that its checks are reached.
  if ((opts & 0x30) == 0x20) reader.setProperty(SimpleXMLReader::MaxTokenSize, 256);
  const size_t pieces[] = {size + 1, 1, 3, 4096};
  PieceStream stream(data, size, pieces[(opts >> 6) & 3]);
  ISInputSource source("", documentId(), &stream);
  reader.parse(&source);
  // Read a second document with the same reader: its entities carry over,
  // and nothing else may that breaks it.
  if (opts & 0x10) {
    PieceStream again(data, size, size + 1);
    ISInputSource second("", documentId(), &again);
    reader.parse(&second);
  }
  return handler.sum == static_cast<size_t>(-1);
}
