// Output of messages.
#include "tools/ocmd_compile/messages.h"

#include "tools/support/program.h"
#include "tools/support/utf8.h"
#include "tools/support/wording.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace compiler {

namespace {

using tool::is_inside_character;

constexpr size_t kWindow = 96; // bytes of a long line that are shown
constexpr size_t kLead = 32;   // of these, before the position

constexpr size_t kMostInside = 3; // continuation bytes of a character

// Returns whether truncating the line there would split a character.
bool is_inside(std::string_view line, size_t place) {
    return place < line.size() && is_inside_character(line[place]);
}

// Range of a line that is shown: without leading spaces, and complete if it is short. Invalid UTF-8
// may look like one endless character.
std::pair<size_t, size_t> window_of(std::string_view line, size_t column) {
    size_t begin = std::min(line.find_first_not_of(" \t"), column);
    if (column - begin > kWindow - kLead)
        begin = column - kLead;
    size_t end = std::min(line.size(), begin + kWindow);
    for (size_t left = kMostInside; left > 0 && begin > 0 && is_inside(line, begin); --left)
        --begin;
    for (size_t left = kMostInside; left > 0 && is_inside(line, end); --left)
        ++end;
    return {begin, end};
}

// Prints the source line, and below it a caret at the position with a tilde for each further
// character.
void show_line(const SourceFile &file, SourceRange place) {
    const size_t number = file.position(place.begin).line;
    const std::string_view line = file.line(number);
    const uint32_t start = file.start_of_line(number);
    const size_t from = std::min<size_t>(std::max(place.begin, start) - start, line.size());
    const size_t to = std::clamp(from + (place.end - place.begin), from, line.size());
    const auto [begin, end] = window_of(line, from);

    const std::string shown = tool::printable(line);
    std::string text;
    std::string marks;
    for (size_t i = begin; i < end; ++i) {
        text += shown[i];
        if (is_inside_character(line[i]))
            continue;
        if (i <= from)
            marks += i == from ? '^' : ' ';
        else if (i < to)
            marks += '~';
    }
    if (from >= end)
        marks += '^';
    const char *before = begin > 0 && line.find_first_not_of(" \t") < begin ? "..." : "";
    const char *after = end < line.size() ? "..." : "";
    fprintf(stderr, "    %s%s%s\n    %*s%s\n", before, text.c_str(), after, *before == '\0' ? 0 : 3,
            "", marks.c_str());
}

void print_at(const SourceFile &file, SourceRange place, Severity severity,
              const std::string &text) {
    const Position at = file.position(place.begin);
    tool::report("%s:%zu:%zu: %s%s", file.name().c_str(), at.line, at.column, tool::label(severity),
                 text.c_str());
    show_line(file, place);
}

void print_message(const Message &message) {
    print_at(*message.file, message.place, message.severity, message.text);
    for (const Note &note : message.notes)
        print_at(*note.file, note.place, Severity::kNote, note.text);
}

} // namespace

// Returns the index of a file's messages, or the count where it has none. The last file comes
// first: it is the one that is being read.
size_t Messages::index_of(const SourceFile &file) const {
    for (size_t i = files_.size(); i > 0; --i)
        if (files_[i - 1].file == &file)
            return i - 1;
    return files_.size();
}

bool Messages::keeps_next(const SourceFile &file) const {
    const size_t index = index_of(file);
    return index == files_.size() || files_[index].kept.size() < kMostPerFile;
}

void Messages::add(Message message) {
    errors_ += message.severity == Severity::kError ? 1 : 0;
    const size_t index = index_of(*message.file);
    if (index == files_.size())
        files_.push_back({message.file, {}, 0});
    FileMessages &of_file = files_[index];
    if (of_file.kept.size() < kMostPerFile)
        of_file.kept.push_back(std::move(message));
    else
        ++of_file.others;
}

void Messages::error(const SourceFile &file, SourceRange place, std::string text,
                     std::vector<Note> notes) {
    add({Severity::kError, &file, place, std::move(text), std::move(notes)});
}

void Messages::print() const {
    for (const FileMessages &of_file : files_) {
        std::vector<const Message *> ordered;
        for (const Message &message : of_file.kept)
            ordered.push_back(&message);
        std::ranges::stable_sort(ordered, {}, [](const Message *m) { return m->place.begin; });
        std::ranges::for_each(ordered, [](const Message *m) { print_message(*m); });
        if (of_file.others > 0)
            tool::report("%s: %zu more messages not shown", of_file.file->name().c_str(),
                         of_file.others);
    }
}

} // namespace compiler
