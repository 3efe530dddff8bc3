// kelp basket and kelp room: the sample quote against the amounts worked out
// by hand in samples/README.md, faults with their lines and no totals, the
// update states, a new basket, the room's check and basket.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "tool_runner.h"

using kelp::test::runKelp;
using kelp::test::TempDir;

namespace {

const char kCatalogue[] = "samples/catalogue.xml";

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> out;
  std::istringstream in(text);
  for (std::string l; std::getline(in, l);) out.push_back(l);
  return out;
}

std::vector<std::string> words(const std::string& s) {
  std::vector<std::string> out;
  std::istringstream in(s);
  for (std::string w; in >> w;) out.push_back(w);
  return out;
}

std::string trimmed(const std::string& s) {
  const auto b = s.find_first_not_of(' '), e = s.find_last_not_of(' ');
  return b == std::string::npos ? std::string() : s.substr(b, e - b + 1);
}

// The cells of the rows of the README table that follows `header`.
std::vector<std::vector<std::string>> tableAfter(const std::string& readme,
                                                 const std::string& header) {
  std::vector<std::vector<std::string>> rows;
  const std::size_t at = readme.find(header);
  if (at == std::string::npos) return rows;
  std::istringstream in(readme.substr(at));
  std::string l;
  std::getline(in, l);  // the header
  std::getline(in, l);  // the rule
  while (std::getline(in, l) && !l.empty() && l[0] == '|') {
    std::vector<std::string> cells;
    std::size_t p = 1;
    for (std::size_t q; (q = l.find('|', p)) != std::string::npos; p = q + 1)
      cells.push_back(trimmed(l.substr(p, q - p)));
    rows.push_back(cells);
  }
  return rows;
}

// The README's minus sign is U+2212; the tool prints "-".
std::string ascii(std::string s) {
  for (std::size_t p; (p = s.find("\xE2\x88\x92")) != std::string::npos;) s.replace(p, 3, "-");
  return s;
}

}  // namespace

TEST(KelpBasket, SampleQuoteHasTheAmountsWorkedOutByHand) {
  const std::string readme =
      kelp::test::readFile(std::string(KELP_SOURCE_DIR) + "/samples/README.md");
  auto r = runKelp({"basket", "price", "--catalogue", kCatalogue, "samples/basket.xml"});
  ASSERT_EQ(r.status, 0) << r.err;
  const std::vector<std::string> quote = linesOf(r.out);

  const auto items = tableAfter(readme, "| Pos. | Article | Derivation | Unit price | Line net |");
  ASSERT_EQ(items.size(), 5u);
  for (const auto& row : items) {
    SCOPED_TRACE(row[0]);
    const std::string net = words(row[4]).back();
    bool found = false;
    for (const std::string& l : quote) {
      const std::vector<std::string> w = words(l);
      if (w.size() < 3 || w[0] != row[0]) continue;
      found = true;
      EXPECT_EQ(w[w.size() - 2], row[3]);
      EXPECT_EQ(w.back(), net);
    }
    EXPECT_TRUE(found);
  }

  const auto totals = tableAfter(readme, "| Line | Derivation | Amount |");
  ASSERT_EQ(totals.size(), 13u);
  for (const auto& row : totals) {
    SCOPED_TRACE(row[0]);
    int found = 0;
    for (const std::string& l : quote)
      if (trimmed(l).rfind(row[0] + " ", 0) == 0) {
        ++found;
        EXPECT_EQ(words(l).back(), ascii(row[2]));
      }
    EXPECT_EQ(found, 1);
  }
}

TEST(KelpBasket, QuoteInGermanUsesItsNamesAndNumberForm) {
  auto r =
      runKelp({"basket", "price", "--catalogue", kCatalogue, "--lang", "de", "samples/basket.xml"});
  ASSERT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("Höhenverstellbarer Schreibtisch"), std::string::npos);
  EXPECT_NE(r.out.find("Platte: Eiche furniert"), std::string::npos);
  EXPECT_NE(r.out.find("3.220,74\n"), std::string::npos);
  // With the build tree's message catalogue the quote's own words are German
  // too, and the totals keep their column.
  auto words = runKelp(
      {"basket", "price", "--catalogue", kCatalogue, "--lang", "de", "samples/basket.xml"}, "",
      {{"KELP_LOCALEDIR", KELP_BINARY_DIR "/locale"}});
  ASSERT_EQ(words.status, 0);
  EXPECT_NE(words.out.find("\nSteuern\n"), std::string::npos);
  EXPECT_NE(words.out.find("\nPos.  Artikel       Bezeichnung "), std::string::npos);
  EXPECT_NE(words.out.find("\nf\xC3\xA4llig" + std::string(70, ' ') + "3.220,74\n"),
            std::string::npos);
  // France: 20 % on the standard class of 3,185.25 is 637.05.
  auto fr = runKelp(
      {"basket", "price", "--catalogue", kCatalogue, "--country", "FR", "samples/basket.xml"});
  EXPECT_NE(fr.out.find("standard 20 % of 3,185.25"), std::string::npos);
  EXPECT_NE(fr.out.find("637.05\n"), std::string::npos);
}

TEST(KelpBasket, FaultsNameFileLineAndItemAndGiveNoTotals) {
  TempDir dir;
  const std::string f = dir.file("b.xml");
  kelp::test::writeFile(
      f,
      "<basket id='x' currency='EUR' price-date='2026-03-01' tax-country='DE'>\n"
      "  <item position='1' id='0b5c2d4e-6f70-4a81-9b2c-3d4e5f607181' article='DSK-1400'/>\n"
      "  <item position='2' id='0b5c2d4e-6f70-4a81-9b2c-3d4e5f607182' article='DSK-1400'>\n"
      "    <item position='2.1' id='0b5c2d4e-6f70-4a81-9b2c-3d4e5f607183' article='NOPE'/>\n"
      "  </item>\n"
      "</basket>\n");
  auto r = runKelp({"basket", "price", "--catalogue", kCatalogue, f});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "");
  EXPECT_NE(r.err.find(f + ":4: item 2.1: article 'NOPE' is not in the catalogue\n"),
            std::string::npos)
      << r.err;

  auto check = runKelp({"basket", "check", f});
  EXPECT_EQ(check.status, 0);
  EXPECT_EQ(check.out, f + ": basket 'x', EUR, 3 items, 0 basket calc items\n");

  auto update = runKelp({"basket", "update", "--catalogue", kCatalogue, f});
  EXPECT_EQ(update.status, 1);
  EXPECT_NE(update.out.find("2.1    NOPE           @Invalid\n"), std::string::npos) << update.out;

  kelp::test::writeFile(f, "<basket currency='EUR'/>");
  auto bad = runKelp({"basket", "check", f});
  EXPECT_EQ(bad.status, 1);
  EXPECT_EQ(bad.err, f + ":1: basket: attribute 'price-date' has invalid date ''\n");
}

TEST(KelpBasket, NewBasketReadsBackAndPricesToZero) {
  TempDir dir;
  auto r = runKelp({"basket", "new", "--catalogue", kCatalogue, "--date", "2026-05-04",
                    "--currency", "CHF", "--country", "CH"});
  ASSERT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("currency='CHF' price-date='2026-05-04' tax-country='CH'"),
            std::string::npos);
  EXPECT_NE(r.out.find("catalogue='office-2026' catalogue-version='3.2.0'"), std::string::npos);
  kelp::test::writeFile(dir.file("new.xml"), r.out);
  auto check = runKelp({"basket", "check", dir.file("new.xml")});
  EXPECT_EQ(check.status, 0);
  auto bad = runKelp({"basket", "new", "--catalogue", kCatalogue, "--currency", "USD"});
  EXPECT_EQ(bad.status, 2);
}

TEST(KelpRoom, SampleRoomReportsTheCollisionAndGivesItsBasket) {
  auto r = runKelp(
      {"room", "check", "--catalogue", kCatalogue, "--date", "2026-03-01", "samples/room.xml"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("samples/room.xml:17: placement 'chair-3': overlaps placement "
                       "'chair-2'\n"),
            std::string::npos)
      << r.err;
  EXPECT_EQ(r.err.find("samples/room.xml:1"), r.err.rfind("samples/room.xml:1"));  // only one

  auto b = runKelp({"room", "basket", "--catalogue", kCatalogue, "--date", "2026-03-01",
                    "--country", "DE", "samples/room.xml"});
  ASSERT_EQ(b.status, 0);
  TempDir dir;
  kelp::test::writeFile(dir.file("room-basket.xml"), b.out);
  // Two oak desks, two black chairs, one red chair, one plant:
  // 2 x 633.90 + 2 x 365.42 + (429.90 + 42.99) x 0.85 = 401.96 + 49.00
  // = 1,267.80 + 730.84 + 401.96 + 49.00; net 2,449.60.
  auto q = runKelp({"basket", "price", "--catalogue", kCatalogue, dir.file("room-basket.xml")});
  ASSERT_EQ(q.status, 0) << q.err;
  EXPECT_NE(q.out.find("\nnet "), std::string::npos);
  EXPECT_EQ(words(q.out.substr(q.out.find("\nnet "))).at(1), "2,449.60");
}
