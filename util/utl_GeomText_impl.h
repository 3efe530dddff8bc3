// Text and attribute forms shared by the geometry values (EVector2,
// EVector3, EBounds, EMatrix4, EVersor): runs of doubles in the shortest
// notation that reads back to the same value, separated by single blanks,
// read back with messages that say which number is wrong.
#ifndef KELP_UTIL_UTL_GEOMTEXT_IMPL_H
#define KELP_UTIL_UTL_GEOMTEXT_IMPL_H

#include <string>

namespace qor::quv::xml {
class XMLWriterItfWrapper;
}
namespace qor::quv::xml::sax {
class Attributes;
}

namespace qor::quv::util::detail {

void setGeomError(std::string* error, std::string message);

// Appends the shortest classic-locale text of v that reads back to v.
void appendNumber(std::string* out, double v);
// n numbers separated by single blanks.
std::string formatNumbers(const double* v, int n);

// Reads exactly n finite numbers separated by white space (leading white
// space allowed). With `end`, *end receives the position behind the last
// number (s on failure); without, only white space may follow. On failure
// `out` may have been partly written: callers read into scratch.
bool parseNumbers(const char* s, int n, double* out, const char** end, std::string* error);

// Reads the texts of n attributes, one finite number each; names[i] is
// named in the messages. Missing means null or empty.
bool decodeNumberAttributes(const char* const* names, const char* const* texts, int n, double* out,
                            std::string* error);
// Looks up prefix + names[i] among attrs into texts[i] (null when absent)
// and fills full[i] with the attribute names. Answers whether any is present
// and not empty.
bool lookUpAttributes(const xml::sax::Attributes& attrs, const char* prefix,
                      const char* const* names, int n, std::string* full, const char** texts);
// Writes prefix + names[i] = v[i]; false as soon as the writer refuses one.
bool encodeNumberAttributes(xml::XMLWriterItfWrapper* writer, const char* prefix,
                            const char* const* names, const double* v, int n);

}  // namespace qor::quv::util::detail

#endif
