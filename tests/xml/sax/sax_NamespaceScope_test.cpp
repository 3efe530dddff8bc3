// The XML reader's namespace scope on its own: bindings hide and restore
// each other per prefix, the default namespace applies to elements only,
// and the reserved prefixes are bound from the start.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "xml/sax/sax_NamespaceScope_impl.h"

using qor::quv::xml::sax::detail::NamespaceScope;

namespace {

const char kXml[] = "http://www.w3.org/XML/1998/namespace";

TEST(NamespaceScope, StartsWithTheReservedPrefixesOnly) {
  NamespaceScope s;
  EXPECT_STREQ(s.lookup("xml"), kXml);
  EXPECT_STREQ(s.lookup("xmlns"), "http://www.w3.org/2000/xmlns/");
  EXPECT_STREQ(s.lookup("a"), "");
  EXPECT_STREQ(s.defaultUri(), "");
  EXPECT_EQ(s.size(), 2u);
}

TEST(NamespaceScope, InnerBindingsHideOuterOnesUntilUnbound) {
  NamespaceScope s;
  const std::size_t outer = s.size();
  s.bind("a", "urn:1");
  s.bind("", "urn:d1");
  const std::size_t inner = s.size();
  s.bind("a", "urn:2");
  s.bind("b", "urn:3");
  s.bind("", "urn:d2");
  EXPECT_STREQ(s.lookup("a"), "urn:2");
  EXPECT_STREQ(s.lookup("b"), "urn:3");
  EXPECT_STREQ(s.defaultUri(), "urn:d2");

  // Newest first, each bringing back what it hid.
  EXPECT_STREQ(s.unbindNewest(), "");
  EXPECT_STREQ(s.defaultUri(), "urn:d1");
  EXPECT_STREQ(s.unbindNewest(), "b");
  EXPECT_STREQ(s.lookup("b"), "");
  EXPECT_STREQ(s.unbindNewest(), "a");
  EXPECT_STREQ(s.lookup("a"), "urn:1");
  EXPECT_EQ(s.size(), inner);

  while (s.size() > outer) s.unbindNewest();
  EXPECT_STREQ(s.lookup("a"), "");
  EXPECT_STREQ(s.defaultUri(), "");
  EXPECT_STREQ(s.lookup("xml"), kXml);
}

TEST(NamespaceScope, ResolvesElementsAndAttributesDifferently) {
  NamespaceScope s;
  s.bind("", "urn:d");
  s.bind("p", "urn:p");
  struct Case {
    const char* qName;
    bool isElement;
    const char* uri;
    const char* local;
  } cases[] = {
      {"e", true, "urn:d", "e"},    {"e", false, "", "e"},  {"p:e", true, "urn:p", "e"},
      {"p:e", false, "urn:p", "e"}, {"q:e", true, "", "e"}, {"xml:lang", false, kXml, "lang"},
      {"pp:e", false, "", "e"},  // a longer prefix is another prefix
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.qName) + (c.isElement ? " element" : " attribute"));
    const char* uri = nullptr;
    const char* local = nullptr;
    const char* colon = std::strchr(c.qName, ':');
    s.resolve(c.qName, colon, c.isElement, &uri, &local);
    EXPECT_STREQ(uri, c.uri);
    EXPECT_STREQ(local, c.local);
  }
}

TEST(NamespaceScope, ResetForgetsEverythingButTheReservedPrefixes) {
  NamespaceScope s;
  s.bind("xml", "urn:other");  // the reader refuses this; the scope only records
  s.bind("", "urn:d");
  s.reset();
  EXPECT_STREQ(s.lookup("xml"), kXml);
  EXPECT_STREQ(s.defaultUri(), "");
  EXPECT_EQ(s.size(), 2u);
}

TEST(NamespaceScope, RecognisesDeclarations) {
  struct Case {
    const char* name;
    bool declares;
  } cases[] = {{"xmlns", true},  {"xmlns:a", true}, {"xmlnsa", false}, {"xmln", false},
               {"XMLNS", false}, {"xml", false},    {"a:xmlns", false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(NamespaceScope::isDeclaration(c.name), c.declares);
  }
}

}  // namespace
