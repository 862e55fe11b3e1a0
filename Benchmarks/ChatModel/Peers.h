#pragma once

#include <string_view>
#include <vector>

#include "ChatModel/Post.h"

/// Other ways to decode a JSON array of posts, as strict as the model's own: required keys, kinds, integers that are
/// exact, UTF-8, and all that is passed over is well-formed. They throw where anything is not. But they nest without a
/// limit, and of equal keys, which a page does not have, RapidJSON's first one counts.
namespace Peers {

/// RapidJSON's document with all checks, then what it holds into the model's types.
std::vector<ChatModel::Post> decodeWithRapidJSON(std::string_view json);

/// nlohmann's `parse`, then its `from_json`.
std::vector<ChatModel::Post> decodeWithNlohmann(std::string_view json);

}  // namespace Peers
