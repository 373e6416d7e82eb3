// Errors and warnings of all files, collected and printed at the end: file, line, column, label,
// text, and the source line with the position underlined.
#pragma once

#include "tools/ocmd_compile/source_file.h"
#include "tools/support/program.h"

#include <string>
#include <vector>

namespace compiler {

using tool::Severity;

/// Another position that a message refers to, with a separate text.
struct Note {
    const SourceFile *file;
    SourceRange place;
    std::string text;
};

struct Message {
    Severity severity;
    const SourceFile *file;
    SourceRange place;
    std::string text;
    std::vector<Note> notes{};
};

class Messages {
public:
    void add(Message message);
    void error(const SourceFile &file, SourceRange place, std::string text,
               std::vector<Note> notes = {});

    /// Returns whether the next message of a file is kept. If not, its text need not be made well.
    [[nodiscard]] bool keeps_next(const SourceFile &file) const;

    /// Number of errors, including those that are not kept.
    [[nodiscard]] size_t errors() const { return errors_; }

    /// Prints all messages to standard error, file by file, in the order of their positions. Prints
    /// the first kMostPerFile messages of each file and the number of the others.
    void print() const;

    static constexpr size_t kMostPerFile = 100;

private:
    struct FileMessages {
        const SourceFile *file;
        std::vector<Message> kept;
        size_t others;
    };

    [[nodiscard]] size_t index_of(const SourceFile &file) const;

    std::vector<FileMessages> files_; // in the order of their first message
    size_t errors_ = 0;
};

} // namespace compiler
