// The dump of a whole tree: a node with several parents has its record on every path, always the
// same one, so each record is made once.
#include "cmd_gen/dump.h"

#include "atnode/walk.h"
#include "cmd_gen/node_table_internal.h"
#include "cmd_gen/record_internal.h"
#include "feature/tsh/src/trace_internal.h"

#include <cstdio>
#include <cstdlib>

namespace {

// Memory that is short is not told: the dump then goes the slow way.
void *resize_silently(void *block, uint32_t size) {
    return realloc(block, size);
}

class DumpRun {
public:
    // Takes all memory that the dump needs. Returns false when there is too little.
    bool prepare(const tree_node_t &node) {
        tsh::Record record;
        const auto look = [&record](const tree_node_t &seen) -> tsh::NodeLook {
            record.clear();
            tsh::add_short_record(record, seen);
            return {record.text(), true, false, true};
        };
        return nodes_.gather(node, look) && levels_.reserve(nodes_.size()) &&
               block_.reserve(tsh::OutputBlock::kBytes);
    }

    // Preorder. Returns false once the stream takes no more.
    bool print() {
        tsh::OutputBlock output(tsh_logfp, block_.data());
        enter(output, nodes_.first());
        while (depth_ > 0 && !output.failed()) {
            Level &level = levels_[depth_ - 1];
            if (level.position == level.node->link_count) {
                --depth_;
                continue;
            }
            const tsh::TableNode &child = nodes_.linked(*level.node, level.position);
            if (child.link_count == 0) {
                print_leaves(output, level);
            } else {
                ++level.position;
                enter(output, child);
            }
        }
        return output.hand_over();
    }

private:
    struct Level {
        const tsh::TableNode *node;
        unsigned position; // of the next link
    };

    void enter(tsh::OutputBlock &output, const tsh::TableNode &node) {
        levels_[depth_++] = {&node, 0};
        output.take_until(tsh::copy_in_chunks(output.room(), nodes_.text_of(node)));
    }

    // Most records are those of leaves, so those that stand side by side are printed in one go.
    void print_leaves(tsh::OutputBlock &output, Level &level) {
        tsh::NodeTable::Leaves leaves(nodes_, *level.node, level.position, level.node->link_count);
        while (leaves.more()) {
            char *place = output.room();
            const char *end = output.end();
            do {
                place = tsh::copy_in_chunks(place, leaves.take());
            } while (place < end && leaves.more());
            output.take_until(place);
        }
        level.position = leaves.position();
    }

    tsh::NodeTable nodes_{resize_silently};
    tsh::Store<Level> levels_{resize_silently};
    size_t depth_ = 0;
    tsh::Store<char> block_{resize_silently};
};

} // namespace

int32_t tsh_dump_tree(const tree_node_t *node) {
    if (tsh_logfp == nullptr || node == nullptr)
        return 0;
    DumpRun run;
    if (!tsh::traces(UINT32_MAX) && run.prepare(*node))
        return run.print() ? 0 : -1;
    atnode_traverse(node, 1, 3, -1, print_at_node, TREE_DUMP_SHORT);
    return fflush(tsh_logfp) == 0 && ferror(tsh_logfp) == 0 ? 0 : -1;
}
