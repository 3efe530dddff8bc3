// The platform core: result texts, string copies, counted references and the
// placeholder operators.
#include <gtest/gtest.h>
#include <kelp/host.h>
#include <ktz/ktz_atomic.h>
#include <vorn/vorn_placeholder.h>
#include <vorn/vorn_string.h>
#include <zob/zob.h>

#include <thread>
#include <vector>

TEST(Zob, ResultTextsAndFailureTest) {
  EXPECT_TRUE(EFAILED(zob::kNoInterface));
  EXPECT_TRUE(EFAILED(0x96220016u));
  EXPECT_FALSE(EFAILED(0));
  EXPECT_STREQ(zobStrError(zob::kNoInterface), "no such interface");
  EXPECT_STREQ(zobStrError(zob::kTimeOut), "timed out");
  EXPECT_STREQ(zobStrError(zob::code(0x9fffffffu)), "unknown error 0x9fffffff");
  EXPECT_EQ(zob::kDomHierarchyRequest, zob::code(0x96260103u));
}

TEST(Zob, StringCopies) {
  char* a = zobStrDup("abc");
  EXPECT_STREQ(a, "abc");
  zobFree(a);
  EXPECT_EQ(zobStrDup(nullptr), nullptr);
  char* b = zobStrDup0(nullptr);
  EXPECT_STREQ(b, "");
  zobFree(b);
  char* c = zobStrNDup("abcdef", 3);
  EXPECT_STREQ(c, "abc");
  zobFree(c);
  char* d = zobStrNDup("ab", 10);  // stops at the terminator
  EXPECT_STREQ(d, "ab");
  zobFree(d);
  EXPECT_EQ(zobStrNDup(nullptr, 3), nullptr);
  char* e = zobStrNDup0(nullptr, 3);
  EXPECT_STREQ(e, "");
  zobFree(e);
  EXPECT_TRUE(zobCompareIID("IDL:zob/IUnknown:1.0", zob::IUnknown::IID));
  EXPECT_FALSE(zobCompareIID("IDL:zob/IUnknown:1.0", nullptr));
}

TEST(Zob, CountedReferenceHolder) {
  auto log = kelp::host::RecordingLogger::create();
  EXPECT_EQ(log->refCount(), 1u);
  {
    zob::Ref<qor::quv::fw::ILogger> a(log.get());
    EXPECT_EQ(log->refCount(), 2u);
    zob::Ref<qor::quv::fw::ILogger> b = a;
    EXPECT_EQ(log->refCount(), 3u);
    zob::Ref<qor::quv::fw::ILogger> c = std::move(b);
    EXPECT_EQ(log->refCount(), 3u);
    EXPECT_FALSE(b);
    c = nullptr;
    EXPECT_EQ(log->refCount(), 2u);
  }
  EXPECT_EQ(log->refCount(), 1u);
  // Queries hand out a new reference, and refuse unknown interfaces.
  zob::Ref<zob::IUnknown> unk;
  EXPECT_EQ(zob::query(log.get(), unk), 0);
  EXPECT_EQ(log->refCount(), 2u);
  auto app = kelp::host::Application::create();
  zob::Ref<qor::quv::fw::IApplication> notThere;
  EXPECT_EQ(zob::query(log.get(), notThere), zob::kNoInterface);
  EXPECT_FALSE(notThere);
}

TEST(Ktz, AtomicCountsAcrossThreads) {
  volatile std::int32_t n = 0;
  EXPECT_EQ(ktzAtomicIncrement(&n), 1);
  EXPECT_EQ(ktzAtomicDecrement(&n), 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 10000; ++i) ktzAtomicIncrement(&n);
    });
  for (auto& t : threads) t.join();
  EXPECT_EQ(n, 40000);
}

TEST(Vorn, CaseInsensitiveCompare) {
  EXPECT_EQ(gStrCaseCmp("Abc", "aBC"), 0);
  EXPECT_LT(gStrCaseCmp("abc", "ABD"), 0);
  EXPECT_GT(gStrCaseCmp("abcd", "ABC"), 0);
  EXPECT_LT(gStrCaseCmp(nullptr, ""), 0);
  EXPECT_EQ(gStrNCaseCmp("abcX", "ABCy", 3), 0);
}

TEST(Vorn, PlaceholdersFillLowestFirstAndEveryOccurrence) {
  std::string s = "%2 then %1 and %1 again, %10";
  s << "one";
  EXPECT_EQ(s, "%2 then one and one again, %10");
  s << 2 << -7;
  EXPECT_EQ(s, "2 then one and one again, -7");
  s << "surplus";  // nothing left: no change
  EXPECT_EQ(s, "2 then one and one again, -7");
  EXPECT_EQ(std::string("%1/%2/%3") << true << 4000000000u << static_cast<const char*>(nullptr),
            "true/4000000000/");
  EXPECT_EQ(std::string("100%") << "x", "100%");                // '%' without digits is text
  EXPECT_EQ(std::string("%1%1") << std::string("%1"), "%1%1");  // inserted text is not rescanned
}
