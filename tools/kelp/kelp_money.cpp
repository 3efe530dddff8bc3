// kelp money: arithmetic on amounts and percentages, rounding to a
// currency's decimals, and formatting in the user's locale, all in decimal
// arithmetic (ECurrency over decimal128).
#include <climits>
#include <cstdint>
#include <cstdio>
#include <locale>
#include <stdexcept>
#include <string>
#include <utility>

#include <kelp/util/utl_Decimal.h>
#include <kelp/util/utl_ECurrency.h>
#include <kelp/util/utl_Funcs.h>

#include "kelp_tool.h"

namespace {

using kelp::tool::Invocation;
using kelp::tool::OptionSpec;
using kelp::tool::ParsedArgs;
using ktz::decimal::decimal128;
using qor::quv::types::RoundingMode;
using qor::quv::util::ECurrency;
using qor::quv::util::Funcs;

constexpr const char kMoneyHelp[] =
    "usage: kelp money eval [--round] [--mode MODE] [--decimals N] EXPR...\n"
    "       kelp money round [--mode MODE] [--decimals N] AMOUNT\n"
    "       kelp money format [--locale LOCALE] [--extra-decimals N] AMOUNT\n"
    "\n"
    "Computes with money amounts in decimal arithmetic. An AMOUNT is a number\n"
    "and a currency code of three capital letters in either order ('12.50 EUR',\n"
    "'EUR 12.50'), or a percentage ('10 %'); numbers are written with a '.'\n"
    "as decimal point whatever the locale. Amounts and numbers hold at most\n"
    "34 significant digits; a longer one is refused, not rounded.\n"
    "\n"
    "eval     evaluates an expression of amounts, percentages and plain numbers\n"
    "         with + - * / and parentheses (* and / bind first). The words may\n"
    "         be given as separate arguments or in one. An amount plus or minus\n"
    "         a percentage is the amount raised or lowered by that percentage\n"
    "         ('100 EUR' + '10 %' is 110.00 EUR); an amount times a percentage\n"
    "         is that share of it; an amount divided by a percentage is the\n"
    "         base of which it is that share; an amount divided by an amount of\n"
    "         the same currency is a percentage. Amounts of different\n"
    "         currencies, and other undefined combinations, fail. Sums,\n"
    "         differences and products are exact: one that would need more\n"
    "         than 34 significant digits (1E+34 + 0.01), or that is too large,\n"
    "         fails rather than lose digits; a quotient is rounded to 34\n"
    "         significant digits. The result is written with at least the\n"
    "         currency's customary decimals; --round (or --mode, --decimals)\n"
    "         rounds it as 'round' does.\n"
    "round    rounds an amount to the currency's customary decimals (JPY 0,\n"
    "         EUR 2, KWD 3, CLF 4; units that are not money, such as XAU, stay\n"
    "         as they are) or to N decimals (a negative N rounds to tens,\n"
    "         hundreds ...). A plain number needs --decimals.\n"
    "format   writes an amount in the locale's notation with its customary\n"
    "         decimals and up to N more where it has them (default 1), e.g.\n"
    "         '1.234,50 EUR' under German. The locale is LOCALE or the one of\n"
    "         the environment (LC_ALL, LC_NUMERIC, LANG).\n"
    "\n"
    "Rounding modes (--mode):\n"
    "  half-up     to nearest, a half away from zero (the default)\n"
    "  half-down   to nearest, a half toward zero\n"
    "  up          away from zero\n"
    "  down        toward zero\n"
    "  ceiling     toward positive infinity\n"
    "  floor       toward negative infinity\n"
    "  integral    to nearest, a half to the even neighbour\n"
    "  exact       the default money rounding mode (half-up)\n"
    "  none        no rounding\n"
    "The modes may also be given by their numbers 1 (none) to 9 (integral).\n"
    "\n"
    "Exit status: 0 with the result on standard output; 1 when the operation\n"
    "is undefined (different currencies, division by zero, a result too\n"
    "large or not exact) or the locale is not installed; 2 when an argument\n"
    "cannot be read (also a number of more than 34 significant digits).\n";

const struct {
  const char* name;
  RoundingMode mode;
} kModes[] = {{"none", qor::quv::types::eRoundingNone},
              {"exact", qor::quv::types::eRoundingExact},
              {"up", qor::quv::types::eRoundingUp},
              {"down", qor::quv::types::eRoundingDown},
              {"ceiling", qor::quv::types::eRoundingCeiling},
              {"floor", qor::quv::types::eRoundingFloor},
              {"half-up", qor::quv::types::eRoundingHalfUp},
              {"half-down", qor::quv::types::eRoundingHalfDown},
              {"integral", qor::quv::types::eRoundingIntegral}};

bool parseMode(const std::string& text, RoundingMode* mode) {
  for (const auto& m : kModes) {
    if (text == m.name || text == std::to_string(static_cast<int>(m.mode))) {
      *mode = m.mode;
      return true;
    }
  }
  return false;
}

// An operand or a result: an amount or percentage, or a plain number.
struct Value {
  bool plain = false;
  decimal128 number;
  ECurrency money;
};

bool isFinite(const Value& v) {
  return v.plain ? ktzDec128IsFinite(v.number) : v.money.isFinite();
}

bool isZero(const Value& v) {
  return v.plain ? ktzDec128IsZero(v.number) : v.money.isZero();
}

// A plain number in positional notation with all of its decimals.
std::string numberText(const decimal128& d) {
  int exponent = ktzDec128Exponent(d);
  return ktzDec128ToFixed(d, exponent < 0 ? -exponent : 0);
}

// The exact value, amounts with at least their customary decimals.
std::string exactText(const Value& v) {
  if (v.plain) return numberText(v.number);
  return Funcs::format(v.money, -1);
}

bool readValue(const std::string& text, Value* out) {
  ECurrency money;
  if (money.parseString(text.c_str(), nullptr)) {
    if (!money.isFinite()) return false;
    out->plain = false;
    out->money = money;
    return true;
  }
  decimal128 d;
  if (qor::quv::util::parseDecimalCString(&d, text.c_str(), nullptr) && ktzDec128IsFinite(d)) {
    out->plain = true;
    out->number = d;
    return true;
  }
  return false;
}

// Reads one whole operand: an amount, a percentage or a plain number. A
// number that decimal128 cannot hold exactly is refused with *why.
bool parseValue(const std::string& text, Value* out, std::string* why) {
  qor::quv::util::DecimalExactness exact;
  if (!readValue(text, out)) return false;
  if (exact.exact()) return true;
  *why = ": it " + exact.problem();
  return false;
}

// How a result is rounded and written.
struct Rounding {
  bool round = false;
  bool haveDecimals = false;
  int decimals = 0;
  RoundingMode mode = qor::quv::util::getDefaultMoneyRoundingMode();
};

bool parseRounding(const Invocation& inv, const ParsedArgs& parsed, Rounding* r, int* status) {
  if (parsed.has("mode")) {
    if (!parseMode(parsed.get("mode"), &r->mode)) {
      *status = kelp::tool::usageError(inv, "unknown rounding mode '" + parsed.get("mode") + "'");
      return false;
    }
    r->round = true;
  }
  if (parsed.has("decimals")) {
    long n = 0;
    if (!kelp::tool::parseInt(parsed.get("decimals"), -30, 30, &n)) {
      *status =
          kelp::tool::usageError(inv, "--decimals needs a whole number from -30 to 30, not '" +
                                          parsed.get("decimals") + "'");
      return false;
    }
    r->decimals = static_cast<int>(n);
    r->haveDecimals = true;
    r->round = true;
  }
  return true;
}

// Rounds v as r says and writes it with the decimals rounded to.
std::string roundedText(const Value& v, const Rounding& r) {
  int digits = r.haveDecimals ? r.decimals
               : v.plain      ? -1
                              : ECurrency::getDefaultFractionDigits(v.money.unit);
  if (digits == -1 && !r.haveDecimals) return exactText(v);
  if (r.mode < qor::quv::types::eRoundingExact || r.mode > qor::quv::types::eRoundingIntegral)
    return exactText(v);
  int shown = digits < 0 ? 0 : digits;
  if (v.plain)
    return qor::quv::util::formatDecimalCString(
        qor::quv::util::roundMoney(v.number, digits, r.mode), shown);
  ECurrency rounded = v.money.round(digits, r.mode);
  return qor::quv::util::formatDecimalCString(rounded.amount, shown) + " " + rounded.getUnit();
}

// --- eval: a small recursive-descent reader over the joined arguments -------

class Evaluator {
 public:
  Evaluator(const Invocation& inv, std::string text) : inv_(inv), text_(std::move(text)) {}

  // On false *status holds the exit status (the message is out).
  bool run(Value* result, int* status) {
    p_ = text_.c_str();
    if (!expression(result, 0)) {
      *status = status_;
      return false;
    }
    skipSpace();
    if (*p_ == ')') return usage("unbalanced ')'", status);
    if (*p_) return usage("expected an operator at '" + std::string(p_) + "'", status);
    if (!isFinite(*result)) {
      *status = kelp::tool::failure(inv_, "the result is too large");
      return false;
    }
    return true;
  }

 private:
  static constexpr int kMaxDepth = 64;

  bool usage(const std::string& message, int* status) {
    *status = kelp::tool::usageError(inv_, message);
    return false;
  }
  bool usage(const std::string& message) { return usage(message, &status_); }
  bool fail(const std::string& message) {
    status_ = kelp::tool::failure(inv_, message);
    return false;
  }

  void skipSpace() {
    while (*p_ == ' ' || (*p_ >= '\t' && *p_ <= '\r')) ++p_;
  }

  bool expression(Value* out, int depth) {
    if (!term(out, depth)) return false;
    for (;;) {
      skipSpace();
      char op = *p_;
      if (op != '+' && op != '-') return true;
      ++p_;
      Value rhs;
      if (!term(&rhs, depth)) return false;
      if (!add(out, rhs, op == '-')) return false;
    }
  }

  bool term(Value* out, int depth) {
    if (!factor(out, depth)) return false;
    for (;;) {
      skipSpace();
      char op = *p_;
      if (op != '*' && op != '/') return true;
      ++p_;
      Value rhs;
      if (!factor(&rhs, depth)) return false;
      if (!(op == '*' ? multiply(out, rhs) : divide(out, rhs))) return false;
    }
  }

  bool factor(Value* out, int depth) {
    if (depth >= kMaxDepth) return usage("the expression is nested too deeply");
    skipSpace();
    if (!*p_) return usage("the expression ends where an operand should follow");
    if (*p_ == '(') {
      ++p_;
      if (!expression(out, depth + 1)) return false;
      skipSpace();
      if (*p_ != ')') return usage("missing ')'");
      ++p_;
      return true;
    }
    // An amount or percentage first: "100 EUR" also starts with a number.
    const char* end = p_;
    ECurrency money;
    qor::quv::util::DecimalExactness exact;
    if (money.parseString(p_, &end)) {
      if (!money.isFinite()) return usage("'" + std::string(p_, end) + "' is not a finite amount");
      if (!exact.exact()) return usage("'" + std::string(p_, end) + "' " + exact.problem());
      out->plain = false;
      out->money = money;
      p_ = end;
      return true;
    }
    decimal128 d;
    exact.reset();
    if (qor::quv::util::parseDecimalCString(&d, p_, &end)) {
      if (!ktzDec128IsFinite(d))
        return usage("'" + std::string(p_, end) + "' is not a finite number");
      if (!exact.exact()) return usage("'" + std::string(p_, end) + "' " + exact.problem());
      out->plain = true;
      out->number = d;
      p_ = end;
      return true;
    }
    if (*p_ == '-') {
      ++p_;
      if (!factor(out, depth + 1)) return false;
      if (out->plain)
        out->number = -out->number;
      else
        out->money = -out->money;
      return true;
    }
    return usage("cannot read an amount, a percentage or a number at '" + std::string(p_) + "'");
  }

  bool add(Value* a, const Value& b, bool subtract) {
    std::string what = subtract ? "cannot subtract " + exactText(b) + " from " + exactText(*a)
                                : "cannot add " + exactText(*a) + " and " + exactText(b);
    qor::quv::util::DecimalExactness exact;
    if (a->plain && b.plain) {
      a->number = subtract ? a->number - b.number : a->number + b.number;
      return exact.exact() || fail(what + ": the result " + exact.problem());
    }
    if (a->plain || b.plain) {
      std::string number = exactText(a->plain ? *a : b);
      return fail(what + ": " + number + " is a plain number (write '" + number +
                  " %' for a percentage)");
    }
    ECurrency r = subtract ? a->money - b.money : a->money + b.money;
    if (r.isInvalid()) {
      if (a->money.isAbsolute() && b.money.isAbsolute() && a->money.getUnit() != b.money.getUnit())
        return fail(what + ": the currencies differ");
      return fail(what + ": the result is not a number");
    }
    if (!exact.exact()) return fail(what + ": the result " + exact.problem());
    a->money = r;
    return true;
  }

  bool multiply(Value* a, const Value& b) {
    const std::string what = "cannot multiply " + exactText(*a) + " by " + exactText(b);
    qor::quv::util::DecimalExactness exact;
    if (a->plain && b.plain) {
      a->number = a->number * b.number;
      return exact.exact() || fail(what + ": the result " + exact.problem());
    }
    if (a->plain || b.plain) {
      a->money = a->plain ? a->number * b.money : a->money * b.number;
      a->plain = false;
      return exact.exact() || fail(what + ": the result " + exact.problem());
    }
    ECurrency r = a->money * b.money;
    if (r.isInvalid()) return fail(what + ": only an amount times a percentage is defined");
    if (!exact.exact()) return fail(what + ": the result " + exact.problem());
    a->money = r;
    return true;
  }

  // A quotient is rounded to 34 digits (1/3 has no end), but one that
  // leaves the range is an error.
  bool divided(const Value& a, const Value& b, const qor::quv::util::DecimalExactness& exact) {
    if (!(ktzDecGetStatus() & (ktz::decimal::kStatusOverflow | ktz::decimal::kStatusUnderflow)))
      return true;
    return fail("cannot divide " + exactText(a) + " by " + exactText(b) + ": the result " +
                exact.problem());
  }

  bool divide(Value* a, const Value& b) {
    if (isZero(b)) return fail("division by zero");
    const Value dividend = *a;
    qor::quv::util::DecimalExactness exact;
    if (a->plain && b.plain) {
      a->number = a->number / b.number;
      return divided(dividend, b, exact);
    }
    if (a->plain)
      return fail("cannot divide the plain number " + exactText(*a) + " by " + exactText(b));
    if (b.plain) {
      a->money = a->money / b.number;
      return divided(dividend, b, exact);
    }
    ECurrency r = a->money / b.money;
    if (r.isInvalid()) {
      std::string what = "cannot divide " + exactText(*a) + " by " + exactText(b);
      if (a->money.isRelative()) return fail(what + ": a percentage can only be multiplied");
      if (b.money.isAbsolute()) return fail(what + ": the currencies differ");
      return fail(what + ": the result is not a number");
    }
    if (!divided(*a, b, exact)) return false;
    a->money = r;
    return true;
  }

  const Invocation& inv_;
  std::string text_;
  const char* p_ = nullptr;
  int status_ = kelp::tool::kExitUsage;
};

const std::vector<OptionSpec> kRoundOptions = {{"mode", true}, {"decimals", true}};

int runEval(Invocation& inv) {
  ParsedArgs parsed;
  int status = 0;
  if (!kelp::tool::parseArgs(inv, 1, {{"round", false}, {"mode", true}, {"decimals", true}}, parsed,
                             &status))
    return status;
  if (!kelp::tool::checkOperands(inv, parsed, 1, SIZE_MAX, &status)) return status;
  Rounding rounding;
  if (!parseRounding(inv, parsed, &rounding, &status)) return status;
  rounding.round = rounding.round || parsed.has("round");
  std::string text;
  for (const std::string& word : parsed.operands) text += (text.empty() ? "" : " ") + word;
  Value result;
  Evaluator evaluator(inv, text);
  if (!evaluator.run(&result, &status)) return status;
  std::string out = rounding.round ? roundedText(result, rounding) : exactText(result);
  std::fprintf(inv.out, "%s\n", out.c_str());
  return kelp::tool::kExitOk;
}

int runRound(Invocation& inv) {
  ParsedArgs parsed;
  int status = 0;
  if (!kelp::tool::parseArgs(inv, 1, kRoundOptions, parsed, &status)) return status;
  if (!kelp::tool::checkOperands(inv, parsed, 1, 1, &status)) return status;
  Rounding rounding;
  if (!parseRounding(inv, parsed, &rounding, &status)) return status;
  Value value;
  std::string why;
  if (!parseValue(parsed.operands[0], &value, &why))
    return kelp::tool::usageError(inv, "cannot read the amount '" + parsed.operands[0] + "'" + why);
  if (value.plain && !rounding.haveDecimals)
    return kelp::tool::usageError(inv, "a plain number needs --decimals");
  std::fprintf(inv.out, "%s\n", roundedText(value, rounding).c_str());
  return kelp::tool::kExitOk;
}

// The locale named on the command line ("de_DE", "de_DE.UTF-8"), else the
// one of the environment; false when the name is not installed.
bool chooseLocale(const ParsedArgs& parsed, std::locale* out) {
  if (!parsed.has("locale")) {
    try {
      *out = std::locale("");
    } catch (const std::runtime_error&) {
      *out = std::locale::classic();
    }
    return true;
  }
  const std::string name = parsed.get("locale");
  for (const char* suffix : {"", ".UTF-8", ".utf8"}) {
    try {
      *out = std::locale(name + suffix);
      return true;
    } catch (const std::runtime_error&) {
    }
  }
  return false;
}

int runFormat(Invocation& inv) {
  ParsedArgs parsed;
  int status = 0;
  if (!kelp::tool::parseArgs(inv, 1, {{"locale", true}, {"extra-decimals", true}}, parsed, &status))
    return status;
  if (!kelp::tool::checkOperands(inv, parsed, 1, 1, &status)) return status;
  long extra = 1;
  if (parsed.has("extra-decimals") &&
      !kelp::tool::parseInt(parsed.get("extra-decimals"), 0, 30, &extra))
    return kelp::tool::usageError(inv, "--extra-decimals needs a whole number from 0 to 30, not '" +
                                           parsed.get("extra-decimals") + "'");
  // Read in the classic notation before the locale changes.
  Value value;
  std::string why;
  if (!parseValue(parsed.operands[0], &value, &why))
    return kelp::tool::usageError(inv, "cannot read the amount '" + parsed.operands[0] + "'" + why);
  std::locale locale;
  if (!chooseLocale(parsed, &locale))
    return kelp::tool::failure(inv, "the locale '" + parsed.get("locale") + "' is not installed");
  // The library's number formatting follows the global C++ locale.
  std::locale previous = std::locale::global(locale);
  std::string text = value.plain ? qor::quv::util::formatDecimalString(value.number, 0, INT_MAX)
                                 : Funcs::format(value.money, static_cast<int>(extra));
  std::locale::global(previous);
  std::fprintf(inv.out, "%s\n", text.c_str());
  return kelp::tool::kExitOk;
}

int run(Invocation& inv) {
  return kelp::tool::dispatch(inv, {{"eval", runEval}, {"round", runRound}, {"format", runFormat}});
}

const kelp::tool::Family kMoney{"money", "amounts, percentages, rounding and money formats",
                                kMoneyHelp, run};
const kelp::tool::Registration reg(kMoney);

}  // namespace
