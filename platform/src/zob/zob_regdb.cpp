// The registry database on SQLite: one database file per hive, keys as rows
// with parent links, typed values, every change one transaction.
#include <zob/zob_regdb.h>

#include <fcntl.h>
#include <pwd.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <new>
#include <string>
#include <vector>

#include <zob/zob_mem.h>

#include "zob/zob_classes.h"
#include "zob/zob_counted_impl.h"

namespace {

using zob::regdb::Hive;
using zob::regdb::StringList;
using zob::regdb::Value;

// Marks a database file as ours ("kelp"); a database with tables but another
// id is not a registry and is left alone.
constexpr int kApplicationId = 0x6b656c70;
constexpr int kSchemaVersion = 1;
constexpr std::int64_t kRootId = 1;
// How long a writer waits for another process's transaction to end.
constexpr int kBusyTimeoutMs = 10000;

constexpr char kSchema[] =
    "CREATE TABLE keys(id INTEGER PRIMARY KEY AUTOINCREMENT, parent INTEGER, name BLOB NOT NULL);"
    "CREATE UNIQUE INDEX keys_child ON keys(parent, name);"
    "CREATE TABLE vals(key INTEGER NOT NULL, name BLOB NOT NULL, type INTEGER NOT NULL, data,"
    " PRIMARY KEY(key, name)) WITHOUT ROWID;"
    "INSERT INTO keys(id, parent, name) VALUES(1, NULL, x'');";

ZResult sqliteResult(int rc) {
  switch (rc & 0xff) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
      return zob::kOk;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return zob::kBusy;
    case SQLITE_NOMEM:
      return zob::kOutOfMemory;
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
      return zob::kPermissionDenied;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
    case SQLITE_FORMAT:
    case SQLITE_SCHEMA:
      return zob::kCorrupt;
    case SQLITE_TOOBIG:
    case SQLITE_RANGE:
      return zob::kInvalidArgument;
    default:
      return zob::kIOError;
  }
}

// One prepared statement; finalized on destruction.
class Stmt {
 public:
  Stmt(sqlite3* db, const char* sql) { rc_ = sqlite3_prepare_v2(db, sql, -1, &s_, nullptr); }
  ~Stmt() { sqlite3_finalize(s_); }
  Stmt(const Stmt&) = delete;
  Stmt& operator=(const Stmt&) = delete;

  bool ok() const { return rc_ == SQLITE_OK && s_; }
  ZResult prepareResult() const {
    return rc_ == SQLITE_OK ? zob::kInvalidState : sqliteResult(rc_);
  }

  Stmt& bind(int i, std::int64_t v) {
    sqlite3_bind_int64(s_, i, v);
    return *this;
  }
  // Names and byte data go in as blobs: no text conversion, no NUL rules.
  Stmt& bindBlob(int i, const void* p, std::size_t n) {
    static const char empty = 0;
    sqlite3_bind_blob64(s_, i, n ? p : &empty, n, SQLITE_STATIC);
    return *this;
  }
  Stmt& bindName(int i, const char* name) { return bindBlob(i, name, std::strlen(name)); }

  // SQLITE_ROW, SQLITE_DONE or an error code.
  int step() { return sqlite3_step(s_); }
  sqlite3_stmt* get() const { return s_; }

 private:
  sqlite3_stmt* s_ = nullptr;
  int rc_;
};

ZResult exec(sqlite3* db, const char* sql) {
  return sqliteResult(sqlite3_exec(db, sql, nullptr, nullptr, nullptr));
}

// A transaction that is rolled back unless committed. Writers begin
// IMMEDIATE so that they wait for the write lock up front (a deferred
// transaction that later needs to write could fail without waiting).
class Txn {
 public:
  Txn(sqlite3* db, bool write) : db_(db) {
    result_ = exec(db, write ? "BEGIN IMMEDIATE" : "BEGIN");
    open_ = !EFAILED(result_);
  }
  ~Txn() {
    if (open_) exec(db_, "ROLLBACK");
  }
  Txn(const Txn&) = delete;
  Txn& operator=(const Txn&) = delete;
  ZResult result() const { return result_; }
  ZResult commit() {
    ZResult r = exec(db_, "COMMIT");
    if (!EFAILED(r)) open_ = false;
    return r;
  }

 private:
  sqlite3* db_;
  ZResult result_;
  bool open_;
};

ZResult checkName(const char* name) {
  if (!name || !*name) return zob::kInvalidArgument;
  std::size_t n = strnlen(name, zob::regdb::kMaxNameLength + 1);
  if (n > zob::regdb::kMaxNameLength) return zob::kInvalidArgument;
  if (std::memchr(name, '/', n)) return zob::kInvalidArgument;
  return zob::kOk;
}

// The stored form of a value: integers as integers, everything else as a
// blob (a list as its strings, each followed by a zero byte).
struct Encoded {
  bool isInteger = false;
  std::int64_t integer = 0;
  const void* data = nullptr;
  std::size_t size = 0;
  std::string listBytes;
};

ZResult encode(const Value& v, Encoded* e) {
  using namespace zob::regdb;
  switch (v.type) {
    case kTypeInt32:
      e->isInteger = true;
      e->integer = v.u.i32;
      return zob::kOk;
    case kTypeInt64:
      e->isInteger = true;
      e->integer = v.u.i64;
      return zob::kOk;
    case kTypeBytes:
      if (v.u.bytes.length > kMaxValueSize) return zob::kInvalidArgument;
      if (v.u.bytes.length && !v.u.bytes.data) return zob::kInvalidArgument;
      e->data = v.u.bytes.data;
      e->size = v.u.bytes.length;
      return zob::kOk;
    case kTypeString: {
      const char* s = v.u.str ? v.u.str : "";
      std::size_t n = strnlen(s, kMaxValueSize + 1);
      if (n > kMaxValueSize) return zob::kInvalidArgument;
      e->data = s;
      e->size = n;
      return zob::kOk;
    }
    case kTypeStringList: {
      const StringList& l = v.u.list;
      if (l.length > kMaxListLength) return zob::kInvalidArgument;
      if (l.length && !l.buffer) return zob::kInvalidArgument;
      std::size_t total = 0;
      for (std::uint32_t i = 0; i < l.length; ++i) {
        if (!l.buffer[i]) return zob::kInvalidArgument;
        total += strnlen(l.buffer[i], kMaxValueSize + 1) + 1;
        if (total > kMaxValueSize) return zob::kInvalidArgument;
      }
      try {
        e->listBytes.reserve(total);
        for (std::uint32_t i = 0; i < l.length; ++i)
          e->listBytes.append(l.buffer[i], std::strlen(l.buffer[i]) + 1);
      } catch (const std::bad_alloc&) {
        return zob::kOutOfMemory;
      }
      e->data = e->listBytes.data();
      e->size = e->listBytes.size();
      return zob::kOk;
    }
  }
  return zob::kInvalidArgument;
}

// Reads the current row's (type, data) columns into a value record that owns
// its memory. Rows that do not fit their type are reported as corrupt.
ZResult decode(sqlite3_stmt* s, int typeCol, Value* out) {
  using namespace zob::regdb;
  std::int64_t type = sqlite3_column_int64(s, typeCol);
  int storage = sqlite3_column_type(s, typeCol + 1);
  Value v{};
  switch (type) {
    case kTypeInt32:
    case kTypeInt64: {
      if (storage != SQLITE_INTEGER) return zob::kCorrupt;
      std::int64_t x = sqlite3_column_int64(s, typeCol + 1);
      if (type == kTypeInt32) {
        if (x < INT32_MIN || x > INT32_MAX) return zob::kCorrupt;
        v.type = kTypeInt32;
        v.u.i32 = static_cast<std::int32_t>(x);
      } else {
        v.type = kTypeInt64;
        v.u.i64 = x;
      }
      *out = v;
      return zob::kOk;
    }
    case kTypeBytes:
    case kTypeString:
    case kTypeStringList:
      break;
    default:
      return zob::kCorrupt;
  }
  if (storage != SQLITE_BLOB) return zob::kCorrupt;
  const auto* p = static_cast<const char*>(sqlite3_column_blob(s, typeCol + 1));
  auto n = static_cast<std::size_t>(sqlite3_column_bytes(s, typeCol + 1));
  if (n && !p) return zob::kOutOfMemory;
  if (n > kMaxValueSize) return zob::kCorrupt;
  if (type == kTypeBytes) {
    auto* d = static_cast<unsigned char*>(zobMalloc(n ? n : 1));
    if (!d) return zob::kOutOfMemory;
    if (n) std::memcpy(d, p, n);
    v.type = kTypeBytes;
    v.u.bytes.length = static_cast<std::uint32_t>(n);
    v.u.bytes.data = d;
  } else if (type == kTypeString) {
    if (n && std::memchr(p, 0, n)) return zob::kCorrupt;
    char* d = zobStrNDup0(n ? p : "", n);
    if (!d) return zob::kOutOfMemory;
    v.type = kTypeString;
    v.u.str = d;
  } else {
    if (n && p[n - 1] != 0) return zob::kCorrupt;
    std::size_t count = 0;
    for (std::size_t i = 0; i < n; ++i) count += p[i] == 0;
    if (count > kMaxListLength) return zob::kCorrupt;
    v.type = kTypeStringList;
    v.u.list.length = 0;
    v.u.list.buffer = static_cast<char**>(zobCalloc(count ? count : 1, sizeof(char*)));
    if (!v.u.list.buffer) return zob::kOutOfMemory;
    for (std::size_t off = 0; off < n;) {
      std::size_t len = std::strlen(p + off);
      char* item = zobStrNDup0(p + off, len);
      if (!item) {
        zobRegFreeValue(&v);
        return zob::kOutOfMemory;
      }
      v.u.list.buffer[v.u.list.length++] = item;
      off += len + 1;
    }
  }
  *out = v;
  return zob::kOk;
}

// mkdir -p; failures show up when the database is opened.
void makeDirs(const std::string& dir, mode_t mode) {
  for (std::size_t pos = 1; pos <= dir.size(); ++pos) {
    if (pos != dir.size() && dir[pos] != '/') continue;
    std::string part = dir.substr(0, pos);
    if (::mkdir(part.c_str(), mode) != 0 && errno != EEXIST) return;
  }
}

std::string hiveFolder(Hive hive) {
  const char* dir = std::getenv("KELP_REGISTRY_DIR");
  if (dir && *dir) return dir;
  if (hive == zob::regdb::kLocalMachine) return "/var/lib/kelp";
  if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg && *xdg)
    return std::string(xdg) + "/kelp";
  const char* home = std::getenv("HOME");
  if (!home || !*home) {
    struct passwd* pw = getpwuid(getuid());
    home = pw && pw->pw_dir ? pw->pw_dir : "/tmp";
  }
  return std::string(home) + "/.config/kelp";
}

// A writer's settings: the write-ahead log, and a sync that loses no
// committed change when the process dies.
ZResult prepareWriter(sqlite3* db) {
  // Switching a new file to WAL takes an exclusive lock for which SQLite
  // does not always call the busy handler (two processes opening a fresh
  // hive at once): retry for as long as the busy time-out allows.
  ZResult r = exec(db, "PRAGMA journal_mode=WAL");
  for (int waited = 0; r == zob::kBusy && waited < kBusyTimeoutMs; waited += 10) {
    sqlite3_sleep(10);
    r = exec(db, "PRAGMA journal_mode=WAL");
  }
  if (EFAILED(r)) return r;
  // With a write-ahead log NORMAL loses no committed change when the
  // process dies; only a power cut may take the latest ones.
  return exec(db, "PRAGMA synchronous=NORMAL");
}

// Whether a read-only connection can read the schema (and so the log's
// shared memory, when the file is in WAL mode).
bool readable(sqlite3* db) {
  return sqlite3_exec(db, "SELECT count(*) FROM sqlite_master", nullptr, nullptr, nullptr) ==
         SQLITE_OK;
}

// What lies at a hive's path, looked at without blocking: opening a FIFO
// or a device the way SQLite does could wait for ever (a FIFO without a
// writer) or read something that is no database at all.
enum class PathKind { kMissing, kRegular, kOther, kError };

PathKind examine(const std::string& path, struct stat* st) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (fd < 0) {
    const int error = errno;
    if (error == ENOENT || error == ENOTDIR) return PathKind::kMissing;
    // Unreadable, but maybe there: stat still tells a FIFO from a file.
    if (::stat(path.c_str(), st) == 0 && !S_ISREG(st->st_mode)) return PathKind::kOther;
    errno = error;
    return PathKind::kError;
  }
  const bool ok = ::fstat(fd, st) == 0;
  ::close(fd);
  if (!ok) return PathKind::kError;
  return S_ISREG(st->st_mode) ? PathKind::kRegular : PathKind::kOther;
}

bool exists(const std::string& path) {
  struct stat st;
  return ::lstat(path.c_str(), &st) == 0;
}

// A SQLite URI for a file path ("file:" and the path with %, ? and # escaped).
std::string fileUri(const std::string& path, const char* query) {
  std::string uri = "file:";
  for (char c : path) {
    if (c == '%' || c == '?' || c == '#') {
      static const char kHex[] = "0123456789ABCDEF";
      uri += '%';
      uri += kHex[static_cast<unsigned char>(c) >> 4];
      uri += kHex[c & 15];
    } else {
      uri += c;
    }
  }
  return uri + "?" + query;
}

// Whether a reader may use the hive as its owner does: its own file in a
// folder it may write. Anyone else (another user, root included, or a
// caller without write permission) reads without leaving files behind.
bool readsAsOwner(const std::string& path, const std::string& folder, const struct stat& st) {
  return st.st_uid == ::geteuid() && ::access(path.c_str(), W_OK) == 0 &&
         ::access(folder.c_str(), W_OK) == 0;
}

// Opens a hive's database; a writer prepares a new (empty) file as a
// registry. The owner's reader shares the write-ahead log like any
// connection; any other reader (another user, root included, or one that
// may not write the file or its folder) opens the file read-only, using the
// log's files only where they exist already and otherwise reading the file
// as immutable, so that it never makes -wal or -shm files that the owner
// could not use afterwards. Only writers set the journal mode.
ZResult openDatabase(Hive hive, bool needWrite, sqlite3** out) {
  *out = nullptr;
  std::string folder = hiveFolder(hive);
  std::string path =
      folder + (hive == zob::regdb::kLocalMachine ? "/local_machine.db" : "/current_user.db");
  struct stat st;
  switch (examine(path, &st)) {
    case PathKind::kMissing:
      // Reading makes nothing: a hive never written has no root to read.
      if (!needWrite) return zob::kNotFound;
      break;
    case PathKind::kOther:
      return zob::kCorrupt;
    case PathKind::kError:
      return errno == EACCES ? zob::kPermissionDenied : zob::kIOError;
    case PathKind::kRegular:
      break;
  }
  sqlite3* db = nullptr;
  int rc = SQLITE_OK;
  if (needWrite) {
    makeDirs(folder, hive == zob::regdb::kLocalMachine ? 0755 : 0700);
    rc = sqlite3_open_v2(path.c_str(), &db,
                         SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
  } else if (readsAsOwner(path, folder, st)) {
    // The owner's reader is an ordinary connection (its access mask keeps
    // it from writing): as the last one it removes the log's files.
    rc = sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
  } else {
    const bool shared = exists(path + "-wal") && exists(path + "-shm");
    const int flags = SQLITE_OPEN_READONLY | SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX;
    rc = sqlite3_open_v2(fileUri(path, shared ? "mode=ro" : "immutable=1").c_str(), &db, flags,
                         nullptr);
    if (rc == SQLITE_OK && shared && !readable(db)) {
      // The log's files are there but not for us: read what the file holds.
      sqlite3_close(db);
      db = nullptr;
      rc = sqlite3_open_v2(fileUri(path, "immutable=1").c_str(), &db, flags, nullptr);
    }
  }
  if (rc != SQLITE_OK) {
    sqlite3_close(db);
    if ((rc & 0xff) != SQLITE_CANTOPEN) return sqliteResult(rc);
    return ::access(folder.c_str(), W_OK) != 0 && errno == EACCES ? zob::kPermissionDenied
                                                                  : zob::kIOError;
  }
  bool readOnly = sqlite3_db_readonly(db, "main") == 1;
  auto fail = [&](ZResult r) {
    sqlite3_close(db);
    return r;
  };
  if (readOnly && needWrite) return fail(zob::kPermissionDenied);
  sqlite3_busy_timeout(db, kBusyTimeoutMs);
  // Reading the header here is what tells a foreign file from a database.
  // Only a writer chooses the journal: a reader takes the file as it is.
  if (needWrite) {
    if (ZResult r = prepareWriter(db); EFAILED(r)) return fail(r);
  }
  Txn txn(db, needWrite);
  if (EFAILED(txn.result())) return fail(txn.result());
  std::int64_t appId = 0, tables = 0;
  {
    Stmt s(db,
           "SELECT (SELECT application_id FROM pragma_application_id),"
           " (SELECT count(*) FROM sqlite_master)");
    if (!s.ok()) return fail(s.prepareResult());
    int step = s.step();
    if (step != SQLITE_ROW) return fail(sqliteResult(step));
    appId = sqlite3_column_int64(s.get(), 0);
    tables = sqlite3_column_int64(s.get(), 1);
  }
  if (tables == 0) {
    if (!needWrite) return fail(zob::kNotFound);
    if (ZResult r = exec(db, kSchema); EFAILED(r)) return fail(r);
    // Formatted in place: an allocation failure here would lose the handle.
    char pragmas[96];
    std::snprintf(pragmas, sizeof pragmas, "PRAGMA application_id=%d; PRAGMA user_version=%d",
                  kApplicationId, kSchemaVersion);
    if (ZResult r = exec(db, pragmas); EFAILED(r)) return fail(r);
    if (ZResult r = txn.commit(); EFAILED(r)) return fail(r);
  } else if (appId != kApplicationId) {
    return fail(zob::kCorrupt);
  }
  *out = db;
  return zob::kOk;
}

class Registry final : public zob::detail::Counted<zob::regdb::IRegistry> {
 public:
  Registry() = default;

  ZResult openRoot(Hive hive, std::uint32_t access, int* key) override {
    if (!key) return zob::kInvalidArgument;
    *key = 0;
    if (hive != zob::regdb::kLocalMachine && hive != zob::regdb::kCurrentUser)
      return zob::kInvalidArgument;
    if (access & ~static_cast<std::uint32_t>(zob::regdb::kAccessAll)) return zob::kInvalidArgument;
    std::lock_guard lock(mutex_);
    sqlite3*& db = dbs_[hive - 1];
    bool& writer = writers_[hive - 1];
    bool needWrite = (access & kWriteBits) != 0;
    if (db && needWrite && !writer) {
      if (sqlite3_db_readonly(db, "main") == 1) {
        // Opened read-only before: try again for writing once nobody uses it.
        if (usesOf(hive)) return zob::kPermissionDenied;
        sqlite3_close(db);
        db = nullptr;
      } else {
        // The owner's reader: it may write once it has a writer's settings.
        if (ZResult r = prepareWriter(db); EFAILED(r)) return r;
        writer = true;
      }
    }
    if (!db) {
      // Only the paths are built on the heap, before the database is
      // opened: running out of memory there leaves nothing open.
      ZResult r;
      try {
        r = openDatabase(hive, needWrite, &db);
      } catch (const std::bad_alloc&) {
        r = zob::kOutOfMemory;
      }
      if (EFAILED(r)) return r;
      writer = needWrite;
    }
    return addHandle({hive, kRootId, access}, key);
  }

  ZResult openKey(int parent, const char* name, int* key) override {
    if (!key) return zob::kInvalidArgument;
    *key = 0;
    if (ZResult r = checkName(name); EFAILED(r)) return r;
    std::lock_guard lock(mutex_);
    Handle h;
    if (ZResult r = lookup(parent, 0, &h); EFAILED(r)) return r;
    std::int64_t id = 0;
    if (ZResult r = findChild(db(h), h.id, name, &id); EFAILED(r)) return r;
    return addHandle({h.hive, id, h.access}, key);
  }

  ZResult createKey(int parent, const char* name, int* key, bool* created) override {
    if (!key) return zob::kInvalidArgument;
    *key = 0;
    if (created) *created = false;
    if (ZResult r = checkName(name); EFAILED(r)) return r;
    std::lock_guard lock(mutex_);
    Handle h;
    if (ZResult r = lookup(parent, zob::regdb::kAccessCreateKey, &h); EFAILED(r)) return r;
    sqlite3* d = db(h);
    Txn txn(d, true);
    if (EFAILED(txn.result())) return txn.result();
    if (ZResult r = keyExists(d, h.id); EFAILED(r)) return r;
    std::int64_t id = 0;
    ZResult r = findChild(d, h.id, name, &id);
    bool made = false;
    if (r == zob::kNotFound) {
      Stmt s(d, "INSERT INTO keys(parent, name) VALUES(?, ?)");
      if (!s.ok()) return s.prepareResult();
      s.bind(1, h.id).bindName(2, name);
      if (int rc = s.step(); rc != SQLITE_DONE) return sqliteResult(rc);
      id = sqlite3_last_insert_rowid(d);
      made = true;
    } else if (EFAILED(r)) {
      return r;
    }
    if (made) {
      if (ZResult c = txn.commit(); EFAILED(c)) return c;
    }
    if (ZResult a = addHandle({h.hive, id, h.access}, key); EFAILED(a)) return a;
    if (created) *created = made;
    return zob::kOk;
  }

  ZResult getValue(int key, const char* name, Value* out) override {
    if (!out) return zob::kInvalidArgument;
    *out = Value{};
    out->type = zob::regdb::kTypeInt32;
    if (ZResult r = checkName(name); EFAILED(r)) return r;
    std::lock_guard lock(mutex_);
    Handle h;
    if (ZResult r = lookup(key, zob::regdb::kAccessQueryValue, &h); EFAILED(r)) return r;
    Stmt s(db(h), "SELECT type, data FROM vals WHERE key = ? AND name = ?");
    if (!s.ok()) return s.prepareResult();
    s.bind(1, h.id).bindName(2, name);
    int rc = s.step();
    if (rc == SQLITE_DONE) return zob::kNotFound;
    if (rc != SQLITE_ROW) return sqliteResult(rc);
    return decode(s.get(), 0, out);
  }

  ZResult setValue(int key, const char* name, const Value* value) override {
    if (!value) return zob::kInvalidArgument;
    if (ZResult r = checkName(name); EFAILED(r)) return r;
    Encoded e;
    if (ZResult r = encode(*value, &e); EFAILED(r)) return r;
    std::lock_guard lock(mutex_);
    Handle h;
    if (ZResult r = lookup(key, zob::regdb::kAccessSetValue, &h); EFAILED(r)) return r;
    sqlite3* d = db(h);
    Txn txn(d, true);
    if (EFAILED(txn.result())) return txn.result();
    if (ZResult r = keyExists(d, h.id); EFAILED(r)) return r;
    Stmt s(d, "INSERT OR REPLACE INTO vals(key, name, type, data) VALUES(?, ?, ?, ?)");
    if (!s.ok()) return s.prepareResult();
    s.bind(1, h.id).bindName(2, name).bind(3, value->type);
    if (e.isInteger)
      s.bind(4, e.integer);
    else
      s.bindBlob(4, e.data, e.size);
    if (int rc = s.step(); rc != SQLITE_DONE) return sqliteResult(rc);
    return txn.commit();
  }

  ZResult deleteValue(int key, const char* name) override {
    if (ZResult r = checkName(name); EFAILED(r)) return r;
    std::lock_guard lock(mutex_);
    Handle h;
    if (ZResult r = lookup(key, zob::regdb::kAccessDeleteValue, &h); EFAILED(r)) return r;
    sqlite3* d = db(h);
    Txn txn(d, true);
    if (EFAILED(txn.result())) return txn.result();
    Stmt s(d, "DELETE FROM vals WHERE key = ? AND name = ?");
    if (!s.ok()) return s.prepareResult();
    s.bind(1, h.id).bindName(2, name);
    if (int rc = s.step(); rc != SQLITE_DONE) return sqliteResult(rc);
    if (sqlite3_changes(d) == 0) return zob::kNotFound;
    return txn.commit();
  }

  ZResult listKeys(int key, StringList* out) override {
    return list(key, out, "SELECT name FROM keys WHERE parent = ? ORDER BY name");
  }

  ZResult listValues(int key, StringList* out) override {
    return list(key, out, "SELECT name FROM vals WHERE key = ? ORDER BY name");
  }

  ZResult deleteKey(int parent, const char* name, bool recursive) override {
    if (ZResult r = checkName(name); EFAILED(r)) return r;
    std::lock_guard lock(mutex_);
    Handle h;
    if (ZResult r = lookup(parent, zob::regdb::kAccessDeleteKey, &h); EFAILED(r)) return r;
    sqlite3* d = db(h);
    Txn txn(d, true);
    if (EFAILED(txn.result())) return txn.result();
    std::int64_t id = 0;
    if (ZResult r = findChild(d, h.id, name, &id); EFAILED(r)) return r;
    if (!recursive) {
      Stmt s(d, "SELECT 1 FROM keys WHERE parent = ? LIMIT 1");
      if (!s.ok()) return s.prepareResult();
      s.bind(1, id);
      int rc = s.step();
      if (rc == SQLITE_ROW) return zob::kKeyNotEmpty;
      if (rc != SQLITE_DONE) return sqliteResult(rc);
    }
    static const char* const kDeletes[] = {
        "WITH RECURSIVE sub(id) AS (SELECT ?1 UNION ALL"
        " SELECT keys.id FROM keys JOIN sub ON keys.parent = sub.id)"
        " DELETE FROM vals WHERE key IN sub",
        "WITH RECURSIVE sub(id) AS (SELECT ?1 UNION ALL"
        " SELECT keys.id FROM keys JOIN sub ON keys.parent = sub.id)"
        " DELETE FROM keys WHERE id IN sub",
    };
    for (const char* sql : kDeletes) {
      Stmt s(d, sql);
      if (!s.ok()) return s.prepareResult();
      s.bind(1, id);
      if (int rc = s.step(); rc != SQLITE_DONE) return sqliteResult(rc);
    }
    return txn.commit();
  }

  ZResult closeKey(int key) override {
    std::lock_guard lock(mutex_);
    return handles_.erase(key) ? zob::kOk : zob::kInvalidArgument;
  }

  ZResult flush(int key) override {
    std::lock_guard lock(mutex_);
    Handle h;
    if (ZResult r = lookup(key, 0, &h); EFAILED(r)) return r;
    sqlite3* d = db(h);
    if (sqlite3_db_readonly(d, "main") == 1) return zob::kOk;
    // A passive checkpoint never waits for readers of other processes.
    int rc = sqlite3_wal_checkpoint_v2(d, "main", SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
    return (rc & 0xff) == SQLITE_BUSY ? zob::kOk : sqliteResult(rc);
  }

 private:
  static constexpr std::uint32_t kWriteBits =
      zob::regdb::kAccessAll & ~static_cast<std::uint32_t>(zob::regdb::kAccessRead);

  struct Handle {
    Hive hive = zob::regdb::kCurrentUser;
    std::int64_t id = 0;
    std::uint32_t access = 0;
  };

  ~Registry() {
    for (sqlite3* d : dbs_) sqlite3_close(d);
  }

  sqlite3* db(const Handle& h) const { return dbs_[h.hive - 1]; }

  std::size_t usesOf(Hive hive) const {
    std::size_t n = 0;
    for (const auto& [k, h] : handles_) n += h.hive == hive;
    return n;
  }

  ZResult lookup(int key, std::uint32_t need, Handle* h) const {
    auto it = handles_.find(key);
    if (it == handles_.end()) return zob::kInvalidArgument;
    if ((it->second.access & need) != need) return zob::kPermissionDenied;
    *h = it->second;
    return zob::kOk;
  }

  ZResult addHandle(const Handle& h, int* key) {
    if (handles_.size() >= static_cast<std::size_t>(INT_MAX) - 1) return zob::kOutOfMemory;
    for (;; ++next_) {
      if (next_ <= 0 || next_ == INT_MAX) next_ = 1;
      if (!handles_.count(next_)) break;
    }
    try {
      handles_.emplace(next_, h);
    } catch (const std::bad_alloc&) {
      return zob::kOutOfMemory;
    }
    *key = next_++;
    return zob::kOk;
  }

  static ZResult keyExists(sqlite3* d, std::int64_t id) {
    Stmt s(d, "SELECT 1 FROM keys WHERE id = ?");
    if (!s.ok()) return s.prepareResult();
    s.bind(1, id);
    int rc = s.step();
    if (rc == SQLITE_ROW) return zob::kOk;
    return rc == SQLITE_DONE ? zob::kNotFound : sqliteResult(rc);
  }

  static ZResult findChild(sqlite3* d, std::int64_t parent, const char* name, std::int64_t* id) {
    Stmt s(d, "SELECT id FROM keys WHERE parent = ? AND name = ?");
    if (!s.ok()) return s.prepareResult();
    s.bind(1, parent).bindName(2, name);
    int rc = s.step();
    if (rc == SQLITE_DONE) return zob::kNotFound;
    if (rc != SQLITE_ROW) return sqliteResult(rc);
    *id = sqlite3_column_int64(s.get(), 0);
    return zob::kOk;
  }

  ZResult list(int key, StringList* out, const char* sql) {
    if (!out) return zob::kInvalidArgument;
    *out = StringList{};
    std::lock_guard lock(mutex_);
    Handle h;
    if (ZResult r = lookup(key, zob::regdb::kAccessEnumerate, &h); EFAILED(r)) return r;
    sqlite3* d = db(h);
    Txn txn(d, false);  // the existence check and the list see one snapshot
    if (EFAILED(txn.result())) return txn.result();
    if (ZResult r = keyExists(d, h.id); EFAILED(r)) return r;
    Stmt s(d, sql);
    if (!s.ok()) return s.prepareResult();
    s.bind(1, h.id);
    std::vector<char*> names;
    auto freeNames = [&names] {
      for (char* n : names) zobFree(n);
    };
    int rc;
    while ((rc = s.step()) == SQLITE_ROW) {
      const auto* p = static_cast<const char*>(sqlite3_column_blob(s.get(), 0));
      auto n = static_cast<std::size_t>(sqlite3_column_bytes(s.get(), 0));
      char* copy = zobStrNDup0(p ? p : "", n);
      if (!copy) {
        freeNames();
        return zob::kOutOfMemory;
      }
      try {
        names.push_back(copy);
      } catch (const std::bad_alloc&) {
        zobFree(copy);
        freeNames();
        return zob::kOutOfMemory;
      }
    }
    if (rc != SQLITE_DONE) {
      freeNames();
      return sqliteResult(rc);
    }
    auto** buffer = static_cast<char**>(zobCalloc(names.empty() ? 1 : names.size(), sizeof(char*)));
    if (!buffer) {
      freeNames();
      return zob::kOutOfMemory;
    }
    if (!names.empty()) std::memcpy(buffer, names.data(), names.size() * sizeof(char*));
    out->length = static_cast<std::uint32_t>(names.size());
    out->buffer = buffer;
    return zob::kOk;
  }

  std::mutex mutex_;
  sqlite3* dbs_[2] = {nullptr, nullptr};
  bool writers_[2] = {false, false};  // opened, or prepared since, for writing
  std::map<int, Handle> handles_;
  int next_ = 1;
};

}  // namespace

namespace zob::detail {

ZResult createRegistry(IUnknown** out) {
  if (!out) return kInvalidArgument;
  auto* r = new (std::nothrow) Registry;
  *out = r;
  return r ? kOk : kOutOfMemory;
}

}  // namespace zob::detail

void zobRegFreeValue(zob::regdb::Value* value) {
  if (!value) return;
  switch (value->type) {
    case zob::regdb::kTypeBytes:
      zobFree(value->u.bytes.data);
      break;
    case zob::regdb::kTypeString:
      zobFree(value->u.str);
      break;
    case zob::regdb::kTypeStringList:
      zobRegFreeStringList(&value->u.list);
      break;
    default:
      break;
  }
  *value = zob::regdb::makeInt32(0);
}

void zobRegFreeStringList(zob::regdb::StringList* list) {
  if (!list) return;
  if (list->buffer)
    for (std::uint32_t i = 0; i < list->length; ++i) zobFree(list->buffer[i]);
  zobFree(list->buffer);
  list->length = 0;
  list->buffer = nullptr;
}
