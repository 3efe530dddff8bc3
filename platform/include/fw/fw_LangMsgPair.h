/* qor::quv::fw::LangMsgPair: the language-and-message record that the host's
 * package interfaces exchange. Both strings are zero-terminated, allocated
 * with the zob allocation functions and owned by whoever holds the record
 * (freed with zobFree); either may be null. */
#ifndef FW_FW_LANGMSGPAIR_H
#define FW_FW_LANGMSGPAIR_H

namespace qor::quv::fw {

struct LangMsgPair {
  char* language;
  char* message;
};

}  // namespace qor::quv::fw

#endif
