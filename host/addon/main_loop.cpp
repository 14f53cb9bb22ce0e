#include "main_loop.h"

#include <algorithm>

namespace {

int toUv(gushort events) {
    int uv_events = 0;
    uv_events |= (events & G_IO_IN) != 0 ? UV_READABLE : 0;
    uv_events |= (events & G_IO_OUT) != 0 ? UV_WRITABLE : 0;
    uv_events |= (events & G_IO_PRI) != 0 ? UV_PRIORITIZED : 0;
    // Errors and hang-ups are always reported; libuv needs some event to watch for.
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
    // While this thread owns the context, attaching a source on it needs no wake-up.
    if (g_main_context_acquire(context_) == FALSE) {
        return false;
    }
    // These are noexcept: libuv's frames must not be unwound, and the context would stay half dispatched.
    uv_prepare_start(&prepare_,
                     [](uv_prepare_t *handle) noexcept { static_cast<MainLoop *>(handle->data)->prepare(); });
    uv_check_start(&check_,
                   [](uv_check_t *handle) noexcept { static_cast<MainLoop *>(handle->data)->check(); });
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
    updateWatches();
    if (timeout_ms_ < 0) {
        uv_timer_stop(&timer_);
        return;
    }
    // The timer only bounds libuv's wait; check() finds the sources that are due.
    uv_update_time(loop_);
    uv_timer_start(
        &timer_, [](uv_timer_t *) {}, static_cast<uint64_t>(timeout_ms_), 0);
}

void MainLoop::query() {
    fds_.resize(std::max<size_t>(fds_.size(), 4));
    for (;;) {
        const int capacity = static_cast<int>(fds_.size());
        const int needed = g_main_context_query(context_, priority_, &timeout_ms_, fds_.data(), capacity);
        fds_.resize(static_cast<size_t>(needed));
        if (needed <= capacity) {
            return;
        }
    }
}

void MainLoop::updateWatches() {
    for (auto &[fd, watch] : watches_) {
        watch->requested = 0;
        watch->received = 0;
    }
    for (const GPollFD &fd : fds_) {
        if (!watch(fd.fd, toUv(fd.events))) {
            timeout_ms_ = 0;
        }
    }
    for (auto entry = watches_.begin(); entry != watches_.end();) {
        Watch &watch = *entry->second;
        if (watch.requested == 0) {
            entry = watches_.erase(entry);
            continue;
        }
        if (watch.requested != watch.active) {
            watch.active = watch.requested;
            uv_poll_start(&watch.handle, watch.requested,
                          [](uv_poll_t *handle, int status, int events) noexcept {
                              auto *polled = static_cast<Watch *>(handle->data);
                              polled->received |= status < 0 ? polled->requested | UV_DISCONNECT : events;
                          });
        }
        ++entry;
    }
}

/// Adds `events` to those requested of `fd`. False when libuv cannot watch it: a
/// plain file, which counts as always ready.
bool MainLoop::watch(int fd, int events) {
    auto found = watches_.find(fd);
    if (found == watches_.end()) {
        std::unique_ptr<Watch> added = std::make_unique<Watch>();
        if (uv_poll_init(loop_, &added->handle, fd) != 0) {
            return false;
        }
        added->handle.data = added.get();
        uv_unref(base(added->handle));
        found = watches_.emplace(fd, std::unique_ptr<Watch, CloseWatch>(added.release())).first;
    }
    found->second->requested |= events;
    return true;
}

void MainLoop::check() {
    for (GPollFD &fd : fds_) {
        const auto found = watches_.find(fd.fd);
        fd.revents = found == watches_.end() ? fd.events : toGlib(found->second->received);
    }
    if (g_main_context_check(context_, priority_, fds_.data(), static_cast<int>(fds_.size())) == FALSE) {
        return;
    }
    g_main_context_dispatch(context_);
    // A source may have closed its descriptor, and another opened one with the same
    // number: each watch is started again.
    for (auto &[fd, watch] : watches_) {
        watch->active = 0;
    }
}

void MainLoop::CloseWatch::operator()(Watch *watch) const {
    uv_close(base(watch->handle), [](uv_handle_t *handle) { delete static_cast<Watch *>(handle->data); });
}
