// Units of measured quantities: translated names, conversion, and the text
// forms shared by ELength and EAngle.
#define QUV_SOURCE_NAME "utl_Measure"
#include "util/utl_Measure_impl.h"

#include <locale.h>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <iomanip>
#include <limits>
#include <locale>
#include <sstream>

#include <ktz/ktz_gettext.h>
#include <vorn/vorn_cstring.h>

#include "util/utl_TextScan_impl.h"

namespace qor::quv::util::detail {

namespace {

// True when the text begins with a letter: an ASCII letter, or a multibyte
// character that the current locale classifies as alphabetic.
bool beginsWithLetter(const char* s) {
  unsigned char c = static_cast<unsigned char>(*s);
  if (c < 0x80) return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
  std::mbstate_t state{};
  wchar_t wc = 0;
  std::size_t n = std::mbrtowc(&wc, s, std::strlen(s), &state);
  return n != static_cast<std::size_t>(-1) && n != static_cast<std::size_t>(-2) && n != 0 &&
         std::iswalpha(static_cast<wint_t>(wc));
}

const char* displayName(UnitTable& table, int unit) {
  UnitTable& t = translatedNames(table);
  for (std::size_t i = 0; i < t.nameCount; ++i)
    if (t.names[i].unit == unit) return t.names[i].translated;
  return nullptr;
}

// strtod under the user's numeric conventions: when the process runs in the
// classic numeric locale, the number is read under the numeric locale of the
// environment instead. The switch is made for the calling thread only
// (uselocale), so other threads keep reading numbers as before.
double readUserNumber(const char* s, const char** end) {
  char* e = nullptr;
  const char* current = std::setlocale(LC_NUMERIC, nullptr);
  bool classic = !current || std::strcmp(current, "C") == 0 || std::strcmp(current, "POSIX") == 0;
  locale_t user = classic ? newlocale(LC_NUMERIC_MASK, "", static_cast<locale_t>(nullptr))
                          : static_cast<locale_t>(nullptr);
  if (!user) {
    double v = std::strtod(s, &e);
    *end = e;
    return v;
  }
  locale_t previous = uselocale(user);
  double v = std::strtod(s, &e);
  uselocale(previous);
  freelocale(user);
  *end = e;
  return v;
}

}  // namespace

UnitTable& translatedNames(UnitTable& table) {
  if (!table.translated) {
    for (std::size_t i = 0; i < table.nameCount; ++i) {
      const char* t = ktzDGetText(KTZ_KELP_TEXT_DOMAIN, table.names[i].name);
      table.names[i].translated = (t && *t) ? t : table.names[i].name;
    }
    table.translated = true;
  }
  return table;
}

bool isKnownUnit(const UnitTable& table, int unit) {
  return unit >= 1 && unit <= table.maxUnit;
}

double convertUnits(const UnitTable& table, double value, int from, int to) {
  if (!isKnownUnit(table, from) || !isKnownUnit(table, to))
    return std::numeric_limits<double>::quiet_NaN();
  return value * table.factors[from] / table.factors[to];
}

std::string formatMeasure(UnitTable& table, double value, int unit, int precision) {
  if (!isKnownUnit(table, unit)) return std::string();
  const char* name = displayName(table, unit);
  if (!name) return std::string();
  // Bound the precision so that a wild argument cannot ask for megabytes.
  if (precision < 0) precision = 0;
  if (precision > 100) precision = 100;
  std::ostringstream os;
  os.imbue(std::locale::classic());
  os << std::fixed << std::setprecision(precision) << value;
  if (beginsWithLetter(name)) os << ' ';
  os << name;
  return os.str();
}

bool matchUnitName(UnitTable& table, const char* s, const char** end, int* unit) {
  if (!s) return false;
  const char* p = s;
  p = skipSpace(p);
  UnitTable& t = translatedNames(table);
  std::size_t best = 0;
  int bestUnit = 0;
  for (std::size_t i = 0; i < t.nameCount; ++i) {
    const char* name = t.names[i].translated;
    std::size_t n = std::strlen(name);
    if (n > best && std::strncmp(p, name, n) == 0) {
      best = n;
      bestUnit = t.names[i].unit;
    }
  }
  if (!best) return false;
  if (end) *end = p + best;
  if (unit) *unit = bestUnit;
  return true;
}

bool parseMeasure(UnitTable& table, int defaultUnit, const char* s, const char** end, double* value,
                  int* unit) {
  if (end) *end = s;
  if (!s || defaultUnit < 0 || defaultUnit > table.maxUnit) return false;
  const char* e1 = s;
  double v = readUserNumber(s, &e1);
  const char* e = e1;
  const char* unitEnd = nullptr;
  int u = 0;
  bool unitFollows = matchUnitName(table, e1, &unitEnd, &u);
  if (*e1 != '\0' && !unitFollows) {
    // Perhaps the text uses the classic notation that the user's locale does
    // not read: the reading that gets further wins.
    const char* e2 = s;
    double v2 = gParseCDouble(s, &e2);
    if (e2 > e1) {
      v = v2;
      e = e2;
      unitFollows = matchUnitName(table, e, &unitEnd, &u);
    }
  }
  if (e == s) return false;
  const char* p = e;
  if (unitFollows) {
    p = unitEnd;
  } else {
    if (defaultUnit == 0) return false;
    u = defaultUnit;
  }
  if (end) {
    *end = p;
  } else {
    p = skipSpace(p);
    if (*p) return false;
  }
  if (value) *value = v;
  if (unit) *unit = u;
  return true;
}

}  // namespace qor::quv::util::detail
