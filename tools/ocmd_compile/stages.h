// The stages of a compilation that read and write files, for every program that compiles.
#pragma once

#include "tools/ocmd_compile/grammar.h"
#include "tools/ocmd_compile/messages.h"

#include <cstddef>
#include <cstdio>
#include <span>
#include <string>

namespace compiler {

/// Reads a file. One that cannot be read or that holds no text ends the run with kError.
SourceFile read_grammar(const std::string &path);

/// Adds all documents of a file to the grammar. Needs the registry's types.
/// @param most_words of one document.
void add_documents(const SourceFile &file, size_t most_words, Grammar &grammar, Messages &messages);

/// Writes a document as a main par file. @return false, with errno set, if it cannot be written.
bool write_main(const Document &document, FILE *stream);

/// Writes documents as a subtree file, likewise.
bool write_records(std::span<const Document> documents, FILE *stream);

/// Returns how many documents at the beginning are of the first one's file.
size_t documents_of_first_file(std::span<const Document> documents);

} // namespace compiler
