#pragma once

#include "base/descriptor.h"
#include "sources/folder/folder_mounts.h"
#include "sources/source.h"

namespace mrb {

// A list source: a folder of mass storage with everything in it, sub-folders included. Owned and
// called as every Source is.
class FolderSource final : public Source {
  public:
    // `request.path` is an absolute path, or a file:// URI where the path is not UTF-8.
    static Status make(const ListRequest &request, std::unique_ptr<Source> &source);

    FillResult fill(ItemSink &sink) override;
    [[nodiscard]] ItemLocation locationOf(const ItemInfo &item) const override;
    [[nodiscard]] Status checkAvailable(const ItemInfo &item) const override;
    [[nodiscard]] std::string filePath(const ItemInfo &item) const override;
    [[nodiscard]] MountIdentity mountOf(const ItemInfo &item) const override;
    [[nodiscard]] std::string watchedRoot() const override { return path_.empty() ? "/" : path_; }
    [[nodiscard]] std::optional<ItemInfo> findByMediaId(const std::string &mediaId) const override;

  private:
    FolderSource(std::string path, Descriptor folder);

    const std::string path_; // without a trailing slash; empty for "/"
    Descriptor folder_;      // consumed by fill
    FolderMounts mounts_;
};

} // namespace mrb
