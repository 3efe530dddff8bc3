// EDate: validity, day arithmetic under real time zones, the three text
// forms, the local form under real locales, and decoding with its messages.
#include <gtest/gtest.h>

#include <kelp/util/utl_EDate.h>
#include <kelp/xml/sax/sax_Attributes.h>
#include <kelp/xml/sax/sax_XMLReader.h>
#include "attribute_maker.h"

#include <clocale>
#include <cstdlib>
#include <ctime>
#include <string>

using qor::quv::util::EDate;
namespace sax = qor::quv::xml::sax;

namespace {

// Sets TZ for the life of the object and restores the old value.
class ScopedTimeZone {
 public:
  explicit ScopedTimeZone(const char* tz) {
    const char* old = std::getenv("TZ");
    hadOld_ = old != nullptr;
    if (old) old_ = old;
    setenv("TZ", tz, 1);
    tzset();
  }
  ~ScopedTimeZone() {
    if (hadOld_)
      setenv("TZ", old_.c_str(), 1);
    else
      unsetenv("TZ");
    tzset();
  }

 private:
  bool hadOld_ = false;
  std::string old_;
};

// Sets LC_TIME for the life of the object; ok() is false when the locale is
// not installed.
class ScopedTimeLocale {
 public:
  explicit ScopedTimeLocale(const char* name) {
    const char* old = std::setlocale(LC_TIME, nullptr);
    old_ = old ? old : "C";
    ok_ = std::setlocale(LC_TIME, name) != nullptr;
  }
  ~ScopedTimeLocale() { std::setlocale(LC_TIME, old_.c_str()); }
  bool ok() const { return ok_; }

 private:
  std::string old_;
  bool ok_ = false;
};

std::string str(const EDate& d) {
  return std::to_string(d.year) + "/" + std::to_string(d.month) + "/" + std::to_string(d.day);
}

using kelp::test::AttributeMaker;

}  // namespace

TEST(EDate, NullInvalidAndConstruction) {
  EXPECT_TRUE(EDate().isNull());
  EXPECT_TRUE(EDate::Null.isNull());
  EXPECT_EQ(str(EDate::Invalid), "-1/-1/-1");
  EXPECT_FALSE(EDate::Invalid.isValid());
  EXPECT_FALSE(EDate::Invalid.isValidOrNull());
  EXPECT_TRUE(EDate::Null.isValidOrNull());
  EXPECT_FALSE(EDate::Null.isValid());
  EXPECT_FALSE(EDate(0, 0, 1).isValidOrNull());

  zob::Date raw{2024, 5, 6};
  EDate d(raw);
  EXPECT_EQ(str(d), "2024/5/6");
  d = zob::Date{1, 2, 3};
  EXPECT_EQ(str(d), "1/2/3");
  d.setYear(7);
  d.setMonth(8);
  d.setDay(9);
  EXPECT_EQ(d.getYear() * 10000 + d.getMonth() * 100 + d.getDay(), 70809);
  EDate unchecked(2024, 13, 40);  // stored as given
  EXPECT_EQ(str(unchecked), "2024/13/40");
}

TEST(EDate, LeapYearTable) {
  struct Case {
    int year;
    bool leap;
  } cases[] = {{1900, false}, {2000, true},  {2024, true}, {2023, false},
               {2100, false}, {2400, true},  {1600, true}, {4, true},
               {1, false},    {1700, false}, {1996, true}, {9996, true}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.year);
    EDate feb(c.year, 2, 1);
    EXPECT_EQ(feb.daysOfCurrentMonth(), c.leap ? 29 : 28);
    EXPECT_EQ(EDate(c.year, 2, 29).isValid(), c.leap);
    EXPECT_FALSE(EDate(c.year, 2, 30).isValid());
  }
  const int days[] = {31, 0, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  for (int m = 1; m <= 12; ++m) {
    if (m == 2) continue;
    SCOPED_TRACE(m);
    EXPECT_EQ(EDate(2023, m, 1).daysOfCurrentMonth(), days[m - 1]);
    EXPECT_TRUE(EDate(2023, m, days[m - 1]).isValid());
    EXPECT_FALSE(EDate(2023, m, days[m - 1] + 1).isValid());
  }
  EXPECT_EQ(EDate(2024, 13, 1).daysOfCurrentMonth(), 0);
  EXPECT_EQ(EDate(2024, 0, 1).daysOfCurrentMonth(), 0);
  EXPECT_FALSE(EDate(2024, 1, 0).isValid());
  EXPECT_FALSE(EDate(0, 1, 1).isValid());
  EXPECT_FALSE(EDate(-5, 1, 1).isValid());
}

TEST(EDate, Comparison) {
  const EDate a(2024, 3, 7);
  EXPECT_TRUE(a == EDate(2024, 3, 7));
  EXPECT_TRUE(a != EDate(2024, 3, 8));
  EXPECT_TRUE(a < EDate(2024, 3, 8));
  EXPECT_TRUE(a < EDate(2024, 4, 1));
  EXPECT_TRUE(a < EDate(2025, 1, 1));
  EXPECT_TRUE(a > EDate(2023, 12, 31));
  EXPECT_TRUE(a <= a && a >= a);
  EXPECT_TRUE(EDate::Null < EDate(1, 1, 1));
  EXPECT_TRUE(EDate::Invalid < EDate::Null);
}

TEST(EDate, AddDaysAndDifference) {
  ScopedTimeZone tz("UTC");
  struct Case {
    EDate from;
    int n;
    EDate to;
  } cases[] = {
      {EDate(2024, 2, 28), 1, EDate(2024, 2, 29)},
      {EDate(2023, 2, 28), 1, EDate(2023, 3, 1)},
      {EDate(2023, 12, 31), 1, EDate(2024, 1, 1)},
      {EDate(2024, 1, 1), -1, EDate(2023, 12, 31)},
      {EDate(2024, 3, 1), -1, EDate(2024, 2, 29)},
      {EDate(2000, 1, 1), 366, EDate(2001, 1, 1)},
      {EDate(2024, 5, 17), 0, EDate(2024, 5, 17)},
      {EDate(1970, 1, 1), 24855, EDate(2038, 1, 19)},
      {EDate(2038, 1, 19), -24855, EDate(1970, 1, 1)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(str(c.from) + " + " + std::to_string(c.n));
    EDate d = c.from;
    d.addDays(c.n);
    EXPECT_EQ(str(d), str(c.to));
    EXPECT_EQ(c.to - c.from, c.n);
  }
}

TEST(EDate, AddDaysKeepsThe32BitProduct) {
  ScopedTimeZone tz("UTC");
  // 24856 days are 2147558400 seconds, which wraps to -2147408896 in 32
  // bits: 24854 days and 6:28:16 back, which from noon stays on the day.
  EDate d(2000, 1, 1);
  d.addDays(24856);
  EDate expected(2000, 1, 1);
  expected.addDays(-24854);
  EXPECT_EQ(str(d), str(expected));
  EXPECT_LT(d, EDate(2000, 1, 1));
}

TEST(EDate, ArithmeticAcrossDaylightSaving) {
  for (const char* zone : {"Europe/Berlin", "America/New_York"}) {
    SCOPED_TRACE(zone);
    ScopedTimeZone tz(zone);
    // 2024-03-31 starts summer time in Berlin, 2024-03-10 in New York;
    // 2024-10-27 and 2024-11-03 end it.
    EXPECT_EQ(EDate(2024, 3, 31) - EDate(2024, 3, 30), 1);
    EXPECT_EQ(EDate(2024, 3, 11) - EDate(2024, 3, 10), 1);
    EXPECT_EQ(EDate(2024, 10, 28) - EDate(2024, 10, 27), 1);
    EXPECT_EQ(EDate(2024, 11, 4) - EDate(2024, 11, 3), 1);
    EXPECT_EQ(EDate(2024, 3, 30) - EDate(2024, 3, 31), -1);
    EXPECT_EQ(EDate(2025, 1, 1) - EDate(2024, 1, 1), 366);
    EXPECT_EQ(EDate(2024, 1, 1) - EDate(2025, 1, 1), -366);
    for (EDate start : {EDate(2024, 3, 29), EDate(2024, 3, 8), EDate(2024, 10, 26)}) {
      EDate d = start;
      for (int i = 1; i <= 5; ++i) {
        d.addDays(1);
        EDate jumped = start;
        jumped.addDays(i);
        EXPECT_EQ(str(d), str(jumped));
        EXPECT_EQ(d - start, i);
      }
    }
    EDate d(2024, 3, 30);
    d.addDays(1);
    EXPECT_EQ(str(d), "2024/3/31");
    d.addDays(1);
    EXPECT_EQ(str(d), "2024/4/1");
  }
}

TEST(EDate, CurrentDate) {
  ScopedTimeZone tz("UTC");
  const std::time_t before = std::time(nullptr);
  const EDate local = EDate::getCurrentDate(true);
  const EDate utc = EDate::getCurrentDate(false);
  const std::time_t after = std::time(nullptr);
  EXPECT_TRUE(local.isValid());
  EXPECT_TRUE(utc.isValid());
  std::tm tm{};
  gmtime_r(&before, &tm);
  const EDate b(tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday);
  gmtime_r(&after, &tm);
  const EDate a(tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday);
  EXPECT_TRUE(b <= utc && utc <= a);
  EXPECT_TRUE(b <= local && local <= a);  // local time is UTC here
}

TEST(EDate, FormatString) {
  EXPECT_EQ(EDate(2024, 3, 7).formatString(), "2024-03-07");
  EXPECT_EQ(EDate(1, 1, 1).formatString(), "0001-01-01");
  EXPECT_EQ(EDate(9999, 12, 31).formatString(), "9999-12-31");
  EXPECT_EQ(EDate(10000, 1, 1).formatString(), "");
  EXPECT_EQ(EDate::Null.formatString(), "0000-00-00");
  EXPECT_EQ(EDate::Invalid.formatString(),
            "????"
            "-"
            "??"
            "-"
            "??");
  EXPECT_EQ(EDate(2023, 2, 29).formatString(),
            "????"
            "-"
            "??"
            "-"
            "??");
}

TEST(EDate, ParseString) {
  struct Case {
    const char* text;
    bool ok;
    const char* date;
  } cases[] = {
      {"  2024-3-7  ", true, "2024/3/7"},
      {"2024-03-07", true, "2024/3/7"},
      {"\t\n\v\f\r2024-03-07", true, "2024/3/7"},
      {"0000-00-00", true, "0/0/0"},
      {"2023-02-29", true, "2023/2/29"},  // no validity check
      {"32767-1-1", true, "32767/1/1"},
      {"2024-03-07x", false, nullptr},
      {"+2024-01-01", false, nullptr},
      {"-2024-01-01", false, nullptr},
      {"40000-01-01", false, nullptr},
      {"2024-1-32768", false, nullptr},
      {"2024/01/01", false, nullptr},
      {"2024-01", false, nullptr},
      {"2024--01-01", false, nullptr},
      {"2024 -01-01", false, nullptr},
      {"", false, nullptr},
      {"   ", false, nullptr},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    EDate d(9, 9, 9);
    EXPECT_EQ(d.parseString(c.text, nullptr), c.ok);
    EXPECT_EQ(str(d), c.ok ? c.date : "9/9/9");
  }
  EDate d;
  EXPECT_TRUE(d.parseString(" 2024-3-7", nullptr));
  EXPECT_EQ(d.formatString(), "2024-03-07");

  const char* text = " 2024-03-07x rest";
  const char* end = nullptr;
  EXPECT_TRUE(d.parseString(text, &end));
  EXPECT_EQ(end, text + 11);
  const char* bad = "2024-x";
  end = nullptr;
  EXPECT_FALSE(d.parseString(bad, &end));
  EXPECT_EQ(end, bad);
  EXPECT_FALSE(d.parseString(nullptr, nullptr));
}

TEST(EDate, ParseShortAndParseInt) {
  const char* end = nullptr;
  const char* s = "32767x";
  EXPECT_EQ(EDate::parseShort(s, &end), 32767);
  EXPECT_EQ(end, s + 5);
  EXPECT_EQ(EDate::parseShort("32768", nullptr), -1);
  EXPECT_EQ(EDate::parseShort("99999999999999999999", nullptr), -1);
  EXPECT_EQ(EDate::parseShort("x1", nullptr), -1);
  EXPECT_EQ(EDate::parseShort("", nullptr), -1);
  EXPECT_EQ(EDate::parseShort("-1", nullptr), -1);
  EXPECT_EQ(EDate::parseShort("007", nullptr), 7);

  const std::string digits = "20240229";
  EXPECT_EQ(EDate::parseInt(digits.data(), digits.data() + 4), 2024);
  EXPECT_EQ(EDate::parseInt(digits.data(), digits.data()), 0);
  EXPECT_EQ(EDate::parseInt(digits.data() + 6, digits.data() + 8), 29);
  const std::string mixed = "12a4";
  EXPECT_EQ(EDate::parseInt(mixed.data(), mixed.data() + 4), -1);
  const std::string huge = "99999999999";
  EXPECT_EQ(EDate::parseInt(huge.data(), huge.data() + huge.size()), -1);
}

TEST(EDate, KadiForm) {
  EXPECT_EQ(EDate(2024, 2, 29).toKadiDate(), "20240229");
  EXPECT_EQ(EDate(1, 1, 1).toKadiDate(), "00010101");
  EXPECT_EQ(EDate::Null.toKadiDate(), "00000000");
  EXPECT_EQ(EDate::Invalid.toKadiDate(), "99999999");
  EXPECT_EQ(EDate(2023, 2, 29).toKadiDate(), "99999999");
  EXPECT_EQ(EDate(12000, 1, 1).toKadiDate(), "");

  struct Case {
    const char* text;
    const char* date;
  } cases[] = {
      {"", "0/0/0"},
      {"00000000", "0/0/0"},
      {"20240229", "2024/2/29"},
      {"00010101", "1/1/1"},
      {"2024023a", "-1/-1/-1"},
      {"20240230", "-1/-1/-1"},
      {"2024-02-03", "-1/-1/-1"},
      {"2024022", "-1/-1/-1"},
      {"202402291", "-1/-1/-1"},
      {"00000001", "-1/-1/-1"},
      {"99999999", "-1/-1/-1"},
      {"2024 229", "-1/-1/-1"},
      {"+2024022", "-1/-1/-1"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(str(EDate::fromKadiDate(c.text)), c.date);
  }
  for (EDate d : {EDate(2024, 12, 31), EDate(1, 1, 1), EDate(9999, 1, 9), EDate::Null}) {
    SCOPED_TRACE(str(d));
    EXPECT_EQ(str(EDate::fromKadiDate(d.toKadiDate())), str(d));
  }
}

TEST(EDate, LocalDateFormatUnderRealLocales) {
  struct Case {
    const char* locale;
    const char* pattern;
    EDate date;
    const char* text;
  } cases[] = {
      {"C", "%m/%d/%y", EDate(2024, 3, 7), "03/07/2024"},
      {"de_DE.UTF-8", "%d.%m.%Y", EDate(2024, 3, 7), "07.03.2024"},
      {"en_US.UTF-8", "%m/%d/%Y", EDate(2024, 3, 7), "03/07/2024"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.locale);
    ScopedTimeLocale loc(c.locale);
    if (!loc.ok()) {
      ADD_FAILURE() << "locale " << c.locale << " is not installed (scripts/bootstrap.sh)";
      continue;
    }
    EXPECT_EQ(EDate::getLocalDateFormat(), c.pattern);
    EXPECT_EQ(c.date.formatLocalDate(), c.text);
    EDate back;
    EXPECT_TRUE(back.parseLocalDate(c.text, nullptr));
    EXPECT_EQ(str(back), str(c.date));
    // A two-digit year typed by a person is kept as read.
    EXPECT_TRUE(back.parseLocalDate(c.pattern[1] == 'd' ? "07.03.24" : "03/07/24", nullptr));
    EXPECT_EQ(str(back), "24/3/7");
  }
}

TEST(EDate, ParseLocalDateGerman) {
  ScopedTimeLocale loc("de_DE.UTF-8");
  ASSERT_TRUE(loc.ok()) << "de_DE.UTF-8 is not installed (scripts/bootstrap.sh)";
  ASSERT_EQ(EDate::getLocalDateFormat(), "%d.%m.%Y");
  struct Case {
    const char* text;
    bool ok;
    const char* date;
  } cases[] = {
      {"7.3.24", true, "24/3/7"},           {"07.03.2024", true, "2024/3/7"},
      {" 7 . 3 . 2024 ", true, "2024/3/7"}, {"7.3.202", false, nullptr},
      {"7.3.20245", false, nullptr},        {"007.3.2024", false, nullptr},
      {"7.003.2024", false, nullptr},       {"7-3-2024", false, nullptr},
      {"7.3.2024x", false, nullptr},        {"", false, nullptr},
      {"31.02.2024", true, "2024/2/31"},    {"7.3.", false, nullptr},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    EDate d(9, 9, 9);
    EXPECT_EQ(d.parseLocalDate(c.text, nullptr), c.ok);
    EXPECT_EQ(str(d), c.ok ? c.date : "9/9/9");
  }
  const char* text = "7.3.2024 und mehr";
  const char* end = nullptr;
  EDate d;
  EXPECT_TRUE(d.parseLocalDate(text, &end));
  EXPECT_EQ(end, text + 8);
  const char* bad = "7.x";
  EXPECT_FALSE(d.parseLocalDate(bad, &end));
  EXPECT_EQ(end, bad);

  EXPECT_EQ(EDate(2024, 3, 7).formatLocalDate(), "07.03.2024");
  EXPECT_EQ(EDate(24, 3, 7).formatLocalDate(), "07.03.0024");
  EXPECT_EQ(EDate::Null.formatLocalDate(), "");
  EXPECT_EQ(EDate::Invalid.formatLocalDate(), "??.??.????");
}

TEST(EDate, LocalFormsRoundTripUnderEveryLocale) {
  for (const char* name : {"C", "de_DE.UTF-8", "en_US.UTF-8", "fr_FR.UTF-8"}) {
    ScopedTimeLocale loc(name);
    if (!loc.ok()) continue;
    SCOPED_TRACE(name);
    EDate d(1999, 1, 1);
    for (int i = 0; i < 400; ++i) {
      d.addDays(17);
      EDate back;
      ASSERT_TRUE(back.parseLocalDate(d.formatLocalDate().c_str(), nullptr)) << str(d);
      EXPECT_EQ(str(back), str(d));
    }
  }
}

TEST(EDate, DecodeText) {
  EDate d(2000, 1, 1);
  std::string error;
  EXPECT_TRUE(d.decode(" 2024-02-29 ", &error));
  EXPECT_EQ(str(d), "2024/2/29");

  struct Case {
    const char* text;
    const char* message;
  } cases[] = {
      {"0000-00-00", "attribute 'value' has invalid date '0000-00-00'"},
      {"2023-02-29", "attribute 'value' has invalid date '2023-02-29'"},
      {"abc", "attribute 'value' has invalid value 'abc'"},
      {"2024-01-01 x", "attribute 'value' has invalid value '2024-01-01 x'"},
      {"", "attribute 'value' has invalid value ''"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    EDate v(2000, 1, 1);
    error.clear();
    EXPECT_FALSE(v.decode(c.text, &error));
    EXPECT_EQ(error, c.message);
    EXPECT_EQ(str(v), "2000/1/1");
    EXPECT_FALSE(v.decode(c.text, nullptr));
  }
}

TEST(EDate, DecodeAttributes) {
  AttributeMaker filler;
  sax::Attributes empty;
  sax::Attributes withValue;
  filler.add(&withValue, "", "value", "2024-12-24");
  sax::Attributes blank;
  filler.add(&blank, "", "value", "");
  sax::Attributes namespaced;
  filler.add(&namespaced, "urn:x", "value", "2024-12-24");
  sax::Attributes bad;
  filler.add(&bad, "", "value", "24.12.2024");

  EDate d;
  std::string error;
  EXPECT_TRUE(d.decode(withValue, &error));
  EXPECT_EQ(str(d), "2024/12/24");

  for (const sax::Attributes* a : {&empty, &blank, &namespaced}) {
    EDate v(1, 2, 3);
    error.clear();
    EXPECT_FALSE(v.decode(*a, &error));
    EXPECT_EQ(error, "attribute 'value' is empty or missing");
    EXPECT_EQ(str(v), "1/2/3");
    EXPECT_TRUE(v.decode(*a, EDate(2020, 2, 2), &error));
    EXPECT_EQ(str(v), "2020/2/2");
  }
  error.clear();
  EXPECT_FALSE(d.decode(bad, &error));
  EXPECT_EQ(error, "attribute 'value' has invalid value '24.12.2024'");
  EXPECT_FALSE(d.decode(bad, EDate(2020, 2, 2), &error));
  EXPECT_EQ(str(d), "2024/12/24");
  EXPECT_TRUE(d.decode(withValue, EDate(2020, 2, 2), &error));
  EXPECT_EQ(str(d), "2024/12/24");
}
