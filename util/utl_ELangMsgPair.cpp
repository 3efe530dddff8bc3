// ELangMsgPair: an owned language code and message, and their record form.
#define QUV_SOURCE_NAME "utl_ELangMsgPair"
#include <kelp/util/utl_ELangMsgPair.h>

#include <zob/zob_mem.h>

namespace qor::quv::util {

namespace {

// Replaces *slot by a copy of text; copies first, since text may be *slot.
void replace(char** slot, const char* text) {
  char* copy = zobStrDup0(text);
  zobFree(*slot);
  *slot = copy;
}

}  // namespace

ELangMsgPair::ELangMsgPair() : mLanguage(zobStrDup0(nullptr)), mMessage(zobStrDup0(nullptr)) {}

ELangMsgPair::ELangMsgPair(const char* language, const char* message)
    : mLanguage(zobStrDup0(language)), mMessage(zobStrDup0(message)) {}

ELangMsgPair::ELangMsgPair(const fw::LangMsgPair& record)
    : ELangMsgPair(record.language, record.message) {}

ELangMsgPair::ELangMsgPair(const ELangMsgPair& other)
    : ELangMsgPair(other.mLanguage, other.mMessage) {}

ELangMsgPair& ELangMsgPair::operator=(const ELangMsgPair& other) {
  setLanguage(other.mLanguage);
  setMessage(other.mMessage);
  return *this;
}

ELangMsgPair& ELangMsgPair::operator=(const fw::LangMsgPair& record) {
  setLanguage(record.language);
  setMessage(record.message);
  return *this;
}

ELangMsgPair::~ELangMsgPair() {
  zobFree(mLanguage);
  zobFree(mMessage);
}

void ELangMsgPair::setLanguage(const char* language) {
  replace(&mLanguage, language);
}

void ELangMsgPair::setMessage(const char* message) {
  replace(&mMessage, message);
}

void ELangMsgPair::copy(fw::LangMsgPair* out, bool freeOld) const {
  if (!out) return;
  char* language = zobStrDup0(mLanguage);
  char* message = zobStrDup0(mMessage);
  if (freeOld) {
    zobFree(out->language);
    zobFree(out->message);
  }
  out->language = language;
  out->message = message;
}

}  // namespace qor::quv::util
