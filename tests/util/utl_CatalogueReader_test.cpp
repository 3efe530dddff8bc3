// CatalogueReader from the library's side: the records it builds and the
// faults it lists with their lines (the tool's tests pin every message).
#include <kelp/util/utl_CatalogueReader.h>
#include <kelp/util/utl_PriceCalculation.h>

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "attribute_maker.h"
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
      "  <price currency='EUR' value='649.00'><surcharge value='4.5'/><discount "
      "value='10'/></price>\n"
      "  <price currency='KWD' value='215.750'><surcharge value='4.5'/><discount "
      "value='10'/></price>\n"
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

TEST(CatalogueReader, ReadsTaxesChoicesTiersAndClassificationsThatPriceABasket) {
  const std::string text =
      "<catalogue id='c' version='1.0.0' lang='en' languages='de' currencies='EUR'\n"
      "           valid-from='2026-01-01' valid-until='2026-12-31'>\n"
      " <tax class='std' country='DE' unit='%' rate='19'/>\n"
      " <tax class='std' country='DE' unit='EUR/KGM' rate='0.20'/>\n"
      " <article id='A' tax-class='std' weight='2.5' weight-unit='LBR'><name>Bag</name>\n"
      "  <classification> ECLASS/13.0:21-04;colour=red%3Bblue </classification>\n"
      "  <choice id='size' default='s' label='Size' label-de='Größe'>\n"
      "   <value id='s'/><value id='l' label='Large'><effect currency='%' value='20'/></value>\n"
      "  </choice>\n"
      "  <tier min-quantity='3' value='10'/><dimensions minx='0' miny='0' minz='0' maxx='400'"
      " maxy='300' maxz='120'/>\n"
      "  <price currency='EUR' value='10.00' valid-until='2026-06-30'/>\n"
      "  <price currency='EUR' value='11.00' valid-from='2026-07-01'>"
      "<absolute-discount value='0.50'/></price>\n"
      " </article>\n"
      " <article id='B'><name>Bad</name><price currency='EUR' value='1'/>\n"
      "  <price currency='EUR' value='2' valid-from='2026-06-01'/>\n"
      "  <tier min-quantity='0' value='5'/><classification>x</classification>"
      "<dimensions minx='5' maxx='1'/>\n"
      "  <choice id='c' default='z'><value id='y'/></choice>\n"
      " </article>\n"
      "</catalogue>\n";
  CatalogueReader reader(nullptr);
  ASSERT_TRUE(reader.read(text)) << reader.getFatalMessage();
  const Catalogue& c = reader.getCatalogue();
  EXPECT_EQ(c.languages, (std::vector<std::string>{"en", "de"}));
  EXPECT_EQ(c.taxTable.getRecords().size(), 2u);
  const Article& a = *c.findArticle("A");
  ASSERT_EQ(a.classifications.size(), 1u);
  EXPECT_EQ(a.classifications[0].getFeatures()[0].second, "red;blue");
  EXPECT_EQ(a.choices[0].label.get("de"), "Größe");
  EXPECT_DOUBLE_EQ(a.dimensions.size().x, 400);
  // The message is the box reader's own.
  std::string dimensionsError;
  kelp::test::AttributeMaker m;
  qor::quv::util::EBounds().decodeAttributes(m.make({{"minx", "5"}, {"maxx", "1"}}),
                                             &dimensionsError);
  std::vector<std::string> faults;
  for (const CatalogueFault& f : reader.getFaults())
    faults.push_back(std::to_string(f.line) + ": " + f.message);
  EXPECT_EQ(faults, (std::vector<std::string>{
                        "15: article 'B': duplicate price in EUR (first at line 14)",
                        "16: article 'B': tier: attribute 'min-quantity' has invalid value '0'",
                        "16: article 'B': classification 'x': no '/' after the system id",
                        "16: article 'B': dimensions: " + dimensionsError,
                        "17: article 'B': choice 'c': default value 'z' is not one of its values",
                    }));

  // Three large bags in August: 11.00 - 0.50 = 10.50, +20 % of the list
  // price 11.00 (2.20) = 12.70; x 3 = 38.10, the tier from 3 takes 3.81:
  // 34.29. VAT 6.5151 -> 6.52; 7.5 lb = 3.40194... kg x 0.20 = 0.68.
  Basket b;
  b.configuration.currency = "EUR";
  b.configuration.taxCountry = "DE";
  b.configuration.priceDate = qor::quv::util::EDate(2026, 8, 1);
  BasketItem bag;
  bag.position = EPositionNumber::top(1);
  bag.articleId = "A";
  bag.quantity = kelp::test::d128("3");
  bag.choices = {{"size", "l"}};
  b.items = {bag};
  const PriceResult r = PriceCalculation::calculate(b, c);
  ASSERT_TRUE(r.isOk()) << r.faults[0].message;
  EXPECT_TRUE(r.netTotal == ECurrency("EUR", kelp::test::d128("34.29")))
      << r.netTotal.formatString();
  EXPECT_TRUE(r.grossTotal == ECurrency("EUR", kelp::test::d128("41.49")))
      << r.grossTotal.formatString();
}

TEST(CatalogueReader, ReportsProgressAsTheXmlReaderTakesTheText) {
  // Over 64 KiB of articles: more than one block, each reported once, the
  // last at the whole size; the articles are read as without the callback.
  std::string text =
      "<catalogue id='c' version='1.0.0' lang='en' currencies='EUR' "
      "valid-from='2026-01-01' valid-until='2026-12-31'>\n";
  const int articles = 2000;
  for (int i = 0; i < articles; ++i)
    text += " <article id='A" + std::to_string(i) +
            "'><name>Article</name><price currency='EUR' value='1.00'/></article>\n";
  text += "</catalogue>\n";
  ASSERT_GT(text.size(), std::size_t(2) * 64 * 1024);
  std::vector<std::size_t> done;
  CatalogueReader reader(nullptr);
  reader.setProgress([&](std::size_t d, std::size_t total) {
    EXPECT_EQ(total, text.size());
    done.push_back(d);
  });
  ASSERT_TRUE(reader.read(text)) << reader.getFatalMessage();
  EXPECT_EQ(reader.getCatalogue().getArticles().size(), std::size_t(articles));
  ASSERT_GE(done.size(), 3u);
  EXPECT_TRUE(std::is_sorted(done.begin(), done.end()));
  EXPECT_EQ(std::adjacent_find(done.begin(), done.end()), done.end());
  EXPECT_EQ(done.back(), text.size());
}
