/* qor::quv::xml::sax::SimpleInputSource: the buffered input source that
 * counts lines and serves the reader's scanners.
 *
 * Derived classes supply the bytes through fetch (and decide about
 * setEncoding). Input is fetched in blocks into a buffer of 8192 bytes at
 * first, whose first 16 bytes stay free so that unget can always step back;
 * the buffer only grows, by doubling, when ungets or a look-ahead
 * (testPending) need more than it holds. Line numbers start at 1 and are
 * counted by the operations that consume bytes (get, consume, skipSpace)
 * and uncounted by unget of a line feed. Locators report column 0 always.
 *
 * One thread at a time. Example of a source over a string:
 *
 *   class StringSource : public SimpleInputSource {
 *    public:
 *     explicit StringSource(std::string s) : SimpleInputSource("", "mem"), s_(s) {}
 *     bool setEncoding(const char*, const char*) override { return true; }
 *     int fetch(char* buf, std::size_t size) override {
 *       std::size_t n = std::min(size, s_.size() - pos_);
 *       std::memcpy(buf, s_.data() + pos_, n);
 *       pos_ += n;
 *       return static_cast<int>(n);
 *     }
 *     std::string s_;
 *     std::size_t pos_ = 0;
 *   };
 */
#ifndef KELP_XML_SAX_SAX_SIMPLEINPUTSOURCE_H
#define KELP_XML_SAX_SAX_SIMPLEINPUTSOURCE_H

#include <cstddef>
#include <string>

#include <kelp/kelp_api.h>
#include <kelp/xml/sax/sax_InputSource.h>

namespace qor::quv::xml::sax {

class KELP_API SimpleInputSource : public InputSource {
 public:
  SimpleInputSource(const std::string& publicId, const std::string& systemId);
  ~SimpleInputSource() override;
  SimpleInputSource(const SimpleInputSource&) = delete;
  SimpleInputSource& operator=(const SimpleInputSource&) = delete;

  bool good() override;
  bool eof() override;
  bool error() override;

  /* When the buffer is used up it is refilled by fetch(buffer + 16,
   * capacity - 16); a fetch of 0 sets the end flag, a negative one the error
   * flag, and get returns -1. */
  int get() override;
  /* Clears the end flag. When all spare bytes are used up, free room at the
   * end of the buffer is moved to the front, and a full buffer doubles. */
  void unget(char c) override;
  int consume(int count) override;
  /* Reads more input (readMore) while the buffer holds fewer bytes than a
   * pattern and its follower need. */
  bool testPending(const char** patterns, const char* follow) override;
  int skipSpace(util::StringBuf* buf) override;
  bool getName(util::StringBuf* buf) override;
  bool getNmToken(util::StringBuf* buf) override;
  /* Public id, system id, the current line and column 0. */
  Locator getLocator() override;
  /* The unread part of the buffer, refilled first when it is used up. */
  bool peekRun(const char** begin, const char** end) override;
  void consumeRun(std::size_t count, int lineFeeds) override;

  /* Clears the flags and the buffer and restarts the line count, so that
   * the next get fetches again. */
  void reset();

  const std::string& getPublicId() const;
  const std::string& getSystemId() const;
  /* The buffer's current capacity in bytes (8192 until it grows). */
  std::size_t getBufferCapacity() const;

 protected:
  /* Adds input behind the unread data, which is first moved down behind the
   * spare bytes; when the buffer is then full (fewer than 16 bytes free, so
   * that a decoder always has room for a whole character) it doubles. False
   * when nothing could be added: at the end of input, or on a read error
   * (which sets the error flag). */
  bool readMore();

 private:
  struct Data;
  // Refills the used-up buffer; false at the end of input or on an error.
  bool refill();
  // Appends the run [from, to) of the buffer to buf.
  static void appendRun(util::StringBuf* buf, const char* from, const char* to);
  bool scanName(util::StringBuf* buf, bool nameStart);

  Data* d_;
};

}  // namespace qor::quv::xml::sax

#endif
