// CatalogueReader: the catalogue format's SAX handler. Each <article> is one
// record, checked as a whole: its faults are listed and the record left
// out, the rest of the file is still read. Faults outside the records (the
// catalogue element itself, malformed XML) end the reading.
#include <kelp/util/utl_CatalogueReader.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <new>
#include <optional>
#include <sstream>

#include <kelp/layout/lo_Document.h>
#include <kelp/layout/lo_XHtmlReader.h>
#include <kelp/util/utl_Decimal.h>
#include <kelp/util/utl_Funcs.h>
#include <kelp/xml/sax/sax_DefaultHandler.h>
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <kelp/xml/sax/sax_ParseException.h>
#include <kelp/xml/sax/sax_SimpleXMLReader.h>
#include <kelp/xml/xml_Writer.h>

#include "utl_TagLines_impl.h"

namespace qor::quv::basket {

namespace {

namespace sax = xml::sax;
using util::ECurrency;
using util::EDate;
using util::EVersion;

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

// The reader's message for a description page, or "" when it reads.
std::string checkDescription(fw::IApplication* app, const std::string& page) {
  std::istringstream in(page);
  sax::ISInputSource source("", "description", &in, false);
  layout::XHtmlReader reader(app);
  layout::Document* doc = nullptr;
  if (!reader.parse(&source, &doc)) return reader.getErrorMessage();
  if (doc) doc->release();
  return std::string();
}

// An article while it is read: the record, where it starts, its faults.
struct PendingArticle {
  Article record;
  int line = 0;
  int faults = 0;
  std::vector<int> priceLines;
};

struct PendingPrice {
  ArticlePrice record;
  int line = 0;
  bool faulty = false;
};

class Handler : public sax::DefaultHandler {
 public:
  Handler(fw::IApplication* app, const std::string& text, Catalogue& catalogue,
          std::vector<CatalogueFault>& faults)
      : app_(app), lines_(text), catalogue_(catalogue), faults_(faults) {}

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
        if (name == "tax") {
          stack_.push_back(kIgnored);
          return readTax(attrs);
        }
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
        } else if (name == "classification") {
          text_.clear();
          textLine_ = line;
          textFaulty_ = !noAttributes(attrs, "classification", line);
          stack_.push_back(kClassification);
        } else if (name == "choice") {
          startChoice(attrs, line);
          stack_.push_back(kChoice);
        } else if (name == "tier") {
          addTier(attrs, line);
          stack_.push_back(kIgnored);
        } else if (name == "dimensions") {
          readDimensions(attrs, line);
          stack_.push_back(kIgnored);
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
          markup_ += xml::XMLWriter::quoteAttrValue(attrs.getValue(i));
        }
        markup_ += '>';
        stack_.push_back(kMarkup);
        return true;
      case kChoice:
        if (name == "value") {
          startValue(attrs, line);
          stack_.push_back(kValue);
        } else {
          fault(line, "unknown element <" + name + "> in <choice>");
          stack_.push_back(kIgnored);
        }
        return true;
      case kValue:
        if (name == "effect") {
          addEffect(attrs, line);
        } else {
          fault(line, "unknown element <" + name + "> in <value>");
        }
        stack_.push_back(kIgnored);
        return true;
      case kPrice:
        if (name == "surcharge" || name == "discount" || name == "absolute-discount") {
          addAdjustment(name, attrs, line);
        } else {
          fault(line, "unknown element <" + name + "> in <price>");
        }
        stack_.push_back(kIgnored);
        return true;
      case kName:
      case kClassification:
        fault(line, "element <" + name + "> is not allowed in <" +
                        (stack_.back() == kName ? "name" : "classification") + ">");
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
      case kClassification:
        endClassification();
        break;
      case kChoice:
        endChoice();
        break;
      case kValue:
        if (choice_) choice_->values.push_back(std::move(value_));
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
      case kClassification:
        text_ += chars;
        break;
      case kDescription:
      case kMarkup:
        markup_ += xml::XMLWriter::quoteCharData(chars);
        break;
      case kCatalogue:
        if (!isBlankText(chars)) return refuse("text is not allowed in <catalogue>");
        break;
      case kArticle:
      case kPrice:
      case kChoice:
      case kValue:
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
  enum Context {
    kCatalogue,
    kArticle,
    kName,
    kDescription,
    kMarkup,
    kPrice,
    kClassification,
    kChoice,
    kValue,
    kIgnored
  };

  bool refuse(const std::string& message) {
    refusal_ = message;
    return false;
  }

  // A fault of the current article: listed at once, and the article will
  // be left out.
  void fault(int line, const std::string& message) {
    std::string prefix = "article";
    if (article_ && !article_->record.id.empty()) prefix += " '" + article_->record.id + "'";
    faults_.push_back(CatalogueFault{line, prefix + ": " + message});
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
    static const char* const kRequired[] = {"id",         "version",    "lang",
                                            "currencies", "valid-from", "valid-until"};
    static const char* const kKnown[] = {"id",         "version",     "lang",     "currencies",
                                         "valid-from", "valid-until", "languages"};
    std::string unknown = unknownAttribute(attrs, kKnown);
    if (!unknown.empty()) return refuse("catalogue: unknown attribute '" + unknown + "'");
    for (const char* required : kRequired)
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
    c.languages = {c.lang};
    std::istringstream langs(attribute(attrs, "languages"));
    for (std::string l; langs >> l;) {
      if (!util::Funcs::isValidLanguageCode(l))
        return refuse("catalogue: attribute 'languages' has invalid value '" + l + "'");
      if (std::find(c.languages.begin(), c.languages.end(), l) == c.languages.end())
        c.languages.push_back(l);
    }
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
      std::string message = readDate(attrs, name, name[6] == 'f' ? &c.validFrom : &c.validUntil);
      if (!message.empty()) return refuse("catalogue: " + message);
    }
    if (c.validUntil < c.validFrom)
      return refuse("catalogue: valid-until " + c.validUntil.formatString() +
                    " is before valid-from " + c.validFrom.formatString());
    return true;
  }

  void startArticle(const sax::Attributes& attrs, int line) {
    article_.emplace();
    dimensionsRead_ = false;
    PendingArticle& p = *article_;
    Article& a = p.record;
    p.line = line;
    a.id = attribute(attrs, "id");
    a.validFrom = catalogue_.validFrom;
    a.validUntil = catalogue_.validUntil;
    textFaulted_ = false;
    if (a.id.empty()) {
      fault(line, "attribute 'id' is missing or empty");
    } else {
      auto [first, added] = ids_.emplace(a.id, line);
      if (!added) fault(line, "duplicate id (first at line " + std::to_string(first->second) + ")");
    }
    static const char* const kKnown[] = {"id",        "version", "valid-from", "valid-until",
                                         "tax-class", "weight",  "weight-unit"};
    std::string unknown = unknownAttribute(attrs, kKnown);
    if (!unknown.empty()) fault(line, "unknown attribute '" + unknown + "'");
    a.taxClass = attribute(attrs, "tax-class");
    readWeight(attrs, line);
    if (attrs.getIndex("version") >= 0) {
      std::string version = attribute(attrs, "version");
      EVersion v;
      if (!v.parseString(version.c_str(), nullptr)) {
        fault(line, "attribute 'version' has invalid value '" + version + "'");
      } else if (v.compare(catalogue_.version) > 0) {
        fault(line, "data version " + v.formatString() + " is newer than the catalogue's " +
                        catalogue_.version.formatString());
      } else {
        a.version = v;
      }
    }
    bool datesRead = true;
    for (const char* name : {"valid-from", "valid-until"}) {
      if (attrs.getIndex(name) < 0) continue;
      std::string message = readDate(attrs, name, name[6] == 'f' ? &a.validFrom : &a.validUntil);
      if (!message.empty()) {
        fault(line, message);
        datesRead = false;
      }
    }
    if (datesRead && a.validUntil < a.validFrom)
      fault(line, "valid-until " + a.validUntil.formatString() + " is before valid-from " +
                      a.validFrom.formatString());
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
    const ETexts& set = element == "name" ? article_->record.names : article_->record.descriptions;
    if (set.has(textLang_.c_str())) {
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
    if (!article_->record.names.set(textLang_.c_str(), name)) fault(textLine_, "too many names");
  }

  void endDescription() {
    if (textFaulty_) return;
    std::string page = CatalogueReader::wrapDescription(markup_);
    std::string message = checkDescription(app_, page);
    if (!message.empty()) {
      fault(textLine_, "description: " + message);
      return;
    }
    if (!article_->record.descriptions.set(textLang_.c_str(), page))
      fault(textLine_, "too many descriptions");
  }

  // --- Elements beyond names, descriptions and prices ----------------------

  // An element that takes no attributes; false after a fault.
  bool noAttributes(const sax::Attributes& attrs, const std::string& element, int line) {
    static const char* const kNone[] = {"xmlns"};
    std::string unknown = unknownAttribute(attrs, kNone);
    if (unknown.empty()) return true;
    fault(line, element + ": unknown attribute '" + unknown + "'");
    return false;
  }

  // "label" and "label-LL" attributes into `texts`; other names are left to
  // the caller's check of unknown attributes.
  void readLabels(const sax::Attributes& attrs, ETexts* texts) {
    for (int i = 0; i < attrs.getLength(); ++i) {
      const char* name = attrs.getQName(i);
      if (!std::strcmp(name, "label"))
        texts->set("", attrs.getValue(i));
      else if (!std::strncmp(name, "label-", 6) && util::Funcs::isValidLanguageCode(name + 6))
        texts->set(name + 6, attrs.getValue(i));
    }
  }

  template <std::size_t N>
  std::string unknownBesidesLabels(const sax::Attributes& attrs, const char* const (&known)[N]) {
    for (int i = 0; i < attrs.getLength(); ++i) {
      const char* name = attrs.getQName(i);
      if (!std::strncmp(name, "xmlns", 5) || !std::strcmp(name, "label") ||
          (!std::strncmp(name, "label-", 6) && util::Funcs::isValidLanguageCode(name + 6)))
        continue;
      if (std::none_of(std::begin(known), std::end(known),
                       [&](const char* k) { return !std::strcmp(k, name); }))
        return name;
    }
    return std::string();
  }

  // <tax class= country= unit= rate= [reduced=] [valid-from=] [valid-until=]/>
  bool readTax(const sax::Attributes& attrs) {
    static const char* const kKnown[] = {"class",   "country",    "unit",       "rate",
                                         "reduced", "valid-from", "valid-until"};
    std::string unknown = unknownAttribute(attrs, kKnown);
    if (!unknown.empty()) return refuse("tax: unknown attribute '" + unknown + "'");
    for (const char* required : {"class", "country", "unit", "rate"})
      if (attribute(attrs, required).empty())
        return refuse(std::string("tax: attribute '") + required + "' is missing or empty");
    ETaxRecord r;
    r.taxClass = attribute(attrs, "class");
    r.country = attribute(attrs, "country");
    if (!util::Funcs::isValidCountryCode(r.country))
      return refuse("tax: attribute 'country' has invalid value '" + r.country + "'");
    const std::string reduced = attribute(attrs, "reduced");
    if (!reduced.empty() && reduced != "yes" && reduced != "no")
      return refuse("tax: attribute 'reduced' has invalid value '" + reduced + "'");
    if (reduced == "yes") r.kind = CIT_ReducedTax;
    std::string error;
    if (!r.parseRate(attribute(attrs, "unit"), attribute(attrs, "rate"), &error))
      return refuse("tax: " + error);
    for (const char* name : {"valid-from", "valid-until"}) {
      if (attrs.getIndex(name) < 0) continue;
      std::string message = readDate(attrs, name, name[6] == 'f' ? &r.validFrom : &r.validUntil);
      if (!message.empty()) return refuse("tax: " + message);
    }
    catalogue_.taxTable.add(r);
    return true;
  }

  void readWeight(const sax::Attributes& attrs, int line) {
    const bool hasWeight = attrs.getIndex("weight") >= 0,
               hasUnit = attrs.getIndex("weight-unit") >= 0;
    if (!hasWeight && !hasUnit) return;
    const std::string w = attribute(attrs, "weight"), unit = attribute(attrs, "weight-unit");
    ktz::decimal::decimal64 value;
    if (!util::parseDecimalCString(&value, w.c_str(), nullptr) || !ktzDec64IsFinite(value) ||
        ktzDec64SignBit(value)) {
      fault(line, "attribute 'weight' has invalid value '" + w + "'");
    } else if (unit != "GRM" && unit != "MGM" && unit != "KGM" && unit != "LBR") {
      fault(line, "attribute 'weight-unit' has invalid value '" + unit + "'");
    } else {
      article_->record.weight = value;
      article_->record.weightUnit = unit;
    }
  }

  // <dimensions minx= miny= minz= maxx= maxy= maxz=/> in millimetres.
  void readDimensions(const sax::Attributes& attrs, int line) {
    static const char* const kKnown[] = {"minx", "miny", "minz", "maxx", "maxy", "maxz"};
    std::string unknown = unknownAttribute(attrs, kKnown);
    if (!unknown.empty()) {
      fault(line, "dimensions: unknown attribute '" + unknown + "'");
      return;
    }
    if (dimensionsRead_) {
      fault(line, "duplicate dimensions");
      return;
    }
    dimensionsRead_ = true;
    std::string error;
    util::EBounds box;
    if (!box.decodeAttributes(attrs, &error))
      fault(line, "dimensions: " + error);
    else
      article_->record.dimensions = box;
  }

  void endClassification() {
    std::string text = collapse(text_);
    if (textFaulty_) return;
    EClassification c;
    std::string error;
    if (!c.parseString(text, &error)) {
      fault(textLine_, error);
      return;
    }
    article_->record.classifications.push_back(std::move(c));
  }

  // <choice id= [default=] [required=yes|no] [label=] [label-LL=]>
  void startChoice(const sax::Attributes& attrs, int line) {
    choice_.emplace();
    choiceLine_ = line;
    static const char* const kKnown[] = {"id", "default", "required"};
    std::string unknown = unknownBesidesLabels(attrs, kKnown);
    if (!unknown.empty()) fault(line, "choice: unknown attribute '" + unknown + "'");
    choice_->id = attribute(attrs, "id");
    choice_->defaultValue = attribute(attrs, "default");
    const std::string required = attribute(attrs, "required");
    if (!required.empty() && required != "yes" && required != "no")
      fault(line, "choice: attribute 'required' has invalid value '" + required + "'");
    choice_->required = required == "yes";
    readLabels(attrs, &choice_->label);
    if (choice_->id.empty())
      fault(line, "choice: attribute 'id' is missing or empty");
    else if (article_->record.findChoice(choice_->id))
      fault(line, "duplicate choice '" + choice_->id + "'");
  }

  void endChoice() {
    Choice& c = *choice_;
    if (c.values.empty()) fault(choiceLine_, "choice '" + c.id + "' has no value");
    if (!c.defaultValue.empty() && !c.findValue(c.defaultValue))
      fault(choiceLine_, "choice '" + c.id + "': default value '" + c.defaultValue +
                             "' is not one of its values");
    article_->record.choices.push_back(std::move(c));
    choice_.reset();
  }

  // <value id= [label=] [label-LL=]> with <effect currency= value=/> inside.
  void startValue(const sax::Attributes& attrs, int line) {
    value_ = ChoiceValue();
    static const char* const kKnown[] = {"id"};
    std::string unknown = unknownBesidesLabels(attrs, kKnown);
    if (!unknown.empty()) fault(line, "value: unknown attribute '" + unknown + "'");
    value_.id = attribute(attrs, "id");
    readLabels(attrs, &value_.label);
    if (value_.id.empty())
      fault(line, "value: attribute 'id' is missing or empty");
    else if (choice_->findValue(value_.id))
      fault(line, "choice '" + choice_->id + "': duplicate value '" + value_.id + "'");
  }

  void addEffect(const sax::Attributes& attrs, int line) {
    static const char* const kKnown[] = {"currency", "value"};
    std::string unknown = unknownAttribute(attrs, kKnown);
    if (!unknown.empty()) {
      fault(line, "effect: unknown attribute '" + unknown + "'");
      return;
    }
    const std::string code = attribute(attrs, "currency");
    ECurrency effect;
    std::string error;
    if (code != "%" && std::find(catalogue_.currencies.begin(), catalogue_.currencies.end(),
                                 code) == catalogue_.currencies.end())
      fault(line, "effect: unknown currency '" + code + "'");
    else if (!effect.decodeAttributes(attrs, &error))
      fault(line, "effect: " + error);
    else if (!effect.isFinite())
      fault(line,
            "effect: attribute 'value' has invalid value '" + attribute(attrs, "value") + "'");
    else
      value_.effects.push_back(effect);
  }

  // <tier min-quantity= value=/>: a percentage off from that quantity on.
  void addTier(const sax::Attributes& attrs, int line) {
    static const char* const kKnown[] = {"min-quantity", "value"};
    std::string unknown = unknownBesidesLabels(attrs, kKnown);
    if (!unknown.empty()) {
      fault(line, "tier: unknown attribute '" + unknown + "'");
      return;
    }
    ktz::decimal::decimal128 min;
    const std::string q = attribute(attrs, "min-quantity");
    ECurrency percent;
    std::string error;
    const std::string value = attribute(attrs, "value");
    if (!util::parseDecimalCString(&min, q.c_str(), nullptr) || !ktzDec128IsFinite(min) ||
        !(min > ktz::decimal::decimal128(0))) {
      fault(line, "tier: attribute 'min-quantity' has invalid value '" + q + "'");
    } else if (!percent.decodeAttributes("%", value.c_str(), &error)) {
      fault(line, "tier: " + error);
    } else if (!percent.isFinite() || percent.isNegative() ||
               percent.amount > ktz::decimal::decimal128(100)) {
      fault(line, "tier: attribute 'value' must be a percentage of 0 to 100, not '" + value + "'");
    } else {
      for (const PriceCalcItem& t : article_->record.tiers) {
        if (t.getMinQuantity() == min) {
          fault(line, "duplicate tier from " + q);
          return;
        }
      }
      PriceCalcItem tier(CIT_QuantityDiscount, percent);
      tier.setMinQuantity(min);
      readLabels(attrs, &tier.label());
      article_->record.tiers.push_back(std::move(tier));
    }
  }

  void startPrice(const sax::Attributes& attrs, int line) {
    price_ = PendingPrice();
    price_.line = line;
    static const char* const kKnown[] = {"currency", "value", "valid-from", "valid-until"};
    std::string unknown = unknownAttribute(attrs, kKnown);
    std::string code = attribute(attrs, "currency");
    std::string error;
    ECurrency& base = price_.record.base;
    // Amounts are exact or a fault: the watch sees a value rounded to 34
    // digits while it is read.
    util::DecimalExactness exact;
    for (const char* name : {"valid-from", "valid-until"}) {
      if (attrs.getIndex(name) < 0) continue;
      std::string message = readDate(
          attrs, name, name[6] == 'f' ? &price_.record.validFrom : &price_.record.validUntil);
      if (!message.empty()) {
        fault(line, "price: " + message);
        price_.faulty = true;
      }
    }
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
    } else if (!base.decodeAttributes(attrs, &error)) {
      fault(line, "price: " + error);
      price_.faulty = true;
    } else if (!exact.exact()) {
      fault(line, "price: attribute 'value' has invalid value '" + attribute(attrs, "value") +
                      "': it " + exact.problem());
      price_.faulty = true;
    } else if (!base.isFinite()) {
      fault(line, "price: attribute 'value' has invalid value '" + attribute(attrs, "value") + "'");
      price_.faulty = true;
    } else {
      const std::vector<ArticlePrice>& prices = article_->record.prices;
      for (std::size_t i = 0; i < prices.size(); ++i) {
        if (prices[i].base.getUnit() == code && overlap(prices[i], price_.record)) {
          fault(line, "duplicate price in " + code + " (first at line " +
                          std::to_string(article_->priceLines[i]) + ")");
          price_.faulty = true;
          break;
        }
      }
    }
  }

  // Two prices' periods (open ends are the article's) share a day.
  bool overlap(const ArticlePrice& a, const ArticlePrice& b) const {
    const Article& art = article_->record;
    const EDate& af = a.validFrom.isNull() ? art.validFrom : a.validFrom;
    const EDate& au = a.validUntil.isNull() ? art.validUntil : a.validUntil;
    const EDate& bf = b.validFrom.isNull() ? art.validFrom : b.validFrom;
    const EDate& bu = b.validUntil.isNull() ? art.validUntil : b.validUntil;
    return !(au < bf) && !(bu < af);
  }

  void addAdjustment(const std::string& element, const sax::Attributes& attrs, int line) {
    static const char* const kKnown[] = {"value"};
    std::string unknown = unknownAttribute(attrs, kKnown);
    if (!unknown.empty()) {
      fault(line, element + ": unknown attribute '" + unknown + "'");
      price_.faulty = true;
      return;
    }
    ECurrency percent;
    std::string value = attribute(attrs, "value");
    std::string error;
    util::DecimalExactness exact;
    if (element == "absolute-discount") {
      // An amount in the price's own currency.
      ECurrency amount;
      const std::string code = price_.record.base.getUnit();
      if (!amount.decodeAttributes(code.c_str(), value.c_str(), &error) || !exact.exact() ||
          !amount.isFinite() || amount.isNegative()) {
        fault(line,
              element + ": attribute 'value' must be an amount of 0 or more, not '" + value + "'");
        price_.faulty = true;
        return;
      }
      price_.record.calcItems.emplace_back(CIT_AbsoluteDiscount, amount);
      return;
    }
    if (!percent.decodeAttributes("%", value.c_str(), &error)) {
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
    if (!percent.isFinite() || percent.isNegative()) {
      fault(line,
            element + ": attribute 'value' must be a percentage of 0 or more, not '" + value + "'");
      price_.faulty = true;
      return;
    }
    price_.record.calcItems.emplace_back(
        element == "discount" ? CIT_PercentDiscount : CIT_PercentSurcharge, percent);
  }

  void endPrice() {
    PendingPrice& p = price_;
    if (!p.faulty) {
      util::DecimalExactness exact;
      const ECurrency value = p.record.evaluate();
      const std::string unit = p.record.base.getUnit();
      if (!value.isFinite()) {
        fault(p.line, "price in " + unit + " is out of range");
      } else if (!exact.exact()) {
        fault(p.line, "price in " + unit + " cannot be computed exactly: it " + exact.problem());
      } else if (value.isNegative()) {
        fault(p.line, "price in " + unit + " is negative (" +
                          util::formatDecimalCString(
                              value.amount, ECurrency::getDefaultFractionDigits(value.unit)) +
                          ")");
      }
    }
    // A faulty price counts with the article's faults already; it is there.
    article_->record.prices.push_back(std::move(p.record));
    article_->priceLines.push_back(p.line);
  }

  void endArticle() {
    PendingArticle& p = *article_;
    if (p.record.prices.empty()) fault(p.line, "no price");
    if (p.record.names.getSet() == nullptr ||
        p.record.names.getSet()->get(catalogue_.lang.c_str(), true).isNull())
      fault(p.line, "no name in the catalogue language '" + catalogue_.lang + "'");
    if (p.faults > 0)
      ++invalid_;
    else
      catalogue_.addArticle(p.record);
    article_.reset();
  }

  fw::IApplication* app_;
  detail::TagLines lines_;
  int tagLine_ = 0;
  Catalogue& catalogue_;
  std::vector<CatalogueFault>& faults_;
  std::map<std::string, int> ids_;
  int invalid_ = 0;

  std::vector<Context> stack_;
  std::optional<PendingArticle> article_;
  PendingPrice price_;
  std::optional<Choice> choice_;
  bool dimensionsRead_ = false;
  int choiceLine_ = 0;
  ChoiceValue value_;
  std::string textLang_;
  int textLine_ = 0;
  bool textFaulty_ = false;
  bool textFaulted_ = false;
  int textAt_ = 1;
  std::string text_;
  std::string markup_;

  std::string refusal_;
  std::string fatalMessage_;
  int fatalLine_ = 0;
};

}  // namespace

std::string CatalogueReader::wrapDescription(const std::string& body) {
  return "<html><head><title></title></head><body>" + body + "</body></html>";
}

namespace {

// The document handed to the XML reader in blocks straight from the text
// (no copy), reporting how far the reader has taken it.
class ProgressBuffer : public std::streambuf {
 public:
  ProgressBuffer(const std::string& text, const CatalogueReader::ProgressFn& progress)
      : text_(text), progress_(progress) {}

 protected:
  int_type underflow() override {
    if (gptr() < egptr()) return traits_type::to_int_type(*gptr());
    if (next_ >= text_.size()) return traits_type::eof();
    const std::size_t n = std::min(kBlock, text_.size() - next_);
    char* begin = const_cast<char*>(text_.data()) + next_;  // read only: no putback
    setg(begin, begin, begin + n);
    next_ += n;
    if (progress_) progress_(next_, text_.size());
    return traits_type::to_int_type(*gptr());
  }

 private:
  static constexpr std::size_t kBlock = 64 * 1024;
  const std::string& text_;
  const CatalogueReader::ProgressFn& progress_;
  std::size_t next_ = 0;
};

}  // namespace

bool CatalogueReader::read(const std::string& text, const std::string& systemId) {
  catalogue_ = Catalogue();
  faults_.clear();
  invalid_ = 0;
  fatalMessage_.clear();
  fatalLine_ = 0;
  try {
    ProgressBuffer blocks(text, progress_);
    std::istream in(&blocks);
    sax::ISInputSource source("", systemId, &in, false);
    Handler handler(app_, text, catalogue_, faults_);
    sax::SimpleXMLReader reader(app_);
    reader.setFeature(sax::SimpleXMLReader::UseUTF8, true);
    reader.setFeature(sax::SimpleXMLReader::HTML4Entities, true);
    // Documents come from outside: they never make the reader open a file.
    reader.setFeature(sax::SimpleXMLReader::ExternalGeneralEntities, false);
    reader.setFeature(sax::SimpleXMLReader::ExternalParameterEntities, false);
    reader.setContentHandler(&handler);
    reader.setErrorHandler(&handler);
    const bool ok = reader.parse(&source);
    invalid_ = handler.invalidCount();
    if (ok) return true;
    fatalMessage_ =
        handler.fatalMessage().empty() ? "cannot read the catalogue" : handler.fatalMessage();
    fatalLine_ = handler.fatalLine();
    return false;
  } catch (const std::bad_alloc&) {
    fatalMessage_ = "out of memory";
    return false;
  }
}

}  // namespace qor::quv::basket
