#include <cstddef>
#include <cstdlib>
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include <malloc.h>

#include "ChatModel/Post.h"
#include "ChatModel/ServerJSON.h"
#include "Page.h"
#include "Support/Figures.h"

// What a page of posts takes of the heap. A program of its own: the counting would cost those that measure time.

namespace {

/// Since the program began; it has one thread.
std::size_t bytesHeld = 0;
std::size_t allocationCount = 0;

}  // namespace

void* operator new(std::size_t size) {
    void* const memory = std::malloc(size);
    if (memory == nullptr) throw std::bad_alloc();
    // More than was asked for, which is what the process pays.
    bytesHeld += ::malloc_usable_size(memory);
    ++allocationCount;
    return memory;
}

void operator delete(void* memory) noexcept {
    bytesHeld -= ::malloc_usable_size(memory);
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    operator delete(memory);
}

namespace {

using ChatModel::Post;

std::vector<Post> measureMemory(const std::string& page) {
    // The first time the reader makes what it keeps for the next one.
    (void)ChatModel::ServerJSON<Post>::decodeList(page);
    const std::size_t before = bytesHeld;
    auto posts = ChatModel::ServerJSON<Post>::decodeList(page);
    Figures::print({"1,000 decoded posts in memory", static_cast<double>(bytesHeld - before) / 1024, "their JSON",
                    static_cast<double>(page.size()) / 1024, "KiB", 2.0});
    std::cerr << "a post: " << page.size() / posts.size() << " bytes of JSON, " << (bytesHeld - before) / posts.size()
              << " in memory, " << sizeof(Post) << " of them without what its members hold\n";
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
    const std::string reader = posts.front().userID;
    std::size_t ordinary = 0;
    std::size_t allocations = 0;
    for (const auto& post : posts) {
        const std::size_t before = allocationCount;
        if (deriveFacts(post, reader) > 0) continue;
        ++ordinary;
        allocations += allocationCount - before;
    }
    if (ordinary < posts.size() / 2) return false;
    Figures::print(
        {"derived facts of posts that have none", static_cast<double>(allocations), "limit", 0, "allocations", 1.0});
    return true;
}

}  // namespace

int main() {
    const auto posts = measureMemory(pageOfPosts());
    if (measureDerivedFacts(posts)) return 0;
    std::cerr << "not measured: the derived facts, as the page has too few ordinary posts\n";
    return 1;
}
