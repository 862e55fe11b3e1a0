#include "DemoServer/Samples.h"

namespace DemoServer {

namespace {

/// A post by grace in the lobby.
Push lobbyPost(const std::string& number, const std::string& text) {
    return {.ackID = "ack-" + number,
            .postID = "post-" + number,
            .channelID = "channel-lobby",
            .teamID = "team-1",
            .senderID = "user-grace",
            .senderName = "grace",
            .channelName = "Lobby",
            .title = "Lobby",
            .body = "grace: " + text,
            .badge = 2};
}

}  // namespace

std::vector<Sample> samples(Server& server, Server& failing) {
    server.addPost("post-1", {{"message", "Lunch at **noon**? The usual place 🍜"},
                              {"channel_name", "ada"},
                              {"sender_id", "user-ada"},
                              {"sender_name", "ada"}});
    const Push direct{.ackID = "ack-1",
                      .postID = "post-1",
                      .channelID = "channel-ada",
                      .isIDLoaded = true,
                      .body = "You have a new message",
                      .badge = 1};
    Push reply = lobbyPost("2", "It was the clock, of course 🎉👩🏽‍💻");
    reply.rootID = "post-0";
    reply.isCollapsedThreads = true;
    Push webhook = lobbyPost("3", "");
    webhook.overrideUsername = "Build Robot";
    webhook.overrideIconURL = server.url() + "/pictures/build-robot";
    webhook.isFromWebhook = true;
    webhook.body = "Build Robot: 412 tests passed";
    const Push clear{.kind = "clear", .ackID = "ack-4", .channelID = "channel-lobby", .badge = 1};
    Push unsignedPost = lobbyPost("5", "This one is not signed");
    unsignedPost.signature = "NO_SIGNATURE";
    Push forged = lobbyPost("6", "Somebody else signed this one");
    forged.signature = SigningKey().token(forged.ackID, server.options().deviceToken);
    Push unknown = lobbyPost("7", "Nobody signed in to where this comes from");
    unknown.serverID = "nobody-knows";

    return {{server.push(direct),
             "A message whose text the server kept back: the answer to the acknowledgement brought it, and the "
             "sender's picture was fetched."},
            {server.push(reply), "A reply, threads being collapsed: it belongs to its thread, not to its channel."},
            {server.push(webhook), "A webhook's post: it names itself, and its icon comes from where the push says."},
            {server.push(clear), "A clear: acknowledged, and otherwise left as it came; there is no sender to name."},
            {server.push(unsignedPost),
             "The server did not sign: this could come from anybody, so nothing of it is shown."},
            {server.push(forged), "Signed with another key than the server's: refused."},
            {server.push(unknown), "From a server that is not among those signed in to: refused."},
            {failing.push(lobbyPost("8", "Shown all the same")),
             "The server answers the acknowledgement with 500: the push is verified, so its own text is shown."}};
}

}  // namespace DemoServer
