#pragma once

#include <memory>
#include <string>

#include "base/cancellation.h"
#include "dlna/dlna_service.h"
#include "dlna/transfers.h"
#include "session/list_session.h"
#include "share/copy_plan.h"
#include "share/copy_source.h"
#include "share/failures.h"
#include "share/job.h"
#include "share/spooled_file.h"

namespace mrb {

// Uploads the selected files of a list to a DLNA server, one after the other. A file that cannot
// be read, or that the server refuses, is left out and the others go on. Owned and called as
// every Job is.
class UploadJob final : public Job {
  public:
    // `container` is the id of the container on the server for the files; empty: the server
    // chooses.
    UploadJob(std::shared_ptr<ListSession> list, Selection selection, std::unique_ptr<CopySource> copySource,
              dlna::DlnaService::Found server, std::string container);

    JobResult run(JobObserver &observer) override;

  private:
    // Whether the upload goes on; if not, result_ has the reason.
    enum class Step { GO_ON, END };

    Step begin(JobObserver &observer);
    Step send(const ItemInfo &item, JobObserver &observer);
    Status fetch(const std::string &name, const CancellationToken &cancellation, SpooledFile &spooled,
                 dlna::Upload &file);
    Step failed(const Status &status, const std::string &name);
    Step end(int event);

    const std::shared_ptr<ListSession> list_;
    const Selection selection_;
    const std::unique_ptr<CopySource> source_;
    const dlna::DlnaService::Found server_;
    const std::string container_;
    CopyPlan plan_;
    std::unique_ptr<dlna::Transfers> transfers_;
    Failures failures_{"Not sent"};
    JobResult result_;
};

} // namespace mrb
