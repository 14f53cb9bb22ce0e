#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/cancellation.h"
#include "base/mount_identity.h"
#include "share/copy_source.h"
#include "share/file_copy.h"
#include "share/open_folders.h"

namespace mrb {

// Files of this machine below one folder; only regular files are opened. Derived classes
// determine an item's file. Owned and called as every CopySource is.
class LocalCopySource : public CopySource {
  public:
    Status begin(const CancellationToken &cancellation) override;
    [[nodiscard]] bool isThere() override { return rootFolder_.isThere(); }
    CopyResult copy(int destination, const std::function<bool(std::uint64_t)> &moved) override;

    [[nodiscard]] int fd() const override { return file_.fd(); }

  protected:
    enum class LastLink { FOLLOWED, REFUSED };

    // `root` is the folder's absolute path.
    explicit LocalCopySource(std::string root) : root_(std::move(root)) {}

    // Both get a path below the root, names joined with '/', on which no folder may be a link,
    // the mount on which the folder was when it was listed, and the name for error messages.
    // Nothing on another mount is opened.
    Status openFile(std::string_view path, LastLink link, const MountIdentity &mount, const std::string &name,
                    File &file);
    Status openFolder(std::string_view path, const MountIdentity &mount, const std::string &name);

    // The mount on which the root was when it was listed; unknown: any mount.
    [[nodiscard]] virtual MountIdentity mountOfRoot() const { return {}; }

  private:
    int goTo(std::string_view path, const MountIdentity &mount, OpenFolderPtr &folder);

    const std::string root_;
    RootFolder rootFolder_;
    std::optional<DirectoryResolver> resolver_;
    FileCopier copier_;
    // Of the most recently opened file.
    Descriptor file_;
    std::string name_;
    std::uint64_t size_ = 0; // bytes
};

} // namespace mrb
