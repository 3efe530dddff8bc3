// Byte streams over file descriptors and memory.
#include <zob/zob_io.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

#include <zob/zob_mem.h>

#include "zob/zob_counted_impl.h"

namespace {

using zob::io::IInputStream;
using zob::io::IMemoryOutputStream;
using zob::io::IOutputStream;

using zob::detail::Counted;

ZResult errnoResult(int e) {
  switch (e) {
    case ENOENT:
    case ENOTDIR:
      return zob::kNotFound;
    case EACCES:
    case EPERM:
      return zob::kPermissionDenied;
    case ENOMEM:
      return zob::kOutOfMemory;
    default:
      return zob::kIOError;
  }
}

class FdInputStream final : public Counted<IInputStream> {
 public:
  FdInputStream(int fd, bool own) : fd_(fd), own_(own) {}
  ~FdInputStream() override {
    if (own_) ::close(fd_);
  }
  ZResult read(void* buffer, std::size_t size, std::size_t* count) override {
    if (!count) return zob::kInvalidArgument;
    *count = 0;
    if (size == 0) return zob::kOk;
    if (!buffer) return zob::kInvalidArgument;
    for (;;) {
      ssize_t n = ::read(fd_, buffer, size);
      if (n >= 0) {
        *count = static_cast<std::size_t>(n);
        return zob::kOk;
      }
      if (errno != EINTR) return zob::kIOError;
    }
  }

 private:
  int fd_;
  bool own_;
};

class MemoryInputStream final : public Counted<IInputStream> {
 public:
  MemoryInputStream(const char* data, std::size_t size, char* owned)
      : data_(data), size_(size), owned_(owned) {}
  ~MemoryInputStream() override { zobFree(owned_); }
  ZResult read(void* buffer, std::size_t size, std::size_t* count) override {
    if (!count) return zob::kInvalidArgument;
    *count = 0;
    if (size == 0) return zob::kOk;
    if (!buffer) return zob::kInvalidArgument;
    std::size_t n = size_ - pos_ < size ? size_ - pos_ : size;
    if (n) std::memcpy(buffer, data_ + pos_, n);
    pos_ += n;
    *count = n;
    return zob::kOk;
  }

 private:
  const char* data_;
  std::size_t size_;
  std::size_t pos_ = 0;
  char* owned_;
};

class FdOutputStream final : public Counted<IOutputStream> {
 public:
  FdOutputStream(int fd, bool own) : fd_(fd), own_(own) {}
  ~FdOutputStream() override {
    if (own_) ::close(fd_);
  }
  ZResult write(const void* data, std::size_t size, std::size_t* count) override {
    if (count) *count = 0;
    if (!data && size) return zob::kInvalidArgument;
    const char* p = static_cast<const char*>(data);
    std::size_t done = 0;
    while (done < size) {
      ssize_t n = ::write(fd_, p + done, size - done);
      if (n < 0) {
        if (errno == EINTR) continue;
        if (count) *count = done;
        return zob::kWriteFailure;
      }
      done += static_cast<std::size_t>(n);
    }
    if (count) *count = done;
    return zob::kOk;
  }
  ZResult flush() override { return zob::kOk; }  // nothing is buffered here

 private:
  int fd_;
  bool own_;
};

class MemoryOutputStream final : public Counted<IMemoryOutputStream, IOutputStream> {
 public:
  ~MemoryOutputStream() override { zobFree(data_); }
  ZResult write(const void* data, std::size_t size, std::size_t* count) override {
    if (count) *count = 0;
    if (!data && size) return zob::kInvalidArgument;
    if (size == 0) return zob::kOk;
    if (!data_ || capacity_ - 1 - size_ < size) {
      std::size_t want = capacity_ ? capacity_ : 256;
      while (want - 1 - size_ < size) {
        if (want > (static_cast<std::size_t>(-1) >> 2)) return zob::kWriteFailure;
        want *= 2;
      }
      char* grown = static_cast<char*>(zobRealloc(data_, want));
      if (!grown) return zob::kWriteFailure;
      data_ = grown;
      capacity_ = want;
    }
    std::memcpy(data_ + size_, data, size);
    size_ += size;
    data_[size_] = '\0';
    if (count) *count = size;
    return zob::kOk;
  }
  ZResult flush() override { return zob::kOk; }
  ZResult getData(const char** data, std::size_t* size) override {
    if (!data || !size) return zob::kInvalidArgument;
    *data = data_ ? data_ : "";
    *size = size_;
    return zob::kOk;
  }
  void clear() override {
    size_ = 0;
    if (data_) data_[0] = '\0';
  }

 private:
  char* data_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

template <class T, class I, class... Args>
ZResult make(I** out, Args&&... args) {
  T* p = new (std::nothrow) T(static_cast<Args&&>(args)...);
  if (!p) return zob::kOutOfMemory;
  *out = p;
  return zob::kOk;
}

ZResult openFile(const char* path, int flags, int* fd) {
  for (;;) {
    *fd = ::open(path, flags | O_CLOEXEC, 0666);
    if (*fd >= 0) return zob::kOk;
    if (errno != EINTR) return errnoResult(errno);
  }
}

}  // namespace

ZResult zobCreateFileInputStream(const char* path, IInputStream** out) {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  if (!path) return zob::kInvalidArgument;
  int fd = -1;
  ZResult r = openFile(path, O_RDONLY, &fd);
  if (EFAILED(r)) return r;
  struct stat st;
  if (::fstat(fd, &st) != 0 || S_ISDIR(st.st_mode)) {
    ::close(fd);
    return zob::kIOError;
  }
  r = make<FdInputStream>(out, fd, true);
  if (EFAILED(r)) ::close(fd);
  return r;
}

ZResult zobCreateFdInputStream(int fd, bool own, IInputStream** out) {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  if (fd < 0) return zob::kInvalidArgument;
  return make<FdInputStream>(out, fd, own);
}

ZResult zobCreateMemoryInputStream(const void* data, std::size_t size, bool copy,
                                   IInputStream** out) {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  if (!data && size) return zob::kInvalidArgument;
  char* owned = nullptr;
  if (copy && size) {
    owned = static_cast<char*>(zobMalloc(size));
    if (!owned) return zob::kOutOfMemory;
    std::memcpy(owned, data, size);
  }
  const char* bytes = owned ? owned : static_cast<const char*>(data);
  ZResult r = make<MemoryInputStream>(out, bytes, size, owned);
  if (EFAILED(r)) zobFree(owned);
  return r;
}

ZResult zobCreateFileOutputStream(const char* path, IOutputStream** out) {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  if (!path) return zob::kInvalidArgument;
  int fd = -1;
  ZResult r = openFile(path, O_WRONLY | O_CREAT | O_TRUNC, &fd);
  if (EFAILED(r)) return r;
  r = make<FdOutputStream>(out, fd, true);
  if (EFAILED(r)) ::close(fd);
  return r;
}

ZResult zobCreateFdOutputStream(int fd, bool own, IOutputStream** out) {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  if (fd < 0) return zob::kInvalidArgument;
  return make<FdOutputStream>(out, fd, own);
}

ZResult zobCreateMemoryOutputStream(IMemoryOutputStream** out) {
  if (!out) return zob::kInvalidArgument;
  *out = nullptr;
  return make<MemoryOutputStream>(out);
}
