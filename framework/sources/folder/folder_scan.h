#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "base/descriptor.h"
#include "base/pages.h"
#include "sources/folder/folder_contents.h"
#include "sources/folder/folder_mounts.h"
#include "sources/folder/folder_order.h"
#include "sources/folder/folder_reader.h"
#include "sources/source.h"

namespace mrb {

// Walks a folder and everything below it once. A folder's own files come first, in natural order,
// then its sub-folders in natural order, each followed by its contents. Files first, because the
// scan then holds only the folders still to be visited, the top folder's files can be shown at
// once, and the files of one folder are adjacent. Owned and used by the thread that fills the
// list.
class FolderScan {
  public:
    // The deepest folder that is read, counted from the scanned one (level 0).
    // Cameras and players make a handful of levels; only a damaged disk has more.
    static constexpr int MAX_LEVEL = 100;

    // `path` is the scanned folder's, for messages. `mounts` gets each folder that is read.
    FolderScan(ItemSink &sink, const std::string &path, FolderMounts *mounts = nullptr);

    FillResult run(Descriptor folder);

  private:
    // A folder to be visited. All sub-folders of one folder share its descriptor, which is closed
    // with the last of them: a chain of folders of any length needs two descriptors.
    struct Pending {
        std::shared_ptr<Descriptor> parent;
        std::size_t name = 0; // where in names_ it begins; it ends at the next one, or at the end
        std::int32_t parentFolder = ROOT_FOLDER;
        int level = 0;
    };

    // The result of a step: go on, or end the scan with the status of result_.
    enum class Step { GO_ON, END };

    Step visitNext();
    Step readContents(const std::shared_ptr<Descriptor> &folder, std::int32_t number, int level,
                      const std::string &name);
    Step failed(int error, int level, const std::string &name);
    // Both return false when the sink was cancelled or is full.
    [[nodiscard]] bool addFiles(const Descriptor &folder, std::int32_t number, int &failure);
    [[nodiscard]] bool awaitFolders(const std::shared_ptr<Descriptor> &folder, std::int32_t number,
                                    int level);
    // Adds the files in the span. The error of a file is put into `failure` unless that holds
    // one.
    [[nodiscard]] bool add(const Descriptor &folder, std::span<const std::uint32_t> files,
                           std::int32_t number, int &failure);
    Step end(Status status);

    ItemSink &sink_;
    const std::string &path_;
    FolderMounts *mounts_;
    FolderReader reader_;
    FolderOrder order_;
    // The folder that is being read; reused for the next one.
    FolderContents files_;
    FolderContents folders_;
    PagedVector<Pending> pending_; // the next one last
    PagedVector<char> names_;      // their names, in the same order
    FillResult result_;
};

} // namespace mrb
