#pragma once

#include <sys/types.h>

#include <array>
#include <cstdint>
#include <ctime>
#include <functional>
#include <string>

#include "base/cancellation.h"
#include "base/result.h"
#include "media/item.h"
#include "share/copy_result.h"

namespace mrb {

// The source of a copy's files: a folder, paths in a list, a camera, or a DLNA server. Owned by a
// job and called by its thread.
class CopySource {
  public:
    // The attributes of an opened file.
    struct File {
        std::uint64_t size = 0; // bytes
        mode_t mode = 0;
        std::array<timespec, 2> times{}; // of last access and change, as futimens takes them
    };

    CopySource() = default;
    virtual ~CopySource() = default;
    CopySource(const CopySource &) = delete;
    CopySource &operator=(const CopySource &) = delete;

    // Called once, before the others. MRB_ERR_DEVICE_REMOVED: the source is gone.
    virtual Status begin(const CancellationToken &cancellation) = 0;
    // Whether the source as a whole exists, independent of single files.
    [[nodiscard]] virtual bool isThere() = 0;

    // Opens an item of the list; for a folder it only checks that it exists.
    virtual Status open(const ItemInfo &item, const CancellationToken &cancellation, File &file) = 0;
    // Copies the most recently opened file to an empty one. `moved` is called repeatedly with the
    // number of bytes copied so far; false: stop.
    virtual CopyResult copy(int destination, const std::function<bool(std::uint64_t)> &moved) = 0;

    // A descriptor of the most recently opened file, owned by this, if it can be read like any
    // other file; negative: only copy() provides its bytes.
    [[nodiscard]] virtual int fd() const { return -1; }

    // The path at the destination for a path below the list's folder: names joined with '/'.
    [[nodiscard]] virtual std::string pathOf(std::string path) const { return path; }
    [[nodiscard]] virtual std::string nameOf(const ItemInfo &item) const { return item.name; }
};

} // namespace mrb
