// From YAML to words: what the keys of a grammar mean.
#pragma once

#include "tools/ocmd_compile/grammar.h"
#include "tools/ocmd_compile/messages.h"
#include "tools/ocmd_compile/yaml_tree.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace compiler {

/// Makes the words of one document. Reports all its errors, and marks the words that have errors as
/// not sound. Needs the registry's types.
/// @param most_words limit of the document; if it has more words, reports this and stops there.
Document understand(const YamlDocument &yaml, size_t most_words, TextStore &texts,
                    Messages &messages);

/// A kind of mapping, and its keys.
struct KeyList {
    const char *where;
    std::vector<std::string_view> keys;
};

/// Returns all keys of the format.
std::vector<KeyList> known_keys();

} // namespace compiler
