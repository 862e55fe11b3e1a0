#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <exception>
#include <filesystem>
#include <iostream>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include <poll.h>
#include <pthread.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include "DemoServer/Samples.h"
#include "DemoServer/Server.h"
#include "Foundation/Files.h"

namespace {

using namespace DemoServer;
namespace Files = Foundation::Files;

std::string randomToken() {
    std::random_device random;
    Foundation::Data bytes(16);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(random()); });
    return base64URLEncoded(bytes);
}

/// For a POSIX shell, whatever the value holds.
std::string assignment(std::string_view name, std::string_view value) {
    std::string line = std::string(name) + "='";
    for (const char character : value)
        line += character == '\'' ? std::string("'\\''") : std::string(1, character);
    return line + "'\n";
}

/// What a client knows of a server to which it has signed in; the names begin with `prefix`.
std::string environment(const std::string& prefix, const Server& server) {
    const ServerOptions& options = server.options();
    return assignment(prefix + "_URL", server.url()) + assignment(prefix + "_SERVER_ID", options.serverID) +
           assignment(prefix + "_SIGNING_KEY", options.key.publicKey()) + assignment(prefix + "_USER", "user-you") +
           assignment(prefix + "_DEVICE_TOKEN", options.deviceToken) +
           assignment(prefix + "_SESSION_TOKEN", options.sessionToken);
}

/// What a client would know of the servers, and what they send it. With an authority, a client is to trust that one.
void writeSession(const std::filesystem::path& directory, Server& server, Server& failing,
                  const std::optional<Authority>& authority) {
    std::string pushes;
    std::string stories;
    for (const auto& sample : samples(server, failing)) {
        pushes += sample.payload + '\n';
        stories += sample.story + '\n';
    }
    Files::createDirectory(directory);
    const auto write = [&](const char* name, const std::string& text) {
        Files::AtomicWrite(directory / name, Foundation::bytes(text)).commit();
    };
    std::string trust;
    if (authority) {
        const auto file = std::filesystem::absolute(directory / "authority.pem");
        write("authority.pem", authority->pem());
        trust = "export " + assignment("SSL_CERT_FILE", file.string());
    }
    write("server.env", environment("TESSEL_DEMO", server) + environment("TESSEL_DEMO_FAILING", failing) + trust);
    write("pushes.jsonl", pushes);
    write("stories.txt", stories);
}

/// Waits for one of the signals, or with `untilEOF` for the end of standard input.
void waitForEnd(const sigset_t& signals, bool untilEOF) {
    std::array<pollfd, 2> sources = {pollfd{::signalfd(-1, &signals, SFD_CLOEXEC), POLLIN, 0},
                                     pollfd{untilEOF ? STDIN_FILENO : -1, POLLIN, 0}};
    std::array<char, 4096> ignored{};
    while (::poll(sources.data(), sources.size(), -1) >= 0 || errno == EINTR) {
        if (sources[0].revents != 0) return;
        if (sources[1].revents != 0 && ::read(STDIN_FILENO, ignored.data(), ignored.size()) <= 0) return;
    }
}

void serve(ServerOptions options, const std::filesystem::path& keyFile, const std::filesystem::path& session,
           const Behavior& acknowledgement, const Behavior& picture, const std::optional<Authority>& authority,
           bool untilEOF) {
    // Before any thread is there, so that all of them leave the signals to this one.
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        sigaddset(&signals, signal);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    if (!keyFile.empty() && Files::exists(keyFile))
        options.key = SigningKey::load(keyFile);
    else if (!keyFile.empty())
        options.key.save(keyFile);
    if (authority) options.certificate = authority->issue();
    // A second one, which fails, for the one push that shows it.
    ServerOptions failingOptions{.serverID = "demo-server-that-fails",
                                 .deviceToken = options.deviceToken,
                                 .sessionToken = randomToken(),
                                 .certificate = options.certificate};
    Server failing(std::move(failingOptions));
    failing.setBehavior(Endpoint::acknowledgement, {.status = 500});
    Server server(std::move(options));
    server.setBehavior(Endpoint::acknowledgement, acknowledgement);
    server.setBehavior(Endpoint::userPicture, picture);
    server.setBehavior(Endpoint::publicPicture, picture);
    if (!session.empty()) writeSession(session, server, failing, authority);
    std::cout << "listening on " << server.url() << std::endl;
    waitForEnd(signals, untilEOF);
}

}  // namespace

int main(int argc, char** argv) {
    ServerOptions options{.deviceToken = randomToken(), .sessionToken = randomToken()};
    Behavior acknowledgement;
    Behavior picture;
    std::optional<Authority> authority;
    std::filesystem::path session;
    std::filesystem::path keyFile;
    unsigned delay = 0;
    bool isGarbage = false;
    bool isDropped = false;
    bool untilEOF = false;

    CLI::App app(
        "A small chat server on the loopback interface. It makes signed pushes, takes their\n"
        "acknowledgements, answers with the posts' text, and has pictures of the senders. It prints\n"
        "\"listening on URL\" when it is ready, and serves until it is interrupted or terminated.",
        "tessel-demo-server");
    app.add_option("--port", options.port, "Listen on this port; 0 is a free one")->capture_default_str();
    app.add_option("--path-prefix", options.pathPrefix, "Serve everything below this path, such as /chat")
        ->type_name("PATH");
    app.add_option("--key", keyFile, "PEM file with the P-256 key to sign with; made where there is none")
        ->type_name("FILE");
    CLI::Option* sessionOption =
        app.add_option("--session", session,
                       "Directory for what a client knows (server.env, for the shell), for pushes to\n"
                       "try (pushes.jsonl) and what becomes of each (stories.txt); made where there\n"
                       "is none")
            ->type_name("DIRECTORY");
    app.add_flag_callback(
           "--tls", [&] { authority.emplace(); },
           "Serve https, with a certificate for 127.0.0.1 and localhost from a new authority,\n"
           "which goes into the session's directory (authority.pem); server.env exports\n"
           "SSL_CERT_FILE, by which clients trust it")
        ->needs(sessionOption);
    app.add_flag("--until-eof", untilEOF, "End when standard input ends, too");

    const CLI::Range statuses(100, 599);
    CLI::App* faults = app.add_option_group("Faults");
    faults->add_option("--delay-ms", delay, "Let every answer wait");
    faults->add_option("--ack-status", acknowledgement.status, "Acknowledgements: this status")->check(statuses);
    faults->add_option("--picture-status", picture.status, "Pictures: this status")->check(statuses);
    faults->add_flag("--garbage", isGarbage, "Acknowledgements: an answer that is no JSON");
    faults->add_flag("--endless", acknowledgement.isEndless, "Acknowledgements: an answer without end");
    faults->add_flag("--hang", acknowledgement.isHeld, "Acknowledgements: never an answer");
    faults->add_flag("--drop", isDropped, "Acknowledgements: the connection is closed instead");
    faults->add_option("--redirect", acknowledgement.location, "Acknowledgements: sent on to this URL")
        ->type_name("URL");
    app.footer(
        "Example:\n"
        "  tessel-demo-server --session demo &\n"
        "  . demo/server.env\n"
        "  tessel server add --url $TESSEL_DEMO_URL --id $TESSEL_DEMO_SERVER_ID \\\n"
        "      --signing-key $TESSEL_DEMO_SIGNING_KEY --user $TESSEL_DEMO_USER \\\n"
        "      --device-token $TESSEL_DEMO_DEVICE_TOKEN\n"
        "  echo $TESSEL_DEMO_SESSION_TOKEN | tessel token set $TESSEL_DEMO_URL\n"
        "  tessel push demo/pushes.jsonl\n\n"
        "Exit status: 0 ended as asked, 1 the server could not start, 2 wrong usage.");
    try {
        app.parse(argc, argv);
        acknowledgement.delay = picture.delay = std::chrono::milliseconds(delay);
        if (isGarbage) acknowledgement.body = "<html>";
        if (isDropped) acknowledgement.dropAfter = 0;
        serve(std::move(options), keyFile, session, acknowledgement, picture, authority, untilEOF);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    } catch (const std::exception& error) {
        std::cerr << "tessel-demo-server: " << error.what() << '\n';
        return dynamic_cast<const std::invalid_argument*>(&error) != nullptr ? 2 : 1;
    }
    return 0;
}
