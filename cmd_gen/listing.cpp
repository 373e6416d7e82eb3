// The fast way: one walk over gathered nodes that builds each line in place, appending the words on
// the way down and cutting them off on the way back. All memory is taken before the first line.
#include "cmd_gen/listing_internal.h"

#include "atnode/stack.h"
#include "cmd_gen/command_line_internal.h"
#include "cmd_gen/line_output_internal.h"
#include "cmd_gen/node_table_internal.h"
#include "cmd_gen/word_internal.h"

namespace {

class Listing {
public:
    [[nodiscard]] tsh::ListResult list(const tree_node_t &node, std::string_view prefix) {
        if (!prepare(node, prefix.size()))
            return tsh::ListResult::kNoMemory;
        line_.begin();
        line_.append(prefix);
        tsh::LineOutput output(block_.data());
        walk(output);
        return output.hand_over() ? tsh::ListResult::kDone : tsh::ListResult::kLostOutput;
    }

private:
    // A node whose links are being listed, and what to go back to then.
    struct Level {
        const tsh::TableNode *node;
        unsigned position;
        unsigned end;
        bool in_submode; // of its own
        tsh::CommandLine::Mark outer;
    };

    bool prepare(const tree_node_t &node, size_t longest) {
        base::TextBuilder<tsh::kLongestGappedWord> word;
        const auto look = [&](const tree_node_t &seen) -> tsh::NodeLook {
            if (tsh::is_left_out(seen))
                return {};
            word.clear();
            word << tsh::kWordGap << tsh::spell(seen).text();
            // No line is longer than all words together.
            longest += word.text().size() + (tsh::is_submode(seen) ? SPC_STR_SIZE : 0);
            return {word.text(), tsh::has_line(seen), tsh::is_submode(seen), tsh::is_entered(seen)};
        };
        return nodes_.gather(node, look) && levels_.reserve(nodes_.size()) &&
               line_.reserve(longest + SPC_STR_SIZE) && block_.reserve(tsh::OutputBlock::kBytes);
    }

    void walk(tsh::LineOutput &output) {
        enter(nodes_.first(), false, line_.mark());
        while (depth_ > 0) {
            Level &level = levels_[depth_ - 1];
            if (level.position == level.end || output.failed()) {
                leave(level);
                continue;
            }
            const tsh::TableNode &child = nodes_.linked(*level.node, level.position);
            if (child.link_count == 0) {
                print_leaves(output, level);
                continue;
            }
            ++level.position;
            if (child.printed)
                print(output, tsh::OneWord(nodes_.text_of(child)));
            enter_child(child);
        }
    }

    void enter_child(const tsh::TableNode &child) {
        const tsh::CommandLine::Mark outer = line_.mark();
        if (child.submode) {
            ++submode_depth;
            line_.begin();
        } else {
            line_.append(nodes_.text_of(child));
        }
        enter(child, child.submode, outer);
    }

    // A level that the full stack does not hold has a first child, but no next sibling is found.
    void enter(const tsh::TableNode &node, bool in_submode, tsh::CommandLine::Mark outer) {
        atnode_stack_push(nodes_.record_of(node));
        const bool is_held = stack.atn_stack_top < ATN_STACK_SIZE;
        const unsigned end = is_held ? node.link_count : (node.links_first ? 1 : 0);
        levels_[depth_++] = {&node, 0, end, in_submode, outer};
    }

    void leave(const Level &level) {
        atnode_stack_pop();
        if (level.in_submode)
            --submode_depth;
        line_.cut_back(level.outer);
        --depth_;
    }

    // Most lines end in a leaf, so those that stand side by side are printed in one go.
    void print_leaves(tsh::LineOutput &output, Level &level) {
        const tsh::NodeTable::Leaves leaves(nodes_, *level.node, level.position, level.end);
        level.position = print(output, leaves).position();
    }

    template <typename Words> Words print(tsh::LineOutput &output, const Words &words) {
        if (submode_depth != shown_depth_) {
            shown_depth_ = submode_depth;
            tsh::show_indentation();
        }
        return output.print(line_.text(), words);
    }

    tsh::NodeTable nodes_{tsh_realloc};
    tsh::Store<Level> levels_{tsh_realloc};
    size_t depth_ = 0;
    tsh::CommandLine line_;
    tsh::Store<char> block_{tsh_realloc};
    int32_t shown_depth_ = -1; // submode depth that spc_str shows
};

} // namespace

tsh::ListResult tsh::list_gathered(const tree_node_t &node, std::string_view prefix) {
    return Listing().list(node, prefix);
}
