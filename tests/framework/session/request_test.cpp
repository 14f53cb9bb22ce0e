// Requests for lists that are refused, and with which code.

#include <gtest/gtest.h>

#include <sys/stat.h>

#include "support/client.h"
#include "support/folder.h"

using support::Client;
using support::Folder;
using support::ListOptions;

namespace {

void expectRefusal(const ListOptions &options, int code) {
    Client client;
    EXPECT_EQ(client.open(options), code);
    EXPECT_EQ(client.handle, 0);
    EXPECT_TRUE(client.events().empty());
}

bool ignore(void * /*userData*/, mrb_agent_handler_h /*agent*/, mrb_event_e /*event*/, int /*reserved*/,
            const char * /*serverData*/) {
    return true;
}

} // namespace

TEST(Request, AMissingFolderIsNotFound) { expectRefusal({.path = "/nowhere/at/all"}, MRB_ERR_NOT_FOUND); }

TEST(Request, AFileIsNotAFolder) {
    const Folder folder;
    folder.file("a.jpg");
    expectRefusal({.path = folder.path("a.jpg")}, MRB_ERR_NOT_A_FOLDER);
}

TEST(Request, AFolderThatMayNotBeReadIsDenied) {
    const Folder folder;
    folder.folder("locked");
    ASSERT_EQ(chmod(folder.path("locked").c_str(), 0), 0);
    {
        const support::UnprivilegedFiles unprivileged;
        expectRefusal({.path = folder.path("locked")}, MRB_ERR_PERMISSION_DENIED);
    }
    chmod(folder.path("locked").c_str(), 0755);
}

TEST(Request, RelativeEmptyAndOverlongPathsAreInvalid) {
    expectRefusal({.path = ""}, MRB_ERR_INVALID_PARAMETER);
    expectRefusal({.path = "Pictures"}, MRB_ERR_INVALID_PARAMETER);
    expectRefusal({.path = "./Pictures"}, MRB_ERR_INVALID_PARAMETER);
    expectRefusal({.path = "file://elsewhere/Pictures"}, MRB_ERR_INVALID_PARAMETER);
    expectRefusal({.path = "file:///%zz"}, MRB_ERR_INVALID_PARAMETER);
    expectRefusal({.path = "/" + std::string(5000, 'x')}, MRB_ERR_INVALID_PARAMETER);
}

TEST(Request, AnUnknownSourceIsInvalid) {
    expectRefusal({.path = "/tmp", .source = "SOURCE_CLOUD"}, MRB_ERR_INVALID_PARAMETER);
    expectRefusal({.path = "/tmp", .source = "source_msc"}, MRB_ERR_INVALID_PARAMETER);
    expectRefusal({.path = "/tmp", .source = ""}, MRB_ERR_INVALID_PARAMETER);
}

TEST(Request, ACameraThatIsNotAttachedIsNotFound) {
    expectRefusal({.path = "/tmp", .source = "SOURCE_PTP"}, MRB_ERR_NOT_FOUND);
}

TEST(Request, OptionsThatWouldBeIgnoredAreNotSupported) {
    expectRefusal({.path = "/tmp", .contentType = "image"}, MRB_ERR_NOT_SUPPORTED);
    expectRefusal({.path = "/tmp", .contentType = "BOOKS"}, MRB_ERR_NOT_SUPPORTED);
    for (const char *category :
         {"RATING", "name", "NAME UP", "DESC", " DESC", "-", "NAME  DESC", "NAME-DESC"}) {
        expectRefusal({.path = "/tmp", .sortCategory = category}, MRB_ERR_NOT_SUPPORTED);
    }
    const ListOptions options[] = {
        {.path = "/tmp", .more = [](auto param) { mrb_param_set_general_prepare_data(param, "all"); }},
        {.path = "/tmp", .more = [](auto param) { mrb_param_set_general_is_uhd_meta(param, true); }},
    };
    for (const ListOptions &each : options) {
        expectRefusal(each, MRB_ERR_NOT_SUPPORTED);
    }
}

TEST(Request, FiltersThatFilterNothingAreInvalid) {
    const ListOptions options[] = {
        {.path = "/tmp", .more = [](auto param) { mrb_param_set_general_extension(param, " ,;."); }},
        {.path = "/tmp", .more = [](auto param) { mrb_param_set_general_key_word(param, "\u0301"); }},
    };
    for (const ListOptions &each : options) {
        expectRefusal(each, MRB_ERR_INVALID_PARAMETER);
    }
}

TEST(Request, NullArgumentsAreInvalid) {
    mrb_general_param_h param = nullptr;
    ASSERT_EQ(mrb_create_general_param(&param), MRB_ERR_NONE);
    mrb_agent_handler_h handle = 0;
    EXPECT_EQ(mrb_request_list_v2(nullptr, ignore, nullptr, &handle), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(mrb_request_list_v2(param, nullptr, nullptr, &handle), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(mrb_request_list_v2(param, ignore, nullptr, nullptr), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(mrb_get_item_v2(1, 0, nullptr), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(mrb_get_item_count_v2(1, nullptr), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(mrb_get_group_count_v2(1, nullptr), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(mrb_set_page_style_v2(1, nullptr), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(mrb_get_navigation_v2(1, nullptr), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(mrb_get_page_index_v2(1, nullptr, &handle), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(mrb_get_page_index_v2(1, "msc:/a", nullptr), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(mrb_get_item_count_by_type_v2(1, MRB_ITEM_TYPE_IMAGE, nullptr), MRB_ERR_INVALID_PARAMETER);
    mrb_destroy_general_param(param);
}

TEST(Request, UnknownHandlesAreInvalid) {
    for (const mrb_agent_handler_h handle : {0, -1, 2'000'000'000}) {
        int count = -1;
        char *text = nullptr;
        EXPECT_EQ(mrb_get_item_count_v2(handle, &count), MRB_ERR_INVALID_HANDLE);
        EXPECT_EQ(mrb_get_item_count_by_type_v2(handle, MRB_ITEM_TYPE_IMAGE, &count), MRB_ERR_INVALID_HANDLE);
        EXPECT_EQ(mrb_get_group_count_v2(handle, &count), MRB_ERR_INVALID_HANDLE);
        EXPECT_EQ(mrb_get_item_v2(handle, 0, &text), MRB_ERR_INVALID_HANDLE);
        EXPECT_EQ(mrb_move_to_index_v2(handle, 0), MRB_ERR_INVALID_HANDLE);
        EXPECT_EQ(mrb_set_navigation_v2(handle, MRB_NAVIGATION_FLAT), MRB_ERR_INVALID_HANDLE);
        EXPECT_EQ(mrb_get_navigation_v2(handle, &count), MRB_ERR_INVALID_HANDLE);
        EXPECT_EQ(mrb_get_page_index_v2(handle, "msc:/a", &count), MRB_ERR_INVALID_HANDLE);
        EXPECT_EQ(mrb_cancel_request_list_v2(handle), MRB_ERR_INVALID_HANDLE);
        EXPECT_EQ(mrb_disconnect_v2(handle), MRB_ERR_INVALID_HANDLE);
    }
}

TEST(Request, AnUnknownHandleCannotBeReopened) {
    Client client;
    client.handle = 2'000'000'000;
    EXPECT_EQ(client.open("/tmp"), MRB_ERR_INVALID_HANDLE);
    client.handle = 0;
}

TEST(Request, AClosedHandleIsUnknown) {
    const Folder folder;
    Client client;
    client.list(folder.path());
    const mrb_agent_handler_h handle = std::exchange(client.handle, 0);
    EXPECT_EQ(mrb_disconnect_v2(handle), MRB_ERR_NONE);
    EXPECT_EQ(mrb_disconnect_v2(handle), MRB_ERR_INVALID_HANDLE);
}

TEST(Request, HandlesArePositiveAndIncrease) {
    const Folder folder;
    Client first;
    Client second;
    first.list(folder.path());
    second.list(folder.path());
    EXPECT_GT(first.handle, 0);
    EXPECT_GT(second.handle, first.handle);
}
