// Baskets: reading a basket's XML, pricing it against a catalogue and
// writing it, for generated baskets of 1,000 and 100,000 items. The cost
// per item (counter "ns/item") should not grow with the basket, and pricing
// should cost less than reading the XML.
#include <benchmark/benchmark.h>

#include <kelp/util/utl_BasketXml.h>
#include <kelp/util/utl_PriceCalculation.h>

#include <string>

#include "catalogue_gen.h"

using namespace qor::quv::basket;
using ktz::decimal::decimal128;
using qor::quv::util::ECurrency;
using qor::quv::util::EDate;

namespace {

constexpr int kArticles = 500;

std::string articleId(int n) {
  return "ART-" + std::to_string(10000 + n);
}

const Catalogue& catalogue() {
  static const Catalogue c = [] {
    Catalogue c;
    c.id = "bench";
    c.lang = "en";
    kelp::bench::Random rng(3);
    for (int n = 0; n < kArticles; ++n) {
      Article a;
      a.id = articleId(n);
      a.taxClass = n % 4 ? "standard" : "reduced";
      a.names.set("", "Article " + std::to_string(n));
      ArticlePrice p;
      p.base = ECurrency(
          "EUR", decimal128(static_cast<long long>(100 + rng.below(90000))) / decimal128(100));
      if (n % 2)
        p.calcItems.emplace_back(CIT_PercentSurcharge,
                                 ECurrency("%", decimal128(45) / decimal128(10)));
      if (n % 3) p.calcItems.emplace_back(CIT_PercentDiscount, ECurrency("%", decimal128(10)));
      a.prices.push_back(p);
      Choice colour;
      colour.id = "colour";
      ChoiceValue red, blue;
      red.id = "red";
      red.effects = {ECurrency("EUR", decimal128(5))};
      blue.id = "blue";
      blue.effects = {ECurrency("%", decimal128(3))};
      colour.values = {red, blue};
      colour.defaultValue = "red";
      a.choices.push_back(colour);
      PriceCalcItem tier(CIT_QuantityDiscount, ECurrency("%", decimal128(5)));
      tier.setMinQuantity(decimal128(10));
      a.tiers.push_back(tier);
      c.addArticle(a);
    }
    ETaxRecord vat, reduced;
    std::string error;
    vat.taxClass = "standard";
    reduced.taxClass = "reduced";
    vat.country = reduced.country = "DE";
    vat.parseRate("%", "19", &error);
    reduced.kind = CIT_ReducedTax;
    reduced.parseRate("%", "7", &error);
    c.taxTable.add(vat);
    c.taxTable.add(reduced);
    return c;
  }();
  return c;
}

// Every tenth top-level item is a set of three parts.
Basket generate(int items) {
  Basket b;
  b.id = "bench";
  b.configuration.currency = "EUR";
  b.configuration.taxCountry = "DE";
  b.configuration.priceDate = EDate(2026, 3, 1);
  b.configuration.customerDiscount = ECurrency("%", decimal128(3));
  kelp::bench::Random rng(items);
  int made = 0;
  for (int top = 1; made < items && top <= EPositionNumber::MAX_NUMBER; ++top) {
    BasketItem i;
    i.position = EPositionNumber::top(top);
    i.id = EBasketItemId::create();
    i.articleId = articleId(static_cast<int>(rng.below(kArticles)));
    i.quantity = decimal128(static_cast<long long>(1 + rng.below(20)));
    if (rng.below(2)) i.choices = {{"colour", "blue"}};
    ++made;
    if (top % 10 == 0) {
      for (int k = 1; k <= 3 && made < items; ++k, ++made) {
        BasketItem part;
        part.position = i.position.child(k);
        part.id = EBasketItemId::create();
        part.articleId = articleId(static_cast<int>(rng.below(kArticles)));
        part.quantity = decimal128(static_cast<long long>(1 + rng.below(4)));
        i.children.push_back(part);
      }
    }
    b.items.push_back(i);
  }
  // Beyond 9999 top-level positions, further items go under sets.
  for (int top = 0; made < items; ++top) {
    BasketItem& parent = b.items[static_cast<std::size_t>(top % 9999)];
    BasketItem part;
    part.position = parent.position.child(static_cast<int>(parent.children.size()) + 1);
    part.id = EBasketItemId::create();
    part.articleId = articleId(static_cast<int>(rng.below(kArticles)));
    parent.children.push_back(part);
    ++made;
  }
  b.calcItems.emplace_back(CIT_Freight, ECurrency("EUR", decimal128(25)));
  b.calcItems.back().setTaxClass("standard");
  return b;
}

const Basket& basketOf(int items) {
  static const Basket small = generate(1000), large = generate(100000);
  return items == 1000 ? small : large;
}

void perItem(benchmark::State& state, std::size_t items) {
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * items));
  state.counters["ns/item"] = benchmark::Counter(
      static_cast<double>(state.iterations() * items),
      benchmark::Counter::kIsRate | benchmark::Counter::kInvert, benchmark::Counter::kIs1000);
}

void BM_ReadBasket(benchmark::State& state) {
  const Basket& b = basketOf(static_cast<int>(state.range(0)));
  const std::string text = BasketXml::toString(b);
  for (auto _ : state) {
    Basket read;
    std::string error;
    if (!BasketXml::read(text, &read, &error)) state.SkipWithError(error.c_str());
    benchmark::DoNotOptimize(read);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
  perItem(state, b.countItems());
}

void BM_PriceBasket(benchmark::State& state) {
  const Basket& b = basketOf(static_cast<int>(state.range(0)));
  const Catalogue& c = catalogue();
  for (auto _ : state) {
    PriceResult r = PriceCalculation::calculate(b, c);
    if (!r.isOk()) state.SkipWithError(r.faults[0].message.c_str());
    benchmark::DoNotOptimize(r);
  }
  perItem(state, b.countItems());
}

void BM_WriteBasket(benchmark::State& state) {
  const Basket& b = basketOf(static_cast<int>(state.range(0)));
  std::size_t bytes = 0;
  for (auto _ : state) {
    std::string text = BasketXml::toString(b);
    bytes += text.size();
    benchmark::DoNotOptimize(text);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
  perItem(state, b.countItems());
}

}  // namespace

BENCHMARK(BM_ReadBasket)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PriceBasket)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WriteBasket)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
