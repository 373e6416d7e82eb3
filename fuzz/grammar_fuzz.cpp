// Fuzzer of the compiler: the input is a grammar file. If it compiles, the tree is valid, and its
// grammar (ocmd_show --yaml) compiles to the same records. The compiler uses at most the memory of
// its man page. The input is also a list of command lines: the grammar made of them compiles.
//
// Reaches: compiler::YamlReader::next, compiler::understand, compiler::check,
// compiler::check_links, compiler::lay_out, compiler::LineGrammar::add, show::show_yaml
#include "fuzz/input.h"
#include "fuzz/memory_file.h"
#include "parse_tree/tree_check.h"
#include "tools/ocmd_compile/grammar_checks.h"
#include "tools/ocmd_compile/lay_out.h"
#include "tools/ocmd_compile/line_grammar.h"
#include "tools/ocmd_compile/understand.h"
#include "tools/ocmd_show/modes.h"
#include "tools/support/types.h"

#include <algorithm>
#include <array>
#include <optional>
#include <sanitizer/allocator_interface.h>

namespace {

std::optional<tool::CheckSeverities> usual_severities;

using Records = std::vector<tree_node_t>;

std::string_view bytes_of(const Records &records) {
    return {reinterpret_cast<const char *>(records.data()), records.size() * sizeof records[0]};
}

// Counts the bytes allocated during its lifetime.
class MemoryCount {
public:
    MemoryCount() : before_(live_) { most_ = live_; }
    [[nodiscard]] size_t most() const { return most_ - before_; }

    static void install() {
        __sanitizer_install_malloc_and_free_hooks(
            [](const volatile void * /*block*/, size_t size) {
                live_ += size;
                most_ = std::max(most_, live_);
            },
            [](const volatile void *block) {
                const void *freed = const_cast<const void *>(block);
                live_ -= std::min(live_, __sanitizer_get_allocated_size(freed));
            });
    }

private:
    static inline size_t live_ = 0;
    static inline size_t most_ = 0;
    size_t before_;
};

// Returns the records of all documents; none if there is an error.
std::vector<Records> compile(std::string bytes, bool with_checks) {
    const size_t size = bytes.size();
    const MemoryCount memory;
    compiler::Grammar grammar;
    compiler::Messages messages;
    grammar.files.emplace_back("grammar", compiler::FileText{bytes.begin(), bytes.end()});
    compiler::YamlReader reader{grammar.files.front(), grammar.texts, messages};
    for (compiler::YamlDocument yaml; reader.next(yaml);)
        grammar.documents.push_back(
            compiler::understand(yaml, TREE_MAX_NODES, grammar.texts, messages));
    if (with_checks) {
        compiler::Messages of_links;
        compiler::check(grammar, true, *usual_severities, of_links);
        compiler::check(grammar, false, *usual_severities, messages);
    }
    messages.print();
    want(memory.most() <= 200 * size + (size_t{64} << 20U), "memory");
    std::vector<Records> all;
    if (messages.errors() == 0)
        for (const compiler::Document &document : grammar.documents)
            all.push_back(compiler::lay_out(document));
    return all;
}

// Returns the grammar of a list of lines; empty if there is an error.
std::string grammar_of_lines(std::string_view lines) {
    const compiler::SourceFile file{"lines", {lines.begin(), lines.end()}};
    compiler::Messages messages;
    compiler::LineGrammar grammar{messages};
    grammar.add(file);
    std::string yaml = grammar.yaml();
    messages.print();
    return yaml;
}

// Returns the grammar of a tree, if it can express all of it.
std::optional<std::string> shown(const Records &records) {
    const tool::TreeFile file{
        store(100, bytes_of(records)),
        {.container = tool::Container::kMain, .order = tool::ByteOrder::kLittle}};
    const CapturedOutput output;
    tool::TextOutput text;
    const bool says_all = show::show_yaml(file, {}, text) == tool::kDone;
    text.flush();
    return says_all ? std::optional{output.take()} : std::nullopt;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char ***argv) {
    MemoryCount::install();
    tool::register_types();
    static constexpr tool::Program kProgram{"grammar_fuzz", "", "", {}};
    std::array arguments{(*argv)[0], static_cast<char *>(nullptr)}; // libFuzzer keeps its own
    return tool::run(kProgram, 1, arguments.data(), [](const tool::CommandLine &line) {
        usual_severities.emplace(&tool::Check::in_compiler, line);
        return tool::kDone;
    });
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    for (const Records &records : compile({reinterpret_cast<const char *>(data), size}, true)) {
        const auto count = static_cast<uint32_t>(records.size());
        want(tsh_tree_check(records.data(), count, nullptr, nullptr) == 0, "sound");
        if (const auto grammar = shown(records)) {
            const std::vector<Records> again = compile(*grammar, false);
            want(again.size() == 1 && bytes_of(again[0]) == bytes_of(records), "compiled again");
        }
    }
    const std::string grammar = grammar_of_lines({reinterpret_cast<const char *>(data), size});
    want(grammar.empty() || compile(grammar, false).size() == 1, "grammar of lines");
    return 0;
}
