/* qor::quv::xml::XMLWriterItfWrapper: convenience calls on any IXMLWriter.
 *
 * Holds one reference to the writer (a null writer is allowed: every call
 * then answers false). Each operation answers true when the interface's
 * result is not a failure, and takes std::string values as well. Copies
 * share the writer.
 *
 *   XMLWriterItfWrapper out(writer);
 *   out.startElement("item", kFormatBlock);
 *   out.attribute("count", 3);
 *   out.characters(std::string("a<b"));
 *   if (!out.endElement()) report(out.getErrorMessage());
 */
#ifndef KELP_XML_XML_XMLWRITERITFWRAPPER_H
#define KELP_XML_XML_XMLWRITERITFWRAPPER_H

#include <string>

#include <kelp/kelp_api.h>
#include <kelp/xml/xml_IXMLWriter.h>
#include <zob/zob_unknown.h>

namespace qor::quv::xml {

class KELP_API XMLWriterItfWrapper {
 public:
  /* Adds a reference to `writer`; it is released with the wrapper. */
  explicit XMLWriterItfWrapper(IXMLWriter* writer);
  ~XMLWriterItfWrapper();
  XMLWriterItfWrapper(const XMLWriterItfWrapper& other);
  XMLWriterItfWrapper& operator=(const XMLWriterItfWrapper& other);

  bool startElement(const char* name, ElementFormat format);
  bool endElement();
  bool attribute(const char* name, const char* value);
  bool attribute(const char* name, const std::string& value);
  bool attribute(const char* name, int value);
  bool attribute(const char* name, double value);
  bool characters(const char* text);
  bool characters(const std::string& text);
  bool flush();

  /* The writer's last error message; when the writer cannot give it,
   * "Failed to get error message of XML writer: <error text>". "" without a
   * writer. */
  std::string getErrorMessage() const;

  operator IXMLWriter*() const { return writer_.get(); }

 private:
  zob::Ref<IXMLWriter> writer_;
};

}  // namespace qor::quv::xml

#endif
