#pragma once
// GLib's default main context, driven from libuv's loop.

#include <memory>
#include <unordered_map>
#include <vector>

#include <glib.h>
#include <uv.h>

/// Runs the sources of GLib's default main context inside a libuv loop: a source
/// that becomes ready, on whatever thread it was attached, wakes the loop at
/// once, and nothing spins while none is. Owned by the addon, for as long as the
/// program runs; the loop's thread only.
class MainLoop {
  public:
    explicit MainLoop(uv_loop_t *loop);
    MainLoop(const MainLoop &) = delete;
    MainLoop &operator=(const MainLoop &) = delete;
    ~MainLoop() = delete; // libuv holds its handles to the end

    /// Begins to run sources. False when another thread runs the context.
    bool start();

    /// Stops running sources, for good.
    void stop();

    /// Whether waiting for sources is a reason for the loop to go on.
    void keepAlive(bool alive);

  private:
    /// One file descriptor that GLib wants watched.
    struct Watch {
        uv_poll_t handle{};
        int wanted = 0; ///< UV_READABLE and so on, asked for in this turn
        int active = 0; ///< those that libuv watches now
        int seen = 0;   ///< those that came since the last check
    };
    /// libuv lets go of a handle in its own time; the watch goes with it.
    struct CloseWatch {
        void operator()(Watch *watch) const;
    };

    void prepare();
    void check();
    void query();
    void watchWanted();
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
