#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "media/item.h"

namespace mrb {

// What a watch asks of the list that it watches for. Called on the watch thread.
class Watched {
  public:
    virtual ~Watched() = default;

    // True for item types that the list shows.
    [[nodiscard]] virtual bool shows(std::uint8_t type) const = 0;

    // What the list knows of the file `name` in the folder with that number. No
    // value: the file is not listed.
    [[nodiscard]] virtual std::optional<ItemFacts> listed(std::int32_t folder,
                                                          std::string_view name) const = 0;

    // The source is not any more what the list says, or not there any more.
    virtual void sourceChanged() = 0;
    virtual void sourceRemoved() = 0;
};

enum class Change { NONE, CHANGED, REMOVED };

// The watch on what one list was read from, an inotify instance of its own: what happens to
// one list's source neither fills another list's queue nor ends its watches, and closing it
// ends all of them at once. It is filled by the worker while that reads; from then on it is
// owned and called by the watch thread. It keeps nothing open, so a device can be unmounted
// under it.
class Watch {
  public:
    Watch() = default;
    virtual ~Watch() = default;
    Watch(const Watch &) = delete;
    Watch &operator=(const Watch &) = delete;

    // Watches the open folder or file `descriptor`, known to the list by its number, which is
    // about to be read, so that no change falls between. That of the source itself comes first.
    virtual void follow(std::int32_t folder, int descriptor) = 0;

    // From now on only the end of the source is of interest.
    virtual void awaitRemoval() = 0;

    // The descriptor to poll; negative: nothing is watched.
    [[nodiscard]] virtual int number() const = 0;

    // What the events that have arrived mean for `list`, lost ones included, which
    // count as a change. Never waits for more.
    virtual Change read(const Watched &list) = 0;

    // True as long as the source's path leads to what was read.
    [[nodiscard]] virtual bool sourceIsThere() const = 0;
};

} // namespace mrb
