// Complete contents of a file: mapped if possible, else read, and decompressed if gzip-compressed.
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

/// The bytes of a file. If another process truncates a mapped file, prints a message and exits with
/// kError.
class FileBytes {
public:
    /// @param path "-" for standard input.
    /// @param name of the file in messages. Exits with kError if the file cannot be read.
    FileBytes(const std::string &path, const std::string &name);
    ~FileBytes();
    FileBytes(const FileBytes &) = delete;
    FileBytes &operator=(const FileBytes &) = delete;

    [[nodiscard]] std::span<const unsigned char> all() const;
    /// Returns the same bytes for changes in memory; the file does not change.
    [[nodiscard]] std::span<unsigned char> changeable();

    [[nodiscard]] bool compressed() const { return compressed_; }
    /// Returns why reading stopped early; empty if complete.
    [[nodiscard]] const std::string &incomplete_reason() const { return incomplete_reason_; }

private:
    class Mapping;
    class Buffer;

    void map(int descriptor, uintmax_t size, const std::string &name);
    void read_all(const base::Descriptor &file, const std::string &name);

    std::unique_ptr<Mapping> mapping_; // or
    std::unique_ptr<Buffer> buffer_;
    bool compressed_ = false;
    std::string incomplete_reason_;
};

} // namespace tool
