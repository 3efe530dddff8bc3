/* qor::quv::basket::ETaxRecord: one tax rate of a tax class in a country,
 * valid between two dates.
 *
 * The rate is either a percentage of the net (unit "%": kind Tax, or
 * ReducedTax for a reduced class) or an amount per weight unit written as a
 * tax unit and an amount, "EUR/KGM 0.20" (kind UnitTax: 0.20 EUR per kg).
 * Null dates leave the validity open on that side.
 *
 *   ETaxRecord vat;
 *   std::string error;
 *   vat.parseRate("%", "19", &error);             // 19 % of the net
 *   ETaxRecord levy;
 *   levy.parseRate("EUR/KGM", "0.20", &error);    // getWeightUnit() "KGM"
 *
 * A plain copyable value. */
#ifndef KELP_UTIL_UTL_ETAXRECORD_H
#define KELP_UTIL_UTL_ETAXRECORD_H

#include <string>

#include <kelp/kelp_api.h>
#include <kelp/util/utl_ECurrency.h>
#include <kelp/util/utl_EDate.h>
#include <kelp/util/utl_Funcs.h>

namespace qor::quv::basket {

class KELP_API ETaxRecord {
 public:
  std::string taxClass;
  std::string country;
  /* Tax, ReducedTax or UnitTax. */
  CalcItemType kind = CIT_Tax;
  /* A percentage, or the amount per weight unit in its currency. */
  util::ECurrency rate;
  /* "" for a percentage, else "KGM", "LBR" or "MGM". */
  std::string weightUnit;
  util::EDate validFrom, validUntil;

  /* Reads a tax unit ("%" or "CUR/UNIT", as Funcs::isValidTaxUnit) and a
   * non-negative decimal (at most 100 for a percentage); sets rate,
   * weightUnit and, for a unit rate, kind = UnitTax. On failure the message
   * goes to *error and the record stays. */
  bool parseRate(const std::string& unit, const std::string& value, std::string* error);
  /* The tax unit text: "%" or "EUR/KGM". */
  std::string getTaxUnit() const;
  /* In force on `date` (null dates are open ends). */
  bool isValidOn(const util::EDate& date) const;

  bool operator==(const ETaxRecord& o) const;
};

}  // namespace qor::quv::basket

#endif
