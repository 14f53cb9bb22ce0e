#include "session/grouping_task.h"

namespace mrb {

bool GroupingTask::isDue() {
    if (!isComplete_ || isRunning_ || requested_ == Grouping::NONE) {
        return false;
    }
    isRunning_ = true;
    return true;
}

bool GroupingTask::request(Grouping grouping) {
    const MutexLock guard(lock_);
    const Grouping requested = isOfFiles(grouping) && grouping != lastRead_ ? grouping : Grouping::NONE;
    if (requested != requested_) {
        requested_ = requested;
        ++turn_;
    }
    return isDue();
}

bool GroupingTask::listIsComplete() {
    const MutexLock guard(lock_);
    isComplete_ = true;
    return isDue();
}

void GroupingTask::cancel() {
    const MutexLock guard(lock_);
    requested_ = Grouping::NONE;
    ++turn_;
}

void GroupingTask::abort() {
    const MutexLock guard(lock_);
    requested_ = Grouping::NONE;
    isRunning_ = false;
}

Grouping GroupingTask::next() {
    const MutexLock guard(lock_);
    isRunning_ = requested_ != Grouping::NONE;
    lastRead_ = isRunning_ ? Grouping::NONE : lastRead_;
    return requested_;
}

void GroupingTask::run(const Read &read) {
    for (;;) {
        // In this order: a request that arrives after next() changes the turn.
        const std::uint32_t turn = turn_;
        const Grouping grouping = next();
        if (grouping == Grouping::NONE) {
            return;
        }
        const bool isRead = read(grouping, [this, turn] { return turn_ != turn; });
        const MutexLock guard(lock_);
        if (isRead) {
            lastRead_ = grouping;
            requested_ = requested_ == grouping ? Grouping::NONE : requested_;
        }
    }
}

} // namespace mrb
