// Throughput of SimpleXMLReader next to expat and libxml2's SAX2 interface,
// on the same generated documents in the same program, with a plain memchr
// scan as the hardware reference. Every parser runs a handler that reads
// every string it is given, so no parser gains from lazy strings.
//
// Documents (deterministic): a product catalogue of about 20 MB (nested
// elements, many attributes, texts in several languages and scripts,
// namespaces, CDATA, comments, references), one huge text node, elements
// with very many attributes, deep nesting, and a large internal subset with
// a body of entity references.
#include <benchmark/benchmark.h>
#include <expat.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <zob/zob_io.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <kelp/xml/sax/sax_Attributes.h>
#include <kelp/xml/sax/sax_DefaultHandler.h>
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <kelp/xml/sax/sax_SimpleXMLReader.h>

#include "catalogue_gen.h"

using namespace qor::quv::xml::sax;
using namespace kelp::bench;

namespace {

// ---- documents ----------------------------------------------------------------

// The catalogue as text, laid out as the library's writer lays it out
// (two columns per level), with double quotes and escaped text.
class TextSink {
 public:
  explicit TextSink(std::size_t target) : target_(target) {
    d.reserve(target + 4096);
    d += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- product catalogue, generated -->\n";
  }
  std::string d;

  void start(const char* name, int format) {
    openTag();
    if (format != 0) eol(0);
    indent();
    d += '<';
    d += name;
    open_.push_back({name, format});
    tagOpen_ = true;
  }
  void attr(const char* name, const std::string& value) {
    d += ' ';
    d += name;
    d += "=\"";
    d += value;
    d += '"';
  }
  void text(const std::string& t) {
    openTag();
    for (char c : t) {
      if (c == '<')
        d += "&lt;";
      else if (c == '>')
        d += "&gt;";
      else if (c == '&')
        d += "&amp;";
      else
        d += c;
    }
    lineStart_ = false;
  }
  void cdata(const std::string& t) {
    openTag();
    d += "<![CDATA[";
    d += t;
    d += "]]>";
    lineStart_ = false;
  }
  void comment(const char* t) {
    openTag();
    eol(0);
    indent();
    d += "<!--";
    d += t;
    d += "-->";
    eol(0);
  }
  void end() {
    auto [name, format] = open_.back();
    open_.pop_back();
    if (tagOpen_) {
      d += "/>";
      tagOpen_ = false;
    } else {
      if (format == 2) eol(-1);
      indent();
      d += "</";
      d += name;
      d += '>';
    }
    lineStart_ = false;
    if (format != 0) eol(0);
  }
  bool more() const { return d.size() < target_; }

 private:
  void openTag() {
    if (!tagOpen_) return;
    d += '>';
    tagOpen_ = false;
    lineStart_ = false;
    if (open_.back().second == 2) eol(+1);
  }
  void eol(int delta) {
    if (!lineStart_) d += '\n';
    lineStart_ = true;
    depth_ += delta;
  }
  void indent() {
    if (lineStart_) d.append(2 * static_cast<std::size_t>(depth_), ' ');
    lineStart_ = false;
  }

  std::size_t target_;
  std::vector<std::pair<const char*, int>> open_;
  bool tagOpen_ = false;
  bool lineStart_ = true;
  int depth_ = 0;
};

std::string makeCatalogue(size_t target) {
  TextSink sink(target);
  generateCatalogue(sink);
  return sink.d;
}

std::string makeHugeText(size_t target) {
  Random r(7);
  std::string d = "<?xml version=\"1.0\"?>\n<text xml:lang=\"mul\">";
  while (d.size() < target) {
    words(d, r, kWordsDe, 8);
    d += ' ';
    words(d, r, kWordsJa, 4);
    d += ' ';
    words(d, r, kWordsEn, 8);
    d += ".\n";
  }
  d += "</text>\n";
  return d;
}

std::string makeManyAttributes(size_t target) {
  Random r(9);
  std::string d = "<?xml version=\"1.0\"?>\n<table>\n";
  while (d.size() < target) {
    d += "<row";
    for (int i = 0; i < 200; ++i)
      d += " c" + std::to_string(i) + "=\"" + std::to_string(r.below(100000)) + "\"";
    d += "/>\n";
  }
  d += "</table>\n";
  return d;
}

// libxml2 limits depth to 2048 even with XML_PARSE_HUGE, so the deep document
// is many chains of 2000 levels.
std::string makeDeep(size_t target) {
  std::string d = "<?xml version=\"1.0\"?>\n<deep>";
  while (d.size() < target) {
    for (int i = 0; i < 2000; ++i) d += "<level n=\"1\">";
    d += "x";
    for (int i = 0; i < 2000; ++i) d += "</level>";
    d += "\n";
  }
  d += "</deep>\n";
  return d;
}

// A large internal subset (element, attribute-list and 3000 entity
// declarations, half of them referring to others) and a body that is mostly
// entity references, in content and in attribute values.
std::string makeEntities(size_t target) {
  Random r(5);
  std::string d = "<?xml version=\"1.0\"?>\n<!DOCTYPE catalogue [\n";
  for (int i = 0; i < 300; ++i) {
    d += "<!ELEMENT item" + std::to_string(i) + " (#PCDATA | name | price)*>\n";
    d += "<!ATTLIST item" + std::to_string(i) +
         " id ID #REQUIRED group (chairs|desks|storage) \"chairs\" note CDATA #IMPLIED>\n";
  }
  const int kEntities = 3000;
  for (int i = 0; i < kEntities; ++i) {
    d += "<!ENTITY e" + std::to_string(i) + " \"";
    if (i >= 100 && i % 2 == 0) d += "&e" + std::to_string(r.below(100)) + "; ";
    words(d, r, kWordsDe, 3);
    d += " &#233; ";
    words(d, r, kWordsEn, 2);
    d += "\">\n";
  }
  d += "]>\n<catalogue>\n";
  while (d.size() < target) {
    d += "<product id=\"p" + num(r.below(1000000), 6) + "\" label=\"&e" +
         std::to_string(r.below(kEntities)) + ";\">";
    for (int i = 0; i < 6; ++i) {
      d += "&e" + std::to_string(r.below(kEntities)) + "; ";
      if (i % 3 == 0) d += "&amp; &lt;&gt; ";
    }
    d += "</product>\n";
  }
  d += "</catalogue>\n";
  return d;
}

const std::string& document(int which) {
  static const std::string docs[] = {makeCatalogue(20u << 20), makeHugeText(8u << 20),
                                     makeManyAttributes(8u << 20), makeDeep(8u << 20),
                                     makeEntities(4u << 20)};
  return docs[which];
}

// ---- touching strings -----------------------------------------------------------

inline size_t touch(const char* s) {
  return std::strlen(s);
}
inline size_t touch(const char* s, size_t n) {
  // Reads every byte, as strlen does for the terminated strings.
  return std::memchr(s, 0, n) ? 0 : n;
}

// ---- SimpleXMLReader ------------------------------------------------------------

class KelpHandler : public DefaultHandler {
 public:
  size_t sum = 0;
  bool startElement(const char* uri, const char* localName, const char* qName,
                    const Attributes& a) override {
    sum += touch(uri) + touch(localName) + touch(qName);
    for (int i = 0, n = a.getLength(); i < n; ++i)
      sum += touch(a.getURI(i)) + touch(a.getLocalName(i)) + touch(a.getValue(i));
    return true;
  }
  bool endElement(const char* uri, const char* localName, const char* qName) override {
    sum += touch(uri) + touch(localName) + touch(qName);
    return true;
  }
  bool characters(const char* c) override {
    sum += touch(c);
    return true;
  }
  bool comment(const char* c) override {
    sum += touch(c);
    return true;
  }
};

void BM_Kelp(benchmark::State& state) {
  const std::string& doc = document(static_cast<int>(state.range(0)));
  SimpleXMLReader reader(nullptr);
  KelpHandler h;
  reader.setContentHandler(&h);
  reader.setLexicalHandler(&h);
  reader.setFeature(SimpleXMLReader::UseUTF8, true);
  for (auto _ : state) {
    zob::Ref<zob::io::IInputStream> stream;
    zobCreateMemoryInputStream(doc.data(), doc.size(), false, stream.out());
    ISInputSource source("", "bench.xml", stream.get());
    if (!reader.parse(&source)) state.SkipWithError("parse failed");
  }
  benchmark::DoNotOptimize(h.sum);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
}

// ---- expat ----------------------------------------------------------------------

struct ExpatUser {
  size_t sum = 0;
};

void expatStart(void* u, const XML_Char* name, const XML_Char** atts) {
  auto* e = static_cast<ExpatUser*>(u);
  e->sum += touch(name);
  for (; *atts; atts += 2) e->sum += touch(atts[0]) + touch(atts[1]);
}
void expatEnd(void* u, const XML_Char* name) {
  static_cast<ExpatUser*>(u)->sum += touch(name);
}
void expatText(void* u, const XML_Char* s, int len) {
  static_cast<ExpatUser*>(u)->sum += touch(s, static_cast<size_t>(len));
}
void expatComment(void* u, const XML_Char* s) {
  static_cast<ExpatUser*>(u)->sum += touch(s);
}

void BM_Expat(benchmark::State& state) {
  const std::string& doc = document(static_cast<int>(state.range(0)));
  ExpatUser u;
  for (auto _ : state) {
    XML_Parser p = XML_ParserCreateNS(nullptr, '|');
    XML_SetUserData(p, &u);
    XML_SetElementHandler(p, expatStart, expatEnd);
    XML_SetCharacterDataHandler(p, expatText);
    XML_SetCommentHandler(p, expatComment);
    if (XML_Parse(p, doc.data(), static_cast<int>(doc.size()), 1) != XML_STATUS_OK)
      state.SkipWithError("expat failed");
    XML_ParserFree(p);
  }
  benchmark::DoNotOptimize(u.sum);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
}

// ---- libxml2 SAX2 -----------------------------------------------------------------

struct Xml2User {
  size_t sum = 0;
};

void xml2Start(void* u, const xmlChar* localname, const xmlChar* prefix, const xmlChar* uri,
               int nbNamespaces, const xmlChar** namespaces, int nbAttributes, int,
               const xmlChar** attributes) {
  auto* x = static_cast<Xml2User*>(u);
  auto s = [](const xmlChar* c) { return c ? touch(reinterpret_cast<const char*>(c)) : 0; };
  x->sum += s(localname) + s(prefix) + s(uri);
  for (int i = 0; i < nbNamespaces; ++i) x->sum += s(namespaces[2 * i]) + s(namespaces[2 * i + 1]);
  for (int i = 0; i < nbAttributes; ++i) {
    const xmlChar** a = attributes + 5 * i;
    x->sum += s(a[0]) + s(a[1]) + s(a[2]) +
              touch(reinterpret_cast<const char*>(a[3]), static_cast<size_t>(a[4] - a[3]));
  }
}
void xml2End(void* u, const xmlChar* localname, const xmlChar* prefix, const xmlChar* uri) {
  auto s = [](const xmlChar* c) { return c ? touch(reinterpret_cast<const char*>(c)) : 0; };
  static_cast<Xml2User*>(u)->sum += s(localname) + s(prefix) + s(uri);
}
void xml2Text(void* u, const xmlChar* c, int len) {
  static_cast<Xml2User*>(u)->sum += touch(reinterpret_cast<const char*>(c), size_t(len));
}
void xml2Comment(void* u, const xmlChar* c) {
  static_cast<Xml2User*>(u)->sum += touch(reinterpret_cast<const char*>(c));
}

void BM_LibXml2(benchmark::State& state) {
  const std::string& doc = document(static_cast<int>(state.range(0)));
  Xml2User u;
  xmlSAXHandler sax;
  std::memset(&sax, 0, sizeof sax);
  sax.initialized = XML_SAX2_MAGIC;
  sax.startElementNs = xml2Start;
  sax.endElementNs = xml2End;
  sax.characters = xml2Text;
  sax.cdataBlock = xml2Text;
  sax.comment = xml2Comment;
  for (auto _ : state) {
    xmlParserCtxtPtr ctxt = xmlCreatePushParserCtxt(&sax, &u, nullptr, 0, "bench.xml");
    xmlCtxtUseOptions(ctxt, XML_PARSE_HUGE | XML_PARSE_NONET);
    int rc = xmlParseChunk(ctxt, doc.data(), static_cast<int>(doc.size()), 1);
    if (rc != 0 || !ctxt->wellFormed) state.SkipWithError("libxml2 failed");
    xmlFreeParserCtxt(ctxt);
  }
  benchmark::DoNotOptimize(u.sum);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
}

// ---- the hardware reference ---------------------------------------------------------

void BM_Memchr(benchmark::State& state) {
  const std::string& doc = document(static_cast<int>(state.range(0)));
  size_t count = 0;
  for (auto _ : state) {
    const char* p = doc.data();
    const char* e = p + doc.size();
    while ((p = static_cast<const char*>(std::memchr(p, '<', static_cast<size_t>(e - p))))) {
      ++count;
      ++p;
    }
  }
  benchmark::DoNotOptimize(count);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
}

// 0 catalogue, 1 huge text, 2 many attributes, 3 deep nesting, 4 internal
// subset and entity references (not for libxml2, whose SAX2 interface leaves
// entity storage to the handler)
#define DOCS ->Arg(0)->Arg(1)->Arg(2)->Arg(3)->Unit(benchmark::kMillisecond)
BENCHMARK(BM_Memchr) DOCS->Arg(4);
BENCHMARK(BM_Kelp) DOCS->Arg(4);
BENCHMARK(BM_Expat) DOCS->Arg(4);
BENCHMARK(BM_LibXml2) DOCS;

}  // namespace

BENCHMARK_MAIN();
