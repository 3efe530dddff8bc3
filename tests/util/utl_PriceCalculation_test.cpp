// PriceCalculation from the caller's side: baskets priced against small
// catalogues, every expected amount worked out by hand beside the case.
#include <kelp/util/utl_PriceCalculation.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "decimal_test_util.h"

using namespace qor::quv::basket;
using kelp::test::d128;
using kelp::test::d64;
using qor::quv::util::ECurrency;
using qor::quv::util::EDate;
using qor::quv::util::EVersion;

namespace {

ECurrency money(const char* code, const char* amount) {
  return ECurrency(code, d128(amount));
}
ECurrency percent(const char* p) {
  return ECurrency("%", d128(p));
}

Article article(const char* id, const char* taxClass, std::vector<ECurrency> prices) {
  Article a;
  a.id = id;
  a.taxClass = taxClass;
  for (const ECurrency& p : prices) {
    ArticlePrice ap;
    ap.base = p;
    a.prices.push_back(ap);
  }
  return a;
}

ETaxRecord tax(const char* cls, const char* country, const char* unit, const char* rate,
               CalcItemType kind = CIT_Tax) {
  ETaxRecord r;
  r.taxClass = cls;
  r.country = country;
  r.kind = kind;
  std::string error;
  EXPECT_TRUE(r.parseRate(unit, rate, &error)) << error;
  return r;
}

BasketItem item(const char* pos, const char* articleId, const char* quantity) {
  BasketItem i;
  std::string error;
  EXPECT_TRUE(i.position.parseString(pos, &error)) << error;
  i.articleId = articleId;
  i.quantity = d128(quantity);
  return i;
}

Basket basketIn(const char* currency, const char* country) {
  Basket b;
  b.configuration.currency = currency;
  b.configuration.taxCountry = country;
  b.configuration.priceDate = EDate(2026, 3, 1);
  return b;
}

// The catalogue most cases share: a desk with a choice and a surcharge and
// a discount on its price, a book with quantity tiers in a reduced tax class.
Catalogue office() {
  Catalogue c;
  c.id = "office";
  c.version = EVersion(2, 1, 0);
  c.lang = "en";
  Article desk = article("DESK", "standard",
                         {money("EUR", "649.00"), money("JPY", "98000"), money("KWD", "215.750")});
  for (ArticlePrice& p : desk.prices) {
    p.calcItems.emplace_back(CIT_PercentSurcharge, percent("4.5"));
    p.calcItems.emplace_back(CIT_PercentDiscount, percent("10"));
  }
  Choice top;
  top.id = "top";
  ChoiceValue oak, glass;
  oak.id = "oak";
  oak.effects = {money("EUR", "25.00")};
  glass.id = "glass";
  glass.effects = {percent("10")};
  top.values = {oak, glass};
  top.defaultValue = "oak";
  desk.choices.push_back(top);
  c.addArticle(desk);
  Article book = article("BOOK", "reduced", {money("EUR", "19.99")});
  PriceCalcItem five(CIT_QuantityDiscount, percent("5")), ten(CIT_QuantityDiscount, percent("10"));
  five.setMinQuantity(d128("10"));
  ten.setMinQuantity(d128("50"));
  book.tiers = {ten, five};
  c.addArticle(book);
  c.taxTable.add(tax("standard", "DE", "%", "19"));
  c.taxTable.add(tax("reduced", "DE", "%", "7", CIT_ReducedTax));
  return c;
}

std::string amountOf(const ECurrency& c) {
  return c.formatString();
}

const ItemPrice* at(const PriceResult& r, const char* pos) {
  for (const ItemPrice& i : r.items)
    if (i.position.formatString() == pos) return &i;
  return nullptr;
}

#define EXPECT_MONEY(value, code, amount) \
  EXPECT_TRUE((value) == money(code, amount)) << amountOf(value) << " expected " << amount

}  // namespace

TEST(PriceCalculation, PricesPerClassDiscountsFreightAndReducedTax) {
  Catalogue c = office();
  Basket b = basketIn("EUR", "DE");
  BasketItem desk = item("1", "DESK", "2");
  desk.choices = {{"top", "glass"}};
  b.items = {desk, item("2", "BOOK", "10")};
  b.configuration.customerDiscount = percent("3");
  PriceCalcItem freight(CIT_Freight, money("EUR", "25.00"));
  freight.setTaxClass("standard");
  b.calcItems = {freight};

  PriceResult r = PriceCalculation::calculate(b, c);
  ASSERT_TRUE(r.isOk()) << r.faults[0].message;
  // Desk: 649 + 10 % of 649 = 713.90; x 1.045 = 746.0255; x 0.90 =
  // 671.42295, unit price 671.42; two of them 1342.84.
  EXPECT_MONEY(at(r, "1")->unitPrice, "EUR", "671.42");
  EXPECT_MONEY(at(r, "1")->net, "EUR", "1342.84");
  // Book: 10 x 19.99 = 199.90, the tier from 10 on takes 5 %: 9.995 -> 10.00.
  EXPECT_MONEY(at(r, "2")->net, "EUR", "189.90");
  // Customer discount 3 % per class: 1342.84 -> -40.29 (40.2852) = 1302.55,
  // 189.90 -> -5.70 (5.697) = 184.20; freight +25.00 on standard = 1327.55.
  EXPECT_MONEY(r.netByClass["standard"], "EUR", "1327.55");
  EXPECT_MONEY(r.netByClass["reduced"], "EUR", "184.20");
  // Taxes: 1327.55 x 19 % = 252.2345 -> 252.23; 184.20 x 7 % = 12.894 -> 12.89.
  EXPECT_MONEY(r.netTotal, "EUR", "1511.75");
  EXPECT_MONEY(r.taxTotal, "EUR", "265.12");
  EXPECT_MONEY(r.grossTotal, "EUR", "1776.87");
  EXPECT_MONEY(r.due, "EUR", "1776.87");
  // Each step is a line: the desk's list price, the option, two calc items,
  // the rounding, the line.
  std::vector<CalcItemType> kinds;
  for (const PriceCalcEntry& e : at(r, "1")->entries) kinds.push_back(e.type);
  EXPECT_EQ(kinds, (std::vector<CalcItemType>{CIT_ListPrice, CIT_OptionPercentSurcharge,
                                              CIT_PercentSurcharge, CIT_PercentDiscount,
                                              CIT_Rounding, CIT_Subtotal}));
  const auto reduced =
      std::find_if(r.entries.begin(), r.entries.end(),
                   [](const PriceCalcEntry& e) { return e.type == CIT_ReducedTax; });
  ASSERT_NE(reduced, r.entries.end());
  EXPECT_MONEY(reduced->amount, "EUR", "12.89");
}

TEST(PriceCalculation, QuantityTiersApplyFromTheirMinimum) {
  Catalogue c = office();
  const struct {
    const char *quantity, *net;
  } cases[] = {
      {"9", "179.91"},     // 9 x 19.99, below the first tier
      {"10", "189.90"},    // 199.90 - 10.00 (5 % = 9.995)
      {"49", "930.53"},    // 979.51 - 48.98 (5 % = 48.9755)
      {"50", "899.55"},    // 999.50 - 99.95 (10 %)
      {"49.5", "940.03"},  // 989.505 -> 989.51; - 49.48 (49.4755)
  };
  for (const auto& k : cases) {
    SCOPED_TRACE(k.quantity);
    Basket b = basketIn("EUR", "XX");
    b.items = {item("1", "BOOK", k.quantity)};
    PriceResult r = PriceCalculation::calculate(b, c);
    ASSERT_TRUE(r.isOk()) << r.faults[0].message;
    EXPECT_MONEY(r.netTotal, "EUR", k.net);
  }
}

TEST(PriceCalculation, UnitTaxPerKilogramFromPounds) {
  Catalogue c;
  Article bag = article("BAG", "eco", {money("EUR", "10.00")});
  bag.weight = d64("2.5");
  bag.weightUnit = "LBR";
  c.addArticle(bag);
  c.taxTable.add(tax("eco", "DE", "%", "19"));
  c.taxTable.add(tax("eco", "DE", "EUR/KGM", "0.20"));
  Basket b = basketIn("EUR", "DE");
  b.items = {item("1", "BAG", "3")};
  PriceResult r = PriceCalculation::calculate(b, c);
  ASSERT_TRUE(r.isOk()) << r.faults[0].message;
  // 2.5 lb = 1.133980925 kg; three bags 3.401942775 kg x 0.20 = 0.680388555
  // -> 0.68; VAT 30.00 x 19 % = 5.70.
  EXPECT_MONEY(r.taxTotal, "EUR", "6.38");
  EXPECT_MONEY(r.grossTotal, "EUR", "36.38");

  c.taxTable.add(tax("eco", "DE", "CHF/KGM", "0.20"));
  r = PriceCalculation::calculate(b, c);
  ASSERT_EQ(r.faults.size(), 1u);
  EXPECT_EQ(r.faults[0].position.formatString(), "1");
  EXPECT_EQ(r.faults[0].message, "unit tax of tax class 'eco' is in CHF, not in the basket's EUR");
  EXPECT_TRUE(r.grossTotal.isNull());
}

TEST(PriceCalculation, SwissCashRoundingPaymentDiscountAndDeposit) {
  Catalogue c;
  c.addArticle(article("PEN", "standard", {money("CHF", "12.34")}));
  c.taxTable.add(tax("standard", "CH", "%", "7.7"));
  Basket b = basketIn("CHF", "CH");
  b.configuration.cashRounding = RI_0_05;
  b.items = {item("1", "PEN", "1")};
  b.calcItems = {PriceCalcItem(CIT_Deposit, money("CHF", "5.00")),
                 PriceCalcItem(CIT_PaymentDiscount, percent("2"))};
  PriceResult r = PriceCalculation::calculate(b, c);
  ASSERT_TRUE(r.isOk()) << r.faults[0].message;
  // 12.34 x 7.7 % = 0.95018 -> 0.95; gross 13.29 -> 13.30 in steps of 0.05.
  EXPECT_MONEY(r.grossTotal, "CHF", "13.29");
  EXPECT_MONEY(r.payable, "CHF", "13.30");
  // The deposit is subtracted; the payment discount (2 % of 13.30 = 0.266)
  // is only stated.
  EXPECT_MONEY(r.due, "CHF", "8.30");
  const auto find = [&](CalcItemType t) {
    return *std::find_if(r.entries.begin(), r.entries.end(),
                         [&](const PriceCalcEntry& e) { return e.type == t; });
  };
  EXPECT_MONEY(find(CIT_CashRounding).amount, "CHF", "0.01");
  EXPECT_MONEY(find(CIT_PaymentDiscount).amount, "CHF", "-0.27");
}

TEST(PriceCalculation, YenAndDinarKeepTheirCustomaryDecimals) {
  Catalogue c = office();
  c.taxTable.add(tax("standard", "JP", "%", "10"));
  Basket jpy = basketIn("JPY", "JP");
  jpy.items = {item("1", "DESK", "3")};
  PriceResult r = PriceCalculation::calculate(jpy, c);
  ASSERT_TRUE(r.isOk()) << r.faults[0].message;
  // 98000 x 1.045 x 0.90 = 92169 (no option effect in JPY); x 3 = 276507;
  // 10 % = 27650.7 -> 27651.
  EXPECT_MONEY(r.netTotal, "JPY", "276507");
  EXPECT_MONEY(r.grossTotal, "JPY", "304158");
  Basket kwd = basketIn("KWD", "KW");
  kwd.items = {item("1", "DESK", "2")};
  r = PriceCalculation::calculate(kwd, c);
  ASSERT_TRUE(r.isOk()) << r.faults[0].message;
  // 215.750 x 1.045 x 0.90 = 202.912875 -> 202.913; x 2; no tax record.
  EXPECT_MONEY(r.grossTotal, "KWD", "405.826");
  // Toward zero instead: 202.912 x 2; the thread's own rounding is left as
  // it was.
  kwd.configuration.roundingMode = qor::quv::types::eRoundingDown;
  r = PriceCalculation::calculate(kwd, c);
  EXPECT_MONEY(r.grossTotal, "KWD", "405.824");
  EXPECT_EQ(ktzDecGetRounding(), ktz::decimal::Rounding::HalfEven);
}

TEST(PriceCalculation, ThreeLevelSetMultipliesQuantities) {
  Catalogue c;
  c.addArticle(article("SET", "", {}));
  c.addArticle(article("FRAME", "standard", {money("EUR", "100.00")}));
  c.addArticle(article("SCREW", "standard", {money("EUR", "0.10")}));
  c.addArticle(article("SHELF", "standard", {money("EUR", "30.00")}));
  Basket b = basketIn("EUR", "XX");
  BasketItem set = item("1", "SET", "2"), frame = item("1.1", "FRAME", "1");
  frame.children = {item("1.1.1", "SCREW", "4")};
  set.children = {frame, item("1.2", "SHELF", "3")};
  b.items = {set};
  PriceResult r = PriceCalculation::calculate(b, c);
  ASSERT_TRUE(r.isOk()) << r.faults[0].message;
  // Two sets: 2 frames (200.00), 8 screws (0.80), 6 shelves (180.00).
  EXPECT_TRUE(at(r, "1")->setHeader);
  EXPECT_MONEY(at(r, "1.1.1")->net, "EUR", "0.80");
  EXPECT_MONEY(r.netTotal, "EUR", "380.80");
}

TEST(PriceCalculation, ListsEveryFaultWithItsPositionAndGivesNoTotals) {
  Catalogue c = office();
  Article cheap = article("CHEAP", "standard", {money("EUR", "5.00")});
  cheap.prices[0].calcItems.emplace_back(CIT_AbsoluteDiscount, money("EUR", "6.00"));
  c.addArticle(cheap);
  Article odd = article("ODD", "standard", {money("EUR", "5.00")});
  odd.prices[0].calcItems.emplace_back(CIT_PercentDiscount, percent("150"));
  c.addArticle(odd);
  Basket b = basketIn("EUR", "DE");
  BasketItem desk = item("4", "DESK", "1");
  desk.choices = {{"top", "steel"}};
  b.items = {item("1", "NONE", "1"), item("2", "CHEAP", "1"), item("3", "ODD", "0"), desk};
  b.calcItems = {PriceCalcItem(CIT_Freight, money("USD", "5"))};
  PriceResult r = PriceCalculation::calculate(b, c);
  std::vector<std::string> faults;
  for (const PriceFault& f : r.faults)
    faults.push_back(f.position.formatString() + ": " + f.message);
  EXPECT_EQ(faults, (std::vector<std::string>{
                        "1: article 'NONE' is not in the catalogue",
                        "2: unit price is negative (-1.00)",
                        "3: quantity 0 must be above 0",
                        "3: calc item 'PercentDiscount': percentage 150 is out of range (0 to 100)",
                        "4: choice 'top' has no value 'steel'",
                        ": calc item 'Freight' is in USD, not in the basket's EUR",
                    }));
  EXPECT_TRUE(r.netTotal.isNull());
  EXPECT_TRUE(r.entries.empty());

  b.configuration.currency = "XAU";
  r = PriceCalculation::calculate(b, c);
  ASSERT_EQ(r.faults.size(), 1u);
  EXPECT_EQ(r.faults[0].message, "currency 'XAU' is not money");
}

TEST(PriceCalculation, ResultDoesNotDependOnItemOrderWithinALevel) {
  Catalogue c = office();
  Basket b = basketIn("EUR", "DE");
  b.configuration.projectDiscount = percent("2.5");
  std::mt19937 rng(5);
  for (int n = 1; n <= 40; ++n) {
    BasketItem i = item(std::to_string(n).c_str(), n % 3 ? "BOOK" : "DESK",
                        std::to_string(1 + rng() % 60).c_str());
    if (n % 3 == 0) i.choices = {{"top", n % 2 ? "oak" : "glass"}};
    if (n % 5 == 0)
      for (int k = 1; k <= 3; ++k)
        i.children.push_back(
            item((std::to_string(n) + "." + std::to_string(k)).c_str(), "BOOK", "2"));
    b.items.push_back(i);
  }
  const PriceResult reference = PriceCalculation::calculate(b, c);
  ASSERT_TRUE(reference.isOk());
  for (int round = 0; round < 5; ++round) {
    std::shuffle(b.items.begin(), b.items.end(), rng);
    for (BasketItem& i : b.items) std::shuffle(i.children.begin(), i.children.end(), rng);
    const PriceResult r = PriceCalculation::calculate(b, c);
    ASSERT_EQ(r.items.size(), reference.items.size());
    for (std::size_t k = 0; k < r.items.size(); ++k)
      EXPECT_EQ(r.items[k].entries, reference.items[k].entries);
    EXPECT_EQ(r.entries, reference.entries);
    EXPECT_TRUE(r.due == reference.due);
  }
}

TEST(PriceCalculation, UpdateStatesAgainstANewerCatalogue) {
  Catalogue c = office();  // version 2.1.0
  const EDate date(2026, 3, 1);
  BasketItem desk = item("1", "DESK", "1");
  desk.choices = {{"top", "oak"}};
  const struct {
    EVersion saved;
    const char* value;
    TarnUpdateState state;
  } cases[] = {
      {EVersion(2, 1, 0), "oak", TarnUpdateState::Up2Date},
      {EVersion(2, 0, 3), "oak", TarnUpdateState::Updatable},
      {EVersion(1, 1, 0), "oak", TarnUpdateState::Migratable},
      {EVersion(2, 1, 0), "walnut", TarnUpdateState::Migratable},
  };
  for (const auto& k : cases) {
    SCOPED_TRACE(k.saved.formatString() + " " + k.value);
    desk.articleVersion = k.saved;
    desk.choices[0].second = k.value;
    EXPECT_EQ(PriceCalculation::checkItem(desk, c, date), k.state);
  }
  desk.articleId = "GONE";
  EXPECT_EQ(PriceCalculation::checkItem(desk, c, date), TarnUpdateState::Invalid);
}
