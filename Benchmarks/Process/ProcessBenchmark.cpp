#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

#include "Child.h"
#include "Security/PrivateSession.h"
#include "Support/Figures.h"
#include "Support/SignedIn.h"

// The extension's executable as the platform meets it: from its start to its end, and in memory. Nothing is simulated
// but the chat server, which is a process of its own on loopback.

namespace {

constexpr int pairs = 60;
constexpr int warmUp = 5;

const std::string extension = TESSEL_EXTENSION;

/// A figure of each pair of runs.
struct Pairs {
    std::vector<double> figures;
    std::vector<double> peers;

    void add(double figure, double peer) {
        figures.push_back(figure);
        peers.push_back(peer);
    }

    void print(const std::string& what, const std::string& peerName, const std::string& unit,
               std::optional<double> atMost) const {
        Figures::print(Figures::ofRuns(what, figures, peerName, peers, unit, atMost));
    }
};

/// Runs both by turns, now the one first and now the other, and hands over what each pair took.
template <class Run, class Peer, class Take>
void alternate(Run run, Peer peer, Take take) {
    for (int i = -warmUp; i < pairs; ++i) {
        Taken first = i % 2 == 0 ? run() : peer();
        Taken second = i % 2 == 0 ? peer() : run();
        if (i % 2 != 0) std::swap(first, second);
        if (i >= 0) take(first, second);
    }
}

/// One push that is given on standard input, with acknowledgement and picture.
Taken deliverOne(const std::string& pushFile) {
    int count = 0;
    const Taken taken = run({extension}, openForReading(pushFile), [&](std::string_view line) {
        // Where something fails on the way, what is delivered is less, and faster.
        const bool isWhole = line.find(R"("body":"The text of post-1")") != std::string_view::npos &&
                             line.find(R"("imageBytes":null)") == std::string_view::npos;
        count += isWhole ? 1 : 1000;
    });
    if (count != 1) throw std::runtime_error("the push was not delivered as it should be");
    return taken;
}

/// The requests that push makes, by curl in one run.
Taken fetchBoth(const SignedIn& session) {
    return run({"curl", "-q", "-sf", "-o", "/dev/null", "-H", "Content-Type: application/json", "-H",
                session.authorization(), "-d", SignedIn::acknowledgement(), session.acknowledgementURL(), "--next",
                "-sf", "-o", "/dev/null", "-H", session.authorization(), session.pictureURL()},
               openForReading("/dev/null"), [](std::string_view) {});
}

void measureOne(const SignedIn& session, const std::string& pushFile) {
    Pairs untilDelivery;
    Pairs untilExit;
    Pairs resident;
    alternate([&] { return deliverOne(pushFile); }, [&] { return fetchBoth(session); },
              [&](const Taken& ours, const Taken& curls) {
                  untilDelivery.add(ours.untilFirstLine.value(), curls.untilExit);
                  untilExit.add(ours.untilExit, curls.untilExit);
                  resident.add(ours.resident, curls.resident);
              });
    const char* const peer = "curl fetches the same two addresses, start to end";
    untilDelivery.print("the process, start to delivery", peer, "ms", 1.3);
    untilExit.print("the process, start to end", peer, "ms", {});
    resident.print("the process, all that is resident at its peak", "curl, the same", "MiB", 1.5);
}

/// How much the Secret Service takes more than the embedded store, on a private bus with a keyring of its own.
void measureSecretService(const SignedIn& session, const std::string& pushFile) {
    const std::string embedded = std::getenv("TESSEL_KEYCHAIN");
    const auto useEmbedded = [&](bool use) {
        use ? ::setenv("TESSEL_KEYCHAIN", embedded.c_str(), 1) : ::unsetenv("TESSEL_KEYCHAIN");
    };
    const auto deliver = [&](bool fromEmbedded) {
        useEmbedded(fromEmbedded);
        return deliverOne(pushFile);
    };
    const PrivateSession bus(session.directory() / "session", PrivateSession::Keyring::unlocked);
    useEmbedded(false);
    session.storeToken();
    Pairs untilExit;
    alternate([&] { return deliver(false); }, [&] { return deliver(true); },
              [&](const Taken& serviced, const Taken& plain) { untilExit.add(serviced.untilExit, plain.untilExit); });
    untilExit.print("the process with the Secret Service, start to end", "with the embedded store", "ms", {});
}

void printMemory(const std::string& what, const Taken& taken, double limit) {
    // At its start a process takes over the account of the one that started it.
    rusage own{};
    ::getrusage(RUSAGE_SELF, &own);
    if (taken.resident <= static_cast<double>(own.ru_maxrss) / 1024)
        throw std::runtime_error("the size is this program's own");
    Figures::print({what + ", all that is resident", taken.resident, "limit", limit, "MiB", 1.0, {}});
    Figures::print({what + ", its own pages alone", taken.own, "limit", limit, "MiB", 1.0, {}});
    std::cerr << what << ": at most " << taken.own << " MiB of its own pages (RssAnon + RssShmem), " << taken.ofFiles
              << " of files, most of them libraries' (RssFile), " << taken.resident << " in all (ru_maxrss)\n";
}

/// One at a time; the last one delivered, the process waits for more.
void measureMemoryOfOne(const SignedIn& session) {
    constexpr int count = 40;  // as many as a pipe holds
    auto [input, source] = makePipe();
    for (int i = 1; i <= count; ++i) {
        const std::string push = session.push(std::to_string(i)) + '\n';
        if (::write(source.number(), push.data(), push.size()) < 0) throw std::runtime_error("the pipe is full");
    }
    int delivered = 0;
    const Taken taken = run(
        {extension, "--jobs", "1"}, input,
        [&](std::string_view) {
            if (++delivered == count) source.close();
        },
        true);
    printMemory("one push at a time", taken, 24);
}

void measureMemoryOfMany(const SignedIn& session) {
    constexpr std::size_t count = 10'000;
    const auto file = session.directory() / "pushes";
    std::ofstream pushes(file);
    for (std::size_t i = 1; i <= count; ++i)
        pushes << session.push(std::to_string(i)) << '\n';
    pushes.close();
    std::set<std::string> indices;
    const Taken taken = run(
        {extension, "--jobs", "64"}, openForReading(file),
        [&](std::string_view line) { indices.emplace(line.substr(0, line.find(','))); }, true);
    if (indices.size() != count) throw std::runtime_error("not every push was delivered");
    std::cerr << "10,000 pushes, 64 at once: " << indices.size() << " delivered in " << taken.untilExit / 1000
              << " s\n";
    printMemory("10,000 pushes, 64 at once", taken, 96);
}

}  // namespace

int main() {
    try {
        const SignedIn session;
        // First, while this program is small.
        measureMemoryOfOne(session);
        const auto pushFile = session.directory() / "push";
        Support::writeFile(pushFile, session.push("1") + '\n');
        measureOne(session, pushFile);
        measureMemoryOfMany(session);
        measureSecretService(session, pushFile);
    } catch (const std::exception& error) {
        std::cerr << "ProcessBenchmark: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
