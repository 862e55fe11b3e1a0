#include "Tools/ProgramFixture.h"

// The real extension and servers that mean harm: the text is delivered, the token stays at home, memory is bounded.

using namespace std::chrono_literals;
using namespace DemoServer;

namespace {

/// What is lost to it: an endpoint's answer, the time, or whole connections.
enum class Harm { none, answer, time, connection };

struct Row {
    const char* name;
    Harm harm;
    Behavior behavior{};
    std::optional<Certificate> certificate{};
    std::optional<DropStage> drop{};
};

using HostileServerTest = ProgramTest;

TEST_F(HostileServerTest, CostsNeitherTheTextNorTheTokenNorMemory) {
    const Authority authority;
    Support::writeFile(directory / "authority.pem", authority.pem());
    environment["SSL_CERT_FILE"] = directory / "authority.pem";
    const auto onLocalhost = [](std::string url) { return url.replace(url.find("127.0.0.1"), 9, "localhost"); };
    const auto good = authority.issue();
    Server bystander;
    const std::string away = bystander.url() + "/x";
    const auto redirect = [](const std::string& to) { return Behavior{.status = 307, .location = to}; };
    const Row rows[] = {
        {"no harm", Harm::none, {}, good}, {"1 GB", Harm::answer, {.declaredSize = 1U << 30}},
        {"endless", Harm::answer, {.isEndless = true}, good}, {"endless head", Harm::answer, {.hasEndlessHead = true}},
        {"slow drip", Harm::time, {.dripInterval = 50ms}}, {"redirect loop", Harm::answer, redirect("?again")},
        {"redirect to another port", Harm::answer, redirect(away)},
        {"redirect to another host", Harm::answer, redirect(onLocalhost(away))},
        {"redirect out of TLS", Harm::answer, redirect(away), good},
        {"dropped without an answer", Harm::answer, {.dropAfter = 0}},
        {"dropped in the head", Harm::answer, {.dropAfter = 20}},
        {"dropped in 1 GB", Harm::answer, {.declaredSize = 1U << 30, .dropAfter = 100'000}},
        {"dropped when accepted", Harm::connection, {}, {}, DropStage::accepted},
        {"dropped before the handshake", Harm::connection, {}, good, DropStage::accepted},
        {"dropped behind the handshake", Harm::connection, {}, good, DropStage::secured},
        {"wrong name", Harm::connection, {}, authority.issue({.names = {"chat.example"}})},
        {"unknown authority", Harm::connection, {}, Authority().issue()},
        {"expired", Harm::connection, {}, authority.issue({.notAfter = -1s})}};
    signIn();
    for (const auto& row : rows) {
        Server hostile({.serverID = row.name, .certificate = row.certificate});
        hostile.setDrop(row.drop);
        signIn(hostile);
        for (const auto endpoint : {Endpoint::acknowledgement, Endpoint::userPicture, Endpoint::publicPicture}) {
            // Connections to the push's own server are lost to the acknowledgement already.
            if (endpoint == Endpoint::userPicture && row.harm == Harm::connection) continue;
            SCOPED_TRACE(row.name + (", endpoint " + std::to_string(static_cast<int>(endpoint))));
            const bool isElsewhere = endpoint == Endpoint::publicPicture;
            const std::string icon = isElsewhere ? onLocalhost(hostile.url()) + "/pictures/icon" : "";
            hostile.setBehavior(endpoint, row.behavior);
            for (auto* each : {&hostile, &bystander}) each->forgetRequests();
            const auto payload = (isElsewhere ? server : hostile).push(
                {.postID = "p", .senderID = "a", .overrideIconURL = icon, .isIDLoaded = true, .body = "A message"});
            const auto outcome = tessel({"push", "--time-limit", row.harm == Harm::time ? "0.5" : "30"}, payload);
            hostile.setBehavior(endpoint, {});

            EXPECT_EQ(outcome.status, 0);
            const auto lines = outcome.lines();
            ASSERT_EQ(lines.size(), 1U);
            EXPECT_EQ(Foundation::textOrEmpty(lines[0], "delivery"), row.harm == Harm::time ? "expired" : "completed");
            const bool isHarmed = row.harm != Harm::none, isAcknowledgement = endpoint == Endpoint::acknowledgement;
            EXPECT_EQ(contentText(lines[0], "body"), isHarmed && isAcknowledgement ? "A message" : "The text of p");
            const auto* const intent = lines[0].at("content").dictionary()->at("intent").dictionary();
            EXPECT_EQ(intent == nullptr, row.harm == Harm::time);
            EXPECT_EQ(intent && intent->at("sender").dictionary()->at("imageBytes").integer(),
                      !isHarmed || (isAcknowledgement && row.harm == Harm::answer));
            EXPECT_EQ(hostile.received().empty(), row.harm == Harm::connection);
            EXPECT_EQ(bystander.received().size(), row.behavior.location.starts_with("http") ? 1U : 0U);
            for (const auto* other : {&bystander, isElsewhere ? &hostile : &bystander})
                for (const auto& request : other->received())
                    EXPECT_THAT(request.headers, testing::Not(testing::Contains(testing::Key("authorization"))));
            EXPECT_THAT(outcome.errors, testing::Not(testing::ContainsRegex("demo-session-token|A message|The text")));
            EXPECT_LE(outcome.peak, TESSEL_MEMORY_LIMIT);
        }
    }
}

}  // namespace
