// The texts that lines are made of, each known by a number.
#pragma once

#include "tools/ocmd_diff/sequence_table.h"
#include "tools/support/text_output.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace diff {

/// What stands in a line between two blanks, or between a blank and an end of the line.
using Atom = uint32_t;

class AtomTable {
public:
    Atom number_of(std::string_view text) { return texts_.number_of(text); }

    /// Readable in whole chunks; a newline stands behind it.
    [[nodiscard]] std::string_view text(Atom atom) const {
        const auto text = texts_[atom];
        return {text.data(), text.size()};
    }

    [[nodiscard]] size_t size() const { return texts_.size(); }

private:
    using Texts = SequenceTable<char, '\n'>;
    static_assert(Texts::kReadable >= tool::kCopyChunk);
    Texts texts_;
};

/// Values by atom that can be forgotten all at once.
class AtomMarks {
public:
    explicit AtomMarks(size_t atoms) : marks_(atoms) {}

    void forget_all() {
        if (++round_ != 0)
            return;
        marks_.assign(marks_.size(), {});
        round_ = 1;
    }

    /// Gives the atom its value. @return null, or the value it has already.
    const uint32_t *put(Atom atom, uint32_t value) {
        Mark &mark = marks_[atom];
        if (mark.round == round_)
            return &mark.value;
        mark = {round_, value};
        return nullptr;
    }

    /// The value, or null.
    [[nodiscard]] const uint32_t *find(Atom atom) const {
        return marks_[atom].round == round_ ? &marks_[atom].value : nullptr;
    }

private:
    struct Mark {
        uint32_t round = 0;
        uint32_t value = 0;
    };
    std::vector<Mark> marks_;
    uint32_t round_ = 1;
};

} // namespace diff
