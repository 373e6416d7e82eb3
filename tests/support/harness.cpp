#include "tests/support/harness.h"

#include "feature/tsh/src/trace.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>

namespace harness {

ScratchDir::ScratchDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "tsh-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("no scratch folder");
    root_ = pattern;
}

ScratchDir::~ScratchDir() {
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
}

Outcome ScratchDir::shell(const std::string &command,
                          const std::vector<std::string> &settings) const {
    std::vector<std::string> all = settings;
    all.push_back(std::string("PATH=" PROGRAM_PATH ":") + getenv("PATH"));
    all.emplace_back("FAULTS=" FAULTS);
    all.emplace_back("LC_ALL=C");
    all.emplace_back("ASAN_OPTIONS=verify_asan_link_order=0"); // with that before it
    return run({"sh", "-c", "cd \"$0\" || exit; " + command, root_.string()}, all);
}

std::ostream &operator<<(std::ostream &stream, const Outcome &outcome) {
    return stream << "status " << outcome.status << "\n--- standard output:\n"
                  << outcome.out << "\n--- standard error:\n"
                  << outcome.err;
}

std::string read_file(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error("cannot read " + path);
    return {std::istreambuf_iterator<char>(file), {}};
}

void write_file(const std::string &path, const std::string &bytes) {
    std::ofstream file(path, std::ios::binary);
    if (!file.write(bytes.data(), static_cast<std::streamsize>(bytes.size())).flush())
        throw std::runtime_error("cannot write " + path);
}

std::vector<std::string> lines_of(const std::string &text) {
    std::vector<std::string> lines;
    std::istringstream stream{text};
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

std::vector<std::string> announced(const std::string &text) {
    constexpr std::string_view kMark = "#! ";
    std::vector<std::string> messages;
    const std::vector<std::string> lines = lines_of(text);
    size_t number = 0;
    for (size_t i = 0; i < lines.size(); ++i) {
        const size_t mark = lines[i].find(kMark);
        if (mark == std::string::npos)
            number = i + 1;
        else
            messages.push_back(std::to_string(number) + ":" + lines[i].substr(mark + kMark.size()));
    }
    return messages;
}

Outcome in_child(const std::function<int()> &code) {
    const ScratchDir scratch;
    const std::string out = scratch.path("out");
    const std::string err = scratch.path("err");
    const std::string failed = scratch.path("failed");
    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        if (freopen(out.c_str(), "w", stdout) == nullptr ||
            freopen(err.c_str(), "w", stderr) == nullptr)
            _exit(127);
        const int status = code();
        fflush(nullptr);
        if (testing::Test::HasFailure())
            write_file(failed, "");
        _exit(status);
    }
    int ending = 0;
    waitpid(child, &ending, 0);
    const int status = WIFEXITED(ending) ? WEXITSTATUS(ending) : 128 + WTERMSIG(ending);
    Outcome outcome{status, read_file(out), read_file(err)};
    if (std::filesystem::exists(failed))
        ADD_FAILURE() << "in a child process: " << outcome;
    return outcome;
}

Outcome run(const std::vector<std::string> &command, const std::vector<std::string> &settings) {
    return in_child([&] {
        std::vector<char *> arguments(command.size() + 1);
        std::transform(command.begin(), command.end(), arguments.begin(),
                       [](const std::string &word) { return const_cast<char *>(word.c_str()); });
        for (const std::string &setting : settings)
            putenv(const_cast<char *>(setting.c_str()));
        execvp(arguments[0], arguments.data());
        return 127;
    });
}

std::string without_times(const std::string &trace) {
    std::string text;
    const char *rest = trace.c_str();
    while (*rest != '\0') {
        int length = 0;
        long seconds = 0;
        long microseconds = 0;
        // Ten digits, so that a number at the end of the previous trace is not included.
        const bool is_time = strspn(rest, "0123456789") == 10 &&
                             sscanf(rest, "%ld:%ld:%n", &seconds, &microseconds, &length) == 2 &&
                             length > 0;
        text += is_time ? '@' : *rest;
        rest += is_time ? length + 1 : 1;
    }
    return text;
}

Outcome traced(uint32_t families, const std::function<void()> &code) {
    Outcome outcome = in_child([&] {
        tsh_logfp = stdout;
        tsh_debug_filter = families;
        code();
        return 0;
    });
    outcome.out = without_times(outcome.out);
    return outcome;
}

} // namespace harness
