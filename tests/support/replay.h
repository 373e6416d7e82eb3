// A fuzz target that is linked into a test runs there on inputs of its own, the same in every run.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

// Aborts where a property does not hold, after standard error has named it.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

// Runs the target on so many inputs of random bytes.
inline void replay(int inputs, size_t longest) {
    std::mt19937 random(20);
    for (int i = 0; i < inputs; ++i) {
        std::vector<uint8_t> bytes(random() % (longest + 1));
        for (uint8_t &byte : bytes)
            byte = static_cast<uint8_t>(random());
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
}
