#include "support/client.h"

#include <gtest/gtest.h>
#include <json/reader.h>
#include <sys/inotify.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "base/descriptor.h"

namespace support {

bool isLast(mrb_event_e event) {
    return event == MRB_EVENT_LIST_READY || event == MRB_EVENT_LIST_FAILED ||
           event == MRB_EVENT_LIST_CANCELLED;
}

int enter(const Client &client, int index) {
    EXPECT_EQ(mrb_move_to_index_v2(client.handle, index), MRB_ERR_NONE);
    return mrb_set_navigation_v2(client.handle, MRB_NAVIGATION_ENTER);
}

Json::Value parse(const char *text) {
    Json::Value value;
    Json::Reader reader;
    EXPECT_TRUE(text != nullptr && reader.parse(text, value)) << (text != nullptr ? text : "null");
    return value;
}

Client::~Client() {
    if (handle != 0) {
        mrb_disconnect_v2(handle);
    }
}

int Client::open(const ListOptions &options) {
    mrb_general_param_h param = nullptr;
    EXPECT_EQ(mrb_create_general_param(&param), MRB_ERR_NONE);
    mrb_param_set_general_source(param, options.source.c_str());
    mrb_param_set_general_path(param, options.path.c_str());
    mrb_param_set_general_content_type(param, options.contentType.c_str());
    mrb_param_set_general_sort_category(param, options.sortCategory.c_str());
    mrb_param_set_general_extension(param, options.extension.c_str());
    mrb_param_set_general_key_word(param, options.keyWord.c_str());
    if (options.more) {
        options.more(param);
    }
    const int code = mrb_request_list_v2(param, receive, this, &handle);
    EXPECT_EQ(mrb_destroy_general_param(param), MRB_ERR_NONE);
    return code;
}

Event Client::list(const ListOptions &options) {
    EXPECT_EQ(open(options), MRB_ERR_NONE);
    return handle == 0 ? Event{} : waitForEnd();
}

Event Client::waitForEnd(std::size_t nth) {
    return waitFor([nth](const std::vector<Event> &events) {
        const auto ends = std::ranges::count_if(events, [](const Event &e) { return isLast(e.event); });
        return static_cast<std::size_t>(ends) >= nth && isLast(events.back().event);
    });
}

Event Client::waitFor(const std::function<bool(const std::vector<Event> &)> &isEnough) {
    std::unique_lock guard(lock_);
    const bool came = arrived_.wait_for(guard, LIMIT, [&] { return isEnough(events_); });
    EXPECT_TRUE(came) << "the awaited event did not come";
    return came ? events_.back() : Event{};
}

std::vector<Event> Client::events() {
    const std::lock_guard guard(lock_);
    return events_;
}

int Client::count() const {
    int count = -1;
    EXPECT_EQ(mrb_get_item_count_v2(handle, &count), MRB_ERR_NONE);
    return count;
}

int Client::count(int type) const {
    int count = -1;
    EXPECT_EQ(mrb_get_item_count_by_type_v2(handle, type, &count), MRB_ERR_NONE);
    return count;
}

Json::Value Client::item(int index) const {
    char *text = nullptr;
    EXPECT_EQ(mrb_get_item_v2(handle, index, &text), MRB_ERR_NONE);
    const Json::Value value = parse(text);
    std::free(text);
    return value;
}

std::vector<std::string> Client::all(const char *key) const {
    std::vector<std::string> values;
    for (int index = 0; index < count(); ++index) {
        values.push_back(item(index)[key].asString());
    }
    return values;
}

bool instanceIsFree() {
    const auto limit = std::chrono::steady_clock::now() + LIMIT;
    while (std::chrono::steady_clock::now() < limit) {
        const mrb::Descriptor instance(inotify_init1(IN_CLOEXEC));
        if (instance || errno != EMFILE) {
            return true;
        }
        std::this_thread::yield();
    }
    ADD_FAILURE() << "Other programs of this user hold all inotify instances "
                     "(fs.inotify.max_user_instances), and this test needs one. End some of them.";
    return false;
}

bool Client::receive(void *self, mrb_agent_handler_h agent, mrb_event_e event, int /*reserved*/,
                     const char *serverData) {
    auto &client = *static_cast<Client *>(self);
    const Event received{agent, event, parse(serverData), std::this_thread::get_id()};
    {
        const std::lock_guard guard(client.lock_);
        client.events_.push_back(received);
        client.arrived_.notify_all();
    }
    if (client.onEvent) {
        client.onEvent(received);
    }
    return true;
}

} // namespace support
