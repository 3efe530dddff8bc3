/* qor::quv::xml::sax::DeclHandler: element, attribute and entity
 * declarations of the document type declaration. Callbacks return true to
 * go on, false to stop the parse with the text of getErrorMessage(). */
#ifndef KELP_XML_SAX_SAX_DECLHANDLER_H
#define KELP_XML_SAX_SAX_DECLHANDLER_H

#include <string>

#include <kelp/kelp_api.h>

namespace qor::quv::xml::sax {

class KELP_API DeclHandler {
 public:
  virtual ~DeclHandler();

  virtual bool attributeDecl(const char* elementName, const char* attributeName, const char* type,
                             const char* valueDefault, const char* value) = 0;
  virtual bool elementDecl(const char* name, const char* model) = 0;
  virtual bool externalEntityDecl(const char* name, const char* publicId, const char* systemId) = 0;
  virtual bool internalEntityDecl(const char* name, const char* value) = 0;
  virtual std::string getErrorMessage() = 0;
};

}  // namespace qor::quv::xml::sax

#endif
