#include "ExtensionHost/Card.h"

#include <algorithm>
#include <string_view>

#include "Foundation/UTF8.h"

namespace ExtensionHost {

namespace {

/// The text in the frame, each of its lines on one of its own.
void appendLines(std::string& card, std::string_view mark, std::string_view text) {
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        card.append("│ ").append(mark).append(Foundation::printable(text.substr(0, end))).append("\n");
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

void appendPart(std::string& line, std::string_view part) {
    if (part.empty()) return;
    if (!line.empty()) line += " · ";
    line += part;
}

}  // namespace

std::string card(const UserNotifications::UNNotificationContent& content, const std::string& heading) {
    std::string card = "╭─ " + Foundation::printable(heading) + "\n";
    if (content.intent()) {
        const auto& sender = content.intent()->sender;
        std::string person = sender.displayName;
        if (sender.image) person += " (picture of " + std::to_string(sender.image->imageData.size()) + " bytes)";
        appendLines(card, "● ", person);
        // The person is named by the title, where there is one: it need not be told twice.
        if (content.title() != sender.displayName) appendLines(card, "", content.title());
    } else {
        appendLines(card, "", content.title());
    }
    appendLines(card, "", content.subtitle());
    appendLines(card, "", content.body());

    std::string details;
    if (!content.threadIdentifier().empty()) appendPart(details, "thread " + content.threadIdentifier());
    if (!content.categoryIdentifier().empty()) appendPart(details, "category " + content.categoryIdentifier());
    if (content.badge()) appendPart(details, "badge " + std::to_string(*content.badge()));
    if (content.sound()) appendPart(details, "sound " + *content.sound());
    return card + (details.empty() ? "╰─" : "╰─ " + Foundation::printable(details)) + "\n";
}

}  // namespace ExtensionHost
