// Reader for subtree files, which adds their subtrees to the lists.
#include "treelink/subtree_read.h"

#include "base/errno_kept.h"
#include "base/escape.h"
#include "feature/tsh/src/trace.h"
#include "parse_tree/byte_order.h"
#include "parse_tree/byte_order_internal.h"
#include "parse_tree/tree_check_internal.h"
#include "parse_tree/tree_file.h"
#include "parse_tree/tree_library.h"
#include "platform/robust_string.h"
#include "treelink/ignored_data_internal.h"
#include "treelink/link_memory_internal.h"
#include "treelink/link_report_internal.h"
#include "treelink/link_table_internal.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <glib.h>
#include <memory>
#include <optional>
#include <string_view>
#include <sys/stat.h>
#include <zlib.h>

subtree_entry_t *tsh_root_tree_table;
subtree_entry_t *unresolved_subtree_table;
int32_t fresh_tree_linking = 1;
FILE *output_stream;

using tsh::Loss;

namespace {

// Numbers of subtrees and nodes that read_parser_file has added to the current link.
uint32_t filed_nodes;
uint32_t filed_subtrees;

using GzipFile = std::unique_ptr<gzFile_s, base::Releaser<gzclose>>;

bool is_directory(const char *path) {
    struct stat status {};
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

// Returns null with errno set if the file cannot be opened. gzopen would open a directory as an
// empty file.
GzipFile open_par_file(const char *path) {
    errno = EISDIR;
    if (is_directory(path))
        return nullptr;
    errno = 0;
    GzipFile file{gzopen(path, "rb")};
    if (file == nullptr && errno == ENOMEM)
        tsh::end_out_of_memory();
    return file;
}

// Input stream of subtrees.
class SubtreeStream {
public:
    SubtreeStream(const char *file_name, void *stream, int32_t compressed)
        : file_name_(file_name), stream_(stream), compressed_(compressed) {}

    // Returns the number of bytes read; negative if they could not be decompressed.
    int32_t read(void *buffer, uint32_t length) {
        const int32_t arrived = read_regular_or_compressed(stream_, buffer, length, compressed_);
        if (arrived < 0 && inflate_error() == Z_MEM_ERROR)
            tsh::end_out_of_memory();
        return arrived;
    }

    bool read_whole(void *buffer, uint32_t length) {
        const int32_t arrived = read(buffer, length);
        return arrived >= 0 && static_cast<uint32_t>(arrived) == length;
    }

    // Returns the next header; nothing at the end of the file. Reports a truncated header.
    std::optional<subtree_header_t> next_header(bool to_host) {
        subtree_header_t header;
        const int32_t arrived = read(&header, sizeof header);
        if (arrived < static_cast<int32_t>(sizeof header)) {
            report_if_truncated(arrived);
            return std::nullopt;
        }
        if (to_host)
            ntoh_subtree_header(&header);
        return header;
    }

    [[nodiscard]] int32_t refuse_as_corrupted() const {
        tsh::warn(Loss::kPart,
                  "*** Treelink Warning ***: Incompatible format/Corrupted .par file %s ignored\n",
                  file_name_);
        return -1;
    }

    [[nodiscard]] int32_t refuse_as_unreadable() const {
        tsh::warn(Loss::kPart, "Treelink Error: Not able to read file %s\n", file_name_);
        return -1;
    }

private:
    void report_if_truncated(int32_t arrived) const {
        if (const char *reason = reason_of_end(arrived))
            tsh::warn(Loss::kPart,
                      "*** Treelink Warning ***: File %s could not be read to its end: %s\n",
                      file_name_, reason);
    }

    // Returns null at the end of a complete file.
    [[nodiscard]] const char *reason_of_end(int32_t arrived) const {
        if (compressed_ == 0 && ferror(static_cast<FILE *>(stream_)) != 0)
            return strerror(errno);
        switch (compressed_ == 0 ? Z_OK : inflate_error()) {
        case Z_OK:
        case Z_STREAM_END:
            return arrived == 0 ? nullptr : "truncated inside a header";
        case Z_ERRNO:
            return strerror(errno);
        case Z_BUF_ERROR:
            return "truncated gzip data";
        default:
            return "corrupt gzip data";
        }
    }

    [[nodiscard]] int inflate_error() const {
        int error = Z_OK;
        gzerror(static_cast<gzFile>(stream_), &error);
        return error;
    }

    const char *file_name_;
    void *stream_;
    int32_t compressed_;
};

// Calls take(name) for every nonempty name of an attach path.
template <typename Take> void for_each_name(std::string_view text, Take take) {
    while (!text.empty()) {
        const std::string_view name = text.substr(0, text.find(','));
        if (!name.empty())
            take(name);
        text.remove_prefix(std::min(name.size() + 1, text.size()));
    }
}

size_t count_names(const char *text) {
    size_t count = 0;
    for_each_name(text, [&](std::string_view) { ++count; });
    return count;
}

subtree_entry_t *record_of(char (*attach_paths)[TREE_NAME_SIZE]) {
    return reinterpret_cast<subtree_entry_t *>(reinterpret_cast<char *>(attach_paths) -
                                               offsetof(subtree_entry_t, attach_paths));
}

void show_link_table() {
    g_hash_table_foreach(treelink_table, display_link_table, nullptr);
    putchar('\n');
}

void show_subtree(const tree_node_t *nodes) {
    display_array_tree(nodes, 0, 0);
    putchar('\n');
}

// Returns whether the subtree would exceed the limits of the link; reports the file and the limits.
bool exceeds_link(const char *file_name, uint32_t node_count) {
    const bool fits =
        filed_subtrees < TREELINK_MAX_SUBTREES && node_count <= TREELINK_MAX_NODES - filed_nodes;
    if (!fits)
        tsh::warn(Loss::kPart,
                  "*** Treelink Warning ***: File %s exceeds %u nodes or %u subtrees per "
                  "link, the rest of it is ignored\n",
                  file_name, TREELINK_MAX_NODES, TREELINK_MAX_SUBTREES);
    return !fits;
}

// Reports data after the subtrees of a file whose reader has stopped without a message. The number
// is that of the next subtree.
void report_ignored_data(const char *file_name, gzFile file, uint32_t number) {
    const bool ended = gzgetc(file) < 0;
    if (!ended)
        tsh::warn(
            Loss::kPart,
            "*** Treelink Warning ***: File %s: record %u has no nodes and ends the file, the "
            "rest of it is ignored\n",
            file_name, number);
    else if (gzdirect(file) == 0 &&
             tsh::data_follows_members(file_name, static_cast<uint32_t>(gztell(file))))
        tsh::warn(Loss::kPart,
                  "*** Treelink Warning ***: File %s: data after the compressed data is ignored\n",
                  file_name);
}

// Stops at the first subtree that cannot be read: the rest of the file cannot be interpreted.
void file_all_subtrees(const char *file_name, gzFile file, subtree_entry_t **head) {
    const bool debug = debug_flag == 1;
    const uint32_t losses = tsh_link_losses;
    for (uint32_t number = 1;; ++number) {
        tree_node_t *nodes = nullptr;
        uint32_t node_count = 0;
        subtree_path_t path;
        if (debug)
            show_link_table();
        if (read_par_tree(file_name, file, &nodes, &node_count, &path, 1, 1) < 0) {
            if (number > 1 && tsh_link_losses == losses)
                report_ignored_data(file_name, file, number);
            return;
        }
        if (exceeds_link(file_name, node_count)) {
            free(nodes);
            return;
        }
        filed_nodes += node_count;
        ++filed_subtrees;
        add_unresolved_subtree(head, file_name, nodes, node_count, &path, treelink_table);
        if (debug)
            show_subtree(nodes);
    }
}

} // namespace

void treelink_output_stream_set(FILE *stream) {
    output_stream = stream;
}

int32_t treelink_init(void) {
    unresolved_subtree_table = nullptr;
    tsh_root_tree_table = nullptr;
    treelink_table = tsh::new_name_table();
    filed_nodes = filed_subtrees = 0;
    tsh_link_warnings = tsh_link_losses = 0;
    return 0;
}

int32_t read_parser_file(const char *file_name, uint8_t kind) {
    const GzipFile file = open_par_file(file_name);
    if (file == nullptr) {
        const base::ErrnoKept kept;
        tsh::warn(Loss::kPart, "Treelink Error: Parser file %s could not be opened \n", file_name);
        return -1;
    }
    if (fresh_tree_linking != 0) {
        treelink_init();
        fresh_tree_linking = 0;
    }
    file_all_subtrees(file_name, file.get(),
                      kind == SUBTREE_FILE_ROOT ? &tsh_root_tree_table : &unresolved_subtree_table);
    return 0;
}

int32_t read_par_tree(const char *file_name, void *stream, tree_node_t **nodes,
                      uint32_t *node_count, subtree_path_t *path, int32_t to_host,
                      int32_t compressed) {
    const bool debug = debug_flag == 1;
    SubtreeStream input{file_name, stream, compressed};
    *nodes = nullptr;
    *node_count = 0;

    const std::optional<subtree_header_t> header = input.next_header(to_host != 0);
    if (!header) {
        if (debug)
            base::print_escaped(stdout, "Done reading header file %s\n", file_name);
        return -1;
    }
    if (debug) {
        printf("Subtree length=%d\n", static_cast<int32_t>(header->tree_bytes));
        printf("Treenode size=%d\n", TREE_NODE_SIZE);
    }
    const uint32_t count = header->tree_bytes / TREE_NODE_SIZE;
    if (header->tree_bytes % TREE_NODE_SIZE != 0 || count > TREE_MAX_NODES ||
        header->path_len > sizeof path->path)
        return input.refuse_as_corrupted();

    *path = {};
    input.read(path->path, header->path_len); // a file that ends here has no nodes
    path->path[sizeof path->path - 1] = '\0';
    if (count_names(path->path) > SUBTREE_ATTACH_PATHS)
        return input.refuse_as_corrupted();
    if (count == 0)
        return -1;

    // Memory without input is never accessed, so a large size in the header alone costs nothing.
    base::Block<tree_node_t> buffer = tsh::allocate<tree_node_t>(count);
    const std::span<tree_node_t> tree{buffer.get(), count};
    if (!input.read_whole(tree.data(), header->tree_bytes))
        return input.refuse_as_unreadable();
    if (to_host != 0)
        tsh::array_to_host(tree);
    if (tsh::at_api_boundary([&] { return tsh::check_tree(tree); }))
        return input.refuse_as_corrupted();
    if (debug) {
        display_array_tree(tree.data(), 0, 0);
        puts("Done with ntoh conversion of temp tree");
    }
    *nodes = buffer.release();
    *node_count = count;
    return 0;
}

int32_t add_unresolved_subtree(subtree_entry_t **head, const char *file_name, tree_node_t *nodes,
                               uint32_t node_count, const subtree_path_t *path, GHashTable *table) {
    subtree_entry_t *record = tsh::allocate_zeroed<subtree_entry_t>().release();
    record->status = SUBTREE_PENDING;
    record->nodes = nodes;
    record->node_count = node_count;
    robust_strncpy(record->file_name, file_name == nullptr ? "" : file_name,
                   sizeof record->file_name);
    extract_path(path->path, record->attach_paths);
    record->next = *head;
    *head = record;
    return insert_nodes_in_hashtable(table, file_name, nodes, 0, static_cast<int32_t>(node_count),
                                     TREELINK_CELL_OWNER, record);
}

int32_t extract_path(const char *text, char (*attach_paths)[TREE_NAME_SIZE]) {
    const size_t length = text == nullptr ? 0 : strnlen(text, SUBTREE_PATH_TEXT_SIZE - 1);
    int32_t count = 0;
    for_each_name({text, length}, [&](std::string_view name) {
        if (count < SUBTREE_ATTACH_PATHS)
            robust_strncpy(attach_paths[count++], name.data(),
                           std::min<size_t>(name.size() + 1, TREE_NAME_SIZE));
    });
    record_of(attach_paths)->path_count = count;
    return count;
}

int32_t get_main_parse_tree(const char *path, tree_node_t **out) {
    if (path == nullptr) {
        puts("\nError: main par file not specified ");
        return -1;
    }
    const GzipFile file = open_par_file(path);
    if (file == nullptr) {
        base::print_escaped(stderr, "Error: Parser file %s could not be opened \n", path);
        return -1;
    }
    tree_node_t *nodes = nullptr;
    uint32_t node_count = 0;
    subtree_path_t attach_path;
    if (read_par_tree(path, file.get(), &nodes, &node_count, &attach_path, 1, 1) < 0) {
        puts("*** Fatal error: Not able to read main parser file ");
        return -1;
    }
    *out = nodes;
    return static_cast<int32_t>(node_count);
}
