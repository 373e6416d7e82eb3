// Gathering what a listing needs of a node: its word and its marks.
#include "cmd_gen/word_table_internal.h"

#include "cmd_gen/word_internal.h"
#include "feature/tsh/src/huge_pages_internal.h"
#include "feature/tsh/src/memory.h"
#include "feature/tsh/src/text_builder_internal.h"
#include "parse_tree/tree_load.h"

#include <algorithm>

namespace {

constexpr std::string_view kWordGap = "  ";

using GappedWord = tsh::TextBuilder<tsh::kLongestGappedWord>;

bool is_left_out(const tree_node_t &node) {
    return intf_subtree_mask_equal(node.intf_mask) == 0 || perms_mask_valid(node.perms_mask) == 0 ||
           (node.flags & (TREE_FLAG_EXCLUDED | TREE_FLAG_EXCLUDED_ALSO)) != 0;
}

} // namespace

namespace tsh {

WordTable::~WordTable() {
    tsh_free(nodes_);
    tsh_free(facts_);
}

const ListedNode *WordTable::learn(uint16_t index) {
    const tree_node_t &node = g_atn[index];
    GappedWord word;
    word << kWordGap << spell(node).text();
    const std::string_view text = word.text();
    const size_t links = std::min<size_t>(node.child_count, TREE_MAX_CHILDREN);
    const size_t links_size = links * sizeof node.children[0];
    if (!reserve(text.size() + links_size))
        return nullptr;
    ListedNode &listed = nodes_[index];
    if (listed.known)
        return &listed;

    memcpy(facts_ + facts_used_, text.data(), text.size());
    memcpy(facts_ + facts_used_ + text.size(), node.children, links_size);
    listed.place = static_cast<uint32_t>(facts_used_);
    listed.word_length = static_cast<uint16_t>(text.size());
    listed.child_count = static_cast<uint8_t>(links);
    listed.known = true;
    listed.left_out = cmd_gen_mode_single == 1 && is_left_out(node);
    listed.printed = (node.flags & (TREE_FLAG_TERMINAL | TREE_FLAG_SUBMODE)) != 0;
    listed.submode = (node.flags & TREE_FLAG_SUBMODE) != 0;
    listed.plain_leaf = listed.printed && !listed.left_out && links == 0;
    facts_used_ += text.size() + links_size;
    return &listed;
}

bool WordTable::reserve(size_t more) {
    if (nodes_ == nullptr) {
        output_.drain();
        nodes_ = static_cast<ListedNode *>(tsh_malloc(TREE_MAX_NODES * sizeof *nodes_));
        if (nodes_ == nullptr)
            return false;
    }
    const size_t needed = facts_used_ + more + kCopyChunk;
    if (needed <= facts_size_)
        return true;
    output_.drain();
    const size_t size = next_room(needed);
    auto *grown = static_cast<char *>(tsh_realloc(facts_, static_cast<uint32_t>(size)));
    if (grown == nullptr)
        return false;
    prefer_huge_pages(grown, size);
    facts_ = grown;
    facts_size_ = size;
    return true;
}

} // namespace tsh
