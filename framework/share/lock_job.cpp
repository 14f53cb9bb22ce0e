#include "share/lock_job.h"

#include <utility>

#include "fields/field_table.h"
#include "mrb/agent.h"
#include "text/text.h"

namespace mrb {

Status LockJob::mark(const ItemInfo &info) const {
    const MediaItem item = list_->items().mediaOf(info);
    if (item.path.empty()) {
        return Status::notSupported("Only files can be locked.");
    }
    return list_->library().writeNow(item, {{CONTENT_LOCK, std::int64_t{lock_ ? 1 : 0}}});
}

JobResult LockJob::run(JobObserver &observer) {
    observer.begins(static_cast<std::uint32_t>(selection_.count()), 0);
    JobResult result{.event = MRB_EVENT_SHARE_DONE, .status = {}, .name = {}};
    std::int32_t left = selection_.count();
    for (std::int32_t item = 0; left > 0; ++item) {
        if (observer.cancellation().isCancelled()) {
            result.event = MRB_EVENT_SHARE_STOPPED;
            break;
        }
        if (selection_.contains(item)) {
            const ItemInfo info = list_->list().infoOf(item);
            const std::string name = displayText(info.name);
            observer.fileBegins(name, 0, 0);
            Status status = mark(info);
            observer.fileEnds(status.ok());
            --left;
            if (status.ok()) {
                ++result.files;
            } else if (result.status.ok()) {
                result = {MRB_EVENT_SHARE_FAILED, std::move(status), name, result.files, 0};
            }
        }
    }
    return result;
}

} // namespace mrb
