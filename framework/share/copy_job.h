#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "session/list_session.h"
#include "share/copy_plan.h"
#include "share/copy_source.h"
#include "share/failures.h"
#include "share/job.h"
#include "share/new_file.h"
#include "share/open_folders.h"

namespace mrb {

// Copies the selected files of a list into a folder, from any source. Files get their names in
// small batches, each file after its bytes are on the device; a file that cannot be read, or that
// the destination cannot hold, is left out and the others go on. Owned and called as every Job
// is.
class CopyJob final : public Job {
  public:
    // Validates the parameters, and opens the destination: the absolute path or file:// URI of a
    // folder.
    static Status make(std::shared_ptr<ListSession> list, Selection selection,
                       std::unique_ptr<CopySource> copySource, const std::string &destination,
                       std::unique_ptr<Job> &job);

    JobResult run(JobObserver &observer) override;

  private:
    // A copied file that waits for its name.
    struct Waiting {
        NewFile file;
        std::string name;
        std::uint64_t size;
    };

    // Whether the copy goes on; if not, result_ has the reason.
    enum class Step { GO_ON, END };

    CopyJob(std::shared_ptr<ListSession> list, Selection selection, std::unique_ptr<CopySource> copySource,
            RootFolder destination);

    bool begin(JobObserver &observer, CopyPlan &plan);
    Step copy(const CopyPlan &plan, JobObserver &observer);
    Step copyItem(const ItemInfo &item, const std::string &common, JobObserver &observer);
    Step copyFile(const CopySource::File &source, const ItemInfo &item, OpenFolderPtr folder,
                  JobObserver &observer);
    [[nodiscard]] bool hasRoom(std::uint64_t bytes) const;
    Step finishWaiting(const JobObserver &observer);
    Step nameWaiting(Waiting &waiting);
    Step saveFolders();

    // A failure of the source skips a file, one of the destination ends the share, unless the
    // destination cannot hold that file only.
    Step copyFailed(const CopyResult &copied, const std::string &name);
    Step sourceFailed(const Status &status, const std::string &name);
    Step destinationFailed(int error, const std::string &name);
    Step end(int event);
    // The last event of a copy that has handled every item.
    [[nodiscard]] int lastEvent();
    [[nodiscard]] bool isDestinationThere();

    std::shared_ptr<ListSession> list_;
    Selection selection_;
    const std::unique_ptr<CopySource> source_;
    RootFolder destination_;
    DirectoryResolver resolver_; // from there
    std::vector<Waiting> waiting_;
    std::uint64_t waitingBytes_ = 0;
    std::vector<OpenFolderPtr> folders_; // new ones, and those in which names were added
    std::chrono::steady_clock::time_point lookedAt_;
    Failures failures_{"Not copied"};
    JobResult result_;
};

} // namespace mrb
