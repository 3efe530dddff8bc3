// RegNode: typed, logged access to one key of the registry database.
#define QUV_SOURCE_NAME "utl_RegNode"
#include <kelp/util/utl_RegNode.h>

#include <kelp/util/utl_Logger.h>
#include <ktz/ktz_atomic.h>
#include <zob/zob_mem.h>

#include <locale.h>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <locale>
#include <new>
#include <sstream>
#include <vector>

#include "util/utl_TextScan_impl.h"

namespace qor::quv::util {

using zob::regdb::Value;
using zob::regdb::ValueType;

struct RegNode::Data {
  Data(fw::IApplication* a, zob::regdb::IRegistry* r, int k, const std::string& p)
      : app(a), registry(r), key(k), path(p) {}
  ~Data() { close(); }

  void close() {
    if (!open) return;
    open = false;
    if (registry) registry->closeKey(key);
  }

  zob::Ref<fw::IApplication> app;
  zob::Ref<zob::regdb::IRegistry> registry;
  int key;
  std::string path;
  bool open = true;
  std::int32_t refs = 1;
};

namespace {

const char* str(const char* s) {
  return s ? s : "";
}

void logDebug(fw::IApplication* app, const std::string& text) {
  eDebug(app, QUV_LOG_CATEGORY, text);
}

// Reads a number as strtod does in the classic locale, whatever the
// process's locale says about the decimal point.
bool parseClassicDouble(const char* s, double* out) {
  static locale_t classic = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
  if (!classic) return false;
  char* end = nullptr;
  double d = strtod_l(s, &end, classic);
  if (end == s) return false;
  if (*detail::skipSpace(end)) return false;
  *out = d;
  return true;
}

}  // namespace

RegNode::RegNode() : data_(nullptr) {}

RegNode::RegNode(Data* data) : data_(data) {}

RegNode::RegNode(fw::IApplication* app, zob::regdb::IRegistry* registry, int key,
                 const std::string& path)
    : data_(new (std::nothrow) Data(app, registry, key, path)) {
  // Without the data record nobody would close the key.
  if (!data_ && registry) registry->closeKey(key);
}

RegNode::RegNode(const RegNode& other) : data_(other.data_) {
  if (data_) ktzAtomicIncrement(&data_->refs);
}

RegNode& RegNode::operator=(const RegNode& other) {
  if (this == &other) return *this;
  if (other.data_) ktzAtomicIncrement(&other.data_->refs);
  release();
  data_ = other.data_;
  return *this;
}

RegNode::~RegNode() {
  release();
}

void RegNode::release() {
  Data* d = data_;
  data_ = nullptr;
  if (!d) return;
  std::int32_t n = ktzAtomicDecrement(&d->refs);
  if (n < 0) std::abort();  // released more often than shared
  if (n == 0) delete d;
}

bool RegNode::isOpen() const {
  return data_ && data_->open;
}

zob::regdb::IRegistry* RegNode::getRegistry() const {
  return isOpen() ? data_->registry.get() : nullptr;
}

int RegNode::getKey() const {
  return isOpen() ? data_->key : 0;
}

std::string RegNode::getPath() const {
  return data_ ? data_->path : std::string();
}

void RegNode::close() {
  if (data_) data_->close();
}

bool RegNode::flush() {
  if (!isOpen()) return false;
  ZResult r = data_->registry->flush(data_->key);
  if (EFAILED(r)) {
    logDebug(data_->app.get(), std::string("Failed to flush registry node %1: %2")
                                   << data_->path << zobStrError(r));
    return false;
  }
  return true;
}

RegNode RegNode::openChild(const char* name, bool* created, bool create, bool mustBeNew,
                           bool quiet) const {
  if (created) *created = false;
  if (!isOpen()) return RegNode();
  std::string path = data_->path + "/" + str(name);
  int key = 0;
  bool made = false;
  ZResult r = create ? data_->registry->createKey(data_->key, name, &key, &made)
                     : data_->registry->openKey(data_->key, name, &key);
  if (!EFAILED(r) && mustBeNew && !made) {
    data_->registry->closeKey(key);
    r = zob::kExists;
  }
  if (EFAILED(r)) {
    bool expected = (r == zob::kNotFound && !create) || (r == zob::kExists && mustBeNew);
    if (!(quiet && expected))
      logDebug(data_->app.get(), std::string(create ? "Failed to create registry node %1: %2"
                                                    : "Failed to open registry node %1: %2")
                                     << path << zobStrError(r));
    return RegNode();
  }
  RegNode child(data_->app.get(), data_->registry.get(), key, path);
  if (created && child.isOpen()) *created = made;
  return child;
}

RegNode RegNode::open(const char* name, bool create, bool quiet) const {
  return openChild(name, nullptr, create, false, quiet);
}

RegNode RegNode::open(const char* name, bool* created, bool create) const {
  return openChild(name, created, create, false, false);
}

RegNode RegNode::create(const char* name, bool mustBeNew, bool quiet) const {
  return openChild(name, nullptr, true, mustBeNew, quiet);
}

RegNode RegNode::create(const char* name, bool* created, bool mustBeNew) const {
  return openChild(name, created, true, mustBeNew, false);
}

bool RegNode::deleteNode(const char* name, bool recursive) {
  if (!isOpen()) return false;
  ZResult r = data_->registry->deleteKey(data_->key, name, recursive);
  if (EFAILED(r) && r != zob::kNotFound) {
    logDebug(data_->app.get(), std::string("Failed to delete registry node %1/%2: %3")
                                   << data_->path << str(name) << zobStrError(r));
    return false;
  }
  return true;
}

namespace {

bool toList(const zob::regdb::StringList& l, std::list<std::string>* names) {
  try {
    std::list<std::string> out;
    for (std::uint32_t i = 0; i < l.length; ++i) out.emplace_back(str(l.buffer[i]));
    names->swap(out);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

}  // namespace

bool RegNode::listNodes(std::list<std::string>* names) const {
  if (!isOpen() || !names) return false;
  zob::regdb::StringList l{};
  ZResult r = data_->registry->listKeys(data_->key, &l);
  bool ok = !EFAILED(r) && toList(l, names);
  zobRegFreeStringList(&l);
  if (!ok)
    logDebug(data_->app.get(), std::string("Failed to list nodes of registry node %1: %2")
                                   << data_->path
                                   << zobStrError(EFAILED(r) ? r : zob::kOutOfMemory));
  return ok;
}

bool RegNode::listValues(std::list<std::string>* names) const {
  if (!isOpen() || !names) return false;
  zob::regdb::StringList l{};
  ZResult r = data_->registry->listValues(data_->key, &l);
  bool ok = !EFAILED(r) && toList(l, names);
  zobRegFreeStringList(&l);
  if (!ok)
    logDebug(data_->app.get(), std::string("Failed to list values of registry node %1: %2")
                                   << data_->path
                                   << zobStrError(EFAILED(r) ? r : zob::kOutOfMemory));
  return ok;
}

bool RegNode::deleteValue(const char* name) {
  if (!isOpen()) return false;
  ZResult r = data_->registry->deleteValue(data_->key, name);
  if (EFAILED(r) && r != zob::kNotFound) {
    logDebug(data_->app.get(), std::string("Failed to delete registry value %1/%2: %3")
                                   << data_->path << str(name) << zobStrError(r));
    return false;
  }
  return true;
}

// --- writing -----------------------------------------------------------------

bool RegNode::put(const char* name, const Value& value) {
  if (!isOpen()) return false;
  ZResult r = data_->registry->setValue(data_->key, name, &value);
  if (EFAILED(r)) {
    logDebug(data_->app.get(), std::string("Failed to set value %1 in node %2: %3")
                                   << str(name) << data_->path << zobStrError(r));
    return false;
  }
  return true;
}

bool RegNode::put(const char* name, bool value) {
  return put(name, zob::regdb::makeInt32(value ? 1 : 0));
}

bool RegNode::put(const char* name, int value) {
  return put(name, zob::regdb::makeInt32(value));
}

bool RegNode::put(const char* name, long value) {
  return put(name, zob::regdb::makeInt64(value));
}

bool RegNode::put(const char* name, const char* value) {
  return put(name, zob::regdb::makeString(str(value)));
}

bool RegNode::put(const char* name, const std::string& value) {
  // The database stores zero-terminated strings: an embedded zero would cut
  // the value short, so such a string is refused.
  if (value.find('\0') != std::string::npos) {
    if (isOpen())
      logDebug(data_->app.get(), std::string("Failed to set value %1 in node %2: %3")
                                     << str(name) << data_->path
                                     << zobStrError(zob::kInvalidArgument));
    return false;
  }
  return put(name, zob::regdb::makeString(value.c_str()));
}

bool RegNode::put(const char* name, const char** values) {
  Value v{};
  v.type = zob::regdb::kTypeStringList;
  std::size_t n = 0;
  if (values)
    while (values[n]) ++n;
  if (n > UINT32_MAX) n = UINT32_MAX;  // the database refuses such lists
  v.u.list.length = static_cast<std::uint32_t>(n);
  v.u.list.buffer = const_cast<char**>(values);
  return put(name, v);
}

bool RegNode::put(const char* name, const std::list<std::string>& values) {
  std::vector<const char*> items;
  try {
    items.reserve(values.size() + 1);
    for (const std::string& s : values) items.push_back(s.c_str());
    items.push_back(nullptr);
  } catch (const std::bad_alloc&) {
    if (isOpen())
      logDebug(data_->app.get(), std::string("Failed to set value %1 in node %2: %3")
                                     << str(name) << data_->path << zobStrError(zob::kOutOfMemory));
    return false;
  }
  return put(name, items.data());
}

bool RegNode::put(const char* name, const void* data, std::size_t length) {
  Value v{};
  v.type = zob::regdb::kTypeBytes;
  // Longer than the record can say: hand the database a length it refuses.
  v.u.bytes.length = length > UINT32_MAX ? UINT32_MAX : static_cast<std::uint32_t>(length);
  v.u.bytes.data = static_cast<unsigned char*>(const_cast<void*>(data));
  return put(name, v);
}

bool RegNode::put(const char* name, double value) {
  std::ostringstream os;
  os.imbue(std::locale::classic());
  os << value;
  return put(name, os.str());
}

// --- reading -----------------------------------------------------------------

bool RegNode::fetch(const char* name, ValueType type, Value* out) const {
  if (!isOpen()) return false;
  Value v{};
  ZResult r = data_->registry->getValue(data_->key, name, &v);
  if (r == zob::kNotFound) return false;
  if (EFAILED(r)) {
    logDebug(data_->app.get(), std::string("Failed to get value %1 in node %2: %3")
                                   << str(name) << data_->path << zobStrError(r));
    return false;
  }
  if (v.type == type) {
    *out = v;
    return true;
  }
  if (type == zob::regdb::kTypeInt64 && v.type == zob::regdb::kTypeInt32) {
    *out = zob::regdb::makeInt64(v.u.i32);
    return true;
  }
  if (type == zob::regdb::kTypeInt32 && v.type == zob::regdb::kTypeInt64 && v.u.i64 >= INT32_MIN &&
      v.u.i64 <= INT32_MAX) {
    *out = zob::regdb::makeInt32(static_cast<std::int32_t>(v.u.i64));
    return true;
  }
  logDebug(data_->app.get(), std::string("Value %1 in node %2 has wrong type (exp %3, got %4)")
                                 << str(name) << data_->path << static_cast<int>(type)
                                 << static_cast<int>(v.type));
  zobRegFreeValue(&v);
  return false;
}

bool RegNode::get(const char* name, bool* value) const {
  Value v{};
  if (!value || !fetch(name, zob::regdb::kTypeInt32, &v)) return false;
  *value = v.u.i32 != 0;
  return true;
}

bool RegNode::get(const char* name, int* value) const {
  Value v{};
  if (!value || !fetch(name, zob::regdb::kTypeInt32, &v)) return false;
  *value = v.u.i32;
  return true;
}

bool RegNode::get(const char* name, long* value) const {
  Value v{};
  if (!value || !fetch(name, zob::regdb::kTypeInt64, &v)) return false;
  *value = v.u.i64;
  return true;
}

bool RegNode::get(const char* name, std::string* value) const {
  Value v{};
  if (!value || !fetch(name, zob::regdb::kTypeString, &v)) return false;
  bool ok = true;
  try {
    value->assign(str(v.u.str));
  } catch (const std::bad_alloc&) {
    ok = false;
  }
  zobRegFreeValue(&v);
  return ok;
}

bool RegNode::get(const char* name, void* buffer, std::size_t capacity, std::size_t* length) const {
  Value v{};
  if (!fetch(name, zob::regdb::kTypeBytes, &v)) return false;
  std::size_t n = v.u.bytes.length;
  if (length) *length = n;
  bool fits = n <= capacity && (buffer || n == 0);
  if (fits) {
    if (n) std::memcpy(buffer, v.u.bytes.data, n);
  } else {
    logDebug(data_->app.get(), std::string("Value %1 in node %2 does not fit into %3 bytes")
                                   << str(name) << data_->path
                                   << std::to_string(buffer ? capacity : 0));
  }
  zobRegFreeValue(&v);
  return fits;
}

bool RegNode::get(const char* name, double* value) const {
  Value v{};
  if (!value || !fetch(name, zob::regdb::kTypeString, &v)) return false;
  double d = 0;
  bool ok = parseClassicDouble(str(v.u.str), &d);
  if (ok)
    *value = d;
  else
    logDebug(data_->app.get(), std::string("Value %1 of node %2 is not a floating point string: %3")
                                   << str(name) << data_->path << str(v.u.str));
  zobRegFreeValue(&v);
  return ok;
}

bool RegNode::get(const char* name, std::list<std::string>* values) const {
  Value v{};
  if (!values || !fetch(name, zob::regdb::kTypeStringList, &v)) return false;
  bool ok = toList(v.u.list, values);
  zobRegFreeValue(&v);
  return ok;
}

}  // namespace qor::quv::util
