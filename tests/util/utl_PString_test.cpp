// Interned strings: identity, hashes, case flags, comparisons and the
// placement of entries in the table's chunks.
#define QUV_SOURCE_NAME "utl_PString_test"
#include <kelp/util/utl_PString.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "util/utl_PString_impl.h"

using namespace qor::quv::util;
using detail::PStrTabProbe;

namespace {

// Reference hash, written independently of the library's.
uint32_t refHash(const std::string& s) {
  uint64_t h = 0;
  for (unsigned char c : s) h = (h * 65 + c) % (uint64_t(1) << 32);
  return static_cast<uint32_t>(h);
}

// A text no other test interns: every call gives a new one.
std::string fresh(const char* tag) {
  static unsigned counter = 0;
  return std::string(tag) + "#" + std::to_string(++counter);
}

}  // namespace

TEST(PString, SamePointerThroughEveryConstructor) {
  const PString a("abc");
  const std::string text = "abc";
  const PString fromStd(text);
  const PString fromPrefix("abcdef", 3);
  const PString fromCopy(a);
  const PString fromLower = PString("ABC").toLower();
  const char* direct = sPStrAlloc("abc", 3);
  for (const PString* p : {&fromStd, &fromPrefix, &fromCopy, &fromLower}) {
    EXPECT_EQ(PStrTabProbe::chars(*p), PStrTabProbe::chars(a));
  }
  EXPECT_EQ(direct, a.c_str());
  EXPECT_STREQ(a.c_str(), "abc");
  // After the first interning every constructor goes straight to the table.
  EXPECT_EQ(sPStrAlloc, &pstrAlloc);
  EXPECT_NE(PStrTabProbe::global(), nullptr);
  // Creating again keeps the one table.
  EXPECT_EQ(pstrAllocInit("abc", 3), a.c_str());
  // Different texts are different entries.
  EXPECT_NE(PString("abd").c_str(), a.c_str());
}

TEST(PString, HashIsStoredWithTheText) {
  EXPECT_EQ(PString("ab").getHash(), 6403u);
  EXPECT_EQ(PStrTab::hash("ab", 2), 65u * 97u + 98u);
  EXPECT_EQ(PString("").getHash(), 0u);
  EXPECT_EQ(PString().getHash(), 0u);
  const std::vector<std::string> texts = {"a",
                                          "\xff",
                                          "\x80\x01",
                                          "Hello, World",
                                          std::string(300, 'z'),
                                          std::string("a\0b", 3),
                                          "abcd",
                                          "abcde",
                                          "abcdefg",
                                          "\xff\xfe\xfd\xfc\xfb"};
  for (const std::string& t : texts) {
    SCOPED_TRACE(t.substr(0, 20));
    EXPECT_EQ(PStrTab::hash(t.data(), t.size()), refHash(t));
    EXPECT_EQ(PString(t).getHash(), refHash(t));
  }
  EXPECT_EQ(std::hash<PString>()(PString("ab")), 6403u);
}

TEST(PString, NullDiffersFromEmptyButReadsTheSame) {
  const PString null;
  const PString empty("");
  EXPECT_TRUE(null == empty);
  EXPECT_TRUE(empty == null);
  EXPECT_TRUE(null.isEmpty());
  EXPECT_TRUE(empty.isEmpty());
  EXPECT_TRUE(null.isNull());
  EXPECT_FALSE(empty.isNull());
  EXPECT_TRUE(PString::null.isNull());
  EXPECT_STREQ(null.c_str(), "");
  EXPECT_STREQ(static_cast<const char*>(null), "");
  EXPECT_EQ(null.str(), "");
  EXPECT_EQ(null.getSize(), 0u);
  EXPECT_EQ(empty.getSize(), 0u);
  EXPECT_TRUE(PString(static_cast<const char*>(nullptr)).isNull());
  EXPECT_TRUE(PString(static_cast<const char*>(nullptr), 5).isNull());
  // The empty text through any route is one entry.
  EXPECT_EQ(PString("abc", 0).c_str(), empty.c_str());
  EXPECT_EQ(PString(std::string()).c_str(), empty.c_str());
  PString p("x");
  p.clear();
  EXPECT_TRUE(p.isNull());
  EXPECT_FALSE(PString("x").isEmpty());
}

TEST(PString, Accessors) {
  const PString p("Hello");
  EXPECT_EQ(p.getSize(), 5u);
  EXPECT_EQ(p[0], 'H');
  EXPECT_EQ(p[4], 'o');
  EXPECT_EQ(p[5], '\0');
  EXPECT_EQ(p.str(), "Hello");
  EXPECT_EQ(std::string(static_cast<const char*>(p)), "Hello");
}

TEST(PString, CaseFlags) {
  struct Case {
    const char* text;
    uint8_t flags;  // isUpper | isLower << 1 | class << 2
  } cases[] = {
      {"", 0x0f},    {"123 -", 0x0f}, {"ABC", 0x05}, {"ABC 1", 0x05},    {"abc", 0x0a},
      {"a1b", 0x0a}, {"Abc", 0x00},   {"aBC", 0x00}, {"\xc0\xe0", 0x0f},  // no letters in "C"
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(PStrTabProbe::flags(PString(c.text).c_str()) & 0x0f, c.flags);
  }
}

TEST(PString, IsEqual) {
  struct Case {
    PString a;
    PString b;
    bool ignoreCase;
    bool expected;
  } cases[] = {
      {"abc", "abc", false, true},  {"abc", "ABC", false, false},  {"Abc", "aBC", true, true},
      {"ABC", "ABD", true, false},  {"abc", "abd", true, false},   {"ABC", "abc", true, true},
      {"a1", "A1", true, true},     {"12", "13", true, false},     {"", PString(), true, true},
      {PString(), "", false, true}, {"a", PString(), true, false}, {PString(), "a", true, false},
      {"abc", "abcd", true, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.a.c_str()) + " / " + c.b.c_str());
    EXPECT_EQ(c.a.isEqual(c.b, c.ignoreCase), c.expected);
    EXPECT_EQ(c.a.isEqual(c.b.isNull() ? nullptr : c.b.c_str(), c.ignoreCase), c.expected);
  }
  // Both are all upper-case: unequal texts of one case class cannot match.
  EXPECT_EQ(PStrTabProbe::flags(PString("ABC").c_str()) & PStrTab::kCaseClassMask,
            PStrTabProbe::flags(PString("ABD").c_str()) & PStrTab::kCaseClassMask);
  EXPECT_TRUE(PString("abc").isEqual("ABC", true));
  EXPECT_FALSE(PString("abc").isEqual("ABC", false));
  EXPECT_TRUE(PString("").isEqual(static_cast<const char*>(nullptr), false));
  EXPECT_TRUE(PString("").isEqual(static_cast<const char*>(nullptr), true));
}

TEST(PString, EqPredFindsInContainers) {
  const std::vector<PString> names = {"alpha", "Beta", "gamma"};
  auto exact = std::find_if(names.begin(), names.end(), PString::EqPred(PString("beta")));
  EXPECT_EQ(exact, names.end());
  auto folded = std::find_if(names.begin(), names.end(), PString::EqPred(PString("beta"), true));
  ASSERT_NE(folded, names.end());
  EXPECT_EQ(*folded, PString("Beta"));
  EXPECT_TRUE(PString::EqPred(PString("x"))("x"));
  EXPECT_FALSE(PString::EqPred(PString("x"))("X"));
  EXPECT_TRUE(PString::EqPred(PString("x"), true)("X"));
}

TEST(PString, StartsWith) {
  struct Case {
    PString text;
    const char* prefix;
    bool ignoreCase;
    bool expected;
  } cases[] = {
      {"abcdef", "abc", false, true}, {"abcdef", "ABC", false, false},
      {"abcdef", "ABC", true, true},  {"abc", "abcd", false, false},
      {"abc", "", false, true},       {"abc", nullptr, false, true},
      {PString(), "", false, true},   {PString(), "a", true, false},
      {"abc", "abc", true, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.text.c_str()) + " / " + (c.prefix ? c.prefix : "(null)"));
    EXPECT_EQ(c.text.startsWith(c.prefix, c.ignoreCase), c.expected);
  }
}

TEST(PString, EndsWithReportsADifference) {
  struct Case {
    PString text;
    const char* suffix;
    bool ignoreCase;
    bool expected;
  } cases[] = {
      {"abc", "bc", false, false},    {"abc", "xc", false, true},     {"c", "abc", false, false},
      {"abc", "BC", false, true},     {"abc", "BC", true, false},     {"abc", "XC", true, true},
      {"abc", "", false, false},      {"abc", "abc", false, false},   {PString(), "", false, false},
      {PString(), "a", false, false}, {"abc", nullptr, false, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.text.c_str()) + " / " + (c.suffix ? c.suffix : "(null)"));
    EXPECT_EQ(c.text.endsWith(c.suffix, c.ignoreCase), c.expected);
  }
}

TEST(PString, ToUpperAndToLower) {
  const PString same("ABC 1");
  EXPECT_EQ(same.toUpper().c_str(), same.c_str());
  const PString lower("abc 1");
  EXPECT_EQ(lower.toLower().c_str(), lower.c_str());
  EXPECT_EQ(lower.casefold().c_str(), lower.c_str());
  EXPECT_EQ(PString("").toUpper().c_str(), PString("").c_str());
  EXPECT_TRUE(PString().toUpper().isNull());
  EXPECT_TRUE(PString().toLower().isNull());

  EXPECT_EQ(PString("Mixed Case 9").toUpper(), PString("MIXED CASE 9"));
  EXPECT_EQ(PString("Mixed Case 9").toLower(), PString("mixed case 9"));
  EXPECT_EQ(PString("Mixed").casefold(), PString("mixed"));
  // Results are interned: the same entry as the text made directly.
  EXPECT_EQ(PString("abc").toUpper().c_str(), PString("ABC").c_str());

  // On both sides of the 128-byte local buffer.
  for (std::size_t n : {127u, 128u, 129u, 1000u}) {
    SCOPED_TRACE(n);
    std::string mixed;
    for (std::size_t i = 0; i < n; ++i) mixed += (i % 2) ? 'a' : 'B';
    std::string upper(n, ' ');
    std::string lowered(n, ' ');
    for (std::size_t i = 0; i < n; ++i) {
      upper[i] = (i % 2) ? 'A' : 'B';
      lowered[i] = (i % 2) ? 'a' : 'b';
    }
    EXPECT_EQ(PString(mixed).toUpper().str(), upper);
    EXPECT_EQ(PString(mixed).toLower().str(), lowered);
    EXPECT_EQ(PString(mixed).toUpper().c_str(), PString(upper).c_str());
  }
}

TEST(PString, Operators) {
  const PString a("apple");
  const PString b("banana");
  EXPECT_TRUE(a == PString("apple"));
  EXPECT_FALSE(a == b);
  EXPECT_TRUE(a != b);
  EXPECT_TRUE(a == "apple");
  EXPECT_TRUE("apple" == a);
  EXPECT_FALSE(a == "apples");
  EXPECT_TRUE(PString() == "");
  EXPECT_TRUE(PString() == static_cast<const char*>(nullptr));
  EXPECT_TRUE(a < b);
  EXPECT_FALSE(b < a);
  EXPECT_FALSE(a < a);
  EXPECT_TRUE(a < "b");
  EXPECT_TRUE("a" < a);
  EXPECT_TRUE(PString() < a);
  EXPECT_FALSE(PString() < PString(""));
  EXPECT_FALSE(PString("") < PString());
  EXPECT_TRUE(PString("\x7f") < PString("\x80"));  // bytes compare unsigned
}

// --- placement of entries, on tables of their own -------------------------

namespace {

struct Stats {
  std::size_t left, chunks, blocks, entries;
};

Stats stats(const PStrTab& t) {
  return {PStrTabProbe::chunkLeft(t), PStrTabProbe::chunkCount(t), PStrTabProbe::ownBlockCount(t),
          PStrTabProbe::entryCount(t)};
}

// A text of exactly n bytes, different from every earlier one of that
// length: the count in base 95 over the printable characters.
std::string textOf(std::size_t n) {
  static unsigned counter = 0;
  std::string s(n, 'x');
  unsigned v = ++counter;
  for (std::size_t i = n; i-- > 0 && v;) {
    s[i] = static_cast<char>(' ' + v % 95);
    v /= 95;
  }
  return s;
}

// Interns a new text whose entry takes `size` bytes (a multiple of 8, at
// least 16).
void take(PStrTab& t, std::size_t size) {
  ASSERT_GE(size, 16u);
  const std::string s = textOf(size - 14);  // (size - 14 + 21) & ~7 == size
  ASSERT_EQ(PStrTab::entrySize(s.size()), size);
  ASSERT_NE(t.alloc(s.data(), s.size()), nullptr);
}

// Interns new texts until exactly `left` bytes (a multiple of 8, below a
// chunk less 16) remain in the current chunk.
void drainTo(PStrTab& t, std::size_t left) {
  for (int guard = 0; guard < 100; ++guard) {
    const std::size_t have = PStrTabProbe::chunkLeft(t);
    if (have == left) return;
    if (have > left && have - left != 8) {
      std::size_t size = std::min<std::size_t>(have - left, 4096);
      if (have - left - size == 8) size -= 16;
      take(t, size);
    } else if (have > PStrTab::kAbandonLimit) {
      // Bring the chunk down to the abandon limit first ...
      take(t, have - PStrTab::kAbandonLimit == 8 ? 16 : have - PStrTab::kAbandonLimit);
    } else {
      // ... then an entry that does not fit starts a new chunk.
      take(t, std::max<std::size_t>(have + 8, 16));
    }
  }
  FAIL() << "could not leave " << left << " bytes";
}

}  // namespace

TEST(PStrTab, EntrySizes) {
  struct Case {
    std::size_t length, size;
  } cases[] = {{0, 16}, {1, 16}, {2, 16}, {3, 24}, {10, 24}, {11, 32}, {128, 144}, {16363, 16384}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.length);
    // Fields (13 bytes) and terminator, rounded up to 8.
    EXPECT_EQ(PStrTab::entrySize(c.length), (13 + c.length + 1 + 7) / 8 * 8);
    EXPECT_EQ(PStrTab::entrySize(c.length), c.size);
  }
}

TEST(PStrTab, LookupFindsAndChains) {
  PStrTab t;
  EXPECT_EQ(PStrTabProbe::bucketCount(t), 8192u);
  EXPECT_EQ(stats(t).chunks, 0u);
  const char* ab = t.alloc("ab", 2);
  ASSERT_NE(ab, nullptr);
  EXPECT_STREQ(ab, "ab");
  EXPECT_EQ(t.alloc("abc", 2), ab);
  // "b!" has the hash of "ab": same bucket, same hash, different text.
  ASSERT_EQ(PStrTab::hash("b!", 2), PStrTab::hash("ab", 2));
  const char* other = t.alloc("b!", 2);
  EXPECT_NE(other, ab);
  EXPECT_STREQ(other, "b!");
  EXPECT_EQ(t.alloc("ab", 2), ab);
  EXPECT_EQ(t.alloc("b!", 2), other);
  // Texts differing only in length: the byte after the match must end it.
  const char* a = t.alloc("a", 1);
  EXPECT_NE(a, ab);
  EXPECT_EQ(t.alloc("a", 1), a);
  EXPECT_EQ(stats(t).entries, 3u);
  EXPECT_EQ(t.alloc(nullptr, 0), nullptr);
}

TEST(PStrTab, EntriesAreCutFromChunksInOrder) {
  PStrTab t;
  const char* first = t.alloc("one", 3);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(stats(t).chunks, 1u);
  EXPECT_EQ(stats(t).left, PStrTab::kChunkSize - 24);
  // Consecutive entries lie back to back, each entrySize() apart.
  const char* prev = first;
  std::size_t prevSize = PStrTab::entrySize(3);
  for (std::size_t n : {0u, 1u, 7u, 8u, 100u, 128u}) {
    SCOPED_TRACE(n);
    const std::string s = textOf(n);
    const char* c = t.alloc(s.data(), s.size());
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c - prev, static_cast<std::ptrdiff_t>(prevSize));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(c - PStrTab::Entry::kCharsOffset) % 8, 0u);
    EXPECT_EQ(std::string(c), s);
    prev = c;
    prevSize = PStrTab::entrySize(n);
  }
  EXPECT_EQ(stats(t).chunks, 1u);
  EXPECT_EQ(stats(t).blocks, 0u);
}

TEST(PStrTab, ChunkRulesAtTheEdges) {
  struct Case {
    const char* name;
    std::size_t left;       // bytes left in the chunk before
    std::size_t entry;      // storage of the new entry
    bool newChunk;          // a fresh chunk is made
    bool ownBlock;          // the entry gets a block of its own
    std::size_t leftAfter;  // bytes left in the current chunk after
  } cases[] = {
      {"exact fit", 144, 144, false, false, 0},
      {"fits", 400, 144, false, false, 256},
      {"128 left: abandoned", 128, 136, true, false, 16384 - 136},
      {"16 left: abandoned", 16, 24, true, false, 16384 - 24},
      {"136 left: kept", 136, 144, false, true, 136},
      {"entry of a whole chunk", 128, 16384, true, false, 0},
      {"big entry, 128 left", 128, 16392, true, true, 16384},
      {"big entry, 136 left", 136, 20000, false, true, 136},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    PStrTab t;
    drainTo(t, c.left);
    const Stats before = stats(t);
    const std::string s = textOf(c.entry - 14);
    const char* chars = t.alloc(s.data(), s.size());
    ASSERT_NE(chars, nullptr);
    EXPECT_EQ(std::string(chars), s);
    const Stats after = stats(t);
    EXPECT_EQ(after.chunks - before.chunks, c.newChunk ? 1u : 0u);
    EXPECT_EQ(after.blocks - before.blocks, c.ownBlock ? 1u : 0u);
    EXPECT_EQ(after.left, c.leftAfter);
    EXPECT_EQ(t.alloc(s.data(), s.size()), chars);  // found again
  }
}

TEST(PStrTab, TextsBeyondAChunk) {
  PStrTab t;
  const std::string big(20000, 'q');
  const char* c = t.alloc(big.data(), big.size());
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(std::string(c), big);
  EXPECT_EQ(stats(t).blocks, 1u);
  // The first chunk was made and left untouched for later entries.
  EXPECT_EQ(stats(t).chunks, 1u);
  EXPECT_EQ(stats(t).left, PStrTab::kChunkSize);
  const PString viaHandle(big + "!");
  EXPECT_EQ(viaHandle.str(), big + "!");
  EXPECT_EQ(viaHandle.getHash(), refHash(big + "!"));
}

TEST(PString, MillionDistinctTextsShareChunks) {
  PString("warm up");  // the table exists
  const PStrTab* t = PStrTabProbe::global();
  ASSERT_NE(t, nullptr);
  const Stats before = stats(*t);
  const std::size_t count = 1000000;
  const std::string prefix = fresh("million");
  std::size_t bytes = 0;
  char buf[64];
  for (std::size_t i = 0; i < count; ++i) {
    const int n = std::snprintf(buf, sizeof buf, "%s/%zu", prefix.c_str(), i);
    PString p(buf, static_cast<std::size_t>(n));
    bytes += PStrTab::entrySize(static_cast<std::size_t>(n));
    if (i % 99991 == 0) {
      ASSERT_EQ(p.str(), std::string(buf, static_cast<std::size_t>(n)));
    }
  }
  const Stats after = stats(*t);
  EXPECT_EQ(after.entries - before.entries, count);
  EXPECT_EQ(after.blocks, before.blocks) << "small entries must not get blocks of their own";
  // Every chunk but the last is used up to at most 128 bytes.
  const std::size_t chunks = after.chunks - before.chunks;
  EXPECT_GE(chunks, bytes / PStrTab::kChunkSize);
  EXPECT_LE(chunks, bytes / (PStrTab::kChunkSize - PStrTab::kAbandonLimit) + 2);
  // All of them are found again.
  const int n = std::snprintf(buf, sizeof buf, "%s/%zu", prefix.c_str(), count / 2);
  const char* again = PString(buf, static_cast<std::size_t>(n)).c_str();
  EXPECT_EQ(PString(std::string(buf)).c_str(), again);
  EXPECT_EQ(stats(*t).entries, after.entries);
}
