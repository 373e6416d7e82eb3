// The functions that a file's commands call.
#pragma once

#include "tools/ocmd_show/modes.h"
#include "tools/ocmd_show/record_lines.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace show {

/// A function and the nodes at which its commands end.
struct Function {
    struct Use {
        const RecordLines *lines;
        uint16_t node;
        [[nodiscard]] const tree_node_t &record() const { return lines->nodes()[node]; }
    };
    std::vector<Use> uses;
    Modes modes; ///< In which its commands are, or which they enter.
    /// Type masks of the parameters in the order of the line. Nothing if its commands differ in
    /// them, or have more than ParameterLists::kMaxLength.
    std::optional<std::vector<uint32_t>> parameters;
};

/// All functions by name, and the lines of their commands. The file outlives the table.
class FunctionTable {
public:
    /// All functions, or those of commands that start with the requested line.
    FunctionTable(const tool::TreeFile &file, const Request &request);

    [[nodiscard]] const std::map<std::string_view, Function> &functions() const {
        return functions_;
    }
    [[nodiscard]] bool is_empty() const { return lines_.empty(); } ///< No command is requested.

private:
    void add(const RecordLines &lines);

    ParameterLists lists_;
    std::deque<RecordLines> lines_;
    std::map<std::string_view, Function> functions_;
};

/// Calls write with every command line that ends at a node. If there are more than some, only with
/// the shortest one and with the number of the others. Neither ends with a newline.
void for_each_line(const Function::Use &use, const std::function<void(const std::string &)> &write);

/// Returns ", mode lamp", ", modes lamp and port", or nothing.
std::string modes_text(const Function &function);

/// Writes the functions of a table as prototypes in C.
void write_c_header(const FunctionTable &table, const std::string &file, tool::TextOutput &output);

} // namespace show
