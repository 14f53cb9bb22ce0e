#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/cancellation.h"
#include "base/mount_identity.h"
#include "share/file_copy.h"
#include "share/open_folders.h"
#include "share/origin.h"

namespace mrb {

// Files of this machine below one folder, each opened as the regular file that it has to be.
// Which of them an item is, the classes derived from it say. Owned and called as every
// Origin is.
class LocalOrigin : public Origin {
  public:
    Status begin(const CancellationToken &cancellation) override;
    [[nodiscard]] bool isThere() override { return place_.isThere(); }
    End copy(int destination, const std::function<bool(std::uint64_t)> &moved) override;

    [[nodiscard]] int number() const override { return file_.number(); }

  protected:
    enum class LastLink { FOLLOWED, REFUSED };

    // `root` is the folder's absolute path.
    explicit LocalOrigin(std::string root) : root_(std::move(root)) {}

    // Both take a path below the root, names joined with '/', on which no folder may be a
    // link, the mount on which the folder there was when it was listed, and the name by which a
    // failure speaks of what is there. Nothing of another mount is opened.
    Status openFile(std::string_view path, LastLink link, const MountIdentity &mount, const std::string &name,
                    File &file);
    Status openFolder(std::string_view path, const MountIdentity &mount, const std::string &name);

    // On which mount the root was when it was listed; not known: it does not matter.
    [[nodiscard]] virtual MountIdentity mountOfRoot() const { return {}; }

  private:
    int goTo(std::string_view path, const MountIdentity &mount, OpenFolderPtr &folder);

    const std::string root_;
    Place place_;
    std::optional<FolderWay> way_;
    FileCopier copier_;
    // Of the file that was opened last.
    Descriptor file_;
    std::string name_;
    std::uint64_t size_ = 0; // bytes
};

} // namespace mrb
