// Results that go to a file: the file is replaced as a whole or not at all.
#pragma once

#include "base/owners.h"
#include "treelink/file_replacement.h"

#include <cstdio>
#include <memory>
#include <string>

namespace tool {

/// A file that is being written, or standard output for the name "-". Unless it is committed, the
/// old file stays as it was.
class OutputFile {
public:
    /// A file that cannot be written is told with the reason and ends the run with kTrouble.
    explicit OutputFile(const std::string &path);

    /// Where to write; it has a descriptor.
    [[nodiscard]] FILE *stream() const;

    /// Tells that writing failed, with the reason in errno, and ends the run with kTrouble.
    [[noreturn]] void fail() const;

    /// Puts the file in place. A file that did not take every byte ends the run as in fail().
    void commit();

private:
    std::string name_;
    std::unique_ptr<tsh_file_replacement_t, base::Releaser<tsh_file_replacement_abandon>>
        replacement_; // null for standard output
};

} // namespace tool
