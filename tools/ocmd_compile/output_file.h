// Output files that are replaced completely or not at all.
#pragma once

#include "base/owners.h"
#include "treelink/file_replacement.h"

#include <cstdio>
#include <memory>
#include <string>

namespace compiler {

/// A file that is being written, or standard output for the name "-". The old file does not change
/// before the commit.
class OutputFile {
public:
    /// Reports a file that cannot be written, and exits with kError.
    explicit OutputFile(const std::string &path);

    /// Returns the stream to write to; it has a descriptor, which is not that of standard output.
    [[nodiscard]] FILE *stream() const;

    /// Reports a write error with the reason in errno, and exits with kError.
    [[noreturn]] void fail() const;

    /// Replaces the old file. Exits as fail() if the file could not be written completely.
    void commit();

private:
    std::string name_;
    std::unique_ptr<tsh_file_replacement_t, base::Releaser<tsh_file_replacement_abandon>>
        replacement_;                                               // null for standard output
    std::unique_ptr<FILE, base::Releaser<fclose>> standard_output_; // a copy, else null
};

} // namespace compiler
