#include "Page.h"

#include <array>
#include <cstdint>
#include <optional>
#include <random>
#include <string_view>
#include <vector>

#include "Foundation/JSONWriter.h"

namespace {

constexpr std::array<std::string_view, 48> words = {"the",
                                                    "release",
                                                    "is",
                                                    "on",
                                                    "staging",
                                                    "and",
                                                    "we",
                                                    "should",
                                                    "look",
                                                    "at",
                                                    "a",
                                                    "query",
                                                    "that",
                                                    "takes",
                                                    "longer",
                                                    "than",
                                                    "before",
                                                    "can",
                                                    "someone",
                                                    "review",
                                                    "this",
                                                    "please",
                                                    "I",
                                                    "will",
                                                    "merge",
                                                    "it",
                                                    "after",
                                                    "lunch",
                                                    "thanks",
                                                    "note:",
                                                    "customer",
                                                    "reports",
                                                    "error",
                                                    "500",
                                                    "when",
                                                    "they",
                                                    "upload",
                                                    "at 10:30",
                                                    "pictures",
                                                    "(again)",
                                                    "@anna",
                                                    "\"done\"",
                                                    "~town-square",
                                                    "`make`",
                                                    "**today**",
                                                    "tomorrow",
                                                    "https://wiki.example.com/runbook",
                                                    "ok"};

constexpr std::array<std::string_view, 10> foreignWords = {"schön",   "naïve",      "Grüße",  "déjà", "Привет",
                                                           "спасибо", "ありがとう", "日本語", "🎉",    "👍🏽"};

constexpr std::array<std::string_view, 8> emojiNames = {
    "+1", "tada", "eyes", "white_check_mark", "joy", "rocket", "heavy_check_mark", "party-parrot"};

constexpr std::int64_t newest = 1'700'000'000'000;

class Writer {
public:
    explicit Writer(std::size_t count) : count_(count) {
        for (auto& user : users_)
            user = identifier();
    }

    std::string page() {
        json_.beginArray();
        for (std::size_t i = 0; i < count_; ++i)
            writePost(newest - static_cast<std::int64_t>(i) * 41'000 - below(40'000));
        json_.endArray();
        return std::move(json_).text();
    }

private:
    struct Shape {
        bool isSystemMessage = false;
        bool isReply = false;
        std::int64_t replyCount = 0;
        std::int64_t reactionCount = 0;
    };

    /// The standard fixes what the engine gives, but not what its distributions make of it.
    std::int64_t below(std::int64_t limit) { return static_cast<std::int64_t>(random_() % limit); }
    bool isOneIn(std::int64_t count) { return below(count) == 0; }

    template <std::size_t size>
    std::string_view oneOf(const std::array<std::string_view, size>& texts) {
        return texts[static_cast<std::size_t>(below(size))];
    }

    std::string identifier() {
        std::string text(26, ' ');
        for (char& character : text)
            character = "0123456789abcdefghijklmnopqrstuvwxyz"[below(36)];
        return text;
    }

    const std::string& user() { return users_[static_cast<std::size_t>(below(users_.size()))]; }

    std::string words(std::int64_t length, bool isForeign = false, bool hasLines = false) {
        std::string text;
        while (static_cast<std::int64_t>(text.size()) < length) {
            if (!text.empty()) text += hasLines && isOneIn(8) ? '\n' : ' ';
            text += isForeign && isOneIn(3) ? oneOf(foreignWords) : oneOf(::words);
        }
        return text;
    }

    /// From 20 bytes to somewhat over 400, most of them short.
    std::string message() {
        std::string text = words(20 + std::min(below(380), below(380)), isOneIn(6), isOneIn(4));
        if (isOneIn(20)) text.append(" :").append(oneOf(emojiNames)).append(":");
        return text;
    }

    void writePost(std::int64_t time) {
        const std::string id = identifier();
        Shape shape;
        shape.isSystemMessage = isOneIn(40);
        shape.isReply = !shape.isSystemMessage && isOneIn(3);
        if (!shape.isSystemMessage && !shape.isReply && isOneIn(4)) shape.replyCount = 1 + below(20);
        if (!shape.isSystemMessage && isOneIn(5)) shape.reactionCount = 1 + below(5);
        const bool isEdited = isOneIn(12);

        json_.beginObject();
        json_.key("id").value(id).key("create_at").value(time).key("update_at").value(time + below(3) * 60'000);
        json_.key("edit_at").value(isEdited ? time + 60'000 : std::int64_t{0}).key("delete_at").value(std::int64_t{0});
        json_.key("is_pinned").value(isOneIn(100)).key("user_id").value(user()).key("channel_id").value(channel_);
        json_.key("root_id").value(shape.isReply ? identifier() : "").key("original_id").value("");
        json_.key("message").value(shape.isSystemMessage ? "someone joined the channel." : message());
        json_.key("type").value(shape.isSystemMessage ? "system_join_channel" : "");
        writeProps(shape);
        json_.key("hashtags").value("").key("pending_post_id").value("");
        if (shape.reactionCount > 0) json_.key("has_reactions").value(true);
        json_.key("reply_count").value(shape.replyCount);
        json_.key("last_reply_at").value(shape.replyCount > 0 ? time + 90'000 : std::int64_t{0});
        writeParticipants(shape);
        writeMetadata(shape, id, time);
        json_.endObject();
    }

    void writeProps(const Shape& shape) {
        json_.key("props").beginObject();
        if (shape.isSystemMessage) {
            json_.key("username").value("someone");
        } else if (isOneIn(6)) {
            json_.key("disable_group_highlight").value(true);
        } else if (isOneIn(8)) {
            json_.key("from_webhook").value("true").key("override_username").value("build server");
            json_.key("override_icon_url").value("https://ci.example.com/icon.png");
        } else if (isOneIn(20)) {
            json_.key("build").beginObject().key("number").value(below(10'000)).key("passed").value(isOneIn(2));
            json_.key("duration").value(static_cast<double>(below(10'000)) / 16).key("parent").null();
            json_.key("labels").beginArray().value("nightly").value("linux").endArray().endObject();
        }
        json_.endObject();
    }

    void writeParticipants(const Shape& shape) {
        if (shape.replyCount == 0) {
            json_.key("participants").null();
            return;
        }
        const std::int64_t count = 1 + below(std::min<std::int64_t>(shape.replyCount, 4));
        const bool areObjects = isOneIn(2);
        json_.key(areObjects ? "participants" : "participant_ids").beginArray();
        for (std::int64_t i = 0; i < count; ++i)
            areObjects ? json_.beginObject().key("id").value(user()).endObject() : json_.value(user());
        json_.endArray().key("is_following").value(isOneIn(2));
    }

    void writeMetadata(const Shape& shape, const std::string& postID, std::int64_t time) {
        json_.key("metadata").beginObject();
        if (isOneIn(10)) writeLink(isOneIn(3));
        if (isOneIn(10)) writeFiles(postID, time);
        if (shape.reactionCount > 0) {
            json_.key("reactions").beginArray();
            for (std::int64_t i = 0; i < shape.reactionCount; ++i) {
                const std::int64_t at = time + below(100'000);
                json_.beginObject().key("user_id").value(user()).key("post_id").value(postID);
                json_.key("emoji_name").value(oneOf(emojiNames)).key("create_at").value(at).key("update_at").value(at);
                json_.key("delete_at").value(std::int64_t{0}).endObject();
            }
            json_.endArray();
        }
        if (isOneIn(30)) {
            json_.key("emojis").beginArray().beginObject().key("id").value(identifier()).key("create_at").value(time);
            json_.key("update_at").value(time).key("delete_at").value(std::int64_t{0});
            json_.key("creator_id").value(user()).key("name").value("party-parrot").endObject().endArray();
        }
        json_.endObject();
    }

    void writeLink(bool isBare) {
        const std::string page = "https://news.example.com/" + identifier();
        const std::string picture = page + "/lead.jpg";
        json_.key("embeds").beginArray().beginObject().key("type").value(isBare ? "link" : "opengraph");
        json_.key("url").value(page);
        if (!isBare) {
            json_.key("data").beginObject().key("type").value("website").key("url").value(page);
            json_.key("title").value(words(40)).key("description").value(words(120)).key("site_name").value("News");
            json_.key("images").beginArray().beginObject().key("url").value(picture).key("secure_url").value(picture);
            json_.key("type").value("").key("width").value(std::int64_t{0}).key("height").value(std::int64_t{0});
            json_.endObject().endArray().endObject();
        }
        json_.endObject().endArray();
        if (!isBare) {
            json_.key("images").beginObject().key(picture).beginObject().key("width").value(std::int64_t{1200});
            json_.key("height").value(std::int64_t{630}).key("format").value("jpeg");
            json_.key("frame_count").value(std::int64_t{0}).endObject().endObject();
        }
    }

    void writeFiles(const std::string& postID, std::int64_t time) {
        json_.key("files").beginArray();
        for (std::int64_t i = below(2); i >= 0; --i) {
            const bool isPicture = isOneIn(2);
            json_.beginObject().key("id").value(identifier()).key("user_id").value(user());
            json_.key("post_id").value(postID).key("create_at").value(time).key("delete_at").value(std::int64_t{0});
            json_.key("name").value(isPicture ? "screenshot 2.png" : "minutes of the meeting.pdf");
            json_.key("extension").value(isPicture ? "png" : "pdf").key("size").value(1000 + below(4'000'000));
            json_.key("mime_type").value(isPicture ? "image/png" : "application/pdf");
            if (isPicture) json_.key("width").value(200 + below(2000)).key("height").value(200 + below(2000));
            json_.key("has_preview_image").value(isPicture).key("mini_preview").null().endObject();
        }
        json_.endArray();
    }

    const std::size_t count_;
    std::mt19937_64 random_{1};
    std::array<std::string, 40> users_;
    const std::string channel_ = identifier();
    Foundation::JSONWriter json_;
};

}  // namespace

std::string pageOfPosts(std::size_t count) {
    return Writer(count).page();
}
