// ETaxRecord and TaxTable: rates by tax unit, and the record in force.
#include <kelp/util/utl_ETaxRecord.h>
#include <kelp/util/utl_TaxTable.h>

#include <gtest/gtest.h>

using namespace qor::quv::basket;
using qor::quv::util::EDate;

TEST(ETaxRecord, ReadsPercentagesAndUnitRates) {
  ETaxRecord r;
  std::string error;
  ASSERT_TRUE(r.parseRate("EUR/KGM", "0.20", &error)) << error;
  EXPECT_EQ(r.kind, CIT_UnitTax);
  EXPECT_EQ(r.weightUnit, "KGM");
  EXPECT_EQ(r.getTaxUnit(), "EUR/KGM");
  ASSERT_TRUE(r.parseRate("%", "7", &error));
  EXPECT_EQ(r.kind, CIT_Tax);
  EXPECT_EQ(r.getTaxUnit(), "%");
  const struct {
    const char *unit, *value, *message;
  } faults[] = {
      {"EUR/kgm", "1", "'EUR/kgm' is not a tax unit"},
      {"%", "-1", "tax rate '-1' must be a number of 0 or more"},
      {"%", "100.5", "tax rate '100.5' is above 100 %"},
      {"%", "Inf", "tax rate 'Inf' must be a number of 0 or more"},
      {"XAU/KGM", "1", "'XAU' is not a money currency"},
  };
  for (const auto& f : faults) {
    SCOPED_TRACE(f.message);
    EXPECT_FALSE(r.parseRate(f.unit, f.value, &error));
    EXPECT_EQ(error, f.message);
  }
}

TEST(TaxTable, FindsTheRecordInForceOnTheDate) {
  TaxTable t;
  ETaxRecord old, now, levy;
  std::string error;
  old.taxClass = now.taxClass = levy.taxClass = "standard";
  old.country = now.country = levy.country = "DE";
  ASSERT_TRUE(old.parseRate("%", "16", &error));
  old.validUntil = EDate(2020, 12, 31);
  ASSERT_TRUE(now.parseRate("%", "19", &error));
  now.validFrom = EDate(2021, 1, 1);
  ASSERT_TRUE(levy.parseRate("EUR/KGM", "0.2", &error));
  t.add(levy);
  t.add(old);
  t.add(now);
  EXPECT_EQ(*t.find("standard", "DE", EDate(2020, 12, 31)), old);
  EXPECT_EQ(*t.find("standard", "DE", EDate(2021, 1, 1)), now);
  EXPECT_EQ(t.findAll("standard", "DE", EDate(2021, 1, 1)).size(), 2u);
  EXPECT_EQ(t.find("standard", "AT", EDate(2021, 1, 1)), nullptr);
}
