// TrStrSet: the one-word header, lookups small and large, the choice by
// locale with its fall-backs, editing; ELangMsgPair; eGetText.
#include <kelp/host.h>
#include <kelp/host_locale.h>
#include <kelp/util/utl_ELangMsgPair.h>
#include <kelp/util/utl_TrStrSet.h>

#include <gtest/gtest.h>
#include <signal.h>
#include <zob/zob_mem.h>

#include <string>
#include <vector>

#include "test_support.h"

using namespace qor::quv;
using kelp::host::Application;
using kelp::host::Locale;
using kelp::host::LogLevel;
using kelp::host::RecordingLogger;
using util::ELangMsgPair;
using util::PString;
using util::TrStrSet;

namespace {

// The raw header word, read through the object's memory.
std::uint32_t header(const TrStrSet& s) {
  std::uint32_t h;
  std::memcpy(&h, &s, sizeof h);
  return h;
}

std::string langOf(const TrStrSet& s, int i) {
  char buf[3];
  const char* l = s.getLang(i, buf);
  return l ? l : "<null>";
}

}  // namespace

TEST(TrStrSet, LanguageIds) {
  EXPECT_EQ(TrStrSet::mkLangId("de"), 0x6465);
  EXPECT_EQ(TrStrSet::mkLangId("deu"), 0x6465);
  EXPECT_EQ(TrStrSet::mkLangId(""), 0x2020);
  EXPECT_EQ(TrStrSet::mkLangId(nullptr), 0x2020);
  EXPECT_EQ(TrStrSet::mkLangId(TrStrSet::DEFAULT_LANG), TrStrSet::DEFAULT_LANG_ID);
  EXPECT_EQ(TrStrSet::mkLangId("d"), 0x6400);
}

TEST(TrStrSet, HeaderWordAndReferenceCount) {
  auto* s = new TrStrSet;
  EXPECT_EQ(header(*s), 0u);
  EXPECT_EQ(s->addRef(), 1u);
  EXPECT_EQ(s->addRef(), 2u);
  s->set("de", "eins");
  s->set("en", "one");
  // Count 2, not sorted, two entries.
  EXPECT_EQ(header(*s), (2u << 24) | 2u);
  EXPECT_EQ(s->release(), 1u);
  EXPECT_EQ(s->getRefCount(), 1u);
  EXPECT_EQ(s->release(), 0u);  // deleted here
}

TEST(TrStrSet, ReleaseBelowZeroEndsTheProcess) {
  kelp::test::ChildResult r = kelp::test::runInChild([] {
    auto* s = new TrStrSet;
    s->release();
    return 0;
  });
  EXPECT_EQ(r.signal, SIGABRT);
}

TEST(TrStrSet, EmptinessAndAccess) {
  TrStrSet s;
  EXPECT_TRUE(s.isNull());
  EXPECT_TRUE(s.isEmpty());
  s.set(TrStrSet::DEFAULT_LANG, "");
  EXPECT_FALSE(s.isNull());
  EXPECT_TRUE(s.isEmpty());
  s.set(TrStrSet::DEFAULT_LANG, "x");
  EXPECT_FALSE(s.isEmpty());
  s.set(TrStrSet::DEFAULT_LANG, "");
  s.set("de", "");
  EXPECT_FALSE(s.isEmpty());  // two entries
  EXPECT_EQ(s.getSize(), 2);
  EXPECT_EQ(langOf(s, 0), "  ");
  EXPECT_EQ(langOf(s, 1), "de");
  EXPECT_EQ(langOf(s, 2), "<null>");
  EXPECT_EQ(langOf(s, -1), "<null>");
  EXPECT_TRUE(s.getStr(2).isNull());
  EXPECT_TRUE(s.getStr(0).isEmpty());
}

TEST(TrStrSet, FindSmallAndLarge) {
  for (int n : {1, 15, 16, 40}) {
    SCOPED_TRACE(n);
    TrStrSet s;
    // Appended in descending order of id.
    for (int i = n - 1; i >= 0; --i) {
      char code[3] = {static_cast<char>('a' + i / 26), static_cast<char>('a' + i % 26), 0};
      ASSERT_TRUE(s.append({TrStrSet::mkLangId(code), PString(std::string("t") + code)}));
    }
    EXPECT_EQ(header(s) >> 23 & 1u, 0u);
    for (int i = 0; i < n; ++i) {
      char code[3] = {static_cast<char>('a' + i / 26), static_cast<char>('a' + i % 26), 0};
      const TrStrSet::Entry* e = s.find(TrStrSet::mkLangId(code));
      ASSERT_NE(e, nullptr) << code;
      EXPECT_EQ(e->text, std::string("t") + code);
    }
    EXPECT_EQ(s.find(TrStrSet::mkLangId("zz")), nullptr);
    // Sets above 15 entries were sorted by the first lookup.
    EXPECT_EQ(header(s) >> 23 & 1u, n > 15 ? 1u : 0u);
    if (n > 15) {
      EXPECT_EQ(langOf(s, 0), "aa");
      s.set("zz", "new");  // appending clears the sorted bit
      EXPECT_EQ(header(s) >> 23 & 1u, 0u);
      EXPECT_EQ(s.get("zz", false), "new");
    }
  }
}

TEST(TrStrSet, GetByLanguage) {
  TrStrSet s;
  s.set("de", "Tisch");
  EXPECT_EQ(s.get("de", false), "Tisch");
  EXPECT_TRUE(s.get("fr", true).isNull());
  s.set(TrStrSet::DEFAULT_LANG, "table");
  EXPECT_EQ(s.get("fr", true), "table");
  EXPECT_TRUE(s.get("fr", false).isNull());
  char* out = nullptr;
  EXPECT_TRUE(s.get("de", false, &out));
  EXPECT_STREQ(out, "Tisch");
  zobFree(out);
  EXPECT_FALSE(s.get("fr", false, &out));
  EXPECT_STREQ(out, "");
  zobFree(out);
}

TEST(TrStrSet, EditInsertMergeCopy) {
  TrStrSet s;
  auto r = s.insert("de", "eins");
  EXPECT_TRUE(r.second);
  EXPECT_EQ(r.first, "eins");
  r = s.insert("de", "zwei");
  EXPECT_FALSE(r.second);
  EXPECT_EQ(r.first, "eins");
  EXPECT_EQ(s.get("de", false), "eins");
  EXPECT_TRUE(s.set("de", "drei"));
  EXPECT_EQ(s.get("de", false), "drei");
  EXPECT_EQ(s.getSize(), 1);

  // Merging keeps this set's texts and adds the missing languages.
  TrStrSet one, two;
  one.set("de", "text one");
  two.set("de", "text two");
  two.set("en", "text three");
  TrStrSet a, b;
  a.copy(&one);
  b.copy(&two);
  b.merge(&one);
  EXPECT_EQ(b.get("de", false), "text two");
  EXPECT_EQ(b.getSize(), 2);
  a.merge(&two);
  EXPECT_EQ(a.get("de", false), "text one");
  EXPECT_EQ(a.get("en", false), "text three");
  a.merge(&a);
  a.merge(nullptr);
  EXPECT_EQ(a.getSize(), 2);

  // equalTo ignores the order of the entries.
  TrStrSet c;
  c.set("en", "text three");
  c.set("de", "text one");
  EXPECT_TRUE(a.equalTo(&c));
  c.set("de", "other");
  EXPECT_FALSE(a.equalTo(&c));
  EXPECT_FALSE(a.equalTo(&one));
  EXPECT_TRUE(a.equalTo(&a));
  a.copy(nullptr);
  EXPECT_TRUE(a.isNull());
  EXPECT_TRUE(a.equalTo(nullptr));
  b.clear();
  EXPECT_EQ(b.getSize(), 0);
  EXPECT_TRUE(b.get("de", true).isNull());
}

TEST(TrStrSet, RefusesAFullSet) {
  TrStrSet s;
  for (int i = 0; i < TrStrSet::MAX_SIZE - 1; ++i)
    ASSERT_TRUE(s.append({static_cast<unsigned short>(i + 1), PString("x")}));
  ASSERT_TRUE(s.append({TrStrSet::mkLangId("de"), PString("x")}));
  EXPECT_EQ(s.getSize(), 255);
  EXPECT_FALSE(s.append({1000, PString("y")}));
  EXPECT_FALSE(s.set("zz", "y"));
  auto r = s.insert("zz", "y");
  EXPECT_FALSE(r.second);
  EXPECT_TRUE(r.first.isNull());
  EXPECT_TRUE(s.set("de", "changed"));  // replacing still works
  EXPECT_EQ(s.getSize(), 255);
  EXPECT_EQ(s.get("de", false), "changed");
  EXPECT_NE(s.find(0x0005), nullptr);
}

class TrStrSetLocale : public ::testing::Test {
 protected:
  void SetUp() override {
    app = Application::create();
    log = RecordingLogger::create();
    app->installLogger(log.get());
    loc = Locale::create();
    loc->attachTo(*app);
    loc->setLanguage("it");
    loc->setLanguages({"fr", "de"});
    loc->setProductDataLanguages({"en"});
    loc->setCatalogLanguages({"es", "de"});
  }
  zob::Ref<Application> app;
  zob::Ref<RecordingLogger> log;
  zob::Ref<Locale> loc;
};

TEST_F(TrStrSetLocale, FallbackOrder) {
  TrStrSet deEn;
  deEn.set("de", "de text");
  deEn.set("en", "en text");
  TrStrSet enOnly;
  enOnly.set("en", "en text");
  TrStrSet enDefault;
  enDefault.set("en", "en text");
  enDefault.set(TrStrSet::DEFAULT_LANG, "default text");
  TrStrSet withIt;
  withIt.set("de", "de text");
  withIt.set("it", "it text");

  struct Case {
    const char* name;
    const TrStrSet* set;
    TrStrSet::TextCategory category;
    const char* text;  // null: the null PString
  };
  const Case cases[] = {
      {"list fr,de on de+en", &deEn, TrStrSet::TC_GENERAL, "de text"},
      {"list fr,de on en only", &enOnly, TrStrSet::TC_GENERAL, nullptr},
      {"list fr,de on en+default", &enDefault, TrStrSet::TC_GENERAL, "default text"},
      {"current language first", &withIt, TrStrSet::TC_GENERAL, "it text"},
      {"product data list", &deEn, TrStrSet::TC_PRODUCT_DATA, "en text"},
      {"product data: no current language", &withIt, TrStrSet::TC_PRODUCT_DATA, nullptr},
      {"catalogue list", &deEn, TrStrSet::TC_CATALOG, "de text"},
      {"catalogue list, default", &enDefault, TrStrSet::TC_CATALOG, "default text"},
      {"unknown category uses the general list", &deEn, static_cast<TrStrSet::TextCategory>(7),
       "de text"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    PString byApp = c.set->get(app.get(), c.category);
    zob::Ref<fw::ILocale> l;
    ASSERT_EQ(zob::query(app.get(), l), zob::kOk);
    PString byLocale = c.set->get(l.get(), c.category);
    if (c.text) {
      EXPECT_EQ(byApp, c.text);
      EXPECT_EQ(byLocale, c.text);
    } else {
      EXPECT_TRUE(byApp.isNull());
      EXPECT_TRUE(byLocale.isNull());
    }
    char* out = nullptr;
    EXPECT_EQ(c.set->get(app.get(), c.category, &out), c.text != nullptr);
    EXPECT_STREQ(out, c.text ? c.text : "");
    zobFree(out);
  }
  EXPECT_TRUE(log->records().empty());
}

TEST_F(TrStrSetLocale, FailuresGiveNull) {
  TrStrSet s;
  s.set(TrStrSet::DEFAULT_LANG, "default text");
  s.set("de", "de text");
  EXPECT_TRUE(s.get(static_cast<fw::ILocale*>(nullptr), TrStrSet::TC_GENERAL).isNull());
  EXPECT_TRUE(s.get(static_cast<fw::IApplication*>(nullptr), TrStrSet::TC_GENERAL).isNull());

  loc->failRequest(fw::ILocale3::IID);
  EXPECT_TRUE(s.get(app.get(), TrStrSet::TC_CATALOG).isNull());
  std::vector<std::string> debug = log->texts(LogLevel::Debug);
  ASSERT_EQ(debug.size(), 1u);
  EXPECT_EQ(debug[0].rfind("Can't get interface IDL:qor/quv/fw/ILocale3:1.0 from interface ", 0),
            0u)
      << debug[0];
  EXPECT_EQ(s.get(app.get(), TrStrSet::TC_GENERAL), "de text");  // ILocale2 still answers

  // A failed list is an empty list: the default text.
  log->clear();
  loc->clearFailures();
  loc->failRequest("getLanguages");
  EXPECT_EQ(s.get(app.get(), TrStrSet::TC_GENERAL), "default text");
  ASSERT_EQ(log->texts(LogLevel::Debug).size(), 1u);
  EXPECT_NE(log->texts(LogLevel::Debug)[0].find("QUV assertion failed: utl_TrStrSet["),
            std::string::npos);

  log->clear();
  app->failRequest(fw::ILocale::IID);
  EXPECT_TRUE(s.get(app.get(), TrStrSet::TC_GENERAL).isNull());
  ASSERT_EQ(log->texts(LogLevel::Debug).size(), 1u);
  EXPECT_EQ(log->texts(LogLevel::Debug)[0].rfind(
                "Can't get interface IDL:qor/quv/fw/ILocale:1.0 from interface ", 0),
            0u);
}

TEST(ELangMsgPair, OwnedCopiesAndRecords) {
  ELangMsgPair p("de", "Willkommen");
  EXPECT_STREQ(p.getLanguage(), "de");
  EXPECT_STREQ(p.getMessage(), "Willkommen");
  ELangMsgPair q(p);
  EXPECT_NE(q.getLanguage(), p.getLanguage());
  q.setMessage(q.getMessage());  // its own text
  EXPECT_STREQ(q.getMessage(), "Willkommen");
  ELangMsgPair& alias = q;
  q = alias;
  EXPECT_STREQ(q.getLanguage(), "de");
  ELangMsgPair empty;
  EXPECT_STREQ(empty.getLanguage(), "");
  empty.setLanguage(nullptr);
  EXPECT_STREQ(empty.getLanguage(), "");

  fw::LangMsgPair rec{nullptr, nullptr};
  p.copy(&rec, false);
  EXPECT_STREQ(rec.language, "de");
  EXPECT_STREQ(rec.message, "Willkommen");
  ELangMsgPair r(rec);
  EXPECT_STREQ(r.getMessage(), "Willkommen");
  ELangMsgPair("fr", "Bienvenue").copy(&rec, true);  // frees the previous strings
  EXPECT_STREQ(rec.language, "fr");
  r = rec;
  EXPECT_STREQ(r.getLanguage(), "fr");
  zobFree(rec.language);
  zobFree(rec.message);
  fw::LangMsgPair nulls{nullptr, nullptr};
  ELangMsgPair fromNulls(nulls);
  EXPECT_STREQ(fromNulls.getMessage(), "");
}

TEST(EGetText, LooksUpTheLibraryDomain) {
  kelp::test::ChildResult r = kelp::test::runInChild([] {
    unsetenv("LANGUAGE");
    if (!std::setlocale(LC_ALL, "de_DE.UTF-8")) return 2;
    setenv("KELP_LOCALEDIR", KELP_BINARY_DIR "/locale", 1);
    std::printf("%s|%s|%s", util::eGetText("quv:kelp", "pos. infinity"),
                util::eGetText("quv:kelp", "any context", "invalid"),
                util::eGetText("quv:kelp", "untranslated"));
    return 0;
  });
  if (r.exitStatus == 2) GTEST_SKIP() << "locale de_DE.UTF-8 not installed";
  EXPECT_EQ(r.stdoutText, "pos. unendlich|ungültig|untranslated");
  EXPECT_STREQ(util::eGetText("quv:kelp", "invalid"), "invalid");  // "C" here
}
