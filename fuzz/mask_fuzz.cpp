// Fuzzer of masks: the input is sets and numbers. Every operation of both widths is compared with a
// model that depends only on the bit order of the bytes.
//
// Reaches: bmask128_set_range_value, bmask256_revert_range, bmask128_next_free_range,
// bmask256_find_prev_bit, bmask128_uncompress, bmask256_snprintf, bmask128_from_bitarray
#include "bmask/bmask.h"
#include "fuzz/input.h"
#include "fuzz/memory_file.h"

#include <algorithm>
#include <bitset>
#include <climits>
#include <cstring>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>

namespace {

#define CALL(result, operation, ...)                                                               \
    if constexpr (N == 128)                                                                        \
        result bmask128_##operation(__VA_ARGS__);                                                  \
    else                                                                                           \
        result bmask256_##operation(__VA_ARGS__)

// Checks the mask D after an operation.
#define BECOMES(expected, operation, ...)                                                          \
    {                                                                                              \
        auto dst = D;                                                                              \
        CALL(, operation, &dst __VA_OPT__(, ) __VA_ARGS__);                                        \
        const auto wanted = mask_of(expected);                                                     \
        want(memcmp(&dst, &wanted, sizeof dst) == 0, #operation);                                  \
    }

#define TELLS(expected, operation, ...)                                                            \
    {                                                                                              \
        int told = 0;                                                                              \
        CALL(told =, operation, &D __VA_OPT__(, ) __VA_ARGS__);                                    \
        want(told == (expected), #operation);                                                      \
    }

#define PRINTS(expected, operation)                                                                \
    {                                                                                              \
        CALL(, operation, &D);                                                                     \
        want(output.take() == (expected), #operation);                                             \
    }

template <size_t N> class MaskModel {
public:
    explicit MaskModel(Input input) : input_(input) {}

    void algebra_and_comparisons() {
        const auto [d, D] = any_set();
        const auto [a, A] = any_set();
        const auto [m, M] = any_set();
        const int n = any_bound();
        const int count = any_bound();
        const auto bit = range_of(n, 1);
        const auto r = range_of(n, count);
        // clang-format off
        BECOMES(d | ~d, fill);               BECOMES(d & ~d, clear);
        BECOMES(d & ~d, init);               BECOMES(a, copy, &A);
        BECOMES(d | a, union, &A);           BECOMES(d & a, intersection, &A);
        BECOMES(d & ~a, subtract, &A);       BECOMES(d & ~d, subtract, &dst);
        BECOMES(a ^ m, xor, &A, &M);         BECOMES(a ^ d, xor, &A, &dst);
        BECOMES(~d, revert);                 BECOMES((a & m) | (d & ~m), maskcopy, &A, &M);
        BECOMES(d ^ m, maskrevert, &M);      BECOMES(d | (a & m), maskunion, &A, &M);
        BECOMES(d | bit, set_bit, n);        BECOMES(d & (a | ~m), maskintersect, &A, &M);
        BECOMES(d & ~bit, clear_bit, n);     BECOMES(d & ~(a & m), masksubtract, &A, &M);
        BECOMES(d | r, set_range, n, count); BECOMES(d | r, set_range_value, n, count, -1);
        BECOMES(d & ~r, clear_range, n, count); BECOMES(d & ~r, set_range_value, n, count, 0);
        BECOMES(d ^ r, revert_range, n, count); BECOMES(d | (a & r), union_range, &A, n, count);
        BECOMES(d & (a | ~r), intersection_range, &A, n, count);
        BECOMES(d & ~(a & r), subtract_range, &A, n, count);
        const auto common = mask_of(d & a);
        TELLS((d & bit).any(), is_bit_set, n);
        TELLS(d == a, equal, &A);            TELLS(1, equal, &D);
        TELLS((d & a).any(), intersects, &A); TELLS((d & ~a).none(), subset, &A);
        TELLS(((d ^ a) & m).none(), maskequal, &A, &M); TELLS(1, maskequal, &common, &A);
        TELLS(static_cast<int>(d.count()), bitcount);
        // clang-format on
        uint8_t packed[N / 8];
        int size = 0;
        CALL(size =, compress, &A, packed, N / 8);
        BECOMES(a, uncompress, packed, static_cast<uint32_t>(size));
    }

    void searches() {
        const auto [set, D] = any_set();
        const int n = any_bound();
        const int k = any_bound();
        const auto up_to_n = set & range_of(0, int64_t{n} + 1);
        const int below = static_cast<int>(up_to_n.count()) - 1;
        const bmask_range_t gap{n, k};
        const auto above_n = set & range_of(int64_t{n} + 1, int64_t{k} - n);
        // clang-format off
        TELLS(lowest(set, 0), first_bit);    TELLS(lowest(~set, 0), first_free_bit);
        TELLS(lowest(set, n), find_bit, n);  TELLS(lowest(~set, n), find_free_bit, n);
        TELLS(lowest(set, int64_t{n} + 1), next_bit, n);
        TELLS(lowest(~set, int64_t{n} + 1), next_free_bit, n);
        TELLS(k < 0 ? -1 : lowest(set, 0, k), nth_bit, k);
        TELLS(k < 0 ? -1 : lowest(~set, 0, k), nth_free_bit, k);
        TELLS(below < 0 ? -1 : lowest(set, 0, below), find_prev_bit, n);
        TELLS(above_n.none(), is_range_free, &gap);
        // clang-format on
        const int last = any_of(0, 3) == 0 ? 0 : n;
        const int64_t start = last == 0 ? 0 : int64_t{last} + 2; // a run ends before a gap
        for (const bool free : {false, true}) {
            bmask_range_t run{1, last};
            const auto bits = free ? ~set : set;
            const int first = lowest(bits, start);
            int found = 0;
            if (free) {
                CALL(found =, next_free_range, &D, &run);
            } else {
                CALL(found =, next_range, &D, &run);
            }
            want((found == 0 ? run.first : found) == first, "first of next range");
            want(run.last == (first < 0 ? last : last_of_run(bits, first)), "last of next range");
        }
    }

    void texts() {
        const auto [model, D] = any_set();
        char text[BMASK256_TEXT_SIZE];
        const std::string list = list_of(model);
        int length = 0;
        CALL(length =, sprintf, text, &D);
        want(text == list && strlen(text) == static_cast<size_t>(length), "sprintf");
        {
            const CapturedOutput output;
            PRINTS(list, printf);
            PRINTS(list_of(model, std::hex), hex_printf);
            PRINTS(bytes_of(D), printf_hex);
        }
        std::string joined;
        uint8_t done = 0;
        for (uint8_t restart = 1; done == 0; restart = 0) {
            const auto capacity = static_cast<uint32_t>(any_of(8, 40));
            text[capacity] = '#';
            CALL(length =, snprintf, text, capacity, &D, restart, &done);
            want(strlen(text) == static_cast<size_t>(length), "snprintf length");
            want(text[capacity] == '#', "snprintf within its capacity");
            joined.append(joined.empty() || length == 0 ? "" : ",").append(text);
        }
        want(joined == list, "snprintf");
        want(printf_curr_idx == 0, "printf_curr_idx");
    }

    void bit_arrays() {
        const auto [model, mask] = any_set();
        const int length = any_of(-1, kBits / 8 + 2);
        const auto used = static_cast<size_t>(std::max(length, 0));
        uint8_t array[40];
        memset(array, 0xEE, sizeof array);
        CALL(, to_bitarray, &mask, array, length);
        for (size_t n = 0; n < used * 8; ++n)
            want((array[n / 8] >> n % 8 & 1) == (n < N && model[n]), "to_bitarray");
        want(array[used] == 0xEE, "to_bitarray within its length");
        const auto D = mask_of(~model);
        BECOMES(model & range_of(0, length * 8), from_bitarray, array, length);
    }

private:
    static constexpr int kBits = N;
    using Mask = std::conditional_t<N == 128, bmask128_t, bmask256_t>;
    using Model = std::bitset<N>;

    int any_of(int low, int high) { return input_.any_of(low, high); }

    static Mask mask_of(const Model &model) {
        Mask mask{N / 8, {}};
        for (size_t n = 0; n < N; ++n)
            mask.bits[n / 8] |= static_cast<uint8_t>(model[n] << (7 - n % 8));
        return mask;
    }

    // Returns few, many or all bits in runs of any length, as a model and as a mask.
    std::pair<Model, Mask> any_set() {
        Model model;
        const int longest_run = 1 << any_of(0, 8);
        bool set = any_of(0, 1) != 0;
        for (size_t n = 0; n < N; set = !set)
            for (int run = any_of(1, longest_run); run > 0 && n < N; --run)
                model[n++] = set;
        return {model, mask_of(model)};
    }

    // Returns a bit or a count: usually near the mask, sometimes an extreme value.
    int any_bound() {
        return any_of(0, 9) != 0 ? any_of(-3, kBits + 3) : any_of(0, 1) != 0 ? INT_MIN : INT_MAX;
    }

    static Model range_of(int64_t first, int64_t count) {
        Model model;
        for (int n = 0; n < kBits; ++n)
            model[static_cast<size_t>(n)] = n >= first && n < first + count;
        return model;
    }

    // Returns the set bit of the given rank at start or above, or -1.
    static int lowest(const Model &model, int64_t start, int rank = 0) {
        for (auto n = static_cast<size_t>(std::clamp<int64_t>(start, 0, N)); n < N; ++n)
            if (model[n] && rank-- == 0)
                return static_cast<int>(n);
        return -1;
    }

    static int last_of_run(const Model &model, int first) {
        const int end = lowest(~model, first);
        return (end < 0 ? kBits : end) - 1;
    }

    static std::string list_of(const Model &model,
                               std::ios_base &(*base)(std::ios_base &) = std::dec) {
        std::ostringstream list;
        list << base << std::showbase;
        for (int first = lowest(model, 0), last = 0; first >= 0; first = lowest(model, last + 1)) {
            last = last_of_run(model, first);
            list << (list.tellp() > 0 ? "," : "") << first;
            if (last != first)
                list << '-' << last;
        }
        return list.str();
    }

    static std::string bytes_of(const Mask &mask) {
        std::string text(N / 4 + 1, '\0');
        for (size_t i = 0; i < N / 8; ++i)
            snprintf(&text[2 * i], 3, "%02x", mask.bits[i]);
        return text.c_str();
    }

    Input input_;
};

template <size_t N> void check_masks(Input input) {
    MaskModel<N> model{input};
    model.algebra_and_comparisons();
    model.searches();
    model.texts();
    model.bit_arrays();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    check_masks<128>({data, size});
    check_masks<256>({data, size});
    return 0;
}
