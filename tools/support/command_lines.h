// The command lines of a tree, spelled for people and for tools that sort and compare lines: words
// as the listing spells them with one blank between them, and before them the words of every
// submode that the line lies in, each followed by " / ":
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

/// The word of a node as the listing spells it; empty for one that adds nothing to a line. Needs
/// register_types.
std::string word_of(const tree_node_t &node);

/// Returns the word of a node as list_lines writes it: with control characters escaped.
std::string spelled_word(const tree_node_t &node);

/// Whether lines of the record begin with the word of its node 0. That of a main tree or of a root
/// file is no word, whatever it holds; that of a record with an attach path is the first one below
/// its attach point.
bool begins_with_root(const TreeFile &file, const TreeRecord &record);

/// Lists the command lines of a record that is sound.
void list_lines(const TreeFile &file, const TreeRecord &record, TextOutput &output);

/// Lists parts of the command lines of a record that is sound and outlives this.
class LineList {
public:
    LineList(const TreeRecord &record, TextOutput &output);

    /// Lists the lines that begin with the words of these nodes, a path from the first word on;
    /// without any, the lines below node 0.
    void add_below(std::span<const uint16_t> path) const;

private:
    std::unique_ptr<tsh_line_list_t, base::Releaser<tsh_line_list_free>> list_;
    TextOutput &output_;
};

} // namespace tool
