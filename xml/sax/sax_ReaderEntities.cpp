// SimpleXMLReader: character and entity references, the entities' text
// sources on the input stack (internal text in place, external entities
// opened through the resolver), the entity stack with the reports of
// entity starts and ends, and the expansion accounting against the limits.
#define QUV_SOURCE_NAME "sax_ReaderEntities"
#include "xml/sax/sax_SimpleXMLReader_impl.h"

#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include <kelp/util/utl_Logger.h>
#include <kelp/xml/sax/sax_HTML4Entities.h>
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <ktz/ktz_locale.h>
#include <zob/zob_io.h>

namespace qor::quv::xml::sax {

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

// ---- references -------------------------------------------------------------

// Appends code point cp in the output encoding; "?" when it has no form
// there.
void SimpleXMLReader::Data::appendCodePoint(std::uint32_t cp, std::string& out) {
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
bool SimpleXMLReader::Data::reference(RefContext where, char quote, std::string& out) {
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
  if (!entities.empty() && c >= 0 && cur.in == source && (scanClass(*cur.p) & detail::kNameStart)) {
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

bool SimpleXMLReader::Data::deliverCodePoint(RefContext where, std::uint32_t cp, std::string& out) {
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
bool SimpleXMLReader::Data::entityReference(RefContext where, char quote, const char* name,
                                            size_t length, std::string& out) {
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
bool SimpleXMLReader::Data::withinLimits(std::size_t length) {
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

void SimpleXMLReader::Data::enterEntity() {
  instances.resize(input->depth() - 1);
  instances.push_back(++serial);
}

// After the source of a reported entity was pushed.
void SimpleXMLReader::Data::watchEntity(const Entity* entity) {
  started.push_back({input->depth(), serial, entity});
  cur.watchDepth = input->depth();
}

// Reports the end of each reported entity whose source has left the
// stack, innermost first. An element that began in such an entity and is
// still open crosses its boundary.
bool SimpleXMLReader::Data::reportEntityEnds() {
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
bool SimpleXMLReader::Data::textThenEntityEnds() {
  if (!text.empty()) {
    if (!content->characters(text.c_str())) return refused(content);
    text.clear();
  }
  return reportEntityEnds();
}

// Reads a declared entity in place: its source goes on the input stack.
bool SimpleXMLReader::Data::pushEntity(RefContext where, const Declared& declared) {
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
InputSource* SimpleXMLReader::Data::openEntity(ExternalEntity* entity, const Locator& here) {
  namespace fs = std::filesystem;
  fs::path path(entity->getSystemId());
  if (path.is_relative() && !here.getSystemId().empty())
    path = fs::path(here.getSystemId()).parent_path() / path;
  const std::string file = path.string();
  int fd = ::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
  if (fd < 0) {
    const char* why = errno == ENOENT || errno == ENOTDIR ? "entity '%1' doesn't exist"
                      : errno == EACCES                   ? "entity '%1' not readable"
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
bool SimpleXMLReader::Data::externalEntityStart(InputSource* source) {
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

}  // namespace qor::quv::xml::sax
