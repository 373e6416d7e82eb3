// Hexadecimal fields, allocated by GLib because callers release them with g_strfreev.
#include "feature/tsh/src/hex_split.h"

#include "base/owners.h"
#include "feature/tsh/src/char_set_internal.h"

#include <algorithm>
#include <glib.h>
#include <memory>

namespace {

// The reported positions are fixed, independent of the position of the checks.
constexpr int kNullStringLine = 244;
constexpr int kNullDelimitersLine = 245;

void report_failed_assertion(int line, const char *assertion) {
    g_log(nullptr, G_LOG_LEVEL_CRITICAL, "file %s: line %d (%s): assertion `%s' failed.",
          "../feature/tsh/src/tsh_common", line, "hex_split", assertion);
}

class FieldCutter {
public:
    FieldCutter(std::string_view text, const tsh::CharSet &delimiters)
        : rest_(text), delimiters_(delimiters) {}

    [[nodiscard]] bool at_end() const { return rest_.empty(); }

    std::string_view next() {
        const size_t end = delimiters_.find_in(rest_, 0);
        const std::string_view field = rest_.substr(0, end);
        rest_.remove_prefix(std::min(end + 1, rest_.size()));
        return field;
    }

private:
    std::string_view rest_;
    const tsh::CharSet &delimiters_;
};

char *whole_bytes(std::string_view field) {
    const size_t padding = field.size() % 2;
    auto *text = static_cast<char *>(g_try_malloc0(padding + field.size() + 1));
    if (text == nullptr)
        return nullptr;
    std::fill_n(text, padding, '0');
    field.copy(text + padding, field.size());
    return text;
}

} // namespace

char **hex_split(const char *string, const char *delimiters) {
    if (string == nullptr) {
        report_failed_assertion(kNullStringLine, "string != NULL");
        return nullptr;
    }
    if (delimiters == nullptr) {
        report_failed_assertion(kNullDelimitersLine, "delimiter != NULL");
        return nullptr;
    }
    const tsh::CharSet delimiter_set(std::string_view{delimiters});
    const FieldCutter start(string, delimiter_set);

    size_t count = 0;
    for (FieldCutter cutter = start; !cutter.at_end(); cutter.next())
        ++count;
    std::unique_ptr<char *, base::Releaser<g_strfreev>> fields(g_try_new0(char *, count + 1));
    if (fields == nullptr)
        return nullptr;

    char **field = fields.get();
    for (FieldCutter cutter = start; !cutter.at_end(); ++field) {
        *field = whole_bytes(cutter.next());
        if (*field == nullptr)
            return nullptr;
    }
    return fields.release();
}
