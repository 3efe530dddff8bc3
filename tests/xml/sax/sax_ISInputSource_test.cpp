// Decoding input sources: byte-order marks, charsets, recovery from bad
// input, streams split anywhere, re-decoding after a change of encoding.
#include <gtest/gtest.h>
#include <kelp/util/utl_StringBuf.h>
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <ktz/ktz_codec.h>

#include <sstream>
#include <string>
#include <vector>

#include "input_test_streams.h"

using namespace qor::quv::xml::sax;
using kelp::test::ChunkedStream;
using kelp::test::drain;

namespace {

// The test text in UTF-8 and its encodings: ASCII, Latin-1, the euro sign
// (three bytes) and a character outside the BMP (four bytes, a surrogate
// pair in UTF-16).
const std::string kText = "<a x='1'>caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80</a>\n";

// kText converted with the platform codec (checked against hand-made bytes
// for one encoding each in the codec tests).
std::string encode(const std::string& utf8, const char* charset) {
  KtzTextCodec* codec = nullptr;
  EXPECT_EQ(ktzOpenTextCodec("UTF-8", charset, &codec), zob::kOk);
  std::string out(utf8.size() * 4 + 8, '\0');
  std::size_t used = 0, made = 0;
  EXPECT_EQ(ktzConvertText2(codec, utf8.data(), utf8.size(), &used, out.data(), out.size(), &made,
                            kKtzConvFirst | kKtzConvFinal),
            zob::kOk);
  ktzCloseTextCodec(codec);
  out.resize(made);
  return out;
}

// Decodes `raw` from `from` to `to` through a stream with the given block
// pattern, reading with get.
std::string decode(const std::string& raw, const char* from, const char* to,
                   const std::vector<std::size_t>& blocks) {
  zob::Ref<zob::io::IInputStream> stream(new ChunkedStream(raw, blocks));
  ISInputSource in("", "test", stream.get());
  EXPECT_TRUE(in.setEncoding(from, to));
  std::string out = drain(in);
  EXPECT_TRUE(in.eof());
  EXPECT_FALSE(in.error());
  return out;
}

std::string trace(const std::vector<std::size_t>& blocks) {
  std::string s = "blocks";
  for (std::size_t b : blocks) s += " " + std::to_string(b);
  return s;
}

}  // namespace

TEST(SaxISInputSource, EveryByteOrderMarkIsSkipped) {
  struct Case {
    const char* name;
    const char* mark;
    std::size_t markLength;
    const char* body;  // the charset of the text behind the mark
  } cases[] = {
      {"UTF-8", "\xEF\xBB\xBF", 3, "UTF-8"},
      {"UTF-16BE", "\xFE\xFF", 2, "UTF-16BE"},
      {"UTF-16LE", "\xFF\xFE", 2, "UTF-16LE"},
      {"UTF-32BE", "\x00\x00\xFE\xFF", 4, "UTF-32BE"},
      {"UTF-32LE", "\xFF\xFE\x00\x00", 4, "UTF-32LE"},
      {"utf-16le", "\xFF\xFE", 2, "UTF-16LE"},  // names compare without case
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string body = encode(kText, c.body);
    const std::string raw = std::string(c.mark, c.markLength) + body;
    for (const auto& blocks : kelp::test::blockPatterns()) {
      SCOPED_TRACE(trace(blocks));
      EXPECT_EQ(decode(raw, c.name, "UTF-8", blocks), kText);
      // Without a mark the text reads the same.
      EXPECT_EQ(decode(body, c.name, "UTF-8", blocks), kText);
    }
  }
}

TEST(SaxISInputSource, MarksOfUtf16AndUtf32AreLeftToTheCodec) {
  for (const char* name : {"UTF-16", "UTF-32"}) {
    SCOPED_TRACE(name);
    for (const char* order : {"BE", "LE"}) {
      std::string variant = std::string(name) + order;
      std::string raw = encode("\xef\xbb\xbf" + kText, variant.c_str());  // mark + text
      for (const auto& blocks : kelp::test::blockPatterns()) {
        SCOPED_TRACE(trace(blocks));
        EXPECT_EQ(decode(raw, name, "UTF-8", blocks), kText);
      }
    }
  }
}

TEST(SaxISInputSource, LegacyCharsetsDecodeAtEverySplit) {
  struct Case {
    const char* charset;
    std::string raw;
    std::string utf8;
  } cases[] = {
      {"ISO-8859-1",
       "<p>gr\xfc\xdf"
       "e \xe0 \xff</p>",
       "<p>gr\xc3\xbc\xc3\x9f"
       "e \xc3\xa0 \xc3\xbf</p>"},
      {"windows-1252", "\x80 \x93q\x94 \x85 \xe9",
       "\xe2\x82\xac \xe2\x80\x9cq\xe2\x80\x9d \xe2\x80\xa6 \xc3\xa9"},
      {"Shift_JIS", "<t>\x93\xfa\x96\x7b\x8c\xea \xb1\xb2</t>",
       "<t>\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e \xef\xbd\xb1\xef\xbd\xb2</t>"},
      {"EUC-JP", "<t>\xc6\xfc\xcb\xdc\xb8\xec \x8e\xb1</t>",
       "<t>\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e \xef\xbd\xb1</t>"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.charset);
    // Repeated so that characters straddle every block boundary.
    std::string raw, utf8;
    for (int i = 0; i < 700; ++i) {
      raw += c.raw;
      utf8 += c.utf8;
    }
    for (const auto& blocks : kelp::test::blockPatterns()) {
      SCOPED_TRACE(trace(blocks));
      EXPECT_TRUE(decode(raw, c.charset, "UTF-8", blocks) == utf8);
    }
    EXPECT_EQ(decode(c.raw, c.charset, "UTF-8", {}), c.utf8);
  }
}

TEST(SaxISInputSource, OneQuestionMarkPerBadUnit) {
  struct Case {
    const char* label;
    const char* charset;
    std::string raw;
    std::string expected;
    int mib;
  } cases[] = {
      {"utf-8 bad lead before A", "utf-8",
       "\xc3"
       "A",
       "?A", 106},
      {"utf-8 lone continuation bytes", "utf-8",
       "x\x80\xbf"
       "y",
       "x?y", 106},
      {"utf-8 surrogate", "utf-8",
       "a\xed\xa0\x80"
       "b",
       "a?b", 106},
      {"utf-8 cut four-byte", "utf-8",
       "\xf0\x9f\x98"
       "A\xc3\xa9",
       "?A\xc3\xa9", 106},
      {"utf-8 cut at the end", "utf-8", "ok\xe2\x82", "ok?", 106},
      {"utf-8 two bad", "UTF8",
       "\xff\xfe"
       "z",
       "??z", 106},
      {"ucs-2 surrogate", "UCS-2",
       std::string("A\0\x00\xd8"
                   "B\0",
                   6),
       "A?B", 1000},
      {"ucs-2 odd byte at the end", "UCS-2", std::string("A\0B", 3), "A?", 1000},
      {"ucs-4 out of range", "UCS-4", std::string("\x80\0\0\0\0\0\0A", 8), "?A", 1001},
      {"ucs-4 cut at the end", "UCS-4", std::string("\0\0\0A\0\0", 6), "A?", 1001},
      {"utf-32be beyond unicode", "UTF-32BE", std::string("\0\x11\0\0\0\0\0A", 8), "?A", 1018},
      {"utf-32be surrogate", "UTF-32BE", std::string("\0\0\xd8\0\0\0\0A", 8), "?A", 1018},
      {"utf-32be cut", "UTF-32BE", std::string("\0\0\0A\0\0\0", 7), "A?", 1018},
      {"utf-32le cut", "UTF-32LE", std::string("A\0\0\0B\0", 6), "A?", 1019},
      {"utf-32le beyond unicode", "UTF-32LE", std::string("\0\0\x11\0A\0\0\0", 8), "?A", 1019},
      {"utf-32 cut", "UTF-32", std::string("\0\0\xfe\xff\0\0\0A\0", 9), "A?", 1017},
      {"utf-16be lone high", "UTF-16BE", std::string("\xd8\0\0A\0B", 6), "?AB", 1013},
      {"utf-16be lone low", "UTF-16BE", std::string("\0A\xdc\0\0B", 6), "A?B", 1013},
      {"utf-16be high at the end", "UTF-16BE", std::string("\0A\xd8\x3d", 4), "A?", 1013},
      {"utf-16be odd byte", "UTF-16BE", std::string("\0A\0", 3), "A?", 1013},
      {"utf-16le lone high", "UTF-16LE",
       std::string("\0\xd8"
                   "A\0",
                   4),
       "?A", 1014},
      {"utf-16le lone low", "UTF-16LE",
       std::string("A\0\0\xdc"
                   "B\0",
                   6),
       "A?B", 1014},
      {"utf-16le high at the end", "UTF-16LE", std::string("A\0\x3d\xd8", 4), "A?", 1014},
      {"utf-16 lone high", "UTF-16",
       std::string("\xff\xfe\0\xd8"
                   "A\0",
                   6),
       "?A", 1015},
      {"shift_jis bad trail", "Shift_JIS",
       "a\x81\x20"
       "b",
       "a? b", 17},
      {"euc-jp bad lead", "EUC-JP",
       "a\xa1\x20"
       "b",
       "a? b", 18},
      {"ascii high bytes", "US-ASCII",
       "a\x80\xff"
       "b",
       "a??b", 3},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    for (const auto& blocks : kelp::test::blockPatterns()) {
      SCOPED_TRACE(trace(blocks));
      EXPECT_EQ(decode(c.raw, c.charset, "UTF-8", blocks), c.expected);
    }
    zob::Ref<zob::io::IInputStream> stream(new ChunkedStream(c.raw, {}));
    ISInputSource in("", "", stream.get());
    ASSERT_TRUE(in.setEncoding(c.charset, "UTF-8"));
    EXPECT_EQ(in.getSourceMIBenum(), c.mib);
  }
}

TEST(SaxISInputSource, BadInputAmongGoodTextAtEverySplit) {
  // Many bad units spread over a long text: each becomes exactly one "?"
  // wherever the blocks are cut.
  std::string raw, expected;
  for (int i = 0; i < 500; ++i) {
    raw +=
        "ab\xc3\xa9\xc3"
        "c\xe2\x82\xac\x80";
    expected += "ab\xc3\xa9?c\xe2\x82\xac?";
  }
  for (const auto& blocks : kelp::test::blockPatterns()) {
    SCOPED_TRACE(trace(blocks));
    EXPECT_TRUE(decode(raw, "utf-8", "UTF-8", blocks) == expected);
  }
}

TEST(SaxISInputSource, EqualNamesPassBytesThrough) {
  const std::string raw =
      "\xc3"
      "A\xff\xfe";
  // UTF-8 is checked on its way through: each ill-formed unit is one "?".
  EXPECT_EQ(decode(raw, "UTF-8", "UTF-8", {}), "?A??");
  EXPECT_EQ(decode(raw, "ISO-8859-1", "ISO-8859-1", {1}), raw);
  // Before any setEncoding nothing is converted either.
  zob::Ref<zob::io::IInputStream> stream(new ChunkedStream(raw, {}));
  ISInputSource in("", "", stream.get());
  EXPECT_EQ(drain(in), raw);
  EXPECT_EQ(in.getSourceMIBenum(), 0);
}

TEST(SaxISInputSource, OutputIntoOtherCharsets) {
  // Into Latin-1: what it cannot hold becomes "?".
  EXPECT_EQ(decode("caf\xc3\xa9 \xe2\x82\xac", "UTF-8", "ISO-8859-1", {}), "caf\xe9 ?");
  // An empty target means the locale's charset: ASCII in the tests' "C".
  EXPECT_EQ(decode("caf\xe9", "ISO-8859-1", "", {}), "caf?");
  EXPECT_EQ(decode("caf\xe9", "ISO-8859-1", nullptr, {2}), "caf?");
}

TEST(SaxISInputSource, SetEncodingFailures) {
  zob::Ref<zob::io::IInputStream> stream(new ChunkedStream("abc", {}));
  ISInputSource in("", "", stream.get());
  EXPECT_FALSE(in.setEncoding("NO-SUCH-CHARSET", "UTF-8"));
  EXPECT_FALSE(in.setEncoding(nullptr, "UTF-8"));
  EXPECT_FALSE(in.setEncoding("", "UTF-8"));
  EXPECT_EQ(drain(in), "abc");  // bytes still pass through
}

TEST(SaxISInputSource, ChangingTheEncodingDecodesFromTheStartAgain) {
  // What the reader does: read the declaration as bytes, then apply the
  // declared encoding, which restarts at the beginning.
  const std::string decl = "<?xml version='1.0' encoding='ISO-8859-1'?>";
  const std::string doc = decl + "\n<a>\xe9</a>";
  for (const auto& blocks : kelp::test::blockPatterns()) {
    SCOPED_TRACE(trace(blocks));
    zob::Ref<zob::io::IInputStream> stream(new ChunkedStream(doc, blocks));
    ISInputSource in("", "doc.xml", stream.get());
    std::string seen;
    while (seen.size() < decl.size()) seen.push_back(static_cast<char>(in.get()));
    EXPECT_EQ(seen, decl);
    EXPECT_EQ(in.get(), '\n');
    EXPECT_EQ(in.getLocator().getLineNumber(), 2);
    ASSERT_TRUE(in.setEncoding("ISO-8859-1", "UTF-8"));
    EXPECT_EQ(in.getLocator().getLineNumber(), 1);
    EXPECT_EQ(in.consume(static_cast<int>(decl.size())), static_cast<int>(decl.size()));
    EXPECT_EQ(drain(in), "\n<a>\xc3\xa9</a>");
    // And once more, after the end was reached.
    ASSERT_TRUE(in.setEncoding("windows-1252", "UTF-8"));
    EXPECT_EQ(drain(in), decl + "\n<a>\xc3\xa9</a>");
  }
}

TEST(SaxISInputSource, MarkThenDeclarationReadsLikeNoMark) {
  const std::string body = "<?xml version='1.0' encoding='UTF-8'?><a>\xc3\xa9</a>";
  for (const auto& blocks : kelp::test::blockPatterns()) {
    SCOPED_TRACE(trace(blocks));
    zob::Ref<zob::io::IInputStream> stream(new ChunkedStream("\xef\xbb\xbf" + body, blocks));
    ISInputSource in("", "", stream.get());
    // The reader sees the mark, chooses UTF-8, then applies the declaration.
    EXPECT_EQ(in.get(), 0xef);
    ASSERT_TRUE(in.setEncoding("UTF-8", "UTF-8"));
    EXPECT_EQ(in.get(), '<');
    ASSERT_TRUE(in.setEncoding("UTF-8", "UTF-8"));
    EXPECT_EQ(drain(in), body);
  }
}

TEST(SaxISInputSource, LongInputKeepsDecodingAfterTheRetainedStart) {
  std::string raw, utf8;
  for (int i = 0; i < 40000; ++i) {  // 160000 bytes of Latin-1
    raw += "x\xe9y\n";
    utf8 += "x\xc3\xa9y\n";
  }
  for (const auto& blocks : std::vector<std::vector<std::size_t>>{{}, {1, 2, 3, 5, 7, 11, 13}}) {
    SCOPED_TRACE(trace(blocks));
    zob::Ref<zob::io::IInputStream> stream(new ChunkedStream(raw, blocks));
    ISInputSource in("", "", stream.get());
    ASSERT_TRUE(in.setEncoding("ISO-8859-1", "UTF-8"));
    EXPECT_TRUE(drain(in) == utf8);
    EXPECT_EQ(in.getLocator().getLineNumber(), 40001);
    EXPECT_EQ(in.getBufferCapacity(), 8192u);
  }
}

TEST(SaxISInputSource, ExactlyOneBufferOfDecodedText) {
  const std::string doc(8192, 'q');
  zob::Ref<zob::io::IInputStream> stream(new ChunkedStream(doc, {}));
  ISInputSource in("", "", stream.get());
  ASSERT_TRUE(in.setEncoding("ISO-8859-1", "UTF-8"));
  EXPECT_TRUE(drain(in) == doc);
  EXPECT_EQ(in.getBufferCapacity(), 8192u);
}

TEST(SaxISInputSource, SmallFetchesNeverSplitACharacterBadly) {
  const std::string utf8 =
      "\xf0\x9f\x98\x80\xe2\x82\xac"
      "a\xc3\xa9";
  const std::string raw = encode(utf8, "UTF-16LE");
  for (std::size_t size : {1u, 2u, 3u, 5u, 31u}) {
    SCOPED_TRACE(size);
    zob::Ref<zob::io::IInputStream> stream(new ChunkedStream(raw, {1}));
    ISInputSource in("", "", stream.get());
    ASSERT_TRUE(in.setEncoding("UTF-16LE", "UTF-8"));
    std::string out;
    char buf[32];
    int n;
    while ((n = in.fetch(buf, size)) > 0) {
      EXPECT_LE(static_cast<std::size_t>(n), size);
      out.append(buf, static_cast<std::size_t>(n));
    }
    EXPECT_EQ(n, 0);
    EXPECT_EQ(out, utf8);
  }
  zob::Ref<zob::io::IInputStream> stream(new ChunkedStream("x", {}));
  ISInputSource in("", "", stream.get());
  char c;
  EXPECT_EQ(in.fetch(&c, 0), 0);
  EXPECT_EQ(in.fetch(nullptr, 4), 0);
}

TEST(SaxISInputSource, StreamErrorsAfterTheGoodBytes) {
  struct Case {
    const char* from;
    const char* to;
  } cases[] = {{"UTF-8", "UTF-8"}, {"ISO-8859-1", "UTF-8"}, {"UTF-16LE", "UTF-8"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.from);
    for (const auto& blocks : kelp::test::blockPatterns()) {
      SCOPED_TRACE(trace(blocks));
      std::string raw =
          std::string(c.from) == "UTF-16LE" ? encode("abcdef", "UTF-16LE") : std::string("abcdef");
      zob::Ref<zob::io::IInputStream> stream(
          new ChunkedStream(raw, blocks, static_cast<long>(raw.size() / 2)));
      ISInputSource in("", "", stream.get());
      ASSERT_TRUE(in.setEncoding(c.from, c.to));
      EXPECT_EQ(drain(in), "abc");
      EXPECT_TRUE(in.error());
      EXPECT_FALSE(in.eof());
      EXPECT_EQ(in.consume(1), -1);
    }
  }
  // No stream at all reads as an error.
  ISInputSource none("", "", static_cast<zob::io::IInputStream*>(nullptr));
  EXPECT_EQ(none.get(), -1);
  EXPECT_TRUE(none.error());
  EXPECT_TRUE(none.setEncoding("UTF-16LE", "UTF-8"));
  EXPECT_EQ(none.get(), -1);
  EXPECT_TRUE(none.error());
}

TEST(SaxISInputSource, StandardStreams) {
  auto* owned = new std::istringstream(encode("gr\xc3\xbc\xc3\x9f\n", "UTF-16BE"));
  {
    ISInputSource in("pub", "sys", owned, true);  // deleted with the source
    ASSERT_TRUE(in.setEncoding("UTF-16BE", "UTF-8"));
    EXPECT_EQ(drain(in), "gr\xc3\xbc\xc3\x9f\n");
    Locator loc = in.getLocator();
    EXPECT_EQ(loc.getPublicId(), "pub");
    EXPECT_EQ(loc.getSystemId(), "sys");
    EXPECT_EQ(loc.getLineNumber(), 2);
    EXPECT_EQ(loc.getColumnNumber(), 0);
  }
  std::istringstream mine("plain");
  {
    ISInputSource in("", "", &mine, false);
    EXPECT_EQ(drain(in), "plain");
  }
  EXPECT_TRUE(mine.eof());  // still there to look at

  // A stream that throws on failure: the source reports an error instead.
  std::istringstream throwing("");
  throwing.exceptions(std::ios::failbit | std::ios::badbit | std::ios::eofbit);
  ISInputSource in("", "", &throwing, false);
  EXPECT_EQ(in.get(), -1);
  EXPECT_TRUE(in.error());
}

TEST(SaxISInputSource, StreamReferenceIsHeldAndReleased) {
  auto* stream = new ChunkedStream("abc", {});
  stream->addRef();  // the test's own reference
  {
    ISInputSource in("", "", stream);
    EXPECT_EQ(stream->addRef(), 3u);
    stream->release();
  }
  EXPECT_EQ(stream->addRef(), 2u);
  stream->release();
  stream->release();
}

TEST(SaxISInputSource, ScannersOnDecodedText) {
  // Names come out of the decoded buffer: UTF-16 in, UTF-8 names out.
  const std::string raw = encode("  \n n\xc3\xa4me:x=\"1\"", "UTF-16BE");
  for (const auto& blocks : kelp::test::blockPatterns()) {
    SCOPED_TRACE(trace(blocks));
    zob::Ref<zob::io::IInputStream> stream(new ChunkedStream(raw, blocks));
    ISInputSource in("", "", stream.get());
    ASSERT_TRUE(in.setEncoding("UTF-16BE", "UTF-8"));
    qor::quv::util::StringBuf name;
    EXPECT_EQ(in.skipSpace(nullptr), 4);
    EXPECT_EQ(in.getLocator().getLineNumber(), 2);
    EXPECT_TRUE(in.getName(&name));
    EXPECT_EQ(name.str(), "n\xc3\xa4me:x");
    const char* eq[] = {"=\"", nullptr};
    EXPECT_TRUE(in.testPending(eq, "1"));
    EXPECT_EQ(drain(in), "=\"1\"");
  }
}

// UTF-8 passing through is checked as a decoder would: each ill-formed unit
// (a lead byte and the continuation bytes after it) is one "?", wherever
// the stream's blocks cut it; the same with a codec ("utf-8" differs from
// "UTF-8").
TEST(SaxISInputSource, PassedThroughUtf8IsChecked) {
  const struct {
    std::string raw;
    std::string expected;
  } cases[] = {
      {"a\xC0\xBC" "b", "a?b"},
      {"a\xED\xA0\x80" "b", "a?b"},
      {"a\xF4\x90\x80\x80" "b", "a?b"},
      {"a\x80\x80\x80" "b", "a?b"},
      {"a\xE2\x82" "b\xE2\x82", "a?b?"},
      {"\xC3\xA9\xE2\x82\xAC\xF0\x9D\x84\x9E", "\xC3\xA9\xE2\x82\xAC\xF0\x9D\x84\x9E"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.raw));
    for (const auto& blocks : kelp::test::blockPatterns()) {
      SCOPED_TRACE(trace(blocks));
      EXPECT_EQ(decode(c.raw, "UTF-8", "UTF-8", blocks), c.expected);
      EXPECT_EQ(decode(c.raw, "utf-8", "UTF-8", blocks), c.expected);
    }
  }
}

// What a codec makes into UTF-8 is held to the same rule: forms that the
// codec's own decoders accept (five-byte sequences, UCS-4 values beyond
// U+10FFFF) arrive as "?".
TEST(SaxISInputSource, CodecOutputIsWellFormedUtf8) {
  EXPECT_EQ(decode("a\xF8\x88\x80\x80\x80" "b", "utf-8", "UTF-8", {}), "a?b");
  EXPECT_EQ(decode(std::string("\0\0\0a\0\x20\0\0\0\0\0b", 12), "UCS-4", "UTF-8", {}), "a?b");
}
