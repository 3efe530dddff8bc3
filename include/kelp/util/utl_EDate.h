/* EDate: a calendar date (year, month, day), the library's view of the
 * object model's record zob::Date.
 *
 *   EDate d;
 *   d.parseString("2024-02-28", nullptr);   // true
 *   d.addDays(1);                           // 2024-02-29
 *   d.formatString();                       // "2024-02-29"
 *   d.toKadiDate();                         // "20240229"
 *   d.formatLocalDate();                    // "29.02.2024" under de_DE
 *
 * The null date is 0-0-0 (EDate::Null, the default), the invalid date
 * -1/-1/-1 (EDate::Invalid). Fields are stored as given; isValid applies the
 * Gregorian calendar. Comparisons are field-wise over year, month and day.
 *
 * A plain value: copy freely, no locking. Day arithmetic goes through the
 * C library's local time (mktime, localtime_r) and so depends on the
 * process's time zone; the local form follows the process's LC_TIME locale,
 * read anew on every call. Parsers leave the date unchanged when they fail;
 * nothing throws. */
#ifndef KELP_UTIL_UTL_EDATE_H
#define KELP_UTIL_UTL_EDATE_H

#include <string>

#include <kelp/kelp_api.h>
#include <zob/zob_variant.h>

namespace qor::quv::xml::sax {
class Attributes;
}

namespace qor::quv::util {
/* a minus b in days: both taken at 12:00 local time, the difference in
 * seconds rounded to whole days, half a day away from zero. 0 when local
 * time cannot represent a date. */
KELP_API int dateDifference(const zob::Date& a, const zob::Date& b);
}  // namespace qor::quv::util

namespace zob {

/* Field-wise lexicographic comparison (year, month, day as signed
 * numbers): the null date sorts before every real date, the invalid date
 * before that. */
inline bool operator==(const Date& a, const Date& b) {
  return a.year == b.year && a.month == b.month && a.day == b.day;
}
inline bool operator!=(const Date& a, const Date& b) {
  return !(a == b);
}
inline bool operator<(const Date& a, const Date& b) {
  if (a.year != b.year) return a.year < b.year;
  if (a.month != b.month) return a.month < b.month;
  return a.day < b.day;
}
inline bool operator>(const Date& a, const Date& b) {
  return b < a;
}
inline bool operator<=(const Date& a, const Date& b) {
  return !(b < a);
}
inline bool operator>=(const Date& a, const Date& b) {
  return !(a < b);
}

/* a minus b in days (qor::quv::util::dateDifference). */
inline int operator-(const Date& a, const Date& b) {
  return qor::quv::util::dateDifference(a, b);
}

}  // namespace zob

namespace qor::quv::util {

class KELP_API EDate : public zob::Date {
 public:
  static const EDate Null;
  static const EDate Invalid;

  /* The null date. */
  EDate();
  EDate(const EDate& other) = default;
  EDate(const zob::Date& other);
  /* Stored as given, without checking. */
  EDate(int year, int month, int day);
  EDate& operator=(const EDate& other) = default;
  EDate& operator=(const zob::Date& other);

  void set(int year, int month, int day);
  void setYear(int v) { year = static_cast<std::int16_t>(v); }
  int getYear() const { return year; }
  void setMonth(int v) { month = static_cast<std::int16_t>(v); }
  int getMonth() const { return month; }
  void setDay(int v) { day = static_cast<std::int16_t>(v); }
  int getDay() const { return day; }

  bool isNull() const { return year == 0 && month == 0 && day == 0; }
  /* Year 1 or later, month 1 to 12, day 1 to daysOfCurrentMonth(). */
  bool isValid() const;
  bool isValidOrNull() const;
  /* Days of the date's month in its year (February follows the Gregorian
   * leap rule); 0 for a month outside 1 to 12. */
  int daysOfCurrentMonth() const;

  /* Moves the date by n days through local time at noon. n * 86400 is
   * formed in 32-bit arithmetic, so beyond 24855 days it wraps. A date that
   * local time cannot represent stays as it is. */
  void addDays(int n);

  /* Today, in local time or in UTC; the null date if the clock cannot be
   * broken down. */
  static EDate getCurrentDate(bool local);

  /* "YYYY-MM-DD"; "0000-00-00" for the null date, "????" "-" "??" "-" "??" for any
   * date that is not valid, "" for a year above 9999. */
  std::string formatString() const;
  /* Reads number "-" number "-" number after optional white space (no
   * sign, each number at most 32767), without a validity check. With `end`
   * given it first receives `s`, then the position behind the last number;
   * without it only white space may follow. */
  bool parseString(const char* s, const char** end);

  /* "YYYYMMDD"; "00000000" for the null date, "99999999" for any date that
   * is not valid, "" for a year above 9999. */
  std::string toKadiDate() const;
  /* "" and "00000000" give the null date, eight digits forming a valid date
   * give that date, anything else EDate::Invalid. */
  static EDate fromKadiDate(const std::string& text);

  /* The locale's short date form as a pattern of this class's own
   * language: "%d", "%m" (two digits), "%#d", "%#m" (no padding), "%Y"
   * (four-digit year), "%y" (two-digit year), "%%" (a percent sign), any
   * other character literally. Derived from strftime("%x") of 1999-01-02 in
   * the current locale; "%Y-%m-%d" when that cannot be classified. */
  static std::string getLocalDateFormat();
  /* The date in the pattern of getLocalDateFormat(). "%Y" and "%y" are
   * both written as the full year of at least four digits, so that
   * parseLocalDate reads the text back into the same date (a two-digit year
   * that a person types is still stored as read). The null
   * date gives "", a date that is not valid gives the pattern with "?" for
   * every digit. */
  std::string formatLocalDate() const;
  /* Reads the pattern of getLocalDateFormat(): day and month of one or two
   * digits, a year of exactly two or four digits (a two-digit year is
   * stored as read), white space skipped before every element. `end` as
   * for parseString. */
  bool parseLocalDate(const char* s, const char** end);

  /* Reads the whole of `text` with parseString; the date must be valid.
   * On failure *error (when given) receives the message and the date
   * stays unchanged. */
  bool decode(const char* text, std::string* error);
  /* The same for the attribute "value" (no namespace); a missing or empty
   * one fails with "attribute 'value' is empty or missing". */
  bool decode(const qor::quv::xml::sax::Attributes& attrs, std::string* error);
  /* As above, but a missing or empty "value" assigns `fallback`. */
  bool decode(const qor::quv::xml::sax::Attributes& attrs, const EDate& fallback,
              std::string* error);

  /* The decimal value of the digits in [begin, end): 0 for an empty range,
   * -1 at the first non-digit or when the value leaves the int range. */
  static int parseInt(const char* begin, const char* end);
  /* One or more ASCII digits at s, at most 32767; *end (when given)
   * receives the position behind them. -1 without a digit or beyond
   * 32767. */
  static int parseShort(const char* s, const char** end);
};

}  // namespace qor::quv::util

#endif
