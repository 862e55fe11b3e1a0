#include "Foundation/DecodingError.h"

#include <utility>

namespace Foundation {

DecodingError::DecodingError(Reason reason, std::string path, std::string description)
    : reason_(reason), path_(std::move(path)), description_(std::move(description)) {
    message_ = path_.empty() ? description_ : path_ + ": " + description_;
}

DecodingError DecodingError::below(const std::string& place) const {
    const bool joins = !path_.empty() && !path_.starts_with('[');
    return {reason_, place + (joins ? "." : "") + path_, description_};
}

}  // namespace Foundation
