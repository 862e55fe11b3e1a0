#include <thread>

#include "Tools/ProgramFixture.h"

// The extension's process while it lives, and how it ends.

using DemoServer::Endpoint;

namespace {

struct ProcessTest : ProgramTest {
    std::ofstream input;
    std::ifstream output;
    int process = 0;

    void start(std::vector<std::string> command) {
        for (const char* name : {"input", "output"}) ::mkfifo((directory / name).c_str(), 0600);
        command.insert(command.begin(), TESSEL_EXTENSION);
        ProgramTest::start(command, "input", "output");
        input.open(directory / "input");
        output.open(directory / "output");
        process = std::stoi(Support::readFile(directory / "process"));
    }
    /// What the next lines tell of how the pushes were delivered.
    std::vector<std::string> deliveries(std::size_t count) {
        std::vector<std::string> deliveries;
        for (std::string line; deliveries.size() < count && std::getline(output, line);)
            deliveries.push_back(Foundation::textOrEmpty(Support::dictionary(line), "delivery"));
        return deliveries;
    }
    /// How many "fd" (descriptors) or "task" (threads) it has.
    std::size_t count(const char* kind) const {
        return Foundation::Files::names("/proc/" + std::to_string(process) + '/' + kind).size();
    }
};

TEST_F(ProcessTest, EndsWithWhatIsInProgressDelivered) {
    signIn();
    const auto behind = [&](std::size_t requests) {
        server.forgetRequests();
        input << message() << std::flush;
        ASSERT_TRUE(server.waitForRequests(requests));
    };
    for (const int signal : {SIGTERM, SIGHUP, 0}) {
        SCOPED_TRACE(signal);
        server.setBehavior(Endpoint::acknowledgement, {.isHeld = true});
        start({});
        behind(1);
        if (signal != 0) ::kill(process, signal);
        if (signal == 0) input.close(), server.release();
        EXPECT_THAT(deliveries(2), testing::ElementsAre(signal != 0 ? "expired" : "completed"));
        EXPECT_EQ(ended().status, -signal);
        input.close();
        output.close();
        server.release();
    }
    // Nobody reads what is delivered: it ends at once, with more of the input to come and a request in progress.
    server.setBehavior(Endpoint::acknowledgement, {});
    server.setBehavior(Endpoint::userPicture, {.isHeld = true});
    start({"--jobs", "2", "--time-limit", "1000"});
    behind(2);
    output.close();
    input << "{}" << std::endl;
    const auto outcome = ended();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors, "standard output: Broken pipe\n");
}

TEST_F(ProcessTest, NothingPilesUp) {
    signIn();
    start({"--jobs", "8", "--time-limit", "0.5"});
    const auto burst = [&] {
        for (const auto& behavior : {DemoServer::Behavior{}, {.status = 500}, {.dropAfter = 10}, {.isHeld = true}}) {
            for (const auto endpoint : {Endpoint::acknowledgement, Endpoint::userPicture})
                server.setBehavior(endpoint, behavior);
            const std::size_t pushes = behavior.isHeld ? 8 : 64;
            for (std::size_t i = 0; i < pushes; ++i) input << message();
            input.flush();
            EXPECT_EQ(deliveries(pushes).size(), pushes);
        }
        // The tasks of the pushes that were held end behind these; its own threads are the input's, the clock's, that
        // of the signals, and a sanitizer's.
        for (const auto endpoint : {Endpoint::acknowledgement, Endpoint::userPicture}) server.setBehavior(endpoint, {});
        server.release();
        while (count("task") > 4) std::this_thread::yield();
        return count("fd");
    };
    const auto descriptors = burst();
    EXPECT_LE(burst(), descriptors + 8) << "as many connections as requests at once may differ";
    input.close();
    EXPECT_EQ(ended().status, 0);
}

}  // namespace
