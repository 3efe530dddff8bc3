// BasketXml: the basket's XML form. The reader is a SAX handler that builds
// the item tree with an explicit stack and stops at the first fault; the
// writer walks the tree through IXMLWriter.
#include <kelp/util/utl_BasketXml.h>

#include <cstring>
#include <initializer_list>
#include <new>
#include <sstream>
#include <vector>

#include <kelp/util/utl_Decimal.h>
#include <kelp/xml/sax/sax_DefaultHandler.h>
#include <kelp/xml/sax/sax_ParseException.h>
#include <kelp/xml/xml_Writer.h>
#include <kelp/xml/xml_XMLWriterItfWrapper.h>

#include "utl_Basket_impl.h"
#include "utl_TagLines_impl.h"

namespace qor::quv::basket {

namespace {

using detail::attr;
using detail::hasAttr;
using util::ECurrency;

bool isBlank(const char* s) {
  for (; *s; ++s)
    if (*s != ' ' && *s != '\t' && *s != '\n' && *s != '\r') return false;
  return true;
}

// A UN/ECE unit code: two or three upper-case letters or digits.
bool isUnitCode(const std::string& u) {
  if (u.size() < 2 || u.size() > 3) return false;
  for (char c : u)
    if (!((c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'))) return false;
  return true;
}

class Reader : public xml::sax::DefaultHandler {
 public:
  explicit Reader(const std::string& text) : lines_(text) {}

  Basket basket;
  std::string refusal, fatal;
  int fatalLine = 0;

  bool startElement(const char*, const char* localName, const char* qName,
                    const xml::sax::Attributes& attrs) override {
    const std::string name = localName && *localName ? localName : qName;
    line_ = lines_.startTag(qName);
    if (!rootSeen_) {
      rootSeen_ = true;
      if (name != "basket") return refuse("root element must be <basket>, not <" + name + ">");
      stack_.push_back(kBasket);
      return readBasket(attrs);
    }
    const Context top = stack_.back();
    if (top == kLeaf) return refuse("element <" + name + "> is not allowed here");
    if (name == "item") return startItem(attrs);
    if (name == "choice" && top == kItem) return readChoice(attrs);
    if (name == "calc" && top == kBasket) return readCalc(attrs);
    if ((name == "customer-discount" || name == "project-discount") && top == kBasket)
      return readDiscount(name, attrs);
    return refuse("unknown element <" + name + "> in <" + (top == kBasket ? "basket" : "item") +
                  ">");
  }

  bool endElement(const char*, const char*, const char* qName) override {
    lines_.endTag(qName);
    if (stack_.empty()) return true;
    if (stack_.back() == kItem) {
      BasketItem done = std::move(items_.back());
      items_.pop_back();
      (items_.empty() ? basket.items : items_.back().children).push_back(std::move(done));
      used_.pop_back();
    }
    stack_.pop_back();
    return true;
  }

  bool characters(const char* chars) override {
    return isBlank(chars) || refuse("text is not allowed in a basket");
  }

  std::string getErrorMessage() override { return refusal; }

  bool fatalError(const xml::sax::SAXParseException& e) override {
    if (fatal.empty()) {
      fatal = e.getMessage();
      fatalLine = e.getLineNumber();
    }
    return false;
  }

 private:
  enum Context { kBasket, kItem, kLeaf };

  bool refuse(const std::string& message) {
    refusal = message;
    return false;
  }

  // Refuses the first attribute not in `known`; `where` begins the message.
  bool unknownAttributes(const xml::sax::Attributes& attrs, const std::string& where,
                         std::initializer_list<const char*> known) {
    for (int i = 0; i < attrs.getLength(); ++i) {
      const char* n = attrs.getQName(i);
      bool ok = !std::strncmp(n, "xmlns", 5);
      for (const char* k : known) ok = ok || !std::strcmp(n, k);
      if (!ok) {
        refuse(where + "unknown attribute '" + n + "'");
        return true;
      }
    }
    return false;
  }

  bool readBasket(const xml::sax::Attributes& attrs) {
    if (unknownAttributes(attrs, "basket: ",
                          {"id", "currency", "price-date", "tax-country", "rounding",
                           "cash-rounding", "catalogue", "catalogue-version"}))
      return false;
    PriceConfiguration& c = basket.configuration;
    basket.id = attr(attrs, "id");
    c.currency = attr(attrs, "currency");
    if (!util::Funcs::isValidCurrencyCode(c.currency))
      return refuse("basket: " + detail::invalidValue("currency", c.currency));
    const std::string date = attr(attrs, "price-date");
    // Exactly YYYY-MM-DD, so that the date is written back as it was read.
    if (!c.priceDate.parseString(date.c_str(), nullptr) || !c.priceDate.isValid() ||
        c.priceDate.formatString() != date)
      return refuse("basket: attribute 'price-date' has invalid date '" + date + "'");
    c.taxCountry = attr(attrs, "tax-country");
    if (!c.taxCountry.empty() && !util::Funcs::isValidCountryCode(c.taxCountry))
      return refuse("basket: " + detail::invalidValue("tax-country", c.taxCountry));
    if (hasAttr(attrs, "rounding")) {
      const std::string r = attr(attrs, "rounding");
      if (r.size() != 1 || r[0] < '1' || r[0] > '9')
        return refuse("basket: " + detail::invalidValue("rounding", r));
      c.roundingMode = static_cast<types::RoundingMode>(r[0] - '0');
    }
    if (hasAttr(attrs, "cash-rounding")) {
      const std::string r = attr(attrs, "cash-rounding");
      if (r.size() != 1 || r[0] < '1' || r[0] > '6')
        return refuse("basket: " + detail::invalidValue("cash-rounding", r));
      c.cashRounding = static_cast<RoundingInterval>(r[0] - '0');
    }
    basket.catalogueId = attr(attrs, "catalogue");
    if (hasAttr(attrs, "catalogue-version")) {
      const std::string v = attr(attrs, "catalogue-version");
      if (!basket.catalogueVersion.parseString(v.c_str(), nullptr))
        return refuse("basket: " + detail::invalidValue("catalogue-version", v));
    }
    return true;
  }

  bool readDiscount(const std::string& element, const xml::sax::Attributes& attrs) {
    if (unknownAttributes(attrs, element + ": ", {"currency", "value"})) return false;
    ECurrency v;
    std::string message;
    if (!v.decodeAttributes(attrs, &message)) return refuse(element + ": " + message);
    if (!v.isRelative()) return refuse(element + ": the value must be a percentage");
    (element[0] == 'c' ? basket.configuration.customerDiscount
                       : basket.configuration.projectDiscount) = v;
    stack_.push_back(kLeaf);
    return true;
  }

  bool readCalc(const xml::sax::Attributes& attrs) {
    PriceCalcItem ci;
    std::string message;
    for (int i = 0; i < attrs.getLength(); ++i) {
      const char* n = attrs.getQName(i);
      if (std::strncmp(n, "label", 5) && std::strcmp(n, "kind") && std::strcmp(n, "currency") &&
          std::strcmp(n, "value") && std::strcmp(n, "tax-class") && std::strcmp(n, "min-quantity"))
        return refuse(std::string("calc: unknown attribute '") + n + "'");
    }
    if (!ci.decodeAttributes(attrs, &message)) return refuse("calc: " + message);
    basket.calcItems.push_back(std::move(ci));
    stack_.push_back(kLeaf);
    return true;
  }

  bool startItem(const xml::sax::Attributes& attrs) {
    if (unknownAttributes(
            attrs, "item: ", {"position", "id", "article", "article-version", "quantity", "unit"}))
      return false;
    BasketItem item;
    item.line = line_;
    std::string message;
    const std::string pos = attr(attrs, "position");
    if (!item.position.parseString(pos, &message)) return refuse("item: " + message);
    // The position must be the next level below the enclosing item, once.
    const EPositionNumber parent = items_.empty() ? EPositionNumber() : items_.back().position;
    if (item.position.parent() != parent || item.position.getDepth() != parent.getDepth() + 1)
      return refuse(
          "item " + pos + ": position does not lie directly below " +
          (parent.isNull() ? std::string("the basket") : "item " + parent.formatString()));
    // One bit per number of the level: each position once, in constant time.
    std::vector<bool>& used = used_.back();
    if (used.empty()) used.resize(EPositionNumber::MAX_NUMBER + 1);
    const auto number = static_cast<std::size_t>(item.position.getNumber(parent.getDepth()));
    if (used[number]) return refuse("item " + pos + ": position is used twice");
    const std::string id = attr(attrs, "id");
    if (!item.id.parseString(id.c_str()))
      return refuse("item " + pos + ": " + detail::invalidValue("id", id));
    item.articleId = attr(attrs, "article");
    if (item.articleId.empty())
      return refuse("item " + pos + ": attribute 'article' is missing or empty");
    if (hasAttr(attrs, "article-version")) {
      const std::string v = attr(attrs, "article-version");
      if (!item.articleVersion.parseString(v.c_str(), nullptr))
        return refuse("item " + pos + ": " + detail::invalidValue("article-version", v));
    }
    if (hasAttr(attrs, "quantity")) {
      const std::string q = attr(attrs, "quantity");
      if (!detail::readDecimal(q, &item.quantity) || !(item.quantity > ktz::decimal::decimal128(0)))
        return refuse("item " + pos + ": " + detail::invalidValue("quantity", q));
    }
    if (hasAttr(attrs, "unit")) {
      item.unit = attr(attrs, "unit");
      if (!isUnitCode(item.unit))
        return refuse("item " + pos + ": " + detail::invalidValue("unit", item.unit));
    }
    used[number] = true;
    items_.push_back(std::move(item));
    used_.emplace_back();  // sized when the first sub-item comes
    stack_.push_back(kItem);
    return true;
  }

  bool readChoice(const xml::sax::Attributes& attrs) {
    BasketItem& item = items_.back();
    const std::string where = "item " + item.position.formatString() + ": choice: ";
    if (unknownAttributes(attrs, where, {"id", "value"})) return false;
    const std::string id = attr(attrs, "id"), value = attr(attrs, "value");
    if (id.empty()) return refuse(where + "attribute 'id' is missing or empty");
    if (value.empty()) return refuse(where + "attribute 'value' is missing or empty");
    if (item.chosen(id)) return refuse(where + "'" + id + "' is chosen twice");
    item.choices.emplace_back(id, value);
    stack_.push_back(kLeaf);
    return true;
  }

  detail::TagLines lines_;
  int line_ = 0;
  bool rootSeen_ = false;
  std::vector<Context> stack_;
  std::vector<BasketItem> items_;  // the open items, outermost first
  // The numbers taken at the basket's level and below each open item.
  std::vector<std::vector<bool>> used_{std::vector<bool>(EPositionNumber::MAX_NUMBER + 1)};
};

bool writeItem(xml::XMLWriterItfWrapper& w, const BasketItem& item) {
  const bool leaf = item.choices.empty() && item.children.empty();
  if (!w.startElement("item", leaf ? xml::kFormatBlock : xml::kFormatIndentedBlock) ||
      !w.attribute("position", item.position.formatString()) ||
      !w.attribute("id", item.id.formatString()) || !w.attribute("article", item.articleId))
    return false;
  if (!item.articleVersion.isNull() &&
      !w.attribute("article-version", item.articleVersion.formatString()))
    return false;
  if (!w.attribute("quantity", detail::decimalText(item.quantity))) return false;
  if (item.unit != "C62" && !w.attribute("unit", item.unit)) return false;
  for (const BasketItem::ChosenValue& c : item.choices)
    if (!w.startElement("choice", xml::kFormatBlock) || !w.attribute("id", c.first) ||
        !w.attribute("value", c.second) || !w.endElement())
      return false;
  for (const BasketItem& child : item.children)
    if (!writeItem(w, child)) return false;
  return w.endElement();
}

bool writeBasket(xml::XMLWriterItfWrapper& w, const Basket& b) {
  const PriceConfiguration& c = b.configuration;
  if (!w.startElement("basket", xml::kFormatIndentedBlock) || !w.attribute("id", b.id) ||
      !w.attribute("currency", c.currency) ||
      !w.attribute("price-date", c.priceDate.formatString()))
    return false;
  if (!c.taxCountry.empty() && !w.attribute("tax-country", c.taxCountry)) return false;
  if (!w.attribute("rounding", static_cast<int>(c.roundingMode))) return false;
  if (c.cashRounding != 0 && !w.attribute("cash-rounding", static_cast<int>(c.cashRounding)))
    return false;
  if (!b.catalogueId.empty() && !w.attribute("catalogue", b.catalogueId)) return false;
  if (!b.catalogueVersion.isNull() &&
      !w.attribute("catalogue-version", b.catalogueVersion.formatString()))
    return false;
  for (auto [name, value] :
       {std::pair<const char*, const ECurrency*>{"customer-discount", &c.customerDiscount},
        std::pair<const char*, const ECurrency*>{"project-discount", &c.projectDiscount}}) {
    if (value->isNull()) continue;
    if (!w.startElement(name, xml::kFormatBlock) || !value->encodeAttributes(&w) || !w.endElement())
      return false;
  }
  for (const BasketItem& item : b.items)
    if (!writeItem(w, item)) return false;
  for (const PriceCalcItem& ci : b.calcItems)
    if (!w.startElement("calc", xml::kFormatBlock) || !ci.encodeAttributes(&w) || !w.endElement())
      return false;
  return w.endElement();
}

}  // namespace

bool BasketXml::read(const std::string& text, Basket* basket, std::string* error, int* line) {
  return detail::readRecordXml(text, "basket", "cannot read the basket", &Reader::basket, basket,
                               error, line);
}

bool BasketXml::write(const Basket& basket, xml::IXMLWriter* writer, std::string* error) {
  return detail::writeRecordXml(
      writer, [&](xml::XMLWriterItfWrapper& w) { return writeBasket(w, basket); }, error);
}

std::string BasketXml::toString(const Basket& basket) {
  // The records hold UTF-8 (the reader delivers it), while the writer
  // converts from the locale's code set: write the bytes as they are and
  // declare them as what they are.
  std::ostringstream out;
  zob::Ref<xml::XMLWriter> writer(new xml::XMLWriter(&out, 2));
  const std::string appCodeSet = xml::XMLWriter::getAppCodeSet();
  writer->setEncoding(appCodeSet);
  if (!write(basket, writer.get(), nullptr)) return std::string();
  writer->close();
  std::string text = out.str();
  const std::string declared = "encoding=" + xml::XMLWriter::quoteAttrValue(appCodeSet.c_str());
  const std::size_t at = text.find(declared);
  if (at != std::string::npos && at < text.find('>'))
    text.replace(at, declared.size(), "encoding='UTF-8'");
  return text;
}

}  // namespace qor::quv::basket
