// CatalogueReader from the library's side: the records it builds and the
// faults it lists with their lines (the tool's tests pin every message).
#include <kelp/util/utl_CatalogueReader.h>

#include <gtest/gtest.h>

#include "decimal_test_util.h"

using namespace qor::quv::basket;
using qor::quv::util::ECurrency;
using qor::quv::util::EVersion;

TEST(CatalogueReader, BuildsTheValidArticlesAndListsFaultsByLine) {
  const std::string text =
      "<catalogue id='c' version='3.2.0' lang='en' currencies='EUR KWD'\n"
      "           valid-from='2026-01-01' valid-until='2026-12-31'>\n"
      " <article id='A' version='3.1.0'><name>Desk</name><name lang='de'>Tisch</name>\n"
      "  <description><p>Oak &amp; steel</p></description>\n"
      "  <price currency='EUR' value='649.00'><surcharge value='4.5'/><discount value='10'/></price>\n"
      "  <price currency='KWD' value='215.750'><surcharge value='4.5'/><discount value='10'/></price>\n"
      " </article>\n"
      " <article id='B'><name>Bad</name>\n"
      "  <price currency='USD' value='1'/>\n"
      "  <price currency='EUR' value='5'><discount value='120'/></price>\n"
      " </article>\n"
      "</catalogue>\n";
  CatalogueReader reader(nullptr);
  ASSERT_TRUE(reader.read(text)) << reader.getFatalMessage();
  const Catalogue& c = reader.getCatalogue();
  EXPECT_EQ(c.currencies, (std::vector<std::string>{"EUR", "KWD"}));
  ASSERT_EQ(c.getArticles().size(), 1u);
  const Article& a = *c.findArticle("A");
  EXPECT_EQ(a.version.compare(EVersion(3, 1, 0)), 0);
  EXPECT_EQ(a.names.get("de"), "Tisch");
  // 649.00 x 1.045 x 0.90 = 610.3845 -> 610.38; 215.750 -> 202.912875 -> 202.913.
  EXPECT_TRUE(a.prices[0].evaluate() == ECurrency("EUR", kelp::test::d128("610.38")));
  EXPECT_TRUE(a.prices[1].evaluate() == ECurrency("KWD", kelp::test::d128("202.913")));
  EXPECT_NE(a.descriptions.get("en").find("<p>Oak &amp; steel</p>"), std::string::npos);
  EXPECT_EQ(reader.getInvalidCount(), 1);
  ASSERT_EQ(reader.getFaults().size(), 2u);
  EXPECT_EQ(reader.getFaults()[0].line, 9);
  EXPECT_EQ(reader.getFaults()[0].message, "article 'B': price: unknown currency 'USD'");
  EXPECT_EQ(reader.getFaults()[1].line, 10);
  EXPECT_EQ(reader.getFaults()[1].message, "article 'B': price in EUR is negative (-1.00)");
}

TEST(CatalogueReader, EndsAtAFaultOfTheCatalogueElement) {
  CatalogueReader reader(nullptr);
  EXPECT_FALSE(reader.read("<?xml version='1.0'?>\n<catalogue id='c'/>"));
  EXPECT_EQ(reader.getFatalMessage(), "catalogue: attribute 'version' is missing or empty");
  EXPECT_EQ(reader.getFatalLine(), 2);
  EXPECT_FALSE(reader.read("<catalogue"));
  EXPECT_TRUE(reader.getCatalogue().getArticles().empty());
}
