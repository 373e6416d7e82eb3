// Injection of allocation errors. Counting lasts from arm to disarm and covers the complete
// process. Streams allocate their buffers at the first output, so print something before arm.
#pragma once

namespace failing_malloc {

// Returns false if a sanitizer or valgrind replaces malloc; arm then does nothing, and the test
// must be skipped.
bool available();

// Makes the fail_at-th allocation from now on fail (1 is the next one; 0: none), and optionally all
// after it.
void arm(long fail_at, bool from_there_on = false);

struct Tally {
    long allocations; // tried while armed
    long live;        // blocks allocated and not released while armed
};
Tally disarm();

} // namespace failing_malloc
