// Fixture of tests that run programs on files in a scratch directory.
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

    // Replays a transcript section by section; a section begins with a line "## TITLE" and may use
    // the files of those before it.
    void expect_replay(const std::string &transcript) const {
        std::string title;
        std::string section;
        const auto compare = [&] { EXPECT_EQ(replayed(section), section) << "section: " << title; };
        for (const std::string &line : lines_of(transcript)) {
            if (line.starts_with("## ")) {
                compare();
                section.clear();
                title = line.substr(3);
            } else {
                section += line + "\n";
            }
        }
        compare();
    }

    // Runs the commands of a transcript, the lines that begin with "$ ". Returns the transcript
    // that they produce: each command with its output, messages, and a nonzero status.
    [[nodiscard]] std::string replayed(const std::string &transcript) const {
        std::string text;
        for (const std::string &line : lines_of(transcript)) {
            if (!line.starts_with("$ "))
                continue;
            const Outcome outcome = shell("exec 2>&1; " + line.substr(2));
            text += line + "\n" + outcome.out;
            if (outcome.status != 0)
                text += "status " + std::to_string(outcome.status) + "\n";
        }
        return text;
    }

private:
    ScratchDir scratch_;
};

} // namespace harness
