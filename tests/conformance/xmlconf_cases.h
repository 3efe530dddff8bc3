/* The test cases of the W3C XML conformance suite, as its catalogues list
 * them, for the conformance tests (header only).
 *
 * The catalogues (one per contributor, as xmlconf.xml lists them) are read
 * with SimpleXMLReader itself. `readCatalogues` gives every TEST element in
 * catalogue order; `exclusion` tells the ones outside the XML 1.0 (fifth
 * edition) selection: test cases marked for XML 1.1 or Namespaces 1.1
 * (RECOMMENDATION), for XML 1.1 only (VERSION) or for editions before the
 * fifth only (EDITION). Test cases marked NAMESPACE="no" are to be read with
 * namespace processing off.
 *
 *   std::vector<kelp::xmlconf::TestCase> all;
 *   std::string error;
 *   if (!kelp::xmlconf::readCatalogues(root, &all, &error)) FAIL() << error;
 *   for (const auto& t : all)
 *     if (kelp::xmlconf::exclusion(t).empty()) ...
 */
#ifndef KELP_TEST_XMLCONF_CASES_H
#define KELP_TEST_XMLCONF_CASES_H

#include <kelp/xml/sax/sax_Attributes.h>
#include <kelp/xml/sax/sax_DefaultHandler.h>
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <kelp/xml/sax/sax_ParseException.h>
#include <kelp/xml/sax/sax_SimpleXMLReader.h>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace kelp::xmlconf {

namespace fs = std::filesystem;

// The catalogues of xmlconf.xml, each with the suite it is counted under.
// Test URIs are relative to the catalogue's own folder.
struct Catalogue {
  const char* suite;
  const char* path;
};

inline constexpr Catalogue kCatalogues[] = {
    {"xmltest", "xmltest/xmltest.xml"},
    {"japanese", "japanese/japanese.xml"},
    {"sun", "sun/sun-valid.xml"},
    {"sun", "sun/sun-invalid.xml"},
    {"sun", "sun/sun-not-wf.xml"},
    {"sun", "sun/sun-error.xml"},
    {"oasis", "oasis/oasis.xml"},
    {"ibm", "ibm/ibm_oasis_invalid.xml"},
    {"ibm", "ibm/ibm_oasis_not-wf.xml"},
    {"ibm", "ibm/ibm_oasis_valid.xml"},
    {"ibm", "ibm/xml-1.1/ibm_invalid.xml"},
    {"ibm", "ibm/xml-1.1/ibm_not-wf.xml"},
    {"ibm", "ibm/xml-1.1/ibm_valid.xml"},
    {"eduni", "eduni/errata-2e/errata2e.xml"},
    {"eduni", "eduni/xml-1.1/xml11.xml"},
    {"eduni", "eduni/namespaces/1.0/rmt-ns10.xml"},
    {"eduni", "eduni/namespaces/1.1/rmt-ns11.xml"},
    {"eduni", "eduni/errata-3e/errata3e.xml"},
    {"eduni", "eduni/namespaces/errata-1e/errata1e.xml"},
    {"eduni", "eduni/errata-4e/errata4e.xml"},
    {"eduni", "eduni/misc/ht-bh.xml"},
};

// The values of TYPE.
inline constexpr const char* kCategories[] = {"valid", "invalid", "not-wf", "error"};

// The pinned suite holds 2585 test cases, of which the XML 1.0 selection
// keeps this many.
inline constexpr int kSelectedCount = 2001;

struct TestCase {
  std::string suite;
  std::string id;
  std::string type;
  std::string file;    // absolute path of the document
  std::string output;  // absolute path of the canonical output, or ""
  std::string recommendation;
  std::string version;
  std::string edition;
  bool namespaces = true;
};

namespace detail {

inline std::string value(const qor::quv::xml::sax::Attributes& a, const char* name) {
  const char* v = a.getValue(name);
  return v ? v : "";
}

// Collects the TEST elements of a catalogue.
class CatalogueReader : public qor::quv::xml::sax::DefaultHandler {
 public:
  CatalogueReader(std::string suite, fs::path base, std::vector<TestCase>* out)
      : suite_(std::move(suite)), base_(std::move(base)), out_(out) {}

  bool startElement(const char*, const char*, const char* qName,
                    const qor::quv::xml::sax::Attributes& a) override {
    if (std::strcmp(qName, "TEST") != 0) return true;
    TestCase t;
    t.suite = suite_;
    t.id = value(a, "ID");
    t.type = value(a, "TYPE");
    t.file = (base_ / value(a, "URI")).lexically_normal().string();
    std::string output = value(a, "OUTPUT");
    if (!output.empty()) t.output = (base_ / output).lexically_normal().string();
    t.recommendation = value(a, "RECOMMENDATION");
    t.version = value(a, "VERSION");
    t.edition = value(a, "EDITION");
    t.namespaces = value(a, "NAMESPACE") != "no";
    out_->push_back(std::move(t));
    return true;
  }
  bool fatalError(const qor::quv::xml::sax::SAXParseException& e) override {
    error = e.getMessage() + " (line " + std::to_string(e.getLineNumber()) + ")";
    return true;
  }
  std::string error;

 private:
  std::string suite_;
  fs::path base_;
  std::vector<TestCase>* out_;
};

inline bool hasWord(const std::string& list, const char* word) {
  std::istringstream in(list);
  std::string w;
  while (in >> w)
    if (w == word) return true;
  return false;
}

// The TEST start tags outside comments, counted on the text.
inline std::size_t countTestTags(const std::string& text) {
  std::size_t n = 0;
  for (std::size_t at = 0; (at = text.find('<', at)) != std::string::npos; ++at) {
    if (text.compare(at, 4, "<!--") == 0) {
      at = text.find("-->", at);
      if (at == std::string::npos) break;
      continue;
    }
    char next = at + 5 < text.size() ? text[at + 5] : '\0';
    if (text.compare(at, 5, "<TEST") == 0 &&
        (next == ' ' || next == '\t' || next == '\r' || next == '\n'))
      ++n;
  }
  return n;
}

}  // namespace detail

// The whole file at `path`; *ok tells whether it could be read.
inline std::string readFile(const std::string& path, bool* ok) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  *ok = static_cast<bool>(in) || in.eof();
  return s.str();
}

// The value of the environment variable, or `fallback` when it is unset or
// empty.
inline const char* envOr(const char* name, const char* fallback) {
  const char* v = std::getenv(name);
  return v && *v ? v : fallback;
}

// Empty when the test case is an XML 1.0 (fifth edition) case, else why not
// ("RECOMMENDATION=XML1.1" and the like).
inline std::string exclusion(const TestCase& t) {
  if (t.recommendation == "XML1.1" || t.recommendation == "NS1.1")
    return "RECOMMENDATION=" + t.recommendation;
  if (!t.version.empty() && !detail::hasWord(t.version, "1.0")) return "VERSION=" + t.version;
  if (!t.edition.empty() && !detail::hasWord(t.edition, "5")) return "EDITION=" + t.edition;
  return "";
}

// Appends the test cases of every catalogue below `root` (the folder of
// xmlconf.xml) to `all`. Some catalogues are fragments meant to be included
// as external entities (a run of TEST elements without a document element),
// so each is read as the content of a wrapping element, its XML declaration
// removed (all of them are UTF-8). Every TEST element written in a file
// must be read. False with `*error` naming the catalogue and the fault when
// one is missing or unreadable.
inline bool readCatalogues(const fs::path& root, std::vector<TestCase>* all, std::string* error) {
  namespace sax = qor::quv::xml::sax;
  for (const Catalogue& c : kCatalogues) {
    fs::path path = root / c.path;
    bool readOk = false;
    std::string text = readFile(path.string(), &readOk);
    if (!readOk || text.empty()) {
      *error = path.string() + ": catalogue missing or unreadable";
      return false;
    }
    if (text.compare(0, 5, "<?xml") == 0) text.erase(0, text.find("?>") + 2);
    const std::size_t expected = detail::countTestTags(text);
    const std::size_t before = all->size();
    detail::CatalogueReader handler(c.suite, path.parent_path(), all);
    sax::SimpleXMLReader reader(nullptr);
    reader.setFeature(sax::SimpleXMLReader::UseUTF8, true);
    reader.setContentHandler(&handler);
    reader.setErrorHandler(&handler);
    sax::ISInputSource source("", path.string(),
                              new std::istringstream("<CATALOGUE>" + text + "</CATALOGUE>"), true);
    if (!reader.parse(&source)) {
      *error = path.string() + ": " + handler.error;
      return false;
    }
    if (all->size() - before != expected) {
      *error = path.string() + ": " + std::to_string(all->size() - before) + " of " +
               std::to_string(expected) + " test cases read";
      return false;
    }
  }
  return true;
}

// The reader delivers UTF-8 to a writer that converts from the locale's
// code set: UTF-8 on both sides while an instance lives.
class Utf8Locale {
 public:
  Utf8Locale() : saved_(std::setlocale(LC_ALL, nullptr)) { ok = std::setlocale(LC_ALL, "C.UTF-8"); }
  ~Utf8Locale() { std::setlocale(LC_ALL, saved_.c_str()); }
  Utf8Locale(const Utf8Locale&) = delete;
  Utf8Locale& operator=(const Utf8Locale&) = delete;
  bool ok = false;

 private:
  std::string saved_;
};

}  // namespace kelp::xmlconf

#endif
