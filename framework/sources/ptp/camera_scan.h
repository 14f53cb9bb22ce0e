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

// One walk through a camera's folders, in the order in which a folder of this machine is
// walked: a folder's own files in natural order, then its sub-folders in natural order, each
// followed by its contents. The camera is asked in small pieces, between which others have
// their turn. Owned and used by the thread that fills the list.
class CameraScan {
  public:
    // As deep as folders of this machine are read.
    static constexpr int DEEPEST_LEVEL = 100;

    // `device` is the camera's storage id.
    CameraScan(ItemSink &sink, CameraAddress address, std::string device);

    // `root`: a path on the camera.
    FillResult run(const std::string &root);

  private:
    // A folder that is still to be visited.
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
    // The names in a folder that a list may hold.
    Status readNames(const std::string &path);
    // The facts of these files of a folder, one each; no value: the file is gone.
    using Facts = std::vector<std::optional<CameraFileFacts>>;
    Status readFacts(const std::string &path, const std::vector<std::string> &names, Facts &facts);
    Step failed(const Status &outcome, const std::string &path, int level);
    Step end(Status outcome);

    ItemSink &sink_;
    const CameraAddress address_;
    const std::string device_;
    const CancellationToken cancellation_;
    FolderOrder order_;
    // Of the folder that is being read.
    FolderContents files_;
    FolderContents folders_;
    std::vector<Pending> pending_; // the next one last
    FillResult result_;
};

} // namespace mrb
