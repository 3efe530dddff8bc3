/* Scope guards that mark a section of code: SectionFlag sets a caller's bool
 * for the section and restores it afterwards, SectionCounter counts the
 * sections in progress.
 *
 * SectionCounter changes the counter with the runtime's atomic operations,
 * so sections on several threads may share one counter; SectionFlag writes
 * a plain bool and belongs to one thread.
 *
 *   bool inUpdate = false;
 *   {
 *     SectionFlag guard(&inUpdate);  // inUpdate is true here
 *   }                                // and false again here
 */
#ifndef KELP_UTIL_UTL_SECTION_H
#define KELP_UTIL_UTL_SECTION_H

#include <kelp/kelp_api.h>

namespace qor::quv::util {

class KELP_API SectionFlag {
 public:
  /* Remembers *flag and sets it to true. */
  explicit SectionFlag(bool* flag);
  /* Remembers *flag and sets it to `value`. */
  SectionFlag(bool* flag, bool value);
  /* Writes the remembered value back. */
  ~SectionFlag();
  SectionFlag(const SectionFlag&) = delete;
  SectionFlag& operator=(const SectionFlag&) = delete;

 private:
  bool* flag_;
  bool previous_;
};

class KELP_API SectionCounter {
 public:
  /* Atomically increments *counter; the destructor decrements it. */
  explicit SectionCounter(int* counter);
  ~SectionCounter();
  SectionCounter(const SectionCounter&) = delete;
  SectionCounter& operator=(const SectionCounter&) = delete;

 private:
  int* counter_;
};

}  // namespace qor::quv::util

#endif
