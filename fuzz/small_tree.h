// Any bytes as a small tree without cycles, of few words, so that lines are often spelled alike.
#pragma once

#include "tests/support/random_tree.h"

#include <cstdint>
#include <span>
#include <string>

// Takes bytes from the front; a tree wants none and is content with those there are.
inline std::string small_main_tree(std::span<const uint8_t> &bytes) {
    constexpr const char *kWords[] = {"a", "ab", "b c", "/", "c-1", "D", "e"};
    constexpr uint32_t kTypes[] = {1, 2, 0x40100001, 0x40100008};
    const auto next = [&bytes]() -> uint8_t {
        if (bytes.empty())
            return 0;
        const uint8_t byte = bytes[0];
        bytes = bytes.subspan(1);
        return byte;
    };
    const auto nodes = grammar::random_tree(next, kWords, kTypes);
    return {reinterpret_cast<const char *>(nodes.data()), nodes.size() * sizeof nodes[0]};
}
