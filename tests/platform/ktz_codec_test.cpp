// Text codecs, the charset-name table and the locale query.
#include <gtest/gtest.h>
#include <ktz/ktz_codec.h>
#include <ktz/ktz_locale.h>

#include <clocale>
#include <cstring>
#include <string>
#include <vector>

namespace {

// Converts all of `in` in one call with a generous buffer.
ZResult convertAll(const char* from, const char* to, const std::string& in, std::string* out,
                   std::size_t* inUsed = nullptr) {
  KtzTextCodec* codec = nullptr;
  ZResult r = ktzOpenTextCodec(from, to, &codec);
  if (EFAILED(r)) return r;
  std::vector<char> buf(in.size() * 8 + 16);
  std::size_t used = 0, made = 0;
  r = ktzConvertText2(codec, in.data(), in.size(), &used, buf.data(), buf.size(), &made,
                      kKtzConvFirst | kKtzConvFinal);
  out->assign(buf.data(), made);
  if (inUsed) *inUsed = used;
  ktzCloseTextCodec(codec);
  return r;
}

// Converts `in` fed in pieces of `piece` bytes into an output buffer of
// `outSize` bytes, following the protocol of ktzConvertText2.
std::string convertPieces(const char* from, const char* to, const std::string& in,
                          std::size_t piece, std::size_t outSize) {
  KtzTextCodec* codec = nullptr;
  EXPECT_FALSE(EFAILED(ktzOpenTextCodec(from, to, &codec)));
  std::string out;
  std::string pending;
  std::vector<char> buf(outSize);
  std::size_t pos = 0;
  unsigned first = kKtzConvFirst;
  for (;;) {
    std::size_t n = std::min(piece, in.size() - pos);
    pending.append(in, pos, n);
    pos += n;
    unsigned flags = first | (pos == in.size() ? kKtzConvFinal : 0u);
    first = 0;
    for (;;) {
      std::size_t used = 0, made = 0;
      ZResult r = ktzConvertText2(codec, pending.data(), pending.size(), &used, buf.data(),
                                  buf.size(), &made, flags);
      out.append(buf.data(), made);
      pending.erase(0, used);
      flags &= ~kKtzConvFirst;
      if (r == kKtzConvOutputFull) {
        if (used == 0 && made == 0) {
          ADD_FAILURE() << "no progress with an output of " << outSize << " bytes";
          break;
        }
        continue;
      }
      EXPECT_TRUE(r == zob::kOk || r == kKtzConvNeedInput) << std::hex << r;
      break;
    }
    if (pos == in.size()) break;
  }
  EXPECT_TRUE(pending.empty());
  ktzCloseTextCodec(codec);
  return out;
}

}  // namespace

TEST(KtzCodec, OpenRejectsBadArguments) {
  KtzTextCodec* codec = reinterpret_cast<KtzTextCodec*>(1);
  EXPECT_EQ(ktzOpenTextCodec(nullptr, "UTF-8", &codec), zob::kInvalidArgument);
  EXPECT_EQ(codec, nullptr);
  EXPECT_EQ(ktzOpenTextCodec("UTF-8", "", &codec), zob::kInvalidArgument);
  EXPECT_EQ(ktzOpenTextCodec("UTF-8", "UTF-8", nullptr), zob::kInvalidArgument);
  EXPECT_EQ(ktzOpenTextCodec("NO-SUCH-CHARSET", "UTF-8", &codec), zob::kUnsupported);
  EXPECT_EQ(codec, nullptr);
  ktzCloseTextCodec(nullptr);  // allowed

  ASSERT_EQ(ktzOpenTextCodec("UTF-8", "UTF-16LE", &codec), zob::kOk);
  std::size_t used = 7, made = 7;
  char out[4];
  EXPECT_EQ(ktzConvertText2(nullptr, "a", 1, &used, out, 4, &made, 0), zob::kInvalidArgument);
  EXPECT_EQ(used, 0u);
  EXPECT_EQ(made, 0u);
  EXPECT_EQ(ktzConvertText2(codec, nullptr, 1, &used, out, 4, &made, 0), zob::kInvalidArgument);
  EXPECT_EQ(ktzConvertText2(codec, "a", 1, nullptr, out, 4, &made, 0), zob::kInvalidArgument);
  EXPECT_EQ(ktzConvertText2(codec, "a", 1, &used, nullptr, 4, &made, 0), zob::kInvalidArgument);
  // Nothing to convert is fine.
  EXPECT_EQ(ktzConvertText2(codec, nullptr, 0, &used, nullptr, 0, &made, kKtzConvFinal), zob::kOk);
  ktzCloseTextCodec(codec);
}

TEST(KtzCodec, DecodesAndEncodes) {
  struct Case {
    const char* from;
    const char* to;
    std::string in;
    std::string out;
  } cases[] = {
      {"ISO-8859-1", "UTF-8", "caf\xe9", "caf\xc3\xa9"},
      {"windows-1252", "UTF-8", "\x80 \x93x\x94", "\xe2\x82\xac \xe2\x80\x9cx\xe2\x80\x9d"},
      {"Shift_JIS", "UTF-8", "\x93\xfa\x96\x7b", "\xe6\x97\xa5\xe6\x9c\xac"},
      {"EUC-JP", "UTF-8", "\xc6\xfc\xcb\xdc", "\xe6\x97\xa5\xe6\x9c\xac"},
      {"UTF-16BE", "UTF-8", std::string("\x00\x41\xd8\x3d\xde\x00", 6), "A\xf0\x9f\x98\x80"},
      {"UTF-16LE", "UTF-8", std::string("\x41\x00", 2), "A"},
      {"UTF-32BE", "UTF-8", std::string("\x00\x01\xf6\x00", 4), "\xf0\x9f\x98\x80"},
      {"UTF-32LE", "UTF-8", std::string("\xe9\x00\x00\x00", 4), "\xc3\xa9"},
      // The output direction, as the XML writer uses it.
      {"UTF-8", "ISO-8859-1", "caf\xc3\xa9", "caf\xe9"},
      {"UTF-8", "UTF-16BE", "A\xc3\xa9", std::string("\x00\x41\x00\xe9", 4)},
      {"UTF-8", "UTF-16LE", "\xf0\x9f\x98\x80", std::string("\x3d\xd8\x00\xde", 4)},
      {"UTF-8", "windows-1252", "\xe2\x82\xac", "\x80"},
      {"UTF-8", "Shift_JIS", "\xe6\x97\xa5\xe6\x9c\xac", "\x93\xfa\x96\x7b"},
      // A stateful charset: the final call returns to ASCII.
      {"UTF-8", "ISO-2022-JP", "\xe6\x97\xa5", "\x1b$BF|\x1b(B"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.from) + " -> " + c.to);
    std::string out;
    EXPECT_EQ(convertAll(c.from, c.to, c.in, &out), zob::kOk);
    EXPECT_EQ(out, c.out);
    // The same through every piece size and a tiny output buffer.
    for (std::size_t piece = 1; piece <= c.in.size(); ++piece) {
      SCOPED_TRACE(piece);
      EXPECT_EQ(convertPieces(c.from, c.to, c.in, piece, 4), c.out);
    }
  }
}

TEST(KtzCodec, Latin1IntoUtf8CoversEveryByte) {
  // Every byte value, in runs long and short, against the definition of the
  // two charsets: Latin-1 byte b is code point b.
  std::string in, expected;
  for (int round = 0; round < 3; ++round) {
    for (int b = 0; b < 256; ++b) {
      in += static_cast<char>(b);
      if (b < 0x80) {
        expected += static_cast<char>(b);
      } else {
        expected += static_cast<char>(0xC0 | (b >> 6));
        expected += static_cast<char>(0x80 | (b & 0x3F));
      }
    }
    in += std::string(37 * round, 'x');
    expected += std::string(37 * round, 'x');
  }
  for (const char* from : {"ISO-8859-1", "latin1", "ISO_8859-1:1987"}) {
    SCOPED_TRACE(from);
    std::string out;
    EXPECT_EQ(convertAll(from, "UTF-8", in, &out), zob::kOk);
    EXPECT_EQ(out, expected);
    for (std::size_t outSize : {2u, 3u, 9u, 64u}) {  // room for one character at least
      SCOPED_TRACE(outSize);
      EXPECT_EQ(convertPieces(from, "utf-8", in, 7, outSize), expected);
    }
  }
}

TEST(KtzCodec, ReportsIllegalSequencesWhereTheyStart) {
  struct Case {
    const char* from;
    const char* to;
    std::string in;
    std::size_t at;  // bytes consumed before the bad sequence
    std::string out;
  } cases[] = {
      {"UTF-8", "UTF-16BE",
       "ab\xc3"
       "A",
       2,
       std::string("\x00"
                   "a\x00"
                   "b",
                   4)},
      {"UTF-8", "ISO-8859-1", "x\xe2\x82\xacy", 1, "x"},  // the euro sign has no latin-1 code
      {"UTF-16LE", "UTF-8", std::string("A\x00\x00\xdc", 4), 2, "A"},  // lone low surrogate
      {"UTF-32BE", "UTF-8", std::string("\x00\x00\x00\x41\x00\x11\x00\x00", 8), 4, "A"},
      {"Shift_JIS", "UTF-8", "a\x81\x20", 1, "a"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.from) + " -> " + c.to);
    std::string out;
    std::size_t used = 0;
    EXPECT_EQ(convertAll(c.from, c.to, c.in, &out, &used), zob::kIllegalSequence);
    EXPECT_EQ(used, c.at);
    EXPECT_EQ(out, c.out);
  }
}

TEST(KtzCodec, IncompleteInputWaitsOrFailsAtTheEnd) {
  KtzTextCodec* codec = nullptr;
  ASSERT_EQ(ktzOpenTextCodec("UTF-8", "ISO-8859-1", &codec), zob::kOk);
  char out[16];
  std::size_t used = 0, made = 0;
  EXPECT_EQ(ktzConvertText2(codec, "a\xc3", 2, &used, out, sizeof out, &made, kKtzConvFirst),
            kKtzConvNeedInput);
  EXPECT_EQ(used, 1u);
  EXPECT_EQ(made, 1u);
  EXPECT_EQ(ktzConvertText2(codec, "\xc3\xa9", 2, &used, out, sizeof out, &made, 0), zob::kOk);
  EXPECT_EQ(std::string(out, made), "\xe9");
  EXPECT_EQ(ktzConvertText2(codec, "\xc3", 1, &used, out, sizeof out, &made, kKtzConvFinal),
            zob::kIllegalSequence);
  EXPECT_EQ(used, 0u);
  EXPECT_EQ(made, 0u);
  ktzCloseTextCodec(codec);
}

TEST(KtzCodec, OutputFullResumes) {
  KtzTextCodec* codec = nullptr;
  ASSERT_EQ(ktzOpenTextCodec("ISO-8859-1", "UTF-8", &codec), zob::kOk);
  char out[3];
  std::size_t used = 0, made = 0;
  // Two bytes of output per input byte: the third character does not fit.
  EXPECT_EQ(ktzConvertText2(codec, "\xe9\xe9\xe9", 3, &used, out, sizeof out, &made,
                            kKtzConvFirst | kKtzConvFinal),
            kKtzConvOutputFull);
  EXPECT_EQ(used, 1u);
  EXPECT_EQ(made, 2u);
  EXPECT_EQ(ktzConvertText2(codec, "\xe9\xe9", 2, &used, out, 2, &made, kKtzConvFinal),
            kKtzConvOutputFull);
  EXPECT_EQ(used, 1u);
  EXPECT_EQ(ktzConvertText2(codec, "\xe9", 1, &used, out, 0, &made, kKtzConvFinal),
            kKtzConvOutputFull);
  EXPECT_EQ(used, 0u);
  ktzCloseTextCodec(codec);
}

TEST(KtzCodec, FirstFlagStartsAFreshText) {
  // UTF-16 learns the byte order from the mark of each new text.
  KtzTextCodec* codec = nullptr;
  ASSERT_EQ(ktzOpenTextCodec("UTF-16", "UTF-8", &codec), zob::kOk);
  char out[8];
  std::size_t used = 0, made = 0;
  EXPECT_EQ(ktzConvertText2(codec, "\xfe\xff\x00\x41", 4, &used, out, sizeof out, &made,
                            kKtzConvFirst | kKtzConvFinal),
            zob::kOk);
  EXPECT_EQ(std::string(out, made), "A");
  EXPECT_EQ(ktzConvertText2(codec, "\xff\xfe\x42\x00", 4, &used, out, sizeof out, &made,
                            kKtzConvFirst | kKtzConvFinal),
            zob::kOk);
  EXPECT_EQ(std::string(out, made), "B");
  ktzCloseTextCodec(codec);

  // An encoder writes its mark again for each new text.
  ASSERT_EQ(ktzOpenTextCodec("UTF-8", "UTF-16", &codec), zob::kOk);
  std::string first, second;
  for (std::string* s : {&first, &second}) {
    ASSERT_EQ(ktzConvertText2(codec, "A", 1, &used, out, sizeof out, &made,
                              kKtzConvFirst | kKtzConvFinal),
              zob::kOk);
    s->assign(out, made);
  }
  EXPECT_EQ(first.size(), 4u);
  EXPECT_EQ(first, second);
  ktzCloseTextCodec(codec);
}

TEST(KtzCodec, CharsetNamesToMIBenum) {
  struct Case {
    const char* name;
    int mib;
  } cases[] = {
      {"US-ASCII", 3},
      {"ANSI_X3.4-1968", 3},
      {"ascii", 3},
      {"ISO-8859-1", 4},
      {"iso-8859-1", 4},
      {"latin1", 4},
      {"ISO_8859-1:1987", 4},
      {"CP819", 4},
      {"ISO-8859-2", 5},
      {"ISO-8859-15", 111},
      {"Latin-9", 111},
      {"Shift_JIS", 17},
      {"MS_KANJI", 17},
      {"EUC-JP", 18},
      {"EUC-KR", 38},
      {"ISO-2022-JP", 39},
      {"UTF-8", 106},
      {"utf-8", 106},
      {"csUTF8", 106},
      {"UTF8", 106},
      {"GBK", 113},
      {"GB18030", 114},
      {"ISO-10646-UCS-2", 1000},
      {"csUnicode", 1000},
      {"UCS-2", 1000},
      {"UCS-2LE", 1000},
      {"ISO-10646-UCS-4", 1001},
      {"UCS-4", 1001},
      {"csUCS4", 1001},
      {"UTF-7", 1012},
      {"UTF-16BE", 1013},
      {"UTF-16LE", 1014},
      {"UTF-16", 1015},
      {"utf-16", 1015},
      {"UTF16LE", 1014},
      {"UTF-32", 1017},
      {"UTF-32BE", 1018},
      {"UTF-32LE", 1019},
      {"IBM437", 2011},
      {"cp850", 2009},
      {"IBM037", 2028},
      {"Big5", 2026},
      {"Big5-HKSCS", 2101},
      {"KOI8-R", 2084},
      {"KOI8-U", 2088},
      {"windows-1250", 2250},
      {"WINDOWS-1252", 2252},
      {"windows-1258", 2258},
      {"TIS-620", 2259},
      {"macintosh", 2027},
      {"GB2312", 2025},
      {"Windows-31J", 2024},
      {"hp-roman8", 2004},
      {"VISCII", 2082},
      {"NO-SUCH-CHARSET", 0},
      {"", 0},
      {"UTF-8 ", 0},
      {"ISO-8859-1-WINDOWS-3.1-LATIN-1-AND-A-LOT-MORE", 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(ktzCSNameToMIBenum(c.name), c.mib);
  }
  EXPECT_EQ(ktzCSNameToMIBenum(nullptr), 0);
}

TEST(KtzCodec, ConvertibleIanaNamesAreKnown) {
  // One registered name of every charset the system converter knows by such
  // a name, with its registry number.
  struct Known {
    const char* name;
    int mib;
  };
  const Known known[] = {
      {"US-ASCII", 3},
      {"ISO_8859-1:1987", 4},
      {"ISO_8859-2:1987", 5},
      {"ISO_8859-3:1988", 6},
      {"ISO_8859-4:1988", 7},
      {"ISO_8859-5:1988", 8},
      {"ISO_8859-6:1987", 9},
      {"ISO_8859-7:1987", 10},
      {"ISO_8859-8:1988", 11},
      {"ISO_8859-9:1989", 12},
      {"ISO-8859-10", 13},
      {"Shift_JIS", 17},
      {"csEUCPkdFmtJapanese", 18},
      {"BS_4730", 20},
      {"SEN_850200_C", 21},
      {"IT", 22},
      {"ES", 23},
      {"DIN_66003", 24},
      {"NS_4551-1", 25},
      {"NF_Z_62-010", 26},
      {"NATS-SEFI", 31},
      {"NATS-DANO", 33},
      {"SEN_850200_B", 35},
      {"ISO-2022-KR", 37},
      {"EUC-KR", 38},
      {"ISO-2022-JP", 39},
      {"ISO-2022-JP-2", 40},
      {"JIS_C6220-1969-ro", 42},
      {"PT", 43},
      {"greek7-old", 44},
      {"latin-greek", 45},
      {"NF_Z_62-010_(1973)", 46},
      {"Latin-greek-1", 47},
      {"ISO_5427", 48},
      {"INIS", 51},
      {"INIS-8", 52},
      {"INIS-cyrillic", 53},
      {"ISO_5427:1981", 54},
      {"ISO_5428:1980", 55},
      {"GB_1988-80", 56},
      {"NS_4551-2", 58},
      {"PT2", 60},
      {"ES2", 61},
      {"MSZ_7795.3", 62},
      {"greek7", 64},
      {"ASMO_449", 65},
      {"iso-ir-90", 66},
      {"JIS_C6229-1984-b", 68},
      {"ISO_2033-1983", 73},
      {"ANSI_X3.110-1983", 74},
      {"T.61-8bit", 76},
      {"ECMA-cyrillic", 77},
      {"CSA_Z243.4-1985-1", 78},
      {"CSA_Z243.4-1985-2", 79},
      {"CSN_369103", 86},
      {"JUS_I.B1.002", 87},
      {"IEC_P27-1", 88},
      {"greek-ccitt", 91},
      {"NC_NC00-10:81", 92},
      {"GOST_19768-74", 94},
      {"ISO_10367-box", 96},
      {"DS_2089", 99},
      {"KSC5636", 102},
      {"ISO-2022-CN", 104},
      {"ISO-2022-CN-EXT", 105},
      {"UTF-8", 106},
      {"ISO-8859-13", 109},
      {"ISO-8859-14", 110},
      {"ISO-8859-15", 111},
      {"ISO-8859-16", 112},
      {"GBK", 113},
      {"GB18030", 114},
      {"ISO_11548-1", 118},
      {"STRK1048-2002", 119},
      {"csUnicode", 1000},
      {"csUCS4", 1001},
      {"ISO-10646", 1003},
      {"UTF-7", 1012},
      {"UTF-16BE", 1013},
      {"UTF-16LE", 1014},
      {"UTF-16", 1015},
      {"UTF-32", 1017},
      {"UTF-32BE", 1018},
      {"UTF-32LE", 1019},
      {"hp-roman8", 2004},
      {"DEC-MCS", 2008},
      {"IBM850", 2009},
      {"IBM852", 2010},
      {"IBM437", 2011},
      {"IBM862", 2013},
      {"Windows-31J", 2024},
      {"GB2312", 2025},
      {"Big5", 2026},
      {"macintosh", 2027},
      {"IBM037", 2028},
      {"IBM038", 2029},
      {"IBM273", 2030},
      {"IBM274", 2031},
      {"IBM275", 2032},
      {"IBM277", 2033},
      {"IBM278", 2034},
      {"IBM280", 2035},
      {"IBM281", 2036},
      {"IBM284", 2037},
      {"IBM285", 2038},
      {"IBM290", 2039},
      {"IBM297", 2040},
      {"IBM420", 2041},
      {"IBM423", 2042},
      {"IBM424", 2043},
      {"IBM500", 2044},
      {"IBM851", 2045},
      {"IBM855", 2046},
      {"IBM857", 2047},
      {"IBM860", 2048},
      {"IBM861", 2049},
      {"IBM863", 2050},
      {"IBM864", 2051},
      {"IBM865", 2052},
      {"IBM868", 2053},
      {"IBM869", 2054},
      {"IBM870", 2055},
      {"IBM871", 2056},
      {"IBM880", 2057},
      {"IBM891", 2058},
      {"IBM903", 2059},
      {"IBM904", 2060},
      {"IBM905", 2061},
      {"IBM918", 2062},
      {"IBM1026", 2063},
      {"EBCDIC-AT-DE", 2064},
      {"EBCDIC-AT-DE-A", 2065},
      {"EBCDIC-CA-FR", 2066},
      {"EBCDIC-DK-NO", 2067},
      {"EBCDIC-DK-NO-A", 2068},
      {"EBCDIC-FI-SE", 2069},
      {"EBCDIC-FI-SE-A", 2070},
      {"EBCDIC-FR", 2071},
      {"EBCDIC-IT", 2072},
      {"EBCDIC-PT", 2073},
      {"EBCDIC-ES", 2074},
      {"EBCDIC-ES-A", 2075},
      {"EBCDIC-ES-S", 2076},
      {"EBCDIC-UK", 2077},
      {"EBCDIC-US", 2078},
      {"VISCII", 2082},
      {"KOI8-R", 2084},
      {"IBM866", 2086},
      {"IBM775", 2087},
      {"KOI8-U", 2088},
      {"Big5-HKSCS", 2101},
      {"IBM1047", 2102},
      {"PT154", 2103},
      {"BRF", 2106},
      {"TSCII", 2107},
      {"windows-874", 2109},
      {"windows-1250", 2250},
      {"windows-1251", 2251},
      {"windows-1252", 2252},
      {"windows-1253", 2253},
      {"windows-1254", 2254},
      {"windows-1255", 2255},
      {"windows-1256", 2256},
      {"windows-1257", 2257},
      {"windows-1258", 2258},
      {"TIS-620", 2259},
  };
  for (const Known& k : known) {
    SCOPED_TRACE(k.name);
    KtzTextCodec* codec = nullptr;
    EXPECT_EQ(ktzOpenTextCodec(k.name, "UTF-8", &codec), zob::kOk);
    ktzCloseTextCodec(codec);
    EXPECT_EQ(ktzCSNameToMIBenum(k.name), k.mib);
  }
}

TEST(KtzLocale, CodeSetOfTheCurrentLocale) {
  char buf[32];
  ASSERT_EQ(ktzGetLocaleParam(kKtzLocaleCodeSet, buf, sizeof buf), zob::kOk);
  // The tests run in the "C" locale, whose ASCII is answered as UTF-8.
  EXPECT_STREQ(buf, "UTF-8");
  if (std::setlocale(LC_CTYPE, "C.UTF-8")) {
    EXPECT_EQ(ktzGetLocaleParam(kKtzLocaleCodeSet, buf, sizeof buf), zob::kOk);
    EXPECT_STREQ(buf, "UTF-8");
    std::setlocale(LC_CTYPE, "C");
  }
  if (std::setlocale(LC_CTYPE, "en_US.ISO-8859-1") || std::setlocale(LC_CTYPE, "de_DE.ISO-8859-1")) {
    EXPECT_EQ(ktzGetLocaleParam(kKtzLocaleCodeSet, buf, sizeof buf), zob::kOk);
    EXPECT_STREQ(buf, "ISO-8859-1");  // a chosen charset is kept
    std::setlocale(LC_CTYPE, "C");
  }
  char tiny[4] = "xyz";
  EXPECT_EQ(ktzGetLocaleParam(kKtzLocaleCodeSet, tiny, sizeof tiny), zob::kInvalidArgument);
  EXPECT_STREQ(tiny, "");
  EXPECT_EQ(ktzGetLocaleParam(kKtzLocaleCodeSet, nullptr, 32), zob::kInvalidArgument);
  EXPECT_EQ(ktzGetLocaleParam(0, buf, sizeof buf), zob::kInvalidArgument);
}
