// SimpleXMLReader: XML declaration, prolog, elements with attributes and
// namespaces, content, CDATA sections, comments, processing instructions and
// references. The element grammar keeps its open elements on an explicit
// stack, so any nesting depth parses in constant call depth.
#define QUV_SOURCE_NAME "sax_SimpleXMLReader"
#include <kelp/xml/sax/sax_SimpleXMLReader.h>

#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <exception>
#include <new>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <kelp/util/utl_Logger.h>
#include <kelp/util/utl_StackAlloc.h>
#include <kelp/util/utl_StringBuf.h>
#include <kelp/xml/sax/sax_Attributes.h>
#include <kelp/xml/sax/sax_DefaultHandler.h>
#include <kelp/xml/sax/sax_HTML4Entities.h>
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <kelp/xml/sax/sax_Locator.h>
#include <kelp/xml/sax/sax_ParseException.h>
#include <kelp/xml/sax/sax_SimpleInputSource.h>
#include <kelp/xml/sax/sax_StackedInputSource.h>
#include <ktz/ktz_codec.h>
#include <ktz/ktz_locale.h>
#include <zob/zob_io.h>

#include "xml/sax/sax_SimpleXMLReader_impl.h"

namespace qor::quv::xml::sax {

#define KELP_SAX_FEATURES "http://xml.org/sax/features/"
#define KELP_OWN_FEATURES "http://www.qor-software.net/quv/sax/features/"
#define KELP_OWN_PROPERTIES "http://www.qor-software.net/quv/sax/properties/"

const char* const SimpleXMLReader::Namespaces = KELP_SAX_FEATURES "namespaces";
const char* const SimpleXMLReader::NamespacePrefixes = KELP_SAX_FEATURES "namespace-prefixes";
const char* const SimpleXMLReader::UseUTF8 = KELP_OWN_FEATURES "use-utf8";
const char* const SimpleXMLReader::HTML4Entities = KELP_OWN_FEATURES "html4-entities";
const char* const SimpleXMLReader::ExternalGeneralEntities =
    KELP_SAX_FEATURES "external-general-entities";
const char* const SimpleXMLReader::ExternalParameterEntities =
    KELP_SAX_FEATURES "external-parameter-entities";
const char* const SimpleXMLReader::MaxTokenSize = KELP_OWN_PROPERTIES "max-token-size";

namespace {

using detail::scanClass;

constexpr char kXmlNamespace[] = "http://www.w3.org/XML/1998/namespace";
constexpr char kXmlnsNamespace[] = "http://www.w3.org/2000/xmlns/";
constexpr char kEmpty[] = "";
constexpr char kCData[] = "CDATA";

constexpr char kNameExpected[] = "syntax error (name expected)";
constexpr char kSpaceExpected[] = "syntax error (space expected)";

constexpr char kIllegalCharacter[] = "syntax error (illegal character)";
constexpr char kCrossesEntity[] = "syntax error (markup crosses an entity boundary)";
constexpr char kExpansionLimit[] = "entity expansion limit exceeded";
constexpr std::size_t kExpansionCharge = 32;
constexpr char kOutOfMemory[] = "out of memory";

// Where a reference stands; decides how its replacement is delivered.
enum class RefContext { Content, AttributeValue, EntityValue };

// Character references to code points XML forbids are errors, except for
// surrogates and values beyond U+10FFFF, which have no form in any output
// encoding and arrive as "?" like any unconvertible character.
bool isXmlChar(std::uint32_t c) {
  if (c < 0x20) return c == '\t' || c == '\n' || c == '\r';
  return c != 0xFFFE && c != 0xFFFF;
}

// Reads the replacement text of an internal entity, which it keeps alive,
// in place: the text is the buffer, so a reference costs no copy and no
// buffer of its own. Errors inside the text are reported with the ids of
// the input that referred to the entity (which stays below it on the input
// stack while the text is read) and the line within the text.
class EntityTextSource final : public InputSource {
 public:
  EntityTextSource(InputSource* referrer, SimpleXMLReader::InternalEntity* entity)
      : referrer_(referrer), entity_(entity) {
    entity_->addRef();
    const std::string& t = entity_->getReplacementText();
    p_ = t.data();
    e_ = p_ + t.size();
  }
  ~EntityTextSource() override { entity_->release(); }
  EntityTextSource(const EntityTextSource&) = delete;

  // A source lives for one reference. Its memory comes from a pool of the
  // reader, which keeps a few blocks for the next ones; each block starts
  // with the pool it goes back to.
  class Pool {
   public:
    Pool() = default;
    Pool(const Pool&) = delete;
    Pool& operator=(const Pool&) = delete;
    ~Pool() {
      while (count_ > 0) ::operator delete(blocks_[--count_]);
    }
    void* take() {
      void* block =
          count_ > 0 ? blocks_[--count_] : ::operator new(kHeader + sizeof(EntityTextSource));
      *static_cast<Pool**>(block) = this;
      return static_cast<char*>(block) + kHeader;
    }
    void give(void* block) {
      if (count_ == kMax)
        ::operator delete(block);
      else
        blocks_[count_++] = block;
    }

   private:
    static constexpr int kMax = 16;
    void* blocks_[kMax];
    int count_ = 0;
  };
  static constexpr std::size_t kHeader = alignof(std::max_align_t);
  static void* operator new(std::size_t, Pool& pool) { return pool.take(); }
  static void operator delete(void* object, Pool&) { operator delete(object); }
  static void operator delete(void* object) {
    void* block = static_cast<char*>(object) - kHeader;
    (*static_cast<Pool**>(block))->give(block);
  }
  EntityTextSource& operator=(const EntityTextSource&) = delete;

  bool good() override { return p_ < e_; }
  bool eof() override { return p_ == e_; }
  bool error() override { return false; }
  int get() override {
    if (p_ == e_) return -1;
    unsigned char c = static_cast<unsigned char>(*p_++);
    if (c == '\n') ++line_;
    return c;
  }
  void unget(char c) override {
    if (p_ == begin() || p_[-1] != c) {
      // Not the byte that stood there: the rest moves into a copy of our own.
      std::string rest(1, c);
      rest.append(p_, static_cast<std::size_t>(e_ - p_));
      own_ = std::move(rest);
      p_ = own_.data();
      e_ = p_ + own_.size();
    } else {
      --p_;
    }
    if (c == '\n') --line_;
  }
  int consume(int count) override {
    int n = 0;
    while (n < count && get() >= 0) ++n;
    return n;
  }
  bool testPending(const char** patterns, const char* follow) override {
    if (!patterns) return false;
    const std::size_t have = static_cast<std::size_t>(e_ - p_);
    for (const char** q = patterns; *q; ++q) {
      const std::size_t len = std::strlen(*q);
      if (have < len || std::memcmp(p_, *q, len) != 0) continue;
      if (!follow || !*follow) return true;
      if (have > len && p_[len] && std::strchr(follow, p_[len])) return true;
    }
    return false;
  }
  int skipSpace(util::StringBuf* buf) override {
    const char* s = p_;
    while (p_ < e_ && (scanClass(*p_) & detail::kSpace)) get();
    if (buf && p_ > s) buf->append(s, static_cast<unsigned>(p_ - s));
    return static_cast<int>(p_ - s);
  }
  bool getName(util::StringBuf* buf) override { return scanName(buf, detail::kNameStart); }
  bool getNmToken(util::StringBuf* buf) override { return scanName(buf, detail::kNameChar); }
  Locator getLocator() override {
    Locator outer = referrer_->getLocator();
    return DefaultLocator(outer.getPublicId(), outer.getSystemId(), line_, 0);
  }
  bool setEncoding(const char*, const char*) override { return true; }
  int fetch(char* buffer, std::size_t size) override {
    std::size_t n = static_cast<std::size_t>(e_ - p_);
    if (n > size) n = size;
    for (std::size_t i = 0; i < n; ++i) buffer[i] = static_cast<char>(get());
    return static_cast<int>(n);
  }
  bool peekRun(const char** begin, const char** end) override {
    if (p_ == e_) return false;
    *begin = p_;
    *end = e_;
    return true;
  }
  void consumeRun(std::size_t count, int lineFeeds) override {
    std::size_t have = static_cast<std::size_t>(e_ - p_);
    p_ += count < have ? count : have;
    line_ += lineFeeds;
  }

 private:
  const char* begin() const {
    return own_.empty() ? entity_->getReplacementText().data() : own_.data();
  }
  bool scanName(util::StringBuf* buf, std::uint16_t first) {
    if (p_ == e_ || !(scanClass(*p_) & (first | detail::kNonAscii))) return false;
    const char* s = p_++;
    while (p_ < e_ && (scanClass(*p_) & (detail::kNameChar | detail::kNonAscii))) ++p_;
    if (buf) buf->append(s, static_cast<unsigned>(p_ - s));
    return true;
  }

  InputSource* referrer_;
  SimpleXMLReader::InternalEntity* entity_;
  std::string own_;  // the text once an unget changed it
  const char* p_;
  const char* e_;
  int line_ = 1;
};

bool isPublicIdChar(int c) {
  if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) return true;
  return c == ' ' || c == '\n' || c == '\r' || (c > 0 && std::strchr("-'()+,./:=?;!*#@$_%", c));
}

}  // namespace

// ---- entities ---------------------------------------------------------------

SimpleXMLReader::Entity::Entity(const std::string& name) : name_(name) {}
SimpleXMLReader::Entity::~Entity() = default;
const std::string& SimpleXMLReader::Entity::getName() const {
  return name_;
}
void SimpleXMLReader::Entity::addRef() {
  ++refs_;
}
void SimpleXMLReader::Entity::release() {
  if (--refs_ <= 0) delete this;
}

SimpleXMLReader::InternalEntity::InternalEntity(const std::string& name,
                                                const std::string& replacementText)
    : Entity(name), text_(replacementText) {}
const std::string& SimpleXMLReader::InternalEntity::getReplacementText() const {
  return text_;
}

SimpleXMLReader::ExternalEntity::ExternalEntity(const std::string& name,
                                                const std::string& publicId,
                                                const std::string& systemId,
                                                const std::string& notation)
    : Entity(name), publicId_(publicId), systemId_(systemId), notation_(notation) {}
const std::string& SimpleXMLReader::ExternalEntity::getPublicId() const {
  return publicId_;
}
const std::string& SimpleXMLReader::ExternalEntity::getSystemId() const {
  return systemId_;
}
const std::string& SimpleXMLReader::ExternalEntity::getNotation() const {
  return notation_;
}

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

  // Namespace bindings, oldest first; newest maps a prefix to the index of
  // its newest binding, and each binding links to the one it hides.
  struct Binding {
    const char* prefix;
    const char* uri;
    int hidden;  // index of the previous binding of the prefix, or -1
  };
  std::vector<Binding> bindings;
  std::unordered_map<std::string_view, int> newest;
  const char* defaultUri = kEmpty;

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

  ~Data() {
    closeCodec();
    for (auto& e : entities) e.second.entity->release();
  }

  void closeCodec() {
    if (utf32Codec) ktzCloseTextCodec(utf32Codec);
    utf32Codec = nullptr;
    utf32CodecFailed = false;
  }

  // The flag of a known feature, or null.
  bool* feature(const std::string& name) {
    if (name == SimpleXMLReader::Namespaces) return &namespaces;
    if (name == SimpleXMLReader::NamespacePrefixes) return &namespacePrefixes;
    if (name == SimpleXMLReader::UseUTF8) return &useUtf8;
    if (name == SimpleXMLReader::HTML4Entities) return &html4Entities;
    if (name == SimpleXMLReader::ExternalGeneralEntities) return &externalGeneral;
    if (name == SimpleXMLReader::ExternalParameterEntities) return &externalParameter;
    return nullptr;
  }

  // ---- errors -------------------------------------------------------------

  // Reports msg as a fatal error at the current input position. Always
  // returns false so that grammar routines can `return fatal(...)`.
  bool fatal(const std::string& msg) {
    cur.commit();
    if (failed) return false;  // the first error ends the parse; callers may only echo it
    failed = true;
    // Input refused for the expansion budget looks like its end to the
    // grammar: the budget is the reason.
    SAXParseException ex(cur.overBudget ? std::string(kExpansionLimit) : msg, input->getLocator());
    errors->fatalError(ex);  // its answer changes nothing: the parse stops
    return false;
  }
  // After scanText returned a negative result.
  bool scanEnd(int c) { return c == -1 ? endOfInput() : false; }
  bool endOfInput() { return fatal(input->error() ? "read error" : "unexpected end of input"); }
  bool expected(const char* what) {
    return fatal(std::string("syntax error ('%1' expected)") << what);
  }
  bool expectedOneOf(const char* set) {
    return fatal(std::string("syntax error ([%1] expected)") << set);
  }
  template <class Handler>
  bool refused(Handler* h) {
    return fatal(h->getErrorMessage());
  }
  // A token past maxToken: the parse ends rather than memory.
  bool tooLong() {
    return fatal(std::string("token longer than the limit of %1 bytes") << std::to_string(maxToken));
  }

  // ---- scanning -----------------------------------------------------------

  // Skips white space; true when there was any.
  [[gnu::always_inline]] bool skipSpace() {
    bool any = false;
    for (;;) {
      if (cur.p == cur.e && !cur.fill()) return any;
      const char* p = cur.p;
      const char* e = cur.e;
      int lf = 0;
      while (p < e && (scanClass(*p) & detail::kSpace)) {
        lf += *p == '\n';
        ++p;
      }
      any |= p != cur.p;
      cur.lineFeeds += lf;
      cur.p = p;
      if (p < e) return any;
    }
  }

  // Does the input continue with s (n bytes, zero-terminated) and, when
  // follow is given, then with one of its bytes? Takes nothing.
  bool lookingAt(const char* s, size_t n, const char* follow = nullptr) {
    if (cur.p == cur.e && !cur.fill()) return false;
    size_t have = static_cast<size_t>(cur.e - cur.p);
    if (have > n || (have == n && !follow)) {
      if (std::memcmp(cur.p, s, n) != 0) return false;
      return !follow || (cur.p[n] && std::strchr(follow, cur.p[n]));
    }
    if (std::memcmp(cur.p, s, have < n ? have : n) != 0) return false;
    // The window ends inside the pattern: the source looks further.
    cur.drop();
    const char* patterns[] = {s, nullptr};
    return input->testPending(patterns, follow);
  }
  // Takes n bytes known to be there (after lookingAt).
  void take(size_t n) {
    while (n-- > 0) {
      cur.peek();
      cur.skip();
    }
  }
  bool accept(const char* s, size_t n) {
    if (!lookingAt(s, n)) return false;
    take(n);
    return true;
  }
  bool expect(char c) {
    int got = cur.peek();
    if (got < 0) return endOfInput();
    if (got != static_cast<unsigned char>(c)) {
      char s[2] = {c, 0};
      return expected(s);
    }
    cur.skip();
    return true;
  }

  // Appends input to out up to the next byte of class stop other than CR and
  // LF; CR LF and a lone CR arrive as LF. Returns that byte, not taken, -1
  // at the end of input, or -2 after reporting a forbidden character. With
  // untilEntityEnd, returns kEntityEnded as soon as an entity whose end is
  // to be reported has been read to its end (see reportEntityEnds).
  static constexpr int kEntityEnded = -3;
  int scanText(std::uint16_t stop, std::string& out, bool untilEntityEnd = false) {
    // UTF-8 output is the input's own bytes: the characters that XML
    // forbids and a decoder would not have let through are looked for here.
    if (useUtf8) stop |= detail::kUtf8Check;
    for (;;) {
      if (out.size() > maxToken) [[unlikely]] {
        tooLong();
        return -2;
      }
      if (cur.p == cur.e) {
        if (!cur.fill()) return -1;
        if (untilEntityEnd && cur.ended) return kEntityEnded;
      }
      const char* s = cur.p;
      const char* p = s;
      const char* e = cur.e;
      for (;;) {
        while (e - p >= 4) {
          if (scanClass(p[0]) & stop) goto hit;
          if (scanClass(p[1]) & stop) {
            p += 1;
            goto hit;
          }
          if (scanClass(p[2]) & stop) {
            p += 2;
            goto hit;
          }
          if (scanClass(p[3]) & stop) {
            p += 3;
            goto hit;
          }
          p += 4;
        }
        while (p < e && !(scanClass(*p) & stop)) ++p;
      hit:
        if (p == e) break;
        if (*p == '\n') {
          ++cur.lineFeeds;
          ++p;
          continue;
        }
        if (scanClass(*p) & (detail::kUtf8Check | detail::kForbidden)) [[unlikely]] {
          bool bad = scanClass(*p) & detail::kForbidden;
          if (!bad) {
            if (e - p >= 3 || static_cast<unsigned char>(*p) >= 0xF5) {
              bad = forbiddenUtf8(p, e);
            } else {
              // The window ends inside the sequence.
              out.append(s, static_cast<size_t>(p - s));
              cur.p = p;
              bad = forbiddenHere();
              s = p = cur.p;
              e = cur.e;
            }
            if (!bad) {
              ++p;
              continue;
            }
          }
          out.append(s, static_cast<size_t>(p - s));
          cur.p = p;
          fatal(kIllegalCharacter);
          return -2;
        }
        if (*p == '\r') {
          out.append(s, static_cast<size_t>(p - s));
          out += '\n';
          cur.p = p + 1;
          if (cur.p == cur.e && !cur.fill()) return -1;
          if (*cur.p == '\n') cur.skip();
          if (untilEntityEnd && cur.ended) return kEntityEnded;
          s = p = cur.p;
          e = cur.e;
          continue;
        }
        out.append(s, static_cast<size_t>(p - s));
        cur.p = p;
        if (out.size() > maxToken) [[unlikely]] {
          tooLong();
          return -2;
        }
        return static_cast<unsigned char>(*p);
      }
      out.append(s, static_cast<size_t>(p - s));
      cur.p = p;
    }
  }

  // Does [p, e) start with an encoded surrogate, U+FFFE, U+FFFF or a code
  // point beyond U+10FFFF? A
  // sequence cut by the end of the window is let through.
  static bool forbiddenUtf8(const char* p, const char* e) {
    auto b = [p](int i) { return static_cast<unsigned char>(p[i]); };
    if (b(0) >= 0xF5) return true;
    if (e - p < 3) return false;
    if (b(0) == 0xF4) return b(1) >= 0x90;
    if (b(0) == 0xED) return b(1) >= 0xA0 && b(1) <= 0xBF;
    return b(1) == 0xBF && (b(2) == 0xBE || b(2) == 0xBF);
  }

  // Does the input at cur.p start with a sequence that forbiddenUtf8
  // refuses? A sequence cut by the window's end is read from the source
  // and put back, after which the window shows it whole (when the source
  // can show more than one byte at a time).
  bool forbiddenHere() {
    const int n = detail::utf8Length(static_cast<unsigned char>(*cur.p));
    if (cur.e - cur.p >= n || static_cast<unsigned char>(*cur.p) >= 0xF5)
      return forbiddenUtf8(cur.p, cur.e);
    char bytes[4];
    int got = takeCutSequence(n, bytes);
    bool bad = forbiddenUtf8(bytes, bytes + got);
    putBack(bytes, got);
    return !cur.fill() || bad;
  }

  // The n-byte UTF-8 sequence at cur.p, cut by the window's end, taken from
  // the source into bytes; returns how many of its bytes there were.
  int takeCutSequence(int n, char* bytes) {
    cur.drop();
    int got = 0;
    while (got < n) {
      int c = input->get();
      if (c < 0) break;
      bytes[got++] = static_cast<char>(c);
    }
    return got;
  }
  void putBack(const char* bytes, int got) {
    for (int i = got; i-- > 0;) input->unget(bytes[i]);
  }

  char* scratchCopy(const char* s, size_t n) {
    char* r = static_cast<char*>(scratch.alloc(static_cast<unsigned>(n + 1)));
    std::memcpy(r, s, n);
    r[n] = 0;
    return r;
  }

  // Reads a name into the scratch allocator; null (nothing reported) when no
  // name starts here. ASCII names that end inside the window take the first
  // loop only.
  // Also notes where the name's first colon stands and whether there are
  // more (nameColon, nameColons); the scan stops at each colon, so this
  // costs nothing per character.
  char* readName(size_t* length) {
    if (cur.p == cur.e && !cur.fill()) return nullptr;
    const char* s = cur.p;
    const char* p = s;
    if (scanClass(*p) & detail::kNameStart) {
      const char* colon = *p == ':' ? p : nullptr;
      int colons = colon != nullptr;
      ++p;
      std::uint16_t c = 0;
      for (;;) {
        while (p < cur.e && ((c = scanClass(*p)) & detail::kNamePart)) ++p;
        // A name character that is no name part is a colon.
        if (p == cur.e || !(c & detail::kNameChar)) break;
        if (!colons++) colon = p;
        ++p;
      }
      if (p < cur.e && !(c & detail::kNonAscii) && static_cast<size_t>(p - s) <= maxToken) {
        cur.p = p;
        *length = static_cast<size_t>(p - s);
        char* name = scratchCopy(s, *length);
        nameColon = colon ? name + (colon - s) : nullptr;
        nameColons = colons;
        return name;
      }
    } else if (!(scanClass(*p) & detail::kNonAscii)) {
      return nullptr;
    }
    nameBuf.assign(s, static_cast<size_t>(p - s));
    cur.p = p;
    char* name = readNameRest(false, length);
    if (name) {
      nameColon = static_cast<char*>(std::memchr(name, ':', *length));
      nameColons = 0;
      for (size_t i = 0; i < *length; ++i) nameColons += name[i] == ':';
    }
    return name;
  }
  const char* nameColon = nullptr;
  int nameColons = 0;

  // A name token (any name character may come first), or null.
  char* readNmToken(size_t* length) {
    nameBuf.clear();
    return readNameRest(true, length);
  }

  // Goes on with the name begun in nameBuf: characters outside ASCII and
  // names that run past the window. With UTF-8 text every character from
  // U+0080 is checked against the XML name ranges; other output encodings
  // cannot be told apart byte by byte and pass as they are.
  char* readNameRest(bool token, size_t* length) {
    for (;;) {
      if (cur.p == cur.e && !cur.fill()) break;
      const char* p = cur.p;
      const std::uint16_t cls = scanClass(*p);
      if (cls & ((nameBuf.empty() && !token) ? detail::kNameStart : detail::kNameChar)) {
        const char* s = p++;
        while (p < cur.e && (scanClass(*p) & detail::kNameChar)) ++p;
        nameBuf.append(s, static_cast<size_t>(p - s));
        cur.p = p;
        if (nameBuf.size() > maxToken) return tooLong(), nullptr;
        continue;
      }
      if (!(cls & detail::kNonAscii)) break;
      int n = 1;
      if (useUtf8) {
        n = detail::utf8NameChar(p, cur.e, nameBuf.empty() && !token);
        if (n < 0) {
          // The window ends inside the character.
          if (joinCharacter(nameBuf.empty() && !token)) continue;
          break;
        }
        if (n == 0) break;
      }
      nameBuf.append(p, static_cast<size_t>(n));
      cur.p = p + n;
      if (nameBuf.size() > maxToken) return tooLong(), nullptr;
    }
    if (nameBuf.empty()) return nullptr;
    if (nameBuf.size() > maxToken) return tooLong(), nullptr;
    *length = nameBuf.size();
    return scratchCopy(nameBuf.data(), nameBuf.size());
  }

  // The window ends inside the UTF-8 sequence at cur.p: takes its bytes from
  // the source one by one and appends them to nameBuf when they form a name
  // character; otherwise puts them back and returns false.
  bool joinCharacter(bool first) {
    const int n = detail::utf8Length(static_cast<unsigned char>(*cur.p));
    char bytes[4];
    int got = takeCutSequence(n, bytes);
    if (got == n && detail::utf8NameChar(bytes, bytes + n, first) == n) {
      nameBuf.append(bytes, static_cast<size_t>(n));
      return true;
    }
    putBack(bytes, got);
    return false;
  }

  // Reads an attribute value after its opening quote, resolving references;
  // the result lives in the scratch allocator. Null after a reported error.
  const char* readAttributeValue(char quote, size_t* length = nullptr) {
    const std::uint16_t stop = (quote == '"' ? detail::kAttrDqStop : detail::kAttrSqStop) |
                               (useUtf8 ? detail::kUtf8Check : 0);
    // The common case: the whole value lies in the window and holds no
    // reference and no line end.
    const char* s = cur.p;
    const char* p = s;
    while (p < cur.e && !(scanClass(*p) & stop)) ++p;
    if (p < cur.e && *p == quote && static_cast<size_t>(p - s) <= maxToken) {
      cur.p = p + 1;
      if (length) *length = static_cast<size_t>(p - s);
      return scratchCopy(s, static_cast<size_t>(p - s));
    }
    value.clear();
    const std::size_t depth = input->depth();
    for (;;) {
      int c = scanText(stop, value);
      if (c < 0) return scanEnd(c), nullptr;
      if (c == quote && cur.inEntity && input->depth() > depth) {
        // A quote from entity text is part of the value.
        cur.skip();
        value += quote;
        continue;
      }
      cur.skip();
      if (c == quote) break;
      if (c == '<') return fatal("syntax error ('<' not allowed in attribute value)"), nullptr;
      // '&': the replacement becomes part of the value
      if (!reference(RefContext::AttributeValue, quote, value)) return nullptr;
    }
    if (length) *length = value.size();
    return scratchCopy(value.data(), value.size());
  }

  // ---- references ---------------------------------------------------------

  // Appends code point cp in the output encoding; "?" when it has no form
  // there.
  void appendCodePoint(std::uint32_t cp, std::string& out) {
    if (cp <= 127) {
      out += static_cast<char>(cp);
      return;
    }
    if (useUtf8) {
      if ((cp >= 0xD800 && cp <= 0xDFFF) || cp > 0x10FFFF) {
        out += '?';
      } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
      } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
      } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
      }
      return;
    }
    if (!utf32Codec && !utf32CodecFailed) {
      char charset[32];
      const char* target = "US-ASCII";
      if (!EFAILED(ktzGetLocaleParam(kKtzLocaleCodeSet, charset, sizeof charset))) target = charset;
      ZResult tRes = ktzOpenTextCodec("UTF-32LE", target, &utf32Codec);
      if (!QUV_ASSERT(app.get(), !EFAILED(tRes) && utf32Codec != 0)) {
        utf32Codec = nullptr;
        utf32CodecFailed = true;
      }
    }
    if (!utf32Codec) {
      out += '?';
      return;
    }
    unsigned char in[4] = {static_cast<unsigned char>(cp), static_cast<unsigned char>(cp >> 8),
                           static_cast<unsigned char>(cp >> 16),
                           static_cast<unsigned char>(cp >> 24)};
    char buf[16];
    size_t used = 0;
    size_t made = 0;
    ZResult r = ktzConvertText2(utf32Codec, in, sizeof in, &used, buf, sizeof buf, &made,
                                kKtzConvFirst | kKtzConvFinal);
    if (r != zob::kOk || used != sizeof in)
      out += '?';
    else
      out.append(buf, made);
  }

  // Reads a reference after "&" and delivers its replacement: in content
  // through characters() (or, for text that the scanner would read as
  // character data, by starting the next run in out); in an attribute value
  // by appending to out.
  bool reference(RefContext where, char quote, std::string& out) {
    const unsigned entity = currentEntity();
    InputSource* const source = cur.in;  // that of the "&"
    int c = cur.peek();
    if (c == '#') {
      cur.skip();
      std::uint32_t cp = 0;
      int digits = 0;
      bool hex = cur.peek() == 'x';
      if (hex) cur.skip();
      for (;;) {
        c = cur.peek();
        int v;
        if (c >= '0' && c <= '9')
          v = c - '0';
        else if (hex && c >= 'a' && c <= 'f')
          v = c - 'a' + 10;
        else if (hex && c >= 'A' && c <= 'F')
          v = c - 'A' + 10;
        else
          break;
        cur.skip();
        ++digits;
        cp = cp > 0x10FFFF ? cp : cp * (hex ? 16 : 10) + static_cast<std::uint32_t>(v);
      }
      if (c < 0) return endOfInput();
      if (c != ';' || digits == 0) return fatal("syntax error (digit or ';' expected)");
      cur.skip();
      if (!isXmlChar(cp)) return fatal("invalid character reference");
      if (currentEntity() != entity) return fatal(kCrossesEntity);
      if (cp == '\r' && where == RefContext::EntityValue) {
        out += "&#13;";  // kept so that reading the entity does not make it a line end
        return true;
      }
      return deliverCodePoint(where, cp, out);
    }
    // The common case: a declared entity whose ASCII name and ";" lie in the
    // window, which still belongs to the source of the "&" (the window only
    // changes sources when an exhausted one was left).
    if (!entities.empty() && c >= 0 && cur.in == source &&
        (scanClass(*cur.p) & detail::kNameStart)) {
      const char* q = cur.p + 1;
      while (q < cur.e && (scanClass(*q) & detail::kNameChar)) ++q;
      if (q < cur.e && *q == ';') {
        auto it = entities.find(std::string_view(cur.p, static_cast<size_t>(q - cur.p)));
        if (it != entities.end()) {
          cur.p = q + 1;
          return pushEntity(where, it->second);
        }
      }
    }
    void* mark = scratch.getAllocBase();
    size_t n = 0;
    const char* name = readName(&n);
    if (!name) return cur.peek() < 0 ? endOfInput() : fatal(kNameExpected);
    if (!expect(';')) return false;
    if (currentEntity() != entity) return fatal(kCrossesEntity);
    bool ok = entityReference(where, quote, name, n, out);
    scratch.setAllocBase(mark);
    return ok;
  }

  bool deliverCodePoint(RefContext where, std::uint32_t cp, std::string& out) {
    if (where != RefContext::Content) {
      appendCodePoint(cp, out);
      return true;
    }
    std::string& chars = value;  // out is empty here: the run before was delivered
    chars.clear();
    appendCodePoint(cp, chars);
    return content->characters(chars.c_str()) || refused(content);
  }

  // A named reference. Declared entities come first, then (with
  // html4-entities) the HTML 4 set, then the predefined entities. These
  // stand for short replacement texts: "&#38;" for amp and "&#60;" for lt,
  // which cannot start markup; ">" for gt; the quote character itself for
  // apos and quot, or its character reference inside a value delimited by
  // that quote. Such a text is read in place, exactly as the input stack
  // would read it: a character reference is delivered on its own, a plain
  // character starts the next run of character data. A name the reader does
  // not know goes to skippedEntity, in content and in attribute values
  // alike.
  bool entityReference(RefContext where, char quote, const char* name, size_t length,
                       std::string& out) {
    if (!entities.empty()) {
      auto it = entities.find(std::string_view(name, length));
      if (it != entities.end()) return pushEntity(where, it->second);
    }
    if (html4Entities) {
      if (unsigned cp = HTML4Entities::lookup(name)) return deliverCodePoint(where, cp, out);
    }
    struct Predefined {
      const char* name;
      char c;
      bool asReference;  // replaced by a character reference
    };
    static constexpr Predefined kPredefined[] = {{"amp", '&', true},
                                                 {"lt", '<', true},
                                                 {"gt", '>', false},
                                                 {"apos", '\'', false},
                                                 {"quot", '"', false}};
    for (const Predefined& p : kPredefined) {
      if (std::strcmp(name, p.name) != 0) continue;
      bool asReference = p.asReference || (where == RefContext::AttributeValue && quote == p.c);
      if (asReference) return deliverCodePoint(where, static_cast<unsigned char>(p.c), out);
      out += p.c;
      return true;
    }
    if (where != RefContext::Content)
      return fatal(std::string("undeclared entity '%1' in attribute value") << name);
    return content->skippedEntity(name) || refused(content);
  }

  // Checks the bounds before `length` more bytes of entity text are read
  // from a new entity. Each expansion also costs a fixed charge, so that
  // masses of tiny expansions are bounded like their text.
  bool withinLimits(std::size_t length) {
    length += kExpansionCharge;
    std::size_t open = input->depth() - 1;
    if (open >= limits.maxDepth) return fatal(kExpansionLimit);
    std::size_t budget;
    if (__builtin_mul_overflow(cur.outerBytes, limits.expansionFactor, &budget))
      budget = static_cast<std::size_t>(-1);
    if (budget < limits.minExpansion) budget = limits.minExpansion;
    if (length > budget || counters.expandedBytes > budget - length) return fatal(kExpansionLimit);
    counters.expandedBytes += length;
    if (open + 1 > counters.deepestNesting) counters.deepestNesting = open + 1;
    return true;
  }

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
  void enterEntity() {
    instances.resize(input->depth() - 1);
    instances.push_back(++serial);
  }

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
  // After the source of a reported entity was pushed.
  void watchEntity(const Entity* entity) {
    started.push_back({input->depth(), serial, entity});
    cur.watchDepth = input->depth();
  }
  // Reports the end of each reported entity whose source has left the
  // stack, innermost first. An element that began in such an entity and is
  // still open crosses its boundary.
  bool reportEntityEnds() {
    cur.ended = false;
    const std::size_t depth = input->depth();
    while (!started.empty() && started.back().depth > depth) {
      const Started s = started.back();
      if (!open.empty() && open.back().entity == s.serial) return fatal(kCrossesEntity);
      started.pop_back();
      cur.watchDepth = started.empty() ? 0 : started.back().depth;
      if (!lexical->endEntity(s.entity->getName().c_str())) return refused(lexical);
    }
    return true;
  }
  // In content: the character data read so far from the entities that
  // ended, then their ends.
  bool textThenEntityEnds() {
    if (!text.empty()) {
      if (!content->characters(text.c_str())) return refused(content);
      text.clear();
    }
    return reportEntityEnds();
  }

  // Reads a declared entity in place: its source goes on the input stack.
  bool pushEntity(RefContext where, const Declared& declared) {
    cur.drop();
    const bool report = reportsEntity(where);
    if (InternalEntity* internal = declared.internal) {
      if (!withinLimits(internal->getReplacementText().size())) return false;
      if (report && !lexical->startEntity(internal->getName().c_str())) return refused(lexical);
      input->push(new (sourcePool) EntityTextSource(input->top(), internal));
      enterEntity();
      if (report) watchEntity(internal);
      return true;
    }
    Entity* entity = declared.entity;
    Locator here = input->getLocator();
    auto* external = dynamic_cast<ExternalEntity*>(entity);
    if (!external) return content->skippedEntity(entity->getName().c_str()) || refused(content);
    if (!external->getNotation().empty())
      return fatal(std::string("reference to unparsed entity '%1'") << entity->getName());
    if (!withinLimits(0)) return false;
    InputSource* source = nullptr;
    if (!resolver->resolveEntity(external->getPublicId().c_str(), external->getSystemId().c_str(),
                                 &source)) {
      delete source;
      return refused(resolver);
    }
    // A source of the resolver's own is the application's choice; the
    // reader opens a file of its own accord only when asked to.
    const bool parameter = entity->getName()[0] == '%';
    if (!source && !(parameter ? externalParameter : externalGeneral))
      return content->skippedEntity(entity->getName().c_str()) || refused(content);
    if (!source && !(source = openEntity(external, here))) return false;
    if (report && !lexical->startEntity(external->getName().c_str())) {
      delete source;
      return refused(lexical);
    }
    cur.pruneExternals();
    input->push(source);
    cur.externals.push_back({source, input->depth()});
    enterEntity();
    if (report) watchEntity(external);
    // The text declaration is read with the scratch value, which may hold
    // the attribute value this entity is part of.
    std::string held;
    held.swap(value);
    bool ok = externalEntityStart(source);
    held.swap(value);
    return ok;
  }

  // The source for an external entity that the resolver left to the reader:
  // the system id as a file path, relative to the referring input's, and
  // only a regular file: a device, a FIFO or a directory could block the
  // parse or never end. Opened without blocking, then checked.
  InputSource* openEntity(ExternalEntity* entity, const Locator& here) {
    namespace fs = std::filesystem;
    fs::path path(entity->getSystemId());
    if (path.is_relative() && !here.getSystemId().empty())
      path = fs::path(here.getSystemId()).parent_path() / path;
    const std::string file = path.string();
    int fd = ::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd < 0) {
      const char* why = errno == ENOENT || errno == ENOTDIR ? "entity '%1' doesn't exist"
                        : errno == EACCES                  ? "entity '%1' not readable"
                                                           : "failed to open entity '%1'";
      return fatal(std::string(why) << file), nullptr;
    }
    struct stat st;
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
      ::close(fd);
      return fatal(std::string("entity '%1' is not a regular file") << file), nullptr;
    }
    zob::Ref<zob::io::IInputStream> stream;
    if (EFAILED(zobCreateFdInputStream(fd, true, stream.out()))) {
      ::close(fd);
      return fatal(std::string("failed to open entity '%1'") << file), nullptr;
    }
    return new ISInputSource(entity->getPublicId(), file, stream.get());
  }

  // The byte-order mark and text declaration of an external entity just
  // pushed, and the encoding they select for it.
  bool externalEntityStart(InputSource* source) {
    if (cur.peek() < 0 || input->top() != source) return true;  // empty entity
    const char* chosen = nullptr;
    if (lookingAt("\xFE\xFF", 2) || lookingAt("\xFF\xFE", 2))
      chosen = "UTF-16";
    else if (lookingAt("\xEF\xBB\xBF", 3))
      chosen = "UTF-8";
    if (chosen && !applyEncoding(chosen)) return false;
    bool present = false;
    if (!readDeclaration(&present, true)) return false;
    const char* wanted = !declaredEncoding.empty() ? declaredEncoding.c_str() : "UTF-8";
    if (chosen && (declaredEncoding.empty() || strcasecmp(chosen, wanted) == 0)) return true;
    if (!applyEncoding(wanted)) return false;
    return !present || readDeclaration(&present, true);
  }

  // ---- namespaces ---------------------------------------------------------

  void bind(const char* prefix, const char* uri) {
    int index = static_cast<int>(bindings.size());
    auto [it, inserted] = newest.try_emplace(std::string_view(prefix), index);
    int hidden = inserted ? -1 : it->second;
    it->second = index;
    bindings.push_back({prefix, uri, hidden});
    if (!*prefix) defaultUri = uri;
  }

  // Removes the bindings above `keep`, newest first.
  bool unbind(size_t keep) {
    while (bindings.size() > keep) {
      Binding b = bindings.back();
      bindings.pop_back();
      if (b.hidden >= 0)
        newest[std::string_view(b.prefix)] = b.hidden;
      else
        newest.erase(std::string_view(b.prefix));
      if (!*b.prefix) defaultUri = b.hidden >= 0 ? bindings[b.hidden].uri : kEmpty;
      if (!content->endPrefixMapping(b.prefix)) return refused(content);
    }
    return true;
  }

  const char* lookup(std::string_view prefix) {
    auto it = newest.find(prefix);
    return it == newest.end() ? kEmpty : bindings[it->second].uri;
  }

  void resetBindings() {
    bindings.clear();
    newest.clear();
    defaultUri = kEmpty;
    bind("xml", kXmlNamespace);
    bind("xmlns", kXmlnsNamespace);
  }

  static bool isNamespaceDeclaration(const char* name) {
    if ((name[0] | 0x20) != 'x' || (name[1] | 0x20) != 'm' || (name[2] | 0x20) != 'l') return false;
    return std::strncmp(name, "xmlns", 5) == 0 && (name[5] == 0 || name[5] == ':');
  }

  // With namespaces on, element and attribute names are qualified names: at
  // most one colon, with a name on either side of it; and no element has
  // the prefix xmlns.
  // colon: the first; colons: how many the name holds. The usual valid
  // name passes the first test.
  bool checkQName(const char* name, size_t length, const char* colon, int colons, bool isElement) {
    if (colons == 1 && colon != name && colon + 1 != name + length &&
        (scanClass(colon[1]) & detail::kNameStart) && !(isElement && colon - name == 5))
      return true;
    return checkQNameFully(name, length, colon, colons, isElement);
  }
  bool checkQNameFully(const char* name, size_t length, const char* colon, int colons,
                       bool isElement) {
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
  bool checkBinding(const char* attribute, const char* prefix, const char* uri) {
    if (std::strcmp(prefix, "xmlns") == 0)
      return fatal(std::string("reserved prefix declared: '%1'") << attribute);
    const bool xmlUri = std::strcmp(uri, kXmlNamespace) == 0;
    if (std::strcmp(prefix, "xml") == 0) {
      if (xmlUri) return true;
      return fatal(std::string("prefix 'xml' bound to namespace '%1'") << uri);
    }
    if (xmlUri || std::strcmp(uri, kXmlnsNamespace) == 0)
      return fatal(std::string("reserved namespace '%1' declared by '%2'") << uri << attribute);
    if (*prefix && !*uri)
      return fatal(std::string("empty namespace name for prefix '%1'") << prefix);
    return true;
  }

  // With namespaces on, entity names, notation names and processing
  // instruction targets hold no colon.
  bool checkNoColon(const char* name) {
    if (!namespaces || !std::strchr(name, ':')) return true;
    return fatal(std::string("colon in name '%1'") << name);
  }

  // Splits a qualified name: uri and localName per the namespace rules.
  // colon is the name's first colon, or null.
  void resolve(const char* qName, const char* colon, bool isElement, const char** uri,
               const char** localName) {
    if (!namespaces) {
      *uri = kEmpty;
      *localName = kEmpty;
      return;
    }
    if (!colon) {
      *uri = isElement ? defaultUri : kEmpty;
      *localName = qName;
      return;
    }
    *uri = lookup(std::string_view(qName, static_cast<size_t>(colon - qName)));
    *localName = colon + 1;
  }

  // ---- markup -------------------------------------------------------------

  // A start tag after "<": reports it and, unless it was empty, opens the
  // element on the stack.
  bool startTag() {
    const unsigned entity = currentEntity();
    void* mark = scratch.getAllocBase();
    size_t qLength = 0;
    const char* qName = readName(&qLength);
    if (!qName) return cur.peek() < 0 ? endOfInput() : fatal(kNameExpected);
    const char* qColon = namespaces ? nameColon : nullptr;
    // (At the end of input that is the error to report.)
    if (qColon && cur.peek() >= 0 && !checkQName(qName, qLength, qColon, nameColons, true))
      return false;
    size_t bindingsBefore = bindings.size();
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
      if (isNamespaceDeclaration(name)) {
        if (namespaces) {
          const char* prefix = name[5] ? name + 6 : kEmpty;
          if (!checkBinding(name, prefix, v)) return false;
          if (!content->startPrefixMapping(prefix, v)) return refused(content);
          bind(prefix, v);
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

  bool endElement(const char* uri, const char* localName, const char* qName, void* mark,
                  size_t bindingsBefore) {
    if (!content->endElement(uri, localName, qName)) return refused(content);
    if (!unbind(bindingsBefore)) return false;
    scratch.setAllocBase(mark);
    return true;
  }

  // An end tag after "</" closes the innermost open element.
  bool endTag() {
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
  bool comment() {
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
  bool processingInstruction() {
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
  bool cdataSection() {
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
  bool elementContent() {
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
  bool misc(bool prolog) {
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

  // ---- XML declaration and encoding ---------------------------------------

  bool applyEncoding(const char* name) {
    cur.drop();
    if (!input->setEncoding(name, useUtf8 ? "UTF-8" : "")) {
      return fatal(std::string("unsupported encoding '%1'") << name);
    }
    return true;
  }

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

  // The byte-order mark, then the XML declaration if there is one, and the
  // encoding they select.
  bool xmlDeclaration() {
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
  bool readDeclaration(bool* present, bool textDecl = false) {
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
  std::string declaredEncoding;
  std::string documentVersion = "1.0";

  // ---- document type declaration -----------------------------------------

  bool requireSpace() {
    if (skipSpace()) return true;
    return cur.peek() < 0 ? endOfInput() : fatal(kSpaceExpected);
  }
  // A name into the scratch allocator; reports its absence.
  const char* name() {
    size_t n = 0;
    const char* r = readName(&n);
    if (!r) return cur.peek() < 0 ? endOfInput(), nullptr : (fatal(kNameExpected), nullptr);
    return r;
  }
  bool close() {
    skipSpace();
    return expect('>');
  }

  // A quoted literal after its quote; checked literals reject bad bytes.
  bool literal(std::string& out, bool publicId) {
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
  int literalChar() {
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
  bool externalId(std::string& publicId, std::string& systemId, bool notation, bool* present) {
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
  bool doctype() {
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
  bool internalSubset() {
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
  bool parameterReference() {
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
  bool elementDecl() {
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

  bool mixedModel(std::string& model) {
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

  void suffix(std::string& model) {
    int c = cur.peek();
    if (c == '?' || c == '*' || c == '+') {
      cur.skip();
      model += static_cast<char>(c);
    }
  }

  // Content particles after the first "(", nested groups on an explicit
  // stack of their separators.
  bool childrenModel(std::string& model) {
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
  bool enumeration(std::string& type, bool names) {
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
  bool attlistDecl() {
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
  bool entityValue(char quote, std::string& out) {
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

  void declare(const std::string& key, Entity* entity) {
    entity->addRef();
    auto [it, inserted] = entities.try_emplace(key, Declared{entity, nullptr});
    if (inserted)
      it->second.internal = dynamic_cast<InternalEntity*>(entity);
    else
      entity->release();
  }

  // After "<!ENTITY".
  bool entityDecl() {
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
    return decl->externalEntityDecl(key.c_str(), publicId.c_str(), systemId.c_str()) ||
           refused(decl);
  }

  // After "<!NOTATION".
  bool notationDecl() {
    if (!requireSpace()) return false;
    const char* n = name();
    if (!n || !checkNoColon(n) || !requireSpace()) return false;
    std::string publicId, systemId;
    bool present = false;
    if (!externalId(publicId, systemId, true, &present)) return false;
    if (!present)
      return cur.peek() < 0 ? endOfInput() : fatal("syntax error (external id expected)");
    if (!close()) return false;
    return dtd->notationDecl(n, publicId.c_str(), systemId.c_str()) || refused(dtd);
  }

  // ---- document -----------------------------------------------------------

  bool document() {
    if (!xmlDeclaration()) return false;
    if (!misc(true)) return false;
    if (lookingAt("<!DOCTYPE", 9, " \t\r\n")) {
      take(9);
      skipSpace();
      if (!doctype() || !misc(true)) return false;
    }
    int c = cur.peek();
    if (c < 0) return endOfInput();
    if (c != '<') return expected("<");
    cur.skip();
    if (!startTag()) return false;
    if (!elementContent()) return false;
    return misc(false);
  }

  // Reads one document; no exception leaves it. An allocation that fails
  // ends the parse with the fatal error "out of memory" (the scratch texts
  // are let go first, so that the report itself has room).
  bool parse(InputSource* source) {
    void* base = scratch.getAllocBase();
    bool ok = false;
    try {
      ok = parseDocument(source);
    } catch (...) {
      // Only the setting up and the taking down come here: input is gone.
      input = nullptr;
      cur.attach(nullptr);
      open.clear();
      started.clear();
      scratch.setAllocBase(base);
      try {
        errors->fatalError(SAXParseException(kOutOfMemory, DefaultLocator("", "", 0, 0)));
      } catch (...) {
      }
      return false;
    }
    return ok;
  }

  // After an exception from inside the parse (an allocation, or a handler
  // of the application's that throws).
  void reportException(std::exception_ptr ex) {
    text = std::string();
    value = std::string();
    nameBuf = std::string();
    std::string why = kOutOfMemory;
    try {
      std::rethrow_exception(ex);
    } catch (const std::bad_alloc&) {
    } catch (const std::exception& e) {
      try {
        why = std::string("exception: %1") << e.what();
      } catch (...) {
      }
    } catch (...) {
      why = "exception";
    }
    try {
      fatal(why);
    } catch (...) {
    }
  }

  bool parseDocument(InputSource* source) {
    text.clear();
    value.clear();
    failed = false;
    resetBindings();
    closeCodec();
    attrs.clear();
    open.clear();
    declaredEncoding.clear();
    documentVersion = "1.0";
    void* base = scratch.getAllocBase();

    StackedInputSource stacked(source);
    input = &stacked;
    cur.attach(&stacked, &stacked);
    cur.expanded = &counters.expandedBytes;
    cur.expansionMin = limits.minExpansion;
    cur.expansionFactor = limits.expansionFactor;
    counters = EntityCounters();
    instances.assign(1, 0);
    serial = 0;
    started.clear();
    bool ok = false;
    try {
      content->setDocumentLocator(stacked.getLocator());
      if (content->startDocument())
        ok = document() && !cur.overBudget;
      else
        refused(content);
    } catch (...) {
      ok = false;
      reportException(std::current_exception());
    }
    if (cur.overBudget) fatal(kExpansionLimit);  // (reported already, unless by a handler)
    cur.drop();
    counters.documentBytes = cur.outerBytes;
    try {
      content->endDocument();
    } catch (...) {
    }
    input = nullptr;
    cur.attach(nullptr);
    open.clear();
    started.clear();
    scratch.setAllocBase(base);
    return ok;
  }
};

SimpleXMLReader::SimpleXMLReader(fw::IApplication* app) : d(new Data(this, app)) {}

SimpleXMLReader::~SimpleXMLReader() {
  delete d;
}

void SimpleXMLReader::setContentHandler(ContentHandler* handler) {
  d->content = handler;
}
ContentHandler* SimpleXMLReader::getContentHandler() const {
  return d->content;
}
void SimpleXMLReader::setDTDHandler(DTDHandler* handler) {
  d->dtd = handler;
}
DTDHandler* SimpleXMLReader::getDTDHandler() const {
  return d->dtd;
}
void SimpleXMLReader::setEntityResolver(EntityResolver* resolver) {
  d->resolver = resolver;
}
EntityResolver* SimpleXMLReader::getEntityResolver() const {
  return d->resolver;
}
void SimpleXMLReader::setErrorHandler(ErrorHandler* handler) {
  d->errors = handler;
}
ErrorHandler* SimpleXMLReader::getErrorHandler() const {
  return d->errors;
}
void SimpleXMLReader::setDeclHandler(DeclHandler* handler) {
  d->decl = handler;
}
DeclHandler* SimpleXMLReader::getDeclHandler() const {
  return d->decl;
}
void SimpleXMLReader::setLexicalHandler(LexicalHandler* handler) {
  d->lexical = handler;
}
LexicalHandler* SimpleXMLReader::getLexicalHandler() const {
  return d->lexical;
}

void SimpleXMLReader::setFeature(const std::string& name, bool value) {
  if (bool* flag = d->feature(name)) {
    *flag = value;
    return;
  }
  util::eDebug(d->app.get(), QUV_LOG_CATEGORY,
               std::string("Request to set unknown feature %1 to %2") << name << value);
}

bool SimpleXMLReader::getFeature(const std::string& name) {
  if (bool* flag = d->feature(name)) return *flag;
  util::eDebug(d->app.get(), QUV_LOG_CATEGORY, std::string("Unknown feature %1") << name);
  return false;
}

bool SimpleXMLReader::hasFeature(const std::string& name) {
  return d->feature(name);
}

bool SimpleXMLReader::parse(InputSource* input) {
  return d->parse(input);
}

bool SimpleXMLReader::setProperty(const std::string& name, std::size_t value) {
  if (name == MaxTokenSize && value > 0) {
    d->maxToken = value;
    return true;
  }
  util::eDebug(d->app.get(), QUV_LOG_CATEGORY,
               std::string("Request to set unknown property %1 to %2") << name
                                                                      << std::to_string(value));
  return false;
}

bool SimpleXMLReader::getProperty(const std::string& name, std::size_t* value) const {
  if (name != MaxTokenSize) return false;
  if (value) *value = d->maxToken;
  return true;
}

void SimpleXMLReader::setEntityLimits(const EntityLimits& limits) {
  d->limits = limits;
}
SimpleXMLReader::EntityLimits SimpleXMLReader::getEntityLimits() const {
  return d->limits;
}
SimpleXMLReader::EntityCounters SimpleXMLReader::getEntityCounters() const {
  EntityCounters c = d->counters;
  if (d->input) c.documentBytes = d->cur.outerBytes;
  return c;
}
const SimpleXMLReader::Entity* SimpleXMLReader::getEntity(const std::string& name) const {
  auto it = d->entities.find(name);
  return it == d->entities.end() ? nullptr : it->second.entity;
}

bool SimpleXMLReader::parse(const std::string& systemId) {
  try {
    return parseFile(systemId);
  } catch (...) {  // setting up the source; the parse itself catches its own
    try {
      d->errors->fatalError(SAXParseException(kOutOfMemory, DefaultLocator("", "", 0, 0)));
    } catch (...) {
    }
    return false;
  }
}

bool SimpleXMLReader::parseFile(const std::string& systemId) {
  const char* message = nullptr;
  struct stat st;
  if (::stat(systemId.c_str(), &st) != 0)
    message = "entity '%1' doesn't exist";
  else if (::access(systemId.c_str(), R_OK) != 0)
    message = "entity '%1' not readable";
  zob::Ref<zob::io::IInputStream> stream;
  if (!message && EFAILED(zobCreateFileInputStream(systemId.c_str(), stream.out())))
    message = "failed to open entity '%1'";
  if (message) {
    SAXParseException ex(std::string(message) << systemId,
                         DefaultLocator("", systemId.c_str(), 0, 0));
    d->errors->fatalError(ex);
    return false;
  }
  ISInputSource source("", systemId.c_str(), stream.get());
  bool ok = parse(static_cast<InputSource*>(&source));
  return ok;
}

}  // namespace qor::quv::xml::sax
