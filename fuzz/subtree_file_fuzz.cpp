// Fuzzer of the linker: the input is a root file, a subtree file and two prebuilt trees. The linked
// tree is valid, and the same if the driver links again, writes the tree and it is read back.
//
// Reaches: read_parser_file, read_par_tree, node_pickup_from_main_tree, add_subtree_in_main_tree,
// check_conflicting_children, tsh::AttachGraph::search_path, update_child_list,
// get_linked_parse_tree, tsh_main_tree_write, tsh_file_replacement_commit
#include "fuzz/input.h"
#include "fuzz/memory_file.h"
#include "parse_tree/tree_check.h"
#include "parse_tree/tree_load.h"
#include "treelink/link_driver.h"

#include <cstring>
#include <filesystem>
#include <unistd.h>

namespace {

constexpr int kFirstFile = 100;

// Directory in memory for output, with names for the input files.
std::string made_folder() {
    static char path[] = "/dev/shm/subtree-fuzz-XXXXXX";
    prebuilt_main_tree_path = mkdtemp(path);
    atexit([] { std::filesystem::remove_all(path); });
    const std::string folder = std::string{path} + "/";
    int file = kFirstFile;
    for (const char *name : {"root.par", "sub.par", "main_tree.pars", "main_tree2.pars"})
        std::filesystem::create_symlink(store(file++, {}), folder + name);
    return folder;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const std::string folder = made_folder();
    static const std::string root = folder + "root.par";
    static const std::string output = folder + "linked.par";
    Input input{data, size};
    for (int i = 0; i < 4; ++i)
        store(kFirstFile + i, input.file());
    static par_file_list_t list{};
    snprintf(list.entries[0].file_name, PAR_FILE_NAME_SIZE, "%s", (folder + "sub.par").c_str());

    tree_node_t *tree = nullptr;
    const int32_t count = get_linked_parse_tree(&tree, &list, root.c_str());
    want((update_main_parse_tree_file(&list, root.c_str(), output.c_str(), 0) == 0) == (count > 0),
         "linked again");
    if (count > 0) {
        want(tsh_tree_check(tree, static_cast<uint32_t>(count), nullptr, nullptr) == 0, "sound");
        tree_node_t *again = nullptr;
        want(verify_and_read_parse_tree(output.c_str(), &again) == count, "nodes read back");
        want(memcmp(again, tree, size_t{TREE_NODE_SIZE} * static_cast<size_t>(count)) == 0,
             "read back");
        free_main_parse_tree(again);
    }
    free(tree);
    return 0;
}
