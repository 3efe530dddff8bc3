// kelp catalogue: the report of a catalogue file (samples/README.md
// describes the format). The file is read with the library's SAX reader;
// each <article> is one record, checked as a whole: a faulty record is
// reported as "file:line: message" and left out, the rest of the file is
// still read. Faults outside the records (the catalogue element itself,
// malformed XML) end the run.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <locale>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <kelp/host_locale.h>
#include <kelp/layout/lo_Document.h>
#include <kelp/layout/lo_HtmlFmt.h>
#include <kelp/layout/lo_Utf8PlainTextFmt.h>
#include <kelp/layout/lo_XHtmlReader.h>
#include <kelp/util/utl_Decimal.h>
#include <kelp/util/utl_ECurrency.h>
#include <kelp/util/utl_EDate.h>
#include <kelp/util/utl_EVersion.h>
#include <kelp/util/utl_Funcs.h>
#include <kelp/util/utl_TrStrSet.h>
#include <kelp/xml/sax/sax_DefaultHandler.h>
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <kelp/xml/sax/sax_ParseException.h>
#include <kelp/xml/sax/sax_SimpleXMLReader.h>
#include <kelp/xml/xml_Writer.h>
#include <ktz/ktz_gettext.h>
#include <vorn/vorn_placeholder.h>

#include "kelp_tool.h"

namespace {

namespace util = qor::quv::util;
namespace sax = qor::quv::xml::sax;
namespace layout = qor::quv::layout;
namespace fw = qor::quv::fw;
using util::ECurrency;
using util::EDate;
using util::EVersion;
using util::TrStrSet;

constexpr const char kCatalogueHelp[] =
    "usage: kelp catalogue report [--lang L] [--html] [--strict] [--date YYYY-MM-DD] FILE\n"
    "\n"
    "Prints a report of the catalogue FILE ('-' reads standard input): the\n"
    "catalogue's id, data version and validity, then every article with its\n"
    "name, description and prices, and at the end the total of the prices in\n"
    "each currency. The format of the file is described in\n"
    KELP_DOC_DIR "/formats.md.\n"
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
    "  --html       write an HTML page instead of text\n"
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
// Numbers in the report's language, independent of the machine's locale:
// the library's locale formatting reads the global C++ locale, so the
// report installs one with the language's punctuation while it runs.

class Punctuation : public std::numpunct<char> {
 public:
  Punctuation(char point, char separator) : point_(point), separator_(separator) {}

 protected:
  char do_decimal_point() const override { return point_; }
  char do_thousands_sep() const override { return separator_; }
  std::string do_grouping() const override { return "\3"; }

 private:
  char point_;
  char separator_;
};

std::locale numberLocale(const std::string& lang) {
  char point = '.', separator = ',';
  if (lang == "de") {
    point = ',';
    separator = '.';
  } else if (lang == "fr") {
    point = ',';
    separator = ' ';
  }
  return std::locale(std::locale::classic(), new Punctuation(point, separator));
}

// Restores the global locale when the report ends.
class GlobalLocale {
 public:
  explicit GlobalLocale(const std::locale& loc) : previous_(std::locale::global(loc)) {}
  ~GlobalLocale() { std::locale::global(previous_); }
  GlobalLocale(const GlobalLocale&) = delete;
  GlobalLocale& operator=(const GlobalLocale&) = delete;

 private:
  std::locale previous_;
};

// ---------------------------------------------------------------------------
// Text helpers.

bool isSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool isBlankText(const char* s) {
  for (; *s; ++s)
    if (!isSpace(*s)) return false;
  return true;
}

// White space trimmed at both ends and collapsed to single blanks inside.
std::string collapse(const std::string& s) {
  std::string out;
  bool space = false;
  for (char c : s) {
    if (isSpace(c)) {
      space = !out.empty();
      continue;
    }
    if (space) out += ' ';
    space = false;
    out += c;
  }
  return out;
}

std::string htmlEscaped(const std::string& s) {
  return qor::quv::xml::XMLWriter::quoteCharData(s.c_str());
}

// ---------------------------------------------------------------------------
// Lines of the records. The SAX reader knows its position exactly only when
// it reports an error, so the report finds each element's tags in the raw
// text itself, following the events in document order: the start tag of
// the next startElement is the next start tag of that name behind the
// previous one (comments, CDATA sections, processing instructions and the
// document type are stepped over). This needs an ASCII-compatible encoding;
// for UTF-16 and UTF-32 files the lines are unknown (0).

class TagLines {
 public:
  explicit TagLines(const std::string& text)
      : text_(text),
        usable_(text.size() < 2 || (text[0] != '\0' && text[1] != '\0' &&
                                    static_cast<unsigned char>(text[0]) < 0xFE)) {}

  // Moves past the next start tag called qName; returns the line on which
  // it starts (0 when it cannot be found).
  int startTag(const char* qName) {
    emptyPending_ = false;
    if (!usable_) return 0;
    for (std::size_t p = pos_; (p = nextTag(p)) != std::string::npos;) {
      std::size_t end = tagEnd(p);
      if (end == std::string::npos) return 0;
      if (text_[p + 1] != '/' && nameIs(p + 1, qName)) {
        advance(p);
        const int line = line_;
        advance(end + 1);
        emptyPending_ = text_[end - 1] == '/';
        return line;
      }
      p = end + 1;
    }
    return 0;
  }

  // Moves past the end tag of the element whose start tag was the last one
  // found (nothing to do when that was an empty-element tag).
  void endTag(const char* qName) {
    if (emptyPending_ || !usable_) {
      emptyPending_ = false;
      return;
    }
    for (std::size_t p = pos_; (p = nextTag(p)) != std::string::npos;) {
      std::size_t end = tagEnd(p);
      if (end == std::string::npos) return;
      if (text_[p + 1] == '/' && nameIs(p + 2, qName)) {
        advance(end + 1);
        return;
      }
      p = end + 1;
    }
  }

  // The line of the position behind the last tag found.
  int line() const { return usable_ ? line_ : 0; }

 private:
  // The next "<" at or after p that opens a start or end tag.
  std::size_t nextTag(std::size_t p) const {
    while ((p = text_.find('<', p)) != std::string::npos) {
      if (text_.compare(p, 4, "<!--") == 0) {
        p = skipPast(p + 4, "-->");
      } else if (text_.compare(p, 9, "<![CDATA[") == 0) {
        p = skipPast(p + 9, "]]>");
      } else if (text_.compare(p, 2, "<?") == 0) {
        p = skipPast(p + 2, "?>");
      } else if (text_.compare(p, 2, "<!") == 0) {
        // The document type, with its internal subset in brackets.
        bool subset = false;
        for (p += 2; p < text_.size() && (subset || text_[p] != '>'); ++p) {
          if (text_[p] == '[') subset = true;
          if (text_[p] == ']') subset = false;
        }
        if (p < text_.size()) ++p;
      } else {
        return p;
      }
    }
    return std::string::npos;
  }

  std::size_t skipPast(std::size_t p, const char* end) const {
    std::size_t at = text_.find(end, p);
    return at == std::string::npos ? at : at + std::strlen(end);
  }

  // The ">" closing the tag that starts at p (quoted values may hold ">").
  std::size_t tagEnd(std::size_t p) const {
    char quote = 0;
    for (++p; p < text_.size(); ++p) {
      const char c = text_[p];
      if (quote) {
        if (c == quote) quote = 0;
      } else if (c == '"' || c == '\'') {
        quote = c;
      } else if (c == '>') {
        return p;
      }
    }
    return std::string::npos;
  }

  bool nameIs(std::size_t p, const char* name) const {
    const std::size_t n = std::strlen(name);
    if (text_.compare(p, n, name) != 0 || p + n >= text_.size()) return false;
    const char after = text_[p + n];
    return after == '>' || after == '/' || isSpace(after);
  }

  void advance(std::size_t to) {
    line_ += static_cast<int>(std::count(text_.begin() + static_cast<std::ptrdiff_t>(pos_),
                                         text_.begin() + static_cast<std::ptrdiff_t>(to), '\n'));
    pos_ = to;
  }

  const std::string& text_;
  bool usable_;
  std::size_t pos_ = 0;
  int line_ = 1;
  bool emptyPending_ = false;
};

// ---------------------------------------------------------------------------
// The records.

// A TrStrSet starts with no reference; the holder takes one.
using TextSet = std::shared_ptr<TrStrSet>;
TextSet newTextSet() {
  auto* set = new TrStrSet;
  set->addRef();
  return TextSet(set, [](TrStrSet* s) { s->release(); });
}

struct Adjustment {
  bool discount = false;
  ECurrency percent;
};

struct Price {
  int line = 0;
  ECurrency base;
  std::vector<Adjustment> steps;
  ECurrency value;  // base with the steps applied, rounded
  bool faulty = false;
};

struct Article {
  std::string id;
  int line = 0;
  EVersion version;
  bool hasVersion = false;
  EDate from, until;
  TextSet names = newTextSet();
  TextSet descriptions = newTextSet();
  std::vector<Price> prices;
  int faults = 0;
};

struct Catalogue {
  std::string id;
  std::string lang;
  EVersion version;
  EDate from, until;
  std::vector<std::string> currencies;
};

// ---------------------------------------------------------------------------
// The reader: a SAX handler that builds the records as the events come.

class CatalogueHandler : public sax::DefaultHandler {
 public:
  CatalogueHandler(const kelp::tool::Invocation& inv, const std::string& file,
                   const std::string& text, fw::IApplication* app)
      : inv_(inv), file_(file), lines_(text), app_(app) {}

  const Catalogue& catalogue() const { return catalogue_; }
  const std::vector<Article>& articles() const { return articles_; }
  int invalidCount() const { return invalid_; }
  const std::string& fatalMessage() const { return fatalMessage_; }
  int fatalLine() const { return fatalLine_; }

  bool startElement(const char*, const char* localName, const char* qName,
                    const sax::Attributes& attrs) override {
    const std::string name = localName && *localName ? localName : qName;
    const int line = lines_.startTag(qName);
    tagLine_ = line;
    textAt_ = lines_.line();
    if (stack_.empty()) {
      if (name != "catalogue")
        return refuse("root element must be <catalogue>, not <" + name + ">");
      stack_.push_back(kCatalogue);
      return readCatalogue(attrs);
    }
    switch (stack_.back()) {
      case kCatalogue:
        if (name != "article") return refuse("unknown element <" + name + "> in <catalogue>");
        startArticle(attrs, line);
        stack_.push_back(kArticle);
        return true;
      case kArticle:
        if (name == "name" || name == "description") {
          startText(name, attrs, line);
          stack_.push_back(name == "name" ? kName : kDescription);
        } else if (name == "price") {
          startPrice(attrs, line);
          stack_.push_back(kPrice);
        } else {
          fault(line, "unknown element <" + name + "> in <article>");
          stack_.push_back(kIgnored);
        }
        return true;
      case kDescription:
      case kMarkup:
        markup_ += '<';
        markup_ += name;
        for (int i = 0; i < attrs.getLength(); ++i) {
          markup_ += ' ';
          markup_ += attrs.getQName(i);
          markup_ += '=';
          markup_ += qor::quv::xml::XMLWriter::quoteAttrValue(attrs.getValue(i));
        }
        markup_ += '>';
        stack_.push_back(kMarkup);
        return true;
      case kPrice:
        if (name == "surcharge" || name == "discount") {
          addAdjustment(name, attrs, line);
        } else {
          fault(line, "unknown element <" + name + "> in <price>");
        }
        stack_.push_back(kIgnored);
        return true;
      case kName:
        fault(line, "element <" + name + "> is not allowed in <name>");
        stack_.push_back(kIgnored);
        return true;
      case kIgnored:
        stack_.push_back(kIgnored);
        return true;
    }
    return true;
  }

  bool endElement(const char*, const char* localName, const char* qName) override {
    lines_.endTag(qName);
    textAt_ = lines_.line();
    if (stack_.empty()) return true;
    const Context top = stack_.back();
    stack_.pop_back();
    switch (top) {
      case kName:
        endName();
        break;
      case kDescription:
        endDescription();
        break;
      case kMarkup:
        markup_ += "</";
        markup_ += localName && *localName ? localName : qName;
        markup_ += '>';
        break;
      case kPrice:
        endPrice();
        break;
      case kArticle:
        endArticle();
        break;
      case kCatalogue:
      case kIgnored:
        break;
    }
    return true;
  }

  bool characters(const char* chars) override {
    // The line on which the text starts: the text follows the last markup,
    // whose line is known; the reader's position is already past the text.
    const int textLine = textAt_;
    textAt_ += static_cast<int>(std::count(chars, chars + std::strlen(chars), '\n'));
    if (stack_.empty()) return true;
    switch (stack_.back()) {
      case kName:
        text_ += chars;
        break;
      case kDescription:
      case kMarkup:
        markup_ += qor::quv::xml::XMLWriter::quoteCharData(chars);
        break;
      case kCatalogue:
        if (!isBlankText(chars)) return refuse("text is not allowed in <catalogue>");
        break;
      case kArticle:
      case kPrice:
        if (!isBlankText(chars) && !textFaulted_) {
          textFaulted_ = true;
          const char* first = chars;
          int line = textLine;
          for (; isSpace(*first); ++first)
            if (*first == '\n') ++line;
          fault(line, "text is not allowed here");
        }
        break;
      case kIgnored:
        break;
    }
    return true;
  }

  std::string getErrorMessage() override { return refusal_; }

  bool fatalError(const sax::SAXParseException& e) override {
    if (fatalMessage_.empty()) {
      fatalMessage_ = e.getMessage();
      // A refusal of this handler concerns the element just started.
      fatalLine_ = !refusal_.empty() && tagLine_ > 0 ? tagLine_ : e.getLineNumber();
    }
    return false;
  }

 private:
  enum Context { kCatalogue, kArticle, kName, kDescription, kMarkup, kPrice, kIgnored };

  bool refuse(const std::string& message) {
    refusal_ = message;
    return false;
  }

  // A fault of the current article: reported at once, and the article will
  // be left out.
  void fault(int line, const std::string& message) {
    std::string prefix = "article";
    if (article_ && !article_->id.empty()) prefix += " '" + article_->id + "'";
    kelp::tool::reportAt(inv_, file_, line, prefix + ": " + message);
    if (article_) ++article_->faults;
  }

  // Attributes other than `known` are faults of the element.
  template <std::size_t N>
  std::string unknownAttribute(const sax::Attributes& attrs, const char* const (&known)[N]) {
    for (int i = 0; i < attrs.getLength(); ++i) {
      const char* name = attrs.getQName(i);
      if (!std::strncmp(name, "xmlns", 5)) continue;
      if (std::none_of(std::begin(known), std::end(known),
                       [&](const char* k) { return !std::strcmp(k, name); }))
        return name;
    }
    return std::string();
  }

  static std::string attribute(const sax::Attributes& attrs, const char* name) {
    const char* v = attrs.getValue(name);
    return v ? v : "";
  }

  // "YYYY-MM-DD" of a valid date into *date; "" or the fault.
  static std::string readDate(const sax::Attributes& attrs, const char* name, EDate* date) {
    std::string text = attribute(attrs, name);
    EDate d;
    if (!d.parseString(text.c_str(), nullptr) || !d.isValid())
      return std::string("attribute '") + name + "' has invalid date '" + text + "'";
    *date = d;
    return std::string();
  }

  bool readCatalogue(const sax::Attributes& attrs) {
    static const char* const kKnown[] = {"id",         "version",    "lang",
                                         "currencies", "valid-from", "valid-until"};
    std::string unknown = unknownAttribute(attrs, kKnown);
    if (!unknown.empty()) return refuse("catalogue: unknown attribute '" + unknown + "'");
    for (const char* required : kKnown)
      if (attribute(attrs, required).empty())
        return refuse(std::string("catalogue: attribute '") + required + "' is missing or empty");
    Catalogue& c = catalogue_;
    c.id = attribute(attrs, "id");
    std::string version = attribute(attrs, "version");
    if (!c.version.parseString(version.c_str(), nullptr))
      return refuse("catalogue: attribute 'version' has invalid value '" + version + "'");
    c.lang = attribute(attrs, "lang");
    if (!util::Funcs::isValidLanguageCode(c.lang))
      return refuse("catalogue: attribute 'lang' has invalid value '" + c.lang + "'");
    std::istringstream codes(attribute(attrs, "currencies"));
    std::string code;
    while (codes >> code) {
      if (!util::Funcs::isValidCurrencyCode(code))
        return refuse("catalogue: '" + code + "' is not a currency code");
      if (ECurrency::getDefaultFractionDigits(code.c_str()) < 0)
        return refuse("catalogue: '" + code + "' is not a money currency");
      if (std::find(c.currencies.begin(), c.currencies.end(), code) != c.currencies.end())
        return refuse("catalogue: currency '" + code + "' is listed twice");
      c.currencies.push_back(code);
    }
    for (const char* name : {"valid-from", "valid-until"}) {
      std::string message = readDate(attrs, name, name[6] == 'f' ? &c.from : &c.until);
      if (!message.empty()) return refuse("catalogue: " + message);
    }
    if (c.until < c.from)
      return refuse("catalogue: valid-until " + c.until.formatString() + " is before valid-from " +
                    c.from.formatString());
    return true;
  }

  void startArticle(const sax::Attributes& attrs, int line) {
    article_.emplace();
    Article& a = *article_;
    a.line = line;
    a.id = attribute(attrs, "id");
    a.from = catalogue_.from;
    a.until = catalogue_.until;
    textFaulted_ = false;
    if (a.id.empty()) {
      fault(line, "attribute 'id' is missing or empty");
    } else {
      auto [first, added] = ids_.emplace(a.id, line);
      if (!added) fault(line, "duplicate id (first at line " + std::to_string(first->second) + ")");
    }
    static const char* const kKnown[] = {"id", "version", "valid-from", "valid-until"};
    std::string unknown = unknownAttribute(attrs, kKnown);
    if (!unknown.empty()) fault(line, "unknown attribute '" + unknown + "'");
    if (attrs.getIndex("version") >= 0) {
      std::string version = attribute(attrs, "version");
      if (!a.version.parseString(version.c_str(), nullptr)) {
        fault(line, "attribute 'version' has invalid value '" + version + "'");
      } else if (a.version.compare(catalogue_.version) > 0) {
        fault(line, "data version " + a.version.formatString() + " is newer than the catalogue's " +
                        catalogue_.version.formatString());
      } else {
        a.hasVersion = true;
      }
    }
    bool datesRead = true;
    for (const char* name : {"valid-from", "valid-until"}) {
      if (attrs.getIndex(name) < 0) continue;
      std::string message = readDate(attrs, name, name[6] == 'f' ? &a.from : &a.until);
      if (!message.empty()) {
        fault(line, message);
        datesRead = false;
      }
    }
    if (datesRead && a.until < a.from)
      fault(line, "valid-until " + a.until.formatString() + " is before valid-from " +
                      a.from.formatString());
  }

  // <name> and <description>: the language, checked; the text follows.
  void startText(const std::string& element, const sax::Attributes& attrs, int line) {
    static const char* const kKnown[] = {"lang"};
    std::string unknown = unknownAttribute(attrs, kKnown);
    if (!unknown.empty()) fault(line, element + ": unknown attribute '" + unknown + "'");
    textLang_ = attribute(attrs, "lang");
    textLine_ = line;
    textFaulty_ = false;
    text_.clear();
    markup_.clear();
    if (!textLang_.empty() && !util::Funcs::isValidLanguageCode(textLang_)) {
      fault(line, element + ": attribute 'lang' has invalid value '" + textLang_ + "'");
      textFaulty_ = true;
      return;
    }
    const TextSet& set = element == "name" ? article_->names : article_->descriptions;
    if (set->find(TrStrSet::mkLangId(textLang_.c_str()))) {
      fault(line, "duplicate " + element + inLanguage());
      textFaulty_ = true;
    }
  }

  std::string inLanguage() const {
    return textLang_.empty() ? std::string(" without language") : " in '" + textLang_ + "'";
  }

  void endName() {
    std::string name = collapse(text_);
    if (textFaulty_) return;
    if (name.empty()) {
      fault(textLine_, "empty name" + inLanguage());
      return;
    }
    if (!article_->names->set(textLang_.c_str(), util::PString(name)))
      fault(textLine_, "too many names");
  }

  void endDescription() {
    if (textFaulty_) return;
    std::string page = wrapDescription(markup_);
    layout::Document* doc = parseDescription(app_, page, &message_);
    if (!doc) {
      fault(textLine_, "description: " + message_);
      return;
    }
    doc->release();
    if (!article_->descriptions->set(textLang_.c_str(), util::PString(page)))
      fault(textLine_, "too many descriptions");
  }

  void startPrice(const sax::Attributes& attrs, int line) {
    price_ = Price();
    price_.line = line;
    static const char* const kKnown[] = {"currency", "value"};
    std::string unknown = unknownAttribute(attrs, kKnown);
    std::string code = attribute(attrs, "currency");
    std::string error;
    util::DecimalExactness exact;
    if (!unknown.empty()) {
      fault(line, "price: unknown attribute '" + unknown + "'");
      price_.faulty = true;
    } else if (code.empty()) {
      fault(line, "price: attribute 'currency' is missing or empty");
      price_.faulty = true;
    } else if (std::find(catalogue_.currencies.begin(), catalogue_.currencies.end(), code) ==
               catalogue_.currencies.end()) {
      fault(line, "price: unknown currency '" + code + "'");
      price_.faulty = true;
    } else if (!price_.base.decodeAttributes(attrs, &error)) {
      fault(line, "price: " + error);
      price_.faulty = true;
    } else if (!exact.exact()) {
      fault(line, "price: attribute 'value' has invalid value '" + attribute(attrs, "value") +
                      "': it " + exact.problem());
      price_.faulty = true;
    } else if (!price_.base.isFinite()) {
      fault(line, "price: attribute 'value' has invalid value '" + attribute(attrs, "value") + "'");
      price_.faulty = true;
    } else {
      for (const Price& p : article_->prices) {
        if (p.base.getUnit() == code) {
          fault(line,
                "duplicate price in " + code + " (first at line " + std::to_string(p.line) + ")");
          price_.faulty = true;
          break;
        }
      }
    }
  }

  void addAdjustment(const std::string& element, const sax::Attributes& attrs, int line) {
    static const char* const kKnown[] = {"value"};
    std::string unknown = unknownAttribute(attrs, kKnown);
    if (!unknown.empty()) {
      fault(line, element + ": unknown attribute '" + unknown + "'");
      price_.faulty = true;
      return;
    }
    Adjustment step;
    step.discount = element == "discount";
    std::string value = attribute(attrs, "value");
    std::string error;
    util::DecimalExactness exact;
    if (!step.percent.decodeAttributes("%", value.c_str(), &error)) {
      fault(line, element + ": " + error);
      price_.faulty = true;
      return;
    }
    if (!exact.exact()) {
      fault(line, element + ": attribute 'value' has invalid value '" + value + "': it " +
                      exact.problem());
      price_.faulty = true;
      return;
    }
    if (!step.percent.isFinite() || step.percent.isNegative()) {
      fault(line,
            element + ": attribute 'value' must be a percentage of 0 or more, not '" + value + "'");
      price_.faulty = true;
      return;
    }
    price_.steps.push_back(step);
  }

  void endPrice() {
    Price& p = price_;
    if (p.faulty) {
      // Counted with the article's faults already; a price is still there.
      article_->prices.push_back(p);
      return;
    }
    util::DecimalExactness exact;
    ECurrency value = p.base;
    for (const Adjustment& step : p.steps)
      value = value + (step.discount ? -step.percent : step.percent);
    p.value = value.round();
    if (!p.value.isFinite()) {
      fault(p.line, "price in " + p.base.getUnit() + " is out of range");
      p.faulty = true;
    } else if (!exact.exact()) {
      fault(p.line,
            "price in " + p.base.getUnit() + " cannot be computed exactly: it " + exact.problem());
      p.faulty = true;
    } else if (p.value.isNegative()) {
      fault(p.line, "price in " + p.base.getUnit() + " is negative (" +
                        util::formatDecimalCString(
                            p.value.amount, ECurrency::getDefaultFractionDigits(p.value.unit)) +
                        ")");
      p.faulty = true;
    }
    article_->prices.push_back(p);
  }

  void endArticle() {
    Article& a = *article_;
    if (a.prices.empty()) fault(a.line, "no price");
    if (a.names->get(catalogue_.lang.c_str(), true).isNull())
      fault(a.line, "no name in the catalogue language '" + catalogue_.lang + "'");
    if (a.faults > 0)
      ++invalid_;
    else
      articles_.push_back(std::move(a));
    article_.reset();
  }

 public:
  // The description's markup as a page for the XHTML reader.
  static std::string wrapDescription(const std::string& body) {
    return "<html><head><title></title></head><body>" + body + "</body></html>";
  }

  // The layout document of a page (one reference for the caller), or null
  // with the reader's message.
  static layout::Document* parseDescription(fw::IApplication* app, const std::string& page,
                                            std::string* message) {
    std::istringstream in(page);
    sax::ISInputSource source("", "description", &in, false);
    layout::XHtmlReader reader(app);
    layout::Document* doc = nullptr;
    if (!reader.parse(&source, &doc)) {
      *message = reader.getErrorMessage();
      return nullptr;
    }
    return doc;
  }

 private:
  const kelp::tool::Invocation& inv_;
  std::string file_;
  TagLines lines_;
  int tagLine_ = 0;
  fw::IApplication* app_;

  Catalogue catalogue_;
  std::vector<Article> articles_;
  std::map<std::string, int> ids_;
  int invalid_ = 0;

  std::vector<Context> stack_;
  std::optional<Article> article_;
  Price price_;
  std::string textLang_;
  int textLine_ = 0;
  bool textFaulty_ = false;
  bool textFaulted_ = false;
  int textAt_ = 1;
  std::string text_;
  std::string markup_;
  std::string message_;

  std::string refusal_;
  std::string fatalMessage_;
  int fatalLine_ = 0;
};

// ---------------------------------------------------------------------------
// The report.

std::string amountText(const ECurrency& c) {
  return util::formatDecimalString(c.amount, ECurrency::getDefaultFractionDigits(c.unit));
}

// The base amount as written (at least the customary decimals).
std::string baseText(const ECurrency& c) {
  return util::formatDecimalString(c.amount, ECurrency::getDefaultFractionDigits(c.unit), 12);
}

std::string stepsText(const Price& p) {
  std::string s = baseText(p.base);
  for (const Adjustment& step : p.steps)
    s += std::string(step.discount ? " -" : " +") +
         util::formatDecimalString(step.percent.amount, 0, 12) + " %";
  return s;
}

// A label of the report in the report's language, from the library's
// message catalogue (po/; `label` is the keyword its template is extracted
// by). Templates take trusted values only (dates, versions, counts), so a
// placeholder cannot come from the catalogue's data.
std::string label(const std::string& lang, const char* msgid) {
  return ktzDGetTextIn(KTZ_KELP_TEXT_DOMAIN, lang.c_str(), msgid);
}

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
  Report(const kelp::tool::Invocation& inv, const CatalogueHandler& data, const std::string& lang,
         bool html, const EDate* date)
      : inv_(inv),
        data_(data),
        lang_(lang),
        html_(html),
        date_(date),
        locale_(kelp::host::Locale::create()) {
    // The fallback of the names: the wanted language, then the catalogue's.
    locale_->setLanguage(lang);
    locale_->setCatalogLanguages({lang, data.catalogue().lang});
  }

  // False when a total could not be computed exactly: it is reported and
  // left out of the totals.
  bool write() {
    const Catalogue& c = data_.catalogue();
    std::vector<const Article*> shown;
    for (const Article& a : data_.articles())
      if (!date_ || (a.from <= *date_ && *date_ <= a.until)) shown.push_back(&a);
    std::map<std::string, Total> totals;
    for (const Article* a : shown) {
      for (const Price& p : a->prices) {
        Total& t = totals[p.base.getUnit()];
        util::DecimalExactness exact;
        t.sum = t.sum + p.value;
        if (!exact.exact() && t.problem.empty()) t.problem = exact.problem();
        ++t.count;
      }
    }
    bool exact = true;
    std::string header = label(lang_, "data version %1, valid %2 to %3, language %4");
    header << c.version.formatString() << c.from.formatString() << c.until.formatString() << lang_;
    std::string leftOut;
    if (date_) {
      std::string on = label(lang_, ", articles valid on %1");
      header += on << date_->formatString();
      leftOut = label(lang_, "%1 not valid on %2");
      leftOut << articlesCount(lang_, static_cast<int>(data_.articles().size() - shown.size()))
              << date_->formatString();
    }
    if (html_) {
      std::string title = label(lang_, "Catalogue %1");
      title << htmlEscaped(c.id);
      print("<!DOCTYPE HTML PUBLIC \"-//W3C//DTD HTML 4.01//EN\">\n<HTML>\n<HEAD>\n");
      print("<META http-equiv=\"Content-Type\" content=\"text/html; charset=UTF-8\">\n");
      print("<TITLE>" + title + "</TITLE>\n</HEAD>\n<BODY>\n<H1>" + title + "</H1>\n");
      print("<P>" + htmlEscaped(header) + "\n");
    } else {
      std::string title = label(lang_, "catalogue %1");
      print((title << c.id) + ", " + header + "\n");
    }
    for (const Article* a : shown) writeArticle(*a);
    if (html_) {
      print("<H2>" + label(lang_, "Totals") + "</H2>\n<TABLE>\n");
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
        print("<TR><TD>" + code + "<TD>" + amountText(t.sum) + "<TD>" +
              articlesCount(lang_, t.count) + "\n");
      else
        print("  " + code + " " + amountText(t.sum) + " (" + articlesCount(lang_, t.count) + ")\n");
    }
    if (html_) {
      print("</TABLE>\n");
      if (!leftOut.empty()) print("<P>" + leftOut + "\n");
      print("</BODY>\n</HTML>\n");
    } else if (!leftOut.empty()) {
      print("  " + leftOut + "\n");
    }
    return exact;
  }

 private:
  void print(const std::string& s) { std::fputs(s.c_str(), inv_.out); }

  std::string validityText(const Article& a) const {
    std::string s = label(lang_, "valid %1 to %2");
    s << a.from.formatString() << a.until.formatString();
    if (a.hasVersion) {
      std::string version = label(lang_, ", data version %1");
      s += version << a.version.formatString();
    }
    return s;
  }

  void writeArticle(const Article& a) {
    auto* locale = static_cast<fw::ILocale*>(locale_.get());
    std::string name = a.names->get(locale, TrStrSet::TC_CATALOG).str();
    util::PString page = a.descriptions->get(locale, TrStrSet::TC_CATALOG);
    std::string description;
    if (!page.isNull()) {
      std::string message;
      if (layout::Document* doc =
              CatalogueHandler::parseDescription(inv_.app, page.str(), &message)) {
        if (html_)
          description = layout::HtmlFmt(inv_.app, doc).str();
        else
          description = layout::Utf8PlainTextFmt(inv_.app, doc).str();
        doc->release();
      }
    }
    if (html_) {
      print("<H2>" + htmlEscaped(a.id) + " " + htmlEscaped(name) + "</H2>\n<P>" + validityText(a) +
            "\n");
      if (!description.empty()) print("<DIV>\n" + description + "</DIV>\n");
      print("<TABLE>\n");
      for (const Price& p : a.prices)
        print("<TR><TD>" + p.base.getUnit() + "<TD>" + amountText(p.value) + "<TD>" +
              (p.steps.empty() ? std::string() : stepsText(p)) + "\n");
      print("</TABLE>\n");
      return;
    }
    print("\n" + a.id + "  " + name + "\n  " + validityText(a) + "\n");
    // The description indented under the article, without empty lines.
    std::istringstream lines(description);
    std::string line;
    while (std::getline(lines, line))
      if (!line.empty()) print("  | " + line + "\n");
    for (const Price& p : a.prices) {
      std::string s = "  " + p.base.getUnit() + " " + amountText(p.value);
      if (!p.steps.empty()) s += "  (" + stepsText(p) + ")";
      print(s + "\n");
    }
  }

  const kelp::tool::Invocation& inv_;
  const CatalogueHandler& data_;
  std::string lang_;
  bool html_;
  const EDate* date_;
  zob::Ref<kelp::host::Locale> locale_;
};

// ---------------------------------------------------------------------------

// The largest catalogue file read: the report holds the whole text (its
// lines are looked up in it), so an endless input must end somewhere.
constexpr std::size_t kMaxCatalogue = std::size_t(256) << 20;

int runReport(kelp::tool::Invocation& inv) {
  kelp::tool::ParsedArgs args;
  int status = kelp::tool::kExitOk;
  if (!kelp::tool::parseArgs(inv, 1,
                             {{"lang", true}, {"html", false}, {"strict", false}, {"date", true}},
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

  const std::string& path = args.operands[0];
  const std::string file = kelp::tool::displayName(path);
  std::string data, message;
  if (!kelp::tool::readInput(path, data, message, kMaxCatalogue)) {
    kelp::tool::reportAt(inv, file, 0, message);
    return kelp::tool::kExitFailed;
  }

  std::istringstream in(data);
  sax::ISInputSource source("", file, &in, false);
  CatalogueHandler handler(inv, file, data, inv.app);
  sax::SimpleXMLReader reader(inv.app);
  reader.setFeature(sax::SimpleXMLReader::UseUTF8, true);
  reader.setFeature(sax::SimpleXMLReader::HTML4Entities, true);
  // Catalogues come from outside: they never make the reader open a file.
  reader.setFeature(sax::SimpleXMLReader::ExternalGeneralEntities, false);
  reader.setFeature(sax::SimpleXMLReader::ExternalParameterEntities, false);
  reader.setContentHandler(&handler);
  reader.setErrorHandler(&handler);
  if (!reader.parse(&source)) {
    kelp::tool::reportAt(
        inv, file, handler.fatalLine(),
        handler.fatalMessage().empty() ? "cannot read the catalogue" : handler.fatalMessage());
    return kelp::tool::kExitFailed;
  }

  bool totalled = true;
  {
    GlobalLocale numbers(numberLocale(lang));
    totalled = Report(inv, handler, lang, html, date ? &*date : nullptr).write();
  }
  const int invalid = handler.invalidCount();
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
