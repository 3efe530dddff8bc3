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
#include <istream>
#include <locale>
#include <map>
#include <memory>
#include <ostream>
#include <streambuf>
#include <string>
#include <vector>

#include <kelp/host.h>

namespace qor::quv::basket {
class CatalogueReader;
}
namespace qor::quv::util {
class EDate;
}

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

/* Reads a whole file, or standard input for "-", of at most `limit` bytes.
 * On failure, message says why ("cannot open: No such file or directory",
 * "the input is larger than 2 MiB"); an endless input stops at the limit. */
bool readInput(const std::string& path, std::string& data, std::string& message, std::size_t limit);

/* The largest catalogue, basket or room template the commerce commands
 * read whole (they are held in memory with their records). */
constexpr std::size_t kMaxCommerceInput = std::size_t(256) << 20;

/* "2 MiB" for whole mebibytes, else "N bytes". */
std::string sizeText(std::size_t bytes);

/* The name used for an input in messages: the path, or "<stdin>" for "-". */
std::string displayName(const std::string& path);

class Progress;

/* An input read as a stream rather than all at once: a file, or standard
 * input for "-". stream() counts the bytes as the consumer takes them and
 * drives a Progress bar labelled with the input's display name when the
 * size is known (a regular file, also on standard input) and at least
 * 4 MiB. A read error ends the stream early; error() then says why
 * ("cannot read: Input/output error"), so that a consumer's complaint
 * about a truncated input can be replaced by the real cause. */
class StreamInput {
 public:
  StreamInput();
  ~StreamInput();
  StreamInput(const StreamInput&) = delete;
  StreamInput& operator=(const StreamInput&) = delete;

  /* False with message set ("cannot open: ...", "cannot read: Is a
   * directory") when the input cannot be read. */
  bool open(const std::string& path, std::string& message);
  std::istream& stream() { return stream_; }
  /* Bytes read from the input so far; its size (0 when unknown). */
  std::size_t bytesRead() const { return read_; }
  std::size_t size() const { return size_; }
  /* The read error, or "" when none happened. */
  const std::string& error() const { return error_; }
  /* Clears the progress bar (also done by the destructor). */
  void finish();

 private:
  class Buffer : public std::streambuf {
   public:
    explicit Buffer(StreamInput* owner) : owner_(owner) {}

   protected:
    int_type underflow() override;

   private:
    StreamInput* owner_;
    char block_[65536];
  };

  Buffer buffer_;
  std::istream stream_;
  std::FILE* file_ = nullptr;
  bool ownsFile_ = false;
  std::size_t size_ = 0;
  std::size_t read_ = 0;
  std::string error_;
  std::unique_ptr<Progress> progress_;
};

/* A std::ostream over a stdio stream (inv.out), for library writers that
 * take a std::ostream. */
class FileOStream : public std::ostream {
 public:
  explicit FileOStream(std::FILE* file) : std::ostream(&buffer_), buffer_(file) {}

 private:
  class Buffer : public std::streambuf {
   public:
    explicit Buffer(std::FILE* file) : file_(file) {}

   protected:
    int_type overflow(int_type c) override;
    std::streamsize xsputn(const char* s, std::streamsize n) override;
    int sync() override;

   private:
    std::FILE* file_;
  };
  Buffer buffer_;
};

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

/* Numbers in a report's language, whatever the machine's locale: the
 * library's local number formatting reads the global C++ locale, so a
 * report installs one with the language's punctuation while it runs
 * (1,234.56 for en and most languages, 1.234,56 for de, 1 234,56 for fr). */
std::locale numberLocale(const std::string& lang);

/* A fixed word of a report or quote in its language, from the library's
 * message catalogue (po/; `label` is the keyword the template is extracted
 * by, and a test fails on a label the template lacks). Templates take
 * trusted values only (dates, versions, counts, amounts), so a placeholder
 * cannot come from the data. */
std::string label(const std::string& lang, const char* msgid);

/* Installs a global locale; restores the previous one when it goes. */
class GlobalLocale {
 public:
  explicit GlobalLocale(const std::locale& loc) : previous_(std::locale::global(loc)) {}
  ~GlobalLocale() { std::locale::global(previous_); }
  GlobalLocale(const GlobalLocale&) = delete;
  GlobalLocale& operator=(const GlobalLocale&) = delete;

 private:
  std::locale previous_;
};

/* The start of a self-contained HTML page for a customer (reports, quotes):
 * doctype, UTF-8, the title (already escaped) and an inline style sheet
 * laid out for A4: amounts (class "num") right-aligned, table headers
 * repeated on every page, rows never split, sections (class "article")
 * starting on a new page, totals (table class "totals") set apart. Ends
 * with the opening <body>. */
std::string htmlPageStart(const std::string& lang, const std::string& title);

/* reader.read(data, file) with a Progress bar labelled file that follows
 * the XML reader through the text (the loading before it is quick; the
 * reading and checking of the records is what takes long). */
bool readCatalogueText(qor::quv::basket::CatalogueReader& reader, const std::string& data,
                       const std::string& file);

/* Reads the catalogue file at path (or standard input for "-") into
 * reader, reporting its faults as "file:line: message" on err; false (after
 * the report) when the file cannot be read or the catalogue as a whole is
 * faulty. */
bool readCatalogue(const Invocation& inv, const std::string& path,
                   qor::quv::basket::CatalogueReader& reader);

/* Today's date (UTC). */
qor::quv::util::EDate today();

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
