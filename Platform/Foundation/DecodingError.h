#pragma once

#include <exception>
#include <string>

namespace Foundation {

/// Why a JSON text could not be read as what was expected. It names the place, by the text's own keys, and repeats
/// nothing else of the text.
class DecodingError final : public std::exception {
public:
    enum class Reason {
        malformed,    ///< not JSON (RFC 8259), not UTF-8, or nested too deeply
        keyNotFound,  ///< a required key is missing
        typeMismatch  ///< a value is of another kind than expected, null included, or out of range
    };

    /// `path` as "metadata.files[2].size", empty for the value as a whole; `description` as "expected an integer".
    DecodingError(Reason reason, std::string path, std::string description);

    Reason reason() const { return reason_; }
    const std::string& path() const { return path_; }

    /// "expected an integer": nothing in it comes from the text.
    const std::string& description() const { return description_; }

    /// Path and description: "metadata.files[2].size: expected an integer".
    const char* what() const noexcept override { return message_.c_str(); }

    /// The same error of a value that itself stands at `place` of another one.
    DecodingError below(const std::string& place) const;

private:
    Reason reason_;
    std::string path_;
    std::string description_;
    std::string message_;
};

}  // namespace Foundation
