// RoomTemplate: a furnished room, its checks (articles, space, collisions),
// the basket it gives, and its XML form. The reader is a SAX handler that
// stops at the first fault, as the basket's does.
#include <kelp/util/utl_RoomTemplate.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <initializer_list>
#include <new>
#include <sstream>

#include <kelp/util/utl_EMatrix4.h>
#include <kelp/util/utl_EUUID.h>
#include <kelp/xml/sax/sax_DefaultHandler.h>
#include <kelp/xml/sax/sax_ParseException.h>
#include <kelp/xml/xml_Writer.h>
#include <kelp/xml/xml_XMLWriterItfWrapper.h>

#include "utl_Basket_impl.h"
#include "utl_TagLines_impl.h"

namespace qor::quv::basket {

namespace {

using detail::attr;
using util::EBounds;
using util::EVector3;

// Slack for the geometry tests, in millimetres: far below anything a
// planner can measure, far above the rounding of a rotated corner.
constexpr double kSlack = 1e-6;

// The namespace of the basket item ids a room derives (a fixed, random UUID).
const util::EUUID kItemNamespace("6f1c2d0e-5a8b-4e3f-9b7a-2c4d6e8f0a1b");

std::string placementName(const RoomPlacement& p, std::size_t index) {
  return p.id.empty() ? "placement " + std::to_string(index + 1) : "placement '" + p.id + "'";
}

std::vector<BasketItem::ChosenValue> sortedChoices(const RoomPlacement& p) {
  std::vector<BasketItem::ChosenValue> c = p.choices;
  std::sort(c.begin(), c.end());
  return c;
}

// A placed box: centre, unit axes and half extents.
struct Oriented {
  EVector3 centre, axis[3];
  double half[3];
};

Oriented orient(const RoomPlacement& p, const EBounds& d) {
  Oriented o;
  o.centre = p.rotation.rotate(d.centre()) + p.position;
  const EVector3 size = d.size();
  const EVector3 units[3] = {EVector3(1, 0, 0), EVector3(0, 1, 0), EVector3(0, 0, 1)};
  for (int i = 0; i < 3; ++i) {
    o.axis[i] = p.rotation.rotate(units[i]);
    o.half[i] = size[i] / 2;
  }
  return o;
}

// The boxes are kept apart along `axis` (any length): their projections
// overlap by no more than the slack.
bool separates(const Oriented& a, const Oriented& b, const EVector3& axis) {
  const double len = axis.length();
  if (len < 1e-9) return false;  // parallel edges give no axis of their own
  const EVector3 n = axis / len;
  double ra = 0, rb = 0;
  for (int i = 0; i < 3; ++i) {
    ra += a.half[i] * std::fabs(a.axis[i].dot(n));
    rb += b.half[i] * std::fabs(b.axis[i].dot(n));
  }
  return std::fabs((b.centre - a.centre).dot(n)) >= ra + rb - kSlack;
}

class Reader : public xml::sax::DefaultHandler {
 public:
  explicit Reader(const std::string& text) : lines_(text) {}

  RoomTemplate room;
  std::string refusal, fatal;
  int fatalLine = 0;

  bool startElement(const char*, const char* localName, const char* qName,
                    const xml::sax::Attributes& attrs) override {
    const std::string name = localName && *localName ? localName : qName;
    line_ = lines_.startTag(qName);
    if (stack_.empty()) {
      if (name != "room") return refuse("root element must be <room>, not <" + name + ">");
      stack_.push_back(kRoom);
      return readRoom(attrs);
    }
    const Context top = stack_.back();
    if (top == kRoom && name == "name") return startName(attrs);
    if (top == kRoom && name == "placement") return startPlacement(attrs);
    if (top == kPlacement && name == "choice") return readChoice(attrs);
    return refuse("element <" + name + "> is not allowed here");
  }

  bool endElement(const char*, const char*, const char* qName) override {
    lines_.endTag(qName);
    if (stack_.empty()) return true;
    if (stack_.back() == kName) {
      std::string t = text_;
      const std::size_t b = t.find_first_not_of(" \t\r\n"), e = t.find_last_not_of(" \t\r\n");
      t = b == std::string::npos ? std::string() : t.substr(b, e - b + 1);
      if (t.empty()) return refuse("name: the text is empty");
      room.names.set(lang_.c_str(), t);
    }
    stack_.pop_back();
    return true;
  }

  bool characters(const char* chars) override {
    if (!stack_.empty() && stack_.back() == kName) {
      text_ += chars;
      return true;
    }
    for (const char* s = chars; *s; ++s)
      if (*s != ' ' && *s != '\t' && *s != '\n' && *s != '\r')
        return refuse("text is not allowed in a room");
    return true;
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
  enum Context { kRoom, kName, kPlacement, kLeaf };

  bool refuse(const std::string& message) {
    refusal = message;
    return false;
  }

  bool unknownAttributes(const xml::sax::Attributes& attrs, const std::string& element,
                         std::initializer_list<const char*> known) {
    for (int i = 0; i < attrs.getLength(); ++i) {
      const char* n = attrs.getQName(i);
      bool ok = !std::strncmp(n, "xmlns", 5);
      for (const char* k : known) ok = ok || !std::strcmp(n, k);
      if (!ok) return refuse(element + ": unknown attribute '" + n + "'"), true;
    }
    return false;
  }

  bool readRoom(const xml::sax::Attributes& attrs) {
    if (unknownAttributes(attrs, "room", {"id", "minx", "miny", "minz", "maxx", "maxy", "maxz"}))
      return false;
    room.id = attr(attrs, "id");
    std::string message;
    if (!room.space.decodeAttributes(attrs, &message)) return refuse("room: " + message);
    if (room.space.isEmpty()) return refuse("room: the space (minx ... maxz) is missing");
    return true;
  }

  bool startName(const xml::sax::Attributes& attrs) {
    if (unknownAttributes(attrs, "name", {"lang"})) return false;
    lang_ = attr(attrs, "lang");
    if (!lang_.empty() && !util::Funcs::isValidLanguageCode(lang_))
      return refuse("name: " + detail::invalidValue("lang", lang_));
    if (room.names.has(lang_.c_str())) return refuse("name: a second name in one language");
    text_.clear();
    stack_.push_back(kName);
    return true;
  }

  bool startPlacement(const xml::sax::Attributes& attrs) {
    const std::string where = "placement " + std::to_string(room.placements.size() + 1);
    if (unknownAttributes(attrs, where, {"id", "article", "x", "y", "z", "qw", "qx", "qy", "qz"}))
      return false;
    RoomPlacement p;
    p.line = line_;
    p.id = attr(attrs, "id");
    const std::string name = placementName(p, room.placements.size());
    for (const RoomPlacement& other : room.placements)
      if (!p.id.empty() && other.id == p.id) return refuse(name + ": the id is used twice");
    p.articleId = attr(attrs, "article");
    if (p.articleId.empty()) return refuse(name + ": attribute 'article' is missing or empty");
    std::string message;
    if (!p.position.decodeAttributes(attrs, &message)) return refuse(name + ": " + message);
    if (!p.rotation.decodeAttributes(attrs, util::EVersor(), &message))
      return refuse(name + ": " + message);
    room.placements.push_back(std::move(p));
    stack_.push_back(kPlacement);
    return true;
  }

  bool readChoice(const xml::sax::Attributes& attrs) {
    RoomPlacement& p = room.placements.back();
    const std::string where = placementName(p, room.placements.size() - 1) + ": choice";
    if (unknownAttributes(attrs, where, {"id", "value"})) return false;
    const std::string id = attr(attrs, "id"), value = attr(attrs, "value");
    if (id.empty()) return refuse(where + ": attribute 'id' is missing or empty");
    if (value.empty()) return refuse(where + ": attribute 'value' is missing or empty");
    for (const BasketItem::ChosenValue& c : p.choices)
      if (c.first == id) return refuse(where + ": '" + id + "' is chosen twice");
    p.choices.emplace_back(id, value);
    stack_.push_back(kLeaf);
    return true;
  }

  detail::TagLines lines_;
  int line_ = 0;
  std::vector<Context> stack_;
  std::string lang_, text_;
};

bool writeRoom(xml::XMLWriterItfWrapper& w, const RoomTemplate& r) {
  if (!w.startElement("room", xml::kFormatIndentedBlock) || !w.attribute("id", r.id) ||
      !r.space.encodeAttributes(&w))
    return false;
  for (int i = 0; i < r.names.getSize(); ++i) {
    if (!w.startElement("name", xml::kFormatBlock)) return false;
    const std::string lang = r.names.getLang(i);
    if (!lang.empty() && !w.attribute("lang", lang)) return false;
    if (!w.characters(r.names.getText(i)) || !w.endElement()) return false;
  }
  for (const RoomPlacement& p : r.placements) {
    if (!w.startElement("placement",
                        p.choices.empty() ? xml::kFormatBlock : xml::kFormatIndentedBlock))
      return false;
    if (!p.id.empty() && !w.attribute("id", p.id)) return false;
    if (!w.attribute("article", p.articleId) || !p.position.encodeAttributes(&w)) return false;
    if (p.rotation != util::EVersor() && !p.rotation.encodeAttributes(&w)) return false;
    for (const BasketItem::ChosenValue& c : p.choices)
      if (!w.startElement("choice", xml::kFormatBlock) || !w.attribute("id", c.first) ||
          !w.attribute("value", c.second) || !w.endElement())
        return false;
    if (!w.endElement()) return false;
  }
  return w.endElement();
}

}  // namespace

bool RoomPlacement::operator==(const RoomPlacement& o) const {
  return id == o.id && articleId == o.articleId && choices == o.choices && position == o.position &&
         rotation == o.rotation;
}

bool RoomTemplate::operator==(const RoomTemplate& o) const {
  return id == o.id && names == o.names && space == o.space && placements == o.placements;
}

EBounds RoomTemplate::placedBounds(const RoomPlacement& p, const EBounds& dimensions) {
  return dimensions.transformed(util::EMatrix4::translation(p.position) *
                                util::EMatrix4::rotation(p.rotation));
}

bool RoomTemplate::overlap(const RoomPlacement& a, const EBounds& da, const RoomPlacement& b,
                           const EBounds& db) {
  if (da.isEmpty() || db.isEmpty()) return false;
  // Cheap screen first: boxes whose bounds do not overlap cannot.
  if (!placedBounds(a, da).overlaps(placedBounds(b, db), false)) return false;
  const Oriented oa = orient(a, da), ob = orient(b, db);
  for (int i = 0; i < 3; ++i)
    if (separates(oa, ob, oa.axis[i]) || separates(oa, ob, ob.axis[i])) return false;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      if (separates(oa, ob, oa.axis[i].cross(ob.axis[j]))) return false;
  return true;
}

std::vector<RoomFault> RoomTemplate::check(const Catalogue& catalogue,
                                           const util::EDate& date) const {
  std::vector<RoomFault> faults;
  std::vector<EBounds> dims(placements.size());
  for (std::size_t i = 0; i < placements.size(); ++i) {
    const RoomPlacement& p = placements[i];
    const std::string name = placementName(p, i);
    auto fault = [&](const std::string& message) {
      faults.push_back(RoomFault{i, p.line, name + ": " + message});
    };
    const Article* a = catalogue.findArticle(p.articleId);
    if (!a) {
      fault("article '" + p.articleId + "' is not in the catalogue");
      continue;
    }
    if (!a->isValidOn(date))
      fault("article '" + p.articleId + "' is not valid on " + date.formatString());
    for (const BasketItem::ChosenValue& c : p.choices) {
      const Choice* choice = a->findChoice(c.first);
      if (!choice)
        fault("article '" + p.articleId + "' has no choice '" + c.first + "'");
      else if (!choice->findValue(c.second))
        fault("choice '" + c.first + "' has no value '" + c.second + "'");
    }
    if (a->dimensions.isEmpty()) {
      fault("article '" + p.articleId + "' has no dimensions");
      continue;
    }
    dims[i] = a->dimensions;
    const EBounds placed = placedBounds(p, a->dimensions);
    const EVector3 lo = space.getMin() - EVector3(kSlack, kSlack, kSlack),
                   hi = space.getMax() + EVector3(kSlack, kSlack, kSlack);
    if (!EBounds(lo, hi).contains(placed))
      fault("reaches outside the room (placed box " + placed.formatString() + ", room " +
            space.formatString() + ")");
    for (std::size_t j = 0; j < i; ++j)
      if (overlap(placements[j], dims[j], p, dims[i]))
        fault("overlaps " + placementName(placements[j], j));
  }
  return faults;
}

Basket RoomTemplate::toBasket(const Catalogue* catalogue) const {
  Basket b;
  b.id = id;
  if (catalogue) {
    b.catalogueId = catalogue->id;
    b.catalogueVersion = catalogue->version;
  }
  std::vector<std::vector<BasketItem::ChosenValue>> keys;
  std::vector<long long> counts;
  for (const RoomPlacement& p : placements) {
    const std::vector<BasketItem::ChosenValue> key = sortedChoices(p);
    std::size_t k = 0;
    while (k < b.items.size() && !(b.items[k].articleId == p.articleId && keys[k] == key)) ++k;
    if (k < b.items.size()) {
      b.items[k].quantity = ktz::decimal::decimal128(++counts[k]);
      continue;
    }
    BasketItem item;
    item.position = EPositionNumber::top(static_cast<int>(b.items.size() + 1));
    const std::string name = id + "/" + item.position.formatString();
    util::EUUID uuid;
    uuid.createFromName(kItemNamespace, name.data(), name.size());
    item.id = EBasketItemId(uuid);
    item.articleId = p.articleId;
    item.choices = p.choices;
    if (catalogue)
      if (const Article* a = catalogue->findArticle(p.articleId))
        item.articleVersion = catalogue->versionOf(*a);
    b.items.push_back(std::move(item));
    keys.push_back(key);
    counts.push_back(1);
  }
  return b;
}

bool RoomTemplate::read(const std::string& text, RoomTemplate* room, std::string* error,
                        int* line) {
  return detail::readRecordXml(text, "room", "cannot read the room", &Reader::room, room, error,
                               line);
}

bool RoomTemplate::write(const RoomTemplate& room, xml::IXMLWriter* writer, std::string* error) {
  return detail::writeRecordXml(
      writer, [&](xml::XMLWriterItfWrapper& w) { return writeRoom(w, room); }, error);
}

std::string RoomTemplate::toString(const RoomTemplate& room) {
  std::ostringstream out;
  zob::Ref<xml::XMLWriter> writer(new xml::XMLWriter(&out, 2));
  if (!write(room, writer.get(), nullptr)) return std::string();
  writer->close();
  return out.str();
}

}  // namespace qor::quv::basket
