// The kelp command-line tool: sets up the reference host and dispatches to
// the subcommand families (kelp_<family>.cpp); also `kelp help`, which
// prints the help texts, the manual page or the bash completion built
// from them (kelp_manual.cpp).
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <kelp/host.h>

#include "kelp_manual.h"
#include "kelp_tool.h"

#ifndef KELP_VERSION_STRING
#define KELP_VERSION_STRING "0.1.0"
#endif

using kelp::tool::Family;
using kelp::tool::Invocation;

namespace {

constexpr const char kIntro[] =
    "kelp is the command-line face of libkelp, the library of the catalogue,\n"
    "basket and price suite: it checks and formats XML, renders rich text,\n"
    "computes money amounts, reads dates, versions and UUIDs, edits settings\n"
    "and prints catalogue reports.\n";

constexpr const char kConventions[] =
    "Every command exits with 0 on success, 1 when a check or an operation\n"
    "fails, and 2 on bad usage. Errors go to standard error as\n"
    "'file:line: message'. An input named '-' is read from standard input.\n"
    "The environment variable KELP_LOG (fatal, error, warning, notice, info,\n"
    "debug; default error) sets which library messages are shown.\n";

void printUsage(std::FILE* to) {
  std::fprintf(to, "usage: kelp [--version] [--help] <command> [<args>]\n\n%s\ncommands:\n",
               kIntro);
  for (const Family* f : kelp::tool::families())
    std::fprintf(to, "  %-10s %s\n", f->name, f->summary);
  std::fprintf(to, "  %-10s %s\n\n%s\nSee 'kelp <command> --help' for the options of a command.\n",
               "help", "this text, a command's help, or the manual page (--man)", kConventions);
}

int runHelp(int argc, char** argv) {
  if (argc < 3) {
    printUsage(stdout);
    return kelp::tool::kExitOk;
  }
  // The manual page and the bash completion (kelp_manual.cpp); the build
  // writes both with `kelp help --man FILE` and `--bash-completion FILE`.
  if (!std::strcmp(argv[2], "--man") || !std::strcmp(argv[2], "--bash-completion"))
    return kelp::tool::runHelpDocument(argc, argv);
  for (const Family* f : kelp::tool::families()) {
    if (!std::strcmp(f->name, argv[2])) {
      std::fputs(f->help, stdout);
      return kelp::tool::kExitOk;
    }
  }
  std::fprintf(stderr, "kelp: '%s' is not a kelp command; see 'kelp --help'\n", argv[2]);
  return kelp::tool::kExitUsage;
}

// Every way out of the tool passes here: output that could not be written
// (a full disk, /dev/full, a closed terminal) turns any status into 1, with
// one message. Commands leave failures of standard output to this check.
int finish(int status, const char* family) {
  bool failed = std::fflush(stdout) != 0;
  failed = std::ferror(stdout) != 0 || failed;
  // Closing reports what a last buffered write kept to itself.
  failed = std::fclose(stdout) != 0 || failed;
  if (!failed) return status;
  if (family)
    std::fprintf(stderr, "kelp %s: cannot write the output\n", family);
  else
    std::fprintf(stderr, "kelp: cannot write the output\n");
  return kelp::tool::kExitFailed;
}

kelp::host::LogLevel logLevelFromEnvironment() {
  const char* level = std::getenv("KELP_LOG");
  static const struct {
    const char* name;
    kelp::host::LogLevel level;
  } kLevels[] = {
      {"fatal", kelp::host::LogLevel::Fatal},     {"error", kelp::host::LogLevel::Error},
      {"warning", kelp::host::LogLevel::Warning}, {"notice", kelp::host::LogLevel::Notice},
      {"info", kelp::host::LogLevel::Info},       {"debug", kelp::host::LogLevel::Debug}};
  if (level)
    for (const auto& l : kLevels)
      if (!std::strcmp(level, l.name)) return l.level;
  return kelp::host::LogLevel::Error;
}

// The user's language and country from the environment ("de_DE.UTF-8").
void attachLocale(kelp::host::Application& app) {
  const char* names[] = {"LC_ALL", "LC_MESSAGES", "LANG"};
  std::string value;
  for (const char* name : names) {
    const char* v = std::getenv(name);
    if (v && *v) {
      value = v;
      break;
    }
  }
  auto locale = kelp::host::Locale::create();
  std::string language = value.substr(0, value.find_first_of("_.@"));
  if (language.size() >= 2 && language != "C" && language != "POSIX") {
    locale->setLanguage(language);
    locale->setLanguages({language});
    auto us = value.find('_');
    if (us != std::string::npos)
      locale->setCountry(value.substr(us + 1, value.find_first_of(".@", us) - us - 1));
  }
  locale->attachTo(app);
}

int run(int argc, char** argv, const char** family) {
  if (argc < 2) {
    printUsage(stderr);
    return kelp::tool::kExitUsage;
  }
  if (!std::strcmp(argv[1], "--help") || !std::strcmp(argv[1], "-h")) {
    printUsage(stdout);
    return kelp::tool::kExitOk;
  }
  if (!std::strcmp(argv[1], "help")) return runHelp(argc, argv);
  if (!std::strcmp(argv[1], "--version")) {
    std::printf("kelp %s (libkelp.so.0)\n", KELP_VERSION_STRING);
    return kelp::tool::kExitOk;
  }
  for (const Family* f : kelp::tool::families()) {
    if (std::strcmp(f->name, argv[1]) != 0) continue;
    Invocation inv;
    inv.family = f;
    inv.args.assign(argv + 2, argv + argc);
    *family = f->name;
    for (const std::string& a : inv.args) {
      if (a == "--") break;
      if (a == "--help" || a == "-h") {
        std::fputs(f->help, stdout);
        return kelp::tool::kExitOk;
      }
    }
    auto app = kelp::host::Application::create();
    auto logger = kelp::host::StderrLogger::create(logLevelFromEnvironment());
    app->installLogger(logger.get());
    attachLocale(*app);
    inv.app = app.get();
    int status = f->run(inv);
    app->close();
    return status;
  }
  std::fprintf(stderr, "kelp: '%s' is not a kelp command; see 'kelp --help'\n", argv[1]);
  return kelp::tool::kExitUsage;
}

}  // namespace

int main(int argc, char** argv) {
  // Number formatting follows the user's locale where a command asks for it.
  std::setlocale(LC_ALL, "");
  const char* family = nullptr;
  const int status = run(argc, argv, &family);
  return finish(status, family);
}
