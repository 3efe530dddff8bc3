// Helpers shared by the commerce records' XML forms: attribute texts,
// decimals in the classic locale, the messages for faulty values, and the
// reading and writing of a whole record document without exceptions.
#ifndef KELP_UTIL_UTL_BASKET_IMPL_H
#define KELP_UTIL_UTL_BASKET_IMPL_H

#include <new>
#include <sstream>
#include <string>

#include <kelp/util/utl_Decimal.h>
#include <kelp/util/utl_Funcs.h>
#include <kelp/xml/sax/sax_Attributes.h>
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <kelp/xml/sax/sax_SimpleXMLReader.h>
#include <kelp/xml/xml_XMLWriterItfWrapper.h>
#include <ktz/ktz_decimal.h>

namespace qor::quv::basket::detail {

inline std::string attr(const xml::sax::Attributes& attrs, const char* name) {
  const char* v = attrs.getValue(name);
  return v ? v : "";
}

inline bool hasAttr(const xml::sax::Attributes& attrs, const char* name) {
  return attrs.getIndex(name) >= 0;
}

// A finite decimal in the classic locale, the whole text.
inline bool readDecimal(const std::string& text, ktz::decimal::decimal128* out) {
  ktz::decimal::decimal128 d;
  if (text.empty() || !util::parseDecimalCString(&d, text.c_str(), nullptr) ||
      !ktzDec128IsFinite(d))
    return false;
  *out = d;
  return true;
}

// All significant digits, classic locale.
inline std::string decimalText(const ktz::decimal::decimal128& d) {
  return util::formatDecimalCString(d, -1);
}

inline std::string invalidValue(const char* name, const std::string& text) {
  return std::string("attribute '") + name + "' has invalid value '" + text + "'";
}

// The attribute "kind": the name of a calc item kind other than None; ""
// or the fault.
std::string readKind(const xml::sax::Attributes& attrs, CalcItemType* type);

// Reads a record document: Handler(text) is the content and error handler,
// with members fatal and fatalLine; *out takes its member `result` on
// success. On failure the message (failure when the handler has none) and
// its line; an allocation failure is "out of memory".
template <class Handler, class Record>
bool readRecordXml(const std::string& text, const char* systemId, const char* failure,
                   Record Handler::*result, Record* out, std::string* error, int* line) {
  try {
    std::istringstream in(text);
    xml::sax::ISInputSource source("", systemId, &in, false);
    Handler handler(text);
    xml::sax::SimpleXMLReader reader(nullptr);
    reader.setFeature(xml::sax::SimpleXMLReader::UseUTF8, true);
    // Documents come from outside: they never make the reader open a file.
    reader.setFeature(xml::sax::SimpleXMLReader::ExternalGeneralEntities, false);
    reader.setFeature(xml::sax::SimpleXMLReader::ExternalParameterEntities, false);
    reader.setContentHandler(&handler);
    reader.setErrorHandler(&handler);
    if (!reader.parse(&source)) {
      if (error) *error = handler.fatal.empty() ? failure : handler.fatal;
      if (line) *line = handler.fatalLine;
      return false;
    }
    *out = std::move(handler.*result);
    return true;
  } catch (const std::bad_alloc&) {
    if (error) *error = "out of memory";
    if (line) *line = 0;
    return false;
  }
}

// Writes a record document through body(wrapper) and flushes; the writer's
// message, or "out of memory", on failure.
template <class Body>
bool writeRecordXml(xml::IXMLWriter* writer, Body body, std::string* error) {
  xml::XMLWriterItfWrapper w(writer);
  try {
    if (body(w) && w.flush()) return true;
  } catch (const std::bad_alloc&) {
    if (error) *error = "out of memory";
    return false;
  }
  if (error) *error = w.getErrorMessage();
  return false;
}

}  // namespace qor::quv::basket::detail

#endif
