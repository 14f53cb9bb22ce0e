// The seam as a whole: everything declared is exported, parameter objects are
// real, and what is to come answers exactly that.

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>

#include "mrb/agent.h"
#include "mrb/share.h"
#include "mrb/storage.h"
#include "mrb/thumbnail.h"

namespace {

bool onList(void * /*u*/, mrb_agent_handler_h /*a*/, mrb_event_e /*e*/, int /*r*/, const char * /*s*/) {
    return true;
}
void onStorage(void * /*u*/, mrb_storage_event_e /*e*/, _mrb_storage_s *& /*s*/) {}
void onDlna(mrb_asf_serviceconnector_state_e /*s*/, void * /*u*/) {}

std::string readAll(const std::string &path) {
    std::ifstream file(path);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

std::set<std::string> declaredFunctions() {
    std::set<std::string> names;
    // A name right before a parenthesis, where a declaration begins a line.
    const std::regex declaration(
        R"(\n(?:const |long |unsigned |_mrb_storage_s )?[a-z_]+ [a-z *]*\*?((?:mrb|thumbnail)_\w+)\()");
    for (const char *header : {"agent.h", "share.h", "storage.h", "thumbnail.h"}) {
        std::string text = readAll(std::string(PLATFORM_FOLDER) + "/mrb/" + header);
        text = std::regex_replace(text, std::regex(R"(_mrb_storage_s \*)"), "void *");
        for (std::sregex_iterator match(text.begin(), text.end(), declaration), none; match != none;
             ++match) {
            names.insert((*match)[1]);
        }
    }
    return names;
}

std::set<std::string> exportedSymbols() {
    std::set<std::string> names;
    const std::string command = "nm -D --defined-only '" MRB_LIBRARY_FILE "'";
    FILE *pipe = popen(command.c_str(), "r");
    char line[512];
    while (pipe != nullptr && fgets(line, sizeof line, pipe) != nullptr) {
        const std::string text(line);
        const std::string name = text.substr(text.rfind(' ') + 1);
        names.insert(name.substr(0, name.find('\n')));
    }
    EXPECT_EQ(pclose(pipe), 0);
    return names;
}

constexpr int INVALID = MRB_ERR_INVALID_PARAMETER;

} // namespace

TEST(Interface, ExportsTheDeclaredFunctionsAndNothingElse) {
    const std::set<std::string> declared = declaredFunctions();
    EXPECT_GE(declared.size(), 100U);
    EXPECT_EQ(exportedSymbols(), declared);
}

TEST(Interface, ItemFieldsNeedAnOpenList) {
    long long large = 0;
    double real = 0;
    int number = 0;
    bool flag = false;
    char *text = nullptr;
    EXPECT_EQ(mrb_get_item_value_lint_v2(0, "SIZE", &large), MRB_ERR_INVALID_HANDLE);
    EXPECT_EQ(mrb_get_item_value_double_v2(0, "LATITUDE", &real), MRB_ERR_INVALID_HANDLE);
    EXPECT_EQ(mrb_get_item_value_time_v2(0, "ADDED_TIME", &number), MRB_ERR_INVALID_HANDLE);
    EXPECT_EQ(mrb_get_item_value_char_v2(0, "TITLE", &text), MRB_ERR_INVALID_HANDLE);
    EXPECT_EQ(mrb_get_item_value_int_v2(0, "WIDTH", &number), MRB_ERR_INVALID_HANDLE);
    EXPECT_EQ(mrb_get_item_value_bool_v2(0, "IS_DRM", &flag), MRB_ERR_INVALID_HANDLE);
    EXPECT_EQ(mrb_set_item_value_char_v2(0, "TITLE", "t"), MRB_ERR_INVALID_HANDLE);
    EXPECT_EQ(mrb_set_item_value_int_v2(0, "PLAYED_COUNT", 1), MRB_ERR_INVALID_HANDLE);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(mrb_get_item_value_int_v2(1, nullptr, &number), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(mrb_get_item_value_int_v2(1, "WIDTH", nullptr), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(mrb_set_item_value_char_v2(1, "TITLE", nullptr), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(mrb_set_item_value_int_v2(1, nullptr, 1), MRB_ERR_INVALID_PARAMETER);
}

TEST(Interface, AnImageIsNotStoredWithoutAPath) {
    mrb_thumbnail_flash_cache_param_h param = nullptr;
    ASSERT_NE(mrb_create_thumbnail_flash_cache_param(&param), 0);
    EXPECT_EQ(mrb_set_thumbnail_flash_cache_filename(param, "a"), MRB_ERR_NONE);
    EXPECT_EQ(mrb_set_thumbnail_flash_cache_url(param, ""), MRB_ERR_NONE);
    EXPECT_EQ(mrb_set_thumbnail_flash_cache_xsize(param, 1), MRB_ERR_NONE);
    EXPECT_EQ(mrb_set_thumbnail_flash_cache_ysize(param, 1), MRB_ERR_NONE);
    const unsigned char pixel[4] = {};
    EXPECT_EQ(mrb_thumbnail_flash_cache_save_file(param, pixel, nullptr), 0);
    EXPECT_EQ(mrb_destroy_thumbnail_flash_cache_param(param), MRB_ERR_NONE);
    EXPECT_EQ(mrb_create_thumbnail_flash_cache_param(nullptr), 0);
}

TEST(Interface, MediaServersNeedTheServiceAndItsCallbacks) {
    mrb_storage_list_h list = nullptr;
    EXPECT_EQ(mrb_get_dlna_list(nullptr), INVALID);
    EXPECT_EQ(mrb_get_dlna_list(&list), MRB_ERR_NOT_INITIALIZED);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(mrb_set_dlna_callback(nullptr, nullptr), INVALID);
    EXPECT_EQ(mrb_unset_dlna_callback(), MRB_ERR_NONE);
    EXPECT_EQ(mrb_Init_dlna_service(nullptr, nullptr), INVALID);
    EXPECT_EQ(mrb_finalize_dlna_service(onDlna, nullptr), MRB_ERR_NOT_INITIALIZED);
}

TEST(Interface, DevicesAreOfTwoKindsAndACallbackIsNeeded) {
    mrb_storage_list_h list = nullptr;
    EXPECT_EQ(mrb_get_usb_list(0, &list), INVALID);
    EXPECT_EQ(mrb_get_usb_list(3, &list), INVALID);
    EXPECT_EQ(mrb_get_usb_list(MRB_STORAGE_KIND_USB, nullptr), INVALID);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(mrb_set_usb_callback(nullptr, nullptr), INVALID);
}

TEST(Interface, ADeviceCallbackMayBeRemovedWithoutBeingSet) {
    EXPECT_EQ(mrb_unset_usb_callback(), MRB_ERR_NONE);
    EXPECT_EQ(mrb_set_usb_callback(onStorage, nullptr), MRB_ERR_NONE);
    EXPECT_EQ(mrb_unset_usb_callback(), MRB_ERR_NONE);
    EXPECT_EQ(mrb_unset_usb_callback(), MRB_ERR_NONE);
}

TEST(Interface, AListHasNoRecordBeyondItsEnds) {
    for (const int kind : {MRB_STORAGE_KIND_USB, MRB_STORAGE_KIND_PTP}) {
        mrb_storage_list_h list = nullptr;
        ASSERT_EQ(mrb_get_usb_list(kind, &list), MRB_ERR_NONE);
        EXPECT_EQ(mrb_storage_get_storage(-1, list), nullptr);
        EXPECT_EQ(mrb_storage_get_storage(mrb_storage_get_list_count(list), list), nullptr);
        EXPECT_EQ(mrb_storage_list_destory(list), MRB_ERR_NONE);
    }
}

TEST(Interface, ANullRecordHasEmptyFields) {
    EXPECT_EQ(mrb_storage_get_list_count(nullptr), 0);
    EXPECT_EQ(mrb_storage_get_storage(0, nullptr), nullptr);
    EXPECT_EQ(mrb_storage_list_destory(nullptr), INVALID);
    for (const auto getter :
         {mrb_storage_get_id, mrb_storage_get_name, mrb_storage_get_mountpath, mrb_storage_get_serialnumber,
          mrb_storage_get_vendor, mrb_storage_get_partitionlabel, mrb_storage_get_ip}) {
        EXPECT_STREQ(getter(nullptr), "");
    }
    for (const auto getter : {mrb_storage_get_filesystem, mrb_storage_get_index, mrb_storage_get_address,
                              mrb_storage_get_bus, mrb_storage_get_class}) {
        EXPECT_EQ(getter(nullptr), 0);
    }
    EXPECT_EQ(mrb_storage_get_availablesize(nullptr), 0);
    EXPECT_EQ(mrb_storage_get_totalsize(nullptr), 0);
    EXPECT_FALSE(mrb_storage_get_bOrvaneDevice(nullptr));
}

TEST(Interface, NullParameterObjectsAndTextsAreInvalid) {
    mrb_general_param_h general = nullptr;
    mrb_share_param_h share = nullptr;
    ASSERT_EQ(mrb_create_general_param(&general), MRB_ERR_NONE);
    ASSERT_EQ(mrb_create_share_param(&share), MRB_ERR_NONE);
    EXPECT_EQ(mrb_create_general_param(nullptr), INVALID);
    EXPECT_EQ(mrb_create_page_param(nullptr), INVALID);
    EXPECT_EQ(mrb_create_share_param(nullptr), INVALID);
    EXPECT_EQ(mrb_create_share_user_data_param(nullptr), INVALID);
    EXPECT_EQ(mrb_destroy_general_param(nullptr), INVALID);
    EXPECT_EQ(mrb_destroy_page_param(nullptr), INVALID);
    EXPECT_EQ(mrb_destroy_share_param(nullptr), INVALID);
    EXPECT_EQ(mrb_destroy_thumbnail_flash_cache_param(nullptr), INVALID);
    for (const auto setter :
         {mrb_param_set_general_content_type, mrb_param_set_general_sort_category,
          mrb_param_set_general_extension, mrb_param_set_general_key_word, mrb_param_set_general_prepare_data,
          mrb_param_set_general_source, mrb_param_set_general_path, mrb_param_set_general_folder_id,
          mrb_param_set_general_mode_name, mrb_param_set_general_lang_id, mrb_param_set_general_duid,
          mrb_param_set_general_access_token, mrb_param_set_general_country}) {
        EXPECT_EQ(setter(nullptr, "text"), INVALID);
        EXPECT_EQ(setter(general, nullptr), INVALID);
        EXPECT_EQ(setter(general, "text"), MRB_ERR_NONE);
    }
    for (const auto setter : {mrb_param_set_general_bus_value, mrb_param_set_general_device_value}) {
        EXPECT_EQ(setter(nullptr, 1), INVALID);
        EXPECT_EQ(setter(general, 1), MRB_ERR_NONE);
    }
    for (const auto setter : {mrb_param_set_general_is_uhd_meta, mrb_param_set_general_update_uhd_meta}) {
        EXPECT_EQ(setter(nullptr, true), INVALID);
        EXPECT_EQ(setter(general, true), MRB_ERR_NONE);
    }
    for (const auto setter :
         {mrb_param_set_page_style_mask, mrb_param_set_page_style_order, mrb_param_set_page_style_group_index,
          mrb_param_set_page_style_row, mrb_param_set_page_style_column}) {
        EXPECT_EQ(setter(nullptr, 1), INVALID);
    }
    EXPECT_EQ(mrb_param_set_page_style_padding(nullptr, true), INVALID);
    for (const auto setter : {mrb_param_set_share_dest_dev_path, mrb_param_set_share_dlna_device_id,
                              mrb_param_set_share_dlna_service_provider}) {
        EXPECT_EQ(setter(nullptr, "text"), INVALID);
        EXPECT_EQ(setter(share, nullptr), INVALID);
    }
    EXPECT_EQ(mrb_param_set_share_source_dev_type(nullptr, 1), INVALID);
    EXPECT_EQ(mrb_param_set_share_dest_dev_type(nullptr, 1), INVALID);
    EXPECT_EQ(mrb_param_set_share_lock(nullptr, true), INVALID);
    EXPECT_EQ(mrb_param_set_share_user_data_udata(nullptr, nullptr), INVALID);
    EXPECT_EQ(mrb_param_set_share_user_data_cb(nullptr, nullptr), INVALID);
    mrb_agent_handler_h handle = 0;
    EXPECT_EQ(mrb_request_list_v2(nullptr, onList, nullptr, &handle), INVALID);
    EXPECT_EQ(mrb_destroy_general_param(general), MRB_ERR_NONE);
    EXPECT_EQ(mrb_destroy_share_param(share), MRB_ERR_NONE);
}
