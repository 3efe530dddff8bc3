// Funcs: file copies and directory removal with every failure logged.
#define QUV_SOURCE_NAME "utl_Funcs"

#include <kelp/util/utl_Funcs.h>

#include <cstring>
#include <memory>
#include <new>

#include <kelp/util/utl_Logger.h>
#include <ktz/ktz_file.h>
#include <vorn/vorn_file.h>

namespace qor::quv::util {

namespace {

constexpr std::size_t kCopyBlock = 32768;
constexpr int kOpenForReading = kKtzFileRead;                                       // 1
constexpr int kOpenForWriting = kKtzFileWrite | kKtzFileCreate | kKtzFileTruncate;  // 82
/* Entry names are read into this many bytes, the terminator included. */
constexpr std::size_t kMaxEntryName = 256;

void logFailure(fw::IApplication* app, const char* tmpl, const std::string& name, ZResult r) {
  eDebug(app, QUV_LOG_CATEGORY, std::string(tmpl) << name << zobStrError(r));
}

/* Removes everything inside `dir`; the first failure, or success. */
ZResult removeContents(fw::IApplication* app, const std::string& dir) {
  KtzDir* handle = nullptr;
  ZResult r = ktzDirOpen(dir.c_str(), &handle);
  if (EFAILED(r)) {
    logFailure(app, "Failed to open directory %1: %2", dir, r);
    return r;
  }
  ZResult result = zob::kOk;
  auto keep = [&result](ZResult failure) {
    if (!EFAILED(result)) result = failure;
  };
  std::string path(dir);
  for (;;) {
    char name[kMaxEntryName];
    r = ktzDirRead(handle, name, sizeof name);
    if (r == zob::kEndOfStream) break;
    if (EFAILED(r)) {
      logFailure(app, "Failed to read directory entry of %1: %2", dir, r);
      keep(r);
      break;
    }
    // Room for the directory, a separator and the longest entry name.
    std::unique_ptr<char[]> full(new (std::nothrow) char[dir.size() + kMaxEntryName + 2]);
    if (!full) {
      keep(zob::kOutOfMemory);
      break;
    }
    std::memcpy(full.get(), dir.c_str(), dir.size() + 1);
    r = ktzAppendToPath(full.get(), dir.size() + kMaxEntryName + 2, name);
    if (EFAILED(r)) {
      logFailure(app, "Failed to remove %1: %2", dir + "/" + name, r);
      keep(r);
      continue;
    }
    int type = 0;
    r = ktzGetFileType(full.get(), &type);
    if (EFAILED(r)) {
      logFailure(app, "Failed to get file type of %1: %2", full.get(), r);
      keep(r);
      continue;
    }
    switch (type) {
      case kKtzFileTypeDirectory:
        r = Funcs::removeDirectory(app, full.get(), true);
        if (EFAILED(r)) keep(r);
        break;
      case kKtzFileTypeRegular:
      case kKtzFileTypeLink:  // the link itself goes, never what it points to
        r = ktzRemoveFile(full.get());
        if (EFAILED(r)) {
          logFailure(app, "Failed to remove %1: %2", full.get(), r);
          keep(r);
        }
        break;
      default:
        eDebug(app, QUV_LOG_CATEGORY, std::string("Unknown file type: %1") << full.get());
        keep(zob::kUnsupported);
        break;
    }
  }
  r = ktzDirClose(handle);
  if (EFAILED(r)) {
    logFailure(app, "Failed to close directory %1: %2", dir, r);
    keep(r);
  }
  return result;
}

}  // namespace

ZResult Funcs::copyFile(fw::IApplication* app, const std::string& from, const std::string& to) {
  KtzFile* in = nullptr;
  ZResult r = ktzFileOpen(from.c_str(), kOpenForReading, &in);
  if (EFAILED(r)) {
    logFailure(app, "Can't open %1 for reading: %2", from, r);
    return r;
  }
  ZResult result = zob::kOk;
  KtzFile* out = nullptr;
  r = ktzFileOpen(to.c_str(), kOpenForWriting, &out);
  if (EFAILED(r)) {
    logFailure(app, "Can't open %1 for writing: %2", to, r);
    result = r;
  }

  if (out) {
    std::unique_ptr<char[]> buffer(new (std::nothrow) char[kCopyBlock]);
    if (!buffer) result = zob::kOutOfMemory;
    while (buffer) {
      std::size_t got = 0;
      r = ktzFileRead(in, buffer.get(), kCopyBlock, &got);
      if (EFAILED(r)) {
        logFailure(app, "Read error on %1: %2", from, r);
        result = r;
        break;
      }
      if (got == 0) break;
      std::size_t written = 0;
      r = ktzFileWrite(out, buffer.get(), got, &written);
      if (EFAILED(r)) {
        logFailure(app, "Write error on %1: %2", to, r);
        result = r;
        break;
      }
      if (written < got) {
        eDebug(app, QUV_LOG_CATEGORY,
               std::string("Short write on %1 (wrote %2 of %3 bytes).")
                   << to << static_cast<unsigned int>(written) << static_cast<unsigned int>(got));
        result = zob::kWriteFailure;
        break;
      }
    }
    r = ktzFileClose(out);
    if (EFAILED(r)) {
      logFailure(app, "Failed to close %1 after writing: %2", to, r);
      if (!EFAILED(result)) result = r;
    }
  }

  r = ktzFileClose(in);
  if (EFAILED(r)) {
    logFailure(app, "Failed to close %1 after reading: %2", from, r);
    if (!EFAILED(result)) result = r;
  }
  return result;
}

ZResult Funcs::removeDirectory(fw::IApplication* app, const std::string& path, bool recursive) {
  const std::string native = GDirectory::unix2nativePath(path);
  ZResult result = zob::kOk;
  if (recursive) result = removeContents(app, native);
  const ZResult r = ktzRemoveDirectory(native.c_str());
  if (EFAILED(r)) {
    logFailure(app, "Failed to remove %1: %2", native, r);
    if (!EFAILED(result)) result = r;
  }
  return result;
}

}  // namespace qor::quv::util
