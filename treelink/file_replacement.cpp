// Replacing a file through a temporary one in the same directory.
#include "treelink/file_replacement_internal.h"

#include "treelink/memory_internal.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace fs = std::filesystem;

namespace {

constexpr int kMostLinks = 40; // in a chain of symbolic links, as the system follows them
constexpr mode_t kNewFileMode = 0666;
constexpr const char *kTemporaryName = ".main_tree-XXXXXX";

std::optional<struct stat> status_of(const char *path) {
    struct stat status {};
    return stat(path, &status) == 0 ? std::optional{status} : std::nullopt;
}

// The file at the end of a chain of symbolic links, whether it exists or not.
std::string end_of_links(const char *path) {
    fs::path file{path};
    std::error_code not_a_link;
    for (int i = 0; i < kMostLinks; ++i) {
        const fs::path next = fs::read_symlink(file, not_a_link);
        if (not_a_link)
            break;
        file = file.parent_path() / next;
    }
    return file.string();
}

// Links below /proc may show a name that is no path to the file.
bool is_same_file(const std::optional<struct stat> &one, const std::optional<struct stat> &other) {
    return one && other && one->st_dev == other->st_dev && one->st_ino == other->st_ino;
}

mode_t mode_of_new_file() {
    const mode_t mask = umask(0);
    umask(mask);
    return kNewFileMode & ~mask;
}

// Moves a descriptor away from those of standard streams that happen to be closed, where prints
// would end up in the file.
int above_standard_streams(int descriptor) {
    if (descriptor < 0 || descriptor > STDERR_FILENO)
        return descriptor;
    const int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    close(descriptor);
    return moved;
}

FILE *stream_on(int descriptor) {
    FILE *stream = descriptor < 0 ? nullptr : fdopen(descriptor, "w");
    if (stream == nullptr && errno == ENOMEM)
        tsh::end_out_of_memory();
    if (stream == nullptr && descriptor >= 0)
        close(descriptor);
    return stream;
}

bool may_be_written(const char *path) {
    const int descriptor = open(path, O_WRONLY | O_CLOEXEC);
    return descriptor >= 0 && close(descriptor) == 0;
}

// The new name reaches the disk with its directory. The file is in place by then, so there is
// nothing left to fail.
void sync_directory_of(const std::string &file) {
    const fs::path directory = fs::path{file}.parent_path();
    const int descriptor =
        open(directory.empty() ? "." : directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return;
    fsync(descriptor);
    close(descriptor);
}

} // namespace

tsh::FileReplacement::FileReplacement(const char *path) {
    const auto old = status_of(path);
    if (!old && errno != ENOENT)
        return;
    target_ = end_of_links(path);
    if (!old)
        open_beside(mode_of_new_file());
    else if (!S_ISREG(old->st_mode) || !is_same_file(old, status_of(target_.c_str())))
        open_directly(path);
    else if (may_be_written(path))
        open_beside(old->st_mode & ALLPERMS);
}

tsh::FileReplacement::~FileReplacement() {
    close_stream();
    if (!temporary_.empty())
        unlink(temporary_.c_str());
}

void tsh::FileReplacement::open_directly(const char *path) {
    const int descriptor = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kNewFileMode);
    stream_ = stream_on(above_standard_streams(descriptor));
}

void tsh::FileReplacement::open_beside(mode_t mode) {
    const fs::path target{target_};
    std::string name = (target.parent_path() / kTemporaryName).string();
    const int created = target.has_filename() ? mkostemp(name.data(), O_CLOEXEC) : -1;
    if (created < 0)
        return;
    temporary_ = std::move(name);
    const int descriptor = above_standard_streams(created);
    if (descriptor >= 0 && fchmod(descriptor, mode) != 0) {
        close(descriptor);
        return;
    }
    stream_ = stream_on(descriptor);
}

bool tsh::FileReplacement::commit() {
    const bool whole = fflush(stream_) == 0 && (temporary_.empty() || fsync(fileno(stream_)) == 0);
    if (!close_stream() || !whole)
        return false;
    if (temporary_.empty())
        return true;
    if (rename(temporary_.c_str(), target_.c_str()) != 0)
        return false;
    temporary_.clear();
    sync_directory_of(target_);
    return true;
}

bool tsh::FileReplacement::close_stream() {
    return stream_ == nullptr || fclose(std::exchange(stream_, nullptr)) == 0;
}
