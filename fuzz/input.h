// Input of fuzz targets, and checks of properties.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

// The bytes of an input, read from the front, followed by zeros.
class Input {
public:
    Input(const uint8_t *data, size_t size) : bytes_(reinterpret_cast<const char *>(data), size) {}

    uint8_t operator()() {
        const std::string_view byte = text(1);
        return byte.empty() ? uint8_t{0} : static_cast<uint8_t>(byte[0]);
    }

    // Reads a number between two bounds, in as many bytes as it may need.
    int any_of(int low, int high) {
        int number = 0;
        for (int range = high - low; range > 0; range >>= 8)
            number = number << 8 | (*this)();
        return low + number % (high - low + 1);
    }

    // Reads up to this number of bytes.
    std::string_view text(size_t size = std::string_view::npos) {
        const std::string_view taken = bytes_.substr(0, size);
        bytes_.remove_prefix(taken.size());
        return taken;
    }

    // Reads a file after its length in two bytes, little-endian.
    std::string_view file() {
        const size_t low = (*this)();
        return text(low + 256U * (*this)());
    }

private:
    std::string_view bytes_;
};

// Ends the process if a condition is false, after a message with its name and position.
inline void want(bool holds, const char *what = "", const char *file = __builtin_FILE(),
                 int line = __builtin_LINE()) {
    if (holds)
        return;
    fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, what);
    abort();
}
