#pragma once

#include <cstddef>
#include <string>

/// The compact JSON of a page of a channel's posts, newest first, as a chat server sends it: keys in its own order,
/// some that the model does not know, replies, reactions, files, links, properties of integrations, and a few messages
/// of the system. No integration has attached anything. The same at every call; a post takes about 790 bytes.
std::string pageOfPosts(std::size_t count = 1000);
