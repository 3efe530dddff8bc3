// The deterministic product catalogue of the benchmarks: makers and articles
// with names in five languages and scripts, descriptions with inline markup,
// notes, prices, features and sizes. One generator drives a sink, so that the
// reader's benchmark can have the catalogue as text and the writer's as the
// calls that write it.
//
// A sink offers:
//   void start(const char* name, int format);   // 0 inline, 1 block, 2 indented
//   void attr(const char* name, const std::string& value);
//   void text(const std::string& text);         // not escaped yet
//   void cdata(const std::string& text);
//   void comment(const char* text);             // on a line of its own
//   void end();
//   bool more();                                // another article wanted?
#ifndef KELP_BENCH_CATALOGUE_GEN_H
#define KELP_BENCH_CATALOGUE_GEN_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace kelp::bench {

class Random {
 public:
  explicit Random(std::uint64_t seed) : s_(seed) {}
  std::uint32_t next() {
    s_ = s_ * 6364136223846793005ull + 1442695040888963407ull;
    return static_cast<std::uint32_t>(s_ >> 33);
  }
  std::uint32_t below(std::uint32_t n) { return next() % n; }
  template <std::size_t N>
  const char* pick(const char* const (&a)[N]) {
    return a[below(N)];
  }

 private:
  std::uint64_t s_;
};

inline const char* const kWordsEn[] = {"ergonomic", "chair",  "desk",       "oak",    "steel",
                                       "durable",   "office", "modular",    "shelf",  "cabinet",
                                       "lamp",      "soft",   "adjustable", "height", "with",
                                       "and",       "for",    "premium"};
inline const char* const kWordsDe[] = {
    "Bürostuhl", "Schreibtisch", "Eiche", "höhenverstellbar", "Regal", "Leuchte",   "für",
    "und",       "mit",          "Größe", "Oberfläche",       "weiß",  "Drehstuhl", "Rückenlehne"};
inline const char* const kWordsFr[] = {"chaise",   "bureau",  "élégante", "chêne",
                                       "réglable", "étagère", "lumière",  "pour",
                                       "avec",     "qualité", "façade",   "très"};
inline const char* const kWordsJa[] = {"オフィス", "チェア", "机",   "木製",    "高さ調節",
                                       "収納",     "照明",   "快適", "デザイン"};
inline const char* const kWordsRu[] = {"стул",  "стол", "офисный", "дуб",    "полка",
                                       "лампа", "для",  "и",       "удобный"};
inline const char* const kCurrencies[] = {"EUR", "CHF", "USD", "GBP", "SEK", "JPY"};
inline const char* const kGroups[] = {"chairs",   "desks",       "storage",
                                      "lighting", "accessories", "tables"};
inline const char* const kColors[] = {"anthracite", "white",  "oak", "walnut",
                                      "black",      "silver", "red"};

// `count` words of `list`, separated by single spaces, appended to out.
template <std::size_t N>
void words(std::string& out, Random& r, const char* const (&list)[N], int count) {
  for (int i = 0; i < count; ++i) {
    if (i) out += ' ';
    out += r.pick(list);
  }
}

template <std::size_t N>
std::string words(Random& r, const char* const (&list)[N], int count) {
  std::string s;
  words(s, r, list, count);
  return s;
}

// v with leading zeros to `width` digits, after `prefix`.
inline std::string num(const char* prefix, std::uint32_t v, int width) {
  std::string s = std::to_string(v);
  std::string out = prefix;
  out.append(width > static_cast<int>(s.size()) ? width - s.size() : 0, '0');
  return out += s;
}

inline std::string num(std::uint32_t v, int width) {
  std::string s = std::to_string(v);
  return std::string(width > static_cast<int>(s.size()) ? width - s.size() : 0, '0') + s;
}

template <class Sink>
void generateCatalogue(Sink& s) {
  Random r(42);
  s.start("cat:catalogue", 2);
  s.attr("xmlns:cat", "urn:kelp:catalogue:3");
  s.attr("xmlns:x", "http://www.w3.org/1999/xhtml");
  s.attr("xmlns", "urn:kelp:default");
  s.attr("version", "3.1");
  s.attr("created", "2026-01-01T00:00:00Z");
  s.attr("currency", "EUR");
  for (std::uint32_t m = 0; m < 50; ++m) {
    s.start("cat:maker", 1);
    s.attr("id", num("M", m, 4));
    s.attr("country", "DE");
    s.attr("since", num("19", 50 + m, 2));
    s.start("cat:name", 0);
    s.text(words(r, kWordsDe, 2) + " GmbH & Co. KG");
    s.end();
    s.end();
  }
  for (std::uint32_t a = 0; s.more(); ++a) {
    s.start("cat:article", 2);
    s.attr("id", num("A", a, 7));
    s.attr("maker", num("M", r.below(50), 4));
    s.attr("group", r.pick(kGroups));
    s.attr("status", "active");
    s.attr("ean", num("400", r.next() % 1000000000u, 10));
    std::string date = num("2025-", r.below(12) + 1, 2);
    s.attr("updated", date + num("-", r.below(28) + 1, 2));
    if (a % 16 == 0) s.comment(" revised by the catalogue team ");
    static const char* const langs[] = {"en", "de", "fr", "ja", "ru"};
    for (const char* lang : langs) {
      s.start("cat:name", 1);
      s.attr("xml:lang", lang);
      switch (lang[0]) {
        case 'e':
          s.text(words(r, kWordsEn, 4));
          break;
        case 'd':
          s.text(words(r, kWordsDe, 3));
          break;
        case 'f':
          s.text(words(r, kWordsFr, 3));
          break;
        case 'j':
          s.text(words(r, kWordsJa, 3));
          break;
        default:
          s.text(words(r, kWordsRu, 3));
          break;
      }
      s.end();
    }
    s.start("cat:description", 1);
    s.attr("xml:lang", "en");
    s.start("x:p", 0);
    std::string t = words(r, kWordsEn, 12) + " <";
    words(t, r, kWordsEn, 2);
    s.text(t + "> ");
    s.start("x:b", 0);
    s.text(words(r, kWordsEn, 2));
    s.end();
    std::string tail = " ";
    words(tail, r, kWordsEn, 10);
    s.text(tail + ".");
    s.end();
    s.start("x:ul", 0);
    s.start("x:li", 0);
    s.text(words(r, kWordsDe, 4));
    s.end();
    s.start("x:li", 0);
    s.text(words(r, kWordsFr, 4));
    s.end();
    s.end();
    s.end();
    if (a % 4 == 0) {
      s.start("cat:note", 1);
      std::string note = "<b>";
      words(note, r, kWordsEn, 6);
      s.cdata(note + "</b> & more");
      s.end();
    }
    s.start("cat:prices", 2);
    for (int p = 0; p < 3; ++p) {
      s.start("cat:price", 1);
      s.attr("currency", r.pick(kCurrencies));
      std::string units = std::to_string(r.below(5000));
      s.attr("amount", units + num(".", r.below(100), 2));
      s.attr("tax", "19");
      s.attr("valid-from", "2026-01-01");
      s.attr("valid-to", "2026-12-31");
      s.attr("min-qty", std::to_string(1 + p * 10));
      s.end();
    }
    s.end();
    s.start("cat:features", 1);
    for (int f = 0; f < 4; ++f) {
      s.start("cat:feature", 0);
      s.attr("key", std::string("color") + char('0' + f));
      s.attr("value", r.pick(kColors));
      s.end();
    }
    s.end();
    s.start("cat:size", 1);
    std::string w = std::to_string(r.below(2000));
    std::string h = std::to_string(r.below(2000));
    s.attr("w", w);
    s.attr("h", h);
    s.attr("d", std::to_string(r.below(1000)));
    s.attr("unit", "mm");
    s.end();
    s.end();
  }
  s.end();
}

}  // namespace kelp::bench

#endif
