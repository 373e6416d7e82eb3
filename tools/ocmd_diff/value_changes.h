// Named values of two sides, and those that differ.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace diff {

struct NamedValue {
    std::string name;
    std::string value;
    bool is_string = false; ///< The value is the bytes of a string; else it is spelled.
};
using NamedValues = std::vector<NamedValue>;

/// A difference between two sides in one field.
struct Change {
    std::string word;                ///< The symbol that the field belongs to; empty for the last.
    std::string field;               ///< Empty if the sides differ only in combinations.
    std::vector<std::string> before; ///< Sorted, each value once; empty for none.
    std::vector<std::string> after;
    std::string note = {};  ///< What differs, without a field.
    bool is_string = false; ///< The values are bytes of strings; text() quotes them.

    /// "WORD FIELD BEFORE -> AFTER". Several values are separated by "|"; "none" means no
    /// value.
    [[nodiscard]] std::string text() const;

    bool operator==(const Change &) const = default;
    auto operator<=>(const Change &) const = default;
};

/// The values of several nodes or words of each side.
class ValueChanges {
public:
    void add_before(const NamedValues &values) { add(values, 0); }
    void add_after(const NamedValues &values) { add(values, 1); }

    /// A change for each name whose values differ, in the order of the names.
    [[nodiscard]] std::vector<Change> changes(const std::string &word = "") const;

private:
    struct Entry {
        std::string name;
        std::vector<std::string> sides[2]; // sorted, each value once
        bool is_string;
    };

    void add(const NamedValues &values, size_t side);

    std::vector<Entry> entries_;
};

} // namespace diff
