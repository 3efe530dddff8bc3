// Canonical XML 1.0 from SAX events.
#define QUV_SOURCE_NAME "xml_C14NWriter"
#include <kelp/xml/xml_C14NWriter.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <new>
#include <ostream>
#include <utility>
#include <vector>

#include <kelp/xml/sax/sax_Attributes.h>

namespace qor::quv::xml {

namespace {

// Escapes text (attribute values when `attribute`) as the canonical form
// wants it.
void escapeC14N(const char* s, bool attribute, std::string& out) {
  const char* run = s ? s : "";
  for (const char* p = run;; ++p) {
    const char* rep = nullptr;
    switch (*p) {
      case '&':
        rep = "&amp;";
        break;
      case '<':
        rep = "&lt;";
        break;
      case '>':
        if (!attribute) rep = "&gt;";
        break;
      case '"':
        if (attribute) rep = "&quot;";
        break;
      case '\t':
        if (attribute) rep = "&#x9;";
        break;
      case '\n':
        if (attribute) rep = "&#xA;";
        break;
      case '\r':
        rep = "&#xD;";
        break;
      case '\0':
        out.append(run, static_cast<std::size_t>(p - run));
        return;
      default:
        break;
    }
    if (!rep) continue;
    out.append(run, static_cast<std::size_t>(p - run));
    out.append(rep);
    run = p + 1;
  }
}

bool isNamespaceAttribute(const char* qName) {
  return std::strncmp(qName, "xmlns", 5) == 0 && (qName[5] == '\0' || qName[5] == ':');
}

}  // namespace

struct C14NWriter::Data {
  std::string* str = nullptr;
  std::ostream* stream = nullptr;
  bool withComments = false;
  bool failed = false;
  bool inDTD = false;
  bool rootSeen = false;
  // Namespaces in scope per open element (prefix to URI, "" the default),
  // and the declarations reported for the element about to start.
  std::vector<std::map<std::string, std::string>> scopes;
  std::vector<std::pair<std::string, std::string>> declared;
  std::vector<int> order;
  std::string scratch;

  bool flush() {
    if (failed) return false;
    if (str) {
      str->append(scratch);
    } else if (stream) {
      stream->write(scratch.data(), static_cast<std::streamsize>(scratch.size()));
      if (!*stream) failed = true;
    }
    scratch.clear();
    return !failed;
  }

  // A PI or comment: outside the document element on a line of its own.
  bool item(const std::string& text) {
    const bool before = scopes.empty() && !rootSeen;
    const bool after = scopes.empty() && rootSeen;
    if (after) scratch += '\n';
    scratch += text;
    if (before) scratch += '\n';
    return flush();
  }
};

C14NWriter::C14NWriter(std::string* out) : d(new Data) {
  d->str = out;
}

C14NWriter::C14NWriter(std::ostream& out) : d(new Data) {
  d->stream = &out;
}

C14NWriter::~C14NWriter() {
  delete d;
}

void C14NWriter::setWithComments(bool on) {
  d->withComments = on;
}

bool C14NWriter::startDocument() {
  d->failed = d->inDTD = d->rootSeen = false;
  d->scopes.clear();
  d->declared.clear();
  d->scratch.clear();
  return true;
}

bool C14NWriter::endDocument() {
  if (d->stream && !d->failed) {
    d->stream->flush();
    if (!*d->stream) d->failed = true;
  }
  return !d->failed;
}

bool C14NWriter::startPrefixMapping(const char* prefix, const char* uri) {
  d->declared.emplace_back(prefix ? prefix : "", uri ? uri : "");
  return !d->failed;
}

bool C14NWriter::startElement(const char*, const char*, const char* qName,
                              const sax::Attributes& attributes) {
  static const std::map<std::string, std::string> kNone;
  const auto& parent = d->scopes.empty() ? kNone : d->scopes.back();
  auto scope = parent;
  // Declarations that change what the parent had in scope; xmlns="" only
  // where a default namespace was in scope.
  std::map<std::string, std::string> shown;
  for (const auto& [prefix, uri] : d->declared) {
    scope[prefix] = uri;
    auto was = parent.find(prefix);
    const std::string before = was == parent.end() ? std::string() : was->second;
    if (prefix == "xml") continue;
    if (uri != before || (was == parent.end() && !prefix.empty()))
      shown[prefix] = uri;
    else
      shown.erase(prefix);
  }
  d->declared.clear();
  d->rootSeen = true;

  std::string& s = d->scratch;
  s += '<';
  s += qName ? qName : "";
  for (const auto& [prefix, uri] : shown) {  // "" (the default) sorts first
    s += prefix.empty() ? " xmlns" : " xmlns:";
    s += prefix;
    s += "=\"";
    escapeC14N(uri.c_str(), true, s);
    s += '"';
  }
  d->order.clear();
  for (int i = 0; i < attributes.getLength(); ++i)
    if (!isNamespaceAttribute(attributes.getQName(i))) d->order.push_back(i);
  std::sort(d->order.begin(), d->order.end(), [&attributes](int a, int b) {
    int byUri = std::strcmp(attributes.getURI(a), attributes.getURI(b));
    if (byUri != 0) return byUri < 0;
    return std::strcmp(attributes.getLocalName(a), attributes.getLocalName(b)) < 0;
  });
  for (int i : d->order) {
    s += ' ';
    s += attributes.getQName(i);
    s += "=\"";
    escapeC14N(attributes.getValue(i), true, s);
    s += '"';
  }
  s += '>';
  try {
    d->scopes.push_back(std::move(scope));
  } catch (const std::exception&) {
    d->failed = true;
    return false;
  }
  return d->flush();
}

bool C14NWriter::endElement(const char*, const char*, const char* qName) {
  if (!d->scopes.empty()) d->scopes.pop_back();
  std::string& s = d->scratch;
  s += "</";
  s += qName ? qName : "";
  s += '>';
  return d->flush();
}

bool C14NWriter::ignorableWhitespace(const char* chars) {
  return characters(chars);
}

bool C14NWriter::characters(const char* chars) {
  if (d->scopes.empty()) return !d->failed;  // no text outside the document element
  escapeC14N(chars, false, d->scratch);
  return d->flush();
}

bool C14NWriter::processingInstruction(const char* target, const char* data) {
  if (d->inDTD) return !d->failed;
  std::string text = "<?";
  text += target ? target : "";
  if (data && *data) {
    text += ' ';
    text += data;
  }
  text += "?>";
  return d->item(text);
}

bool C14NWriter::comment(const char* text) {
  if (d->inDTD || !d->withComments) return !d->failed;
  return d->item(std::string("<!--") + (text ? text : "") + "-->");
}

bool C14NWriter::startDTD(const char*, const char*, const char*) {
  d->inDTD = true;
  return !d->failed;
}

bool C14NWriter::endDTD() {
  d->inDTD = false;
  return !d->failed;
}

std::string C14NWriter::getErrorMessage() {
  return d->failed ? "failed to write canonical XML" : "";
}

}  // namespace qor::quv::xml
