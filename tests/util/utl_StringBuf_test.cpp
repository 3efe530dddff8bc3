// Growable buffers: construction, growth by doubling, caller's buffers,
// sources inside the buffer itself, and the range rules.
#define QUV_SOURCE_NAME "utl_StringBuf_test"
#include <kelp/util/utl_StringBuf.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

using namespace qor::quv::util;

namespace {

constexpr StringBuf::ExtBufTag* kExt = nullptr;

// The capacity that doubling from `cap` reaches: `once` doubles first, then
// doubling goes on while the capacity is not larger than `needed`.
unsigned doubled(unsigned cap, unsigned needed, bool once) {
  if (once) cap *= 2;
  while (cap <= needed) cap *= 2;
  return cap;
}

}  // namespace

TEST(StringBuf, Construction) {
  StringBuf empty;
  EXPECT_STREQ(empty.c_str(), "");
  EXPECT_EQ(empty.getLength(), 0u);
  EXPECT_EQ(empty.getCapacity(), 16u);
  EXPECT_TRUE(empty.isOwned());
  EXPECT_TRUE(empty.isEmpty());

  struct Case {
    const char* text;
    unsigned capacity;
  } cases[] = {{"", 16},
               {"abc", 16},
               {"0123456789abcde", 16},
               {"0123456789abcdef", 17},
               {"0123456789012345678901234567890123456789", 41}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    StringBuf b(c.text);
    EXPECT_STREQ(b.c_str(), c.text);
    EXPECT_EQ(b.getLength(), std::strlen(c.text));
    EXPECT_EQ(b.getCapacity(), c.capacity);
    EXPECT_TRUE(b.isOwned());
  }
  StringBuf fromNull(static_cast<const char*>(nullptr));
  EXPECT_STREQ(fromNull.c_str(), "");
}

TEST(StringBuf, CallersBuffer) {
  char buf[8];
  std::memset(buf, '#', sizeof buf);
  {
    StringBuf b(kExt, buf, sizeof buf);
    EXPECT_FALSE(b.isOwned());
    EXPECT_EQ(b.c_str(), buf);
    EXPECT_EQ(buf[0], '\0');  // emptied
    EXPECT_EQ(b.getCapacity(), 8u);
    b.append("abc");
    EXPECT_EQ(b.c_str(), buf);
    EXPECT_STREQ(buf, "abc");
    b.append("defghijk");  // 11 bytes do not fit in 8
    EXPECT_TRUE(b.isOwned());
    EXPECT_NE(b.c_str(), buf);
    EXPECT_STREQ(b.c_str(), "abcdefghijk");
    EXPECT_EQ(b.getCapacity(), doubled(8, 11, true));
    // From here on the caller's buffer is left alone.
    const std::string snapshot(buf, sizeof buf);
    b.clear();
    b.assign("zzzzzzzzzzzzzzzzzzzzzzzzzzzz");
    b.truncate(1);
    b.insert(0, 'q');
    b.append('!');
    b.resize(4);
    EXPECT_EQ(std::string(buf, sizeof buf), snapshot);
  }
  // Destroying the buffer did not free the caller's memory (ASan would say).
  EXPECT_EQ(std::string(buf, 4), std::string("abc\0", 4));
}

TEST(StringBuf, UnusableCallersBuffer) {
  char tiny[2] = {'x', 'y'};
  struct Case {
    const char* name;
    char* buffer;
    unsigned size;
  } cases[] = {{"size 0", tiny, 0}, {"size 1", tiny, 1}, {"null buffer", nullptr, 64}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    StringBuf b(kExt, c.buffer, c.size);
    EXPECT_TRUE(b.isOwned());
    EXPECT_EQ(b.getCapacity(), 64u);
    EXPECT_STREQ(b.c_str(), "");
  }
  EXPECT_EQ(tiny[0], 'x');  // not touched
  StringBuf two(kExt, tiny, 2);
  EXPECT_FALSE(two.isOwned());
  two.append('a');
  EXPECT_FALSE(two.isOwned());
  EXPECT_STREQ(tiny, "a");
  two.append('b');
  EXPECT_TRUE(two.isOwned());
  EXPECT_STREQ(two.c_str(), "ab");
}

TEST(StringBuf, AssignGrowth) {
  struct Case {
    unsigned length;
  } cases[] = {{0}, {1}, {15}, {16}, {31}, {32}, {40}, {200}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.length);
    StringBuf b;
    const std::string text(c.length, 'a');
    b.assign(text.c_str());
    EXPECT_EQ(b.str(), text);
    EXPECT_EQ(b.getCapacity(), doubled(16, c.length, false));
    StringBuf b2;
    b2.assign(text.data(), c.length);
    EXPECT_EQ(b2.str(), text);
    EXPECT_EQ(b2.getCapacity(), b.getCapacity());
  }
  StringBuf b("long text that is replaced");
  b.assign('x');
  EXPECT_STREQ(b.c_str(), "x");
  EXPECT_EQ(b.getLength(), 1u);
  b.assign(static_cast<const char*>(nullptr));
  EXPECT_STREQ(b.c_str(), "");
}

TEST(StringBuf, AppendGrowth) {
  struct Case {
    unsigned have, add;
  } cases[] = {{0, 15}, {10, 5}, {10, 6}, {0, 16}, {0, 31}, {0, 32}, {0, 40}, {15, 1}, {5, 100}};
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.have) + "+" + std::to_string(c.add));
    StringBuf b(std::string(c.have, 'h').c_str());
    const std::string add(c.add, 'a');
    b.append(add.c_str());
    EXPECT_EQ(b.str(), std::string(c.have, 'h') + add);
    const unsigned needed = c.have + c.add;
    EXPECT_EQ(b.getCapacity(), needed < 16 ? 16u : doubled(16, needed, true));
    // The same by run and by character.
    StringBuf byRun(std::string(c.have, 'h').c_str());
    byRun.append(add.data(), c.add);
    EXPECT_EQ(byRun.str(), b.str());
    EXPECT_EQ(byRun.getCapacity(), b.getCapacity());
  }
  StringBuf chars;
  std::string expected;
  for (int i = 0; i < 1000; ++i) {
    const char c = static_cast<char>('a' + i % 26);
    chars.append(c);
    expected += c;
  }
  EXPECT_EQ(chars.str(), expected);
  EXPECT_EQ(chars.getCapacity(), 1024u);
  chars.append(static_cast<const char*>(nullptr));
  chars.append(nullptr, 0);
  EXPECT_EQ(chars.getLength(), 1000u);
}

TEST(StringBuf, SourcesInsideTheBuffer) {
  StringBuf b("abcdefghij");
  b.append(b.c_str(), b.getLength());  // grows: 20 bytes in 16
  EXPECT_STREQ(b.c_str(), "abcdefghijabcdefghij");
  b.append(b.c_str() + 18);
  EXPECT_STREQ(b.c_str(), "abcdefghijabcdefghijij");
  b.assign(b.c_str() + 20);
  EXPECT_STREQ(b.c_str(), "ij");
  b.insert(1, b.c_str());
  EXPECT_STREQ(b.c_str(), "iijj");
  StringBuf big(std::string(15, 'x').c_str());
  big.assign(big.c_str(), 15);
  EXPECT_EQ(big.str(), std::string(15, 'x'));
}

TEST(StringBuf, Insert) {
  struct Case {
    const char* text;
    unsigned pos;
    const char* insert;
    const char* expected;
  } cases[] = {{"world", 0, "hello ", "hello world"},
               {"ac", 1, "b", "abc"},
               {"ab", 2, "cd", "abcd"},
               {"ab", 99, "!", "ab!"},
               {"", 0, "x", "x"},
               {"ab", 1, "", "ab"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.expected);
    StringBuf b(c.text);
    b.insert(c.pos, c.insert);
    EXPECT_STREQ(b.c_str(), c.expected);
    EXPECT_EQ(b.getLength(), std::strlen(c.expected));
    if (std::strlen(c.insert) == 1) {
      StringBuf byChar(c.text);
      byChar.insert(c.pos, c.insert[0]);
      EXPECT_STREQ(byChar.c_str(), c.expected);
    }
  }
  // A character doubles the capacity once the text end plus one reaches
  // the capacity end.
  StringBuf b(std::string(14, 'a').c_str());
  b.insert(0, 'b');
  EXPECT_EQ(b.getLength(), 15u);
  EXPECT_EQ(b.getCapacity(), 16u);
  b.insert(0, 'c');
  EXPECT_EQ(b.getCapacity(), 32u);
  EXPECT_EQ(b.str(), "cb" + std::string(14, 'a'));
  b.insert(3, static_cast<const char*>(nullptr));
  EXPECT_EQ(b.getLength(), 16u);
  // A string grows as append does.
  StringBuf s("0123456789");
  s.insert(5, "abcdefghijklmnopqrstuvwxyz");
  EXPECT_STREQ(s.c_str(), "01234abcdefghijklmnopqrstuvwxyz56789");
  EXPECT_EQ(s.getCapacity(), doubled(16, 36, true));
}

TEST(StringBuf, TruncateAndResize) {
  StringBuf b("abcdef");
  b.truncate(3);
  EXPECT_STREQ(b.c_str(), "abc");
  // No check against the length: bytes written past the text join it.
  std::memcpy(b.getBuffer() + 3, "XYZ", 3);
  b.truncate(6);
  EXPECT_STREQ(b.c_str(), "abcXYZ");
  b.truncate(1000);  // kept below the capacity
  EXPECT_EQ(b.getLength(), b.getCapacity() - 1);
  b.truncate(0);
  EXPECT_TRUE(b.isEmpty());

  StringBuf r("abcdef");
  EXPECT_TRUE(r.resize(100));
  EXPECT_EQ(r.getCapacity(), 100u);
  EXPECT_STREQ(r.c_str(), "abcdef");
  EXPECT_TRUE(r.resize(4));  // too small: the text is cut to fit
  EXPECT_EQ(r.getCapacity(), 4u);
  EXPECT_STREQ(r.c_str(), "abc");
  EXPECT_TRUE(r.resize(0));
  EXPECT_EQ(r.getCapacity(), 1u);
  EXPECT_STREQ(r.c_str(), "");
  r.append("grows again");
  EXPECT_STREQ(r.c_str(), "grows again");
  r.assign('z');
  EXPECT_STREQ(r.c_str(), "z");

  char buf[32];
  StringBuf ext(kExt, buf, sizeof buf);
  ext.append("keep");
  EXPECT_TRUE(ext.resize(8));
  EXPECT_TRUE(ext.isOwned());
  EXPECT_STREQ(ext.c_str(), "keep");
  EXPECT_STREQ(buf, "keep");
}

TEST(StringBuf, StartsWithAndSubString) {
  StringBuf b("prefix-rest");
  EXPECT_TRUE(b.startsWith("prefix"));
  EXPECT_TRUE(b.startsWith(""));
  EXPECT_TRUE(b.startsWith(nullptr));
  EXPECT_FALSE(b.startsWith("Prefix"));
  EXPECT_FALSE(b.startsWith("prefix-rest-more"));

  EXPECT_EQ(b.getSubString(0, 6), "prefix");
  EXPECT_EQ(b.getSubString(7, 4), "rest");
  EXPECT_EQ(b.getSubString(11, 0), "");
  // n is limited by the end of the capacity, not of the text.
  char buf[16];
  std::memcpy(buf, "0123456789abcdef", 16);
  StringBuf ext(kExt, buf, 16);
  ext.append("012");
  EXPECT_EQ(ext.getSubString(0, 3), "012");
  EXPECT_EQ(ext.getSubString(4, 100), "456789abcdef");
  EXPECT_EQ(ext.getSubString(10, 100).size(), 6u);
  EXPECT_EQ(ext.getSubString(16, 1), "");
  EXPECT_EQ(ext.getSubString(1000, 5), "");
}

TEST(StringBuf, Copies) {
  char buf[32];
  StringBuf ext(kExt, buf, sizeof buf);
  ext.append("shared text");
  StringBuf copy(ext);
  EXPECT_TRUE(copy.isOwned());
  EXPECT_NE(copy.c_str(), ext.c_str());
  EXPECT_STREQ(copy.c_str(), "shared text");
  EXPECT_EQ(copy.getCapacity(), 16u);

  StringBuf target(kExt, buf + 16, 16);
  target = copy;
  EXPECT_TRUE(target.isOwned());
  EXPECT_STREQ(target.c_str(), "shared text");
  StringBuf small("x");
  small = StringBuf(std::string(100, 'y').c_str());
  EXPECT_EQ(small.str(), std::string(100, 'y'));
  StringBuf& alias = small;
  small = alias;  // self-assignment keeps the text
  EXPECT_EQ(small.str(), std::string(100, 'y'));
  const unsigned cap = small.getCapacity();
  small = StringBuf("short");  // fits the block it has
  EXPECT_STREQ(small.c_str(), "short");
  EXPECT_EQ(small.getCapacity(), cap);
  EXPECT_STREQ(ext.c_str(), "shared text");
  EXPECT_EQ(ext[0], 's');
  EXPECT_EQ(std::string(static_cast<const char*>(ext)), "shared text");
}
