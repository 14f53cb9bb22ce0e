#include "session/list_events.h"

#include <exception>
#include <utility>

#include "base/log.h"
#include "base/result.h"
#include "text/text.h"

namespace mrb {
namespace {

int lastEventOf(const Status &status) {
    switch (status.code) {
    case MRB_ERR_NONE:
        return MRB_EVENT_LIST_READY;
    case MRB_ERR_CANCELLED:
        return MRB_EVENT_LIST_CANCELLED;
    default:
        return MRB_EVENT_LIST_FAILED;
    }
}

} // namespace

ListEvents::ListEvents(EventThread &thread, mrb_agent_handler_h handle, ListCallback callback,
                       std::shared_ptr<const List> list)
    : thread_(thread), handle_(handle), callback_(callback), list_(std::move(list)) {}

void ListEvents::postGrowth() {
    if (!growthQueued_.exchange(true)) {
        post(MRB_EVENT_LIST_GROWN);
    }
}

int ListEvents::postEnd(FillResult result) {
    result_ = std::move(result);
    const int event = lastEventOf(result_.status);
    if (event == MRB_EVENT_LIST_FAILED) {
        MRB_LOG_ERROR("List %d failed: %s", handle_, result_.status.message.c_str());
    }
    post(event);
    return event;
}

void ListEvents::deliver(int event) noexcept {
    try {
        // Before the count is read: items added from now on cause another event.
        if (event == MRB_EVENT_LIST_GROWN) {
            growthQueued_ = false;
        }
        const std::string data = serverData(event);
        callback_.function(callback_.userData, handle_, event, 0, data.c_str());
    } catch (const std::exception &failure) {
        MRB_LOG_ERROR("Event %d of list %d was not delivered: %s", event, handle_, failure.what());
    }
}

std::string ListEvents::serverData(int event) const {
    Json::Value data(Json::objectValue);
    data["item_count"] = list_->matchCount();
    if (event == MRB_EVENT_LIST_GROWN) {
        const std::int64_t total = expectedTotal_;
        if (total != UNKNOWN) {
            data["total_count"] = Json::Int64{total};
        }
        if (const std::int64_t grouped = grouped_; grouped != UNKNOWN) {
            data["grouped_count"] = Json::Int64{grouped};
        }
        return jsonText(data);
    }
    if (event == MRB_EVENT_LIST_CHANGED || event == MRB_EVENT_DEVICE_REMOVED) {
        return jsonText(data);
    }
    data["unreadable"] = Json::Int64{result_.unreadable};
    data["too_deep"] = Json::Int64{result_.tooDeep};
    data["left_out"] = Json::Int64{result_.leftOut};
    data["left_out_names"] = Json::Value(Json::arrayValue);
    for (const std::string &name : result_.leftOutNames) {
        data["left_out_names"].append(name);
    }
    if (event == MRB_EVENT_LIST_FAILED) {
        data["error"] = resultName(result_.status.code);
        data["message"] = displayText(result_.status.message);
    }
    return jsonText(data);
}

} // namespace mrb
