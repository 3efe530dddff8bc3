/* qor::quv::basket::BasketXml: reads a basket from its XML form and writes
 * it back (the format is described in samples/README.md).
 *
 *   Basket b;
 *   std::string error;
 *   int line = 0;
 *   if (!BasketXml::read(text, &b, &error, &line))
 *     std::cerr << "basket.xml:" << line << ": " << error << "\n";
 *   std::string again = BasketXml::toString(b);   // reads back equal
 *
 * A basket is read whole or not at all: the first fault (malformed XML, an
 * unknown element or attribute, a bad value, a position out of place) ends
 * the reading with its message and line, and *basket stays as it was.
 * External entities are never opened. Stateless; any thread may call it. */
#ifndef KELP_UTIL_UTL_BASKETXML_H
#define KELP_UTIL_UTL_BASKETXML_H

#include <string>

#include <kelp/kelp_api.h>
#include <kelp/util/utl_Basket.h>
#include <kelp/xml/xml_IXMLWriter.h>

namespace qor::quv::basket {

class KELP_API BasketXml {
 public:
  BasketXml() = delete;

  /* Reads the document `text`; on failure the message goes to *error and
   * the line (0 when unknown) to *line, when given. */
  static bool read(const std::string& text, Basket* basket, std::string* error,
                   int* line = nullptr);
  /* Writes the basket as a document through `writer` (its declaration
   * included); false with the writer's message when it refuses. */
  static bool write(const Basket& basket, xml::IXMLWriter* writer, std::string* error);
  /* The document in UTF-8 whatever the locale's code set (the records'
   * texts are UTF-8 and pass unchanged), indented by two. */
  static std::string toString(const Basket& basket);
};

}  // namespace qor::quv::basket

#endif
