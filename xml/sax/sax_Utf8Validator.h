// UTF-8 validation for input that passes through without a codec: finds
// where well-formed UTF-8 (RFC 3629) ends, at memory speed. Internal to the
// SAX reader's input sources.
#ifndef KELP_XML_SAX_SAX_UTF8VALIDATOR_H
#define KELP_XML_SAX_SAX_UTF8VALIDATOR_H

#include <cstddef>

#include <kelp/kelp_api.h>

namespace qor::quv::xml::sax::detail {

// Exported for the tests and benchmarks only; not part of the API.

// The ways of checking; Best is the fastest one the processor has (AVX2
// when present, else SSE2). The others exist so that tests can run each.
enum class Utf8Path { Best, Scalar, Sse2, Avx2 };

KELP_API bool utf8PathAvailable(Utf8Path path);

// The length of the longest prefix of [p, p + n) made of whole, well-formed
// UTF-8 sequences. It stops before the first ill-formed sequence, and before
// a sequence that is well formed so far but cut by the end.
KELP_API std::size_t utf8ValidPrefix(const char* p, std::size_t n, Utf8Path path = Utf8Path::Best);

// The UTF-8 sequence at [p, p + n), n > 0: its length when it is whole and
// well formed; 0 when it is ill-formed; -1 when it is well formed so far
// but n ends inside it.
KELP_API int utf8Sequence(const char* p, std::size_t n);

}  // namespace qor::quv::xml::sax::detail

#endif
