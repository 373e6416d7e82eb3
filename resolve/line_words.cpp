// Word splitting by the rules of strsplit.
#include "resolve/line_words_internal.h"

#include "feature/tsh/src/str_list.h"

#include <algorithm>
#include <array>

namespace tsh {

namespace {

constexpr std::array<bool, 256> make_is_space() {
    std::array<bool, 256> is_space{};
    for (const char c : kWhiteSpace)
        is_space[static_cast<unsigned char>(c)] = true;
    return is_space;
}

constexpr std::array<bool, 256> kIsSpace = make_is_space();

bool is_space(char c) {
    return kIsSpace[static_cast<unsigned char>(c)];
}

bool is_operator(char c) {
    return c == '|' || c == '<' || c == '>';
}

} // namespace

std::string_view LineWord::value() const {
    std::string_view value = text;
    if (!is_quoted)
        return value;
    if (value.size() > 1 && value[value.size() - 2] == '"' && is_space(value.back()))
        value.remove_suffix(1);
    if (value.ends_with('"'))
        value.remove_suffix(1);
    return value;
}

void LineWords::split(std::string_view line) {
    words_.clear();
    fault_ = {};
    line_ = copy_ = line;
    inserted_ = std::string_view::npos;
    if (const size_t zero = line.find('\0'); zero != std::string_view::npos) {
        fault_ = {TSH_REASON_ZERO_BYTE, {zero, zero + 1}};
        return;
    }
    // The first "|>" gets a space in its middle, an operator at the end one behind it.
    const size_t pipe = line.find("|>");
    if (pipe != std::string_view::npos || (!line.empty() && is_operator(line.back()))) {
        changed_.assign(line);
        if (is_operator(line.back()))
            changed_ += ' ';
        if (pipe != std::string_view::npos)
            changed_.insert(inserted_ = pipe + 1, 1, ' ');
        copy_ = changed_;
    }

    const size_t size = copy_.size();
    for (size_t at = 0; at < size;) {
        if (is_space(copy_[at])) {
            ++at;
            continue;
        }
        if (words_.size() == STR_LIST_MAX_WORDS) {
            const size_t place = place_in_line(at);
            fault_ = {TSH_REASON_TOO_MANY_WORDS, {place, line.size()}};
            return;
        }
        const bool is_quoted = copy_[at] == '"';
        bool in_quotes = is_quoted;
        bool is_run_together = false;
        const size_t begin = at += is_quoted ? 1 : 0;
        while (at < size && (in_quotes || !is_space(copy_[at]))) {
            if (copy_[at] != '"') {
                ++at;
                continue;
            }
            in_quotes = !in_quotes;
            at += 2; // the byte behind a quote belongs to the word, whatever it is
            is_run_together = is_run_together || (!in_quotes && at < size &&
                                                  is_space(copy_[at - 1]) && !is_space(copy_[at]));
        }
        at = std::min(at, size);
        if (at > begin)
            add(begin, at, is_quoted, in_quotes, is_run_together);
    }
}

void LineWords::add(size_t begin, size_t end, bool is_quoted, bool is_open, bool is_run_together) {
    words_.push_back({copy_.substr(begin, end - begin), place_in_line(begin), place_in_line(end),
                      is_quoted, is_open, is_run_together});
}

size_t LineWords::place_in_line(size_t place) const {
    return std::min(place > inserted_ ? place - 1 : place, line_.size());
}

std::string_view LineWords::rest_from(size_t word) const {
    const std::string_view rest = line_.substr(words_[word].begin_with_quote());
    return rest.substr(0, rest.find_last_not_of(kWhiteSpace) + 1);
}

size_t LineWords::end() const {
    return words_.empty() ? 0 : words_.back().end;
}

} // namespace tsh
