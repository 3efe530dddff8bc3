// Path-level file and directory helpers.
#include <vorn/vorn_file.h>

#include <ktz/ktz_file.h>

#include <sys/stat.h>

bool GFile::exists(const std::string& path) {
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

ZResult GFile::getSize(const std::string& path, std::uint64_t* size) {
  if (!size) return zob::kInvalidArgument;
  *size = 0;
  struct stat st {};
  if (::stat(path.c_str(), &st) != 0) return zob::kNotFound;
  if (S_ISDIR(st.st_mode)) return zob::kIsDirectory;
  *size = static_cast<std::uint64_t>(st.st_size);
  return zob::kOk;
}

ZResult GFile::remove(const std::string& path) {
  return ktzRemoveFile(path.c_str());
}

std::string GDirectory::unix2nativePath(const std::string& path) {
  std::string out;
  out.reserve(path.size());
  for (const char c : path) {
    if (c == '/' && !out.empty() && out.back() == '/') continue;
    out += c;
  }
  if (out.size() > 1 && out.back() == '/') out.pop_back();
  return out;
}

std::string GDirectory::native2unixPath(const std::string& path) {
  return unix2nativePath(path);
}

bool GDirectory::exists(const std::string& path) {
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

ZResult GDirectory::create(const std::string& path, bool parents) {
  const std::string p = unix2nativePath(path);
  if (p.empty()) return zob::kInvalidArgument;
  if (!parents) return ktzCreateDirectory(p.c_str());
  for (std::size_t pos = p.find('/', 1);; pos = p.find('/', pos + 1)) {
    const std::string prefix = p.substr(0, pos);
    if (!exists(prefix)) {
      const ZResult r = ktzCreateDirectory(prefix.c_str());
      if (r == zob::kExists && !exists(prefix)) return zob::kNotDirectory;  // a file is in the way
      if (EFAILED(r) && r != zob::kExists) return r;
    }
    if (pos == std::string::npos) break;
  }
  return zob::kOk;
}
