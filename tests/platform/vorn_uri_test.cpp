// URI helpers and the digit-wise comparison of the utility library.
#include <gtest/gtest.h>
#include <vorn/vorn_compare.h>
#include <vorn/vorn_uri.h>

#include <cmath>
#include <string>

TEST(VornUri, IsURI) {
  struct Case {
    const char* text;
    bool uri;
  } cases[] = {
      {"http://example.com/", true},
      {"mailto:a@b.c", true},
      {"a+b-c.d:x", true},
      {"x:", true},
      {"urn:a:b%2F", true},
      {"C:\\dir", false},
      {":x", false},
      {"1a:x", false},
      {"a_b:x", false},
      {"http://a b", false},
      {"http://x/%g0", false},
      {"http://x/%", false},
      {"no scheme", false},
      {"", false},
      {"http://x/\xc3\xa4", false},
      {"http://[::1]:80/?q#f", true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(gIsURI(c.text), c.uri);
  }
}

TEST(VornUri, Normalize) {
  struct Case {
    const char* in;
    const char* out;
  } cases[] = {
      // RFC 3986 6.2.2: case, percent-encodings, dot segments.
      {"HTTP://www.Example.com/", "http://www.example.com/"},
      {"http://example.com/%7Efoo", "http://example.com/~foo"},
      {"http://example.com/a/%2f/%c3%a4", "http://example.com/a/%2F/%C3%A4"},
      {"http://example.com/a/./b/../b/%63/%7bfoo%7d", "http://example.com/a/b/c/%7Bfoo%7D"},
      // RFC 3986 5.4 examples after merging, i.e. remove_dot_segments.
      {"http://a/b/c/./../../g", "http://a/g"},
      {"http://a/b/c/..", "http://a/b/"},
      {"http://a/b/c/.", "http://a/b/c/"},
      {"http://a/../../g", "http://a/g"},
      {"mid/content=5/../6", "mid/content=5/../6"},
      {"/a/b/../c", "/a/c"},
      {"http://User:Pw@HOST:8080/P", "http://User:Pw@host:8080/P"},
      {"http://x/?A=%7e#F%7E", "http://x/?A=~#F~"},
      {"http://x/%zz", "http://x/%zz"},
      {"", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.in);
    EXPECT_EQ(gNormalizeURI(c.in), c.out);
    EXPECT_EQ(gNormalizeURI(gNormalizeURI(c.in)), gNormalizeURI(c.in));
  }
}

TEST(VornUri, EscapeAndUnescape) {
  EXPECT_EQ(gEscapeURIComponent("a-b_c.d~e", nullptr), "a-b_c.d~e");
  EXPECT_EQ(gEscapeURIComponent("a b/c?d", nullptr), "a%20b%2Fc%3Fd");
  EXPECT_EQ(gEscapeURIComponent("a b/c?d", "/?"), "a%20b/c?d");
  EXPECT_EQ(gEscapeURIComponent(std::string("\0\xff", 2), nullptr), "%00%FF");
  EXPECT_EQ(gUnescapePartOfURI("%41%2f%2F%"), "A//%");
  EXPECT_EQ(gUnescapePartOfURI("%4"), "%4");
  EXPECT_EQ(gUnescapePartOfURI("%%41"), "%A");
  std::string all;
  for (int c = 0; c < 256; ++c) all += static_cast<char>(c);
  EXPECT_EQ(gUnescapePartOfURI(gEscapeURIComponent(all, nullptr)), all);
  EXPECT_TRUE(gIsURI("x:" + gEscapeURIComponent(all, nullptr)));
}

TEST(VornCompare, ToDigits) {
  struct Case {
    double a, b;
    int digits;
    int result;
  } cases[] = {
      {1.0, 1.0, 2, 0},      {1.004, 1.0, 2, 0},      {1.006, 1.0, 2, 1},
      {1.0, 1.006, 2, -1},   {-1.0, 1.0, 5, -1},      {149.0, 100.0, -2, 0},
      {151.0, 100.0, -2, 1}, {0.1 + 0.2, 0.3, 15, 0}, {1e300, -1e300, 2, 1},
      {INFINITY, 1.0, 2, 1}, {-INFINITY, 1.0, 2, -1}, {NAN, NAN, 2, 0},
      {NAN, 1.0, 2, 1},      {1.0, NAN, 2, -1},       {1.0, 1.0 + 1e-9, 1000, -1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.a) + " vs " + std::to_string(c.b));
    EXPECT_EQ(gCompare(c.a, c.b, c.digits), c.result);
  }
  EXPECT_EQ(gCompare(1.0004f, 1.0f, 3), 0);
  EXPECT_EQ(gCompare(1.1f, 1.0f, 3), 1);
}
