// Texts of result codes and repository-id comparison.
#include <zob/zob_result.h>
#include <zob/zob_unknown.h>

#include <cstdio>
#include <cstring>

namespace {

struct CodeText {
  ZResult code;
  const char* text;
};

constexpr CodeText kTexts[] = {
    {zob::kOk, "success"},
    {zob::kNotImplemented, "not implemented"},
    {zob::kNoInterface, "no such interface"},
    {zob::kWriteFailure, "write failure"},
    {zob::kInvalidState, "invalid state"},
    {zob::kOutOfMemory, "out of memory"},
    {zob::kPermissionDenied, "permission denied"},
    {zob::kInvalidArgument, "invalid argument"},
    {zob::kIOError, "input/output error"},
    {zob::kNotFound, "not found"},
    {zob::kExists, "already exists"},
    {zob::kTimeOut, "timed out"},
    {zob::kIllegalSequence, "illegal byte sequence"},
    {zob::kUnsupported, "not supported"},
    {zob::kEndOfStream, "end of stream"},
    {zob::kWouldBlock, "resource temporarily unavailable"},
    {zob::kBusy, "resource busy"},
    {zob::kCorrupt, "data corrupt"},
    {zob::kNotDirectory, "not a directory"},
    {zob::kIsDirectory, "is a directory"},
    {zob::kNoSpace, "no space left on device"},
    {zob::kReadOnlyFileSystem, "read-only file system"},
    {zob::kNameTooLong, "file name too long"},
    {zob::kNotEmpty, "directory not empty"},
    {zob::kKeyNotEmpty, "not empty"},
    {zob::kDomIndexSize, "DOM: index or size out of range"},
    {zob::kDomStringSize, "DOM: string too large"},
    {zob::kDomHierarchyRequest, "DOM: node cannot be inserted here"},
    {zob::kDomWrongDocument, "DOM: node belongs to another document"},
    {zob::kDomInvalidCharacter, "DOM: invalid character"},
    {zob::kDomNoDataAllowed, "DOM: node holds no data"},
    {zob::kDomNoModificationAllowed, "DOM: node may not be modified"},
    {zob::kDomNotFound, "DOM: node not found"},
    {zob::kDomNotSupported, "DOM: operation not supported"},
    {zob::kDomInuseAttribute, "DOM: attribute is in use by another element"},
};

}  // namespace

const char* zobStrError(ZResult result) {
  for (const CodeText& t : kTexts)
    if (t.code == result) return t.text;
  if (!EFAILED(result)) return "success";
  thread_local char buf[40];
  std::snprintf(buf, sizeof buf, "unknown error 0x%08x", static_cast<unsigned>(result));
  return buf;
}

bool zobCompareIID(const char* a, const char* b) {
  if (a == b) return true;
  if (!a || !b) return false;
  return std::strcmp(a, b) == 0;
}
