// Reading files of grammars, and lines and columns from offsets.
#include "tools/ocmd_compile/source_file.h"

#include "base/descriptor.h"
#include "tools/support/program.h"
#include "tools/support/utf8.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace compiler {

namespace {

// A word takes some sixty bytes and a tree has 65,536 words at most, so this is far from any need;
// it keeps an endless input from filling the memory.
constexpr size_t kMostBytes = size_t{1} << 28;

constexpr std::string_view kByteOrderMark{"\xEF\xBB\xBF"};

// Returns UTF-16 after its byte order mark as UTF-8. A surrogate without its partner, and a last
// odd byte, becomes a byte that UTF-8 does not have.
FileText utf8_of_utf16(std::string_view bytes, bool big_endian) {
    const auto unit_at = [&](size_t i) {
        const auto first = static_cast<unsigned char>(bytes[i]);
        const auto second = static_cast<unsigned char>(bytes[i + 1]);
        return big_endian ? gunichar{first} << 8U | second : gunichar{second} << 8U | first;
    };
    const auto is_half = [](gunichar unit, gunichar first) { return unit >> 10U == first >> 10U; };
    constexpr const char *kNoCharacter = "\xFF";
    FileText text;
    size_t i = 2;
    for (; i + 1 < bytes.size(); i += 2) {
        gunichar code = unit_at(i);
        if (is_half(code, 0xD800) && i + 3 < bytes.size() && is_half(unit_at(i + 2), 0xDC00)) {
            code = 0x10000 + ((code & 0x3FFU) << 10U) + (unit_at(i + 2) & 0x3FFU);
            i += 2;
        }
        std::array<char, 6> character{};
        const auto size = static_cast<size_t>(g_unichar_to_utf8(code, character.data()));
        if (g_unichar_validate(code) != FALSE)
            text.append(character.data(), size);
        else
            text += kNoCharacter;
    }
    return i < bytes.size() ? text.append(kNoCharacter) : text;
}

// Returns the text of a file as UTF-8 without a byte order mark.
FileText text_of(FileText bytes) {
    if (bytes.starts_with("\xFE\xFF"))
        return utf8_of_utf16(bytes, true);
    if (bytes.starts_with("\xFF\xFE"))
        return utf8_of_utf16(bytes, false);
    if (bytes.starts_with(kByteOrderMark))
        bytes.erase(0, kByteOrderMark.size());
    return bytes;
}

bool ends_line(std::string_view bytes, size_t i) {
    return bytes[i] == '\n' ||
           (bytes[i] == '\r' && (i + 1 == bytes.size() || bytes[i + 1] != '\n'));
}

[[noreturn]] void cannot_read(const std::string &name) {
    tool::fail("%s: cannot read: %s", name.c_str(), strerror(errno));
}

// Bytes to make room for: those of the file and one more, at which its end is seen.
size_t first_room(const base::Descriptor &file) {
    constexpr size_t kUnknown = size_t{1} << 18;
    const auto status = file.status();
    if (!status || !S_ISREG(status->st_mode))
        return kUnknown;
    return std::min(static_cast<size_t>(status->st_size), kMostBytes) + 1;
}

FileText read_whole(const base::Descriptor &file, const std::string &name) {
    FileText bytes(first_room(file), '\0');
    for (size_t known = 0;; bytes.resize(2 * known)) { // so that copies stay few
        const ssize_t count = base::read_fully(file, bytes.data() + known, bytes.size() - known);
        if (count < 0)
            cannot_read(name);
        known += static_cast<size_t>(count);
        if (known > kMostBytes)
            tool::fail("%s: file too large (limit: %zu bytes)", name.c_str(), kMostBytes);
        if (known < bytes.size()) {
            bytes.resize(known);
            return bytes;
        }
    }
}

} // namespace

SourceFile::SourceFile(std::string name, FileText bytes)
    : name_(std::move(name)), bytes_(text_of(std::move(bytes))) {}

const std::vector<uint32_t> &SourceFile::starts() const {
    if (!starts_.empty())
        return starts_;
    starts_.push_back(0);
    for (size_t i = 0; i < bytes_.size(); ++i)
        if (bytes_[i] <= '\r' && ends_line(bytes_, i))
            starts_.push_back(static_cast<uint32_t>(i + 1));
    return starts_;
}

SourceFile SourceFile::read(const std::string &path) {
    const std::string name = path == "-" ? "standard input" : path;
    const base::Descriptor file = base::open_input(path);
    if (!file)
        cannot_read(name);
    return {name, read_whole(file, name)};
}

Position SourceFile::position(uint32_t offset) const {
    const auto after = std::ranges::upper_bound(starts(), offset);
    const auto line = static_cast<size_t>(after - starts().begin());
    const uint32_t start = starts()[line - 1];
    return {line, tool::count_characters(bytes().substr(start, offset - start)) + 1};
}

uint32_t SourceFile::start_of_line(size_t line) const {
    return line <= starts().size() ? starts()[line - 1] : static_cast<uint32_t>(bytes_.size());
}

std::string_view SourceFile::line(size_t line) const {
    const uint32_t start = start_of_line(line);
    std::string_view text = bytes().substr(start, start_of_line(line + 1) - start);
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r'))
        text.remove_suffix(1);
    return text;
}

std::string_view TextStore::keep(std::string_view text) {
    auto *kept = static_cast<char *>(memory_.allocate(std::max<size_t>(text.size(), 1), 1));
    std::ranges::copy(text, kept);
    return {kept, text.size()};
}

} // namespace compiler
