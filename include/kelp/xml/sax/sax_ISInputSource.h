/* qor::quv::xml::sax::ISInputSource: an input source over an object-model
 * stream or a standard input stream, decoding the text into the reader's
 * output encoding.
 *
 * Until setEncoding is called, bytes pass through unchanged. setEncoding
 * opens a text codec when the two charset names differ (byte-wise) and
 * restarts decoding at the beginning of the input: the raw bytes read so
 * far are kept (the first 64 KiB of a document at least), so a reader that
 * chose the encoding from the first bytes or from the XML declaration
 * reads them again under the new codec, and skips what it had already
 * consumed (consume with the count it had read, for instance). A leading
 * byte-order mark is skipped for "UTF-8", "UTF-16BE", "UTF-16LE",
 * "UTF-32BE" and "UTF-32LE" (any case); other names ("UTF-16", "UTF-32")
 * leave the mark to the codec.
 *
 * Undecodable input never stops the reading: each bad unit of the source
 * encoding (by its MIBenum: a UTF-8 lead byte with its continuation bytes,
 * 2 bytes of UCS-2 or UTF-16, 4 of a surrogate pair that failed, 4 of UCS-4
 * and UTF-32, 1 byte of anything else; the rest of the input when fewer
 * bytes remain than a unit) becomes one "?". UTF-8 that passes through
 * without a codec (`from` and `to` both UTF-8) is checked all the same:
 * each ill-formed sequence (an overlong form, a surrogate, a value beyond
 * U+10FFFF, a truncated sequence, a stray continuation byte) becomes one
 * "?", so a reader never sees ill-formed UTF-8. What a codec makes into
 * UTF-8 is held to the same rule (the platform's decoders accept wider
 * forms, such as UCS-4 values beyond U+10FFFF).
 *
 * The source holds a reference to an object-model stream; a standard
 * stream is deleted at the end only when the source owns it. One thread at
 * a time.
 *
 *   zob::Ref<zob::io::IInputStream> in;
 *   zobCreateFileInputStream(path, in.out());
 *   ISInputSource source("", path, in.get());
 *   source.setEncoding("ISO-8859-1", "UTF-8");
 */
#ifndef KELP_XML_SAX_SAX_ISINPUTSOURCE_H
#define KELP_XML_SAX_SAX_ISINPUTSOURCE_H

#include <cstddef>
#include <iosfwd>
#include <string>

#include <kelp/kelp_api.h>
#include <kelp/xml/sax/sax_SimpleInputSource.h>
#include <zob/zob_io.h>

namespace qor::quv::xml::sax {

class KELP_API ISInputSource : public SimpleInputSource {
 public:
  /* Reads from stream, holding a reference to it. A null stream reads as a
   * read error. */
  ISInputSource(const std::string& publicId, const std::string& systemId,
                zob::io::IInputStream* stream);
  /* Reads from stream; with `own` the source deletes it at the end. */
  ISInputSource(const std::string& publicId, const std::string& systemId, std::istream* stream,
                bool own);
  ~ISInputSource() override;

  /* Closes any open codec and resets the source (see above). An empty or
   * null `to` means the charset of the current locale, or "US-ASCII" when
   * that is unknown. False only when no codec from `from` to `to` can be
   * opened (a null or empty `from` included); decoding then passes bytes
   * through unchanged. */
  bool setEncoding(const char* from, const char* to) override;
  /* Decoded input: up to size bytes, 0 at the end, -1 on a stream error. */
  int fetch(char* buffer, std::size_t size) override;

  /* The MIBenum of the encoding being decoded (0 without conversion or for
   * a name outside the registry). */
  int getSourceMIBenum() const;

 private:
  struct Data;
  Data* m_;
};

}  // namespace qor::quv::xml::sax

#endif
