// From YAML to words: what the keys of a grammar mean.
#pragma once

#include "tools/ocmd_compile/grammar.h"
#include "tools/ocmd_compile/messages.h"
#include "tools/ocmd_compile/yaml_tree.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace compiler {

/// Understands one document. Whatever is wrong in it is told, all of it, and the words it is wrong
/// in are marked as not sound. Needs the registry's types.
/// @param most_words a document with more words is told of and given up there.
Document understand(const YamlDocument &yaml, size_t most_words, TextStore &texts,
                    Messages &messages);

/// A mapping of the format and the keys it knows.
struct KeyList {
    const char *where;
    std::vector<std::string_view> keys;
};

/// All keys of the format.
std::vector<KeyList> known_keys();

} // namespace compiler
