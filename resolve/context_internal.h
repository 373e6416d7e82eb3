// State of one user: entered submodes and the nodes that exist.
#pragma once

#include "resolve/grammar_internal.h"
#include "resolve/reading_store_internal.h"

#include <memory>
#include <vector>

namespace tsh {

/// Nodes that do not exist for a user.
class HiddenNodes {
public:
    [[nodiscard]] bool holds(NodeNumber node) const { return !bits_.empty() && bits_[node]; }
    [[nodiscard]] bool empty() const { return bits_.empty(); }
    void assign(std::vector<bool> bits) { bits_ = std::move(bits); }

private:
    std::vector<bool> bits_; // none if every node exists
};

/// An entered submode: the nodes whose children its lines begin with, and how it was entered.
struct Submode {
    std::vector<NodeNumber> nodes;
    std::shared_ptr<const ReadingStore> entry; ///< Holds one reading.
};

} // namespace tsh

struct tsh_context_t {
    explicit tsh_context_t(const tsh_grammar_t *of) : grammar(of) {}

    const tsh_grammar_t *grammar;
    std::vector<tsh::Submode> submodes; // the outermost first
    tsh::HiddenNodes hidden;
    bool is_single_mode = false;
    uint64_t admission = 0; // which nodes are hidden, 0: none
    uint64_t version = 0;   // of the submodes; an answer is good for the version it was made for
};
