/* ELangMsgPair: a language code and a message, the plain pair that the
 * host's package interfaces exchange as qor::quv::fw::LangMsgPair.
 *
 * Both strings are owned copies (zob allocations) and never null: a null
 * argument is stored as "". copy() fills a record with fresh zobStrDup0
 * copies for the receiver to free with zobFree.
 *
 *   ELangMsgPair p("de", "Willkommen");
 *   fw::LangMsgPair rec{nullptr, nullptr};
 *   p.copy(&rec, false);   // rec.language "de", rec.message "Willkommen"
 *
 * A plain value: copy freely, no locking. */
#ifndef KELP_UTIL_UTL_ELANGMSGPAIR_H
#define KELP_UTIL_UTL_ELANGMSGPAIR_H

#include <fw/fw_LangMsgPair.h>
#include <kelp/kelp_api.h>

namespace qor::quv::util {

class KELP_API ELangMsgPair {
 public:
  ELangMsgPair();
  ELangMsgPair(const char* language, const char* message);
  ELangMsgPair(const fw::LangMsgPair& record);
  ELangMsgPair(const ELangMsgPair& other);
  ELangMsgPair& operator=(const ELangMsgPair& other);
  ELangMsgPair& operator=(const fw::LangMsgPair& record);
  ~ELangMsgPair();

  void setLanguage(const char* language);
  const char* getLanguage() const { return mLanguage; }
  void setMessage(const char* message);
  const char* getMessage() const { return mMessage; }

  /* Stores zobStrDup0 copies into `out`; with `freeOld` the record's previous
   * strings are freed with zobFree first. */
  void copy(fw::LangMsgPair* out, bool freeOld) const;

 private:
  char* mLanguage;
  char* mMessage;
};

}  // namespace qor::quv::util

#endif
