/* qor::quv::xml::sax::Attributes: the attribute list a reader hands to
 * ContentHandler::startElement.
 *
 * A copyable handle to a reference-counted list; copies share it. The
 * strings are borrowed from the reader and stay valid until the end of the
 * startElement call; a handler that keeps an attribute copies it. Every
 * accessor answers "" (never null) for an index out of range or a name not
 * present. Searches are linear in document order and compare bytes. The
 * list is filled only by readers, through XMLReader::reserveAttributes and
 * XMLReader::addAttribute.
 *
 *   bool startElement(const char*, const char*, const char* qName,
 *                     const Attributes& atts) override {
 *     std::string id = atts.getValue("id");  // "" when absent
 *     for (int i = 0; i < atts.getLength(); ++i) use(atts.getQName(i));
 *     return true;
 *   }
 */
#ifndef KELP_XML_SAX_SAX_ATTRIBUTES_H
#define KELP_XML_SAX_SAX_ATTRIBUTES_H

#include <cstdint>
#include <vector>

#include <kelp/kelp_api.h>

namespace qor::quv::xml::sax {

class XMLReader;

class KELP_API Attributes {
 public:
  /* One attribute: five borrowed strings, never null. */
  struct Attr {
    const char* uri;
    const char* localName;
    const char* qName;
    const char* type;
    const char* value;
  };

  /* The shared list. Created with a count of 0; each Attributes holding it
   * adds one, and the last release deletes it. */
  class KELP_API Data {
   public:
    Data();
    ~Data();
    Data(const Data&) = delete;
    Data& operator=(const Data&) = delete;
    void addRef();
    void release();

    std::vector<Attr> attrs;

   private:
    std::int32_t refs_;
  };

  /* An empty list. */
  Attributes();
  Attributes(const Attributes& other);
  Attributes& operator=(const Attributes& other);
  ~Attributes();

  int getLength() const;
  const char* getURI(int index) const;
  const char* getLocalName(int index) const;
  const char* getQName(int index) const;
  const char* getType(int index) const;
  const char* getValue(int index) const;

  /* Index of the first attribute with this qualified name, else -1. */
  int getIndex(const char* qName) const;
  /* Index of the first attribute with this namespace URI and local name,
   * else -1. */
  int getIndex(const char* uri, const char* localName) const;

  const char* getType(const char* qName) const;
  const char* getValue(const char* qName) const;
  const char* getType(const char* uri, const char* localName) const;
  const char* getValue(const char* uri, const char* localName) const;

 private:
  friend class XMLReader;

  /* Makes room for n attributes. */
  void reserve(unsigned n);
  /* Appends an attribute; a null string is stored as "". */
  void add(const char* uri, const char* localName, const char* qName, const char* type,
           const char* value);
  /* The list, created on first need. */
  Data* data();
  const Attr* at(int index) const;

  Data* data_;
};

}  // namespace qor::quv::xml::sax

#endif
