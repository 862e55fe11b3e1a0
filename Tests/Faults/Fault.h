#pragma once

#include <atomic>
#include <cstdint>

/// What the preloaded shim tells the test that started the program, in a file that both have mapped: it is there
/// however the program ends.
struct FaultReport {
    std::atomic<std::uint64_t> count;   ///< calls of the kind since `main` began
    std::atomic<std::uint64_t> failed;  ///< those that were made to fail
    char place[1000];                   ///< the first of them, and the way to it: "malloc < libcurl.so.4+1a2b < …"
};
