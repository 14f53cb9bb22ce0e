#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "media/item.h"

namespace mrb {

// The list of a watch: supplies what is listed and observes changes. Called on the watch thread.
class WatchObserver {
  public:
    virtual ~WatchObserver() = default;

    // True for item types that the list shows.
    [[nodiscard]] virtual bool shows(std::uint8_t type) const = 0;

    // What the list knows of the file `name` in the folder with that number. No
    // value: the file is not listed.
    [[nodiscard]] virtual std::optional<ItemInfo> listed(std::int32_t folder,
                                                         std::string_view name) const = 0;

    // The source differs from the list's content now, or is gone.
    virtual void sourceChanged() = 0;
    virtual void sourceRemoved() = 0;
};

enum class Change { NONE, CHANGED, REMOVED };

// Watches what one list was read from, with an inotify instance of its own: events of one
// list's source neither fill another list's queue nor end its watches, and closing the instance
// ends all of them at once. The worker adds to it while it reads; from then on the watch thread
// owns and calls it. It keeps no file open, so that a device can be unmounted while it is
// watched.
class Watch {
  public:
    Watch() = default;
    virtual ~Watch() = default;
    Watch(const Watch &) = delete;
    Watch &operator=(const Watch &) = delete;

    // Watches the open folder or file `descriptor`, which the list knows by its number. Called
    // before it is read, so that no change is missed. The source itself comes first.
    virtual void aboutToRead(std::int32_t folder, int descriptor) = 0;

    // From now on only the removal of the source is reported.
    virtual void awaitRemoval() = 0;

    // The descriptor to poll; negative: nothing is watched.
    [[nodiscard]] virtual int fd() const = 0;

    // What the events that have arrived mean for `list`; lost events count as a change.
    // Never waits for more.
    virtual Change read(const WatchObserver &list) = 0;

    // True as long as the source's path leads to the folder or file that was read.
    [[nodiscard]] virtual bool sourceIsThere() const = 0;
};

} // namespace mrb
