#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "list/folder_table.h"
#include "sources/playlist/playlist_reader.h"
#include "sources/playlist/playlist_roots.h"
#include "sources/source.h"

namespace mrb {

// Searches a folder and everything below it for playlists, and reads each when it is found. Owned
// and used by the thread that fills the list.
class PlaylistSearch final : private ItemSink {
  public:
    PlaylistSearch(ItemSink &sink, PlaylistReader &reader, PlaylistRoot root)
        : sink_(sink), reader_(reader), root_(std::move(root)) {}

    // Returns what was left out; a folder that cannot be searched is counted.
    FillResult run();

  private:
    [[nodiscard]] bool wants(std::uint8_t type) const override;
    [[nodiscard]] const CancellationToken &cancellation() const override { return sink_.cancellation(); }
    void setExpectedTotal(std::int64_t /*total*/) override {}
    std::int32_t addFolder(std::int32_t parent, std::string_view name) override;
    [[nodiscard]] bool add(std::span<const SourceItem> items) override;

    ItemSink &sink_;
    PlaylistReader &reader_;
    const PlaylistRoot root_;
    FolderTable folders_; // the folders visited so far
};

} // namespace mrb
