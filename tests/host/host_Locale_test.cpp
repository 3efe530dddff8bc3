// The reference host's locale: values, lists, interface versions, attachment
// to the application and failing requests.
#include <kelp/host_locale.h>

#include <gtest/gtest.h>
#include <zob/zob_mem.h>

#include <string>
#include <vector>

using namespace qor::quv;
using kelp::host::Application;
using kelp::host::Locale;

namespace {

std::vector<std::string> take(zob::Sequence<char*>* seq) {
  std::vector<std::string> out;
  for (std::uint32_t i = 0; i < seq->length; ++i) out.push_back(seq->buffer[i]);
  zobFreeStrSeq(seq);
  return out;
}

}  // namespace

TEST(HostLocale, ValuesAndLists) {
  auto loc = Locale::create();
  char* s = nullptr;
  ASSERT_EQ(loc->getLanguage(&s), zob::kOk);
  EXPECT_STREQ(s, "en");
  zobFree(s);
  loc->setLanguage("de");
  loc->setCountry("AT");
  ASSERT_EQ(loc->getLanguage(&s), zob::kOk);
  EXPECT_STREQ(s, "de");
  zobFree(s);
  ASSERT_EQ(loc->getCountry(&s), zob::kOk);
  EXPECT_STREQ(s, "AT");
  zobFree(s);

  loc->setLanguages({"de", "en", "fr"});
  loc->setProductDataLanguages({"fr"});
  zob::Sequence<char*> seq{};
  ASSERT_EQ(loc->getLanguages(&seq), zob::kOk);
  EXPECT_EQ(take(&seq), (std::vector<std::string>{"de", "en", "fr"}));
  EXPECT_EQ(seq.buffer, nullptr);
  ASSERT_EQ(loc->getProductDataLanguages(&seq), zob::kOk);
  EXPECT_EQ(take(&seq), std::vector<std::string>{"fr"});
  ASSERT_EQ(loc->getCatalogLanguages(&seq), zob::kOk);
  EXPECT_EQ(seq.length, 0u);
  EXPECT_EQ(seq.buffer, nullptr);
  EXPECT_EQ(loc->getLanguage(nullptr), zob::kInvalidArgument);
  EXPECT_EQ(loc->getLanguages(nullptr), zob::kInvalidArgument);
}

TEST(HostLocale, InterfacesThroughTheApplication) {
  auto app = Application::create();
  zob::Ref<fw::ILocale> none;
  EXPECT_EQ(zob::query(app.get(), none), zob::kNoInterface);

  auto loc = Locale::create();
  loc->setLanguage("fr");
  loc->attachTo(*app);
  zob::Ref<fw::ILocale> l1;
  ASSERT_EQ(zob::query(app.get(), l1), zob::kOk);
  zob::Ref<fw::ILocale3> l3;
  ASSERT_EQ(zob::query(l1.get(), l3), zob::kOk);
  zob::Ref<fw::ILocale2> l2;
  ASSERT_EQ(zob::query(l3.get(), l2), zob::kOk);
  char* s = nullptr;
  ASSERT_EQ(l2->getLanguage(&s), zob::kOk);
  EXPECT_STREQ(s, "fr");
  zobFree(s);
  zob::Ref<zob::IUnknown> other;
  zob::IUnknown* raw = nullptr;
  EXPECT_EQ(l1->_comQueryInterface("IDL:qor/quv/fw/ILocale4:1.0", &raw), zob::kNoInterface);
  EXPECT_EQ(raw, nullptr);
  EXPECT_EQ(l1->_comGetInterfaceId(), std::string("IDL:qor/quv/fw/ILocale3:1.0"));
}

TEST(HostLocale, FailingRequests) {
  auto app = Application::create();
  auto loc = Locale::create();
  loc->attachTo(*app);
  loc->failRequest("getLanguages", zob::kInvalidState);
  loc->failRequest(fw::ILocale3::IID);
  zob::Sequence<char*> seq{};
  EXPECT_EQ(loc->getLanguages(&seq), zob::kInvalidState);
  EXPECT_EQ(seq.length, 0u);
  zob::Ref<fw::ILocale> l1;
  ASSERT_EQ(zob::query(app.get(), l1), zob::kOk);
  zob::Ref<fw::ILocale3> l3;
  EXPECT_EQ(zob::query(l1.get(), l3), zob::kNotImplemented);
  loc->clearFailures();
  EXPECT_EQ(zob::query(l1.get(), l3), zob::kOk);
  app->failRequest(fw::ILocale::IID);
  EXPECT_EQ(zob::query(app.get(), l1), zob::kNotImplemented);
}
