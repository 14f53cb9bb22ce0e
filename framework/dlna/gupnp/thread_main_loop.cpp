#include "dlna/gupnp/thread_main_loop.h"

#include "dlna/gupnp/main_context.h"

namespace mrb::dlna {
namespace {

using std::chrono::steady_clock;

} // namespace

void Pace::moved(std::uint64_t bytes) {
    if (bytes >= bytes_ + MIN_BYTES) {
        bytes_ = bytes;
        since_ = steady_clock::now();
    }
}

void Pace::excuse(steady_clock::time_point since) { since_ += steady_clock::now() - since; }

Status ThreadMainLoop::runUntil(const Condition &isDone, const CancellationToken &cancellation,
                                const Pace &pace) {
    const Source timer = wakeUps(context_);
    while (!isDone()) {
        if (cancellation.isCancelled()) {
            return Status::cancelled();
        }
        if (pace.isTooSlow()) {
            return Status::timedOut("The transfer has stalled.");
        }
        g_main_context_iteration(context_, TRUE);
    }
    return {};
}

Status ThreadMainLoop::await(const Object<GAsyncResult> &result, GCancellable *cancellable,
                             const CancellationToken &cancellation, const Pace &pace) {
    Status status = runUntil([&] { return result != nullptr; }, cancellation, pace);
    if (!result) {
        g_cancellable_cancel(cancellable);
        while (!result) {
            g_main_context_iteration(context_, TRUE);
        }
    }
    return status;
}

void ThreadMainLoop::onReady(GObject * /*source*/, GAsyncResult *result, void *holder) {
    *static_cast<Object<GAsyncResult> *>(holder) = share(result);
}

} // namespace mrb::dlna
