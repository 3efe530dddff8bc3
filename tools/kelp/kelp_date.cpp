// kelp date: reading, writing, comparing and moving calendar dates (EDate)
// in the ISO-like, the compact and the locale's short form.
#include <cstdio>
#include <string>

#include <kelp/util/utl_EDate.h>

#include "kelp_tool.h"

namespace {

using kelp::tool::Invocation;
using kelp::tool::ParsedArgs;
using qor::quv::util::EDate;

constexpr const char kDateHelp[] =
    "usage: kelp date today [--utc] [--to FORM]\n"
    "       kelp date parse [--from FORM] TEXT\n"
    "       kelp date format [--to FORM] DATE\n"
    "       kelp date compare A B\n"
    "       kelp date diff A B\n"
    "       kelp date add DATE DAYS\n"
    "       kelp date pattern\n"
    "\n"
    "Dates are Gregorian, from 0001-01-01 to 9999-12-31. A DATE operand is\n"
    "written YYYY-MM-DD (leading zeros optional) or is the word 'today'.\n"
    "FORM is 'iso' (2024-02-29, the default), 'compact' (20240229) or\n"
    "'local' (the short date form of the locale of LC_ALL, LC_TIME or LANG,\n"
    "e.g. 29.02.2024 under German).\n"
    "\n"
    "today    prints today's date in local time, or with --utc in UTC.\n"
    "parse    reads TEXT in the form FORM and prints the date in ISO form;\n"
    "         fails when TEXT is not a valid date in that form.\n"
    "format   prints DATE in the form FORM.\n"
    "compare  prints '<', '=' or '>' as A lies before, on or after B.\n"
    "diff     prints A minus B in days.\n"
    "add      prints DATE moved by DAYS days (-24855 to 24855; negative\n"
    "         moves back).\n"
    "pattern  prints the locale's short date form as a pattern: %d and %m\n"
    "         two-digit day and month, %#d and %#m without padding, %Y and\n"
    "         %y the year. 'format --to local' writes the full year for both,\n"
    "         so that 'parse --from local' gives the date back; a two-digit\n"
    "         year typed for %y or %Y is read as it stands (24 is the year\n"
    "         0024, not 2024).\n"
    "\n"
    "diff and add count days in the local time zone (TZ): a zone that\n"
    "skipped a calendar day, as some did when they moved across the date\n"
    "line, skips it here too.\n"
    "\n"
    "Exit status: 0 on success; 1 when parse is given no valid date or a\n"
    "result lies outside the calendar's range; 2 on bad usage, such as a\n"
    "DATE operand that is not a valid date.\n";

enum class Form { kIso, kCompact, kLocal };

bool parseForm(const Invocation& inv, const ParsedArgs& parsed, const char* option, Form* form,
               int* status) {
  if (!parsed.has(option)) return true;
  const std::string name = parsed.get(option);
  if (name == "iso")
    *form = Form::kIso;
  else if (name == "compact")
    *form = Form::kCompact;
  else if (name == "local")
    *form = Form::kLocal;
  else {
    *status = kelp::tool::usageError(
        inv, "unknown date form '" + name + "' (one of iso, compact, local)");
    return false;
  }
  return true;
}

// Valid, and in the years that the text forms can write.
bool inRange(const EDate& d) {
  return d.isValid() && d.getYear() <= 9999;
}

std::string formatAs(const EDate& d, Form form) {
  switch (form) {
    case Form::kCompact:
      return d.toKadiDate();
    case Form::kLocal:
      return d.formatLocalDate();
    case Form::kIso:
      break;
  }
  return d.formatString();
}

// A DATE operand: ISO form or "today".
bool parseOperand(const Invocation& inv, const std::string& text, EDate* out, int* status) {
  if (text == "today") {
    *out = EDate::getCurrentDate(true);
    if (inRange(*out)) return true;
    *status = kelp::tool::failure(inv, "cannot read today's date");
    return false;
  }
  EDate d;
  if (!d.parseString(text.c_str(), nullptr)) {
    *status = kelp::tool::usageError(inv, "'" + text + "' is not a date (YYYY-MM-DD)");
    return false;
  }
  if (!inRange(d)) {
    *status = kelp::tool::usageError(inv, "'" + text + "' is not a valid date");
    return false;
  }
  *out = d;
  return true;
}

int runToday(Invocation& inv) {
  ParsedArgs parsed;
  int status = 0;
  Form form = Form::kIso;
  if (!kelp::tool::parseArgs(inv, 1, {{"utc", false}, {"to", true}}, parsed, &status) ||
      !kelp::tool::checkOperands(inv, parsed, 0, 0, &status) ||
      !parseForm(inv, parsed, "to", &form, &status))
    return status;
  EDate today = EDate::getCurrentDate(!parsed.has("utc"));
  if (!inRange(today)) return kelp::tool::failure(inv, "cannot read today's date");
  std::fprintf(inv.out, "%s\n", formatAs(today, form).c_str());
  return kelp::tool::kExitOk;
}

int runParse(Invocation& inv) {
  ParsedArgs parsed;
  int status = 0;
  Form form = Form::kIso;
  if (!kelp::tool::parseArgs(inv, 1, {{"from", true}}, parsed, &status) ||
      !kelp::tool::checkOperands(inv, parsed, 1, 1, &status) ||
      !parseForm(inv, parsed, "from", &form, &status))
    return status;
  const std::string& text = parsed.operands[0];
  EDate d;
  bool read = false;
  switch (form) {
    case Form::kIso:
      read = d.parseString(text.c_str(), nullptr);
      break;
    case Form::kCompact:
      // Only eight digits forming a real date give one; "" and "00000000"
      // stand for no date.
      d = EDate::fromKadiDate(text);
      read = text.size() == 8 && d != EDate::Invalid;
      break;
    case Form::kLocal:
      read = d.parseLocalDate(text.c_str(), nullptr);
      break;
  }
  if (!read) {
    const std::string pattern = form == Form::kIso       ? "YYYY-MM-DD"
                                : form == Form::kCompact ? "YYYYMMDD"
                                                         : EDate::getLocalDateFormat();
    return kelp::tool::failure(inv, "'" + text + "' is not a date (" + pattern + ")");
  }
  if (!inRange(d)) return kelp::tool::failure(inv, "'" + text + "' is not a valid date");
  std::fprintf(inv.out, "%s\n", d.formatString().c_str());
  return kelp::tool::kExitOk;
}

int runFormat(Invocation& inv) {
  ParsedArgs parsed;
  int status = 0;
  Form form = Form::kIso;
  EDate d;
  if (!kelp::tool::parseArgs(inv, 1, {{"to", true}}, parsed, &status) ||
      !kelp::tool::checkOperands(inv, parsed, 1, 1, &status) ||
      !parseForm(inv, parsed, "to", &form, &status) ||
      !parseOperand(inv, parsed.operands[0], &d, &status))
    return status;
  std::fprintf(inv.out, "%s\n", formatAs(d, form).c_str());
  return kelp::tool::kExitOk;
}

// The two DATE operands of compare and diff.
bool parsePair(Invocation& inv, EDate* a, EDate* b, int* status) {
  ParsedArgs parsed;
  return kelp::tool::parseArgs(inv, 1, {}, parsed, status) &&
         kelp::tool::checkOperands(inv, parsed, 2, 2, status) &&
         parseOperand(inv, parsed.operands[0], a, status) &&
         parseOperand(inv, parsed.operands[1], b, status);
}

int runCompare(Invocation& inv) {
  EDate a, b;
  int status = 0;
  if (!parsePair(inv, &a, &b, &status)) return status;
  std::fprintf(inv.out, "%s\n", a < b ? "<" : a > b ? ">" : "=");
  return kelp::tool::kExitOk;
}

int runDiff(Invocation& inv) {
  EDate a, b;
  int status = 0;
  if (!parsePair(inv, &a, &b, &status)) return status;
  std::fprintf(inv.out, "%d\n", a - b);
  return kelp::tool::kExitOk;
}

int runAdd(Invocation& inv) {
  ParsedArgs parsed;
  int status = 0;
  EDate d;
  if (!kelp::tool::parseArgs(inv, 1, {}, parsed, &status) ||
      !kelp::tool::checkOperands(inv, parsed, 2, 2, &status) ||
      !parseOperand(inv, parsed.operands[0], &d, &status))
    return status;
  // Beyond 24855 days the day count would wrap in the library's arithmetic.
  long days = 0;
  if (!kelp::tool::parseInt(parsed.operands[1], -24855, 24855, &days))
    return kelp::tool::usageError(
        inv, "DAYS needs a whole number from -24855 to 24855, not '" + parsed.operands[1] + "'");
  EDate moved = d;
  moved.addDays(static_cast<int>(days));
  // addDays leaves a date that local time cannot represent as it was.
  if ((days != 0 && moved == d) || !inRange(moved))
    return kelp::tool::failure(inv, "the result lies outside 0001-01-01 to 9999-12-31");
  std::fprintf(inv.out, "%s\n", moved.formatString().c_str());
  return kelp::tool::kExitOk;
}

int runPattern(Invocation& inv) {
  ParsedArgs parsed;
  int status = 0;
  if (!kelp::tool::parseArgs(inv, 1, {}, parsed, &status) ||
      !kelp::tool::checkOperands(inv, parsed, 0, 0, &status))
    return status;
  std::fprintf(inv.out, "%s\n", EDate::getLocalDateFormat().c_str());
  return kelp::tool::kExitOk;
}

int run(Invocation& inv) {
  return kelp::tool::dispatch(inv, {{"today", runToday},
                                    {"parse", runParse},
                                    {"format", runFormat},
                                    {"compare", runCompare},
                                    {"diff", runDiff},
                                    {"add", runAdd},
                                    {"pattern", runPattern}});
}

const kelp::tool::Family kDate{"date", "read, write, compare and move calendar dates", kDateHelp,
                               run};
const kelp::tool::Registration reg(kDate);

}  // namespace
