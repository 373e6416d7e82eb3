// The documents of a file are in the order of its text.
#include "tools/ocmd_compile/stages.h"

#include "base/owners.h"
#include "parse_tree/tree_writer.h"
#include "tools/ocmd_compile/attachments.h"
#include "tools/ocmd_compile/grammar_checks.h"
#include "tools/ocmd_compile/lay_out.h"
#include "tools/ocmd_compile/library_output.h"
#include "tools/ocmd_compile/messages.h"
#include "tools/ocmd_compile/understand.h"
#include "tools/ocmd_compile/yaml_tree.h"
#include "tools/support/file_bytes.h"
#include "tools/support/file_format.h"
#include "tools/support/program.h"

#include <algorithm>
#include <memory>
#include <string_view>
#include <unistd.h>
#include <vector>
#include <zlib.h>

namespace compiler {

namespace {

// Whether the bytes cannot be a grammar: gzip data, or a NUL byte where names of nodes end. UTF-16
// has NUL bytes, too, after its byte order mark.
bool is_binary(std::string_view bytes) {
    const bool is_utf16 = bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF");
    return bytes.starts_with("\x1F\x8B") ||
           (!is_utf16 && bytes.substr(0, TREE_NAME_SIZE).find('\0') != std::string_view::npos);
}

// Adds all documents of a file. most_words: of one document.
void add_documents(const SourceFile &file, size_t most_words, Grammar &grammar,
                   Messages &messages) {
    const size_t documents = grammar.documents.size();
    const size_t errors = messages.errors();
    YamlReader reader{file, grammar.texts, messages};
    for (YamlDocument yaml; reader.next(yaml);)
        grammar.documents.push_back(understand(yaml, most_words, grammar.texts, messages));
    if (grammar.documents.size() == documents && messages.errors() == errors)
        messages.error(file, {}, "file contains no YAML document");
}

bool write_record(const Document &document, gzFile stream) {
    std::vector<tree_node_t> records = lay_out(document);
    subtree_path_t path{document.path_kind, {}};
    std::ranges::copy(document.attach_path, path.path);
    return write_array_tree_to_file(records.data(), static_cast<uint32_t>(records.size()),
                                    document.version, &path, stream, 1, 1, 0) == 0;
}

using GzipStream = std::unique_ptr<gzFile_s, base::Releaser<gzclose>>;

} // namespace

SourceFile read_grammar(const std::string &path) {
    SourceFile file = SourceFile::read(path);
    if (!is_binary(file.bytes()))
        return file;
    const bool is_tree =
        path != "-" &&
        tool::detect_format(tool::FileBytes{path, path}.read(tool::kMaxTreeSize), {}).has_value();
    tool::fail("%s: %s, not a grammar", file.name().c_str(), is_tree ? "a tree" : "binary data");
}

bool read_grammars(std::span<const std::string> paths, Target target,
                   const tool::CheckSeverities &severities, Grammar &grammar) {
    Messages messages;
    for (const std::string &path : paths)
        grammar.files.push_back(read_grammar(path));
    const size_t most_words = target == Target::kSubtrees ? TREE_WRITER_MAX_NODES : TREE_MAX_NODES;
    for (const SourceFile &file : grammar.files)
        add_documents(file, most_words, grammar, messages);
    const bool main = target == Target::kMainTree ||
                      (target == Target::kDetected &&
                       (paths.size() > 1 || std::ranges::any_of(grammar.documents, is_detached)));
    check(grammar, main, severities, messages);
    messages.print();
    if (messages.errors() > 0)
        throw tool::Stop{tool::kNegative};
    return main;
}

bool write_records(std::span<const Document> documents, FILE *stream) {
    const LibraryOutput output;
    const int descriptor = dup(fileno(stream));
    GzipStream packed{descriptor < 0 ? nullptr : gzdopen(descriptor, "wb")};
    if (packed == nullptr)
        return false;
    const bool stored = std::ranges::all_of(
        documents, [&](const Document &document) { return write_record(document, packed.get()); });
    return gzclose(packed.release()) == Z_OK && stored;
}

size_t documents_of_first_file(std::span<const Document> documents) {
    const SourceFile *file = documents.front().file;
    const auto other = std::ranges::find_if(
        documents, [&](const Document &document) { return document.file != file; });
    return static_cast<size_t>(other - documents.begin());
}

} // namespace compiler
