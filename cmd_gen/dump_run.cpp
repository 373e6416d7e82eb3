// Dump of a complete tree. A shared node has the same record on every path, so each record is
// formatted once.
#include "cmd_gen/dump.h"

#include "atnode/walk.h"
#include "cmd_gen/node_table_internal.h"
#include "cmd_gen/record_internal.h"
#include "feature/tsh/src/trace_internal.h"
#include "parse_tree/tree_load.h"

#include <cstdio>
#include <cstdlib>
#include <optional>

namespace {

using tsh::resize_silently; // without memory, the dump formats every record

// Prints the record of each node that the walk reaches; entering a node adds nothing.
class RecordLines {
public:
    struct Frame {};

    [[nodiscard]] bool reserve() { return block_.reserve(base::OutputBlock::kBytes); }
    void begin() { output_.emplace(log_, block_.data()); }

    static bool has_room(const tsh::MetNode & /*node*/) { return true; }
    static Frame enter(const tsh::MetNode & /*node*/) { return {}; }
    static void leave(Frame /*frame*/) {}
    static bool finds_siblings() { return true; }

    template <typename Records> Records print(const Records &records) {
        return base::gather_each(*output_, records, base::copy_in_chunks);
    }

    [[nodiscard]] bool failed() const { return output_->failed(); }
    bool hand_over() { return output_->hand_over(); }

private:
    tsh::Store<char> block_{resize_silently};
    base::StreamDestination log_{tsh_logfp};
    std::optional<base::OutputBlock> output_;
};

class DumpRun {
public:
    // Allocates all memory of the dump. Returns false if out of memory.
    bool prepare(const tree_node_t &node) {
        tsh::Record record;
        const auto describe = [&record](const tree_node_t &seen) -> tsh::NodeContent {
            record.clear();
            tsh::add_short_record(record, seen);
            return {record.text(), true, false, true};
        };
        return nodes_.gather(g_atn, node, describe) && levels_.reserve(nodes_.size()) &&
               records_.reserve();
    }

    // Prints the records in preorder. Returns false after a write error.
    bool print() {
        records_.begin();
        records_.print(tsh::OneWord(nodes_.text_of(nodes_.first())));
        const auto first_cursor = [this] { return nodes_.first_cursor(true); };
        return tsh::walk_lines({}, first_cursor, nodes_, records_, levels_) && records_.hand_over();
    }

private:
    tsh::NodeTable nodes_{resize_silently};
    RecordLines records_;
    tsh::WalkLevels<tsh::NodeTable, RecordLines> levels_{resize_silently};
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
