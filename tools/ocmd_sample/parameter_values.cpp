// Random values are variations of the typical example that the parameter's own check accepts.
#include "tools/ocmd_sample/parameter_values.h"

#include <array>
#include <charconv>
#include <utility>
#include <vector>

namespace sample {

namespace {

constexpr int kMostAttempts = 8; // before the example itself is used

bool is_accepted(const parameter_info_t &parameter, const std::string &text,
                 tsh_value_t *value = nullptr) {
    return tsh_value_check(nullptr, &parameter, text.data(), text.size(), value, nullptr) ==
           TSH_CHECK_ACCEPTED;
}

template <typename Number> std::string number_text(Number number, int base) {
    std::array<char, 24> digits;
    const auto [end, error] =
        std::to_chars(digits.data(), digits.data() + digits.size(), number, base);
    return {digits.data(), end};
}

// Signed and unsigned numbers have the same differences.
std::string random_number(const tsh_type_t &type, const parameter_info_t &parameter,
                          Random &random) {
    tsh_value_t lowest{};
    tsh_value_t highest{};
    is_accepted(parameter, example_of(parameter, TSH_EXAMPLE_LOWEST).value_or(""), &lowest);
    is_accepted(parameter, example_of(parameter, TSH_EXAMPLE_HIGHEST).value_or(""), &highest);
    const auto low = static_cast<uint64_t>(lowest.low);
    const uint64_t difference = static_cast<uint64_t>(highest.high) - low;
    const uint64_t number =
        low + (difference == UINT64_MAX ? random.bits() : random.below(difference + 1));
    return type.is_signed != 0 ? number_text(static_cast<int64_t>(number), type.base)
                               : number_text(number, type.base);
}

char random_between(char first, char last, Random &random) {
    return static_cast<char>(
        first + static_cast<int>(random.below(static_cast<uint64_t>(last - first) + 1)));
}

// Letters that are hexadecimal digits remain such, and the x of 0x remains.
std::string varied(std::string text, Random &random) {
    for (size_t i = 0; i < text.size(); ++i) {
        char &c = text[i];
        if (c >= '0' && c <= '9' && (i + 1 == text.size() || text[i + 1] != 'x'))
            c = random_between('0', '9', random);
        else if (c >= 'a' && c <= 'f')
            c = random_between('a', 'f', random);
        else if (c >= 'g' && c <= 'z' && (i == 0 || text[i - 1] != '0'))
            c = random_between('g', 'z', random);
    }
    return text;
}

std::string random_text(const tsh_type_t &type, std::string example, Random &random) {
    if (type.form == TSH_FORM_WORD || type.form == TSH_FORM_LINE)
        example.resize(random.below(example.size()) + 1);
    return varied(std::move(example), random);
}

} // namespace

std::optional<std::string> example_of(const parameter_info_t &parameter, tsh_example_t which) {
    std::string text;
    int32_t length = 64;
    while (static_cast<size_t>(length) >= text.size()) {
        text.resize(static_cast<size_t>(length) + 1);
        length = tsh_value_example(nullptr, &parameter, which, text.data(), text.size());
        if (length < 0)
            return std::nullopt;
    }
    text.resize(static_cast<size_t>(length));
    return text;
}

std::optional<std::string> random_value_of(const parameter_info_t &parameter, Random &random) {
    std::vector<uint32_t> masks;
    for (uint32_t mask = 0; (mask = tsh_mask_next_type(parameter.type_mask, mask)) != 0;)
        masks.push_back(mask);
    parameter_info_t only = parameter;
    if (!masks.empty())
        only.type_mask = masks[random.below(masks.size())];
    const tsh_type_t *type = tsh_type_by_mask(nullptr, only.type_mask);
    std::optional<std::string> example = example_of(only, TSH_EXAMPLE_TYPICAL);
    if (!example || type == nullptr)
        return example_of(parameter, TSH_EXAMPLE_TYPICAL);
    for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
        std::string text = type->bounds == TSH_BOUNDS_NUMBERS
                               ? random_number(*type, only, random)
                               : random_text(*type, *example, random);
        if (is_accepted(parameter, text))
            return text;
    }
    return example;
}

} // namespace sample
