/* qor::quv::xml::sax::DTDHandler: notations and unparsed entities declared
 * in the document type declaration. Callbacks return true to go on, false
 * to stop the parse with the text of getErrorMessage(). */
#ifndef KELP_XML_SAX_SAX_DTDHANDLER_H
#define KELP_XML_SAX_SAX_DTDHANDLER_H

#include <string>

#include <kelp/kelp_api.h>

namespace qor::quv::xml::sax {

class KELP_API DTDHandler {
 public:
  virtual ~DTDHandler();

  virtual bool notationDecl(const char* name, const char* publicId, const char* systemId) = 0;
  virtual bool unparsedEntityDecl(const char* name, const char* publicId, const char* systemId,
                                  const char* notationName) = 0;
  virtual std::string getErrorMessage() = 0;
};

}  // namespace qor::quv::xml::sax

#endif
