// Building, joining, releasing and printing of string lists.
#include "feature/tsh/src/str_list_internal.h"

#include "feature/tsh/src/trace_internal.h"
#include "platform/robust_string.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <span>

namespace {

std::span<char *const> words_of(const str_list_t &list) {
    return {list.str, static_cast<size_t>(std::clamp(list.size, 0, STR_LIST_ENTRIES))};
}

bool is_empty(const char *word) {
    return word == nullptr || *word == '\0';
}

} // namespace

tsh::OwnedList tsh::new_list() {
    return OwnedList(static_cast<str_list_t *>(tsh_malloc(sizeof(str_list_t))));
}

bool tsh::append_word(str_list_t &list, std::string_view word, size_t offset) {
    char *copy = allocate_text(word.size() + 1);
    if (copy == nullptr)
        return false;
    word.copy(copy, word.size());
    list.str[list.size] = copy;
    list.index[list.size] = static_cast<int32_t>(offset);
    ++list.size;
    return true;
}

char *str_list_join(const str_list_t *list) {
    if (list == nullptr || list->size <= 0)
        return nullptr;
    const std::span<char *const> words = words_of(*list);
    const std::span<char *const> all_but_last = words.first(words.size() - 1);
    const char *last = words.back();

    uint64_t length = robust_strlen(last);
    for (const char *word : all_but_last)
        if (!is_empty(word))
            length += strlen(word) + 1;
    if (last == nullptr && length == 0)
        return nullptr;
    char *joined = tsh::resize_text(nullptr, length + 1);
    if (joined == nullptr)
        return nullptr;

    char *end = joined;
    for (const char *word : all_but_last) {
        if (!is_empty(word)) {
            end = stpcpy(end, word);
            *end++ = ' ';
        }
    }
    robust_strcpy(end, last);
    return joined;
}

void str_list_free(str_list_t *list) {
    if (list == nullptr)
        return;
    for (char *word : words_of(*list))
        tsh_free(word);
    tsh_free(list);
}

void str_cmd_list_free(str_list_t **lists) {
    for (str_list_t *&list : std::span(lists, STR_CMD_LISTS)) {
        str_list_free(list);
        list = nullptr;
    }
}

void print_str_list(const str_list_t *list) {
    using tsh::trace;
    if (list == nullptr || !tsh::traces(TSH_TRACE_WORDS))
        return;
    trace("\nString list size : %d", list->size);
    const std::span<char *const> words = words_of(*list);
    for (size_t i = 0; i < words.size(); ++i)
        trace("\nStr : %s, Index : %d", words[i] == nullptr ? "(null)" : words[i], list->index[i]);
}

int32_t print_str_arr(char *const *array) {
    const auto size = static_cast<size_t>(str_arr_size(array));
    for (const char *text : std::span(array, size))
        printf("\nStr : %s", text);
    return 0;
}

int32_t print_char(const char *characters, int32_t count) {
    for (int32_t i = 0; i < count; ++i)
        fputc(characters[i], stdout);
    fputc(' ', stdout);
    return fflush(stdout);
}

int32_t str_arr_size(char *const *array) {
    int32_t size = 0;
    if (array != nullptr)
        while (array[size] != nullptr)
            ++size;
    return size;
}
