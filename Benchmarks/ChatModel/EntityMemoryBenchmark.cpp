#include <cstddef>
#include <iostream>
#include <string>
#include <vector>

#include "ChatModel/Post.h"
#include "ChatModel/ServerJSON.h"
#include "Page.h"
#include "Support/Allocations.h"
#include "Support/Figures.h"

// What a page of posts takes of the heap.

namespace {

using ChatModel::Post;

std::vector<Post> measureMemory(const std::string& page) {
    // The first time the reader makes what it keeps for the next one.
    (void)ChatModel::ServerJSON<Post>::decodeList(page);
    const auto before = Allocations::count();
    auto posts = ChatModel::ServerJSON<Post>::decodeList(page);
    const auto after = Allocations::count();
    const std::size_t held = after.held - before.held;
    Figures::print({"1,000 decoded posts in memory",
                    static_cast<double>(held) / 1024,
                    "their JSON",
                    static_cast<double>(page.size()) / 1024,
                    "KiB",
                    2.0,
                    {}});
    std::cerr << "a post: " << page.size() / posts.size() << " bytes of JSON, "
              << static_cast<double>(after.number - before.number) / static_cast<double>(posts.size())
              << " allocations, " << held / posts.size() << " bytes in memory, " << sizeof(Post)
              << " of them without what its members hold\n";
    return posts;
}

/// How many of the derived facts say that there is something.
int deriveFacts(const Post& post, std::string_view reader) {
    return post.isEdited() + post.isDeleted() + post.isPending() + post.isSystemMessage() + post.isEphemeral() +
           post.isJoinLeaveMessage() + post.isFromWebhook() + post.isNotificationSuppressed() +
           post.excludesFromChannelMessageCount() + post.isIgnoredForReadState(reader) + post.supportsReadReceipts() +
           !post.messageAttachments().empty() + !post.emojiNames().empty() + post.systemEvent().has_value();
}

bool measureDerivedFacts(const std::vector<Post>& posts) {
    const auto reader = posts.front().userID;
    std::size_t ordinary = 0;
    std::size_t allocations = 0;
    for (const auto& post : posts) {
        const std::size_t before = Allocations::count().number;
        if (deriveFacts(post, reader) > 0) continue;
        ++ordinary;
        allocations += Allocations::count().number - before;
    }
    if (ordinary < posts.size() / 2) return false;
    Figures::print({"derived facts of posts that have none",
                    static_cast<double>(allocations),
                    "limit",
                    0,
                    "allocations",
                    1.0,
                    {}});
    return true;
}

}  // namespace

int main() {
    const auto posts = measureMemory(pageOfPosts());
    if (measureDerivedFacts(posts)) return 0;
    std::cerr << "not measured: the derived facts, as the page has too few ordinary posts\n";
    return 1;
}
