// Output files, written with the library's file replacement.
#include "tools/ocmd_compile/output_file.h"

#include "base/descriptor.h"
#include "tools/support/program.h"

#include <cerrno>
#include <cstring>

namespace compiler {

OutputFile::OutputFile(const std::string &path) : name_(path == "-" ? "standard output" : path) {
    if (path == "-") {
        base::Descriptor copy{fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)};
        standard_output_.reset(copy ? fdopen(copy.number(), "w") : nullptr);
        if (standard_output_ == nullptr)
            fail();
        copy.release();
        return;
    }
    replacement_.reset(tsh_file_replacement_open(path.c_str()));
    if (replacement_ == nullptr)
        fail();
}

FILE *OutputFile::stream() const {
    return replacement_ == nullptr ? standard_output_.get()
                                   : tsh_file_replacement_stream(replacement_.get());
}

void OutputFile::fail() const {
    tool::fail("%s: cannot be written: %s", name_.c_str(),
               errno == 0 ? "write error" : strerror(errno));
}

void OutputFile::commit() {
    errno = 0;
    const int result = replacement_ == nullptr
                           ? fclose(standard_output_.release())
                           : tsh_file_replacement_commit(replacement_.release());
    if (result != 0)
        fail();
}

} // namespace compiler
