// Any bytes as a small tree without cycles, of few words, so that lines are often spelled alike.
#pragma once

#include "parse_tree/tree_node.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <span>
#include <string>
#include <vector>

// Takes bytes from the front; a tree wants none and is content with those there are.
inline std::string small_main_tree(std::span<const uint8_t> &bytes) {
    const auto next = [&bytes]() -> uint8_t {
        if (bytes.empty())
            return 0;
        const uint8_t byte = bytes[0];
        bytes = bytes.subspan(1);
        return byte;
    };
    std::vector<tree_node_t> nodes(2 + next() % 14);
    for (size_t i = 1; i < nodes.size(); ++i) {
        constexpr const char *kWords[] = {"", "a", "ab", "b c", "/", "c-1", "D", "e"};
        constexpr uint32_t kTypes[] = {1, 2, 0x40100001, 0x40100008};
        tree_node_t &node = nodes[i];
        snprintf(node.name, sizeof node.name, "n%zu", i);
        const uint8_t look = next();
        snprintf(node.token, sizeof node.token, "%s", kWords[look % 8]);
        node.flags = ((look & 0x08) != 0 ? TREE_FLAG_TERMINAL : 0) |
                     ((look & 0x30) == 0x30 ? TREE_FLAG_SUBMODE : 0);
        node.optional = (look & 0xC0) == 0xC0 ? 1 : 0;
        const uint8_t links = next();
        node.param_count = (links & 0x30) == 0 ? 1 : 0;
        node.params[0].type_mask = node.param_count == 0 ? 0 : kTypes[links >> 6U];
        for (const unsigned back : {links % 4U, links / 4U % 4U}) {
            tree_node_t &parent = nodes[i - 1 - std::min<size_t>(back, i - 1)];
            uint16_t *end = parent.children + parent.child_count;
            if (std::find(parent.children, end, i) == end)
                parent.children[parent.child_count++] = static_cast<uint16_t>(i);
        }
    }
    return {reinterpret_cast<const char *>(nodes.data()), nodes.size() * sizeof nodes[0]};
}
