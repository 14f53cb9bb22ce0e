#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/cancellation.h"
#include "camera/camera_service.h"
#include "sources/folder/folder_contents.h"
#include "sources/folder/folder_order.h"
#include "sources/source.h"

namespace mrb {

// Walks a camera's folders once, in the order in which folders of this machine are walked: a
// folder's own files in natural order, then its sub-folders in natural order, each followed by
// its contents. Requests to the camera are small, so that other clients get their turn between
// them. Owned and used by the thread that fills the list.
class CameraScan {
  public:
    // The same depth as for folders of this machine.
    static constexpr int MAX_LEVEL = 100;

    // `device` is the camera's storage id.
    CameraScan(ItemSink &sink, CameraAddress address, std::string device);

    // `root`: a path on the camera.
    FillResult run(const std::string &root);

  private:
    // A folder to be visited.
    struct Pending {
        std::string path; // on the camera
        std::int32_t parent = ROOT_FOLDER;
        int level = 0;
    };
    enum class Step { GO_ON, END };

    Step visit(const Pending &pending);
    Step readContents(const std::string &path, std::int32_t number, int level);
    Step addFiles(const std::string &path, std::int32_t number, int level);
    Step awaitFolders(const std::string &path, std::int32_t number, int level);
    // Collects the names in a folder that a list may hold.
    Status readNames(const std::string &path);
    // Size and time of files of a folder, in order; no value: the file is gone.
    using Statuses = std::vector<std::optional<CameraFileStatus>>;
    Status readStatus(const std::string &path, const std::vector<std::string> &names, Statuses &fileStatus);
    Step failed(const Status &status, const std::string &path, int level);
    Step end(Status status);

    ItemSink &sink_;
    const CameraAddress address_;
    const std::string device_;
    const CancellationToken cancellation_;
    FolderOrder order_;
    // The folder that is being read.
    FolderContents files_;
    FolderContents folders_;
    std::vector<Pending> pending_; // the next one last
    FillResult result_;
};

} // namespace mrb
