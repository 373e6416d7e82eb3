// A whole link of bytes that pose as the root file, as a subtree file and as a prebuilt tree: the
// first byte tells how many nodes at the end are the prebuilt tree.
#include "fuzz/memory_file.h"
#include "parse_tree/tree_check_internal.h"
#include "treelink/attach.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static std::string folder;
    if (size == 0)
        return 0;
    const size_t most_nodes = (size - 1) / TREE_NODE_SIZE;
    const size_t tree_bytes = TREE_NODE_SIZE * std::min(size_t{data[0]}, most_nodes);
    const std::string subtrees = store(100, data + 1, size - 1 - tree_bytes);
    const std::string prebuilt = store(101, data + size - tree_bytes, tree_bytes);
    if (folder.empty()) {
        folder = "/tmp/subtree-fuzz-XXXXXX";
        prebuilt_main_tree_path = mkdtemp(folder.data());
        if (symlink(prebuilt.c_str(), (folder + "/main_tree.pars").c_str()) != 0)
            abort();
        atexit([] { std::filesystem::remove_all(prebuilt_main_tree_path); });
    }

    read_parser_file(subtrees.c_str(), SUBTREE_FILE_ROOT);
    read_parser_file(subtrees.c_str(), SUBTREE_FILE_ORDINARY);
    tree_node_t *tree = nullptr;
    const auto count = static_cast<size_t>(std::max(get_parse_tree(&tree), 0));
    if (tsh::check_tree({tree, count}))
        abort();
    free(tree);
    return 0;
}
