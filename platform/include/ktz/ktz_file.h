/* Files and directories of the portable runtime, over POSIX.
 *
 *   KtzFile* f = nullptr;
 *   if (!EFAILED(ktzFileOpen("a.txt", kKtzFileRead, &f))) {
 *     char buf[512];
 *     std::size_t got = 0;
 *     ktzFileRead(f, buf, sizeof buf, &got);   // got == 0 at the end
 *     ktzFileClose(f);
 *   }
 *
 * Every function returns a result code (zob_result.h): the C library's errno
 * mapped to the object model's codes (ENOENT to zob::kNotFound, EACCES and
 * EPERM to zob::kPermissionDenied, EISDIR to zob::kIsDirectory ...). Handles
 * belong to one thread at a time; different handles may be used on
 * different threads. Reads and writes retry after interruption by a signal;
 * they may still transfer fewer bytes than asked. */
#ifndef KTZ_KTZ_FILE_H
#define KTZ_KTZ_FILE_H

#include <cstddef>

#include <zob/zob_api.h>
#include <zob/zob_result.h>

/* Open flags; combine with |. Read-only is 1; write with creation and
 * truncation is kKtzFileWrite | kKtzFileCreate | kKtzFileTruncate (82). */
enum KtzFileFlags {
  kKtzFileRead = 0x01,
  kKtzFileWrite = 0x02,
  kKtzFileAppend = 0x04,
  kKtzFileExclusive = 0x08,
  kKtzFileCreate = 0x10,
  kKtzFileTruncate = 0x40,
};

/* Types ktzGetFileType reports; a symbolic link is reported as itself, not
 * as what it points to. */
enum KtzFileType {
  kKtzFileTypeRegular = 1,
  kKtzFileTypeDirectory = 2,
  kKtzFileTypeLink = 3,
  kKtzFileTypeOther = 4,
};

struct KtzFile;
struct KtzDir;

/* Opens `path`; new files get mode 0666 less the umask. Fails with
 * zob::kInvalidArgument for null arguments or flags without read or
 * write. */
ZOB_API ZResult ktzFileOpen(const char* path, int flags, KtzFile** out);
/* Reads up to n bytes; *got receives the count, 0 at the end of the file. */
ZOB_API ZResult ktzFileRead(KtzFile* file, void* buffer, std::size_t n, std::size_t* got);
/* Writes up to n bytes; *written receives the count stored. */
ZOB_API ZResult ktzFileWrite(KtzFile* file, const void* buffer, std::size_t n,
                             std::size_t* written);
/* Closes the file and frees the handle, also when closing fails (the
 * failure of a delayed write shows here). */
ZOB_API ZResult ktzFileClose(KtzFile* file);

/* Opens a directory for reading its entries. */
ZOB_API ZResult ktzDirOpen(const char* path, KtzDir** out);
/* The next entry's name into `name` (at most size - 1 bytes and a NUL); "."
 * and ".." are left out. zob::kEndOfStream after the last entry;
 * zob::kNameTooLong (and "" in name) when a name does not fit. */
ZOB_API ZResult ktzDirRead(KtzDir* dir, char* name, std::size_t size);
/* Closes the directory and frees the handle. */
ZOB_API ZResult ktzDirClose(KtzDir* dir);

/* The type of `path` itself (links are not followed) into *type. */
ZOB_API ZResult ktzGetFileType(const char* path, int* type);
/* Creates a directory with mode 0777 less the umask. */
ZOB_API ZResult ktzCreateDirectory(const char* path);
/* Removes a file or link (not a directory). */
ZOB_API ZResult ktzRemoveFile(const char* path);
/* Removes an empty directory. */
ZOB_API ZResult ktzRemoveDirectory(const char* path);

/* Appends `name` to the zero-terminated path in `path` (a buffer of `size`
 * bytes), with one "/" between them unless the path is empty or already
 * ends in one. zob::kNameTooLong, with the path unchanged, when the result
 * and its NUL do not fit. */
ZOB_API ZResult ktzAppendToPath(char* path, std::size_t size, const char* name);

#endif
