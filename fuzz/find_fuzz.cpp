// Fuzzer of ocmd_find: the input is a small tree and typed text, used as a saved configuration and
// as a line with slashes.
//
// Reaches: find::ConfigCheck::check, find::print_answer, find::print_refusal,
// find::write_json_answer
#include "fuzz/memory_file.h"
#include "fuzz/small_tree.h"
#include "tools/ocmd_find/answer.h"
#include "tools/ocmd_find/json_answer.h"
#include "tools/ocmd_find/saved_config.h"
#include "tools/support/program.h"
#include "tools/support/types.h"

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/) {
    tool::register_types();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input{data, size};
    const tool::TreeFile file{store(100, small_main_tree(input))};
    const find::FileGrammar grammar{file};
    const std::string typed{input.text()};
    const CapturedOutput output;
    tool::TextOutput text;

    FILE *saved = fmemopen(const_cast<char *>(typed.data()), typed.size(), "r");
    if (saved != nullptr) {
        find::ConfigCheck{grammar, {}, "", false, text}.check(saved, "saved");
        fclose(saved);
    }
    try {
        find::write_json_answer(grammar, typed, text);
        find::print_answer(grammar, typed, text);
    } catch (const tool::Stop &) { // too many words, or a NUL
    }
    return 0;
}
