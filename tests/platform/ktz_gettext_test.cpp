// Message catalogues: the library's domain bound to the build tree's
// catalogues, German and French texts, and untranslated fall-backs.
#include <ktz/ktz_gettext.h>

#include <gtest/gtest.h>

#include <clocale>
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
