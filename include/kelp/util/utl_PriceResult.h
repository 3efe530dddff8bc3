/* qor::quv::basket::PriceResult: what a price calculation gives: each
 * item's evaluated lines, the basket's lines (discounts, freight, taxes,
 * totals), the totals themselves, or the faults that kept the basket from
 * being priced.
 *
 *   PriceResult r = PriceCalculation::calculate(basket, catalogue);
 *   if (!r.isOk())
 *     for (const PriceFault& f : r.faults) report(f.position, f.message);
 *   else
 *     show(r.grossTotal);
 *
 * A basket with any fault has no totals (they stay Null) and no basket
 * lines; every fault is listed, each with the position of its item (the
 * null position for a fault of the basket as a whole). Items are listed in
 * position order. Plain copyable values. */
#ifndef KELP_UTIL_UTL_PRICERESULT_H
#define KELP_UTIL_UTL_PRICERESULT_H

#include <map>
#include <string>
#include <vector>

#include <kelp/kelp_api.h>
#include <kelp/util/utl_EBasketItemId.h>
#include <kelp/util/utl_ECurrency.h>
#include <kelp/util/utl_EPositionNumber.h>
#include <kelp/util/utl_PriceCalcEntry.h>

namespace qor::quv::basket {

class KELP_API PriceFault {
 public:
  EPositionNumber position;
  std::string message;
};

class KELP_API ItemPrice {
 public:
  EPositionNumber position;
  EBasketItemId id;
  std::string articleId;
  /* A set header without a price of its own: no lines, priced through its
   * sub-items. */
  bool setHeader = false;
  /* The unit price U and the line net N after the quantity discount. */
  util::ECurrency unitPrice, net;
  std::string taxClass;
  std::vector<PriceCalcEntry> entries;
};

class KELP_API PriceResult {
 public:
  bool isOk() const { return faults.empty(); }

  std::vector<PriceFault> faults;
  std::vector<ItemPrice> items;
  /* Basket lines in order: discounts and charges, taxes, totals, cash
   * rounding, payment discounts, deposits. */
  std::vector<PriceCalcEntry> entries;
  /* The net of each tax class after the basket's discounts and charges. */
  std::map<std::string, util::ECurrency> netByClass;
  util::ECurrency netTotal, taxTotal, grossTotal;
  /* The gross after cash rounding, and that less the deposits. */
  util::ECurrency payable, due;
};

}  // namespace qor::quv::basket

#endif
