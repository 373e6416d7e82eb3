// The prebuilt trees: their mappings, and the tables that tell every node's parent.
#include "base/escape.h"
#include "parse_tree/tree_check_internal.h"
#include "parse_tree/tree_load.h"
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
#include <optional>
#include <span>
#include <sys/mman.h>
#include <vector>

GHashTable *main_tree_dl_hash;
GHashTable *main_tree2_dl_hash;
char *prebuilt_main_tree_path;

namespace {

constexpr size_t kPathSize = 204; // bytes of a prebuilt tree's path with its terminating zero

using Nodes = std::span<const tree_node_t>;

struct PrebuiltTree {
    const char *file;
    GHashTable **table; // exported; the program may have put another table there
    GHashTable *built = nullptr;
    Nodes mapping = {};
};

PrebuiltTree main_tree{"main_tree.pars", &main_tree_dl_hash};
PrebuiltTree main_tree2{"main_tree2.pars", &main_tree2_dl_hash};

// The loader keeps the size of its last mapping only, so mappings are undone here.
void unmap(Nodes nodes) {
    munmap(const_cast<tree_node_t *>(nodes.data()), nodes.size_bytes());
}

// Nothing, after a message, for a tree that is there and cannot be used. The reason is the
// system's, or 0.
std::optional<Nodes> refuse(const char *file, int reason = 0) {
    tsh::warn(tsh::Loss::kNothing,
              "*** Treelink Warning ***: Prebuilt tree %s/%s cannot be used%s%s\n",
              prebuilt_main_tree_path, file, reason == 0 ? "" : ": ",
              reason == 0 ? "" : strerror(reason));
    return std::nullopt;
}

std::optional<Nodes> map_sound_tree(const char *file) {
    std::array<char, kPathSize> path;
    const int length = snprintf(path.data(), path.size(), "%s/%s", prebuilt_main_tree_path, file);
    if (length < 0 || static_cast<size_t>(length) >= path.size())
        return refuse(file);
    const tree_node_t *tree = nullptr;
    errno = 0;
    const int32_t count = verify_and_mmap_parse_tree(path.data(), &tree);
    const bool is_there = errno != ENOENT && errno != ENOTDIR;
    if (count < 1)
        return is_there ? refuse(file, errno) : std::nullopt;
    const Nodes nodes{tree, static_cast<size_t>(count)};
    if (const auto fault = tsh::at_c_edge([&] { return tsh::check_tree(nodes); })) {
        base::print_escaped(stderr, "%s: %s\n", path.data(), tsh::FaultText{nodes, *fault}.text());
        unmap(nodes);
        return refuse(file);
    }
    return nodes;
}

void release(PrebuiltTree &tree) {
    if (tree.built == nullptr || *tree.table != tree.built)
        return;
    tsh::release_name_table(tree.built);
    unmap(tree.mapping);
}

int32_t build(PrebuiltTree &tree) {
    if (prebuilt_main_tree_path == nullptr)
        return 1;
    const auto nodes = map_sound_tree(tree.file);
    if (!nodes) {
        puts("main_tree_to_hash: can't read file ");
        return 1;
    }
    release(tree);
    tree.mapping = *nodes;
    tree.built = *tree.table = tsh::new_name_table();
    return atnodes_to_dl_hash(nodes->data(), tree.built, 0, nullptr);
}

struct Visit {
    const tree_node_t *node;
    const tree_node_t *parent;
};

// The last visit that a preorder walk pays to each node, the latest visit first.
//
// The walk runs backwards: children from last to first, and a node after all that is below it.
// That is preorder reversed, so a node is first met here where preorder meets it last. What lies
// below a node that was met was met with it, so meeting the node again can add nothing, and every
// link is followed once however many paths there are.
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
    return tsh::at_c_edge([&] {
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
