// Link driver: selection and order of the input files, and output of the result.
#include "treelink/link_driver.h"

#include "base/errno_kept.h"
#include "base/escape.h"
#include "feature/tsh/src/trace.h"
#include "parse_tree/tree_library.h"
#include "parse_tree/tree_writer.h"
#include "platform/robust_string.h"
#include "treelink/file_replacement.h"
#include "treelink/link_memory_internal.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

namespace {

constexpr const char *kRootFile = "tsh_root.par";
constexpr std::string_view kRootSuffixes[] = {"tsh_root.par", "tsh_root.pars"};
constexpr size_t kShortestNamedRoot = 13;
constexpr const char *kMainTreeFile = "main_tree.par";
constexpr const char *kSubtreeSuffix = ".par";

constexpr uint32_t kMainTreeVersion = 100;
constexpr uint32_t kMainTreePathKind = 2;

struct FileName {
    char text[PAR_FILE_NAME_SIZE];

    [[nodiscard]] bool equals(const char *other) const { return strcmp(text, other) == 0; }
};

// The complete name of entry 0; a name that is too long continues in the following entries.
std::string_view first_name_of(const par_file_list_t &list) {
    constexpr size_t kOffset = offsetof(par_file_list_t, entries[0].file_name);
    const char *name = reinterpret_cast<const char *>(&list) + kOffset;
    return {name, strnlen(name, sizeof list.entries - kOffset)};
}

bool names_a_root_file(std::string_view name) {
    return name.size() >= kShortestNamedRoot &&
           std::ranges::any_of(kRootSuffixes,
                               [&](std::string_view suffix) { return name.ends_with(suffix); });
}

FileName subtree_file_name(const par_file_entry_t &entry) {
    FileName name;
    __strcpy_to_buf(sizeof name.text, name.text, entry.file_name);
    if (strstr(name.text, kSubtreeSuffix) == nullptr)
        __strcat_to_buf(sizeof name.text, name.text, kSubtreeSuffix);
    return name;
}

void show_merging(const char *file_name) {
    if (verbose != 0)
        base::print_escaped(stdout, "Merging file %s\n", file_name);
}

int32_t refuse_root_file() {
    fputs("Treelink Error: Error in adding root parser file \n", stderr);
    return -1;
}

void read_listed_file(const par_file_entry_t &entry, const FileName &root_name) {
    const FileName name = subtree_file_name(entry);
    if (name.equals(root_name.text) || name.equals(kMainTreeFile))
        return;
    show_merging(name.text);
    if (read_parser_file(name.text, SUBTREE_FILE_ORDINARY) == -1)
        base::print_escaped(stderr, "Treelink Error: Parser file %s was not added \n", name.text);
}

using FileReplacement =
    std::unique_ptr<tsh_file_replacement_t, base::Releaser<tsh_file_replacement_abandon>>;

int32_t fail(const char *message) {
    const base::ErrnoKept kept;
    puts(message);
    return -1;
}

} // namespace

int32_t get_linked_parse_tree(tree_node_t **out, const par_file_list_t *list, const char *root) {
    *out = nullptr;
    const int32_t last_index = list == nullptr ? -1 : list->last_index;
    if (last_index >= PAR_FILE_LIST_SIZE) {
        fprintf(stderr, "Treelink Error: file list has %d as last index, over %d \n", last_index,
                PAR_FILE_LIST_SIZE - 1);
        return -1;
    }
    show_merging(root);

    FileName root_name;
    robust_strncpy(root_name.text, kRootFile, sizeof root_name.text);
    if (last_index >= 0) {
        const std::string_view first = first_name_of(*list);
        constexpr size_t kLongest = PAR_FILE_NAME_SIZE - 1;
        if (first.size() > kLongest) {
            base::print_escaped(stdout, "Treelink Error: filename %.*s too long by %zu\n",
                                static_cast<int>(first.size()), first.data(),
                                first.size() - kLongest);
            return -1;
        }
        if (names_a_root_file(first)) {
            robust_strncpy(root_name.text, first.data(), sizeof root_name.text);
            root = root_name.text;
        }
    }
    if (read_parser_file(root, SUBTREE_FILE_ROOT) == -1)
        return refuse_root_file();
    for (int32_t i = 0; i <= last_index; ++i)
        read_listed_file(list->entries[i], root_name);
    const int32_t node_count = get_parse_tree(out);
    return node_count == 0 ? refuse_root_file() : node_count;
}

int32_t update_main_parse_tree_file(const par_file_list_t *list, const char *root,
                                    const char *output, int32_t network_order) {
    tree_node_t *linked = nullptr;
    const int32_t node_count = get_linked_parse_tree(&linked, list, root);
    if (node_count < 0)
        return -1;
    const base::Block<tree_node_t> tree{linked};
    return tsh_main_tree_write(tree.get(), static_cast<uint32_t>(node_count), output,
                               network_order);
}

void tsh_main_tree_show(const tree_node_t *tree) {
    puts("\n----------------");
    puts("Displaying Tree");
    puts("----------------");
    display_array_tree(tree, 0, 0);
}

int32_t tsh_main_tree_write(tree_node_t *tree, uint32_t node_count, const char *output,
                            int32_t network_order) {
    if (verbose != 0)
        tsh_main_tree_show(tree);
    FileReplacement file{tsh_file_replacement_open(output)};
    if (file == nullptr && errno == ENOMEM)
        tsh::end_out_of_memory();
    if (file == nullptr)
        return fail("Error: Could not open main par file for writing ");
    subtree_path_t no_path;
    populate_subtree_path(&no_path, kMainTreePathKind, "");
    if (write_array_tree_to_file(tree, node_count, kMainTreeVersion, &no_path,
                                 tsh_file_replacement_stream(file.get()), network_order, 0, 1) != 0)
        return -1;
    if (tsh_file_replacement_commit(file.release()) != 0)
        return fail("Error in writing to main_tree file");
    return 0;
}
