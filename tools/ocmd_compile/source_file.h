// A file of grammars in memory, places in it, and the texts that grammars keep from it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <string>
#include <string_view>
#include <vector>

namespace compiler {

/// A range of bytes of one file.
struct Place {
    uint32_t begin = 0;
    uint32_t end = 0;
};

/// Both count from 1; columns count characters.
struct Position {
    size_t line;
    size_t column;
};

class SourceFile {
public:
    /// Takes UTF-8, or UTF-16 with a byte order mark, which becomes UTF-8.
    SourceFile(std::string name, std::string bytes);
    /// Reads a complete file, "-" for standard input. Reports a file that cannot be read or is too
    /// large for a grammar, and exits.
    static SourceFile read(const std::string &path);

    [[nodiscard]] const std::string &name() const { return name_; }
    /// The text in UTF-8, without a byte order mark.
    [[nodiscard]] std::string_view bytes() const { return bytes_; }
    [[nodiscard]] Position position(uint32_t offset) const;
    /// Where a line begins; past the last line, the end of the file.
    [[nodiscard]] uint32_t start_of_line(size_t line) const;
    /// A line without its end.
    [[nodiscard]] std::string_view line(size_t line) const;

private:
    std::string name_;
    std::string bytes_;
    std::vector<uint32_t> starts_; // of lines
};

/// Keeps texts at one place for as long as it lives.
class TextStore {
public:
    std::string_view keep(std::string_view text);

private:
    std::pmr::monotonic_buffer_resource memory_;
};

} // namespace compiler
