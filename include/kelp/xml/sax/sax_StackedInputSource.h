/* qor::quv::xml::sax::StackedInputSource: a stack of input sources, the
 * document's at the bottom and the source of each entity being read above
 * the one that referred to it, read as one input.
 *
 * A reader may take runs (peekRun, consumeRun) straight from top() and only
 * ask the stack to pop a source it has read to its end.
 *
 * Built on the document's outermost source, which it never owns; every
 * source pushed later belongs to the stack and is deleted when popped or
 * when the stack goes. Operations go to the top source, except:
 * - get reads from the top and, when that one is used up, pops it and goes
 *   on below, until a byte comes or pop refuses;
 * - testPending asks the top source and, while a source has no input left,
 *   the sources below it;
 * - pop refuses (returns false, removing nothing) when only the base is
 *   left or when the top source's error flag is set, so that a read error is
 *   not hidden by falling back to the enclosing source.
 *
 *   StackedInputSource input(&document);
 *   input.push(entitySource);  // now owned by input
 *   int c = input.get();
 */
#ifndef KELP_XML_SAX_SAX_STACKEDINPUTSOURCE_H
#define KELP_XML_SAX_SAX_STACKEDINPUTSOURCE_H

#include <cstddef>
#include <vector>

#include <kelp/kelp_api.h>
#include <kelp/xml/sax/sax_InputSource.h>

namespace qor::quv::xml::sax {

class KELP_API StackedInputSource : public InputSource {
 public:
  explicit StackedInputSource(InputSource* base);
  ~StackedInputSource() override;
  StackedInputSource(const StackedInputSource&) = delete;
  StackedInputSource& operator=(const StackedInputSource&) = delete;

  bool good() override;
  bool eof() override;
  bool error() override;
  int get() override;
  void unget(char c) override;
  int consume(int count) override;
  bool testPending(const char** patterns, const char* follow) override;
  int skipSpace(util::StringBuf* buf) override;
  bool getName(util::StringBuf* buf) override;
  bool getNmToken(util::StringBuf* buf) override;
  Locator getLocator() override;
  /* Runs of the top source; an exhausted top is popped as by get(). */
  bool peekRun(const char** begin, const char** end) override;
  void consumeRun(std::size_t count, int lineFeeds) override;
  bool setEncoding(const char* from, const char* to) override;
  int fetch(char* buffer, std::size_t size) override;

  /* Makes source the new top, taking ownership; null is ignored. */
  void push(InputSource* source);
  /* Deletes the top source and makes the one below the top; see above for
   * when it refuses. */
  bool pop();
  /* The current top source. */
  InputSource* top() const { return sources_.back(); }
  /* The number of sources, the base included. */
  std::size_t depth() const { return sources_.size(); }

 private:
  // sources_[0] is the base; the back is the top.
  std::vector<InputSource*> sources_;
};

}  // namespace qor::quv::xml::sax

#endif
