#include "main_loop.h"

#include <algorithm>

namespace {

int toUv(gushort events) {
    int uv_events = 0;
    uv_events |= (events & G_IO_IN) != 0 ? UV_READABLE : 0;
    uv_events |= (events & G_IO_OUT) != 0 ? UV_WRITABLE : 0;
    uv_events |= (events & G_IO_PRI) != 0 ? UV_PRIORITIZED : 0;
    // Errors and hang-ups come unasked; libuv wants some event to watch for.
    return uv_events != 0 ? uv_events : UV_DISCONNECT;
}

gushort toGlib(int uv_events) {
    int events = 0;
    events |= (uv_events & UV_READABLE) != 0 ? G_IO_IN : 0;
    events |= (uv_events & UV_WRITABLE) != 0 ? G_IO_OUT : 0;
    events |= (uv_events & UV_PRIORITIZED) != 0 ? G_IO_PRI : 0;
    events |= (uv_events & UV_DISCONNECT) != 0 ? G_IO_HUP : 0;
    return static_cast<gushort>(events);
}

template <typename Handle>
uv_handle_t *base(Handle &handle) {
    return reinterpret_cast<uv_handle_t *>(&handle);
}

} // namespace

MainLoop::MainLoop(uv_loop_t *loop) : loop_(loop), context_(g_main_context_default()) {
    uv_prepare_init(loop_, &prepare_);
    uv_check_init(loop_, &check_);
    uv_timer_init(loop_, &timer_);
    for (uv_handle_t *handle : {base(prepare_), base(check_), base(timer_)}) {
        handle->data = this;
        uv_unref(handle);
    }
}

bool MainLoop::start() {
    // Owning the context lets attaching on this thread do without a wake-up.
    if (g_main_context_acquire(context_) == FALSE) {
        return false;
    }
    uv_prepare_start(&prepare_,
                     [](uv_prepare_t *handle) { static_cast<MainLoop *>(handle->data)->prepare(); });
    uv_check_start(&check_, [](uv_check_t *handle) { static_cast<MainLoop *>(handle->data)->check(); });
    return true;
}

void MainLoop::stop() {
    uv_prepare_stop(&prepare_);
    uv_check_stop(&check_);
    uv_timer_stop(&timer_);
    watches_.clear();
    g_main_context_release(context_);
}

void MainLoop::keepAlive(bool alive) {
    if (alive) {
        uv_ref(base(prepare_));
    } else {
        uv_unref(base(prepare_));
    }
}

void MainLoop::prepare() {
    g_main_context_prepare(context_, &priority_);
    query();
    watchWanted();
    if (timeout_ms_ < 0) {
        uv_timer_stop(&timer_);
        return;
    }
    // The timer only bounds libuv's wait; check() finds what has become due.
    uv_update_time(loop_);
    uv_timer_start(
        &timer_, [](uv_timer_t *) {}, static_cast<uint64_t>(timeout_ms_), 0);
}

void MainLoop::query() {
    fds_.resize(std::max<size_t>(fds_.size(), 4));
    for (;;) {
        const int room = static_cast<int>(fds_.size());
        const int needed = g_main_context_query(context_, priority_, &timeout_ms_, fds_.data(), room);
        fds_.resize(static_cast<size_t>(needed));
        if (needed <= room) {
            return;
        }
    }
}

void MainLoop::watchWanted() {
    for (auto &[fd, watch] : watches_) {
        watch->wanted = 0;
        watch->seen = 0;
    }
    for (const GPollFD &fd : fds_) {
        if (!watch(fd.fd, toUv(fd.events))) {
            timeout_ms_ = 0;
        }
    }
    for (auto entry = watches_.begin(); entry != watches_.end();) {
        Watch &watch = *entry->second;
        if (watch.wanted == 0) {
            entry = watches_.erase(entry);
            continue;
        }
        if (watch.wanted != watch.active) {
            watch.active = watch.wanted;
            uv_poll_start(&watch.handle, watch.wanted, [](uv_poll_t *handle, int status, int events) {
                auto *seen_watch = static_cast<Watch *>(handle->data);
                seen_watch->seen |= status < 0 ? seen_watch->wanted | UV_DISCONNECT : events;
            });
        }
        ++entry;
    }
}

/// Notes that `events` of `fd` are wanted. False where libuv cannot watch it: a
/// plain file, which counts as always ready.
bool MainLoop::watch(int fd, int events) {
    auto found = watches_.find(fd);
    if (found == watches_.end()) {
        std::unique_ptr<Watch> fresh = std::make_unique<Watch>();
        if (uv_poll_init(loop_, &fresh->handle, fd) != 0) {
            return false;
        }
        fresh->handle.data = fresh.get();
        uv_unref(base(fresh->handle));
        found = watches_.emplace(fd, std::unique_ptr<Watch, CloseWatch>(fresh.release())).first;
    }
    found->second->wanted |= events;
    return true;
}

void MainLoop::check() {
    for (GPollFD &fd : fds_) {
        const auto found = watches_.find(fd.fd);
        fd.revents = found == watches_.end() ? fd.events : toGlib(found->second->seen);
    }
    if (g_main_context_check(context_, priority_, fds_.data(), static_cast<int>(fds_.size())) == FALSE) {
        return;
    }
    g_main_context_dispatch(context_);
    // A source may have closed its descriptor and another opened one of the same
    // number: make libuv look at each of them anew.
    for (auto &[fd, watch] : watches_) {
        watch->active = 0;
    }
}

void MainLoop::CloseWatch::operator()(Watch *watch) const {
    uv_close(base(watch->handle), [](uv_handle_t *handle) { delete static_cast<Watch *>(handle->data); });
}
