/* The registry database: zob::regdb::IRegistry, its value record and its
 * access masks.
 *
 * Settings live in a tree of keys under two roots (hives), the local machine
 * and the current user; each key holds named, typed values. The platform's
 * implementation (class kRegistryClassId, made with zobCreateInstance) keeps
 * one SQLite database file per hive in the folder $KELP_REGISTRY_DIR
 * ("local_machine.db", "current_user.db"); without that variable the current
 * user's file lies in $XDG_CONFIG_HOME/kelp (else ~/.config/kelp) and the
 * local machine's in /var/lib/kelp.
 *
 * Keys are reached through integer handles: openRoot hands out the handle of
 * a hive's root with an access mask, openKey and createKey the handle of a
 * child, which inherits its parent's mask; closeKey gives it back. A handle
 * without the write bits (kAccessRead) cannot change anything
 * (zob::kPermissionDenied). Key and value names are 1 to kMaxNameLength
 * bytes without "/" and compared exactly (case matters); anything else is
 * zob::kInvalidArgument. A missing key or value is zob::kNotFound, also for a
 * handle whose key was deleted meanwhile.
 *
 * Every change is one transaction. Several processes (and several instances
 * in one process) may use the same hive at once: each sees the others'
 * committed changes, writers wait for each other up to a time-out
 * (zob::kBusy), and a process killed at any moment loses at most the change
 * it was making. A file that is not a database, or a damaged one, gives
 * zob::kCorrupt and is left untouched; so does anything but a regular file
 * at the database's path (a FIFO, a device, a folder), found out without
 * blocking.
 *
 * A root opened with kAccessRead only reads: the hive's owner reads through
 * an ordinary connection; anyone else (another user, root included, or a
 * caller that may not write the file or its folder) opens the file
 * read-only and never makes the write-ahead log's -wal and -shm files, so a
 * hive in a read-only folder can be read and no reader leaves files behind
 * that the owner could not use. Such a reader sees the changes another
 * process has committed only while that process keeps the log's files (a
 * read-only reader without them takes the file as it was when opened).
 *
 *   int root = 0, key = 0;
 *   reg->openRoot(zob::regdb::kCurrentUser, zob::regdb::kAccessAll, &root);
 *   reg->createKey(root, "Brindlecraft", &key, nullptr);
 *   zob::regdb::Value v = zob::regdb::makeInt32(42);
 *   reg->setValue(key, "answer", &v);
 *   reg->closeKey(key);
 *   reg->closeKey(root);
 *
 * The folder is looked up when an instance first opens a hive. An instance
 * may be used from several threads (its operations take a lock); it must not
 * be carried across fork(): a child makes its own. */
#ifndef ZOB_ZOB_REGDB_H
#define ZOB_ZOB_REGDB_H

#include <cstddef>
#include <cstdint>

#include <zob/zob_api.h>
#include <zob/zob_result.h>
#include <zob/zob_unknown.h>

namespace zob::regdb {

/* The class id of the platform's registry database. */
constexpr char kRegistryClassId[] = "071d093c-8cce-11d5-bfd3-0000e2430653";

enum Hive : std::int32_t { kLocalMachine = 1, kCurrentUser = 2 };

/* Access bits of a key handle. */
enum Access : std::uint32_t {
  kAccessSetValue = 0x001,
  kAccessCreateKey = 0x002,
  kAccessQueryValue = 0x004,
  kAccessEnumerate = 0x008,
  kAccessDeleteValue = 0x010,
  kAccessDeleteKey = 0x020,
  kAccessNotify = 0x040,
  kAccessReadControl = 0x080,
  kAccessWriteControl = 0x100,
  kAccessOpen = 0x200,
  /* Read-only (716) and read/write (1023) handles. */
  kAccessRead =
      kAccessQueryValue | kAccessEnumerate | kAccessNotify | kAccessReadControl | kAccessOpen,
  kAccessAll = 0x3ff
};

/* Value types. */
enum ValueType : std::int32_t {
  kTypeBytes = 1,
  kTypeInt32 = 2,
  kTypeInt64 = 3,
  kTypeString = 4,
  kTypeStringList = 5
};

/* Limits: a name's length in bytes, a value's size in bytes (a list counts
 * its strings with their terminating zeros) and a list's number of strings. */
constexpr std::size_t kMaxNameLength = 255;
constexpr std::size_t kMaxValueSize = 16u << 20;
constexpr std::size_t kMaxListLength = 1u << 20;

/* A counted array of zero-terminated strings. */
struct StringList {
  std::uint32_t length;
  char** buffer;
};

/* The value record: `type` says which member of `u` is live. A record handed
 * out by getValue owns its memory (zobMalloc'ed) and is freed with
 * zobRegFreeValue; a record passed to setValue is only read. */
struct Value {
  ValueType type;
  union {
    struct {
      std::uint32_t length;
      unsigned char* data;
    } bytes;
    std::int32_t i32;
    std::int64_t i64;
    char* str;
    StringList list;
  } u;
};

inline Value makeInt32(std::int32_t x) {
  Value v{};
  v.type = kTypeInt32;
  v.u.i32 = x;
  return v;
}

inline Value makeInt64(std::int64_t x) {
  Value v{};
  v.type = kTypeInt64;
  v.u.i64 = x;
  return v;
}

/* The record points at `s`; it does not copy. */
inline Value makeString(const char* s) {
  Value v{};
  v.type = kTypeString;
  v.u.str = const_cast<char*>(s);
  return v;
}

class IRegistry : public IUnknown {
 public:
  static constexpr char IID[] = "IDL:zob/regdb/IRegistry:1.0";

  /* Opens the root of a hive with an access mask (kAccessRead, kAccessAll
   * or any combination of the bits). */
  virtual ZResult openRoot(Hive hive, std::uint32_t access, int* key) = 0;
  /* Opens the existing child `name` of `parent`. */
  virtual ZResult openKey(int parent, const char* name, int* key) = 0;
  /* Opens the child `name`, making it when missing; *created (when given)
   * says whether it was made. */
  virtual ZResult createKey(int parent, const char* name, int* key, bool* created) = 0;
  /* Fills *out with a copy of the value (free it with zobRegFreeValue). */
  virtual ZResult getValue(int key, const char* name, Value* out) = 0;
  virtual ZResult setValue(int key, const char* name, const Value* value) = 0;
  virtual ZResult deleteValue(int key, const char* name) = 0;
  /* Names of the children or of the values, sorted bytewise (free the list
   * with zobRegFreeStringList). */
  virtual ZResult listKeys(int key, StringList* out) = 0;
  virtual ZResult listValues(int key, StringList* out) = 0;
  /* Deletes the child `name` with its values; a child that has children of
   * its own needs `recursive`, else zob::kKeyNotEmpty. */
  virtual ZResult deleteKey(int parent, const char* name, bool recursive) = 0;
  virtual ZResult closeKey(int key) = 0;
  /* Moves committed changes of the key's hive from the log into the main
   * database file. Changes are durable once their operation returns; this
   * only keeps the log short. */
  virtual ZResult flush(int key) = 0;

 protected:
  ~IRegistry() = default;
};

using IRegistry_Adapter = Adapter<IRegistry>;

}  // namespace zob::regdb

/* Frees the memory a value record owns and leaves it an empty type-2 value.
 * Null does nothing. */
ZOB_API void zobRegFreeValue(zob::regdb::Value* value);
/* Frees every string of the list and its buffer, and empties it. */
ZOB_API void zobRegFreeStringList(zob::regdb::StringList* list);

#endif
