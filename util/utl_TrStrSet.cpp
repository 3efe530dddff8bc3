// TrStrSet: texts by language in a one-word-header counted set, the choice
// by the user's locale, and the library's message translations.
#define QUV_SOURCE_NAME "utl_TrStrSet"
#include <kelp/util/utl_TrStrSet.h>

#include <algorithm>
#include <cstdlib>

#include <kelp/util/utl_Logger.h>
#include <ktz/ktz_gettext.h>
#include <zob/zob_mem.h>
#include <zob/zob_variant.h>

namespace qor::quv::util {

namespace {

constexpr std::uint32_t kCountMask = 0x7fffffu;
constexpr std::uint32_t kSortedBit = 1u << 23;
constexpr int kLinearLimit = 15;

}  // namespace

TrStrSet::TrStrSet() : mHeader(0), mEntries(nullptr) {}

TrStrSet::~TrStrSet() {
  delete[] mEntries;
}

unsigned TrStrSet::addRef() {
  std::uint32_t count = mHeader & kCountMask;
  // The count has 23 bits; overflowing into the flags would corrupt the set.
  if (count == kCountMask) std::abort();
  mHeader = (mHeader & ~kCountMask) | (count + 1);
  return count + 1;
}

unsigned TrStrSet::release() {
  std::uint32_t count = mHeader & kCountMask;
  if (count == 0) std::abort();  // released more often than referenced
  --count;
  mHeader = (mHeader & ~kCountMask) | count;
  if (count == 0) delete this;
  return count;
}

unsigned TrStrSet::getRefCount() const {
  return mHeader & kCountMask;
}

void TrStrSet::setSize(int n) {
  mHeader = (mHeader & 0x00ffffffu) | (static_cast<std::uint32_t>(n) << 24);
}

void TrStrSet::setSorted(bool sorted) const {
  mHeader = sorted ? (mHeader | kSortedBit) : (mHeader & ~kSortedBit);
}

unsigned short TrStrSet::mkLangId(const char* code) {
  if (!code || !*code) return DEFAULT_LANG_ID;
  return static_cast<unsigned short>((static_cast<unsigned char>(code[0]) << 8) |
                                     static_cast<unsigned char>(code[1]));
}

bool TrStrSet::isEmpty() const {
  int n = getSize();
  return n == 0 || (n == 1 && mEntries[0].lang == DEFAULT_LANG_ID && mEntries[0].text.isEmpty());
}

PString TrStrSet::getStr(int index) const {
  if (index < 0 || index >= getSize()) return PString();
  return mEntries[index].text;
}

char* TrStrSet::getLang(int index, char* buffer) const {
  if (index < 0 || index >= getSize() || !buffer) return nullptr;
  buffer[0] = static_cast<char>(mEntries[index].lang >> 8);
  buffer[1] = static_cast<char>(mEntries[index].lang & 0xff);
  buffer[2] = '\0';
  return buffer;
}

const TrStrSet::Entry* TrStrSet::find(unsigned short id) const {
  int n = getSize();
  if (n <= kLinearLimit) {
    for (int i = 0; i < n; ++i)
      if (mEntries[i].lang == id) return &mEntries[i];
    return nullptr;
  }
  if (!isSorted()) {
    // Stable, so that of two entries with one language the first appended is
    // found, as by the linear scan.
    std::stable_sort(mEntries, mEntries + n,
                     [](const Entry& a, const Entry& b) { return a.lang < b.lang; });
    setSorted(true);
  }
  const Entry* e = std::lower_bound(mEntries, mEntries + n, id,
                                    [](const Entry& a, unsigned short v) { return a.lang < v; });
  return (e != mEntries + n && e->lang == id) ? e : nullptr;
}

PString TrStrSet::get(const char* lang, bool useDefault) const {
  if (const Entry* e = find(mkLangId(lang))) return e->text;
  if (useDefault)
    if (const Entry* e = find(DEFAULT_LANG_ID)) return e->text;
  return PString();
}

PString TrStrSet::chooseFor(fw::IApplication* app, fw::ILocale* locale,
                            TextCategory category) const {
  if (!locale) return PString();
  if (category == TC_GENERAL) {
    char* lang = nullptr;
    ZResult r = locale->getLanguage(&lang);
    const Entry* e = (!EFAILED(r) && lang && *lang) ? find(mkLangId(lang)) : nullptr;
    zobFree(lang);
    if (e) return e->text;
  }
  zob::Sequence<char*> list{0, nullptr};
  ZResult r;
  if (category == TC_PRODUCT_DATA || category == TC_CATALOG) {
    zob::Ref<fw::ILocale3> locale3;
    r = zob::query(locale, locale3);
    if (EFAILED(r) || !locale3) {
      QUV_QUERY_FAILED(app, locale, fw::ILocale3::IID, r);
      return PString();
    }
    r = category == TC_PRODUCT_DATA ? locale3->getProductDataLanguages(&list)
                                    : locale3->getCatalogLanguages(&list);
  } else {
    zob::Ref<fw::ILocale2> locale2;
    r = zob::query(locale, locale2);
    if (EFAILED(r) || !locale2) {
      QUV_QUERY_FAILED(app, locale, fw::ILocale2::IID, r);
      return PString();
    }
    r = locale2->getLanguages(&list);
  }
  const Entry* found = nullptr;
  if (QUV_ASSERT(app, !EFAILED(r)))
    for (std::uint32_t i = 0; !found && list.buffer && i < list.length; ++i)
      if (list.buffer[i] && *list.buffer[i]) found = find(mkLangId(list.buffer[i]));
  zobFreeStrSeq(&list);
  if (found) return found->text;
  if (const Entry* e = find(DEFAULT_LANG_ID)) return e->text;
  return PString();
}

PString TrStrSet::get(fw::ILocale* locale, TextCategory category) const {
  return chooseFor(nullptr, locale, category);
}

PString TrStrSet::get(fw::IApplication* app, TextCategory category) const {
  if (!app) return PString();
  zob::Ref<fw::ILocale> locale;
  ZResult r = zob::query(app, locale);
  if (EFAILED(r) || !locale) {
    QUV_QUERY_FAILED(app, app, fw::ILocale::IID, r);
    return PString();
  }
  return chooseFor(app, locale.get(), category);
}

namespace {

bool handOut(const PString& text, char** out) {
  if (out) *out = zobStrDup0(text.c_str());
  return !text.isNull();
}

}  // namespace

bool TrStrSet::get(const char* lang, bool useDefault, char** out) const {
  return handOut(get(lang, useDefault), out);
}

bool TrStrSet::get(fw::ILocale* locale, TextCategory category, char** out) const {
  return handOut(get(locale, category), out);
}

bool TrStrSet::get(fw::IApplication* app, TextCategory category, char** out) const {
  return handOut(get(app, category), out);
}

bool TrStrSet::append(const Entry& entry) {
  int n = getSize();
  if (n >= MAX_SIZE) return false;
  // Sets are small: the array grows by exactly one slot.
  Entry* grown = new Entry[static_cast<std::size_t>(n) + 1];
  std::copy(mEntries, mEntries + n, grown);
  grown[n] = entry;
  delete[] mEntries;
  mEntries = grown;
  setSize(n + 1);
  setSorted(false);
  return true;
}

bool TrStrSet::set(const char* lang, const PString& text) {
  unsigned short id = mkLangId(lang);
  if (const Entry* e = find(id)) {
    const_cast<Entry*>(e)->text = text;
    return true;
  }
  return append(Entry{id, text});
}

std::pair<PString, bool> TrStrSet::insert(const char* lang, const PString& text) {
  unsigned short id = mkLangId(lang);
  if (const Entry* e = find(id)) return {e->text, false};
  if (!append(Entry{id, text})) return {PString(), false};
  return {text, true};
}

void TrStrSet::merge(const TrStrSet* other) {
  if (!other || other == this) return;
  for (int i = 0; i < other->getSize(); ++i) {
    const Entry& e = other->mEntries[i];
    if (!find(e.lang) && !append(e)) return;
  }
}

void TrStrSet::copy(const TrStrSet* other) {
  if (other == this) return;
  clear();
  if (!other || other->getSize() == 0) return;
  int n = other->getSize();
  mEntries = new Entry[static_cast<std::size_t>(n)];
  std::copy(other->mEntries, other->mEntries + n, mEntries);
  setSize(n);
  setSorted(other->isSorted());
}

void TrStrSet::clear() {
  delete[] mEntries;
  mEntries = nullptr;
  setSize(0);
  setSorted(false);
}

bool TrStrSet::equalTo(const TrStrSet* other) const {
  if (!other) return getSize() == 0;
  if (other == this) return true;
  if (other->getSize() != getSize()) return false;
  for (int i = 0; i < getSize(); ++i) {
    const Entry* e = other->find(mEntries[i].lang);
    if (!e || !(e->text == mEntries[i].text)) return false;
  }
  return true;
}

const char* eGetText(const char* domain, const char* msgid) {
  return ktzDGetText(domain, msgid);
}

const char* eGetText(const char* domain, const char*, const char* msgid) {
  return ktzDGetText(domain, msgid);
}

}  // namespace qor::quv::util
