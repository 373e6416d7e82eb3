// A whole link of bytes that pose as the root file, as a subtree file and as a prebuilt tree.
#include "parse_tree/tree_check_internal.h"
#include "treelink/attach.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace {

// Files in memory, new ones for each input, at descriptors that never change.
constexpr int kSubtrees = 100;
constexpr int kPrebuilt = 101;

std::string name_of(int descriptor) {
    return "/proc/self/fd/" + std::to_string(descriptor);
}

void store(int descriptor, const uint8_t *data, size_t size) {
    const int created = memfd_create("input", 0);
    if (dup2(created, descriptor) < 0 || write(created, data, size) != static_cast<ssize_t>(size))
        abort();
    close(created);
}

char *prebuilt_folder() {
    static std::string folder = "/tmp/subtree-fuzz-XXXXXX";
    if (mkdtemp(folder.data()) == nullptr ||
        symlink(name_of(kPrebuilt).c_str(), (folder + "/main_tree.pars").c_str()) != 0)
        abort();
    return folder.data();
}

} // namespace

// The prebuilt tree is made of the last bytes of the input.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static char *const folder = prebuilt_folder();
    const std::string file = name_of(kSubtrees);
    prebuilt_main_tree_path = folder;
    store(kSubtrees, data, size);
    store(kPrebuilt, data + size % TREE_NODE_SIZE, size - size % TREE_NODE_SIZE);

    read_parser_file(file.c_str(), SUBTREE_FILE_ROOT);
    read_parser_file(file.c_str(), SUBTREE_FILE_ORDINARY);
    tree_node_t *tree = nullptr;
    const auto count = static_cast<size_t>(std::max(get_parse_tree(&tree), 0));
    const auto fault = tsh::check_tree({tree, count});
    if (fault && strstr(fault->what, "levels") == nullptr)
        abort();
    free(tree);
    return 0;
}
