// Reading a document into a DOM with DomReader (SimpleXMLReader driving
// DomSaxHandler) next to pugixml and libxml2's tree parser, on the same
// generated product catalogue; then a full walk of the tree (every node,
// name, attribute and text read) and its destruction, each timed alone.
// BM_KelpSax reads the same document with a handler that does nothing, so
// the difference to BM_KelpParse is what building the tree costs.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <zob/zob_io.h>
#include <pugixml.hpp>

#include <malloc.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <kelp/xml/dom/dom_Attr.h>
#include <kelp/xml/dom/dom_CharacterData.h>
#include <kelp/xml/dom/dom_Document.h>
#include <kelp/xml/dom/dom_Element.h>
#include <kelp/xml/dom/dom_Text.h>
#include <kelp/xml/sax/sax_DefaultHandler.h>
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <kelp/xml/sax/sax_SimpleXMLReader.h>
#include <kelp/xml/xml_DomReader.h>

namespace {

namespace qx = qor::quv::xml;
namespace dom = qor::quv::xml::dom;
namespace sax = qor::quv::xml::sax;

// ---- the document -------------------------------------------------------------

class Random {
 public:
  explicit Random(std::uint64_t seed) : s_(seed) {}
  std::uint32_t below(std::uint32_t n) {
    s_ = s_ * 6364136223846793005ull + 1442695040888963407ull;
    return static_cast<std::uint32_t>(s_ >> 33) % n;
  }

 private:
  std::uint64_t s_;
};

const char* const kWords[] = {"ergonomic", "chair",    "desk",    "oak",      "steel",  "Bürostuhl",
                              "Eiche",     "réglable", "étagère", "オフィス", "チェア", "стул",
                              "for",       "with",     "and",     "premium",  "Größe",  "lumière"};

void words(std::string& d, Random& r, int n) {
  for (int i = 0; i < n; ++i) {
    if (i) d += ' ';
    d += kWords[r.below(sizeof kWords / sizeof *kWords)];
  }
}

// Articles with names in several languages, a description with inline
// markup, prices and features as attribute-only elements: about `target`
// bytes.
std::string makeCatalogue(std::size_t target) {
  Random r(7);
  std::string d = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<catalogue version=\"3\">\n";
  for (std::uint32_t a = 0; d.size() < target; ++a) {
    d += "  <article id=\"A" + std::to_string(1000000 + a) + "\" group=\"g" +
         std::to_string(r.below(40)) + "\" status=\"active\">\n";
    for (const char* lang : {"en", "de", "fr"}) {
      d += std::string("    <name lang=\"") + lang + "\">";
      words(d, r, 3);
      d += "</name>\n";
    }
    d += "    <description><p>";
    words(d, r, 10);
    d += " &amp; <b>";
    words(d, r, 2);
    d += "</b> ";
    words(d, r, 8);
    d += ".</p></description>\n    <prices>";
    for (int p = 0; p < 3; ++p)
      d += "<price currency=\"EUR\" amount=\"" + std::to_string(r.below(5000)) +
           ".50\" min-qty=\"" + std::to_string(1 + 10 * p) + "\"/>";
    d += "</prices>\n    <features>";
    for (int f = 0; f < 4; ++f)
      d += "<feature key=\"k" + std::to_string(f) + "\" value=\"v" + std::to_string(r.below(9)) +
           "\"/>";
    d += "</features>\n  </article>\n";
  }
  d += "</catalogue>\n";
  return d;
}

const std::string& catalogue() {
  static const std::string doc = makeCatalogue(8u << 20);
  return doc;
}

// ---- kelp -----------------------------------------------------------------------

zob::Ref<dom::Document> kelpParse(qx::DomReader& reader) {
  const std::string& doc = catalogue();
  zob::Ref<zob::io::IInputStream> stream;
  zobCreateMemoryInputStream(doc.data(), doc.size(), false, stream.out());
  sax::ISInputSource source("", "bench.xml", stream.get());
  return reader.read(&source);
}

std::size_t kelpWalk(dom::Node* root) {
  std::size_t sum = 0;
  dom::Node* cur = root;
  for (;;) {
    switch (cur->getNodeType()) {
      case qx::kElementNode: {
        auto* e = static_cast<dom::Element*>(cur);
        sum += e->getTagName().size();
        // By name and value: asking for attribute nodes would make them.
        for (int i = 0, n = e->getAttributeCount(); i < n; ++i)
          sum += e->getAttributeName(i).size() + e->getAttributeValue(i).size();
        break;
      }
      case qx::kTextNode:
      case qx::kCDATASectionNode:
        sum += static_cast<dom::CharacterData*>(cur)->getData().size();
        break;
      default:
        break;
    }
    if (dom::Node* c = cur->getFirstChild()) {
      cur = c;
      continue;
    }
    while (cur != root && !cur->getNextSibling()) cur = cur->getParentNode();
    if (cur == root) return sum;
    cur = cur->getNextSibling();
  }
}

void BM_KelpSax(benchmark::State& state) {
  const std::string& doc = catalogue();
  sax::SimpleXMLReader reader(nullptr);
  sax::DefaultHandler h;
  reader.setContentHandler(&h);
  reader.setFeature(sax::SimpleXMLReader::UseUTF8, true);
  for (auto _ : state) {
    zob::Ref<zob::io::IInputStream> stream;
    zobCreateMemoryInputStream(doc.data(), doc.size(), false, stream.out());
    sax::ISInputSource source("", "bench.xml", stream.get());
    if (!reader.parse(&source)) state.SkipWithError("parse failed");
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
}

void BM_KelpParse(benchmark::State& state) {
  qx::DomReader reader(nullptr);
  reader.setFeature(sax::SimpleXMLReader::UseUTF8, true);
  for (auto _ : state) {
    zob::Ref<dom::Document> d = kelpParse(reader);
    if (!d) state.SkipWithError("parse failed");
    state.PauseTiming();
    d.reset();
    state.ResumeTiming();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * catalogue().size()));
}

void BM_KelpWalk(benchmark::State& state) {
  qx::DomReader reader(nullptr);
  reader.setFeature(sax::SimpleXMLReader::UseUTF8, true);
  zob::Ref<dom::Document> d = kelpParse(reader);
  std::size_t sum = 0;
  for (auto _ : state) sum += kelpWalk(d.get());
  benchmark::DoNotOptimize(sum);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * catalogue().size()));
}

void BM_KelpDestroy(benchmark::State& state) {
  qx::DomReader reader(nullptr);
  reader.setFeature(sax::SimpleXMLReader::UseUTF8, true);
  for (auto _ : state) {
    state.PauseTiming();
    zob::Ref<dom::Document> d = kelpParse(reader);
    state.ResumeTiming();
    d.reset();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * catalogue().size()));
}

// ---- pugixml ----------------------------------------------------------------------

std::size_t pugiWalk(const pugi::xml_node& root) {
  std::size_t sum = 0;
  pugi::xml_node cur = root;
  for (;;) {
    if (cur.type() == pugi::node_element) {
      sum += std::strlen(cur.name());
      for (pugi::xml_attribute a = cur.first_attribute(); a; a = a.next_attribute())
        sum += std::strlen(a.name()) + std::strlen(a.value());
    } else if (cur.type() == pugi::node_pcdata || cur.type() == pugi::node_cdata) {
      sum += std::strlen(cur.value());
    }
    if (pugi::xml_node c = cur.first_child()) {
      cur = c;
      continue;
    }
    while (cur != root && !cur.next_sibling()) cur = cur.parent();
    if (cur == root) return sum;
    cur = cur.next_sibling();
  }
}

void BM_PugiParse(benchmark::State& state) {
  const std::string& doc = catalogue();
  for (auto _ : state) {
    auto* d = new pugi::xml_document();
    if (!d->load_buffer(doc.data(), doc.size())) state.SkipWithError("pugixml failed");
    state.PauseTiming();
    delete d;
    state.ResumeTiming();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
}

void BM_PugiWalk(benchmark::State& state) {
  const std::string& doc = catalogue();
  pugi::xml_document d;
  d.load_buffer(doc.data(), doc.size());
  std::size_t sum = 0;
  for (auto _ : state) sum += pugiWalk(d);
  benchmark::DoNotOptimize(sum);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
}

void BM_PugiDestroy(benchmark::State& state) {
  const std::string& doc = catalogue();
  for (auto _ : state) {
    state.PauseTiming();
    auto* d = new pugi::xml_document();
    d->load_buffer(doc.data(), doc.size());
    state.ResumeTiming();
    delete d;
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
}

// ---- libxml2's tree parser ----------------------------------------------------------

std::size_t xml2Walk(xmlNodePtr root) {
  std::size_t sum = 0;
  xmlNodePtr cur = root;
  for (;;) {
    if (cur->type == XML_ELEMENT_NODE) {
      sum += std::strlen(reinterpret_cast<const char*>(cur->name));
      for (xmlAttrPtr a = cur->properties; a; a = a->next) {
        sum += std::strlen(reinterpret_cast<const char*>(a->name));
        if (a->children && a->children->content)
          sum += std::strlen(reinterpret_cast<const char*>(a->children->content));
      }
    } else if ((cur->type == XML_TEXT_NODE || cur->type == XML_CDATA_SECTION_NODE) &&
               cur->content) {
      sum += std::strlen(reinterpret_cast<const char*>(cur->content));
    }
    if (cur->children && cur->type != XML_ENTITY_REF_NODE) {
      cur = cur->children;
      continue;
    }
    while (cur != root && !cur->next) cur = cur->parent;
    if (cur == root) return sum;
    cur = cur->next;
  }
}

xmlDocPtr xml2Parse() {
  const std::string& doc = catalogue();
  return xmlReadMemory(doc.data(), static_cast<int>(doc.size()), "bench.xml", nullptr,
                       XML_PARSE_HUGE | XML_PARSE_NONET);
}

void BM_LibXml2Parse(benchmark::State& state) {
  for (auto _ : state) {
    xmlDocPtr d = xml2Parse();
    if (!d) state.SkipWithError("libxml2 failed");
    state.PauseTiming();
    xmlFreeDoc(d);
    state.ResumeTiming();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * catalogue().size()));
}

void BM_LibXml2Walk(benchmark::State& state) {
  xmlDocPtr d = xml2Parse();
  std::size_t sum = 0;
  for (auto _ : state) sum += xml2Walk(xmlDocGetRootElement(d));
  benchmark::DoNotOptimize(sum);
  xmlFreeDoc(d);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * catalogue().size()));
}

void BM_LibXml2Destroy(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    xmlDocPtr d = xml2Parse();
    state.ResumeTiming();
    xmlFreeDoc(d);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * catalogue().size()));
}

// ---- memory -------------------------------------------------------------------------

// Heap bytes in use (small blocks and mmapped ones).
std::size_t heapInUse() {
  struct mallinfo2 m = mallinfo2();
  return m.uordblks + m.hblkhd;
}

void countNodes(dom::Node* root, std::size_t* elements, std::size_t* texts,
                std::size_t* attributes) {
  for (dom::Node* cur = root;;) {
    if (cur->getNodeType() == qx::kElementNode) {
      ++*elements;
      *attributes += static_cast<std::size_t>(static_cast<dom::Element*>(cur)->getAttributeCount());
    } else if (cur->getNodeType() == qx::kTextNode) {
      ++*texts;
    }
    if (dom::Node* c = cur->getFirstChild()) {
      cur = c;
      continue;
    }
    while (cur != root && !cur->getNextSibling()) cur = cur->getParentNode();
    if (cur == root) return;
    cur = cur->getNextSibling();
  }
}

// What a parsed tree keeps on the heap per byte of input, for each parser,
// and the sizes of kelp's nodes (with their 16-byte storage header).
void BM_Memory(benchmark::State& state) {
  const double in = static_cast<double>(catalogue().size());
  double kelp = 0, pugi = 0, xml2 = 0;
  std::size_t elements = 0, texts = 0, attributes = 0;
  for (auto _ : state) {
    qx::DomReader reader(nullptr);
    reader.setFeature(sax::SimpleXMLReader::UseUTF8, true);
    std::size_t before = heapInUse();
    zob::Ref<dom::Document> d = kelpParse(reader);
    kelp = static_cast<double>(heapInUse() - before) / in;
    countNodes(d.get(), &elements, &texts, &attributes);
    d.reset();
    before = heapInUse();
    auto* p = new pugi::xml_document();
    p->load_buffer(catalogue().data(), catalogue().size());
    pugi = static_cast<double>(heapInUse() - before) / in;
    delete p;
    before = heapInUse();
    xmlDocPtr x = xml2Parse();
    xml2 = static_cast<double>(heapInUse() - before) / in;
    xmlFreeDoc(x);
  }
  state.counters["kelp_B_per_B"] = kelp;
  state.counters["pugi_B_per_B"] = pugi;
  state.counters["xml2_B_per_B"] = xml2;
  state.counters["elements"] = static_cast<double>(elements);
  state.counters["texts"] = static_cast<double>(texts);
  state.counters["attributes"] = static_cast<double>(attributes);
  state.counters["element_B"] = sizeof(dom::Element) + 16;
  state.counters["text_B"] = sizeof(dom::Text) + 16;
  state.counters["attr_node_B"] = sizeof(dom::Attr) + 16;
  state.counters["attr_B"] = 72;  // name, value, node: one slot of the element's array
}

#define OPTS ->Unit(benchmark::kMillisecond)->MinTime(0.3)
BENCHMARK(BM_KelpSax) OPTS;
BENCHMARK(BM_KelpParse) OPTS;
BENCHMARK(BM_PugiParse) OPTS;
BENCHMARK(BM_LibXml2Parse) OPTS;
BENCHMARK(BM_KelpWalk) OPTS;
BENCHMARK(BM_PugiWalk) OPTS;
BENCHMARK(BM_LibXml2Walk) OPTS;
BENCHMARK(BM_KelpDestroy) OPTS;
BENCHMARK(BM_PugiDestroy) OPTS;
BENCHMARK(BM_LibXml2Destroy) OPTS;
BENCHMARK(BM_Memory)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
