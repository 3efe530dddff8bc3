/* qor::quv::xml::DomSaxHandler: builds DOM nodes from the events of the
 * SAX reader.
 *
 * Two modes, chosen by the constructor:
 * - implementation mode (a DomImplementation): startDocument marks a
 *   document element as pending and the next startElement creates a new
 *   Document whose document element it is; getRootNode then gives that
 *   element. The pending mark is never cleared, so every later
 *   startElement of the same parse starts yet another document, replacing
 *   the one held; a document whose root element has child elements
 *   therefore ends in "Unmatched end of element.". This behaviour is
 *   deliberate and is kept.
 * - fragment mode (an existing Document): content is added to a new
 *   DocumentFragment of that document, which getRootNode gives.
 *   startDocument always refuses here ("Start of document within
 *   document!"), and a reader stops when startDocument refuses: drive the
 *   handler without startDocument (DomReader does).
 *
 * Elements and attributes are named by their local names, or by their
 * qualified names where the reader gives no local name (namespace
 * processing off).
 *
 * Each callback answers false to stop the parse and keeps the reason for
 * getErrorMessage. Adjacent character events make separate Text nodes
 * (normalize merges them). The error callbacks only log, at debug level,
 * fatal errors included, and do not set the error message.
 *
 * The handler holds one reference to each object it keeps and releases
 * them on destruction; take your own reference to the root node or the
 * document before destroying it. One parse, one thread.
 *
 *   zob::Ref<dom::Document> doc = dom::Document::create();
 *   DomSaxHandler handler(app, doc.get());
 *   handler.characters("text");
 *   zob::Ref<dom::Node> fragment(handler.getRootNode());
 */
#ifndef KELP_XML_XML_DOMSAXHANDLER_H
#define KELP_XML_XML_DOMSAXHANDLER_H

#include <string>

#include <fw/fw_IApplication.h>
#include <kelp/kelp_api.h>
#include <kelp/xml/dom/dom_CDATASection.h>
#include <kelp/xml/dom/dom_Document.h>
#include <kelp/xml/dom/dom_Element.h>
#include <kelp/xml/dom/dom_Implementation.h>
#include <kelp/xml/dom/dom_Node.h>
#include <kelp/xml/sax/sax_DefaultHandler.h>
#include <zob/zob_unknown.h>

namespace qor::quv::xml {

class KELP_API DomSaxHandler : public sax::DefaultHandler {
 public:
  /* Implementation mode; `app` (may be null) is used for logging only. */
  DomSaxHandler(fw::IApplication* app, dom::DomImplementation* impl);
  /* Fragment mode: content goes into a new fragment of `doc`. */
  DomSaxHandler(fw::IApplication* app, dom::Document* doc);
  ~DomSaxHandler() override;
  DomSaxHandler(const DomSaxHandler&) = delete;
  DomSaxHandler& operator=(const DomSaxHandler&) = delete;

  /* The node the caller receives (no reference added): the document
   * element in implementation mode, the fragment in fragment mode; null
   * before any content. */
  dom::Node* getRootNode() const { return root_.get(); }
  /* The node new children go to, when it is an element; else null. */
  dom::Element* getCurrentElement() const;
  /* The document held (no reference added). */
  dom::Document* getDocument() const { return document_.get(); }
  std::string getErrorMessage() override;

  bool startDocument() override;
  bool endDocument() override;
  bool startElement(const char* uri, const char* localName, const char* qName,
                    const sax::Attributes& attributes) override;
  bool endElement(const char* uri, const char* localName, const char* qName) override;
  bool characters(const char* text) override;
  bool startCDATA() override;
  bool endCDATA() override;
  /* Log "SAX error: ...", "Fatal SAX error: ...", "SAX warning: ..." at
   * debug level with system id, line and message; only fatalError stops. */
  bool error(const sax::SAXParseException& exception) override;
  bool fatalError(const sax::SAXParseException& exception) override;
  bool warning(const sax::SAXParseException& exception) override;

  /* Creates a new document for the element arriving while a document
   * element is pending (used by startElement). */
  bool documentElement(const char* uri, const char* localName, const char* qName,
                       const sax::Attributes& attributes);
  /* Copies the attributes (local name and value) to `element`; false at
   * the first refusal. */
  bool setAttributes(dom::Element* element, const sax::Attributes& attributes);

 private:
  bool fail(const std::string& message);
  /* Without a current node, a new fragment becomes root and current node. */
  bool ensureCurrent();

  zob::Ref<fw::IApplication> app_;
  zob::Ref<dom::DomImplementation> impl_;
  zob::Ref<dom::Document> document_;
  bool documentElementPending_;
  zob::Ref<dom::Node> root_;
  zob::Ref<dom::Node> current_;
  zob::Ref<dom::CDATASection> cdata_;
  std::string errorMessage_;
};

}  // namespace qor::quv::xml

#endif
