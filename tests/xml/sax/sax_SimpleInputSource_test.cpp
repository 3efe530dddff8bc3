// The buffered input source: refills, unget, look-ahead, scanners and line
// counting.
#include <gtest/gtest.h>
#include <kelp/util/utl_StringBuf.h>
#include <kelp/xml/sax/sax_SimpleInputSource.h>

#include <algorithm>
#include <string>
#include <vector>

#include "input_test_streams.h"

using namespace qor::quv::xml::sax;
using qor::quv::util::StringBuf;

namespace {

// Serves a string in blocks of at most `block` bytes; with failAt >= 0 the
// fetch that reaches that offset fails.
class StringSource : public SimpleInputSource {
 public:
  explicit StringSource(std::string data, std::size_t block = 1u << 30, long failAt = -1)
      : SimpleInputSource("pub", "sys"), data_(std::move(data)), block_(block), failAt_(failAt) {}
  bool setEncoding(const char*, const char*) override { return true; }
  int fetch(char* buffer, std::size_t size) override {
    ++fetches;
    sizes.push_back(size);
    if (failAt_ >= 0 && pos_ >= static_cast<std::size_t>(failAt_)) return -1;
    std::size_t n = std::min({size, block_, data_.size() - pos_});
    if (failAt_ >= 0) n = std::min(n, static_cast<std::size_t>(failAt_) - pos_);
    std::memcpy(buffer, data_.data() + pos_, n);
    pos_ += n;
    return static_cast<int>(n);
  }
  using SimpleInputSource::readMore;

  int fetches = 0;
  std::vector<std::size_t> sizes;

 private:
  std::string data_;
  std::size_t block_;
  long failAt_;
  std::size_t pos_ = 0;
};

std::string pattern(std::size_t n) {
  std::string s(n, '\0');
  for (std::size_t i = 0; i < n; ++i) s[i] = static_cast<char>('a' + i % 26);
  return s;
}

int line(InputSource& in) {
  return in.getLocator().getLineNumber();
}

}  // namespace

TEST(SaxSimpleInputSource, GetsBytesThenEndOfInput) {
  StringSource in(std::string("a\xff\0b", 4));
  EXPECT_TRUE(in.good());
  EXPECT_EQ(in.get(), 'a');
  EXPECT_EQ(in.get(), 0xff);  // bytes come as 0 to 255
  EXPECT_EQ(in.get(), 0);
  EXPECT_EQ(in.get(), 'b');
  EXPECT_EQ(in.get(), -1);
  EXPECT_TRUE(in.eof());
  EXPECT_FALSE(in.error());
  EXPECT_FALSE(in.good());
  EXPECT_EQ(in.sizes.front(), 8192u - 16u);  // fetched behind the spare bytes
  in.unget('z');                             // unget clears the end flag
  EXPECT_FALSE(in.eof());
  EXPECT_EQ(in.get(), 'z');
  EXPECT_EQ(in.get(), -1);
}

TEST(SaxSimpleInputSource, ReadErrorSetsTheErrorFlag) {
  StringSource in("abc", 2, 2);
  EXPECT_EQ(in.get(), 'a');
  EXPECT_EQ(in.get(), 'b');
  EXPECT_EQ(in.get(), -1);
  EXPECT_TRUE(in.error());
  EXPECT_FALSE(in.eof());
  EXPECT_FALSE(in.good());
  in.reset();
  EXPECT_TRUE(in.good());
  EXPECT_EQ(line(in), 1);
}

TEST(SaxSimpleInputSource, ExactlyOneBufferDoesNotGrow) {
  const std::string doc = pattern(8192);
  StringSource in(doc);
  EXPECT_EQ(kelp::test::drain(in), doc);
  EXPECT_EQ(in.getBufferCapacity(), 8192u);
  EXPECT_EQ(in.fetches, 3);  // 8176 bytes, 16 bytes, end
  // A look-ahead near the end of the first block moves the rest down instead
  // of growing.
  StringSource again(doc);
  for (int i = 0; i < 8170; ++i) again.get();
  const std::string ahead = doc.substr(8170, 10);
  const char* pat[] = {ahead.c_str(), nullptr};
  EXPECT_TRUE(again.testPending(pat, nullptr));
  EXPECT_EQ(again.getBufferCapacity(), 8192u);
  EXPECT_EQ(kelp::test::drain(again), doc.substr(8170));
}

TEST(SaxSimpleInputSource, TestPendingGrowsByDoublingAndConsumesNothing) {
  const std::string doc = pattern(20000) + "tail";
  StringSource in(doc, 1000);
  std::string want = doc.substr(0, 20000);
  const char* pats[] = {"nothing", want.c_str(), nullptr};
  EXPECT_TRUE(in.testPending(pats, nullptr));
  EXPECT_EQ(in.getBufferCapacity(), 32768u);  // 8192 -> 16384 -> 32768
  EXPECT_EQ(kelp::test::drain(in), doc);
  // A pattern longer than the whole input is simply not there.
  StringSource shorter("abc");
  const char* longer[] = {"abcd", nullptr};
  EXPECT_FALSE(shorter.testPending(longer, nullptr));
  EXPECT_FALSE(shorter.eof());  // a look-ahead sets no flag
  EXPECT_EQ(kelp::test::drain(shorter), "abc");
}

TEST(SaxSimpleInputSource, TestPendingWithFollowers) {
  struct Case {
    const char* input;
    const char* pattern;
    const char* follow;
    bool expected;
  } cases[] = {
      {"<?xml version", "<?xml", " \t\r\n", true},
      {"<?xml\tversion", "<?xml", " \t\r\n", true},
      {"<?xml-stylesheet", "<?xml", " \t\r\n", false},
      {"<?xml", "<?xml", " \t\r\n", false},  // nothing follows
      {"<?xml", "<?xml", nullptr, true},
      {"<?xml", "<?xml", "", true},  // an empty set asks for nothing
      {"<!DOCTYPE a", "<!DOCTYPE", " ", true},
      {"<!doctype a", "<!DOCTYPE", " ", false},  // bytes compare exactly
      {"", "x", nullptr, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.input) + " / " + c.pattern);
    for (std::size_t block : {1u, 3u, 100u}) {
      StringSource in(c.input, block);
      const char* pats[] = {c.pattern, nullptr};
      EXPECT_EQ(in.testPending(pats, c.follow), c.expected);
      EXPECT_EQ(kelp::test::drain(in), c.input);
    }
  }
  // The NUL behind the data never counts as a follower.
  StringSource nul(std::string("ab\0", 3));
  const char* pats[] = {"ab", nullptr};
  EXPECT_FALSE(nul.testPending(pats, "x"));
  StringSource in("x");
  EXPECT_FALSE(in.testPending(nullptr, nullptr));
}

TEST(SaxSimpleInputSource, UngetPastTheSpareBytes) {
  const std::string doc = pattern(100);
  StringSource in(doc);
  for (int i = 0; i < 60; ++i) in.get();
  for (int i = 59; i >= 0; --i) in.unget(doc[static_cast<std::size_t>(i)]);
  EXPECT_EQ(kelp::test::drain(in), doc);

  // Ungetting before anything was read, far beyond the spare bytes.
  StringSource fresh("end");
  const std::string pushed = pattern(20000);
  for (std::size_t i = pushed.size(); i > 0; --i) fresh.unget(pushed[i - 1]);
  EXPECT_EQ(fresh.getBufferCapacity(), 32768u);  // doubled only when full
  EXPECT_TRUE(kelp::test::drain(fresh) == pushed + "end");

  // Ungetting other bytes than were read replaces them.
  StringSource swap("ab");
  swap.get();
  swap.unget('X');
  swap.unget('Y');
  EXPECT_EQ(kelp::test::drain(swap), "YXb");
}

TEST(SaxSimpleInputSource, LinesAndLocators) {
  StringSource in("a\nb\n\nc");
  Locator first = in.getLocator();
  EXPECT_EQ(first.getLineNumber(), 1);
  EXPECT_EQ(first.getColumnNumber(), 0);
  EXPECT_EQ(first.getPublicId(), "pub");
  EXPECT_EQ(first.getSystemId(), "sys");
  in.get();
  EXPECT_EQ(line(in), 1);
  in.get();  // the line feed
  EXPECT_EQ(line(in), 2);
  in.unget('\n');
  EXPECT_EQ(line(in), 1);
  in.get();
  EXPECT_EQ(in.consume(3), 3);  // "b\n\n"
  EXPECT_EQ(line(in), 4);
  Locator later = in.getLocator();
  EXPECT_EQ(later.getColumnNumber(), 0);
  EXPECT_EQ(first.getLineNumber(), 1);  // a snapshot does not move
  EXPECT_EQ(in.get(), 'c');
  in.unget('x');  // only a line feed changes the count
  EXPECT_EQ(line(in), 4);
}

TEST(SaxSimpleInputSource, ConsumeAcrossRefillsAndErrors) {
  std::string doc;
  for (int i = 0; i < 3000; ++i) doc += "line\n";  // 15000 bytes, 3000 lines
  StringSource in(doc, 4096);
  EXPECT_EQ(in.consume(0), 0);
  EXPECT_EQ(in.consume(-5), 0);
  EXPECT_EQ(in.consume(12000), 12000);  // more than is buffered
  EXPECT_EQ(line(in), 2401);
  EXPECT_EQ(in.consume(5000), 3000);  // runs short at the end
  EXPECT_EQ(line(in), 3001);
  EXPECT_TRUE(in.eof());

  StringSource failing("abcdef", 3, 3);
  EXPECT_EQ(failing.consume(2), 2);
  EXPECT_EQ(failing.consume(4), -1);  // a read error, not the end
  EXPECT_TRUE(failing.error());
}

TEST(SaxSimpleInputSource, SkipSpaceCountsLinesAndAppends) {
  for (std::size_t block : {1u, 2u, 5u, 1000u}) {
    SCOPED_TRACE(block);
    StringSource in(" \t\r\n \n x\n", block);
    StringBuf buf;
    EXPECT_EQ(in.skipSpace(&buf), 7);
    EXPECT_EQ(buf.str(), " \t\r\n \n ");
    EXPECT_EQ(line(in), 3);
    EXPECT_EQ(in.skipSpace(nullptr), 0);  // at 'x'
    EXPECT_EQ(in.get(), 'x');
    EXPECT_EQ(in.skipSpace(nullptr), 1);  // the final line feed, then the end
    EXPECT_EQ(line(in), 4);
    EXPECT_EQ(in.get(), -1);
  }
}

TEST(SaxSimpleInputSource, NamesAndNameTokens) {
  struct Case {
    const char* input;
    bool name;          // getName succeeds
    const char* taken;  // what getName appends and consumes
    bool nmtoken;
    const char* token;
  } cases[] = {
      {"abc def", true, "abc", true, "abc"},
      {"x:y-z.1_2=", true, "x:y-z.1_2", true, "x:y-z.1_2"},
      {"_a>", true, "_a", true, "_a"},
      {":a/", true, ":a", true, ":a"},
      {"1abc ", false, "", true, "1abc"},
      {"-x", false, "", true, "-x"},
      {".x", false, "", true, ".x"},
      {"\xc3\xa9t\xc3\xa9 ", true, "\xc3\xa9t\xc3\xa9", true, "\xc3\xa9t\xc3\xa9"},
      {"\xe6\x97\xa5\xe6\x9c\xac<", true, "\xe6\x97\xa5\xe6\x9c\xac", true,
       "\xe6\x97\xa5\xe6\x9c\xac"},
      {" a", false, "", false, ""},
      {"=", false, "", false, ""},
      {"", false, "", false, ""},
      {"abc", true, "abc", true, "abc"},  // ends with the input
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.input);
    for (std::size_t block : {1u, 2u, 3u, 1000u}) {
      SCOPED_TRACE(block);
      StringSource in(c.input, block);
      StringBuf buf("pre:");
      EXPECT_EQ(in.getName(&buf), c.name);
      EXPECT_EQ(buf.str(), std::string("pre:") + c.taken);
      EXPECT_EQ(kelp::test::drain(in), std::string(c.input).substr(std::strlen(c.taken)));

      StringSource tok(c.input, block);
      StringBuf tbuf;
      EXPECT_EQ(tok.getNmToken(&tbuf), c.nmtoken);
      EXPECT_EQ(tbuf.str(), c.token);
      EXPECT_EQ(kelp::test::drain(tok), std::string(c.input).substr(std::strlen(c.token)));
    }
  }
  // Without a buffer the name is skipped.
  StringSource in("name rest");
  EXPECT_TRUE(in.getName(nullptr));
  EXPECT_EQ(kelp::test::drain(in), " rest");
}

TEST(SaxSimpleInputSource, LongNameAcrossManyRefills) {
  const std::string name = "n" + pattern(50000);
  StringSource in(name + "=v", 4096);
  StringBuf buf;
  EXPECT_TRUE(in.getName(&buf));
  EXPECT_EQ(buf.str(), name);
  EXPECT_EQ(in.get(), '=');
  EXPECT_EQ(in.getBufferCapacity(), 8192u);  // scanning never grows the buffer
}

TEST(SaxSimpleInputSource, ReadMoreAppendsBehindTheUnreadData) {
  StringSource in(pattern(30), 10);
  EXPECT_EQ(in.get(), 'a');
  EXPECT_TRUE(in.readMore());  // 9 unread + 10 more
  EXPECT_EQ(in.sizes.back(), 8192u - 16u - 9u);
  EXPECT_TRUE(in.readMore());
  EXPECT_FALSE(in.readMore());  // the end
  EXPECT_FALSE(in.eof());       // but get has not found it yet
  EXPECT_EQ(kelp::test::drain(in), pattern(30).substr(1));
  EXPECT_TRUE(in.eof());
}
