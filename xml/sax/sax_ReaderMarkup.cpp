// SimpleXMLReader: markup and content: start and end tags with their
// attributes and namespace declarations, character data, comments,
// processing instructions and CDATA sections; the qualified-name rules.
// The element grammar keeps its open elements on an explicit stack, so any
// nesting depth parses in constant call depth.
#define QUV_SOURCE_NAME "sax_ReaderMarkup"
#include "xml/sax/sax_SimpleXMLReader_impl.h"

#include <strings.h>

#include <string>

namespace qor::quv::xml::sax {

// ---- qualified names --------------------------------------------------------

// The slow path of checkQName: finds what is wrong and reports it.
bool SimpleXMLReader::Data::checkQNameFully(const char* name, size_t length, const char* colon,
                                            int colons, bool isElement) {
  const char* local = colon + 1;
  const char* end = name + length;
  bool ok = colons == 1 && colon != name && local != end;
  if (ok && !(scanClass(*local) & detail::kNameStart))
    ok = (scanClass(*local) & detail::kNonAscii) &&
         (!useUtf8 || detail::utf8NameChar(local, end, true) > 0);
  if (!ok) return fatal(std::string("invalid qualified name '%1'") << name);
  if (isElement && colon - name == 5 && std::strncmp(name, "xmlns", 5) == 0)
    return fatal(std::string("element name '%1' has the prefix 'xmlns'") << name);
  return true;
}

// The rules for the reserved prefixes and namespace names: xml is bound
// only to its own namespace and nothing else is bound to it; xmlns and
// its namespace name are never declared; a prefix is not bound to the
// empty namespace name.
bool SimpleXMLReader::Data::checkBinding(const char* attribute, const char* prefix,
                                         const char* uri) {
  if (std::strcmp(prefix, "xmlns") == 0)
    return fatal(std::string("reserved prefix declared: '%1'") << attribute);
  const bool xmlUri = std::strcmp(uri, kXmlNamespace) == 0;
  if (std::strcmp(prefix, "xml") == 0) {
    if (xmlUri) return true;
    return fatal(std::string("prefix 'xml' bound to namespace '%1'") << uri);
  }
  if (xmlUri || std::strcmp(uri, kXmlnsNamespace) == 0)
    return fatal(std::string("reserved namespace '%1' declared by '%2'") << uri << attribute);
  if (*prefix && !*uri) return fatal(std::string("empty namespace name for prefix '%1'") << prefix);
  return true;
}

// With namespaces on, entity names, notation names and processing
// instruction targets hold no colon.
bool SimpleXMLReader::Data::checkNoColon(const char* name) {
  if (!namespaces || !std::strchr(name, ':')) return true;
  return fatal(std::string("colon in name '%1'") << name);
}

// ---- markup -----------------------------------------------------------------

// A start tag after "<": reports it and, unless it was empty, opens the
// element on the stack.
bool SimpleXMLReader::Data::startTag() {
  const unsigned entity = currentEntity();
  void* mark = scratch.getAllocBase();
  size_t qLength = 0;
  const char* qName = readName(&qLength);
  if (!qName) return cur.peek() < 0 ? endOfInput() : fatal(kNameExpected);
  const char* qColon = namespaces ? nameColon : nullptr;
  // (At the end of input that is the error to report.)
  if (qColon && cur.peek() >= 0 && !checkQName(qName, qLength, qColon, nameColons, true))
    return false;
  size_t bindingsBefore = scope.size();
  attrs.clear();
  bool empty = false;
  size_t tagBytes = qLength;  // the tag as held in memory: one token too
  for (;;) {
    bool space = skipSpace();
    int c = cur.peek();
    if (c < 0) return endOfInput();
    if (c == '>') {
      cur.skip();
      break;
    }
    if (c == '/') {
      cur.skip();
      if (!expect('>')) return false;
      empty = true;
      break;
    }
    if (!space) return fatal(kSpaceExpected);
    size_t nameLength = 0;
    const char* name = readName(&nameLength);
    if (!name) return fatal(kNameExpected);
    const char* colon = namespaces ? nameColon : nullptr;
    const int colons = nameColons;
    skipSpace();
    if (!expect('=')) return false;
    skipSpace();
    c = cur.peek();
    if (c < 0) return endOfInput();
    if (c != '"' && c != '\'') return expectedOneOf("\"'");
    cur.skip();
    size_t valueLength = 0;
    const char* v = readAttributeValue(static_cast<char>(c), &valueLength);
    if (!v) return false;
    if (colon && !checkQName(name, nameLength, colon, colons, false)) return false;
    if (detail::NamespaceScope::isDeclaration(name)) {
      if (namespaces) {
        const char* prefix = name[5] ? name + 6 : kEmpty;
        if (!checkBinding(name, prefix, v)) return false;
        if (!content->startPrefixMapping(prefix, v)) return refused(content);
        scope.bind(prefix, v);
      } else if (!namespacePrefixes) {
        continue;
      }
    }
    tagBytes += nameLength + valueLength;
    if (tagBytes > maxToken) return tooLong();
    if (attrs.capacity() == 0) attrs.reserve(32);
    attrs.push_back({name, nameLength, v, colon});
  }

  if (currentEntity() != entity) return fatal(kCrossesEntity);
  const char* uri;
  const char* localName;
  resolve(qName, qColon, true, &uri, &localName);
  reader->clearAttributes(&list);
  if (!attrs.empty()) {
    reader->reserveAttributes(&list, static_cast<unsigned>(attrs.size()));
    for (const RawAttr& a : attrs) {
      const char* aUri;
      const char* aLocal;
      resolve(a.name, a.colon, false, &aUri, &aLocal);
      reader->addAttribute(&list, aUri, aLocal, a.name, kCData, a.value);
    }
  }
  if (!content->startElement(uri, localName, qName, list)) return refused(content);
  if (empty) return endElement(uri, localName, qName, mark, bindingsBefore);
  open.push_back({qName, uri, localName, mark, bindingsBefore, qLength, entity});
  return true;
}

bool SimpleXMLReader::Data::endElement(const char* uri, const char* localName, const char* qName,
                                       void* mark, size_t bindingsBefore) {
  if (!content->endElement(uri, localName, qName)) return refused(content);
  if (!unbind(bindingsBefore)) return false;
  scratch.setAllocBase(mark);
  return true;
}

// An end tag after "</" closes the innermost open element.
bool SimpleXMLReader::Data::endTag() {
  Open top = open.back();
  if (currentEntity() != top.entity) return fatal(kCrossesEntity);
  // The usual case: the name is in the window and matches.
  size_t n = top.qLength;
  if (static_cast<size_t>(cur.e - cur.p) > n && std::memcmp(cur.p, top.qName, n) == 0 &&
      !(scanClass(cur.p[n]) & (detail::kNameChar | detail::kNonAscii))) {
    cur.p += n;
  } else {
    size_t length = 0;
    const char* name = readName(&length);
    if (!name) return cur.peek() < 0 ? endOfInput() : fatal(kNameExpected);
    if (std::strcmp(name, top.qName) != 0)
      return cur.peek() < 0 ? endOfInput()
                            : fatal(std::string("element start/end tag name mismatch: %1 vs. %2")
                                    << top.qName << name);
  }
  skipSpace();
  if (!expect('>')) return false;
  if (currentEntity() != top.entity) return fatal(kCrossesEntity);
  open.pop_back();
  return endElement(top.uri, top.localName, top.qName, top.mark, top.bindings);
}

// After "<!--".
bool SimpleXMLReader::Data::comment() {
  const unsigned entity = currentEntity();
  text.clear();
  for (;;) {
    int c = scanText(detail::kDashStop, text);
    if (c < 0) return scanEnd(c);
    cur.skip();
    c = cur.peek();
    if (c != '-') {
      text += '-';
      continue;
    }
    cur.skip();
    c = cur.peek();
    if (c < 0) return endOfInput();
    if (c != '>') return fatal("syntax error (bad comment)");
    cur.skip();
    break;
  }
  if (currentEntity() != entity) return fatal(kCrossesEntity);
  bool ok = lexical->comment(text.c_str()) || refused(lexical);
  text.clear();
  return ok;
}

// After "<?".
bool SimpleXMLReader::Data::processingInstruction() {
  const unsigned entity = currentEntity();
  void* mark = scratch.getAllocBase();
  size_t n = 0;
  const char* target = readName(&n);
  if (!target) return cur.peek() < 0 ? endOfInput() : fatal(kNameExpected);
  if (strcasecmp(target, "xml") == 0) return fatal("syntax error ('xml' not allowed here)");
  if (!checkNoColon(target)) return false;
  if (!skipSpace() && !lookingAt("?>", 2))
    return cur.peek() < 0 ? endOfInput() : fatal(kSpaceExpected);
  text.clear();
  for (;;) {
    int c = scanText(detail::kQuestionStop, text);
    if (c < 0) return scanEnd(c);
    cur.skip();
    c = cur.peek();
    if (c == '>') {
      cur.skip();
      break;
    }
    text += '?';
  }
  if (currentEntity() != entity) return fatal(kCrossesEntity);
  bool ok = content->processingInstruction(target, text.c_str()) || refused(content);
  text.clear();
  scratch.setAllocBase(mark);
  return ok;
}

// After "<![CDATA[".
bool SimpleXMLReader::Data::cdataSection() {
  const unsigned entity = currentEntity();
  if (!lexical->startCDATA()) return refused(lexical);
  text.clear();
  for (;;) {
    int c = scanText(detail::kBracketStop, text);
    if (c < 0) return scanEnd(c);
    size_t brackets = 0;
    while (cur.peek() == ']') {
      cur.skip();
      ++brackets;
    }
    if (brackets >= 2 && cur.peek() == '>') {
      cur.skip();
      text.append(brackets - 2, ']');
      break;
    }
    text.append(brackets, ']');
  }
  if (currentEntity() != entity) return fatal(kCrossesEntity);
  if (!text.empty() && !content->characters(text.c_str())) return refused(content);
  text.clear();
  return lexical->endCDATA() || refused(lexical);
}

// Content of the open elements, until the document element is closed.
// Reported entities end between the runs of character data that they and
// their surroundings give.
bool SimpleXMLReader::Data::elementContent() {
  while (!open.empty()) {
    if (cur.ended && !textThenEntityEnds()) return false;
    int c = scanText(detail::kTextStop, text, true);
    if (c == kEntityEnded) continue;
    bool markupFollows = false;
    if (c == ']') {
      size_t brackets = 0;
      while (cur.peek() == ']') {
        if (cur.ended && !textThenEntityEnds()) return false;
        cur.skip();
        ++brackets;
        text += ']';
      }
      if (brackets < 2 || cur.peek() != '>') continue;
      // "]]>" ends the run; what follows must be markup.
      cur.skip();
      markupFollows = true;
      c = cur.peek();
    }
    if (c < 0) return scanEnd(c);
    if (!text.empty()) {
      if (!content->characters(text.c_str())) return refused(content);
      text.clear();
    }
    if (cur.ended && !reportEntityEnds()) return false;
    if (c != '<' && markupFollows) return expected("<");
    cur.skip();
    if (c == '&') {
      if (!reference(RefContext::Content, 0, text)) return false;
      continue;
    }
    c = cur.peek();
    bool ok;
    if (c == '/') {
      cur.skip();
      ok = endTag();
    } else if (c == '?') {
      cur.skip();
      ok = processingInstruction();
    } else if (c == '!' && accept("![CDATA[", 8)) {
      ok = cdataSection();
    } else if (c == '!' && accept("!--", 3)) {
      ok = comment();
    } else {
      ok = startTag();
    }
    if (!ok) return false;
  }
  return true;
}

// White space, comments and processing instructions. In the prolog the end
// of input is an error; after the document element it ends the document,
// as does anything else.
bool SimpleXMLReader::Data::misc(bool prolog) {
  for (;;) {
    skipSpace();
    if (cur.peek() < 0) {
      if (prolog || input->error()) return endOfInput();
      return true;
    }
    if (accept("<?", 2)) {
      if (!processingInstruction()) return false;
    } else if (accept("<!--", 4)) {
      if (!comment()) return false;
    } else {
      return true;
    }
  }
}

}  // namespace qor::quv::xml::sax
