#pragma once

#include <memory>

#include "agent/opening.h"
#include "share/job.h"
#include "share/locked_items.h"

namespace mrb {

// Marks the selected items as locked or not; folders alone, not what is in them.
// Owned and called as every Job is.
class LockJob final : public Job {
  public:
    LockJob(std::shared_ptr<Opening> list, Selection selection, bool lock, LockedItems &locked)
        : list_(std::move(list)), selection_(std::move(selection)), lock_(lock), locked_(locked) {}

    JobEnd run(JobListener &listener) override;

  private:
    std::shared_ptr<Opening> list_;
    Selection selection_;
    bool lock_;
    LockedItems &locked_;
};

} // namespace mrb
