#include <algorithm>
#include <array>
#include <iostream>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <re2/re2.h>

#include "Babble.h"
#include "ChatModel/NotificationRules.h"
#include "ChatModel/ServerJSON.h"
#include "Page.h"
#include "Support/Comparison.h"

// Who is notified of a post, and the search for what mentions a user beside RE2's with the same keys in the same texts,
// both made ready before.

namespace {

using namespace ChatModel::NotificationRules;

using ChatModel::Channel;
using ChatModel::ChannelMember;
using ChatModel::Post;
using ChatModel::User;

using Texts = std::vector<std::string>;

const User user = {
    .id = "u1",
    .username = "bob",
    .firstName = "Bob",
    .notifyProps = {{"mention_keys", "bob,deploy,on-call"}, {"first_name", "true"}, {"channel", "true"}}};

const std::vector<Post> posts = ChatModel::ServerJSON<Post>::decodeList(pageOfPosts());

Texts messages() {
    Texts texts;
    for (const auto& post : posts)
        texts.push_back(post.message);
    return texts;
}

std::string repeated(std::string_view piece, std::size_t size) {
    std::string text;
    while (text.size() < size)
        text += piece;
    return text;
}

/// A text and keys that have their syllables in common, so that most words of the text look like a key at first.
struct Babble {
    std::string text;
    std::vector<MentionKey> keys;
};

Babble babble() {
    std::mt19937 random;  // NOLINT(cert-msc51-cpp): the same text each time
    const auto word = [&] { return babbledWord(random); };
    Babble babble;
    while (babble.text.size() < 100'000)
        babble.text += word() + ' ';
    while (babble.keys.size() < 1'000)
        babble.keys.push_back({word() + 'x' + word(), false});
    return babble;
}

/// The same rule for a key's surroundings, and the same case, as one expression for all keys.
std::string expression(const std::vector<MentionKey>& keys) {
    std::string alternatives;
    for (const auto& key : keys)
        alternatives.append(alternatives.empty() ? "" : "|")
            .append(key.caseSensitive ? "(?-i:" : "(?i:")
            .append(RE2::QuoteMeta(key.key))
            .append(")");
    return "(?:^|[^A-Za-z0-9_])(?:" + alternatives + ")(?:\\b|_+\\b)";
}

Comparison beside(const std::string& what, const std::vector<MentionKey>& keys, const Texts& texts) {
    RE2::Options options;
    options.set_max_mem(64 << 20);
    const auto re2 = std::make_shared<RE2>(expression(keys), options);
    const MentionMatcher matcher(keys);
    const bool isAlike = std::all_of(texts.begin(), texts.end(), [&](const std::string& text) {
        return matcher.matches(text) == RE2::PartialMatch(text, *re2);
    });
    return {what,
            [=](benchmark::State& state) {
                for (auto _ : state)
                    for (const auto& text : texts)
                        benchmark::DoNotOptimize(matcher.matches(text));
            },
            "RE2, " + what,
            [=](benchmark::State& state) {
                if (!re2->ok() || !isAlike) return state.SkipWithError("the peer finds other mentions");
                for (auto _ : state)
                    for (const auto& text : texts)
                        benchmark::DoNotOptimize(RE2::PartialMatch(text, *re2));
            },
            1.0};
}

struct Situation {
    Post post;
    Event event;
    Context context;
};

/// An ordinary message in a channel whose user wants to know of all of them; in a group, of mentions alone.
Situation situation(Channel::Kind kind) {
    const auto isOrdinary = [](const Post& post) {
        return post.isRoot() && post.props.empty() && !post.message.empty();
    };
    return {.post = *std::find_if(posts.begin(), posts.end(), isOrdinary),
            .event = {.teamID = "t1", .channelType = "O", .channelDisplayName = "Town Square", .senderName = "ann"},
            .context = {
                .currentUser = user,
                .member = ChannelMember{.notifyProps = {{"desktop", kind == Channel::Kind::group ? "mention" : "all"},
                                                        {"mark_unread", "all"},
                                                        {"push", "default"}}},
                .channel = Channel{.kind = kind, .displayName = "Town Square"},
                .sender = User{.id = "u2", .username = "ann", .firstName = "Ann", .lastName = "Lee"},
                .collapsedThreads = true,
                .focus = {.isAppActive = true, .channelID = "another"}}};
}

Comparison deciding(const std::string& what, Situation situation, double microseconds) {
    return Comparison::limit(
        what,
        [situation = std::move(situation), strings = Strings()](benchmark::State& state) {
            const auto asItStands = [](std::string_view markup) { return std::string(markup); };
            for (auto _ : state)
                benchmark::DoNotOptimize(
                    decide(situation.post, situation.event, situation.context, strings, asItStands));
        },
        microseconds);
}

}  // namespace

int main(int argc, char** argv) {
    auto silenced = situation(Channel::Kind::open);
    silenced.post.userID = user.id;
    const auto keys = mentionKeys(user);
    const auto [text, manyKeys] = babble();
    const auto german = [&](std::size_t kilobytes) {
        return beside("a user's keys in " + std::to_string(kilobytes) + " KB of German", keys,
                      {repeated("Schöne Grüße aus dem Süden, bis später mal über die Brücke. ", kilobytes * 1'000)});
    };
    const std::array<Comparison, 3> germanTexts = {german(10), german(100), german(1'000)};
    return compare(
        argc, argv,
        {deciding("deciding about a post that notifies", situation(Channel::Kind::open), 2),
         deciding("deciding about one's own post", silenced, 2),
         deciding("deciding by a group's text", situation(Channel::Kind::group), 2),
         beside("a user's keys in 1,000 messages", keys, messages()),
         beside("1,000 keys in 100 KB that is much like them", manyKeys, {text}),
         beside("a user's keys in 100 KB of one near-match", keys, {repeated("@bo ", 100'000)}), germanTexts[1],
         beside("a user's keys in 100 KB of Russian", keys, {repeated("привет, как дела сегодня у всех? ", 100'000)})},
        {{"a user's keys in 10 KB to 1 MB", "RE2", germanTexts, 1.15}});
}
