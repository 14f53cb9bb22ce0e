// The part of an opening that reads its files when the view is grouped by what they say.

#include <exception>
#include <memory>
#include <utility>

#include "base/log.h"
#include "fields/file_groups.h"
#include "session/opening.h"
#include "session/workers.h"

namespace mrb {

int Opening::setStyle(const PageStyle &style) {
    const int code = list_.setStyle(style);
    if (code != MRB_ERR_NONE || !groupReading_.want(style.grouping)) {
        return code;
    }
    try {
        workers_->start([self = shared_from_this()] { self->readGroups(); });
    } catch (...) {
        groupReading_.cannotRun();
        throw;
    }
    return code;
}

void Opening::readGroups() noexcept {
    try {
        groupReading_.run([this](Grouping grouping, const std::function<bool()> &isStopped) {
            grouped_ = 0;
            const auto fileOf = [this](const ItemFacts &facts) { return mediaOf(facts); };
            const auto publish = [this](FileGroups groups, std::int32_t known) {
                list_.setFileGroups(std::make_shared<const FileGroups>(std::move(groups)));
                grouped_ = known;
                if (!removed_) {
                    postGrowth();
                }
            };
            // Without the lock: nobody changes the store of a complete list.
            return readFileGroups(list_.store(), grouping, library(), fileOf, isStopped, publish);
        });
    } catch (const std::exception &failure) {
        MRB_LOG_ERROR("The groups of list %d were not read: %s", handle_, failure.what());
        groupReading_.cannotRun();
    }
}

} // namespace mrb
