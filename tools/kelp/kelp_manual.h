/* The kelp tool's documents built from its own family table and help
 * texts: the manual page kelp(1) (`kelp help --man [FILE]`) and the bash
 * completion script (`kelp help --bash-completion [FILE]`). The build writes
 * both into files and installs them. */
#ifndef KELP_MANUAL_H
#define KELP_MANUAL_H

#include <cstdio>

namespace kelp::tool {

/* Writes the manual page in roff (man macros) to out. */
void writeManual(std::FILE* out);

/* Writes a bash script that completes the tool's commands, subcommands and
 * options (and file names for operands) to out. */
void writeBashCompletion(std::FILE* out);

/* Runs `kelp help --man|--bash-completion [FILE]`: argv[2] is the flag,
 * argv[3] the optional output file (standard output otherwise). Returns the
 * exit status. */
int runHelpDocument(int argc, char** argv);

}  // namespace kelp::tool

#endif
