// The stages of a compilation that read and write files, for every program that compiles.
#pragma once

#include "tools/ocmd_compile/grammar.h"
#include "tools/support/checks.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <span>
#include <string>

namespace compiler {

/// Reads a file. If it cannot be read or is binary, reports this and exits with kError.
SourceFile read_grammar(const std::string &path);

/// What documents become. kDetected: a main tree if there are several files or there is a root.
enum class Target : uint8_t { kSubtrees, kMainTree, kDetected };

/// Reads files into an empty grammar, runs all checks, and prints the messages. After an error,
/// exits with kNegative, or with kError if a file cannot be read. Needs the registry's types.
/// @return whether all documents become one main tree.
bool read_grammars(std::span<const std::string> paths, Target target,
                   const tool::CheckSeverities &severities, Grammar &grammar);

/// Writes documents as a subtree file. @return false, with errno set, if it cannot be written.
bool write_records(std::span<const Document> documents, FILE *stream);

/// Returns how many documents at the beginning are of the first one's file.
size_t documents_of_first_file(std::span<const Document> documents);

} // namespace compiler
