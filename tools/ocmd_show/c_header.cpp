// Functions as prototypes in a C header that needs no other header.
#include "base/escape.h"
#include "tools/ocmd_show/c_names.h"
#include "tools/ocmd_show/functions.h"
#include "tools/support/types.h"
#include "tools/support/utf8.h"

#include <cstdio>

namespace show {

namespace {

using tool::TextOutput;

constexpr std::string_view kHead =
    R"(/* Functions of the commands in %.
 *
 * A function gets the values of the line in their order, as typed, without the quotes around them.
 * The value of an omitted word is a null pointer. A function whose commands have different
 * parameters gets the number of values and an array of them.
 *
 * A function whose name is no identifier or is reserved in C has a name that begins with cmd_. */
#ifndef OCMD_FUNCTIONS_H
#define OCMD_FUNCTIONS_H
)";

// Formatting characters could show a comment as code, or code as a comment.
bool is_formatting(gunichar c) {
    const GUnicodeType type = g_unichar_type(c);
    return type == G_UNICODE_FORMAT || type == G_UNICODE_LINE_SEPARATOR ||
           type == G_UNICODE_PARAGRAPH_SEPARATOR;
}

// Compilers see the end of a comment in "*/", and warn of "/*" and of trigraphs ("??/").
bool is_comment_delimiter(char before, char c) {
    return (before == '*' && c == '/') || (before == '/' && c == '*') ||
           (before == '?' && c == '?');
}

void add_escaped(std::string_view bytes, std::string &text) {
    for (const char byte : bytes) {
        char code[sizeof "\\xNN"];
        snprintf(code, sizeof code, "\\x%02x", static_cast<unsigned char>(byte));
        text += code;
    }
}

// A text within a comment.
std::string comment_text(std::string_view raw) {
    const std::string text = base::escaped(raw);
    const bool is_utf8 = tool::is_utf8(text);
    std::string safe;
    for (size_t i = 0; i < text.size();) {
        const char c = text[i];
        const bool is_ascii = static_cast<unsigned char>(c) < 0x80;
        const size_t length =
            is_ascii || !is_utf8 ? 1 : static_cast<size_t>(g_utf8_next_char(&text[i]) - &text[i]);
        const std::string_view character = std::string_view{text}.substr(i, length);
        if (!is_ascii && (!is_utf8 || is_formatting(g_utf8_get_char(&text[i]))))
            add_escaped(character, safe);
        else
            (safe += is_comment_delimiter(safe.empty() ? ' ' : safe.back(), c) ? "\\" : "") +=
                character;
        i += length;
    }
    return safe;
}

// "integer_range_2" for the second parameter, which is of that type.
std::string parameter_name(uint32_t mask, size_t number) {
    std::string name;
    for (const char c : tool::types_text(mask))
        if (is_identifier_byte(c))
            name += static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
        else if (!name.ends_with('_'))
            name += '_';
    if (name.empty() || (name[0] >= '0' && name[0] <= '9'))
        name.insert(0, "value_");
    return name + "_" + std::to_string(number);
}

std::string parameter_list(const Function &function) {
    if (!function.parameters)
        return "int count, const char *const values[]";
    std::string list;
    size_t number = 0;
    for (const uint32_t mask : *function.parameters)
        (list += list.empty() ? "const char *" : ", const char *") +=
            parameter_name(mask, ++number);
    return list.empty() ? "void" : list;
}

void write_prototype(std::string_view name, const std::string &c_name, const Function &function,
                     TextOutput &output) {
    output << "\n/* " << comment_text(name) << comment_text(modes_text(function)) << '\n';
    for (const Function::Use &use : function.uses) {
        for_each_line(
            use, [&](const std::string &line) { output << " *   " << comment_text(line) << '\n'; });
        if (const std::string_view help = tool::text_of(use.record().help); !help.empty())
            output << " *     " << comment_text(help) << '\n';
    }
    output << " */\nint " << c_name << '(' << parameter_list(function) << ");\n";
}

} // namespace

void write_c_header(const FunctionTable &table, const std::string &file, TextOutput &output) {
    const size_t place = kHead.find('%');
    output << kHead.substr(0, place) << comment_text(file) << kHead.substr(place + 1);
    CNames names;
    for (const auto &[name, function] : table.functions())
        names.reserve(name);
    for (const auto &[name, function] : table.functions())
        write_prototype(name, names.name_for(name), function, output);
    output << "\n#endif\n";
}

} // namespace show
