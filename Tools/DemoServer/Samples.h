#pragma once

#include <string>
#include <vector>

#include "DemoServer/Server.h"

namespace DemoServer {

/// A push to try, and in a sentence what becomes of it, and why.
struct Sample {
    std::string payload;  ///< one compact JSON object
    std::string story;
};

/// A push of each sort that a client has to tell apart: of `server`, of one that `failing` stands for, whose
/// acknowledgements fail, and of one that nobody knows. Adds to the servers the posts that the pushes are of.
std::vector<Sample> samples(Server& server, Server& failing);

}  // namespace DemoServer
