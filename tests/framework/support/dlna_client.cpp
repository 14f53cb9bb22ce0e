#include "support/dlna_client.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <thread>

namespace support {

DlnaClient::DlnaClient() {
    EXPECT_EQ(mrb_set_dlna_callback(receive, this), MRB_ERR_NONE);
    EXPECT_EQ(mrb_Init_dlna_service(receiveState, this), MRB_ERR_NONE);
    std::unique_lock guard(lock_);
    EXPECT_TRUE(changed_.wait_for(guard, LIMIT, [&] { return started_; }));
}

DlnaClient::~DlnaClient() {
    mrb_finalize_dlna_service(receiveState, this);
    mrb_unset_dlna_callback();
}

std::string DlnaClient::server() {
    std::unique_lock guard(lock_);
    EXPECT_TRUE(changed_.wait_for(guard, LIMIT, [&] { return !id_.empty(); }));
    return id_;
}

void DlnaClient::waitUntilItLeaves() {
    std::unique_lock guard(lock_);
    EXPECT_TRUE(changed_.wait_for(guard, LIMIT, [&] { return left_; }));
}

void DlnaClient::receiveState(int state, void *self) {
    auto &client = *static_cast<DlnaClient *>(self);
    const std::lock_guard guard(client.lock_);
    client.started_ = state == MRB_SERVICE_STATE_STARTED;
    client.changed_.notify_all();
}

void DlnaClient::receive(void *self, mrb_storage_event_e event, _mrb_storage_s *&storage) {
    auto &client = *static_cast<DlnaClient *>(self);
    const std::lock_guard guard(client.lock_);
    client.id_ = mrb_storage_get_id(storage);
    client.left_ = event != MRB_STORAGE_EVENT_ADDED;
    client.changed_.notify_all();
}

void DlnaTest::listAll(Client &client, const ListOptions &options, int expected) {
    const auto deadline = std::chrono::steady_clock::now() + LIMIT;
    std::size_t ends = 0;
    int count = -1;
    while (count != expected && std::chrono::steady_clock::now() < deadline) {
        const int code = client.open(options);
        if (code == MRB_ERR_NOT_FOUND) {
            std::this_thread::yield();
            continue;
        }
        ASSERT_EQ(code, MRB_ERR_NONE);
        const Event end = client.waitForEnd(++ends);
        const Json::Value &error = end.data["error"];
        const bool isGone = error == "MRB_ERR_DEVICE_REMOVED";
        ASSERT_TRUE(end.event == MRB_EVENT_LIST_READY || isGone || error == "MRB_ERR_PROTOCOL")
            << end.data.toStyledString();
        count = isGone ? -1 : client.count();
    }
    ASSERT_EQ(count, expected);
}

bool DlnaTest::insideNetwork() {
    if (!inside(Surroundings::NETWORK)) {
        return false;
    }
    EXPECT_EQ(std::system("ip link set lo up"), 0);
    return true;
}

} // namespace support
