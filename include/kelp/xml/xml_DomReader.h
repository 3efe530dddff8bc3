/* qor::quv::xml::DomReader: reads an XML document into a new Document.
 *
 * A convenience over SimpleXMLReader and DomSaxHandler. It runs the handler
 * in fragment mode on a new, empty Document, hiding startDocument from it
 * (the handler refuses startDocument in that mode, and the reader would
 * stop), then moves the top-level nodes of the fragment into the document.
 * So, unlike the handler's implementation mode, documents of any depth come
 * back whole. Comments, processing instructions and the document type are
 * not kept; adjacent text may arrive as several Text nodes (normalize
 * merges them).
 *
 * On failure the read returns null and getErrorMessage, getErrorLine and
 * getErrorSystemId tell the reader's fatal error. Features set with
 * setFeature are passed to the reader (SimpleXMLReader::UseUTF8 ...).
 * One reader reads one document at a time, on one thread; the documents it
 * returns are the caller's.
 *
 *   DomReader reader(app);
 *   zob::Ref<dom::Document> doc = reader.readString("<a x='1'>text</a>");
 *   if (!doc) report(reader.getErrorMessage(), reader.getErrorLine());
 */
#ifndef KELP_XML_XML_DOMREADER_H
#define KELP_XML_XML_DOMREADER_H

#include <string>

#include <fw/fw_IApplication.h>
#include <kelp/kelp_api.h>
#include <kelp/xml/dom/dom_Document.h>
#include <kelp/xml/dom/dom_Implementation.h>
#include <kelp/xml/sax/sax_InputSource.h>
#include <zob/zob_unknown.h>

namespace qor::quv::xml {

class KELP_API DomReader {
 public:
  /* `app` (may be null) receives the reader's and handler's debug
   * messages. */
  explicit DomReader(fw::IApplication* app);
  ~DomReader();
  DomReader(const DomReader&) = delete;
  DomReader& operator=(const DomReader&) = delete;

  /* Passed to the reader for the following reads. */
  void setFeature(const std::string& name, bool value);
  bool getFeature(const std::string& name);
  /* The implementation the new documents hold (a reference is kept); by
   * default one made by the reader. */
  void setImplementation(dom::DomImplementation* impl);

  zob::Ref<dom::Document> readFile(const std::string& path);
  /* `systemId` names the text in messages and resolves relative entity
   * references. */
  zob::Ref<dom::Document> readString(const std::string& text,
                                     const std::string& systemId = std::string());
  /* Reads from `input`, which stays the caller's. */
  zob::Ref<dom::Document> read(sax::InputSource* input);

  /* The fatal error of the last read ("" after success). */
  const std::string& getErrorMessage() const;
  /* Its line (0 when the error has no position) and system id. */
  int getErrorLine() const;
  const std::string& getErrorSystemId() const;

 private:
  struct Data;
  template <class Parse>
  zob::Ref<dom::Document> run(Parse parse);
  template <class Parse>
  zob::Ref<dom::Document> build(Parse parse);
  Data* d_;
};

}  // namespace qor::quv::xml

#endif
