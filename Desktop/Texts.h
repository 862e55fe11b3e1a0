#pragma once

#include <filesystem>
#include <string>

namespace Desktop {

/// What the desktop's part itself says to the user. By default in English.
struct Texts {
    std::string open = "Open";
    std::string reply = "Reply";
    std::string replyNotSent = "Your reply was not sent";
    std::string notOpened = "Tessel could not be opened";
    std::string clientNotStarted = "The chat client cannot be started.";

    /// The texts in the user's language, from the resource bundle TesselKit_Desktop.bundle in this directory. In English
    /// where there is none.
    static Texts load(const std::filesystem::path& directory);
};

}  // namespace Desktop
