// The end of a link without memory, and how GLib is brought to it.
#include "treelink/memory_internal.h"

#include "feature/tsh/src/huge_pages_internal.h"

#include <glib.h>

namespace {

constexpr int kOutOfMemoryStatus = 100;

int glib_calls = 0; // under way, nested

// GLib reports exhausted memory as a fatal message of its own and then raises a signal. The only
// way in between is a message handler, and setting one takes memory itself, so it stands from the
// time the library is loaded; outside the linker's calls it leaves everything to GLib.
class FatalMessageHandler {
public:
    FatalMessageHandler() : id_(g_log_set_handler(kDomain, kLevels, handle, nullptr)) {}
    ~FatalMessageHandler() { g_log_remove_handler(kDomain, id_); }
    FatalMessageHandler(const FatalMessageHandler &) = delete;
    FatalMessageHandler &operator=(const FatalMessageHandler &) = delete;

private:
    static constexpr const char *kDomain = "GLib";
    static constexpr auto kLevels =
        static_cast<GLogLevelFlags>(G_LOG_LEVEL_ERROR | G_LOG_FLAG_FATAL | G_LOG_FLAG_RECURSION);

    static void handle(const gchar *domain, GLogLevelFlags level, const gchar *message,
                       gpointer data) {
        if (glib_calls > 0)
            tsh::end_out_of_memory();
        g_log_default_handler(domain, level, message, data);
    }

    guint id_;
};

const FatalMessageHandler fatal_message_handler;

} // namespace

void tsh::end_out_of_memory() {
    exit(kOutOfMemoryStatus);
}

void *tsh::allocate_bytes(size_t size) {
    void *block = malloc(std::max(size, size_t{1}));
    if (block == nullptr)
        end_out_of_memory();
    prefer_huge_pages(block, size);
    return block;
}

tsh::GlibCall::GlibCall() {
    ++glib_calls;
}

tsh::GlibCall::~GlibCall() {
    --glib_calls;
}
