// Command enumeration: one depth-first walk that builds each line in place, appending the words on
// the way down and cutting them off on the way back.
#include "cmd_gen/enumeration.h"

#include "atnode/relations.h"
#include "cmd_gen/line_output_internal.h"
#include "cmd_gen/word_internal.h"
#include "cmd_gen/word_table_internal.h"
#include "feature/tsh/src/memory.h"
#include "feature/tsh/src/trace_internal.h"
#include "parse_tree/tree_load.h"
#include "platform/robust_string.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <span>
#include <string_view>

uint32_t cmd_count;
int32_t cmd_gen_mode_single;
char spc_str[SPC_STR_SIZE];
int32_t submode_depth;

namespace {

using tsh::ListedNode;

void report_no_memory() {
    fputs("\nMem alloc failed...", stderr);
}

// A line too long for the 32-bit sizes of the allocation helpers is out of memory like any other.
char *resize_line(char *line, size_t size) {
    void *grown = size > UINT32_MAX ? nullptr : tsh_realloc(line, static_cast<uint32_t>(size));
    if (grown == nullptr)
        report_no_memory();
    return static_cast<char *>(grown);
}

// Takes over a line and grows it by a piece of a word.
char *append(char *line, std::string_view piece) {
    const size_t length = strlen(line);
    char *grown = resize_line(line, length + piece.size() + 1);
    if (grown == nullptr) {
        tsh_free(line);
        return nullptr;
    }
    grown[length + piece.copy(grown + length, piece.size())] = '\0';
    return grown;
}

// One enumeration. The line in hand is line_[start_, length_), indentation included; before
// start_ stand the words that led into the submode.
class Listing {
public:
    Listing() = default;
    ~Listing() { tsh_free(line_); }
    Listing(const Listing &) = delete;
    Listing &operator=(const Listing &) = delete;

    bool list(const tree_node_t *node, std::string_view prefix) {
        if (!start_line() || !append_prefix(prefix))
            return false;
        const auto index = static_cast<uint16_t>(node - g_atn);
        // With traces on, looking it up would show, and nothing that is kept of it is used.
        return list_below(index, tsh::traces(UINT32_MAX) ? nullptr : words_.find(index));
    }

private:
    bool list_below(uint16_t index, const ListedNode *node) {
        atnode_stack_push(g_atn + index);
        const bool has_room = stack.atn_stack_top < ATN_STACK_SIZE;
        const bool going_on = has_room && (tsh::traces(UINT32_MAX) ? list_children_traced(index)
                                                                   : list_children(node));
        atnode_stack_pop();
        return going_on;
    }

    // Most lines end in a leaf, so leaves are printed without further ado.
    bool list_children(const ListedNode *node) {
        if (node == nullptr)
            return out_of_memory();
        for (unsigned position = 0; position < node->child_count;) {
            const uint16_t index = words_.child_of(*node, position);
            if (words_.is_plain_leaf(index))
                position = print_leaves(*node, position);
            else if (list_child(index))
                ++position;
            else
                return false;
        }
        return !output_.failed();
    }

    unsigned print_leaves(const ListedNode &node, unsigned position) {
        show_indentation();
        tsh::LineOutput::Run run{output_, line()};
        return words_.take_leaves(node, position,
                                  [&run](std::string_view word) { run.print(word); });
    }

    // The same children, found the way that shows in the traces.
    bool list_children_traced(uint16_t index) {
        for (const tree_node_t *child = atnode_first_child(g_atn + index); child != nullptr;
             child = atnode_next_sibling(child))
            if (!list_child(static_cast<uint16_t>(child - g_atn)))
                return false;
        return true;
    }

    bool list_child(uint16_t index) {
        const ListedNode *child = words_.find(index);
        if (child == nullptr)
            return out_of_memory();
        if (child->left_out)
            return true;
        if (child->printed)
            print_line(words_.word_of(*child));
        if (output_.failed() || child->child_count == 0)
            return !output_.failed();
        return child->submode ? list_submode(index, child) : list_below_word(index, child);
    }

    bool list_below_word(uint16_t index, const ListedNode *node) {
        const size_t length = length_;
        const bool going_on = append_word(words_.word_of(*node)) && list_below(index, node);
        length_ = length;
        return going_on;
    }

    bool list_submode(uint16_t index, const ListedNode *node) {
        if (cmd_gen_mode_single == 1)
            return true;
        const size_t start = start_;
        const size_t length = length_;
        ++submode_depth;
        const bool going_on = start_line() && list_below(index, node);
        --submode_depth;
        start_ = start;
        length_ = length;
        return going_on;
    }

    // Begins a line of its own behind the one in hand.
    bool start_line() {
        start_ = length_;
        if (!reserve(indentation()))
            return false;
        memset(line_ + length_, ' ', indentation());
        length_ += indentation();
        return true;
    }

    static size_t indentation() {
        return static_cast<size_t>(std::clamp(2 * submode_depth, 0, SPC_STR_SIZE - 1));
    }

    bool append_prefix(std::string_view prefix) {
        if (!reserve(prefix.size()))
            return false;
        memcpy(line_ + length_, prefix.data(), prefix.size());
        length_ += prefix.size();
        return true;
    }

    // Words are kept for copying in chunks, the caller's prefix is not.
    bool append_word(std::string_view word) {
        if (!reserve(word.size()))
            return false;
        tsh::copy_in_chunks(line_ + length_, word);
        length_ += word.size();
        return true;
    }

    // Makes room for more bytes, and for copying the line in chunks.
    bool reserve(size_t more) {
        const size_t needed = length_ + more + tsh::kCopyChunk;
        if (needed <= capacity_)
            return true;
        output_.drain(); // the allocator may have something to say, after the lines so far
        const size_t size = std::max<size_t>(2 * needed, 1024);
        char *grown = resize_line(line_, size);
        if (grown == nullptr)
            return stop_without_memory();
        line_ = grown;
        capacity_ = size;
        return true;
    }

    static bool out_of_memory() {
        report_no_memory();
        return stop_without_memory();
    }

    static bool stop_without_memory() {
        fputs("Mem alloc errorr..", stdout);
        return false;
    }

    [[nodiscard]] std::string_view line() const { return {line_ + start_, length_ - start_}; }

    void print_line(std::string_view word) {
        show_indentation();
        output_.print(line(), word);
        if (tsh::traces(UINT32_MAX))
            output_.drain(); // no trace may overtake a line in the same stream
    }

    void show_indentation() {
        if (submode_depth == shown_depth_)
            return;
        shown_depth_ = submode_depth;
        __memset_to_buf(sizeof spc_str, spc_str, ' ', indentation());
        spc_str[indentation()] = '\0';
    }

    tsh::LineOutput output_;
    tsh::WordTable words_{output_};
    char *line_ = nullptr;
    size_t capacity_ = 0;
    size_t start_ = 0;
    size_t length_ = 0;
    int32_t shown_depth_ = -1; // submode depth that spc_str shows
};

} // namespace

int32_t generate_cmds(const tree_node_t *node, const char *prefix) {
    Listing listing;
    return listing.list(node, prefix == nullptr ? "" : prefix) ? 0 : -1;
}

char *add_token_str(char *line, const tree_node_t *node) {
    tsh::Word piece;
    tsh::add_token(piece, *node);
    return append(line, piece.text());
}

char *add_param_str(char *line, const tree_node_t *node) {
    for (const parameter_info_t &param : tsh::params_of(*node)) {
        tsh::Word piece;
        tsh::add_param(piece, *node, param);
        line = append(line, piece.text());
        if (line == nullptr)
            return nullptr;
    }
    return line;
}
