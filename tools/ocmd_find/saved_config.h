// Check of saved configurations.
#pragma once

#include "tools/ocmd_find/file_grammar.h"
#include "tools/support/text_output.h"

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace find {

/// Words that leave submodes, in lower case; they need not be in the grammar.
struct LeavingWords {
    std::vector<std::string> one{"exit", "quit"};
    std::vector<std::string> all{"end"};
};

class ConfigCheck {
public:
    /// Lines of a configuration begin in the submodes of the line, if it is not empty; a line that
    /// enters none ends the run after a message. Errors go to the output, one line each:
    /// FILE:LINE:COLUMN: MESSAGE, or an object; columns are bytes from 1.
    ConfigCheck(const FileGrammar &grammar, const LeavingWords &leaving, std::string_view within,
                bool as_json, tool::TextOutput &output);

    /// Checks a configuration. @return whether every line is a command. Ends the run with kError,
    /// after a message, if the stream cannot be read.
    bool check(FILE *stream, const std::string &name);

private:
    /// A line to which more indented lines belong.
    struct Parent {
        size_t indentation;
        uint32_t depth; ///< Submodes entered after it.
        bool has_submode;
    };
    /// A message that is not written yet because it includes the number of lines skipped after it.
    struct Waiting {
        uint64_t line;
        size_t column;
        std::string message;
        size_t indentation;
        uint64_t skipped = 0;
    };
    enum class Outcome : uint8_t { kAccepted, kEntered, kNotUnderstood };

    void check_line(std::string_view line);
    void check_indented(std::string_view line);
    bool leave_by_word(std::string_view line, uint32_t depth);
    void leave_to(uint32_t depth);
    Outcome check_command(std::string_view line, uint32_t options);
    [[nodiscard]] bool enter();
    void report(size_t column, const std::string &message, bool waits = false);
    void write_waiting();
    void write_text(const Waiting &waiting);
    void write_json(const Waiting &waiting);
    [[noreturn]] void fail(const std::string &message);
    [[nodiscard]] std::string message_of_answer(std::string_view line);

    const LeavingWords &leaving_;
    bool as_json_;
    tool::TextOutput &output_;
    ContextPtr context_;
    AnswerPtr answer_;
    std::string within_;

    std::string name_;
    uint64_t line_number_ = 0;
    uint32_t suggestions_left_ = 0;
    bool are_all_accepted_ = true;
    uint32_t base_depth_ = 0;
    std::vector<Parent> parents_; // each indented more than the one before
    std::optional<Waiting> waiting_;
    size_t indentation_ = 0; // of the line
};

} // namespace find
