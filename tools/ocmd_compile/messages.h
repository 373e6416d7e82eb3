// What is wrong with grammars, collected over all files and told at the end: file, line, column,
// what, and the line itself with the place underlined.
#pragma once

#include "tools/ocmd_compile/source_file.h"

#include <string>
#include <vector>

namespace compiler {

enum class Severity : uint8_t { kWarning, kFault };

/// Another place that a message speaks of.
struct Note {
    const SourceFile *file;
    Place place;
    std::string text;
};

struct Message {
    Severity severity;
    const SourceFile *file;
    Place place;
    std::string text;
    std::vector<Note> notes{};
};

class Messages {
public:
    void add(Message message);
    void fault(const SourceFile &file, Place place, std::string text, std::vector<Note> notes = {});

    /// How many faults there are, those included that are not kept.
    [[nodiscard]] size_t faults() const { return faults_; }

    /// Tells all messages on standard error, file by file, in the order of their places. Of one
    /// file, the first kMostPerFile are told and the others counted.
    void tell() const;

    static constexpr size_t kMostPerFile = 100;

private:
    struct FileMessages {
        const SourceFile *file;
        std::vector<Message> kept;
        size_t others;
    };

    std::vector<FileMessages> files_; // in the order in which they were first spoken of
    size_t faults_ = 0;
};

} // namespace compiler
