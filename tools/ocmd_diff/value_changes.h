// Named values of two sides, and the texts of those that differ.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace diff {

/// Names of values with the values in text.
using NamedValues = std::vector<std::pair<std::string, std::string>>;

/// The values of several things of each side, such as nodes or words.
class ValueChanges {
public:
    void add_before(const NamedValues &values) { add(values, 0); }
    void add_after(const NamedValues &values) { add(values, 1); }

    /// "NAME BEFORE -> AFTER" for each name whose values differ, in the order of the names. Several
    /// values are separated by "|"; "none" stands for no value.
    [[nodiscard]] std::vector<std::string> texts(std::string_view before_name = "") const;

private:
    struct Entry {
        std::string name;
        std::vector<std::string> sides[2]; // sorted, each value once
    };

    void add(const NamedValues &values, size_t side);

    std::vector<Entry> entries_;
};

} // namespace diff
