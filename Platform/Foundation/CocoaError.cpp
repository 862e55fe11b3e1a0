#include "Foundation/CocoaError.h"

#include <cerrno>
#include <system_error>

namespace Foundation {

namespace {

CocoaError::Code codeFor(CocoaError::Operation operation, int posixCode) {
    using Code = CocoaError::Code;
    using Operation = CocoaError::Operation;
    const bool forbidden = posixCode == EACCES || posixCode == EPERM;
    if (operation == Operation::read) {
        if (posixCode == ENOENT) return Code::fileReadNoSuchFile;
        if (posixCode == EFBIG) return Code::fileReadTooLarge;
        return forbidden ? Code::fileReadNoPermission : Code::fileReadUnknown;
    }
    if (posixCode == ENOENT) return Code::fileNoSuchFile;
    if (posixCode == EINVAL || posixCode == ENAMETOOLONG) return Code::fileWriteInvalidFileName;
    if (posixCode == ENOSPC || posixCode == EDQUOT) return Code::fileWriteOutOfSpace;
    return forbidden || posixCode == EROFS ? Code::fileWriteNoPermission : Code::fileWriteUnknown;
}

}  // namespace

CocoaError::CocoaError(Operation operation, int posixCode, const std::filesystem::path& path)
    : code_(codeFor(operation, posixCode)),
      posixCode_(posixCode),
      path_(path),
      message_(path.string() + ": " + std::generic_category().message(posixCode)) {}

}  // namespace Foundation
