// Search for the end of the compressed data. Most files are seen to be a single member; only the
// others are decompressed again.
#include "treelink/ignored_data_internal.h"

#include "base/descriptor.h"
#include "treelink/link_memory_internal.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <unistd.h>
#include <zlib.h>

namespace {

constexpr unsigned char kGzipStart = 0x1F;

// Returns whether the file certainly is one member with this size of data: only one begins, at the
// beginning, and only the end has the bytes that end such a member.
bool is_one_member(const base::Descriptor &file, uint32_t size) {
    constexpr std::string_view kMemberStart{"\x1F\x8B\x08"};
    constexpr off_t kMostBytes = off_t{1} << 26U; // a larger one is decompressed again
    const off_t file_size = file.size();          // asked for once: a second call may fail
    if (file_size <= 0 || file_size > kMostBytes)
        return false;
    std::string bytes(static_cast<size_t>(file_size), '\0');
    if (pread(file.number(), bytes.data(), bytes.size(), 0) != file_size)
        return false;
    std::string member_end;
    for (const unsigned shift : {0U, 8U, 16U, 24U})
        member_end += static_cast<char>(size >> shift);
    return bytes.find(kMemberStart, 1) == std::string::npos && bytes.ends_with(member_end) &&
           bytes.find(member_end) + member_end.size() == bytes.size();
}

// Decompresses gzip members and drops their contents.
class MemberReader {
public:
    explicit MemberReader(const base::Descriptor &file) : file_(file) {
        constexpr int kGzipFormat = 16;
        if (inflateInit2(&stream_, kGzipFormat + MAX_WBITS) != Z_OK)
            tsh::end_out_of_memory();
    }
    ~MemberReader() { inflateEnd(&stream_); }
    MemberReader(const MemberReader &) = delete;
    MemberReader &operator=(const MemberReader &) = delete;

    // Returns whether other data follows the last member.
    bool other_data_follows() {
        while (fill() && *stream_.next_in == kGzipStart)
            if (!skip_member())
                return false;
        return stream_.avail_in > 0;
    }

private:
    bool skip_member() {
        int result = Z_OK;
        while (result == Z_OK && fill()) {
            stream_.next_out = output_.data();
            stream_.avail_out = static_cast<uInt>(output_.size());
            result = inflate(&stream_, Z_NO_FLUSH);
        }
        return result == Z_STREAM_END && inflateReset(&stream_) == Z_OK;
    }

    // Returns whether there is input left.
    bool fill() {
        if (stream_.avail_in > 0)
            return true;
        const ssize_t size = base::read_fully(file_, input_.data(), input_.size());
        stream_.next_in = input_.data();
        stream_.avail_in = size < 0 ? 0 : static_cast<uInt>(size);
        return stream_.avail_in > 0;
    }

    const base::Descriptor &file_;
    z_stream stream_{};
    std::array<unsigned char, 1 << 15> input_;
    std::array<unsigned char, 1 << 15> output_;
};

} // namespace

bool tsh::data_follows_members(const char *path, uint32_t size) {
    return at_api_boundary([&] {
        std::error_code ignored;
        if (!std::filesystem::is_regular_file(path, ignored)) // a pipe would wait for a writer
            return false;
        const base::Descriptor file = base::open_input(path);
        return !is_one_member(file, size) && MemberReader{file}.other_data_follows();
    });
}
