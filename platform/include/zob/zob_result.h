/* Result codes of the object model and the portable runtime.
 *
 * Object-model operations return a 32-bit ZResult: 0 is success, a negative
 * value (high bit set) is a failure, tested with EFAILED. This header lists
 * every code the platform, libkelp and the reference host use; zobStrError
 * gives the English text of each. */
#ifndef ZOB_ZOB_RESULT_H
#define ZOB_ZOB_RESULT_H

#include <cstdint>

#include <zob/zob_api.h>

using ZResult = std::int32_t;

#define EFAILED(r) (static_cast<ZResult>(r) < 0)
#define ESUCCEEDED(r) (static_cast<ZResult>(r) >= 0)

namespace zob {

constexpr ZResult code(std::uint32_t v) {
  return static_cast<ZResult>(v);
}

constexpr ZResult kOk = 0;
constexpr ZResult kNotImplemented = code(0x80000001u);
constexpr ZResult kNoInterface = code(0x80000004u);
constexpr ZResult kWriteFailure = code(0x80000008u);
constexpr ZResult kInvalidState = code(0x80000100u);
constexpr ZResult kOutOfMemory = code(0x96220001u);
constexpr ZResult kPermissionDenied = code(0x9622000du);
constexpr ZResult kInvalidArgument = code(0x96220016u);
constexpr ZResult kIOError = code(0x96230005u);
constexpr ZResult kNotFound = code(0x9623000du);
constexpr ZResult kExists = code(0x96230011u);
constexpr ZResult kTimeOut = code(0x96230025u);
constexpr ZResult kIllegalSequence = code(0x96230026u);
constexpr ZResult kUnsupported = code(0x96230027u);
constexpr ZResult kEndOfStream = code(0x96230028u);
constexpr ZResult kWouldBlock = code(0x9623000bu);
constexpr ZResult kBusy = code(0x96230010u);
constexpr ZResult kCorrupt = code(0x96230030u);
/* Files and directories. */
constexpr ZResult kNotDirectory = code(0x96230014u);
constexpr ZResult kIsDirectory = code(0x96230015u);
constexpr ZResult kNoSpace = code(0x9623001cu);
constexpr ZResult kReadOnlyFileSystem = code(0x9623001eu);
constexpr ZResult kNameTooLong = code(0x96230024u);
constexpr ZResult kNotEmpty = code(0x96230042u);
/* A registry key that still has sub-keys. */
constexpr ZResult kKeyNotEmpty = code(0x96230031u);

/* DOM errors: 0x96260100 plus the W3C DOMException number. */
constexpr ZResult kDomBase = code(0x96260100u);
constexpr ZResult domError(int w3cCode) {
  return code(0x96260100u + static_cast<std::uint32_t>(w3cCode));
}
constexpr ZResult kDomIndexSize = domError(1);
constexpr ZResult kDomStringSize = domError(2);
constexpr ZResult kDomHierarchyRequest = domError(3);
constexpr ZResult kDomWrongDocument = domError(4);
constexpr ZResult kDomInvalidCharacter = domError(5);
constexpr ZResult kDomNoDataAllowed = domError(6);
constexpr ZResult kDomNoModificationAllowed = domError(7);
constexpr ZResult kDomNotFound = domError(8);
constexpr ZResult kDomNotSupported = domError(9);
constexpr ZResult kDomInuseAttribute = domError(10);

}  // namespace zob

/* The English text of a result code; never null. Unknown failure codes give
 * "unknown error 0x........" from a per-thread buffer. */
ZOB_API const char* zobStrError(ZResult result);

#endif
