#include "dlna/gupnp/main_context.h"

namespace mrb::dlna {
namespace {

// Interval for conditions that other threads change without waking up the context.
constexpr guint WAKE_UP_MILLISECONDS = 15;

gboolean wakeUp(gpointer /*data*/) { return G_SOURCE_CONTINUE; }

} // namespace

void removeSource(GSource *source) {
    g_source_destroy(source);
    g_source_unref(source);
}

Source wakeUps(GMainContext *context) {
    Source timer(g_timeout_source_new(WAKE_UP_MILLISECONDS));
    g_source_set_callback(timer.get(), wakeUp, nullptr, nullptr);
    g_source_attach(timer.get(), context);
    return timer;
}

void runContext(const std::function<bool()> &isDone, std::chrono::milliseconds timeout) {
    GMainContext *context = g_main_context_get_thread_default();
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    {
        const Source timer = wakeUps(context);
        while (!isDone() && std::chrono::steady_clock::now() < deadline) {
            g_main_context_iteration(context, TRUE);
        }
    }
    while (g_main_context_iteration(context, FALSE) != FALSE) {
    }
}

} // namespace mrb::dlna
