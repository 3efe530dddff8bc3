/* GFile and GDirectory: path-level helpers of the utility library over the
 * runtime's file operations (ktz/ktz_file.h).
 *
 *   std::string dir = GDirectory::unix2nativePath("/tmp//data/");
 *   if (!GDirectory::exists(dir)) GDirectory::create(dir);
 *   GFile::exists(dir + "/a.txt");
 *
 * Paths are written with "/" in this library; unix2nativePath turns them
 * into the platform's form, which on this platform only drops repeated and
 * trailing separators. All functions are static, keep no state and may be
 * called from any thread. */
#ifndef VORN_VORN_FILE_H
#define VORN_VORN_FILE_H

#include <cstdint>
#include <string>

#include <zob/zob_api.h>
#include <zob/zob_result.h>

class ZOB_API GFile {
 public:
  GFile() = delete;

  /* True when `path` names a regular file (links followed). */
  static bool exists(const std::string& path);
  /* The size in bytes into *size. */
  static ZResult getSize(const std::string& path, std::uint64_t* size);
  /* Removes a file or link. */
  static ZResult remove(const std::string& path);
};

class ZOB_API GDirectory {
 public:
  GDirectory() = delete;

  /* The platform's form of a path written with "/": runs of "/" become one
   * and a trailing "/" is dropped (the root "/" stays). */
  static std::string unix2nativePath(const std::string& path);
  /* The reverse: a path in the platform's form written with "/". */
  static std::string native2unixPath(const std::string& path);
  /* True when `path` names a directory (links followed). */
  static bool exists(const std::string& path);
  /* Creates the directory; with `parents`, missing parents too, and an
   * existing directory is then no failure. */
  static ZResult create(const std::string& path, bool parents = false);
};

#endif
