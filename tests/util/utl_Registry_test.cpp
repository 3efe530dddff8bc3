// Registry and RegNode over a real registry database in a temporary folder:
// typed reads and their widenings, the messages of every failure, module
// keys, shared node data.
#define QUV_SOURCE_NAME "utl_Registry_test"
#include <kelp/util/utl_RegNode.h>
#include <kelp/util/utl_Registry.h>

#include <fw/fw_IApplication5.h>
#include <gtest/gtest.h>
#include <kelp/host.h>
#include <kelp/host_app.h>
#include <zob/zob_factory.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <list>
#include <locale>
#include <string>
#include <vector>

#include "test_support.h"

using namespace qor::quv::util;
using kelp::host::Application;
using kelp::host::LogLevel;
using kelp::host::RecordingLogger;
using Strings = std::vector<std::string>;

namespace {

class RegistryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* old = std::getenv("KELP_REGISTRY_DIR");
    hadOld_ = old != nullptr;
    if (old) old_ = old;
    setenv("KELP_REGISTRY_DIR", dir_.path().c_str(), 1);
    app_->installLogger(log_.get());
    props_->setVendorKey("Brindlecraft");
    props_->setAppKey("kelp");
    props_->attachTo(*app_);
  }
  void TearDown() override {
    if (hadOld_)
      setenv("KELP_REGISTRY_DIR", old_.c_str(), 1);
    else
      unsetenv("KELP_REGISTRY_DIR");
  }

  // The debug texts logged since the last call; every record must carry the
  // library's category.
  Strings messages() {
    for (const auto& r : log_->records()) EXPECT_EQ(r.category, "quv:kelp");
    Strings t = log_->texts(LogLevel::Debug);
    EXPECT_EQ(t.size(), log_->records().size());
    log_->clear();
    return t;
  }

  RegNode writable() { return Registry::openCurrentUser(app_.get(), false); }

  kelp::test::TempDir dir_;
  zob::Ref<Application> app_ = Application::create();
  zob::Ref<kelp::host::AppProperties> props_ = kelp::host::AppProperties::create();
  zob::Ref<RecordingLogger> log_ = RecordingLogger::create();
  bool hadOld_ = false;
  std::string old_;
};

}  // namespace

TEST_F(RegistryTest, TypedReadsAndWidenings) {
  RegNode n = writable();
  ASSERT_TRUE(n.isOpen());
  ASSERT_TRUE(n.put("i32", 5));
  ASSERT_TRUE(n.put("i64", 5L));
  ASSERT_TRUE(n.put("big", 2147483648L));
  ASSERT_TRUE(n.put("min", static_cast<long>(INT_MIN)));
  ASSERT_TRUE(n.put("below", static_cast<long>(INT_MIN) - 1));
  ASSERT_TRUE(n.put("yes", true));
  ASSERT_TRUE(n.put("no", false));
  ASSERT_TRUE(n.put("zero64", 0L));
  ASSERT_TRUE(n.put("str", "abc"));
  ASSERT_TRUE(n.put("list", std::list<std::string>{"x", "y"}));
  ASSERT_TRUE(n.put("bytes", "\x01\x02", 2));
  EXPECT_EQ(messages(), Strings{});

  struct Int {
    const char* name;
    bool ok;
    int value;
  } ints[] = {{"i32", true, 5},    {"i64", true, 5},   {"big", false, 0},  {"min", true, INT_MIN},
              {"below", false, 0}, {"yes", true, 1},   {"no", true, 0},    {"zero64", true, 0},
              {"str", false, 0},   {"list", false, 0}, {"bytes", false, 0}};
  for (const Int& c : ints) {
    SCOPED_TRACE(c.name);
    int x = -7;
    EXPECT_EQ(n.get(c.name, &x), c.ok);
    EXPECT_EQ(x, c.ok ? c.value : -7);
    bool b = false;
    EXPECT_EQ(n.get(c.name, &b), c.ok);
    if (c.ok) {
      EXPECT_EQ(b, c.value != 0);
    }
    messages();
  }
  struct Long {
    const char* name;
    bool ok;
    long value;
  } longs[] = {{"i32", true, 5},           {"i64", true, 5},
               {"big", true, 2147483648L}, {"below", true, static_cast<long>(INT_MIN) - 1},
               {"yes", true, 1},           {"str", false, 0}};
  for (const Long& c : longs) {
    SCOPED_TRACE(c.name);
    long x = -7;
    EXPECT_EQ(n.get(c.name, &x), c.ok);
    EXPECT_EQ(x, c.ok ? c.value : -7);
    messages();
  }

  // The wrong-type message names both type numbers.
  int i = 0;
  long l = 0;
  std::string s;
  std::list<std::string> list;
  double d = 0;
  char buf[8];
  std::size_t len = 0;
  EXPECT_FALSE(n.get("big", &i));
  EXPECT_FALSE(n.get("str", &l));
  EXPECT_FALSE(n.get("i32", &s));
  EXPECT_FALSE(n.get("i64", &d));
  EXPECT_FALSE(n.get("str", &list));
  EXPECT_FALSE(n.get("list", buf, sizeof buf, &len));
  EXPECT_FALSE(n.get("bytes", &s));
  EXPECT_EQ(messages(), (Strings{
                            "Value big in node CURRENT_USER has wrong type (exp 2, got 3)",
                            "Value str in node CURRENT_USER has wrong type (exp 3, got 4)",
                            "Value i32 in node CURRENT_USER has wrong type (exp 4, got 2)",
                            "Value i64 in node CURRENT_USER has wrong type (exp 4, got 3)",
                            "Value str in node CURRENT_USER has wrong type (exp 5, got 4)",
                            "Value list in node CURRENT_USER has wrong type (exp 1, got 5)",
                            "Value bytes in node CURRENT_USER has wrong type (exp 4, got 1)",
                        }));

  ASSERT_TRUE(n.get("str", &s));
  EXPECT_EQ(s, "abc");
  ASSERT_TRUE(n.get("list", &list));
  EXPECT_EQ(list, (std::list<std::string>{"x", "y"}));
  ASSERT_TRUE(n.get("bytes", buf, sizeof buf, &len));
  EXPECT_EQ(len, 2u);
  EXPECT_EQ(std::string(buf, len), "\x01\x02");
  EXPECT_EQ(messages(), Strings{});
}

TEST_F(RegistryTest, MissingValuesAreSilent) {
  RegNode n = writable();
  int i = 3;
  long l = 3;
  bool b = true;
  double d = 3;
  std::string s = "keep";
  std::list<std::string> list{"keep"};
  char buf[4];
  std::size_t len = 9;
  EXPECT_FALSE(n.get("none", &i));
  EXPECT_FALSE(n.get("none", &l));
  EXPECT_FALSE(n.get("none", &b));
  EXPECT_FALSE(n.get("none", &d));
  EXPECT_FALSE(n.get("none", &s));
  EXPECT_FALSE(n.get("none", &list));
  EXPECT_FALSE(n.get("none", buf, sizeof buf, &len));
  EXPECT_TRUE(n.deleteValue("none"));
  EXPECT_TRUE(n.deleteNode("none", false));
  EXPECT_EQ(messages(), Strings{});
  EXPECT_EQ(i, 3);
  EXPECT_EQ(s, "keep");
  EXPECT_EQ(list.size(), 1u);
  EXPECT_EQ(len, 9u);
  // Deleting a value that is there.
  ASSERT_TRUE(n.put("v", 1));
  EXPECT_TRUE(n.deleteValue("v"));
  EXPECT_FALSE(n.get("v", &i));
  EXPECT_EQ(messages(), Strings{});
}

TEST_F(RegistryTest, DoublesAreSixDigitStrings) {
  RegNode n = writable();
  struct Case {
    double value;
    const char* text;
  } cases[] = {{3.14159265, "3.14159"},      {-0.5, "-0.5"},       {1e20, "1e+20"}, {0.0, "0"},
               {123456789.0, "1.23457e+08"}, {1.0 / 3, "0.333333"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    ASSERT_TRUE(n.put("d", c.value));
    std::string s;
    ASSERT_TRUE(n.get("d", &s));
    EXPECT_EQ(s, c.text);
    double back = -1;
    ASSERT_TRUE(n.get("d", &back));
    EXPECT_EQ(back, std::stod(c.text));
  }
  // Text that is no number, or has more after the number.
  for (const char* bad : {"abc", "", "1.5x", "1,5"}) {
    SCOPED_TRACE(bad);
    ASSERT_TRUE(n.put("d", bad));
    double d = 42;
    EXPECT_FALSE(n.get("d", &d));
    EXPECT_EQ(d, 42);
    EXPECT_EQ(messages(),
              Strings{std::string("Value d of node CURRENT_USER is not a floating point string: ") +
                      bad});
  }
  ASSERT_TRUE(n.put("d", " 2.5 "));
  double d = 0;
  EXPECT_TRUE(n.get("d", &d));
  EXPECT_EQ(d, 2.5);
  // The process's locale does not change the text.
  try {
    std::locale old = std::locale::global(std::locale("de_DE.UTF-8"));
    EXPECT_TRUE(n.put("d", 3.14159265));
    std::locale::global(old);
    std::string s;
    ASSERT_TRUE(n.get("d", &s));
    EXPECT_EQ(s, "3.14159");
  } catch (const std::runtime_error&) {
    // No German locale on this machine.
  }
}

TEST_F(RegistryTest, ListsAndArrays) {
  RegNode n = writable();
  const char* arr[] = {"one", "", "three", nullptr};
  ASSERT_TRUE(n.put("arr", arr));
  std::list<std::string> got;
  ASSERT_TRUE(n.get("arr", &got));
  EXPECT_EQ(got, (std::list<std::string>{"one", "", "three"}));
  const char* none[] = {nullptr};
  ASSERT_TRUE(n.put("arr", none));
  ASSERT_TRUE(n.get("arr", &got));
  EXPECT_TRUE(got.empty());
  ASSERT_TRUE(n.put("arr", static_cast<const char**>(nullptr)));
  ASSERT_TRUE(n.get("arr", &got));
  EXPECT_TRUE(got.empty());

  std::list<std::string> many;
  for (int i = 0; i < 10000; ++i) many.push_back(std::to_string(i * 7));
  ASSERT_TRUE(n.put("many", many));
  ASSERT_TRUE(n.get("many", &got));
  EXPECT_EQ(got, many);
  std::string big(1u << 20, 'q');
  ASSERT_TRUE(n.put("big", big));
  std::string back;
  ASSERT_TRUE(n.get("big", &back));
  EXPECT_EQ(back, big);
  EXPECT_EQ(messages(), Strings{});

  // A string with an embedded zero cannot be stored whole.
  EXPECT_FALSE(n.put("nul", std::string("a\0b", 3)));
  EXPECT_EQ(messages(), Strings{"Failed to set value nul in node CURRENT_USER: invalid argument"});
}

TEST_F(RegistryTest, ByteBlocks) {
  RegNode n = writable();
  const unsigned char data[] = {0, 0xff, 7, 0};
  ASSERT_TRUE(n.put("b", data, sizeof data));
  unsigned char buf[4] = {};
  std::size_t len = 0;
  ASSERT_TRUE(n.get("b", buf, sizeof buf, &len));
  EXPECT_EQ(len, 4u);
  EXPECT_EQ(std::memcmp(buf, data, 4), 0);
  // Too small a buffer: false, with the size needed.
  unsigned char small[3] = {9, 9, 9};
  len = 0;
  EXPECT_FALSE(n.get("b", small, sizeof small, &len));
  EXPECT_EQ(len, 4u);
  EXPECT_EQ(small[0], 9);
  EXPECT_EQ(messages(), Strings{"Value b in node CURRENT_USER does not fit into 3 bytes"});
  ASSERT_TRUE(n.put("empty", nullptr, 0));
  ASSERT_TRUE(n.get("empty", nullptr, 0, &len));
  EXPECT_EQ(len, 0u);
  // Bigger than a value may be.
  std::vector<char> huge(zob::regdb::kMaxValueSize + 1);
  EXPECT_FALSE(n.put("b", huge.data(), huge.size()));
  EXPECT_EQ(messages(), Strings{"Failed to set value b in node CURRENT_USER: invalid argument"});
  ASSERT_TRUE(n.get("b", buf, sizeof buf, &len));  // the old value stays
  EXPECT_EQ(len, 4u);
}

TEST_F(RegistryTest, ChildrenPathsAndBadNames) {
  RegNode root = writable();
  bool created = false;
  RegNode a = root.open("a", &created, true);
  ASSERT_TRUE(a.isOpen());
  EXPECT_TRUE(created);
  EXPECT_EQ(a.getPath(), "CURRENT_USER/a");
  RegNode b = a.create("b");
  EXPECT_EQ(b.getPath(), "CURRENT_USER/a/b");
  ASSERT_TRUE(b.put("v", 1));
  RegNode again = root.open("a", &created, true);
  EXPECT_TRUE(again.isOpen());
  EXPECT_FALSE(created);
  EXPECT_TRUE(root.create("a", &created, false).isOpen());
  EXPECT_FALSE(created);
  EXPECT_EQ(messages(), Strings{});

  EXPECT_FALSE(root.create("a", true).isOpen());
  EXPECT_FALSE(root.create("a", true, true).isOpen());  // quiet
  EXPECT_FALSE(root.create("a", &created, true).isOpen());
  EXPECT_FALSE(created);
  EXPECT_FALSE(root.open("missing").isOpen());
  EXPECT_FALSE(root.open("missing", false, true).isOpen());  // quiet
  EXPECT_FALSE(root.open("a/b").isOpen());
  EXPECT_FALSE(root.open("").isOpen());
  EXPECT_FALSE(root.create("x/y").isOpen());
  EXPECT_FALSE(root.put("a/b", 1));
  EXPECT_FALSE(root.put("", 1));
  int i = 0;
  EXPECT_FALSE(root.get("a/b", &i));
  EXPECT_FALSE(root.deleteValue(""));
  EXPECT_EQ(messages(), (Strings{
                            "Failed to create registry node CURRENT_USER/a: already exists",
                            "Failed to create registry node CURRENT_USER/a: already exists",
                            "Failed to open registry node CURRENT_USER/missing: not found",
                            "Failed to open registry node CURRENT_USER/a/b: invalid argument",
                            "Failed to open registry node CURRENT_USER/: invalid argument",
                            "Failed to create registry node CURRENT_USER/x/y: invalid argument",
                            "Failed to set value a/b in node CURRENT_USER: invalid argument",
                            "Failed to set value  in node CURRENT_USER: invalid argument",
                            "Failed to get value a/b in node CURRENT_USER: invalid argument",
                            "Failed to delete registry value CURRENT_USER/: invalid argument",
                        }));

  std::list<std::string> names{"stale"};
  ASSERT_TRUE(root.create("c").isOpen());
  ASSERT_TRUE(root.put("z", 1));
  ASSERT_TRUE(root.put("m", 1));
  ASSERT_TRUE(root.listNodes(&names));
  EXPECT_EQ(names, (std::list<std::string>{"a", "c"}));
  ASSERT_TRUE(root.listValues(&names));
  EXPECT_EQ(names, (std::list<std::string>{"m", "z"}));

  EXPECT_FALSE(root.deleteNode("a", false));
  EXPECT_EQ(messages(), Strings{"Failed to delete registry node CURRENT_USER/a: not empty"});
  EXPECT_TRUE(root.deleteNode("a", true));
  EXPECT_FALSE(b.get("v", &i));  // b's key is gone
  EXPECT_FALSE(b.put("v", 2));
  EXPECT_FALSE(b.listValues(&names));
  EXPECT_EQ(messages(), (Strings{
                            "Failed to set value v in node CURRENT_USER/a/b: not found",
                            "Failed to list values of registry node CURRENT_USER/a/b: not found",
                        }));
  ASSERT_TRUE(root.listNodes(&names));
  EXPECT_EQ(names, (std::list<std::string>{"c"}));
  EXPECT_TRUE(root.flush());
}

TEST_F(RegistryTest, ClosedNodesAndSharedData) {
  RegNode root = writable();
  RegNode child = root.create("child");
  ASSERT_TRUE(child.put("v", 1));
  RegNode copy = child;
  RegNode assigned;
  assigned = copy;
  RegNode& self = assigned;
  assigned = self;  // keeps its share
  EXPECT_TRUE(assigned.isOpen());
  EXPECT_EQ(copy.getKey(), child.getKey());
  EXPECT_EQ(copy.getRegistry(), child.getRegistry());
  EXPECT_NE(child.getRegistry(), nullptr);

  // release() drops one share; the others stay open.
  copy.release();
  EXPECT_FALSE(copy.isOpen());
  EXPECT_EQ(copy.getPath(), "");
  EXPECT_TRUE(child.isOpen());
  // close() closes the key for every share.
  assigned.close();
  EXPECT_FALSE(child.isOpen());
  EXPECT_EQ(child.getKey(), 0);
  EXPECT_EQ(child.getRegistry(), nullptr);
  EXPECT_EQ(child.getPath(), "CURRENT_USER/child");

  // Everything on a closed node answers false or a closed node, silently.
  int i = 0;
  std::list<std::string> names;
  EXPECT_FALSE(child.get("v", &i));
  EXPECT_FALSE(child.put("v", 2));
  EXPECT_FALSE(child.deleteValue("v"));
  EXPECT_FALSE(child.deleteNode("x", true));
  EXPECT_FALSE(child.listNodes(&names));
  EXPECT_FALSE(child.listValues(&names));
  EXPECT_FALSE(child.flush());
  EXPECT_FALSE(child.open("grandchild").isOpen());
  EXPECT_FALSE(child.create("grandchild").isOpen());
  root.close();
  EXPECT_FALSE(root.open("child").isOpen());
  EXPECT_FALSE(RegNode().open("x").isOpen());
  EXPECT_EQ(messages(), Strings{});

  // The value written before is there for a new root.
  RegNode fresh = Registry::openCurrentUser(app_.get(), true).open("child");
  ASSERT_TRUE(fresh.get("v", &i));
  EXPECT_EQ(i, 1);
  // A copy keeps the data alive after the original goes.
  RegNode survivor;
  {
    RegNode temp = writable().open("child").open("missing", true);
    survivor = temp;
  }
  EXPECT_TRUE(survivor.isOpen());
  EXPECT_EQ(survivor.getPath(), "CURRENT_USER/child/missing");
  EXPECT_TRUE(survivor.put("v", 2));
  EXPECT_EQ(messages(), Strings{});
}

TEST_F(RegistryTest, ReadOnlyRootsCannotWrite) {
  ASSERT_TRUE(writable().put("v", 1));
  RegNode ro = Registry::openCurrentUser(app_.get(), true);
  ASSERT_TRUE(ro.isOpen());
  int i = 0;
  EXPECT_TRUE(ro.get("v", &i));
  EXPECT_FALSE(ro.put("v", 2));
  EXPECT_FALSE(ro.deleteValue("v"));
  EXPECT_FALSE(ro.create("k").isOpen());
  EXPECT_EQ(messages(), (Strings{
                            "Failed to set value v in node CURRENT_USER: permission denied",
                            "Failed to delete registry value CURRENT_USER/v: permission denied",
                            "Failed to create registry node CURRENT_USER/k: permission denied",
                        }));
  EXPECT_TRUE(ro.get("v", &i));
  EXPECT_EQ(i, 1);
}

TEST_F(RegistryTest, RootFailures) {
  // Reading a hive that was never written.
  EXPECT_FALSE(Registry::openLocalMachine(app_.get(), true).isOpen());
  EXPECT_EQ(messages(),
            Strings{"Failed to open registry root for local machine in read only mode: not found"});
  // A file that is not a database.
  kelp::test::writeFile(dir_.file("current_user.db"), "plain text, no database");
  EXPECT_FALSE(Registry::open(app_.get(), false, false).isOpen());
  EXPECT_EQ(
      messages(),
      Strings{"Failed to open registry root for current user in read/write mode: data corrupt"});
  EXPECT_FALSE(Registry::openCurrentUserQUVModule(app_.get(), "M", false).isOpen());
  EXPECT_EQ(messages(), (Strings{
                            "Failed to open registry root for current user in read/write mode: "
                            "data corrupt",
                            "Failed to open <current user> in read/write mode",
                        }));
  EXPECT_FALSE(Registry::openModule(app_.get(), "a", nullptr, nullptr, true, false).isOpen());
  EXPECT_EQ(
      messages(),
      Strings{"Failed to open registry root for current user in read only mode: data corrupt"});
  EXPECT_EQ(kelp::test::readFile(dir_.file("current_user.db")), "plain text, no database");
  // The other hive is unaffected.
  EXPECT_TRUE(Registry::openLocalMachine(app_.get(), false).put("ok", true));
}

TEST_F(RegistryTest, InstantiationFailure) {
  ASSERT_EQ(zobRegisterClass(zob::regdb::kRegistryClassId,
                             [](zob::IUnknown** out) -> ZResult {
                               *out = nullptr;
                               return zob::kOutOfMemory;
                             }),
            zob::kOk);
  EXPECT_EQ(Registry::getRegistry(app_.get()), nullptr);
  EXPECT_FALSE(Registry::openCurrentUser(app_.get(), true).isOpen());
  ASSERT_EQ(zobUnregisterClass(zob::regdb::kRegistryClassId), zob::kOk);
  const std::string text =
      "Failed to instantiate 071d093c-8cce-11d5-bfd3-0000e2430653 with interface "
      "IDL:zob/regdb/IRegistry:1.0: out of memory";
  EXPECT_EQ(messages(), (Strings{text, text}));
  zob::regdb::IRegistry* reg = Registry::getRegistry(app_.get());
  ASSERT_NE(reg, nullptr);
  EXPECT_EQ(reg->_comRelease(), 0u);
}

TEST_F(RegistryTest, ModulesBelowVendorAndProduct) {
  RegNode m = Registry::openCurrentUserQUVModule(app_.get(), "Basket", false);
  ASSERT_TRUE(m.isOpen());
  EXPECT_EQ(m.getPath(), "CURRENT_USER/Brindlecraft/QUV/Basket");
  ASSERT_TRUE(m.put("columns", 7));
  RegNode ro = Registry::openCurrentUserQUVModule(app_.get(), "Basket", true);
  int i = 0;
  ASSERT_TRUE(ro.get("columns", &i));
  EXPECT_EQ(i, 7);
  // Read-only, nothing is made.
  EXPECT_FALSE(Registry::openCurrentUserQUVModule(app_.get(), "Other", true).isOpen());
  EXPECT_EQ(messages(),
            Strings{"Failed to open registry node CURRENT_USER/Brindlecraft/QUV/Other: not found"});

  EXPECT_STREQ(Registry::getQUVRegistryKey(), "QUV");
  Registry::setQUVRegistryKey("QUV2");
  RegNode lm = Registry::openLocalMachineQUVModule(app_.get(), "Basket", false);
  EXPECT_EQ(lm.getPath(), "LOCAL_MACHINE/Brindlecraft/QUV2/Basket");
  Registry::setQUVRegistryKey(nullptr);
  EXPECT_STREQ(Registry::getQUVRegistryKey(), "QUV");

  RegNode top = Registry::openModule(app_.get(), "A", nullptr, "C", false, false);
  EXPECT_EQ(top.getPath(), "CURRENT_USER/A/C");
  std::list<std::string> names;
  ASSERT_TRUE(Registry::openCurrentUser(app_.get(), true).listNodes(&names));
  EXPECT_EQ(names, (std::list<std::string>{"A", "Brindlecraft"}));
  // Keys with several components are walked one by one; empty ones fail.
  RegNode deep = Registry::openModule(app_.get(), "A", "B/C", "D", false, false);
  EXPECT_EQ(deep.getPath(), "CURRENT_USER/A/B/C/D");
  ASSERT_TRUE(deep.put("v", 4));
  int v = 0;
  EXPECT_TRUE(Registry::openCurrentUser(app_.get(), true)
                  .open("A")
                  .open("B")
                  .open("C")
                  .open("D")
                  .get("v", &v));
  EXPECT_EQ(v, 4);
  EXPECT_FALSE(Registry::openModule(app_.get(), "A", "B//C", "D", false, false).isOpen());
  EXPECT_FALSE(Registry::openModule(app_.get(), "", nullptr, nullptr, true, false).isOpen());
  std::string tooLong(300, 'n');
  EXPECT_FALSE(Registry::openModule(app_.get(), "A", tooLong.c_str(), "C", false, false).isOpen());
  EXPECT_EQ(messages(),
            (Strings{
                "Failed to create registry node CURRENT_USER/A/B/: invalid argument",
                "Failed to open registry node CURRENT_USER/: invalid argument",
                "Failed to create registry node CURRENT_USER/A/" + tooLong + ": invalid argument",
            }));
}

TEST_F(RegistryTest, AppModules) {
  RegNode m = Registry::openCurrentUserAppModule(app_.get(), "Export", false);
  EXPECT_EQ(m.getPath(), "CURRENT_USER/Brindlecraft/kelp/Export");
  props_->setVendorKey("Maker");
  props_->setAppKey("Catalogue");
  m = Registry::openLocalMachineAppModule(app_.get(), "Export", false);
  EXPECT_EQ(m.getPath(), "LOCAL_MACHINE/Maker/Catalogue/Export");
  ASSERT_TRUE(m.put("x", 1));
  EXPECT_TRUE(Registry::openAppModule(app_.get(), "Export", true, true).isOpen());
  EXPECT_EQ(messages(), Strings{});

  struct Case {
    const char* what;
    std::function<void()> setup;
    Strings expected;
  } cases[] = {
      {"vendor key fails",
       [&] { props_->failRequest("getVendorKey", zob::kNotImplemented); },
       {"IApplication failed to return vendor key: not implemented"}},
      {"empty vendor key",
       [&] { props_->setVendorKey(""); },
       {"IApplication returned empty vendor key"}},
      {"application key fails",
       [&] { props_->failRequest("getAppKey", zob::kIOError); },
       {"IApplication failed to return application key: input/output error"}},
      {"empty application key",
       [&] { props_->setAppKey(""); },
       {"IApplication returned empty application key"}},
      {"no keys interface",
       [&] { app_->failRequest(qor::quv::fw::IApplication5::IID, zob::kNoInterface); },
       {"Can't get interface IDL:qor/quv/fw/IApplication5:1.0 from interface "
        "IDL:qor/quv/fw/IApplication:1.0: no such interface",
        "IApplication failed to return vendor key: no such interface"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    app_->clearFailures();
    props_->clearFailures();
    props_->setVendorKey("Maker");
    props_->setAppKey("Catalogue");
    c.setup();
    EXPECT_FALSE(Registry::openCurrentUserAppModule(app_.get(), "Export", false).isOpen());
    EXPECT_EQ(messages(), c.expected);
  }
  app_->clearFailures();
  // Without an application there is nobody to ask (and nobody to log to).
  testing::internal::CaptureStderr();
  EXPECT_FALSE(Registry::openAppModule(nullptr, "Export", true, false).isOpen());
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "DEBUG: quv:kelp: IApplication failed to return vendor key: invalid argument\n");
}
