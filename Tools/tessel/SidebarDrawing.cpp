#include "tessel/SidebarDrawing.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "Text/Columns.h"

namespace tessel {

using ChatModel::SidebarCategory;
using ChatModel::SidebarChannel;
using ChatModel::SidebarSection;

namespace {

/// A count that is far from its title is hard to match with it.
constexpr std::size_t mostColumns = 60;

std::string nameOf(const SidebarCategory& category) {
    if (!category.displayName.empty()) return category.displayName;
    switch (category.kind) {
        case SidebarCategory::Kind::favorites:
            return "Favourites";
        case SidebarCategory::Kind::channels:
            return "Channels";
        case SidebarCategory::Kind::directMessages:
            return "Direct messages";
        case SidebarCategory::Kind::custom:
            break;
    }
    return "(no name)";
}

/// What one channel, or all of a section's, have to be read.
struct Unread {
    std::size_t channels = 0;
    std::int64_t mentions = 0;

    explicit Unread(const SidebarSection& section) {
        constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
        for (const auto& channel : section.channels) {
            if (channel.isUnread) ++channels;
            const std::int64_t count = std::max<std::int64_t>(channel.mentionCount, 0);
            mentions = count > most - mentions ? most : mentions + count;
        }
    }

    std::string text() const {
        std::string text;
        if (channels > 0) text = std::to_string(channels) + " unread";
        if (mentions > 0) text += ", " + std::to_string(mentions) + (mentions == 1 ? " mention" : " mentions");
        return text;
    }
};

/// A line of the list.
struct Row {
    std::string marks;  ///< what stands in front, drawn as it is
    std::string title;
    Style style = Style::plain;
    std::string remarks = "";  ///< what stands behind it
    std::string count = "";    ///< what stands at the right
};

class Drawing {
public:
    explicit Drawing(const Screen& screen) : screen_(screen), columns_(std::min(screen.columns, mostColumns)) {}

    void add(const SidebarSection& section, std::optional<std::string_view> selectedChannelID) {
        const SidebarCategory& category = section.category;
        add(Row{.marks = category.collapsed ? "▸ " : "▾ ",
                .title = nameOf(category),
                .style = category.muted ? Style::dim : Style::bold,
                .remarks = category.muted ? " (muted)" : "",
                .count = Unread(section).text()});
        const auto visible = section.visibleChannels(selectedChannelID);
        for (const auto* channel : visible)
            add(*channel, channel->channel.id == selectedChannelID);
        if (const std::size_t hidden = section.channels.size() - visible.size(); hidden > 0)
            add(Row{.marks = "    ", .title = std::to_string(hidden) + " more", .style = Style::dim});
    }

    std::string takeText() { return std::move(text_); }

private:
    void add(const SidebarChannel& channel, bool isSelected) {
        const bool isMuted = channel.member.isMuted();
        Row row{.marks = std::string(isSelected ? "> " : "  ") + (channel.isUnread ? "● " : "  "),
                .title = channel.title.empty() ? std::string(channel.channel.id) : channel.title};
        if (isMuted) row.remarks += " (muted)";
        if (channel.isClosed) row.remarks += " (closed)";
        if (channel.mentionCount > 0) row.count = std::to_string(channel.mentionCount);
        if (isSelected)
            row.style = Style::own;
        else if (channel.isUnread)
            row.style = Style::bold;
        else if (isMuted || channel.isClosed)
            row.style = Style::dim;
        add(row);
    }

    void add(const Row& row) {
        constexpr std::size_t gap = 2;
        constexpr std::size_t shortest = 8;  // a line of absurd counts may be too long
        const std::size_t front = Text::columnCount(row.marks);
        const std::size_t fixed =
            front + Text::columnCount(row.remarks) + (row.count.empty() ? 0 : gap + row.count.size());
        const std::string title = cut(row.title, std::max(columns_, fixed + shortest) - fixed);
        const std::size_t used = fixed + Text::columnCount(title);
        text_ += screen_.styled(row.marks + title, row.style) + screen_.styled(row.remarks, Style::dim);
        if (!row.count.empty())
            text_.append(gap + std::max(columns_, used) - used, ' ').append(screen_.styled(row.count, Style::marked));
        text_ += '\n';
    }

    const Screen& screen_;
    std::size_t columns_;
    std::string text_;
};

}  // namespace

std::string drawSidebar(const std::vector<SidebarSection>& sections, std::optional<std::string_view> selectedChannelID,
                        const Screen& screen) {
    if (sections.empty()) return screen.styled("No categories.", Style::dim) + '\n';
    Drawing drawing(screen);
    for (const auto& section : sections)
        drawing.add(section, selectedChannelID);
    return drawing.takeText();
}

}  // namespace tessel
