// The fixture of tests that run programs over files in a folder of their own.
#pragma once

#include "parse_tree/tree_node.h"
#include "tests/support/harness.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace harness {

class ScratchTest : public testing::Test {
protected:
    [[nodiscard]] std::string path(const std::string &name) const { return scratch_.path(name); }

    void store(const std::string &name, const std::string &bytes) const {
        write_file(path(name), bytes);
    }
    void store(const std::string &name, const std::vector<tree_node_t> &nodes) const {
        store(name, {reinterpret_cast<const char *>(nodes.data()), nodes.size() * sizeof nodes[0]});
    }

    [[nodiscard]] Outcome shell(const std::string &command) const {
        return scratch_.shell(command);
    }

private:
    ScratchDir scratch_;
};

} // namespace harness
