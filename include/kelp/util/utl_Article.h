/* qor::quv::basket::Article: one record of a catalogue: identity, data
 * version and validity, names and XHTML descriptions by language,
 * classifications, prices per currency with their validity and calc items,
 * choices, quantity-discount tiers, weight, dimensions and tax class.
 *
 *   const Article* a = catalogue.findArticle("DESK-160");
 *   const ArticlePrice* p = a->findPrice("EUR", EDate(2026, 3, 1));
 *
 * A price's calc items (PercentSurcharge, PercentDiscount, AbsoluteDiscount,
 * Text) apply in their order to the list price. Tiers are QuantityDiscount
 * items with their minimum quantity. An article with no price at all can
 * head a set whose parts carry the prices. Plain copyable values. */
#ifndef KELP_UTIL_UTL_ARTICLE_H
#define KELP_UTIL_UTL_ARTICLE_H

#include <string>
#include <vector>

#include <kelp/kelp_api.h>
#include <kelp/util/utl_Choice.h>
#include <kelp/util/utl_EBounds.h>
#include <kelp/util/utl_EClassification.h>
#include <kelp/util/utl_ECurrency.h>
#include <kelp/util/utl_EDate.h>
#include <kelp/util/utl_ETexts.h>
#include <kelp/util/utl_EVersion.h>
#include <kelp/util/utl_PriceCalcItem.h>

namespace qor::quv::basket {

class KELP_API ArticlePrice {
 public:
  /* The list price in its currency. */
  util::ECurrency base;
  /* Null dates: the article's validity. */
  util::EDate validFrom, validUntil;
  std::vector<PriceCalcItem> calcItems;

  /* The catalogue's price: the base with the percent surcharges and
   * discounts and the absolute discounts applied in order, rounded once to
   * the currency's customary decimals under the default money rounding
   * mode. Invalid when an item is of another kind or another currency. */
  util::ECurrency evaluate() const;

  bool operator==(const ArticlePrice& o) const {
    return base == o.base && validFrom == o.validFrom && validUntil == o.validUntil &&
           calcItems == o.calcItems;
  }
};

class KELP_API Article {
 public:
  std::string id;
  /* The data version; null means the catalogue's. */
  util::EVersion version;
  util::EDate validFrom, validUntil;
  ETexts names;
  /* Each text is a restricted XHTML page. */
  ETexts descriptions;
  std::vector<EClassification> classifications;
  std::vector<ArticlePrice> prices;
  std::vector<Choice> choices;
  std::vector<PriceCalcItem> tiers;
  /* Per piece; zero when unknown. The unit is "GRM", "MGM", "KGM" or "LBR". */
  ktz::decimal::decimal64 weight;
  std::string weightUnit;
  /* The outer box of one piece, in millimetres; empty when unknown. */
  util::EBounds dimensions;
  std::string taxClass;

  bool isValidOn(const util::EDate& date) const;
  /* The price in `currency` valid on `date` (the first one listed), or null. */
  const ArticlePrice* findPrice(const std::string& currency, const util::EDate& date) const;
  const Choice* findChoice(const std::string& choiceId) const;

  bool operator==(const Article& o) const;
};

}  // namespace qor::quv::basket

#endif
