// The output is kept in memory. Where the library exits, a handler prints it.
#include "tools/ocmd_compile/library_output.h"

#include "base/errno_kept.h"
#include "base/owners.h"
#include "tools/support/program.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

namespace compiler {

namespace {

// A prebuilt tree may be absent; of one that cannot be used the library prints the reason as well.
constexpr std::array<std::string_view, 2> kOmitted{"main_tree_to_hash: can't read file \n",
                                                   "Error in writing to main_tree file\n"};

using Stream = std::unique_ptr<FILE, base::Releaser<fclose>>;

int kept_output = -1; // for the handler

void print_kept(int descriptor) {
    fflush(stdout);
    lseek(descriptor, 0, SEEK_SET);
    const Stream stream{fdopen(descriptor, "r")};
    if (stream == nullptr) {
        close(descriptor);
        return;
    }
    std::array<char, 1024> line{};
    while (fgets(line.data(), line.size(), stream.get()) != nullptr)
        if (std::ranges::find(kOmitted, std::string_view{line.data()}) == kOmitted.end())
            fputs(line.data(), stderr);
}

void print_at_exit(int /*unused*/, void * /*unused*/) {
    if (kept_output >= 0)
        print_kept(kept_output);
}

[[noreturn]] void fail() {
    tool::fail("standard output: cannot be saved: %s", strerror(errno));
}

} // namespace

LibraryOutput::LibraryOutput() : saved_(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
    if (!saved_ && errno != EBADF) // else it is closed
        fail();
    base::Descriptor memory{memfd_create("output", MFD_CLOEXEC)};
    if (memory.number() >= 0 && memory.number() <= STDERR_FILENO) // those may be closed
        memory = base::Descriptor{fcntl(memory.number(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1)};
    kept_ = std::move(memory);
    fflush(stdout);
    if (!kept_ || dup2(kept_.number(), STDOUT_FILENO) < 0)
        fail();
    static const int registered = on_exit(print_at_exit, nullptr);
    if (registered == 0)
        kept_output = kept_.number();
}

LibraryOutput::~LibraryOutput() {
    const base::ErrnoKept kept;
    kept_output = -1;
    fflush(stdout);
    if (!saved_ || dup2(saved_.number(), STDOUT_FILENO) < 0)
        close(STDOUT_FILENO); // so that later output fails
    print_kept(kept_.release());
}

} // namespace compiler
