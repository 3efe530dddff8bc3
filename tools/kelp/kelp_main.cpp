// The kelp command-line tool: dispatches to the subcommand families.
#include <cstdio>
#include <cstring>
#include <string>

#include <kelp/host.h>
#include <kelp/kelp.h>

#ifndef KELP_VERSION_STRING
#define KELP_VERSION_STRING "0.1.0"
#endif

namespace {

constexpr const char kUsage[] =
    "usage: kelp [--version] [--help] <command> [<args>]\n"
    "\n"
    "kelp is the command-line face of libkelp, the utility library of the\n"
    "catalogue, basket and price suite: XML reading and writing, money\n"
    "amounts, dates, versions, UUIDs and settings.\n";

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || !std::strcmp(argv[1], "--help") || !std::strcmp(argv[1], "help")) {
    std::fputs(kUsage, argc < 2 ? stderr : stdout);
    return argc < 2 ? 2 : 0;
  }
  if (!std::strcmp(argv[1], "--version") || !std::strcmp(argv[1], "version")) {
    std::printf("kelp %s (libkelp.so.0)\n", KELP_VERSION_STRING);
    std::printf("Utility library for product catalogues, baskets and prices.\n");
    return 0;
  }
  std::fprintf(stderr, "kelp: '%s' is not a kelp command; see 'kelp --help'\n", argv[1]);
  return 2;
}
