// Any bytes as a small tree without cycles, of few words, so that lines are often spelled alike.
#pragma once

#include "fuzz/input.h"
#include "tests/support/random_tree.h"

#include <string>

inline std::string small_main_tree(Input &input) {
    constexpr const char *kWords[] = {"a", "ab", "b c", "/", "c-1", "D", "e"};
    constexpr uint32_t kTypes[] = {1, 2, 0x40100001, 0x40100008};
    const auto nodes = grammar::random_tree(input, kWords, kTypes);
    return {reinterpret_cast<const char *>(nodes.data()), nodes.size() * sizeof nodes[0]};
}
