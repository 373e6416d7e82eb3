// Calls to the system made to fail on demand: linked into a test it stands in front of them, for
// the library as well.
#pragma once

#include <string>
#include <vector>

namespace failing_calls {

struct Fault {
    std::string call; // its name; "O_TMPFILE" for an openat that makes a file without a name, and
                      // "O_CREAT" for one that makes any
    int reason;       // for errno
};

// From now on every one of these calls fails.
void arm(std::vector<Fault> faults);

} // namespace failing_calls
