// Command lines by the library's list of them.
#include "tools/support/command_lines.h"

#include "base/escape.h"
#include "cmd_gen/word.h"

#include <array>
#include <cstdint>
#include <exception>
#include <new>
#include <span>
#include <string_view>

namespace tool {

namespace {

constexpr uint16_t kRoot = 0;

struct Destination {
    TextOutput &output;
    std::exception_ptr failure; // of a write; no exception may pass through the library
};

int32_t write_to(const char *text, size_t length, void *user) {
    auto &[output, failure] = *static_cast<Destination *>(user);
    try {
        output << std::string_view{text, length};
        return 0;
    } catch (...) {
        failure = std::current_exception();
        return -1;
    }
}

} // namespace

std::string spelled_word(const tree_node_t &node) {
    std::array<char, TSH_WORD_SIZE> word;
    const std::string_view text{word.data(), tsh_word_text(&node, word.data(), word.size())};
    return base::has_escapes(text) ? base::reversibly_escaped(text) : std::string{text};
}

std::string word_of(const tree_node_t &node) {
    std::array<char, TSH_WORD_SIZE> word;
    return {word.data(), tsh_word_text(&node, word.data(), word.size())};
}

bool begins_with_root(const TreeFile &file, const TreeRecord &record) {
    return file.container() == Container::kSubtrees && !record.attach_path.empty();
}

void list_lines(const TreeFile &file, const TreeRecord &record, TextOutput &output) {
    const LineList lines{record, output};
    if (begins_with_root(file, record))
        lines.add_below({&kRoot, 1});
    else
        lines.add_below({});
}

LineList::LineList(const TreeRecord &record, TextOutput &output)
    : list_(tsh_line_list_new(record.tree.get(), nullptr)), output_(output) {
    if (list_ == nullptr)
        throw std::bad_alloc();
}

void LineList::add_below(std::span<const uint16_t> path) const {
    Destination destination{output_, nullptr};
    const int32_t result = tsh_line_list_write(
        list_.get(), path.data(), static_cast<uint32_t>(path.size()), write_to, &destination);
    if (destination.failure)
        std::rethrow_exception(destination.failure);
    if (result != 0)
        throw std::bad_alloc();
}

} // namespace tool
