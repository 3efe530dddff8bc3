// EntityTextSource: the input source over the replacement text of an
// internal entity, read in place, and the pool its instances come from.
// The reader pushes one on its input stack for each reference it expands.
#ifndef KELP_XML_SAX_SAX_ENTITYTEXTSOURCE_IMPL_H
#define KELP_XML_SAX_SAX_ENTITYTEXTSOURCE_IMPL_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>

#include <kelp/util/utl_StringBuf.h>
#include <kelp/xml/sax/sax_InputSource.h>
#include <kelp/xml/sax/sax_Locator.h>
#include <kelp/xml/sax/sax_SimpleXMLReader.h>

#include "xml/sax/sax_Scanner_impl.h"

namespace qor::quv::xml::sax::detail {

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
    while (p_ < e_ && (scanClass(*p_) & kSpace)) get();
    if (buf && p_ > s) buf->append(s, static_cast<unsigned>(p_ - s));
    return static_cast<int>(p_ - s);
  }
  bool getName(util::StringBuf* buf) override { return scanName(buf, kNameStart); }
  bool getNmToken(util::StringBuf* buf) override { return scanName(buf, kNameChar); }
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
    if (p_ == e_ || !(scanClass(*p_) & (first | kNonAscii))) return false;
    const char* s = p_++;
    while (p_ < e_ && (scanClass(*p_) & (kNameChar | kNonAscii))) ++p_;
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

}  // namespace qor::quv::xml::sax::detail

#endif
