// Streams for the input-source tests: a string served in blocks of chosen
// sizes, optionally failing after some bytes.
#ifndef KELP_TESTS_XML_SAX_INPUT_TEST_STREAMS_H
#define KELP_TESTS_XML_SAX_INPUT_TEST_STREAMS_H

#include <kelp/host.h>
#include <kelp/util/utl_StringBuf.h>
#include <kelp/xml/sax/sax_InputSource.h>
#include <zob/zob_io.h>

#include <cstring>
#include <string>
#include <vector>

namespace kelp::test {

// Counted by the host's object base: deleted with its last reference.
class ChunkedStream final : public kelp::host::Object<zob::io::IInputStream> {
 public:
  // Serves data in blocks whose sizes cycle through `blocks` (empty: as much
  // as asked). With failAfter >= 0 the stream serves that many bytes and
  // then fails every read.
  ChunkedStream(std::string data, std::vector<std::size_t> blocks, long failAfter = -1)
      : data_(std::move(data)), blocks_(std::move(blocks)), failAfter_(failAfter) {}

  ZResult read(void* buffer, std::size_t size, std::size_t* count) override {
    *count = 0;
    ++reads_;
    std::size_t n = size;
    if (!blocks_.empty()) {
      std::size_t b = blocks_[next_++ % blocks_.size()];
      if (b < n) n = b;
    }
    if (n > data_.size() - pos_) n = data_.size() - pos_;
    if (failAfter_ >= 0) {
      std::size_t limit = static_cast<std::size_t>(failAfter_);
      if (pos_ >= limit) return zob::kIOError;
      if (n > limit - pos_) n = limit - pos_;
    }
    std::memcpy(buffer, data_.data() + pos_, n);
    pos_ += n;
    *count = n;
    return zob::kOk;
  }
  int reads() const { return reads_; }

 private:
  std::string data_;
  std::vector<std::size_t> blocks_;
  long failAfter_;
  std::size_t pos_ = 0;
  std::size_t next_ = 0;
  int reads_ = 0;
};

// Block patterns every decoding test runs through.
inline std::vector<std::vector<std::size_t>> blockPatterns() {
  return {{}, {1}, {2}, {3}, {1, 2, 3, 5, 7, 11, 13}, {4093}, {7, 1}};
}

// Everything a source delivers through get.
inline std::string drain(qor::quv::xml::sax::InputSource& in) {
  std::string out;
  int c;
  while ((c = in.get()) >= 0) out.push_back(static_cast<char>(c));
  return out;
}

}  // namespace kelp::test

#endif
