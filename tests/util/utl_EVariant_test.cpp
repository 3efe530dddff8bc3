// EVariant: ownership, typed setters, every conversion rule (source tag x
// target tag), the text form of every tag and the true/false words.
#include <kelp/util/utl_EVariant.h>

#include <gtest/gtest.h>
#include <signal.h>
#include <vorn/vorn_cstring.h>
#include <zob/zob_mem.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <limits>
#include <locale>
#include <string>
#include <vector>

#include "test_support.h"

using qor::quv::util::EVariant;

namespace {

// A compact description of tag and payload: "8:-12", "12:0.10000000149011612",
// "14:text", "16:2024-3-7", "17:7:5:0:250", "19:410a" (bytes in hex).
std::string describe(const zob::Variant& v) {
  char buf[128];
  switch (v.type) {
    case zob::VT_BOOL:
      return "2:" + std::to_string(v.u.boolVal);
    case zob::VT_UCHAR:
      return "3:" + std::to_string(v.u.ucVal);
    case zob::VT_CHAR:
      return "4:" + std::to_string(static_cast<int>(v.u.cVal));
    case zob::VT_SHORT:
      return "6:" + std::to_string(v.u.sVal);
    case zob::VT_USHORT:
      return "7:" + std::to_string(v.u.usVal);
    case zob::VT_INT:
      return "8:" + std::to_string(v.u.iVal);
    case zob::VT_UINT:
      return "9:" + std::to_string(v.u.uiVal);
    case zob::VT_LONG:
      return "10:" + std::to_string(v.u.lVal);
    case zob::VT_ULONG:
      return "11:" + std::to_string(v.u.ulVal);
    case zob::VT_FLOAT:
      std::snprintf(buf, sizeof buf, "12:%.17g", static_cast<double>(v.u.fVal));
      return buf;
    case zob::VT_DOUBLE:
      std::snprintf(buf, sizeof buf, "13:%.17g", v.u.dVal);
      return buf;
    case zob::VT_STRING:
      return std::string("14:") + (v.u.strVal ? v.u.strVal : "<null>");
    case zob::VT_DATE:
      std::snprintf(buf, sizeof buf, "16:%d-%d-%d", v.u.dateVal.year, v.u.dateVal.month,
                    v.u.dateVal.day);
      return buf;
    case zob::VT_TIME:
      std::snprintf(buf, sizeof buf, "17:%d:%d:%d:%d", v.u.timeVal.hour, v.u.timeVal.minute,
                    v.u.timeVal.second, v.u.timeVal.millisecond);
      return buf;
    case zob::VT_DATETIME: {
      const zob::DateTime& d = v.u.dateTimeVal;
      std::snprintf(buf, sizeof buf, "18:%d-%d-%d-%d:%d:%d:%d", d.year, d.month, d.day, d.hour,
                    d.minute, d.second, d.millisecond);
      return buf;
    }
    case zob::VT_BYTES: {
      std::string s = "19:";
      for (std::uint32_t i = 0; i < v.u.bytesVal.length; ++i) {
        std::snprintf(buf, sizeof buf, "%02x", v.u.bytesVal.buffer[i]);
        s += buf;
      }
      return s;
    }
    default:
      return std::to_string(v.type) + ":";
  }
}

EVariant bytesVariant(const std::string& bytes) {
  zob::Sequence<unsigned char> seq{
      static_cast<std::uint32_t>(bytes.size()),
      reinterpret_cast<unsigned char*>(const_cast<char*>(bytes.data()))};
  return EVariant(seq);
}

EVariant rawVariant(zob::VariantType t) {
  zob::Variant v;
  std::memset(&v, 0, sizeof v);
  v.type = t;
  return EVariant(v);
}

const zob::VariantType kAllTags[] = {
    zob::VT_INVALID,  zob::VT_NULL,  zob::VT_BOOL,   zob::VT_UCHAR,    zob::VT_CHAR,
    zob::VT_UNUSED5,  zob::VT_SHORT, zob::VT_USHORT, zob::VT_INT,      zob::VT_UINT,
    zob::VT_LONG,     zob::VT_ULONG, zob::VT_FLOAT,  zob::VT_DOUBLE,   zob::VT_STRING,
    zob::VT_UNUSED15, zob::VT_DATE,  zob::VT_TIME,   zob::VT_DATETIME, zob::VT_BYTES};

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

}  // namespace

TEST(EVariantTags, NumbersAreThoseOfTheObjectModel) {
  EXPECT_EQ(sizeof(zob::VariantType), 4u);
  const int expected[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19};
  for (int i = 0; i < 20; ++i) EXPECT_EQ(kAllTags[i], expected[i]);
  EXPECT_EQ(sizeof(EVariant), sizeof(zob::Variant));
}

TEST(EVariantTags, Classifiers) {
  for (zob::VariantType t : kAllTags) {
    SCOPED_TRACE(t);
    bool integer = t == 2 || t == 3 || t == 4 || (t >= 6 && t <= 11);
    bool flt = t == 12 || t == 13;
    EXPECT_EQ(EVariant::isInteger(t), integer);
    EXPECT_EQ(EVariant::isFloat(t), flt);
    EXPECT_EQ(EVariant::isNumeric(t), integer || flt);
  }
}

TEST(EVariantOwnership, StringsAndBytesAreDeepCopies) {
  EVariant a("text");
  EVariant b(a);
  ASSERT_EQ(b.getType(), zob::VT_STRING);
  EXPECT_STREQ(b.u.strVal, "text");
  EXPECT_NE(b.u.strVal, a.u.strVal);

  EVariant c;
  c = a;
  EXPECT_NE(c.u.strVal, a.u.strVal);
  EXPECT_STREQ(c.u.strVal, "text");
  EVariant& self = c;
  c = self;  // self-assignment keeps the value
  EXPECT_STREQ(c.u.strVal, "text");

  EVariant bytes = bytesVariant(std::string("a\0b", 3));
  EVariant bytes2(static_cast<const zob::Variant&>(bytes));
  EXPECT_EQ(describe(bytes2), "19:610062");
  EXPECT_NE(bytes2.u.bytesVal.buffer, bytes.u.bytesVal.buffer);

  // Assigning a string over bytes frees the bytes (checked by the leak
  // sanitizer) and copies the string.
  bytes2 = a;
  EXPECT_EQ(describe(bytes2), "14:text");

  zob::Variant raw = a;  // converts to the plain record (no copy of the text)
  EXPECT_EQ(raw.u.strVal, a.u.strVal);
}

TEST(EVariantOwnership, SetValueOfOwnTextIsSafe) {
  EVariant v("hello");
  v.setValue(v.u.strVal);
  EXPECT_EQ(describe(v), "14:hello");
  v.setValue(static_cast<const char*>(nullptr));
  EXPECT_EQ(v.getType(), zob::VT_STRING);
  EXPECT_EQ(v.u.strVal, nullptr);
  EXPECT_EQ(v.toString(), "\"\"");
}

TEST(EVariantOwnership, DestroyClearInit) {
  EVariant v("abc");
  v.destroy();
  EXPECT_EQ(v.getType(), zob::VT_STRING);  // the tag stays
  EXPECT_EQ(v.u.strVal, nullptr);
  v.destroy();  // nothing left to free

  EVariant w(42);
  w.clear();
  EXPECT_FALSE(w.isValid());
  EXPECT_FALSE(w.isNull());

  EVariant n = rawVariant(zob::VT_NULL);
  EXPECT_TRUE(n.isValid());
  EXPECT_TRUE(n.isNull());

  EVariant s("xyz");
  s.init(s);  // initialising from itself keeps the value
  EXPECT_EQ(describe(s), "14:xyz");
  s.init(EVariant(7L));
  EXPECT_EQ(describe(s), "10:7");

  EVariant empty = bytesVariant("");
  EXPECT_EQ(describe(empty), "19:");
  EXPECT_EQ(empty.toString(), "");
}

TEST(EVariantSetValue, NaturalTagsAndCasts) {
  struct Case {
    const char* name;
    std::function<bool(EVariant&)> set;
    bool result;
    std::string expected;
  };
  const std::vector<Case> cases = {
      {"bool", [](EVariant& v) { return v.setValue(true); }, true, "2:1"},
      {"uchar", [](EVariant& v) { return v.setValue(static_cast<unsigned char>(200)); }, true,
       "3:200"},
      {"char", [](EVariant& v) { return v.setValue('a'); }, true, "4:97"},
      {"short", [](EVariant& v) { return v.setValue(static_cast<short>(-5)); }, true, "6:-5"},
      {"ushort", [](EVariant& v) { return v.setValue(static_cast<unsigned short>(65535)); }, true,
       "7:65535"},
      {"int", [](EVariant& v) { return v.setValue(-7); }, true, "8:-7"},
      {"uint", [](EVariant& v) { return v.setValue(7u); }, true, "9:7"},
      {"long", [](EVariant& v) { return v.setValue(-7L); }, true, "10:-7"},
      {"ulong", [](EVariant& v) { return v.setValue(7ul); }, true, "11:7"},
      {"float", [](EVariant& v) { return v.setValue(1.5f); }, true, "12:1.5"},
      {"double", [](EVariant& v) { return v.setValue(2.5); }, true, "13:2.5"},
      {"300 as byte", [](EVariant& v) { return v.setValue(300, zob::VT_UCHAR); }, true, "3:44"},
      {"bool as int", [](EVariant& v) { return v.setValue(true, zob::VT_INT); }, true, "8:1"},
      {"double as int", [](EVariant& v) { return v.setValue(3.9, zob::VT_INT); }, true, "8:3"},
      {"int as string", [](EVariant& v) { return v.setValue(12, zob::VT_STRING); }, true, "14:12"},
      // A failed cast keeps the value under its natural tag.
      {"int as date", [](EVariant& v) { return v.setValue(12, zob::VT_DATE); }, false, "8:12"},
      {"double as bytes", [](EVariant& v) { return v.setValue(1.5, zob::VT_BYTES); }, false,
       "13:1.5"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EVariant v("previous");
    EXPECT_EQ(c.set(v), c.result);
    EXPECT_EQ(describe(v), c.expected);
  }
  // The constructors follow the same rule.
  EXPECT_EQ(describe(EVariant(300, zob::VT_UCHAR)), "3:44");
  EXPECT_EQ(describe(EVariant(12, zob::VT_DATE)), "8:12");
  EXPECT_EQ(describe(EVariant(zob::Date{2024, 3, 7})), "16:2024-3-7");
  EXPECT_EQ(describe(EVariant(zob::Time{7, 5, 0, 250})), "17:7:5:0:250");
  EXPECT_EQ(describe(EVariant(zob::DateTime{2024, 3, 7, 14, 30, 5, 7})), "18:2024-3-7-14:30:5:7");
}

// canCast: string always, the own tag always, numeric to numeric; nothing
// else, and a string not even where cast() would succeed.
TEST(EVariantCanCast, EverySourceTagTimesEveryTarget) {
  std::vector<EVariant> sources;
  for (zob::VariantType t : kAllTags) sources.push_back(rawVariant(t));
  sources.push_back(EVariant("12"));
  for (const EVariant& src : sources) {
    for (zob::VariantType target : kAllTags) {
      SCOPED_TRACE(describe(src) + " -> " + std::to_string(target));
      bool expected = target == zob::VT_STRING || target == src.getType() ||
                      (EVariant::isNumeric(src.getType()) && EVariant::isNumeric(target));
      EXPECT_EQ(src.canCast(target), expected);
    }
  }
  EVariant twelve("12");
  EXPECT_FALSE(twelve.canCast(zob::VT_INT));
  EXPECT_TRUE(twelve.cast(zob::VT_INT));
}

namespace {

struct CastCase {
  std::string name;
  EVariant source;
  zob::VariantType target;
  bool ok;
  std::string expected;  // describe() after the cast; for failures unused
};

void runCastCases(const std::vector<CastCase>& cases) {
  for (const CastCase& c : cases) {
    SCOPED_TRACE(c.name + " -> " + std::to_string(c.target));
    EVariant v(c.source);
    std::string before = describe(v);
    EXPECT_EQ(v.cast(c.target), c.ok);
    if (c.ok)
      EXPECT_EQ(describe(v), c.expected);
    else
      EXPECT_EQ(describe(v), before) << "a failed cast must leave the variant unchanged";
  }
}

}  // namespace

TEST(EVariantCast, FromIntegers) {
  const unsigned long kTop = 1ul << 63;
  runCastCases({
      {"same tag", EVariant(5), zob::VT_INT, true, "8:5"},
      {"bool to int", EVariant(true), zob::VT_INT, true, "8:1"},
      {"bool to double", EVariant(true), zob::VT_DOUBLE, true, "13:1"},
      {"char -1 to uint (sign-extended)", EVariant('\xff'), zob::VT_UINT, true, "9:4294967295"},
      {"char -1 to ulong", EVariant('\xff'), zob::VT_ULONG, true, "11:18446744073709551615"},
      {"byte 255 to char", EVariant(static_cast<unsigned char>(255)), zob::VT_CHAR, true, "4:-1"},
      {"byte 255 to int (zero-extended)", EVariant(static_cast<unsigned char>(255)), zob::VT_INT,
       true, "8:255"},
      {"short -2 to ushort", EVariant(static_cast<short>(-2)), zob::VT_USHORT, true, "7:65534"},
      {"ushort 65535 to short", EVariant(static_cast<unsigned short>(65535)), zob::VT_SHORT, true,
       "6:-1"},
      {"ushort 65535 to long", EVariant(static_cast<unsigned short>(65535)), zob::VT_LONG, true,
       "10:65535"},
      {"int 70000 to short", EVariant(70000), zob::VT_SHORT, true, "6:4464"},
      {"int 300 to byte", EVariant(300), zob::VT_UCHAR, true, "3:44"},
      {"int -1 to ulong", EVariant(-1), zob::VT_ULONG, true, "11:18446744073709551615"},
      {"int 2 to bool", EVariant(2), zob::VT_BOOL, true, "2:1"},
      {"int 0 to bool", EVariant(0), zob::VT_BOOL, true, "2:0"},
      {"uint max to int", EVariant(4294967295u), zob::VT_INT, true, "8:-1"},
      {"uint max to long", EVariant(4294967295u), zob::VT_LONG, true, "10:4294967295"},
      {"long 2^40+7 to int", EVariant((1L << 40) + 7), zob::VT_INT, true, "8:7"},
      {"long -5 to bool", EVariant(-5L), zob::VT_BOOL, true, "2:1"},
      {"long to ulong", EVariant(-2L), zob::VT_ULONG, true, "11:18446744073709551614"},
      {"ulong 2^63 to double (as signed)", EVariant(kTop), zob::VT_DOUBLE, true,
       "13:-9.2233720368547758e+18"},
      {"ulong max to float (as signed)", EVariant(~0ul), zob::VT_FLOAT, true, "12:-1"},
      {"ulong max to long", EVariant(~0ul), zob::VT_LONG, true, "10:-1"},
      {"int 2^24+1 to float", EVariant(16777217), zob::VT_FLOAT, true, "12:16777216"},
      {"int to string", EVariant(-12), zob::VT_STRING, true, "14:-12"},
      {"bool to string", EVariant(false), zob::VT_STRING, true, "14:false"},
      {"char to string", EVariant('a'), zob::VT_STRING, true, "14:'a'"},
      {"int to date", EVariant(1), zob::VT_DATE, false, ""},
      {"int to time", EVariant(1), zob::VT_TIME, false, ""},
      {"int to datetime", EVariant(1), zob::VT_DATETIME, false, ""},
      {"int to bytes", EVariant(1), zob::VT_BYTES, false, ""},
      {"int to null", EVariant(1), zob::VT_NULL, false, ""},
      {"int to invalid", EVariant(1), zob::VT_INVALID, false, ""},
      {"int to unused 5", EVariant(1), zob::VT_UNUSED5, false, ""},
      {"int to unused 15", EVariant(1), zob::VT_UNUSED15, false, ""},
  });
}

TEST(EVariantCast, FromFloats) {
  runCastCases({
      {"3.9 to int", EVariant(3.9), zob::VT_INT, true, "8:3"},
      {"-3.9 to int", EVariant(-3.9), zob::VT_INT, true, "8:-3"},
      {"-1.0 to byte", EVariant(-1.0), zob::VT_UCHAR, true, "3:255"},
      {"300.7 to byte", EVariant(300.7), zob::VT_UCHAR, true, "3:44"},
      {"-129 to char", EVariant(-129.0), zob::VT_CHAR, true, "4:127"},
      {"70000.5 to short", EVariant(70000.5), zob::VT_SHORT, true, "6:4464"},
      {"-1 to ushort", EVariant(-1.0), zob::VT_USHORT, true, "7:65535"},
      {"1e10 to int (out of range)", EVariant(1e10), zob::VT_INT, true, "8:-2147483648"},
      {"1e10 to uint (through 64 bits)", EVariant(1e10), zob::VT_UINT, true, "9:1410065408"},
      {"-1 to uint", EVariant(-1.0), zob::VT_UINT, true, "9:4294967295"},
      {"1e19 to long (out of range)", EVariant(1e19), zob::VT_LONG, true,
       "10:-9223372036854775808"},
      {"-2.5 to long", EVariant(-2.5), zob::VT_LONG, true, "10:-2"},
      {"1e19 to ulong (top bit)", EVariant(1e19), zob::VT_ULONG, true, "11:10000000000000000000"},
      {"2^63 to ulong", EVariant(9223372036854775808.0), zob::VT_ULONG, true,
       "11:9223372036854775808"},
      {"-1 to ulong", EVariant(-1.0), zob::VT_ULONG, true, "11:18446744073709551615"},
      {"NaN to bool", EVariant(kNaN), zob::VT_BOOL, true, "2:1"},
      {"0 to bool", EVariant(0.0), zob::VT_BOOL, true, "2:0"},
      {"-0 to bool", EVariant(-0.0), zob::VT_BOOL, true, "2:0"},
      {"0.5 to bool", EVariant(0.5), zob::VT_BOOL, true, "2:1"},
      {"1e300 to float", EVariant(1e300), zob::VT_FLOAT, true, "12:inf"},
      {"0.1 to float", EVariant(0.1), zob::VT_FLOAT, true, "12:0.10000000149011612"},
      {"float 2.5 to double", EVariant(2.5f), zob::VT_DOUBLE, true, "13:2.5"},
      {"float 3.9 to int", EVariant(3.9f), zob::VT_INT, true, "8:3"},
      {"0.1 to string", EVariant(0.1), zob::VT_STRING, true, "14:0.1"},
      {"1e20 to string", EVariant(1e20), zob::VT_STRING, true, "14:1e+20"},
      {"double to date", EVariant(1.0), zob::VT_DATE, false, ""},
      {"double to bytes", EVariant(1.0), zob::VT_BYTES, false, ""},
      {"double to null", EVariant(1.0), zob::VT_NULL, false, ""},
      {"float to time", EVariant(1.0f), zob::VT_TIME, false, ""},
  });
}

TEST(EVariantCast, FromStringToIntegers) {
  runCastCases({
      {"' -12 '", EVariant(" -12 "), zob::VT_INT, true, "8:-12"},
      {"'12abc'", EVariant("12abc"), zob::VT_INT, false, ""},
      {"'-true'", EVariant("-true"), zob::VT_INT, true, "8:-1"},
      {"'-false'", EVariant("-false"), zob::VT_INT, true, "8:0"},
      {"'T'", EVariant("T"), zob::VT_LONG, true, "10:1"},
      {"'FALSE '", EVariant("FALSE "), zob::VT_BOOL, true, "2:0"},
      {"'yes'", EVariant("yes"), zob::VT_INT, false, ""},
      {"'true1'", EVariant("true1"), zob::VT_INT, false, ""},
      {"'0x1F'", EVariant("0x1F"), zob::VT_INT, true, "8:31"},
      {"'0x1f' (lower-case digit replaces)", EVariant("0x1f"), zob::VT_INT, true, "8:15"},
      {"'0xFF'", EVariant("0xFF"), zob::VT_INT, true, "8:255"},
      {"'0xff'", EVariant("0xff"), zob::VT_INT, true, "8:15"},
      {"'0x1a2'", EVariant("0x1a2"), zob::VT_INT, true, "8:162"},
      {"'0X10'", EVariant("0X10"), zob::VT_INT, true, "8:16"},
      {"'-0x10'", EVariant("-0x10"), zob::VT_INT, true, "8:-16"},
      {"'0x'", EVariant("0x"), zob::VT_INT, false, ""},
      {"'0xg'", EVariant("0xg"), zob::VT_INT, false, ""},
      {"'010' (octal)", EVariant("010"), zob::VT_INT, true, "8:8"},
      {"'019' (not octal)", EVariant("019"), zob::VT_INT, false, ""},
      {"'00'", EVariant("00"), zob::VT_INT, true, "8:0"},
      {"'0'", EVariant("0"), zob::VT_INT, true, "8:0"},
      {"'+5' (no plus sign)", EVariant("+5"), zob::VT_INT, false, ""},
      {"'--1'", EVariant("--1"), zob::VT_INT, false, ""},
      {"'-'", EVariant("-"), zob::VT_INT, false, ""},
      {"''", EVariant(""), zob::VT_INT, false, ""},
      {"'   '", EVariant("   "), zob::VT_INT, false, ""},
      {"null text", EVariant(static_cast<const char*>(nullptr)), zob::VT_INT, false, ""},
      {"'1 2'", EVariant("1 2"), zob::VT_INT, false, ""},
      {"'\\t7\\n'", EVariant("\t7\n"), zob::VT_INT, true, "8:7"},
      {"'300' to byte (silent truncation)", EVariant("300"), zob::VT_UCHAR, true, "3:44"},
      {"'-1' to ulong", EVariant("-1"), zob::VT_ULONG, true, "11:18446744073709551615"},
      {"'2' to bool", EVariant("2"), zob::VT_BOOL, true, "2:1"},
      {"'0' to bool", EVariant("0"), zob::VT_BOOL, true, "2:0"},
      {"'65' to char", EVariant("65"), zob::VT_CHAR, true, "4:65"},
      {"'-2' to ushort", EVariant("-2"), zob::VT_USHORT, true, "7:65534"},
      {"'4294967296' to uint", EVariant("4294967296"), zob::VT_UINT, true, "9:0"},
      {"overflow wraps", EVariant("99999999999999999999"), zob::VT_LONG, true,
       "10:7766279631452241919"},
      {"'1.5' to int", EVariant("1.5"), zob::VT_INT, false, ""},
  });
}

TEST(EVariantCast, FromStringToFloats) {
  runCastCases({
      {"'1.5'", EVariant("1.5"), zob::VT_DOUBLE, true, "13:1.5"},
      {"' 2e3 '", EVariant(" 2e3 "), zob::VT_DOUBLE, true, "13:2000"},
      {"'.5'", EVariant(".5"), zob::VT_DOUBLE, true, "13:0.5"},
      {"'-0.25' to float", EVariant("-0.25"), zob::VT_FLOAT, true, "12:-0.25"},
      {"'0x10' (hexadecimal float)", EVariant("0x10"), zob::VT_DOUBLE, true, "13:16"},
      {"'inf'", EVariant("inf"), zob::VT_DOUBLE, true, "13:inf"},
      {"'1,5' (no locale comma)", EVariant("1,5"), zob::VT_DOUBLE, false, ""},
      {"'1e'", EVariant("1e"), zob::VT_DOUBLE, false, ""},
      {"'abc'", EVariant("abc"), zob::VT_DOUBLE, false, ""},
      {"''", EVariant(""), zob::VT_FLOAT, false, ""},
      {"'1.5x'", EVariant("1.5x"), zob::VT_DOUBLE, false, ""},
  });
}

TEST(EVariantCast, FromStringToDatesAndTimes) {
  runCastCases({
      {"'2024-3-7'", EVariant("2024-3-7"), zob::VT_DATE, true, "16:2024-3-7"},
      {"' 2024-03-07 '", EVariant(" 2024-03-07 "), zob::VT_DATE, true, "16:2024-3-7"},
      {"no range check", EVariant("2024-13-40"), zob::VT_DATE, true, "16:2024-13-40"},
      {"'2024-3-7x'", EVariant("2024-3-7x"), zob::VT_DATE, false, ""},
      {"'2024-3'", EVariant("2024-3"), zob::VT_DATE, false, ""},
      {"'2024/3/7'", EVariant("2024/3/7"), zob::VT_DATE, false, ""},
      {"'7:05'", EVariant("7:05"), zob::VT_TIME, true, "17:7:5:0:0"},
      {"'7:05:09'", EVariant("7:05:09"), zob::VT_TIME, true, "17:7:5:9:0"},
      {"'7:05:09.250 '", EVariant("7:05:09.250 "), zob::VT_TIME, true, "17:7:5:9:250"},
      {"'7'", EVariant("7"), zob::VT_TIME, false, ""},
      {"'7:05x'", EVariant("7:05x"), zob::VT_TIME, false, ""},
      // The three-field form decides and then the text does not end.
      {"'7:05:09.x'", EVariant("7:05:09.x"), zob::VT_TIME, false, ""},
      {"datetime", EVariant("2024-03-07 14:30:05.007"), zob::VT_DATETIME, true,
       "18:2024-3-7-14:30:5:7"},
      {"datetime, two blanks", EVariant("2024-03-07  9:00"), zob::VT_DATETIME, true,
       "18:2024-3-7-9:0:0:0"},
      {"date without time", EVariant("2024-03-07"), zob::VT_DATETIME, false, ""},
      {"date and blank only", EVariant("2024-03-07 "), zob::VT_DATETIME, false, ""},
      {"'T' separator", EVariant("2024-03-07T14:30"), zob::VT_DATETIME, false, ""},
  });
}

TEST(EVariantCast, FromStringToBytesAndOthers) {
  runCastCases({
      {"quoted", EVariant("\"A\\n\""), zob::VT_BYTES, true, "19:410a"},
      {"octal escapes", EVariant(" \"\\000\\377\" "), zob::VT_BYTES, true, "19:00ff"},
      {"empty literal", EVariant("\"\""), zob::VT_BYTES, true, "19:"},
      {"unquoted", EVariant("abc"), zob::VT_BYTES, false, ""},
      {"unterminated", EVariant("\"abc"), zob::VT_BYTES, false, ""},
      {"trailing text", EVariant("\"a\" x"), zob::VT_BYTES, false, ""},
      {"string to string keeps the text", EVariant("a\"b"), zob::VT_STRING, true, "14:a\"b"},
      {"string to null", EVariant("1"), zob::VT_NULL, false, ""},
      {"string to invalid", EVariant("1"), zob::VT_INVALID, false, ""},
      {"string to unused 15", EVariant("1"), zob::VT_UNUSED15, false, ""},
  });
}

TEST(EVariantCast, FromOtherTags) {
  runCastCases({
      {"invalid to string", rawVariant(zob::VT_INVALID), zob::VT_STRING, true, "14:"},
      {"null to string", rawVariant(zob::VT_NULL), zob::VT_STRING, true, "14:"},
      {"invalid to int", rawVariant(zob::VT_INVALID), zob::VT_INT, false, ""},
      {"null to int", rawVariant(zob::VT_NULL), zob::VT_INT, false, ""},
      {"null to bool", rawVariant(zob::VT_NULL), zob::VT_BOOL, false, ""},
      {"date to string", EVariant(zob::Date{2024, 3, 7}), zob::VT_STRING, true, "14:2024-03-07"},
      {"date to int", EVariant(zob::Date{2024, 3, 7}), zob::VT_INT, false, ""},
      {"date to datetime", EVariant(zob::Date{2024, 3, 7}), zob::VT_DATETIME, false, ""},
      {"time to string", EVariant(zob::Time{7, 5, 0, 0}), zob::VT_STRING, true, "14: 7:05:00.000"},
      {"time to double", EVariant(zob::Time{7, 5, 0, 0}), zob::VT_DOUBLE, false, ""},
      {"datetime to date", EVariant(zob::DateTime{2024, 3, 7, 1, 2, 3, 4}), zob::VT_DATE, false,
       ""},
      {"bytes to string", bytesVariant("A\n"), zob::VT_STRING, true, "14:A\\00\n"},
      {"bytes to int", bytesVariant("1"), zob::VT_INT, false, ""},
  });
}

TEST(EVariantToString, EveryTag) {
  zob::Variant boolFive;
  std::memset(&boolFive, 0, sizeof boolFive);
  boolFive.type = zob::VT_BOOL;
  boolFive.u.boolVal = 5;
  struct Case {
    const char* name;
    EVariant v;
    std::string text;
  };
  const std::vector<Case> cases = {
      {"invalid", rawVariant(zob::VT_INVALID), ""},
      {"null", rawVariant(zob::VT_NULL), ""},
      {"true", EVariant(true), "true"},
      {"false", EVariant(false), "false"},
      {"bool payload 5", EVariant(boolFive), "true"},
      {"byte", EVariant(static_cast<unsigned char>('A')), "A"},
      {"char", EVariant('a'), "'a'"},
      {"short", EVariant(static_cast<short>(-5)), "-5"},
      {"ushort", EVariant(static_cast<unsigned short>(65535)), "65535"},
      {"int", EVariant(-2147483647 - 1), "-2147483648"},
      {"uint", EVariant(4294967295u), "4294967295"},
      {"long", EVariant(std::numeric_limits<long>::min()), "-9223372036854775808"},
      {"ulong", EVariant(~0ul), "18446744073709551615"},
      {"float 0.1", EVariant(0.1f), "0.1"},
      {"double 0.1", EVariant(0.1), "0.1"},
      {"double 1e20", EVariant(1e20), "1e+20"},
      {"double 1234567", EVariant(1234567.0), "1.23457e+06"},
      {"double -2.5", EVariant(-2.5), "-2.5"},
      {"string", EVariant("a\"b\\c\n\x01"), "\"a\\\"b\\\\c\\n\\001\""},
      {"null string", EVariant(static_cast<const char*>(nullptr)), "\"\""},
      {"date", EVariant(zob::Date{2024, 3, 7}), "2024-03-07"},
      {"date, year 5", EVariant(zob::Date{5, 3, 7}), "   5-03-07"},
      {"date, year 99", EVariant(zob::Date{99, 1, 5}), "  99-01-05"},
      {"time", EVariant(zob::Time{9, 5, 0, 250}), " 9:05:00.250"},
      {"time, two-digit hour", EVariant(zob::Time{14, 30, 5, 7}), "14:30:05.007"},
      {"datetime", EVariant(zob::DateTime{2024, 3, 7, 14, 30, 5, 7}), "2024-03-07 14:30:05.007"},
      {"datetime, one-digit hour", EVariant(zob::DateTime{2024, 3, 7, 9, 0, 0, 0}),
       "2024-03-07  9:00:00.000"},
      {"bytes", bytesVariant("A\n"), std::string("A\\00\n")},
      {"bytes, NUL and high byte", bytesVariant(std::string("\0~\xff", 3)),
       std::string("\\00\0~\\00\xff", 9)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.v.toString(), c.text);
  }
}

TEST(EVariantToString, IgnoresTheGlobalLocale) {
  std::locale saved;
  try {
    std::locale::global(std::locale("de_DE.UTF-8"));
  } catch (const std::exception&) {
    GTEST_SKIP() << "locale de_DE.UTF-8 not installed";
  }
  std::string big = EVariant(1234567L).toString();
  std::string frac = EVariant(1.5).toString();
  std::locale::global(saved);
  EXPECT_EQ(big, "1234567");
  EXPECT_EQ(frac, "1.5");
}

TEST(EVariantToString, UnusedTagsEndTheProcess) {
  for (zob::VariantType t : {zob::VT_UNUSED5, zob::VT_UNUSED15}) {
    SCOPED_TRACE(t);
    kelp::test::ChildResult r = kelp::test::runInChild([t] {
      EVariant v = rawVariant(t);
      std::string s = v.toString();
      return static_cast<int>(s.size());
    });
    EXPECT_EQ(r.signal, SIGABRT);
  }
}

TEST(EVariantWords, TrueAndFalse) {
  struct Case {
    const char* text;
    bool isTrue;
    bool isFalse;
    int length;  // of the accepted word
  };
  const Case cases[] = {
      {"t", true, false, 1},         {"T", true, false, 1},       {"tRuE", true, false, 4},
      {"true rest", true, false, 4}, {"t\tx", true, false, 1},    {"f ", false, true, 1},
      {"FALSE", false, true, 5},     {"false\n", false, true, 5}, {"tr", false, false, 0},
      {"yes", false, false, 0},      {"true1", false, false, 0},  {"fals", false, false, 0},
      {"", false, false, 0},         {" true", false, false, 0},  {"t1", false, false, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    const char* end = nullptr;
    EXPECT_EQ(EVariant::isTrue(c.text, &end), c.isTrue);
    EXPECT_EQ(end, c.isTrue ? c.text + c.length : nullptr);
    end = nullptr;
    EXPECT_EQ(EVariant::isFalse(c.text, &end), c.isFalse);
    EXPECT_EQ(end, c.isFalse ? c.text + c.length : nullptr);
  }
  EXPECT_FALSE(EVariant::isTrue(nullptr, nullptr));
}

TEST(EVariantRoundTrip, EveryByteThroughTheLiteralForm) {
  std::string all;
  for (int i = 255; i >= 0; --i) all += static_cast<char>(i);
  // The literal form of the bytes, held as a string variant, casts back to
  // exactly those bytes.
  EVariant lit(gConvertToCString(all).c_str());
  ASSERT_TRUE(lit.cast(zob::VT_BYTES));
  ASSERT_EQ(lit.u.bytesVal.length, 256u);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(lit.u.bytesVal.buffer), 256), all);
  // A string variant's text form is that literal, which reads back through a
  // byte cast of the text.
  EVariant text("tab\there \\ \"quoted\"");
  EVariant shown(text.toString().c_str());
  ASSERT_TRUE(shown.cast(zob::VT_BYTES));
  EXPECT_EQ(std::string(reinterpret_cast<char*>(shown.u.bytesVal.buffer), shown.u.bytesVal.length),
            std::string(text.u.strVal));
}
