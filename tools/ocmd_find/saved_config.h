// The check of saved configurations, line by line.
#pragma once

#include "tools/ocmd_find/line_finder.h"
#include "tools/support/text_output.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace find {

class ConfigCheck {
public:
    /// Faults go to the output, one line each: FILE:LINE:COLUMN: what; columns are bytes from 1.
    ConfigCheck(LineFinder &finder, tool::TextOutput &output) : finder_(finder), output_(output) {}

    /// Checks a configuration from its first line on. @return whether every line is a command.
    /// Ends the run with kTrouble, after a message, when the stream cannot be read.
    bool check(FILE *stream, const std::string &name);

private:
    bool check_line(std::string text);
    bool enter_command(const TypedLine &line);
    bool open_submode(const Junction &end);
    void tell_refused(const TypedLine &line, const Resolution &closest);
    void tell(size_t place, const std::string &what);
    [[noreturn]] void fail(const std::string &what);

    LineFinder &finder_;
    tool::TextOutput &output_;
    std::vector<JunctionPtr> levels_; // where lines may begin: at the top and in open submodes
    std::string name_;
    uint64_t line_number_ = 0;
    uint32_t nearest_left_ = 0;
};

} // namespace find
