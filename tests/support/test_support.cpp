// Helpers shared by the tests.
#include "test_support.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace kelp::test {

TempDir::TempDir() {
  const char* base = std::getenv("TMPDIR");
  std::string tmpl = std::string(base && *base ? base : "/tmp") + "/kelp-test-XXXXXX";
  if (!mkdtemp(tmpl.data())) throw std::runtime_error("mkdtemp failed");
  path_ = tmpl;
}

TempDir::~TempDir() {
  std::error_code ec;
  // Make unreadable folders removable again before removing the tree.
  for (auto it = std::filesystem::recursive_directory_iterator(
           path_, std::filesystem::directory_options::skip_permission_denied, ec);
       !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec))
    std::filesystem::permissions(it->path(), std::filesystem::perms::owner_all,
                                 std::filesystem::perm_options::add, ec);
  std::filesystem::remove_all(path_, ec);
}

std::string TempDir::file(const std::string& name) const {
  return path_ + "/" + name;
}

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

void writeFile(const std::string& path, const std::string& content) {
  std::ofstream out(path, std::ios::binary);
  out << content;
}

std::string dataFile(const std::string& name) {
  return std::string(KELP_TEST_DATA_DIR) + "/" + name;
}

namespace {
std::string drain(int fd) {
  std::string out;
  char buf[4096];
  ssize_t n;
  while ((n = read(fd, buf, sizeof buf)) > 0) out.append(buf, static_cast<size_t>(n));
  close(fd);
  return out;
}
}  // namespace

ChildResult runInChild(const std::function<int()>& fn) {
  ChildResult result;
  TempDir dir;
  std::string errPath = dir.file("stderr"), outPath = dir.file("stdout");
  fflush(nullptr);
  pid_t pid = fork();
  if (pid == 0) {
    int e = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    int o = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(e, 2);
    dup2(o, 1);
    int status = fn();
    fflush(nullptr);
    _exit(status);
  }
  int status = 0;
  waitpid(pid, &status, 0);
  if (WIFEXITED(status)) result.exitStatus = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  result.stderrText = drain(open(errPath.c_str(), O_RDONLY));
  result.stdoutText = drain(open(outPath.c_str(), O_RDONLY));
  return result;
}

}  // namespace kelp::test
