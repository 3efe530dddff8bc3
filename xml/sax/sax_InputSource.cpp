// The abstract input source.
#define QUV_SOURCE_NAME "sax_InputSource"
#include <kelp/xml/sax/sax_InputSource.h>

namespace qor::quv::xml::sax {

InputSource::~InputSource() = default;

}  // namespace qor::quv::xml::sax
