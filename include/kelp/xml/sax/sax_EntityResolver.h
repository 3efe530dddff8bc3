/* qor::quv::xml::sax::EntityResolver: lets a client supply the input of an
 * external entity.
 *
 * resolveEntity stores into *result either a new InputSource, which the
 * reader then owns and deletes, or null, meaning that the system id is
 * opened as a file path. It returns true to go on, false to stop the parse
 * with the text of getErrorMessage(). */
#ifndef KELP_XML_SAX_SAX_ENTITYRESOLVER_H
#define KELP_XML_SAX_SAX_ENTITYRESOLVER_H

#include <string>

#include <kelp/kelp_api.h>

namespace qor::quv::xml::sax {

class InputSource;

class KELP_API EntityResolver {
 public:
  virtual ~EntityResolver();

  virtual bool resolveEntity(const char* publicId, const char* systemId, InputSource** result) = 0;
  virtual std::string getErrorMessage() = 0;
};

}  // namespace qor::quv::xml::sax

#endif
