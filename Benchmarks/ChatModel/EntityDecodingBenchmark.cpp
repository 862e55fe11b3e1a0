#include <memory>
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

using Page = std::shared_ptr<const std::string>;

Comparison::Operation decoding(const Page& page) {
    return [page](benchmark::State& state) {
        for (auto _ : state)
            benchmark::DoNotOptimize(ChatModel::ServerJSON<Post>::decodeList(*page));
    };
}

/// A peer whose posts are not ours does not count.
Comparison::Operation decodingWith(std::vector<Post> decode(std::string_view), const Page& page) {
    const bool isEqual = decode(*page) == ChatModel::ServerJSON<Post>::decodeList(*page);
    return [=](benchmark::State& state) {
        if (!isEqual) return state.SkipWithError("the peer decodes other posts");
        for (auto _ : state)
            benchmark::DoNotOptimize(decode(*page));
    };
}

Comparison::Operation parsingBare(const Page& page) {
    return [page](benchmark::State& state) {
        const simdjson::padded_string padded(*page);
        simdjson::dom::parser parser;
        for (auto _ : state) {
            simdjson::dom::element root;
            if (parser.parse(padded).get(root) != simdjson::SUCCESS) return state.SkipWithError("the page is not JSON");
            benchmark::DoNotOptimize(root);
        }
    };
}

Comparison besideBare(const std::string& count, const Page& page) {
    return {"decoding " + count + " posts", decoding(page),
            "simdjson's DOM parse alone of " + count + ", nothing read out of it", parsingBare(page), 3.0};
}

}  // namespace

int main(int argc, char** argv) {
    const auto pageOf = [](std::size_t count) { return std::make_shared<const std::string>(pageOfPosts(count)); };
    const Page page = pageOf(1'000);
    const auto bare = besideBare("1,000", page);
    return compare(argc, argv,
                   {bare,
                    {bare.what, bare.operation, "RapidJSON with full checks, into the same types",
                     decodingWith(Peers::decodeWithRapidJSON, page), 1 / 2.5},
                    {bare.what, bare.operation, "nlohmann's parse and from_json, into the same types",
                     decodingWith(Peers::decodeWithNlohmann, page), 1 / 8.0}},
                   {{"decoding 100 to 10,000 posts",
                     "simdjson's DOM parse alone",
                     {besideBare("100", pageOf(100)), bare, besideBare("10,000", pageOf(10'000))},
                     1.15}});
}
