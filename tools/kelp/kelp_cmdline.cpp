// kelp cmdline: splitting a command line into its arguments and joining
// arguments into one line, by the library's quoting rules (Funcs).
#include <cstdio>
#include <string>
#include <vector>

#include <kelp/util/utl_Funcs.h>

#include "kelp_tool.h"

namespace {

using kelp::tool::Invocation;
using kelp::tool::ParsedArgs;
using qor::quv::util::Funcs;

constexpr const char kCmdlineHelp[] =
    "usage: kelp cmdline split [--null] TEXT\n"
    "       kelp cmdline split [--null] --file FILE\n"
    "       kelp cmdline join ARG...\n"
    "\n"
    "split  prints the arguments of the command line TEXT (or of the text of\n"
    "       FILE, '-' for standard input, at most 2 MiB), one a line. It\n"
    "       follows the library's documented splitting (Funcs::\n"
    "       splitCommandLine), which is not a shell's:\n"
    "       - white space separates arguments;\n"
    "       - at the start of an argument, '...' is literal, and so is \"...\"\n"
    "         except for \\\\ and \\\"; the argument goes on after the closing\n"
    "         quote up to the next white space; '' is an empty argument;\n"
    "       - a quote inside an argument that did not start with one is an\n"
    "         ordinary character (x'y stays x'y);\n"
    "       - a backslash outside quotes, and \\\\ or \\\" inside \"...\", adds\n"
    "         the next character, which is then read once more with its own\n"
    "         meaning: a\\bc gives abbc; a\\ b gives 'a ' and 'b'; \"x\\\"y\" gives\n"
    "         x\"y\" (the escaped quote closes the section as well);\n"
    "       - a quote left open runs to the end of the text.\n"
    "       The text  a  'b c'd \"\"  gives a, b cd and an empty argument.\n"
    "       Lines that join writes read back. With --null\n"
    "       every argument ends with a NUL byte instead of a line break, for\n"
    "       arguments that hold line breaks themselves.\n"
    "join   prints one line that split reads back into the ARGs: arguments\n"
    "       with white space, quotes or backslashes are quoted. Write '--'\n"
    "       before arguments that start with '-'.\n"
    "\n"
    "Exit status: 0 on success; 1 when an argument holds a line break and\n"
    "--null is not given, when FILE cannot be read or is larger than 2 MiB,\n"
    "or when the ARGs cannot be written so that they read back unchanged (an\n"
    "argument holding a single quote together with a double quote or a\n"
    "backslash); 2 on bad usage.\n";

// The longest command line read from a file: the 2 MiB that Linux takes
// for the arguments of a program by default. The bound keeps an endless
// input (/dev/zero) from growing without end.
constexpr std::size_t kMaxLine = std::size_t(2) << 20;

int runSplit(Invocation& inv) {
  ParsedArgs parsed;
  int status = 0;
  if (!kelp::tool::parseArgs(inv, 1, {{"null", false}, {"file", true}}, parsed, &status))
    return status;
  std::string line;
  if (parsed.has("file")) {
    if (!kelp::tool::checkOperands(inv, parsed, 0, 0, &status)) return status;
    std::string message;
    const std::string path = parsed.get("file");
    if (!kelp::tool::readInput(path, line, message, kMaxLine)) {
      kelp::tool::reportAt(inv, kelp::tool::displayName(path), 0, message);
      return kelp::tool::kExitFailed;
    }
  } else {
    if (!kelp::tool::checkOperands(inv, parsed, 1, 1, &status)) return status;
    line = parsed.operands[0];
  }
  std::vector<std::string> args;
  Funcs::splitCommandLine(line, &args);
  bool null = parsed.has("null");
  if (!null) {
    for (std::size_t i = 0; i < args.size(); ++i)
      if (args[i].find('\n') != std::string::npos)
        return kelp::tool::failure(
            inv, "argument " + std::to_string(i + 1) + " holds a line break; use --null");
  }
  for (const std::string& a : args) {
    std::fwrite(a.data(), 1, a.size(), inv.out);
    std::fputc(null ? '\0' : '\n', inv.out);
  }
  return kelp::tool::kExitOk;
}

int runJoin(Invocation& inv) {
  ParsedArgs parsed;
  int status = 0;
  if (!kelp::tool::parseArgs(inv, 1, {}, parsed, &status)) return status;
  std::string line = Funcs::joinCommandLine(parsed.operands);
  // The quoting cannot carry every argument; never print a line that
  // would read back as something else.
  std::vector<std::string> back;
  Funcs::splitCommandLine(line, &back);
  if (back != parsed.operands) {
    for (std::size_t i = 0; i < parsed.operands.size(); ++i)
      if (i >= back.size() || back[i] != parsed.operands[i])
        return kelp::tool::failure(inv, "argument " + std::to_string(i + 1) + " ('" +
                                            parsed.operands[i] +
                                            "') cannot be quoted so that it reads back unchanged");
    return kelp::tool::failure(inv, "the arguments cannot be quoted so that they read back");
  }
  std::fprintf(inv.out, "%s\n", line.c_str());
  return kelp::tool::kExitOk;
}

int run(Invocation& inv) {
  return kelp::tool::dispatch(inv, {{"split", runSplit}, {"join", runJoin}});
}

const kelp::tool::Family kCmdline{"cmdline", "split and join command lines", kCmdlineHelp, run};
const kelp::tool::Registration reg(kCmdline);

}  // namespace
