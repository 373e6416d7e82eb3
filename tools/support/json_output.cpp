// Writer for JSON. Control characters are escaped, as they could end a line or change a terminal.
#include "tools/support/json_output.h"

#include "tools/support/utf8.h"

namespace tool {

namespace {

bool is_first_byte_of_c1(char c) {
    return c == '\xC2';
}

} // namespace

JsonOutput &JsonOutput::member(std::string_view name) {
    value() << '"' << name << "\":";
    needs_comma_ = false;
    return *this;
}

JsonOutput &JsonOutput::text(std::string_view text) {
    if (!is_utf8(text))
        return bytes({reinterpret_cast<const uint8_t *>(text.data()), text.size()});
    value();
    write_string(text);
    return *this;
}

JsonOutput &JsonOutput::number(uint64_t number) {
    value() << number;
    return *this;
}

JsonOutput &JsonOutput::number(int64_t number) {
    value() << number;
    return *this;
}

JsonOutput &JsonOutput::boolean(bool is_true) {
    value() << (is_true ? "true" : "false");
    return *this;
}

JsonOutput &JsonOutput::digits(std::span<const uint8_t> bytes) {
    value() << '"';
    for (const uint8_t byte : bytes)
        output_.hexadecimal(byte, 2);
    output_ << '"';
    return *this;
}

JsonOutput &JsonOutput::bytes(std::span<const uint8_t> bytes) {
    return begin_object().member("hex").digits(bytes).end_object();
}

JsonOutput &JsonOutput::mask(uint64_t number) {
    value() << "\"0x";
    output_.hexadecimal(number) << '"';
    return *this;
}

JsonOutput &JsonOutput::next_on_new_line() {
    value() << '\n';
    needs_comma_ = false;
    return *this;
}

JsonOutput &JsonOutput::begin(char bracket) {
    value() << bracket;
    needs_comma_ = false;
    return *this;
}

JsonOutput &JsonOutput::end(char bracket) {
    output_ << bracket;
    needs_comma_ = true;
    return *this;
}

// Writes the comma before a value; another one may follow it.
TextOutput &JsonOutput::value() {
    if (needs_comma_)
        output_ << ',';
    needs_comma_ = true;
    return output_;
}

void JsonOutput::write_string(std::string_view text) {
    output_ << '"';
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (is_control_at(text, i)) {
            if (is_first_byte_of_c1(c)) // the second byte is the code
                continue;
            output_ << "\\u";
            output_.hexadecimal(static_cast<unsigned char>(c), 4);
            continue;
        }
        if (c == '"' || c == '\\')
            output_ << '\\';
        output_ << c;
    }
    output_ << '"';
}

} // namespace tool
