#pragma once

#include <optional>

#include "share/file_copy.h"
#include "share/open_folders.h"
#include "share/origin.h"

namespace mrb {

// The files below a folder of this machine. Owned and called as every Origin is.
class FolderOrigin final : public Origin {
  public:
    // `root` is the absolute path of the list's folder.
    explicit FolderOrigin(std::string root) : root_(std::move(root)) {}

    Outcome begin(const Stopped &isStopped) override;
    [[nodiscard]] bool isThere() override { return place_.isThere(); }
    Outcome open(const ItemFacts &item, const Stopped &isStopped, File &file) override;
    End copy(int destination, const std::function<bool(std::uint64_t)> &moved) override;

    // Of the file that was opened last.
    [[nodiscard]] int number() const { return file_.number(); }

  private:
    const std::string root_;
    Place place_;
    std::optional<FolderWay> way_;
    FileCopier copier_;
    Descriptor file_;
    std::string name_; // of that file
    std::uint64_t size_ = 0;
};

} // namespace mrb
