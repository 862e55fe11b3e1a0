#pragma once

namespace tessel {

/// `tessel push …`: replaces this process with the extension's program. `argv` begins with this program and "push";
/// all but "--bundle PATH" is handed on. Returns the exit status where that cannot be done.
int runPush(int argc, char** argv);

}  // namespace tessel
