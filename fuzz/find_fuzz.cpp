// Any bytes as a small tree and, behind it, what is typed: as a saved configuration, and as a line
// with slashes.
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
    std::span<const uint8_t> bytes{data, size};
    const std::string tree = small_main_tree(bytes);
    const tool::TreeFile file{
        store(100, reinterpret_cast<const uint8_t *>(tree.data()), tree.size())};
    const find::Forest forest{file};
    find::LineFinder finder{forest};
    const std::string typed{reinterpret_cast<const char *>(bytes.data()), bytes.size()};
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
