// zobCreateInstance: the class table and object creation by class id.
#include <zob/zob_factory.h>

#include <mutex>
#include <string>
#include <vector>

#include <vorn/vorn_string.h>
#include <zob/zob_regdb.h>

#include "zob/zob_classes.h"

namespace {

struct ClassEntry {
  std::string classId;
  ZobClassFactory factory;
  // The platform's own factory, or null for a class added by the host.
  ZobClassFactory builtIn;
};

std::mutex& tableMutex() {
  static std::mutex m;
  return m;
}

std::vector<ClassEntry>& table() {
  static std::vector<ClassEntry> t{
      {zob::regdb::kRegistryClassId, &zob::detail::createRegistry, &zob::detail::createRegistry},
  };
  return t;
}

ClassEntry* findClass(const char* classId) {
  for (ClassEntry& e : table())
    if (gStrCaseCmp(e.classId.c_str(), classId) == 0) return &e;
  return nullptr;
}

}  // namespace

ZResult zobCreateInstance(const char* classId, const char* iid, zob::IUnknown** out) {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  if (!classId || !iid) return zob::kInvalidArgument;
  ZobClassFactory factory = nullptr;
  {
    std::lock_guard lock(tableMutex());
    ClassEntry* e = findClass(classId);
    if (!e) return zob::kNotFound;
    factory = e->factory;
  }
  zob::IUnknown* object = nullptr;
  ZResult r = factory(&object);
  if (EFAILED(r)) {
    if (object) object->_comRelease();
    return r;
  }
  if (!object) return zob::kInvalidState;
  zob::IUnknown* itf = nullptr;
  r = object->_comQueryInterface(iid, &itf);
  object->_comRelease();
  if (EFAILED(r)) {
    if (itf) itf->_comRelease();
    return r;
  }
  if (!itf) return zob::kNoInterface;
  *out = itf;
  return zob::kOk;
}

ZResult zobRegisterClass(const char* classId, ZobClassFactory factory) {
  if (!classId || !*classId || !factory) return zob::kInvalidArgument;
  std::lock_guard lock(tableMutex());
  if (ClassEntry* e = findClass(classId)) {
    e->factory = factory;
    return zob::kOk;
  }
  table().push_back({classId, factory, nullptr});
  return zob::kOk;
}

ZResult zobUnregisterClass(const char* classId) {
  if (!classId) return zob::kInvalidArgument;
  std::lock_guard lock(tableMutex());
  auto& t = table();
  for (auto it = t.begin(); it != t.end(); ++it) {
    if (gStrCaseCmp(it->classId.c_str(), classId) != 0) continue;
    if (!it->builtIn) {
      t.erase(it);
      return zob::kOk;
    }
    if (it->factory == it->builtIn) return zob::kPermissionDenied;
    it->factory = it->builtIn;
    return zob::kOk;
  }
  return zob::kNotFound;
}
