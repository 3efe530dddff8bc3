/* Runs the kelp tool as a process for the end-to-end tests: arguments,
 * optional standard input and environment, and what came back. */
#ifndef KELP_TEST_TOOL_RUNNER_H
#define KELP_TEST_TOOL_RUNNER_H

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "test_support.h"

namespace kelp::test {

struct ToolResult {
  int status = -1;  // exit status, or -1 when the tool died of a signal
  std::string out;
  std::string err;
};

/* Runs `kelp args...` with stdinText on standard input (empty: /dev/null's
 * worth) and env added to the environment. The working directory is the
 * source tree, so samples/... paths work as in the README. Standard output
 * goes to stdoutPath when one is given (e.g. "/dev/full"; out is then
 * empty). */
inline ToolResult runKelp(const std::vector<std::string>& args, const std::string& stdinText = "",
                          const std::map<std::string, std::string>& env = {},
                          const std::string& stdoutPath = "") {
  TempDir dir;
  std::string in = dir.file("stdin"), err = dir.file("stderr");
  std::string out = stdoutPath.empty() ? dir.file("stdout") : stdoutPath;
  writeFile(in, stdinText);
  pid_t pid = fork();
  if (pid == 0) {
    int fin = open(in.c_str(), O_RDONLY);
    int fout = open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    int ferr = open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (fin < 0 || fout < 0 || ferr < 0) _exit(127);
    dup2(fin, 0);
    dup2(fout, 1);
    dup2(ferr, 2);
    if (chdir(KELP_SOURCE_DIR) != 0) _exit(127);
    // A fixed environment: messages and numbers must not follow the
    // machine's locale unless a test asks for one.
    setenv("LC_ALL", "C", 1);
    unsetenv("LANG");
    unsetenv("KELP_LOG");
    for (const auto& [name, value] : env) setenv(name.c_str(), value.c_str(), 1);
    std::vector<char*> argv;
    std::string tool = KELP_TOOL_PATH;
    argv.push_back(tool.data());
    std::vector<std::string> copy = args;
    for (std::string& a : copy) argv.push_back(a.data());
    argv.push_back(nullptr);
    execv(tool.c_str(), argv.data());
    _exit(127);
  }
  ToolResult result;
  int wstatus = 0;
  if (pid > 0 && waitpid(pid, &wstatus, 0) == pid && WIFEXITED(wstatus))
    result.status = WEXITSTATUS(wstatus);
  if (stdoutPath.empty()) result.out = readFile(out);
  result.err = readFile(err);
  return result;
}

/* "ulimit -v KIB; " to cap a script's address space, or "" in sanitizer
 * builds, whose shadow memory needs terabytes of address space (the
 * streams fed there are cut by head instead). */
inline std::string memoryLimit(long kib) {
#if defined(__SANITIZE_ADDRESS__)
  (void)kib;
  return "";
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
  (void)kib;
  return "";
#else
  return "ulimit -v " + std::to_string(kib) + "; ";
#endif
#else
  return "ulimit -v " + std::to_string(kib) + "; ";
#endif
}

/* Runs a shell script with $KELP naming the tool, for pipelines such as
 * `head -c 1G /dev/zero | "$KELP" ...` under `ulimit -v`; the status is
 * that of the script (-1 when the shell died of a signal). */
inline ToolResult runShell(const std::string& script) {
  TempDir dir;
  std::string out = dir.file("stdout"), err = dir.file("stderr");
  pid_t pid = fork();
  if (pid == 0) {
    int fout = open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    int ferr = open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (fout < 0 || ferr < 0 || chdir(KELP_SOURCE_DIR) != 0) _exit(127);
    dup2(fout, 1);
    dup2(ferr, 2);
    setenv("LC_ALL", "C", 1);
    unsetenv("KELP_LOG");
    setenv("KELP", KELP_TOOL_PATH, 1);
    execl("/bin/sh", "sh", "-c", script.c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  ToolResult result;
  int wstatus = 0;
  if (pid > 0 && waitpid(pid, &wstatus, 0) == pid && WIFEXITED(wstatus))
    result.status = WEXITSTATUS(wstatus);
  result.out = readFile(out);
  result.err = readFile(err);
  return result;
}

}  // namespace kelp::test

#endif
