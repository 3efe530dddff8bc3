// SimpleXMLReader: the XML declaration of the document and the text
// declarations of external entities, and the switch of the input to the
// encoding they declare.
#define QUV_SOURCE_NAME "sax_ReaderDecl"
#include "xml/sax/sax_SimpleXMLReader_impl.h"

#include <strings.h>

#include <string>

namespace qor::quv::xml::sax {

bool SimpleXMLReader::Data::applyEncoding(const char* name) {
  cur.drop();
  if (!input->setEncoding(name, useUtf8 ? "UTF-8" : "")) {
    return fatal(std::string("unsupported encoding '%1'") << name);
  }
  return true;
}

// The byte-order mark, then the XML declaration if there is one, and the
// encoding they select.
bool SimpleXMLReader::Data::xmlDeclaration() {
  const char* chosen = nullptr;
  if (lookingAt("\xFE\xFF", 2) || lookingAt("\xFF\xFE", 2))
    chosen = "UTF-16";
  else if (lookingAt("\xEF\xBB\xBF", 3))
    chosen = "UTF-8";
  if (chosen && !applyEncoding(chosen)) return false;
  bool present = false;
  if (!readDeclaration(&present)) return false;
  const char* wanted = !declaredEncoding.empty() ? declaredEncoding.c_str() : "UTF-8";
  if (chosen && (declaredEncoding.empty() || strcasecmp(chosen, wanted) == 0)) return true;
  if (!applyEncoding(wanted)) return false;
  // The source decodes again from the start: read the declaration once
  // more, now in the document's encoding.
  return !present || readDeclaration(&present);
}

// "<?xml" and white space start a declaration; it sets declaredEncoding.
// The text declaration of an external entity has an optional version, a
// required encoding and no standalone.
bool SimpleXMLReader::Data::readDeclaration(bool* present, bool textDecl) {
  declaredEncoding.clear();
  *present = lookingAt("<?xml", 5, " \t\r\n");
  if (!*present) return true;
  take(5);
  skipSpace();
  bool space = true;
  if (accept("version", 7)) {
    bool ok = declValue([this](int c, size_t) {
      if (isAsciiLetter(c) || isDigit(c) || (c && std::strchr("_.:-", c))) return true;
      return fatal("syntax error (invalid character in version number)");
    });
    if (!ok) return false;
    // A document of version 1.0 reads no entity of a later version.
    if (!textDecl)
      documentVersion = value;
    else if (documentVersion == "1.0" && value != "1.0")
      return fatal(std::string("entity of XML version %1 in a document of version 1.0") << value);
    space = skipSpace();
  } else if (!textDecl) {
    return cur.peek() < 0 ? endOfInput() : expected("version");
  }
  if (space && accept("encoding", 8)) {
    bool ok = declValue([this](int c, size_t i) {
      if (i == 0 && !isAsciiLetter(c))
        return fatal(
            "syntax error (first character of encoding name must be an ISO-Latin1 letter)");
      if (isAsciiLetter(c) || isDigit(c) || (c && std::strchr("._-", c))) return true;
      return fatal("syntax error (invalid character in encoding name)");
    });
    if (!ok) return false;
    if (value.empty()) return fatal("syntax error (empty encoding name)");
    declaredEncoding = value;
    space = skipSpace();
  } else if (textDecl) {
    return cur.peek() < 0 ? endOfInput() : expected("encoding");
  }
  if (!textDecl && space && accept("standalone", 10)) {
    if (!declValue([](int, size_t) { return true; })) return false;
    if (value != "yes" && value != "no")
      return fatal("syntax error (standalone must be either 'yes' or 'no')");
    skipSpace();
  }
  if (!accept("?>", 2)) return cur.peek() < 0 ? endOfInput() : expected("?>");
  return true;
}

}  // namespace qor::quv::xml::sax
