#define QUV_SOURCE_NAME "utl_EDate"

#include <kelp/util/utl_EDate.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <locale>
#include <sstream>

#include <kelp/util/utl_Logger.h>
#include <kelp/xml/sax/sax_Attributes.h>

#include "util/utl_TextScan_impl.h"

namespace {

using qor::quv::util::detail::isDigit;
using qor::quv::util::detail::isSpace;
using qor::quv::util::detail::skipSpace;

/* The date at 12:00:00 local time; noon keeps daylight-saving shifts of an
 * hour or two from moving the calendar day. */
std::time_t noonOf(const zob::Date& d, bool* ok) {
  std::tm tm{};
  tm.tm_year = d.year - 1900;
  tm.tm_mon = d.month - 1;
  tm.tm_mday = d.day;
  tm.tm_hour = 12;
  tm.tm_isdst = -1;
  std::time_t t = std::mktime(&tm);
  // -1 is also a real instant (one second before the epoch), but never a noon.
  *ok = t != static_cast<std::time_t>(-1);
  return t;
}

}  // namespace

namespace qor::quv::util {

int dateDifference(const zob::Date& a, const zob::Date& b) {
  bool okA = false;
  bool okB = false;
  const std::time_t ta = noonOf(a, &okA);
  const std::time_t tb = noonOf(b, &okB);
  if (!okA || !okB) return 0;
  const long long d = static_cast<long long>(ta) - static_cast<long long>(tb);
  const long long days = d >= 0 ? (d + 43200) / 86400 : -((43200 - d) / 86400);
  if (days > INT_MAX) return INT_MAX;
  if (days < INT_MIN) return INT_MIN;
  return static_cast<int>(days);
}

const EDate EDate::Null(0, 0, 0);
const EDate EDate::Invalid(-1, -1, -1);

EDate::EDate() : zob::Date{0, 0, 0} {}

EDate::EDate(const zob::Date& other) : zob::Date(other) {}

EDate::EDate(int y, int m, int d)
    : zob::Date{static_cast<std::int16_t>(y), static_cast<std::int16_t>(m),
                static_cast<std::int16_t>(d)} {}

EDate& EDate::operator=(const zob::Date& other) {
  year = other.year;
  month = other.month;
  day = other.day;
  return *this;
}

void EDate::set(int y, int m, int d) {
  year = static_cast<std::int16_t>(y);
  month = static_cast<std::int16_t>(m);
  day = static_cast<std::int16_t>(d);
}

int EDate::daysOfCurrentMonth() const {
  static const int kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (month < 1 || month > 12) return 0;
  if (month == 2) {
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return leap ? 29 : 28;
  }
  return kDays[month - 1];
}

bool EDate::isValid() const {
  return year >= 1 && month >= 1 && month <= 12 && day >= 1 && day <= daysOfCurrentMonth();
}

bool EDate::isValidOrNull() const {
  if (isValid()) return true;
  return year < 1 && isNull();
}

void EDate::addDays(int n) {
  bool ok = false;
  std::time_t t = noonOf(*this, &ok);
  if (!ok) return;
  // The product is kept in 32 bits, wrapping beyond 24855 days; done in
  // unsigned arithmetic so that the wrap is defined.
  const auto delta =
      static_cast<std::int32_t>(static_cast<std::uint32_t>(n) * static_cast<std::uint32_t>(86400));
  t += delta;
  std::tm tm{};
  if (!localtime_r(&t, &tm)) return;
  set(tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday);
}

EDate EDate::getCurrentDate(bool local) {
  const std::time_t now = std::time(nullptr);
  std::tm tm{};
  const bool ok = local ? localtime_r(&now, &tm) != nullptr : gmtime_r(&now, &tm) != nullptr;
  if (!ok) return Null;
  return EDate(tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday);
}

std::string EDate::formatString() const {
  if (isNull()) return "0000-00-00";
  if (!isValid())
    return "????"
           "-"
           "??"
           "-"
           "??";
  char buf[32];
  const int n = std::snprintf(buf, sizeof buf, "%04d-%02d-%02d", year, month, day);
  if (n != 10) return std::string();
  return std::string(buf, 10);
}

bool EDate::parseString(const char* s, const char** end) {
  if (end) *end = s;
  if (!s) return false;
  const char* p = skipSpace(s);
  int parts[3];
  for (int i = 0; i < 3; ++i) {
    if (i > 0) {
      if (*p != '-') return false;
      ++p;
    }
    parts[i] = parseShort(p, &p);
    if (parts[i] < 0) return false;
  }
  if (end) {
    *end = p;
  } else if (*skipSpace(p) != '\0') {
    return false;
  }
  set(parts[0], parts[1], parts[2]);
  return true;
}

std::string EDate::toKadiDate() const {
  if (isNull()) return "00000000";
  if (!isValid()) return "99999999";
  char buf[32];
  const int n = std::snprintf(buf, sizeof buf, "%04d%02d%02d", year, month, day);
  if (n != 8) return std::string();
  return std::string(buf, 8);
}

EDate EDate::fromKadiDate(const std::string& text) {
  if (text.empty()) return Null;
  if (text.size() == 8) {
    const char* s = text.data();
    const int y = parseInt(s, s + 4);
    const int m = parseInt(s + 4, s + 6);
    const int d = parseInt(s + 6, s + 8);
    if (y >= 0 && m >= 0 && d >= 0) {
      if (y == 0 && m == 0 && d == 0) return Null;
      EDate date(y, m, d);
      if (date.isValid()) return date;
    }
  }
  return Invalid;
}

std::string EDate::getLocalDateFormat() {
  static const char kFallback[] = "%Y-%m-%d";
  std::tm tm{};
  tm.tm_year = 99;
  tm.tm_mon = 0;
  tm.tm_mday = 2;
  tm.tm_wday = 6;  // a Saturday
  tm.tm_yday = 1;
  tm.tm_isdst = -1;
  char buf[32];
  const std::size_t n = std::strftime(buf, sizeof buf, "%x", &tm);
  if (n == 0) return kFallback;

  std::string pattern;
  bool haveDay = false;
  bool haveMonth = false;
  bool haveYear = false;
  for (std::size_t i = 0; i < n;) {
    if (!isDigit(buf[i])) {
      if (buf[i] == '%') pattern += '%';
      pattern += buf[i++];
      continue;
    }
    std::size_t j = i;
    while (j < n && isDigit(buf[j])) ++j;
    const std::string run(buf + i, j - i);
    i = j;
    if (run == "02") {
      pattern += "%d";
      haveDay = true;
    } else if (run == "2") {
      pattern += "%#d";
      haveDay = true;
    } else if (run == "01") {
      pattern += "%m";
      haveMonth = true;
    } else if (run == "1") {
      pattern += "%#m";
      haveMonth = true;
    } else if (run == "99") {
      pattern += "%y";
      haveYear = true;
    } else if (run == "1999") {
      pattern += "%Y";
      haveYear = true;
    } else {
      return kFallback;  // longer runs and any other value
    }
  }
  if (!haveDay || !haveMonth || !haveYear) return kFallback;
  return pattern;
}

std::string EDate::formatLocalDate() const {
  if (isNull()) return std::string();
  const bool valid = isValid();
  const std::string pattern = getLocalDateFormat();
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out.fill('0');
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    const char c = pattern[i];
    if (c != '%' || i + 1 >= pattern.size()) {
      out << c;
      continue;
    }
    char code = pattern[++i];
    bool pad = true;
    if (code == '#' && i + 1 < pattern.size()) {
      pad = false;
      code = pattern[++i];
    }
    switch (code) {
      case '%':
        out << '%';
        break;
      case 'd':
      case 'm': {
        const int v = code == 'd' ? day : month;
        if (!valid) {
          out << (pad ? "??" : "?");
        } else {
          out.width(pad ? 2 : 0);
          out << v;
        }
        break;
      }
      case 'Y':
      case 'y':
        // Both with the full year: parseLocalDate keeps a two-digit year as
        // read, so only the full year brings the date back.
        if (!valid) {
          out << "????";
        } else {
          out.width(4);
          out << year;
        }
        break;
      default:
        out << '%' << code;
        break;
    }
  }
  return out.str();
}

bool EDate::parseLocalDate(const char* s, const char** end) {
  if (end) *end = s;
  if (!s) return false;
  const std::string pattern = getLocalDateFormat();
  int y = 0;
  int m = 0;
  int d = 0;
  const char* p = s;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    p = skipSpace(p);
    const char c = pattern[i];
    if (isSpace(c)) continue;  // white space in the pattern is what was just skipped
    if (c != '%' || i + 1 >= pattern.size()) {
      if (*p != c) return false;
      ++p;
      continue;
    }
    char code = pattern[++i];
    if (code == '#' && i + 1 < pattern.size()) code = pattern[++i];
    if (code == '%') {
      if (*p != '%') return false;
      ++p;
      continue;
    }
    const char* after = nullptr;
    const int v = parseShort(p, &after);
    if (v < 0) return false;
    const std::ptrdiff_t digits = after - p;
    switch (code) {
      case 'd':
      case 'm':
        if (digits > 2) return false;
        (code == 'd' ? d : m) = v;
        break;
      case 'Y':
      case 'y':
        // The year is kept as read: a two-digit year gets no century.
        if (digits != 2 && digits != 4) return false;
        y = v;
        break;
      default:
        return false;
    }
    p = after;
  }
  if (end) {
    *end = p;
  } else if (*skipSpace(p) != '\0') {
    return false;
  }
  set(y, m, d);
  return true;
}

bool EDate::decode(const char* text, std::string* error) {
  EDate parsed;
  if (!parsed.parseString(text ? text : "", nullptr)) {
    if (error) *error = std::string("attribute 'value' has invalid value '%1'") << text;
    return false;
  }
  if (!parsed.isValid()) {
    if (error) *error = std::string("attribute 'value' has invalid date '%1'") << text;
    return false;
  }
  *this = parsed;
  return true;
}

bool EDate::decode(const qor::quv::xml::sax::Attributes& attrs, std::string* error) {
  const char* value = attrs.getValue("", "value");
  if (!value || !*value) {
    if (error) *error = "attribute 'value' is empty or missing";
    return false;
  }
  return decode(value, error);
}

bool EDate::decode(const qor::quv::xml::sax::Attributes& attrs, const EDate& fallback,
                   std::string* error) {
  const char* value = attrs.getValue("", "value");
  if (!value || !*value) {
    *this = fallback;
    return true;
  }
  return decode(value, error);
}

int EDate::parseInt(const char* begin, const char* end) {
  if (!begin || !end) return begin == end ? 0 : -1;
  int v = 0;
  for (const char* p = begin; p < end; ++p) {
    if (!isDigit(*p)) return -1;
    const int digit = *p - '0';
    if (v > (INT_MAX - digit) / 10) return -1;
    v = v * 10 + digit;
  }
  return v;
}

int EDate::parseShort(const char* s, const char** end) {
  if (!s || !isDigit(*s)) return -1;
  int v = 0;
  const char* p = s;
  while (isDigit(*p)) {
    v = v * 10 + (*p - '0');
    if (v > 32767) return -1;
    ++p;
  }
  if (end) *end = p;
  return v;
}

}  // namespace qor::quv::util
