/* Inspection of an XMLWriter's state, for the library's tests: the writer
 * state, the indentation and the element stack, and a way into the CDATA
 * state that no public operation enters. Not part of the public API. */
#ifndef KELP_XML_XML_WRITER_IMPL_H
#define KELP_XML_XML_WRITER_IMPL_H

#include <cstddef>

#include <kelp/kelp_api.h>
#include <kelp/xml/xml_Writer.h>

namespace qor::quv::xml::detail {

struct KELP_API XMLWriterProbe {
  /* Writer states. */
  static constexpr int kProlog = 0;
  static constexpr int kContent = 1;
  static constexpr int kStartTagOpen = 2;
  static constexpr int kCData = 3;
  /* The size of the output buffer and of the conversion buffer. */
  static constexpr std::size_t kBufferSize = 8192;

  static int state(const XMLWriter& w);
  static void setState(XMLWriter& w, int state);
  /* The current indentation in columns. */
  static int indent(const XMLWriter& w);
  static std::size_t depth(const XMLWriter& w);
  /* Whether output is converted (a codec is open). */
  static bool converts(const XMLWriter& w);
};

}  // namespace qor::quv::xml::detail

#endif
