/* qor::quv::basket::PriceCalcEntry: one evaluated line of a price
 * calculation: what was applied (kind, label), to which base, with which
 * amount, the running net after it, and the tax class.
 *
 * All amounts of one calculation are in one currency. A Text entry has no
 * amount (Null). The position names the basket item the line belongs to;
 * the null position marks a line of the basket as a whole.
 *
 * XML: attributes of an element the caller names,
 *
 *   <entry kind='PercentDiscount' position='2.1' label='Rebate'
 *          currency='EUR' value='-6.49' base='64.90' net='58.41'
 *          tax-class='standard'/>
 *
 * "value" is the amount; "base", "net", "position", "label" and "tax-class"
 * are written only when set. A plain copyable value. */
#ifndef KELP_UTIL_UTL_PRICECALCENTRY_H
#define KELP_UTIL_UTL_PRICECALCENTRY_H

#include <string>

#include <kelp/kelp_api.h>
#include <kelp/util/utl_ECurrency.h>
#include <kelp/util/utl_EPositionNumber.h>
#include <kelp/util/utl_Funcs.h>

namespace qor::quv::basket {

class KELP_API PriceCalcEntry {
 public:
  CalcItemType type = CIT_None;
  EPositionNumber position;
  std::string label;
  util::ECurrency base;
  util::ECurrency amount;
  util::ECurrency net;
  std::string taxClass;

  bool encodeAttributes(xml::XMLWriterItfWrapper* writer) const;
  /* On failure the message goes to *error and the entry stays. */
  bool decodeAttributes(const xml::sax::Attributes& attrs, std::string* error);

  bool operator==(const PriceCalcEntry& o) const;
  bool operator!=(const PriceCalcEntry& o) const { return !(*this == o); }
};

}  // namespace qor::quv::basket

#endif
