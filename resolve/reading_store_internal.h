// Memory of readings, candidates and their strings.
#pragma once

#include "resolve/resolver.h"

#include <cstddef>
#include <cstring>
#include <deque>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace tsh {

/// Strings and arrays that stay where they are until all are released; blocks are used again.
class Arena {
public:
    /// A copy that ends in a NUL.
    const char *keep(std::string_view text) {
        char *copy = static_cast<char *>(allocate(text.size() + 1));
        text.copy(copy, text.size());
        copy[text.size()] = '\0';
        return copy;
    }
    template <typename T> T *keep(const std::vector<T> &values) {
        if (values.empty())
            return nullptr;
        const size_t size = std::span{values}.size_bytes();
        T *copy = static_cast<T *>(allocate(size));
        memcpy(copy, values.data(), size);
        return copy;
    }
    void clear() {
        if (blocks_.size() > 1) // one block for all of the next line
            blocks_.erase(blocks_.begin(), blocks_.end() - 1);
        used_ = 0;
    }

private:
    static constexpr size_t kFirstBlock = 1024;
    static constexpr size_t kAlignment = alignof(std::max_align_t);

    void *allocate(size_t size) {
        size = (size + kAlignment - 1) & ~(kAlignment - 1);
        if (blocks_.empty() || blocks_.back().size - used_ < size) {
            size_t next = blocks_.empty() ? kFirstBlock : 2 * blocks_.back().size;
            while (next < size)
                next *= 2;
            blocks_.push_back({std::make_unique_for_overwrite<std::byte[]>(next), next});
            used_ = 0;
        }
        void *allocated = blocks_.back().bytes.get() + used_;
        used_ += size;
        return allocated;
    }

    struct Block {
        std::unique_ptr<std::byte[]> bytes;
        size_t size;
    };
    std::vector<Block> blocks_;
    size_t used_ = 0; // of the last block
};

/// Readings with all they point to.
struct ReadingStore {
    std::vector<tsh_reading_t> readings;
    Arena arena;

    void clear() {
        readings.clear();
        arena.clear();
    }
};

} // namespace tsh
