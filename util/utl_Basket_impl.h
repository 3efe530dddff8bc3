// Helpers shared by the commerce records' XML forms: attribute texts,
// decimals in the classic locale, and the messages for faulty values.
#ifndef KELP_UTIL_UTL_BASKET_IMPL_H
#define KELP_UTIL_UTL_BASKET_IMPL_H

#include <string>

#include <kelp/util/utl_Decimal.h>
#include <kelp/util/utl_Funcs.h>
#include <kelp/xml/sax/sax_Attributes.h>
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

}  // namespace qor::quv::basket::detail

#endif
