#include <cmath>

#include <gtest/gtest.h>

#include "ChatModel/Post.h"
#include "ChatModel/ServerJSON.h"

// clang-format off: the tables hold several short rows on a line.
using namespace ChatModel;
using A = JSONValue::Array;
using O = JSONValue::Object;

namespace {

A nested(int depth) {
    return depth == 1 ? A() : A(1, nested(depth - 1));  // braces copy it, as clang has them
}

TEST(MessageAttachment, IsReadFromAPostAsIfWrittenOutAndReadBack) {
    const std::pair<JSONValue, std::size_t> rows[] = {
        {A{O{{"title", "t"}}, O{{"title", 1}}}, 2}, {A{O{}, 1}, 0}, {A{O{}, {}}, 0}, {O{}, 0}, {"[]", 0},
        {A{O{{"fields", A{O{{"value", A{-0.0, O{}}}}}}}}, 1}, {A{O{{"actions", A{O{{"type", "x"}}}}}}, 1},
        {A{O{{"x", double{NAN}}}}, 0}, {A{O{}, O{{"x", A{HUGE_VAL}}}}, 0}, {A{O{{"x", O{{"\xFF", 1}}}}}, 0},
        {A{O{{"x", A{"\xFF"}}}}, 0}, {A{O{{"x", nested(510)}}}, 1}, {A{O{{"x", nested(511)}}}, 0}};
    for (int row = 0; const auto& [property, size] : rows) {
        std::vector<MessageAttachment> expected;
        try {
            expected = ServerJSON<MessageAttachment>::decodeList(ServerJSON<JSONValue>::encode(property));
        } catch (const std::exception&) {  // then there are none
        }
        Post post;
        post.props["attachments"] = property;
        EXPECT_TRUE(post.messageAttachments() == expected && expected.size() == size) << row;
        ++row;
    }
    EXPECT_TRUE(Post().messageAttachments().empty());
}

TEST(MessageAttachment, LaysOutShortFieldsInPairs) {
    const MessageAttachment::Field s{"", "", true}, l{};
    using Rows = std::vector<std::vector<MessageAttachment::Field>>;
    for (const Rows& rows : {Rows{{s, s}, {s}}, Rows{{l}, {s, s}}, Rows{{s}, {l}, {s}}, Rows{{l}, {l}}}) {
        MessageAttachment attachment;
        for (const auto& row : rows) attachment.fields.insert(attachment.fields.end(), row.begin(), row.end());
        EXPECT_TRUE(attachment.fieldRows() == rows);
    }
}

}  // namespace
