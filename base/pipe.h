// Capacity of pipes.
#pragma once

namespace base {

/// If standard output is a pipe, enlarges it to this many bytes, so that its reader works while the
/// next block is filled. Ignores a pipe that cannot be enlarged.
void widen_output_pipe(int bytes);

} // namespace base
