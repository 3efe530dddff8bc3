// A handler that records every SAX event as one text line, and helpers that
// run the reader over a string, whole or one byte at a time.
#ifndef KELP_TESTS_SAX_SIMPLEXMLREADER_TEST_SUPPORT_H
#define KELP_TESTS_SAX_SIMPLEXMLREADER_TEST_SUPPORT_H

#include <kelp/xml/sax/sax_Attributes.h>
#include <kelp/xml/sax/sax_DefaultHandler.h>
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <kelp/xml/sax/sax_Locator.h>
#include <kelp/xml/sax/sax_ParseException.h>
#include <kelp/xml/sax/sax_SimpleXMLReader.h>

#include <sstream>
#include <string>
#include <vector>

namespace kelp::test::sax {

using namespace qor::quv::xml::sax;

/* Lines: "start {uri}local qName a={uri}local:value ...", "end ...",
 * "chars text", "pi target data", "comment text", "entity name",
 * "/entity name", "cdata", "/cdata",
 * "map prefix=uri", "unmap prefix", "skipped name", "fatal Lline: message".
 * With stopAt set, the first event whose line starts with it answers false
 * (and later ones go on). */
class Recorder : public DefaultHandler {
 public:
  std::vector<std::string> lines;
  std::string stopAt;
  std::string stopMessage = "stopped by handler";
  bool stopped = false;
  int locatorLine = -1;
  int locatorColumn = -1;
  int endDocuments = 0;

  std::string text() const {
    std::string all;
    for (const std::string& l : lines) all += l + "\n";
    return all;
  }
  /* All character data, concatenated. */
  std::string chars() const {
    std::string all;
    for (const std::string& l : lines)
      if (l.rfind("chars ", 0) == 0) all += l.substr(6);
    return all;
  }

  void setDocumentLocator(const Locator& l) override {
    locatorLine = l.getLineNumber();
    locatorColumn = l.getColumnNumber();
  }
  bool startDocument() override { return add("startDocument"); }
  bool endDocument() override {
    ++endDocuments;
    return add("endDocument");
  }
  bool startElement(const char* uri, const char* localName, const char* qName,
                    const Attributes& attrs) override {
    std::string l = std::string("start {") + uri + "}" + localName + " " + qName;
    for (int i = 0; i < attrs.getLength(); ++i) {
      l += std::string(" ") + attrs.getQName(i) + "={" + attrs.getURI(i) + "}" +
           attrs.getLocalName(i) + ":" + attrs.getValue(i);
      if (std::string(attrs.getType(i)) != "CDATA") l += "!type";
    }
    return add(l);
  }
  bool endElement(const char* uri, const char* localName, const char* qName) override {
    return add(std::string("end {") + uri + "}" + localName + " " + qName);
  }
  bool characters(const char* chars) override { return add(std::string("chars ") + chars); }
  bool ignorableWhitespace(const char* chars) override {
    return add(std::string("ignorable ") + chars);
  }
  bool processingInstruction(const char* target, const char* data) override {
    return add(std::string("pi ") + target + " " + data);
  }
  bool skippedEntity(const char* name) override { return add(std::string("skipped ") + name); }
  bool startPrefixMapping(const char* prefix, const char* uri) override {
    return add(std::string("map ") + prefix + "=" + uri);
  }
  bool endPrefixMapping(const char* prefix) override { return add(std::string("unmap ") + prefix); }
  bool comment(const char* text) override { return add(std::string("comment ") + text); }
  bool startEntity(const char* name) override { return add(std::string("entity ") + name); }
  bool endEntity(const char* name) override { return add(std::string("/entity ") + name); }
  bool startCDATA() override { return add("cdata"); }
  bool endCDATA() override { return add("/cdata"); }
  bool fatalError(const SAXParseException& e) override {
    lines.push_back("fatal L" + std::to_string(e.getLineNumber()) + ": " + e.getMessage());
    lastFatal = e;
    return fatalResult;
  }
  bool error(const SAXParseException& e) override {
    lines.push_back("error " + e.getMessage());
    return true;
  }
  bool warning(const SAXParseException& e) override {
    lines.push_back("warning " + e.getMessage());
    return true;
  }
  std::string getErrorMessage() override { return stopMessage; }

  bool fatalResult = false;
  SAXParseException lastFatal;

 private:
  bool add(const std::string& l) {
    lines.push_back(l);
    if (!stopAt.empty() && !stopped && l.rfind(stopAt, 0) == 0) {
      stopped = true;
      return false;
    }
    return true;
  }
};

struct Options {
  bool namespaces = true;
  bool prefixes = false;
  bool utf8 = true;
  bool html4 = false;
};

inline void install(SimpleXMLReader& reader, Recorder& rec, const Options& o) {
  reader.setContentHandler(&rec);
  reader.setErrorHandler(&rec);
  reader.setLexicalHandler(&rec);
  reader.setFeature(SimpleXMLReader::Namespaces, o.namespaces);
  reader.setFeature(SimpleXMLReader::NamespacePrefixes, o.prefixes);
  reader.setFeature(SimpleXMLReader::UseUTF8, o.utf8);
  reader.setFeature(SimpleXMLReader::HTML4Entities, o.html4);
}

/* Parses doc; the recorded lines, then "-> true" or "-> false". */
inline std::string run(const std::string& doc, const Options& o = Options(),
                       Recorder* out = nullptr) {
  Recorder local;
  Recorder& rec = out ? *out : local;
  SimpleXMLReader reader(nullptr);
  install(reader, rec, o);
  auto* in = new std::istringstream(doc);
  ISInputSource source("", "test.xml", in, true);
  bool ok = reader.parse(&source);
  return rec.text() + "-> " + (ok ? "true" : "false");
}

}  // namespace kelp::test::sax

#endif
