#pragma once

#include <exception>
#include <limits>
#include <string>
#include <variant>
#include <vector>

#include "ExtensionHost/Host.h"

namespace ExtensionHost {

/// What the program's command line asks for.
struct CommandLine {
    Host::Options host;
    bool asJSON = true;
    bool images = false;
    std::vector<std::string> files;  ///< none: standard input
};

/// Reads the command line, `argv[0]` being the program's name as it is to be shown. Instead, where there is nothing
/// more to do, the exit status: 0 where help was asked for, 2 where the command line is wrong; either has been
/// printed. `footer` stands below the help.
std::variant<CommandLine, int> parseCommandLine(int argc, char** argv, const std::string& footer = "");

/// What is wrong with an option's text that is to be a number of seconds above 0, `longest` at most; empty for nothing.
std::string checkSeconds(const std::string& text, double longest = std::numeric_limits<double>::max());

/// What is printed for a command line that is wrong: one line, without the text of an argument that nobody asked for;
/// that may be a secret in the wrong place.
std::string usageError(const std::exception& error);

}  // namespace ExtensionHost
