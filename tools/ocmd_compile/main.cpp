// ocmd_compile: makes subtree files, or a main par file, from grammars.
//
// Read, understand, check, lay out, write: every file goes through the first three whatever was
// found before, so that one run tells all; the last two follow only when nothing is wrong.
#include "base/owners.h"
#include "parse_tree/tree_writer.h"
#include "tools/ocmd_compile/grammar.h"
#include "tools/ocmd_compile/grammar_checks.h"
#include "tools/ocmd_compile/lay_out.h"
#include "tools/ocmd_compile/messages.h"
#include "tools/ocmd_compile/understand.h"
#include "tools/ocmd_compile/yaml_tree.h"
#include "tools/support/output_file.h"
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
    tool::Option{
        'o', "output", "OUT",
        "Write to this file, - for standard output; else each FILE.yaml becomes FILE.par."},
    tool::Option{0, "main", nullptr, "Make a main par file of one document."},
    tool::kStrictOption,
    tool::kWarnOption,
    tool::kErrorOption,
    tool::kListChecksOption,
    tool::Option{0, "list-keys", nullptr, "List the keys of the format and end."},
};

constexpr tool::Program kProgram{
    "ocmd_compile", "GRAMMAR.yaml...",
    "Makes subtree files from grammars written in YAML, one record from each document, or a main\n"
    "par file from one document. Every mistake is told; where there is one, nothing is written.",
    kOptions};

void list_keys() {
    for (const compiler::KeyList &list : compiler::known_keys())
        for (const std::string_view key : list.keys)
            printf("%s\t%.*s\n", list.where, static_cast<int>(key.size()), key.data());
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
        messages.fault(file, {}, "there is no document in this file");
}

// A main tree has a root, and nothing to be attached to.
void want_one_root(const Grammar &grammar, Messages &messages) {
    for (const Document &document : grammar.documents) {
        if (&document != grammar.documents.data())
            messages.fault(*document.file, document.place,
                           "a main tree is made of one document, here is another");
        if (!document.attach_path.empty())
            messages.fault(*document.file, document.attach_place,
                           "a main tree is attached to nothing");
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

void write_main(const Document &document, const tool::OutputFile &output) {
    std::vector<tree_node_t> records = compiler::lay_out(document);
    errno = 0;
    if (write_array_tree_to_file(records.data(), static_cast<uint32_t>(records.size()), 0, nullptr,
                                 output.stream(), 0, 0, 1) != 0)
        output.fail();
}

bool write_record(const Document &document, gzFile stream) {
    std::vector<tree_node_t> records = compiler::lay_out(document);
    subtree_path_t path{document.path_kind, {}};
    std::ranges::copy(document.attach_path, path.path);
    return write_array_tree_to_file(records.data(), static_cast<uint32_t>(records.size()),
                                    document.version, &path, stream, 1, 1, 0) == 0;
}

using GzipStream = std::unique_ptr<gzFile_s, base::Releaser<gzclose>>;

void write_records(std::span<const Document> documents, const tool::OutputFile &output) {
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
    tool::OutputFile output{path};
    if (main)
        write_main(documents.front(), output);
    else
        write_records(documents, output);
    output.commit();
}

// Documents stand in the order of their files, each of which has some.
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

// The files that are read, under whatever names.
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

    // Of a file that can be replaced.
    static std::optional<Identity> identity(const char *path) {
        struct stat file {};
        if (stat(std::string_view{path} == "-" ? "/dev/stdin" : path, &file) != 0 ||
            !S_ISREG(file.st_mode))
            return std::nullopt;
        return Identity{file.st_dev, file.st_ino};
    }

    std::set<Identity> files_;
};

// What is written must hit no file that is read. Without a name for the output each file gives one.
void check_outputs(const CommandLine &line, const char *given) {
    const Inputs inputs{line.operands()};
    if (given != nullptr) {
        if (inputs.have(given))
            tool::refuse("%s: would be replaced by what is made of it", given);
        return;
    }
    std::unordered_set<std::string> outputs;
    for (const char *input : line.operands()) {
        if (std::string_view{input} == "-")
            tool::refuse("standard input has no name to make the output's from: -o is missing");
        const std::string output = output_for(input);
        if (inputs.have(output))
            tool::refuse("%s: would be replaced by what is made of %s: -o is missing",
                         output.c_str(), input);
        if (!outputs.insert(output).second)
            tool::refuse("%s: two files would be written to %s", input, output.c_str());
    }
}

tool::Status compile(const CommandLine &line) {
    const tool::CheckLevels levels{compiler::grammar_checks(), line};
    if (line.has("list-keys")) {
        list_keys();
        return tool::kDone;
    }
    const char *output = line.value("output");
    const bool main = line.has("main");
    if (line.operands().empty())
        tool::refuse("no grammar to compile");
    check_outputs(line, output);

    tool::register_types();
    Grammar grammar;
    Messages messages;
    for (const char *path : line.operands())
        grammar.files.push_back(SourceFile::read(path));
    for (const SourceFile &file : grammar.files)
        understand(file, main ? TREE_MAX_NODES : TREE_WRITER_MAX_NODES, grammar, messages);
    if (main)
        want_one_root(grammar, messages);
    compiler::check(grammar, main, levels, messages);
    messages.tell();
    if (messages.faults() > 0)
        return tool::kFaults;

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
