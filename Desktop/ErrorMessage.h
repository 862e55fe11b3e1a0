#pragma once

#include <string>

#include "Foundation/Data.h"

namespace Desktop {

/// What the user is told when the client could not be: kept until they have seen it, for it may hold what they have
/// written.
struct ErrorMessage {
    std::string summary, text;

    /// To and from a file of ours, JSON. Throws `Foundation::DecodingError`.
    static ErrorMessage read(const Foundation::Data& file);
    Foundation::Data file() const;
};

}  // namespace Desktop
