// Lines on their way to standard output, through a pager if they fill more than the screen.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

namespace shell {

class PagedLines {
public:
    /// @param height of the screen in lines; 0 without a terminal, where no pager is started.
    explicit PagedLines(size_t height) : height_(height) {}
    ~PagedLines();
    PagedLines(const PagedLines &) = delete;
    PagedLines &operator=(const PagedLines &) = delete;

    /// Adds a line. @return false if nobody reads any more.
    bool add(std::string_view line);

private:
    void open_pager();

    size_t height_;
    size_t count_ = 0;
    std::string waiting_; // lines that may still fit the screen
    FILE *pager_ = nullptr;
};

} // namespace shell
