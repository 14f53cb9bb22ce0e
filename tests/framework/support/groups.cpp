#include "support/groups.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace support {
std::ptrdiff_t completions(const std::vector<Event> &events) {
    return std::ranges::count_if(events, [](const Event &event) {
        return event.event == MRB_EVENT_LIST_GROWN &&
               event.data.get("grouped_count", -1) == event.data["item_count"];
    });
}

int groupBy(const Client &client, int style, int group) {
    mrb_page_param_h param = nullptr;
    EXPECT_EQ(mrb_create_page_param(&param), MRB_ERR_NONE);
    mrb_param_set_page_style_mask(param, style);
    mrb_param_set_page_style_group_index(param, group);
    const int code = mrb_set_page_style_v2(client.handle, param);
    mrb_destroy_page_param(param);
    return code;
}

void waitForGroups(Client &client, std::ptrdiff_t times) {
    client.waitFor([&](const std::vector<Event> &events) { return completions(events) >= times; });
}

std::vector<std::string> headings(const Client &client) {
    std::vector<std::string> texts;
    for (int index = 0; index < client.count(); ++index) {
        const Json::Value item = client.item(index);
        texts.push_back(item["name"].asString() + ": " + item["item_count"].asString());
    }
    return texts;
}

} // namespace support
