// Escapes for control characters.
#include "base/escape.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <glib.h>
#include <memory>

namespace base {

namespace {

bool is_c0_or_del(char c) {
    return static_cast<unsigned char>(c) < ' ' || c == '\x7F';
}

bool is_c1(gunichar character) {
    return character >= 0x80 && character <= 0x9F;
}

template <typename Integer> Integer load(const char *from) {
    Integer value;
    memcpy(&value, from, sizeof value);
    return value;
}

// Whether 8 bytes are printable ASCII. The lowest one that is not sets its own top bit in one of
// the three terms; no carry of a lower byte reaches it.
bool are_printable_ascii(uint64_t bytes) {
    constexpr uint64_t kEach = 0x0101010101010101;
    return ((bytes | (bytes - kEach * ' ') | (bytes + kEach)) & kEach * 0x80) == 0;
}

// Looks at 8 bytes at a time, at some of them twice.
bool is_printable_ascii(std::string_view text) {
    constexpr size_t kStep = sizeof(uint64_t);
    const char *from = text.data();
    const char *const end = from + text.size();
    if (text.size() < kStep / 2)
        return std::ranges::none_of(text, [](char c) { return c < ' ' || c > '~'; });
    if (text.size() < kStep)
        return are_printable_ascii(uint64_t{load<uint32_t>(from)} << 32U |
                                   load<uint32_t>(end - kStep / 2));
    for (; end - from > static_cast<ptrdiff_t>(kStep); from += kStep)
        if (!are_printable_ascii(load<uint64_t>(from)))
            return false;
    return are_printable_ascii(load<uint64_t>(end - kStep));
}

// Bytes of the character of UTF-8 or, where there is none, 1.
size_t size_of_character(std::string_view text, bool &is_control) {
    const auto byte = static_cast<unsigned char>(text.front());
    if (byte < 0x80) {
        is_control = is_c0_or_del(text.front());
        return 1;
    }
    const gunichar character =
        g_utf8_get_char_validated(text.data(), static_cast<gssize>(text.size()));
    const bool is_utf8 = character <= 0x10FFFF;
    is_control = is_c1(is_utf8 ? character : byte);
    return is_utf8 ? static_cast<size_t>(g_unichar_to_utf8(character, nullptr)) : 1;
}

// Most texts need no search, so its registers are not saved for them.
[[gnu::noinline]] std::string_view search_control(std::string_view text, size_t from) {
    while (from < text.size()) {
        if (text[from] >= ' ' && text[from] < '\x7F') {
            ++from;
            continue;
        }
        bool is_control = false;
        const size_t size = size_of_character(text.substr(from), is_control);
        if (is_control)
            return text.substr(from, size);
        from += size;
    }
    return text.substr(text.size());
}

// Calls take(text, is_control) for the parts of a text, in their order.
template <typename Take> void for_each_part(std::string_view text, Take take) {
    while (!text.empty()) {
        const std::string_view control = find_control(text);
        take(text.substr(0, static_cast<size_t>(control.data() - text.data())), false);
        take(control, true);
        text.remove_prefix(static_cast<size_t>(control.end() - text.begin()));
    }
}

using Escape = std::array<char, 4>;

Escape escape_of(char c) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(c);
    return {'\\', 'x', kDigits[byte >> 4U], kDigits[byte & 0xFU]};
}

bool is_digit_of_escape(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
}

// Returns the position of the first text at or after a position that looks like an escape.
size_t find_escape(std::string_view text, size_t from = 0) {
    constexpr std::string_view kBeginning = "\\x";
    size_t at = text.find(kBeginning, from);
    while (at != std::string_view::npos &&
           (text.size() - at < sizeof(Escape) || !is_digit_of_escape(text[at + 2]) ||
            !is_digit_of_escape(text[at + 3])))
        at = text.find(kBeginning, at + 1);
    return at;
}

void write_escaped(FILE *stream, std::string_view text) {
    for_each_part(text, [&](std::string_view part, bool is_control) {
        if (!is_control)
            fwrite(part.data(), 1, part.size(), stream);
        else
            for (const char c : part)
                fwrite(escape_of(c).data(), 1, sizeof(Escape), stream);
    });
}

} // namespace

std::string_view find_control(std::string_view text, size_t from) {
    return is_printable_ascii(text.substr(from)) ? text.substr(text.size())
                                                 : search_control(text, from);
}

std::string escaped(std::string_view text) {
    std::string result;
    for_each_part(text, [&](std::string_view part, bool is_control) {
        if (!is_control)
            result += part;
        else
            for (const char c : part)
                result.append(escape_of(c).data(), sizeof(Escape));
    });
    return result;
}

std::string reversibly_escaped(std::string_view text) {
    std::string result;
    size_t done = 0;
    for (size_t at; (at = find_escape(text, done)) != std::string_view::npos; done = at + 1) {
        result += escaped(text.substr(done, at - done));
        result.append(escape_of(text[at]).data(), sizeof(Escape));
    }
    return result += escaped(text.substr(done));
}

bool has_escapes(std::string_view text) {
    return !find_control(text).empty() || find_escape(text) != std::string_view::npos;
}

void vprint_escaped(FILE *stream, const char *format, va_list values) {
    std::array<char, 1024> usual;
    va_list again;
    va_copy(again, values);
    const auto length =
        static_cast<size_t>(std::max(vsnprintf(usual.data(), usual.size(), format, values), 0));
    std::string_view message{usual.data(), std::min(length, usual.size() - 1)};
    std::unique_ptr<char, decltype(&free)> longer{nullptr, free};
    if (length >= usual.size())
        longer.reset(static_cast<char *>(malloc(length + 1)));
    if (longer != nullptr) {
        vsnprintf(longer.get(), length + 1, format, again);
        message = {longer.get(), length};
    }
    va_end(again);

    const std::string_view pattern = format;
    const size_t newlines = pattern.size() - (pattern.find_last_not_of('\n') + 1);
    message.remove_suffix(std::min(newlines, message.size()));
    write_escaped(stream, message);
    fwrite(pattern.data() + pattern.size() - newlines, 1, newlines, stream);
}

void print_escaped(FILE *stream, const char *format, ...) {
    va_list values;
    va_start(values, format);
    vprint_escaped(stream, format, values);
    va_end(values);
}

} // namespace base
