#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/descriptor.h"
#include "watch/watch.h"

namespace mrb {

// Watches the one file that a list was read from: whether it is written to, replaced by
// another, or removed. See Watch.
class FileWatch final : public Watch {
  public:
    // `path` is absolute and without links.
    explicit FileWatch(std::string path);

    void aboutToRead(std::int32_t folder, int descriptor) override;
    // Nothing more is reported: a playlist's items do not disappear with the playlist file.
    void awaitRemoval() override { events_ = Descriptor(); }
    [[nodiscard]] int fd() const override { return events_.fd(); }
    Change read(const WatchObserver &list) override;
    [[nodiscard]] bool sourceIsThere() const override { return true; }

  private:
    struct State {
        std::uint64_t device = 0;
        std::uint64_t file = 0;
        std::uint64_t size = 0;    // bytes
        std::int64_t modified = 0; // nanoseconds since 1970
        bool operator==(const State &) const = default;
    };
    static std::optional<State> stateOf(int folder, const char *path);
    [[nodiscard]] bool isWritten();

    const std::string path_;
    Descriptor events_;
    std::optional<State> followed_;
    std::int64_t began_ = 0; // nanoseconds since 1970, see fileTime
};

} // namespace mrb
