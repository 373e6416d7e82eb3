// Output files, written with the library's file replacement.
#include "tools/ocmd_compile/output_file.h"

#include "tools/support/program.h"

#include <cerrno>
#include <cstring>

namespace compiler {

OutputFile::OutputFile(const std::string &path) : name_(path == "-" ? "standard output" : path) {
    if (path == "-")
        return;
    replacement_.reset(tsh_file_replacement_open(path.c_str()));
    if (replacement_ == nullptr)
        fail();
}

FILE *OutputFile::stream() const {
    return replacement_ == nullptr ? stdout : tsh_file_replacement_stream(replacement_.get());
}

void OutputFile::fail() const {
    tool::fail("%s: cannot be written: %s", name_.c_str(),
               errno == 0 ? "write error" : strerror(errno));
}

void OutputFile::commit() {
    if (replacement_ != nullptr && tsh_file_replacement_commit(replacement_.release()) != 0)
        fail();
}

} // namespace compiler
