// Steps between pairs, kept for the next time as long as there is room.
#pragma once

#include "tools/ocmd_diff/difference.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

namespace diff {

/// Where nodes are shared, the same pair is met on many ways. What cannot be kept is made again.
class PairSteps {
public:
    explicit PairSteps(Difference &difference);

    class Cursor {
        friend PairSteps;
        size_t first;
        size_t next;
        size_t end;
        bool is_kept;
    };

    /// All steps from a pair of both trees, in the order of Difference::append_steps.
    Cursor from(const Pair &pair);

    /// The next step, or nothing at the end, when the cursor has had its use. Of all cursors that
    /// are in use only the latest may be moved.
    std::optional<PairStep> take(Cursor &cursor);

private:
    Difference &difference_;
    std::unordered_map<uint64_t, Cursor> known_;
    std::vector<PairStep> kept_;
    std::vector<PairStep> passing_;
    size_t most_kept_;
};

} // namespace diff
