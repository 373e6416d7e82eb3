// Command lines of a tree as text for people and for tools that sort and compare lines: the words
// of the listing, separated by one space, after the words of every enclosing submode and " / ":
//     bay <INTERFACE> / label <LINE>
#pragma once

#include "base/owners.h"
#include "cmd_gen/line_list.h"
#include "tools/support/text_output.h"
#include "tools/support/tree_input.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace tool {

/// Returns the word of a node in the format of the listing; empty for a node that adds nothing to a
/// line. Needs register_types.
std::string word_of(const tree_node_t &node);

/// Returns the word of a node as list_lines writes it: with control characters escaped
/// reversibly.
std::string spelled_word(const tree_node_t &node);

/// Returns whether lines of the record begin with the word of its node 0. In a main tree or a root
/// file, node 0 has no word, whatever it contains. In a record with an attach path, it is the first
/// word below the attach point.
bool begins_with_root(const TreeFile &file, const TreeRecord &record);

/// Lists the command lines of a valid record.
void list_lines(const TreeFile &file, const TreeRecord &record, TextOutput &output);

/// Lists parts of the command lines of a valid record, which must outlive this object.
class LineList {
public:
    LineList(const TreeRecord &record, TextOutput &output);

    /// Lists the lines that begin with the words of these nodes, a path that starts with the first
    /// word; for an empty path, the lines below node 0.
    void add_below(std::span<const uint16_t> path) const;

private:
    std::unique_ptr<tsh_line_list_t, base::Releaser<tsh_line_list_free>> list_;
    TextOutput &output_;
};

} // namespace tool
