#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "library/media_library.h"
#include "library/storage_key_map.h"
#include "media/item.h"
#include "sources/source.h"

namespace mrb {

// Resolves the items of a list to their location, their file and their source's metadata. Blanks
// and headings have none of these. Owned by the list's session; any thread may call it, also
// while the list is filled.
class ItemResolver {
  public:
    explicit ItemResolver(std::unique_ptr<Source> source) : source_(std::move(source)) {}

    [[nodiscard]] Source &source() { return *source_; }
    [[nodiscard]] const Source &source() const { return *source_; }

    // Looks up the storage of the source's root folder, if it has one, so that no other call
    // waits for its device.
    void prepare() const;

    // The locations of the item.
    [[nodiscard]] ItemLocation locationOf(const ItemInfo &info) const;

    // The source's metadata of the item; no value: it has none.
    [[nodiscard]] std::optional<SourceMetadata> sourceMetadata(const ItemInfo &info) const;

    // The file of the item, without a path where it is not a file, and its source's metadata.
    [[nodiscard]] MediaItem mediaOf(const ItemInfo &info) const;

  private:
    const StorageKeyMap &paths(const std::string &root) const;

    const std::unique_ptr<Source> source_;
    mutable std::once_flag pathsMade_;
    // Created by prepare, or on first use where the source has no root folder.
    mutable std::optional<StorageKeyMap> paths_;
};

} // namespace mrb
