// What a run has come to, for someone who waits at a terminal.
#pragma once

#include <chrono>

namespace tool {

/// One line on standard error, renewed as long as this lives and wiped out at its end. It shows
/// once the run takes longer than a second, and only on a terminal. The cursor is left at its
/// beginning, so that messages overwrite it.
class Progress {
public:
    Progress();
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    /// Shows a text of at most 40 characters, shorter than messages are.
    [[gnu::format(printf, 2, 3)]] void show(const char *format, ...);

private:
    using Clock = std::chrono::steady_clock;

    bool on_terminal_;
    bool shown_ = false;
    Clock::time_point next_; // when there is something to show again
};

} // namespace tool
