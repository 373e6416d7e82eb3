// The pager is $PAGER, by default "more".
#include "tools/ocmd_try/paged_lines.h"

#include <csignal>
#include <cstdlib>

namespace shell {

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
    const char *pager = getenv("PAGER");
    fflush(stdout);
    signal(SIGPIPE, SIG_IGN); // the user may leave the pager early
    pager_ = popen(pager != nullptr && *pager != '\0' ? pager : "more", "w");
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
