// Where subtree_file_fuzz starts from: small files by the library's own writer, each on its own way
// through a link. subtree_file_seeds FOLDER
#include "parse_tree/tree_library.h"
#include "parse_tree/tree_writer.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using Nodes = std::vector<tree_node_t>;

// A node named and spelled by one letter; a capital stands for a parameter.
tree_node_t node(char letter, const std::vector<uint16_t> &children = {}) {
    tree_node_t node{};
    node.name[0] = letter;
    if (letter >= 'a') {
        node.token[0] = letter;
    } else {
        node.param_count = 1;
        node.params[0].type_mask = 1;
    }
    for (const uint16_t child : children)
        node.children[node.child_count++] = child;
    return node;
}

// Nodes as a file holds them: a subtree in network order, or without a path a bare tree in host
// order.
std::string written(Nodes nodes, const char *path = nullptr) {
    char *bytes = nullptr;
    size_t size = 0;
    FILE *stream = open_memstream(&bytes, &size);
    subtree_path_t attach_path{};
    populate_subtree_path(&attach_path, 2, path);
    const auto count = static_cast<uint32_t>(nodes.size());
    const int32_t bare = path == nullptr ? 1 : 0;
    write_array_tree_to_file(nodes.data(), count, 1, &attach_path, stream, 1 - bare, 0, bare);
    fclose(stream);
    std::string text(bytes, size);
    free(bytes);
    return text;
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2)
        return EXIT_FAILURE;
    const std::string a = written({node('a')}, "");
    const std::string tree = written({node('a', {1, 2}), node('b', {2}), node('c')}, "");
    const std::string prebuilt = written({node('a', {1}), node('p', {2}), node('q')});
    const struct {
        char prebuilt_nodes;
        std::string bytes;
    } seeds[] = {
        {0, a},
        {0, tree},
        {0, tree + written({node('d', {1}), node('E')}, "b,c")},
        {0, a + written({node('d')}, "e") + written({node('e')}, "d,a")},    // a cycle
        {0, tree + written({node('b')}, "a") + written({node('F')}, "c,c")}, // clashes
        {0, a + written({node('A')}, "a") + written({node('B')}, "a")},      // and again
        {0, a + written({node('d')}, "none") + written({node('e')}, "d") + "cut short"}, // is lost
        {3, a + written({node('d')}, "q") + prebuilt}, // is borrowed
    };
    std::filesystem::create_directories(argv[1]);
    for (size_t i = 0; i < std::size(seeds); ++i) {
        const std::string file = std::string(argv[1]) + "/" + std::to_string(i);
        FILE *stream = fopen(file.c_str(), "w");
        const std::string bytes = seeds[i].prebuilt_nodes + seeds[i].bytes;
        if (stream == nullptr || fwrite(bytes.data(), bytes.size(), 1, stream) != 1 ||
            fclose(stream) != 0)
            return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
