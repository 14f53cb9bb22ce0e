#pragma once
// The adapters' common base, and the numbers of the script commands.

#include <string>

namespace MRBBridge {

/// The number of a script command: its index in the method table.
enum FunctionId : int {
    FUNC_REQUEST_LIST = 0,
    FUNC_CANCEL_REQUEST_LIST,
    FUNC_DISCONNECT,
    FUNC_BATCH_PROCESS,
    FUNC_STOP_BATCH_PROCESS,
    FUNC_SET_PAGE_STYLE,
    FUNC_SET_NAVIGATION,
    FUNC_GET_NAVIGATION,
    FUNC_SELECT_ALL,
    FUNC_DESELECT_ALL,
    FUNC_SELECT_GROUP,
    FUNC_DESELECT_GROUP,
    FUNC_GET_SELECT_STATE,
    FUNC_GET_SELECT_COUNT,
    FUNC_TOGGLE_SELECT,
    FUNC_GET_GROUP_COUNT,
    FUNC_GET_ITEM_COUNT,
    FUNC_GET_ITEM,
    FUNC_GET_ITEM_LIST,
    FUNC_MOVE_TO_INDEX,
    FUNC_GET_PAGE_INDEX,
    FUNC_PREPARE_PLAY_DATA,
    FUNC_SET_ITEM_VALUE,
    FUNC_GET_ITEM_VALUE,
    FUNC_GET_RATING_INFO,
    FUNC_GET_STORAGE_ID,
    FUNC_THUMBNAIL_REQUEST_ASYNC,
    FUNC_THUMBNAIL_REQUEST_CANCEL,
    FUNC_THUMBNAIL_REQUEST_CANCEL_ALL,
    FUNC_THUMBNAIL_STOP_PTP_DECODE_SYNC,
    FUNC_THUMBNAIL_FLASH_CACHE_INIT,
    FUNC_SET_USB_CALLBACK,
    FUNC_UNSET_USB_CALLBACK,
    FUNC_GET_USB_LIST,
    FUNC_GET_PTP_LIST,
    FUNC_INIT_DLNA_SERVICE,
    FUNC_FINALIZE_DLNA_SERVICE,
    FUNC_SET_DLNA_CALLBACK,
    FUNC_UNSET_DLNA_CALLBACK,
    FUNC_GET_DLNA_LIST,
    FUNC_COUNT
};

/// Base of the three adapters. Owned by the provider, which sets both members
/// right after it made the adapter; they never change afterwards, so framework
/// threads may read them.
class CMRBAdapter {
  public:
    /// Takes a result to the script function registered for a command: the
    /// command's FunctionId, the JSON text, the provider. Any thread.
    using CallbackEntry = void (*)(int func, std::string data, void *provider);

    CMRBAdapter() = default;
    CMRBAdapter(const CMRBAdapter &) = delete;
    CMRBAdapter &operator=(const CMRBAdapter &) = delete;
    virtual ~CMRBAdapter() = default;

    void SetDelivery(void *provider, CallbackEntry entry) {
        provider_ = provider;
        callback_entry_ = entry;
    }

  protected:
    void *provider_ = nullptr;
    CallbackEntry callback_entry_ = nullptr;
};

} // namespace MRBBridge
