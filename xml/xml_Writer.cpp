// The streaming XML writer: buffered output, escaping, line breaks and
// indentation, and conversion into the output encoding.
#define QUV_SOURCE_NAME "xml_Writer"
#include <kelp/xml/xml_Writer.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <locale>
#include <memory>
#include <new>
#include <ostream>
#include <sstream>
#include <utility>

#include <kelp/util/utl_PString.h>
#include <ktz/ktz_atomic.h>
#include <ktz/ktz_codec.h>
#include <ktz/ktz_locale.h>
#include <vorn/vorn_placeholder.h>
#include <zob/zob_mem.h>

#include "xml_Writer_impl.h"

namespace qor::quv::xml {

namespace {

using Probe = detail::XMLWriterProbe;

constexpr std::size_t kBufferSize = Probe::kBufferSize;

// Codec flags.
constexpr unsigned kFirstCall = 0x1u;
constexpr unsigned kFinalCall = 0x2u;

}  // namespace

struct XMLWriter::Data {
  zob::Ref<zob::io::IOutputStream> stream;
  std::ostream* ostream = nullptr;
  bool atLineStart = true;
  int indentStep = 0;
  int indent = 0;
  int state = Probe::kProlog;
  std::deque<std::pair<util::PString, ElementFormat>> elements;
  int bracketCount = 0;
  std::string encoding = "UTF-8";
  std::string doctypeName;
  std::string publicId;
  std::string systemId;
  std::string errorMessage;
  KtzTextCodec* codec = nullptr;
  unsigned codecFlags = 0;
  char buffer[kBufferSize];
  char* bufBegin = buffer;
  char* bufFill = buffer;
  char* bufEnd = buffer + kBufferSize;
  std::unique_ptr<char[]> converted;  // made when first needed
  // A write to the stream failed since the current operation began.
  bool writeFailed = false;

  bool isOpen() const { return stream || ostream; }

  // Hands bytes to the stream.
  bool emit(const char* p, std::size_t n) {
    if (n == 0) return true;
    if (stream) return !EFAILED(stream->write(p, n, nullptr));
    if (ostream) {
      ostream->write(p, static_cast<std::streamsize>(n));
      return static_cast<bool>(*ostream);
    }
    return false;
  }

  // Empties the buffer into the stream, converting when a codec is open.
  // Without `more` the conversion is ended. Bytes are dropped on failure so
  // that the writer can go on; the failure is reported by the caller.
  bool flushBuffer(bool more) {
    const std::size_t fill = static_cast<std::size_t>(bufFill - bufBegin);
    if (!codec) {
      bool ok = emit(bufBegin, fill);
      bufFill = bufBegin;
      return ok;
    }
    if (!converted) converted.reset(new (std::nothrow) char[kBufferSize]);
    if (!converted) {
      bufFill = bufBegin;
      return false;
    }
    bool ok = true;
    std::size_t pos = 0;
    for (;;) {
      std::size_t used = 0;
      std::size_t made = 0;
      unsigned flags = (codecFlags & kFirstCall) ? kKtzConvFirst : 0u;
      if (!more) flags |= kKtzConvFinal;
      ZResult res = ktzConvertText2(codec, bufBegin + pos, fill - pos, &used, converted.get(),
                                    kBufferSize, &made, flags);
      codecFlags &= ~kFirstCall;
      pos += used;
      if (made > 0 && !emit(converted.get(), made)) ok = false;
      if (res == zob::kIllegalSequence) {
        // The byte that cannot be converted is dropped: losing it is
        // better than failing the whole document.
        if (pos >= fill) break;
        ++pos;
        continue;
      }
      if (EFAILED(res)) {
        ok = false;
        pos = fill;
        break;
      }
      if (res == kKtzConvOutputFull) {
        if (used == 0 && made == 0) {  // no progress: give up on this block
          ok = false;
          pos = fill;
          break;
        }
        continue;
      }
      // Done, or an incomplete sequence at the end that the next block
      // completes: it stays in the buffer.
      break;
    }
    const std::size_t rest = fill - pos;
    if (rest > 0) std::memmove(bufBegin, bufBegin + pos, rest);
    bufFill = bufBegin + rest;
    return ok;
  }

  // Appends to the buffer: one capacity check for the small writes that
  // markup is made of; only a write that does not fit takes the slow path.
  void write(const char* s, std::size_t n) {
    if (static_cast<std::size_t>(bufEnd - bufFill) >= n) {
      std::memcpy(bufFill, s, n);
      bufFill += n;
      return;
    }
    writeSlow(s, n);
  }
  void write(const char* s) { write(s, std::strlen(s)); }
  void write(const std::string& s) { write(s.data(), s.size()); }
  void write(char c) {
    if (bufFill == bufEnd)
      writeSlow(&c, 1);
    else
      *bufFill++ = c;
  }

  void writeSlow(const char* s, std::size_t n) {
    while (n > 0) {
      std::size_t k = std::min(n, static_cast<std::size_t>(bufEnd - bufFill));
      std::memcpy(bufFill, s, k);
      bufFill += k;
      s += k;
      n -= k;
      if (bufFill == bufEnd) {
        if (!flushFull()) writeFailed = true;
        if (bufFill == bufEnd) bufFill = bufBegin;  // cannot happen: never stall
      }
    }
  }

  // Empties a full buffer. Without a codec a UTF-8 sequence cut by the end
  // of the buffer stays behind for the next block, so that every write to
  // the stream holds whole characters (a codec keeps incomplete sequences
  // by itself).
  bool flushFull() {
    if (codec) return flushBuffer(true);
    const std::size_t keep = detail::incompleteUtf8Tail(bufBegin, bufFill);
    bool ok = emit(bufBegin, static_cast<std::size_t>(bufFill - bufBegin) - keep);
    std::memmove(bufBegin, bufFill - keep, keep);
    bufFill = bufBegin + keep;
    return ok;
  }

  // Writes the zero-terminated text with the characters of `special` (a
  // class of kWriterChars) replaced by their entities, one run of plain
  // bytes at a time.
  void writeEscaped(const char* p, unsigned char special) {
    for (;;) {
      const char* run = p;
      const auto& chars = detail::kWriterChars;
      // Four bytes a round: plain text is the common case.
      for (;;) {
        if (chars[static_cast<unsigned char>(p[0])] & special) break;
        if (chars[static_cast<unsigned char>(p[1])] & special) {
          p += 1;
          break;
        }
        if (chars[static_cast<unsigned char>(p[2])] & special) {
          p += 2;
          break;
        }
        if (chars[static_cast<unsigned char>(p[3])] & special) {
          p += 3;
          break;
        }
        p += 4;
      }
      write(run, static_cast<std::size_t>(p - run));
      switch (*p) {
        case '\0':
          return;
        case '<':
          write("&lt;", 4);
          break;
        case '>':
          write("&gt;", 4);
          break;
        case '&':
          write("&amp;", 5);
          break;
        case '\'':
          write("&apos;", 6);
          break;
        default:
          write(*p);  // cannot happen: only the characters above are special
          break;
      }
      ++p;
    }
  }

  // Text that starts a line is indented first: a tab per 8 columns, then
  // spaces.
  template <class T>
  void markup(const T& text) {
    if (atLineStart) {
      writeIndentation();
      atLineStart = false;
    }
    write(text);
  }

  // A tab for each full 8 columns, then a space for each column left.
  void writeIndentation() {
    static const char kTabs[] = "\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t";
    static const char kSpaces[] = "       ";
    const int columns = std::max(indent, 0);
    for (int tabs = columns / 8; tabs > 0; tabs -= 16)
      write(kTabs, static_cast<std::size_t>(std::min(tabs, 16)));
    write(kSpaces, static_cast<std::size_t>(columns % 8));
  }

  template <class T>
  void content(const T& text) {
    write(text);
    atLineStart = false;
  }

  // A line break unless one was just written; the indentation changes by
  // `delta` steps in any case.
  void eol(int delta) {
    if (!atLineStart) {
      write('\n');
      atLineStart = true;
    }
    indent += delta * indentStep;
  }

  void closeCodec() {
    if (codec) ktzCloseTextCodec(codec);
    codec = nullptr;
    codecFlags = 0;
  }

  bool initCodec() {
    closeCodec();
    std::string appCodeSet = XMLWriter::getAppCodeSet();
    if (encoding == appCodeSet) return true;
    if (EFAILED(ktzOpenTextCodec(appCodeSet.c_str(), encoding.c_str(), &codec))) {
      codec = nullptr;
      return false;
    }
    codecFlags = kFirstCall;
    return true;
  }

  // The result of an operation whose writes may have failed.
  ZResult result() {
    bool failed = writeFailed;
    writeFailed = false;
    return failed ? zob::kWriteFailure : zob::kOk;
  }
};

// A new T, or null when out of memory. The writer's state allocates as it
// is made (the element stack), so a nothrow new alone would not do.
template <class T>
static T* newOrNull() noexcept {
  try {
    return new T;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

XMLWriter::XMLWriter(zob::io::IOutputStream* stream, int indentStep)
    : d_(newOrNull<Data>()), refs_(0) {
  if (!d_) return;
  d_->stream = zob::Ref<zob::io::IOutputStream>(stream);
  d_->indentStep = indentStep;
}

XMLWriter::XMLWriter(std::ostream* stream, int indentStep) : d_(newOrNull<Data>()), refs_(0) {
  if (!d_) return;
  d_->ostream = stream;
  d_->indentStep = indentStep;
}

XMLWriter::~XMLWriter() {
  if (!d_) return;
  close();
  d_->closeCodec();
  delete d_;
}

ZResult XMLWriter::queryInterface(const char* iid, zob::IUnknown** out) {
  if (!out) return zob::kInvalidArgument;
  if (zobCompareIID(iid, zob::IUnknown::IID) || zobCompareIID(iid, IXMLWriter::IID)) {
    addRef();
    *out = this;
    return zob::kOk;
  }
  *out = nullptr;
  return zob::kNoInterface;
}

std::uint32_t XMLWriter::addRef() {
  return static_cast<std::uint32_t>(ktzAtomicIncrement(&refs_));
}

std::uint32_t XMLWriter::release() {
  std::int32_t left = ktzAtomicDecrement(&refs_);
  if (left < 0) std::abort();  // released more often than referenced
  if (left == 0) delete this;
  return static_cast<std::uint32_t>(left);
}

// The operations test `d_ && d_->isOpen()` inline rather than call the
// exported isOpen, which a shared library reaches through its symbol table.
bool XMLWriter::isOpen() const {
  return d_ && d_->isOpen();
}

ZResult XMLWriter::invalidState(const char* message) {
  d_->errorMessage = message;
  return zob::kInvalidState;
}

ZResult XMLWriter::writeDeclaration() {
  Data& d = *d_;
  if (!d.initCodec()) return zob::kWriteFailure;
  d.markup("<?xml version='1.0'");
  if (!d.encoding.empty()) {
    d.write(" encoding=");
    d.write(quoteAttrValue(d.encoding.c_str()));
  }
  d.write("?>");
  d.eol(0);
  if (!d.doctypeName.empty()) {
    std::string doctype;
    if (!d.publicId.empty())
      doctype = std::string("<!DOCTYPE %1 PUBLIC %2 %3>")
                << d.doctypeName << quoteAttrValue(d.publicId.c_str())
                << quoteAttrValue(d.systemId.c_str());
    else
      doctype = std::string("<!DOCTYPE %1 SYSTEM %2>")
                << d.doctypeName << quoteAttrValue(d.systemId.c_str());
    d.markup(doctype);
    d.eol(0);
  }
  return zob::kOk;
}

ZResult XMLWriter::startElement(const char* name, ElementFormat format) try {
  if (!d_ || !d_->isOpen()) return zob::kInvalidState;
  if (!name || !*name) return zob::kInvalidArgument;
  if (format < kFormatInline || format > kFormatIndentedBlock) return zob::kInvalidArgument;
  Data& d = *d_;
  if (d.state == Probe::kCData) return zob::kInvalidState;
  if (d.state == Probe::kStartTagOpen) {
    d.markup(">");
    if (!d.elements.empty() && d.elements.back().second == kFormatIndentedBlock) d.eol(+1);
  } else if (d.state == Probe::kProlog) {
    ZResult res = writeDeclaration();
    if (EFAILED(res)) return res;
  }
  if (format != kFormatInline) d.eol(0);
  d.markup("<");
  d.write(name);
  d.state = Probe::kStartTagOpen;
  d.elements.emplace_back(util::PString(name), format);
  return d.result();
} catch (const std::exception&) {
  return zob::kOutOfMemory;
}

ZResult XMLWriter::endElement() {
  if (!d_ || !d_->isOpen()) return zob::kInvalidState;
  Data& d = *d_;
  if (d.state == Probe::kCData) return zob::kInvalidState;
  if (d.elements.empty()) return invalidState("Empty element stack in end of element.");
  auto [name, format] = d.elements.back();
  d.elements.pop_back();
  if (d.state == Probe::kStartTagOpen) {
    d.markup("/>");
  } else {
    if (format == kFormatIndentedBlock) d.eol(-1);
    d.markup("</");
    d.write(name.c_str());
    d.write('>');
  }
  if (format != kFormatInline) d.eol(0);
  d.state = Probe::kContent;
  return d.result();
}

ZResult XMLWriter::stringAttribute(const char* name, const char* value) try {
  if (!d_ || !d_->isOpen()) return zob::kInvalidState;
  if (!name || !*name) return zob::kInvalidArgument;
  Data& d = *d_;
  if (d.state != Probe::kStartTagOpen) return invalidState("Attribute outside start element tag");
  if (!value) value = "";
  d.write(' ');
  d.write(name);
  d.write('=');
  // The same bytes as quoteAttrValue(value), which a value without any of
  // ' & < leaves as it is between the quotes; written without a copy.
  d.write('\'');
  d.writeEscaped(value, detail::kAttrSpecial);
  d.write('\'');
  return d.result();
} catch (const std::exception&) {
  return zob::kOutOfMemory;
}

ZResult XMLWriter::intAttribute(const char* name, int value) try {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << value;
  return stringAttribute(name, text.str().c_str());
} catch (const std::exception&) {
  return zob::kOutOfMemory;
}

ZResult XMLWriter::floatAttribute(const char* name, double value) try {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text.precision(15);
  text << value;
  return stringAttribute(name, text.str().c_str());
} catch (const std::exception&) {
  return zob::kOutOfMemory;
}

ZResult XMLWriter::characters(const char* text) try {
  if (!d_ || !d_->isOpen()) return zob::kInvalidState;
  Data& d = *d_;
  if (d.state == Probe::kStartTagOpen) {
    d.markup(">");
    if (!d.elements.empty() && d.elements.back().second == kFormatIndentedBlock) d.eol(+1);
    d.state = Probe::kContent;
  }
  if (d.state == Probe::kCData) return cdata(text) ? 1 : 0;
  if (d.state == Probe::kProlog) return invalidState("Character data in prolog.");
  if (text) {
    // quoteCharData(text), written without a copy: a text without any of
    // & < > goes out as it is.
    d.writeEscaped(text, detail::kTextSpecial);
    d.atLineStart = false;
  }
  return d.result();
} catch (const std::exception&) {
  return zob::kOutOfMemory;
}

bool XMLWriter::cdata(const char* text) {
  Data& d = *d_;
  if (text) {
    // "]]>" cannot stand inside a CDATA section: end the section before the
    // '>' and write the '>' at the start of a new one.
    const char* run = text;
    for (const char* p = text; *p; ++p) {
      if (*p == ']') {
        ++d.bracketCount;
      } else if (*p == '>' && d.bracketCount >= 2) {
        d.content(std::string(run, p));
        d.content("]]><![CDATA[>");
        d.bracketCount = 0;
        run = p + 1;
      } else {
        d.bracketCount = 0;
      }
    }
    d.content(run);
  }
  return !EFAILED(d.result());
}

ZResult XMLWriter::startCDATA() {
  if (!d_ || !d_->isOpen()) return zob::kInvalidState;
  d_->bracketCount = 0;
  d_->content("<![CDATA[");
  return d_->result();
}

ZResult XMLWriter::endCDATA() {
  if (!d_ || !d_->isOpen()) return zob::kInvalidState;
  d_->content("]]>");
  return EFAILED(d_->result()) ? 0 : 1;
}

ZResult XMLWriter::getErrorMessage(char** message) {
  if (!message) return zob::kInvalidArgument;
  *message = zobStrDup(d_ && d_->isOpen() ? d_->errorMessage.c_str() : "XMLWriter not initialized");
  return *message ? zob::kOk : zob::kOutOfMemory;
}

ZResult XMLWriter::flush() {
  if (!d_ || !d_->isOpen()) return zob::kInvalidState;
  Data& d = *d_;
  if (!d.flushBuffer(true)) d.writeFailed = true;
  if (d.stream) {
    if (EFAILED(d.stream->flush())) d.writeFailed = true;
  } else if (d.ostream) {
    if (!d.ostream->flush()) d.writeFailed = true;
  }
  return d.result();
}

void XMLWriter::setEncoding(const std::string& name) {
  if (!d_) return;
  d_->encoding = name.empty() ? getAppCodeSet() : name;
}

void XMLWriter::setExternalDTD(const std::string& name, const std::string& publicId,
                               const std::string& systemId) {
  if (!d_) return;
  d_->doctypeName = name;
  d_->publicId = publicId;
  d_->systemId = systemId;
}

ZResult XMLWriter::close() {
  if (!d_ || !d_->isOpen()) return 1;
  Data& d = *d_;
  d.codecFlags |= kFinalCall;
  if (!d.flushBuffer(false)) d.writeFailed = true;
  if (d.stream) {
    if (EFAILED(d.stream->flush())) d.writeFailed = true;
  } else if (d.ostream) {
    if (!d.ostream->flush()) d.writeFailed = true;
  }
  d.stream.reset();
  d.ostream = nullptr;
  d.closeCodec();
  return d.result();
}

std::string XMLWriter::quoteAttrValue(const char* text) {
  std::string out = "'";
  for (const char* p = text ? text : ""; *p; ++p) {
    switch (*p) {
      case '\'':
        out += "&apos;";
        break;
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      default:
        out += *p;
    }
  }
  out += '\'';
  return out;
}

std::string XMLWriter::quoteCharData(const char* text) {
  std::string out;
  for (const char* p = text ? text : ""; *p; ++p) {
    switch (*p) {
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '&':
        out += "&amp;";
        break;
      default:
        out += *p;
    }
  }
  return out;
}

std::string XMLWriter::getAppCodeSet() {
  char codeSet[32];
  if (EFAILED(ktzGetLocaleParam(kKtzLocaleCodeSet, codeSet, sizeof codeSet))) return "US-ASCII";
  return codeSet;
}

namespace detail {

int XMLWriterProbe::state(const XMLWriter& w) {
  return w.d_ ? w.d_->state : -1;
}
void XMLWriterProbe::setState(XMLWriter& w, int state) {
  if (w.d_) w.d_->state = state;
}
int XMLWriterProbe::indent(const XMLWriter& w) {
  return w.d_ ? w.d_->indent : 0;
}
std::size_t XMLWriterProbe::depth(const XMLWriter& w) {
  return w.d_ ? w.d_->elements.size() : 0;
}
bool XMLWriterProbe::converts(const XMLWriter& w) {
  return w.d_ && w.d_->codec;
}

}  // namespace detail

}  // namespace qor::quv::xml
