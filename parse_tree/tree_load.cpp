// Loading of main par files, and the state of the loaded tree.
#include "parse_tree/tree_load.h"

#include "base/errno_kept.h"
#include "base/escape.h"
#include "base/owners.h"
#include "feature/tsh/src/trace_internal.h"
#include "parse_tree/load_error_internal.h"
#include "parse_tree/tree_internal.h"
#include "parse_tree/tree_library.h"
#include "platform/robust_string.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <sys/mman.h>
#include <unistd.h>

using tsh::trace;
using tsh::traces;

char tsh_parse_file[TSH_PARSE_FILE_SIZE];
const tree_node_t *g_atn;
const tree_node_t *atnode_root;
const tree_node_t *atnode_redirect_root;
size_t main_tree_map_size;

namespace {

constexpr const char *kParDirectory = "/wysk/etc/par";
constexpr const char *kMainTreeFile = "main_tree.par";

int32_t fail(const char *message) {
    fputs(message, stderr);
    return -1;
}

int32_t fail_with_reason(const char *what) {
    const base::ErrnoKept kept;
    fprintf(stderr, "%s: %s\n", what, strerror(errno));
    return -1;
}

[[noreturn]] void give_up(const char *message) {
    puts(message);
    exit(1);
}

void name_parse_file() {
    if (tsh_parse_file[0] != '\0')
        return;
    if (const char *name = getenv("TSH_PARSE_TREE"))
        robust_strncpy(tsh_parse_file, name, sizeof tsh_parse_file);
    else
        tsh_parse_tree_filename_get(tsh_parse_file, sizeof tsh_parse_file);
}

void report(const tsh_error_t &error) {
    const bool cut = strlen(tsh_parse_file) == sizeof tsh_parse_file - 1;
    base::print_escaped(stderr, "%s: %s%s\n", tsh_parse_file, error.text,
                        cut ? "; names are cut at 127 characters" : "");
}

// The nodes of the tree; none, with a report, if it cannot be mapped or is invalid.
std::span<const tree_node_t> map_valid_tree() {
    errno = 0;
    const int32_t node_count = verify_and_mmap_parse_tree(tsh_parse_file, &g_atn);
    if (node_count < 0) {
        report(tsh::mapping_error(tsh_parse_file, errno));
        return {};
    }
    const std::span nodes{g_atn, static_cast<size_t>(node_count)};
    const tsh_error_t error = tsh::tree_error(nodes);
    if (error.code == TSH_ERROR_NONE)
        return nodes;
    report(error);
    return {};
}

} // namespace

int32_t init_parse_tree(void) {
    name_parse_file();
    if (traces(TSH_TRACE_STARTUP))
        trace("\nMapping main parse file: %s", tsh_parse_file);

    const std::span nodes = map_valid_tree();
    if (nodes.empty())
        give_up("\n Error mapping main parse tree... ");
    atnode_root = g_atn;
    if (tsh_init_redirect_root() != 0) {
        report(tsh::redirect_root_error(nodes));
        give_up("\n Error finding the tsh redirect root node ... ");
    }
    tsh_parse_tree_root_set(0);
    return 0;
}

int32_t tsh_parse_tree_filename_get(char *buffer, uint32_t capacity) {
    snprintf(buffer, capacity, "%s/default/%s", kParDirectory, kMainTreeFile);
    return 0;
}

int32_t verify_and_mmap_parse_tree(const char *path, const tree_node_t **out) {
    {
        const base::Descriptor file = tsh::open_par_file(path);
        const off_t size = file.size();
        if (size < 0)
            return -1;
        if (!tsh::is_tree_size(size))
            return fail("Problem with the parser file.\n");
    }
    return mmap_main_parse_tree(path, out);
}

int32_t mmap_main_parse_tree(const char *path, const tree_node_t **out) {
    const base::Descriptor file = tsh::open_par_file(path);
    const off_t size = file.size();
    if (size < 0)
        return fail_with_reason("Error cannot stat file");
    main_tree_map_size = static_cast<size_t>(size);
    if (!tsh::is_tree_size(size))
        return fail("Error file size error.\n");
    tsh::Mapping mapping{file, main_tree_map_size};
    if (mapping.nodes().empty())
        return fail_with_reason("Error mapping file");
    *out = mapping.release().data();
    return static_cast<int32_t>(size / TREE_NODE_SIZE);
}

int32_t munmap_main_parse_tree(const void *address) {
    if (munmap(const_cast<void *>(address), main_tree_map_size) != 0)
        return fail_with_reason("Error unmapping file");
    return 0;
}

int32_t verify_and_read_parse_tree(const char *path, tree_node_t **out) {
    const base::Descriptor file = tsh::open_par_file(path);
    if (!file)
        return fail_with_reason("Error opening file");
    const off_t size = file.size();
    if (size < 0)
        return fail_with_reason("Error cannot stat file");
    if (!tsh::is_tree_size(size))
        return fail("Error file format not main par file\n");

    errno = 0; // a short read sets none
    const auto bytes = static_cast<size_t>(size);
    base::Block<tree_node_t> nodes{static_cast<tree_node_t *>(malloc(std::max<size_t>(bytes, 1)))};
    if (nodes == nullptr || base::read_fully(file, nodes.get(), bytes) != size)
        return fail_with_reason("Error reading file");
    *out = nodes.release();
    return static_cast<int32_t>(size / TREE_NODE_SIZE);
}

int32_t free_main_parse_tree(tree_node_t *tree) {
    free(tree);
    return 0;
}

int32_t tsh_init_redirect_root(void) {
    atnode_redirect_root = nullptr;
    if (g_atn == nullptr || atnode_root == nullptr)
        return -1;
    atnode_redirect_root = tsh::find_redirect_root(g_atn, *atnode_root);
    return atnode_redirect_root != nullptr ? 0 : -1;
}

void tsh_parse_tree_release(const tsh_generic_node_t *node) {
    if (node->links[0] == 0 && node->links[1] == 0 && node->links[2] == 0)
        return;
    if (traces(TSH_TRACE_NAVIGATION))
        trace("Gnode is not root\n");
    fputs("Parse tree not released\n", stdout);
}

int32_t intf_subtree_mask_equal(uint64_t /*intf_mask*/) {
    return 1;
}

int32_t perms_mask_valid(const uint8_t * /*perms_mask*/) {
    return 1;
}
