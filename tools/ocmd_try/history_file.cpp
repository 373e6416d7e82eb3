// History file in the format of libedit. Each line is added at once, because a closed window ends
// the program without notice.
#include "tools/ocmd_try/history_file.h"

#include "base/descriptor.h"
#include "tools/support/program.h"
#include "treelink/file_replacement.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <glib.h>
#include <new>
#include <sys/file.h>
#include <sys/stat.h>

namespace shell {

namespace {

constexpr int kHistoryLines = 1000;
constexpr mode_t kPrivateFile = 0600;
constexpr mode_t kPrivateDirectory = 0700;

// $XDG_STATE_HOME or ~/.local/state, with the directory for this program's files. Empty without a
// home.
std::string state_directory() {
    const char *state = getenv("XDG_STATE_HOME");
    const char *home = getenv("HOME");
    if (state != nullptr && *state == '/') // a relative one does not count
        return std::string{state} + "/ocmd";
    return home != nullptr && *home != '\0' ? std::string{home} + "/.local/state/ocmd" : "";
}

// Creates the file if it does not exist. Returns the reason if it cannot be used, else null.
const char *make_private_file(const std::string &path) {
    const base::Descriptor file{
        open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK, kPrivateFile)};
    const auto status = file.status();
    if (!status)
        return strerror(errno);
    if (!S_ISREG(status->st_mode))
        return "not a regular file";
    return fchmod(file.number(), kPrivateFile) == 0 ? nullptr : strerror(errno);
}

// Waits for other shells that hold the lock. Returns no file, with errno set, if there is no lock.
// The file is another one than the history, which is replaced.
base::Descriptor locked_file(const std::string &path) {
    base::Descriptor file{open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kPrivateFile)};
    return file && flock(file.number(), LOCK_EX) == 0 ? std::move(file) : base::Descriptor{};
}

bool replace_file(const std::string &path, History *history) {
    tsh_file_replacement_t *file = tsh_file_replacement_open(path.c_str());
    if (file == nullptr)
        return false;
    HistEvent event;
    if (::history(history, &event, H_SAVE_FP, tsh_file_replacement_stream(file)) >= 0)
        return tsh_file_replacement_commit(file) == 0;
    tsh_file_replacement_abandon(file);
    return false;
}

} // namespace

HistoryPtr new_history() {
    HistoryPtr made{history_init()};
    if (made == nullptr)
        throw std::bad_alloc{};
    HistEvent event;
    history(made.get(), &event, H_SETSIZE, kHistoryLines);
    history(made.get(), &event, H_SETUNIQUE, 1);
    return made;
}

HistoryFile::HistoryFile() {
    const std::string directory = state_directory();
    if (directory.empty())
        return;
    path_ = directory + "/try_history";
    if (g_mkdir_with_parents(directory.c_str(), kPrivateDirectory) != 0)
        give_up(strerror(errno));
    else if (const char *reason = make_private_file(path_))
        give_up(reason);
}

void HistoryFile::load(History *history) {
    struct stat status {};
    HistEvent event;
    if (path_.empty() || stat(path_.c_str(), &status) != 0 || status.st_size == 0)
        return;
    if (::history(history, &event, H_LOAD, path_.c_str()) < 0)
        give_up("not a history");
}

void HistoryFile::add(const std::string &line) {
    if (path_.empty())
        return;
    const base::Descriptor lock = locked_file(path_ + ".lock");
    if (!lock)
        return give_up(strerror(errno));
    if (const char *reason = make_private_file(path_)) // it may have been removed
        return give_up(reason);
    const HistoryPtr lines = new_history();
    load(lines.get());
    if (path_.empty())
        return;
    HistEvent event;
    ::history(lines.get(), &event, H_ENTER, line.c_str());
    if (!replace_file(path_, lines.get()))
        give_up(strerror(errno));
}

void HistoryFile::give_up(const char *reason) {
    tool::report("%s: history is not kept: %s", path_.c_str(), reason);
    path_.clear();
}

} // namespace shell
