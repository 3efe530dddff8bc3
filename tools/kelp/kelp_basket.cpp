// kelp basket: the quote of a basket against a catalogue, the basket's
// check, its update state against a newer catalogue and an empty basket to
// start from. Reading and pricing are the library's (BasketXml,
// CatalogueReader, PriceCalculation); the tool lays the quote out.
#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include <kelp/util/utl_BasketXml.h>
#include <kelp/util/utl_CatalogueReader.h>
#include <kelp/util/utl_Decimal.h>
#include <kelp/util/utl_ECurrency.h>
#include <kelp/util/utl_EDate.h>
#include <kelp/util/utl_Funcs.h>
#include <kelp/util/utl_PriceCalculation.h>
#include <kelp/xml/xml_Writer.h>
#include <vorn/vorn_placeholder.h>
#include <nlohmann/json.hpp>

#include "kelp_tool.h"

namespace {

namespace util = qor::quv::util;
namespace basket = qor::quv::basket;
using kelp::tool::label;
using util::ECurrency;
using util::EDate;

constexpr const char kBasketHelp[] =
    "usage: kelp basket price --catalogue FILE [--date D] [--country CC] [--lang L]\n"
    "                         [--html | --json] BASKET\n"
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
    "  --html         write the quote as an HTML page to send (inline styles,\n"
    "                 laid out for printing on A4)\n"
    "  --json         write the quote as JSON (format \"kelp-quote/1\", described\n"
    "                 in " KELP_DOC_DIR
    "/formats.md); amounts are strings\n"
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
  return kelp::tool::readCatalogue(inv, path, in.catalogue);
}

bool readBasket(kelp::tool::Invocation& inv, const std::string& path, Inputs& in) {
  in.basketFile = kelp::tool::displayName(path);
  std::string data, message;
  if (!kelp::tool::readInput(path, data, message, kelp::tool::kMaxCommerceInput)) {
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

// Fixed words are the quote's language (label); texts of the data (ids,
// names, tax classes) are joined to them, never put into a template, so that
// a '%1' in the data stays as written.
std::string kindLabel(const std::string& lang, basket::CalcItemType type) {
  switch (type) {
    case basket::CIT_CustomerDiscount:
      return label(lang, "customer discount");
    case basket::CIT_ProjectDiscount:
      return label(lang, "project discount");
    case basket::CIT_UnitTax:
      return label(lang, "unit tax");
    default:
      return basket::calcItemTypeName(type);
  }
}

// The quote laid out once, amounts kept as values; the text, HTML and JSON
// forms render it.
struct QuoteLine {
  std::string position, article, name, quantity, unit;
  std::vector<std::pair<std::string, std::string>> choices;  // label, value label
  bool setHeader = false;
  ECurrency unitPrice, net;
  std::string tierLabel;
  ECurrency tierBase, tierAmount;
};

struct QuoteRow {  // a line of the basket as a whole
  basket::CalcItemType kind = basket::CIT_None;
  std::string label, taxClass;
  ECurrency amount;
};

struct QuoteTax {
  basket::CalcItemType kind = basket::CIT_None;
  std::string taxClass, rate, position;  // rate "19 %", empty for a unit tax
  ECurrency base, amount;
};

struct QuoteModel {
  std::string basketId, catalogueId, catalogueVersion, currency, priceDate, taxCountry, lang;
  std::vector<QuoteLine> lines;
  std::vector<QuoteRow> charges;  // before the taxes
  std::vector<QuoteTax> taxes;
  ECurrency net, tax, gross, cashRounding, payable, due;
  bool hasCashRounding = false;
  std::vector<QuoteRow> afterPayable;  // payment discounts (stated), deposits
};

QuoteModel makeModel(const Inputs& in, const basket::PriceResult& r,
                     const basket::PriceConfiguration& cfg, const std::string& lang) {
  const basket::Catalogue& c = in.catalogue.getCatalogue();
  QuoteModel m;
  m.basketId = in.basket.id;
  m.catalogueId = c.id;
  m.catalogueVersion = c.version.formatString();
  m.currency = cfg.currency;
  m.priceDate = cfg.priceDate.formatString();
  m.taxCountry = cfg.taxCountry;
  m.lang = lang;
  for (const basket::ItemPrice& ip : r.items) {
    QuoteLine l;
    const basket::BasketItem* item = in.basket.find(ip.position);
    const basket::Article* a = c.findArticle(ip.articleId);
    l.position = ip.position.formatString();
    l.article = ip.articleId;
    l.name = a ? a->names.get(lang.c_str()) : std::string();
    if (item) {
      l.quantity = util::formatDecimalCString(item->quantity, -1);
      if (l.quantity.size() > 2 && l.quantity.compare(l.quantity.size() - 2, 2, ".0") == 0)
        l.quantity.resize(l.quantity.size() - 2);
      l.unit = item->unit;
    }
    if (item && a)
      for (const basket::BasketItem::ChosenValue& v : item->choices) {
        const basket::Choice* ch = a->findChoice(v.first);
        const basket::ChoiceValue* cv = ch ? ch->findValue(v.second) : nullptr;
        std::string label = ch ? ch->label.get(lang.c_str()) : std::string();
        std::string value = cv ? cv->label.get(lang.c_str()) : std::string();
        l.choices.emplace_back(label.empty() ? v.first : label, value.empty() ? v.second : value);
      }
    l.setHeader = ip.setHeader;
    l.unitPrice = ip.unitPrice;
    l.net = ip.net;
    for (const basket::PriceCalcEntry& e : ip.entries)
      if (e.type == basket::CIT_QuantityDiscount) {
        l.tierLabel = e.label.empty() ? label(lang, "quantity discount") : e.label;
        l.tierBase = e.base;
        l.tierAmount = e.amount;
      }
    m.lines.push_back(std::move(l));
  }
  std::map<std::string, std::size_t> taxIndex;
  bool payableSeen = false;
  for (const basket::PriceCalcEntry& e : r.entries) {
    switch (e.type) {
      case basket::CIT_Tax:
      case basket::CIT_ReducedTax: {
        // The n-th percentage record of a class is the n-th tax line of it.
        const std::size_t n = taxIndex[e.taxClass]++;
        std::string rate;
        std::size_t k = 0;
        for (const basket::ETaxRecord* rec :
             c.taxTable.findAll(e.taxClass, cfg.taxCountry, cfg.priceDate))
          if (rec->weightUnit.empty() && k++ == n) rate = number(rec->rate.amount) + " %";
        m.taxes.push_back(QuoteTax{e.type, e.taxClass, rate, std::string(), e.base, e.amount});
        continue;
      }
      case basket::CIT_UnitTax:
        m.taxes.push_back(QuoteTax{e.type, e.taxClass, std::string(), e.position.formatString(),
                                   ECurrency(), e.amount});
        continue;
      case basket::CIT_NetTotal:
        m.net = e.amount;
        continue;
      case basket::CIT_GrossTotal:
        m.gross = e.amount;
        continue;
      case basket::CIT_CashRounding:
        m.hasCashRounding = true;
        m.cashRounding = e.amount;
        continue;
      default:
        break;
    }
    const bool after = e.type == basket::CIT_PaymentDiscount ||
                       e.type == basket::CIT_PaymentDiscountAbsolute ||
                       e.type == basket::CIT_Deposit;
    payableSeen = payableSeen || after;
    QuoteRow row{e.type, e.label.empty() ? kindLabel(lang, e.type) : e.label, e.taxClass, e.amount};
    (payableSeen ? m.afterPayable : m.charges).push_back(std::move(row));
  }
  m.tax = r.taxTotal;
  m.payable = r.payable;
  m.due = r.due;
  return m;
}

std::string quantityText(const QuoteLine& l) {
  // The quantity as read, in the language's decimal form.
  ktz::decimal::decimal128 q;
  std::string s =
      util::parseDecimalCString(&q, l.quantity.c_str(), nullptr) ? number(q) : l.quantity;
  if (l.unit != "C62" && !l.unit.empty()) s += " " + l.unit;
  return s;
}

class TextQuote {
 public:
  TextQuote(std::FILE* out, const QuoteModel& m) : out_(out), m_(m) {}

  void write() {
    print(label(m_.lang, "quote") + " " + m_.basketId + ", " + label(m_.lang, "catalogue") + " " +
          m_.catalogueId + " " + m_.catalogueVersion + ", " + m_.currency + ", " +
          (label(m_.lang, "price date %1") << m_.priceDate) +
          (m_.taxCountry.empty() ? std::string()
                                 : ", " + label(m_.lang, "tax country") + " " + m_.taxCountry) +
          "\n\n");
    print(padRight(label(m_.lang, "pos"), 6) + padRight(label(m_.lang, "article"), 14) +
          padRight(label(m_.lang, "name"), 30) + padLeft(label(m_.lang, "qty"), 6) +
          padLeft(label(m_.lang, "unit price"), 14) + padLeft(label(m_.lang, "line net"), 14) +
          "\n");
    for (const QuoteLine& l : m_.lines) {
      std::string s = padRight(l.position, 6) + padRight(l.article, 14) + padRight(l.name, 30) +
                      padLeft(quantityText(l), 6);
      if (!l.setHeader) s += padLeft(amount(l.unitPrice), 14) + padLeft(amount(l.net), 14);
      print(s + "\n");
      for (const auto& [label, value] : l.choices) print("      " + label + ": " + value + "\n");
      if (!l.tierLabel.empty())
        line("      " + l.tierLabel + " " + (label(m_.lang, "(line %1)") << amount(l.tierBase)),
             amount(l.tierAmount));
    }
    print("\n");
    for (const QuoteRow& r : m_.charges) row(r);
    if (!m_.taxes.empty()) print(label(m_.lang, "taxes") + "\n");
    for (const QuoteTax& t : m_.taxes) {
      if (t.kind == basket::CIT_UnitTax)
        line("  " + t.taxClass + " " + (label(m_.lang, "unit tax, item %1") << t.position),
             amount(t.amount));
      else
        line("  " + t.taxClass + " " + (label(m_.lang, "%1 of %2") << t.rate << amount(t.base)),
             amount(t.amount));
    }
    line(label(m_.lang, "net"), amount(m_.net));
    line(label(m_.lang, "gross"), amount(m_.gross));
    if (m_.hasCashRounding) line(label(m_.lang, "cash rounding"), amount(m_.cashRounding));
    line(label(m_.lang, "payable"), amount(m_.payable));
    for (const QuoteRow& r : m_.afterPayable) row(r);
    line(label(m_.lang, "due"), amount(m_.due));
  }

 private:
  static constexpr std::size_t kRight = 84;

  void print(const std::string& s) { std::fputs(s.c_str(), out_); }

  void line(const std::string& left, const std::string& value) {
    print(padRight(left, kRight - std::max<std::size_t>(width(value), 14)) + padLeft(value, 14) +
          "\n");
  }

  void row(const QuoteRow& r) {
    if (r.kind == basket::CIT_Text) {
      print("  " + r.label + "\n");
      return;
    }
    std::string text = r.label;
    if (r.kind == basket::CIT_PaymentDiscount || r.kind == basket::CIT_PaymentDiscountAbsolute)
      text += " " + label(m_.lang, "(not deducted)");
    else if (!r.taxClass.empty())
      text += " (" + r.taxClass + ")";
    line("  " + text, amount(r.amount));
  }

  std::FILE* out_;
  const QuoteModel& m_;
};

std::string esc(const std::string& s) {
  return qor::quv::xml::XMLWriter::quoteCharData(s.c_str());
}

class HtmlQuote {
 public:
  HtmlQuote(std::FILE* out, const QuoteModel& m) : out_(out), m_(m) {}

  void write() {
    const std::string title = label(m_.lang, "Quote") + " " + esc(m_.basketId);
    print(kelp::tool::htmlPageStart(m_.lang, title));
    print("<h1>" + title + "</h1>\n<p class=\"meta\">" + label(m_.lang, "Catalogue") + " " +
          esc(m_.catalogueId) + " " + esc(m_.catalogueVersion) + " &middot; " + esc(m_.currency) +
          " &middot; " + (label(m_.lang, "price date %1") << m_.priceDate) +
          (m_.taxCountry.empty()
               ? std::string()
               : " &middot; " + label(m_.lang, "tax country") + " " + esc(m_.taxCountry)) +
          "</p>\n");
    print("<table class=\"lines\">\n<thead><tr><th>" + label(m_.lang, "Pos.") + "</th><th>" +
          label(m_.lang, "Article") + "</th><th>" + label(m_.lang, "Name") +
          "</th><th class=\"num\">" + label(m_.lang, "Qty") + "</th><th class=\"num\">" +
          label(m_.lang, "Unit price") + "</th><th class=\"num\">" + label(m_.lang, "Line net") +
          "</th></tr></thead>\n<tbody>\n");
    for (const QuoteLine& l : m_.lines) {
      std::string name = esc(l.name);
      for (const auto& [label, value] : l.choices)
        name += "<div class=\"choice\">" + esc(label) + ": " + esc(value) + "</div>";
      if (!l.tierLabel.empty())
        name += "<div class=\"choice\">" + esc(l.tierLabel) + " " + amount(l.tierAmount) + "</div>";
      print("<tr><td>" + l.position + "</td><td>" + esc(l.article) + "</td><td>" + name +
            "</td><td class=\"num\">" + esc(quantityText(l)) + "</td><td class=\"num\">" +
            (l.setHeader ? std::string() : amount(l.unitPrice)) + "</td><td class=\"num\">" +
            (l.setHeader ? std::string() : amount(l.net)) + "</td></tr>\n");
    }
    print("</tbody>\n</table>\n");
    if (!m_.charges.empty()) {
      print("<h2>" + label(m_.lang, "Discounts and charges") +
            "</h2>\n<table class=\"charges\">\n<thead><tr><th>" + label(m_.lang, "Line") +
            "</th><th>" + label(m_.lang, "Tax class") + "</th><th class=\"num\">" +
            label(m_.lang, "Amount") + "</th></tr></thead>\n<tbody>\n");
      for (const QuoteRow& r : m_.charges)
        print("<tr><td>" + esc(r.label) + "</td><td>" + esc(r.taxClass) +
              "</td><td class=\"num\">" +
              (r.kind == basket::CIT_Text ? std::string() : amount(r.amount)) + "</td></tr>\n");
      print("</tbody>\n</table>\n");
    }
    if (!m_.taxes.empty()) {
      print("<h2>" + label(m_.lang, "Taxes") + "</h2>\n<table class=\"taxes\">\n<thead><tr><th>" +
            label(m_.lang, "Tax class") + "</th><th>" + label(m_.lang, "Rate") +
            "</th><th class=\"num\">" + label(m_.lang, "Net") + "</th><th class=\"num\">" +
            label(m_.lang, "Tax") + "</th></tr></thead>\n<tbody>\n");
      for (const QuoteTax& t : m_.taxes)
        print("<tr><td>" + esc(t.taxClass) + "</td><td>" +
              (t.kind == basket::CIT_UnitTax ? label(m_.lang, "by weight, item %1") << t.position
                                             : esc(t.rate)) +
              "</td><td class=\"num\">" +
              (t.kind == basket::CIT_UnitTax ? std::string() : amount(t.base)) +
              "</td><td class=\"num\">" + amount(t.amount) + "</td></tr>\n");
      print("</tbody>\n</table>\n");
    }
    print("<table class=\"totals\">\n<tbody>\n");
    total(label(m_.lang, "Net"), m_.net);
    total(label(m_.lang, "Tax"), m_.tax);
    total(label(m_.lang, "Gross"), m_.gross);
    if (m_.hasCashRounding) total(label(m_.lang, "Cash rounding"), m_.cashRounding);
    total(label(m_.lang, "Payable"), m_.payable, m_.afterPayable.empty() ? "grand" : "");
    for (const QuoteRow& r : m_.afterPayable)
      total(r.label + (r.kind == basket::CIT_Deposit ? "" : " " + label(m_.lang, "(not deducted)")),
            r.amount);
    if (!m_.afterPayable.empty()) total(label(m_.lang, "Due"), m_.due, "grand");
    print("</tbody>\n</table>\n</body>\n</html>\n");
  }

 private:
  void print(const std::string& s) { std::fputs(s.c_str(), out_); }
  void total(const std::string& label, const ECurrency& value, const char* cls = "") {
    print(std::string("<tr") + (*cls ? std::string(" class=\"") + cls + "\"" : std::string()) +
          "><th>" + esc(label) + "</th><td class=\"num\">" + amount(value) + " " +
          esc(m_.currency) + "</td></tr>\n");
  }

  std::FILE* out_;
  const QuoteModel& m_;
};

// Amounts in JSON: strings in the classic form with the currency's
// decimals, so that no digit is lost to a binary number.
std::string jsonAmount(const ECurrency& c) {
  if (c.isNull() && c.getUnit().empty()) return "0";
  return util::formatDecimalCString(c.amount, ECurrency::getDefaultFractionDigits(c.unit));
}

nlohmann::ordered_json quoteJson(const QuoteModel& m) {
  nlohmann::ordered_json j;
  j["format"] = "kelp-quote/1";
  j["basket"] = m.basketId;
  j["catalogue"] = {{"id", m.catalogueId}, {"version", m.catalogueVersion}};
  j["currency"] = m.currency;
  j["priceDate"] = m.priceDate;
  j["taxCountry"] = m.taxCountry;
  j["language"] = m.lang;
  j["items"] = nlohmann::ordered_json::array();
  for (const QuoteLine& l : m.lines) {
    nlohmann::ordered_json item = {{"position", l.position}, {"article", l.article},
                                   {"name", l.name},         {"quantity", l.quantity},
                                   {"unit", l.unit},         {"setHeader", l.setHeader}};
    item["choices"] = nlohmann::ordered_json::array();
    for (const auto& [label, value] : l.choices)
      item["choices"].push_back({{"choice", label}, {"value", value}});
    item["unitPrice"] =
        l.setHeader ? nlohmann::ordered_json() : nlohmann::ordered_json(jsonAmount(l.unitPrice));
    item["net"] =
        l.setHeader ? nlohmann::ordered_json() : nlohmann::ordered_json(jsonAmount(l.net));
    if (!l.tierLabel.empty())
      item["quantityDiscount"] = {{"label", l.tierLabel},
                                  {"base", jsonAmount(l.tierBase)},
                                  {"amount", jsonAmount(l.tierAmount)}};
    j["items"].push_back(item);
  }
  auto rows = [](const std::vector<QuoteRow>& v) {
    nlohmann::ordered_json a = nlohmann::ordered_json::array();
    for (const QuoteRow& r : v)
      a.push_back(
          {{"kind", basket::calcItemTypeName(r.kind)},
           {"label", r.label},
           {"taxClass", r.taxClass},
           {"amount", r.kind == basket::CIT_Text ? nlohmann::ordered_json()
                                                 : nlohmann::ordered_json(jsonAmount(r.amount))}});
    return a;
  };
  j["charges"] = rows(m.charges);
  j["taxes"] = nlohmann::ordered_json::array();
  for (const QuoteTax& t : m.taxes) {
    nlohmann::ordered_json tax = {{"kind", basket::calcItemTypeName(t.kind)},
                                  {"taxClass", t.taxClass}};
    if (t.kind == basket::CIT_UnitTax) {
      tax["position"] = t.position;
    } else {
      tax["rate"] = t.rate.empty() ? std::string() : t.rate.substr(0, t.rate.size() - 2);
      tax["base"] = jsonAmount(t.base);
    }
    tax["amount"] = jsonAmount(t.amount);
    j["taxes"].push_back(tax);
  }
  j["totals"] = {
      {"net", jsonAmount(m.net)}, {"tax", jsonAmount(m.tax)}, {"gross", jsonAmount(m.gross)}};
  if (m.hasCashRounding) j["totals"]["cashRounding"] = jsonAmount(m.cashRounding);
  j["totals"]["payable"] = jsonAmount(m.payable);
  j["afterPayable"] = rows(m.afterPayable);
  j["totals"]["due"] = jsonAmount(m.due);
  return j;
}

int runPrice(kelp::tool::Invocation& inv) {
  kelp::tool::ParsedArgs args;
  int status = kelp::tool::kExitOk;
  if (!kelp::tool::parseArgs(inv, 1,
                             {{"catalogue", true},
                              {"date", true},
                              {"country", true},
                              {"lang", true},
                              {"html", false},
                              {"json", false}},
                             args, &status) ||
      !kelp::tool::checkOperands(inv, args, 1, 1, &status))
    return status;
  if (!args.has("catalogue")) return kelp::tool::usageError(inv, "no --catalogue given");
  if (args.has("html") && args.has("json"))
    return kelp::tool::usageError(inv, "--html and --json exclude each other");
  const std::string lang = args.get("lang", "en");
  if (!util::Funcs::isValidLanguageCode(lang))
    return kelp::tool::usageError(inv, "'" + lang + "' is not a language code (two letters a-z)");
  Inputs in;
  if (!readCatalogue(inv, args.get("catalogue"), in) || !readBasket(inv, args.operands[0], in))
    return kelp::tool::kExitFailed;
  basket::PriceConfiguration cfg = in.basket.configuration;
  if (args.has("date") && !parseDate(inv, args.get("date"), &cfg.priceDate, &status)) return status;
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
  if (args.has("json")) {
    // Classic numbers whatever the language: the JSON form is for programs.
    const QuoteModel m = makeModel(in, r, cfg, lang);
    std::fputs((quoteJson(m).dump(2) + "\n").c_str(), inv.out);
    return kelp::tool::kExitOk;
  }
  kelp::tool::GlobalLocale numbers(kelp::tool::numberLocale(lang));
  const QuoteModel m = makeModel(in, r, cfg, lang);
  if (args.has("html"))
    HtmlQuote(inv.out, m).write();
  else
    TextQuote(inv.out, m).write();
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
                 item ? item->articleId.c_str() : "", util::Funcs::tarnUpdateStateToString(state));
    invalid = invalid || state == basket::TarnUpdateState::Invalid;
  }
  return invalid ? kelp::tool::kExitFailed : kelp::tool::kExitOk;
}

int runNew(kelp::tool::Invocation& inv) {
  kelp::tool::ParsedArgs args;
  int status = kelp::tool::kExitOk;
  if (!kelp::tool::parseArgs(
          inv, 1, {{"catalogue", true}, {"currency", true}, {"date", true}, {"country", true}},
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
    cfg.priceDate = kelp::tool::today();
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
