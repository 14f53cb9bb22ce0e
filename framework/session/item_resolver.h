#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "library/media_library.h"
#include "library/media_paths.h"
#include "media/item.h"
#include "sources/source.h"

namespace mrb {

// What an item of a list is outside of the list: where it lies, which file it is, and what
// its source says of it. Blanks and headings are nothing there. Owned by the list's session;
// any thread may call it, also while the list is filled.
class ItemResolver {
  public:
    explicit ItemResolver(std::unique_ptr<Source> source) : source_(std::move(source)) {}

    [[nodiscard]] Source &source() { return *source_; }
    [[nodiscard]] const Source &source() const { return *source_; }

    // Looks up on which storage the files of a source lie that stands on a folder, so that no
    // other call waits for its device.
    void prepare() const;

    // How the item can be reached.
    [[nodiscard]] ItemLocation locate(const ItemFacts &facts) const;

    // What the source says of the item; no value: nothing.
    [[nodiscard]] std::optional<ToldFacts> told(const ItemFacts &facts) const;

    // The file that the item is, without a path where it is none, and what its source says of
    // it.
    [[nodiscard]] MediaItem mediaOf(const ItemFacts &facts) const;

  private:
    const MediaPaths &paths(const std::string &root) const;

    const std::unique_ptr<Source> source_;
    mutable std::once_flag pathsMade_;
    // Made by prepare, or when it is first needed where the source stands on no folder.
    mutable std::optional<MediaPaths> paths_;
};

} // namespace mrb
