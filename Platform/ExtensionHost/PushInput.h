#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "Foundation/PropertyList.h"

namespace ExtensionHost {

/// A push's payload, and which of the input's payloads it is, from 0.
struct Push {
    std::size_t index = 0;
    Foundation::Dictionary payload;
};

/// Reads push payloads, JSON objects one per line, from files and from standard input ("-"; also where no file is
/// named), which is worked off as it comes. A file that as a whole is one JSON object is one payload.
class PushInput {
public:
    explicit PushInput(std::vector<std::string> files);

    /// Hands over each payload until `take` answers false. What cannot be read is reported on standard error as
    /// "FILE:LINE: reason", without the line's own text, and the others go on. Returns whether all was good.
    bool read(const std::function<bool(Push)>& take);

private:
    bool readFile(const std::string& file, const std::function<bool(Push)>& take);
    bool readStandardInput(const std::function<bool(Push)>& take);
    bool readLine(const std::string& file, std::size_t number, std::string_view line,
                  const std::function<bool(Push)>& take);
    /// Of a line, or with 0 of the file as a whole.
    void report(const std::string& file, std::size_t line, const char* reason) noexcept;

    std::vector<std::string> files_;
    std::size_t index_ = 0;
    bool allGood_ = true;
};

}  // namespace ExtensionHost
