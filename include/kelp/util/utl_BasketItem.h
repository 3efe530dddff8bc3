/* qor::quv::basket::BasketItem: one line of a basket: its position and
 * identity, the article it orders (with the article's data version when it
 * was added), the quantity with its UN/ECE unit ("C62" pieces by default),
 * the values chosen for the article's choices, and its sub-items.
 *
 * A sub-item's quantity is per piece of its parent: a set of 2 whose part
 * has quantity 3 orders 6 parts. A plain copyable value. */
#ifndef KELP_UTIL_UTL_BASKETITEM_H
#define KELP_UTIL_UTL_BASKETITEM_H

#include <string>
#include <utility>
#include <vector>

#include <kelp/kelp_api.h>
#include <kelp/util/utl_EBasketItemId.h>
#include <kelp/util/utl_EPositionNumber.h>
#include <kelp/util/utl_EVersion.h>
#include <ktz/ktz_decimal.h>

namespace qor::quv::basket {

class KELP_API BasketItem {
 public:
  using ChosenValue = std::pair<std::string, std::string>;  // choice id, value id

  EPositionNumber position;
  EBasketItemId id;
  std::string articleId;
  util::EVersion articleVersion;
  ktz::decimal::decimal128 quantity = ktz::decimal::decimal128(1);
  std::string unit = "C62";
  std::vector<ChosenValue> choices;
  std::vector<BasketItem> children;
  /* The line of the element it was read from (0 otherwise), for messages;
   * not compared. */
  int line = 0;

  /* The value chosen for `choiceId`, or null. */
  const std::string* chosen(const std::string& choiceId) const;

  bool operator==(const BasketItem& o) const;
  bool operator!=(const BasketItem& o) const { return !(*this == o); }
};

}  // namespace qor::quv::basket

#endif
