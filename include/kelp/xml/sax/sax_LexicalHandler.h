/* qor::quv::xml::sax::LexicalHandler: comments, the document type
 * declaration's bounds, entity bounds and CDATA sections. Callbacks return
 * true to go on, false to stop the parse with the text of
 * getErrorMessage(). */
#ifndef KELP_XML_SAX_SAX_LEXICALHANDLER_H
#define KELP_XML_SAX_SAX_LEXICALHANDLER_H

#include <string>

#include <kelp/kelp_api.h>

namespace qor::quv::xml::sax {

class KELP_API LexicalHandler {
 public:
  virtual ~LexicalHandler();

  virtual bool comment(const char* text) = 0;
  virtual bool startDTD(const char* name, const char* publicId, const char* systemId) = 0;
  virtual bool endDTD() = 0;
  virtual bool startEntity(const char* name) = 0;
  virtual bool endEntity(const char* name) = 0;
  virtual bool startCDATA() = 0;
  virtual bool endCDATA() = 0;
  virtual std::string getErrorMessage() = 0;
};

}  // namespace qor::quv::xml::sax

#endif
