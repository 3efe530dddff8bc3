// kelp catalogue: the report of a catalogue file (samples/README.md
// describes the format). The library's CatalogueReader reads and checks the
// file; the tool reports its faults as "file:line: message" and writes the
// valid articles, their prices and the totals as text or HTML.
#include <locale>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <kelp/host_locale.h>
#include <kelp/layout/lo_Document.h>
#include <kelp/layout/lo_HtmlFmt.h>
#include <kelp/layout/lo_Utf8PlainTextFmt.h>
#include <kelp/layout/lo_XHtmlReader.h>
#include <kelp/util/utl_CatalogueReader.h>
#include <kelp/util/utl_Decimal.h>
#include <kelp/util/utl_ECurrency.h>
#include <kelp/util/utl_EDate.h>
#include <kelp/util/utl_Funcs.h>
#include <kelp/util/utl_TrStrSet.h>
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <kelp/xml/xml_Writer.h>
#include <vorn/vorn_placeholder.h>
#include <nlohmann/json.hpp>

#include "kelp_tool.h"

namespace {

namespace util = qor::quv::util;
namespace sax = qor::quv::xml::sax;
namespace layout = qor::quv::layout;
namespace fw = qor::quv::fw;
namespace basket = qor::quv::basket;
using util::ECurrency;
using util::EDate;
using util::TrStrSet;

constexpr const char kCatalogueHelp[] =
    "usage: kelp catalogue report [--lang L] [--html | --json] [--strict] [--date YYYY-MM-DD]\n"
    "                             FILE\n"
    "\n"
    "Prints a report of the catalogue FILE ('-' reads standard input): the\n"
    "catalogue's id, data version and validity, then every article with its\n"
    "name, description and prices, and at the end the total of the prices in\n"
    "each currency. The format of the file is described in\n" KELP_DOC_DIR
    "/formats.md.\n"
    "\n"
    "Names and descriptions are shown in the language L (two lower-case\n"
    "letters); when an article has none in L, the catalogue's own language is\n"
    "used, then the text without a language. Without --lang the language of\n"
    "the user's locale (LC_ALL, LC_MESSAGES, LANG) is used, 'en' by default.\n"
    "Numbers follow L, whatever the machine's locale: 1,234.56 for en and\n"
    "other languages, 1.234,56 for de, 1 234,56 for fr.\n"
    "\n"
    "A price is its base amount with the surcharges and discounts of its\n"
    "<price> element applied in document order, in decimal arithmetic, then\n"
    "rounded half away from zero to the currency's customary decimals (JPY 0,\n"
    "EUR 2, KWD 3 ...). The totals add the rounded prices. Amounts are exact\n"
    "or an error: a value of more than 34 significant digits, or a price that\n"
    "cannot be computed exactly, is a fault of its article; a total that is\n"
    "too large is reported, left out and ends the run with status 1.\n"
    "\n"
    "  --lang L     the language of names, descriptions and numbers\n"
    "  --html       write an HTML page instead of text: self-contained, amounts\n"
    "               in columns, laid out for A4 with one article per page\n"
    "  --json       write the report as JSON (format \"kelp-catalogue-report/1\";\n"
    "               amounts as strings)\n"
    "  --date D     list and count only the articles valid on the date D\n"
    "  --strict     exit with 1 when any article was invalid\n"
    "\n"
    "An invalid article is reported on standard error as 'file:line: message'\n"
    "for each fault found in it and left out of the report; a count of the\n"
    "invalid articles follows at the end. The exit status is 0 all the same,\n"
    "unless --strict is given. Malformed XML, a missing file or a fault in the\n"
    "<catalogue> element itself end the run with 'file:line: message' and\n"
    "status 1, and so does a FILE larger than 256 MiB.\n";

// ---------------------------------------------------------------------------
// Text helpers.

std::string htmlEscaped(const std::string& s) {
  return qor::quv::xml::XMLWriter::quoteCharData(s.c_str());
}

// A description page (one reference for the caller), or null.
layout::Document* parseDescription(fw::IApplication* app, const std::string& page) {
  std::istringstream in(page);
  sax::ISInputSource source("", "description", &in, false);
  layout::XHtmlReader reader(app);
  layout::Document* doc = nullptr;
  return reader.parse(&source, &doc) ? doc : nullptr;
}

// ---------------------------------------------------------------------------
// The report.

std::string amountText(const ECurrency& c) {
  return util::formatDecimalString(c.amount, ECurrency::getDefaultFractionDigits(c.unit));
}

// The base amount as written (at least the customary decimals).
std::string baseText(const ECurrency& c) {
  return util::formatDecimalString(c.amount, ECurrency::getDefaultFractionDigits(c.unit), 12);
}

std::string stepsText(const basket::ArticlePrice& p) {
  std::string s = baseText(p.base);
  for (const basket::PriceCalcItem& step : p.calcItems) {
    const bool off = step.getType() != basket::CIT_PercentSurcharge;
    s += std::string(off ? " -" : " +");
    if (step.getValue().isRelative())
      s += util::formatDecimalString(step.getValue().amount, 0, 12) + " %";
    else
      s += baseText(step.getValue());
  }
  return s;
}

using kelp::tool::label;

std::string articlesCount(const std::string& lang, int n) {
  std::string s = n == 1 ? label(lang, "%1 article") : label(lang, "%1 articles");
  return s << n;
}

struct Total {
  ECurrency sum;
  int count = 0;
  std::string problem;  // why the sum is not exact, "" when it is
};

class Report {
 public:
  Report(const kelp::tool::Invocation& inv, const basket::CatalogueReader& data,
         const std::string& lang, bool html, const EDate* date)
      : inv_(inv),
        data_(data),
        lang_(lang),
        html_(html),
        date_(date),
        locale_(kelp::host::Locale::create()) {
    // The fallback of the names: the wanted language, then the catalogue's.
    locale_->setLanguage(lang);
    locale_->setCatalogLanguages({lang, data.getCatalogue().lang});
  }

  // False when a total could not be computed exactly: it is reported and
  // left out of the totals.
  bool write() {
    const basket::Catalogue& c = data_.getCatalogue();
    std::vector<const basket::Article*> shown;
    for (const basket::Article& a : c.getArticles())
      if (!date_ || (a.validFrom <= *date_ && *date_ <= a.validUntil)) shown.push_back(&a);
    std::map<std::string, Total> totals;
    for (const basket::Article* a : shown) {
      for (const basket::ArticlePrice& p : a->prices) {
        Total& t = totals[p.base.getUnit()];
        const ECurrency value = p.evaluate();
        util::DecimalExactness exact;
        t.sum = t.sum + value;
        if (!exact.exact() && t.problem.empty()) t.problem = exact.problem();
        ++t.count;
      }
    }
    bool exact = true;
    std::string header = label(lang_, "data version %1, valid %2 to %3, language %4");
    header << c.version.formatString() << c.validFrom.formatString() << c.validUntil.formatString()
           << lang_;
    std::string leftOut;
    if (date_) {
      std::string on = label(lang_, ", articles valid on %1");
      header += on << date_->formatString();
      leftOut = label(lang_, "%1 not valid on %2");
      leftOut << articlesCount(lang_, static_cast<int>(c.getArticles().size() - shown.size()))
              << date_->formatString();
    }
    if (html_) {
      std::string title = label(lang_, "Catalogue %1");
      title << htmlEscaped(c.id);
      print(kelp::tool::htmlPageStart(lang_, title));
      print("<h1>" + title + "</h1>\n<p class=\"meta\">" + htmlEscaped(header) + "</p>\n");
    } else {
      std::string title = label(lang_, "catalogue %1");
      print((title << c.id) + ", " + header + "\n");
    }
    for (const basket::Article* a : shown) writeArticle(*a);
    if (html_) {
      print("<h2>" + label(lang_, "Totals") + "</h2>\n<table class=\"totals\">\n<thead><tr><th>" +
            label(lang_, "Currency") + "</th><th class=\"num\">" + label(lang_, "Price") +
            "</th><th class=\"num\">" + label(lang_, "Articles") + "</th></tr></thead>\n<tbody>\n");
    } else {
      print("\n" + label(lang_, "totals") + "\n");
    }
    for (const std::string& code : c.currencies) {
      auto it = totals.find(code);
      if (it == totals.end()) continue;
      const Total& t = it->second;
      if (!t.problem.empty()) {
        kelp::tool::failure(inv_, "the total in " + code + " cannot be computed: it " + t.problem);
        exact = false;
        continue;
      }
      if (html_)
        print("<tr><td>" + code + "</td><td class=\"num\">" + amountText(t.sum) +
              "</td><td class=\"num\">" + std::to_string(t.count) + "</td></tr>\n");
      else
        print("  " + code + " " + amountText(t.sum) + " (" + articlesCount(lang_, t.count) + ")\n");
    }
    if (html_) {
      print("</tbody>\n</table>\n");
      if (!leftOut.empty()) print("<p>" + leftOut + "</p>\n");
      print("</body>\n</html>\n");
    } else if (!leftOut.empty()) {
      print("  " + leftOut + "\n");
    }
    return exact;
  }

 private:
  void print(const std::string& s) { std::fputs(s.c_str(), inv_.out); }

  std::string validityText(const basket::Article& a) const {
    std::string s = label(lang_, "valid %1 to %2");
    s << a.validFrom.formatString() << a.validUntil.formatString();
    if (!a.version.isNull()) {
      std::string version = label(lang_, ", data version %1");
      s += version << a.version.formatString();
    }
    return s;
  }

  void writeArticle(const basket::Article& a) {
    auto* locale = static_cast<fw::ILocale*>(locale_.get());
    std::string name = a.names.getSet()->get(locale, TrStrSet::TC_CATALOG).str();
    util::PString page = a.descriptions.getSet()
                             ? a.descriptions.getSet()->get(locale, TrStrSet::TC_CATALOG)
                             : util::PString();
    std::string description;
    if (!page.isNull()) {
      // The plain-text formatter writes one byte per character (ISO-8859-1),
      // so beyond U+00FF the text shows "?".
      if (layout::Document* doc = parseDescription(inv_.app, page.str())) {
        if (html_)
          description = layout::HtmlFmt(inv_.app, doc).str();
        else
          description = layout::Utf8PlainTextFmt(inv_.app, doc).str();
        doc->release();
      }
    }
    if (html_) {
      print("<section class=\"article\">\n<h2>" + htmlEscaped(a.id) + " " + htmlEscaped(name) +
            "</h2>\n<p class=\"meta\">" + validityText(a) + "</p>\n");
      if (!description.empty()) print("<div class=\"description\">\n" + description + "</div>\n");
      print("<table>\n<thead><tr><th>" + label(lang_, "Currency") + "</th><th class=\"num\">" +
            label(lang_, "Price") + "</th><th class=\"num\">" + label(lang_, "Computed from") +
            "</th></tr></thead>\n<tbody>\n");
      for (const basket::ArticlePrice& p : a.prices)
        print("<tr><td>" + p.base.getUnit() + "</td><td class=\"num\">" + amountText(p.evaluate()) +
              "</td><td class=\"num\">" + (p.calcItems.empty() ? std::string() : stepsText(p)) +
              "</td></tr>\n");
      print("</tbody>\n</table>\n</section>\n");
      return;
    }
    print("\n" + a.id + "  " + name + "\n  " + validityText(a) + "\n");
    // The description indented under the article, without empty lines.
    std::istringstream lines(description);
    std::string line;
    while (std::getline(lines, line))
      if (!line.empty()) print("  | " + line + "\n");
    for (const basket::ArticlePrice& p : a.prices) {
      std::string s = "  " + p.base.getUnit() + " " + amountText(p.evaluate());
      if (!p.calcItems.empty()) s += "  (" + stepsText(p) + ")";
      print(s + "\n");
    }
  }

  const kelp::tool::Invocation& inv_;
  const basket::CatalogueReader& data_;
  std::string lang_;
  bool html_;
  const EDate* date_;
  zob::Ref<kelp::host::Locale> locale_;
};

// The report as JSON ("kelp-catalogue-report/1", described in the format
// document): the same articles and totals, amounts as strings in the
// classic form so that no digit is lost, names in the report's language.
void writeJson(const kelp::tool::Invocation& inv, const basket::CatalogueReader& data,
               const std::string& lang, const EDate* date) {
  using json = nlohmann::ordered_json;
  // The classic locale: "." and no grouping, whatever the user's locale.
  kelp::tool::GlobalLocale classic(std::locale::classic());
  const basket::Catalogue& c = data.getCatalogue();
  auto money = [](const ECurrency& v) {
    return util::formatDecimalCString(v.amount, ECurrency::getDefaultFractionDigits(v.unit));
  };
  json j;
  j["format"] = "kelp-catalogue-report/1";
  j["catalogue"] = {{"id", c.id},
                    {"version", c.version.formatString()},
                    {"validFrom", c.validFrom.formatString()},
                    {"validUntil", c.validUntil.formatString()},
                    {"language", c.lang}};
  j["language"] = lang;
  j["date"] = date ? json(date->formatString()) : json();
  j["articles"] = json::array();
  std::map<std::string, std::pair<ECurrency, int>> totals;
  for (const basket::Article& a : c.getArticles()) {
    if (date && !(a.validFrom <= *date && *date <= a.validUntil)) continue;
    std::string name = a.names.get(lang.c_str());
    if (!a.names.has(lang.c_str()) && a.names.has(c.lang.c_str()))
      name = a.names.get(c.lang.c_str());
    json article = {{"id", a.id},
                    {"name", name},
                    {"version", a.version.isNull() ? json() : json(a.version.formatString())},
                    {"validFrom", a.validFrom.formatString()},
                    {"validUntil", a.validUntil.formatString()}};
    article["prices"] = json::array();
    for (const basket::ArticlePrice& p : a.prices) {
      const ECurrency price = p.evaluate();
      auto& t = totals[p.base.getUnit()];
      t.first = t.first + price;
      ++t.second;
      json steps = json::array();
      for (const basket::PriceCalcItem& step : p.calcItems)
        steps.push_back({{"kind", basket::calcItemTypeName(step.getType())},
                         {"value", util::formatDecimalString(step.getValue().amount, 0, 12)},
                         {"unit", step.getValue().getUnit()}});
      article["prices"].push_back({{"currency", p.base.getUnit()},
                                   {"price", money(price)},
                                   {"base", baseText(p.base)},
                                   {"steps", steps}});
    }
    j["articles"].push_back(article);
  }
  j["totals"] = json::array();
  for (const std::string& code : c.currencies) {
    auto it = totals.find(code);
    if (it == totals.end()) continue;
    j["totals"].push_back(
        {{"currency", code}, {"total", money(it->second.first)}, {"articles", it->second.second}});
  }
  j["faults"] = json::array();
  for (const basket::CatalogueFault& f : data.getFaults())
    j["faults"].push_back({{"line", f.line}, {"message", f.message}});
  j["invalidArticles"] = data.getInvalidCount();
  std::fputs((j.dump(2) + "\n").c_str(), inv.out);
}

// ---------------------------------------------------------------------------

// The largest catalogue file read: the report holds the whole text (its
// lines are looked up in it), so an endless input must end somewhere.
constexpr std::size_t kMaxCatalogue = std::size_t(256) << 20;

int runReport(kelp::tool::Invocation& inv) {
  kelp::tool::ParsedArgs args;
  int status = kelp::tool::kExitOk;
  if (!kelp::tool::parseArgs(
          inv, 1,
          {{"lang", true}, {"html", false}, {"json", false}, {"strict", false}, {"date", true}},
          args, &status))
    return status;
  if (args.operands.size() != 1)
    return kelp::tool::usageError(inv, args.operands.empty() ? "no catalogue file given"
                                                             : "only one catalogue file at a time");
  std::string lang = "en";
  if (args.has("lang")) {
    lang = args.get("lang");
    if (!util::Funcs::isValidLanguageCode(lang))
      return kelp::tool::usageError(inv, "'" + lang + "' is not a language code (two letters a-z)");
  } else {
    std::string fromLocale;
    if (util::Funcs::getLanguage(inv.app, &fromLocale) &&
        util::Funcs::isValidLanguageCode(fromLocale))
      lang = fromLocale;
  }
  std::optional<EDate> date;
  if (args.has("date")) {
    EDate d;
    std::string text = args.get("date");
    if (!d.parseString(text.c_str(), nullptr) || !d.isValid())
      return kelp::tool::usageError(inv, "'" + text + "' is not a date (YYYY-MM-DD)");
    date = d;
  }
  const bool html = args.has("html");
  if (html && args.has("json"))
    return kelp::tool::usageError(inv, "--html and --json exclude each other");

  const std::string& path = args.operands[0];
  const std::string file = kelp::tool::displayName(path);
  std::string data, message;
  if (!kelp::tool::readInput(path, data, message, kMaxCatalogue)) {
    kelp::tool::reportAt(inv, file, 0, message);
    return kelp::tool::kExitFailed;
  }

  basket::CatalogueReader handler(inv.app);
  const bool read = kelp::tool::readCatalogueText(handler, data, file);
  for (const basket::CatalogueFault& f : handler.getFaults())
    kelp::tool::reportAt(inv, file, f.line, f.message);
  if (!read) {
    kelp::tool::reportAt(inv, file, handler.getFatalLine(), handler.getFatalMessage());
    return kelp::tool::kExitFailed;
  }

  bool totalled = true;
  if (args.has("json")) {
    writeJson(inv, handler, lang, date ? &*date : nullptr);
  } else {
    kelp::tool::GlobalLocale numbers(kelp::tool::numberLocale(lang));
    totalled = Report(inv, handler, lang, html, date ? &*date : nullptr).write();
  }
  const int invalid = handler.getInvalidCount();
  if (invalid > 0) {
    std::fprintf(inv.err, "kelp catalogue: %d invalid %s left out\n", invalid,
                 invalid == 1 ? "article" : "articles");
    if (args.has("strict")) return kelp::tool::kExitFailed;
  }
  return totalled ? kelp::tool::kExitOk : kelp::tool::kExitFailed;
}

int run(kelp::tool::Invocation& inv) {
  if (inv.args.empty()) return kelp::tool::usageError(inv, "no subcommand given");
  if (inv.args[0] == "report") return runReport(inv);
  return kelp::tool::usageError(inv, "unknown subcommand '" + inv.args[0] + "'");
}

const kelp::tool::Family kCatalogue{
    "catalogue", "catalogue reports: names, descriptions, prices, totals", kCatalogueHelp, run};
const kelp::tool::Registration reg(kCatalogue);

}  // namespace
