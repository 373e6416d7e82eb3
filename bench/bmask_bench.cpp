// Benchmark of mask operations against std::bitset of the same width. Both run in the same loops
// with one call into a shared library per operation.
#include "bench/bitset_baseline.h"
#include "bench/ratio_report.h"
#include "bmask/bmask.h"

#include <array>
#include <random>

namespace {

constexpr size_t kSets = 64; // operands of one round; all stay in the first-level cache

// Operands that both sides share bit for bit.
struct Operands {
    explicit Operands(int width) {
        std::mt19937 random{7};
        for (size_t i = 0; i < kSets; ++i) {
            for (int n = 0; n < width; ++n)
                bits[i][static_cast<size_t>(n)] = random() % 4 == 0;
            first[i] = static_cast<int>(random() % static_cast<unsigned>(width));
            count[i] = static_cast<int>(random() % static_cast<unsigned>(width - first[i]));
        }
    }
    std::array<std::bitset<256>, kSets> bits;
    std::array<int, kSets> first;
    std::array<int, kSets> count;
};

template <size_t N> void load(const std::bitset<256> &bits, std::bitset<N> &set) {
    for (size_t n = 0; n < N; ++n)
        set[n] = bits[n];
}

template <typename Mask> void load(const std::bitset<256> &bits, Mask &mask) {
    mask = {};
    for (size_t n = 0; n < 8 * sizeof mask.bits; ++n)
        mask.bits[n / 8] |= static_cast<uint8_t>(bits[n] << (7 - n % 8));
}

// How the functions of both sides are called on a set, the two behind it, a bit and a count.
constexpr auto kAlone = [](auto f, auto *s, auto *, auto *, int, int) { f(s); };
constexpr auto kWithOne = [](auto f, auto *s, auto *a, auto *, int, int) { f(s, a); };
constexpr auto kWithTwo = [](auto f, auto *s, auto *a, auto *b, int, int) { f(s, a, b); };
constexpr auto kAtBit = [](auto f, auto *s, auto *, auto *, int n, int) { f(s, n); };
constexpr auto kOnRange = [](auto f, auto *s, auto *, auto *, int n, int count) { f(s, n, count); };
constexpr auto kWithOneOnRange = [](auto f, auto *s, auto *a, auto *, int n, int count) {
    f(s, a, n, count);
};
constexpr auto kOverAllBits = [](auto next, auto *s, auto *, auto *, int, int) {
    for (int n = next(s, -1); n >= 0; n = next(s, n)) {
    }
};

template <typename Set, typename Call, typename Function>
void add_side(const std::string &name, int width, Call call, Function function) {
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State &state) {
        const Operands operands{width};
        alignas(64) std::array<Set, kSets + 2> sets;
        for (size_t i = 0; i < sets.size(); ++i)
            load(operands.bits[i % kSets], sets[i]);
        for ([[maybe_unused]] auto round : state)
            for (size_t i = 0; i < kSets; ++i)
                call(function, &sets[i], &sets[i + 1], &sets[i + 2], operands.first[i],
                     operands.count[i]);
        state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kSets));
    });
}

template <size_t N, typename Mask, typename Call, typename Ours, typename Baseline>
void add(const std::string &work, Call call, Ours ours, Baseline baseline) {
    const std::string name = work + "/" + std::to_string(N);
    add_side<Mask>(name + "/ours", N, call, ours);
    add_side<std::bitset<N>>(name + "/baseline", N, call, baseline);
}

#define ADD_WIDTH(N)                                                                               \
    {                                                                                              \
        using Bitset = BitsetBaseline<N>;                                                          \
        constexpr auto pair = [](auto... row) { add<N, bmask##N##_t>(row...); };                   \
        pair("union", kWithOne, bmask##N##_union, Bitset::unite);                                  \
        pair("revert", kAlone, bmask##N##_revert, Bitset::revert);                                 \
        pair("xor", kWithTwo, bmask##N##_xor, Bitset::exclusive);                                  \
        pair("maskcopy", kWithTwo, bmask##N##_maskcopy, Bitset::maskcopy);                         \
        pair("set_bit", kAtBit, bmask##N##_set_bit, Bitset::set_bit);                              \
        pair("is_bit_set", kAtBit, bmask##N##_is_bit_set, Bitset::is_bit_set);                     \
        pair("set_range", kOnRange, bmask##N##_set_range, Bitset::set_range);                      \
        pair("union_range", kWithOneOnRange, bmask##N##_union_range, Bitset::union_range);         \
        pair("equal", kWithOne, bmask##N##_equal, Bitset::equal);                                  \
        pair("intersects", kWithOne, bmask##N##_intersects, Bitset::intersects);                   \
        pair("subset", kWithOne, bmask##N##_subset, Bitset::subset);                               \
        pair("bitcount", kAlone, bmask##N##_bitcount, Bitset::bitcount);                           \
        pair("next_bit", kOverAllBits, bmask##N##_next_bit, Bitset::next_bit);                     \
    }

} // namespace

int main(int argc, char **argv) {
    ADD_WIDTH(128)
    ADD_WIDTH(256)
    return run_side_by_side(argc, argv, 1.2);
}
