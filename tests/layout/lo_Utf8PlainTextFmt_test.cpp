// Utf8PlainTextFmt: the plain-text layout with characters in UTF-8.
#include <kelp/layout/lo_PlainTextFmt.h>
#include <kelp/layout/lo_Utf8PlainTextFmt.h>

#include <gtest/gtest.h>

#include "tests/layout/lo_test_support.h"

using namespace kelp::test::layout;

TEST(Utf8PlainTextFmt, CharactersWholeLayoutAsPlainText) {
  const struct {
    const char* name;
    std::string body;
    std::string text;
  } cases[] = {
      {"ascii and the layout rules", "<ul><li>a <b>b</b> <q>c</q></li></ul><hr/>",
       "- a *b* \"c\"\n-----------\n"},
      {"two, three bytes", "<p>12 &#8364; &eacute;</p>", "12 \xE2\x82\xAC \xC3\xA9\n"},
      {"U+07FF, U+0800, U+FFFD", "<p>&#x7FF;&#x800;&#xFFFD;</p>",
       "\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBD\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    XHtmlReader reader(nullptr);
    Document* doc = read(reader, page(c.body));
    ASSERT_NE(doc, nullptr) << reader.getErrorMessage();
    EXPECT_EQ(Utf8PlainTextFmt(nullptr, doc).str(), c.text);
    doc->release();
  }
  // The low-byte formatter is left as it was: 20AC keeps AC.
  XHtmlReader reader(nullptr);
  Document* doc = read(reader, page("<p>&#8364;</p>"));
  ASSERT_NE(doc, nullptr);
  EXPECT_EQ(SimplePlainTextFmt(nullptr, doc).str(), "\xAC\n");
  doc->release();
}

TEST(Utf8PlainTextFmt, SurrogatePairsAndLoneHalves) {
  const struct {
    const char* name;
    std::vector<unsigned short> units;
    std::string text;
  } cases[] = {
      {"pair U+1F600", {0xD83D, 0xDE00}, "\xF0\x9F\x98\x80"},
      {"lone low", {'a', 0xDC00, 'b'}, "a\xEF\xBF\xBD"
                                       "b"},
      {"high then text", {0xD800, 'x'}, "\xEF\xBF\xBDx"},
      {"high at the end", {'x', 0xDBFF}, "x\xEF\xBF\xBD"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    auto* doc = new Document(nullptr);
    doc->addRef();
    ParaBlock* p = doc->getBody()->appendParagraph(kParaImplicit);
    for (unsigned short u : c.units) p->appendChar(u);
    EXPECT_EQ(Utf8PlainTextFmt(nullptr, doc).str(), c.text + "\n");
    doc->release();
  }
}
