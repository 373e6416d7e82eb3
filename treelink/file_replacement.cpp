// Atomic file replacement: the new file is written without a name in the directory of the old one,
// gets a name when it is complete, and is renamed over the old one.
#include "treelink/file_replacement.h"

#include "base/descriptor.h"
#include "base/errno_kept.h"
#include "base/symlinks.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <new>
#include <optional>
#include <stdio_ext.h>
#include <string>
#include <sys/mman.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace fs = std::filesystem;

namespace {

constexpr int kMostNames = 100; // tried for a temporary file
constexpr mode_t kNewFileMode = 0666;
constexpr mode_t kPrivateMode = 0600; // until the mode of the old file is copied

using TemporaryName = std::array<char, 40>;

using base::Descriptor;

// Takes ownership of the number. Moves it above those of standard streams, because output to a
// closed one would be written to the file. A negative number is no descriptor.
Descriptor own(int number) {
    Descriptor descriptor{number};
    if (number < 0 || number > STDERR_FILENO)
        return descriptor;
    return Descriptor{fcntl(number, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)};
}

// Blocks signals that would end the process during its lifetime.
class SignalsHeld {
public:
    SignalsHeld() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsHeld() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsHeld(const SignalsHeld &) = delete;
    SignalsHeld &operator=(const SignalsHeld &) = delete;

private:
    sigset_t before_{};
};

using Status = std::optional<struct stat>;

Status status_of(const char *path) {
    struct stat status {};
    return stat(path, &status) == 0 ? Status{status} : std::nullopt;
}

// Opens a directory. If it may be searched but not read, it cannot be synchronized.
Descriptor open_folder(const fs::path &directory) {
    const char *path = directory.empty() ? "." : directory.c_str();
    Descriptor readable = own(open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return readable ? std::move(readable) : own(open(path, O_PATH | O_DIRECTORY | O_CLOEXEC));
}

// Returns the path by which an unnamed file can be linked.
std::string path_to(const Descriptor &file) {
    return "/proc/self/fd/" + std::to_string(file.number());
}

// Only a privileged process may change the owner; others may set a group of theirs. Setting the
// owner clears mode bits, so the mode is set afterwards.
bool pass_rights_on(const struct stat &old, const Descriptor &file) {
    const int number = file.number();
    if (fchown(number, old.st_uid, old.st_gid) != 0) {
        constexpr auto kSameOwner = static_cast<uid_t>(-1);
        [[maybe_unused]] const int as_allowed = fchown(number, kSameOwner, old.st_gid);
    }
    return fchmod(number, old.st_mode & ACCESSPERMS) == 0;
}

bool copy_bytes(int from, int to, off_t size) {
    constexpr off_t kMostAtOnce = off_t{1} << 30; // fits into any size_t
    for (off_t done = 0; done < size;) {
        const auto wanted = static_cast<size_t>(std::min(size - done, kMostAtOnce));
        const ssize_t copied = sendfile(to, from, &done, wanted);
        if (copied == 0)
            errno = EIO;
        if (copied <= 0 && errno != EINTR)
            return false;
    }
    return true;
}

} // namespace

struct tsh_file_replacement_t {
    tsh_file_replacement_t() = default;
    ~tsh_file_replacement_t();
    tsh_file_replacement_t(const tsh_file_replacement_t &) = delete;
    tsh_file_replacement_t &operator=(const tsh_file_replacement_t &) = delete;

    bool open(const char *path);
    bool commit();
    [[nodiscard]] FILE *stream() const { return stream_; }

private:
    // Destination of the bytes until the commit.
    enum class Body : uint8_t { kNone, kTarget, kHeld, kNameless, kNamed };

    Descriptor create_body(const Status &old);
    Descriptor create_in_folder(const Status &old);
    Descriptor create_nameless(mode_t mode);
    Descriptor create_named(mode_t mode);
    [[nodiscard]] bool takes_the_place_of(const struct stat &old) const;
    [[nodiscard]] bool is_whole() const;
    bool put_in_place();
    bool give_name(const char *name) const;
    bool rename_over_target();
    void drop_name();
    bool write_over_old();
    [[nodiscard]] Descriptor copy_of_old(off_t size) const;
    [[nodiscard]] bool overwrite(int from, off_t size, off_t longest) const;

    template <typename Make> bool find_free_name(Make make);

    Body body_ = Body::kNone;
    FILE *stream_ = nullptr;    // on the body
    Descriptor old_;            // open for overwriting; none if there was no such file
    Descriptor directory_;      // of the target
    std::string name_;          // of the target in its directory
    std::string unnamed_path_;  // path to the body
    TemporaryName temporary_{}; // of the body in the directory; empty if it has none
};

tsh_file_replacement_t::~tsh_file_replacement_t() {
    const base::ErrnoKept kept;
    if (stream_ != nullptr) {
        __fpurge(stream_);
        fclose(stream_);
    }
    drop_name();
}

bool tsh_file_replacement_t::open(const char *path) {
    const Status old = status_of(path);
    if (!old && errno != ENOENT)
        return false;
    if (old) {
        const int to_be_kept = S_ISREG(old->st_mode) ? O_RDWR : O_WRONLY;
        old_ = own(::open(path, to_be_kept | O_CLOEXEC));
        if (!old_ && to_be_kept == O_RDWR)
            old_ = own(::open(path, O_WRONLY | O_CLOEXEC));
        if (!old_)
            return false;
    }
    Descriptor body;
    if (old && !S_ISREG(old->st_mode)) {
        body_ = Body::kTarget;
        body = std::move(old_);
    } else {
        const fs::path target = base::end_of_links(path);
        directory_ = open_folder(target.parent_path());
        name_ = target.filename();
        body = create_body(old);
    }
    stream_ = body ? fdopen(body.number(), "w") : nullptr;
    if (stream_ == nullptr)
        return false;
    body.release();
    return true;
}

// If no file can be created, the bytes are stored in memory, so that the old file is still kept.
Descriptor tsh_file_replacement_t::create_body(const Status &old) {
    Descriptor body = create_in_folder(old);
    if (body || !old)
        return body;
    drop_name();
    body_ = Body::kHeld;
    return own(memfd_create("replacement", MFD_CLOEXEC));
}

Descriptor tsh_file_replacement_t::create_in_folder(const Status &old) {
    if (name_.empty())
        errno = EISDIR;
    if (!directory_ || name_.empty() || (old && !takes_the_place_of(*old)))
        return {};
    const mode_t mode = old ? kPrivateMode : kNewFileMode;
    Descriptor body = create_nameless(mode);
    if (!body)
        body = create_named(mode);
    if (body && old && !pass_rights_on(*old, body))
        return {};
    return body;
}

// An unnamed file can get a name only through its path in /proc.
Descriptor tsh_file_replacement_t::create_nameless(mode_t mode) {
    Descriptor body = own(openat(directory_.number(), ".", O_TMPFILE | O_RDWR | O_CLOEXEC, mode));
    if (!body)
        return body;
    unnamed_path_ = path_to(body);
    if (access(unnamed_path_.c_str(), F_OK) != 0)
        return {};
    body_ = Body::kNameless;
    return body;
}

Descriptor tsh_file_replacement_t::create_named(mode_t mode) {
    Descriptor body;
    const bool created = find_free_name([&](const char *name) {
        constexpr int kFlags = O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC;
        body = own(openat(directory_.number(), name, kFlags, mode));
        return static_cast<bool>(body);
    });
    if (created)
        body_ = Body::kNamed;
    return body;
}

// Calls make(name) for unusual names until one succeeds; this is then the name of the body.
template <typename Make> bool tsh_file_replacement_t::find_free_name(Make make) {
    for (int i = 0; i < kMostNames; ++i) {
        TemporaryName name;
        snprintf(name.data(), name.size(), ".tsh-%d-%d", static_cast<int>(getpid()), i);
        if (make(name.data())) {
            temporary_ = name;
            return true;
        }
        if (errno != EEXIST)
            return false;
    }
    return false;
}

// Links in /proc may contain a name that is not a path of the file, and a name may later belong to
// another file.
bool tsh_file_replacement_t::takes_the_place_of(const struct stat &old) const {
    struct stat there {};
    return fstatat(directory_.number(), name_.c_str(), &there, 0) == 0 &&
           there.st_dev == old.st_dev && there.st_ino == old.st_ino;
}

// From here on, nothing is allocated, and nothing can fail after the new file is in place.
bool tsh_file_replacement_t::commit() {
    if (!is_whole())
        return false;
    switch (body_) {
    case Body::kTarget:
        return fclose(std::exchange(stream_, nullptr)) == 0;
    case Body::kHeld:
        return write_over_old();
    default:
        return put_in_place() || write_over_old();
    }
}

bool tsh_file_replacement_t::is_whole() const {
    const bool failed_before = ferror(stream_) != 0;
    if (fflush(stream_) != 0)
        return false;
    if (failed_before)
        errno = EIO;
    const bool on_disk = body_ == Body::kNameless || body_ == Body::kNamed;
    return !failed_before && (!on_disk || fsync(fileno(stream_)) == 0);
}

// The new name is synchronized with its directory.
bool tsh_file_replacement_t::put_in_place() {
    const bool is_first = body_ == Body::kNameless && !old_;
    if (!(is_first && give_name(name_.c_str())) && !rename_over_target())
        return false;
    fsync(directory_.number());
    return true;
}

bool tsh_file_replacement_t::give_name(const char *name) const {
    return linkat(AT_FDCWD, unnamed_path_.c_str(), directory_.number(), name, AT_SYMLINK_FOLLOW) ==
           0;
}

// An unnamed file has a name only while signals are blocked.
bool tsh_file_replacement_t::rename_over_target() {
    const SignalsHeld held;
    if (body_ == Body::kNameless &&
        !find_free_name([&](const char *name) { return give_name(name); }))
        return false;
    if (renameat(directory_.number(), temporary_.data(), directory_.number(), name_.c_str()) == 0) {
        temporary_ = {};
        return true;
    }
    drop_name();
    return false;
}

void tsh_file_replacement_t::drop_name() {
    if (temporary_[0] == '\0')
        return;
    const base::ErrnoKept kept;
    unlinkat(directory_.number(), temporary_.data(), 0);
    temporary_ = {};
}

// Reserves the space before anything is overwritten, and rolls back later errors. errno has the
// reason why the new file could not replace the old one.
bool tsh_file_replacement_t::write_over_old() {
    const int to = old_.number();
    const int from = fileno(stream_);
    struct stat old {};
    struct stat body {};
    if (!old_ || fstat(to, &old) != 0 || fstat(from, &body) != 0 ||
        (body_ != Body::kHeld && !takes_the_place_of(old)))
        return false;
    if (body.st_size > 0 && fallocate(to, FALLOC_FL_KEEP_SIZE, 0, body.st_size) != 0 &&
        errno != EOPNOTSUPP)
        return false;
    const off_t longest = std::max(old.st_size, body.st_size);
    const Descriptor kept = copy_of_old(old.st_size);
    if (overwrite(from, body.st_size, longest))
        return true;
    const base::ErrnoKept reason;
    [[maybe_unused]] const bool as_it_was = kept && overwrite(kept.number(), old.st_size, longest);
    return false;
}

// Returns a copy in memory; none if the old file may not be read.
Descriptor tsh_file_replacement_t::copy_of_old(off_t size) const {
    Descriptor copy = own(memfd_create("old", MFD_CLOEXEC));
    return copy && copy_bytes(old_.number(), copy.number(), size) ? std::move(copy) : Descriptor{};
}

// Copies size bytes over the old file, whose length is at most longest.
bool tsh_file_replacement_t::overwrite(int from, off_t size, off_t longest) const {
    const int to = old_.number();
    return lseek(to, 0, SEEK_SET) == 0 && copy_bytes(from, to, size) &&
           (size == longest || ftruncate(to, size) == 0) && fsync(to) == 0;
}

tsh_file_replacement_t *tsh_file_replacement_open(const char *path) {
    try {
        auto file = std::make_unique<tsh_file_replacement_t>();
        return file->open(path) ? file.release() : nullptr;
    } catch (const std::bad_alloc &) {
        errno = ENOMEM;
        return nullptr;
    }
}

FILE *tsh_file_replacement_stream(tsh_file_replacement_t *file) {
    return file->stream();
}

int32_t tsh_file_replacement_commit(tsh_file_replacement_t *file) {
    const std::unique_ptr<tsh_file_replacement_t> released{file};
    return released->commit() ? 0 : -1;
}

void tsh_file_replacement_abandon(tsh_file_replacement_t *file) {
    const std::unique_ptr<tsh_file_replacement_t> released{file};
}
