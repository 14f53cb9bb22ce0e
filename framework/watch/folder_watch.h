#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "base/descriptor.h"
#include "watch/watch.h"

namespace mrb {

// Watches the folders of one list; each watch is added before the folder is read. See Watch.
class FolderWatch final : public Watch {
  public:
    // Every watched folder costs about a kilobyte of the kernel's memory and counts
    // against a limit per user that other programs share.
    static constexpr std::size_t MAX_FOLDERS = 8192;

    // `root` is the path of the folder that the list was opened on.
    explicit FolderWatch(std::string root);

    // Beyond MAX_FOLDERS, or when the system has no more watches, only the root is
    // watched, and a warning is logged.
    void aboutToRead(std::int32_t folder, int descriptor) override;
    void awaitRemoval() override;
    [[nodiscard]] int fd() const override { return events_.fd(); }
    Change read(const WatchObserver &list) override;
    [[nodiscard]] bool sourceIsThere() const override;

  private:
    void watchRootOnly(std::uint32_t mask);
    [[nodiscard]] Change meaningOf(const WatchObserver &list, int watch, std::uint32_t mask,
                                   const char *name) const;
    [[nodiscard]] bool isRewritten(const WatchObserver &list, std::int32_t folder, const char *name) const;

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
    std::int64_t began_ = 0;                        // nanoseconds since 1970, see fileTime
    std::unordered_map<int, std::int32_t> folders_; // the list's folder numbers by inotify's watch
    bool rootOnly_ = false;
    bool lost_ = false; // events were lost when the instance was replaced
};

} // namespace mrb
