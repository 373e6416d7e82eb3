// Common parts of tests: scratch directories, complete files, and code or programs that run in a
// separate process with captured output.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace harness {

// Result of a process: exit status, or 128 + the signal that ended it, and output. A failing
// comparison shows all of it.
struct Outcome {
    int status;
    std::string out;
    std::string err;

    bool operator==(const Outcome &) const = default;
};
std::ostream &operator<<(std::ostream &stream, const Outcome &outcome);

// Directory that the destructor removes with its contents.
class ScratchDir {
public:
    ScratchDir();
    ~ScratchDir();
    ScratchDir(const ScratchDir &) = delete;
    ScratchDir &operator=(const ScratchDir &) = delete;

    [[nodiscard]] std::string path(const std::string &name) const {
        return (root_ / name).string();
    }

    // Runs a shell command inside the directory, with this build's programs in its PATH. Settings
    // are NAME=VALUE, added to the environment. FAULTS is the library of
    // tests/support/failing_calls.cpp; create a link to preload it, because its path may contain a
    // space.
    [[nodiscard]] Outcome shell(const std::string &command,
                                const std::vector<std::string> &settings = {}) const;

private:
    std::filesystem::path root_;
};

std::string read_file(const std::string &path);
void write_file(const std::string &path, const std::string &bytes);

std::vector<std::string> lines_of(const std::string &text);

// Returns the expected messages of a text, "#! COLUMN: MESSAGE" below a line, as "LINE:COLUMN:
// MESSAGE".
std::vector<std::string> announced(const std::string &text);

// Runs code in a child process, which isolates exits, process-wide state and output. The result of
// the code is the exit status. An assertion that fails in the child fails the test, with the output
// of the child.
Outcome in_child(const std::function<int()> &code);

// Runs a program in PATH, with settings as above.
Outcome run(const std::vector<std::string> &command, const std::vector<std::string> &settings = {});

// Returns a trace with "@" instead of each time prefix.
std::string without_times(const std::string &trace);

// Returns the output of code with families of traces enabled, without times.
Outcome traced(uint32_t families, const std::function<void()> &code);

} // namespace harness
