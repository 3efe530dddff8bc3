/* qor::quv::basket::Basket: a customer's basket: its id, the configuration
 * it is priced under (currency, date, tax country ...), the catalogue it was
 * made from (id and data version), its items as a tree by position number,
 * and the calc items of the basket as a whole (freight, discounts, deposits
 * ...).
 *
 *   Basket b;
 *   b.configuration.currency = "EUR";
 *   BasketItem desk;
 *   desk.position = EPositionNumber::top(1);
 *   desk.articleId = "DESK-160";
 *   b.items.push_back(desk);
 *   PriceResult r = PriceCalculation::calculate(b, catalogue);
 *
 * BasketXml reads and writes baskets. A plain copyable value. */
#ifndef KELP_UTIL_UTL_BASKET_H
#define KELP_UTIL_UTL_BASKET_H

#include <string>
#include <vector>

#include <kelp/kelp_api.h>
#include <kelp/util/utl_BasketItem.h>
#include <kelp/util/utl_EVersion.h>
#include <kelp/util/utl_PriceCalcItem.h>
#include <kelp/util/utl_PriceConfiguration.h>

namespace qor::quv::basket {

class KELP_API Basket {
 public:
  std::string id;
  PriceConfiguration configuration;
  std::string catalogueId;
  util::EVersion catalogueVersion;
  std::vector<BasketItem> items;
  std::vector<PriceCalcItem> calcItems;

  /* The item at `position`, or null. */
  const BasketItem* find(const EPositionNumber& position) const;
  /* Number of items at every level. */
  std::size_t countItems() const;

  bool operator==(const Basket& o) const;
  bool operator!=(const Basket& o) const { return !(*this == o); }
};

}  // namespace qor::quv::basket

#endif
