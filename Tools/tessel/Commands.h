#pragma once

#include <string>

#include <CLI/CLI.hpp>

#include "Foundation/URL.h"

// The subcommands, and what they share.

namespace tessel {

/// Adds `server add`, `list`, `show` and `remove`, and `token set`, `has` and `remove`. Each writes its exit status.
void addServerCommands(CLI::App& app, int& status);
void addTokenCommands(CLI::App& app, int& status);

/// Adds `view timeline` and `view sidebar`, which draw what the operations of these names answer with. Each writes its
/// exit status.
void addViewCommand(CLI::App& app, int& status);

/// Adds `endpoint`: where the desktop's service is pushed to.
void addEndpointCommand(CLI::App& app, std::string& bundle, int& status);

/// Gives a command `--bundle`. Throws, when parsing, `CLI::ValidationError` for an empty path.
void addBundleOption(CLI::App& command, std::string& bundle);

/// An option's or argument's text as a URL. Throws `CLI::ValidationError`, which does not repeat the text: there may
/// be a password in it.
Foundation::URL parsedURL(const std::string& text);

}  // namespace tessel
