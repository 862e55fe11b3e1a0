#include "Foundation/DecodingError.h"

#include <utility>

namespace Foundation {

DecodingError::DecodingError(Reason reason, std::string path, std::string expectation)
    : reason_(reason), path_(std::move(path)) {
    if (!path_.empty()) message_ = path_ + ": ";
    switch (reason_) {
        case Reason::malformed: message_ += "not valid JSON: " + expectation; break;
        case Reason::keyNotFound: message_ += "missing, expected " + expectation; break;
        case Reason::typeMismatch: message_ += "expected " + expectation; break;
    }
}

}  // namespace Foundation
