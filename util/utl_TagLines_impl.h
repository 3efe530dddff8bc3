// TagLines: the lines of elements in a document's raw text, found by
// following the SAX events in document order (the reader knows its position
// exactly only when it reports an error).
#ifndef KELP_UTIL_UTL_TAGLINES_IMPL_H
#define KELP_UTIL_UTL_TAGLINES_IMPL_H

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>

namespace qor::quv::basket::detail {

// Lines of the records. The SAX reader knows its position exactly only when
// it reports an error, so the report finds each element's tags in the raw
// text itself, following the events in document order: the start tag of
// the next startElement is the next start tag of that name behind the
// previous one (comments, CDATA sections, processing instructions and the
// document type are stepped over). This needs an ASCII-compatible encoding;
// for UTF-16 and UTF-32 files the lines are unknown (0).

class TagLines {
 public:
  explicit TagLines(const std::string& text)
      : text_(text),
        usable_(text.size() < 2 || (text[0] != '\0' && text[1] != '\0' &&
                                    static_cast<unsigned char>(text[0]) < 0xFE)) {}

  // Moves past the next start tag called qName; returns the line on which
  // it starts (0 when it cannot be found).
  int startTag(const char* qName) {
    emptyPending_ = false;
    if (!usable_) return 0;
    for (std::size_t p = pos_; (p = nextTag(p)) != std::string::npos;) {
      std::size_t end = tagEnd(p);
      if (end == std::string::npos) return 0;
      if (text_[p + 1] != '/' && nameIs(p + 1, qName)) {
        advance(p);
        const int line = line_;
        advance(end + 1);
        emptyPending_ = text_[end - 1] == '/';
        return line;
      }
      p = end + 1;
    }
    return 0;
  }

  // Moves past the end tag of the element whose start tag was the last one
  // found (nothing to do when that was an empty-element tag).
  void endTag(const char* qName) {
    if (emptyPending_ || !usable_) {
      emptyPending_ = false;
      return;
    }
    for (std::size_t p = pos_; (p = nextTag(p)) != std::string::npos;) {
      std::size_t end = tagEnd(p);
      if (end == std::string::npos) return;
      if (text_[p + 1] == '/' && nameIs(p + 2, qName)) {
        advance(end + 1);
        return;
      }
      p = end + 1;
    }
  }

  // The line of the position behind the last tag found.
  int line() const { return usable_ ? line_ : 0; }

 private:
  // The next "<" at or after p that opens a start or end tag.
  std::size_t nextTag(std::size_t p) const {
    while ((p = text_.find('<', p)) != std::string::npos) {
      if (text_.compare(p, 4, "<!--") == 0) {
        p = skipPast(p + 4, "-->");
      } else if (text_.compare(p, 9, "<![CDATA[") == 0) {
        p = skipPast(p + 9, "]]>");
      } else if (text_.compare(p, 2, "<?") == 0) {
        p = skipPast(p + 2, "?>");
      } else if (text_.compare(p, 2, "<!") == 0) {
        // The document type, with its internal subset in brackets.
        bool subset = false;
        for (p += 2; p < text_.size() && (subset || text_[p] != '>'); ++p) {
          if (text_[p] == '[') subset = true;
          if (text_[p] == ']') subset = false;
        }
        if (p < text_.size()) ++p;
      } else {
        return p;
      }
    }
    return std::string::npos;
  }

  std::size_t skipPast(std::size_t p, const char* end) const {
    std::size_t at = text_.find(end, p);
    return at == std::string::npos ? at : at + std::strlen(end);
  }

  // The ">" closing the tag that starts at p (quoted values may hold ">").
  std::size_t tagEnd(std::size_t p) const {
    char quote = 0;
    for (++p; p < text_.size(); ++p) {
      const char c = text_[p];
      if (quote) {
        if (c == quote) quote = 0;
      } else if (c == '"' || c == '\'') {
        quote = c;
      } else if (c == '>') {
        return p;
      }
    }
    return std::string::npos;
  }

  bool nameIs(std::size_t p, const char* name) const {
    const std::size_t n = std::strlen(name);
    if (text_.compare(p, n, name) != 0 || p + n >= text_.size()) return false;
    const char after = text_[p + n];
    return after == '>' || after == '/' || after == ' ' || after == '\t' || after == '\n' ||
           after == '\r';
  }

  void advance(std::size_t to) {
    line_ += static_cast<int>(std::count(text_.begin() + static_cast<std::ptrdiff_t>(pos_),
                                         text_.begin() + static_cast<std::ptrdiff_t>(to), '\n'));
    pos_ = to;
  }

  const std::string& text_;
  bool usable_;
  std::size_t pos_ = 0;
  int line_ = 1;
  bool emptyPending_ = false;
};

}  // namespace qor::quv::basket::detail

#endif
