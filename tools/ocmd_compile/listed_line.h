// Command lines in text files, as ocmd_show --commands prints them.
#pragma once

#include "tools/ocmd_compile/messages.h"
#include "tools/ocmd_compile/source_file.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace compiler {

/// A line of a file, divided into words.
struct ListedLine {
    struct Word {
        std::string_view text; ///< Empty for a node without a word, as in " / a" and "a / ".
        SourceRange place;
        bool enters = false; ///< " / " follows.
    };
    std::vector<Word> words; ///< None: an empty line or a comment.
    std::string_view help;   ///< Of the last word.
    SourceRange help_place;
};

/// Reads lines of a file one by one.
class ListedLines {
public:
    ListedLines(const SourceFile &file, Messages &messages) : file_(file), messages_(messages) {}

    /// Reads the next line; returns false at the end of the file. A line with an error, which is
    /// reported, has no words.
    bool next(ListedLine &line);

private:
    [[nodiscard]] SourceRange place_of(std::string_view part) const;
    std::string_view without_help(std::string_view text, ListedLine &line);
    bool divide(std::string_view text, ListedLine &line);
    bool fails(std::string_view part, std::string text);

    const SourceFile &file_;
    Messages &messages_;
    size_t begin_ = 0; // of the next line
};

/// A word as a grammar spells it.
struct ListedWord {
    std::string key; ///< Ready for YAML.
    bool is_optional = false;
};

/// Reads a word, such as "pace[o]<INTEGERHEX>[o]": names of types may follow each other directly.
/// Returns nothing after reporting an error at the place of the word. Needs the registry's types.
std::optional<ListedWord> read_listed_word(std::string_view text, const SourceFile &file,
                                           SourceRange place, TextStore &texts, Messages &messages);

} // namespace compiler
