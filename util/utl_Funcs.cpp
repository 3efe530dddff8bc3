#define QUV_SOURCE_NAME "utl_Funcs"

#include <kelp/util/utl_Funcs.h>

#include <climits>
#include <cstring>

#include <kelp/util/utl_Decimal.h>
#include <kelp/util/utl_ECurrency.h>
#include <vorn/vorn_compare.h>
#include <vorn/vorn_uri.h>

#include "util/utl_TextScan_impl.h"

namespace qor::quv::util {

namespace {

using detail::isDigit;
using detail::isSpace;

bool isLower(char c) {
  return c >= 'a' && c <= 'z';
}
bool isUpper(char c) {
  return c >= 'A' && c <= 'Z';
}
bool isAlnum(char c) {
  return isLower(c) || isUpper(c) || isDigit(c);
}

bool allUpper(const char* s, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i)
    if (!isUpper(s[i])) return false;
  return true;
}

/* The units a tax may be charged per, ending with a null entry. */
const char* const kTaxUnits[] = {"KGM", "LBR", "MGM", nullptr};

/* Keywords in the order they are tried, with their states. */
struct StateKeyword {
  const char* text;
  basket::TarnUpdateState state;
};
const StateKeyword kStateKeywords[] = {
    {"@Up2Date", basket::TarnUpdateState::Up2Date},
    {"@Undefined", basket::TarnUpdateState::Undefined},
    {"@Updatable", basket::TarnUpdateState::Updatable},
    {"@Migratable", basket::TarnUpdateState::Migratable},
    {"@Invalid", basket::TarnUpdateState::Invalid},
};

bool needsQuotes(const std::string& arg) {
  if (arg.empty()) return true;
  for (const char c : arg)
    if (isSpace(c) || c == '"' || c == '\\') return true;
  return false;
}

/* Grams per unit, or false for an unknown unit. */
bool gramsPer(const std::string& unit, decimal128* out) {
  if (unit == "GRM") {
    *out = decimal128(1);
  } else if (unit == "MGM") {
    *out = ktzDec128ScaleB(decimal128(1), -3);
  } else if (unit == "KGM") {
    *out = ktzDec128ScaleB(decimal128(1), 3);
  } else if (unit == "LBR") {
    *out = ktzDec128ScaleB(decimal128(45359237), -5);  // exactly 453.59237 g
  } else {
    return false;
  }
  return true;
}

}  // namespace

// --- Codes -----------------------------------------------------------------

bool Funcs::isValidLanguageCode(const char* code) {
  return code && isLower(code[0]) && isLower(code[1]) && code[2] == '\0';
}

bool Funcs::isValidLanguageCode(const std::string& code) {
  return isValidLanguageCode(code.c_str());
}

bool Funcs::isValidCountryCode(const char* code) {
  return code && isUpper(code[0]) && isUpper(code[1]) && code[2] == '\0';
}

bool Funcs::isValidCountryCode(const std::string& code) {
  return isValidCountryCode(code.c_str());
}

bool Funcs::isValidSubdivisionCode(const char* code, bool withoutCountry) {
  if (!code) return false;
  const char* p = code;
  if (!withoutCountry) {
    if (!isUpper(p[0]) || !isUpper(p[1]) || p[2] != '-') return false;
    p += 3;
  }
  std::size_t n = 0;
  while (n < 4 && isAlnum(p[n])) ++n;
  return n >= 1 && n <= 3 && p[n] == '\0';
}

bool Funcs::isValidSubdivisionCode(const std::string& code, bool withoutCountry) {
  return isValidSubdivisionCode(code.c_str(), withoutCountry);
}

bool Funcs::isValidCurrencyCode(const char* code) {
  return code && allUpper(code, 3) && code[3] == '\0';
}

bool Funcs::isValidCurrencyCode(const std::string& code) {
  return isValidCurrencyCode(code.c_str());
}

bool Funcs::isValidTaxUnit(const char* unit) {
  if (!unit) return false;
  if (unit[0] == '%') return unit[1] == '\0';
  if (!allUpper(unit, 3) || unit[3] != '/') return false;
  for (const char* const* u = kTaxUnits; *u; ++u)
    if (std::strcmp(unit + 4, *u) == 0) return true;
  return false;
}

bool Funcs::isValidTaxUnit(const std::string& unit) {
  return isValidTaxUnit(unit.c_str());
}

// --- Object paths and packages --------------------------------------------

bool Funcs::isSameObjectOrParent(const char* a, const char* b) {
  if (!a || !b) return false;
  if (std::strcmp(a, b) == 0) return true;
  return isParentObject(a, b);
}

bool Funcs::isSameObjectOrParent(const std::string& a, const std::string& b) {
  return isSameObjectOrParent(a.c_str(), b.c_str());
}

bool Funcs::isParentObject(const char* a, const char* b) {
  if (!a || !b) return false;
  const std::size_t n = std::strlen(a);
  return std::strlen(b) > n && std::strncmp(a, b, n) == 0 && b[n] == '.';
}

bool Funcs::isParentObject(const std::string& a, const std::string& b) {
  return isParentObject(a.c_str(), b.c_str());
}

PString Funcs::pkgNameToProgId(const char* name) {
  if (!name) return PString();
  if (name[0] == '@') return PString(name);
  if (std::strncmp(name, "::", 2) != 0) return PString();
  std::string rest(name + 2);
  if (rest.size() >= 2 && rest.compare(rest.size() - 2, 2, "::") == 0) rest.erase(rest.size() - 2);
  std::string id = "@";
  for (std::size_t i = 0; i < rest.size(); ++i) {
    if (rest.compare(i, 2, "::") == 0) {
      id += '_';
      ++i;
    } else {
      id += rest[i];
    }
  }
  return PString(id);
}

PString Funcs::pkgNameToProgId(const std::string& name) {
  return pkgNameToProgId(name.c_str());
}

// --- Update states -----------------------------------------------------------

int Funcs::parseTarnUpdateState(const char* text, const char** end) {
  if (end) *end = text;
  if (!text) return -1;
  const char* p = text;
  while (isSpace(*p)) ++p;
  for (const StateKeyword& k : kStateKeywords) {
    const std::size_t n = std::strlen(k.text);
    if (std::strncmp(p, k.text, n) != 0) continue;
    const char* after = p + n;
    if (isAlnum(*after) || *after == '_') continue;
    if (end) {
      *end = after;
    } else {
      const char* q = after;
      while (isSpace(*q)) ++q;
      if (*q != '\0') return -1;
    }
    return static_cast<int>(k.state);
  }
  return -1;
}

int Funcs::parseTarnUpdateState(const std::string& text, const char** end) {
  return parseTarnUpdateState(text.c_str(), end);
}

const char* Funcs::tarnUpdateStateToString(basket::TarnUpdateState state) {
  switch (state) {
    case basket::TarnUpdateState::Undefined:
      return "@Undefined";
    case basket::TarnUpdateState::Up2Date:
      return "@Up2Date";
    case basket::TarnUpdateState::Updatable:
      return "@Updatable";
    case basket::TarnUpdateState::Migratable:
      return "@Migratable";
    case basket::TarnUpdateState::Invalid:
      return "@Invalid";
  }
  return "";
}

// --- Command lines -----------------------------------------------------------

void Funcs::splitCommandLine(const std::string& line, std::vector<std::string>* args) {
  if (!args) return;
  std::string current;
  bool started = false;
  char quote = 0;
  const std::size_t n = line.size();
  for (std::size_t i = 0; i < n; ++i) {
    const char c = line[i];
    if (quote == '\'') {
      if (c == '\'')
        quote = 0;
      else
        current += c;
      continue;
    }
    if (quote == '"') {
      if (c == '"') {
        quote = 0;
      } else if (c == '\\' && i + 1 < n && (line[i + 1] == '\\' || line[i + 1] == '"')) {
        // The escaped character is appended, and the loop's step then lands
        // on it, so it is read once more with its own meaning.
        current += line[i + 1];
      } else {
        current += c;
      }
      continue;
    }
    if (isSpace(c)) {
      if (started) {
        args->push_back(current);
        current.clear();
        started = false;
      }
    } else if ((c == '\'' || c == '"') && !started) {
      quote = c;
      started = true;
    } else if (c == '\\' && i + 1 < n) {
      current += line[i + 1];  // read once more as well, as above
      started = true;
    } else {
      current += c;
      started = true;
    }
  }
  if (started) args->push_back(current);
}

std::string Funcs::joinCommandLine(const std::vector<std::string>& args) {
  std::string line;
  for (const std::string& arg : args) {
    if (!line.empty()) line += ' ';
    if (arg.find('\'') != std::string::npos) {
      line += '"';
      for (const char c : arg) {
        if (c == '"' || c == '\\') line += '\\';
        line += c;
      }
      line += '"';
    } else if (needsQuotes(arg)) {
      line += '\'';
      line += arg;
      line += '\'';
    } else {
      line += arg;
    }
  }
  return line;
}

// --- Numbers -------------------------------------------------------------------

std::string Funcs::formatValue(const ECurrency& c, int extraDigits) {
  const int d = ECurrency::getDefaultFractionDigits(c.unit);
  if (d < 0) return formatDecimalString(c.amount, -1);
  const int most = extraDigits < 0 || extraDigits > INT_MAX - d ? INT_MAX : d + extraDigits;
  return formatDecimalString(c.amount, d, most);
}

std::string Funcs::formatValue(const ECurrency& c) {
  return formatValue(c, 1);
}

std::string Funcs::format(const ECurrency& c, int extraDigits) {
  std::string text = formatValue(c, extraDigits);
  if (ktzDec128IsFinite(c.amount)) text += ' ' + c.getUnit();
  return text;
}

std::string Funcs::format(const ECurrency& c) {
  return format(c, 1);
}

std::string Funcs::formatQuantity(decimal64 q) {
  int digits = 2;
  if (ktzDec64IsFinite(q)) {
    const int exponent = ktzDec64Exponent(stripTrailingZeros(q));
    if (-exponent > digits) digits = -exponent;
  }
  return formatDecimalString(q, digits);
}

std::string Funcs::formatConversionRate(decimal64 r) {
  if (!ktzDec64IsFinite(r) || ktzDec64IsZero(r)) return "???";
  // The exponent of the leading digit: digits of the coefficient less one,
  // plus the quantum's exponent.
  const decimal64 reduced = stripTrailingZeros(r);
  const int quantum = ktzDec64Exponent(reduced);
  std::string coefficient = ktzDec64ToFixed(ktzDec64ScaleB(reduced, -quantum), 0);
  if (!coefficient.empty() && coefficient[0] == '-') coefficient.erase(0, 1);
  const int e = static_cast<int>(coefficient.size()) - 1 + quantum;
  if (e <= 5) return formatDecimalString(r, 5 - e);
  return formatDecimalString(roundDecimal(r, 5 - e), 0);
}

std::string Funcs::removeTrailingZeros(const std::string& s) {
  const std::size_t point = s.find('.');
  if (point == std::string::npos) return s;
  std::size_t end = point + 1;
  while (end < s.size() && isDigit(s[end])) ++end;
  std::size_t keep = end;
  while (keep > point + 1 && s[keep - 1] == '0') --keep;
  return s.substr(0, keep) + s.substr(end);
}

decimal64 Funcs::getRoundingIntervalAsNumber(basket::RoundingInterval interval) {
  static const int kCents[] = {1, 5, 10, 25, 50, 100};
  const int i = static_cast<int>(interval);
  const int cents = i >= 1 && i <= 6 ? kCents[i - 1] : 0;
  return ktzDec64ScaleB(decimal64(cents), -2);
}

bool Funcs::convertWeight(decimal64* value, std::string* unit, const std::string& target) {
  if (!value || !unit) return false;
  decimal128 from;
  decimal128 to;
  if (!gramsPer(*unit, &from) || !gramsPer(target, &to)) return false;
  const decimal128 grams = decimal128(*value) * from;
  *value = decimal64(grams / to);
  *unit = target;
  return true;
}

int Funcs::compare(float a, float b, int digits) {
  return gCompare(a, b, digits);
}

int Funcs::compare(double a, double b, int digits) {
  return gCompare(a, b, digits);
}

basket::CalcItemType Funcs::mapToPreQUV19CalcItemType(basket::CalcItemType type) {
  static const int kOlder[] = {16, 17, 11, 6, 11, 12, 3, 5, 7};  // for 19 to 27
  const int t = static_cast<int>(type);
  if (t < 19 || t > 27) return type;
  return static_cast<basket::CalcItemType>(kOlder[t - 19]);
}

// --- URIs ----------------------------------------------------------------------

std::string Funcs::getNormalizedURI(const std::string& uri) {
  return gNormalizeURI(uri);
}

std::string Funcs::escapeForUseInURI(const std::string& text) {
  return gEscapeURIComponent(text, nullptr);
}

std::string Funcs::unescapePartOfURI(const std::string& text) {
  return gUnescapePartOfURI(text);
}

bool Funcs::isURI(const std::string& text) {
  return gIsURI(text);
}

}  // namespace qor::quv::util
