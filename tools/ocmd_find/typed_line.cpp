// The shell's own word splitting, with places in the line as it was typed.
#include "tools/ocmd_find/typed_line.h"

#include "base/owners.h"

#include "feature/tsh/src/str_list.h"
#include "feature/tsh/src/word_split.h"

#include <algorithm>
#include <memory>
#include <new>
#include <utility>

namespace find {

namespace {

constexpr std::string_view kWhiteSpace = " \t\n\r\f\v";

// The splitter counts in a copy where the first "|>" has a blank in the middle.
size_t place_in(std::string_view line, size_t place_in_copy) {
    const size_t pipe = line.find("|>");
    return pipe != std::string_view::npos && place_in_copy > pipe + 1 ? place_in_copy - 1
                                                                      : place_in_copy;
}

} // namespace

std::string_view TypedWord::value() const {
    std::string_view value = text;
    if (!is_quoted)
        return value;
    // What stands right behind a closing quote belongs to the split word, white space too.
    if (value.size() > 1 && value[value.size() - 2] == '"' &&
        kWhiteSpace.find(value.back()) != std::string_view::npos)
        value.remove_suffix(1);
    if (value.ends_with('"'))
        value.remove_suffix(1);
    return value;
}

TypedLine::TypedLine(std::string line) : text_(std::move(line)) {
    if (const size_t zero = text_.find('\0'); zero != std::string::npos) {
        fault_ = {"a zero byte", zero};
        return;
    }
    const std::unique_ptr<str_list_t, base::Releaser<str_list_free>> list{
        strsplit(text_.c_str(), " ")};
    if (list == nullptr) {
        // Nothing else makes no words but blanks, or a quote with nothing behind it.
        if (text_.find_first_not_of("\" \t\n\r\f\v") != std::string::npos)
            throw std::bad_alloc{};
        return;
    }
    for (int32_t i = 0; i < list->size; ++i) {
        const size_t place = place_in(text_, static_cast<size_t>(list->index[i]));
        const bool is_quoted = place > 0 && text_[place - 1] == '"';
        words_.push_back({list->str[i], place, is_quoted});
    }
    const TypedWord &last = words_.back();
    const size_t left = text_.find_first_not_of(kWhiteSpace, last.place + last.text.size());
    if (list->size == STR_LIST_MAX_WORDS && left != std::string::npos)
        fault_ = {"more than " + std::to_string(STR_LIST_MAX_WORDS) + " words", left};
}

size_t TypedLine::place_with_quote(size_t word) const {
    return words_[word].place - static_cast<size_t>(words_[word].is_quoted);
}

std::string_view TypedLine::rest_from(size_t word) const {
    const std::string_view rest = std::string_view{text_}.substr(place_with_quote(word));
    return rest.substr(0, rest.find_last_not_of(kWhiteSpace) + 1);
}

} // namespace find
