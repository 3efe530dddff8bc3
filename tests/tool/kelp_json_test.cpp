// --json of kelp basket price, kelp catalogue report and kelp xml check:
// the documented shapes, read back with the JSON library; amounts are
// strings in the classic form whatever the language.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tool_runner.h"

using kelp::test::runKelp;
using json = nlohmann::json;

TEST(KelpJson, QuoteHasTheHandDerivedAmountsAsStrings) {
  // German names, but numbers stay classic: JSON is for programs.
  auto r = runKelp({"basket", "price", "--json", "--lang", "de", "--catalogue",
                    "samples/catalogue.xml", "samples/basket.xml"});
  ASSERT_EQ(r.status, 0) << r.err;
  const json j = json::parse(r.out);
  EXPECT_EQ(j["format"], "kelp-quote/1");
  ASSERT_EQ(j["items"].size(), 5u);
  EXPECT_EQ(j["items"][0]["name"], "H\xC3\xB6henverstellbarer Schreibtisch");
  EXPECT_EQ(j["items"][2]["unitPrice"], "401.96");
  EXPECT_EQ(j["items"][2]["net"], "1527.45");
  EXPECT_EQ(j["items"][2]["quantityDiscount"]["amount"], "-80.39");
  EXPECT_EQ(j["charges"][2]["kind"], "CustomerDiscount");
  EXPECT_EQ(j["charges"][2]["amount"], "-97.00");
  EXPECT_EQ(j["taxes"][3]["rate"], "19");
  EXPECT_EQ(j["taxes"][3]["base"], "3185.25");
  const json& t = j["totals"];
  EXPECT_EQ(t["net"], "3558.70");
  EXPECT_EQ(t["tax"], "662.04");
  EXPECT_EQ(t["gross"], "4220.74");
  EXPECT_EQ(t["payable"], "4220.74");
  EXPECT_EQ(t["due"], "3220.74");
  EXPECT_EQ(j["afterPayable"][0]["amount"], "-1000.00");

  auto both = runKelp({"basket", "price", "--json", "--html", "--catalogue",
                       "samples/catalogue.xml", "samples/basket.xml"});
  EXPECT_EQ(both.status, 2);
}

TEST(KelpJson, CatalogueReportTotalsAndFaults) {
  auto r = runKelp({"catalogue", "report", "--json", "--lang", "fr", "samples/catalogue.xml"});
  ASSERT_EQ(r.status, 0);
  const json j = json::parse(r.out);
  EXPECT_EQ(j["format"], "kelp-catalogue-report/1");
  ASSERT_EQ(j["totals"].size(), 4u);
  // The totals kelp_catalogue_test works out by hand, in the classic form.
  EXPECT_EQ(j["totals"][0], json({{"currency", "EUR"}, {"total", "6593.48"}, {"articles", 29}}));
  EXPECT_EQ(j["totals"][3]["total"], "2193.358");
  EXPECT_EQ(j["articles"].size(), 29u);
  const json& desk = j["articles"][0];
  EXPECT_EQ(desk["name"], "Bureau r\xC3\xA9glable en hauteur");
  EXPECT_EQ(desk["prices"][0]["price"], "610.38");
  EXPECT_EQ(desk["prices"][0]["base"], "649.00");
  EXPECT_EQ(desk["prices"][0]["steps"][0],
            json({{"kind", "PercentSurcharge"}, {"value", "4.5"}, {"unit", "%"}}));
  EXPECT_EQ(j["invalidArticles"], 7);
  EXPECT_EQ(j["faults"][0]["message"],
            "article 'INV-9001': price: attribute 'value' has invalid value '12,50'");
}

TEST(KelpJson, XmlCheckListsEveryFile) {
  auto r = runKelp({"xml", "check", "--json", "samples/doc.xml", "samples/broken.xml", "-"}, "<a>");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "");
  const json j = json::parse(r.out);
  EXPECT_EQ(j["format"], "kelp-xml-check/1");
  ASSERT_EQ(j["files"].size(), 3u);
  EXPECT_EQ(j["files"][0], json({{"file", "samples/doc.xml"}, {"wellFormed", true}}));
  EXPECT_EQ(j["files"][1]["error"],
            json({{"file", "samples/broken.xml"},
                  {"line", 1},
                  {"message", "element start/end tag name mismatch: b vs. a"}}));
  EXPECT_EQ(j["files"][2]["file"], "<stdin>");
  EXPECT_EQ(j["files"][2]["wellFormed"], false);
}
