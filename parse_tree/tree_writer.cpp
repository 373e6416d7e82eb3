// Tree writer: preorder layout of the compiler's tree, and writing of its record.
#include "parse_tree/tree_writer.h"

#include "base/errno_kept.h"
#include "base/escape.h"
#include "base/owners.h"
#include "bmask/bmask.h"
#include "feature/tsh/src/trace.h"
#include "parse_tree/byte_order.h"
#include "parse_tree/byte_order_internal.h"
#include "parse_tree/tree_check_internal.h"
#include "parse_tree/tree_file.h"
#include "parse_tree/tree_library_internal.h"
#include "platform/robust_string.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <optional>
#include <span>
#include <vector>
#include <zlib.h>

int32_t current_array_location = 0;

namespace {

constexpr int32_t kScratchNodes = 20000; // more than are stored

// A stored node whose links are being followed.
struct OpenNode {
    int32_t index;
    uint32_t position; // of the next link in the list
    const parser_link_t *next_link;
};

[[noreturn]] void end_without_memory() {
    fputs(" Error: malloc failed.", stderr);
    exit(1);
}

template <typename Body> auto at_api_boundary(Body body) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc &) {
        end_without_memory();
    }
}

int32_t take_place() {
    const int32_t index = current_array_location++;
    if (current_array_location > TREE_WRITER_MAX_NODES) {
        printf("*** Maximum subtree size of %d nodes exceeded ***\n", kScratchNodes);
        exit(0);
    }
    return index;
}

// Stores the count and marks of a node's list of links without following them. Returns false for a
// list that does not fit into the record, including a loop.
bool store_link_marks(const parser_node_t &node, tree_node_t &record) {
    bmask256_t marked;
    bmask256_init(&marked);
    uint16_t count = 0;
    for (const parser_link_t *link = node.children; link != nullptr; link = link->next) {
        if (count == TREE_MAX_CHILDREN)
            return false;
        if (link->marked == 1)
            bmask256_set_bit(&marked, count);
        ++count;
    }
    record.child_count = count;
    bmask256_to_bitarray(&marked, record.child_link_bits, sizeof record.child_link_bits);
    return true;
}

// An index from an earlier write may exceed 16 bits. The index stored instead is also outside every
// record of this writer.
uint16_t link_to(int32_t index) {
    return static_cast<uint16_t>(std::min<int32_t>(index, UINT16_MAX));
}

// Stores a node and its descendants; returns -1 for a node that does not fit into its record. The
// path is stored explicitly, so that the call stack does not grow with the depth of the tree.
int32_t lay_out(tree_node_t *array, parser_node_t *node) {
    std::vector<OpenNode> path;
    const auto place = [&](parser_node_t *placed) {
        const int32_t index = take_place();
        if (placed == nullptr)
            return index;
        write_node_to_array(placed, &array[index]);
        placed->array_index = index;
        if (!store_link_marks(*placed, array[index])) {
            base::print_escaped(stderr, "Error: node \"%s\" has more than %d child links\n",
                                array[index].name, TREE_MAX_CHILDREN);
            return -1;
        }
        path.push_back({index, 0, placed->children});
        return index;
    };

    const int32_t root_index = place(node);
    while (!path.empty()) {
        OpenNode &open = path.back();
        if (open.next_link == nullptr) {
            path.pop_back();
            continue;
        }
        parser_node_t *child = open.next_link->child;
        open.next_link = open.next_link->next;
        uint16_t &link = array[open.index].children[open.position++];
        const bool shared = child != nullptr && child->array_index >= 0;
        const int32_t index = shared ? child->array_index : place(child);
        if (index < 0)
            return -1;
        link = link_to(index);
    }
    return root_index;
}

uint64_t with_implied_kinds(uint64_t intf_mask) {
    return (intf_mask & TREE_INTF_ANY) != 0 ? intf_mask | TREE_INTF_IMPLIED : intf_mask;
}

template <size_t Size> void copy_text(char (&field)[Size], const char *text) {
    robust_strncpy(field, text, Size);
}

// The first link of each kind that readers would reject.
struct LinkFaults {
    std::optional<tsh_tree_fault_t> outside;
    std::optional<tsh_tree_fault_t> twice;
};

int32_t note_link_fault(const tsh_tree_fault_t *fault, void *context) {
    auto &faults = *static_cast<LinkFaults *>(context);
    if (!faults.outside && strcmp(fault->check, "child-index") == 0)
        faults.outside = *fault;
    if (!faults.twice && strcmp(fault->check, "child-twice") == 0)
        faults.twice = *fault;
    return 0;
}

// Reports errors of the layout; the record is still written.
void report_layout_faults(std::span<const tree_node_t> nodes) {
    LinkFaults faults;
    tsh_tree_check(nodes.data(), static_cast<uint32_t>(nodes.size()), note_link_fault, &faults);
    if (faults.outside)
        base::print_escaped(stderr, "Error: node \"%s\" has a child placed by an earlier write\n",
                            nodes[faults.outside->node].name);
    if (faults.twice)
        fprintf(stderr, "Error: %s\n", tsh::FaultText{nodes, *faults.twice}.text());
    if (tsh::cycle_check_of(nodes) != 0)
        fputs("Error:Cycle in parse tree or maximum depth exceeded\n", stderr);
}

bool stores_all(void *stream, const void *bytes, uint32_t length, int32_t compressed) {
    if (length == 0)
        return true;
    const int32_t stored = write_regular_or_compressed(stream, bytes, length, compressed);
    return static_cast<uint32_t>(stored) == (compressed != 0 ? length : 1);
}

// Flushes the stream, since buffered bytes are not yet written. The compressed stream remains one
// gzip member.
bool flushes(void *stream, int32_t compressed) {
    return compressed != 0 ? gzflush(static_cast<gzFile>(stream), Z_SYNC_FLUSH) == Z_OK
                           : fflush(static_cast<FILE *>(stream)) == 0;
}

int32_t writing_failed() {
    const base::ErrnoKept kept;
    puts("Error in writing to main_tree file");
    return -1;
}

} // namespace

void write_tree_to_file(parser_node_t *root, uint32_t version, const subtree_path_t *attach_path,
                        void *stream) {
    const base::Block<tree_node_t> scratch{
        static_cast<tree_node_t *>(calloc(kScratchNodes, sizeof(tree_node_t)))};
    if (scratch == nullptr)
        end_without_memory();
    if (root == nullptr)
        return;

    current_array_location = 0;
    if (write_tree_to_array(scratch.get(), root) < 0)
        return;
    const auto node_count = static_cast<uint32_t>(current_array_location);
    at_api_boundary([&] { report_layout_faults({scratch.get(), node_count}); });
    if (debug_flag == 1) {
        printf("Size of tree node is %zu", sizeof(tree_node_t));
        printf("Size of parameter_info_t is %zu \n", sizeof(parameter_info_t));
    }
    write_array_tree_to_file(scratch.get(), node_count, version, attach_path, stream, 1, 1, 0);
}

int32_t write_tree_to_array(tree_node_t *array, parser_node_t *node) {
    return at_api_boundary([&] { return lay_out(array, node); });
}

void write_node_to_array(const parser_node_t *node, tree_node_t *record) {
    *record = {};
    if (node == nullptr)
        return;
    copy_text(record->name, node->name);
    copy_text(record->token, node->token);
    copy_text(record->help, node->help);
    copy_text(record->submode_help, node->submode_help);
    copy_text(record->aux_text, node->aux_text);
    copy_text(record->func_id, node->func_id);
    copy_text(record->mode_id, node->mode_id);
    copy_text(record->aux_label, node->aux_label);
    record->optional = static_cast<uint16_t>(node->optional);
    record->cmi_msg_type = node->cmi_msg_type;
    record->flags = node->flags;
    record->token_id = node->token_id;
    record->command_id = node->command_id;
    record->aux_value1 = static_cast<uint16_t>(node->aux_value1);
    record->aux_value2 = static_cast<uint16_t>(node->aux_value2);
    record->intf_mask = with_implied_kinds(node->intf_mask);
    treefile_copy_permissions_mask(record->perms_mask, node->perms);
    if (node->has_param0 != 1)
        return;
    copy_parameter_block(&record->params[record->param_count++], &node->params[0]);
    if (node->has_param1 == 1)
        copy_parameter_block(&record->params[record->param_count++], &node->params[1]);
}

void copy_parameter_block(parameter_info_t *destination, const parameter_info_t *source) {
    *destination = *source;
    destination->intf_mask = with_implied_kinds(source->intf_mask);
}

void treefile_copy_permissions_mask(uint8_t *bits, uint32_t word) {
    bmask128_t set;
    bmask128_init(&set);
    bmask128_from_bitarray(&set, bits, BMASK128_BYTES);
    bmask128_uint32_copy(&set, word);
    bmask128_to_bitarray(&set, bits, BMASK128_BYTES);
}

int32_t write_array_tree_to_file(tree_node_t *array, uint32_t node_count, uint32_t version,
                                 const subtree_path_t *attach_path, void *stream, int32_t network,
                                 int32_t compressed, int32_t headerless) {
    if (node_count > UINT32_MAX / TREE_NODE_SIZE)
        return writing_failed();
    subtree_path_t path{};
    if (attach_path != nullptr)
        populate_subtree_path(&path, attach_path->kind, attach_path->path);
    const auto path_len = static_cast<uint32_t>(robust_strlen(path.path) + 1);
    const uint32_t tree_bytes = node_count * TREE_NODE_SIZE;
    subtree_header_t header{version, path.kind, path_len, tree_bytes, {}};

    if (debug_flag == 1)
        printf("Treefile: Going to write %zu bytes of header, %u bytes of path and %u nodes "
               "(%u bytes) to file \n",
               sizeof header, path_len, node_count, tree_bytes);
    if (network != 0) {
        hton_subtree_header(&header);
        tsh::array_to_network({array, node_count});
    }
    const auto stores = [&](const void *bytes, uint32_t length) {
        return stores_all(stream, bytes, length, compressed);
    };
    if (headerless == 0 && !(stores(&header, sizeof header) && stores(path.path, path_len)))
        return writing_failed();
    if (!stores(array, tree_bytes) || !flushes(stream, compressed))
        return writing_failed();
    return 0;
}
