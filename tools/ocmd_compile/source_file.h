// A grammar file in memory, ranges in it, and a store for texts of grammars.
#pragma once

#include "base/huge_pages.h"

#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <string>
#include <string_view>
#include <vector>

namespace compiler {

/// A range of bytes of one file.
struct SourceRange {
    uint32_t begin = 0;
    uint32_t end = 0;
};

/// Line and column, both from 1; columns count characters.
struct Position {
    size_t line;
    size_t column;
};

/// The bytes of a file; those of a large file are on huge pages.
using FileText = std::basic_string<char, std::char_traits<char>, base::HugePages<char>>;

class SourceFile {
public:
    /// Takes UTF-8, or UTF-16 with a byte order mark, which becomes UTF-8.
    SourceFile(std::string name, FileText bytes);
    /// Reads a complete file, "-" for standard input. Reports a file that cannot be read or is too
    /// large for a grammar, and exits.
    static SourceFile read(const std::string &path);

    [[nodiscard]] const std::string &name() const { return name_; }
    /// Returns the text in UTF-8, without a byte order mark.
    [[nodiscard]] std::string_view bytes() const { return bytes_; }
    [[nodiscard]] Position position(uint32_t offset) const;
    /// Returns the offset of a line; past the last line, the end of the file.
    [[nodiscard]] uint32_t start_of_line(size_t line) const;
    /// Returns a line without its end.
    [[nodiscard]] std::string_view line(size_t line) const;

private:
    // Returns the offsets of lines. Few files have messages, so they are found at the first call.
    [[nodiscard]] const std::vector<uint32_t> &starts() const;

    std::string name_;
    FileText bytes_;
    mutable std::vector<uint32_t> starts_;
};

/// Copies of texts, at addresses that do not change.
class TextStore {
public:
    std::string_view keep(std::string_view text);

private:
    std::pmr::monotonic_buffer_resource memory_;
};

} // namespace compiler
