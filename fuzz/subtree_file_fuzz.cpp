// A whole link of bytes that pose as the root file, as a subtree file and as a prebuilt tree.
#include "parse_tree/tree_check_internal.h"
#include "treelink/attach.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace {

// Makes a file in memory of the bytes, a new one under a name that stays the same.
std::string store(int descriptor, const uint8_t *data, size_t size) {
    const int created = memfd_create("input", 0);
    if (dup2(created, descriptor) < 0 || write(created, data, size) != static_cast<ssize_t>(size))
        abort();
    close(created);
    return "/proc/self/fd/" + std::to_string(descriptor);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static std::string folder;
    const std::string subtrees = store(100, data, size);
    const size_t rest = size % TREE_NODE_SIZE; // the prebuilt tree is what follows
    const std::string prebuilt = store(101, data + rest, size - rest);
    if (folder.empty()) {
        folder = "/tmp/subtree-fuzz-XXXXXX";
        prebuilt_main_tree_path = mkdtemp(folder.data());
        if (symlink(prebuilt.c_str(), (folder + "/main_tree.pars").c_str()) != 0)
            abort();
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
