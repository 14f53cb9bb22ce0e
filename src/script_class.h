#pragma once
// The script class MRBBridge: its name, its forty methods, its native parts.

#include <cstddef>
#include <vector>

#include "MRBAdapterProvider.h"
#include "quill/bridge.h"

/// The script methods, in the order of their FunctionIds. A row: the name under
/// which scripts call it, its handler, its FunctionId, and how the handler calls
/// the provider: Plain without arguments, Request with the request string,
/// Callback with a function and the request string.
#define MRB_METHODS(METHOD)                                                                                  \
    METHOD("mrb_request_list_v2", HandleRequestList, FUNC_REQUEST_LIST, Callback)                            \
    METHOD("mrb_cancel_request_list_v2", HandleCancelRequestList, FUNC_CANCEL_REQUEST_LIST, Request)         \
    METHOD("mrb_disconnect_v2", HandleDisConnect, FUNC_DISCONNECT, Request)                                  \
    METHOD("mrb_batch_process_v2", HandleBatchProcess, FUNC_BATCH_PROCESS, Callback)                         \
    METHOD("mrb_stop_batch_process_v2", HandleStopBatchProcess, FUNC_STOP_BATCH_PROCESS, Request)            \
    METHOD("mrb_set_page_style_v2", HandleSetPageStyle, FUNC_SET_PAGE_STYLE, Request)                        \
    METHOD("mrb_set_navigation_v2", HandleSetNavigation, FUNC_SET_NAVIGATION, Request)                       \
    METHOD("mrb_get_navigation_v2", HandleGetNavigation, FUNC_GET_NAVIGATION, Request)                       \
    METHOD("mrb_select_all_v2", HandleSelectAll, FUNC_SELECT_ALL, Request)                                   \
    METHOD("mrb_deselect_all_v2", HandleDeselectAll, FUNC_DESELECT_ALL, Request)                             \
    METHOD("mrb_select_group_v2", HandleSelectGroup, FUNC_SELECT_GROUP, Request)                             \
    METHOD("mrb_deselect_group_v2", HandleDeSelectGroup, FUNC_DESELECT_GROUP, Request)                       \
    METHOD("mrb_get_selected_state_v2", HandleGetSelectState, FUNC_GET_SELECT_STATE, Request)                \
    METHOD("mrb_get_selection_count_v2", HandleGetSelectCount, FUNC_GET_SELECT_COUNT, Request)               \
    METHOD("mrb_toggle_select_v2", HandleToggleSelect, FUNC_TOGGLE_SELECT, Request)                          \
    METHOD("mrb_get_group_count_v2", HandleGetGroupCount, FUNC_GET_GROUP_COUNT, Request)                     \
    METHOD("mrb_get_item_count_v2", HandleGetItemCount, FUNC_GET_ITEM_COUNT, Request)                        \
    METHOD("mrb_get_item_v2", HandleGetItem, FUNC_GET_ITEM, Request)                                         \
    METHOD("mrb_get_item_list_v2", HandleGetItemList, FUNC_GET_ITEM_LIST, Request)                           \
    METHOD("mrb_move_to_index_v2", HandleMoveToIndex, FUNC_MOVE_TO_INDEX, Request)                           \
    METHOD("mrb_get_page_index_v2", HandleGetPageIndex, FUNC_GET_PAGE_INDEX, Request)                        \
    METHOD("mrb_prepare_play_data_v2", HandlePreparePlayData, FUNC_PREPARE_PLAY_DATA, Request)               \
    METHOD("mrb_set_item_value_v2", HandleSetItemValue, FUNC_SET_ITEM_VALUE, Request)                        \
    METHOD("mrb_get_item_value_v2", HandleGetItemValue, FUNC_GET_ITEM_VALUE, Request)                        \
    METHOD("mrb_get_rating_info_v2", HandleGetRatingInfo, FUNC_GET_RATING_INFO, Request)                     \
    METHOD("mrb_get_storage_id_v2", HandleGetStorageId, FUNC_GET_STORAGE_ID, Request)                        \
    METHOD("thumbnail_request_async", HandleThumbnailRequestAsync, FUNC_THUMBNAIL_REQUEST_ASYNC, Callback)   \
    METHOD("thumbnail_request_cancel", HandleThumbnailRequestCancel, FUNC_THUMBNAIL_REQUEST_CANCEL, Request) \
    METHOD("thumbnail_request_cancel_all", HandleThumbnailRequestCancelAll,                                  \
           FUNC_THUMBNAIL_REQUEST_CANCEL_ALL, Plain)                                                         \
    METHOD("thumbnail_stop_ptp_decode_sync", HandleThumbnailStopPtpDecodeSync,                               \
           FUNC_THUMBNAIL_STOP_PTP_DECODE_SYNC, Plain)                                                       \
    METHOD("thumbnail_flash_cache_init", HandleThumbnailFlashCacheInit, FUNC_THUMBNAIL_FLASH_CACHE_INIT,     \
           Plain)                                                                                            \
    METHOD("mrb_set_usb_callback", HandleSetUSBCallback, FUNC_SET_USB_CALLBACK, Callback)                    \
    METHOD("mrb_unset_usb_callback", HandleUnsetUSBCallback, FUNC_UNSET_USB_CALLBACK, Plain)                 \
    METHOD("mrb_get_usb_list", HandleGetUSBList, FUNC_GET_USB_LIST, Plain)                                   \
    METHOD("mrb_get_ptp_list", HandleGetPTPList, FUNC_GET_PTP_LIST, Plain)                                   \
    METHOD("mrb_Init_dlna_service", HandleInitDLNAService, FUNC_INIT_DLNA_SERVICE, Callback)                 \
    METHOD("mrb_finalize_dlna_service", HandleFinalizeDLNAService, FUNC_FINALIZE_DLNA_SERVICE, Plain)        \
    METHOD("mrb_set_dlna_callback", HandleSetDLNACallback, FUNC_SET_DLNA_CALLBACK, Callback)                 \
    METHOD("mrb_unset_dlna_callback", HandleUnsetDLNACallback, FUNC_UNSET_DLNA_CALLBACK, Plain)              \
    METHOD("mrb_get_dlna_list", HandleGetDLNAList, FUNC_GET_DLNA_LIST, Plain)

namespace MRBBridge {

inline constexpr size_t METHOD_COUNT = 40;
inline constexpr size_t METHOD_NAME_BYTES = 40;

/// The methods' script names by FunctionId, each padded with zeros.
extern char func_list[METHOD_COUNT][METHOD_NAME_BYTES]; // NOLINT(*-avoid-c-arrays): a fixed layout

/// The script class. Made by loadBridges and never deleted; main thread only.
class MRBBridge : public Bridge::ScriptBridge {
  public:
    MRBBridge() = default;
    ~MRBBridge() override = default;

    const char *getScriptClassName() const override;
    void mapScriptInterface(Bridge::ScriptContext &context) override;
    void *constructFromScript(const Bridge::ScriptArray &arguments) override;
    void destroyFromScript(void *native) override;

#define MRB_DECLARE_HANDLER(name, handler, func, variant)                                                    \
    static Bridge::ScriptObject handler(CMRBAdapterProvider *provider, const Bridge::ScriptArray &arguments);
    MRB_METHODS(MRB_DECLARE_HANDLER)
#undef MRB_DECLARE_HANDLER
};

} // namespace MRBBridge

/// The library's entry: makes one more MRBBridge and returns all made so far.
extern "C" std::vector<Bridge::ScriptBridge *> loadBridges();
