// Files and directories over POSIX file descriptors and directory streams.
#include <ktz/ktz_file.h>

#include <cerrno>
#include <cstring>
#include <new>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

struct KtzFile {
  int fd;
};

struct KtzDir {
  DIR* dir;
};

namespace {

ZResult fromErrno(int err) {
  switch (err) {
    case 0:
      return zob::kOk;
    case ENOENT:
      return zob::kNotFound;
    case EACCES:
    case EPERM:
      return zob::kPermissionDenied;
    case EEXIST:
      return zob::kExists;
    case ENOTDIR:
      return zob::kNotDirectory;
    case EISDIR:
      return zob::kIsDirectory;
    case ENOTEMPTY:
      return zob::kNotEmpty;
    case ENOSPC:
    case EDQUOT:
      return zob::kNoSpace;
    case EROFS:
      return zob::kReadOnlyFileSystem;
    case ENAMETOOLONG:
      return zob::kNameTooLong;
    case ENOMEM:
      return zob::kOutOfMemory;
    case EINVAL:
    case EBADF:
      return zob::kInvalidArgument;
    case EBUSY:
      return zob::kBusy;
    case EAGAIN:
      return zob::kWouldBlock;
    default:
      return zob::kIOError;
  }
}

}  // namespace

ZResult ktzFileOpen(const char* path, int flags, KtzFile** out) {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  if (!path) return zob::kInvalidArgument;
  const bool rd = (flags & kKtzFileRead) != 0;
  const bool wr = (flags & kKtzFileWrite) != 0;
  if (!rd && !wr) return zob::kInvalidArgument;
  int oflags = rd && wr ? O_RDWR : (wr ? O_WRONLY : O_RDONLY);
  if (flags & kKtzFileAppend) oflags |= O_APPEND;
  if (flags & kKtzFileCreate) oflags |= O_CREAT;
  if (flags & kKtzFileExclusive) oflags |= O_EXCL;
  if (flags & kKtzFileTruncate) oflags |= O_TRUNC;
  oflags |= O_CLOEXEC;
  int fd;
  do {
    fd = ::open(path, oflags, 0666);
  } while (fd < 0 && errno == EINTR);
  if (fd < 0) return fromErrno(errno);
  auto* f = new (std::nothrow) KtzFile{fd};
  if (!f) {
    ::close(fd);
    return zob::kOutOfMemory;
  }
  *out = f;
  return zob::kOk;
}

ZResult ktzFileRead(KtzFile* file, void* buffer, std::size_t n, std::size_t* got) {
  if (got) *got = 0;
  if (!file || !got || (!buffer && n > 0)) return zob::kInvalidArgument;
  ssize_t r;
  do {
    r = ::read(file->fd, buffer, n);
  } while (r < 0 && errno == EINTR);
  if (r < 0) return fromErrno(errno);
  *got = static_cast<std::size_t>(r);
  return zob::kOk;
}

ZResult ktzFileWrite(KtzFile* file, const void* buffer, std::size_t n, std::size_t* written) {
  if (written) *written = 0;
  if (!file || !written || (!buffer && n > 0)) return zob::kInvalidArgument;
  ssize_t r;
  do {
    r = ::write(file->fd, buffer, n);
  } while (r < 0 && errno == EINTR);
  if (r < 0) return fromErrno(errno);
  *written = static_cast<std::size_t>(r);
  return zob::kOk;
}

ZResult ktzFileClose(KtzFile* file) {
  if (!file) return zob::kInvalidArgument;
  // No retry after EINTR: on Linux the descriptor is gone either way.
  const int r = ::close(file->fd);
  const int err = errno;
  delete file;
  return r == 0 ? zob::kOk : fromErrno(err);
}

ZResult ktzDirOpen(const char* path, KtzDir** out) {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  if (!path) return zob::kInvalidArgument;
  DIR* d = ::opendir(path);
  if (!d) return fromErrno(errno);
  auto* dir = new (std::nothrow) KtzDir{d};
  if (!dir) {
    ::closedir(d);
    return zob::kOutOfMemory;
  }
  *out = dir;
  return zob::kOk;
}

ZResult ktzDirRead(KtzDir* dir, char* name, std::size_t size) {
  if (!dir || !name || size == 0) return zob::kInvalidArgument;
  name[0] = '\0';
  for (;;) {
    errno = 0;
    const dirent* e = ::readdir(dir->dir);
    if (!e) return errno ? fromErrno(errno) : zob::kEndOfStream;
    if (std::strcmp(e->d_name, ".") == 0 || std::strcmp(e->d_name, "..") == 0) continue;
    const std::size_t len = std::strlen(e->d_name);
    if (len >= size) return zob::kNameTooLong;
    std::memcpy(name, e->d_name, len + 1);
    return zob::kOk;
  }
}

ZResult ktzDirClose(KtzDir* dir) {
  if (!dir) return zob::kInvalidArgument;
  const int r = ::closedir(dir->dir);
  const int err = errno;
  delete dir;
  return r == 0 ? zob::kOk : fromErrno(err);
}

ZResult ktzGetFileType(const char* path, int* type) {
  if (!type) return zob::kInvalidArgument;
  *type = 0;
  if (!path) return zob::kInvalidArgument;
  struct stat st {};
  if (::lstat(path, &st) != 0) return fromErrno(errno);
  if (S_ISREG(st.st_mode))
    *type = kKtzFileTypeRegular;
  else if (S_ISDIR(st.st_mode))
    *type = kKtzFileTypeDirectory;
  else if (S_ISLNK(st.st_mode))
    *type = kKtzFileTypeLink;
  else
    *type = kKtzFileTypeOther;
  return zob::kOk;
}

ZResult ktzCreateDirectory(const char* path) {
  if (!path) return zob::kInvalidArgument;
  return ::mkdir(path, 0777) == 0 ? zob::kOk : fromErrno(errno);
}

ZResult ktzRemoveFile(const char* path) {
  if (!path) return zob::kInvalidArgument;
  return ::unlink(path) == 0 ? zob::kOk : fromErrno(errno);
}

ZResult ktzRemoveDirectory(const char* path) {
  if (!path) return zob::kInvalidArgument;
  return ::rmdir(path) == 0 ? zob::kOk : fromErrno(errno);
}

ZResult ktzAppendToPath(char* path, std::size_t size, const char* name) {
  if (!path || !name || size == 0) return zob::kInvalidArgument;
  const std::size_t len = strnlen(path, size);
  if (len >= size) return zob::kInvalidArgument;  // not terminated within the buffer
  const bool slash = len > 0 && path[len - 1] != '/';
  const std::size_t add = std::strlen(name);
  const std::size_t total = len + (slash ? 1 : 0) + add;
  if (total >= size) return zob::kNameTooLong;
  if (slash) path[len] = '/';
  std::memcpy(path + len + (slash ? 1 : 0), name, add + 1);
  return zob::kOk;
}
