// PriceCalculation: the price of a basket, step by step in exact decimal
// arithmetic, each step recorded as an entry; and the update check of a
// saved basket against a catalogue.
#include <kelp/util/utl_PriceCalculation.h>

#include <algorithm>
#include <memory>

#include <kelp/util/utl_Decimal.h>

namespace qor::quv::basket {

namespace {

using dec = ktz::decimal::decimal128;
using util::ECurrency;

// 10^n, exactly.
dec power10(int n) {
  return ktzDec128ScaleB(dec(1), n);
}

dec percentOf(const dec& x, const dec& p) {
  return x * ktzDec128ScaleB(p, -2);
}

// A number as written, without the ".0" the automatic form adds to integers.
std::string numberText(const dec& x) {
  std::string s = util::formatDecimalCString(x, -1);
  if (s.size() > 2 && s.compare(s.size() - 2, 2, ".0") == 0) s.resize(s.size() - 2);
  return s;
}

// Below zero, from the sign bit alone (-0 is not negative).
bool negative(const dec& x) {
  return ktzDec128SignBit(x) && !ktzDec128IsZero(x);
}

// Not finite, or outside [0, limit]: one comparison, the rest from bits.
bool outside(const dec& x, const dec& limit) {
  return !ktzDec128IsFinite(x) || negative(x) || x > limit;
}

bool magnitudeAbove(const dec& x, const dec& limit) {
  return !ktzDec128IsFinite(x) || x > limit || x < -limit;
}

// One priced line, kept for the unit taxes of its class.
struct Line {
  const Article* article;
  EPositionNumber position;
  dec quantity;
  std::string taxClass;
};

class Run {
 public:
  Run(const Catalogue& cat, const PriceConfiguration& cfg, PriceResult& res)
      : cat_(cat), cfg_(cfg), res_(res) {}

  void price(const Basket& basket) {
    if (!setUp()) return;
    const std::size_t count = basket.countItems();
    res_.items.reserve(count);
    lines_.reserve(count);
    for (const BasketItem& item : basket.items) priceItem(item, dec(1));
    // Items come in tree order unless the basket lists a level out of order.
    const auto byItem = [](const ItemPrice& a, const ItemPrice& b) {
      return a.position < b.position;
    };
    if (!std::is_sorted(res_.items.begin(), res_.items.end(), byItem))
      std::sort(res_.items.begin(), res_.items.end(), byItem);
    const auto byLine = [](const Line& a, const Line& b) { return a.position < b.position; };
    if (!std::is_sorted(lines_.begin(), lines_.end(), byLine))
      std::sort(lines_.begin(), lines_.end(), byLine);
    // Line nets are never negative, so no partial sum exceeds the final
    // one: checking each class's sum once keeps every addition exact.
    std::map<std::string, dec> sums;
    for (const ItemPrice& ip : res_.items)
      if (!ip.setHeader) {
        dec& sum = sums[ip.taxClass];
        sum = sum + ip.net.amount;
      }
    for (const auto& [c, sum] : sums) addToClass(c, sum);
    basketLevel(basket);
    taxes();
    totals(basket);
    if (!res_.faults.empty()) {
      res_.entries.clear();
      res_.netByClass.clear();
      res_.netTotal = res_.taxTotal = res_.grossTotal = res_.payable = res_.due = ECurrency::Null;
    }
  }

 private:
  // --- set-up and helpers -----------------------------------------------------

  bool setUp() {
    k_ = cfg_.currency;
    d_ =
        util::Funcs::isValidCurrencyCode(k_) ? ECurrency::getDefaultFractionDigits(k_.c_str()) : -1;
    if (d_ < 0) {
      fault(EPositionNumber(), "currency '" + k_ + "' is not money");
      return false;
    }
    if (!cfg_.priceDate.isValid()) {
      fault(EPositionNumber(), "price date '" + cfg_.priceDate.formatString() + "' is not valid");
      return false;
    }
    unit_ = ECurrency::makeUnit(k_.c_str());
    quantum_ = power10(-d_);
    types::RoundingMode mode = cfg_.roundingMode;
    if (mode == types::eRoundingExact) mode = util::getDefaultMoneyRoundingMode();
    using ktz::decimal::Rounding;
    switch (mode) {
      case types::eRoundingUp:
        rounding_.set(Rounding::Up);
        break;
      case types::eRoundingDown:
        rounding_.set(Rounding::Down);
        break;
      case types::eRoundingCeiling:
        rounding_.set(Rounding::Ceiling);
        break;
      case types::eRoundingFloor:
        rounding_.set(Rounding::Floor);
        break;
      case types::eRoundingHalfUp:
        rounding_.set(Rounding::HalfUp);
        break;
      case types::eRoundingHalfDown:
        rounding_.set(Rounding::HalfDown);
        break;
      case types::eRoundingIntegral:
        break;  // the thread's own rounding, as the runtime's exact rounding
      default:
        roundNone_ = true;
    }
    date_ = cfg_.priceDate.formatString();
    maxAmount_ = power10(15);
    maxQuantity_ = power10(9);
    maxTotal_ = power10(28);
    return true;
  }

  void fault(const EPositionNumber& position, const std::string& message) {
    res_.faults.push_back(PriceFault{position, message});
  }

  // roundMoney(x, d, R) in one step: the value quantized to d decimals under
  // the thread's rounding, which the run has set to R's direction.
  // A value with no more than d decimals is its own rounding: skip the step.
  dec round(const dec& x) const {
    return roundNone_ || ktzDec128Exponent(x) >= -d_ ? x : ktzDec128Quantize(x, quantum_);
  }
  ECurrency money(const dec& x) const { return ECurrency(unit_, x); }
  std::string text(const dec& x) const { return util::formatDecimalCString(x, d_); }

  // Appends one entry, built in place.
  void add(std::vector<PriceCalcEntry>& to, CalcItemType type, const EPositionNumber& pos,
           const std::string& label, const dec* base, const dec* amount, const dec* net,
           const std::string& taxClass = std::string()) const {
    PriceCalcEntry& e = to.emplace_back();
    e.type = type;
    e.position = pos;
    e.label = label;
    // The amounts are finite results in K: no need for the canonical checks.
    if (base) e.base = Currency{unit_, *base};
    if (amount) e.amount = Currency{unit_, *amount};
    if (net) e.net = Currency{unit_, *net};
    if (!taxClass.empty()) e.taxClass = taxClass;
  }

  std::string labelOf(const PriceCalcItem& ci) const {
    return ci.getLabel().get(cat_.lang.c_str());
  }
  static std::string kindOf(const PriceCalcItem& ci) {
    return std::string("calc item '") + calcItemTypeName(ci.getType()) + "'";
  }

  // A percentage of the calc item within [low, high]; false after a fault.
  bool percentage(const PriceCalcItem& ci, const EPositionNumber& pos, int low, int high, dec* p) {
    const ECurrency& v = ci.getValue();
    if (!v.isRelative()) {
      fault(pos, kindOf(ci) + " needs a percentage");
      return false;
    }
    // From 0 the sign bit decides the low end: one comparison instead of two.
    const dec top = high == 100 ? hundred_ : dec(high);
    if (low == 0 ? outside(v.amount, top)
                 : !ktzDec128IsFinite(v.amount) || v.amount < dec(low) || v.amount > top) {
      fault(pos, kindOf(ci) + ": percentage " + numberText(v.amount) + " is out of range (" +
                     std::to_string(low) + " to " + std::to_string(high) + ")");
      return false;
    }
    *p = v.amount;
    return true;
  }

  // An amount in K within [0, 10^15]; false after a fault.
  bool amountInK(const ECurrency& v, const std::string& what, const EPositionNumber& pos, dec* a) {
    if (!v.isAbsolute()) {
      fault(pos, what + " needs an amount in " + k_);
      return false;
    }
    if (v.getUnit() != k_) {
      fault(pos, what + " is in " + v.getUnit() + ", not in the basket's " + k_);
      return false;
    }
    if (outside(v.amount, maxAmount_)) {
      fault(pos, what + ": amount " + numberText(v.amount) + " is out of range (0 to 10^15)");
      return false;
    }
    *a = v.amount;
    return true;
  }

  // --- items (steps 1 to 5) -------------------------------------------------------

  void priceItem(const BasketItem& item, const dec& parentQuantity) {
    const EPositionNumber& pos = item.position;
    const std::size_t faultsBefore = res_.faults.size();
    // Top-level items (parent quantity 1) need no multiplication.
    dec q = pos.getDepth() <= 1 ? item.quantity : item.quantity * parentQuantity;
    if (!ktzDec128IsFinite(item.quantity) || ktzDec128SignBit(item.quantity) ||
        ktzDec128IsZero(item.quantity)) {
      fault(pos, "quantity " + numberText(item.quantity) + " must be above 0");
      q = parentQuantity;
    } else if (q > maxQuantity_) {
      fault(pos, "quantity " + numberText(q) +
                     " is out of range (at most 10^9 with the quantities of its set)");
      q = parentQuantity;
    }
    const Article* article = cat_.findArticle(item.articleId);
    const ArticlePrice* price = nullptr;
    if (!article) {
      fault(pos, "article '" + item.articleId + "' is not in the catalogue");
    } else if (!article->isValidOn(cfg_.priceDate)) {
      fault(pos, "article '" + item.articleId + "' is not valid on " + date_);
    } else {
      price = article->findPrice(k_, cfg_.priceDate);
      if (!price && !(article->prices.empty() && !item.children.empty()))
        fault(pos, "article '" + item.articleId + "' has no price in " + k_ + " valid on " + date_);
    }
    // A line with a faulty quantity is still priced, for its other faults.
    if (article && (price || res_.faults.size() == faultsBefore)) {
      ItemPrice ip;
      ip.position = pos;
      ip.id = item.id;
      ip.articleId = item.articleId;
      ip.taxClass = article->taxClass;
      if (!price) {
        ip.setHeader = true;
        res_.items.push_back(std::move(ip));
      } else if (priceLine(item, *article, *price, q, ip) && res_.faults.size() == faultsBefore) {
        lines_.push_back(Line{article, pos, q, article->taxClass});
        res_.items.push_back(std::move(ip));
      }
    }
    for (const BasketItem& child : item.children) priceItem(child, q);
  }

  // The chosen value of each choice of the article, the defaults filled in.
  bool chosenValues(const BasketItem& item, const Article& a,
                    std::vector<std::pair<std::size_t, std::size_t>>* values) {
    bool ok = true;
    for (const BasketItem::ChosenValue& c : item.choices) {
      const Choice* choice = a.findChoice(c.first);
      if (!choice) {
        fault(item.position, "article '" + a.id + "' has no choice '" + c.first + "'");
        ok = false;
      } else if (!choice->findValue(c.second)) {
        fault(item.position, "choice '" + c.first + "' has no value '" + c.second + "'");
        ok = false;
      }
    }
    for (const Choice& choice : a.choices) {
      const std::string* v = item.chosen(choice.id);
      if (!v && !choice.defaultValue.empty()) v = &choice.defaultValue;
      if (!v) {
        if (choice.required) {
          fault(item.position, "choice '" + choice.id + "' needs a value");
          ok = false;
        }
        continue;
      }
      if (const ChoiceValue* value = choice.findValue(*v)) {
        values->emplace_back(static_cast<std::size_t>(&choice - a.choices.data()),
                             static_cast<std::size_t>(value - choice.values.data()));
      } else if (v == &choice.defaultValue) {
        fault(item.position,
              "choice '" + choice.id + "': default value '" + *v + "' does not exist");
        ok = false;
      }
    }
    return ok;
  }

  // What an article contributes to every line that orders it, worked out
  // and checked once per calculation: the list price, the factors of its
  // calc items, the effects of its choice values and its tiers. Faults are
  // kept as messages and reported at each item that uses the article.
  struct Step {
    CalcItemType type;
    dec operand;  // the factor of a percentage, the amount of an absolute discount
    std::string label;
  };
  struct Tier {
    dec min, percent;
    std::string label, fault;
  };
  // Steps 1 to 4 for one article and one set of chosen values: the same for
  // every line that orders them, so worked out once and copied.
  struct Piece {
    std::vector<std::pair<std::size_t, std::size_t>> values;
    std::vector<PriceCalcEntry> entries;  // positions left null
    dec unitPrice;
    std::vector<std::string> faults;
  };

  struct Prepared {
    std::vector<std::string> faults;
    std::string name;
    std::vector<Step> steps;
    std::vector<Tier> tiers;  // largest minimum first
    std::vector<Piece> pieces;
  };

  // Runs a check that reports through fault() and keeps its messages.
  template <typename Check>
  std::vector<std::string> collect(Check check) {
    const std::size_t before = res_.faults.size();
    check();
    std::vector<std::string> messages;
    for (std::size_t i = before; i < res_.faults.size(); ++i)
      messages.push_back(std::move(res_.faults[i].message));
    res_.faults.resize(before);
    return messages;
  }

  Prepared& prepare(const Article& a, const ArticlePrice& price) {
    // By the article's place in the catalogue: no hashing per line.
    const auto index = static_cast<std::size_t>(&a - cat_.getArticles().data());
    if (prepared_.empty()) prepared_.resize(cat_.getArticles().size());
    if (prepared_[index]) return *prepared_[index];
    prepared_[index] = std::make_unique<Prepared>();
    Prepared& p = *prepared_[index];
    const EPositionNumber none;
    p.name = a.names.get(cat_.lang.c_str());
    const dec list = price.base.amount;
    p.faults = collect([&] {
      if (outside(list, maxAmount_)) {
        fault(none, "list price " + numberText(list) + " " + k_ + " is out of range (0 to 10^15)");
        return;
      }
      for (const PriceCalcItem& ci : price.calcItems) {
        dec x;
        switch (ci.getType()) {
          case CIT_PercentSurcharge:
            if (!percentage(ci, none, 0, 1000, &x)) return;
            p.steps.push_back(Step{ci.getType(), dec(1) + ktzDec128ScaleB(x, -2), labelOf(ci)});
            break;
          case CIT_PercentDiscount:
            if (!percentage(ci, none, 0, 100, &x)) return;
            p.steps.push_back(Step{ci.getType(), dec(1) - ktzDec128ScaleB(x, -2), labelOf(ci)});
            break;
          case CIT_AbsoluteDiscount:
            if (!amountInK(ci.getValue(), kindOf(ci), none, &x)) return;
            p.steps.push_back(Step{ci.getType(), x, labelOf(ci)});
            break;
          case CIT_Text:
            p.steps.push_back(Step{CIT_Text, dec(), labelOf(ci)});
            break;
          default:
            fault(none, kindOf(ci) + " is not allowed in a price");
            return;
        }
      }
    });
    for (const PriceCalcItem& t : a.tiers) {
      if (t.getType() != CIT_QuantityDiscount) continue;
      Tier tier{t.getMinQuantity(), dec(), labelOf(t), std::string()};
      std::vector<std::string> m = collect([&] { percentage(t, none, 0, 100, &tier.percent); });
      if (!m.empty()) tier.fault = m[0];
      tier.percent = ktzDec128ScaleB(tier.percent, -2);  // as a factor
      p.tiers.push_back(std::move(tier));
    }
    // Largest minimum first, equal ones in document order (a handful of
    // tiers: insertion needs no buffer).
    for (std::size_t i = 1; i < p.tiers.size(); ++i)
      for (std::size_t j = i; j > 0 && p.tiers[j].min > p.tiers[j - 1].min; --j)
        std::swap(p.tiers[j], p.tiers[j - 1]);
    return p;
  }

  void pricePiece(const Article& a, const Prepared& p, const ArticlePrice& price, Piece& piece) {
    const EPositionNumber none;
    piece.faults = collect([&] {
      // 1. The list price.
      for (const std::string& m : p.faults) fault(none, m);
      if (!p.faults.empty()) return;
      const dec list = price.base.amount;
      dec amount = list;
      std::vector<PriceCalcEntry>& out = piece.entries;
      out.reserve(4 + p.steps.size());
      add(out, CIT_ListPrice, none, p.name, nullptr, &list, &amount);
      // 2. The chosen values: absolute effects in K, percentages of L.
      for (const auto& [ci, vi] : piece.values) {
        const ChoiceValue& v = a.choices[ci].values[vi];
        const std::string label = v.label.get(cat_.lang.c_str());
        for (const ECurrency& e : v.effects) {
          dec effect;
          CalcItemType kind;
          if (e.isRelative()) {
            if (magnitudeAbove(e.amount, dec(1000)) || e.amount < dec(-100)) {
              fault(none, "value '" + v.id + "': percentage " + numberText(e.amount) +
                              " is out of range (-100 to 1000)");
              return;
            }
            effect = percentOf(list, e.amount);
            kind = CIT_OptionPercentSurcharge;
          } else if (e.isAbsolute() && e.getUnit() == k_) {
            if (magnitudeAbove(e.amount, maxAmount_)) {
              fault(none,
                    "value '" + v.id + "': amount " + numberText(e.amount) + " is out of range");
              return;
            }
            effect = e.amount;
            kind = CIT_OptionSurcharge;
          } else {
            continue;  // an absolute effect in another currency does not count in K
          }
          const dec before = amount;
          amount = amount + effect;
          add(out, kind, none, label, &before, &effect, &amount);
        }
      }
      // 3. The price's calc items on the running amount.
      for (const Step& step : p.steps) {
        if (step.type == CIT_Text) {
          add(out, CIT_Text, none, step.label, nullptr, nullptr, nullptr);
          continue;
        }
        const dec before = amount;
        amount = step.type == CIT_AbsoluteDiscount ? amount - step.operand : amount * step.operand;
        const dec change = amount - before;
        add(out, step.type, none, step.label, &before, &change, &amount);
      }
      // 4. The unit price.
      const dec unitPrice = round(amount);
      if (!ktzDec128IsFinite(unitPrice)) {
        fault(none, "unit price is out of range");
        return;
      }
      if (negative(unitPrice)) {
        fault(none, "unit price is negative (" + text(unitPrice) + ")");
        return;
      }
      if (const dec change = unitPrice - amount; !ktzDec128IsZero(change))
        add(out, CIT_Rounding, none, std::string(), &amount, &change, &unitPrice);
      piece.unitPrice = unitPrice;
    });
  }

  bool priceLine(const BasketItem& item, const Article& a, const ArticlePrice& price, const dec& q,
                 ItemPrice& ip) {
    const EPositionNumber& pos = item.position;
    Prepared& p = prepare(a, price);
    values_.clear();
    if (!chosenValues(item, a, &values_)) return false;
    // An article with many combinations of values keeps only the first few,
    // so that the search stays short.
    constexpr std::size_t kPiecesKept = 32;
    Piece* piece = nullptr;
    for (Piece& known : p.pieces)
      if (known.values == values_) piece = &known;
    Piece once;
    if (!piece) {
      piece = p.pieces.size() < kPiecesKept ? &p.pieces.emplace_back() : &once;
      piece->values = values_;
      pricePiece(a, p, price, *piece);
    }
    if (!piece->faults.empty()) {
      for (const std::string& m : piece->faults) fault(pos, m);
      return false;
    }
    ip.entries.reserve(piece->entries.size() + 2);
    ip.entries = piece->entries;
    for (PriceCalcEntry& e : ip.entries) e.position = pos;
    const dec unitPrice = piece->unitPrice;
    // 5. The line net and its quantity tier.
    // One piece (the canonical 1 as read) needs no multiplication.
    const bool onePiece = q.high() == dec(1).high() && q.low() == 1;
    dec net = onePiece ? unitPrice : round(unitPrice * q);
    if (!ktzDec128IsFinite(net)) {
      fault(pos, "line net is out of range");
      return false;
    }
    add(ip.entries, CIT_Subtotal, pos, std::string(), &unitPrice, &net, &net);
    for (const Tier& tier : p.tiers) {
      if (tier.min > q) continue;
      if (!tier.fault.empty()) {
        fault(pos, tier.fault);
        return false;
      }
      const dec before = net;
      const dec off = -round(net * tier.percent);
      net = net + off;
      add(ip.entries, CIT_QuantityDiscount, pos, tier.label, &before, &off, &net);
      break;
    }
    ip.unitPrice = money(unitPrice);
    ip.net = money(net);
    return true;
  }

  // --- the basket (steps 6 to 8) -----------------------------------------------

  void addToClass(const std::string& taxClass, const dec& x) {
    auto it = res_.netByClass.find(taxClass);
    dec sum = it == res_.netByClass.end() ? x : it->second.amount + x;
    if (magnitudeAbove(sum, maxTotal_)) {
      if (!overflowReported_)
        fault(EPositionNumber(), "the net of tax class '" + taxClass + "' is out of range");
      overflowReported_ = true;
      return;
    }
    res_.netByClass[taxClass] = money(sum);
  }

  dec netSum() const {
    dec s;
    for (const auto& [c, v] : res_.netByClass) s = s + v.amount;
    return s;
  }

  void discount(CalcItemType kind, const dec& p, const std::string& label) {
    for (auto& [c, v] : res_.netByClass) {
      const dec before = v.amount;
      const dec off = -round(percentOf(before, p));
      v = money(before + off);
      const dec total = netSum();
      add(res_.entries, kind, EPositionNumber(), label, &before, &off, &total, c);
    }
  }

  void configuredDiscount(CalcItemType kind, const ECurrency& value) {
    if (value.isNull()) return;
    PriceCalcItem ci(kind, value);
    dec p;
    if (percentage(ci, EPositionNumber(), 0, 100, &p)) discount(kind, p, std::string());
  }

  void basketLevel(const Basket& basket) {
    configuredDiscount(CIT_CustomerDiscount, cfg_.customerDiscount);
    configuredDiscount(CIT_ProjectDiscount, cfg_.projectDiscount);
    const EPositionNumber none;
    for (const PriceCalcItem& ci : basket.calcItems) {
      dec x;
      switch (ci.getType()) {
        case CIT_CustomerDiscount:
        case CIT_ProjectDiscount:
          if (percentage(ci, none, 0, 100, &x)) discount(ci.getType(), x, labelOf(ci));
          break;
        case CIT_Freight:
        case CIT_Packaging:
        case CIT_Service:
        case CIT_Installation:
        case CIT_Disposal:
          if (amountInK(ci.getValue(), kindOf(ci), none, &x)) {
            const auto it = res_.netByClass.find(ci.getTaxClass());
            const dec before = it == res_.netByClass.end() ? dec(0) : it->second.amount;
            addToClass(ci.getTaxClass(), x);
            const dec total = netSum();
            add(res_.entries, ci.getType(), none, labelOf(ci), &before, &x, &total,
                ci.getTaxClass());
          }
          break;
        case CIT_Subtotal:
        case CIT_GroupSubtotal: {
          const dec total = netSum();
          add(res_.entries, ci.getType(), none, labelOf(ci), nullptr, &total, &total);
          break;
        }
        case CIT_Text:
          add(res_.entries, CIT_Text, none, labelOf(ci), nullptr, nullptr, nullptr);
          break;
        case CIT_PaymentDiscount:
        case CIT_PaymentDiscountAbsolute:
        case CIT_Deposit:
          break;  // after the totals
        default:
          fault(none, kindOf(ci) + " is not allowed in a basket");
      }
    }
  }

  void taxes() {
    for (const auto& [c, v] : res_.netByClass) {
      for (const ETaxRecord* r : cat_.taxTable.findAll(c, cfg_.taxCountry, cfg_.priceDate)) {
        if (r->weightUnit.empty()) {
          const dec base = v.amount;
          const dec tax = round(percentOf(base, r->rate.amount));
          taxSum_ = taxSum_ + tax;
          add(res_.entries, r->kind == CIT_ReducedTax ? CIT_ReducedTax : CIT_Tax, EPositionNumber(),
              std::string(), &base, &tax, nullptr, c);
          continue;
        }
        for (const Line& line : lines_) {
          if (line.taxClass != c) continue;
          if (r->rate.getUnit() != k_) {
            fault(line.position, "unit tax of tax class '" + c + "' is in " + r->rate.getUnit() +
                                     ", not in the basket's " + k_);
            continue;
          }
          ktz::decimal::decimal64 w = line.article->weight;
          std::string unit = line.article->weightUnit;
          if (ktzDec128IsZero(dec(w)) || unit.empty()) {
            fault(line.position, "article '" + line.article->id +
                                     "' has no weight for the unit tax of tax class '" + c + "'");
            continue;
          }
          if (!util::Funcs::convertWeight(&w, &unit, r->weightUnit)) {
            fault(line.position,
                  "weight unit '" + unit + "' cannot be converted to '" + r->weightUnit + "'");
            continue;
          }
          const dec weight = dec(w) * line.quantity;
          const dec tax = round(r->rate.amount * weight);
          taxSum_ = taxSum_ + tax;
          add(res_.entries, CIT_UnitTax, line.position, std::string(), nullptr, &tax, nullptr, c);
        }
      }
    }
  }

  void totals(const Basket& basket) {
    const EPositionNumber none;
    const dec net = netSum();
    const dec gross = net + taxSum_;
    add(res_.entries, CIT_NetTotal, none, std::string(), nullptr, &net, &net);
    add(res_.entries, CIT_GrossTotal, none, std::string(), &net, &gross, &gross);
    dec payable = gross;
    if (cfg_.cashRounding != 0) {
      const dec interval = dec(util::Funcs::getRoundingIntervalAsNumber(cfg_.cashRounding));
      if (ktzDec128IsZero(interval)) {
        fault(none, "cash-rounding interval " +
                        std::to_string(static_cast<int>(cfg_.cashRounding)) +
                        " is not one of 1 to 6");
      } else {
        payable = util::roundDecimal(gross / interval, 0, types::eRoundingHalfUp) * interval;
        const dec change = payable - gross;
        add(res_.entries, CIT_CashRounding, none, std::string(), &gross, &change, &payable);
      }
    }
    dec due = payable;
    for (const PriceCalcItem& ci : basket.calcItems) {
      dec x;
      switch (ci.getType()) {
        case CIT_PaymentDiscount:
          if (percentage(ci, none, 0, 100, &x)) {
            const dec off = -round(percentOf(payable, x));
            add(res_.entries, CIT_PaymentDiscount, none, labelOf(ci), &payable, &off, &due);
          }
          break;
        case CIT_PaymentDiscountAbsolute:
          if (amountInK(ci.getValue(), kindOf(ci), none, &x)) {
            const dec off = -x;
            add(res_.entries, CIT_PaymentDiscountAbsolute, none, labelOf(ci), &payable, &off, &due);
          }
          break;
        case CIT_Deposit:
          if (amountInK(ci.getValue(), kindOf(ci), none, &x)) {
            const dec before = due;
            const dec off = -x;
            due = due + off;
            add(res_.entries, CIT_Deposit, none, labelOf(ci), &before, &off, &due);
          }
          break;
        default:
          break;
      }
    }
    res_.netTotal = money(net);
    res_.taxTotal = money(taxSum_);
    res_.grossTotal = money(gross);
    res_.payable = money(payable);
    res_.due = money(due);
  }

  const Catalogue& cat_;
  const PriceConfiguration& cfg_;
  PriceResult& res_;
  std::string k_;
  CurrencyUnit unit_;
  int d_ = 2;
  std::string date_;
  dec maxAmount_, maxQuantity_, maxTotal_;
  dec quantum_;
  const dec hundred_ = dec(100);
  bool roundNone_ = false;
  // Sets the thread's decimal rounding for the run and restores it after.
  struct ThreadRounding {
    void set(ktz::decimal::Rounding r) {
      if (!changed_) saved_ = ktzDecGetRounding();
      changed_ = true;
      ktzDecSetRounding(r);
    }
    ~ThreadRounding() {
      if (changed_) ktzDecSetRounding(saved_);
    }
    ktz::decimal::Rounding saved_ = ktz::decimal::Rounding::HalfEven;
    bool changed_ = false;
  } rounding_;
  dec taxSum_;
  bool overflowReported_ = false;
  std::vector<Line> lines_;
  std::vector<std::unique_ptr<Prepared>> prepared_;
  std::vector<std::pair<std::size_t, std::size_t>> values_;  // reused from item to item
};

void checkAll(const std::vector<BasketItem>& items, const Catalogue& catalogue,
              const util::EDate& date,
              std::vector<std::pair<EPositionNumber, TarnUpdateState>>* out) {
  for (const BasketItem& item : items) {
    out->emplace_back(item.position, PriceCalculation::checkItem(item, catalogue, date));
    checkAll(item.children, catalogue, date, out);
  }
}

}  // namespace

PriceResult PriceCalculation::calculate(const Basket& basket, const Catalogue& catalogue) {
  return calculate(basket, catalogue, basket.configuration);
}

PriceResult PriceCalculation::calculate(const Basket& basket, const Catalogue& catalogue,
                                        const PriceConfiguration& configuration) {
  PriceResult result;
  try {
    Run(catalogue, configuration, result).price(basket);
  } catch (const std::bad_alloc&) {
    result = PriceResult();
    result.faults.push_back(PriceFault{EPositionNumber(), "out of memory"});
  }
  return result;
}

TarnUpdateState PriceCalculation::checkItem(const BasketItem& item, const Catalogue& catalogue,
                                            const util::EDate& date) {
  const Article* a = catalogue.findArticle(item.articleId);
  if (!a || !a->isValidOn(date)) return TarnUpdateState::Invalid;
  for (const BasketItem::ChosenValue& c : item.choices) {
    const Choice* choice = a->findChoice(c.first);
    if (!choice || !choice->findValue(c.second)) return TarnUpdateState::Migratable;
  }
  const util::EVersion now = catalogue.versionOf(*a);
  if (now.getMajor() != item.articleVersion.getMajor()) return TarnUpdateState::Migratable;
  if (now.compare(item.articleVersion) == 0) return TarnUpdateState::Up2Date;
  return TarnUpdateState::Updatable;
}

std::vector<std::pair<EPositionNumber, TarnUpdateState>> PriceCalculation::checkUpdates(
    const Basket& basket, const Catalogue& catalogue) {
  std::vector<std::pair<EPositionNumber, TarnUpdateState>> out;
  checkAll(basket.items, catalogue, basket.configuration.priceDate, &out);
  std::sort(out.begin(), out.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  return out;
}

}  // namespace qor::quv::basket
