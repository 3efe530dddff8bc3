/* qor::quv::basket::PriceCalcItem: one rule of a price calculation (a
 * surcharge, a discount, freight, a text line ...) as a catalogue or a
 * basket states it, before it is evaluated.
 *
 * Fields: the kind (CalcItemType), the value as an ECurrency (an amount in
 * a currency, or a percentage with the unit "%"; Null for a text line), the
 * label by language, the tax class the amount belongs to, and for quantity
 * discounts the minimum quantity from which the tier applies.
 *
 * XML: the item writes itself as attributes of an element the caller names:
 *
 *   <calc kind='PercentDiscount' currency='%' value='10' label='Rebate'
 *         label-de='Rabatt' tax-class='standard' min-quantity='10'/>
 *
 * "kind" is the name of the kind (calcItemTypeName); "label" is the text of
 * the default language and "label-LL" that of language LL; "tax-class" and
 * "min-quantity" are written only when set. decodeAttributes reads the same
 * back and reports the first fault as an English message. A plain copyable
 * value. */
#ifndef KELP_UTIL_UTL_PRICECALCITEM_H
#define KELP_UTIL_UTL_PRICECALCITEM_H

#include <string>

#include <kelp/kelp_api.h>
#include <kelp/util/utl_ECurrency.h>
#include <kelp/util/utl_ETexts.h>
#include <kelp/util/utl_Funcs.h>

namespace qor::quv::basket {

/* "ListPrice", "OptionSurcharge" ... for the kinds 1 to 27, "None" for 0,
 * "" for other values. */
KELP_API const char* calcItemTypeName(CalcItemType type);
/* The kind named `name` (case-sensitive); false for an unknown name. */
KELP_API bool parseCalcItemType(const char* name, CalcItemType* type);

class KELP_API PriceCalcItem {
 public:
  using decimal128 = ktz::decimal::decimal128;

  PriceCalcItem() = default;
  PriceCalcItem(CalcItemType type, const util::ECurrency& value) : type_(type), value_(value) {}

  CalcItemType getType() const { return type_; }
  void setType(CalcItemType t) { type_ = t; }
  const util::ECurrency& getValue() const { return value_; }
  void setValue(const util::ECurrency& v) { value_ = v; }
  const ETexts& getLabel() const { return label_; }
  ETexts& label() { return label_; }
  const std::string& getTaxClass() const { return taxClass_; }
  void setTaxClass(const std::string& c) { taxClass_ = c; }
  /* Zero when not set. */
  const decimal128& getMinQuantity() const { return minQuantity_; }
  void setMinQuantity(const decimal128& q) { minQuantity_ = q; }

  /* Writes the attributes above; false as soon as the writer refuses one. */
  bool encodeAttributes(xml::XMLWriterItfWrapper* writer) const;
  /* Reads them; on failure the message goes to *error and the item stays. */
  bool decodeAttributes(const xml::sax::Attributes& attrs, std::string* error);

  bool operator==(const PriceCalcItem& o) const;
  bool operator!=(const PriceCalcItem& o) const { return !(*this == o); }

 private:
  CalcItemType type_ = CIT_None;
  util::ECurrency value_;
  ETexts label_;
  std::string taxClass_;
  decimal128 minQuantity_;
};

}  // namespace qor::quv::basket

#endif
