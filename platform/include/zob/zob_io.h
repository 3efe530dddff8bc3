/* Byte streams of the object model: zob::io::IInputStream and
 * zob::io::IOutputStream, with implementations over files, file
 * descriptors and memory.
 *
 * Streams are reference counted like every object-model object; each
 * zobCreate... function hands out one reference that the caller releases
 * (zob::Ref::adopt takes it over). A stream is used by one thread at a time.
 *
 *   zob::Ref<zob::io::IInputStream> in;
 *   if (EFAILED(zobCreateFileInputStream(path, in.out()))) return false;
 *   char block[4096];
 *   std::size_t n = 0;
 *   while (!EFAILED(in->read(block, sizeof block, &n)) && n > 0) use(block, n);
 */
#ifndef ZOB_ZOB_IO_H
#define ZOB_ZOB_IO_H

#include <cstddef>

#include <zob/zob_api.h>
#include <zob/zob_result.h>
#include <zob/zob_unknown.h>

namespace zob::io {

class IInputStream : public IUnknown {
 public:
  static constexpr char IID[] = "IDL:zob/io/IInputStream:1.0";

  /* Reads up to size bytes into buffer and stores the number read in *count:
   * at least one byte while the stream has data, 0 at its end (or when size
   * is 0). A read error gives a failure code (zob::kIOError) with *count 0;
   * null buffer (with size > 0) or count gives zob::kInvalidArgument. */
  virtual ZResult read(void* buffer, std::size_t size, std::size_t* count) = 0;

 protected:
  ~IInputStream() = default;
};

using IInputStream_Adapter = Adapter<IInputStream>;

class IOutputStream : public IUnknown {
 public:
  static constexpr char IID[] = "IDL:zob/io/IOutputStream:1.0";

  /* Writes all size bytes of data. *count (count may be null) receives the
   * number written, which is size on success. A failed write gives
   * zob::kWriteFailure, with *count telling how many bytes went out. */
  virtual ZResult write(const void* data, std::size_t size, std::size_t* count) = 0;
  /* Pushes out what the stream buffers; zob::kWriteFailure on error. */
  virtual ZResult flush() = 0;

 protected:
  ~IOutputStream() = default;
};

using IOutputStream_Adapter = Adapter<IOutputStream>;

/* An output stream that collects the bytes written to it in memory. */
class IMemoryOutputStream : public IOutputStream {
 public:
  static constexpr char IID[] = "IDL:zob/io/IMemoryOutputStream:1.0";

  /* The bytes written so far. *data stays valid until the next write or
   * clear; it is followed by a NUL byte that is not counted in *size. */
  virtual ZResult getData(const char** data, std::size_t* size) = 0;
  /* Forgets the bytes written so far. */
  virtual void clear() = 0;

 protected:
  ~IMemoryOutputStream() = default;
};

using IMemoryOutputStream_Adapter = Adapter<IMemoryOutputStream>;

}  // namespace zob::io

/* Opens a file for reading. Fails with zob::kNotFound when it does not
 * exist, zob::kPermissionDenied when it may not be read, zob::kIOError for
 * other failures (a folder, for instance), zob::kInvalidArgument for null
 * arguments; *out is then null. */
ZOB_API ZResult zobCreateFileInputStream(const char* path, zob::io::IInputStream** out);

/* A stream reading from an open file descriptor; with `own` the stream
 * closes it when the last reference goes. */
ZOB_API ZResult zobCreateFdInputStream(int fd, bool own, zob::io::IInputStream** out);

/* A stream reading size bytes of memory. With `copy` the stream keeps its own
 * copy; otherwise the memory must outlive the stream. */
ZOB_API ZResult zobCreateMemoryInputStream(const void* data, std::size_t size, bool copy,
                                           zob::io::IInputStream** out);

/* Creates (or truncates) a file for writing, with permissions 0666 less the
 * umask. Failure codes as for zobCreateFileInputStream. */
ZOB_API ZResult zobCreateFileOutputStream(const char* path, zob::io::IOutputStream** out);

/* A stream writing to an open file descriptor; with `own` the stream closes
 * it when the last reference goes. */
ZOB_API ZResult zobCreateFdOutputStream(int fd, bool own, zob::io::IOutputStream** out);

/* An empty memory output stream. */
ZOB_API ZResult zobCreateMemoryOutputStream(zob::io::IMemoryOutputStream** out);

#endif
