// Any bytes as a small tree and, behind it, what is typed: as a saved configuration, and as a line
// with slashes.
//
// Reaches: find::ConfigCheck::check, find::LineFinder::resolve, find::print_answer,
// find::tell_refusal
#include "fuzz/memory_file.h"
#include "fuzz/small_tree.h"
#include "tools/ocmd_find/answer.h"
#include "tools/ocmd_find/saved_config.h"
#include "tools/support/types.h"

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/) {
    tool::register_types();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input{data, size};
    const tool::TreeFile file{store(100, small_main_tree(input))};
    const find::Forest forest{file};
    find::LineFinder finder{forest};
    const std::string typed{input.text()};
    const CapturedOutput output;
    tool::TextOutput text;

    FILE *saved = fmemopen(const_cast<char *>(typed.data()), typed.size(), "r");
    if (saved != nullptr) {
        find::ConfigCheck{finder, text}.check(saved, "saved");
        fclose(saved);
    }
    const find::TypedLine line{typed};
    if (line.fault() || line.words().empty())
        return 0;
    const find::Resolution resolution = finder.resolve(finder.start(), line, true);
    if (resolution.is_read)
        find::print_answer(finder, line, resolution, text);
    else
        find::tell_refusal(forest, line, resolution);
    return 0;
}
