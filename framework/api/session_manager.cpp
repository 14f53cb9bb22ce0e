#include "api/session_manager.h"

#include <limits>
#include <utility>

#include "base/log.h"
#include "base/on_demand.h"
#include "base/process_exit.h"

namespace mrb {

SessionManager &SessionManager::instance() {
    // Objects that outlive this library's static ones may still close their lists. What must
    // end with the process is its threads.
    static OnDemand<SessionManager> sessions;
    return sessions.get([] {
        auto *made = new SessionManager;
        finishAtExit(finish);
        return made;
    });
}

int SessionManager::open(const ListRequest &request, ListCallback callback, mrb_agent_handler_h *handle) {
    const std::shared_ptr<ListSession> before = find(*handle);
    if (*handle != 0 && !before) {
        return MRB_ERR_INVALID_HANDLE;
    }
    std::unique_ptr<Source> source;
    ListOptions options;
    Status status = parseListOptions(request, options);
    if (status.ok()) {
        status = makeSource(request, source);
    }
    if (!status.ok()) {
        MRB_LOG_WARNING("List not opened: %s", status.message.c_str());
        return status.code;
    }
    const mrb_agent_handler_h number = before ? *handle : reserveHandle();
    if (number == 0) {
        return MRB_ERR_NOT_INITIALIZED;
    }
    std::shared_ptr<ListSession> session;
    try {
        session =
            std::make_shared<ListSession>(services_, number, callback, std::move(source), std::move(options));
        events_.start();
        threads_.start([session] { session->run(); });
    } catch (...) {
        if (!before) {
            releaseHandle(number);
        }
        throw;
    }
    // Nothing can fail from here on.
    if (before) {
        before->close();
    }
    {
        const MutexLock guard(lock_);
        sessions_[number] = session;
        if (down_) {
            session->cancel();
        }
    }
    *handle = number;
    session->begin();
    return MRB_ERR_NONE;
}

int SessionManager::cancel(mrb_agent_handler_h handle) {
    const std::shared_ptr<ListSession> session = find(handle);
    if (!session) {
        return MRB_ERR_INVALID_HANDLE;
    }
    session->cancel();
    return MRB_ERR_NONE;
}

int SessionManager::disconnect(mrb_agent_handler_h handle) {
    const std::shared_ptr<ListSession> session = find(handle);
    if (!session) {
        return MRB_ERR_INVALID_HANDLE;
    }
    session->close();
    releaseHandle(handle);
    return MRB_ERR_NONE;
}

std::shared_ptr<ListSession> SessionManager::find(mrb_agent_handler_h handle) {
    const MutexLock guard(lock_);
    const auto found = sessions_.find(handle);
    return found == sessions_.end() ? nullptr : found->second;
}

mrb_agent_handler_h SessionManager::reserveHandle() {
    const MutexLock guard(lock_);
    if (down_) {
        return 0;
    }
    do {
        const bool last = lastHandle_ == std::numeric_limits<mrb_agent_handler_h>::max();
        lastHandle_ = last ? 1 : lastHandle_ + 1;
    } while (!sessions_.try_emplace(lastHandle_).second);
    return lastHandle_;
}

void SessionManager::releaseHandle(mrb_agent_handler_h handle) {
    const MutexLock guard(lock_);
    sessions_.erase(handle);
}

bool SessionManager::finish(std::chrono::steady_clock::time_point deadline) {
    return instance().shutDown(deadline);
}

bool SessionManager::shutDown(std::chrono::steady_clock::time_point deadline) {
    {
        const MutexLock guard(lock_);
        down_ = true;
        for (const auto &[handle, session] : sessions_) {
            if (session) {
                session->cancel();
            }
        }
    }
    shares_.shutDown();
    // Each is ended, even if the one before was not in time.
    bool isFinished = events_.finish(deadline);
    isFinished = threads_.finish(deadline) && isFinished;
    isFinished = shares_.finish(deadline) && isFinished;
    isFinished = watchThread_.finish(deadline) && isFinished;
    isFinished = library_.finish(deadline) && isFinished;
    // Detached threads may still use the cache.
    if (isFinished) {
        library_.close();
    }
    return isFinished;
}

} // namespace mrb
