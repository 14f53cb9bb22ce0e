// The provider's dispatch: every FunctionId in all three operations.

#include "MRBAdapterProvider.h"

#include <map>
#include <memory>
#include <set>

#include "MRBAdapter.h"
#include "engine_fixture.h"

namespace {

using Bridge::ScriptArray;
using MRBBridge::CMRBAdapterProvider;
using Lines = std::vector<std::string>;

constexpr const char *REFUSED = "{\"return_ecode\":2}\n";

/// The commands' names in their log lines; two of them share one name.
const std::map<int, std::string> command_names = {
    {0, "mrb_request_list_v2"},
    {1, "mrb_cancel_request_list_v2"},
    {2, "mrb_disconnect_v2"},
    {3, "mrb_batch_process_v2"},
    {4, "mrb_stop_batch_process_v2"},
    {5, "mrb_set_page_style_v2"},
    {6, "mrb_set_navigation_v2"},
    {7, "mrb_get_navigation_v2"},
    {8, "mrb_select_all_v2"},
    {9, "mrb_deselect_all_v2"},
    {10, "mrb_deselect_group_v2"},
    {11, "mrb_deselect_group_v2"},
    {12, "mrb_get_selected_state_v2"},
    {13, "mrb_get_selection_count_v2"},
    {14, "mrb_toggle_select_v2"},
    {15, "mrb_get_group_count_v2"},
    {16, "mrb_get_item_count_v2"},
    {17, "mrb_get_item_v2"},
    {18, "mrb_get_item_list_v2"},
    {19, "mrb_move_to_index_v2"},
    {20, "mrb_get_page_index_v2"},
    {21, "mrb_prepare_play_data_v2"},
    {22, "mrb_set_item_value_v2"},
    {23, "mrb_get_item_value_v2"},
    {24, "mrb_get_rating_info_v2"},
    {25, "mrb_get_storage_id_v2"},
    {26, "thumbnail_request_async"},
    {27, "thumbnail_request_cancel"},
    {28, "thumbnail_request_cancel_all"},
    {29, "thumbnail_stop_ptp_decode_sync"},
    {30, "thumbnail_flash_cache_init"},
    {31, "mrb_set_usb_callback"},
    {32, "mrb_unset_usb_callback"},
    {33, "mrb_get_usb_list"},
    {34, "mrb_get_ptp_list"},
    {35, "mrb_Init_dlna_service"},
    {36, "mrb_finalize_dlna_service"},
    {37, "mrb_set_dlna_callback"},
    {38, "mrb_unset_dlna_callback"},
    {39, "mrb_get_dlna_list"},
};

/// The function names of the adapters' operations in the log.
const std::map<int, std::string> operation_names = {
    {0, "RequestList"},
    {1, "CancelRequestList"},
    {2, "DisConnect"},
    {3, "BatchProcess"},
    {4, "StopBatchProcess"},
    {5, "SetPageStyle"},
    {6, "SetNavigation"},
    {7, "GetNavigation"},
    {8, "SelectAll"},
    {9, "DeselectAll"},
    {10, "SelectGroup"},
    {11, "DeSelectGroup"},
    {12, "GetSelectState"},
    {13, "GetSelectCount"},
    {14, "ToggleSelect"},
    {15, "GetGroupCount"},
    {16, "GetItemCount"},
    {17, "GetItem"},
    {18, "GetItemList"},
    {19, "MoveToIndex"},
    {20, "GetPageIndex"},
    {21, "PreparePlayData"},
    {22, "SetItemValue"},
    {23, "GetItemValue"},
    {24, "GetRatingInfo"},
    {25, "GetStorageId"},
    {26, "ThumbnailRequestAsync"},
    {27, "ThumbnailRequestCancel"},
    {28, "ThumbnailRequestCancelAll"},
    {29, "ThumbnailStopPtpDecodeSync"},
    {30, "ThumbnailFlashCacheInit"},
    {31, "SetUSBCallback"},
    {32, "UnsetUSBCallback"},
    {33, "GetUSBList"},
    {34, "GetPTPList"},
    {35, "InitDLNAService"},
    {36, "FinalizeDLNAService"},
    {37, "SetDLNACallback"},
    {38, "UnsetDLNACallback"},
    {39, "GetDLNAList"},
};

const std::set<int> plain = {28, 29, 30, 32, 33, 34, 36, 38, 39};
const std::set<int> with_callback = {0, 3, 26, 31, 35, 37};

bool takesRequest(int func) { return func >= 1 && func <= 27 && with_callback.count(func) == 0; }

class Provider : public EngineTest, public testing::WithParamInterface<int> {
  protected:
    // Never destroyed: one that opened a list cannot be.
    Provider() : provider_(*new CMRBAdapterProvider) { forget(); }

    /// The operation named in the log's last line, and the command in its text.
    static void expectServed(int func) {
        const Lines lines = takeLog();
        ASSERT_FALSE(lines.empty());
        const std::string &source = func <= 25 ? AGENT : func <= 30 ? THUMBNAIL : STORAGE;
        const std::string start =
            source + operation_names.at(func) + ": strCmd[" + command_names.at(func) + "]";
        EXPECT_EQ(lines.back().substr(0, start.size()), start);
    }

    CMRBAdapterProvider &provider_;
};

TEST_P(Provider, ExecuteServesCommandsWithoutArguments) {
    const int func = GetParam();
    const std::string answer = textOf(provider_.Execute(func));
    if (plain.count(func) != 0) {
        expectServed(func);
        EXPECT_NE(answer.find("\"return_ecode\":"), std::string::npos) << answer;
    } else {
        EXPECT_EQ(answer, REFUSED);
        EXPECT_EQ(takeLog(), Lines{PROVIDER + "Execute: Invalid func[" + std::to_string(func) + "]."});
        EXPECT_EQ(calls(), Lines{});
    }
}

TEST_P(Provider, ExecuteServesCommandsWithARequest) {
    const int func = GetParam();
    const Values arguments = {evaluate("'{}'")};
    const std::string answer = textOf(provider_.Execute(func, ScriptArray(arguments)));
    if (takesRequest(func)) {
        expectServed(func);
    } else {
        EXPECT_EQ(answer, REFUSED);
        EXPECT_EQ(takeLog(), Lines{PROVIDER + "Execute: Invalid func[" + std::to_string(func) + "]."});
        EXPECT_EQ(calls(), Lines{});
    }
}

TEST_P(Provider, ExecuteRefusesANonStringBeforeAWrongCommand) {
    const Values arguments = {evaluate("12")};
    EXPECT_EQ(textOf(provider_.Execute(GetParam(), ScriptArray(arguments))), REFUSED);
    EXPECT_EQ(takeLog(), Lines{PROVIDER + "Execute: Invalid js string."});
    EXPECT_EQ(calls(), Lines{});
}

TEST_P(Provider, ExecuteRefusesAMissingArgument) {
    const Values arguments = {};
    EXPECT_EQ(textOf(provider_.Execute(GetParam(), ScriptArray(arguments))), REFUSED);
    EXPECT_EQ(takeLog(), Lines{PROVIDER + "Execute: Invalid js string."});
}

TEST_P(Provider, ExecuteWithCallbackServesAsynchronousCommands) {
    const int func = GetParam();
    const Values arguments = {evaluate("() => {}"), evaluate(R"('{"param_source_name":"SOURCE_MSC"}')")};
    const std::string answer = textOf(provider_.ExecuteWithCallback(func, ScriptArray(arguments)));
    if (with_callback.count(func) != 0) {
        expectServed(func);
    } else {
        EXPECT_EQ(answer, REFUSED);
        EXPECT_EQ(takeLog(),
                  Lines{PROVIDER + "ExecuteWithCallback: Invalid func[" + std::to_string(func) + "]."});
        EXPECT_EQ(calls(), Lines{});
    }
}

TEST_P(Provider, ExecuteWithCallbackRefusesANonFunctionBeforeAWrongCommand) {
    const Values arguments = {evaluate("'{}'"), evaluate("'{}'")};
    EXPECT_EQ(textOf(provider_.ExecuteWithCallback(GetParam(), ScriptArray(arguments))), REFUSED);
    EXPECT_EQ(takeLog(), Lines{PROVIDER + "ExecuteWithCallback: Invalid js callback."});
    EXPECT_EQ(calls(), Lines{});
}

TEST_P(Provider, ExecuteWithCallbackKeepsTheFunctionWhateverTheRequest) {
    const int func = GetParam();
    const ReceivedCalls received;
    const Values arguments = {received.function(), evaluate("12")};
    const std::string answer = textOf(provider_.ExecuteWithCallback(func, ScriptArray(arguments)));
    const bool needs_request = func == 0 || func == 3 || func == 26;
    if (needs_request) {
        EXPECT_EQ(answer, REFUSED);
        EXPECT_EQ(takeLog(), Lines{PROVIDER + "ExecuteWithCallback: Invalid js string."});
    }
    CMRBAdapterProvider::FireOnCallbacks(func, "later", &provider_);
    drainMainLoop();
    EXPECT_EQ(received.calls(), with_callback.count(func) != 0 ? R"([["later"]])" : "[]");
}

INSTANTIATE_TEST_SUITE_P(EveryFunctionId, Provider, testing::Range(-1, 42));

TEST_F(EngineTest, ProviderIsConstructedInOrder) {
    new CMRBAdapterProvider;
    EXPECT_EQ(takeLog(), (Lines{PROVIDER + "CMRBAdapterProvider: create CMRBAdapterProvider.",
                                THUMBNAIL + "CMRBThumbnailAdapter: create CMRBThumbnailAdapter...",
                                THUMBNAIL + "CMRBThumbnailAdapter: thumbnail_init [1]..."}));
    EXPECT_EQ(calls(), Lines{"thumbnail_init()"});
}

TEST_F(EngineTest, ProviderIsDestroyedInOrder) {
    auto *provider = new CMRBAdapterProvider;
    forget();
    delete provider;
    EXPECT_EQ(calls(), (Lines{"thumbnail_finalize()", "mrb_unset_usb_callback()", "mrb_unset_dlna_callback()",
                              "mrb_finalize_dlna_service(\"cb1\",\"user1\")"}));
    const Lines lines = takeLog();
    ASSERT_EQ(lines.size(), 12U);
    EXPECT_EQ(lines[0], PROVIDER + "~CMRBAdapterProvider: release CMRBAdapterProvider.");
    EXPECT_EQ(lines[1], THUMBNAIL + "~CMRBThumbnailAdapter: release CMRBThumbnailAdapter...");
    EXPECT_EQ(lines[3], AGENT + "m_DestroyHandler: Num of handle for send[0].");
    EXPECT_EQ(lines[4], AGENT + "m_DestroyHandler: Num of handle for agent[0].");
    EXPECT_EQ(lines[7], STORAGE + "~CMRBStorageMgrAdapter: strUnSetUsb [{\"return_ecode\":0}\n]\n");
    EXPECT_EQ(lines[9], STORAGE + "~CMRBStorageMgrAdapter: strUnSetDlna [{\"return_ecode\":0}\n]\n");
    EXPECT_EQ(lines[11], STORAGE + "~CMRBStorageMgrAdapter: strFinalizeDlna [{\"return_ecode\":0}\n]\n");
}

} // namespace
