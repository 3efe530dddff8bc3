// Article: lookups of prices and choices on the price date.
#include <kelp/util/utl_Article.h>

namespace qor::quv::basket {

namespace {
bool within(const util::EDate& from, const util::EDate& until, const util::EDate& date) {
  return (from.isNull() || from <= date) && (until.isNull() || date <= until);
}
}  // namespace

util::ECurrency ArticlePrice::evaluate() const {
  util::ECurrency value = base;
  for (const PriceCalcItem& step : calcItems) {
    switch (step.getType()) {
      case CIT_PercentSurcharge:
        value = value + step.getValue();
        break;
      case CIT_PercentDiscount:
        value = value + -step.getValue();
        break;
      case CIT_AbsoluteDiscount:
        value = value - step.getValue();
        break;
      default:
        return util::ECurrency::Invalid;
    }
  }
  return value.round();
}

bool Article::isValidOn(const util::EDate& date) const {
  return within(validFrom, validUntil, date);
}

const ArticlePrice* Article::findPrice(const std::string& currency, const util::EDate& date) const {
  for (const ArticlePrice& p : prices)
    if (p.base.getUnit() == currency && within(p.validFrom, p.validUntil, date)) return &p;
  return nullptr;
}

const Choice* Article::findChoice(const std::string& choiceId) const {
  for (const Choice& c : choices)
    if (c.id == choiceId) return &c;
  return nullptr;
}

bool Article::operator==(const Article& o) const {
  return id == o.id && version.compare(o.version) == 0 && validFrom == o.validFrom &&
         validUntil == o.validUntil && names == o.names && descriptions == o.descriptions &&
         classifications == o.classifications && prices == o.prices && choices == o.choices &&
         tiers == o.tiers && weight == o.weight && weightUnit == o.weightUnit &&
         dimensions.equals(o.dimensions, 0) && taxClass == o.taxClass;
}

}  // namespace qor::quv::basket
