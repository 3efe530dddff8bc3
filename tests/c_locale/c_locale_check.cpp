// A program that never calls setlocale, as many users of the library are:
// it runs in the "C" locale, whose code set the platform answers as UTF-8,
// so the writer and the reader (without use-utf8) keep non-ASCII text.
// Exits 0 when all is well, 1 with the difference on standard error.
#include <cstdio>
#include <sstream>
#include <string>

#include <kelp/xml/sax/sax_DefaultHandler.h>
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <kelp/xml/sax/sax_SimpleXMLReader.h>
#include <kelp/xml/xml_Writer.h>
#include <zob/zob_unknown.h>

namespace {

namespace qx = qor::quv::xml;

int failures = 0;

void expect(const char* what, const std::string& got, const std::string& want) {
  if (got == want) return;
  std::fprintf(stderr, "%s:\n  got  '%s'\n  want '%s'\n", what, got.c_str(), want.c_str());
  ++failures;
}

class Text : public qx::sax::DefaultHandler {
 public:
  bool characters(const char* chars) override {
    text += chars;
    return true;
  }
  std::string text;
};

}  // namespace

int main() {
  expect("application code set", qx::XMLWriter::getAppCodeSet(), "UTF-8");

  std::ostringstream out;
  {
    zob::Ref<qx::XMLWriter> w(new qx::XMLWriter(&out, 0));
    w->startElement("a", qx::kFormatInline);
    w->stringAttribute("owner", "Zo\xC3\xAB");
    w->characters("12 \xE2\x82\xAC");
    w->endElement();
    w->close();
  }
  expect("writer", out.str(),
         "<?xml version='1.0' encoding='UTF-8'?>\n<a owner='Zo\xC3\xAB'>12 \xE2\x82\xAC</a>");

  std::istringstream in("<a>Zo\xC3\xAB &#x20AC;</a>");
  qx::sax::SimpleXMLReader reader(nullptr);
  Text text;
  reader.setContentHandler(&text);
  qx::sax::ISInputSource source("", "mem.xml", &in, false);
  expect("reader", reader.parse(&source) ? text.text : "<failed>", "Zo\xC3\xAB \xE2\x82\xAC");
  return failures == 0 ? 0 : 1;
}
