/* qor::quv::xml::sax::ErrorHandler: receives the reader's errors and
 * warnings. The reader reports every problem through fatalError and then
 * stops, whatever the handler answers. */
#ifndef KELP_XML_SAX_SAX_ERRORHANDLER_H
#define KELP_XML_SAX_SAX_ERRORHANDLER_H

#include <string>

#include <kelp/kelp_api.h>
#include <kelp/xml/sax/sax_ParseException.h>

namespace qor::quv::xml::sax {

class KELP_API ErrorHandler {
 public:
  virtual ~ErrorHandler();

  virtual bool error(const SAXParseException& exception) = 0;
  virtual bool fatalError(const SAXParseException& exception) = 0;
  virtual bool warning(const SAXParseException& exception) = 0;
  virtual std::string getErrorMessage() = 0;
};

}  // namespace qor::quv::xml::sax

#endif
