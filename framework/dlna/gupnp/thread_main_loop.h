#pragma once

#include <gio/gio.h>

#include <chrono>
#include <cstdint>
#include <functional>

#include "base/cancellation.h"
#include "base/result.h"
#include "dlna/gupnp/gobject.h"

namespace mrb::dlna {

// Detects a stalled transfer: a minimum of bytes per timeout. Used by one thread.
class Pace {
  public:
    // The timeout for MIN_BYTES.
    static constexpr auto TIMEOUT = std::chrono::seconds(20);
    static constexpr std::uint64_t MIN_BYTES = 16UL << 10;

    // `bytes` were transferred in all.
    void moved(std::uint64_t bytes);
    // Excludes the time since then from the server's.
    void excuse(std::chrono::steady_clock::time_point since);
    [[nodiscard]] bool isTooSlow() const { return std::chrono::steady_clock::now() - since_ > TIMEOUT; }

  private:
    std::chrono::steady_clock::time_point since_ = std::chrono::steady_clock::now();
    std::uint64_t bytes_ = 0; // at that time
};

// A main context of a thread that waits for its own operations. Owned and used by that thread.
class ThreadMainLoop {
  public:
    ThreadMainLoop() : context_(g_main_context_new()) {}
    ~ThreadMainLoop() { g_main_context_unref(context_); }
    ThreadMainLoop(const ThreadMainLoop &) = delete;
    ThreadMainLoop &operator=(const ThreadMainLoop &) = delete;

    // During its life, operations that are begun end in this loop.
    class Turn {
      public:
        explicit Turn(const ThreadMainLoop &loop) : context_(loop.context_) {
            g_main_context_push_thread_default(context_);
        }
        ~Turn() { g_main_context_pop_thread_default(context_); }
        Turn(const Turn &) = delete;
        Turn &operator=(const Turn &) = delete;

      private:
        GMainContext *const context_;
    };

    using Condition = std::function<bool()>;

    // Both in a turn. Runs until `isDone`, or ends soon after a cancellation with
    // MRB_ERR_CANCELLED, or with MRB_ERR_TIMEOUT when the transfer stalls.
    Status runUntil(const Condition &isDone, const CancellationToken &cancellation, const Pace &pace);
    // Waits for an operation that was started with onReady and `result`. After a
    // cancellation or timeout it cancels the operation and waits for its end.
    Status await(const Object<GAsyncResult> &result, GCancellable *cancellable,
                 const CancellationToken &cancellation, const Pace &pace);
    static void onReady(GObject *source, GAsyncResult *result, void *holder);

  private:
    GMainContext *const context_;
};

} // namespace mrb::dlna
