// PriceCalcEntry: the XML attributes of an evaluated calculation line.
#include <kelp/util/utl_PriceCalcEntry.h>

#include <kelp/util/utl_PriceCalcItem.h>
#include <kelp/xml/sax/sax_Attributes.h>
#include <kelp/xml/xml_XMLWriterItfWrapper.h>

#include "utl_Basket_impl.h"

namespace qor::quv::basket {

bool PriceCalcEntry::encodeAttributes(xml::XMLWriterItfWrapper* writer) const {
  if (!writer->attribute("kind", calcItemTypeName(type))) return false;
  if (!position.isNull() && !writer->attribute("position", position.formatString())) return false;
  if (!label.empty() && !writer->attribute("label", label)) return false;
  // One currency for the three amounts: that of whichever is set.
  const util::ECurrency& unitOf = !amount.isNull() ? amount : !base.isNull() ? base : net;
  if (!unitOf.isNull() && !writer->attribute("currency", unitOf.getUnit())) return false;
  if (!amount.isNull() && !writer->attribute("value", detail::decimalText(amount.amount)))
    return false;
  if (!base.isNull() && !writer->attribute("base", detail::decimalText(base.amount))) return false;
  if (!net.isNull() && !writer->attribute("net", detail::decimalText(net.amount))) return false;
  if (!taxClass.empty() && !writer->attribute("tax-class", taxClass)) return false;
  return true;
}

bool PriceCalcEntry::decodeAttributes(const xml::sax::Attributes& attrs, std::string* error) {
  auto fail = [&](const std::string& m) {
    if (error) *error = m;
    return false;
  };
  PriceCalcEntry e;
  if (std::string m = detail::readKind(attrs, &e.type); !m.empty()) return fail(m);
  if (detail::hasAttr(attrs, "position")) {
    std::string message;
    if (!e.position.parseString(detail::attr(attrs, "position"), &message)) return fail(message);
  }
  e.label = detail::attr(attrs, "label");
  e.taxClass = detail::attr(attrs, "tax-class");
  const std::string currency = detail::attr(attrs, "currency");
  std::string message;
  if (!e.amount.decodeAttributes(attrs, util::ECurrency::Null, &message)) return fail(message);
  for (auto [name, target] : {std::pair<const char*, util::ECurrency*>{"base", &e.base},
                              std::pair<const char*, util::ECurrency*>{"net", &e.net}}) {
    if (!detail::hasAttr(attrs, name)) continue;
    const std::string text = detail::attr(attrs, name);
    if (currency.empty()) return fail(std::string("attribute '") + name + "' needs a currency");
    util::ECurrency v;
    if (!v.decodeAttributes(currency.c_str(), text.c_str(), &message))
      return fail(detail::invalidValue(name, text));
    *target = v;
  }
  *this = std::move(e);
  return true;
}

bool PriceCalcEntry::operator==(const PriceCalcEntry& o) const {
  return type == o.type && position == o.position && label == o.label && base == o.base &&
         amount == o.amount && net == o.net && taxClass == o.taxClass;
}

}  // namespace qor::quv::basket
