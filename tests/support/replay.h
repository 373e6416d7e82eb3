// Execution of a fuzz target inside a test, with the same inputs in every run.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

// Aborts if a property is violated, after a message on standard error.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

// Runs the target on this number of inputs of random bytes.
inline void replay(int inputs, size_t longest) {
    std::mt19937 random(20);
    for (int i = 0; i < inputs; ++i) {
        std::vector<uint8_t> bytes(random() % (longest + 1));
        for (uint8_t &byte : bytes)
            byte = static_cast<uint8_t>(random());
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
}
