#pragma once

#include <memory>

#include "session/list_session.h"
#include "share/job.h"

namespace mrb {

// Locks or unlocks the selected files: sets their field CONTENT_LOCK, which every list shows,
// also after a restart. Folders cannot be locked. Owned and called as every Job is.
class LockJob final : public Job {
  public:
    LockJob(std::shared_ptr<ListSession> list, Selection selection, bool lock)
        : list_(std::move(list)), selection_(std::move(selection)), lock_(lock) {}

    JobResult run(JobObserver &observer) override;

  private:
    [[nodiscard]] Status mark(const ItemInfo &info) const;

    std::shared_ptr<ListSession> list_;
    Selection selection_;
    bool lock_;
};

} // namespace mrb
