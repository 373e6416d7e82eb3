// ocmd_compile: compiles grammars into subtree files, or into a main par file.
//
// Stages: read, understand, check, lay out, write. The first three run for every file, so that one
// run reports all errors; the last two run only if there are none.
#include "base/owners.h"
#include "param_reg/values.h"
#include "parse_tree/tree_writer.h"
#include "tools/ocmd_compile/grammar.h"
#include "tools/ocmd_compile/grammar_checks.h"
#include "tools/ocmd_compile/lay_out.h"
#include "tools/ocmd_compile/messages.h"
#include "tools/ocmd_compile/output_file.h"
#include "tools/ocmd_compile/understand.h"
#include "tools/ocmd_compile/yaml_tree.h"
#include "tools/support/file_bytes.h"
#include "tools/support/file_format.h"
#include "tools/support/program.h"
#include "tools/support/types.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_set>
#include <utility>
#include <vector>
#include <zlib.h>

namespace {

using compiler::Document;
using compiler::Grammar;
using compiler::Messages;
using compiler::SourceFile;
using tool::CommandLine;

constexpr std::array kOptions{
    tool::Option{'o', "output", "OUT",
                 "Write to OUT (- for standard output). Default: FILE.par for each FILE.yaml."},
    tool::Option{0, "main", nullptr, "Compile one document into a main par file."},
    compiler::kStrictOption,
    compiler::kWarnOption,
    compiler::kErrorOption,
    compiler::kListChecksOption,
    tool::Option{0, "list-keys", nullptr, "Print all keys of the grammar format and exit."},
    tool::Option{0, "list-types", nullptr, "Print all parameter types and exit."},
};

constexpr tool::Program kProgram{
    "ocmd_compile", "GRAMMAR.yaml...",
    "Compiles YAML grammars into subtree files (one record per document), or one document into a\n"
    "main par file. All errors are reported; on error, no file is written.",
    kOptions};

void list_keys() {
    for (const compiler::KeyList &list : compiler::known_keys())
        for (const std::string_view key : list.keys)
            printf("%s\t%.*s\n", list.where, static_cast<int>(key.size()), key.data());
}

void list_types() {
    uint32_t count = 0;
    const tsh_type_t *types = tsh_types_list(nullptr, &count);
    for (const tsh_type_t &type : std::span{types, count}) {
        const char *blank = *type.article == '\0' ? "" : " ";
        printf("%s\t%s%s%s\t%s\n", type.name, type.article, blank, type.plain_name, type.example);
    }
}

// ---- Reading ----

// Whether the bytes cannot be a grammar: gzip data, or a NUL byte where names of nodes end. UTF-16
// has NUL bytes, too, after its byte order mark.
bool is_binary(std::string_view bytes) {
    const bool is_utf16 = bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF");
    return bytes.starts_with("\x1F\x8B") ||
           (!is_utf16 && bytes.substr(0, TREE_NAME_SIZE).find('\0') != std::string_view::npos);
}

SourceFile read_grammar(const std::string &path) {
    SourceFile file = SourceFile::read(path);
    if (!is_binary(file.bytes()))
        return file;
    const bool is_tree =
        path != "-" && tool::detect_format(tool::FileBytes{path, path}.all(), {}).has_value();
    tool::fail("%s: %s, not a grammar", file.name().c_str(), is_tree ? "a tree" : "binary data");
}

// ---- Understanding ----

void understand(const SourceFile &file, size_t most_words, Grammar &grammar, Messages &messages) {
    const size_t documents = grammar.documents.size();
    const size_t faults = messages.faults();
    compiler::YamlReader reader{file, grammar.texts, messages};
    for (compiler::YamlDocument yaml; reader.next(yaml);)
        grammar.documents.push_back(
            compiler::understand(yaml, most_words, grammar.texts, messages));
    if (grammar.documents.size() == documents && messages.faults() == faults)
        messages.fault(file, {}, "file contains no YAML document");
}

// Reports documents that cannot become a main tree: a second one, or one with attach points.
void want_one_root(const Grammar &grammar, Messages &messages) {
    for (const Document &document : grammar.documents) {
        if (&document != grammar.documents.data())
            messages.fault(*document.file, document.place,
                           "more than one document; --main accepts exactly one");
        if (!document.attach_path.empty())
            messages.fault(*document.file, document.attach_place,
                           "'below' is not allowed with --main");
    }
}

// ---- Writing ----

std::string output_for(const std::string &input) {
    std::string_view stem = input;
    for (const std::string_view suffix : {".yaml", ".yml"})
        if (stem.ends_with(suffix)) {
            stem.remove_suffix(suffix.size());
            break;
        }
    return std::string{stem} + ".par";
}

void write_main(const Document &document, const compiler::OutputFile &output) {
    constexpr size_t kMostAtOnce = 256; // records, which stay in the cache
    std::vector<tree_node_t> records(std::min(kMostAtOnce, document.words.size()));
    errno = 0;
    for (size_t first = 0; first < document.words.size(); first += records.size()) {
        records.resize(std::min(records.size(), document.words.size() - first));
        compiler::lay_out(document, first, records);
        if (write_array_tree_to_file(records.data(), static_cast<uint32_t>(records.size()), 0,
                                     nullptr, output.stream(), 0, 0, 1) != 0)
            output.fail();
    }
}

bool write_record(const Document &document, gzFile stream) {
    std::vector<tree_node_t> records = compiler::lay_out(document);
    subtree_path_t path{document.path_kind, {}};
    std::ranges::copy(document.attach_path, path.path);
    return write_array_tree_to_file(records.data(), static_cast<uint32_t>(records.size()),
                                    document.version, &path, stream, 1, 1, 0) == 0;
}

using GzipStream = std::unique_ptr<gzFile_s, base::Releaser<gzclose>>;

void write_records(std::span<const Document> documents, const compiler::OutputFile &output) {
    errno = 0;
    const int descriptor = dup(fileno(output.stream()));
    GzipStream stream{descriptor < 0 ? nullptr : gzdopen(descriptor, "wb")};
    if (stream == nullptr)
        output.fail();
    const bool stored = std::ranges::all_of(
        documents, [&](const Document &document) { return write_record(document, stream.get()); });
    if (gzclose(stream.release()) != Z_OK || !stored)
        output.fail();
}

void write(std::span<const Document> documents, const std::string &path, bool main) {
    compiler::OutputFile output{path};
    if (main)
        write_main(documents.front(), output);
    else
        write_records(documents, output);
    output.commit();
}

// Documents are in the order of their files; every file has at least one.
void write_each_file(std::span<const Document> documents, bool main) {
    while (!documents.empty()) {
        const SourceFile *file = documents.front().file;
        const auto other = std::ranges::find_if(
            documents, [&](const Document &document) { return document.file != file; });
        const auto count = static_cast<size_t>(other - documents.begin());
        write(documents.first(count), output_for(file->name()), main);
        documents = documents.subspan(count);
    }
}

// ---- The run ----

// The input files, by identity instead of name.
class Inputs {
public:
    explicit Inputs(std::span<char *const> paths) {
        for (const char *path : paths)
            if (const auto file = identity(path))
                files_.insert(*file);
    }

    [[nodiscard]] bool have(const std::string &path) const {
        const auto file = identity(path == "-" ? "" : path.c_str());
        return file && files_.contains(*file);
    }

private:
    using Identity = std::pair<dev_t, ino_t>;

    // The identity of a regular file.
    static std::optional<Identity> identity(const char *path) {
        struct stat file {};
        if (stat(std::string_view{path} == "-" ? "/dev/stdin" : path, &file) != 0 ||
            !S_ISREG(file.st_mode))
            return std::nullopt;
        return Identity{file.st_dev, file.st_ino};
    }

    std::set<Identity> files_;
};

// Refuses outputs that would overwrite an input or each other.
void check_outputs(const CommandLine &line, const char *given) {
    const Inputs inputs{line.operands()};
    if (given != nullptr) {
        if (*given == '\0')
            tool::refuse("empty argument for -o; expected a file name");
        if (inputs.have(given))
            tool::refuse("%s: output would overwrite an input file", given);
        return;
    }
    std::unordered_set<std::string> outputs;
    for (const char *input : line.operands()) {
        if (std::string_view{input} == "-")
            tool::refuse("cannot derive an output name from standard input; use -o");
        const std::string output = output_for(input);
        if (inputs.have(output))
            tool::refuse("%s: output of %s would overwrite an input file; use -o", output.c_str(),
                         input);
        if (!outputs.insert(output).second)
            tool::refuse("%s: another input also produces %s; use -o", input, output.c_str());
    }
}

tool::Status compile(const CommandLine &line) {
    const compiler::CheckLevels levels{compiler::grammar_checks(), line};
    if (line.has("list-keys")) {
        list_keys();
        return tool::kDone;
    }
    if (line.has("list-types")) {
        list_types();
        return tool::kDone;
    }
    const char *output = line.value("output");
    const bool main = line.has("main");
    if (line.operands().empty())
        tool::refuse("missing operand: GRAMMAR.yaml");
    check_outputs(line, output);

    tool::register_types();
    Grammar grammar;
    Messages messages;
    for (const char *path : line.operands())
        grammar.files.push_back(read_grammar(path));
    for (const SourceFile &file : grammar.files)
        understand(file, main ? TREE_MAX_NODES : TREE_WRITER_MAX_NODES, grammar, messages);
    if (main)
        want_one_root(grammar, messages);
    compiler::check(grammar, main, levels, messages);
    messages.tell();
    if (messages.faults() > 0)
        return tool::kNegative;

    if (output != nullptr)
        write(grammar.documents, output, main);
    else
        write_each_file(grammar.documents, main);
    return tool::kDone;
}

} // namespace

int main(int argc, char **argv) {
    return tool::run(kProgram, argc, argv, compile);
}
