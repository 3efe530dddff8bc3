/* qor::quv::xml::IXMLWriter: the streaming XML writer as an object-model
 * interface, and ElementFormat, the layout of one element.
 *
 * DOM nodes and records write themselves through this interface without
 * knowing the writer's class, usually through XMLWriterItfWrapper. The
 * operations are called in document order: startElement, its attributes,
 * then content (characters, child elements), then endElement.
 *
 * Results: 0 success; zob::kInvalidState (0x80000100) when the writer is not
 * open or the operation is not allowed in its state; zob::kWriteFailure
 * (0x80000008) when the stream refused a write; zob::kInvalidArgument
 * (0x96220016) for a null or empty element or attribute name. endCDATA is
 * the exception: it answers 1 when its write succeeded and 0 when it failed.
 * Error messages are handed out as zobStrDup copies that the caller frees
 * with zobFree.
 *
 *   zob::Ref<IXMLWriter> w = ...;
 *   w->startElement("price", kFormatBlock);
 *   w->stringAttribute("currency", "EUR");
 *   w->characters("12.50");
 *   w->endElement();
 */
#ifndef KELP_XML_XML_IXMLWRITER_H
#define KELP_XML_XML_IXMLWRITER_H

#include <zob/zob_result.h>
#include <zob/zob_unknown.h>

namespace qor::quv::xml {

/* The layout chosen for an element when it starts. Other values are
 * refused as invalid arguments. */
enum ElementFormat : int {
  /* No line break around the element. */
  kFormatInline = 0,
  /* The start tag begins on a fresh line; a line break follows the end tag. */
  kFormatBlock = 1,
  /* As kFormatBlock, with the content indented one step deeper and the end
   * tag on its own line at the element's own depth. */
  kFormatIndentedBlock = 2,
};

class IXMLWriter : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/xml/IXMLWriter:1.0";

  virtual ZResult startElement(const char* name, ElementFormat format) = 0;
  virtual ZResult endElement() = 0;
  /* A null value counts as "". */
  virtual ZResult stringAttribute(const char* name, const char* value) = 0;
  virtual ZResult intAttribute(const char* name, int value) = 0;
  virtual ZResult floatAttribute(const char* name, double value) = 0;
  /* A null text writes nothing. */
  virtual ZResult characters(const char* text) = 0;
  virtual ZResult startCDATA() = 0;
  virtual ZResult endCDATA() = 0;
  /* *message receives a copy of the last error message; answers 0. */
  virtual ZResult getErrorMessage(char** message) = 0;
  virtual ZResult flush() = 0;

 protected:
  ~IXMLWriter() = default;
};

using IXMLWriter_Adapter = zob::Adapter<IXMLWriter>;

}  // namespace qor::quv::xml

#endif
