// The kelp tool's shared plumbing: family table, options, inputs, reports.
#include "kelp_tool.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <kelp/util/utl_CatalogueReader.h>
#include <kelp/util/utl_EDate.h>
#include <ktz/ktz_gettext.h>

namespace kelp::tool {

namespace {

std::vector<const Family*>& table() {
  static std::vector<const Family*> all;
  return all;
}

}  // namespace

Registration::Registration(const Family& family) {
  table().push_back(&family);
}

std::vector<const Family*> families() {
  std::vector<const Family*> all = table();
  std::sort(all.begin(), all.end(),
            [](const Family* a, const Family* b) { return std::strcmp(a->name, b->name) < 0; });
  return all;
}

int usageError(const Invocation& inv, const std::string& message) {
  std::fprintf(inv.err, "kelp %s: %s\nsee 'kelp %s --help'\n", inv.family->name, message.c_str(),
               inv.family->name);
  return kExitUsage;
}

int failure(const Invocation& inv, const std::string& message) {
  std::fprintf(inv.err, "kelp %s: %s\n", inv.family->name, message.c_str());
  return kExitFailed;
}

void reportAt(const Invocation& inv, const std::string& file, long line,
              const std::string& message) {
  if (line > 0)
    std::fprintf(inv.err, "%s:%ld: %s\n", file.c_str(), line, message.c_str());
  else
    std::fprintf(inv.err, "%s: %s\n", file.c_str(), message.c_str());
}

std::string ParsedArgs::get(const std::string& name, const std::string& fallback) const {
  auto it = values.find(name);
  return it == values.end() ? fallback : it->second;
}

bool parseArgs(const Invocation& inv, std::size_t first, const std::vector<OptionSpec>& specs,
               ParsedArgs& parsed, int* status) {
  bool optionsEnded = false;
  for (std::size_t i = first; i < inv.args.size(); ++i) {
    const std::string& arg = inv.args[i];
    if (optionsEnded || arg.size() < 2 || arg[0] != '-' ||
        (arg[1] != '-' && !std::isalpha(static_cast<unsigned char>(arg[1])))) {
      // "-", "-5", "-1.5 EUR" and plain words are operands.
      parsed.operands.push_back(arg);
      continue;
    }
    if (arg == "--") {
      optionsEnded = true;
      continue;
    }
    if (arg[1] != '-') {
      *status = usageError(inv, "unknown option '" + arg + "'");
      return false;
    }
    std::string name = arg.substr(2);
    std::string value;
    bool inlineValue = false;
    if (auto eq = name.find('='); eq != std::string::npos) {
      value = name.substr(eq + 1);
      name.resize(eq);
      inlineValue = true;
    }
    auto spec = std::find_if(specs.begin(), specs.end(),
                             [&](const OptionSpec& s) { return name == s.name; });
    if (spec == specs.end()) {
      *status = usageError(inv, "unknown option '--" + name + "'");
      return false;
    }
    if (spec->takesValue && !inlineValue) {
      if (i + 1 >= inv.args.size()) {
        *status = usageError(inv, "option '--" + name + "' needs a value");
        return false;
      }
      value = inv.args[++i];
    } else if (!spec->takesValue && inlineValue) {
      *status = usageError(inv, "option '--" + name + "' takes no value");
      return false;
    }
    parsed.values[name] = value;
  }
  return true;
}

bool readInput(const std::string& path, std::string& data, std::string& message,
               std::size_t limit) {
  data.clear();
  std::FILE* f = path == "-" ? stdin : std::fopen(path.c_str(), "rb");
  if (!f) {
    message = std::string("cannot open: ") + std::strerror(errno);
    return false;
  }
  // Stop at the first block that would pass the limit: an endless stream
  // (/dev/zero, a pipe that never closes) ends here, not in memory.
  char buffer[65536];
  std::size_t n;
  bool tooLarge = false;
  while ((n = std::fread(buffer, 1, sizeof buffer, f)) > 0) {
    if (n > limit - data.size()) {
      tooLarge = true;
      break;
    }
    data.append(buffer, n);
  }
  const bool failed = !tooLarge && std::ferror(f) != 0;
  const int error = errno;
  if (f != stdin) std::fclose(f);
  if (tooLarge) {
    data.clear();
    data.shrink_to_fit();
    message = "the input is larger than " + sizeText(limit);
    return false;
  }
  if (failed) {
    // A folder opens but does not read.
    message = std::string("cannot read: ") + std::strerror(error);
    return false;
  }
  return true;
}

std::string sizeText(std::size_t bytes) {
  constexpr std::size_t kMiB = std::size_t(1) << 20;
  if (bytes % kMiB == 0) return std::to_string(bytes / kMiB) + " MiB";
  return std::to_string(bytes) + " bytes";
}

std::string displayName(const std::string& path) {
  return path == "-" ? "<stdin>" : path;
}

StreamInput::StreamInput() : buffer_(this), stream_(&buffer_) {}

StreamInput::~StreamInput() {
  finish();
  if (ownsFile_) std::fclose(file_);
}

bool StreamInput::open(const std::string& path, std::string& message) {
  if (path == "-") {
    file_ = stdin;
  } else {
    file_ = std::fopen(path.c_str(), "rb");
    if (!file_) {
      message = std::string("cannot open: ") + std::strerror(errno);
      return false;
    }
    ownsFile_ = true;
  }
  struct stat st;
  if (::fstat(fileno(file_), &st) == 0) {
    // A folder opens but does not read; say so before anyone tries.
    if (S_ISDIR(st.st_mode)) {
      message = std::string("cannot read: ") + std::strerror(EISDIR);
      return false;
    }
    if (S_ISREG(st.st_mode)) size_ = static_cast<std::size_t>(st.st_size);
  }
  progress_ = std::make_unique<Progress>(displayName(path), size_);
  return true;
}

void StreamInput::finish() {
  if (progress_) progress_->finish();
}

StreamInput::Buffer::int_type StreamInput::Buffer::underflow() {
  StreamInput& in = *owner_;
  if (!in.file_ || !in.error_.empty()) return traits_type::eof();
  // The bar shows what the consumer has taken: everything handed out
  // before this refill.
  if (in.progress_) in.progress_->update(in.read_);
  std::size_t n = std::fread(block_, 1, sizeof block_, in.file_);
  if (n == 0) {
    if (std::ferror(in.file_)) in.error_ = std::string("cannot read: ") + std::strerror(errno);
    return traits_type::eof();
  }
  in.read_ += n;
  setg(block_, block_, block_ + n);
  return traits_type::to_int_type(block_[0]);
}

FileOStream::Buffer::int_type FileOStream::Buffer::overflow(int_type c) {
  if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
  return std::fputc(c, file_) == EOF ? traits_type::eof() : c;
}

std::streamsize FileOStream::Buffer::xsputn(const char* s, std::streamsize n) {
  return static_cast<std::streamsize>(std::fwrite(s, 1, static_cast<std::size_t>(n), file_));
}

int FileOStream::Buffer::sync() {
  return std::fflush(file_) == 0 ? 0 : -1;
}

Progress::Progress(const std::string& label, std::size_t total)
    : label_(label), total_(total), active_(total >= (4u << 20) && isatty(STDERR_FILENO)) {}

Progress::~Progress() {
  finish();
}

void Progress::update(std::size_t done) {
  if (!active_ || total_ == 0) return;
  int percent = static_cast<int>(std::min<std::size_t>(done, total_) * 100 / total_);
  if (percent == shown_) return;
  shown_ = percent;
  constexpr int kWidth = 40;
  int filled = percent * kWidth / 100;
  std::string bar(static_cast<std::size_t>(filled), '#');
  bar.append(static_cast<std::size_t>(kWidth - filled), '.');
  std::fprintf(stderr, "\r%s [%s] %3d%%", label_.c_str(), bar.c_str(), percent);
  std::fflush(stderr);
}

void Progress::finish() {
  if (!active_) return;
  active_ = false;
  if (shown_ >= 0) {
    // Clear the line so that later messages start clean.
    std::fprintf(stderr, "\r%*s\r", static_cast<int>(label_.size() + 48), "");
    std::fflush(stderr);
  }
}

bool parseInt(const std::string& text, long min, long max, long* out) {
  if (text.empty()) return false;
  errno = 0;
  char* end = nullptr;
  long value = std::strtol(text.c_str(), &end, 10);
  if (errno != 0 || *end != '\0' || value < min || value > max) return false;
  *out = value;
  return true;
}

int dispatch(Invocation& inv, const std::vector<Subcommand>& subcommands) {
  std::string names;
  for (const Subcommand& s : subcommands) names += std::string(names.empty() ? "" : ", ") + s.name;
  if (inv.args.empty()) return usageError(inv, "missing subcommand (one of " + names + ")");
  for (const Subcommand& s : subcommands)
    if (inv.args[0] == s.name) return s.run(inv);
  return usageError(inv, "unknown subcommand '" + inv.args[0] + "' (one of " + names + ")");
}

bool checkOperands(const Invocation& inv, const ParsedArgs& parsed, std::size_t min,
                   std::size_t max, int* status) {
  if (parsed.operands.size() < min) {
    *status = usageError(inv, "missing operand");
    return false;
  }
  if (parsed.operands.size() > max) {
    *status = usageError(inv, "unexpected operand '" + parsed.operands[max] + "'");
    return false;
  }
  return true;
}

namespace {

class Punctuation : public std::numpunct<char> {
 public:
  Punctuation(char point, char separator) : point_(point), separator_(separator) {}

 protected:
  char do_decimal_point() const override { return point_; }
  char do_thousands_sep() const override { return separator_; }
  std::string do_grouping() const override { return "\3"; }

 private:
  char point_;
  char separator_;
};

}  // namespace

std::string label(const std::string& lang, const char* msgid) {
  return ktzDGetTextIn(KTZ_KELP_TEXT_DOMAIN, lang.c_str(), msgid);
}

std::locale numberLocale(const std::string& lang) {
  char point = '.', separator = ',';
  if (lang == "de") {
    point = ',';
    separator = '.';
  } else if (lang == "fr") {
    point = ',';
    separator = ' ';
  }
  return std::locale(std::locale::classic(), new Punctuation(point, separator));
}

std::string htmlPageStart(const std::string& lang, const std::string& title) {
  return "<!DOCTYPE html>\n<html lang=\"" + lang +
         "\">\n<head>\n<meta charset=\"utf-8\">\n<title>" + title +
         "</title>\n<style>\n"
         "@page { size: A4; margin: 18mm 16mm; }\n"
         "body { font-family: \"DejaVu Sans\", Arial, sans-serif; font-size: 10pt; color: #222;"
         " max-width: 180mm; margin: 0 auto; }\n"
         "h1 { font-size: 16pt; margin: 0 0 4pt; }\n"
         "h2 { font-size: 12pt; margin: 14pt 0 4pt; }\n"
         "p.meta { color: #555; margin: 0 0 10pt; }\n"
         "table { border-collapse: collapse; width: 100%; margin: 4pt 0 8pt; }\n"
         "thead { display: table-header-group; }\n"
         "tr { page-break-inside: avoid; break-inside: avoid; }\n"
         "th, td { padding: 3pt 6pt; text-align: left; vertical-align: top;"
         " border-bottom: 0.5pt solid #ccc; }\n"
         "thead th { background: #eee; border-bottom: 1pt solid #888; }\n"
         ".num { text-align: right; white-space: nowrap; font-variant-numeric: tabular-nums; }\n"
         ".choice { color: #555; font-size: 9pt; }\n"
         "table.totals { width: 60%; margin: 14pt 0 0 auto; border-top: 1.5pt solid #222; }\n"
         "table.totals th { font-weight: normal; }\n"
         "table.totals tr.grand th, table.totals tr.grand td { font-weight: bold; font-size: 12pt;"
         " border-top: 1.5pt solid #222; border-bottom: 3pt double #222; }\n"
         ".article { page-break-before: always; break-before: page; }\n"
         ".article:first-of-type { page-break-before: auto; break-before: auto; }\n"
         "@media print { body { max-width: none; } }\n"
         "</style>\n</head>\n<body>\n";
}

bool readCatalogueText(qor::quv::basket::CatalogueReader& reader, const std::string& data,
                       const std::string& file) {
  Progress bar(file, data.size());
  reader.setProgress([&bar](std::size_t done, std::size_t) { bar.update(done); });
  const bool read = reader.read(data, file);
  reader.setProgress(nullptr);
  bar.finish();  // before the faults are reported
  return read;
}

bool readCatalogue(const Invocation& inv, const std::string& path,
                   qor::quv::basket::CatalogueReader& reader) {
  const std::string file = displayName(path);
  std::string data, message;
  if (!readInput(path, data, message, kMaxCommerceInput)) {
    reportAt(inv, file, 0, message);
    return false;
  }
  const bool read = readCatalogueText(reader, data, file);
  for (const qor::quv::basket::CatalogueFault& f : reader.getFaults())
    reportAt(inv, file, f.line, f.message);
  if (!read) reportAt(inv, file, reader.getFatalLine(), reader.getFatalMessage());
  return read;
}

qor::quv::util::EDate today() {
  const std::time_t now = std::time(nullptr);
  std::tm tm{};
  gmtime_r(&now, &tm);
  return qor::quv::util::EDate(tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday);
}

}  // namespace kelp::tool
