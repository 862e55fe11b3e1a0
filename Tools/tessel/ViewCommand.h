#pragma once

#include <CLI/CLI.hpp>

namespace tessel {

/// Adds `view timeline` and `view sidebar`, which draw what the operations of these names answer with. Each writes its
/// exit status.
void addViewCommand(CLI::App& app, int& status);

}  // namespace tessel
