// The stack of input sources: reading through pushed sources, popping,
// look-ahead across used-up sources, ownership.
#include <gtest/gtest.h>
#include <kelp/util/utl_StringBuf.h>
#include <kelp/xml/sax/sax_SimpleInputSource.h>
#include <kelp/xml/sax/sax_StackedInputSource.h>

#include <string>

#include "input_test_streams.h"

using namespace qor::quv::xml::sax;
using kelp::test::drain;

namespace {

// A string source that counts its live instances and can fail at the end.
class Text : public SimpleInputSource {
 public:
  Text(std::string data, int* alive = nullptr, bool failAtEnd = false)
      : SimpleInputSource("", "text:" + data),
        data_(std::move(data)),
        alive_(alive),
        failAtEnd_(failAtEnd) {
    if (alive_) ++*alive_;
  }
  ~Text() override {
    if (alive_) --*alive_;
  }
  bool setEncoding(const char* from, const char*) override {
    encoding = from ? from : "";
    return true;
  }
  int fetch(char* buffer, std::size_t size) override {
    if (pos_ == data_.size()) return failAtEnd_ ? -1 : 0;
    std::size_t n = std::min(size, data_.size() - pos_);
    std::memcpy(buffer, data_.data() + pos_, n);
    pos_ += n;
    return static_cast<int>(n);
  }
  std::string encoding;

 private:
  std::string data_;
  std::size_t pos_ = 0;
  int* alive_;
  bool failAtEnd_;
};

}  // namespace

TEST(SaxStackedInputSource, GetReadsThroughPushedSources) {
  int alive = 0;
  Text base("<a>&e;</a>");
  {
    StackedInputSource in(&base);
    EXPECT_EQ(in.depth(), 1u);
    std::string out;
    for (int i = 0; i < 6; ++i) out.push_back(static_cast<char>(in.get()));  // "<a>&e;"
    in.push(new Text("x&f;y", &alive));
    out.push_back(static_cast<char>(in.get()));  // 'x'
    in.push(new Text("inner", &alive));
    EXPECT_EQ(in.depth(), 3u);
    EXPECT_EQ(alive, 2);
    for (int i = 0; i < 4; ++i) out.push_back(static_cast<char>(in.get()));  // "inne"
    out += drain(in);
    EXPECT_EQ(out,
              "<a>&e;xinne"
              "r&f;y</a>");
    EXPECT_EQ(in.depth(), 1u);  // used-up sources were popped and deleted
    EXPECT_EQ(alive, 0);
    EXPECT_TRUE(in.eof());
    in.push(new Text("left over", &alive));
  }
  EXPECT_EQ(alive, 0);        // the stack deletes what it still owns
  EXPECT_EQ(base.get(), -1);  // but never the base
}

TEST(SaxStackedInputSource, PopRefusesForTheBaseAndAfterReadErrors) {
  int alive = 0;
  Text base("rest");
  StackedInputSource in(&base);
  EXPECT_FALSE(in.pop());
  in.push(nullptr);  // ignored
  EXPECT_EQ(in.depth(), 1u);
  in.push(new Text("ab", &alive, true));
  EXPECT_EQ(in.get(), 'a');
  EXPECT_EQ(in.get(), 'b');
  EXPECT_EQ(in.get(), -1);  // the read error is not hidden by the base
  EXPECT_TRUE(in.error());
  EXPECT_FALSE(in.pop());
  EXPECT_EQ(in.depth(), 2u);
  EXPECT_EQ(alive, 1);

  Text base2("z");
  StackedInputSource other(&base2);
  other.push(new Text("q", &alive));
  EXPECT_TRUE(other.pop());  // pops even with input left
  EXPECT_EQ(other.get(), 'z');
}

TEST(SaxStackedInputSource, TestPendingLooksBelowUsedUpSourcesOnly) {
  Text base("</a>");
  StackedInputSource in(&base);
  const char* endTag[] = {"</", nullptr};
  in.push(new Text("text"));
  EXPECT_FALSE(in.testPending(endTag, nullptr));  // the top still has "text"
  EXPECT_EQ(in.get(), 't');                       // and nothing was consumed
  in.consume(3);
  EXPECT_TRUE(in.testPending(endTag, nullptr));  // the top is used up
  EXPECT_EQ(in.depth(), 2u);                     // but not popped by the look-ahead
  EXPECT_EQ(drain(in), "</a>");

  Text base2("</a>");
  StackedInputSource failing(&base2);
  failing.push(new Text("", nullptr, true));
  EXPECT_FALSE(failing.testPending(endTag, nullptr));  // an error stops the search
}

TEST(SaxStackedInputSource, ForwardsToTheTop) {
  Text base("  base");
  StackedInputSource in(&base);
  in.push(new Text("\n\n name rest"));
  qor::quv::util::StringBuf buf;
  EXPECT_EQ(in.skipSpace(&buf), 3);
  EXPECT_EQ(in.getLocator().getLineNumber(), 3);
  EXPECT_EQ(in.getLocator().getSystemId(), "text:\n\n name rest");
  EXPECT_TRUE(in.getName(&buf));
  EXPECT_EQ(buf.str(), "\n\n name");
  in.unget('N');
  EXPECT_TRUE(in.getNmToken(nullptr));
  EXPECT_EQ(in.consume(1), 1);
  EXPECT_TRUE(in.good());
  EXPECT_TRUE(in.setEncoding("X", "Y"));
  EXPECT_EQ(static_cast<Text*>(in.top())->encoding, "X");
  EXPECT_EQ(base.encoding, "");
  char chunk[8];
  EXPECT_EQ(in.fetch(chunk, sizeof chunk), 0);  // the top's own fetch: all read
  EXPECT_EQ(drain(in), "rest  base");
  EXPECT_EQ(in.getLocator().getSystemId(), "text:  base");
}

TEST(SaxStackedInputSource, NullBase) {
  StackedInputSource in(nullptr);
  EXPECT_EQ(in.get(), -1);
  EXPECT_FALSE(in.good());
  EXPECT_TRUE(in.eof());
  EXPECT_TRUE(in.error());
  EXPECT_EQ(in.consume(3), 0);
  EXPECT_EQ(in.skipSpace(nullptr), 0);
  EXPECT_FALSE(in.getName(nullptr));
  EXPECT_EQ(in.getLocator().getLineNumber(), 0);
  const char* pats[] = {"x", nullptr};
  EXPECT_FALSE(in.testPending(pats, nullptr));
  EXPECT_FALSE(in.setEncoding("UTF-8", "UTF-8"));
  in.unget('x');
}
