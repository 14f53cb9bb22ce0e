#pragma once
// The method table: one row defines one script method.

/// The script methods, in the order of their FunctionIds, which are the rows' indexes.
/// A row names
///   - the method as scripts call it,
///   - its FunctionId (MRBAdapter.h),
///   - the adapter that runs it: Agent is CMRBAgentAdapter, and so on,
///   - the adapter's operation; the script class's handler is "Handle" and this name,
///   - the arguments that a script passes, one of Takes.
#define MRB_METHODS(METHOD)                                                                                  \
    METHOD("mrb_request_list_v2", FUNC_REQUEST_LIST, Agent, RequestList, FunctionAndRequest(0))              \
    METHOD("mrb_cancel_request_list_v2", FUNC_CANCEL_REQUEST_LIST, Agent, CancelRequestList, Request)        \
    METHOD("mrb_disconnect_v2", FUNC_DISCONNECT, Agent, DisConnect, Request)                                 \
    METHOD("mrb_batch_process_v2", FUNC_BATCH_PROCESS, Agent, BatchProcess, FunctionAndRequest(1))           \
    METHOD("mrb_stop_batch_process_v2", FUNC_STOP_BATCH_PROCESS, Agent, StopBatchProcess, Request)           \
    METHOD("mrb_set_page_style_v2", FUNC_SET_PAGE_STYLE, Agent, SetPageStyle, Request)                       \
    METHOD("mrb_set_navigation_v2", FUNC_SET_NAVIGATION, Agent, SetNavigation, Request)                      \
    METHOD("mrb_get_navigation_v2", FUNC_GET_NAVIGATION, Agent, GetNavigation, Request)                      \
    METHOD("mrb_select_all_v2", FUNC_SELECT_ALL, Agent, SelectAll, Request)                                  \
    METHOD("mrb_deselect_all_v2", FUNC_DESELECT_ALL, Agent, DeselectAll, Request)                            \
    METHOD("mrb_select_group_v2", FUNC_SELECT_GROUP, Agent, SelectGroup, Request)                            \
    METHOD("mrb_deselect_group_v2", FUNC_DESELECT_GROUP, Agent, DeSelectGroup, Request)                      \
    METHOD("mrb_get_selected_state_v2", FUNC_GET_SELECT_STATE, Agent, GetSelectState, Request)               \
    METHOD("mrb_get_selection_count_v2", FUNC_GET_SELECT_COUNT, Agent, GetSelectCount, Request)              \
    METHOD("mrb_toggle_select_v2", FUNC_TOGGLE_SELECT, Agent, ToggleSelect, Request)                         \
    METHOD("mrb_get_group_count_v2", FUNC_GET_GROUP_COUNT, Agent, GetGroupCount, Request)                    \
    METHOD("mrb_get_item_count_v2", FUNC_GET_ITEM_COUNT, Agent, GetItemCount, Request)                       \
    METHOD("mrb_get_item_v2", FUNC_GET_ITEM, Agent, GetItem, Request)                                        \
    METHOD("mrb_get_item_list_v2", FUNC_GET_ITEM_LIST, Agent, GetItemList, Request)                          \
    METHOD("mrb_move_to_index_v2", FUNC_MOVE_TO_INDEX, Agent, MoveToIndex, Request)                          \
    METHOD("mrb_get_page_index_v2", FUNC_GET_PAGE_INDEX, Agent, GetPageIndex, Request)                       \
    METHOD("mrb_prepare_play_data_v2", FUNC_PREPARE_PLAY_DATA, Agent, PreparePlayData, Request)              \
    METHOD("mrb_set_item_value_v2", FUNC_SET_ITEM_VALUE, Agent, SetItemValue, Request)                       \
    METHOD("mrb_get_item_value_v2", FUNC_GET_ITEM_VALUE, Agent, GetItemValue, Request)                       \
    METHOD("mrb_get_rating_info_v2", FUNC_GET_RATING_INFO, Agent, GetRatingInfo, Request)                    \
    METHOD("mrb_get_storage_id_v2", FUNC_GET_STORAGE_ID, Agent, GetStorageId, Request)                       \
    METHOD("thumbnail_request_async", FUNC_THUMBNAIL_REQUEST_ASYNC, Thumbnail, ThumbnailRequestAsync,        \
           FunctionAndRequest(2))                                                                            \
    METHOD("thumbnail_request_cancel", FUNC_THUMBNAIL_REQUEST_CANCEL, Thumbnail, ThumbnailRequestCancel,     \
           Request)                                                                                          \
    METHOD("thumbnail_request_cancel_all", FUNC_THUMBNAIL_REQUEST_CANCEL_ALL, Thumbnail,                     \
           ThumbnailRequestCancelAll, Nothing)                                                               \
    METHOD("thumbnail_stop_ptp_decode_sync", FUNC_THUMBNAIL_STOP_PTP_DECODE_SYNC, Thumbnail,                 \
           ThumbnailStopPtpDecodeSync, Nothing)                                                              \
    METHOD("thumbnail_flash_cache_init", FUNC_THUMBNAIL_FLASH_CACHE_INIT, Thumbnail,                         \
           ThumbnailFlashCacheInit, Nothing)                                                                 \
    METHOD("mrb_set_usb_callback", FUNC_SET_USB_CALLBACK, StorageMgr, SetUSBCallback, Function(3))           \
    METHOD("mrb_unset_usb_callback", FUNC_UNSET_USB_CALLBACK, StorageMgr, UnsetUSBCallback, Nothing)         \
    METHOD("mrb_get_usb_list", FUNC_GET_USB_LIST, StorageMgr, GetUSBList, Nothing)                           \
    METHOD("mrb_get_ptp_list", FUNC_GET_PTP_LIST, StorageMgr, GetPTPList, Nothing)                           \
    METHOD("mrb_Init_dlna_service", FUNC_INIT_DLNA_SERVICE, StorageMgr, InitDLNAService, Function(4))        \
    METHOD("mrb_finalize_dlna_service", FUNC_FINALIZE_DLNA_SERVICE, StorageMgr, FinalizeDLNAService,         \
           Nothing)                                                                                          \
    METHOD("mrb_set_dlna_callback", FUNC_SET_DLNA_CALLBACK, StorageMgr, SetDLNACallback, Function(5))        \
    METHOD("mrb_unset_dlna_callback", FUNC_UNSET_DLNA_CALLBACK, StorageMgr, UnsetDLNACallback, Nothing)      \
    METHOD("mrb_get_dlna_list", FUNC_GET_DLNA_LIST, StorageMgr, GetDLNAList, Nothing)

namespace MRBBridge {

/// The slot of a method that takes no function.
inline constexpr int NO_SLOT = -1;

/// The arguments of a script method.
struct MethodArguments {
    int slot;     ///< where the provider keeps the function, argument 0; NO_SLOT: there is no function
    bool request; ///< whether a request string follows, or comes alone

    constexpr bool operator==(const MethodArguments &other) const {
        return slot == other.slot && request == other.request;
    }
    constexpr bool operator!=(const MethodArguments &other) const { return !(*this == other); }
};

/// The last column of the method table. `slot` counts the provider's slots from 0.
namespace Takes {
inline constexpr MethodArguments Nothing = {NO_SLOT, false};
inline constexpr MethodArguments Request = {NO_SLOT, true};
constexpr MethodArguments Function(int slot) { return {slot, false}; }
constexpr MethodArguments FunctionAndRequest(int slot) { return {slot, true}; }
} // namespace Takes

} // namespace MRBBridge
