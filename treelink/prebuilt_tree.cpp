// Prebuilt trees, and the tables of their nodes and parents.
#include "treelink/prebuilt_tree.h"

#include "base/escape.h"
#include "parse_tree/par_file_internal.h"
#include "parse_tree/tree_check_internal.h"
#include "parse_tree/tree_node_internal.h"
#include "treelink/link_memory_internal.h"
#include "treelink/link_report_internal.h"
#include "treelink/link_table_internal.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <span>
#include <utility>
#include <vector>

GHashTable *main_tree_dl_hash;
GHashTable *main_tree2_dl_hash;
char *prebuilt_main_tree_path;

namespace {

constexpr size_t kPathSize = 204; // bytes of a prebuilt tree's path, including its NUL

struct PrebuiltTree {
    const char *file;
    GHashTable **table; // exported; the program may have replaced it
    GHashTable *built = nullptr;
    base::Block<tree_node_t> nodes = {}; // the entries of the table point to them
};

PrebuiltTree main_tree{.file = PREBUILT_MAIN_TREE, .table = &main_tree_dl_hash};
PrebuiltTree main_tree2{.file = PREBUILT_MAIN_TREE2, .table = &main_tree2_dl_hash};

// Reports a tree that cannot be used. The reason is an errno or 0. Returns no nodes.
base::Block<tree_node_t> refuse(const char *file, int reason = 0) {
    tsh::warn(tsh::Loss::kNothing,
              "*** Treelink Warning ***: Prebuilt tree %s/%s cannot be used%s%s\n",
              prebuilt_main_tree_path, file, reason == 0 ? "" : ": ",
              reason == 0 ? "" : strerror(reason));
    return nullptr;
}

// Returns the valid tree in a file, or null after a report unless there is no such file. The file
// is not mapped: if another process truncated it, its readers would be killed. Records that child
// indices cannot address are not read.
base::Block<tree_node_t> read_valid_tree(const char *file) {
    std::array<char, kPathSize> path;
    const int length = snprintf(path.data(), path.size(), "%s/%s", prebuilt_main_tree_path, file);
    if (length < 0 || static_cast<size_t>(length) >= path.size())
        return refuse(file);
    const base::Descriptor tree = tsh::open_par_file(path.data());
    const off_t size = tree.size();
    if (size < 0)
        return errno == ENOENT || errno == ENOTDIR ? nullptr : refuse(file, errno);
    if (size % TREE_NODE_SIZE != 0)
        fputs("Problem with the parser file.\n", stderr);
    if (size == 0 || size % TREE_NODE_SIZE != 0)
        return refuse(file);
    const auto count = static_cast<size_t>(std::min<off_t>(size / TREE_NODE_SIZE, TREE_MAX_NODES));
    base::Block<tree_node_t> nodes = tsh::allocate<tree_node_t>(count);
    const std::span array{nodes.get(), count};
    errno = 0;
    if (base::read_fully(tree, nodes.get(), array.size_bytes()) !=
        static_cast<ssize_t>(array.size_bytes()))
        return refuse(file, errno);
    if (const auto fault = tsh::at_api_boundary([&] { return tsh::check_tree(array); })) {
        base::print_escaped(stderr, "%s: %s\n", path.data(), tsh::FaultText{array, *fault}.text());
        return refuse(file);
    }
    return nodes;
}

int32_t build(PrebuiltTree &tree) {
    if (prebuilt_main_tree_path == nullptr)
        return 1;
    base::Block<tree_node_t> nodes = read_valid_tree(tree.file);
    if (nodes == nullptr) {
        puts("main_tree_to_hash: can't read file ");
        return 1;
    }
    const bool is_ours = *tree.table == tree.built;
    if (is_ours)
        tsh::release_name_table(tree.built);
    else
        static_cast<void>(tree.nodes.release()); // the program owns the table, which points to them
    tree.nodes = std::move(nodes);
    tree.built = *tree.table = tsh::new_name_table();
    return atnodes_to_dl_hash(tree.nodes.get(), tree.built, 0, nullptr);
}

struct Visit {
    const tree_node_t *node;
    const tree_node_t *parent;
};

// Last visits of each node by a preorder walk, the latest visit first.
//
// The walk runs backward: children from last to first, and a node after its descendants. This is
// reverse preorder, so the first visit here is the last visit in preorder. The descendants of a
// visited node have also been visited, so a second visit adds nothing, and every link is followed
// once, however many paths there are.
std::vector<Visit> last_visits(const tree_node_t *base, Visit start) {
    struct PathStep {
        Visit visit;
        size_t links_left;
    };
    std::vector<Visit> visits;
    std::vector<PathStep> path;
    std::bitset<TREE_MAX_NODES> met;
    const auto enter = [&](Visit visit) {
        if (visit.node->name[0] != '\0')
            path.push_back({visit, tsh::children_of(*visit.node).size()});
    };

    enter(start);
    while (!path.empty()) {
        PathStep &step = path.back();
        const tree_node_t *node = step.visit.node;
        if (step.links_left == 0) {
            visits.push_back(step.visit);
            path.pop_back();
        } else if (const uint16_t child = node->children[--step.links_left]; !met[child]) {
            met.set(child);
            enter({base + child, node});
        }
    }
    return visits;
}

void record_visit(GHashTable *table, Visit visit) {
    char *name = tsh::copy_name(*visit.node);
    auto *entry = static_cast<dl_hash_entry_t *>(tsh::find_name(table, name));
    if (entry == nullptr) {
        entry = tsh::allocate<dl_hash_entry_t>(1).release();
        tsh::add_name(table, name, entry);
    } else {
        free(name);
    }
    *entry = {visit.node, visit.parent};
}

} // namespace

int32_t atnodes_to_dl_hash(const tree_node_t *base, GHashTable *table, uint32_t index,
                           const tree_node_t *parent) {
    return tsh::at_api_boundary([&] {
        const std::vector<Visit> visits = last_visits(base, {base + index, parent});
        std::for_each(visits.rbegin(), visits.rend(),
                      [&](const Visit &visit) { record_visit(table, visit); });
        return 0;
    });
}

int32_t main_tree_to_dl_hash(void) {
    return build(main_tree);
}

int32_t main_tree2_to_dl_hash(void) {
    return build(main_tree2);
}
