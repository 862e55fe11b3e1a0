#include <set>

#include <gtest/gtest.h>

#include "ChatModel/ReadReceipt.h"

using namespace ChatModel::ReadReceipt;

namespace {

TEST(ReadReceipt, IsMarkedBesideOnesOwnPostsAlone) {
    const std::tuple<std::optional<State>, std::optional<Mark>, bool> rows[] = {  // and whether it answers clicks
        {{}, NoProgress::loading, false}, {Summary{"O", 2, 5}, Progress{2, 5}, true},
        {Summary{"O", 0, 1}, Progress{0, 1}, true}, {Summary{"O", 2, 1}, Progress{2, 1}, true},
        {Summary{"O", 0, 0}, {}, false}, {Summary{"O", 1, -1}, {}, false}, {NoSummary::acknowledged, {}, false},
        {NoSummary::unavailable, {}, false}, {NoSummary::failed, NoProgress::failed, true}};
    std::set<std::size_t> stateHashes, markHashes;
    for (const auto& [state, expected, isClickable] : rows) {
        SCOPED_TRACE(stateHashes.size());
        const auto drawn = mark(state, true);
        EXPECT_TRUE(drawn == expected && !mark(state, false));
        EXPECT_EQ(drawn && isInteractive(*drawn), isClickable);
        EXPECT_TRUE(stateHashes.insert(std::hash<std::optional<State>>()(state)).second);
        EXPECT_TRUE(!drawn || markHashes.insert(std::hash<Mark>()(*drawn)).second);
    }
}

}  // namespace
