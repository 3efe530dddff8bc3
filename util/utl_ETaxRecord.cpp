// ETaxRecord: tax rates by tax unit, and their validity.
#include <kelp/util/utl_ETaxRecord.h>

#include <kelp/util/utl_Decimal.h>

#include "utl_Basket_impl.h"

namespace qor::quv::basket {

bool ETaxRecord::parseRate(const std::string& unit, const std::string& value, std::string* error) {
  auto fail = [&](const std::string& m) {
    if (error) *error = m;
    return false;
  };
  if (!util::Funcs::isValidTaxUnit(unit)) return fail("'" + unit + "' is not a tax unit");
  ktz::decimal::decimal128 d;
  if (!detail::readDecimal(value, &d) || ktzDec128SignBit(d))
    return fail("tax rate '" + value + "' must be a number of 0 or more");
  if (unit == "%") {
    if (d > ktz::decimal::decimal128(100)) return fail("tax rate '" + value + "' is above 100 %");
    rate = util::ECurrency(util::ECurrency::Percent, d);
    weightUnit.clear();
    if (kind == CIT_UnitTax) kind = CIT_Tax;
    return true;
  }
  const std::string code = unit.substr(0, 3);
  if (util::ECurrency::getDefaultFractionDigits(code.c_str()) < 0)
    return fail("'" + code + "' is not a money currency");
  rate = util::ECurrency(code, d);
  weightUnit = unit.substr(4);
  kind = CIT_UnitTax;
  return true;
}

std::string ETaxRecord::getTaxUnit() const {
  return weightUnit.empty() ? std::string("%") : rate.getUnit() + "/" + weightUnit;
}

bool ETaxRecord::isValidOn(const util::EDate& date) const {
  return (validFrom.isNull() || validFrom <= date) && (validUntil.isNull() || date <= validUntil);
}

bool ETaxRecord::operator==(const ETaxRecord& o) const {
  return taxClass == o.taxClass && country == o.country && kind == o.kind && rate == o.rate &&
         weightUnit == o.weightUnit && validFrom == o.validFrom && validUntil == o.validUntil;
}

}  // namespace qor::quv::basket
