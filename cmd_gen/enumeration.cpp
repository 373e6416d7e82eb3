// Command enumeration: one depth-first walk that builds each line in place, appending the words on
// the way down and cutting them off on the way back.
#include "cmd_gen/enumeration.h"

#include "atnode/relations.h"
#include "cmd_gen/line_output_internal.h"
#include "feature/tsh/src/memory.h"
#include "feature/tsh/src/trace_internal.h"
#include "param_reg/param_registry.h"
#include "param_reg/type_keys_internal.h"
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

constexpr std::string_view kWordGap = "  ";
constexpr std::string_view kOptionalMark = "[o]";

std::span<const parameter_info_t> params_of(const tree_node_t *node) {
    return {node->params, std::min<size_t>(node->param_count, TREE_MAX_PARAMS)};
}

// The names of a parameter's types in angle brackets.
class ParamPiece {
public:
    explicit ParamPiece(const parameter_info_t &param) {
        __strcpy_to_buf(sizeof text_, text_, "<");
        tsh::TypeKeys keys{param.type_mask};
        while (const auto key = keys.next())
            if (const param_reg_info_t *type = param_reg_info_get(*key))
                __strcat_to_buf(sizeof text_, text_, type->name);
        __strcat_to_buf(sizeof text_, text_, ">");
    }

    [[nodiscard]] const char *text() const { return text_; }

private:
    char text_[256];
};

// Grows a line by a text and the optional mark.
char *add_text(char *line, const char *text, bool optional) {
    const size_t size = strlen(line) + strlen(text) + (optional ? kOptionalMark.size() : 0) + 1;
    auto *grown = static_cast<char *>(tsh_realloc(line, static_cast<uint32_t>(size)));
    if (grown == nullptr) {
        fputs("\nMem alloc failed...", stderr);
        return nullptr;
    }
    robust_strncat(grown, text, size);
    if (optional)
        robust_strncat(grown, kOptionalMark.data(), size);
    return grown;
}

// One enumeration: the line in hand and the way out.
class Listing {
public:
    ~Listing() { tsh_free(line_); }
    Listing() = default;
    Listing(const Listing &) = delete;
    Listing &operator=(const Listing &) = delete;

    bool list(const tree_node_t *node, std::string_view prefix) {
        return append(prefix) && list_below(node);
    }

private:
    bool list_below(const tree_node_t *node) {
        atnode_stack_push(node);
        bool going_on = stack.atn_stack_top < ATN_STACK_SIZE;
        for (uint32_t i = 0; going_on && i < node->child_count; ++i)
            going_on = list_child(g_atn + node->children[i]);
        atnode_stack_pop();
        return going_on;
    }

    bool list_child(const tree_node_t *child) {
        if (cmd_gen_mode_single == 1 && is_left_out(child))
            return true;
        const size_t length = length_;
        if (!append(kWordGap) || !append_words(child))
            return false;
        if ((child->flags & (TREE_FLAG_TERMINAL | TREE_FLAG_SUBMODE)) != 0 && !print_line())
            return false;
        if (child->child_count != 0 && !list_children_of(child))
            return false;
        length_ = length;
        return true;
    }

    bool list_children_of(const tree_node_t *child) {
        if ((child->flags & TREE_FLAG_SUBMODE) == 0)
            return list_below(child);
        if (cmd_gen_mode_single == 1)
            return true;
        const size_t start = start_;
        start_ = length_;
        ++submode_depth;
        const bool going_on = list_below(child);
        --submode_depth;
        start_ = start;
        return going_on;
    }

    static bool is_left_out(const tree_node_t *child) {
        return intf_subtree_mask_equal(child->intf_mask) == 0 ||
               perms_mask_valid(child->perms_mask) == 0 ||
               (child->flags & (TREE_FLAG_EXCLUDED | TREE_FLAG_EXCLUDED_ALSO)) != 0;
    }

    bool append_words(const tree_node_t *node) {
        const auto append_word = [&](std::string_view word) {
            return append(word) && (node->optional == 0 || append(kOptionalMark));
        };
        if (node->token[0] != '\0' && !append_word(node->token))
            return false;
        return std::ranges::all_of(params_of(node), [&](const parameter_info_t &param) {
            return append_word(ParamPiece(param).text());
        });
    }

    bool append(std::string_view text) {
        if (text.size() > capacity_ - length_ && !grow(text.size()))
            return false;
        memcpy(line_ + length_, text.data(), text.size());
        length_ += text.size();
        return true;
    }

    bool grow(size_t more) {
        out_.drain(); // what the allocator may have to say comes after the lines so far
        const size_t size = std::max<size_t>(2 * (length_ + more), 1024);
        auto *grown = static_cast<char *>(tsh_realloc(line_, static_cast<uint32_t>(size)));
        if (grown == nullptr) {
            fputs("\nMem alloc failed...", stderr);
            fputs("Mem alloc errorr..", stdout);
            return false;
        }
        line_ = grown;
        capacity_ = size;
        return true;
    }

    bool print_line() {
        indent();
        out_.append(number_.next());
        out_.append({spc_str, indent_});
        out_.append({line_ + start_, length_ - start_});
        // Traces may go to the same stream, so none may overtake a line.
        return tsh::traces(UINT32_MAX) ? out_.drain() : !out_.failed();
    }

    void indent() {
        const auto wanted = static_cast<size_t>(std::clamp(2 * submode_depth, 0, SPC_STR_SIZE - 1));
        if (wanted == indent_)
            return;
        __memset_to_buf(sizeof spc_str, spc_str, ' ', wanted);
        spc_str[wanted] = '\0';
        indent_ = wanted;
    }

    char *line_ = nullptr;
    size_t capacity_ = 0;
    size_t length_ = 0;
    size_t start_ = 0; // where the line begins: behind the words that led into a submode
    size_t indent_ = SIZE_MAX;
    tsh::LineNumber number_;
    tsh::OutputBlock out_;
};

} // namespace

int32_t generate_cmds(const tree_node_t *node, const char *prefix) {
    Listing listing;
    return listing.list(node, prefix == nullptr ? "" : prefix) ? 0 : -1;
}

char *add_token_str(char *line, const tree_node_t *node) {
    return add_text(line, node->token, node->optional != 0);
}

char *add_param_str(char *line, const tree_node_t *node) {
    for (const parameter_info_t &param : params_of(node)) {
        line = add_text(line, ParamPiece(param).text(), node->optional != 0);
        if (line == nullptr)
            return nullptr;
    }
    return line;
}
