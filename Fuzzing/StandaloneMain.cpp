#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

#include "Support.h"

/// Gives each file once to the target: what runs the seeds where the compiler has no libFuzzer.
int main(int count, char** arguments) {
    for (int i = 1; i < count; ++i) {
        std::ifstream file(arguments[i], std::ios::binary);
        if (!file) {
            std::cerr << arguments[i] << ": cannot be read\n";
            return 1;
        }
        const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
        std::cerr << "Running: " << arguments[i] << '\n';
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    }
}
