#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "OnePush.h"
#include "Support/Allocations.h"
#include "Support/Figures.h"
#include "Support/SignedIn.h"

// What one push asks of the heap.

namespace {

constexpr int runs = 40;
constexpr int warmUp = 5;

struct Asked {
    std::vector<double> number;
    std::vector<double> kibibytes;
    bool isGood = true;
};

template <class Subject>
Asked measure(const SignedIn& session) {
    Asked asked;
    Subject subject(session);
    for (int i = -warmUp; i < runs; ++i) {
        const auto before = Allocations::count();
        asked.isGood = subject.run() && asked.isGood;
        const auto after = Allocations::count();
        if (i < 0) continue;
        asked.number.push_back(static_cast<double>(after.number - before.number));
        asked.kibibytes.push_back(static_cast<double>(after.bytes - before.bytes) / 1024);
    }
    return asked;
}

}  // namespace

int main() {
    const SignedIn session;
    const auto push = measure<Pipeline>(session);
    const auto bare = measure<Bare>(session);
    if (!push.isGood || !bare.isGood) {
        std::cerr << "not measured: a push did not become what it should\n";
        return 1;
    }
    const std::string what = Pipeline::name;
    Figures::print(Figures::ofRuns(what + ", of the heap", push.number, Bare::name, bare.number, "allocations", 2.0));
    Figures::print(Figures::ofRuns(what + ", of the heap", push.kibibytes, Bare::name, bare.kibibytes, "KiB", 1.5));
    return 0;
}
