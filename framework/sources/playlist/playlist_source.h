#pragma once

#include <memory>
#include <optional>
#include <string>

#include "base/descriptor.h"
#include "sources/playlist/playlist_table.h"
#include "sources/source.h"

namespace mrb {

// A list source: one playlist that the request names, or all that are found on attached storages
// and in the user's music folder. Owned and called as every Source is.
class PlaylistSource final : public Source {
  public:
    // `request.prepareData` is empty, or the absolute path or file:// URI of a playlist.
    static Status make(const ListRequest &request, std::unique_ptr<Source> &source);

    FillResult fill(ItemSink &sink) override;
    [[nodiscard]] ItemLocation locationOf(const ItemInfo &item) const override;
    [[nodiscard]] Status checkAvailable(const ItemInfo &item) const override;
    [[nodiscard]] std::string filePath(const ItemInfo &item) const override;
    [[nodiscard]] MountIdentity mountOf(const ItemInfo &item) const override;
    [[nodiscard]] bool hasScatteredFiles() const override { return true; }
    [[nodiscard]] std::string watchedFile() const override { return path_; }
    [[nodiscard]] std::optional<SourceMetadata> sourceMetadata(const ItemInfo &item) const override;
    [[nodiscard]] std::optional<ItemInfo> findByMediaId(const std::string &mediaId) const override;

  private:
    PlaylistSource(std::string path, Descriptor file);

    // The row of an item; that of the source itself is the playlist in the request.
    [[nodiscard]] std::optional<PlaylistRow> rowOf(const ItemInfo &item) const;
    [[nodiscard]] FillResult fillFromAll(ItemSink &sink);

    const std::string path_; // of the playlist in the request, with links resolved; else empty
    Descriptor file_;        // the same, consumed by fill
    PlaylistTable table_;
};

} // namespace mrb
