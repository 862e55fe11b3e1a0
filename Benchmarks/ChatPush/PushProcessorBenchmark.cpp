#include "OnePush.h"
#include "Support/Comparison.h"
#include "Support/SignedIn.h"

namespace {

/// Each time over a connection of its own, which is made before: whether its client is woken once or twice for an answer
/// is a habit of a connection, and costs more than what is to be seen here.
template <class Subject>
void measure(benchmark::State& state, const SignedIn& session) {
    Subject subject(session);
    bool isGood = subject.run();
    for (auto _ : state)
        isGood = subject.run() && isGood;
    if (!isGood) state.SkipWithError("a push did not become what it should");
}

}  // namespace

int main(int argc, char** argv) {
    const SignedIn session;
    return compare(argc, argv,
                   {{Pipeline::name, [&](benchmark::State& state) { measure<Pipeline>(state, session); }, Bare::name,
                     [&](benchmark::State& state) { measure<Bare>(state, session); }, 1.15}});
}
