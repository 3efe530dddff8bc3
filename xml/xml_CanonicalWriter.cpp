// Canonical XML from SAX events.
#define QUV_SOURCE_NAME "xml_CanonicalWriter"
#include <kelp/xml/xml_CanonicalWriter.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <ostream>
#include <vector>

namespace qor::quv::xml {

namespace {

struct Notation {
  std::string name;
  std::string publicId;
  std::string systemId;
  bool hasPublicId;
  bool hasSystemId;
};

}  // namespace

struct CanonicalWriter::Data {
  std::string* str = nullptr;
  std::ostream* stream = nullptr;
  bool secondForm = false;
  bool failed = false;
  std::string docTypeName;
  std::vector<Notation> notations;
  std::string scratch;
  std::vector<int> order;
};

CanonicalWriter::CanonicalWriter(std::string* out) : d(new Data) {
  d->str = out;
}

CanonicalWriter::CanonicalWriter(std::ostream& out) : d(new Data) {
  d->stream = &out;
}

CanonicalWriter::~CanonicalWriter() {
  delete d;
}

void CanonicalWriter::setSecondForm(bool on) {
  d->secondForm = on;
}

bool CanonicalWriter::getSecondForm() const {
  return d->secondForm;
}

void CanonicalWriter::escape(const char* s, std::string* out) {
  if (!s || !out) return;
  const char* run = s;
  for (const char* p = s;; ++p) {
    const char* rep;
    switch (*p) {
      case '&':
        rep = "&amp;";
        break;
      case '<':
        rep = "&lt;";
        break;
      case '>':
        rep = "&gt;";
        break;
      case '"':
        rep = "&quot;";
        break;
      case '\t':
        rep = "&#9;";
        break;
      case '\n':
        rep = "&#10;";
        break;
      case '\r':
        rep = "&#13;";
        break;
      case '\0':
        out->append(run, static_cast<std::size_t>(p - run));
        return;
      default:
        continue;
    }
    out->append(run, static_cast<std::size_t>(p - run));
    out->append(rep);
    run = p + 1;
  }
}

namespace {

// Writes the scratch text to the target; false once the stream failed.
bool flush(std::string& text, std::string* str, std::ostream* stream, bool& failed) {
  if (failed) return false;
  if (str) {
    str->append(text);
  } else if (stream) {
    stream->write(text.data(), static_cast<std::streamsize>(text.size()));
    if (!*stream) failed = true;
  }
  text.clear();
  return !failed;
}

}  // namespace

bool CanonicalWriter::startDocument() {
  d->failed = false;
  d->docTypeName.clear();
  d->notations.clear();
  d->scratch.clear();
  return true;
}

bool CanonicalWriter::endDocument() {
  if (d->stream && !d->failed) {
    d->stream->flush();
    if (!*d->stream) d->failed = true;
  }
  return !d->failed;
}

bool CanonicalWriter::startElement(const char*, const char*, const char* qName,
                                   const sax::Attributes& attributes) {
  std::string& s = d->scratch;
  s += '<';
  s += qName ? qName : "";
  int n = attributes.getLength();
  d->order.resize(static_cast<std::size_t>(n > 0 ? n : 0));
  for (int i = 0; i < n; ++i) d->order[static_cast<std::size_t>(i)] = i;
  std::stable_sort(d->order.begin(), d->order.end(), [&attributes](int a, int b) {
    return std::strcmp(attributes.getQName(a), attributes.getQName(b)) < 0;
  });
  for (int i : d->order) {
    s += ' ';
    s += attributes.getQName(i);
    s += "=\"";
    escape(attributes.getValue(i), &s);
    s += '"';
  }
  s += '>';
  return flush(s, d->str, d->stream, d->failed);
}

bool CanonicalWriter::endElement(const char*, const char*, const char* qName) {
  std::string& s = d->scratch;
  s += "</";
  s += qName ? qName : "";
  s += '>';
  return flush(s, d->str, d->stream, d->failed);
}

bool CanonicalWriter::ignorableWhitespace(const char* chars) {
  return characters(chars);
}

bool CanonicalWriter::characters(const char* chars) {
  escape(chars, &d->scratch);
  return flush(d->scratch, d->str, d->stream, d->failed);
}

bool CanonicalWriter::processingInstruction(const char* target, const char* data) {
  std::string& s = d->scratch;
  s += "<?";
  s += target ? target : "";
  s += ' ';
  s += data ? data : "";
  s += "?>";
  return flush(s, d->str, d->stream, d->failed);
}

bool CanonicalWriter::notationDecl(const char* name, const char* publicId, const char* systemId) {
  if (!d->secondForm) return !d->failed;
  Notation n;
  n.name = name ? name : "";
  n.hasPublicId = publicId && *publicId;
  n.hasSystemId = systemId && *systemId;
  if (n.hasPublicId) n.publicId = publicId;
  if (n.hasSystemId) n.systemId = systemId;
  d->notations.push_back(std::move(n));
  return !d->failed;
}

bool CanonicalWriter::startDTD(const char* name, const char*, const char*) {
  d->docTypeName = name ? name : "";
  return !d->failed;
}

bool CanonicalWriter::endDTD() {
  if (!d->secondForm || d->notations.empty()) return !d->failed;
  std::stable_sort(d->notations.begin(), d->notations.end(),
                   [](const Notation& a, const Notation& b) { return a.name < b.name; });
  std::string& s = d->scratch;
  s += "<!DOCTYPE ";
  s += d->docTypeName;
  s += " [\n";
  for (const Notation& n : d->notations) {
    s += "<!NOTATION ";
    s += n.name;
    if (n.hasPublicId) {
      s += " PUBLIC '";
      s += n.publicId;
      s += '\'';
      if (n.hasSystemId) {
        s += " '";
        s += n.systemId;
        s += '\'';
      }
    } else {
      s += " SYSTEM '";
      s += n.systemId;
      s += '\'';
    }
    s += ">\n";
  }
  s += "]>\n";
  d->notations.clear();
  return flush(s, d->str, d->stream, d->failed);
}

std::string CanonicalWriter::getErrorMessage() {
  return d->failed ? "failed to write canonical XML" : "";
}

}  // namespace qor::quv::xml
