// ocmd_compile: compiles grammars into subtree files, or into a main par file.
//
// Stages: read, understand, check, link, lay out, write. The first three run for every file, so
// that one run reports all errors; the others run only if there are none.
#include "param_reg/values.h"
#include "tools/ocmd_compile/dependencies.h"
#include "tools/ocmd_compile/file_identity.h"
#include "tools/ocmd_compile/grammar.h"
#include "tools/ocmd_compile/line_grammar.h"
#include "tools/ocmd_compile/main_tree.h"
#include "tools/ocmd_compile/messages.h"
#include "tools/ocmd_compile/output_file.h"
#include "tools/ocmd_compile/stages.h"
#include "tools/ocmd_compile/understand.h"
#include "tools/support/checks.h"
#include "tools/support/program.h"
#include "tools/support/types.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <deque>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using compiler::Document;
using compiler::Grammar;
using compiler::MainTree;
using tool::CommandLine;

constexpr std::array kOptions{
    tool::Option{'o', "output", "OUT",
                 "Write to OUT (- for standard output). Default: FILE.par for each FILE.yaml."},
    tool::Option{0, "main", nullptr, "Compile and link all documents into one main par file."},
    tool::Option{'p', "prebuilt", "DIRECTORY",
                 "With --main: borrow missing nodes from main_tree.pars and main_tree2.pars in "
                 "DIRECTORY."},
    tool::Option{0, "check", nullptr, "Report all errors, but write no file."},
    tool::Option{'M', "dependencies", "FILE",
                 "Write the files that the output depends on to FILE, as a rule for make or "
                 "Ninja."},
    tool::Option{0, "lines", nullptr,
                 "Make a grammar of command lines, by default on standard output."},
    tool::kStrictOption,
    tool::kWarnOption,
    tool::kErrorOption,
    tool::kListChecksOption,
    tool::Option{0, "list-keys", nullptr, "Print all keys of the grammar format and exit."},
    tool::Option{0, "list-types", nullptr, "Print all parameter types and exit."},
};

constexpr tool::Program kProgram{
    "ocmd_compile", "GRAMMAR.yaml...",
    "Compiles YAML grammars into subtree files (one record per document), or compiles and links\n"
    "them into one main par file. All errors are reported; on error, no file is written.",
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

template <typename Write> void write(const std::string &path, const Write &write_to) {
    compiler::OutputFile output{path};
    errno = 0;
    if (!write_to(output.stream()))
        output.fail();
    output.commit();
}

void write_subtrees(std::span<const Document> documents, const std::string &path) {
    write(path, [&](FILE *stream) { return compiler::write_records(documents, stream); });
}

// Documents are in the order of their files; every file has at least one.
void write_each_file(std::span<const Document> documents) {
    while (!documents.empty()) {
        const size_t count = compiler::documents_of_first_file(documents);
        write_subtrees(documents.first(count), output_for(documents.front().file->name()));
        documents = documents.subspan(count);
    }
}

// ---- The run ----

// Files by identity instead of name.
class Files {
public:
    // Returns false if the file is in the set.
    bool add(const std::string &path) {
        const auto file = compiler::file_identity(path);
        return !file || files_.insert(*file).second;
    }

    [[nodiscard]] bool have(const std::string &path) const {
        const auto file = path == "-" ? std::nullopt : compiler::file_identity(path);
        return file && files_.contains(*file);
    }

private:
    std::set<compiler::FileIdentity> files_;
};

// What the command line requests.
struct Request {
    explicit Request(const CommandLine &line)
        : inputs(line.operands().begin(), line.operands().end()), lines(line.has("lines")),
          main(line.has("main")), only_check(line.has("check")),
          dependencies(line.value("dependencies")) {
        if (inputs.empty())
            tool::refuse("missing operand: %s", lines ? "LINES" : "GRAMMAR.yaml");
        if (lines && main)
            tool::refuse("--lines makes a grammar, --main compiles one");
        if (const char *given = line.value("output"))
            output = given;
        else if (lines)
            output.emplace(1, '-'); // GCC 12 warns of an assignment
        else if (main && inputs.size() == 1 && inputs.front() != "-")
            output = output_for(inputs.front());
        else if (main && !only_check)
            tool::refuse("--main with several grammars or standard input needs -o OUT");
        if (line.has("prebuilt") && !main)
            tool::refuse("-p requires --main");
    }

    std::vector<std::string> inputs;
    bool lines;
    bool main;
    bool only_check;
    const char *dependencies;          // null if not requested
    std::optional<std::string> output; // for all inputs; nothing: one for each
};

// Refuses grammars that are given twice. Command lines are repeated without harm.
Files inputs_of(const Request &request) {
    Files inputs;
    for (const std::string &input : request.inputs)
        if (!inputs.add(input == "-" ? "/dev/stdin" : input) && !request.lines)
            tool::refuse("%s: is given twice", input == "-" ? "standard input" : input.c_str());
    for (const std::string &prebuilt : compiler::prebuilt_paths())
        inputs.add(prebuilt);
    return inputs;
}

void check_names_in_rules(const Request &request, std::vector<std::string> names) {
    names.insert(names.end(), request.inputs.begin(), request.inputs.end());
    for (const std::string &prebuilt : compiler::prebuilt_files())
        names.push_back(prebuilt);
    for (const std::string &name : names)
        if (!compiler::can_be_in_rule(name))
            tool::refuse("%s: make or Ninja would misread this name in the file of -M",
                         name.c_str());
}

// Refuses outputs that would overwrite an input or each other.
void check_outputs(const Request &request) {
    const Files inputs = inputs_of(request);
    Files outputs;
    std::vector<std::string> names;
    if (request.output) {
        if (request.output->empty())
            tool::refuse("empty argument for -o; expected a file name");
        if (inputs.have(*request.output))
            tool::refuse("%s: is both input and output", request.output->c_str());
        if (*request.output != "-")
            outputs.add(*request.output);
        names.push_back(*request.output);
    }
    for (const std::string &input : request.output ? std::vector<std::string>{} : request.inputs) {
        if (input == "-" && request.only_check)
            continue;
        if (input == "-")
            tool::refuse("cannot derive an output name from standard input; use -o");
        const std::string output = output_for(input);
        if (inputs.have(output))
            tool::refuse("%s: output of %s would overwrite an input file; use -o", output.c_str(),
                         input.c_str());
        if (!outputs.add(output))
            tool::refuse("%s: another input also produces %s; use -o", input.c_str(),
                         output.c_str());
        names.push_back(output);
    }
    if (request.dependencies == nullptr)
        return;
    if (*request.dependencies == '\0')
        tool::refuse("empty argument for -M; expected a file name");
    if (outputs.have(request.dependencies) || inputs.have(request.dependencies))
        tool::refuse("%s: the dependencies would overwrite an input or output file",
                     request.dependencies);
    if (request.output == "-")
        tool::refuse("-M requires an output file; use -o OUT");
    check_names_in_rules(request, std::move(names));
}

// Writes one rule for each output. Standard input is no dependency.
void write_dependencies(const Request &request) {
    const std::vector<std::string> prebuilt = compiler::prebuilt_files();
    std::string rules;
    if (request.output) {
        std::vector<std::string> files = request.inputs;
        std::erase(files, "-");
        files.insert(files.end(), prebuilt.begin(), prebuilt.end());
        rules = compiler::dependency_rule(*request.output, files);
    } else {
        for (const std::string &input : request.inputs)
            rules += compiler::dependency_rule(output_for(input), {&input, 1});
    }
    write(request.dependencies, [&](FILE *stream) {
        return fwrite(rules.data(), 1, rules.size(), stream) == rules.size();
    });
}

// Makes a grammar of command lines, one on each line of the files.
tool::Status make_grammar(const Request &request) {
    tool::register_types();
    compiler::Messages messages;
    std::deque<compiler::SourceFile> files;
    compiler::LineGrammar grammar{messages};
    for (const std::string &path : request.inputs)
        grammar.add(files.emplace_back(compiler::read_grammar(path)));
    const std::string yaml = grammar.yaml();
    messages.print();
    if (messages.errors() > 0)
        return tool::kNegative;
    if (request.only_check)
        return tool::kDone;
    write(*request.output,
          [&](FILE *stream) { return fwrite(yaml.data(), 1, yaml.size(), stream) == yaml.size(); });
    if (request.dependencies != nullptr)
        write_dependencies(request);
    return tool::kDone;
}

tool::Status compile(const CommandLine &line) {
    const tool::CheckSeverities severities{&tool::Check::in_compiler, line};
    if (line.has("list-keys")) {
        list_keys();
        return tool::kDone;
    }
    if (line.has("list-types")) {
        list_types();
        return tool::kDone;
    }
    const Request request{line};
    const char *prebuilt = line.value("prebuilt");
    compiler::use_prebuilt_trees(prebuilt);
    check_outputs(request);
    if (prebuilt != nullptr && compiler::prebuilt_files().empty())
        tool::report("%s: no prebuilt tree in this directory", prebuilt);
    if (request.lines)
        return make_grammar(request);

    tool::register_types();
    Grammar grammar;
    compiler::read_grammars(
        request.inputs, request.main ? compiler::Target::kMainTree : compiler::Target::kSubtrees,
        severities, grammar);
    std::optional<MainTree> tree;
    if (request.main)
        tree.emplace(grammar.documents);
    if (request.only_check)
        return tool::kDone;
    if (tree)
        write(*request.output, [&](FILE *stream) { return tree->write(stream); });
    else if (request.output)
        write_subtrees(grammar.documents, *request.output);
    else
        write_each_file(grammar.documents);
    if (request.dependencies != nullptr)
        write_dependencies(request);
    return tool::kDone;
}

} // namespace

int main(int argc, char **argv) {
    return tool::run(kProgram, argc, argv, compile);
}
