#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "agent/opening.h"
#include "share/copy_plan.h"
#include "share/file_copy.h"
#include "share/job.h"
#include "share/new_file.h"
#include "share/open_folders.h"

namespace mrb {

// Copies the selected files of a list into a folder. Files get their names in small
// batches, each file after its bytes are on the device; a file that cannot be read,
// or that the destination cannot hold, is left out and the others go on. Owned and
// called as every Job is.
class CopyJob final : public Job {
  public:
    // Checks what can be checked at once, and opens the destination.
    static Outcome make(std::shared_ptr<Opening> list, Selection selection, const std::string &destination,
                        std::unique_ptr<Job> &job);

    JobEnd run(JobListener &listener) override;

  private:
    // A copied file that waits for its name.
    struct Waiting {
        NewFile file;
        std::string name;
        std::uint64_t size;
    };

    // Whether there is a point in going on; if not, end_ says why.
    enum class Step { GO_ON, END };

    CopyJob(std::shared_ptr<Opening> list, Selection selection, Place destination);

    bool begin(JobListener &listener, CopyPlan &plan);
    Step copy(const CopyPlan &plan, JobListener &listener);
    Step copyItem(const ItemFacts &item, const std::string &common, JobListener &listener);
    Step copyFile(const Descriptor &source, const ItemFacts &item, OpenFolderPtr folder,
                  JobListener &listener);
    Step finishWaiting(const JobListener &listener);
    Step nameWaiting(Waiting &waiting);
    Step saveFolders();

    // The source's failures cost a file, the destination's the whole share, unless
    // it is the file that it cannot hold.
    Step sourceFailed(int error, const std::string &name);
    Step destinationFailed(int error, const std::string &name);
    void remember(const Outcome &outcome, const std::string &name);
    Step end(int event);
    // Of a copy that looked at every item.
    [[nodiscard]] int lastEvent() const;
    [[nodiscard]] bool isDestinationThere();

    std::shared_ptr<Opening> list_;
    Selection selection_;
    Place destination_;
    Place source_;
    std::optional<FolderWay> sourceWay_;
    std::optional<FolderWay> destinationWay_;
    FileCopier copier_;
    std::vector<Waiting> waiting_;
    std::uint64_t waitingBytes_ = 0;
    std::vector<OpenFolderPtr> folders_; // which names were added to, or which are new
    std::chrono::steady_clock::time_point lookedAt_;
    std::uint64_t failures_ = 0;
    JobEnd end_;
};

} // namespace mrb
