// The buffered input source: byte access, line counting and the scanners.
#define QUV_SOURCE_NAME "sax_SimpleInputSource"
#include <kelp/xml/sax/sax_SimpleInputSource.h>

#include <cstdlib>
#include <cstring>

#include <kelp/util/utl_StringBuf.h>

#include "xml/sax/sax_Scanner_impl.h"

namespace qor::quv::xml::sax {

namespace {

constexpr std::size_t kInitialCapacity = 8192;
// Bytes kept free before the data so that unget can step back.
constexpr std::size_t kSpare = 16;
// Room readMore leaves for fetch at least: a decoder needs space for one
// whole character.
constexpr std::size_t kMinFetch = 16;

int countLineFeeds(const char* p, std::size_t n) {
  int lines = 0;
  const char* end = p + n;
  while ((p = static_cast<const char*>(std::memchr(p, '\n', static_cast<std::size_t>(end - p))))) {
    ++lines;
    ++p;
  }
  return lines;
}

}  // namespace

struct SimpleInputSource::Data {
  std::string publicId;
  std::string systemId;
  bool eof = false;
  bool error = false;
  std::size_t capacity = kInitialCapacity;
  // capacity + 1 bytes: the byte behind the data is always NUL, so that the
  // scanners stop there without testing the end.
  char* array = nullptr;
  std::size_t pos = kSpare;  // read position
  std::size_t end = kSpare;  // end of the data
  int line = 1;

  // Allocates the array on first need; false when memory runs out.
  bool ensureArray() {
    if (array) return true;
    array = static_cast<char*>(std::malloc(capacity + 1));
    if (!array) return false;
    array[end] = '\0';
    return true;
  }

  // Replaces the array by one of twice the capacity holding the unread data
  // behind fresh spare bytes.
  bool grow() {
    if (capacity > (static_cast<std::size_t>(-1) >> 2)) return false;
    std::size_t newCapacity = capacity * 2;
    char* fresh = static_cast<char*>(std::malloc(newCapacity + 1));
    if (!fresh) return false;
    std::size_t unread = end - pos;
    if (unread) std::memcpy(fresh + kSpare, array + pos, unread);
    std::free(array);
    array = fresh;
    capacity = newCapacity;
    pos = kSpare;
    end = kSpare + unread;
    array[end] = '\0';
    return true;
  }
};

SimpleInputSource::SimpleInputSource(const std::string& publicId, const std::string& systemId)
    : d_(new Data) {
  d_->publicId = publicId;
  d_->systemId = systemId;
}

SimpleInputSource::~SimpleInputSource() {
  std::free(d_->array);
  delete d_;
}

bool SimpleInputSource::good() {
  return !d_->eof && !d_->error;
}

bool SimpleInputSource::eof() {
  return d_->eof;
}

bool SimpleInputSource::error() {
  return d_->error;
}

bool SimpleInputSource::refill() {
  Data* d = d_;
  if (!d->ensureArray()) {
    d->error = true;
    return false;
  }
  std::size_t room = d->capacity - kSpare;
  int n = fetch(d->array + kSpare, room);
  if (n > 0) {
    std::size_t got = static_cast<std::size_t>(n) < room ? static_cast<std::size_t>(n) : room;
    d->pos = kSpare;
    d->end = kSpare + got;
    d->array[d->end] = '\0';
    return true;
  }
  if (n == 0)
    d->eof = true;
  else
    d->error = true;
  return false;
}

int SimpleInputSource::get() {
  Data* d = d_;
  if (d->pos == d->end && !refill()) return -1;
  unsigned char c = static_cast<unsigned char>(d->array[d->pos++]);
  if (c == '\n') ++d->line;
  return c;
}

bool SimpleInputSource::peekRun(const char** begin, const char** end) {
  Data* d = d_;
  if (d->pos == d->end && !refill()) return false;
  *begin = d->array + d->pos;
  *end = d->array + d->end;
  return true;
}

void SimpleInputSource::consumeRun(std::size_t count, int lineFeeds) {
  Data* d = d_;
  d->pos += count < d->end - d->pos ? count : d->end - d->pos;
  d->line += lineFeeds;
}

void SimpleInputSource::unget(char c) {
  Data* d = d_;
  if (!d->ensureArray()) {
    d->error = true;  // out of memory: the byte is lost
    return;
  }
  if (d->pos == 0) {
    // All spare bytes are used. Free room behind the data is moved to the
    // front; only a full buffer doubles, so that long runs of ungets grow it
    // in proportion to what they put back.
    std::size_t room = d->capacity - d->end;
    if (room >= kSpare) {
      std::memmove(d->array + room, d->array, d->end);
      d->pos = room;
      d->end = d->capacity;
      d->array[d->end] = '\0';
    } else if (!d->grow()) {
      d->error = true;
      return;
    }
  }
  d->array[--d->pos] = c;
  if (c == '\n') --d->line;
  d->eof = false;
}

int SimpleInputSource::consume(int count) {
  Data* d = d_;
  if (count <= 0) return 0;
  std::size_t n = static_cast<std::size_t>(count);
  if (d->end - d->pos >= n) {
    d->line += countLineFeeds(d->array + d->pos, n);
    d->pos += n;
    return count;
  }
  int done = 0;
  while (done < count) {
    if (get() < 0) return d->error ? -1 : done;
    ++done;
  }
  return done;
}

bool SimpleInputSource::readMore() {
  Data* d = d_;
  if (!d->ensureArray()) {
    d->error = true;
    return false;
  }
  std::size_t unread = d->end - d->pos;
  if (d->pos != kSpare) {
    std::memmove(d->array + kSpare, d->array + d->pos, unread);
    d->pos = kSpare;
    d->end = kSpare + unread;
    d->array[d->end] = '\0';
  }
  if (d->capacity - d->end < kMinFetch && !d->grow()) {
    d->error = true;
    return false;
  }
  std::size_t room = d->capacity - d->end;
  int n = fetch(d->array + d->end, room);
  if (n > 0) {
    d->end += static_cast<std::size_t>(n) < room ? static_cast<std::size_t>(n) : room;
    d->array[d->end] = '\0';
    return true;
  }
  if (n < 0) d->error = true;
  return false;
}

bool SimpleInputSource::testPending(const char** patterns, const char* follow) {
  if (!patterns) return false;
  Data* d = d_;
  const bool needFollow = follow && *follow;
  for (const char** p = patterns; *p; ++p) {
    const std::size_t len = std::strlen(*p);
    const std::size_t need = len + (needFollow ? 1 : 0);
    while (d->end - d->pos < need)
      if (!readMore()) break;
    if (d->end - d->pos < need) continue;
    const char* at = d->array + d->pos;
    if (std::memcmp(at, *p, len) != 0) continue;
    if (!needFollow || (at[len] != '\0' && std::strchr(follow, at[len]))) return true;
  }
  return false;
}

void SimpleInputSource::appendRun(util::StringBuf* buf, const char* from, const char* to) {
  if (buf && to > from) buf->append(from, static_cast<unsigned>(to - from));
}

int SimpleInputSource::skipSpace(util::StringBuf* buf) {
  Data* d = d_;
  int total = 0;
  for (;;) {
    if (d->pos == d->end && !refill()) return total;
    const char* start = d->array + d->pos;
    const char* p = start;
    int lines = 0;
    // The NUL behind the data ends the run.
    while (detail::scanClass(*p) & detail::kSpace) {
      lines += (*p == '\n');
      ++p;
    }
    appendRun(buf, start, p);
    d->line += lines;
    d->pos += static_cast<std::size_t>(p - start);
    total += static_cast<int>(p - start);
    if (d->pos < d->end) return total;  // stopped at something else
  }
}

bool SimpleInputSource::scanName(util::StringBuf* buf, bool nameStart) {
  Data* d = d_;
  if (d->pos == d->end && !refill()) return false;
  char first = d->array[d->pos];
  // Bytes from 0x80 count as name characters, first ones too: in UTF-8
  // they are the bytes of the characters outside ASCII that names may hold,
  // so a name never ends inside a sequence.
  const std::uint16_t firstClass =
      (nameStart ? detail::kNameStart : detail::kNameChar) | detail::kNonAscii;
  if (!(detail::scanClass(first) & firstClass)) return false;
  for (;;) {
    const char* start = d->array + d->pos;
    const char* p = start;
    while (detail::scanClass(*p) & (detail::kNameChar | detail::kNonAscii)) ++p;
    appendRun(buf, start, p);
    d->pos += static_cast<std::size_t>(p - start);
    if (d->pos < d->end || !refill()) return true;
  }
}

bool SimpleInputSource::getName(util::StringBuf* buf) {
  return scanName(buf, true);
}

bool SimpleInputSource::getNmToken(util::StringBuf* buf) {
  return scanName(buf, false);
}

Locator SimpleInputSource::getLocator() {
  return DefaultLocator(d_->publicId, d_->systemId, d_->line, 0);
}

void SimpleInputSource::reset() {
  Data* d = d_;
  d->eof = false;
  d->error = false;
  d->pos = d->end = kSpare;
  if (d->array) d->array[d->end] = '\0';
  d->line = 1;
}

const std::string& SimpleInputSource::getPublicId() const {
  return d_->publicId;
}

const std::string& SimpleInputSource::getSystemId() const {
  return d_->systemId;
}

std::size_t SimpleInputSource::getBufferCapacity() const {
  return d_->capacity;
}

}  // namespace qor::quv::xml::sax
