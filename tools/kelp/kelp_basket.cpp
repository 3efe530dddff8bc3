// kelp basket: the quote of a basket against a catalogue, the basket's
// check, its update state against a newer catalogue and an empty basket to
// start from. Reading and pricing are the library's (BasketXml,
// CatalogueReader, PriceCalculation); the tool lays the quote out.
#include <algorithm>
#include <ctime>
#include <string>
#include <vector>

#include <kelp/util/utl_BasketXml.h>
#include <kelp/util/utl_CatalogueReader.h>
#include <kelp/util/utl_Decimal.h>
#include <kelp/util/utl_ECurrency.h>
#include <kelp/util/utl_EDate.h>
#include <kelp/util/utl_Funcs.h>
#include <kelp/util/utl_PriceCalculation.h>

#include "kelp_tool.h"

namespace {

namespace util = qor::quv::util;
namespace basket = qor::quv::basket;
using util::ECurrency;
using util::EDate;

constexpr const char kBasketHelp[] =
    "usage: kelp basket price --catalogue FILE [--date D] [--country CC] [--lang L] BASKET\n"
    "       kelp basket check BASKET\n"
    "       kelp basket update --catalogue FILE BASKET\n"
    "       kelp basket new --catalogue FILE [--currency C] [--date D] [--country CC]\n"
    "\n"
    "price prints the quote of the basket file BASKET ('-' reads standard\n"
    "input) against the catalogue FILE: every line with its position,\n"
    "article, name, chosen values, quantity, unit price and line net; the\n"
    "lines of the basket as a whole (discounts, freight ...); the taxes of\n"
    "each tax class and rate; the net and gross totals, the payable amount\n"
    "and the amount due. The basket format is described in " KELP_DOC_DIR
    "/formats.md.\n"
    "\n"
    "  --date D       price on the date D (YYYY-MM-DD) instead of the basket's\n"
    "  --country CC   apply the taxes of the country CC instead of the basket's\n"
    "  --lang L       names in the language L and numbers in its form\n"
    "                 (1,234.56 en; 1.234,56 de; 1 234,56 fr); default en\n"
    "\n"
    "A basket that cannot be priced gets no totals: each fault is reported\n"
    "as 'file:line: item 2.1: message' and the exit status is 1.\n"
    "\n"
    "check reads the basket and prints its id, currency and number of items,\n"
    "or 'file:line: message' and status 1. update prints the update state of\n"
    "every item against the catalogue (@Up2Date, @Updatable, @Migratable,\n"
    "@Invalid) and exits with 1 when any item is invalid. new writes an empty\n"
    "basket for the catalogue (its first currency, today's date unless --date)\n"
    "to start one by hand.\n";

// ---------------------------------------------------------------------------
// Inputs.

struct Inputs {
  std::string catalogueFile, basketFile;
  basket::CatalogueReader catalogue{nullptr};
  basket::Basket basket;
};

bool readCatalogue(kelp::tool::Invocation& inv, const std::string& path, Inputs& in) {
  in.catalogue = basket::CatalogueReader(inv.app);
  in.catalogueFile = kelp::tool::displayName(path);
  std::string data, message;
  if (!kelp::tool::readInput(path, data, message)) {
    kelp::tool::reportAt(inv, in.catalogueFile, 0, message);
    return false;
  }
  const bool read = in.catalogue.read(data, in.catalogueFile);
  for (const basket::CatalogueFault& f : in.catalogue.getFaults())
    kelp::tool::reportAt(inv, in.catalogueFile, f.line, f.message);
  if (!read)
    kelp::tool::reportAt(inv, in.catalogueFile, in.catalogue.getFatalLine(),
                         in.catalogue.getFatalMessage());
  return read;
}

bool readBasket(kelp::tool::Invocation& inv, const std::string& path, Inputs& in) {
  in.basketFile = kelp::tool::displayName(path);
  std::string data, message;
  if (!kelp::tool::readInput(path, data, message)) {
    kelp::tool::reportAt(inv, in.basketFile, 0, message);
    return false;
  }
  int line = 0;
  if (!basket::BasketXml::read(data, &in.basket, &message, &line)) {
    kelp::tool::reportAt(inv, in.basketFile, line, message);
    return false;
  }
  return true;
}

bool parseDate(const kelp::tool::Invocation& inv, const std::string& text, EDate* out,
               int* status) {
  if (out->parseString(text.c_str(), nullptr) && out->isValid()) return true;
  *status = kelp::tool::usageError(inv, "'" + text + "' is not a date (YYYY-MM-DD)");
  return false;
}

// The line of each item, by position, for messages.
void collectLines(const std::vector<basket::BasketItem>& items,
                  std::vector<std::pair<basket::EPositionNumber, int>>* out) {
  for (const basket::BasketItem& i : items) {
    out->emplace_back(i.position, i.line);
    collectLines(i.children, out);
  }
}

// ---------------------------------------------------------------------------
// The quote as text.

std::string amount(const ECurrency& c) {
  return util::formatDecimalString(c.amount, ECurrency::getDefaultFractionDigits(c.unit));
}

std::string number(const ktz::decimal::decimal128& d) {
  return util::formatDecimalString(d, 0, 12);
}

// Display width of UTF-8 text: one column per character.
std::size_t width(const std::string& s) {
  std::size_t n = 0;
  for (unsigned char c : s) n += (c & 0xC0) != 0x80;
  return n;
}

std::string padRight(const std::string& s, std::size_t w) {
  const std::size_t n = width(s);
  return n >= w ? s : s + std::string(w - n, ' ');
}

std::string padLeft(const std::string& s, std::size_t w) {
  const std::size_t n = width(s);
  return n >= w ? s : std::string(w - n, ' ') + s;
}

const char* kindLabel(basket::CalcItemType type) {
  switch (type) {
    case basket::CIT_CustomerDiscount:
      return "customer discount";
    case basket::CIT_ProjectDiscount:
      return "project discount";
    case basket::CIT_UnitTax:
      return "unit tax";
    default:
      return basket::calcItemTypeName(type);
  }
}

class Quote {
 public:
  Quote(kelp::tool::Invocation& inv, const Inputs& in, const basket::PriceResult& r,
        const basket::PriceConfiguration& cfg, const std::string& lang)
      : inv_(inv), in_(in), r_(r), cfg_(cfg), lang_(lang) {}

  void write() {
    const basket::Catalogue& c = in_.catalogue.getCatalogue();
    print("quote " + in_.basket.id + ", catalogue " + c.id + " " + c.version.formatString() +
          ", " + cfg_.currency + ", price date " + cfg_.priceDate.formatString() +
          (cfg_.taxCountry.empty() ? std::string() : ", tax country " + cfg_.taxCountry) + "\n\n");
    print(padRight("pos", 6) + padRight("article", 14) + padRight("name", 30) + padLeft("qty", 6) +
          padLeft("unit price", 14) + padLeft("line net", 14) + "\n");
    for (const basket::ItemPrice& ip : r_.items) writeItem(ip);
    print("\n");
    for (const basket::PriceCalcEntry& e : r_.entries) writeEntry(e);
    if (!payableShown_) line("payable", amount(r_.payable));
    line("due", amount(r_.due));
  }

 private:
  static constexpr std::size_t kRight = 84;

  void print(const std::string& s) { std::fputs(s.c_str(), inv_.out); }

  void line(const std::string& left, const std::string& value) {
    print(padRight(left, kRight - std::max<std::size_t>(width(value), 14)) +
          padLeft(value, 14) + "\n");
  }

  void writeItem(const basket::ItemPrice& ip) {
    const basket::BasketItem* item = in_.basket.find(ip.position);
    const basket::Article* a = in_.catalogue.getCatalogue().findArticle(ip.articleId);
    const std::string name = a ? a->names.get(lang_.c_str()) : std::string();
    std::string qty = item ? number(item->quantity) : std::string();
    if (item && item->unit != "C62") qty += " " + item->unit;
    std::string s = padRight(ip.position.formatString(), 6) + padRight(ip.articleId, 14) +
                    padRight(name, 30) + padLeft(qty, 6);
    if (!ip.setHeader) s += padLeft(amount(ip.unitPrice), 14) + padLeft(amount(ip.net), 14);
    print(s + "\n");
    if (item && a)
      for (const basket::BasketItem::ChosenValue& v : item->choices) {
        const basket::Choice* ch = a->findChoice(v.first);
        const basket::ChoiceValue* cv = ch ? ch->findValue(v.second) : nullptr;
        std::string label = ch ? ch->label.get(lang_.c_str()) : std::string();
        std::string value = cv ? cv->label.get(lang_.c_str()) : std::string();
        print("      " + (label.empty() ? v.first : label) + ": " +
              (value.empty() ? v.second : value) + "\n");
      }
    // The quantity discount of the line, stated under it.
    for (const basket::PriceCalcEntry& e : ip.entries)
      if (e.type == basket::CIT_QuantityDiscount)
        line("      " + (e.label.empty() ? std::string("quantity discount") : e.label) +
                 " (line " + amount(e.base) + ")",
             amount(e.amount));
  }

  // The rate of the n-th percentage record of a class, as the calculation
  // applied them (in the tax table's order).
  std::string rateOf(const std::string& taxClass, std::size_t n) const {
    const auto records = in_.catalogue.getCatalogue().taxTable.findAll(
        taxClass, cfg_.taxCountry, cfg_.priceDate);
    std::size_t k = 0;
    for (const basket::ETaxRecord* rec : records) {
      if (!rec->weightUnit.empty()) continue;
      if (k++ == n) return number(rec->rate.amount) + " %";
    }
    return std::string();
  }

  void writeEntry(const basket::PriceCalcEntry& e) {
    switch (e.type) {
      case basket::CIT_Tax:
      case basket::CIT_ReducedTax: {
        if (!taxesShown_) print("taxes\n");
        taxesShown_ = true;
        const std::size_t n = taxIndex_[e.taxClass]++;
        line("  " + e.taxClass + " " + rateOf(e.taxClass, n) + " of " + amount(e.base),
             amount(e.amount));
        return;
      }
      case basket::CIT_UnitTax: {
        if (!taxesShown_) print("taxes\n");
        taxesShown_ = true;
        line("  " + e.taxClass + " unit tax, item " + e.position.formatString(), amount(e.amount));
        return;
      }
      case basket::CIT_NetTotal:
        line("net", amount(e.amount));
        return;
      case basket::CIT_GrossTotal:
        line("gross", amount(e.amount));
        return;
      case basket::CIT_CashRounding:
        line("cash rounding", amount(e.amount));
        return;
      case basket::CIT_Text:
        print("  " + e.label + "\n");
        return;
      default:
        break;
    }
    std::string label = e.label.empty() ? kindLabel(e.type) : e.label;
    const bool afterPayable = e.type == basket::CIT_PaymentDiscount ||
                              e.type == basket::CIT_PaymentDiscountAbsolute ||
                              e.type == basket::CIT_Deposit;
    if (afterPayable && !payableShown_) {
      line("payable", amount(r_.payable));
      payableShown_ = true;
    }
    if (e.type == basket::CIT_PaymentDiscount || e.type == basket::CIT_PaymentDiscountAbsolute) {
      line("  " + label + " (not deducted)", amount(e.amount));
      return;
    }
    if (!e.taxClass.empty()) label += " (" + e.taxClass + ")";
    line("  " + label, amount(e.amount));
  }

  kelp::tool::Invocation& inv_;
  const Inputs& in_;
  const basket::PriceResult& r_;
  const basket::PriceConfiguration& cfg_;
  std::string lang_;
  bool taxesShown_ = false;
  bool payableShown_ = false;
  std::map<std::string, std::size_t> taxIndex_;
};

int runPrice(kelp::tool::Invocation& inv) {
  kelp::tool::ParsedArgs args;
  int status = kelp::tool::kExitOk;
  if (!kelp::tool::parseArgs(inv, 1,
                             {{"catalogue", true}, {"date", true}, {"country", true}, {"lang", true}},
                             args, &status) ||
      !kelp::tool::checkOperands(inv, args, 1, 1, &status))
    return status;
  if (!args.has("catalogue")) return kelp::tool::usageError(inv, "no --catalogue given");
  const std::string lang = args.get("lang", "en");
  if (!util::Funcs::isValidLanguageCode(lang))
    return kelp::tool::usageError(inv, "'" + lang + "' is not a language code (two letters a-z)");
  Inputs in;
  if (!readCatalogue(inv, args.get("catalogue"), in) || !readBasket(inv, args.operands[0], in))
    return kelp::tool::kExitFailed;
  basket::PriceConfiguration cfg = in.basket.configuration;
  if (args.has("date") && !parseDate(inv, args.get("date"), &cfg.priceDate, &status))
    return status;
  if (args.has("country")) {
    cfg.taxCountry = args.get("country");
    if (!util::Funcs::isValidCountryCode(cfg.taxCountry))
      return kelp::tool::usageError(inv, "'" + cfg.taxCountry + "' is not a country code");
  }
  const basket::PriceResult r =
      basket::PriceCalculation::calculate(in.basket, in.catalogue.getCatalogue(), cfg);
  if (!r.isOk()) {
    std::vector<std::pair<basket::EPositionNumber, int>> lines;
    collectLines(in.basket.items, &lines);
    for (const basket::PriceFault& f : r.faults) {
      if (f.position.isNull()) {
        kelp::tool::reportAt(inv, in.basketFile, 0, "basket: " + f.message);
        continue;
      }
      int line = 0;
      for (const auto& [pos, l] : lines)
        if (pos == f.position) line = l;
      kelp::tool::reportAt(inv, in.basketFile, line,
                           "item " + f.position.formatString() + ": " + f.message);
    }
    return kelp::tool::kExitFailed;
  }
  kelp::tool::GlobalLocale numbers(kelp::tool::numberLocale(lang));
  Quote(inv, in, r, cfg, lang).write();
  return kelp::tool::kExitOk;
}

int runCheck(kelp::tool::Invocation& inv) {
  kelp::tool::ParsedArgs args;
  int status = kelp::tool::kExitOk;
  if (!kelp::tool::parseArgs(inv, 1, {}, args, &status) ||
      !kelp::tool::checkOperands(inv, args, 1, 1, &status))
    return status;
  Inputs in;
  if (!readBasket(inv, args.operands[0], in)) return kelp::tool::kExitFailed;
  std::fprintf(inv.out, "%s: basket '%s', %s, %zu items, %zu basket calc items\n",
               in.basketFile.c_str(), in.basket.id.c_str(),
               in.basket.configuration.currency.c_str(), in.basket.countItems(),
               in.basket.calcItems.size());
  return kelp::tool::kExitOk;
}

int runUpdate(kelp::tool::Invocation& inv) {
  kelp::tool::ParsedArgs args;
  int status = kelp::tool::kExitOk;
  if (!kelp::tool::parseArgs(inv, 1, {{"catalogue", true}}, args, &status) ||
      !kelp::tool::checkOperands(inv, args, 1, 1, &status))
    return status;
  if (!args.has("catalogue")) return kelp::tool::usageError(inv, "no --catalogue given");
  Inputs in;
  if (!readCatalogue(inv, args.get("catalogue"), in) || !readBasket(inv, args.operands[0], in))
    return kelp::tool::kExitFailed;
  bool invalid = false;
  for (const auto& [pos, state] :
       basket::PriceCalculation::checkUpdates(in.basket, in.catalogue.getCatalogue())) {
    const basket::BasketItem* item = in.basket.find(pos);
    std::fprintf(inv.out, "%-6s %-14s %s\n", pos.formatString().c_str(),
                 item ? item->articleId.c_str() : "",
                 util::Funcs::tarnUpdateStateToString(state));
    invalid = invalid || state == basket::TarnUpdateState::Invalid;
  }
  return invalid ? kelp::tool::kExitFailed : kelp::tool::kExitOk;
}

int runNew(kelp::tool::Invocation& inv) {
  kelp::tool::ParsedArgs args;
  int status = kelp::tool::kExitOk;
  if (!kelp::tool::parseArgs(inv, 1,
                             {{"catalogue", true}, {"currency", true}, {"date", true},
                              {"country", true}},
                             args, &status) ||
      !kelp::tool::checkOperands(inv, args, 0, 0, &status))
    return status;
  if (!args.has("catalogue")) return kelp::tool::usageError(inv, "no --catalogue given");
  Inputs in;
  if (!readCatalogue(inv, args.get("catalogue"), in)) return kelp::tool::kExitFailed;
  const basket::Catalogue& c = in.catalogue.getCatalogue();
  basket::Basket b;
  b.id = "new";
  b.catalogueId = c.id;
  b.catalogueVersion = c.version;
  basket::PriceConfiguration& cfg = b.configuration;
  cfg.currency = args.get("currency", c.currencies.empty() ? "EUR" : c.currencies.front());
  if (std::find(c.currencies.begin(), c.currencies.end(), cfg.currency) == c.currencies.end())
    return kelp::tool::usageError(inv, "the catalogue has no prices in '" + cfg.currency + "'");
  if (args.has("date")) {
    if (!parseDate(inv, args.get("date"), &cfg.priceDate, &status)) return status;
  } else {
    const std::time_t now = std::time(nullptr);
    std::tm tm{};
    gmtime_r(&now, &tm);
    cfg.priceDate = EDate(tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday);
  }
  cfg.taxCountry = args.get("country");
  if (!cfg.taxCountry.empty() && !util::Funcs::isValidCountryCode(cfg.taxCountry))
    return kelp::tool::usageError(inv, "'" + cfg.taxCountry + "' is not a country code");
  std::fputs(basket::BasketXml::toString(b).c_str(), inv.out);
  return kelp::tool::kExitOk;
}

int run(kelp::tool::Invocation& inv) {
  return kelp::tool::dispatch(
      inv, {{"price", runPrice}, {"check", runCheck}, {"update", runUpdate}, {"new", runNew}});
}

const kelp::tool::Family kBasket{"basket", "baskets: quotes, checks, update states, new baskets",
                                 kBasketHelp, run};
const kelp::tool::Registration reg(kBasket);

}  // namespace
