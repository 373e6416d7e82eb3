// Fast listing: one walk over collected nodes that builds each line in place. It appends words on
// the way down and removes them on the way back. All memory is allocated before the first line.
#include "cmd_gen/listing_internal.h"

#include "cmd_gen/listing_path_internal.h"
#include "cmd_gen/node_table_internal.h"
#include "cmd_gen/word_internal.h"

namespace {

class NumberedLines : public tsh::ListingPath {
public:
    /// @param block base::OutputBlock::kBytes of memory that outlive the lines.
    NumberedLines(tsh::CommandLine &line, char *block) : ListingPath(line), output_(block) {}

    static bool has_room(const tsh::MetNode & /*node*/) { return true; }

    template <typename Words> Words print(const Words &words) {
        if (submode_depth != shown_depth_) {
            shown_depth_ = submode_depth;
            tsh::show_indentation();
        }
        return output_.print(line_.text(), words);
    }

    [[nodiscard]] bool failed() const { return output_.failed(); }
    bool hand_over() { return output_.hand_over(); }

private:
    tsh::LineOutput output_;
    int32_t shown_depth_ = -1; // submode depth of spc_str
};

class Listing {
public:
    [[nodiscard]] tsh::ListResult list(const tree_node_t &node, std::string_view prefix) {
        if (!prepare(node, prefix.size()))
            return tsh::ListResult::kNoMemory;
        line_.begin();
        line_.append(prefix);
        NumberedLines lines{line_, block_.data()};
        const tsh::MetNode first{.record = &node};
        const auto first_cursor = [&] {
            return nodes_.first_cursor(NumberedLines::finds_siblings());
        };
        if (!tsh::walk_lines(first, first_cursor, nodes_, lines, levels_))
            return tsh::ListResult::kNoMemory;
        return lines.hand_over() ? tsh::ListResult::kDone : tsh::ListResult::kLostOutput;
    }

private:
    bool prepare(const tree_node_t &node, size_t longest) {
        base::TextBuilder<tsh::kLongestGappedWord> word;
        const auto describe = [&](const tree_node_t &seen) -> tsh::NodeContent {
            if (tsh::is_left_out(seen))
                return {};
            word.clear();
            word << tsh::kWordGap << tsh::spell(seen).text();
            // No line is longer than all words together.
            longest += word.text().size() + (tsh::is_submode(seen) ? SPC_STR_SIZE : 0);
            return {word.text(), tsh::has_line(seen), tsh::is_submode(seen), tsh::is_entered(seen)};
        };
        return nodes_.gather(g_atn, node, describe) && levels_.reserve(nodes_.size()) &&
               line_.reserve(longest + SPC_STR_SIZE) && block_.reserve(base::OutputBlock::kBytes);
    }

    tsh::NodeTable nodes_{tsh_realloc};
    tsh::CommandLine line_;
    tsh::Store<char> block_{tsh_realloc};
    tsh::WalkLevels<tsh::NodeTable, NumberedLines> levels_{tsh_realloc};
};

} // namespace

tsh::ListResult tsh::list_gathered(const tree_node_t &node, std::string_view prefix) {
    return Listing().list(node, prefix);
}
