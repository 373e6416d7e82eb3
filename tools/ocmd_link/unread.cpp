// A file is looked at as a whole only where its size, or what stands at its end, leaves a doubt.
#include "tools/ocmd_link/unread.h"

#include "tools/support/file_bytes.h"
#include "tools/support/program.h"
#include "tools/support/tree_look.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <span>
#include <sstream>
#include <string_view>
#include <system_error>

namespace fs = std::filesystem;

namespace tool {

namespace {

// Bytes of the records in a file as the tree writer makes it.
uint64_t stored_size(const Records &records) {
    uint64_t size = 0;
    for (const subtree_entry_t *record = records.first; record != records.end;
         record = record->next) {
        size_t path_size = record->path_count == 0 ? 1 : 0;
        for (int32_t i = 0; i < record->path_count; ++i)
            path_size += strlen(record->attach_paths[i]) + 1;
        size +=
            sizeof(subtree_header_t) + path_size + uint64_t{record->node_count} * TREE_NODE_SIZE;
    }
    return size;
}

// Whether a file shows, without being inflated once more, that it holds so many bytes and nothing
// else: a plain one by its size; a compressed one when a member begins nowhere but at its start,
// and the size with which that member ends stands nowhere but at its end.
bool clearly_holds(const std::string &path, uint64_t size) {
    constexpr std::string_view kMemberStart{"\x1F\x8B\x08"};
    std::ifstream file{path, std::ios::binary};
    std::error_code ignored;
    if (file.peek() != kMemberStart.front())
        return fs::file_size(path, ignored) == size;
    const std::string bytes = (std::ostringstream{} << file.rdbuf()).str();
    std::string member_end;
    for (const unsigned shift : {0U, 8U, 16U, 24U})
        member_end += static_cast<char>(size >> shift);
    return bytes.rfind(kMemberStart) == 0 && bytes.ends_with(member_end) &&
           bytes.find(member_end) + member_end.size() == bytes.size();
}

// Whether something follows a record of no nodes, which is told.
bool tell_of_end_before_end(std::span<const unsigned char> rest, const std::string &name) {
    for (size_t number = 1; rest.size() >= sizeof(subtree_header_t); ++number) {
        const HeaderLook look{rest, ByteOrder::kBig};
        const size_t size = sizeof look.header + look.header.path_len + look.header.tree_bytes;
        if (!look.is_readable() || size >= rest.size())
            return false;
        rest = rest.subspan(size);
        if (look.header.tree_bytes > 0)
            continue;
        tell("%s: record %zu: without nodes, which ends the file; left out with the %zu "
             "bytes that follow",
             name.c_str(), number, rest.size());
        return true;
    }
    return false;
}

} // namespace

uint32_t tell_of_unread(const std::string &path, const std::string &name, const Records &records) {
    std::error_code ignored;
    if (!fs::is_regular_file(path, ignored) || clearly_holds(path, stored_size(records)))
        return 0;
    const FileBytes file{path, name};
    const std::string &cut_by = file.cut_by();
    if (!cut_by.empty())
        tell("%s: %s", name.c_str(), cut_by.c_str());
    const bool ends_early = tell_of_end_before_end(file.all(), name);
    return (cut_by.empty() ? 0U : 1U) + (ends_early ? 1U : 0U);
}

} // namespace tool
