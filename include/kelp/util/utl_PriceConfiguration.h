/* qor::quv::basket::PriceConfiguration: the settings one price calculation
 * runs under: currency, price date, tax country, rounding mode, an optional
 * cash-rounding interval and the customer's and the project's discounts.
 *
 *   PriceConfiguration c;
 *   c.currency = "CHF";
 *   c.priceDate = EDate(2026, 3, 1);
 *   c.taxCountry = "CH";
 *   c.cashRounding = RI_0_05;            // pay in multiples of 0.05
 *   c.customerDiscount = ECurrency("%", 3);
 *
 * The rounding mode starts as the process-wide money default at the time
 * the configuration is made. A plain copyable value. */
#ifndef KELP_UTIL_UTL_PRICECONFIGURATION_H
#define KELP_UTIL_UTL_PRICECONFIGURATION_H

#include <string>

#include <fw/fw_RoundingMode.h>
#include <kelp/kelp_api.h>
#include <kelp/util/utl_ECurrency.h>
#include <kelp/util/utl_EDate.h>
#include <kelp/util/utl_Funcs.h>

namespace qor::quv::basket {

class KELP_API PriceConfiguration {
 public:
  PriceConfiguration();

  std::string currency;
  util::EDate priceDate;
  std::string taxCountry;
  types::RoundingMode roundingMode;
  /* 0: no cash rounding; else one of RI_0_01 ... RI_1_00. */
  RoundingInterval cashRounding = static_cast<RoundingInterval>(0);
  /* Percentages taken from each tax class's net before the basket's own
   * calc items; Null when there is none. */
  util::ECurrency customerDiscount;
  util::ECurrency projectDiscount;

  bool operator==(const PriceConfiguration& o) const;
  bool operator!=(const PriceConfiguration& o) const { return !(*this == o); }
};

}  // namespace qor::quv::basket

#endif
