// Writer for JSON. Strings may contain any bytes: those that are not UTF-8 are written as
// {"hex":"..."}.
#pragma once

#include "tools/support/text_output.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace tool {

/// Writes values with the commas between them. Names of members are written unchanged.
class JsonOutput {
public:
    explicit JsonOutput(TextOutput &output) : output_(output) {}

    /// Begins the next member of an object; its value follows.
    JsonOutput &member(std::string_view name);

    JsonOutput &begin_object() { return begin('{'); }
    JsonOutput &begin_list() { return begin('['); }
    JsonOutput &end_object() { return end('}'); }
    JsonOutput &end_list() { return end(']'); }

    JsonOutput &text(std::string_view value);
    JsonOutput &number(uint64_t value);
    JsonOutput &number(int64_t value);
    JsonOutput &boolean(bool value);
    /// Writes a string with two hexadecimal digits for each byte.
    JsonOutput &digits(std::span<const uint8_t> bytes);
    /// Writes the bytes as an object like that of a text that is not UTF-8.
    JsonOutput &bytes(std::span<const uint8_t> bytes);
    /// Writes a string like "0xc0001".
    JsonOutput &mask(uint64_t value);

    JsonOutput &member(std::string_view name, std::string_view value) {
        return member(name).text(value);
    }

    /// Ends the line after a value that is in no object or list.
    void end_line() {
        output_ << '\n';
        needs_comma_ = false;
    }
    /// Begins a new line within an object or list, after the comma before the next value.
    JsonOutput &next_on_new_line();

private:
    JsonOutput &begin(char bracket);
    JsonOutput &end(char bracket);
    TextOutput &value();
    void write_string(std::string_view text);

    TextOutput &output_;
    bool needs_comma_ = false;
};

} // namespace tool
