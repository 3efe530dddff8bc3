// Boolean convenience calls over the IXMLWriter interface.
#define QUV_SOURCE_NAME "xml_XMLWriterItfWrapper"
#include <kelp/xml/xml_XMLWriterItfWrapper.h>

#include <vorn/vorn_placeholder.h>
#include <zob/zob_mem.h>

namespace qor::quv::xml {

XMLWriterItfWrapper::XMLWriterItfWrapper(IXMLWriter* writer) : writer_(writer) {}

XMLWriterItfWrapper::~XMLWriterItfWrapper() = default;

XMLWriterItfWrapper::XMLWriterItfWrapper(const XMLWriterItfWrapper& other) = default;

XMLWriterItfWrapper& XMLWriterItfWrapper::operator=(const XMLWriterItfWrapper& other) = default;

bool XMLWriterItfWrapper::startElement(const char* name, ElementFormat format) {
  return writer_ && !EFAILED(writer_->startElement(name, format));
}

bool XMLWriterItfWrapper::endElement() {
  return writer_ && !EFAILED(writer_->endElement());
}

bool XMLWriterItfWrapper::attribute(const char* name, const char* value) {
  return writer_ && !EFAILED(writer_->stringAttribute(name, value));
}

bool XMLWriterItfWrapper::attribute(const char* name, const std::string& value) {
  return attribute(name, value.c_str());
}

bool XMLWriterItfWrapper::attribute(const char* name, int value) {
  return writer_ && !EFAILED(writer_->intAttribute(name, value));
}

bool XMLWriterItfWrapper::attribute(const char* name, double value) {
  return writer_ && !EFAILED(writer_->floatAttribute(name, value));
}

bool XMLWriterItfWrapper::characters(const char* text) {
  return writer_ && !EFAILED(writer_->characters(text));
}

bool XMLWriterItfWrapper::characters(const std::string& text) {
  return characters(text.c_str());
}

bool XMLWriterItfWrapper::flush() {
  return writer_ && !EFAILED(writer_->flush());
}

std::string XMLWriterItfWrapper::getErrorMessage() const {
  if (!writer_) return std::string();
  char* message = nullptr;
  ZResult res = writer_->getErrorMessage(&message);
  std::string text;
  if (EFAILED(res))
    text = std::string("Failed to get error message of XML writer: %1") << zobStrError(res);
  else if (message)
    text = message;
  zobFree(message);
  return text;
}

}  // namespace qor::quv::xml
