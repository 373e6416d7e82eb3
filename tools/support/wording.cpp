// Quoting and suggestions, by the Damerau-Levenshtein distance (optimal string alignment).
#include "tools/support/wording.h"

#include "base/escape.h"

#include "tools/support/utf8.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <cstdio>
#include <tuple>
#include <utility>
#include <vector>

namespace tool {

namespace {

constexpr size_t kLongestWord = 64; // longer words are not typing errors

bool same(char a, char b) {
    return std::tolower(static_cast<unsigned char>(a)) ==
           std::tolower(static_cast<unsigned char>(b));
}

// Row i contains the distances of the first i characters of a to all prefixes of b; only the last
// three rows are needed.
size_t distance(std::string_view a, std::string_view b) {
    std::array<std::vector<size_t>, 3> rows;
    rows.fill(std::vector<size_t>(b.size() + 1));
    for (size_t j = 0; j <= b.size(); ++j)
        rows[0][j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        std::vector<size_t> &row = rows[i % 3];
        const std::vector<size_t> &above = rows[(i + 2) % 3];
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t change = same(a[i - 1], b[j - 1]) ? 0 : 1;
            row[j] = std::min({above[j] + 1, row[j - 1] + 1, above[j - 1] + change});
            if (i > 1 && j > 1 && same(a[i - 1], b[j - 2]) && same(a[i - 2], b[j - 1]))
                row[j] = std::min(row[j], rows[(i + 1) % 3][j - 2] + 1);
        }
    }
    return rows[a.size() % 3][b.size()];
}

// Returns an empty text if no candidate is near.
std::string_view nearest(std::string_view word, std::span<const std::string_view> candidates) {
    std::string_view best;
    size_t least = (word.size() + 2) / 3 + 1;
    if (word.size() > kLongestWord)
        return best;
    for (const std::string_view candidate : candidates) {
        const size_t size = candidate.size();
        if ((size < word.size() ? word.size() - size : size - word.size()) >= least)
            continue;
        const size_t changes = distance(word, candidate);
        if (changes < least)
            std::tie(best, least) = std::pair{candidate, changes};
    }
    return best;
}

} // namespace

std::string quoted(std::string_view text) {
    std::string result{"'"};
    return result.append(text).append("'");
}

std::string quoted_start(std::string_view text) {
    constexpr size_t kMost = 80;
    constexpr size_t kMostInside = 3; // bytes of a character after its first
    if (text.size() <= kMost)
        return quoted(text);
    size_t end = kMost;
    while (end > kMost - kMostInside && is_inside_character(text[end]))
        --end;
    return quoted(std::string{text.substr(0, end)}.append("..."));
}

std::string double_quoted(std::string_view text) {
    const bool utf8 = is_utf8(text);
    std::string result{'"'};
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const auto byte = static_cast<unsigned char>(c);
        if (is_control_at(text, i) || (byte > 0x7F && !utf8)) {
            std::array<char, sizeof "\\x00"> code;
            snprintf(code.data(), code.size(), "\\x%02x", unsigned{byte});
            result += code.data();
        } else {
            (result += c == '"' || c == '\\' ? "\\" : "") += c;
        }
    }
    return result += '"';
}

std::string printable(std::string_view text) {
    std::string result{text};
    for (std::string_view control = base::find_control(text); !control.empty();) {
        const auto place = static_cast<size_t>(control.data() - text.data());
        result.replace(place, control.size(),
                       control == "\t"       ? " "
                       : control.size() == 1 ? "?"
                                             : "\xC2\xBF");
        control = base::find_control(text, place + control.size());
    }
    return result;
}

std::string suggestion(std::string_view word, std::span<const std::string_view> candidates) {
    const std::string_view meant = nearest(word, candidates);
    return meant.empty() ? std::string{} : ", did you mean " + quoted(meant) + "?";
}

} // namespace tool
