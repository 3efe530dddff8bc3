// ELongValue, EDoubleValue, EStringValue: interfaces, reference counts and
// the copies handed out.
#include <kelp/util/utl_EDoubleValue.h>
#include <kelp/util/utl_ELongValue.h>
#include <kelp/util/utl_EStringValue.h>

#include <gtest/gtest.h>
#include <signal.h>
#include <zob/zob_mem.h>

#include "test_support.h"

using namespace qor::quv;
using util::EDoubleValue;
using util::ELongValue;
using util::EStringValue;

namespace {

// Queries `obj` for every id in the table and checks the answer.
template <class Obj>
void checkQueries(Obj* obj, const char* ownIid) {
  struct Case {
    const char* iid;
    bool ok;
  };
  const Case cases[] = {{zob::IUnknown::IID, true},
                        {ownIid, true},
                        {"IDL:qor/quv/types/IOtherValue:1.0", false},
                        {"", false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.iid);
    zob::IUnknown* out = reinterpret_cast<zob::IUnknown*>(0x1);
    ZResult r = obj->_comQueryInterface(c.iid, &out);
    if (c.ok) {
      EXPECT_EQ(r, zob::kOk);
      EXPECT_EQ(out, static_cast<zob::IUnknown*>(obj));
      EXPECT_EQ(obj->release(), 1u);  // the query's reference
    } else {
      EXPECT_EQ(r, zob::code(0x80000004u));
      EXPECT_EQ(out, nullptr);
    }
  }
}

// A new counted object with its first reference held.
template <class T, class... A>
zob::Ref<T> make(A... args) {
  return zob::Ref<T>(new T(args...));
}

}  // namespace

TEST(EValueObjects, LongValue) {
  auto* v = new ELongValue(5);
  EXPECT_EQ(v->addRef(), 1u);  // a new object starts at 0
  EXPECT_EQ(v->getInterfaceId(), std::string("IDL:qor/quv/types/ILongValue:1.0"));
  checkQueries(v, types::ILongValue::IID);
  int out = 0;
  EXPECT_EQ(v->getValue(&out), zob::kOk);
  EXPECT_EQ(out, 5);
  EXPECT_EQ(v->setValue(-9), zob::kOk);
  EXPECT_EQ(v->getValue(), -9);
  EXPECT_EQ(v->getValue(nullptr), zob::kInvalidArgument);
  auto* copy = new ELongValue(v);
  EXPECT_EQ(copy->getValue(), -9);
  EXPECT_EQ(make<ELongValue>()->getValue(), 0);
  zob::Ref<types::ILongValue> held(copy);
  EXPECT_EQ(v->addRef(), 2u);
  EXPECT_EQ(v->release(), 1u);
  EXPECT_EQ(v->release(), 0u);  // deleted (the leak checker would notice otherwise)
}

TEST(EValueObjects, DoubleValue) {
  zob::Ref<EDoubleValue> v(new EDoubleValue(2.5));
  EXPECT_EQ(v->getInterfaceId(), std::string("IDL:qor/quv/types/IDoubleValue:1.0"));
  checkQueries(v.get(), types::IDoubleValue::IID);
  double out = 0;
  EXPECT_EQ(v->getValue(&out), zob::kOk);
  EXPECT_EQ(out, 2.5);
  v->setValue(-0.125);
  EXPECT_EQ(make<EDoubleValue>(v.get())->getValue(), -0.125);
  EXPECT_EQ(make<EDoubleValue>()->getValue(), 0.0);
  EXPECT_EQ(make<EDoubleValue>(static_cast<EDoubleValue*>(nullptr))->getValue(), 0.0);
}

TEST(EValueObjects, StringValueHandsOutCopies) {
  zob::Ref<EStringValue> v(new EStringValue("abc"));
  EXPECT_EQ(v->getInterfaceId(), std::string("IDL:qor/quv/types/IStringValue:1.0"));
  checkQueries(v.get(), types::IStringValue::IID);
  char* s = nullptr;
  ASSERT_EQ(v->getValue(&s), zob::kOk);
  EXPECT_STREQ(s, "abc");
  s[0] = 'X';  // the caller's own copy
  zobFree(s);
  EXPECT_EQ(v->getValue(), "abc");
  EXPECT_EQ(v->setValue(static_cast<const char*>(nullptr)), zob::kOk);
  EXPECT_EQ(v->getValue(), "");
  v->setValue(std::string("de"));
  EXPECT_EQ(make<EStringValue>(v.get())->getValue(), "de");
  EXPECT_EQ(make<EStringValue>(std::string("x"))->getValue(), "x");
  EXPECT_EQ(make<EStringValue>(static_cast<const char*>(nullptr))->getValue(), "");
  EXPECT_EQ(v->getValue(static_cast<char**>(nullptr)), zob::kInvalidArgument);
}

TEST(EValueObjects, ReleaseBelowZeroEndsTheProcess) {
  kelp::test::ChildResult r = kelp::test::runInChild([] {
    auto* v = new EStringValue("x");
    v->release();  // the count was 0
    return 0;
  });
  EXPECT_EQ(r.signal, SIGABRT);
}
