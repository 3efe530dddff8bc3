// BasketXml::read: an accepted basket writes and reads back equal, and is
// priced against a small catalogue without crashing; a refused one has a
// message and leaves the basket alone.
#include <kelp/util/utl_BasketXml.h>
#include <kelp/util/utl_PriceCalculation.h>

#include <cstdint>
#include <cstdlib>
#include <string>

using namespace qor::quv::basket;
using qor::quv::util::ECurrency;

namespace {
void check(bool condition) {
  if (!condition) std::abort();
}

const Catalogue& catalogue() {
  static const Catalogue c = [] {
    Catalogue c;
    Article a;
    a.id = "A";
    a.taxClass = "standard";
    ArticlePrice p;
    p.base = ECurrency("EUR", ktz::decimal::decimal128(1999) / ktz::decimal::decimal128(100));
    p.calcItems.emplace_back(CIT_PercentDiscount, ECurrency("%", ktz::decimal::decimal128(10)));
    a.prices.push_back(p);
    a.weight = ktz::decimal::decimal64(2);
    a.weightUnit = "LBR";
    c.addArticle(a);
    Article set;
    set.id = "SET";
    c.addArticle(set);
    ETaxRecord vat, levy;
    std::string error;
    vat.taxClass = levy.taxClass = "standard";
    vat.country = levy.country = "DE";
    vat.parseRate("%", "19", &error);
    levy.parseRate("EUR/KGM", "0.2", &error);
    c.taxTable.add(vat);
    c.taxTable.add(levy);
    return c;
  }();
  return c;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 65536) return 0;
  const std::string text(reinterpret_cast<const char*>(data), size);
  Basket b;
  b.id = "untouched";
  std::string error;
  int line = -1;
  if (!BasketXml::read(text, &b, &error, &line)) {
    check(!error.empty() && line >= 0);
    check(b.id == "untouched");
    return 0;
  }
  const std::string written = BasketXml::toString(b);
  Basket back;
  check(BasketXml::read(written, &back, &error, &line));
  check(back == b);
  const PriceResult r = PriceCalculation::calculate(b, catalogue());
  if (r.isOk()) check(r.due.isValid());
  PriceCalculation::checkUpdates(b, catalogue());
  return 0;
}
