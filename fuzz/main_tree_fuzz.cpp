// Fuzzer of main trees: the input is a main par file, the mode, depth and first node of a listing,
// and typed text. A valid tree is loaded; listings, dump, walks and lookups are compared with plain
// models.
//
// Reaches: tsh_tree_check, tsh_tree_fault_text, verify_and_read_parse_tree, init_parse_tree,
// tsh::list_gathered, tsh::list_traced, tsh_dump_tree, print_at_node, atnode_traverse,
// atnode_look_ahead_foreach, atnode_find_token, atnode_find_cmd_index
#include "atnode/command_lookup.h"
#include "atnode/lookup.h"
#include "atnode/walk.h"
#include "bench/plain_walk.h"
#include "cmd_gen/dump.h"
#include "feature/tsh/src/trace.h"
#include "fuzz/input.h"
#include "fuzz/memory_file.h"
#include "param_reg/builtin_types.h"
#include "parse_tree/tree_check.h"
#include "parse_tree/tree_load.h"

#include <cstring>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <strings.h>
#include <vector>

namespace {

using Nodes = std::vector<const tree_node_t *>;

int32_t note_fault(const tsh_tree_fault_t *fault, void * /*context*/) {
    char text[TSH_TREE_FAULT_TEXT_SIZE];
    const auto count = static_cast<uint32_t>(main_tree_map_size / TREE_NODE_SIZE);
    want(tsh_tree_fault_text(g_atn, count, fault, text, sizeof text) == strlen(text), text);
    return 0;
}

// Loads the tree of a file. Returns false if it is invalid.
bool load(const char *path) {
    const int32_t count = verify_and_mmap_parse_tree(path, &g_atn);
    if (count <= 0)
        return false;
    tree_node_t *copy = nullptr;
    want(verify_and_read_parse_tree(path, &copy) == count, "nodes read");
    want(memcmp(copy, g_atn, main_tree_map_size) == 0, "read as mapped");
    free_main_parse_tree(copy);
    atnode_root = g_atn;
    const bool is_valid =
        tsh_tree_check(g_atn, static_cast<uint32_t>(count), note_fault, nullptr) == 0;
    if (is_valid && tsh_init_redirect_root() != 0)
        return true;
    munmap_main_parse_tree(g_atn);
    if (is_valid) {
        snprintf(tsh_parse_file, sizeof tsh_parse_file, "%s", path);
        init_parse_tree();
    }
    return is_valid;
}

// Returns the number of paths below a node; known then contains every node visited.
double paths_below(const tree_node_t *node, std::map<const tree_node_t *, double> &known) {
    const auto [place, is_new] = known.try_emplace(node, 1);
    for (int i = 0; is_new && i < node->child_count; ++i)
        place->second += paths_below(g_atn + node->children[i], known);
    return place->second;
}

// Output of a listing below the given number of nodes, and the indentation after it.
template <typename List>
std::string listed(const CapturedOutput &output, uint8_t height, List list) {
    stack = {};
    for (int i = 0; i < height; ++i)
        atnode_stack_push(g_atn);
    constexpr uint32_t kCounts[] = {0, 95, 999990, UINT32_MAX - 5};
    cmd_count = kCounts[height % 4];
    spc_str[0] = '\0';
    list();
    want(atnode_stack_get_height() == 1 + height && submode_depth == 0, "as it was before");
    return output.take() + spc_str;
}

void check_listing(const CapturedOutput &output, const tree_node_t *node, const char *prefix,
                   uint8_t height) {
    const tree_node_t elsewhere = *node;
    const auto list = [=, &elsewhere] {
        want(generate_cmds(&elsewhere, prefix) == 0 && generate_cmds(nullptr, prefix) == 0,
             "result");
    };
    const std::string lines = listed(output, height, [=] { plain::walk(node, prefix); });
    want(listed(output, height, list) == lines, "listing without traces");
    static FILE *const nowhere = fopen("/dev/null", "w");
    tsh_logfp = nowhere;
    tsh_debug_filter = UINT32_MAX;
    want(listed(output, height, list) == lines, "listing with traces");
    tsh_debug_filter = 0;
    stack = {};
}

void check_dump(const CapturedOutput &output, const tree_node_t *node) {
    tsh_logfp = stdout;
    atnode_traverse(node, 1, 3, -1, print_at_node, TREE_DUMP_SHORT);
    const std::string records = output.take();
    want(tsh_dump_tree(node) == 0 && output.take() == records, "dump");
    print_at_node(node, TREE_DUMP_VERBOSE);
}

Nodes visited;

int32_t visit(const tree_node_t *node, int32_t /*argument*/) {
    return visited.push_back(node), 0;
}

int32_t descend(const tree_node_t *node, int32_t argument) {
    visit(node, argument);
    atnode_children_foreach(node, descend, argument);
    return 0;
}

template <typename Walk> Nodes visits(Walk walk) {
    visited.clear();
    walk();
    return visited;
}

void check_walks(const tree_node_t *node, int32_t depth) {
    const Nodes all = visits([=] { descend(node, 0); });
    want(visits([=] { atnode_traverse(node, 1, 3, -1, visit, 0); }) == all, "atnode_traverse");
    const tree_node_t *child = atnode_nth_child(node, node->child_count - 1);
    atnode_stack_push(node);
    want(visits([=] { atnode_sibling_foreach(child, visit, 0); }) ==
             visits([=] { atnode_children_foreach(node, visit, 0); }),
         "atnode_sibling_foreach");
    for (const tree_node_t *met :
         visits([=] { atnode_look_ahead_foreach(child, visit, depth, 0); }))
        want(met->optional != 0, "atnode_look_ahead_foreach");
    atnode_stack_pop();
}

// Returns the first match, level by level.
const tree_node_t *match(const tree_node_t *node, int depth, const std::string &word) {
    for (int i = 0; i < node->child_count; ++i)
        if (strncasecmp(g_atn[node->children[i]].token, word.c_str(), word.size()) == 0)
            return g_atn + node->children[i];
    for (int i = 0; depth > 0 && i < node->child_count; ++i)
        if (const tree_node_t *found = match(g_atn + node->children[i], depth - 1, word))
            return found;
    return nullptr;
}

void check_lookups(const tree_node_t *node, const std::string &typed) {
    std::istringstream words{typed};
    const tree_node_t *found =
        typed.find_first_not_of(" \t\n\v\f\r") == typed.npos ? nullptr : node;
    for (std::string word; words >> word;) {
        for (int depth = 0; depth < 3; ++depth)
            want(atnode_find_token(node, depth, word.c_str()) == match(node, depth, word),
                 word.c_str());
        found = found == nullptr ? nullptr : match(found, 0, word);
    }
    const tree_node_t *told = atnode_find_cmd_index(node, typed.c_str());
    const bool plain = typed.find_first_of("\"\\\xFF|<>;") == typed.npos;
    want(!plain || told == found, "atnode_find_cmd_index");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    constexpr double kFewPaths = 3000;
    [[maybe_unused]] static const int32_t kRegistered = init_params();
    Input input{data, size};
    if (!load(store(100, input.file()).c_str()))
        return 0;
    cmd_gen_mode_single = input.any_of(0, 1);
    const uint8_t height = input();
    const uint8_t start = input();
    const std::string typed{std::string{input.text()}.c_str()};
    std::map<const tree_node_t *, double> known;
    if (paths_below(g_atn, known) < kFewPaths) {
        const tree_node_t *node = std::next(known.begin(), start % std::ssize(known))->first;
        const CapturedOutput output;
        check_listing(output, node, typed.c_str(), height);
        check_dump(output, node);
        check_walks(node, height % 8 - 1);
        check_lookups(node, typed);
    }
    munmap_main_parse_tree(g_atn);
    return 0;
}
