// What a grammar says of a word, but for the words below it.
#pragma once

#include "parse_tree/tree_node.h"

#include <string>
#include <utility>
#include <vector>

namespace show {

/// Keys and values as they are written, values on one line.
using Entries = std::vector<std::pair<std::string, std::string>>;

/// Adds an entry, unless its value is empty: then a grammar need not say it.
void add_entry(Entries &entries, std::string key, std::string value);

/// The entries as a mapping on one line.
std::string in_braces(const Entries &entries);

/// What is said of a word by its own keys: without a name, which depends on where the word stands,
/// and without marked links. Needs register_types.
Entries entries_of(const tree_node_t &node);

} // namespace show
