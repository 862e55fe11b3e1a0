#include "Desktop/Notification.h"

#include <algorithm>
#include <cstddef>

#include "Desktop/BusText.h"
#include "Foundation/UTF8.h"
#include "Text/Characters.h"

namespace Desktop {

using ChatModel::PushPayload;
using Kind = PushPayload::Kind;

namespace {

constexpr std::string_view applicationName = "Tessel";
constexpr std::size_t longestLine = 200;  // in characters

/// In bytes: families of emoji have thirty, and what has more is a heap of accents.
constexpr std::size_t longestCharacter = 256;

/// The text's first characters, and "…" where there are more.
std::string_view firstCharacters(std::string_view text, std::size_t count) {
    std::size_t end = 0;
    while (end < text.size() && count-- > 0) {
        const std::size_t next = Text::characterAt(text, end, Text::Case::sensitive).end;
        if (next - end > longestCharacter) break;
        end = next;
    }
    return text.substr(0, end);
}

/// U+2400 and the following are pictures of the control characters.
void appendPicture(std::string& text, char control) {
    constexpr char delete_ = 0x7F;
    text += "\xE2\x90";
    text += control == delete_ ? '\xA1' : static_cast<char>('\x80' + control);
}

bool isControl(char byte) {
    return (static_cast<unsigned char>(byte) < 0x20) || byte == 0x7F;
}

/// U+0080 to U+009F: some terminals take them for escapes.
bool isSecondControl(std::string_view text) {
    return text.size() >= 2 && text[0] == '\xC2' && static_cast<unsigned char>(text[1]) < 0xA0;
}

/// U+2028 and U+2029, which end lines and paragraphs.
bool isLineSeparator(std::string_view text) {
    return text.starts_with("\u2028") || text.starts_with("\u2029");
}

std::string withoutControls(std::string_view text, bool keepsLines) {
    std::string shown;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char byte = text[i];
        const bool isSeparator = isLineSeparator(text.substr(i));
        const bool isLineEnd = byte == '\n' || byte == '\r' || isSeparator;
        if (isSeparator) i += 2;
        if (byte == '\r' && text.substr(i).starts_with("\r\n")) continue;
        if (isLineEnd || byte == '\t')
            shown += keepsLines && isLineEnd ? '\n' : ' ';
        else if (isControl(byte))
            appendPicture(shown, byte);
        else if (isSecondControl(text.substr(i)))
            shown += "\uFFFD", ++i;
        else
            shown += byte;
    }
    return shown;
}

std::string cut(std::string_view text, std::size_t count, bool keepsLines) {
    const std::string whole = Foundation::repairedUTF8(text);
    const std::string_view first = firstCharacters(whole, count);
    std::string shown = busText(withoutControls(first, keepsLines));
    if (first.size() < whole.size()) shown += "…";
    return shown;
}

std::string escaped(std::string_view text) {
    std::string markup;
    for (const char byte : text)
        switch (byte) {
            case '&':
                markup += "&amp;";
                break;
            case '<':
                markup += "&lt;";
                break;
            case '>':
                markup += "&gt;";
                break;
            case '"':
                markup += "&quot;";
                break;
            case '\'':
                markup += "&#39;";
                break;
            default:
                markup += byte;
        }
    return markup;
}

/// "aps"."interruption-level": what the server says of how much the user is to be disturbed.
Notification::Urgency urgencyOf(const Delivery& delivery) {
    const auto* aps = Foundation::find(delivery.content.userInfo, "aps");
    const auto* texts = aps == nullptr ? nullptr : aps->dictionary();
    const std::string level = texts == nullptr ? "" : Foundation::textOrEmpty(*texts, "interruption-level");
    if (level == "passive") return Notification::Urgency::low;
    if (level == "critical" && delivery.isVerified) return Notification::Urgency::critical;
    return Notification::Urgency::normal;
}

std::string_view summaryOf(const Delivery& delivery) {
    if (delivery.sender && !delivery.sender->displayName.empty()) return delivery.sender->displayName;
    if (!delivery.content.title.empty()) return delivery.content.title;
    return applicationName;
}

std::string bodyOf(const UserNotifications::UNMutableNotificationContent& content) {
    if (content.subtitle.empty() || content.body.empty()) return content.subtitle + content.body;
    return content.subtitle + '\n' + content.body;
}

}  // namespace

std::string shownOnOneLine(std::string_view text) {
    return cut(text, longestLine, false);
}

std::string shownAsBody(std::string_view text, bool hasMarkup, std::size_t longest) {
    const std::string shown = cut(text, longest, true);
    return hasMarkup ? escaped(shown) : shown;
}

Abilities Abilities::of(const std::vector<std::string>& capabilities) {
    const auto has = [&](std::string_view name) {
        return std::find(capabilities.begin(), capabilities.end(), name) != capabilities.end();
    };
    return {has("actions"), has("body-markup"), has("inline-reply"), has("persistence")};
}

std::optional<Notification> Notification::of(const Delivery& delivery, const Abilities& abilities, const Texts& texts) {
    const auto& [content, sender, push, isVerified] = delivery;
    if (push && (push->kind == Kind::clear || push->kind == Kind::updateBadge)) return std::nullopt;
    if (content.title.empty() && content.subtitle.empty() && content.body.empty()) return std::nullopt;

    Notification notification;
    notification.summary = shownOnOneLine(summaryOf(delivery));
    notification.body = shownAsBody(bodyOf(content), abilities.hasMarkup);
    if (sender && sender->image) notification.picture = Picture::decode(*sender->image);
    notification.urgency = urgencyOf(delivery);
    notification.isSilent = !content.sound;
    if (!abilities.hasActions) return notification;
    if (push) notification.actions.emplace_back(openKey, texts.open);
    if (push && content.categoryIdentifier == PushPayload::replyCategory)
        notification.actions.emplace_back(abilities.hasInlineReply ? inlineReplyKey : PushPayload::replyAction,
                                          texts.reply);
    return notification;
}

Notification Notification::error(std::string_view summary, std::string_view text, const Abilities& abilities) {
    Notification notification;
    notification.summary = shownOnOneLine(summary);
    notification.body = shownAsBody(text, abilities.hasMarkup, std::string_view::npos);
    notification.urgency = Urgency::critical;
    notification.isError = true;
    return notification;
}

}  // namespace Desktop
