// Message catalogues: the library's domain bound to the build tree's
// catalogues, German and French texts, and untranslated fall-backs.
#include <ktz/ktz_gettext.h>

#include <gtest/gtest.h>

#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "test_support.h"

namespace {

// Looks `msgid` up under the given locale in a child process, so that the
// locale and the catalogue binding of this process stay untouched.
std::string translateIn(const char* locale, const char* msgid) {
  kelp::test::ChildResult r = kelp::test::runInChild([&] {
    unsetenv("LANGUAGE");
    if (!std::setlocale(LC_ALL, locale)) return 2;
    setenv("KELP_LOCALEDIR", KELP_BINARY_DIR "/locale", 1);
    std::fputs(ktzDGetText(KTZ_KELP_TEXT_DOMAIN, msgid), stdout);
    return 0;
  });
  if (r.exitStatus == 2) return "<no locale>";
  return r.stdoutText;
}

}  // namespace

TEST(KtzDGetText, TranslatesTheLibraryDomain) {
  if (translateIn("de_DE.UTF-8", "inch") == "<no locale>")
    GTEST_SKIP() << "locale de_DE.UTF-8 not installed";
  struct Case {
    const char* locale;
    const char* msgid;
    const char* text;
  };
  const Case cases[] = {
      {"de_DE.UTF-8", "inch", "Zoll"},
      {"de_DE.UTF-8", "feet", "Fuß"},
      {"de_DE.UTF-8", "neg. infinity", "neg. unendlich"},
      {"de_DE.UTF-8", "pos. infinity", "pos. unendlich"},
      {"de_DE.UTF-8", "invalid", "ungültig"},
      {"de_DE.UTF-8", "no such text", "no such text"},
      {"fr_FR.UTF-8", "inch", "pouce"},
      {"fr_FR.UTF-8", "invalid", "invalide"},
      {"C", "inch", "inch"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.locale) + " " + c.msgid);
    std::string got = translateIn(c.locale, c.msgid);
    if (got == "<no locale>") continue;
    EXPECT_EQ(got, c.text);
  }
}

TEST(KtzDGetText, ExplicitBindingAndEdgeCases) {
  EXPECT_STREQ(ktzDGetText(KTZ_KELP_TEXT_DOMAIN, nullptr), "");
  EXPECT_STREQ(ktzDGetText(nullptr, "x"), "x");
  EXPECT_STREQ(ktzDGetText("", "x"), "x");
  EXPECT_FALSE(ktzBindTextDomain(nullptr, "/tmp"));
  EXPECT_FALSE(ktzBindTextDomain("d", nullptr));
  kelp::test::ChildResult r = kelp::test::runInChild([] {
    unsetenv("LANGUAGE");
    if (!std::setlocale(LC_ALL, "de_DE.UTF-8")) return 2;
    setenv("KELP_LOCALEDIR", "/nonexistent", 1);  // the explicit binding wins
    if (!ktzBindTextDomain(KTZ_KELP_TEXT_DOMAIN, KELP_BINARY_DIR "/locale")) return 3;
    std::fputs(ktzDGetText(KTZ_KELP_TEXT_DOMAIN, "point"), stdout);
    return 0;
  });
  if (r.exitStatus == 2) GTEST_SKIP() << "locale de_DE.UTF-8 not installed";
  EXPECT_EQ(r.exitStatus, 0);
  EXPECT_EQ(r.stdoutText, "Punkt");
}

TEST(KtzDGetTextIn, TranslatesIntoTheLanguageAskedFor) {
  // In the C locale, so that only the language argument can choose.
  kelp::test::ChildResult r = kelp::test::runInChild([] {
    std::setlocale(LC_ALL, "C");
    setenv("KELP_LOCALEDIR", KELP_BINARY_DIR "/locale", 1);
    const char* asks[][2] = {{"de", "inch"},    {"fr", "inch"},    {"de_CH.UTF-8", "inch"},
                             {"de", "feet"},    {"xx", "inch"},    {"de", "no such text"},
                             {"../de", "inch"}, {"de/..", "inch"}, {"", "inch"}};
    for (const auto& a : asks) std::printf("%s|", ktzDGetTextIn(KTZ_KELP_TEXT_DOMAIN, a[0], a[1]));
    std::printf("%s|%s|", ktzDGetTextIn(KTZ_KELP_TEXT_DOMAIN, "de", nullptr),
                ktzDGetTextIn(KTZ_KELP_TEXT_DOMAIN, nullptr, "inch"));
    std::printf("%s", ktzDGetText(KTZ_KELP_TEXT_DOMAIN, "inch"));  // the process stays in C
    return 0;
  });
  EXPECT_EQ(r.exitStatus, 0);
  EXPECT_EQ(r.stdoutText, "Zoll|pouce|Zoll|Fuß|inch|no such text|inch|inch|inch||inch|inch");
}

TEST(KtzDGetTextIn, DamagedCataloguesTranslateNothing) {
  kelp::test::TempDir dir;
  std::string folder = dir.path() + "/de/LC_MESSAGES";
  ASSERT_EQ(std::system(("mkdir -p '" + folder + "'").c_str()), 0);
  // Little-endian header words: magic, revision, count, offsets of the tables.
  auto words = [](std::initializer_list<std::uint32_t> ws) {
    std::string s;
    for (std::uint32_t w : ws) s.append(reinterpret_cast<const char*>(&w), 4);
    return s;
  };
  const std::string cases[] = {
      "",                                                              // empty
      "not a catalogue at all, not a catalogue at all",                // no magic
      words({0x950412de, 0, 1000000, 28, 36, 0, 0}),                   // more entries than bytes
      words({0x950412de, 0, 1, 28, 36, 0, 0, 5, 4000, 2, 44}),         // a string out of bounds
      words({0x950412de, 0, 1, 28, 36, 0, 0, 1, 44, 1, 46}) + "xyzw",  // no NUL at the end
  };
  int n = 0;
  for (const std::string& bytes : cases) {
    SCOPED_TRACE(n);
    std::string domain = "damaged" + std::to_string(n++);
    kelp::test::writeFile(folder + "/" + domain + ".mo", bytes);
    ASSERT_TRUE(ktzBindTextDomain(domain.c_str(), dir.path().c_str()));
    EXPECT_STREQ(ktzDGetTextIn(domain.c_str(), "de", "x"), "x");
  }
}
