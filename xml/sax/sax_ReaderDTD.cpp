// SimpleXMLReader: the document type declaration: the external ID, the
// internal subset with element, attribute-list, entity and notation
// declarations, and parameter-entity references between them.
#define QUV_SOURCE_NAME "sax_ReaderDTD"
#include "xml/sax/sax_SimpleXMLReader_impl.h"

#include <string>

#include <kelp/util/utl_Logger.h>

namespace qor::quv::xml::sax {

bool SimpleXMLReader::Data::requireSpace() {
  if (skipSpace()) return true;
  return cur.peek() < 0 ? endOfInput() : fatal(kSpaceExpected);
}

// A name into the scratch allocator; reports its absence.
const char* SimpleXMLReader::Data::name() {
  size_t n = 0;
  const char* r = readName(&n);
  if (!r) return cur.peek() < 0 ? endOfInput(), nullptr : (fatal(kNameExpected), nullptr);
  return r;
}

bool SimpleXMLReader::Data::close() {
  skipSpace();
  return expect('>');
}

// A quoted literal after its quote; checked literals reject bad bytes.
bool SimpleXMLReader::Data::literal(std::string& out, bool publicId) {
  int q = cur.peek();
  if (q < 0) return endOfInput();
  if (q != '"' && q != '\'')
    return fatal(publicId ? "syntax error (public id must start with either '\"' or '\\'')"
                          : "syntax error (system id must start with either '\"' or '\\'')");
  cur.skip();
  out.clear();
  for (;;) {
    int c = literalChar();
    if (c < 0) return false;
    if (c == q) return true;
    if (publicId && !isPublicIdChar(c)) return fatal("invalid character in public id");
    if (out.size() >= maxToken) return tooLong();
    out += static_cast<char>(c);
  }
}

// Takes the next character of a quoted literal or entity value; CR LF
// and a lone CR come back as LF. -1 after reporting the end of input or
// a character that no literal may hold.
int SimpleXMLReader::Data::literalChar() {
  int c = cur.peek();
  if (c < 0) {
    endOfInput();
    return -1;
  }
  bool forbidden = useUtf8 && (scanClass(*cur.p) & detail::kUtf8Check) && forbiddenHere();
  if (!forbidden) {
    cur.skip();
    forbidden = c < 0x20 && c != '\t' && c != '\n' && c != '\r';
  }
  if (forbidden) {
    fatal(kIllegalCharacter);
    return -1;
  }
  if (c == '\r') {
    if (cur.peek() == '\n') cur.skip();
    c = '\n';
  }
  return c;
}

// "SYSTEM" or "PUBLIC" and their literals. *present tells whether there
// was one; in a notation the system literal after a public id is
// optional.
bool SimpleXMLReader::Data::externalId(std::string& publicId, std::string& systemId, bool notation,
                                       bool* present) {
  publicId.clear();
  systemId.clear();
  *present = true;
  if (accept("SYSTEM", 6)) return requireSpace() && literal(systemId, false);
  if (!accept("PUBLIC", 6)) {
    *present = false;
    return true;
  }
  if (!requireSpace() || !literal(publicId, true)) return false;
  if (notation) {
    bool space = skipSpace();
    int c = cur.peek();
    if (!space || (c != '"' && c != '\'')) return true;
    return literal(systemId, false);
  }
  return requireSpace() && literal(systemId, false);
}

// After "<!DOCTYPE" and white space.
bool SimpleXMLReader::Data::doctype() {
  void* mark = scratch.getAllocBase();
  const char* root = name();
  if (!root) return false;
  std::string publicId, systemId;
  bool present = false;
  if (skipSpace() && !externalId(publicId, systemId, false, &present)) return false;
  if (!lexical->startDTD(root, publicId.c_str(), systemId.c_str())) return refused(lexical);
  scratch.setAllocBase(mark);
  skipSpace();
  if (cur.peek() == '[') {
    cur.skip();
    if (!internalSubset()) return false;
  }
  if (!close()) return false;
  return lexical->endDTD() || refused(lexical);
}

// The declarations up to and including "]".
bool SimpleXMLReader::Data::internalSubset() {
  for (;;) {
    skipSpace();
    if (cur.ended && !reportEntityEnds()) return false;
    int c = cur.peek();
    if (c < 0) return endOfInput();
    void* mark = scratch.getAllocBase();
    bool ok;
    if (c == ']') {
      // Parameter entities hold whole declarations, never the subset's end.
      if (currentEntity() != 0) return fatal(kCrossesEntity);
      cur.skip();
      return true;
    } else if (c == '%') {
      cur.skip();
      ok = parameterReference();
    } else if (accept("<!ELEMENT", 9)) {
      ok = elementDecl();
    } else if (accept("<!ATTLIST", 9)) {
      ok = attlistDecl();
    } else if (accept("<!ENTITY", 8)) {
      ok = entityDecl();
    } else if (accept("<!NOTATION", 10)) {
      ok = notationDecl();
    } else if (accept("<?", 2)) {
      ok = processingInstruction();
    } else if (accept("<!--", 4)) {
      ok = comment();
    } else {
      ok = fatal("syntax error (markup declaration expected)");
    }
    scratch.setAllocBase(mark);
    if (!ok) return false;
  }
}

// "%name;" between declarations. External parameter entities are read
// only with the external-parameter-entities feature; without it they and
// undeclared names are reported as skipped, "%" first.
bool SimpleXMLReader::Data::parameterReference() {
  const char* n = name();
  if (!n || !expect(';')) return false;
  std::string key = std::string("%") + n;
  auto it = entities.find(key);
  if (it != entities.end() && (it->second.internal || externalParameter))
    return pushEntity(RefContext::Content, it->second);
  return content->skippedEntity(key.c_str()) || refused(content);
}

// After "<!ELEMENT": the content model is collected as written, without
// white space.
bool SimpleXMLReader::Data::elementDecl() {
  if (!requireSpace()) return false;
  const char* element = name();
  if (!element || !requireSpace()) return false;
  std::string& model = value;
  model.clear();
  if (accept("EMPTY", 5)) {
    model = "EMPTY";
  } else if (accept("ANY", 3)) {
    model = "ANY";
  } else if (cur.peek() == '(') {
    cur.skip();
    model = "(";
    skipSpace();
    if (accept("#PCDATA", 7) ? !mixedModel(model) : !childrenModel(model)) return false;
  } else {
    return cur.peek() < 0 ? endOfInput() : expected("(");
  }
  if (!close()) return false;
  return decl->elementDecl(element, model.c_str()) || refused(decl);
}

bool SimpleXMLReader::Data::mixedModel(std::string& model) {
  model += "#PCDATA";
  bool names = false;
  for (;;) {
    skipSpace();
    int c = cur.next();
    if (c < 0) return endOfInput();
    if (c == ')') break;
    if (c != '|') return expectedOneOf("|)");
    skipSpace();
    const char* n = name();
    if (!n) return false;
    if (model.size() > maxToken) return tooLong();
    model += '|';
    model += n;
    names = true;
  }
  model += ')';
  if (cur.peek() == '*') {
    cur.skip();
    model += '*';
  } else if (names) {
    return expected("*");
  }
  return true;
}

void SimpleXMLReader::Data::suffix(std::string& model) {
  int c = cur.peek();
  if (c == '?' || c == '*' || c == '+') {
    cur.skip();
    model += static_cast<char>(c);
  }
}

// Content particles after the first "(", nested groups on an explicit
// stack of their separators.
bool SimpleXMLReader::Data::childrenModel(std::string& model) {
  std::string separators(1, '\0');
  for (;;) {
    // a particle
    skipSpace();
    int c = cur.peek();
    if (c < 0) return endOfInput();
    if (c == '(') {
      cur.skip();
      model += '(';
      separators += '\0';
      continue;
    }
    const char* n = name();
    if (!n) return false;
    if (model.size() > maxToken) return tooLong();
    model += n;
    suffix(model);
    // separators and the ends of groups
    for (;;) {
      skipSpace();
      c = cur.next();
      if (c < 0) return endOfInput();
      if (c == ')') {
        model += ')';
        separators.pop_back();
        suffix(model);
        if (separators.empty()) return true;
        continue;
      }
      if (c != '|' && c != ',') return expectedOneOf("|,)");
      char& sep = separators.back();
      if (sep && sep != c) return expectedOneOf(sep == '|' ? "|)" : ",)");
      sep = static_cast<char>(c);
      model += static_cast<char>(c);
      break;
    }
  }
}

// A parenthesised list of names (notation) or name tokens after "(",
// appended to type.
bool SimpleXMLReader::Data::enumeration(std::string& type, bool names) {
  type += '(';
  for (;;) {
    skipSpace();
    size_t n = 0;
    const char* item = nullptr;
    if (names) {
      item = readName(&n);
    } else {
      item = readNmToken(&n);
    }
    if (!item) {
      if (cur.peek() < 0) return endOfInput();
      return names ? fatal(kNameExpected) : fatal("syntax error (enumerator expected)");
    }
    if (type.size() > maxToken) return tooLong();
    type += item;
    skipSpace();
    int c = cur.next();
    if (c < 0) return endOfInput();
    if (c == ')') break;
    if (c != '|') return expectedOneOf("|)");
    type += '|';
  }
  type += ')';
  return true;
}

// After "<!ATTLIST": one attributeDecl per definition.
bool SimpleXMLReader::Data::attlistDecl() {
  if (!requireSpace()) return false;
  const char* element = name();
  if (!element) return false;
  std::string type;
  for (;;) {
    bool space = skipSpace();
    int c = cur.peek();
    if (c < 0) return endOfInput();
    if (c == '>') {
      cur.skip();
      return true;
    }
    if (!space) return fatal(kSpaceExpected);
    void* mark = scratch.getAllocBase();
    const char* attribute = name();
    if (!attribute || !requireSpace()) return false;
    type.clear();
    static const char* const kTypes[] = {"CDATA",  "IDREFS",   "IDREF",    "ID",
                                         "ENTITY", "ENTITIES", "NMTOKENS", "NMTOKEN"};
    if (cur.peek() == '(') {
      cur.skip();
      if (!enumeration(type, false)) return false;
    } else if (accept("NOTATION", 8)) {
      if (!requireSpace() || !expect('(')) return false;
      type = "NOTATION ";
      if (!enumeration(type, true)) return false;
    } else {
      // Longer keywords come first, so a name character right after the
      // one taken means no keyword matched at all. The keyword may end
      // exactly at the window's edge, so the next byte is only peeked
      // once it is taken.
      for (const char* t : kTypes) {
        size_t n = std::strlen(t);
        if (lookingAt(t, n)) {
          take(n);
          type = t;
          break;
        }
      }
      int next = cur.peek();
      if (type.empty() || (next >= 0 && (scanClass(static_cast<char>(next)) &
                                         (detail::kNameChar | detail::kNonAscii))))
        return cur.peek() < 0 ? endOfInput() : fatal("syntax error (attribute type expected)");
    }
    if (!requireSpace()) return false;
    const char* mode = kEmpty;
    const char* defaultValue = kEmpty;
    if (accept("#REQUIRED", 9)) {
      mode = "#REQUIRED";
    } else if (accept("#IMPLIED", 8)) {
      mode = "#IMPLIED";
    } else {
      if (accept("#FIXED", 6)) {
        mode = "#FIXED";
        if (!requireSpace()) return false;
      }
      c = cur.peek();
      if (c < 0) return endOfInput();
      if (c != '"' && c != '\'') return expectedOneOf("\"'");
      cur.skip();
      defaultValue = readAttributeValue(static_cast<char>(c));
      if (!defaultValue) return false;
    }
    if (!decl->attributeDecl(element, attribute, type.c_str(), mode, defaultValue))
      return refused(decl);
    scratch.setAllocBase(mark);
  }
}

// A quoted entity value after its quote into out: character references
// are replaced, general entity references kept as written.
bool SimpleXMLReader::Data::entityValue(char quote, std::string& out) {
  out.clear();
  for (;;) {
    int c = literalChar();
    if (c < 0) return false;
    if (c == quote) return true;
    if (c == '%') return fatal("syntax error (parameter entity reference in entity value)");
    if (out.size() >= maxToken) return tooLong();
    if (c != '&') {
      out += static_cast<char>(c);
      continue;
    }
    if (cur.peek() == '#') {
      if (!reference(RefContext::EntityValue, 0, out)) return false;
      continue;
    }
    const char* n = name();
    if (!n || !expect(';')) return false;
    out += '&';
    out += n;
    out += ';';
  }
}

void SimpleXMLReader::Data::declare(const std::string& key, Entity* entity) {
  // Held here until the map holds it: an insert that runs out of memory
  // must not lose the entity.
  entity->addRef();
  struct Hold {
    Entity* e;
    ~Hold() { e->release(); }
  } hold{entity};
  auto [it, inserted] = entities.try_emplace(key, Declared{entity, nullptr});
  if (inserted) {
    entity->addRef();
    it->second.internal = dynamic_cast<InternalEntity*>(entity);
  }
}

// After "<!ENTITY".
bool SimpleXMLReader::Data::entityDecl() {
  if (!requireSpace()) return false;
  bool parameter = false;
  if (cur.peek() == '%') {
    cur.skip();
    parameter = true;
    if (!requireSpace()) return false;
  }
  const char* n = name();
  if (!n || !checkNoColon(n) || !requireSpace()) return false;
  std::string key = parameter ? std::string("%") + n : std::string(n);
  int q = cur.peek();
  if (q == '"' || q == '\'') {
    cur.skip();
    std::string text;
    if (!entityValue(static_cast<char>(q), text)) return false;
    if (!close()) return false;
    declare(key, new InternalEntity(key, text));
    return decl->internalEntityDecl(key.c_str(), text.c_str()) || refused(decl);
  }
  std::string publicId, systemId, notation;
  bool present = false;
  if (!externalId(publicId, systemId, false, &present)) return false;
  if (!present)
    return cur.peek() < 0 ? endOfInput()
                          : fatal("syntax error (entity value or external id expected)");
  bool space = skipSpace();
  if (!parameter && space && accept("NDATA", 5)) {
    if (!requireSpace()) return false;
    const char* nn = name();
    if (!nn) return false;
    notation = nn;
  }
  if (!close()) return false;
  declare(key, new ExternalEntity(key, publicId, systemId, notation));
  if (!notation.empty())
    return dtd->unparsedEntityDecl(key.c_str(), publicId.c_str(), systemId.c_str(),
                                   notation.c_str()) ||
           refused(dtd);
  return decl->externalEntityDecl(key.c_str(), publicId.c_str(), systemId.c_str()) || refused(decl);
}

// After "<!NOTATION".
bool SimpleXMLReader::Data::notationDecl() {
  if (!requireSpace()) return false;
  const char* n = name();
  if (!n || !checkNoColon(n) || !requireSpace()) return false;
  std::string publicId, systemId;
  bool present = false;
  if (!externalId(publicId, systemId, true, &present)) return false;
  if (!present) return cur.peek() < 0 ? endOfInput() : fatal("syntax error (external id expected)");
  if (!close()) return false;
  return dtd->notationDecl(n, publicId.c_str(), systemId.c_str()) || refused(dtd);
}

}  // namespace qor::quv::xml::sax
