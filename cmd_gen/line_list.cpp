// Line lists: the walk of the listing with a sink that joins words by spaces and slashes.
#include "cmd_gen/line_list.h"

#include "base/escape.h"
#include "cmd_gen/line_walk_internal.h"
#include "cmd_gen/listing_internal.h"
#include "cmd_gen/node_table_internal.h"
#include "cmd_gen/word_internal.h"

#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <string>

namespace {

using tsh::MetNode;
using tsh::NodeTable;
using tsh::resize_silently;

constexpr size_t kLongestSlash = 3; // " / "
constexpr std::string_view kNewline = "\n";
constexpr size_t kLongestSpelled = size_t{4} * TSH_WORD_SIZE; // every byte as \xNN

class Callback final : public base::Destination {
public:
    Callback(tsh_write_fn function, void *user) : write_(function), user_(user) {}
    bool write_block(std::string_view text) override { return write(text); }
    bool write(std::string_view text) override {
        return write_(text.data(), text.size(), user_) == 0;
    }
    bool flush() override { return true; }

private:
    tsh_write_fn write_;
    void *user_;
};

// Words end with a newline, because a line ends after a word.
class PlainLines {
public:
    struct Frame {
        size_t length;
        bool spaced;
    };

    explicit PlainLines(base::Destination &destination) : destination_(destination) {}

    [[nodiscard]] bool begin() {
        if (!block_.reserve(base::OutputBlock::kBytes) || !line_.grow(base::kCopyChunk))
            return false;
        output_.emplace(destination_, block_.data());
        return true;
    }

    [[nodiscard]] bool has_room(const MetNode &node) {
        return line_.grow(length_ + node.word.size() + kLongestSlash + base::kCopyChunk);
    }

    Frame enter(const MetNode &node) {
        const Frame frame{length_, spaced_};
        if (node.word.size() > kNewline.size()) {
            base::copy_in_chunks(line_.data() + length_, node.word);
            length_ += node.word.size();
            line_[length_ - 1] = ' ';
            spaced_ = true;
        }
        if (node.submode) {
            const std::string_view slash = spaced_ ? "/ " : " / ";
            length_ += slash.copy(line_.data() + length_, slash.size());
            spaced_ = false;
        }
        return frame;
    }

    void leave(Frame frame) {
        length_ = frame.length;
        spaced_ = frame.spaced;
    }
    static bool finds_siblings() { return true; }

    template <typename Words> Words print(const Words &words) {
        if (length_ > base::kLongestGathered - kLongestSpelled - base::kCopyChunk)
            return print_long(words);
        return base::gather_each(*output_, words, [this](char *place, std::string_view word) {
            return base::copy_in_chunks(base::copy_in_chunks(place, before_word(word)), word);
        });
    }

    [[nodiscard]] bool failed() const { return output_->failed(); }
    bool hand_over() { return output_->hand_over(); }

private:
    // Returns the text before a word in its line; without a space before an empty word.
    [[nodiscard]] std::string_view before_word(std::string_view word) const {
        const bool adds_nothing = word.size() == kNewline.size();
        return {line_.data(), length_ - (adds_nothing && spaced_ ? 1 : 0)};
    }

    template <typename Words> Words print_long(Words words) {
        while (words.more() && !output_->failed()) {
            const std::string_view word = words.take();
            output_->drain(before_word(word));
            output_->drain(word);
        }
        return words;
    }

    base::Destination &destination_;
    tsh::Store<char> block_{resize_silently};
    std::optional<base::OutputBlock> output_;
    tsh::Store<char> line_{resize_silently}; // text before the next word
    size_t length_ = 0;
    bool spaced_ = false; // line_ ends with a space after a word
};

} // namespace

struct tsh_line_list_t {
    explicit tsh_line_list_t(uint32_t count) : node_count(count) {} // Clang 14 wants one

    uint32_t node_count;
    NodeTable nodes{resize_silently};
};

namespace {

// Formats words with a newline. Only the few words with escapes need a string.
class WordLines {
public:
    // Returns a text that is valid until the next call.
    std::string_view line_of(const tsh::Word &word) {
        const std::string_view text = word.text();
        if (base::has_escapes(text))
            return escaped_ = base::reversibly_escaped(text) += kNewline;
        const size_t size = text.copy(usual_.data(), text.size());
        return {usual_.data(), size + kNewline.copy(usual_.data() + size, kNewline.size())};
    }

private:
    std::array<char, tsh::kLongestWord + kNewline.size()> usual_;
    std::string escaped_;
};

bool gather(tsh_line_list_t &list, const tsh_tree_t *tree, const tsh_types_t *types) {
    WordLines words;
    const auto describe = [&](const tree_node_t &node) -> tsh::NodeContent {
        return {words.line_of(tsh::spell(node, types)), tsh::has_line(node), tsh::is_submode(node),
                true};
    };
    const tree_node_t *root = tsh_tree_root(tree);
    return list.nodes.gather(root, *root, describe);
}

} // namespace

tsh_line_list_t *tsh_line_list_new(const tsh_tree_t *tree, const tsh_types_t *types) {
    if (types == nullptr)
        types = tsh_types_builtin();
    try {
        auto list = std::make_unique<tsh_line_list_t>(tsh_tree_node_count(tree));
        return gather(*list, tree, types) ? list.release() : nullptr;
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

void tsh_line_list_free(tsh_line_list_t *list) {
    delete list;
}

int32_t tsh_line_list_write(const tsh_line_list_t *list, const uint16_t *path, uint32_t path_length,
                            tsh_write_fn write, void *user) {
    const std::span words{path, path_length};
    if (std::ranges::any_of(words, [&](uint16_t node) { return node >= list->node_count; }))
        return -1;
    Callback callback{write, user};
    PlainLines lines{callback};
    tsh::WalkLevels<const NodeTable, PlainLines> levels{resize_silently};
    if (!lines.begin() || !levels.reserve(list->nodes.size()))
        return -1;

    const tsh::TableNode *last = &list->nodes.first();
    MetNode met;
    for (const uint16_t node : words) {
        lines.enter(met); // adds nothing before the first word
        last = &list->nodes.at(node);
        met = list->nodes.meet(*last);
        if (!lines.has_room(met))
            return -1;
    }
    if (met.printed)
        lines.print(tsh::OneWord(met.word));
    const auto first_cursor = [&] { return NodeTable::enter(*last, true); };
    return tsh::walk_lines(met, first_cursor, list->nodes, lines, levels) && lines.hand_over() ? 0
                                                                                               : -1;
}
