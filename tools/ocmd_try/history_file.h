// Lines typed in earlier runs, in a private file.
#pragma once

#include "base/owners.h"

#include <histedit.h>
#include <memory>
#include <string>

namespace shell {

using HistoryPtr = std::unique_ptr<History, base::Releaser<history_end>>;

/// Returns an empty history for as many lines as are kept. Throws std::bad_alloc.
HistoryPtr new_history();

/// A file that several shells can use at the same time. If it cannot be used, this is reported
/// once, and the history is no longer kept.
class HistoryFile {
public:
    /// Finds the file, and creates it if it does not exist.
    HistoryFile();

    /// Adds the lines of the file.
    void load(History *history);

    /// Adds a line to the file, which keeps the lines that other shells have added.
    void add(const std::string &line);

private:
    void give_up(const char *reason);

    std::string path_; // empty if no history is kept
};

} // namespace shell
