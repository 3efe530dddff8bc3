// Message catalogues over dgettext, with the library's own domain bound to
// its installed (or overridden) catalogue folder on first use; and lookups
// in a given language, which read the compiled catalogue (.mo) themselves,
// since the C library only translates into the process locale's language.
#include <ktz/ktz_gettext.h>

#include <libintl.h>

#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#ifndef KELP_LOCALEDIR
#define KELP_LOCALEDIR "/usr/local/share/locale"
#endif

namespace {

std::once_flag sBindOnce;
bool sExplicitlyBound = false;
std::mutex sBindMutex;

void bindOwnDomain() {
  std::lock_guard lock(sBindMutex);
  if (sExplicitlyBound) return;
  const char* dir = std::getenv("KELP_LOCALEDIR");
  if (!dir || !*dir) dir = KELP_LOCALEDIR;
  bindtextdomain(KTZ_KELP_TEXT_DOMAIN, dir);
}

// A compiled catalogue held whole: the header (magic, revision, count,
// offsets of the original and translated string tables), then tables of
// (length, offset) pairs whose originals are sorted, so a lookup is a
// binary search. Anything out of bounds makes the catalogue count as empty.
class MoFile {
 public:
  explicit MoFile(std::string data) : data_(std::move(data)) {
    if (data_.size() < 28) return;
    std::uint32_t magic = word(0);
    if (magic == 0xde120495u)
      swapped_ = true;
    else if (magic != 0x950412deu)
      return;
    std::uint32_t count = word(8), originals = word(12), translations = word(16);
    if (count > (data_.size() / 8) || originals > data_.size() - count * 8 ||
        translations > data_.size() - count * 8)
      return;
    for (std::uint32_t i = 0; i < count; ++i)
      if (!validString(originals + i * 8) || !validString(translations + i * 8)) return;
    count_ = count;
    originals_ = originals;
    translations_ = translations;
  }

  const char* find(const char* msgid) const {
    std::uint32_t lo = 0, hi = count_;
    while (lo < hi) {
      std::uint32_t mid = lo + (hi - lo) / 2;
      int c = std::strcmp(msgid, string(originals_ + mid * 8));
      if (c == 0) return string(translations_ + mid * 8);
      if (c < 0)
        hi = mid;
      else
        lo = mid + 1;
    }
    return nullptr;
  }

 private:
  std::uint32_t word(std::size_t at) const {
    std::uint32_t w;
    std::memcpy(&w, data_.data() + at, 4);
    return swapped_ ? __builtin_bswap32(w) : w;
  }
  // The entry's string lies inside the data and ends with its NUL.
  bool validString(std::size_t entry) const {
    std::uint32_t length = word(entry), offset = word(entry + 4);
    return offset < data_.size() && length < data_.size() - offset &&
           data_[offset + length] == '\0';
  }
  const char* string(std::size_t entry) const { return data_.data() + word(entry + 4); }

  std::string data_;
  bool swapped_ = false;
  std::uint32_t count_ = 0, originals_ = 0, translations_ = 0;
};

bool isPlainName(const char* s) {
  if (!*s || std::strlen(s) > 64 || std::strstr(s, "..")) return false;
  for (; *s; ++s)
    if (!std::isalnum(static_cast<unsigned char>(*s)) && !std::strchr("_-@.", *s)) return false;
  return true;
}

std::mutex sCatalogueMutex;

// The catalogue of domain and language, read on first use; null when none.
const MoFile* catalogueFor(const char* domain, const std::string& language) {
  static std::map<std::string, std::unique_ptr<MoFile>> catalogues;
  std::string key = std::string(domain) + '\n' + language;
  auto it = catalogues.find(key);
  if (it != catalogues.end()) return it->second.get();
  std::unique_ptr<MoFile> file;
  const char* dir = bindtextdomain(domain, nullptr);
  if (dir) {
    std::ifstream in(std::string(dir) + "/" + language + "/LC_MESSAGES/" + domain + ".mo",
                     std::ios::binary);
    constexpr std::size_t kMaxSize = 16u << 20;
    std::string data;
    char block[8192];
    while (in && data.size() <= kMaxSize) {
      in.read(block, sizeof block);
      data.append(block, static_cast<std::size_t>(in.gcount()));
    }
    if (!data.empty() && data.size() <= kMaxSize) file = std::make_unique<MoFile>(std::move(data));
  }
  return catalogues.emplace(key, std::move(file)).first->second.get();
}

}  // namespace

const char* ktzDGetTextIn(const char* domain, const char* language, const char* msgid) {
  if (!msgid) return "";
  if (!domain || !*domain || std::strchr(domain, '/') || std::strstr(domain, "..") || !*msgid ||
      !language || !isPlainName(language))
    return msgid;
  if (std::strcmp(domain, KTZ_KELP_TEXT_DOMAIN) == 0) std::call_once(sBindOnce, bindOwnDomain);
  std::lock_guard lock(sCatalogueMutex);
  std::string lang = language;
  for (;;) {
    if (const MoFile* file = catalogueFor(domain, lang))
      if (const char* text = file->find(msgid)) return *text ? text : msgid;
    std::size_t cut = lang.find_first_of("_@.");
    if (cut == std::string::npos) return msgid;
    lang.erase(cut);
  }
}

const char* ktzDGetText(const char* domain, const char* msgid) {
  if (!msgid) return "";
  if (!domain || !*domain) return msgid;
  if (std::strcmp(domain, KTZ_KELP_TEXT_DOMAIN) == 0) std::call_once(sBindOnce, bindOwnDomain);
  return dgettext(domain, msgid);
}

bool ktzBindTextDomain(const char* domain, const char* dir) {
  if (!domain || !*domain || !dir) return false;
  std::lock_guard lock(sBindMutex);
  if (std::strcmp(domain, KTZ_KELP_TEXT_DOMAIN) == 0) sExplicitlyBound = true;
  return bindtextdomain(domain, dir) != nullptr;
}
