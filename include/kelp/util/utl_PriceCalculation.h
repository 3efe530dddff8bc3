/* qor::quv::basket::PriceCalculation: prices a basket against a catalogue,
 * exactly, in decimal arithmetic, and checks a saved basket against a
 * (newer) catalogue.
 *
 * With K the configuration's currency, R its rounding mode and d the
 * customary decimals of K, each item goes through:
 *  1. L, the article's price in K valid on the price date;
 *  2. B = L + the absolute effects of the chosen values (in K) + L x p/100
 *     for each percent effect;
 *  3. the price's calc items in order on the running amount: a surcharge of
 *     p % times (1 + p/100), a discount times (1 - p/100), an absolute
 *     discount minus its amount;
 *  4. U = round(amount, d, R), never negative;
 *  5. N = round(U x q, d, R) with q the quantity times the quantities of
 *     all ancestors, less round(N x p/100, d, R) for the quantity tier with
 *     the largest minimum not above q.
 * The basket then applies, over the net of each tax class: the customer's
 * and the project's discount of the configuration, then its own calc items
 * in order (discounts take their share of each class, charges add to their
 * own class, subtotals and texts show a line); the taxes of each class
 * (percentages on the class's net, unit rates per line on its weight); the
 * net and gross totals, cash rounding to the configured interval (half
 * away from zero), payment discounts (stated, not deducted) and deposits
 * (subtracted from the payable amount to give the amount due).
 *
 * An item without a price of its own that has sub-items is a set header:
 * it is priced through them. Every step is recorded as a PriceCalcEntry.
 * Faults never stop the walk: all are collected, and a basket with any
 * fault gets no totals. Limits: amounts up to 10^15, quantities (with their
 * ancestors') above 0 and up to 10^9, percentages 0 to 100 for discounts
 * and up to 1000 for surcharges; beyond them, and for currencies that are
 * not money, faults with messages.
 *
 * Stateless; any thread may call it on records no one is changing (labels
 * in more than 15 languages are sorted on first lookup: look them up once
 * before sharing a catalogue between threads). It sets the calling thread's
 * decimal rounding for its run and restores it before returning. The work
 * that depends only on an article and the chosen values (steps 1 to 4) is
 * done once per calculation and shared by the lines that order them. */
#ifndef KELP_UTIL_UTL_PRICECALCULATION_H
#define KELP_UTIL_UTL_PRICECALCULATION_H

#include <utility>
#include <vector>

#include <kelp/kelp_api.h>
#include <kelp/util/utl_Basket.h>
#include <kelp/util/utl_Catalogue.h>
#include <kelp/util/utl_Funcs.h>
#include <kelp/util/utl_PriceConfiguration.h>
#include <kelp/util/utl_PriceResult.h>

namespace qor::quv::basket {

class KELP_API PriceCalculation {
 public:
  PriceCalculation() = delete;

  /* Under the basket's own configuration. */
  static PriceResult calculate(const Basket& basket, const Catalogue& catalogue);
  static PriceResult calculate(const Basket& basket, const Catalogue& catalogue,
                               const PriceConfiguration& configuration);

  /* One item against the catalogue on the date: Invalid (article gone or not
   * valid), Up2Date (same data version), Updatable (minor or subminor
   * changed, every chosen value still there), Migratable (major changed, or
   * a chosen value gone). */
  static TarnUpdateState checkItem(const BasketItem& item, const Catalogue& catalogue,
                                   const util::EDate& date);
  /* Every item of the basket, sub-items included, in position order, on
   * the basket's price date. */
  static std::vector<std::pair<EPositionNumber, TarnUpdateState>> checkUpdates(
      const Basket& basket, const Catalogue& catalogue);
};

}  // namespace qor::quv::basket

#endif
