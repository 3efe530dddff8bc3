// PriceCalcItem and PriceCalcEntry: kind names, attributes and their faults.
#include <kelp/util/utl_PriceCalcEntry.h>
#include <kelp/util/utl_PriceCalcItem.h>

#include <gtest/gtest.h>

#include "attribute_maker.h"

using namespace qor::quv::basket;
using qor::quv::util::Funcs;

TEST(CalcItemType, NamesReadBackAndNewerKindsMapToOlderOnes) {
  for (int t = 0; t <= 27; ++t) {
    SCOPED_TRACE(t);
    CalcItemType back = CIT_None;
    ASSERT_TRUE(parseCalcItemType(calcItemTypeName(static_cast<CalcItemType>(t)), &back));
    EXPECT_EQ(back, t);
    const int older = Funcs::mapToPreQUV19CalcItemType(static_cast<CalcItemType>(t));
    EXPECT_LT(older, 19);
  }
  // A few refinements by name: the newer kind is a kind of the older one.
  EXPECT_EQ(Funcs::mapToPreQUV19CalcItemType(CIT_QuantityDiscount), CIT_PercentDiscount);
  EXPECT_EQ(Funcs::mapToPreQUV19CalcItemType(CIT_CashRounding), CIT_Rounding);
  EXPECT_EQ(Funcs::mapToPreQUV19CalcItemType(CIT_ReducedTax), CIT_Tax);
  EXPECT_STREQ(calcItemTypeName(static_cast<CalcItemType>(28)), "");
  CalcItemType t = CIT_Tax;
  EXPECT_FALSE(parseCalcItemType("tax", &t));
}

TEST(PriceCalcItem, DecodesAttributesAndReportsFaults) {
  kelp::test::AttributeMaker m;
  PriceCalcItem item;
  std::string error;
  ASSERT_TRUE(item.decodeAttributes(m.make({{"kind", "QuantityDiscount"},
                                            {"currency", "%"},
                                            {"value", "5"},
                                            {"min-quantity", "10"},
                                            {"label", "Volume"},
                                            {"label-de", "Menge"}}),
                                    &error))
      << error;
  EXPECT_EQ(item.getType(), CIT_QuantityDiscount);
  EXPECT_TRUE(item.getValue().isRelative());
  EXPECT_EQ(item.getLabel().get("de"), "Menge");
  EXPECT_EQ(item.getLabel().get("fr"), "Volume");
  EXPECT_TRUE(item.getMinQuantity() == ktz::decimal::decimal128(10));

  const struct {
    std::initializer_list<std::pair<const char*, const char*>> attrs;
    const char* message;
  } faults[] = {
      {{{"value", "5"}}, "attribute 'kind' is missing or empty"},
      {{{"kind", "Bonus"}}, "attribute 'kind' has invalid value 'Bonus'"},
      {{{"kind", "Freight"}, {"currency", "EUR"}, {"value", "x"}},
       "attribute 'value' has invalid value 'x'"},
      {{{"kind", "Text"}, {"label-DE", "x"}}, "unknown attribute 'label-DE'"},
      {{{"kind", "QuantityDiscount"}, {"min-quantity", "-1"}},
       "attribute 'min-quantity' has invalid value '-1'"},
  };
  for (const auto& f : faults) {
    SCOPED_TRACE(f.message);
    PriceCalcItem kept = item;
    EXPECT_FALSE(kept.decodeAttributes(m.make(f.attrs), &error));
    EXPECT_EQ(error, f.message);
    EXPECT_EQ(kept, item);
  }
}

TEST(PriceCalcEntry, DecodesAmountsInOneCurrency) {
  kelp::test::AttributeMaker m;
  PriceCalcEntry e;
  std::string error;
  ASSERT_TRUE(e.decodeAttributes(m.make({{"kind", "PercentDiscount"},
                                         {"position", "2.1"},
                                         {"currency", "EUR"},
                                         {"value", "-6.49"},
                                         {"base", "64.90"},
                                         {"net", "58.41"}}),
                                 &error))
      << error;
  EXPECT_EQ(e.position.formatString(), "2.1");
  EXPECT_TRUE(e.base == qor::quv::util::ECurrency("EUR", ktz::decimal::decimal128(6490)) / 100);
  EXPECT_FALSE(e.decodeAttributes(m.make({{"kind", "Subtotal"}, {"base", "1"}}), &error));
  EXPECT_EQ(error, "attribute 'base' needs a currency");
  EXPECT_FALSE(e.decodeAttributes(m.make({{"kind", "Text"}, {"position", "0"}}), &error));
  EXPECT_EQ(error, "position number '0' has a level 0 (levels count from 1)");
}
