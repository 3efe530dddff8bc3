// kelp catalogue report: the sample catalogue's totals against sums worked
// out by hand, languages and number forms, the HTML report, faulty records
// with their lines, and the failures of the whole run.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tool_runner.h"

using kelp::test::runKelp;
using kelp::test::TempDir;

namespace {

const char kSample[] = "samples/catalogue.xml";

std::string sampleText() {
  return kelp::test::readFile(std::string(KELP_SOURCE_DIR) + "/" + kSample);
}

// The 1-based line of the first line of `text` holding `needle` at or after
// line `from`; 0 when there is none.
int lineOf(const std::string& text, const std::string& needle, int from = 1) {
  int line = 1;
  std::size_t start = 0;
  while (start <= text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    if (line >= from && text.substr(start, end - start).find(needle) != std::string::npos)
      return line;
    start = end + 1;
    ++line;
  }
  return 0;
}

// The report from "totals" to the end.
std::string totalsOf(const std::string& out) {
  std::size_t at = out.find("\ntotals\n");
  return at == std::string::npos ? std::string() : out.substr(at + 1);
}

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

}  // namespace

// The prices of the 29 valid articles of the sample, rounded half away from
// zero to the currency's decimals, and their sums.
//
// Articles with surcharges (+) and discounts (-), applied in order:
//   DSK-1400 +4.5 % -10 %, factor 1.045 * 0.90 = 0.9405:
//     EUR 649.00 * 0.9405 = 610.3845        -> 610.38
//     CHF 689.00 * 0.9405 = 648.0045        -> 648.00
//     JPY 98000 * 0.9405  = 92169           -> 92169
//     KWD 215.750 * 0.9405 = 202.912875     -> 202.913
//   CHR-2010 -15 %, factor 0.85:
//     EUR 429.90 -> 365.415 -> 365.42; CHF 459.00 -> 390.15;
//     JPY 64800 -> 55080; KWD 143.250 -> 121.7625 -> 121.763
//   CAB-3200 +7.5 %, factor 1.075:
//     EUR 499.00 -> 536.425 -> 536.43; JPY 74900 -> 80517.5 -> 80518;
//     KWD 166.000 -> 178.450
//   WBD-5010 -12.5 %, factor 0.875:
//     EUR 129.00 -> 112.875 -> 112.88; JPY 19400 -> 16975;
//     KWD 42.900 -> 37.5375 -> 37.538
//   PEN-6120 +3 %, factor 1.03:
//     EUR 39.00 -> 40.17; JPY 5900 -> 6077; KWD 12.990 -> 13.3797 -> 13.380
//   HDS-7040 -20 %, factor 0.80:
//     EUR 149.90 -> 119.92; JPY 22500 -> 18000; KWD 49.900 -> 39.920
//   COF-8040 +2.5 % -5 %, factor 1.025 * 0.95 = 0.97375:
//     EUR 899.00 -> 875.40125 -> 875.40; CHF 949.00 -> 924.08875 -> 924.09
//     JPY 135000 -> 131456.25 -> 131456; KWD 298.900 -> 291.053875 -> 291.054
//
// EUR, all 29 in file order:
//   610.38 + 389.00 + 365.42 + 89.50 + 159.00           = 1613.30
//   + 219.00 + 536.43 + 279.00 + 74.95 + 189.00         = 2911.68
//   + 112.88 + 149.00 + 24.99 + 12.49 + 17.90           = 3228.94
//   + 40.17 + 19.95 + 34.50 + 119.00 + 59.90            = 3502.46
//   + 44.90 + 119.92 + 49.00 + 69.00 + 34.90            = 3820.18
//   + 875.40 + 1249.00 + 599.00 + 49.90                 = 6593.48
// CHF, 5 articles: 648.00 + 390.15 + 79.90 + 125.00 + 924.09 = 2167.14
// JPY:
//   92169 + 59000 + 55080 + 13500 + 23900               = 243649
//   + 32900 + 80518 + 41900 + 11200 + 28400             = 438567
//   + 16975 + 22400 + 3750 + 1880 + 2690                = 485262
//   + 6077 + 2990 + 5180 + 17900 + 8980                 = 526389
//   + 6740 + 18000 + 7350 + 10400 + 5240                = 574119
//   + 131456 + 187500 + 89900 + 7490                    = 991465
// KWD:
//   202.913 + 129.500 + 121.763 + 29.800 + 52.900       = 536.876
//   + 72.900 + 178.450 + 92.800 + 24.950 + 62.900       = 968.876
//   + 37.538 + 49.600 + 8.320 + 4.150 + 5.960           = 1074.444
//   + 13.380 + 6.640 + 11.480 + 39.600 + 19.940         = 1165.484
//   + 14.950 + 39.920 + 16.300 + 22.950 + 11.600        = 1271.204
//   + 291.054 + 415.000 + 199.500 + 16.600              = 2193.358
TEST(KelpCatalogue, SampleTotalsMatchTheSumsByHand) {
  auto r = runKelp({"catalogue", "report", kSample});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(totalsOf(r.out),
            "totals\n"
            "  EUR 6,593.48 (29 articles)\n"
            "  CHF 2,167.14 (5 articles)\n"
            "  JPY 991,465 (29 articles)\n"
            "  KWD 2,193.358 (29 articles)\n");
  EXPECT_EQ(r.out.rfind("catalogue office-2026, data version 3.2.0, valid 2026-01-01 to "
                        "2026-12-31, language en\n",
                        0),
            0u);
  // Single prices with their working, and the rounding of each currency.
  for (const char* line : {
           "\n  EUR 610.38  (649.00 +4.5 % -10 %)\n",
           "\n  CHF 648.00  (689.00 +4.5 % -10 %)\n",
           "\n  JPY 92,169  (98,000 +4.5 % -10 %)\n",
           "\n  KWD 202.913  (215.750 +4.5 % -10 %)\n",
           "\n  JPY 80,518  (74,900 +7.5 %)\n",
           "\n  KWD 37.538  (42.900 -12.5 %)\n",
           "\n  EUR 1,249.00\n",
           "\nDSK-1400  Height-adjustable desk\n  valid 2026-01-01 to 2026-12-31, data version "
           "3.1.0\n",
           "\nCOF-8040  Coffee machine, bean to cup\n  valid 2026-03-01 to 2026-09-30",
           "\nSFA-8050  Lounge sofa, two-seater\n  valid 2026-01-01 to 2026-06-30\n",
       }) {
    SCOPED_TRACE(line);
    EXPECT_TRUE(contains(r.out, line));
  }
  // Faulty articles stay out; the first CHR-2020 stays in.
  EXPECT_FALSE(contains(r.out, "INV-"));
  EXPECT_TRUE(contains(r.out, "CHR-2020  Visitor chair, stackable\n"));
  EXPECT_FALSE(contains(r.out, "second entry"));
}

TEST(KelpCatalogue, DescriptionsAsText) {
  auto r = runKelp({"catalogue", "report", kSample});
  ASSERT_EQ(r.status, 0);
  EXPECT_TRUE(contains(r.out,
                       "\n  | An electric *sit-stand* desk with a 160 \xC3\x97 80 cm top.\n"
                       "  | - Height 62 to 127 cm, two motors\n"
                       "  | - Memory keys for four positions\n"
                       "  | - Cable tray included\n"
                       "  EUR 610.38"));
  EXPECT_TRUE(contains(r.out, "  | Full-extension runners\n  | Anti-tilt device\n"));
  EXPECT_TRUE(contains(r.out, "  | Mounting -- Clamp or grommet\n"));
  EXPECT_TRUE(contains(r.out,
                       "  | Barista at the desk\n  | Grinds the beans for every cup; "
                       "*two* cups at a time.\n  | -----------\n  | Water tank 2.5 l\n"));
}

TEST(KelpCatalogue, GermanNamesAndNumbersWhateverTheLocale) {
  for (const char* locale : {"C", "en_US.UTF-8", "fr_FR.UTF-8"}) {
    SCOPED_TRACE(locale);
    auto r = runKelp({"catalogue", "report", "--lang", "de", kSample}, "", {{"LC_ALL", locale}});
    ASSERT_EQ(r.status, 0);
    EXPECT_EQ(totalsOf(r.out),
              "totals\n"
              "  EUR 6.593,48 (29 articles)\n"
              "  CHF 2.167,14 (5 articles)\n"
              "  JPY 991.465 (29 articles)\n"
              "  KWD 2.193,358 (29 articles)\n");
    for (const char* part : {
             "\nDSK-1400  H\xC3\xB6henverstellbarer Schreibtisch\n",
             "  | Elektrisch h\xC3\xB6henverstellbarer *Sitz-Steh-Tisch* mit 160",
             "\n  EUR 610,38  (649,00 +4,5 % -10 %)\n",
             "\n  KWD 202,913  (215,750 +4,5 % -10 %)\n",
             "\nHUB-7050  USB-C-Hub, 7 Anschl\xC3\xBCsse\n",
             "\nPLT-8010  B\xC3\xBCropflanze im Topf\n",
             ", language de\n",
         }) {
      SCOPED_TRACE(part);
      EXPECT_TRUE(contains(r.out, part));
    }
  }
  // Without --lang the language comes from the environment.
  auto r = runKelp({"catalogue", "report", kSample}, "", {{"LC_ALL", "de_DE.UTF-8"}});
  EXPECT_TRUE(contains(r.out, "\nCHR-2010  Ergonomischer B\xC3\xBCrostuhl\n"));
  EXPECT_TRUE(contains(r.out, "  EUR 6.593,48 (29 articles)\n"));
}

TEST(KelpCatalogue, NamesFallBackLikeTranslatableStringSets) {
  auto fr = runKelp({"catalogue", "report", "--lang=fr", kSample});
  ASSERT_EQ(fr.status, 0);
  for (const char* part : {
           "\nDSK-1400  Bureau r\xC3\xA9glable en hauteur\n",
           "  | Bureau assis-debout *\xC3\xA9lectrique*, plateau de 160 \xC3\x97 80 cm.\n",
           // No French name: the catalogue's language.
           "\nPLT-8010  Office plant, potted\n",
           // No French or English name: the name without language.
           "\nHUB-7050  USB-C hub, 7 ports\n",
           // No French description: the English one.
           "  | Synchronous mechanism, adjustable lumbar support and *4D* armrests.\n",
           "  EUR 6 593,48 (29 articles)\n",
           "  KWD 2 193,358 (29 articles)\n",
       }) {
    SCOPED_TRACE(part);
    EXPECT_TRUE(contains(fr.out, part));
  }
  // A language no article has: English names, English numbers, also under
  // a German locale.
  auto it =
      runKelp({"catalogue", "report", "--lang", "it", kSample}, "", {{"LC_ALL", "de_DE.UTF-8"}});
  ASSERT_EQ(it.status, 0);
  EXPECT_TRUE(contains(it.out, "\nDSK-1400  Height-adjustable desk\n"));
  EXPECT_TRUE(contains(it.out, "\nHUB-7050  USB-C hub, 7 ports\n"));
  EXPECT_TRUE(contains(it.out, "  JPY 991,465 (29 articles)\n"));
}

TEST(KelpCatalogue, FaultyRecordsAreReportedWithTheirLines) {
  const std::string text = sampleText();
  const std::string f = kSample;
  auto at = [&](const std::string& needle, int from = 1) {
    int line = lineOf(text, needle, from);
    EXPECT_GT(line, 0) << needle;
    return f + ":" + std::to_string(line) + ": ";
  };
  const int firstChair = lineOf(text, "id=\"CHR-2020\"");
  const std::string expected =
      at("value=\"12,50\"") +
      "article 'INV-9001': price: attribute 'value' has invalid value '12,50'\n" +
      at("currency=\"USD\"") + "article 'INV-9002': price: unknown currency 'USD'\n" +
      at("id=\"INV-9003\"") +
      "article 'INV-9003': valid-until 2026-02-01 is before valid-from 2026-08-01\n" +
      at("id=\"INV-9004\"") + "article 'INV-9004': no name in the catalogue language 'en'\n" +
      at("id=\"CHR-2020\"", firstChair + 1) + "article 'CHR-2020': duplicate id (first at line " +
      std::to_string(firstChair) + ")\n" + at("<p>Prints labels") +
      "article 'INV-9006': description: Invalid paragraph nesting (<p>).\n" +
      at("id=\"INV-9007\"") +
      "article 'INV-9007': data version 3.3.0 is newer than the catalogue's 3.2.0\n"
      "kelp catalogue: 7 invalid articles left out\n";
  auto r = runKelp({"catalogue", "report", kSample});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, expected);

  // --strict: the same report and messages, but a failing status.
  auto strict = runKelp({"catalogue", "report", "--strict", kSample});
  EXPECT_EQ(strict.status, 1);
  EXPECT_EQ(strict.err, expected);
  EXPECT_EQ(strict.out, r.out);
}

TEST(KelpCatalogue, HtmlReport) {
  auto r = runKelp({"catalogue", "report", "--html", kSample});
  ASSERT_EQ(r.status, 0);
  EXPECT_EQ(r.out.rfind("<!DOCTYPE html>\n<html lang=\"en\">\n", 0), 0u);
  for (const char* part : {
           "<title>Catalogue office-2026</title>",
           "<section class=\"article\">\n<h2>DSK-1400 Height-adjustable desk</h2>\n"
           "<p class=\"meta\">valid 2026-01-01 to 2026-12-31, data version 3.1.0</p>\n"
           "<div class=\"description\">\n",
           "<P>An electric <B>sit-stand</B> desk with a 160 &times; 80 cm top.\n<UL>\n<LI>Height "
           "62 to 127 cm, two motors\n",
           "<tr><td>EUR</td><td class=\"num\">610.38</td><td class=\"num\">649.00 +4.5 % -10 "
           "%</td></tr>\n",
           "<tr><td>JPY</td><td class=\"num\">59,000</td><td class=\"num\"></td></tr>\n",
           "<tbody>\n<tr><td>EUR</td><td class=\"num\">6,593.48</td><td "
           "class=\"num\">29</td></tr>\n"
           "<tr><td>CHF</td><td class=\"num\">2,167.14</td><td class=\"num\">5</td></tr>\n"
           "<tr><td>JPY</td><td class=\"num\">991,465</td><td class=\"num\">29</td></tr>\n"
           "<tr><td>KWD</td><td class=\"num\">2,193.358</td><td class=\"num\">29</td></tr>\n"
           "</tbody>\n</table>\n</body>\n</html>\n",
       }) {
    SCOPED_TRACE(part);
    EXPECT_TRUE(contains(r.out, part));
  }
  // Self-contained: no external resources.
  EXPECT_FALSE(contains(r.out, "<link"));
  EXPECT_FALSE(contains(r.out, "src="));
  EXPECT_FALSE(contains(r.out, "\n  | "));
  auto de = runKelp({"catalogue", "report", "--html", "--lang", "de", kSample});
  EXPECT_TRUE(contains(de.out, "<h2>CHR-2010 Ergonomischer B\xC3\xBCrostuhl</h2>"));
  EXPECT_TRUE(contains(de.out, "<P>Elektrisch h&ouml;henverstellbarer <B>Sitz-Steh-Tisch</B>"));
  EXPECT_TRUE(contains(de.out, "<tr><td>KWD</td><td class=\"num\">2.193,358</td>"));
}

// 2026-01-15: COF-8040 (from 2026-03-01) is left out:
//   EUR 6593.48 - 875.40 = 5718.08, CHF 2167.14 - 924.09 = 1243.05,
//   JPY 991465 - 131456 = 860009, KWD 2193.358 - 291.054 = 1902.304.
// 2026-07-15: SFA-8050 (until 2026-06-30) is left out:
//   EUR 6593.48 - 1249.00 = 5344.48, JPY 991465 - 187500 = 803965,
//   KWD 2193.358 - 415.000 = 1778.358; CHF unchanged.
TEST(KelpCatalogue, OnlyArticlesValidOnADate) {
  auto jan = runKelp({"catalogue", "report", "--date", "2026-01-15", kSample});
  ASSERT_EQ(jan.status, 0);
  EXPECT_EQ(totalsOf(jan.out),
            "totals\n"
            "  EUR 5,718.08 (28 articles)\n"
            "  CHF 1,243.05 (4 articles)\n"
            "  JPY 860,009 (28 articles)\n"
            "  KWD 1,902.304 (28 articles)\n"
            "  1 article not valid on 2026-01-15\n");
  EXPECT_FALSE(contains(jan.out, "COF-8040"));
  EXPECT_TRUE(contains(jan.out, ", articles valid on 2026-01-15\n"));

  auto jul = runKelp({"catalogue", "report", "--date=2026-07-15", kSample});
  EXPECT_EQ(totalsOf(jul.out),
            "totals\n"
            "  EUR 5,344.48 (28 articles)\n"
            "  CHF 2,167.14 (5 articles)\n"
            "  JPY 803,965 (28 articles)\n"
            "  KWD 1,778.358 (28 articles)\n"
            "  1 article not valid on 2026-07-15\n");
  EXPECT_TRUE(contains(jul.out, "COF-8040"));
  EXPECT_FALSE(contains(jul.out, "SFA-8050"));

  // Before the catalogue's validity nothing is listed.
  auto before = runKelp({"catalogue", "report", "--date", "2025-12-31", kSample});
  EXPECT_EQ(totalsOf(before.out), "totals\n  29 articles not valid on 2025-12-31\n");
}

namespace {

// A catalogue around `articles`, written to a file; the header takes
// lines 1 to 3.
std::string writeCatalogue(const TempDir& dir, const std::string& articles,
                           const std::string& name = "c.xml") {
  std::string path = dir.file(name);
  kelp::test::writeFile(path,
                        "<?xml version=\"1.0\"?>\n"
                        "<catalogue id=\"t\" version=\"1.0.0\" lang=\"en\" currencies=\"EUR JPY "
                        "KWD\"\n"
                        "           valid-from=\"2026-01-01\" valid-until=\"2026-12-31\">\n" +
                            articles + "</catalogue>\n");
  return path;
}

}  // namespace

// Rounding half away from zero at each currency's decimals:
//   EUR 0.125 -> 0.13, 10.00 -33.335 % = 6.6665 -> 6.67
//   JPY 1000.5 -> 1001 (the base itself is rounded), 999 +0.05 % = 999.4995 -> 999
//   KWD 1.0005 -> 1.001, 2.000 -0.025 % = 1.9995 -> 2.000
// Totals: EUR 0.13 + 6.67 = 6.80; JPY 1001 + 999 = 2000;
//   KWD 1.001 + 2.000 = 3.001.
TEST(KelpCatalogue, RoundingPerCurrency) {
  TempDir dir;
  std::string path = writeCatalogue(
      dir,
      "<article id=\"a\"><name lang=\"en\">A</name>\n"
      "<price currency=\"EUR\" value=\"0.125\"/>\n"
      "<price currency=\"JPY\" value=\"1000.5\"/>\n"
      "<price currency=\"KWD\" value=\"1.0005\"/></article>\n"
      "<article id=\"b\"><name lang=\"en\">B</name>\n"
      "<price currency=\"EUR\" value=\"10.00\"><discount value=\"33.335\"/></price>\n"
      "<price currency=\"JPY\" value=\"999\"><surcharge value=\"0.05\"/></price>\n"
      "<price currency=\"KWD\" value=\"2.000\"><discount value=\"0.025\"/></price></article>\n");
  auto r = runKelp({"catalogue", "report", path});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(totalsOf(r.out),
            "totals\n  EUR 6.80 (2 articles)\n  JPY 2,000 (2 articles)\n"
            "  KWD 3.001 (2 articles)\n");
  EXPECT_TRUE(contains(r.out, "\n  EUR 0.13\n"));
  EXPECT_TRUE(contains(r.out, "\n  JPY 1,001\n"));
  EXPECT_TRUE(contains(r.out, "\n  EUR 6.67  (10.00 -33.335 %)\n"));
  EXPECT_TRUE(contains(r.out, "\n  JPY 999  (999 +0.05 %)\n"));
  EXPECT_TRUE(contains(r.out, "\n  KWD 2.000  (2.000 -0.025 %)\n"));
}

TEST(KelpCatalogue, EveryKindOfFaultyRecord) {
  struct Case {
    const char* article;  // one article; the fault is on the line marked @
    const char* message;
  };
  const Case cases[] = {
      {"<article>@\n<name lang=\"en\">x</name><price currency=\"EUR\" value=\"1\"/>",
       "article: attribute 'id' is missing or empty"},
      {"<article id=\"f2\" colour=\"red\">@\n<name lang=\"en\">x</name>"
       "<price currency=\"EUR\" value=\"1\"/>",
       "article 'f2': unknown attribute 'colour'"},
      {"<article id=\"f3\" version=\"1.x\">@\n<name lang=\"en\">x</name>"
       "<price currency=\"EUR\" value=\"1\"/>",
       "article 'f3': attribute 'version' has invalid value '1.x'"},
      {"<article id=\"f4\" valid-from=\"2026-02-30\">@\n<name lang=\"en\">x</name>"
       "<price currency=\"EUR\" value=\"1\"/>",
       "article 'f4': attribute 'valid-from' has invalid date '2026-02-30'"},
      {"<article id=\"f5\" valid-until=\"2025-12-31\">@\n<name lang=\"en\">x</name>"
       "<price currency=\"EUR\" value=\"1\"/>",
       "article 'f5': valid-until 2025-12-31 is before valid-from 2026-01-01"},
      {"<article id=\"f6\"><name lang=\"en\">x</name>\n<name lang=\"eng\">y</name>@\n"
       "<price currency=\"EUR\" value=\"1\"/>",
       "article 'f6': name: attribute 'lang' has invalid value 'eng'"},
      {"<article id=\"f7\"><name lang=\"en\">x</name>\n<name lang=\"en\">y</name>@\n"
       "<price currency=\"EUR\" value=\"1\"/>",
       "article 'f7': duplicate name in 'en'"},
      {"<article id=\"f8\"><name lang=\"en\">x</name>\n<name lang=\"fr\">@  \n </name>\n"
       "<price currency=\"EUR\" value=\"1\"/>",
       "article 'f8': empty name in 'fr'"},
      {"<article id=\"f9\"><name lang=\"en\">x<b>@</b></name>\n"
       "<price currency=\"EUR\" value=\"1\"/>",
       "article 'f9': element <b> is not allowed in <name>"},
      {"<article id=\"f10\"><name lang=\"en\">x</name>\n<price value=\"1\"/>@\n",
       "article 'f10': price: attribute 'currency' is missing or empty"},
      {"<article id=\"f11\"><name lang=\"en\">x</name>\n<price currency=\"EUR\"/>@\n",
       "article 'f11': price: attribute 'value' is missing or empty"},
      {"<article id=\"f12\"><name lang=\"en\">x</name>\n<price currency=\"EUR\" value=\"1\"/>\n"
       "<price currency=\"EUR\" value=\"2\"/>@\n",
       "article 'f12': duplicate price in EUR (first at line L-1)"},
      {"<article id=\"f13\"><name lang=\"en\">x</name>\n<price currency=\"eur\" value=\"1\"/>@\n",
       "article 'f13': price: unknown currency 'eur'"},
      {"<article id=\"f14\"><name lang=\"en\">x</name>\n<price currency=\"EUR\" value=\"10\">"
       "<discount value=\"110\"/></price>@\n",
       "article 'f14': price in EUR is negative (-1.00)"},
      {"<article id=\"f15\"><name lang=\"en\">x</name>\n<price currency=\"EUR\" value=\"10\">"
       "<surcharge value=\"-5\"/>@</price>\n",
       "article 'f15': surcharge: attribute 'value' must be a percentage of 0 or more, not '-5'"},
      {"<article id=\"f16\"><name lang=\"en\">x</name>\n<price currency=\"EUR\" value=\"10\">"
       "<discount value=\"ten\"/>@</price>\n",
       "article 'f16': discount: attribute 'value' has invalid value 'ten'"},
      {"<article id=\"f17\"><name lang=\"en\">x</name>\n<price currency=\"EUR\" value=\"10\">"
       "<rebate value=\"1\"/>@</price>\n",
       "article 'f17': unknown element <rebate> in <price>"},
      {"<article id=\"f18\"><name lang=\"en\">x</name>\n<colour>red</colour>@\n"
       "<price currency=\"EUR\" value=\"1\"/>",
       "article 'f18': unknown element <colour> in <article>"},
      {"<article id=\"f19\"><name lang=\"en\">x</name>\nstray text@\n"
       "<price currency=\"EUR\" value=\"1\"/>",
       "article 'f19': text is not allowed here"},
      {"<article id=\"f20\">@\n<name lang=\"en\">x</name>\n", "article 'f20': no price"},
      {"<article id=\"f21\">@\n<name lang=\"de\">x</name>\n<price currency=\"EUR\" value=\"1\"/>",
       "article 'f21': no name in the catalogue language 'en'"},
      {"<article id=\"f22\"><name lang=\"en\">x</name>\n<description>@<p>a<ul><li>b</li>"
       "</ul></p></description>\n<price currency=\"EUR\" value=\"1\"/>",
       "article 'f22': description: Invalid paragraph nesting (<ul>)."},
      {"<article id=\"f23\"><name lang=\"en\">x</name>\n<description>a</description>\n"
       "<description>b</description>@\n<price currency=\"EUR\" value=\"1\"/>",
       "article 'f23': duplicate description without language"},
      {"<article id=\"f24\"><name lang=\"en\">x</name>\n<price currency=\"EUR\" value=\"-3\"/>@\n",
       "article 'f24': price in EUR is negative (-3.00)"},
      {"<article id=\"f25\"><name lang=\"en\">x</name>\n<price currency=\"JPY\" value=\"NaN\"/>@\n",
       "article 'f25': price: if the 'currency' attribute exists, the 'value' attribute must exist "
       "and must not be NaN"},
      {"<article id=\"f26\"><name lang=\"en\">x</name>\n<price currency=\"JPY\" value=\"Inf\"/>@\n",
       "article 'f26': price: attribute 'value' has invalid value 'Inf'"},
      {"<article id=\"f27\"><name lang=\"en\">x</name>\n<price currency=\"EUR\" "
       "value=\"9E+6144\">@<surcharge value=\"100\"/></price>\n",
       "article 'f27': price in EUR is out of range"},
      // Amounts are exact or a fault, never rounded to 34 digits.
      {"<article id=\"f28\"><name lang=\"en\">x</name>\n<price currency=\"EUR\" "
       "value=\"1234567890123456789012345678901234567890\"/>@\n",
       "article 'f28': price: attribute 'value' has invalid value "
       "'1234567890123456789012345678901234567890': it has more than 34 significant digits"},
      {"<article id=\"f29\"><name lang=\"en\">x</name>\n<price currency=\"EUR\" value=\"10\">"
       "<discount value=\"10.00000000000000000000000000000000001\"/>@</price>\n",
       "article 'f29': discount: attribute 'value' has invalid value "
       "'10.00000000000000000000000000000000001': it has more than 34 significant digits"},
      // 33 digits times 1.1001 needs 37.
      {"<article id=\"f30\"><name lang=\"en\">x</name>\n<price currency=\"EUR\" "
       "value=\"1234567890123456789012345678901.23\">@<surcharge value=\"10.01\"/></price>\n",
       "article 'f30': price in EUR cannot be computed exactly: it has more than 34 significant "
       "digits"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.message);
    TempDir dir;
    // One good article first, so that the report has something to total.
    std::string good =
        "<article id=\"ok\"><name lang=\"en\">Good</name>"
        "<price currency=\"EUR\" value=\"5\"/></article>\n";
    std::string article = c.article;
    std::size_t mark = article.find('@');
    ASSERT_NE(mark, std::string::npos);
    // Header 3 lines, the good article 1; the marked line counts from 5.
    int line = 5;
    for (std::size_t i = 0; i < mark; ++i)
      if (article[i] == '\n') ++line;
    article.erase(mark, 1);
    std::string path = writeCatalogue(dir, good + article + "</article>\n");
    std::string message = c.message;
    if (std::size_t l = message.find("L-1"); l != std::string::npos)
      message.replace(l, 3, std::to_string(line - 1));
    auto r = runKelp({"catalogue", "report", path});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, path + ":" + std::to_string(line) + ": " + message +
                         "\nkelp catalogue: 1 invalid article left out\n");
    EXPECT_EQ(totalsOf(r.out), "totals\n  EUR 5.00 (1 article)\n");
  }
}

// A name set holds at most 255 languages; aa to jv are 256.
TEST(KelpCatalogue, TooManyNames) {
  std::string names;
  for (int i = 0; i < 256; ++i) {
    names += "<name lang=\"";
    names += static_cast<char>('a' + i / 26);
    names += static_cast<char>('a' + i % 26);
    names += "\">n</name>\n";
  }
  TempDir dir;
  std::string path = writeCatalogue(
      dir, "<article id=\"many\">\n" + names + "<price currency=\"EUR\" value=\"1\"/></article>\n");
  auto r = runKelp({"catalogue", "report", path});
  EXPECT_EQ(r.status, 0);
  // The 256th name is on line 4 + 1 + 255.
  EXPECT_EQ(r.err, path +
                       ":260: article 'many': too many names\n"
                       "kelp catalogue: 1 invalid article left out\n");
}

TEST(KelpCatalogue, CharactersBeyondLatin1InDescriptions) {
  TempDir dir;
  std::string path = writeCatalogue(
      dir,
      "<article id=\"e\"><name lang=\"en\">Euro \xE2\x82\xAC</name>\n"
      "<description><p>Costs \xE2\x82\xAC 5, caf\xC3\xA9 &eacute;</p></description>\n"
      "<price currency=\"EUR\" value=\"5\"/></article>\n");
  auto text = runKelp({"catalogue", "report", path});
  ASSERT_EQ(text.status, 0) << text.err;
  EXPECT_TRUE(contains(text.out, "\ne  Euro \xE2\x82\xAC\n"));
  EXPECT_TRUE(contains(text.out, "  | Costs \xE2\x82\xAC 5, caf\xC3\xA9 \xC3\xA9\n"));
  auto html = runKelp({"catalogue", "report", "--html", path});
  EXPECT_TRUE(contains(html.out, "<P>Costs &euro; 5, caf&eacute; &eacute;\n"));
}

TEST(KelpCatalogue, RunsThatFail) {
  TempDir dir;
  struct Case {
    const char* text;  // the whole file; the fault is on the line marked @
    const char* message;
  };
  const Case cases[] = {
      {"<?xml version=\"1.0\"?>\n<catalogue id=\"t\" version=\"1.0.0\" lang=\"en\" "
       "currencies=\"EUR\" valid-from=\"2026-01-01\" valid-until=\"2026-12-31\">\n"
       "<article id=\"a\">\n<name>x</nam>@\n</article></catalogue>\n",
       ""},
      {"<?xml version=\"1.0\"?>\n<catalog>@\n</catalog>\n",
       "root element must be <catalogue>, not <catalog>"},
      {"<?xml version=\"1.0\"?>\n<catalogue id=\"t\" version=\"1.0.0\" lang=\"en\"@\n"
       " valid-from=\"2026-01-01\" valid-until=\"2026-12-31\">\n</catalogue>\n",
       "catalogue: attribute 'currencies' is missing or empty"},
      {"<?xml version=\"1.0\"?>\n<catalogue id=\"t\" version=\"1.0.0\" lang=\"en\" "
       "currencies=\"EUR XAU\" valid-from=\"2026-01-01\" valid-until=\"2026-12-31\">@\n"
       "</catalogue>\n",
       "catalogue: 'XAU' is not a money currency"},
      {"<?xml version=\"1.0\"?>\n<catalogue id=\"t\" version=\"1.0\" lang=\"en\" "
       "currencies=\"EUR\" valid-from=\"2026-01-01\" valid-until=\"2026-12-31\">@\n"
       "</catalogue>\n",
       "catalogue: attribute 'version' has invalid value '1.0'"},
      {"<?xml version=\"1.0\"?>\n<catalogue id=\"t\" version=\"1.0.0\" lang=\"en\" "
       "currencies=\"EUR\" valid-from=\"2026-01-01\" valid-until=\"2025-12-31\">@\n"
       "</catalogue>\n",
       "catalogue: valid-until 2025-12-31 is before valid-from 2026-01-01"},
      {"<?xml version=\"1.0\"?>\n<catalogue id=\"t\" version=\"1.0.0\" lang=\"en\" "
       "currencies=\"EUR\" valid-from=\"2026-01-01\" valid-until=\"2026-12-31\">\n"
       "<section>@</section>\n</catalogue>\n",
       "unknown element <section> in <catalogue>"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    std::string text = c.text;
    std::size_t mark = text.find('@');
    int line = 1;
    for (std::size_t i = 0; i < mark; ++i)
      if (text[i] == '\n') ++line;
    text.erase(mark, 1);
    std::string path = dir.file("bad.xml");
    kelp::test::writeFile(path, text);
    auto r = runKelp({"catalogue", "report", path});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out, "");
    std::string prefix = path + ":" + std::to_string(line) + ": ";
    if (*c.message) {
      EXPECT_EQ(r.err, prefix + c.message + "\n");
    } else {
      // Malformed XML: the reader's own message, on one line.
      EXPECT_EQ(r.err.rfind(prefix, 0), 0u) << r.err;
      EXPECT_GT(r.err.size(), prefix.size() + 1);
      EXPECT_EQ(r.err.find('\n'), r.err.size() - 1);
    }
  }

  auto missing = runKelp({"catalogue", "report", "samples/no-such-catalogue.xml"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.out, "");
  EXPECT_EQ(missing.err, "samples/no-such-catalogue.xml: cannot open: No such file or directory\n");

  auto empty = runKelp({"catalogue", "report", "-"}, "");
  EXPECT_EQ(empty.status, 1);
  EXPECT_EQ(empty.err.rfind("<stdin>:", 0), 0u) << empty.err;
}

// Totals keep every cent or fail the run, --strict or not.
TEST(KelpCatalogue, TotalsThatCannotBeExact) {
  const struct {
    const char* first;
    const char* second;
    const char* problem;
  } cases[] = {
      {"9e6144", "9e6144", "is too large"},
      {"1e34", "0.01", "has more than 34 significant digits"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.problem);
    TempDir dir;
    std::string path = writeCatalogue(
        dir, std::string("<article id=\"a\"><name lang=\"en\">A</name><price currency=\"EUR\" "
                         "value=\"") +
                 c.first +
                 "\"/></article>\n<article id=\"b\"><name lang=\"en\">B</name>"
                 "<price currency=\"EUR\" value=\"" +
                 c.second + "\"/></article>\n");
    for (bool strict : {false, true}) {
      std::vector<std::string> args{"catalogue", "report", path};
      if (strict) args.insert(args.begin() + 2, "--strict");
      auto r = runKelp(args);
      EXPECT_EQ(r.status, 1);
      EXPECT_EQ(r.err, std::string("kelp catalogue: the total in EUR cannot be computed: it ") +
                           c.problem + "\n");
      EXPECT_EQ(totalsOf(r.out), "totals\n");
      EXPECT_FALSE(contains(r.out, "infinity"));
    }
  }
}

TEST(KelpCatalogue, StandardInput) {
  auto r = runKelp({"catalogue", "report", "-"}, sampleText());
  EXPECT_EQ(r.status, 0);
  EXPECT_TRUE(contains(r.out, "  EUR 6,593.48 (29 articles)\n"));
  EXPECT_EQ(r.err.rfind("<stdin>:", 0), 0u);
  EXPECT_TRUE(contains(r.err, "article 'INV-9002': price: unknown currency 'USD'\n"));
}

TEST(KelpCatalogue, UsageErrors) {
  const struct {
    std::vector<std::string> args;
    const char* message;
  } cases[] = {
      {{"catalogue"}, "no subcommand given"},
      {{"catalogue", "print", kSample}, "unknown subcommand 'print'"},
      {{"catalogue", "report"}, "no catalogue file given"},
      {{"catalogue", "report", kSample, kSample}, "only one catalogue file at a time"},
      {{"catalogue", "report", "--lang", "DE", kSample},
       "'DE' is not a language code (two letters a-z)"},
      {{"catalogue", "report", "--lang", "deu", kSample},
       "'deu' is not a language code (two letters a-z)"},
      {{"catalogue", "report", "--date", "2026-02-30", kSample},
       "'2026-02-30' is not a date (YYYY-MM-DD)"},
      {{"catalogue", "report", "--colour", kSample}, "unknown option '--colour'"},
      {{"catalogue", "report", kSample, "--lang"}, "option '--lang' needs a value"},
      {{"catalogue", "report", "--html=yes", kSample}, "option '--html' takes no value"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.message);
    auto r = runKelp(c.args);
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err,
              std::string("kelp catalogue: ") + c.message + "\nsee 'kelp catalogue --help'\n");
  }
  auto help = runKelp({"catalogue", "--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.out.rfind("usage: kelp catalogue report [--lang L] [--html | --json] [--strict] "
                           "[--date YYYY-MM-DD]\n",
                           0),
            0u);
}

// The report holds its input in memory: an endless one ends at 256 MiB
// with a message, never in an allocation failure.
TEST(KelpCatalogue, EndlessInputIsBounded) {
  const std::string limit = kelp::test::memoryLimit(1200000);
  for (const char* feed : {"head -c 1073741824 /dev/zero", "yes '<a>' | head -c 1073741824"}) {
    SCOPED_TRACE(feed);
    auto r = kelp::test::runShell(limit + feed + " | \"$KELP\" catalogue report -");
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, "<stdin>: the input is larger than 256 MiB\n");
  }
}
