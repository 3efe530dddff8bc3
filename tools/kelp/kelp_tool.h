/* What every subcommand family of the kelp tool shares: the family table,
 * exit statuses, option parsing, reading inputs (a file or "-" for standard
 * input), "file:line: message" reports and the progress bar.
 *
 * A family lives in its own kelp_<family>.cpp and registers itself:
 *
 *   namespace {
 *   int run(kelp::tool::Invocation& inv) { ... }
 *   const kelp::tool::Family kMoney{"money", "amounts, percentages, rounding",
 *                                   kMoneyHelp, run};
 *   const kelp::tool::Registration reg(kMoney);
 *   }
 *
 * The help text starts with the family's usage lines; `kelp help --man`
 * builds the manual page from all of them. */
#ifndef KELP_TOOL_H
#define KELP_TOOL_H

#include <cstddef>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include <kelp/host.h>

namespace kelp::tool {

enum Exit { kExitOk = 0, kExitFailed = 1, kExitUsage = 2 };

struct Invocation;

struct Family {
  const char* name;     // "xml"
  const char* summary;  // one line for `kelp --help`
  const char* help;     // full help: usage lines, then a description
  int (*run)(Invocation& inv);
};

/* Adds a family to the tool's table (at static initialisation). */
class Registration {
 public:
  explicit Registration(const Family& family);
};

/* The registered families, sorted by name. */
std::vector<const Family*> families();

/* One run of a family: its arguments (after the family name), the host
 * application it runs on, and where its output goes. */
struct Invocation {
  const Family* family = nullptr;
  std::vector<std::string> args;
  kelp::host::Application* app = nullptr;
  std::FILE* out = stdout;
  std::FILE* err = stderr;
};

/* Prints "kelp <family>: message" and a pointer to the help on err;
 * returns kExitUsage. */
int usageError(const Invocation& inv, const std::string& message);

/* Prints "kelp <family>: message" on err; returns kExitFailed. */
int failure(const Invocation& inv, const std::string& message);

/* Prints "file:line: message" (or "file: message" when line is 0) on err. */
void reportAt(const Invocation& inv, const std::string& file, long line,
              const std::string& message);

/* Options of one subcommand: "--name" flags and "--name VALUE" /
 * "--name=VALUE" options, in any order among the operands; "--" ends the
 * options; "-" alone is an operand (standard input). */
struct OptionSpec {
  const char* name;  // without the dashes
  bool takesValue;
};

struct ParsedArgs {
  std::map<std::string, std::string> values;  // flags map to ""
  std::vector<std::string> operands;
  bool has(const std::string& name) const { return values.count(name) != 0; }
  std::string get(const std::string& name, const std::string& fallback = "") const;
};

/* Parses args[first...] against specs. On an unknown option or a missing
 * value, reports a usage error and returns false with *status set. */
bool parseArgs(const Invocation& inv, std::size_t first, const std::vector<OptionSpec>& specs,
               ParsedArgs& parsed, int* status);

/* Reads a whole file, or standard input for "-". On failure, message says
 * why ("cannot open: No such file or directory"). */
bool readInput(const std::string& path, std::string& data, std::string& message);

/* The name used for an input in messages: the path, or "<stdin>" for "-". */
std::string displayName(const std::string& path);

/* A progress bar on standard error for inputs of at least 4 MiB, drawn only
 * when standard error is a terminal; finish() clears it. */
class Progress {
 public:
  Progress(const std::string& label, std::size_t total);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  void update(std::size_t done);
  void finish();

 private:
  std::string label_;
  std::size_t total_;
  int shown_ = -1;
  bool active_;
};

/* Parses a whole decimal integer in [min, max]. */
bool parseInt(const std::string& text, long min, long max, long* out);

/* One subcommand of a family ("kelp money round ..."): its name and what
 * runs it (with the subcommand's name still in inv.args[0]). */
struct Subcommand {
  const char* name;
  int (*run)(Invocation& inv);
};

/* Runs the subcommand named by inv.args[0]; a missing or unknown one is a
 * usage error that lists the subcommands. */
int dispatch(Invocation& inv, const std::vector<Subcommand>& subcommands);

/* Checks that there are at least min and at most max operands; reports a
 * usage error ("missing operand", "unexpected operand 'x'") otherwise. */
bool checkOperands(const Invocation& inv, const ParsedArgs& parsed, std::size_t min,
                   std::size_t max, int* status);

}  // namespace kelp::tool

#endif
