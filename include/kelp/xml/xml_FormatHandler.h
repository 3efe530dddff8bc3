/* qor::quv::xml::FormatHandler: copies a document from the reader's events
 * into an XMLWriter, laying out element-only content by indentation and
 * keeping everything a reader reports: the document type with its internal
 * subset (rebuilt from the declaration events), comments, processing
 * instructions, CDATA sections, entity references in content (expanded or
 * skipped) and the attributes in their order.
 *
 * Streaming: memory grows with the element depth and the internal subset,
 * never with the document. White space between markup is held until the
 * next event shows what it separates. In an element with child elements
 * whose content so far is elements, comments and PIs with nothing but
 * white space between them, that white space is replaced by a line break
 * and indentation of indentStep columns per level (a tab for each 8
 * columns, as the writer indents), no deeper than maxIndentDepth levels so
 * that a deep document cannot make the output grow without bound. Once
 * other text appears, the element is written exactly as it came from there
 * on, with everything inside it; white space already replaced stays
 * replaced (the stream cannot look ahead), so layout changes white-space-only
 * text and nothing else. An indentStep of 0 changes no white space at all:
 * the copy then reads back as the same events.
 *
 * The handler turns the writer's lossless output on (attribute white space,
 * CR and characters the output encoding lacks as character references, real
 * CDATA sections). Set the handler as the reader's content, DTD, declaration
 * and lexical handler; read with namespace processing off and the
 * namespace-prefixes feature on so that names and xmlns attributes come as
 * written. The writer is borrowed and must outlive the parse; close it
 * afterwards. One thread at a time.
 *
 *   zob::Ref<XMLWriter> w(new XMLWriter(&out, 2));
 *   w->setEncoding(FormatHandler::declaredEncoding(head, headSize));
 *   FormatHandler copy(w.get(), 2);
 *   reader.setContentHandler(&copy);  // and DTD, Decl, Lexical
 *   bool ok = reader.parse(&source) && !EFAILED(w->close());
 */
#ifndef KELP_XML_XML_FORMATHANDLER_H
#define KELP_XML_XML_FORMATHANDLER_H

#include <cstddef>
#include <string>

#include <kelp/kelp_api.h>
#include <kelp/xml/sax/sax_DefaultHandler.h>

namespace qor::quv::xml {

class XMLWriter;

class KELP_API FormatHandler : public sax::DefaultHandler {
 public:
  /* Levels below maxIndentDepth start at its indentation. */
  FormatHandler(XMLWriter* writer, int indentStep, int maxIndentDepth = 40);
  ~FormatHandler() override;
  FormatHandler(const FormatHandler&) = delete;
  FormatHandler& operator=(const FormatHandler&) = delete;

  /* The encoding a document's first bytes name: "UTF-16" after a UTF-16
   * byte-order mark, the encoding of the XML declaration, else "UTF-8". */
  static std::string declaredEncoding(const char* head, std::size_t size);

  bool startDocument() override;
  bool startElement(const char* uri, const char* localName, const char* qName,
                    const sax::Attributes& attributes) override;
  bool endElement(const char* uri, const char* localName, const char* qName) override;
  bool characters(const char* chars) override;
  bool ignorableWhitespace(const char* chars) override;
  bool processingInstruction(const char* target, const char* data) override;
  bool skippedEntity(const char* name) override;
  bool comment(const char* text) override;
  /* A reference to an internal general entity in content is written as
   * the reference, the events of its replacement text left out; an
   * external entity that the reader read is written as its content, so
   * that the copy stands on its own (one it skipped stays a reference). */
  bool startEntity(const char* name) override;
  bool endEntity(const char* name) override;
  bool startCDATA() override;
  bool endCDATA() override;
  bool startDTD(const char* name, const char* publicId, const char* systemId) override;
  bool endDTD() override;
  bool elementDecl(const char* name, const char* model) override;
  bool attributeDecl(const char* elementName, const char* attributeName, const char* type,
                     const char* valueDefault, const char* value) override;
  bool internalEntityDecl(const char* name, const char* value) override;
  bool externalEntityDecl(const char* name, const char* publicId, const char* systemId) override;
  bool notationDecl(const char* name, const char* publicId, const char* systemId) override;
  bool unparsedEntityDecl(const char* name, const char* publicId, const char* systemId,
                          const char* notationName) override;
  /* "cannot write the output: " and the writer's reason. */
  std::string getErrorMessage() override;

 private:
  struct Data;
  Data* d;
};

}  // namespace qor::quv::xml

#endif
