// Mapping, reading and decompression of files.
#include "tools/support/file_bytes.h"

#include "base/descriptor.h"
#include "parse_tree/tree_node.h"
#include "tools/support/program.h"
#include "treelink/subtree_read.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <new>
#include <optional>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <zlib.h>

namespace tool {

namespace {

static_assert(kMaxBufferedBytes / TREE_NODE_SIZE >= TREELINK_MAX_NODES);

constexpr std::array<unsigned char, 2> kGzipStart{0x1F, 0x8B};

bool begins_compressed(std::span<const unsigned char> bytes) {
    return bytes.size() >= kGzipStart.size() &&
           std::equal(kGzipStart.begin(), kGzipStart.end(), bytes.begin());
}

// Input from a descriptor, block by block.
class Input {
public:
    Input(base::Descriptor file, std::string name)
        : file_(std::move(file)), name_(std::move(name)) {}

    // Returns the next block; a full one except at the end; empty at the end.
    std::span<unsigned char> next() {
        const ssize_t size = base::read_fully(file_, piece_.data(), piece_.size());
        if (size < 0)
            fail("%s: cannot be read: %s", name_.c_str(), strerror(errno));
        return {piece_.data(), static_cast<size_t>(size)};
    }

private:
    base::Descriptor file_;
    std::string name_;
    std::array<unsigned char, 1 << 16> piece_;
};

// Decompression of gzip members, from blocks into the free part of a buffer.
class Inflater {
public:
    Inflater(Input &input, std::span<unsigned char> first_piece) : input_(input) {
        constexpr int kGzipFormat = 16;
        if (inflateInit2(&stream_, kGzipFormat + MAX_WBITS) != Z_OK)
            throw std::bad_alloc{};
        take(first_piece);
    }
    ~Inflater() { inflateEnd(&stream_); }
    Inflater(const Inflater &) = delete;
    Inflater &operator=(const Inflater &) = delete;

    // Returns the number of bytes written; 0 at the end.
    size_t fill(std::span<unsigned char> room) {
        const auto size = static_cast<uInt>(std::min<size_t>(room.size(), 1U << 30U));
        stream_.next_out = room.data();
        stream_.avail_out = size;
        while (!ended_ && stream_.avail_out == size)
            step();
        return size - stream_.avail_out;
    }

    // Returns the error of the compressed data, or empty.
    [[nodiscard]] const std::string &fault() const { return fault_; }

private:
    void take(std::span<unsigned char> piece) {
        stream_.next_in = piece.data();
        stream_.avail_in = static_cast<uInt>(piece.size());
    }

    void step() {
        if (stream_.avail_in == 0)
            take(input_.next());
        if (stream_.avail_in == 0)
            return end(in_member_ ? "truncated gzip data" : "");
        if (!in_member_ && *stream_.next_in != kGzipStart[0])
            return end("data after the compressed data is ignored");
        in_member_ = true;
        const int result = inflate(&stream_, Z_NO_FLUSH);
        if (result == Z_MEM_ERROR)
            throw std::bad_alloc{};
        if (result == Z_STREAM_END) {
            in_member_ = false;
            inflateReset(&stream_);
        } else if (result != Z_OK && result != Z_BUF_ERROR) {
            end(std::string{"corrupt gzip data: "} +
                (stream_.msg == nullptr ? "cannot be decompressed" : stream_.msg));
        }
    }

    void end(const std::string &fault) {
        ended_ = true;
        fault_ = fault;
    }

    Input &input_;
    z_stream stream_{};
    bool in_member_ = false;
    bool ended_ = false;
    std::string fault_;
};

} // namespace

// A mapped file. Reading a page after the end of a truncated file raises SIGBUS, so each mapping
// has its message ready and is registered for the handler.
class FileBytes::Mapping {
public:
    Mapping(int descriptor, size_t size, const std::string &name)
        : start_(mmap(nullptr, size, PROT_READ, MAP_PRIVATE | populated(size), descriptor, 0)),
          size_(size) {
        if (start_ == MAP_FAILED)
            fail("%s: cannot be mapped: %s", name.c_str(), strerror(errno));
        message_ = std::string{name_in_messages()} + ": " + name +
                   ": file was truncated while being read\n";
        next_ = first;
        first = this;
        struct sigaction action {};
        action.sa_sigaction = end_on_cut_file;
        action.sa_flags = SA_SIGINFO;
        sigaction(SIGBUS, &action, nullptr);
    }
    ~Mapping() {
        munmap(start_, size_);
        Mapping **link = &first;
        while (*link != this)
            link = &(*link)->next_;
        *link = next_;
    }
    Mapping(const Mapping &) = delete;
    Mapping &operator=(const Mapping &) = delete;

    [[nodiscard]] std::span<unsigned char> bytes() const {
        return {static_cast<unsigned char *>(start_), size_};
    }

    void let_change() {
        if (mprotect(start_, size_, PROT_READ | PROT_WRITE) != 0)
            throw std::bad_alloc{};
    }

private:
    // Populates the mapping: page faults cost more than reading, and a complete tree is read. A
    // file that is larger than any tree may be sparse.
    static int populated(size_t size) {
        constexpr size_t kLargestTree = size_t{TREE_MAX_NODES} * TREE_NODE_SIZE;
        return size <= kLargestTree ? MAP_POPULATE : 0;
    }

    // Uses only async-signal-safe functions.
    static void end_on_cut_file(int number, siginfo_t *info, void * /*context*/) {
        const auto *place = static_cast<const unsigned char *>(info->si_addr);
        for (const Mapping *mapping = first; mapping != nullptr; mapping = mapping->next_) {
            const auto bytes = mapping->bytes();
            if (place < bytes.data() || place >= bytes.data() + bytes.size())
                continue;
            [[maybe_unused]] const ssize_t as_possible =
                write(STDERR_FILENO, mapping->message_.data(), mapping->message_.size());
            _exit(kError);
        }
        signal(number, SIG_DFL); // not a mapping of ours; raised again on return
    }

    static Mapping *first;

    void *start_;
    size_t size_;
    std::string message_;
    Mapping *next_ = nullptr;
};

FileBytes::Mapping *FileBytes::Mapping::first;

// The contents of a file that is not mapped.
class FileBytes::Source {
public:
    Source(base::Descriptor file, const std::string &name)
        : input_(std::move(file), name), block_(input_.next()) {
        if (begins_compressed(block_))
            inflater_.emplace(input_, block_);
    }

    [[nodiscard]] bool compressed() const { return inflater_.has_value(); }

    // Returns the number of bytes written, at least one; 0 at the end.
    size_t read(std::span<unsigned char> free_space) {
        if (inflater_)
            return inflater_->fill(free_space);
        if (block_.empty())
            block_ = input_.next();
        const size_t count = std::min(block_.size(), free_space.size());
        std::copy_n(block_.begin(), count, free_space.begin());
        block_ = block_.subspan(count);
        return count;
    }

    // Returns the error of the compressed data, or empty.
    [[nodiscard]] std::string fault() const { return inflater_ ? inflater_->fault() : ""; }

private:
    Input input_;
    std::span<unsigned char> block_; // read from the input, not yet from here
    std::optional<Inflater> inflater_;
};

// Growing buffer of bytes.
class FileBytes::Buffer {
public:
    Buffer() = default;
    ~Buffer() { free(start_); }
    Buffer(const Buffer &) = delete;
    Buffer &operator=(const Buffer &) = delete;

    [[nodiscard]] std::span<unsigned char> bytes() const { return {start_, size_}; }

    // Returns free space after the bytes, at most as much as the wanted size leaves.
    std::span<unsigned char> free_space(size_t wanted) {
        if (size_ == capacity_) {
            const size_t capacity = std::min(std::max(2 * capacity_, kFirstCapacity), wanted);
            auto *grown = static_cast<unsigned char *>(realloc(start_, capacity));
            if (grown == nullptr)
                throw std::bad_alloc{};
            start_ = grown;
            capacity_ = capacity;
        }
        return {start_ + size_, std::min(capacity_, wanted) - size_};
    }

    // Adds bytes that were written there.
    void take(size_t count) { size_ += count; }

private:
    static constexpr size_t kFirstCapacity = 1 << 16;

    unsigned char *start_ = nullptr;
    size_t size_ = 0;
    size_t capacity_ = 0;
};

namespace {

// Returns whether the file can be mapped: standard input may have been read partly.
bool can_be_mapped(int descriptor, const struct stat &status) {
    std::array<unsigned char, kGzipStart.size()> start{};
    return S_ISREG(status.st_mode) && lseek(descriptor, 0, SEEK_CUR) == 0 &&
           pread(descriptor, start.data(), start.size(), 0) == ssize_t{start.size()} &&
           !begins_compressed(start);
}

} // namespace

FileBytes::FileBytes(const std::string &path, const std::string &name) {
    base::Descriptor file = base::open_input(path);
    const auto status = file.status();
    if (!status)
        fail("%s: cannot be opened: %s", name.c_str(), strerror(errno));
    if (can_be_mapped(file.number(), *status))
        map(file.number(), static_cast<uintmax_t>(status->st_size), name);
    else
        open(std::move(file), name);
}

FileBytes::~FileBytes() = default;

void FileBytes::open(base::Descriptor file, const std::string &name) {
    source_ = std::make_unique<Source>(std::move(file), name);
    buffer_ = std::make_unique<Buffer>();
    compressed_ = source_->compressed();
}

void FileBytes::map(int descriptor, uintmax_t size, const std::string &name) {
    if (size > SIZE_MAX)
        fail("%s: cannot be mapped: %s", name.c_str(), strerror(EFBIG));
    size_ = static_cast<size_t>(size);
    if (size > 0)
        mapping_ = std::make_unique<Mapping>(descriptor, size_, name);
}

std::span<const unsigned char> FileBytes::read(size_t size) {
    while (source_ != nullptr && size_ < size)
        buffer_->take(read_into(buffer_->free_space(size)));
    return bytes();
}

size_t FileBytes::skip_rest() {
    std::array<unsigned char, 1 << 16> skipped;
    while (source_ != nullptr)
        read_into(skipped);
    return size_;
}

// Reads at least one byte, if there is one within the limit. @return the number of bytes.
size_t FileBytes::read_into(std::span<unsigned char> free_space) {
    const size_t count = source_->read(free_space);
    const size_t accepted = std::min(count, kMaxBufferedBytes - size_);
    size_ += accepted;
    if (accepted < count)
        incomplete_reason_ = "input exceeds " + std::to_string(kMaxBufferedBytes) + " bytes";
    else if (count == 0)
        incomplete_reason_ = source_->fault();
    if (accepted < count || count == 0)
        source_.reset();
    return accepted;
}

std::span<const unsigned char> FileBytes::bytes() const {
    if (mapping_ != nullptr)
        return mapping_->bytes();
    return buffer_ == nullptr ? std::span<unsigned char>{} : buffer_->bytes();
}

std::span<unsigned char> FileBytes::changeable() {
    if (mapping_ != nullptr) {
        mapping_->let_change();
        return mapping_->bytes();
    }
    return buffer_ == nullptr ? std::span<unsigned char>{} : buffer_->bytes();
}

} // namespace tool
