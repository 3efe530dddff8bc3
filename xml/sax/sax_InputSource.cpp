// The abstract input source.
#define QUV_SOURCE_NAME "sax_InputSource"
#include <kelp/xml/sax/sax_InputSource.h>

namespace qor::quv::xml::sax {

InputSource::~InputSource() = default;

namespace {

// Every byte value once, so that the default peekRun can show a byte it has
// put back without storage of its own.
struct ByteValues {
  char v[256];
  constexpr ByteValues() : v() {
    for (int i = 0; i < 256; ++i) v[i] = static_cast<char>(i);
  }
};
constexpr ByteValues kByteValues{};

}  // namespace

bool InputSource::peekRun(const char** begin, const char** end) {
  int c = get();
  if (c < 0) return false;
  unget(static_cast<char>(c));
  *begin = &kByteValues.v[c];
  *end = *begin + 1;
  return true;
}

void InputSource::consumeRun(std::size_t count, int) {
  while (count-- > 0 && get() >= 0) {
  }
}

}  // namespace qor::quv::xml::sax
