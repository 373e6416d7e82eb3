// Detection of ignored data. A file is read again only if neither its size nor its end excludes
// such data.
#include "tools/ocmd_link/unread.h"

#include "tools/support/file_bytes.h"
#include "tools/support/file_format.h"
#include "tools/support/program.h"

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

// Returns the size of the records in a file of the tree writer.
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

// Returns whether the file certainly contains exactly this number of bytes, without decompressing
// it again: a plain file by its size; a compressed file if a gzip member starts only at its start,
// and the size at the end of this member occurs only at its end.
bool certainly_has_size(const std::string &path, uint64_t size) {
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

// Returns whether data follows a record without nodes, and reports it.
bool report_early_end(std::span<const unsigned char> rest, const std::string &name) {
    for (size_t number = 1; rest.size() >= sizeof(subtree_header_t); ++number) {
        const DecodedHeader decoded{rest, ByteOrder::kBig};
        const size_t size =
            sizeof decoded.header + decoded.header.path_len + decoded.header.tree_bytes;
        if (!decoded.is_readable() || size >= rest.size())
            return false;
        rest = rest.subspan(size);
        if (decoded.header.tree_bytes > 0)
            continue;
        report("%s: record %zu has no nodes and ends the file; the following %zu bytes are "
               "ignored",
               name.c_str(), number, rest.size());
        return true;
    }
    return false;
}

} // namespace

uint32_t report_unread(const std::string &path, const std::string &name, const Records &records) {
    std::error_code ignored;
    if (!fs::is_regular_file(path, ignored) || certainly_has_size(path, stored_size(records)))
        return 0;
    const FileBytes file{path, name};
    const std::string &incomplete_reason = file.incomplete_reason();
    if (!incomplete_reason.empty())
        report("%s: %s", name.c_str(), incomplete_reason.c_str());
    const bool ends_early = report_early_end(file.all(), name);
    return (incomplete_reason.empty() ? 0U : 1U) + (ends_early ? 1U : 0U);
}

} // namespace tool
