#include <chrono>
#include <random>
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

/// How the soak's server answers; what else it does is without fault.
DemoServer::Behavior anyBehavior(std::minstd_rand& random) {
    const auto below = [&](unsigned bound) { return static_cast<unsigned>(random() % bound); };
    switch (below(16)) {
        case 0: return {.status = 100 + below(500)};
        case 1: return {.dropAfter = below(600)};
        case 2: return {.body = "<html>\xFF"};
        case 3: return {.body = R"({"message":["?"]})", .contentType = "text/plain"};
        case 4: return {.delay = std::chrono::milliseconds(below(64) == 0 ? 600 : below(8))};
        case 5: return {.location = "/api/v4/users/other/image"};
        case 6: return {.declaredSize = std::uint64_t{1} << below(below(8) == 0 ? 25 : 16)};
        default: return {};
    }
}

/// One process, as many pushes as TESSEL_SOAK says, and a server that fails at random.
TEST_F(ProcessTest, SoakEachIsDeliveredOnceAndNothingPilesUp) {
    const auto setting = [](const char* name, std::size_t usual) {
        const char* const given = std::getenv(name);
        return given != nullptr ? std::stoull(given) : usual;
    };
    const std::size_t pushes = setting("TESSEL_SOAK", 1000), seed = setting("TESSEL_SOAK_SEED", std::random_device()());
    constexpr std::size_t jobs = 8;
    constexpr std::size_t moreDescriptors = 24 * 3;  // of connections that tasks behind their time made
    std::cout << "seed " << seed << std::endl;
    std::minstd_rand random(static_cast<unsigned>(seed));
    signIn();
    start({"--jobs", std::to_string(jobs), "--time-limit", "0.5"});
    std::vector<bool> delivered(pushes);
    std::map<std::string, std::size_t> outcomes;
    struct Size { long memory = 0; std::size_t descriptors = 0; } sizes[3];
    const auto began = std::chrono::steady_clock::now();
    std::size_t sent = 0, done = 0;
    for (const std::size_t stage : {0, 1, 2}) {
        const std::size_t end = stage == 0 ? pushes / 10 : pushes * stage / 2;
        while (done < end) {
            // What is under way fits into the pipes.
            for (; sent < end && sent < done + 2 * jobs; ++sent) input << message("post-" + std::to_string(sent));
            input.flush();
            std::string text;
            ASSERT_TRUE(std::getline(output, text)) << Support::readFile(directory / "err");
            const auto line = Support::dictionary(text);
            const auto index = static_cast<std::size_t>(*line.at("index").integer());
            ASSERT_TRUE(index < sent && !delivered[index]) << index;
            delivered[index] = true;
            const auto body = contentText(line, "body");
            const bool isWhole = body == "The text of post-" + std::to_string(index);
            ASSERT_TRUE(isWhole || body == "A message" || body.starts_with("We could not verify")) << body;
            ++outcomes[Foundation::textOrEmpty(line, "delivery") + (isWhole ? "" : ", without its text")];
            ++done;
            for (const auto endpoint : {Endpoint::acknowledgement, Endpoint::userPicture})
                server.setBehavior(endpoint, anyBehavior(random));
            server.setDrop(random() % 64 == 0 ? std::optional(DemoServer::DropStage::accepted) : std::nullopt);
            server.forgetRequests();
        }
        // Its own threads are the input's, the clock's, that of the signals, and a sanitizer's.
        while (count("task") > 4) std::this_thread::yield();
        const auto status = Support::readFile("/proc/" + std::to_string(process) + "/status");
        sizes[stage] = {std::stol(status.substr(status.find("VmRSS:") + 6)), count("fd")};
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - began;
        std::cout << done << " pushes: " << sizes[stage].memory << " KiB, " << sizes[stage].descriptors
                  << " descriptors, " << static_cast<double>(done) / time.count() << " a second" << std::endl;
    }
    for (const auto& [outcome, count] : outcomes) std::cout << count << ' ' << outcome << '\n';
    EXPECT_GT(outcomes["completed"], pushes / 4);
    EXPECT_LE(sizes[2].memory, sizes[0].memory + TESSEL_MEMORY_GROWTH);
    EXPECT_LE(sizes[2].descriptors, sizes[0].descriptors + moreDescriptors);
    input.close();
    EXPECT_EQ(ended().status, 0);
}

}  // namespace
