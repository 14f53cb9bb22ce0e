#include "support/change_events.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace support {
namespace {

bool isChange(const Event &event) {
    return event.event == MRB_EVENT_LIST_CHANGED || event.event == MRB_EVENT_DEVICE_REMOVED;
}

} // namespace

int waitForChange(Client &client) {
    return client
        .waitFor([](const std::vector<Event> &events) { return !events.empty() && isChange(events.back()); })
        .event;
}

std::size_t changeCount(Client &client) {
    const std::vector<Event> events = client.events();
    return static_cast<std::size_t>(std::ranges::count_if(events, isChange));
}

void waitForAllChanges(const Folder &folder) {
    static int round = 0;
    folder.folder("witness");
    Client witness;
    witness.list(folder.path("witness"));
    folder.file("witness/" + std::to_string(++round) + ".jpg");
    EXPECT_EQ(waitForChange(witness), MRB_EVENT_LIST_CHANGED);
}

} // namespace support
