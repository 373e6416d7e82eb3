// All bytes of a file that is read once from front to back: mapped where that can be, else read,
// and inflated where they are gzip-compressed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace tool {

/// What a pipe or compressed data may bring at most; a small file could inflate to anything. As
/// many nodes as the linker takes in one link (TREELINK_MAX_NODES), with room for headers of some
/// hundred records.
constexpr size_t kMostBytesHeld = 1'049'000'000;

/// The bytes of a file, as long as this lives. When another process cuts a mapped file short, the
/// run ends with kTrouble after a message.
class FileBytes {
public:
    /// @param path "-" for standard input.
    /// @param name of the file in messages. A file that cannot be read ends the run with kTrouble.
    FileBytes(const std::string &path, const std::string &name);
    ~FileBytes();
    FileBytes(const FileBytes &) = delete;
    FileBytes &operator=(const FileBytes &) = delete;

    [[nodiscard]] std::span<const unsigned char> all() const;
    /// The same bytes, to be changed here; the file stays as it is.
    [[nodiscard]] std::span<unsigned char> changeable();

    [[nodiscard]] bool compressed() const { return compressed_; }
    /// Why there are no more bytes although the file goes on or should; empty when all are there.
    [[nodiscard]] const std::string &cut_by() const { return cut_by_; }

private:
    class Mapping;
    class Buffer;

    void map(int descriptor, uintmax_t size, const std::string &name);
    void read_all(int descriptor, const std::string &name);

    std::unique_ptr<Mapping> mapping_; // or
    std::unique_ptr<Buffer> buffer_;
    bool compressed_ = false;
    std::string cut_by_;
};

} // namespace tool
