#include "Networking/CurlSession.h"

#include <thread>

#include "DemoServer/Server.h"
#include "Support/Support.h"

using namespace Foundation;
using namespace std::chrono_literals;
using namespace std::string_literals;
using Code = URLError::Code;
using DemoServer::Behavior;
using DemoServer::Endpoint;

namespace {

struct CurlSessionTest : testing::Test {
    CurlSessionTest() {
        ::setenv("no_proxy", "*", 1);
        Support::writeFile(directory / "authority.pem", issuer.pem());
        ::setenv("SSL_CERT_FILE", (directory / "authority.pem").c_str(), 1);
    }

    /// The answer's status, or the error's code, which is negative. A POST has a body and the token.
    int outcome(const std::string& url, const std::string& method = "GET", decltype(URLRequest::headers) headers = {},
                double timeout = 60) {
        body.clear();
        if (method == "POST") headers = {{"Authorization", "Bearer demo-session-token"}, {"Content-Type", "a/b"}};
        try {
            auto [data, response] = session.data({URL::parse(url).value(), method, headers, bytes("{}"), timeout});
            body = textView(data);
            return response.statusCode;
        } catch (const URLError& failure) {
            EXPECT_THAT(failure.what(), Not(testing::HasSubstr("canary")));
            return error(failure.code());
        }
    }
    int outcomeOf(const Behavior& behavior, double timeout = 60) {
        for (auto* const each : {&server, &secure}) each->setBehavior(Endpoint::publicPicture, behavior);
        return outcome(picture, "GET", {}, timeout);
    }
    static constexpr int error(Code code) { return static_cast<int>(code); }
    static constexpr int lost = static_cast<int>(Code::networkConnectionLost);

    Support::TemporaryDirectory directory;
    DemoServer::Authority issuer;
    DemoServer::Server server;
    DemoServer::Server secure{{.certificate = issuer.issue()}};
    CurlSession session;
    const std::string picture = server.url() + "/pictures/a";
    const std::string acknowledgement = server.url() + "/api/v4/notifications/ack";
    std::string body;
};

TEST_F(CurlSessionTest, KeepsTheConnection) {
    EXPECT_EQ(outcome(acknowledgement, "POST"), 400);
    EXPECT_EQ(outcome(picture), 200);
    EXPECT_EQ(outcomeOf({.dropAfter = 1'000'000}), 200) << "the server closes the connection behind it";
    EXPECT_EQ(outcome(acknowledgement, "POST"), 400);
    server.setBehavior(Endpoint::publicPicture, {.isHeld = true});
    {
        const auto load = [&] { EXPECT_NO_THROW(session.data({*URL::parse(picture), "GET", {}, {}})); };
        const std::jthread one(load), two(load);
        EXPECT_TRUE(server.waitForRequests(6));
        server.release();
    }
    std::vector<std::uint64_t> connections;
    for (const auto& request : server.received()) connections.push_back(request.connection);
    EXPECT_THAT(connections, testing::UnorderedElementsAre(1, 1, 1, 2, 2, 3));
}

TEST_F(CurlSessionTest, RedirectsWithoutTheAuthorizationOfAnotherPort) {
    const DemoServer::Server other;
    for (const int status : {301, 302, 303, 307, 308})
        for (const auto& [from, location] : {std::pair(&server, other.url() + "/x"), {&server, "/x"}, {&secure, "/x"},
                                             {&secure, other.url() + "/x"}}) {
            SCOPED_TRACE(std::to_string(status) + " from " + from->url() + " to " + location);
            from->setBehavior(Endpoint::acknowledgement, {.status = status, .location = location});
            ASSERT_EQ(outcome(from->url() + "/api/v4/notifications/ack", "POST"), 404);
            const auto last = (location == "/x" ? *from : other).received().back();
            EXPECT_EQ(last.path, "/x");
            EXPECT_EQ(last.method + last.body, status < 307 ? "GET" : "POST{}");
            EXPECT_EQ(last.headers.contains("authorization"), location == "/x");
            EXPECT_EQ(last.headers.contains("content-type"), status >= 307);
        }
}

TEST_F(CurlSessionTest, FollowsNeitherLoopsNorOtherSchemes) {
    EXPECT_EQ(outcomeOf({.location = picture}), error(Code::httpTooManyRedirects));
    EXPECT_EQ(server.received().size(), 21u);
    for (const char* location : {"file:///etc/hostname", "ftp://127.0.0.1/", "mailto:a@b"})
        EXPECT_EQ(outcomeOf({.location = location}), error(Code::unsupportedURL)) << location;
}

TEST_F(CurlSessionTest, TakesAnswersUpToTheLimit) {
    constexpr std::size_t limit = CurlSession::maximumAnswer;
    EXPECT_EQ(outcomeOf({.declaredSize = limit}), 200);
    EXPECT_EQ(body.size(), limit);
    for (const Behavior& more : {Behavior{.declaredSize = limit + 1}, {.isEndless = true}, {.hasEndlessHead = true}})
        EXPECT_EQ(outcomeOf(more), error(Code::dataLengthExceedsMaximum));
}

TEST_F(CurlSessionTest, NoticesWhereverTheConnectionIsLost) {
    std::size_t end = 0;
    while (end < 1000 && outcomeOf({.body = "the whole body", .dropAfter = end}) == lost) ++end;
    EXPECT_EQ(body, "the whole body") << "after " << end << " bytes";
    EXPECT_EQ(outcome(secure.url() + "/pictures/a"), 200) << "TLS' own bytes do not count";
    EXPECT_EQ(outcomeOf({.body = "the whole body", .dropAfter = end - 1}), lost);
    EXPECT_EQ(outcome(secure.url() + "/pictures/a"), lost);
    for (const std::size_t drop : {100, 200, 1000, 100'000})
        EXPECT_EQ(outcomeOf({.isEndless = true, .dropAfter = drop}), lost) << drop;
    EXPECT_EQ(outcomeOf({.isHeld = true}, 0.05), error(Code::timedOut));
    for (const auto& [limit, result] : {std::pair(1e300, 200), {0.0, -1}}) EXPECT_EQ(outcomeOf({}, limit), result);
}

TEST_F(CurlSessionTest, TrustsACertificateForItsNameAndTimeAlone) {
    const std::pair<DemoServer::Certificate, int> rows[] = {
        {issuer.issue(), 200},
        {issuer.issue({.names = {"localhost", "127.0.0.2"}}), error(Code::serverCertificateUntrusted)},
        {DemoServer::Authority().issue(), error(Code::serverCertificateHasUnknownRoot)},
        {issuer.issue({.notAfter = -1s}), error(Code::serverCertificateHasBadDate)},
        {issuer.issue({.notBefore = 1h}), error(Code::serverCertificateNotYetValid)}};
    for (const auto& [certificate, expected] : rows) {
        const DemoServer::Server asked({.certificate = certificate});
        for (int i = 0; i < 2; ++i) EXPECT_EQ(outcome(asked.url() + "/pictures/a"), expected);
        const auto isFirst = testing::Field(&DemoServer::ReceivedRequest::connection, 1U);
        EXPECT_THAT(asked.received(), testing::AllOf(testing::SizeIs(expected == 200 ? 2 : 0), testing::Each(isFirst)));
    }
}

TEST_F(CurlSessionTest, PassesEveryStatusOn) {
    for (const int status : {200, 204, 206, 299, 300, 302, 304, 400, 401, 407, 408, 417, 500, 503, 599})
        EXPECT_EQ(outcomeOf({.status = status}), status);
    for (const int status : {300, 304, 305, 310, 400})
        EXPECT_EQ(outcomeOf({.status = status, .location = "/elsewhere"}), status);
    for (const int interim : {100, 103, 199}) EXPECT_EQ(outcomeOf({.status = interim}), lost) << "no answer follows it";
}

TEST_F(CurlSessionTest, AsksHTTPServersAlone) {
    const std::string authority = server.url().substr(7);
    for (const std::string& url : {"ftp://127.0.0.1/"s, "file:///etc/hostname"s, "pictures/a"s, "/pictures/a"s,
             "//" + authority, "localhost" + authority.substr(9), "http:/" + authority, "http:///" + authority,
             "https://"s, "http:"s, "http://127.0.0.1:65536/"s})
        EXPECT_EQ(outcome(url), error(Code::unsupportedURL)) << url;
    EXPECT_THAT(server.received(), testing::IsEmpty());
    EXPECT_EQ(outcome("HTTP://" + authority + "/pictures/a"), 200);
    const std::string closed = std::make_unique<DemoServer::Server>()->url();
    EXPECT_EQ(outcome(closed), error(Code::cannotConnectToHost));
}

TEST_F(CurlSessionTest, SendsAddressAndHeadersAsTheyStand) {
    EXPECT_EQ(outcome(server.url() + "/a/../%2e%2E//b?c=/../d#e", "GET", {{"X-A", "b; c"}}), 404);
    const auto request = server.received().back();
    EXPECT_EQ(request.path, "/a/../%2e%2E//b?c=/../d");
    EXPECT_EQ(request.headers.at("x-a"), "b; c");
    for (const std::string& text : {"canary\r\nX-B: c"s, "canary\n"s, "canary\r"s, "canary\0"s, "\n"s}) {
        EXPECT_EQ(outcome(picture, "GET", {{"X-A", text}}), error(Code::cannotSendHeader));
        EXPECT_EQ(outcome(picture, "GET", {{text, ""}}), error(Code::cannotSendHeader));
    }
    EXPECT_EQ(server.received().size(), 1u);
}

}  // namespace
