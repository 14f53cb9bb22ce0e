#pragma once

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cstddef>

namespace mrb {

// Passes the events that have arrived at an inotify instance to `take`, a function of an
// inotify_event. Never waits for more, and stops after MAX_READS, so that a busy source does
// not keep the thread from other lists; the rest is read by the next call.
template <typename Consumer>
void readEvents(int instance, Consumer take) {
    constexpr int MAX_READS = 16;
    // Large enough to read a hundred events or more at once.
    alignas(inotify_event) std::array<char, 32UL * 1024> buffer{};
    for (int reads = 0; reads < MAX_READS; ++reads) {
        const ssize_t size = ::read(instance, buffer.data(), buffer.size());
        if (size <= 0) {
            return;
        }
        for (std::size_t offset = 0; offset < static_cast<std::size_t>(size);) {
            // The kernel aligns every event for this type.
            const auto *event = reinterpret_cast<const inotify_event *>(buffer.data() + offset);
            offset += sizeof *event + event->len;
            take(*event);
        }
    }
}

} // namespace mrb
