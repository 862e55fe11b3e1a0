#include "ChatPlatform/SharedServerStore.h"
#include "Faults/Fault.h"
#include "Security/EmbeddedStore.h"
#include "Tools/ProgramFixture.h"

#include <set>

#include <fcntl.h>
#include <sys/mman.h>

// The programs with each of their calls into the C library failing in turn: no record is torn, each push is delivered
// once, the token stays where it belongs.

using namespace testing;
using ChatPlatform::SharedServer;

namespace {

const std::string canary = DemoServer::ServerOptions{}.sessionToken;

struct Fault {
    const char* kind;
    std::uint64_t length;      ///< of the row of calls that fails
    bool isHarmless = false;  ///< what is read or written is so in the end
};
constexpr std::uint64_t forGood = 1'000'000'000;
void PrintTo(const Fault& fault, std::ostream* out) { *out << fault.kind << " × " << fault.length; }

/// On standard error, beside lines of the log.
bool says(const Outcome& outcome, const std::string& text) {
    return ('\n' + outcome.errors).find(text) != std::string::npos;
}

struct State {
    std::vector<SharedServer> records;
    std::optional<std::string> token;
    friend bool operator==(const State&, const State&) = default;
};

struct FaultLongTest : ProgramTest, WithParamInterface<Fault> {
    const std::filesystem::path containers = directory / "containers", keychain = directory / "keychain";
    const ChatPlatform::SharedServerStore store{containers / "group.com.norvane.tessel/Library/Servers"};
    const Security::GenericPasswordQuery tokenItem{"com.norvane.tessel.session", server.url(), {}};
    FaultReport* report = nullptr;
    std::uint64_t runs = 0, failed = 0;

    FaultLongTest() {
        Support::writeFile(directory / "report", std::string(sizeof(FaultReport), '\0'));
        const Foundation::Descriptor file(::open((directory / "report").c_str(), O_RDWR | O_CLOEXEC));
        void* const mapped = ::mmap(nullptr, sizeof *report, PROT_READ | PROT_WRITE, MAP_SHARED, file.number(), 0);
        report = static_cast<FaultReport*>(mapped);
    }

    ~FaultLongTest() override {
        std::cout << runs << " runs, " << failed << " with a fault\n";
        ::munmap(report, sizeof *report);
    }

    /// Runs the program with the faults that begin at this call.
    Outcome runWithFault(std::vector<std::string> command, const std::string& input, std::uint64_t first) {
        const auto [kind, length, isHarmless] = GetParam();
        *report->place = '\0';
        report->count = report->failed = 0;
        environment["LD_PRELOAD"] = TESSEL_SHIM;
        environment["TESSEL_FAULT"] = kind + (' ' + std::to_string(first)) + ' ' +
                                      std::to_string(first == 0 ? 0 : first + length - 1) + ' ' +
                                      (directory / "report").string();
        auto outcome = run(std::move(command), input);
        environment.erase("LD_PRELOAD");
        ++runs;
        failed += report->failed > 0;
        return outcome;
    }
    /// Runs it for each call in turn, every TESSEL_FAULT_STRIDE-th, or as many as samples are wanted.
    void forEachFault(std::uint64_t samples, const std::vector<std::string>& command, const std::string& input,
                      const std::function<void()>& prepare, const std::function<void(const Outcome&)>& check) {
        const char* const wanted = std::getenv("TESSEL_FAULT_STRIDE");
        prepare();
        check(runWithFault(command, input, 0));
        const std::uint64_t count = report->count, stride = wanted != nullptr ? std::stoull(wanted) : count / samples + 1;
        for (std::uint64_t first = 1; first <= count && !HasFatalFailure(); first += stride) {
            prepare();
            const auto outcome = runWithFault(command, input, first);
            SCOPED_TRACE(Message() << "call " << first << " of " << count << ": " << report->place);
            SCOPED_TRACE(Message() << "status " << outcome.status << ", " << outcome.errors);
            check(outcome);
        }
    }

    /// Nor does the program end by a signal, which the shim sends to one that hangs.
    void expectNoTokenIn(const Outcome& outcome) const {
        EXPECT_GE(outcome.status, 0);
        EXPECT_THAT(outcome.errors + outcome.output, Not(HasSubstr("session-token")));
        for (const auto& file : std::filesystem::recursive_directory_iterator(directory.path())) {
            const auto name = file.path().filename().string();
            if (!file.is_regular_file() || name == "in" || name.starts_with("keychain")) continue;
            EXPECT_THAT(Support::readFile(file), Not(HasSubstr("session-token"))) << file;
        }
    }

    State state() const {
        const auto item = Security::EmbeddedStore(keychain).copyMatching(tokenItem);
        EXPECT_THAT(item.status, AnyOf(Security::errSecSuccess, Security::errSecItemNotFound));
        State state{store.servers(), {}};
        if (item.data) state.token = Foundation::textView(*item.data);
        return state;
    }
};

TEST_P(FaultLongTest, StoresHoldTheOldOrTheNewAndAnswerTruly) {
    const std::string url = server.url();
    const SharedServer first{*Foundation::URL::parse(url), "first", "key", "me", "device"};
    auto replaced = first, moved = first;
    replaced.userID = "other";
    moved.serverID = "moved";
    const auto add = [&](const SharedServer& record) -> std::vector<std::string> {
        return {"server", "add", "--url", url, "--id", record.serverID, "--signing-key", record.signingKey, "--user",
                record.userID, "--device-token", record.deviceToken};
    };
    const struct {
        const char* name;
        std::vector<std::string> command;
        State before, after;
        std::string output{};
    } rows[] = {{"add", add(first), {}, {{first}, {}}}, {"replace", add(replaced), {{first}, {}}, {{replaced}, {}}},
                {"move", add(moved), {{first}, {}}, {{moved}, {}}},
                {"remove", {"server", "remove", url}, {{first}, {}}, {}},
                {"list", {"server", "list", "--format", "json"}, {{first}, {}}, {{first}, {}}, first.json() + '\n'},
                {"show", {"server", "show", "first", "--format", "json"}, {{first}, {}}, {{first}, {}},
                 first.json() + '\n'},
                {"set", {"token", "set", url}, {}, {{}, canary}},
                {"set anew", {"token", "set", url}, {{}, "old-session-token"}, {{}, canary}},
                {"has", {"token", "has", url}, {{}, canary}, {{}, canary}},
                {"forget", {"token", "remove", url}, {{}, canary}, {}}};
    for (const auto& row : rows) {
        // With nothing that works any more, the old one cannot come back.
        if (row.after == State{{moved}, {}} && GetParam().length == forGood) continue;
        SCOPED_TRACE(row.name);
        auto command = row.command;
        command.insert(command.begin(), TESSEL_PROGRAM);
        forEachFault(20, command, canary + '\n', [&] {
            remove_all(containers);
            for (const char* suffix : {"", "-journal"}) std::filesystem::remove(keychain.string() + suffix);
            for (const auto& record : row.before.records) store.save(record);
            auto item = tokenItem;
            item.accessGroup = "com.norvane.tessel";
            if (row.before.token) Security::EmbeddedStore(keychain).add(item, Foundation::bytes(*row.before.token));
        }, [&](const Outcome& outcome) {
            const auto now = state();
            expectNoTokenIn(outcome);
            EXPECT_TRUE(now == row.after || (now == row.before && outcome.status != 0));
            if (GetParam().isHarmless) { EXPECT_EQ(outcome.status, 0); }
            const bool isOutput = outcome.errors.starts_with("standard "), isFatal = says(outcome, "Fatal error: ");
            EXPECT_EQ(outcome.status, outcome.errors.empty() ? 0 : isFatal ? 70 : isOutput ? 1 : 3);
            if (outcome.status == 0) { EXPECT_EQ(outcome.output, row.output); }
        });
    }
}

TEST_P(FaultLongTest, EachPushIsDeliveredOnce) {
    signIn();
    const auto input = message("post-1") + message("post-2");
    const std::vector<std::string> whole = {"The text of post-1", "The text of post-2"};
    const auto content = [&](std::size_t i) {
        return AnyOf(whole[i], "A message", "We could not verify this notification with the server.");
    };
    forEachFault(100, {TESSEL_EXTENSION, "--time-limit", "20"}, input, [&] { server.forgetRequests(); },
                 [&](const Outcome& outcome) {
        expectNoTokenIn(outcome);
        for (const auto& request : server.received()) {
            const auto sent = request.headers.find("authorization");
            EXPECT_TRUE(sent == request.headers.end() || sent->second == "Bearer " + canary);
        }
        const bool isFatal = says(outcome, "Fatal error: ");
        const bool isUnread = says(outcome, "\n-:"), isUnwritten = says(outcome, "\nstandard output: ");
        const bool isTold = isUnread || isUnwritten || says(outcome, "enough memory");
        EXPECT_EQ(outcome.status, isFatal ? 70 : isTold ? 1 : 0);
        const auto lines = outcome.lines();
        if (isFatal) { EXPECT_TRUE(lines.empty()); }  // it came before the input was read
        if (outcome.status == 0) { EXPECT_EQ(lines.size(), 2u); }
        std::set<std::int64_t> delivered;
        std::size_t wholeOnes = 0;
        for (const auto& line : lines) {
            const auto index = *line.at("index").integer();
            const auto text = contentText(line, "body");
            EXPECT_TRUE(delivered.insert(index).second && index < 2);
            EXPECT_THAT(text, content(index));
            wholeOnes += text == whole[index];
            EXPECT_FALSE(says(outcome, "\n-:" + std::to_string(index + 1) + ':'));
        }
        // A fault costs one push. But what the cryptography's library could not set up once, it never does.
        const bool isCryptography = std::string_view(report->place).find("libcrypto") != std::string_view::npos;
        EXPECT_TRUE(wholeOnes > 0 || outcome.status != 0 || isCryptography);
        if (GetParam().isHarmless) { EXPECT_EQ(wholeOnes, 2u); }
    });
}

constexpr Fault faults[] = {{"memory", 1}, {"memory", forGood}, {"call", 1}, {"call", forGood}, {"short", 1, true},
                            {"interrupt", 1, true}};
INSTANTIATE_TEST_SUITE_P(Each, FaultLongTest, ValuesIn(faults), [](const auto& row) {
    return row.param.kind + std::string(row.param.length == forGood ? "ForGood" : "");
});

}  // namespace
