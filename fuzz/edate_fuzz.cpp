// EDate readers: parseString, parseLocalDate (under several locales) and
// fromKadiDate never crash, leave the date alone on failure, and what they
// accept writes back to text that reads back to the same date.
#include <kelp/util/utl_EDate.h>

#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

using qor::quv::util::EDate;

namespace {

void check(bool condition) {
  if (!condition) std::abort();
}

bool same(const EDate& a, const EDate& b) {
  return a.year == b.year && a.month == b.month && a.day == b.day;
}

const char* const kLocales[] = {"C", "de_DE.UTF-8", "en_US.UTF-8", "fr_FR.UTF-8"};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0 || size > 4096) return 0;
  const char* locale = kLocales[data[0] % 4];
  std::setlocale(LC_TIME, locale);
  std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  const char* s = text.c_str();
  const EDate sentinel(9, 8, 7);

  for (bool withEnd : {false, true}) {
    const char* end = nullptr;
    EDate d = sentinel;
    if (d.parseString(s, withEnd ? &end : nullptr)) {
      if (withEnd) check(end > s && end <= s + std::strlen(s));
      const std::string shown = d.formatString();
      if (d.isNull() || (d.isValid() && d.year <= 9999)) {
        EDate back;
        check(back.parseString(shown.c_str(), nullptr));
        check(same(back, d));
      } else {
        check(shown ==
                  "????"
                  "-"
                  "??"
                  "-"
                  "??" ||
              shown.empty());
      }
    } else {
      check(same(d, sentinel));
      if (withEnd) check(end == s);
    }

    EDate l = sentinel;
    end = nullptr;
    if (l.parseLocalDate(s, withEnd ? &end : nullptr)) {
      if (withEnd) check(end >= s && end <= s + std::strlen(s));
      if (l.isValid() && l.year <= 9999) {
        const std::string shown = l.formatLocalDate();
        EDate back;
        check(back.parseLocalDate(shown.c_str(), nullptr));
        // The local form writes the full year, also where the pattern
        // says %y, so every valid date comes back as it was.
        check(same(back, l));
      }
    } else {
      check(same(l, sentinel));
      if (withEnd) check(end == s);
    }
  }

  const EDate k = EDate::fromKadiDate(text);
  check(k.isNull() || k.isValid() || same(k, EDate::Invalid));
  check(same(EDate::fromKadiDate(k.toKadiDate()), k));
  if (k.isValid()) check(k.toKadiDate() == text);

  std::string error;
  EDate decoded = sentinel;
  if (decoded.decode(s, &error)) {
    check(decoded.isValid() && error.empty());
  } else {
    check(same(decoded, sentinel) && !error.empty());
  }
  return 0;
}
