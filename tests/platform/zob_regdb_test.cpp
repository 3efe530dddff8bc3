// The registry database on SQLite: typed values, keys, access masks, bad
// input, and what several processes and a killed process leave behind.
#include <zob/zob_factory.h>
#include <zob/zob_mem.h>
#include <zob/zob_regdb.h>

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "test_support.h"

using namespace zob::regdb;

namespace {

zob::Ref<IRegistry> makeRegistry() {
  zob::IUnknown* p = nullptr;
  ZResult r = zobCreateInstance(kRegistryClassId, IRegistry::IID, &p);
  EXPECT_EQ(r, zob::kOk);
  return zob::Ref<IRegistry>::adopt(static_cast<IRegistry*>(p));
}

// Points the registry at a fresh folder for one test.
class RegDb : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* old = std::getenv("KELP_REGISTRY_DIR");
    hadOld_ = old != nullptr;
    if (old) old_ = old;
    setenv("KELP_REGISTRY_DIR", dir_.path().c_str(), 1);
  }
  void TearDown() override {
    if (hadOld_)
      setenv("KELP_REGISTRY_DIR", old_.c_str(), 1);
    else
      unsetenv("KELP_REGISTRY_DIR");
  }

  int root(IRegistry* reg, std::uint32_t access = kAccessAll, Hive hive = kCurrentUser) {
    int key = 0;
    EXPECT_EQ(reg->openRoot(hive, access, &key), zob::kOk);
    return key;
  }

  std::string dbFile(Hive hive = kCurrentUser) const {
    return dir_.file(hive == kLocalMachine ? "local_machine.db" : "current_user.db");
  }

  kelp::test::TempDir dir_;
  bool hadOld_ = false;
  std::string old_;
};

std::int64_t readInt(IRegistry* reg, int key, const char* name, ZResult* result = nullptr) {
  Value v{};
  ZResult r = reg->getValue(key, name, &v);
  if (result) *result = r;
  std::int64_t x = v.type == kTypeInt64 ? v.u.i64 : v.u.i32;
  zobRegFreeValue(&v);
  return x;
}

std::string readString(IRegistry* reg, int key, const char* name) {
  Value v{};
  if (EFAILED(reg->getValue(key, name, &v)) || v.type != kTypeString) return "<missing>";
  std::string s = v.u.str;
  zobRegFreeValue(&v);
  return s;
}

std::vector<std::string> names(const StringList& l) {
  std::vector<std::string> out;
  for (std::uint32_t i = 0; i < l.length; ++i) out.emplace_back(l.buffer[i]);
  return out;
}

// Runs PRAGMA integrity_check on a database file and returns its answer.
std::string integrityCheck(const std::string& path) {
  sqlite3* db = nullptr;
  std::string answer = "cannot open";
  if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
    sqlite3_stmt* s = nullptr;
    if (sqlite3_prepare_v2(db, "PRAGMA integrity_check", -1, &s, nullptr) == SQLITE_OK &&
        sqlite3_step(s) == SQLITE_ROW)
      answer = reinterpret_cast<const char*>(sqlite3_column_text(s, 0));
    sqlite3_finalize(s);
  }
  sqlite3_close(db);
  return answer;
}

// A class of the test's own: hands out a registry under another class id.
int factoryCalls = 0;
ZResult registryAlias(zob::IUnknown** out) {
  ++factoryCalls;
  return zobCreateInstance(kRegistryClassId, zob::IUnknown::IID, out);
}

ZResult failingFactory(zob::IUnknown** out) {
  *out = nullptr;
  return zob::kOutOfMemory;
}

}  // namespace

TEST(ZobFactory, CreatesByClassIdAndInterface) {
  struct Case {
    const char* classId;
    const char* iid;
    ZResult expected;
  } cases[] = {
      {kRegistryClassId, IRegistry::IID, zob::kOk},
      {"071D093C-8CCE-11D5-BFD3-0000E2430653", IRegistry::IID, zob::kOk},
      {kRegistryClassId, zob::IUnknown::IID, zob::kOk},
      {kRegistryClassId, "IDL:zob/regdb/IRegistry:2.0", zob::kNoInterface},
      {"071d093c-8cce-11d5-bfd3-0000e2430654", IRegistry::IID, zob::kNotFound},
      {"", IRegistry::IID, zob::kNotFound},
      {nullptr, IRegistry::IID, zob::kInvalidArgument},
      {kRegistryClassId, nullptr, zob::kInvalidArgument},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.classId ? c.classId : "(null)") + " " + (c.iid ? c.iid : "(null)"));
    zob::IUnknown* p = reinterpret_cast<zob::IUnknown*>(1);
    EXPECT_EQ(zobCreateInstance(c.classId, c.iid, &p), c.expected);
    EXPECT_EQ(p != nullptr, c.expected == zob::kOk);
    if (p) {
      EXPECT_EQ(p->_comRelease(), 0u);  // the caller holds the only reference
    }
  }
  EXPECT_EQ(zobCreateInstance(kRegistryClassId, IRegistry::IID, nullptr), zob::kInvalidArgument);
}

TEST(ZobFactory, RegisterAndUnregisterClasses) {
  const char* id = "5e1f8a2c-0000-4000-8000-00000000c1a5";
  factoryCalls = 0;
  zob::IUnknown* p = nullptr;
  EXPECT_EQ(zobCreateInstance(id, IRegistry::IID, &p), zob::kNotFound);
  ASSERT_EQ(zobRegisterClass(id, &registryAlias), zob::kOk);
  ASSERT_EQ(zobCreateInstance(id, IRegistry::IID, &p), zob::kOk);
  EXPECT_EQ(factoryCalls, 1);
  EXPECT_STREQ(p->_comGetInterfaceId(), IRegistry::IID);
  p->_comRelease();
  // A failing factory's code comes through.
  ASSERT_EQ(zobRegisterClass(id, &failingFactory), zob::kOk);
  EXPECT_EQ(zobCreateInstance(id, IRegistry::IID, &p), zob::kOutOfMemory);
  EXPECT_EQ(p, nullptr);
  EXPECT_EQ(zobUnregisterClass(id), zob::kOk);
  EXPECT_EQ(zobUnregisterClass(id), zob::kNotFound);
  EXPECT_EQ(zobCreateInstance(id, IRegistry::IID, &p), zob::kNotFound);
  // A platform class can be replaced, and gets its own factory back.
  EXPECT_EQ(zobUnregisterClass(kRegistryClassId), zob::kPermissionDenied);
  ASSERT_EQ(zobRegisterClass(kRegistryClassId, &failingFactory), zob::kOk);
  EXPECT_EQ(zobCreateInstance(kRegistryClassId, IRegistry::IID, &p), zob::kOutOfMemory);
  EXPECT_EQ(zobUnregisterClass(kRegistryClassId), zob::kOk);
  ASSERT_EQ(zobCreateInstance(kRegistryClassId, IRegistry::IID, &p), zob::kOk);
  p->_comRelease();
  EXPECT_EQ(zobUnregisterClass(kRegistryClassId), zob::kPermissionDenied);
  EXPECT_EQ(zobRegisterClass(nullptr, &failingFactory), zob::kInvalidArgument);
  EXPECT_EQ(zobRegisterClass(id, nullptr), zob::kInvalidArgument);
}

TEST_F(RegDb, EveryTypeRoundTrips) {
  auto reg = makeRegistry();
  int r = root(reg.get());
  const unsigned char bytes[] = {0, 1, 0xff, 0, 'x'};
  char a[] = "alpha", b[] = "", c[] = "gamma delta";
  char* items[] = {a, b, c};
  Value in[5]{};
  in[0].type = kTypeBytes;
  in[0].u.bytes.length = sizeof bytes;
  in[0].u.bytes.data = const_cast<unsigned char*>(bytes);
  in[1] = makeInt32(INT32_MIN);
  in[2] = makeInt64(INT64_MAX);
  in[3] = makeString("na\xc3\xafve \"quoted\"");
  in[4].type = kTypeStringList;
  in[4].u.list.length = 3;
  in[4].u.list.buffer = items;
  for (const Value& v : in) {
    SCOPED_TRACE(v.type);
    std::string name = "v" + std::to_string(v.type);
    ASSERT_EQ(reg->setValue(r, name.c_str(), &v), zob::kOk);
    Value out{};
    ASSERT_EQ(reg->getValue(r, name.c_str(), &out), zob::kOk);
    ASSERT_EQ(out.type, v.type);
    switch (v.type) {
      case kTypeBytes:
        ASSERT_EQ(out.u.bytes.length, sizeof bytes);
        EXPECT_EQ(std::memcmp(out.u.bytes.data, bytes, sizeof bytes), 0);
        break;
      case kTypeInt32:
        EXPECT_EQ(out.u.i32, INT32_MIN);
        break;
      case kTypeInt64:
        EXPECT_EQ(out.u.i64, INT64_MAX);
        break;
      case kTypeString:
        EXPECT_STREQ(out.u.str, v.u.str);
        break;
      case kTypeStringList:
        EXPECT_EQ(names(out.u.list), (std::vector<std::string>{"alpha", "", "gamma delta"}));
        break;
    }
    zobRegFreeValue(&out);
    EXPECT_EQ(out.type, kTypeInt32);
  }
  // Empty forms: no bytes, empty string, empty list.
  Value empty[3]{};
  empty[0].type = kTypeBytes;
  empty[1] = makeString(nullptr);
  empty[2].type = kTypeStringList;
  for (const Value& v : empty) {
    SCOPED_TRACE(v.type);
    ASSERT_EQ(reg->setValue(r, "empty", &v), zob::kOk);
    Value out{};
    ASSERT_EQ(reg->getValue(r, "empty", &out), zob::kOk);
    EXPECT_EQ(out.type, v.type);
    if (v.type == kTypeBytes) {
      EXPECT_EQ(out.u.bytes.length, 0u);
    } else if (v.type == kTypeString) {
      EXPECT_STREQ(out.u.str, "");
    } else {
      EXPECT_EQ(out.u.list.length, 0u);
    }
    zobRegFreeValue(&out);
  }
  // Overwriting replaces the type as well.
  Value i = makeInt32(7);
  ASSERT_EQ(reg->setValue(r, "v4", &i), zob::kOk);
  EXPECT_EQ(readInt(reg.get(), r, "v4"), 7);
  EXPECT_EQ(reg->closeKey(r), zob::kOk);
}

TEST_F(RegDb, KeysFormATree) {
  auto reg = makeRegistry();
  int r = root(reg.get());
  int a = 0, b = 0, again = 0;
  bool created = false;
  ASSERT_EQ(reg->createKey(r, "a", &a, &created), zob::kOk);
  EXPECT_TRUE(created);
  ASSERT_EQ(reg->createKey(r, "a", &again, &created), zob::kOk);
  EXPECT_FALSE(created);
  ASSERT_EQ(reg->createKey(a, "b", &b, nullptr), zob::kOk);
  for (const char* n : {"zeta", "Alpha", "alpha", "m"}) {
    int k = 0;
    ASSERT_EQ(reg->createKey(b, n, &k, nullptr), zob::kOk);
    reg->closeKey(k);
    Value v = makeInt32(1);
    ASSERT_EQ(reg->setValue(b, n, &v), zob::kOk);
  }
  StringList l{};
  ASSERT_EQ(reg->listKeys(b, &l), zob::kOk);
  EXPECT_EQ(names(l), (std::vector<std::string>{"Alpha", "alpha", "m", "zeta"}));
  zobRegFreeStringList(&l);
  ASSERT_EQ(reg->listValues(b, &l), zob::kOk);
  EXPECT_EQ(names(l), (std::vector<std::string>{"Alpha", "alpha", "m", "zeta"}));
  zobRegFreeStringList(&l);
  ASSERT_EQ(reg->listValues(r, &l), zob::kOk);
  EXPECT_EQ(l.length, 0u);
  zobRegFreeStringList(&l);

  int opened = 0;
  EXPECT_EQ(reg->openKey(r, "A", &opened), zob::kNotFound);  // names keep their case
  ASSERT_EQ(reg->openKey(a, "b", &opened), zob::kOk);
  Value v = makeString("seen");
  ASSERT_EQ(reg->setValue(opened, "x", &v), zob::kOk);
  EXPECT_EQ(readString(reg.get(), b, "x"), "seen");  // both handles name one key

  // Without `recursive` only a key without children goes.
  EXPECT_EQ(reg->deleteKey(r, "a", false), zob::kKeyNotEmpty);
  int leaf = 0;
  ASSERT_EQ(reg->openKey(b, "m", &leaf), zob::kOk);
  EXPECT_EQ(reg->deleteKey(b, "m", false), zob::kOk);
  EXPECT_EQ(reg->deleteKey(b, "m", false), zob::kNotFound);
  // A handle of a deleted key finds nothing and cannot write.
  EXPECT_EQ(reg->setValue(leaf, "x", &v), zob::kNotFound);
  EXPECT_EQ(reg->listKeys(leaf, &l), zob::kNotFound);
  EXPECT_EQ(reg->createKey(leaf, "y", &opened, nullptr), zob::kNotFound);
  EXPECT_EQ(reg->deleteKey(r, "a", true), zob::kOk);
  EXPECT_EQ(reg->getValue(b, "x", &v), zob::kNotFound);
  EXPECT_EQ(reg->openKey(r, "a", &opened), zob::kNotFound);
  ASSERT_EQ(reg->listKeys(r, &l), zob::kOk);
  EXPECT_EQ(l.length, 0u);
  zobRegFreeStringList(&l);
  // A key made anew under the old name is a new key: old handles stay dead.
  int fresh = 0;
  ASSERT_EQ(reg->createKey(r, "a", &fresh, &created), zob::kOk);
  EXPECT_TRUE(created);
  EXPECT_EQ(reg->setValue(a, "x", &v), zob::kNotFound);

  // Values: delete, delete again.
  ASSERT_EQ(reg->setValue(fresh, "x", &v), zob::kOk);
  EXPECT_EQ(reg->deleteValue(fresh, "x"), zob::kOk);
  EXPECT_EQ(reg->deleteValue(fresh, "x"), zob::kNotFound);
  EXPECT_EQ(reg->flush(fresh), zob::kOk);

  // Handles: closing twice, unknown handles.
  EXPECT_EQ(reg->closeKey(fresh), zob::kOk);
  EXPECT_EQ(reg->closeKey(fresh), zob::kInvalidArgument);
  EXPECT_EQ(reg->getValue(fresh, "x", &v), zob::kInvalidArgument);
  EXPECT_EQ(reg->flush(12345), zob::kInvalidArgument);
  EXPECT_EQ(reg->openKey(-1, "a", &opened), zob::kInvalidArgument);
}

TEST_F(RegDb, ReadOnlyHandlesCannotWrite) {
  auto reg = makeRegistry();
  int rw = root(reg.get());
  int k = 0;
  ASSERT_EQ(reg->createKey(rw, "k", &k, nullptr), zob::kOk);
  Value v = makeInt32(5);
  ASSERT_EQ(reg->setValue(k, "v", &v), zob::kOk);

  EXPECT_EQ(static_cast<unsigned>(kAccessRead), 716u);
  EXPECT_EQ(static_cast<unsigned>(kAccessAll), 1023u);
  int ro = root(reg.get(), kAccessRead);
  int child = 0, made = 0;
  ASSERT_EQ(reg->openKey(ro, "k", &child), zob::kOk);  // children inherit the mask
  EXPECT_EQ(readInt(reg.get(), child, "v"), 5);
  StringList l{};
  EXPECT_EQ(reg->listValues(child, &l), zob::kOk);
  zobRegFreeStringList(&l);
  for (int h : {ro, child}) {
    SCOPED_TRACE(h);
    EXPECT_EQ(reg->setValue(h, "v", &v), zob::kPermissionDenied);
    EXPECT_EQ(reg->deleteValue(h, "v"), zob::kPermissionDenied);
    EXPECT_EQ(reg->createKey(h, "new", &made, nullptr), zob::kPermissionDenied);
    EXPECT_EQ(reg->deleteKey(h, "k", true), zob::kPermissionDenied);
  }
  EXPECT_EQ(readInt(reg.get(), k, "v"), 5);
  EXPECT_EQ(reg->openKey(rw, "new", &made), zob::kNotFound);
  // Single bits: a mask that may set values but not make keys.
  int setOnly = root(reg.get(), kAccessSetValue | kAccessQueryValue);
  EXPECT_EQ(reg->setValue(setOnly, "w", &v), zob::kOk);
  EXPECT_EQ(reg->createKey(setOnly, "new", &made, nullptr), zob::kPermissionDenied);
  EXPECT_EQ(reg->listKeys(setOnly, &l), zob::kPermissionDenied);
  int dummy = 0;
  EXPECT_EQ(reg->openRoot(kCurrentUser, 1024, &dummy), zob::kInvalidArgument);
  EXPECT_EQ(reg->openRoot(static_cast<Hive>(3), kAccessRead, &dummy), zob::kInvalidArgument);
  EXPECT_EQ(reg->openRoot(kCurrentUser, kAccessRead, nullptr), zob::kInvalidArgument);
}

TEST_F(RegDb, HivesAreSeparateFilesInTheFolder) {
  auto reg = makeRegistry();
  int cu = root(reg.get(), kAccessAll, kCurrentUser);
  int lm = root(reg.get(), kAccessAll, kLocalMachine);
  Value v = makeInt32(1);
  ASSERT_EQ(reg->setValue(cu, "who", &v), zob::kOk);
  v = makeInt32(2);
  ASSERT_EQ(reg->setValue(lm, "who", &v), zob::kOk);
  EXPECT_EQ(readInt(reg.get(), cu, "who"), 1);
  EXPECT_EQ(readInt(reg.get(), lm, "who"), 2);
  EXPECT_EQ(access(dbFile(kCurrentUser).c_str(), F_OK), 0);
  EXPECT_EQ(access(dbFile(kLocalMachine).c_str(), F_OK), 0);
  // Another instance sees the committed values at once.
  auto other = makeRegistry();
  int cu2 = root(other.get(), kAccessRead);
  EXPECT_EQ(readInt(other.get(), cu2, "who"), 1);
  v = makeInt32(3);
  ASSERT_EQ(reg->setValue(cu, "who", &v), zob::kOk);
  EXPECT_EQ(readInt(other.get(), cu2, "who"), 3);
}

TEST_F(RegDb, ReadOnlyRootOfAMissingDatabaseIsNotFound) {
  auto reg = makeRegistry();
  int key = 0;
  EXPECT_EQ(reg->openRoot(kLocalMachine, kAccessRead, &key), zob::kNotFound);
  EXPECT_EQ(access(dbFile(kLocalMachine).c_str(), F_OK), -1);  // nothing made when reading
}

TEST_F(RegDb, AFolderThatCannotHoldTheDatabase) {
  // The folder named is a plain file.
  std::string notAFolder = dir_.file("plain");
  kelp::test::writeFile(notAFolder, "x");
  setenv("KELP_REGISTRY_DIR", notAFolder.c_str(), 1);
  auto reg = makeRegistry();
  int key = 0;
  EXPECT_EQ(reg->openRoot(kCurrentUser, kAccessAll, &key), zob::kIOError);
  EXPECT_EQ(reg->openRoot(kCurrentUser, kAccessRead, &key), zob::kNotFound);
  EXPECT_EQ(kelp::test::readFile(notAFolder), "x");
  // A folder that does not exist yet is made.
  setenv("KELP_REGISTRY_DIR", dir_.file("a/b/c").c_str(), 1);
  ASSERT_EQ(reg->openRoot(kCurrentUser, kAccessAll, &key), zob::kOk);
  EXPECT_EQ(access(dir_.file("a/b/c/current_user.db").c_str(), F_OK), 0);
}

TEST_F(RegDb, BadNamesAreRefused) {
  auto reg = makeRegistry();
  int r = root(reg.get());
  Value v = makeInt32(1);
  ASSERT_EQ(reg->setValue(r, "keep", &v), zob::kOk);
  std::string longName(kMaxNameLength + 1, 'n');
  std::string longest(kMaxNameLength, 'n');
  const char* bad[] = {nullptr, "", "a/b", "/", "trailing/", longName.c_str()};
  for (const char* n : bad) {
    SCOPED_TRACE(n ? n : "(null)");
    int k = 0;
    Value out{};
    EXPECT_EQ(reg->setValue(r, n, &v), zob::kInvalidArgument);
    EXPECT_EQ(reg->getValue(r, n, &out), zob::kInvalidArgument);
    EXPECT_EQ(reg->deleteValue(r, n), zob::kInvalidArgument);
    EXPECT_EQ(reg->createKey(r, n, &k, nullptr), zob::kInvalidArgument);
    EXPECT_EQ(reg->openKey(r, n, &k), zob::kInvalidArgument);
    EXPECT_EQ(reg->deleteKey(r, n, true), zob::kInvalidArgument);
  }
  int k = 0;
  EXPECT_EQ(reg->createKey(r, longest.c_str(), &k, nullptr), zob::kOk);
  EXPECT_EQ(reg->setValue(r, longest.c_str(), &v), zob::kOk);
  StringList l{};
  ASSERT_EQ(reg->listValues(r, &l), zob::kOk);
  EXPECT_EQ(names(l), (std::vector<std::string>{"keep", longest}));
  zobRegFreeStringList(&l);
}

TEST_F(RegDb, ExtremeSizes) {
  auto reg = makeRegistry();
  int r = root(reg.get());
  // A 1 MiB string and a list of 10,000 strings are ordinary values.
  std::string big(1u << 20, 'x');
  big[12345] = 'y';
  Value s = makeString(big.c_str());
  ASSERT_EQ(reg->setValue(r, "big", &s), zob::kOk);
  EXPECT_EQ(readString(reg.get(), r, "big"), big);

  std::vector<std::string> items;
  for (int i = 0; i < 10000; ++i) items.push_back("item " + std::to_string(i));
  std::vector<char*> ptrs;
  for (auto& it : items) ptrs.push_back(it.data());
  Value l{};
  l.type = kTypeStringList;
  l.u.list.length = static_cast<std::uint32_t>(ptrs.size());
  l.u.list.buffer = ptrs.data();
  ASSERT_EQ(reg->setValue(r, "list", &l), zob::kOk);
  Value out{};
  ASSERT_EQ(reg->getValue(r, "list", &out), zob::kOk);
  EXPECT_EQ(names(out.u.list), items);
  zobRegFreeValue(&out);

  // Past the limits: refused, and the old value stays.
  std::vector<unsigned char> huge(kMaxValueSize + 1, 0xab);
  Value b{};
  b.type = kTypeBytes;
  b.u.bytes.length = static_cast<std::uint32_t>(huge.size());
  b.u.bytes.data = huge.data();
  EXPECT_EQ(reg->setValue(r, "big", &b), zob::kInvalidArgument);
  std::string hugeString(kMaxValueSize + 1, 'z');
  s = makeString(hugeString.c_str());
  EXPECT_EQ(reg->setValue(r, "big", &s), zob::kInvalidArgument);
  std::vector<char*> many(kMaxListLength + 1, ptrs[0]);
  l.u.list.length = static_cast<std::uint32_t>(many.size());
  l.u.list.buffer = many.data();
  EXPECT_EQ(reg->setValue(r, "big", &l), zob::kInvalidArgument);
  EXPECT_EQ(readString(reg.get(), r, "big"), big);

  // Malformed records.
  Value bad{};
  bad.type = static_cast<ValueType>(9);
  EXPECT_EQ(reg->setValue(r, "bad", &bad), zob::kInvalidArgument);
  bad.type = kTypeBytes;
  bad.u.bytes.length = 4;
  bad.u.bytes.data = nullptr;
  EXPECT_EQ(reg->setValue(r, "bad", &bad), zob::kInvalidArgument);
  char* holes[] = {ptrs[0], nullptr};
  bad.type = kTypeStringList;
  bad.u.list.length = 2;
  bad.u.list.buffer = holes;
  EXPECT_EQ(reg->setValue(r, "bad", &bad), zob::kInvalidArgument);
  EXPECT_EQ(reg->setValue(r, "bad", nullptr), zob::kInvalidArgument);
  Value none{};
  EXPECT_EQ(reg->getValue(r, "bad", &none), zob::kNotFound);
}

TEST_F(RegDb, AFileThatIsNoRegistryIsLeftAlone) {
  const std::string junk = "this is not a database, just some settings text\n";
  kelp::test::writeFile(dbFile(), junk);
  {
    auto reg = makeRegistry();
    int key = 0;
    EXPECT_EQ(reg->openRoot(kCurrentUser, kAccessAll, &key), zob::kCorrupt);
    EXPECT_EQ(reg->openRoot(kCurrentUser, kAccessRead, &key), zob::kCorrupt);
    EXPECT_EQ(key, 0);
    // The other hive is not affected.
    int lm = root(reg.get(), kAccessAll, kLocalMachine);
    Value v = makeInt32(4);
    EXPECT_EQ(reg->setValue(lm, "fine", &v), zob::kOk);
  }
  EXPECT_EQ(kelp::test::readFile(dbFile()), junk);

  // An SQLite database of somebody else's is no registry either.
  sqlite3* db = nullptr;
  std::string foreign = dir_.file("foreign.db");
  ASSERT_EQ(sqlite3_open(foreign.c_str(), &db), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(db, "CREATE TABLE keys(x); INSERT INTO keys VALUES(42)", nullptr, nullptr,
                         nullptr),
            SQLITE_OK);
  sqlite3_close(db);
  ASSERT_EQ(rename(foreign.c_str(), dbFile().c_str()), 0);
  auto reg = makeRegistry();
  int key = 0;
  EXPECT_EQ(reg->openRoot(kCurrentUser, kAccessAll, &key), zob::kCorrupt);
  EXPECT_EQ(integrityCheck(dbFile()), "ok");
}

// Anything but a regular file at the database's path is no registry, and
// finding that out never blocks (a FIFO without a writer would).
TEST_F(RegDb, OnlyARegularFileIsADatabase) {
  const struct {
    const char* what;
    bool (*make)(const std::string& path);
  } cases[] = {
      {"FIFO", [](const std::string& p) { return mkfifo(p.c_str(), 0600) == 0; }},
      {"folder", [](const std::string& p) { return mkdir(p.c_str(), 0700) == 0; }},
      {"device", [](const std::string& p) { return symlink("/dev/zero", p.c_str()) == 0; }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    ASSERT_TRUE(c.make(dbFile()));
    auto reg = makeRegistry();
    int key = 0;
    EXPECT_EQ(reg->openRoot(kCurrentUser, kAccessRead, &key), zob::kCorrupt);
    EXPECT_EQ(reg->openRoot(kCurrentUser, kAccessAll, &key), zob::kCorrupt);
    ASSERT_EQ(::remove(dbFile().c_str()), 0);
  }
}

namespace {

// The folder's entries, sorted.
std::set<std::string> entries(const std::string& dir) {
  std::set<std::string> out;
  if (DIR* d = opendir(dir.c_str())) {
    while (dirent* e = readdir(d))
      if (e->d_name[0] != '.') out.insert(e->d_name);
    closedir(d);
  }
  return out;
}

}  // namespace

// A reader of somebody else's hive (here root reading a file that another
// user owns; the tool's tests also read as that user) opens it read-only,
// reads it, and leaves no -wal or -shm file that would lock the owner out.
TEST_F(RegDb, AnotherUsersHiveIsReadWithoutLeavingFiles) {
  {
    auto reg = makeRegistry();
    Value v = makeInt32(7);
    ASSERT_EQ(reg->setValue(root(reg.get()), "n", &v), zob::kOk);
  }
  const std::set<std::string> before = entries(dir_.path());
  ASSERT_EQ(before, std::set<std::string>{"current_user.db"});
  if (chown(dbFile().c_str(), 65534, 65534) != 0) GTEST_SKIP() << "needs to give the file away";
  {
    auto reg = makeRegistry();
    int cu = root(reg.get(), kAccessRead);
    EXPECT_EQ(readInt(reg.get(), cu, "n"), 7);
    EXPECT_EQ(entries(dir_.path()), before);  // nothing made while open
    reg->closeKey(cu);
  }
  EXPECT_EQ(entries(dir_.path()), before);
  // The owner's own reader leaves nothing either.
  ASSERT_EQ(chown(dbFile().c_str(), geteuid(), getegid()), 0);
  {
    auto reg = makeRegistry();
    EXPECT_EQ(readInt(reg.get(), root(reg.get(), kAccessRead), "n"), 7);
  }
  EXPECT_EQ(entries(dir_.path()), before);
}

// A child writes values in a loop and reports each completed write through
// a pipe; it is killed at a random moment. Afterwards the database is whole
// and holds every value whose write had returned.
TEST_F(RegDb, SurvivesProcessesKilledWhileWriting) {
  std::mt19937 rng(20261121);
  std::vector<std::pair<std::string, int>> completed;
  constexpr int kRounds = 24;
  for (int round = 0; round < kRounds; ++round) {
    SCOPED_TRACE(round);
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      close(fds[0]);
      // The child makes its own instance: connections are not carried
      // across fork.
      zob::IUnknown* p = nullptr;
      if (EFAILED(zobCreateInstance(kRegistryClassId, IRegistry::IID, &p))) _exit(2);
      auto* reg = static_cast<IRegistry*>(p);
      int r = 0, k = 0;
      if (EFAILED(reg->openRoot(kCurrentUser, kAccessAll, &r))) _exit(3);
      std::string keyName = "round" + std::to_string(round);
      if (EFAILED(reg->createKey(r, keyName.c_str(), &k, nullptr))) _exit(4);
      std::string filler(3000 + 100 * round, 'f');
      for (int i = 0;; ++i) {
        // A large neighbour value makes each transaction span pages.
        Value f = makeString(filler.c_str());
        std::string fillerName = "filler" + std::to_string(i % 7);
        if (EFAILED(reg->setValue(k, fillerName.c_str(), &f))) _exit(5);
        Value v = makeInt32(i * 3 + 1);
        std::string name = "v" + std::to_string(i);
        if (EFAILED(reg->setValue(k, name.c_str(), &v))) _exit(6);
        if (write(fds[1], &i, sizeof i) != sizeof i) _exit(7);
      }
    }
    close(fds[1]);
    int stopAfter = std::uniform_int_distribution<int>(0, 40)(rng);
    int done = -1, got;
    while (done < stopAfter && read(fds[0], &got, sizeof got) == sizeof got) done = got;
    kill(pid, SIGKILL);
    int status = 0;
    waitpid(pid, &status, 0);
    // Reports that were already in the pipe count as well.
    while (read(fds[0], &got, sizeof got) == sizeof got) done = got;
    close(fds[0]);
    ASSERT_TRUE(WIFSIGNALED(status)) << "child ended by itself, status " << status;
    for (int i = 0; i <= done; ++i)
      completed.emplace_back("round" + std::to_string(round) + "/v" + std::to_string(i), i * 3 + 1);
  }
  EXPECT_EQ(integrityCheck(dbFile()), "ok");
  auto reg = makeRegistry();
  int r = root(reg.get(), kAccessRead);
  for (const auto& [path, expected] : completed) {
    SCOPED_TRACE(path);
    auto slash = path.find('/');
    int k = 0;
    ASSERT_EQ(reg->openKey(r, path.substr(0, slash).c_str(), &k), zob::kOk);
    ZResult res = 0;
    EXPECT_EQ(readInt(reg.get(), k, path.substr(slash + 1).c_str(), &res), expected);
    EXPECT_EQ(res, zob::kOk);
    reg->closeKey(k);
  }
  // The database is still writable after all that.
  int rw = root(reg.get());
  Value v = makeInt32(9);
  EXPECT_EQ(reg->setValue(rw, "after", &v), zob::kOk);
  EXPECT_EQ(integrityCheck(dbFile()), "ok");
}

// Two processes write different keys of one hive at the same time.
TEST_F(RegDb, TwoProcessesWriteOneHive) {
  constexpr int kValues = 150;
  int go[2];
  ASSERT_EQ(pipe(go), 0);
  pid_t pids[2];
  for (int c = 0; c < 2; ++c) {
    pids[c] = fork();
    ASSERT_GE(pids[c], 0);
    if (pids[c] == 0) {
      close(go[1]);
      char x;
      // Both start writing when the parent closes the pipe.
      if (read(go[0], &x, 1) != 0) _exit(9);
      zob::IUnknown* p = nullptr;
      if (EFAILED(zobCreateInstance(kRegistryClassId, IRegistry::IID, &p))) _exit(2);
      auto* reg = static_cast<IRegistry*>(p);
      int r = 0, k = 0;
      if (EFAILED(reg->openRoot(kCurrentUser, kAccessAll, &r))) _exit(3);
      std::string keyName = "writer" + std::to_string(c);
      if (EFAILED(reg->createKey(r, keyName.c_str(), &k, nullptr))) _exit(4);
      for (int i = 0; i < kValues; ++i) {
        Value v = makeInt64(c * 1000000 + i);
        std::string name = "v" + std::to_string(i);
        if (EFAILED(reg->setValue(k, name.c_str(), &v))) _exit(5);
      }
      reg->_comRelease();
      _exit(0);
    }
  }
  close(go[0]);
  close(go[1]);
  for (pid_t pid : pids) {
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
  }
  auto reg = makeRegistry();
  int r = root(reg.get(), kAccessRead);
  for (int c = 0; c < 2; ++c) {
    int k = 0;
    std::string keyName = "writer" + std::to_string(c);
    ASSERT_EQ(reg->openKey(r, keyName.c_str(), &k), zob::kOk);
    StringList l{};
    ASSERT_EQ(reg->listValues(k, &l), zob::kOk);
    EXPECT_EQ(l.length, static_cast<std::uint32_t>(kValues));
    zobRegFreeStringList(&l);
    EXPECT_EQ(readInt(reg.get(), k, "v0"), c * 1000000);
    EXPECT_EQ(readInt(reg.get(), k, "v149"), c * 1000000 + 149);
  }
  EXPECT_EQ(integrityCheck(dbFile()), "ok");
}

TEST(RegDbFree, FreeFunctionsTakeNullAndEmpty) {
  zobRegFreeValue(nullptr);
  zobRegFreeStringList(nullptr);
  StringList l{};
  zobRegFreeStringList(&l);
  Value v = makeInt64(3);
  zobRegFreeValue(&v);
  EXPECT_EQ(v.type, kTypeInt32);
  EXPECT_EQ(v.u.i32, 0);
}
