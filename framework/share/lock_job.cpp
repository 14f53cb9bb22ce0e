#include "share/lock_job.h"

#include "mrb/agent.h"
#include "text/text.h"

namespace mrb {

JobEnd LockJob::run(JobListener &listener) {
    listener.begins(static_cast<std::uint32_t>(selection_.count()), 0);
    JobEnd end{.event = MRB_EVENT_SHARE_DONE, .outcome = {}, .name = {}};
    for (std::int32_t item = 0; std::cmp_less(end.files, selection_.count()); ++item) {
        if (listener.stopped()) {
            end.event = MRB_EVENT_SHARE_STOPPED;
            break;
        }
        if (selection_.contains(item)) {
            ListEntry entry;
            entry.facts = list_->list().factsOf(item);
            listener.fileBegins(displayText(entry.facts.name), 0, 0);
            locked_.set(list_->locate(entry).mediaId, lock_);
            listener.fileEnds(true);
            ++end.files;
        }
    }
    return end;
}

} // namespace mrb
