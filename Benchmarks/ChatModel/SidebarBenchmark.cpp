#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include <unicode/ucol.h>
#include <unicode/ustring.h>

#include "Babble.h"
#include "ChatModel/Sidebar.h"
#include "Support/Comparison.h"

// The sidebar's sections beside what their order alone takes: ICU's sort keys of the same titles are made and sorted.

namespace {

using ChatModel::Channel;
using ChatModel::SidebarSection;
using ChatModel::Sidebar::Input;

/// A sidebar of one category, which is sorted by title: of four channels each three are open and one is direct, with a
/// title from the peers' names. Every eighth is muted, every fifth conversation closed. The server lists channels,
/// memberships and the category's channels each in an order of its own.
Input inputOf(std::size_t count) {
    std::mt19937 random;  // NOLINT(cert-msc51-cpp): the same sidebar each time
    const auto word = [&] {
        std::string made = babbledWord(random);
        made.front() = static_cast<char>(made.front() - 'a' + 'A');
        return made;
    };
    const auto identifier = [&] {
        constexpr std::string_view letters = "ybndrfg8ejkmcpqxot1uwisza345h769";
        std::string made(26, ' ');
        std::generate(made.begin(), made.end(), [&] { return letters[random() % letters.size()]; });
        return made;
    };
    Input input;
    input.currentUserID = identifier();
    input.collapsedThreads = true;
    auto& category = input.categories.emplace_back();
    for (std::size_t i = 0; i < count; ++i) {
        const std::string title = word() + ' ' + word();
        auto& channel = input.channels.emplace_back();
        channel.id = identifier();
        channel.totalMsgCountRoot = 9;
        if (i % 4 == 3) {
            const std::string peer = identifier();
            channel.kind = Channel::Kind::direct;
            channel.name = std::string(input.currentUserID) + "__" + peer;
            input.peerNames[peer] = title;
            input.preferences.push_back({"direct_channel_show", peer, i % 20 == 19 ? "false" : "true"});
        } else {
            channel.teamID = identifier();
            channel.name = identifier();
            channel.displayName = title + ' ' + (i % 2 == 0 ? word() : std::to_string(random() % 100));
        }
        category.channelIDs.push_back(channel.id);
        auto& member = input.members.emplace_back();
        member.channelID = channel.id;
        member.msgCountRoot = static_cast<std::int64_t>(8 + i % 2);
        member.notifyProps = {
            {"desktop", "default"}, {"mark_unread", i % 8 == 0 ? "mention" : "all"}, {"push", "default"}};
    }
    std::shuffle(input.members.begin(), input.members.end(), random);
    std::shuffle(category.channelIDs.begin(), category.channelIDs.end(), random);
    return input;
}

/// An input that is lent to each round and taken back after it, while the clock stands still. Were it copied for each,
/// what freeing the last copy has left to the allocator would be paid for by whoever allocates next.
class Lender {
public:
    /// Copied, the records lie in memory as they follow each other, as they do when they have been decoded.
    explicit Lender(const Input& input) : input_(input), rest_(input) {
        rest_.channels.clear();
        rest_.members.clear();
        for (std::size_t i = 0; i < input_.channels.size(); ++i) {
            channels_[input_.channels[i].id] = i;
            members_[input_.members[i].channelID] = i;
        }
    }

    std::vector<std::string> titles() const {
        std::vector<std::string> titles;
        for (const auto& channel : input_.channels)
            titles.push_back(channel.title(input_.currentUserID, input_.peerNames));
        return titles;
    }

    Input lend() {
        Input lent = rest_;
        std::swap(lent, input_);
        return lent;
    }

    /// Whether nothing is missing.
    bool takeBack(std::vector<SidebarSection> sections) {
        auto& rows = sections.front().channels;
        input_.channels.resize(rows.size());
        input_.members.resize(rows.size());
        for (auto& row : rows) {
            const std::size_t channel = channels_.at(row.channel.id), member = members_.at(row.member.channelID);
            input_.channels[channel] = std::move(row.channel);
            input_.members[member] = std::move(row.member);
        }
        return rows.size() == channels_.size();
    }

private:
    Input input_;
    Input rest_;  ///< all but channels and memberships
    std::unordered_map<ChatModel::Identifier, std::size_t> channels_,
        members_;  ///< where each stood, by its identifier
};

/// The titles in the order of their sort keys.
std::vector<std::string_view> sorted(const std::vector<std::string>& titles) {
    UErrorCode error = U_ZERO_ERROR;
    const std::unique_ptr<UCollator, decltype(&ucol_close)> collator(ucol_open("en", &error), ucol_close);
    ucol_setAttribute(collator.get(), UCOL_STRENGTH, UCOL_SECONDARY, &error);
    ucol_setAttribute(collator.get(), UCOL_NUMERIC_COLLATION, UCOL_ON, &error);
    std::vector<std::pair<std::string, std::string_view>> keys;
    keys.reserve(titles.size());
    for (const auto& title : titles) {
        std::array<char16_t, 128> utf16;
        std::array<std::uint8_t, 256> key;
        std::int32_t size = 0;
        u_strFromUTF8(utf16.data(), utf16.size(), &size, title.data(), static_cast<std::int32_t>(title.size()), &error);
        size = ucol_getSortKey(collator.get(), utf16.data(), size, key.data(), key.size());
        keys.emplace_back(std::string(key.begin(), key.begin() + size), title);
    }
    std::sort(keys.begin(), keys.end());
    std::vector<std::string_view> sorted;
    sorted.reserve(keys.size());
    for (const auto& [key, title] : keys)
        sorted.push_back(title);
    return sorted;
}

Comparison sidebarOf(std::size_t count, const std::string& what) {
    const auto lender = std::make_shared<Lender>(inputOf(count));
    return {"the sidebar of " + what,
            [=](benchmark::State& state) {
                for (auto _ : state) {
                    state.PauseTiming();
                    auto input = lender->lend();
                    state.ResumeTiming();
                    auto sections = ChatModel::Sidebar::sections(std::move(input), "en");
                    state.PauseTiming();
                    if (!lender->takeBack(std::move(sections))) state.SkipWithError("channels are missing");
                    state.ResumeTiming();
                }
            },
            "sort keys of " + what,
            [titles = lender->titles()](benchmark::State& state) {
                for (auto _ : state)
                    benchmark::DoNotOptimize(sorted(titles));
            },
            1.5};
}

}  // namespace

int main(int argc, char** argv) {
    const std::array<Comparison, 3> sidebars = {sidebarOf(100, "100 channels"), sidebarOf(1'000, "1,000 channels"),
                                                sidebarOf(10'000, "10,000 channels")};
    return compare(argc, argv, {sidebars.begin(), sidebars.end()},
                   {{"the sidebar of 100 to 10,000 channels", "sort keys of the titles", sidebars, 1.15}});
}
