// ocmd_compile: compiles grammars into subtree files, or into a main par file.
//
// Stages: read, understand, check, lay out, write. The first three run for every file, so that one
// run reports all errors; the last two run only if there are none.
#include "param_reg/values.h"
#include "parse_tree/tree_writer.h"
#include "tools/ocmd_compile/grammar.h"
#include "tools/ocmd_compile/grammar_checks.h"
#include "tools/ocmd_compile/messages.h"
#include "tools/ocmd_compile/output_file.h"
#include "tools/ocmd_compile/stages.h"
#include "tools/ocmd_compile/understand.h"
#include "tools/support/program.h"
#include "tools/support/types.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unordered_set>
#include <utility>
#include <vector>

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

// ---- Documents ----

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

void write(std::span<const Document> documents, const std::string &path, bool main) {
    compiler::OutputFile output{path};
    errno = 0;
    if (main ? !compiler::write_main(documents.front(), output.stream())
             : !compiler::write_records(documents, output.stream()))
        output.fail();
    output.commit();
}

// Documents are in the order of their files; every file has at least one.
void write_each_file(std::span<const Document> documents, bool main) {
    while (!documents.empty()) {
        const size_t count = compiler::documents_of_first_file(documents);
        write(documents.first(count), output_for(documents.front().file->name()), main);
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
        grammar.files.push_back(compiler::read_grammar(path));
    for (const SourceFile &file : grammar.files)
        compiler::add_documents(file, main ? TREE_MAX_NODES : TREE_WRITER_MAX_NODES, grammar,
                                messages);
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
