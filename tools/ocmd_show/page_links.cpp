// Links to the commands of a page: "show/bays".
#include "tools/ocmd_show/page_links.h"

#include "tools/ocmd_show/page_text.h"

#include <glib.h>

#include <algorithm>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace show {

namespace {

// As encodeURIComponent of the script, and the tilde.
std::string percent_encoded(const std::string &word) {
    const std::unique_ptr<char, decltype(&g_free)> uri{
        g_uri_escape_string(word.c_str(), "!*'()", FALSE), g_free};
    std::string encoded;
    for (const char c : std::string_view{uri.get()})
        if (c == '~')
            encoded += "%7E";
        else
            encoded += c;
    return encoded;
}

// A colon at the start is that of a node's number.
bool needs_encoding(std::span<const LinkWord> link) {
    return link.front().word.starts_with(':') || std::ranges::any_of(link, [](const auto &part) {
               return part.word.find_first_of("/~%") != std::string::npos;
           });
}

} // namespace

std::vector<LinkWord> link_words(const PageTree &tree, std::span<const uint32_t> siblings) {
    std::vector<LinkWord> words;
    std::unordered_map<std::string, uint32_t> counts;
    std::unordered_set<uint32_t> seen;
    for (const uint32_t sibling : siblings) {
        std::string word = page_word(*tree.nodes()[sibling].record);
        const uint32_t count = ++counts[word];
        words.push_back({std::move(word), seen.insert(sibling).second ? count : 0});
    }
    return words;
}

std::string id_of_link(std::span<const LinkWord> link) {
    const bool is_encoded = needs_encoding(link);
    std::string id;
    for (const auto &[word, count] : link) {
        id += id.empty() ? "" : "/";
        id += is_encoded ? percent_encoded(word) : word;
        if (word.empty() || count > 1)
            id += '~' + std::to_string(count);
    }
    return id;
}

} // namespace show
