/* Fills SAX attribute lists the way a reader does, for tests of code that
 * reads attributes (decodeAttributes, handlers) without parsing a document.
 * Attributes are filled through the reader-only operations of XMLReader; the
 * strings are borrowed, so they must outlive the list. */
#ifndef KELP_TEST_ATTRIBUTE_MAKER_H
#define KELP_TEST_ATTRIBUTE_MAKER_H

#include <kelp/xml/sax/sax_Attributes.h>
#include <kelp/xml/sax/sax_XMLReader.h>

#include <initializer_list>
#include <string>
#include <utility>

namespace kelp::test {

class AttributeMaker : public qor::quv::xml::sax::XMLReader {
 public:
  using Attributes = qor::quv::xml::sax::Attributes;

  /* A list of (name, value) pairs, every name its own local name, in `uri`. */
  Attributes make(std::initializer_list<std::pair<const char*, const char*>> list,
                  const char* uri = "") {
    Attributes a;
    reserveAttributes(&a, static_cast<unsigned>(list.size()));
    for (const auto& [name, value] : list) addAttribute(&a, uri, name, name, "CDATA", value);
    return a;
  }
  /* Adds one attribute whose qualified name is its local name. */
  void add(Attributes* a, const char* uri, const char* local, const char* value) {
    addAttribute(a, uri, local, local, "CDATA", value);
  }

  // The reader operations themselves do nothing here.
  void setContentHandler(qor::quv::xml::sax::ContentHandler*) override {}
  qor::quv::xml::sax::ContentHandler* getContentHandler() const override { return nullptr; }
  void setDTDHandler(qor::quv::xml::sax::DTDHandler*) override {}
  qor::quv::xml::sax::DTDHandler* getDTDHandler() const override { return nullptr; }
  void setEntityResolver(qor::quv::xml::sax::EntityResolver*) override {}
  qor::quv::xml::sax::EntityResolver* getEntityResolver() const override { return nullptr; }
  void setErrorHandler(qor::quv::xml::sax::ErrorHandler*) override {}
  qor::quv::xml::sax::ErrorHandler* getErrorHandler() const override { return nullptr; }
  void setDeclHandler(qor::quv::xml::sax::DeclHandler*) override {}
  qor::quv::xml::sax::DeclHandler* getDeclHandler() const override { return nullptr; }
  void setLexicalHandler(qor::quv::xml::sax::LexicalHandler*) override {}
  qor::quv::xml::sax::LexicalHandler* getLexicalHandler() const override { return nullptr; }
  void setFeature(const std::string&, bool) override {}
  bool getFeature(const std::string&) override { return false; }
  bool hasFeature(const std::string&) override { return false; }
  bool parse(qor::quv::xml::sax::InputSource*) override { return false; }
  bool parse(const std::string&) override { return false; }
};

}  // namespace kelp::test

#endif
