/* qor::quv::basket::TaxTable: the tax records of a catalogue, looked up by
 * tax class, country and date.
 *
 *   TaxTable t;
 *   t.add(vat19);
 *   const ETaxRecord* r = t.find("standard", "DE", EDate(2026, 3, 1));
 *
 * A class may carry a percentage and unit rates side by side (VAT and a
 * levy per kilogram); findAll gives every record in force, in the order
 * they were added. A plain copyable value; const lookups may run on several
 * threads. */
#ifndef KELP_UTIL_UTL_TAXTABLE_H
#define KELP_UTIL_UTL_TAXTABLE_H

#include <string>
#include <vector>

#include <kelp/kelp_api.h>
#include <kelp/util/utl_ETaxRecord.h>

namespace qor::quv::basket {

class KELP_API TaxTable {
 public:
  void add(const ETaxRecord& record) { records_.push_back(record); }
  const std::vector<ETaxRecord>& getRecords() const { return records_; }
  bool isEmpty() const { return records_.empty(); }

  /* The first record in force for the class and country on the date (a
   * percentage before unit rates), or null. */
  const ETaxRecord* find(const std::string& taxClass, const std::string& country,
                         const util::EDate& date) const;
  /* Every record in force for the class and country on the date. */
  std::vector<const ETaxRecord*> findAll(const std::string& taxClass, const std::string& country,
                                         const util::EDate& date) const;

 private:
  std::vector<ETaxRecord> records_;
};

}  // namespace qor::quv::basket

#endif
