// Errors of documents that become one tree, which each document by itself does not show.
#pragma once

#include "tools/ocmd_compile/attachments.h"
#include "tools/ocmd_compile/grammar.h"
#include "tools/ocmd_compile/messages.h"

#include <vector>

namespace compiler {

/// Returns all documents, each after the documents that are attached to it. Reports attach points
/// that form a cycle; then there is no such order, and the result is empty.
std::vector<const Document *> children_first(const Grammar &grammar, const Attachments &attachments,
                                             Messages &messages);

/// Reports a missing or second root, unknown attach points, words with too many words below them,
/// and too many nodes.
void check_links(const Grammar &grammar, const Attachments &attachments, Messages &messages);

} // namespace compiler
