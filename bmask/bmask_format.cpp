// Text of masks as lists of runs, and their bit arrays.
#include "bmask/bmask_internal.h"

#include <cstdio>
#include <iterator>

int32_t printf_curr_idx = 0;

namespace {

using tsh::Bit;
using tsh::find_run;
using tsh::next_bit;

constexpr uint32_t kNoBound = UINT32_MAX;

// A list in the caller's buffer; always terminated, unless the capacity is 0.
class ListText {
public:
    ListText(char *buffer, uint32_t capacity) : buffer_(buffer), capacity_(capacity) {
        terminate();
    }

    // Appends an item with its separator, or changes nothing if it does not fit.
    bool append(const bmask_range_t &run) {
        const char *separator = length_ == 0 ? "" : ",";
        char item[sizeof ",255-255"];
        const int size =
            run.first == run.last
                ? snprintf(item, sizeof item, "%s%d", separator, run.first)
                : snprintf(item, sizeof item, "%s%d-%d", separator, run.first, run.last);
        const auto added = static_cast<uint32_t>(size);
        if (added >= capacity_ - length_)
            return false;
        memcpy(buffer_ + length_, item, added);
        length_ += added;
        terminate();
        return true;
    }

    [[nodiscard]] int32_t length() const { return static_cast<int32_t>(length_); }

private:
    void terminate() {
        if (capacity_ > 0)
            buffer_[length_] = '\0';
    }

    char *buffer_;
    uint32_t capacity_;
    uint32_t length_ = 0;
};

// Calls visit for every run from start on, until it returns false. Returns true if none is left.
template <typename Mask, typename Visit>
bool for_each_run(const Mask &mask, int32_t start, Visit visit) {
    for (bmask_range_t run = find_run<Bit::kSet>(mask, start); run.first >= 0;
         run = find_run<Bit::kSet>(mask, run.last + 1))
        if (!visit(run))
            return false;
    return true;
}

template <typename Mask> int32_t print_to(char *buffer, const Mask &mask) {
    ListText list{buffer, kNoBound};
    for_each_run(mask, 0, [&](const bmask_range_t &run) { return list.append(run); });
    return list.length();
}

template <typename Mask>
int32_t print_piece(char *buffer, uint32_t capacity, const Mask &mask, bool restart,
                    uint8_t &done) {
    if (restart)
        printf_curr_idx = 0;
    const int32_t start = restart ? 0 : next_bit<Bit::kSet>(mask, printf_curr_idx);
    ListText list{buffer, capacity};
    const auto append = [&](const bmask_range_t &run) {
        if (!list.append(run))
            return false;
        printf_curr_idx = run.last;
        return true;
    };
    const bool complete = start < 0 || for_each_run(mask, start, append);
    if (complete)
        printf_curr_idx = 0;
    done = complete;
    return list.length();
}

template <typename Mask> void print_list(const Mask &mask) {
    char text[BMASK256_TEXT_SIZE];
    print_to(text, mask);
    printf("%s", text);
}

template <typename Mask> void print_hex_list(const Mask &mask) {
    bool first_item = true;
    for_each_run(mask, 0, [&](const bmask_range_t &run) {
        if (!first_item)
            putchar(',');
        first_item = false;
        printf("%#x", static_cast<unsigned>(run.first));
        if (run.last != run.first)
            printf("-%#x", static_cast<unsigned>(run.last));
        return true;
    });
}

template <typename Mask> void print_bytes(const Mask &mask) {
    for (const uint8_t byte : mask.bits)
        printf("%02x", byte);
}

template <typename Mask> size_t shared_bytes(int32_t length) {
    return std::min<size_t>(static_cast<size_t>(std::max(length, 0)), sizeof(Mask::bits));
}

template <typename Mask> void to_bitarray(const Mask &mask, uint8_t *array, int32_t length) {
    uint8_t *rest =
        std::transform(mask.bits, mask.bits + shared_bytes<Mask>(length), array, swapbits);
    std::fill(rest, array + std::max(length, 0), uint8_t{0});
}

template <typename Mask> void from_bitarray(Mask &mask, const uint8_t *array, int32_t length) {
    uint8_t *rest = std::transform(array, array + shared_bytes<Mask>(length), mask.bits, swapbits);
    std::fill(rest, std::end(mask.bits), uint8_t{0});
}

} // namespace

// The exported functions, one operation per row.
// clang-format off
// NOLINTBEGIN(bugprone-macro-parentheses): a type takes none
#define EXPORT_FORMATS(N, Mask)                                                                    \
    int32_t bmask##N##_sprintf(char *buffer, const Mask *mask) { return print_to(buffer, *mask); } \
    int32_t bmask##N##_snprintf(char *buffer, uint32_t capacity, const Mask *mask,                 \
                                uint8_t restart, uint8_t *done)                                    \
        { return print_piece(buffer, capacity, *mask, restart != 0, *done); }                      \
    void bmask##N##_printf(const Mask *mask) { print_list(*mask); }                                \
    void bmask##N##_hex_printf(const Mask *mask) { print_hex_list(*mask); }                        \
    void bmask##N##_printf_hex(const Mask *mask) { print_bytes(*mask); }                           \
    void bmask##N##_to_bitarray(const Mask *mask, uint8_t *array, int32_t length)                  \
        { to_bitarray(*mask, array, length); }                                                     \
    void bmask##N##_from_bitarray(Mask *mask, const uint8_t *array, int32_t length)                \
        { from_bitarray(*mask, array, length); }
// NOLINTEND(bugprone-macro-parentheses)
// clang-format on

EXPORT_FORMATS(128, bmask128_t)
EXPORT_FORMATS(256, bmask256_t)

void bmask128_uint32_copy(bmask128_t *set, uint32_t word) {
    for (unsigned i = 0; i < sizeof word; ++i)
        set->bits[i] = swapbits(static_cast<uint8_t>(word >> 8U * i));
}
