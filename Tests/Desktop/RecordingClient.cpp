#include <fstream>

#include "Desktop/Peers.h"

/// A chat client for the bus to start: it writes what it is asked into a file, a line each, and ends when nothing comes.
int main(int, char** argv) {
    const ChatClient client;
    for (std::size_t place = 0; eventually([&] { return client.calls().size() > place; }); ++place)
        std::ofstream(argv[1], std::ios::app) << client.calls()[place] << '\n' << std::flush;
}
