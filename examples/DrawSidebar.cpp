// A sidebar of text: the user's channels in their categories, as a client draws them.
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string_view>
#include <utility>
#include <vector>

#include "ChatModel/ServerJSON.h"
#include "ChatModel/Sidebar.h"

namespace {

namespace Sidebar = ChatModel::Sidebar;
using ChatModel::Channel;
using ChatModel::ChannelMember;
using ChatModel::Preference;
using ChatModel::ServerJSON;
using ChatModel::SidebarCategory;
using ChatModel::SidebarChannel;
using ChatModel::SidebarSection;

/// What the server has sent.
constexpr std::string_view categories = R"([
    {"id":"s1","team_id":"t1","type":"favorites","display_name":"Favourites","sorting":"manual","muted":false,
     "collapsed":false,"channel_ids":["town"]},
    {"id":"s2","team_id":"t1","type":"channels","display_name":"Channels","sorting":"alpha","muted":false,
     "collapsed":true,"channel_ids":["off","build10","build9"]},
    {"id":"s3","team_id":"t1","type":"direct_messages","display_name":"Direct messages","sorting":"recent",
     "muted":false,"collapsed":false,"channel_ids":["bob","eve"]}])";
constexpr std::string_view channels = R"([
    {"id":"town","team_id":"t1","type":"O","name":"town","display_name":"Town Square","purpose":"","header":"",
     "create_at":1,"delete_at":0,"last_post_at":9,"last_root_post_at":9,"total_msg_count":4,"total_msg_count_root":4},
    {"id":"off","team_id":"t1","type":"O","name":"off","display_name":"Off topic","purpose":"","header":"",
     "create_at":1,"delete_at":0,"last_post_at":9,"last_root_post_at":9,"total_msg_count":2,"total_msg_count_root":2},
    {"id":"build10","team_id":"t1","type":"P","name":"b10","display_name":"Build 10","purpose":"","header":"",
     "create_at":1,"delete_at":0,"last_post_at":9,"last_root_post_at":9,"total_msg_count":5,"total_msg_count_root":5},
    {"id":"build9","team_id":"t1","type":"P","name":"b9","display_name":"Build 9","purpose":"","header":"",
     "create_at":1,"delete_at":0,"last_post_at":9,"last_root_post_at":9,"total_msg_count":7,"total_msg_count_root":7},
    {"id":"bob","team_id":"","type":"D","name":"ada__bob","display_name":"","purpose":"","header":"",
     "create_at":1,"delete_at":0,"last_post_at":8,"last_root_post_at":8,"total_msg_count":1,"total_msg_count_root":1},
    {"id":"eve","team_id":"","type":"D","name":"ada__eve","display_name":"","purpose":"","header":"",
     "create_at":1,"delete_at":0,"last_post_at":9,"last_root_post_at":9,"total_msg_count":1,"total_msg_count_root":1}])";
constexpr std::string_view members = R"([
    {"channel_id":"town","last_viewed_at":1,"msg_count":4,"msg_count_root":4,"mention_count":0,
     "mention_count_root":0,"notify_props":{}},
    {"channel_id":"off","last_viewed_at":1,"msg_count":2,"msg_count_root":2,"mention_count":0,
     "mention_count_root":0,"notify_props":{}},
    {"channel_id":"build10","last_viewed_at":1,"msg_count":1,"msg_count_root":1,"mention_count":2,
     "mention_count_root":2,"notify_props":{}},
    {"channel_id":"build9","last_viewed_at":1,"msg_count":3,"msg_count_root":3,"mention_count":0,
     "mention_count_root":0,"notify_props":{}},
    {"channel_id":"bob","last_viewed_at":1,"msg_count":1,"msg_count_root":1,"mention_count":0,
     "mention_count_root":0,"notify_props":{}},
    {"channel_id":"eve","last_viewed_at":1,"msg_count":1,"msg_count_root":1,"mention_count":0,
     "mention_count_root":0,"notify_props":{}}])";
constexpr std::string_view preferences = R"([
    {"category":"direct_channel_show","name":"eve","value":"false"}])";

std::vector<SidebarSection> sections() {
    Sidebar::Input input;
    input.currentUserID = "ada";
    input.categories = ServerJSON<SidebarCategory>::decodeList(categories);
    input.channels = ServerJSON<Channel>::decodeList(channels);
    input.members = ServerJSON<ChannelMember>::decodeList(members);
    input.preferences = ServerJSON<Preference>::decodeList(preferences);
    input.peerNames = {{"bob", "Bob Lee"}, {"eve", "Eve"}};
    return Sidebar::sections(std::move(input), "en");
}

void draw(const std::vector<SidebarSection>& sections, std::string_view selected) {
    for (const SidebarSection& section : sections) {
        std::cout << (section.category.collapsed ? "▸ " : "▾ ") << section.category.displayName << '\n';
        for (const SidebarChannel* row : section.visibleChannels(selected)) {
            std::cout << (row->channel.id == selected ? " → " : "   ") << row->title;
            if (row->isUnread) std::cout << " •";
            if (row->mentionCount > 0) std::cout << ' ' << row->mentionCount;
            std::cout << '\n';
        }
    }
}

void run() {
    const auto drawn = sections();
    draw(drawn, "town");

    // What a key for "the next unread channel" does.
    const auto* next = Sidebar::adjacentChannel(drawn, Sidebar::Direction::next, "town", true);
    if (next != nullptr) std::cout << "next unread: " << next->title << '\n';
}

}  // namespace

int main() {
    try {
        run();
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
