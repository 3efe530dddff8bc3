// The abstract reader's helpers for filling attribute lists.
#define QUV_SOURCE_NAME "sax_XMLReader"
#include <kelp/xml/sax/sax_XMLReader.h>

namespace qor::quv::xml::sax {

XMLReader::~XMLReader() = default;

void XMLReader::reserveAttributes(Attributes* attributes, unsigned count) {
  if (attributes) attributes->reserve(count);
}

void XMLReader::clearAttributes(Attributes* attributes) {
  if (attributes && attributes->data_) attributes->data_->attrs.clear();
}

void XMLReader::addAttribute(Attributes* attributes, const char* uri, const char* localName,
                             const char* qName, const char* type, const char* value) {
  if (attributes) attributes->add(uri, localName, qName, type, value);
}

}  // namespace qor::quv::xml::sax
