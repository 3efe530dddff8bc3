// BasketXml: generated baskets read back equal; faulty documents are
// refused with their message and line, leaving the basket alone.
#include <kelp/util/utl_BasketXml.h>

#include <gtest/gtest.h>

#include <random>

#include "decimal_test_util.h"
#include "test_support.h"

using namespace qor::quv::basket;
using kelp::test::d128;
using qor::quv::util::ECurrency;
using qor::quv::util::EDate;
using qor::quv::util::EVersion;

namespace {

void fill(std::vector<BasketItem>* items, const EPositionNumber& parent, int depth,
          std::mt19937& rng) {
  const int n = static_cast<int>(rng() % 4) + (depth == 0 ? 1 : 0);
  for (int k = 1; k <= n; ++k) {
    BasketItem i;
    i.position = parent.isNull() ? EPositionNumber::top(k * 3) : parent.child(k);
    i.id = EBasketItemId::create();
    i.articleId = "A<&'\"" + std::to_string(rng() % 100);
    if (rng() % 2) i.articleVersion = EVersion(1, static_cast<int>(rng() % 9), 0);
    i.quantity = ktz::decimal::decimal128(static_cast<long long>(1 + rng() % 999));
    if (rng() % 3 == 0) i.quantity = i.quantity / ktz::decimal::decimal128(8);  // 0.125 steps
    if (rng() % 4 == 0) i.unit = "KGM";
    if (rng() % 2) i.choices = {{"colour", "red"}, {"size", std::to_string(rng() % 5)}};
    if (depth < 3) fill(&i.children, i.position, depth + 1, rng);
    items->push_back(i);
  }
}

Basket generated(std::mt19937& rng) {
  Basket b;
  b.id = "B-" + std::to_string(rng());
  b.configuration.currency = rng() % 2 ? "EUR" : "JPY";
  b.configuration.priceDate = EDate(2026, 1 + static_cast<int>(rng() % 12), 28);
  b.configuration.taxCountry = "DE";
  if (rng() % 2) b.configuration.cashRounding = RI_0_05;
  if (rng() % 2) b.configuration.customerDiscount = ECurrency("%", d128("2.5"));
  b.catalogueId = "office";
  b.catalogueVersion = EVersion(2, 1, 0);
  fill(&b.items, EPositionNumber(), 0, rng);
  PriceCalcItem freight(CIT_Freight, ECurrency(b.configuration.currency, d128("25.00")));
  freight.setTaxClass("standard");
  freight.label().set("de", "Fracht für Größe \xe2\x82\xac");  // beyond ASCII, whatever the locale
  freight.label().set("", "Freight & handling");
  b.calcItems = {freight, PriceCalcItem(CIT_Text, ECurrency::Null)};
  return b;
}

}  // namespace

TEST(BasketXml, GeneratedBasketsReadBackEqual) {
  std::mt19937 rng(11);
  for (int n = 0; n < 50; ++n) {
    const Basket b = generated(rng);
    const std::string text = BasketXml::toString(b);
    ASSERT_FALSE(text.empty());
    Basket back;
    std::string error;
    int line = 0;
    ASSERT_TRUE(BasketXml::read(text, &back, &error, &line)) << line << ": " << error << "\n"
                                                             << text;
    ASSERT_TRUE(back == b) << text;
  }
}

TEST(BasketXml, RefusesFaultsWithTheirLine) {
  const std::string head =
      "<?xml version='1.0'?>\n<basket id='b' currency='EUR' price-date='2026-03-01'>\n";
  const std::string id = "123e4567-e89b-12d3-a456-426614174000";
  const struct {
    std::string body;
    int line;
    const char* message;
  } cases[] = {
      {"<item position='1' id='" + id + "' article='A'/>\n<item position='1' id='" + id +
           "' article='B'/>",
       4, "item 1: position is used twice"},
      {"<item position='1' id='" + id + "' article='A'>\n<item position='2.1' id='" + id +
           "' article='B'/></item>",
       4, "item 2.1: position does not lie directly below item 1"},
      {"<item position='1' id='x' article='A'/>", 3,
       "item 1: attribute 'id' has invalid value 'x'"},
      {"<item position='1' id='" + id + "' article='A' quantity='0'/>", 3,
       "item 1: attribute 'quantity' has invalid value '0'"},
      {"<item position='1' id='" + id +
           "' article='A'>\n <choice id='c' value='1'/><choice id='c' value='2'/></item>",
       4, "item 1: choice: 'c' is chosen twice"},
      {"<item position='1' id='" + id + "' article='A'><choice id='c' value='1' x='2'/></item>", 3,
       "item 1: choice: unknown attribute 'x'"},
      {"<calc kind='Bonus'/>", 3, "calc: attribute 'kind' has invalid value 'Bonus'"},
      {"<shelf/>", 3, "unknown element <shelf> in <basket>"},
      // Text is reported where the reader stands: behind it, at the end tag.
      {"text", 4, "text is not allowed in a basket"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.message);
    Basket b;
    b.id = "kept";
    std::string error;
    int line = 0;
    EXPECT_FALSE(BasketXml::read(head + c.body + "\n</basket>\n", &b, &error, &line));
    EXPECT_EQ(error, c.message);
    EXPECT_EQ(line, c.line);
    EXPECT_EQ(b.id, "kept");
  }
  Basket b;
  std::string error;
  EXPECT_FALSE(BasketXml::read("<basket currency='EUR' price-date='2026-02-30'/>", &b, &error));
  EXPECT_EQ(error, "basket: attribute 'price-date' has invalid date '2026-02-30'");
  EXPECT_FALSE(BasketXml::read("<basket currency='EUR' price-date='20260-3-01'/>", &b, &error));
  EXPECT_EQ(error, "basket: attribute 'price-date' has invalid date '20260-3-01'");
  EXPECT_FALSE(BasketXml::read("<cart/>", &b, &error));
  EXPECT_EQ(error, "root element must be <basket>, not <cart>");
}

TEST(BasketXml, NeverOpensExternalEntities) {
  kelp::test::TempDir dir;
  const std::string part = dir.file("part.xml");
  kelp::test::writeFile(part,
                        "<item position='1' id='123e4567-e89b-12d3-a456-426614174000' "
                        "article='SMUGGLED'/>");
  const std::string text = "<!DOCTYPE basket [<!ENTITY part SYSTEM '" + part +
                           "'>]>\n<basket currency='EUR' price-date='2026-03-01'>&part;</basket>";
  Basket b;
  std::string error;
  BasketXml::read(text, &b, &error);
  EXPECT_TRUE(b.items.empty()) << "the external entity was read";
}
