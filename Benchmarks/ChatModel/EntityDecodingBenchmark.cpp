#include <string>
#include <vector>

#include <simdjson.h>

#include "ChatModel/Post.h"
#include "ChatModel/ServerJSON.h"
#include "Page.h"
#include "Peers.h"
#include "Support/Comparison.h"

// One page of posts from its text to the model's types, and what is decoded is destroyed again.

namespace {

using ChatModel::Post;

const std::string page = pageOfPosts();
const std::vector<Post> posts = ChatModel::ServerJSON<Post>::decodeList(page);

void decode(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(ChatModel::ServerJSON<Post>::decodeList(page));
}

/// A peer whose posts are not ours does not count.
Comparison::Operation decodingWith(std::vector<Post> decode(std::string_view)) {
    const bool isEqual = decode(page) == posts;
    return [decode, isEqual](benchmark::State& state) {
        if (!isEqual) return state.SkipWithError("the peer decodes other posts");
        for (auto _ : state)
            benchmark::DoNotOptimize(decode(page));
    };
}

void parseBare(benchmark::State& state) {
    const simdjson::padded_string padded(page);
    simdjson::dom::parser parser;
    for (auto _ : state) {
        simdjson::dom::element root;
        if (parser.parse(padded).get(root) != simdjson::SUCCESS) return state.SkipWithError("the page is not JSON");
        benchmark::DoNotOptimize(root);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const char* const what = "decoding 1,000 posts";
    return compare(argc, argv,
                   {{what, decode, "simdjson's DOM parse alone, nothing read out of it", parseBare, 3.0},
                    {what, decode, "RapidJSON with full checks, into the same types",
                     decodingWith(Peers::decodeWithRapidJSON), 1 / 2.5},
                    {what, decode, "nlohmann's parse and from_json, into the same types",
                     decodingWith(Peers::decodeWithNlohmann), 1 / 8.0}});
}
