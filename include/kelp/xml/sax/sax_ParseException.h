/* qor::quv::xml::sax::SAXParseException: the error record handed to an
 * ErrorHandler.
 *
 * A copyable handle to reference-counted data (message, public id, system
 * id, line, column); copies share the data. It is a value passed by
 * reference, never thrown. Built from a Locator, it copies the position of
 * that moment and does not follow the locator afterwards.
 *
 *   SAXParseException e("unexpected end of input", input->getLocator());
 *   errorHandler->fatalError(e);
 */
#ifndef KELP_XML_SAX_SAX_PARSEEXCEPTION_H
#define KELP_XML_SAX_SAX_PARSEEXCEPTION_H

#include <cstdint>
#include <string>

#include <kelp/kelp_api.h>
#include <kelp/xml/sax/sax_Locator.h>

namespace qor::quv::xml::sax {

class KELP_API SAXParseException {
 public:
  struct Data;

  /* Empty message and ids, line and column 0. */
  SAXParseException();
  SAXParseException(const std::string& message, const Locator& locator);
  SAXParseException(const std::string& message, const std::string& publicId,
                    const std::string& systemId, int line, int column);
  SAXParseException(const SAXParseException& other);
  SAXParseException& operator=(const SAXParseException& other);
  ~SAXParseException();

  std::string getMessage() const;
  std::string getPublicId() const;
  std::string getSystemId() const;
  int getLineNumber() const;
  int getColumnNumber() const;

 private:
  Data* data_;
};

}  // namespace qor::quv::xml::sax

#endif
