/* Helpers shared by the tests: temporary folders that clean up after
 * themselves, reading files, running a function in a child process. */
#ifndef KELP_TEST_SUPPORT_H
#define KELP_TEST_SUPPORT_H

#include <functional>
#include <string>

namespace kelp::test {

/* A fresh folder under $TMPDIR, removed with everything in it on
 * destruction. */
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& path() const { return path_; }
  /* path() + "/" + name */
  std::string file(const std::string& name) const;

 private:
  std::string path_;
};

std::string readFile(const std::string& path);
void writeFile(const std::string& path, const std::string& content);
/* The path of a file under tests/data. */
std::string dataFile(const std::string& name);

struct ChildResult {
  int exitStatus = -1;  // exit status, or -1 when killed by a signal
  int signal = 0;       // the signal that ended the child, or 0
  std::string stderrText;
  std::string stdoutText;
};

/* Runs fn in a forked child (whose exit status is fn's result unless fn
 * exits itself) and collects its exit status and output. */
ChildResult runInChild(const std::function<int()>& fn);

}  // namespace kelp::test

#endif
