// PriceConfiguration: the settings of one price calculation.
#include <kelp/util/utl_PriceConfiguration.h>

#include <kelp/util/utl_Decimal.h>

namespace qor::quv::basket {

PriceConfiguration::PriceConfiguration() : roundingMode(util::getDefaultMoneyRoundingMode()) {}

bool PriceConfiguration::operator==(const PriceConfiguration& o) const {
  return currency == o.currency && priceDate == o.priceDate && taxCountry == o.taxCountry &&
         roundingMode == o.roundingMode && cashRounding == o.cashRounding &&
         customerDiscount == o.customerDiscount && projectDiscount == o.projectDiscount;
}

}  // namespace qor::quv::basket
