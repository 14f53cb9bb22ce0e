#include "session/grouping_task.h"

namespace mrb {

bool GroupingTask::isDue() {
    if (!isComplete_ || isRunning_ || wanted_ == Grouping::NONE) {
        return false;
    }
    isRunning_ = true;
    return true;
}

bool GroupingTask::request(Grouping grouping) {
    const MutexLock guard(lock_);
    const Grouping wanted = isOfFiles(grouping) && grouping != known_ ? grouping : Grouping::NONE;
    if (wanted != wanted_) {
        wanted_ = wanted;
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
    wanted_ = Grouping::NONE;
    ++turn_;
}

void GroupingTask::abort() {
    const MutexLock guard(lock_);
    wanted_ = Grouping::NONE;
    isRunning_ = false;
}

Grouping GroupingTask::next() {
    const MutexLock guard(lock_);
    isRunning_ = wanted_ != Grouping::NONE;
    known_ = isRunning_ ? Grouping::NONE : known_;
    return wanted_;
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
            known_ = grouping;
            wanted_ = wanted_ == grouping ? Grouping::NONE : wanted_;
        }
    }
}

} // namespace mrb
