// What tests share: scratch folders, whole files, and code or programs run in a process of their
// own with everything they print.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace harness {

// How a process ended: its exit status, or 128 + the signal that ended it, and what it printed.
// Compared as a whole, a failing assertion shows all of it.
struct Outcome {
    int status;
    std::string out;
    std::string err;

    bool operator==(const Outcome &) const = default;
};
std::ostream &operator<<(std::ostream &stream, const Outcome &outcome);

// A folder that is removed with everything in it.
class ScratchDir {
public:
    ScratchDir();
    ~ScratchDir();
    ScratchDir(const ScratchDir &) = delete;
    ScratchDir &operator=(const ScratchDir &) = delete;

    [[nodiscard]] std::string path(const std::string &name) const {
        return (root_ / name).string();
    }

    // Runs a shell command inside the folder, this build's programs along its PATH. Settings are
    // NAME=VALUE, added to the environment, which names the library of
    // tests/support/failing_calls.cpp in FAULTS; link to it before preloading it, as its path may
    // hold a blank.
    [[nodiscard]] Outcome shell(const std::string &command,
                                const std::vector<std::string> &settings = {}) const;

private:
    std::filesystem::path root_;
};

std::string read_file(const std::string &path);
void write_file(const std::string &path, const std::string &bytes);

std::vector<std::string> lines_of(const std::string &text);

// The messages that a text announces of itself: below a line, "#! COLUMN: MESSAGE" for each. They
// come as "LINE:COLUMN: MESSAGE".
std::vector<std::string> announced(const std::string &text);

// Runs code in a child process, so that exits, process-wide state and output stay there. The
// result of the code is the exit status. An assertion that fails in the child fails the test, with
// what the child printed.
Outcome in_child(const std::function<int()> &code);

// Runs a program found along PATH, with settings as above.
Outcome run(const std::vector<std::string> &command, const std::vector<std::string> &settings = {});

// A trace with each time prefix as "@".
std::string without_times(const std::string &trace);

// What code prints and reports with families of traces on, times left out.
Outcome traced(uint32_t families, const std::function<void()> &code);

} // namespace harness
