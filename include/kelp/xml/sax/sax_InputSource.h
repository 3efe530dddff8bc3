/* qor::quv::xml::sax::InputSource: the abstract byte source a reader pulls
 * its document from, already decoded into the reader's output encoding.
 *
 * A reader takes the buffered input in runs (peekRun, consumeRun) and scans
 * them itself; the byte operations (get, unget, consume), the look-ahead
 * (testPending) and the scanners for white space, names and name tokens
 * (one call each) serve readers that go byte by byte or token by token.
 * The implementations are SimpleInputSource (buffering, line counting, the
 * scanners), ISInputSource (streams and decoding) and StackedInputSource
 * (the sources of nested entities, innermost on top). A source is used by
 * one thread at a time.
 *
 *   int c;
 *   while ((c = input->get()) >= 0) handle(static_cast<char>(c));
 *   if (input->error()) report("read error");
 */
#ifndef KELP_XML_SAX_SAX_INPUTSOURCE_H
#define KELP_XML_SAX_SAX_INPUTSOURCE_H

#include <cstddef>

#include <kelp/kelp_api.h>
#include <kelp/xml/sax/sax_Locator.h>

namespace qor::quv::util {
class StringBuf;
}

namespace qor::quv::xml::sax {

class KELP_API InputSource {
 public:
  virtual ~InputSource();

  /* Neither end of input nor a read error happened. */
  virtual bool good() = 0;
  /* The input ended (a read found nothing more). */
  virtual bool eof() = 0;
  /* A read failed. */
  virtual bool error() = 0;

  /* The next byte (0 to 255), or -1 at the end of input or on a read error
   * (eof() and error() tell which). */
  virtual int get() = 0;
  /* Steps back one byte and puts c there, so that the next get returns it;
   * any number of bytes may be put back. */
  virtual void unget(char c) = 0;
  /* Skips count bytes; returns the number skipped (fewer at the end of
   * input), or -1 when a read error cut it short. */
  virtual int consume(int count) = 0;
  /* Whether the input continues with one of the patterns (a null-terminated
   * array of zero-terminated byte strings), followed by one of the bytes of
   * `follow` when that is neither null nor empty. Consumes nothing. */
  virtual bool testPending(const char** patterns, const char* follow) = 0;
  /* Skips XML white space (space, tab, CR, LF) and appends it to buf (which
   * may be null); returns the number of bytes skipped. */
  virtual int skipSpace(util::StringBuf* buf) = 0;
  /* Reads an XML name and appends it to buf (which may be null); false, with
   * nothing consumed, when the input does not continue with a name. */
  virtual bool getName(util::StringBuf* buf) = 0;
  /* The same for a name token (name characters only, any first one). */
  virtual bool getNmToken(util::StringBuf* buf) = 0;
  /* A snapshot of the current position; it does not follow the input. */
  virtual Locator getLocator() = 0;
  /* Decodes the input from charset `from` into charset `to` (null or ""
   * for the current locale's charset); false when the charsets cannot be
   * converted. */
  virtual bool setEncoding(const char* from, const char* to) = 0;
  /* Fills buffer with up to size bytes of decoded input; returns the number
   * of bytes, 0 at the end of input, -1 on a read error. */
  virtual int fetch(char* buffer, std::size_t size) = 0;

  /* Run access for scanners, so that a reader pays one call per run of
   * bytes instead of one per byte. peekRun makes at least one byte
   * available and stores the unread buffered bytes as [*begin, *end); false
   * at the end of input or on a read error. The bytes stay valid until the
   * next call on the source. The default shows one byte at a time through
   * get() and unget(). */
  virtual bool peekRun(const char** begin, const char** end);
  /* Takes count bytes of the run peekRun showed, lineFeeds of them line
   * feeds (the caller counts them as it scans, so the line count needs no
   * second pass). The default reads them with get(). */
  virtual void consumeRun(std::size_t count, int lineFeeds);
};

}  // namespace qor::quv::xml::sax

#endif
