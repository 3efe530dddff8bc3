// PriceCalcItem: calc item kinds by name, and the item's XML attributes.
#include <kelp/util/utl_PriceCalcItem.h>

#include <cstring>

#include <kelp/xml/sax/sax_Attributes.h>
#include <kelp/xml/xml_XMLWriterItfWrapper.h>

#include "utl_Basket_impl.h"

namespace qor::quv::basket {

namespace {
const char* const kNames[] = {"None",
                              "ListPrice",
                              "OptionSurcharge",
                              "PercentSurcharge",
                              "AbsoluteDiscount",
                              "PercentDiscount",
                              "Subtotal",
                              "Tax",
                              "UnitTax",
                              "Freight",
                              "Packaging",
                              "Service",
                              "Rounding",
                              "Text",
                              "NetTotal",
                              "GrossTotal",
                              "CustomerDiscount",
                              "PaymentDiscount",
                              "Deposit",
                              "ProjectDiscount",
                              "PaymentDiscountAbsolute",
                              "Installation",
                              "GroupSubtotal",
                              "Disposal",
                              "CashRounding",
                              "OptionPercentSurcharge",
                              "QuantityDiscount",
                              "ReducedTax"};
constexpr int kKinds = static_cast<int>(sizeof kNames / sizeof kNames[0]);
}  // namespace

const char* calcItemTypeName(CalcItemType type) {
  const int t = static_cast<int>(type);
  return t >= 0 && t < kKinds ? kNames[t] : "";
}

bool parseCalcItemType(const char* name, CalcItemType* type) {
  if (!name) return false;
  for (int t = 0; t < kKinds; ++t) {
    if (std::strcmp(kNames[t], name) == 0) {
      *type = static_cast<CalcItemType>(t);
      return true;
    }
  }
  return false;
}

std::string detail::readKind(const xml::sax::Attributes& attrs, CalcItemType* type) {
  const std::string kind = attr(attrs, "kind");
  if (kind.empty()) return "attribute 'kind' is missing or empty";
  if (!parseCalcItemType(kind.c_str(), type) || *type == CIT_None)
    return invalidValue("kind", kind);
  return std::string();
}

bool PriceCalcItem::encodeAttributes(xml::XMLWriterItfWrapper* writer) const {
  if (!writer->attribute("kind", calcItemTypeName(type_))) return false;
  if (!value_.isNull() && !value_.encodeAttributes(writer)) return false;
  for (int i = 0; i < label_.getSize(); ++i) {
    const std::string lang = label_.getLang(i);
    const std::string name = lang.empty() ? "label" : "label-" + lang;
    if (!writer->attribute(name.c_str(), label_.getText(i))) return false;
  }
  if (!taxClass_.empty() && !writer->attribute("tax-class", taxClass_)) return false;
  if (!ktzDec128IsZero(minQuantity_) &&
      !writer->attribute("min-quantity", detail::decimalText(minQuantity_)))
    return false;
  return true;
}

bool PriceCalcItem::decodeAttributes(const xml::sax::Attributes& attrs, std::string* error) {
  auto fail = [&](const std::string& m) {
    if (error) *error = m;
    return false;
  };
  PriceCalcItem item;
  std::string message = detail::readKind(attrs, &item.type_);
  if (!message.empty()) return fail(message);
  if (!item.value_.decodeAttributes(attrs, util::ECurrency::Null, &message)) return fail(message);
  for (int i = 0; i < attrs.getLength(); ++i) {
    const char* name = attrs.getQName(i);
    if (std::strcmp(name, "label") == 0) {
      item.label_.set("", attrs.getValue(i));
    } else if (std::strncmp(name, "label-", 6) == 0) {
      if (!util::Funcs::isValidLanguageCode(name + 6))
        return fail(std::string("unknown attribute '") + name + "'");
      item.label_.set(name + 6, attrs.getValue(i));
    }
  }
  item.taxClass_ = detail::attr(attrs, "tax-class");
  if (detail::hasAttr(attrs, "min-quantity")) {
    const std::string q = detail::attr(attrs, "min-quantity");
    if (!detail::readDecimal(q, &item.minQuantity_) || ktzDec128SignBit(item.minQuantity_))
      return fail(detail::invalidValue("min-quantity", q));
  }
  *this = std::move(item);
  return true;
}

bool PriceCalcItem::operator==(const PriceCalcItem& o) const {
  return type_ == o.type_ && value_ == o.value_ && label_ == o.label_ && taxClass_ == o.taxClass_ &&
         minQuantity_ == o.minQuantity_;
}

}  // namespace qor::quv::basket
