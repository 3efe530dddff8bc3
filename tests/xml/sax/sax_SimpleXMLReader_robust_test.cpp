// SimpleXMLReader on hostile input: very deep nesting, every truncation of a
// document, input arriving one byte at a time, read errors and long runs
// that cross buffer refills.
#include <kelp/xml/sax/sax_SimpleXMLReader.h>

#include <gtest/gtest.h>
#include <kelp/host.h>
#include <zob/zob_io.h>

#include <algorithm>
#include <cstring>

#include "tests/xml/sax/sax_SimpleXMLReader_test_support.h"

using namespace kelp::test::sax;

namespace {

// A stream that hands out at most `step` bytes per read and, with failAt set,
// fails once that many bytes were delivered.
class TrickleStream final : public kelp::host::Object<zob::io::IInputStream> {
 public:
  TrickleStream(std::string data, size_t step, size_t failAt = std::string::npos)
      : data_(std::move(data)), step_(step), failAt_(failAt) {}
  ZResult read(void* buffer, std::size_t size, std::size_t* count) override {
    *count = 0;
    if (pos_ >= failAt_) return zob::kIOError;
    size_t n = std::min({size, step_, data_.size() - pos_, failAt_ - pos_});
    std::memcpy(buffer, data_.data() + pos_, n);
    pos_ += n;
    *count = n;
    return zob::kOk;
  }

 private:
  std::string data_;
  size_t step_;
  size_t failAt_;
  size_t pos_ = 0;
};

std::string runStream(const std::string& doc, size_t step, size_t failAt = std::string::npos,
                      const Options& o = Options(), Recorder* rec = nullptr) {
  Recorder local;
  Recorder& r = rec ? *rec : local;
  SimpleXMLReader reader(nullptr);
  install(reader, r, o);
  zob::Ref<zob::io::IInputStream> stream(new TrickleStream(doc, step, failAt));
  ISInputSource source("", "t.xml", stream.get());
  bool ok = reader.parse(&source);
  return r.text() + "-> " + (ok ? "true" : "false");
}

// A document that touches every grammar area.
const std::string kSample =
    "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\" standalone='yes'?>\r\n"
    "<!-- catalogue -->\n<?app mode=full?>\n"
    "<c:catalogue xmlns:c='urn:c' xmlns=\"urn:d\" c:id='7' note='a&amp;b&#x3b1;'>\n"
    "  <item n=\"1\">Caf\xC3\xA9 &lt;cr\xC3\xA8me&gt; &#8364;5</item>\r\n"
    "  <item n='2'><![CDATA[if (a < b) ]] x]]><!--x-y--><?p q?></item>\n"
    "  <empty/>]]><c:x xmlns:c='urn:other'/>&unknown;\r"
    "</c:catalogue>\n<!-- tail -->";

}  // namespace

TEST(SimpleXMLReaderRobust, SampleEvents) {
  EXPECT_EQ(runStream(kSample, 1 << 20),
            "startDocument\ncomment  catalogue \npi app mode=full\nmap c=urn:c\nmap =urn:d\n"
            "start {urn:c}catalogue c:catalogue xmlns:c={http://www.w3.org/2000/xmlns/}c:urn:c "
            "xmlns={}xmlns:urn:d c:id={urn:c}id:7 note={}note:a&b\xCE\xB1\nchars \n  \n"
            "start {urn:d}item item n={}n:1\nchars Caf\xC3\xA9 \nchars <\nchars cr\xC3\xA8me\n"
            "chars > \nchars \xE2\x82\xAC\nchars 5\nend {urn:d}item item\nchars \n  \n"
            "start {urn:d}item item n={}n:2\ncdata\nchars if (a < b) ]] x\n/cdata\n"
            "comment x-y\npi p q\nend {urn:d}item item\nchars \n  \nstart {urn:d}empty empty\n"
            "end {urn:d}empty empty\nchars ]]\nmap c=urn:other\n"
            "start {urn:other}x c:x xmlns:c={http://www.w3.org/2000/xmlns/}c:urn:other\n"
            "end {urn:other}x c:x\nunmap c\nskipped unknown\nchars \n\n"
            "end {urn:c}catalogue c:catalogue\nunmap \nunmap c\ncomment  tail \nendDocument\n"
            "-> true");
}

TEST(SimpleXMLReaderRobust, OneByteAtATimeGivesTheSameEvents) {
  const std::string docs[] = {kSample, "<a x='1'>t<b/>&#65;</a>",
                              std::string("\xFF\xFE<\0a\0/\0>\0", 10),
                              "<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE9\xE8</a>"};
  for (const std::string& doc : docs) {
    SCOPED_TRACE(doc);
    std::string whole = runStream(doc, 1 << 20);
    for (size_t step : {1u, 2u, 3u, 7u}) EXPECT_EQ(runStream(doc, step), whole) << step;
  }
}

TEST(SimpleXMLReaderRobust, EveryTruncationEndsCleanly) {
  // Cut at every byte: the parse ends with success (only when the document
  // element is complete) or exactly one fatal error, and endDocument once.
  // Success needs the whole document element and no cut inside the
  // trailing comment once its "<!--" is there.
  size_t complete = kSample.find("</c:catalogue>") + 14;
  size_t tail = kSample.find("<!-- tail");
  for (size_t cut = 0; cut <= kSample.size(); ++cut) {
    SCOPED_TRACE(cut);
    for (size_t step : {size_t(1) << 20, size_t(1)}) {
      Recorder rec;
      std::string out = runStream(kSample.substr(0, cut), step, std::string::npos, Options(), &rec);
      EXPECT_EQ(rec.endDocuments, 1);
      size_t fatals = std::count_if(rec.lines.begin(), rec.lines.end(),
                                    [](const std::string& l) { return l.rfind("fatal", 0) == 0; });
      bool ok = out.size() >= 4 && out.substr(out.size() - 4) == "true";
      EXPECT_EQ(ok, cut >= complete && (cut < tail + 4 || cut == kSample.size()));
      EXPECT_EQ(fatals, ok ? 0u : 1u);
      if (!ok) {
        // Mostly the end of input; a cut inside a keyword or a markup
        // opener ("<?xml ", "version", "<!--", "<![CDATA[") leaves a
        // syntax error of its own.
        const std::string& last = rec.lines[rec.lines.size() - 2];
        std::string message = last.substr(last.find(": ") + 2);
        EXPECT_TRUE(message == "unexpected end of input" || message.rfind("syntax error (", 0) == 0)
            << message;
      }
    }
  }
}

TEST(SimpleXMLReaderRobust, ReadErrorIsReportedAsSuch) {
  for (size_t at : {0u, 5u, 40u, 150u}) {
    SCOPED_TRACE(at);
    Recorder rec;
    std::string out = runStream(kSample, 3, at, Options(), &rec);
    EXPECT_EQ(rec.lines[rec.lines.size() - 2].substr(rec.lines[rec.lines.size() - 2].find(':')),
              ": read error");
    EXPECT_EQ(out.substr(out.size() - 5), "false");
  }
  // After the document element a read error still counts.
  std::string doc = "<a/>  ";
  EXPECT_EQ(runStream(doc, 1, 5),
            "startDocument\nstart {}a a\nend {}a a\nfatal L1: read error\nendDocument\n-> false");
}

TEST(SimpleXMLReaderRobust, MillionLevelsDeep) {
  const size_t depth = 1000000;
  std::string doc;
  doc.reserve(depth * 8 + 16);
  for (size_t i = 0; i < depth; ++i) doc += "<e a='1'>";
  doc += "x";
  for (size_t i = 0; i < depth; ++i) doc += "</e>";

  struct Counter : DefaultHandler {
    size_t starts = 0, ends = 0, maxDepth = 0, open = 0;
    std::string text;
    bool startElement(const char*, const char*, const char*, const Attributes& a) override {
      ++starts;
      maxDepth = std::max(maxDepth, ++open);
      return a.getLength() == 1 && std::strcmp(a.getValue(0), "1") == 0;
    }
    bool endElement(const char*, const char*, const char* q) override {
      --open;
      ++ends;
      return std::strcmp(q, "e") == 0;
    }
    bool characters(const char* c) override {
      text += c;
      return true;
    }
  } counter;
  SimpleXMLReader reader(nullptr);
  reader.setContentHandler(&counter);
  std::istringstream in(doc);
  ISInputSource source("", "", &in, false);
  EXPECT_TRUE(reader.parse(&source));
  EXPECT_EQ(counter.starts, depth);
  EXPECT_EQ(counter.ends, depth);
  EXPECT_EQ(counter.maxDepth, depth);
  EXPECT_EQ(counter.text, "x");
}

TEST(SimpleXMLReaderRobust, LongRunsAcrossRefills) {
  // Names, values, text, comments and CDATA far longer than one buffer, with
  // line ends placed to fall on buffer edges.
  std::string name(20000, 'n');
  std::string value, text;
  for (int i = 0; i < 30000; ++i) {
    value += static_cast<char>('a' + i % 26);
    text += (i % 8191 == 0) ? '\r' : static_cast<char>('A' + i % 26);
  }
  std::string expectText = text;
  std::replace(expectText.begin(), expectText.end(), '\r', '\n');
  std::string doc = "<" + name + " v='" + value + "'>" + text + "<!--" + text + "--><![CDATA[" +
                    text + "]]></" + name + ">";
  for (size_t step : {size_t(1) << 20, size_t(4093)}) {
    SCOPED_TRACE(step);
    std::string out = runStream(doc, step);
    EXPECT_EQ(out, "startDocument\nstart {}" + name + " " + name + " v={}v:" + value + "\nchars " +
                       expectText + "\ncomment " + expectText + "\ncdata\nchars " + expectText +
                       "\n/cdata\nend {}" + name + " " + name + "\nendDocument\n-> true");
  }
}

TEST(SimpleXMLReaderRobust, ManyAttributesAndScratchReuse) {
  std::string doc = "<r>";
  for (int e = 0; e < 200; ++e) {
    doc += "<e";
    for (int i = 0; i < 100; ++i)
      doc += " a" + std::to_string(i) + "='" + std::string(50, char('a' + i % 26)) + "'";
    doc += "/>";
  }
  doc += "</r>";
  struct Check : DefaultHandler {
    bool good = true;
    size_t elements = 0;
    bool startElement(const char*, const char*, const char* q, const Attributes& a) override {
      if (std::strcmp(q, "e") != 0) return true;
      ++elements;
      good = good && a.getLength() == 100;
      for (int i = 0; i < a.getLength(); ++i)
        good = good && a.getValue(i) == std::string(50, char('a' + i % 26)) &&
               a.getQName(i) == "a" + std::to_string(i);
      return true;
    }
  } check;
  SimpleXMLReader reader(nullptr);
  reader.setContentHandler(&check);
  std::istringstream in(doc);
  ISInputSource source("", "", &in, false);
  EXPECT_TRUE(reader.parse(&source));
  EXPECT_EQ(check.elements, 200u);
  EXPECT_TRUE(check.good);
}
