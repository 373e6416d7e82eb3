// A radix sort.
#include "tools/ocmd_sample/random_numbers.h"

#include <array>
#include <bit>
#include <numeric>
#include <utility>

namespace sample {

namespace {

constexpr unsigned kDigitBits = 8;

} // namespace

template <typename Number>
std::span<const Number> SortedNumbers<Number>::draw(size_t count, uint64_t limit, Random &random) {
    drawn_.resize(count);
    sorted_.resize(count);
    for (Number &number : drawn_)
        number = static_cast<Number>(random.below(limit));
    const auto bits = static_cast<unsigned>(std::bit_width(limit - 1));
    for (unsigned shift = 0; shift < bits; shift += kDigitBits)
        sort_by_digit(shift);
    return drawn_;
}

// A step of the sort. Numbers of the same digit stay in their order.
template <typename Number> void SortedNumbers<Number>::sort_by_digit(unsigned shift) {
    const auto digit_of = [shift](Number number) {
        return static_cast<size_t>(number >> shift & ((Number{1} << kDigitBits) - 1));
    };
    std::array<uint32_t, size_t{1} << kDigitBits> places{};
    for (const Number number : drawn_)
        ++places[digit_of(number)];
    std::exclusive_scan(places.begin(), places.end(), places.begin(), uint32_t{0});
    for (const Number number : drawn_)
        sorted_[places[digit_of(number)]++] = number;
    std::swap(drawn_, sorted_);
}

template class SortedNumbers<uint32_t>;
template class SortedNumbers<uint64_t>;

} // namespace sample
