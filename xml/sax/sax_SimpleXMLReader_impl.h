// Internals of SimpleXMLReader shared by its source files: the messages
// and constants of the grammar and the reader's state, `Data`. The reader's
// parts each define their share of Data's members in a file of their own:
//   sax_ReaderTokens_impl.h   token readers over the cursor (inline: hot)
//   sax_ReaderEntities.cpp    references, entity stack, expansion accounting
//   sax_ReaderMarkup.cpp      tags, content, comments, PIs, CDATA sections
//   sax_ReaderDecl.cpp        XML and text declarations, encoding switch
//   sax_ReaderDTD.cpp         the document type declaration
//   sax_SimpleXMLReader.cpp   the document, the parse and the public API
// Data flows one way: input source -> scanner (sax_Scanner_impl.h) ->
// grammar -> handlers.
#ifndef KELP_XML_SAX_SAX_SIMPLEXMLREADER_IMPL_H
#define KELP_XML_SAX_SAX_SIMPLEXMLREADER_IMPL_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <kelp/util/utl_Logger.h>
#include <kelp/util/utl_StackAlloc.h>
#include <kelp/util/utl_StringBuf.h>
#include <kelp/xml/sax/sax_Attributes.h>
#include <kelp/xml/sax/sax_DefaultHandler.h>
#include <kelp/xml/sax/sax_InputSource.h>
#include <kelp/xml/sax/sax_Locator.h>
#include <kelp/xml/sax/sax_SimpleXMLReader.h>
#include <kelp/xml/sax/sax_StackedInputSource.h>
#include <ktz/ktz_codec.h>

#include "xml/sax/sax_EntityTextSource_impl.h"
#include "xml/sax/sax_NamespaceScope_impl.h"
#include "xml/sax/sax_Scanner_impl.h"

namespace qor::quv::xml::sax {

namespace detail {

inline constexpr char kCData[] = "CDATA";

inline constexpr char kNameExpected[] = "syntax error (name expected)";
inline constexpr char kSpaceExpected[] = "syntax error (space expected)";

inline constexpr char kIllegalCharacter[] = "syntax error (illegal character)";
inline constexpr char kCrossesEntity[] = "syntax error (markup crosses an entity boundary)";
inline constexpr char kExpansionLimit[] = "entity expansion limit exceeded";
inline constexpr std::size_t kExpansionCharge = 32;
inline constexpr char kOutOfMemory[] = "out of memory";

// Where a reference stands; decides how its replacement is delivered.
enum class RefContext { Content, AttributeValue, EntityValue };

// Character references to code points XML forbids are errors, except for
// surrogates and values beyond U+10FFFF, which have no form in any output
// encoding and arrive as "?" like any unconvertible character.
inline bool isXmlChar(std::uint32_t c) {
  if (c < 0x20) return c == '\t' || c == '\n' || c == '\r';
  return c != 0xFFFE && c != 0xFFFF;
}

inline bool isPublicIdChar(int c) {
  if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) return true;
  return c == ' ' || c == '\n' || c == '\r' || (c > 0 && std::strchr("-'()+,./:=?;!*#@$_%", c));
}

}  // namespace detail

using detail::EntityTextSource;
using detail::isPublicIdChar;
using detail::isXmlChar;
using detail::kCData;
using detail::kCrossesEntity;
using detail::kEmpty;
using detail::kExpansionCharge;
using detail::kExpansionLimit;
using detail::kIllegalCharacter;
using detail::kNameExpected;
using detail::kOutOfMemory;
using detail::kSpaceExpected;
using detail::kXmlNamespace;
using detail::kXmlnsNamespace;
using detail::RefContext;
using detail::scanClass;

struct SimpleXMLReader::Data {
  Data(SimpleXMLReader* r, fw::IApplication* a) : reader(r), app(a), scratch(8192) {}

  SimpleXMLReader* reader;  // fills attribute lists through the base class
  zob::Ref<fw::IApplication> app;
  DefaultHandler defaultHandler;
  ContentHandler* content = &defaultHandler;
  DTDHandler* dtd = &defaultHandler;
  EntityResolver* resolver = &defaultHandler;
  ErrorHandler* errors = &defaultHandler;
  DeclHandler* decl = &defaultHandler;
  LexicalHandler* lexical = &defaultHandler;

  bool namespaces = true;
  bool namespacePrefixes = false;
  bool useUtf8 = false;
  bool html4Entities = false;
  bool externalGeneral = false;
  bool externalParameter = false;
  // The most bytes one token (a name, an attribute value, a run of text, a
  // comment ...) may hold in memory.
  std::size_t maxToken = SimpleXMLReader::kDefaultMaxTokenSize;

  bool failed = false;  // a fatal error was reported in this parse

  // Scratch texts: character data, comments and PI data (text); attribute
  // and declaration values (value); names that span buffer refills
  // (nameBuf).
  std::string text;
  std::string value;
  std::string nameBuf;

  // The namespace bindings in force.
  detail::NamespaceScope scope;

  // The UTF-32 codec for character references when the output is not UTF-8:
  // opened on first use in a parse, closed at the next parse.
  KtzTextCodec* utf32Codec = nullptr;
  bool utf32CodecFailed = false;

  util::StackAlloc scratch;

  // Per parse.
  detail::Cursor cur;
  StackedInputSource* input = nullptr;

  // The attributes of the start tag being read, in document order.
  struct RawAttr {
    const char* name;
    size_t length;
    const char* value;
    const char* colon;  // the name's first (with namespaces on), or null
  };
  std::vector<RawAttr> attrs;
  // The list handed to startElement, emptied and refilled for every tag.
  Attributes list;

  // Open elements, document element first.
  struct Open {
    const char* qName;
    const char* uri;
    const char* localName;
    void* mark;       // scratch position before the element's strings
    size_t bindings;  // bindings in force before the element
    size_t qLength;
    unsigned entity;  // the entity in which the start tag stands
  };
  std::vector<Open> open;

  // Declared entities, parameter entities under "%" and their name; each
  // holds one reference. Kept from document to document.
  // Entity names are short: FNV-1a hashes them in fewer steps than the
  // library's hash for long strings.
  struct EntityHash {
    using is_transparent = void;
    size_t operator()(std::string_view s) const {
      std::uint64_t h = 14695981039346656037ull;
      for (char c : s) h = (h ^ static_cast<unsigned char>(c)) * 1099511628211ull;
      return static_cast<size_t>(h);
    }
  };
  struct Declared {
    Entity* entity;
    InternalEntity* internal;  // the same entity when it is internal, else null
  };
  std::unordered_map<std::string, Declared, EntityHash, std::equal_to<>> entities;
  EntityLimits limits;
  EntityCounters counters;
  // Memory for the sources of internal entity text; it outlives them, as
  // each parse empties its input stack before it returns.
  EntityTextSource::Pool sourcePool;

  ~Data();

  void closeCodec();

  bool* feature(const std::string& name);

  // ---- errors -------------------------------------------------------------

  bool fatal(const std::string& msg);
  bool scanEnd(int c);
  bool endOfInput();
  bool expected(const char* what);
  bool expectedOneOf(const char* set);
  template <class Handler>
  bool refused(Handler* h) {
    return fatal(h->getErrorMessage());
  }
  bool tooLong();

  // ---- scanning -----------------------------------------------------------

  [[gnu::always_inline]] bool skipSpace();

  bool lookingAt(const char* s, size_t n, const char* follow = nullptr);
  void take(size_t n);
  bool accept(const char* s, size_t n);
  bool expect(char c);

  // Appends input to out up to the next byte of class stop other than CR and
  // LF; CR LF and a lone CR arrive as LF. Returns that byte, not taken, -1
  // at the end of input, or -2 after reporting a forbidden character. With
  // untilEntityEnd, returns kEntityEnded as soon as an entity whose end is
  // to be reported has been read to its end (see reportEntityEnds).
  static constexpr int kEntityEnded = -3;
  int scanText(std::uint16_t stop, std::string& out, bool untilEntityEnd = false);

  static bool forbiddenUtf8(const char* p, const char* e);

  bool forbiddenHere();

  int takeCutSequence(int n, char* bytes);
  void putBack(const char* bytes, int got);

  char* scratchCopy(const char* s, size_t n);

  char* readName(size_t* length);
  const char* nameColon = nullptr;
  int nameColons = 0;

  char* readNmToken(size_t* length);

  char* readNameRest(bool token, size_t* length);

  bool joinCharacter(bool first);

  const char* readAttributeValue(char quote, size_t* length = nullptr);

  // ---- references ---------------------------------------------------------

  void appendCodePoint(std::uint32_t cp, std::string& out);

  bool reference(RefContext where, char quote, std::string& out);

  bool deliverCodePoint(RefContext where, std::uint32_t cp, std::string& out);

  bool entityReference(RefContext where, char quote, const char* name, size_t length,
                       std::string& out);

  bool withinLimits(std::size_t length);

  // Each entity read gets a serial number, the document 0; instances holds
  // those of the sources on the input stack, which drops exhausted ones by
  // itself. Markup must begin and end in the same entity.
  std::vector<unsigned> instances;
  unsigned serial = 0;
  unsigned currentEntity() {
    if (serial == 0) return 0;  // no entity read yet in this parse
    const std::size_t depth = input->depth();
    if (depth != instances.size()) instances.resize(depth);
    return instances.back();
  }
  void enterEntity();

  // Entities read as content (not those in attribute values) are reported
  // to a lexical handler of the client's own: startEntity before the first
  // event of their text, endEntity once their source has left the input
  // stack. The reported ones still open, innermost last, with the depth of
  // their source and their serial number.
  struct Started {
    std::size_t depth;
    unsigned serial;
    const Entity* entity;
  };
  std::vector<Started> started;

  bool reportsEntity(RefContext where) const {
    return where == RefContext::Content && lexical && lexical != &defaultHandler;
  }
  void watchEntity(const Entity* entity);
  bool reportEntityEnds();
  bool textThenEntityEnds();

  bool pushEntity(RefContext where, const Declared& declared);

  InputSource* openEntity(ExternalEntity* entity, const Locator& here);

  bool externalEntityStart(InputSource* source);

  // ---- namespaces ---------------------------------------------------------
  // The bindings live in `scope`; these add the handler calls and the
  // rules for qualified names and reserved prefixes.

  bool unbind(size_t keep);

  bool checkQName(const char* name, size_t length, const char* colon, int colons, bool isElement);
  bool checkQNameFully(const char* name, size_t length, const char* colon, int colons,
                       bool isElement);

  bool checkBinding(const char* attribute, const char* prefix, const char* uri);

  bool checkNoColon(const char* name);

  void resolve(const char* qName, const char* colon, bool isElement, const char** uri,
               const char** localName);

  // ---- markup -------------------------------------------------------------

  bool startTag();

  bool endElement(const char* uri, const char* localName, const char* qName, void* mark,
                  size_t bindingsBefore);

  bool endTag();

  bool comment();

  bool processingInstruction();

  bool cdataSection();

  bool elementContent();

  bool misc(bool prolog);

  // ---- XML declaration and encoding ---------------------------------------

  bool applyEncoding(const char* name);

  // "=" and a quoted value of the declaration, into value; each byte must
  // pass check(byte, index).
  template <class Check>
  bool declValue(Check check) {
    skipSpace();
    if (!expect('=')) return false;
    skipSpace();
    int q = cur.peek();
    if (q < 0) return endOfInput();
    if (q != '"' && q != '\'') return expectedOneOf("\"'");
    cur.skip();
    value.clear();
    for (;;) {
      int c = cur.peek();
      if (c < 0) return endOfInput();
      if (c == q) break;
      if (!check(c, value.size())) return false;
      if (value.size() >= maxToken) return tooLong();
      value += static_cast<char>(c);
      cur.skip();
    }
    cur.skip();
    return true;
  }

  static bool isAsciiLetter(int c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
  static bool isDigit(int c) { return c >= '0' && c <= '9'; }

  bool xmlDeclaration();

  bool readDeclaration(bool* present, bool textDecl = false);
  std::string declaredEncoding;
  std::string documentVersion = "1.0";

  // ---- document type declaration -----------------------------------------

  bool requireSpace();
  const char* name();
  bool close();

  bool literal(std::string& out, bool publicId);

  int literalChar();

  bool externalId(std::string& publicId, std::string& systemId, bool notation, bool* present);

  bool doctype();

  bool internalSubset();

  bool parameterReference();

  bool elementDecl();

  bool mixedModel(std::string& model);

  void suffix(std::string& model);

  bool childrenModel(std::string& model);

  bool enumeration(std::string& type, bool names);

  bool attlistDecl();

  bool entityValue(char quote, std::string& out);

  void declare(const std::string& key, Entity* entity);

  bool entityDecl();

  bool notationDecl();

  // ---- document -----------------------------------------------------------

  bool document();

  bool parse(InputSource* source);

  void reportException(std::exception_ptr ex);

  bool parseDocument(InputSource* source);
};

}  // namespace qor::quv::xml::sax

// Data's token readers, inline as the grammar calls them for every token.
#include "xml/sax/sax_ReaderTokens_impl.h"

#endif
