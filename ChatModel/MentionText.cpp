#include "ChatModel/MentionText.h"

#include "ChatModel/Words.h"

namespace ChatModel::NotificationRules {

std::string mentionText(const Post& post, PlainText plainText) {
    std::string text = post.message;
    const auto append = [&](const std::string& piece) {
        if (!piece.empty()) text.append("\n").append(piece);
    };
    for (const auto& attachment : post.messageAttachments()) {
        for (const std::string* piece : {&attachment.pretext, &attachment.title, &attachment.text, &attachment.footer})
            append(*piece);
        for (const auto& field : attachment.fields) {
            append(field.title);
            append(field.value);
        }
    }
    return withoutEmojiCodes(plainText(text));
}

std::string withoutEmojiCodes(std::string_view text) {
    Words words(text);
    std::string rest;
    std::size_t kept = 0;
    std::size_t colon = text.find(':');
    while (colon != std::string_view::npos) {
        const std::size_t name = colon + 1;
        const std::size_t end = endOfEmojiName(text, name);
        const bool isCode = end > name && end < text.size() && text[end] == ':' && !words.hasCharacterBefore(colon) &&
                            words.characters().standsAlone(colon) && words.characters().standsAlone(end) &&
                            !words.hasCharacterAt(end + 1);
        if (isCode) {
            rest += text.substr(kept, colon - kept);
            kept = end + 1;
        }
        // The colon behind what is no code may open one.
        colon = text.find(':', isCode ? kept : end);
    }
    return rest += text.substr(kept);
}

}  // namespace ChatModel::NotificationRules
