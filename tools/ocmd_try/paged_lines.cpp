// The pager is $PAGER, by default "more".
#include "tools/ocmd_try/paged_lines.h"

#include "base/owners.h"
#include "tools/support/program.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <glib.h>
#include <memory>

namespace shell {

namespace {

// Whether a command line begins with a program. The shell that runs it may know more than words.
bool can_run(const std::string &command) {
    constexpr const char *kOfTheShell = "\"'\\$`;|&<>(){}=*?~#";
    if (command.find_first_of(kOfTheShell) != std::string::npos)
        return true;
    const size_t begin = std::min(command.find_first_not_of(' '), command.size());
    const std::string program = command.substr(begin, command.find(' ', begin) - begin);
    const std::unique_ptr<char, base::Releaser<g_free>> path{
        g_find_program_in_path(program.c_str())};
    return path != nullptr;
}

} // namespace

bool PagedLines::add(std::string_view line) {
    FILE *output = pager_ == nullptr ? stdout : pager_;
    if (pager_ == nullptr && height_ > 0) {
        waiting_.append(line) += '\n';
        if (++count_ >= height_)
            open_pager();
        return pager_ == nullptr || ferror(pager_) == 0;
    }
    fwrite(line.data(), 1, line.size(), output);
    fputc('\n', output);
    return ferror(output) == 0;
}

void PagedLines::open_pager() {
    const char *named = getenv("PAGER");
    const std::string pager = named != nullptr && *named != '\0' ? named : "more";
    fflush(stdout);
    signal(SIGPIPE, SIG_IGN); // the user may leave the pager early
    if (can_run(pager))
        pager_ = popen(pager.c_str(), "w");
    else
        tool::report("pager '%s' cannot be run", pager.c_str());
    if (pager_ == nullptr)
        height_ = 0;
    fwrite(waiting_.data(), 1, waiting_.size(), pager_ == nullptr ? stdout : pager_);
    waiting_.clear();
}

PagedLines::~PagedLines() {
    fwrite(waiting_.data(), 1, waiting_.size(), stdout);
    fflush(stdout);
    if (pager_ == nullptr)
        return;
    pclose(pager_);
    signal(SIGPIPE, SIG_DFL);
}

} // namespace shell
