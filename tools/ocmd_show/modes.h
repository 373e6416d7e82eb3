// The ways of ocmd_show to show a file. All of them take files with sound trees.
#pragma once

#include "tools/support/program.h"
#include "tools/support/text_output.h"
#include "tools/support/tree_input.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace show {

/// What is asked for beside the mode.
struct Part {
    std::optional<std::string> below; ///< Only what lies below this line.
    uint32_t levels = UINT32_MAX;     ///< Levels below the node on top.
    size_t records_before = 0;        ///< Of the files that were shown before this one.
};

tool::Status show_summary(const tool::TreeFile &file, const Part &part, tool::TextOutput &output);
tool::Status show_commands(const tool::TreeFile &file, const Part &part, tool::TextOutput &output);
tool::Status show_nodes(const tool::TreeFile &file, const Part &part, tool::TextOutput &output);
tool::Status show_yaml(const tool::TreeFile &file, const Part &part, tool::TextOutput &output);
tool::Status show_json(const tool::TreeFile &file, const Part &part, tool::TextOutput &output);
tool::Status show_dot(const tool::TreeFile &file, const Part &part, tool::TextOutput &output);

} // namespace show
