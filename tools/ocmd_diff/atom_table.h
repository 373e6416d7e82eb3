// The texts that lines are made of, each known by a number.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace diff {

/// What stands in a line between two blanks, or between a blank and an end of the line.
using Atom = uint32_t;

class AtomTable {
public:
    AtomTable() : slots_(kFirstSlots, kFree) {}

    /// The number of a text; a new text gets the next one.
    Atom number_of(std::string_view text);

    [[nodiscard]] size_t size() const { return places_.size(); }

    /// Readable in whole chunks (tool::kCopyChunk) until the next number_of; a newline stands
    /// behind it.
    [[nodiscard]] std::string_view text(Atom atom) const {
        return {bytes_.data() + places_[atom].start, places_[atom].length};
    }

private:
    static constexpr size_t kFirstSlots = 1024; // a power of two, as all sizes are
    static constexpr uint32_t kFree = UINT32_MAX;

    struct Place {
        size_t start;
        uint32_t length;
        uint32_t hash;
    };

    Atom add(std::string_view text, uint32_t hash);
    void grow();

    std::vector<Place> places_;
    std::vector<char> bytes_;
    std::vector<Atom> slots_; // open addressing by hash
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
