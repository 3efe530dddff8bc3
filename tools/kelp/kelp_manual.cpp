// The manual page kelp(1) and the bash completion script, both built from
// the family table: each family's help text becomes a section of the page
// (usage lines, paragraphs, and "name   description" lists as tagged
// paragraphs), and its usage lines give the subcommands and options that
// the completion offers.
#include "kelp_manual.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "kelp_tool.h"

#ifndef KELP_VERSION_STRING
#define KELP_VERSION_STRING "0.1.0"
#endif
#ifndef KELP_DOC_DIR
#define KELP_DOC_DIR "/usr/share/doc/kelp"
#endif

namespace kelp::tool {
namespace {

std::vector<std::string> splitLines(const char* text) {
  std::vector<std::string> lines;
  std::string line;
  for (const char* p = text; *p; ++p) {
    if (*p == '\n') {
      lines.push_back(line);
      line.clear();
    } else {
      line += *p;
    }
  }
  if (!line.empty()) lines.push_back(line);
  return lines;
}

std::size_t indentOf(const std::string& line) {
  std::size_t n = line.find_first_not_of(' ');
  return n == std::string::npos ? line.size() : n;
}

// Text for roff: backslashes escaped, a hyphen that starts a word (an
// option) or stands alone written as a minus sign, and a leading dot or
// quote kept from being read as a request.
std::string roff(const std::string& text) {
  std::string out;
  if (!text.empty() && (text[0] == '.' || text[0] == '\'')) out = "\\&";
  for (std::size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (c == '\\') {
      out += "\\e";
    } else if (c == '-' && (i == 0 || !std::isalnum(static_cast<unsigned char>(text[i - 1])))) {
      out += "\\-";
    } else {
      out += c;
    }
  }
  return out;
}

bool isUsageLine(const std::string& line) {
  return line.rfind("usage: kelp ", 0) == 0 ||
         (indentOf(line) == 7 && line.compare(7, 5, "kelp ") == 0);
}

// "tag   description": a term of at most four columns' indentation, two or
// more blanks, then its description. Sets the description's column.
bool splitItem(const std::string& line, std::string* tag, std::string* description,
               std::size_t* column) {
  std::size_t start = indentOf(line);
  if (start > 4 || start >= line.size()) return false;
  std::size_t gap = line.find("  ", start);
  if (gap == std::string::npos) return false;
  std::size_t desc = line.find_first_not_of(' ', gap);
  if (desc == std::string::npos) return false;
  *tag = line.substr(start, gap - start);
  *description = line.substr(desc);
  *column = desc;
  return true;
}

// One family's help text as roff.
void writeHelpText(std::FILE* out, const char* help) {
  enum Block { kNone, kText, kList, kVerbatim, kListVerbatim };
  Block block = kNone;
  std::size_t column = 0;
  bool paragraph = false;  // a blank line was seen: the next text starts anew
  auto endVerbatim = [&] {
    if (block == kVerbatim || block == kListVerbatim) {
      std::fputs(".fi\n.RE\n", out);
      block = block == kListVerbatim ? kList : kNone;
    }
  };
  std::vector<std::string> lines = splitLines(help);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const std::string& line = lines[i];
    if (line.empty()) {
      endVerbatim();
      paragraph = true;
      continue;
    }
    if (isUsageLine(line)) {
      std::string usage = line.substr(line.find("kelp "));
      // The command and its subcommand in bold, the rest as written.
      std::size_t end = usage.find(' ', 5);
      end = end == std::string::npos ? usage.size() : usage.find(' ', end + 1);
      if (end == std::string::npos) end = usage.size();
      std::fprintf(out, "%s\\fB%s\\fR%s\n", block == kNone ? ".nf\n" : "",
                   roff(usage.substr(0, end)).c_str(), roff(usage.substr(end)).c_str());
      block = kText;
      if (i + 1 == lines.size() || !isUsageLine(lines[i + 1])) {
        std::fputs(".fi\n", out);
        block = kNone;
      }
      continue;
    }
    std::string tag, description;
    std::size_t itemColumn = 0;
    std::size_t indent = indentOf(line);
    bool inList = block == kList || block == kListVerbatim;
    if (inList && !paragraph && indent >= column) {
      if (indent == column) {
        endVerbatim();
        std::fprintf(out, "%s\n", roff(line.substr(indent)).c_str());
      } else {
        if (block == kList) std::fputs(".RS\n.nf\n", out);
        block = kListVerbatim;
        std::fprintf(out, "%s\n", roff(line.substr(column)).c_str());
      }
      continue;
    }
    if (splitItem(line, &tag, &description, &itemColumn)) {
      endVerbatim();
      std::fprintf(out, ".TP %zu\n.B %s\n%s\n",
                   itemColumn - indent > 12 ? std::size_t{12} : itemColumn - indent,
                   roff(tag).c_str(), roff(description).c_str());
      block = kList;
      column = itemColumn;
      paragraph = false;
      continue;
    }
    if (indent > 0) {
      if (block != kVerbatim) {
        if (inList || paragraph) std::fputs(".PP\n", out);
        std::fputs(".RS\n.nf\n", out);
        block = kVerbatim;
      }
      std::fprintf(out, "%s\n", roff(line.substr(std::min<std::size_t>(indent, 2))).c_str());
      paragraph = false;
      continue;
    }
    endVerbatim();
    if (paragraph || inList || block == kNone) std::fputs(".PP\n", out);
    std::fprintf(out, "%s\n", roff(line).c_str());
    block = kText;
    paragraph = false;
  }
  endVerbatim();
}

// Subcommands and options of each family, read from its usage lines
// ("kelp xml check [--html4-entities] FILE...").
struct Completions {
  std::vector<std::string> subcommands;
  std::map<std::string, std::set<std::string>> options;  // by subcommand
};

Completions completionsOf(const Family& family) {
  Completions c;
  for (const std::string& line : splitLines(family.help)) {
    if (!isUsageLine(line)) continue;
    std::vector<std::string> words;
    std::string word;
    for (char ch : line.substr(line.find("kelp ")) + " ") {
      if (ch == ' ') {
        if (!word.empty()) words.push_back(word);
        word.clear();
      } else {
        word += ch;
      }
    }
    if (words.size() < 3 || words[2][0] == '[' || words[2][0] == '-') continue;
    const std::string& sub = words[2];
    bool known = false;
    for (const std::string& s : c.subcommands) known = known || s == sub;
    if (!known) c.subcommands.push_back(sub);
    std::set<std::string>& options = c.options[sub];
    for (std::size_t i = 3; i < words.size(); ++i) {
      std::size_t at = words[i].find("--");
      if (at == std::string::npos || at > 1) continue;
      std::size_t end = words[i].find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-", at + 2);
      options.insert(words[i].substr(at, end == std::string::npos ? end : end - at));
    }
    options.insert("--help");
  }
  return c;
}

std::string joined(const std::vector<std::string>& words) {
  std::string out;
  for (const std::string& w : words) out += (out.empty() ? "" : " ") + w;
  return out;
}

const char kDescription[] =
    ".B kelp\n"
    "is the command\\-line face of libkelp, the library of the catalogue,\n"
    "basket and price suite: it checks and formats XML, renders rich text,\n"
    "computes money amounts, reads dates, versions and UUIDs, edits settings\n"
    "and prints catalogue reports. It is a thin client of the library: what\n"
    "it prints is what a program using libkelp gets.\n"
    ".PP\n"
    "Commands are grouped in families, in the manner of\n"
    ".IR \"kelp family subcommand\" ;\n"
    ".B \"kelp \\fIfamily\\fP \\-\\-help\"\n"
    "prints the help of a family. Options may stand anywhere among the\n"
    "operands;\n"
    ".B \\-\\-\n"
    "ends them. An input named\n"
    ".B \\-\n"
    "is read from standard input. Errors go to standard error as\n"
    ".IR file : line :\n"
    ".IR message .\n"
    "Text is read and written as UTF\\-8.\n";

const char kExitStatus[] =
    ".SH \"EXIT STATUS\"\n"
    ".TP\n.B 0\nSuccess.\n"
    ".TP\n.B 1\nA check or an operation failed (an ill\\-formed document, an undefined\n"
    "computation, a missing key, an input or output that cannot be read or\n"
    "written).\n"
    ".TP\n.B 2\nBad usage: an unknown command or option, a missing or unreadable\n"
    "argument.\n";

const char kEnvironment[] =
    ".SH ENVIRONMENT\n"
    ".TP\n.B KELP_LOG\n"
    "The least severe library message shown on standard error: fatal, error\n"
    "(the default), warning, notice, info or debug.\n"
    ".TP\n.B KELP_REGISTRY_DIR\n"
    "The folder of the registry database's hive files, for both hives;\n"
    ".B \\-\\-dir\n"
    "of\n"
    ".B kelp registry\n"
    "overrides it.\n"
    ".TP\n.B XDG_CONFIG_HOME\\fR, \\fPHOME\n"
    "Where the current user's hive lies without\n"
    ".BR KELP_REGISTRY_DIR .\n"
    ".TP\n.B LC_ALL\\fR, \\fPLC_MESSAGES\\fR, \\fPLANG\\fR, \\fPLANGUAGE\n"
    "The language of the library's translated texts and, without\n"
    ".BR \\-\\-lang ,\n"
    "of the catalogue report.\n"
    ".TP\n.B LC_NUMERIC\\fR, \\fPLC_TIME\n"
    "The notation of\n"
    ".B kelp money format\n"
    "and of the local date forms.\n"
    ".TP\n.B KELP_LOCALEDIR\n"
    "A folder of message catalogues to use instead of the installed ones.\n";

void writeFiles(std::FILE* out) {
  std::fprintf(out,
               ".SH FILES\n"
               ".TP\n.I %s/formats.md\n"
               "The data formats the tool reads: the catalogue format, its prices and\n"
               "its faults.\n"
               ".TP\n.I ~/.config/kelp/current_user.db\n"
               "The current user's settings (the registry database).\n"
               ".TP\n.I /var/lib/kelp/local_machine.db\n"
               "The machine's settings\n"
               ".RB ( \"kelp registry \\-\\-machine\" ).\n",
               roff(KELP_DOC_DIR).c_str());
}

const char kExamples[] =
    ".SH EXAMPLES\n"
    "Report a catalogue in German, with German names and numbers:\n"
    ".PP\n.RS\n.nf\n"
    "kelp catalogue report \\-\\-lang de catalogue.xml\n"
    ".fi\n.RE\n.PP\n"
    "Check documents; only the bad ones are reported:\n"
    ".PP\n.RS\n.nf\n"
    "kelp xml check *.xml\n"
    ".fi\n.RE\n.PP\n"
    "Indent a document by two columns per level:\n"
    ".PP\n.RS\n.nf\n"
    "kelp xml format \\-\\-indent 2 doc.xml > pretty.xml\n"
    ".fi\n.RE\n.PP\n"
    "Raise a price by ten per cent, and round an amount to the currency's\n"
    "decimals:\n"
    ".PP\n.RS\n.nf\n"
    "kelp money eval \\(aq100 EUR\\(aq + \\(aq10 %\\(aq\n"
    "kelp money round \\(aq1234.5675 KWD\\(aq\n"
    ".fi\n.RE\n.PP\n"
    "Keep a setting, and list what is kept:\n"
    ".PP\n.RS\n.nf\n"
    "kelp registry set Shop/Basket currency EUR\n"
    "kelp registry list \\-\\-recursive\n"
    ".fi\n.RE\n";

}  // namespace

void writeManual(std::FILE* out) {
  std::fprintf(out, ".TH KELP 1 \"\" \"kelp %s\" \"User Commands\"\n", KELP_VERSION_STRING);
  std::fputs(".SH NAME\nkelp \\- inspect catalogue data, XML, money amounts and settings\n", out);
  std::fputs(
      ".SH SYNOPSIS\n"
      ".B kelp\n.I family subcommand\n.RI [ options ]\n.RI [ operands ]\n.br\n"
      ".B kelp\n.I family\n.B \\-\\-help\n.br\n"
      ".B kelp help\n.RI [ family \" | \" \\fB\\-\\-man\\fP]\n.br\n"
      ".B kelp\n.RB [ \\-\\-version \" | \" \\-\\-help ]\n",
      out);
  std::fputs(".SH DESCRIPTION\n", out);
  std::fputs(kDescription, out);
  std::fputs(".PP\nThe families:\n", out);
  for (const Family* f : families())
    std::fprintf(out, ".TP 12\n.B %s\n%s\n", f->name, roff(f->summary).c_str());
  for (const Family* f : families()) {
    std::string title = std::string("kelp ") + f->name;
    for (char& c : title) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    std::fprintf(out, ".SH \"%s\"\n", title.c_str());
    writeHelpText(out, f->help);
  }
  std::fputs(kExitStatus, out);
  std::fputs(kEnvironment, out);
  writeFiles(out);
  std::fputs(kExamples, out);
  std::fputs(
      ".SH \"SEE ALSO\"\n"
      ".BR locale (1),\n.BR bash (1);\n"
      "the data formats in\n",
      out);
  std::fprintf(out, ".IR %s/formats.md .\n", roff(KELP_DOC_DIR).c_str());
}

void writeBashCompletion(std::FILE* out) {
  std::vector<std::string> names;
  for (const Family* f : families()) names.push_back(f->name);
  std::fputs(
      "# bash completion of kelp(1): commands, subcommands and options, then\n"
      "# file names. Written by `kelp help --bash-completion` from the tool's\n"
      "# own command table.\n"
      "_kelp() {\n"
      "  local cur=\"${COMP_WORDS[COMP_CWORD]}\" words=\n"
      "  COMPREPLY=()\n"
      "  if [ \"$COMP_CWORD\" -eq 1 ]; then\n",
      out);
  std::fprintf(out, "    words=\"--help --version help %s\"\n", joined(names).c_str());
  std::fputs(
      "  elif [ \"$COMP_CWORD\" -eq 2 ]; then\n"
      "    case \"${COMP_WORDS[1]}\" in\n",
      out);
  std::fprintf(out, "      help) words=\"--man %s\" ;;\n", joined(names).c_str());
  std::map<std::string, std::string> optionWords;
  for (const Family* f : families()) {
    Completions c = completionsOf(*f);
    std::fprintf(out, "      %s) words=\"%s --help\" ;;\n", f->name, joined(c.subcommands).c_str());
    for (const auto& [sub, options] : c.options)
      optionWords[std::string(f->name) + " " + sub] =
          joined(std::vector<std::string>(options.begin(), options.end()));
  }
  std::fputs(
      "    esac\n"
      "  else\n"
      "    case \"$cur\" in\n"
      "      -*)\n"
      "        case \"${COMP_WORDS[1]} ${COMP_WORDS[2]}\" in\n",
      out);
  for (const auto& [command, options] : optionWords)
    std::fprintf(out, "          \"%s\") words=\"%s\" ;;\n", command.c_str(), options.c_str());
  std::fputs(
      "        esac ;;\n"
      "      *) return 0 ;;  # operands: bash's file names (-o default)\n"
      "    esac\n"
      "  fi\n"
      "  COMPREPLY=($(compgen -W \"$words\" -- \"$cur\"))\n"
      "}\n"
      "complete -o default -F _kelp kelp\n",
      out);
}

int runHelpDocument(int argc, char** argv) {
  bool manual = !std::strcmp(argv[2], "--man");
  std::FILE* out = stdout;
  FILE* pager = nullptr;
  if (argc > 3) {
    out = std::fopen(argv[3], "w");
    if (!out) {
      std::fprintf(stderr, "kelp help: cannot write %s: %s\n", argv[3], std::strerror(errno));
      return kExitFailed;
    }
  } else if (manual && isatty(STDOUT_FILENO) && access("/usr/bin/man", X_OK) == 0) {
    // On a terminal the page is shown formatted, as man(1) shows it.
    pager = popen("/usr/bin/man -l -", "w");
    if (pager) out = pager;
  }
  if (manual)
    writeManual(out);
  else
    writeBashCompletion(out);
  // Standard output is checked once, when the tool exits (one message for
  // every command); a named file or the pager is checked here.
  if (out == stdout) return kExitOk;
  int err = 0;
  if (std::fflush(out) != 0 || std::ferror(out)) err = errno ? errno : EIO;
  if (pager) {
    if (pclose(pager) != 0 && !err) {
      std::fprintf(stderr, "kelp help: the manual viewer failed\n");
      return kExitFailed;
    }
  } else if (std::fclose(out) != 0 && !err) {
    err = errno;
  }
  if (err) {
    std::fprintf(stderr, "kelp help: cannot write %s: %s\n",
                 pager ? "to the manual viewer" : argv[3], std::strerror(err));
    return kExitFailed;
  }
  return kExitOk;
}

}  // namespace kelp::tool
