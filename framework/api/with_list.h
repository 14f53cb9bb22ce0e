#pragma once

#include <memory>

#include "api/c_api.h"
#include "api/session_manager.h"
#include "mrb/agent.h"

namespace mrb {

// Runs `body` with the open list of the handle `agent`; returns its code, or why it did not run.
template <typename Body>
int withList(mrb_agent_handler_h agent, Body &&body) {
    return guard([&] {
        const std::shared_ptr<ListSession> session = SessionManager::instance().find(agent);
        return session ? body(*session) : MRB_ERR_INVALID_HANDLE;
    });
}

} // namespace mrb
