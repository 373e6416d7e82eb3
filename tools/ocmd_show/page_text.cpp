// Words and escapes of a page.
#include "tools/ocmd_show/page_text.h"

#include "base/escape.h"
#include "param_reg/values.h"
#include "tools/support/grammar_fields.h"
#include "tools/support/tree_shape.h"
#include "tools/support/types.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

namespace show {

namespace {

bool is_plain(char c) {
    return c >= ' ' && c <= '~';
}

// Whether a browser shows nothing for a character, or changes the text around it.
bool is_invisible(gunichar character) {
    switch (g_unichar_type(character)) {
    case G_UNICODE_FORMAT:
    case G_UNICODE_LINE_SEPARATOR:
    case G_UNICODE_PARAGRAPH_SEPARATOR:
    case G_UNICODE_UNASSIGNED:
        return true;
    default:
        return g_unichar_iszerowidth(character) != FALSE && g_unichar_ismark(character) == FALSE;
    }
}

void append_code(std::string &text, const char *format, unsigned code) {
    std::array<char, sizeof "\\u{10ffff}"> buffer{};
    snprintf(buffer.data(), buffer.size(), format, code);
    text += buffer.data();
}

// Returns the bytes of the first character; each byte that is not UTF-8 counts as one.
size_t append_visible(std::string &shown, std::string_view text) {
    const gunichar character =
        g_utf8_get_char_validated(text.data(), static_cast<gssize>(text.size()));
    if (character == 0 || character > 0x10FFFF) {
        append_code(shown, "\\x%02x", static_cast<unsigned char>(text.front()));
        return 1;
    }
    const auto size = static_cast<size_t>(g_utf8_next_char(text.data()) - text.data());
    if (is_invisible(character))
        append_code(shown, character > 0xFFFF ? "\\u{%x}" : "\\u%04x", character);
    else
        shown += base::escaped(text.substr(0, size)); // controls
    return size;
}

std::string with_article(const tsh_type_t &type) {
    const std::string article = type.article;
    return article.empty() ? type.plain_name : article + ' ' + type.plain_name;
}

std::string types_in_words(uint32_t mask) {
    std::string words;
    for (uint32_t key = tsh_mask_next_type(mask, 0); key != 0;
         key = tsh_mask_next_type(mask, key)) {
        const tsh_type_t *const type = tsh_type_by_mask(nullptr, key);
        words += words.empty() ? "" : " or ";
        words += type == nullptr ? "a value of type " + tool::types_text(key) : with_article(*type);
    }
    return words.empty() ? "any value" : words;
}

std::string bounds_in_words(const parameter_info_t &parameter) {
    int64_t low = 0;
    int64_t high = 0;
    switch (tsh_parameter_bounds(nullptr, &parameter, &low, &high)) {
    case TSH_BOUNDS_NUMBERS:
        if (high == tsh_mask_highest_bound(nullptr, parameter.type_mask))
            return ", at least " + std::to_string(low);
        return ", " + std::to_string(low) + " to " + std::to_string(high);
    case TSH_BOUNDS_LENGTH:
        return ", at most " + std::to_string(high) + (high == 1 ? " byte" : " bytes");
    default:
        return "";
    }
}

// The numbers in a bit array: "0, 3 to 7".
std::string numbers_in(std::span<const uint8_t> bits) {
    const auto has = [&](size_t number) {
        return number < 8 * bits.size() && (bits[number / 8] >> number % 8 & 1U) != 0;
    };
    std::string numbers;
    for (size_t first = 0; first < 8 * bits.size(); ++first) {
        if (!has(first))
            continue;
        size_t last = first;
        while (has(last + 1))
            ++last;
        (numbers += numbers.empty() ? "" : ", ") += std::to_string(first);
        if (last > first)
            (numbers += last == first + 1 ? ", " : " to ") += std::to_string(last);
        first = last;
    }
    return numbers;
}

std::string permissions_of(const tree_node_t &node) {
    return numbers_in(node.perms_mask);
}

std::string interfaces_of(const tree_node_t &node) {
    std::array<uint8_t, sizeof node.intf_mask> bits{};
    for (size_t i = 0; i < bits.size(); ++i)
        bits[i] = static_cast<uint8_t>(node.intf_mask >> 8 * i);
    return numbers_in(bits);
}

std::string function_of(const tree_node_t &node) {
    return visible(tool::text_of(node.func_id));
}

std::string submode_of(const tree_node_t &node) {
    if (!tool::is_submode(node))
        return "";
    const std::string_view help = tool::text_of(node.submode_help);
    return help.empty() ? "yes" : visible(help);
}

std::string mode_of(const tree_node_t &node) {
    return visible(tool::text_of(node.mode_id));
}

std::string single_mode_of(const tree_node_t &node) {
    constexpr uint32_t kExcluded = TREE_FLAG_EXCLUDED | TREE_FLAG_EXCLUDED_ALSO;
    return (node.flags & kExcluded) != 0 ? "not available" : "";
}

std::string visible_name_of(const tree_node_t &node) {
    return visible(tool::text_of(node.name));
}

constexpr std::array kProperties{
    Property{"function", "Function", function_of},
    Property{"submode", "Submode", submode_of},
    Property{"mode", "Mode", mode_of},
    Property{"permissions", "Permissions", permissions_of},
    Property{"interfaces", "Interface kinds", interfaces_of},
    Property{"single", "Single mode", single_mode_of},
    Property{"name", "Node", visible_name_of},
};

} // namespace

std::string visible(std::string_view text) {
    std::string shown;
    while (!text.empty()) {
        const auto *const end = std::ranges::find_if_not(text, is_plain);
        const auto plain = static_cast<size_t>(end - text.begin());
        shown += text.substr(0, plain);
        text.remove_prefix(plain);
        if (!text.empty())
            text.remove_prefix(append_visible(shown, text));
    }
    return shown;
}

std::string as_html(std::string_view text) {
    std::string html;
    for (const char c : text)
        switch (c) {
        case '&':
            html += "&amp;";
            break;
        case '<':
            html += "&lt;";
            break;
        case '>':
            html += "&gt;";
            break;
        case '"':
            html += "&quot;";
            break;
        default:
            html += c;
        }
    return html;
}

std::string as_json(std::string_view text) {
    std::string json{'"'};
    for (const char c : text)
        switch (c) {
        case '<':
            json += "\\u003c";
            break;
        case '"':
        case '\\':
            json += '\\';
            [[fallthrough]];
        default:
            json += c;
        }
    return json += '"';
}

std::string page_word(const tree_node_t &node) {
    const std::string_view keyword = tool::text_of(node.token);
    if (keyword.empty() && node.param_count == 0)
        return "";
    return visible(tool::word_key(keyword, tool::type_masks_of(node)));
}

std::string value_in_words(const parameter_info_t &parameter) {
    return types_in_words(parameter.type_mask) + bounds_in_words(parameter);
}

std::string example_of(const parameter_info_t &parameter) {
    std::array<char, TSH_REASON_SIZE> text{};
    const int32_t length =
        tsh_value_example(nullptr, &parameter, TSH_EXAMPLE_TYPICAL, text.data(), text.size());
    return length < 0 ? "" : visible(text.data());
}

std::span<const Property> properties() {
    return kProperties;
}

} // namespace show
