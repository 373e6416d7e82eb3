// Allocations that fail on order. Counting runs from arm to disarm and covers the whole process,
// so print something to the streams in use before arming: their buffers are allocated late.
#pragma once

namespace failing_malloc {

// False where a sanitizer or valgrind owns malloc; arm then does nothing and the test has to be
// skipped.
bool available();

// From now on the fail_at-th allocation fails (1 is the next one; 0: none does), and if told so all
// after it.
void arm(long fail_at, bool from_there_on = false);

struct Tally {
    long allocations; // tried while armed
    long live;        // blocks allocated and not released while armed
};
Tally disarm();

} // namespace failing_malloc
