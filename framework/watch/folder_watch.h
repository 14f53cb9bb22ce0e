#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "base/descriptor.h"
#include "sources/source.h"

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

// The watch on the folders of one list, an inotify instance of its own: what one
// list's folders do neither fills another list's queue nor ends its watches, and
// closing it ends all of them at once. It is filled by the worker while that scans,
// each folder before it is read, so that no change falls between; from then on it
// is owned and called by the watch thread. It keeps no folder open, so a device can
// be unmounted under it.
class FolderWatch {
  public:
    // Every watched folder costs about a kilobyte of the kernel's memory and counts
    // against a limit of the user's that other programs share.
    static constexpr std::size_t MOST_FOLDERS = 8192;

    // `root` is the path of the folder that the list was opened on.
    explicit FolderWatch(std::string root);

    // Watches the open folder `descriptor`, known to the list by its number. The
    // root comes first. Beyond MOST_FOLDERS, or when the system has no more
    // watches, only the root is watched, and the log says so.
    void follow(std::int32_t folder, int descriptor);

    // From now on only the end of the root is of interest.
    void awaitRemoval();

    // The descriptor to poll; negative: the system gave none, nothing is watched.
    [[nodiscard]] int number() const { return events_.number(); }

    // What the events that have arrived mean for `list`, lost ones included, which
    // count as a change. Never waits for more.
    Change read(const Watched &list);

    // True as long as the root's path leads to the folder that was scanned.
    [[nodiscard]] bool rootIsThere() const;

  private:
    void watchRootOnly(std::uint32_t mask);
    [[nodiscard]] Change meaningOf(const Watched &list, int watch, std::uint32_t mask,
                                   const char *name) const;
    [[nodiscard]] bool isRewritten(const Watched &list, std::int32_t folder, const char *name) const;

    struct Identity {
        std::uint64_t device = 0;
        std::uint64_t file = 0;
        bool operator==(const Identity &) const = default;
    };
    static std::optional<Identity> identityOf(int folder, const char *path);

    const std::string root_;
    Descriptor events_;
    int rootWatch_ = -1;
    Identity identity_;
    std::int64_t began_ = 0;                        // nanoseconds since 1970, by the files' clock
    std::unordered_map<int, std::int32_t> folders_; // the list's numbers under inotify's
    bool rootOnly_ = false;
    bool lost_ = false; // events, when the instance was exchanged
};

} // namespace mrb
