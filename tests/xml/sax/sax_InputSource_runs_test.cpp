// Run access of the input sources: peekRun shows the buffered bytes,
// consumeRun takes them with the line count given by the caller; the default
// for other sources goes byte by byte through get and unget.
#include <kelp/xml/sax/sax_ISInputSource.h>
#include <kelp/xml/sax/sax_StackedInputSource.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>

using namespace qor::quv::xml::sax;

namespace {

// Reads everything through runs, taking at most `step` bytes per run.
std::string drain(InputSource& in, size_t step) {
  std::string out;
  const char* b = nullptr;
  const char* e = nullptr;
  while (in.peekRun(&b, &e)) {
    EXPECT_LT(b, e);
    size_t n = std::min(step, static_cast<size_t>(e - b));
    int lf = 0;
    for (size_t i = 0; i < n; ++i) lf += b[i] == '\n';
    out.append(b, n);
    in.consumeRun(n, lf);
  }
  return out;
}

// A source with nothing but get and unget over a string.
class ByteSource final : public InputSource {
 public:
  explicit ByteSource(std::string s) : s_(std::move(s)) {}
  bool good() override { return pos_ < s_.size(); }
  bool eof() override { return pos_ >= s_.size(); }
  bool error() override { return false; }
  int get() override {
    if (pos_ >= s_.size()) return -1;
    if (s_[pos_] == '\n') ++line_;
    return static_cast<unsigned char>(s_[pos_++]);
  }
  void unget(char c) override {
    s_[--pos_] = c;
    if (c == '\n') --line_;
  }
  int consume(int) override { return 0; }
  bool testPending(const char**, const char*) override { return false; }
  int skipSpace(qor::quv::util::StringBuf*) override { return 0; }
  bool getName(qor::quv::util::StringBuf*) override { return false; }
  bool getNmToken(qor::quv::util::StringBuf*) override { return false; }
  Locator getLocator() override { return DefaultLocator("", "", line_, 0); }
  bool setEncoding(const char*, const char*) override { return true; }
  int fetch(char*, std::size_t) override { return 0; }

 private:
  std::string s_;
  size_t pos_ = 0;
  int line_ = 1;
};

}  // namespace

TEST(InputSourceRuns, BufferedSourceShowsItsBufferAndCountsGivenLines) {
  std::string text;
  for (int i = 0; i < 3000; ++i) text += "line " + std::to_string(i) + "\n";
  for (size_t step : {size_t(1), size_t(5), size_t(100000)}) {
    SCOPED_TRACE(step);
    std::istringstream s(text);
    ISInputSource in("", "", &s, false);
    EXPECT_EQ(drain(in, step), text);
    EXPECT_TRUE(in.eof());
    EXPECT_EQ(in.getLocator().getLineNumber(), 3001);
  }
  // A run is the rest of the buffer: never more than one fetch delivered.
  std::istringstream s(std::string(20000, 'x'));
  ISInputSource in("", "", &s, false);
  const char* b;
  const char* e;
  ASSERT_TRUE(in.peekRun(&b, &e));
  EXPECT_EQ(static_cast<size_t>(e - b), 8192u - 16u);
  in.consumeRun(10, 0);
  ASSERT_TRUE(in.peekRun(&b, &e));
  EXPECT_EQ(static_cast<size_t>(e - b), 8192u - 26u);
  // Mixing runs with get and unget stays consistent.
  EXPECT_EQ(in.get(), 'x');
  in.unget('y');
  ASSERT_TRUE(in.peekRun(&b, &e));
  EXPECT_EQ(*b, 'y');
}

TEST(InputSourceRuns, DefaultGoesByteByByte) {
  ByteSource in("ab\ncd");
  const char* b;
  const char* e;
  ASSERT_TRUE(in.peekRun(&b, &e));
  EXPECT_EQ(e - b, 1);
  EXPECT_EQ(*b, 'a');
  EXPECT_EQ(drain(in, 10), "ab\ncd");
  EXPECT_EQ(in.getLocator().getLineNumber(), 2);
  EXPECT_FALSE(in.peekRun(&b, &e));
}

TEST(InputSourceRuns, StackedSourceFallsBackToTheEnclosingSource) {
  std::istringstream base("outer\n");
  ISInputSource outer("", "", &base, false);
  StackedInputSource stack(&outer);
  const char* b;
  const char* e;
  ASSERT_TRUE(stack.peekRun(&b, &e));
  stack.consumeRun(2, 0);
  stack.push(new ByteSource("in\n"));
  EXPECT_EQ(drain(stack, 2), "in\nter\n");
  EXPECT_EQ(stack.depth(), 1u);
  EXPECT_EQ(outer.getLocator().getLineNumber(), 2);
}
