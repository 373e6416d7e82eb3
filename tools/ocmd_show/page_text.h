// Texts of a page: what a node means, in words, and the escapes of HTML and JSON.
#pragma once

#include "parse_tree/tree_node.h"

#include <span>
#include <string>
#include <string_view>

namespace show {

/// Returns the text with everything visible that a browser would obey or hide: each byte of a
/// control character, and each byte that is not UTF-8, as \xNN; format characters, such as those
/// that change the direction of text, and line separators as \uNNNN, above U+FFFF as \u{NNNNN}. The
/// result is UTF-8.
std::string visible(std::string_view text);

/// Returns a visible text as HTML, for an element or a double-quoted attribute.
std::string as_html(std::string_view text);

/// Returns a visible text as a string of JSON that ends or begins no element of HTML.
std::string as_json(std::string_view text);

/// Returns the word of a node as grammars spell it, visible: "pace<INTEGER | HEX>". Empty for a
/// node without a word. Needs register_types.
std::string page_word(const tree_node_t &node);

/// Returns the types and bounds of a parameter: "a number, 1 to 12".
std::string value_in_words(const parameter_info_t &parameter);

/// Returns a value that the parameter accepts, visible; empty if none is known.
std::string example_of(const parameter_info_t &parameter);

/// A property of nodes beside their words, help, parameters and children.
struct Property {
    const char *key;                                  ///< In the data of the page.
    const char *label;                                ///< In its texts.
    std::string (*value_of)(const tree_node_t &node); ///< Visible; empty if the node has none.
};

/// Returns all properties in the order in which they are shown.
std::span<const Property> properties();

} // namespace show
