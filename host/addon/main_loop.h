#pragma once
// GLib's default main context, driven from libuv's loop.

#include <memory>
#include <unordered_map>
#include <vector>

#include <glib.h>
#include <uv.h>

/// Runs the sources of GLib's default main context inside a libuv loop: a source
/// that becomes ready, on whatever thread it was attached, wakes the loop at
/// once; the loop sleeps while no source is ready. Owned by the addon, for as long as
/// the program runs; the loop's thread only.
class MainLoop {
  public:
    explicit MainLoop(uv_loop_t *loop);
    MainLoop(const MainLoop &) = delete;
    MainLoop &operator=(const MainLoop &) = delete;
    ~MainLoop() = delete; // libuv holds its handles to the end

    /// Begins to run sources. False when another thread runs the context.
    bool start();

    /// Stops running sources, permanently.
    void stop();

    /// Sets whether waiting for sources keeps the loop running.
    void keepAlive(bool alive);

  private:
    /// One file descriptor that GLib polls.
    struct Watch {
        uv_poll_t handle{};
        int requested = 0; ///< UV_READABLE and so on, as GLib requests in this turn
        int active = 0;    ///< those that libuv watches now
        int received = 0;  ///< those that arrived since the last check
    };
    /// Closes the handle; libuv's callback deletes the watch later.
    struct CloseWatch {
        void operator()(Watch *watch) const;
    };

    void prepare();
    void check();
    void query();
    void updateWatches();
    bool watch(int fd, int events);

    uv_loop_t *loop_;
    GMainContext *context_;
    uv_prepare_t prepare_{};
    uv_check_t check_{};
    uv_timer_t timer_{};
    int priority_ = 0;
    int timeout_ms_ = -1; ///< until the next timed source; -1: none
    std::vector<GPollFD> fds_;
    std::unordered_map<int, std::unique_ptr<Watch, CloseWatch>> watches_;
};
