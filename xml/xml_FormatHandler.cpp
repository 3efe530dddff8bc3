// Streaming copy of a document from reader events into the writer, with
// element-only content laid out anew.
#define QUV_SOURCE_NAME "xml_FormatHandler"
#include <kelp/xml/xml_FormatHandler.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <set>
#include <vector>

#include <kelp/xml/sax/sax_Attributes.h>
#include <kelp/xml/xml_Writer.h>
#include <zob/zob_mem.h>

namespace qor::quv::xml {

namespace {

// White space held back longer than this is written as it came: the element
// is then taken as text, and memory stays bounded.
constexpr std::size_t kMaxHeldSpace = 64 * 1024;

bool isSpace(const char* s) {
  for (; *s; ++s)
    if (*s != ' ' && *s != '\t' && *s != '\n' && *s != '\r') return false;
  return true;
}

// A quoted literal of a declaration. Entity values have their character
// references expanded and general entity references kept, so '&' needs a
// reference only where it starts a character reference; attribute defaults
// are fully expanded, so every '&' does. White space is kept by references
// where a reader would normalise it.
void appendLiteral(std::string& out, const char* s, bool attributeValue) {
  out += '"';
  for (const char* p = s ? s : ""; *p; ++p) {
    switch (*p) {
      case '"':
        out += "&#34;";
        break;
      case '%':
        out += "&#37;";
        break;
      case '&':
        out += attributeValue || p[1] == '#' ? "&#38;" : "&";
        break;
      case '<':
        out += attributeValue ? "&#60;" : "<";
        break;
      case '\r':
        out += "&#13;";
        break;
      case '\t':
        out += attributeValue ? "&#9;" : "\t";
        break;
      case '\n':
        out += attributeValue ? "&#10;" : "\n";
        break;
      default:
        out += *p;
    }
  }
  out += '"';
}

// PUBLIC "pub" "sys", SYSTEM "sys", or PUBLIC "pub" alone (notations).
void appendExternalId(std::string& out, const char* publicId, const char* systemId) {
  auto quoted = [&](const char* id) {
    const char q = std::strchr(id, '"') ? '\'' : '"';
    out += ' ';
    out += q;
    out += id;
    out += q;
  };
  if (publicId && *publicId) {
    out += " PUBLIC";
    quoted(publicId);
    if (systemId && *systemId) quoted(systemId);
  } else {
    out += " SYSTEM";
    quoted(systemId ? systemId : "");
  }
}

// "<!ENTITY name" or "<!ENTITY % name" for the reader's "%name".
void appendEntityStart(std::string& out, const char* name) {
  out += "<!ENTITY ";
  if (*name == '%') out += "% ";
  out += *name == '%' ? name + 1 : name;
}

}  // namespace

struct FormatHandler::Data {
  static constexpr unsigned char kVerbatim = 0x1;  // content written as it came
  static constexpr unsigned char kContent = 0x2;   // something was written inside
  static constexpr unsigned char kElements = 0x4;  // a child element started

  // What came since the last markup of a laid-out element and waits for
  // the next event to tell whether the element holds text: white space,
  // comments and PIs.
  enum Kind { kSpace, kComment, kPI };
  struct Held {
    Kind kind;
    std::string text;
    std::string data;
  };

  XMLWriter* writer = nullptr;
  int step = 0;
  int maxDepth = 0;
  // Per open element, the flags above.
  std::vector<unsigned char> levels;
  std::vector<Held> held;
  std::size_t heldBytes = 0;
  bool inCData = false;
  bool inDTD = false;
  // Depth inside general entities whose reference was written: their
  // events are left out, the reference stands for them.
  int inEntity = 0;
  // External general entities: when one is read, its content is written in
  // its place, so that the copy stands on its own.
  std::set<std::string> external;
  std::string dtName, dtPublicId, dtSystemId, subset;
  std::string error;

  bool check(ZResult res) {
    if (!EFAILED(res)) return true;
    char* text = nullptr;
    writer->getErrorMessage(&text);
    error = std::string("cannot write the output") + (text && *text ? ": " : "") +
            (text ? text : "");
    zobFree(text);
    return false;
  }

  bool laidOut() const { return !levels.empty() && !(levels.back() & kVerbatim); }

  bool writeItem(const Held& h) {
    switch (h.kind) {
      case kSpace:
        return check(writer->characters(h.text.c_str()));
      case kComment:
        return check(writer->comment(h.text.c_str()));
      case kPI:
        return check(writer->processingInstruction(h.text.c_str(), h.data.c_str()));
    }
    return true;
  }

  // Keeps an item back while the element is laid out, else writes it.
  bool hold(Kind kind, const char* text, const char* data) {
    if (!laidOut()) return writeItem(Held{kind, text ? text : "", data ? data : ""});
    if (kind == kSpace && !held.empty() && held.back().kind == kSpace)
      held.back().text += text;
    else
      held.push_back(Held{kind, text ? text : "", data ? data : ""});
    heldBytes += std::strlen(text ? text : "") + std::strlen(data ? data : "");
    return heldBytes <= kMaxHeldSpace || toText();
  }

  // A line break and the indentation of `level`, written as the writer
  // indents: a tab for each full 8 columns, then spaces.
  bool newLine(std::size_t level) {
    const std::size_t columns =
        std::min(level, static_cast<std::size_t>(maxDepth)) * static_cast<std::size_t>(step);
    std::string text = "\n";
    text.append(columns / 8, '\t');
    text.append(columns % 8, ' ');
    return check(writer->characters(text.c_str()));
  }

  // Before markup of a laid-out element (a child element, or its end tag
  // when `closing`): held white space gives way to line breaks and
  // indentation, held comments and PIs get lines of their own. Only an
  // element with child elements is laid out: in any other the white space
  // is all the text it has, and stays.
  bool gap(bool closing) {
    if (!laidOut()) return flush();
    unsigned char& top = levels.back();
    if (closing && !(top & kElements)) return flush();
    if (!closing) top |= kElements;
    const std::size_t depth = levels.size();
    for (const Held& h : held) {
      if (h.kind == kSpace) continue;
      top |= kContent;
      if (!newLine(depth) || !writeItem(h)) return false;
    }
    clearHeld();
    if (closing && !(top & kContent)) return true;
    top |= kContent;
    return newLine(closing ? depth - 1 : depth);
  }

  void clearHeld() {
    held.clear();
    heldBytes = 0;
  }

  bool flush() {
    bool ok = true;
    for (const Held& h : held) {
      if (!levels.empty()) levels.back() |= kContent;
      if (ok) ok = writeItem(h);
    }
    clearHeld();
    return ok;
  }

  // Text other than white space: the element is written as it came from
  // here on, with what was held.
  bool toText() {
    if (!levels.empty()) levels.back() |= kVerbatim | kContent;
    return flush();
  }
};

FormatHandler::FormatHandler(XMLWriter* writer, int indentStep, int maxIndentDepth)
    : d(new (std::nothrow) Data) {
  if (!d) return;
  d->writer = writer;
  d->step = std::max(indentStep, 0);
  d->maxDepth = std::max(maxIndentDepth, 0);
  if (writer) writer->setLossless(true);
}

FormatHandler::~FormatHandler() {
  delete d;
}

std::string FormatHandler::declaredEncoding(const char* head, std::size_t size) {
  if (!head) return "UTF-8";
  auto at = [&](std::size_t i) { return i < size ? static_cast<unsigned char>(head[i]) : 0u; };
  if ((at(0) == 0xfe && at(1) == 0xff) || (at(0) == 0xff && at(1) == 0xfe)) return "UTF-16";
  std::size_t i = (at(0) == 0xef && at(1) == 0xbb && at(2) == 0xbf) ? 3 : 0;
  if (size < i + 6 || std::memcmp(head + i, "<?xml", 5) != 0) return "UTF-8";
  const char* begin = head + i;
  const char* end = head + size;
  static const char kEnd[] = "?>";
  const char* close = std::search(begin, end, kEnd, kEnd + 2);
  const char* key = "encoding";
  const char* p = std::search(begin, close, key, key + 8);
  if (p == close) return "UTF-8";
  p += 8;
  while (p < close && (*p == ' ' || *p == '\t' || *p == '\n' || *p == '\r' || *p == '=')) ++p;
  if (p == close || (*p != '"' && *p != '\'')) return "UTF-8";
  const char* q = std::find(p + 1, close, *p);
  if (q == close || q == p + 1) return "UTF-8";
  return std::string(p + 1, q);
}

bool FormatHandler::startDocument() {
  if (!d || !d->writer) return false;
  d->levels.clear();
  d->clearHeld();
  d->inCData = d->inDTD = false;
  d->inEntity = 0;
  d->external.clear();
  d->error.clear();
  return true;
}

bool FormatHandler::startElement(const char*, const char*, const char* qName,
                                 const sax::Attributes& attributes) {
  if (d->inEntity > 0) return true;
  if (!d->levels.empty() && !d->gap(false)) return false;
  // The document element on lines of its own; all else placed by gap().
  const bool root = d->levels.empty();
  if (!d->check(d->writer->startElement(qName, root ? kFormatBlock : kFormatInline))) return false;
  for (int i = 0; i < attributes.getLength(); ++i)
    if (!d->check(d->writer->stringAttribute(attributes.getQName(i), attributes.getValue(i))))
      return false;
  unsigned char inherited = root ? 0 : (d->levels.back() & Data::kVerbatim);
  if (d->step == 0) inherited = Data::kVerbatim;
  try {
    d->levels.push_back(inherited);
  } catch (const std::exception&) {
    d->error = "out of memory";
    return false;
  }
  return true;
}

bool FormatHandler::endElement(const char*, const char*, const char*) {
  if (d->inEntity > 0) return true;
  if (!d->gap(true)) return false;
  if (!d->levels.empty()) d->levels.pop_back();
  if (!d->levels.empty()) d->levels.back() |= Data::kContent;
  return d->check(d->writer->endElement());
}

bool FormatHandler::characters(const char* chars) {
  if (d->inEntity > 0) return true;
  if (!chars || !*chars) return true;
  if (d->inCData) return d->check(d->writer->characters(chars) ? zob::kOk : zob::kWriteFailure);
  if (d->levels.empty()) return true;  // no text outside the document element
  if (d->laidOut() && isSpace(chars)) return d->hold(Data::kSpace, chars, nullptr);
  return d->toText() && d->check(d->writer->characters(chars));
}

bool FormatHandler::ignorableWhitespace(const char* chars) {
  return characters(chars);
}

bool FormatHandler::processingInstruction(const char* target, const char* data) {
  if (d->inDTD) {
    d->subset += "<?";
    d->subset += target;
    if (data && *data) {
      d->subset += ' ';
      d->subset += data;
    }
    d->subset += "?>\n";
    return true;
  }
  if (d->inEntity > 0) return true;
  return d->hold(Data::kPI, target, data);
}

bool FormatHandler::comment(const char* text) {
  if (d->inDTD) {
    d->subset += "<!--";
    d->subset += text ? text : "";
    d->subset += "-->\n";
    return true;
  }
  if (d->inEntity > 0) return true;
  return d->hold(Data::kComment, text, nullptr);
}

bool FormatHandler::skippedEntity(const char* name) {
  if (d->inEntity > 0) return true;
  if (!name || *name == '%' || d->levels.empty()) return true;  // parameter entities: DTD only
  return d->toText() && d->check(d->writer->entityReference(name));
}

bool FormatHandler::startCDATA() {
  if (d->inEntity > 0) return true;
  if (!d->toText() || !d->check(d->writer->startCDATA())) return false;
  d->inCData = true;
  return true;
}

bool FormatHandler::endCDATA() {
  if (d->inEntity > 0) return true;
  d->inCData = false;
  return d->check(d->writer->endCDATA() == 1 ? zob::kOk : zob::kWriteFailure);
}

namespace {
// General entities met in content; parameter entities and the external
// subset ("[dtd]") belong to the document type.
bool generalEntity(const char* name) {
  return name && *name && *name != '%' && *name != '[';
}
}  // namespace

bool FormatHandler::startEntity(const char* name) {
  if (d->inDTD || !generalEntity(name) || d->external.count(name)) return true;
  if (d->inEntity++ > 0) return true;
  return d->toText() && d->check(d->writer->entityReference(name));
}

bool FormatHandler::endEntity(const char* name) {
  if (!d->inDTD && generalEntity(name) && !d->external.count(name) && d->inEntity > 0)
    --d->inEntity;
  return true;
}

bool FormatHandler::startDTD(const char* name, const char* publicId, const char* systemId) {
  d->inDTD = true;
  d->dtName = name ? name : "";
  d->dtPublicId = publicId ? publicId : "";
  d->dtSystemId = systemId ? systemId : "";
  d->subset.clear();
  return true;
}

bool FormatHandler::endDTD() {
  d->inDTD = false;
  if (!d->subset.empty()) d->subset.insert(0, "\n");
  bool ok = d->check(d->writer->docType(d->dtName.c_str(), d->dtPublicId.c_str(),
                                        d->dtSystemId.c_str(), d->subset.c_str()));
  d->subset.clear();
  d->subset.shrink_to_fit();
  return ok;
}

bool FormatHandler::elementDecl(const char* name, const char* model) {
  d->subset += "<!ELEMENT ";
  d->subset += name;
  d->subset += ' ';
  d->subset += model;
  d->subset += ">\n";
  return true;
}

bool FormatHandler::attributeDecl(const char* elementName, const char* attributeName,
                                  const char* type, const char* valueDefault, const char* value) {
  std::string& s = d->subset;
  s += "<!ATTLIST ";
  s += elementName;
  s += ' ';
  s += attributeName;
  s += ' ';
  s += type;
  const std::string mode = valueDefault ? valueDefault : "";
  if (!mode.empty()) {
    s += ' ';
    s += mode;
  }
  if (mode.empty() || mode == "#FIXED") {
    s += ' ';
    appendLiteral(s, value, true);
  }
  s += ">\n";
  return true;
}

bool FormatHandler::internalEntityDecl(const char* name, const char* value) {
  appendEntityStart(d->subset, name);
  d->subset += ' ';
  appendLiteral(d->subset, value, false);
  d->subset += ">\n";
  return true;
}

bool FormatHandler::externalEntityDecl(const char* name, const char* publicId,
                                       const char* systemId) {
  appendEntityStart(d->subset, name);
  appendExternalId(d->subset, publicId, systemId);
  d->subset += ">\n";
  if (generalEntity(name)) d->external.insert(name);
  return true;
}

bool FormatHandler::notationDecl(const char* name, const char* publicId, const char* systemId) {
  d->subset += "<!NOTATION ";
  d->subset += name;
  appendExternalId(d->subset, publicId, systemId);
  d->subset += ">\n";
  return true;
}

bool FormatHandler::unparsedEntityDecl(const char* name, const char* publicId,
                                       const char* systemId, const char* notationName) {
  appendEntityStart(d->subset, name);
  appendExternalId(d->subset, publicId, systemId);
  d->subset += " NDATA ";
  d->subset += notationName ? notationName : "";
  d->subset += ">\n";
  return true;
}

std::string FormatHandler::getErrorMessage() {
  return d && !d->error.empty() ? d->error : "cannot write the output";
}

}  // namespace qor::quv::xml
