// Growing array in one block of memory.
#pragma once

#include "base/huge_pages.h"
#include "feature/tsh/src/memory.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <type_traits>

namespace tsh {

/// Resizes a block like tsh_realloc: null is an empty block, and the result if out of memory.
using Resize = void *(*)(void *block, uint32_t size);

/// Prints no message if out of memory.
inline void *resize_silently(void *block, uint32_t size) {
    return realloc(block, size);
}

template <typename Item> class Store {
    static_assert(std::is_trivially_copyable_v<Item>);

public:
    explicit Store(Resize function) : resize_(function) {}
    ~Store() { tsh_free(items_); }
    Store(const Store &) = delete;
    Store &operator=(const Store &) = delete;

    /// Reserves memory for exactly this many items, if there is less. Memory that is not accessed
    /// costs nothing. Keeps the items; new ones are not initialised. @return false if out of
    /// memory.
    [[nodiscard]] bool reserve(size_t count) {
        return count <= capacity_ || resize(count * sizeof(Item));
    }

    /// Reserves memory in the same way, in growing steps for items that are added one by one.
    [[nodiscard]] bool grow(size_t count) {
        if (count <= capacity_)
            return true;
        if (!resize(base::next_room(count * sizeof(Item))))
            return false;
        base::prefer_huge_pages(items_, capacity_ * sizeof(Item));
        return true;
    }

    [[nodiscard]] Item *data() { return items_; }
    [[nodiscard]] const Item *data() const { return items_; }
    Item &operator[](size_t index) { return items_[index]; }
    const Item &operator[](size_t index) const { return items_[index]; }

private:
    bool resize(size_t size) {
        void *resized = size > UINT32_MAX ? nullptr : resize_(items_, static_cast<uint32_t>(size));
        if (resized == nullptr)
            return false;
        items_ = static_cast<Item *>(resized);
        capacity_ = size / sizeof(Item);
        return true;
    }

    Resize resize_;
    Item *items_ = nullptr;
    size_t capacity_ = 0;
};

} // namespace tsh
