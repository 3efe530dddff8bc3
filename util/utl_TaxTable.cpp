// TaxTable: the tax record in force for a class, country and date.
#include <kelp/util/utl_TaxTable.h>

namespace qor::quv::basket {

std::vector<const ETaxRecord*> TaxTable::findAll(const std::string& taxClass,
                                                 const std::string& country,
                                                 const util::EDate& date) const {
  std::vector<const ETaxRecord*> found;
  for (const ETaxRecord& r : records_)
    if (r.taxClass == taxClass && r.country == country && r.isValidOn(date)) found.push_back(&r);
  return found;
}

const ETaxRecord* TaxTable::find(const std::string& taxClass, const std::string& country,
                                 const util::EDate& date) const {
  const ETaxRecord* unit = nullptr;
  for (const ETaxRecord* r : findAll(taxClass, country, date)) {
    if (r->weightUnit.empty()) return r;
    if (!unit) unit = r;
  }
  return unit;
}

}  // namespace qor::quv::basket
