// Contents of a file: mapped if possible, else read as far as wanted, and decompressed if
// gzip-compressed.
#pragma once

#include "base/descriptor.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace tool {

/// Maximum size of piped or decompressed input; a small file could decompress to any size. Suffices
/// for the nodes of one link (TREELINK_MAX_NODES) and the headers of some hundred records.
constexpr size_t kMaxBufferedBytes = 1'049'000'000;

/// The bytes of a file. A mapped file has all of them; of any other, only those are in memory that
/// were wanted. If another process truncates a mapped file, prints a message and exits with
/// kError.
class FileBytes {
public:
    /// @param path "-" for standard input.
    /// @param name of the file in messages. Exits with kError if the file cannot be read.
    FileBytes(const std::string &path, const std::string &name);
    ~FileBytes();
    FileBytes(const FileBytes &) = delete;
    FileBytes &operator=(const FileBytes &) = delete;

    /// Reads until this many bytes are in memory, or all. Invalidates spans of the bytes.
    /// @return all bytes in memory.
    std::span<const unsigned char> read(size_t size);
    /// Reads to the end, without keeping the bytes that are not in memory yet.
    /// @return the size of the contents, as far as they were read.
    size_t skip_rest();

    /// Returns the bytes in memory.
    [[nodiscard]] std::span<const unsigned char> bytes() const;
    /// Returns the same bytes for changes in memory; the file does not change.
    [[nodiscard]] std::span<unsigned char> changeable();

    [[nodiscard]] bool compressed() const { return compressed_; }
    /// Returns why reading stopped early; empty if complete or not yet at the end.
    [[nodiscard]] const std::string &incomplete_reason() const { return incomplete_reason_; }

private:
    class Mapping;
    class Buffer;
    class Source;

    void map(int descriptor, uintmax_t size, const std::string &name);
    void open(base::Descriptor file, const std::string &name);
    size_t read_into(std::span<unsigned char> free_space);

    std::unique_ptr<Mapping> mapping_; // or
    std::unique_ptr<Buffer> buffer_;
    std::unique_ptr<Source> source_; // of the rest; null at the end
    size_t size_ = 0;                // read so far
    bool compressed_ = false;
    std::string incomplete_reason_;
};

} // namespace tool
