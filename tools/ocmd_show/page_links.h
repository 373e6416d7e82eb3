// Links to the commands of a page: "show/bays".
#pragma once

#include "tools/ocmd_show/page_tree.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace show {

/// The number of words that a link may have, as in page.js. Trees have up to 65,536 levels.
constexpr size_t kMostWordsInLink = 24;

/// A word in a link.
struct LinkWord {
    std::string word; ///< Visible; empty for a node without a word.
    uint32_t count;   ///< 1 for the first of the siblings with this word; 0 for a repeated sibling.
};

/// Returns the words of siblings in links, in the same order. Needs register_types.
std::vector<LinkWord> link_words(const PageTree &tree, std::span<const uint32_t> siblings);

/// Returns the id to which a link leads without scripts. Browsers look for an id that equals the
/// link, then for one that equals the decoded link. The id is therefore readable, or
/// percent-encoded like the link of the script (linkTo in page.js) if a word has characters with a
/// meaning in links.
std::string id_of_link(std::span<const LinkWord> link);

} // namespace show
