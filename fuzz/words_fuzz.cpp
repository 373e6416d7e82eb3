// Fuzzer of splitters and parsers: the input is a line; properties of every result are checked.
//
// Reaches: strsplit, tokenize, hex_split, str_list_join, get_unmatched_quote_index, strxtoi,
// get_uint8_from_str, range_preparse_str, tsh_value_check, tsh_value_next_run
#include "feature/tsh/src/hex_split.h"
#include "feature/tsh/src/memory.h"
#include "feature/tsh/src/number_parse.h"
#include "feature/tsh/src/tokenizer.h"
#include "feature/tsh/src/word_split.h"
#include "param_reg/values.h"

#include <algorithm>
#include <cstring>
#include <glib.h>
#include <string>

namespace {

// Checks that the words are in the line in their order; the words of a plain line are the text
// between white space. Releases the list.
void check_words(str_list_t *list, const std::string &line, bool plain) {
    constexpr auto kWhiteSpace = " \t\n\v\f\r";
    const int32_t count = list == nullptr ? 0 : list->size;
    size_t end = 0;
    for (int32_t i = 0; i < count; ++i) {
        const std::string word = list->str[i];
        const auto start = static_cast<size_t>(list->index[i]);
        g_assert(!word.empty() && start >= end && line.compare(start, word.size(), word) == 0);
        g_assert(!plain || start == line.find_first_not_of(kWhiteSpace, end));
        end = start + word.size();
        g_assert(!plain || end == std::min(line.find_first_of(kWhiteSpace, start), line.size()));
    }
    g_assert(!plain || count == STR_LIST_MAX_WORDS ||
             line.find_first_not_of(kWhiteSpace, end) == std::string::npos);
    g_assert(list == nullptr ||
             (count > 0 && count <= STR_LIST_MAX_WORDS && list->str[count] == nullptr));
    tsh_free(str_list_join(list));
    str_list_free(list);
}

// Checks that a value within bounds is also valid without, and that the number of ranges read from
// it is the number counted.
void check_value(const tsh_type_t &type, std::string_view text) {
    parameter_info_t parameter{};
    parameter.type_mask = type.mask;
    const auto accepts = [&](tsh_value_t *value) {
        char reason[TSH_REASON_SIZE];
        const tsh_check_t result =
            tsh_value_check(nullptr, &parameter, text.data(), text.size(), value, reason);
        g_assert((result == TSH_CHECK_ACCEPTED) == (*reason == '\0'));
        return result == TSH_CHECK_ACCEPTED;
    };
    tsh_value_t value;
    const bool is_in_form = accepts(&value);
    size_t offset = 0;
    int64_t low = 0;
    int64_t high = 0;
    uint32_t runs = 0;
    while (is_in_form &&
           tsh_value_next_run(&type, text.data(), text.size(), &offset, &low, &high) != 0)
        ++runs;
    g_assert(runs == value.run_count);
    parameter.int_min = -5;
    parameter.int_max = 10;
    g_assert(is_in_form || !accepts(&value));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string line(reinterpret_cast<const char *>(data), size);
    uint32_t type_count = 0;
    const tsh_type_t *types = tsh_types_list(nullptr, &type_count);
    std::for_each_n(types, type_count, [&](const tsh_type_t &type) { check_value(type, line); });
    line.resize(strlen(line.c_str()));
    const bool plain = line.find_first_of("\"\\\xFF|<>;") == std::string::npos;
    for (const char *specials : {"", "|;>\\"}) {
        str_list_t *list = tokenize(line.c_str(), specials);
        const auto quote = static_cast<size_t>(get_unmatched_quote_index());
        const bool closed = check_unmatched_quote() == 0;
        g_assert((quote == 0 && closed) || (list == nullptr && line[quote] == '"'));
        check_words(list, line, plain);
    }
    std::string copy = line;
    if (!copy.empty() && strchr("|><", copy.back()) != nullptr)
        copy += ' ';
    if (const size_t pipe = copy.find("|>"); pipe != std::string::npos)
        copy.insert(pipe + 1, 1, ' ');
    check_words(strsplit(line.c_str(), " "), copy, plain);
    check_words(strsplit(line.c_str(), ","), copy, false);
    g_strfreev(hex_split(line.c_str(), ":-"));
    const int32_t byte = get_uint8_from_str(line.c_str());
    g_assert(byte <= 0 || strxtoi(line.c_str()) == static_cast<uint32_t>(byte));
    range_preparse_str(line.data());
    g_assert(line.find("--") == std::string::npos);
    return 0;
}
