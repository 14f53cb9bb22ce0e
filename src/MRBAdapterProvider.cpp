#include "MRBAdapterProvider.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include <clutter/clutter.h>

#include "MRBAdapter.h"
#include "MRBAgentAdapter.h"
#include "MRBStorageMgrAdapter.h"
#include "MRBThumbnailAdapter.h"
#include "envelope.h"
#include "log.h"

namespace MRBBridge {
namespace {

using AgentOperation = std::string (CMRBAgentAdapter::*)(const std::string &);

/// The agent's operation for a command whose request is argument 0; null where
/// another way of dispatch serves the command.
constexpr std::array<AgentOperation, FUNC_GET_STORAGE_ID + 1> agent_operations = {
    nullptr, // FUNC_REQUEST_LIST comes with a callback
    &CMRBAgentAdapter::CancelRequestList,
    &CMRBAgentAdapter::DisConnect,
    nullptr, // FUNC_BATCH_PROCESS comes with a callback
    &CMRBAgentAdapter::StopBatchProcess,
    &CMRBAgentAdapter::SetPageStyle,
    &CMRBAgentAdapter::SetNavigation,
    &CMRBAgentAdapter::GetNavigation,
    &CMRBAgentAdapter::SelectAll,
    &CMRBAgentAdapter::DeselectAll,
    &CMRBAgentAdapter::SelectGroup,
    &CMRBAgentAdapter::DeSelectGroup,
    &CMRBAgentAdapter::GetSelectState,
    &CMRBAgentAdapter::GetSelectCount,
    &CMRBAgentAdapter::ToggleSelect,
    &CMRBAgentAdapter::GetGroupCount,
    &CMRBAgentAdapter::GetItemCount,
    &CMRBAgentAdapter::GetItem,
    &CMRBAgentAdapter::GetItemList,
    &CMRBAgentAdapter::MoveToIndex,
    &CMRBAgentAdapter::GetPageIndex,
    &CMRBAgentAdapter::PreparePlayData,
    &CMRBAgentAdapter::SetItemValue,
    &CMRBAgentAdapter::GetItemValue,
    &CMRBAgentAdapter::GetRatingInfo,
    &CMRBAgentAdapter::GetStorageId,
};

AgentOperation AgentOperationOf(int func) {
    return func < 0 || func >= static_cast<int>(agent_operations.size())
               ? nullptr
               : agent_operations[static_cast<size_t>(func)];
}

/// Priority of deliveries on the main loop: that of a redraw, after high-idle work
/// and before default-idle work.
constexpr int DELIVERY_PRIORITY = G_PRIORITY_HIGH_IDLE + 50;
static_assert(DELIVERY_PRIORITY == CLUTTER_PRIORITY_REDRAW);

/// Runs `function` once on the main loop, after everything that was queued before.
/// Any thread.
void QueueOnMainLoop(GSourceFunc function, void *data) {
    clutter_threads_add_idle_full(DELIVERY_PRIORITY, function, data, nullptr);
}

/// All providers that live; null while none does, so that nothing is left when the
/// library is unloaded, nor destroyed when a program ends with objects in use. Main
/// thread only.
std::vector<CMRBAdapterProvider *> *live_providers = nullptr;

void NoteLive(CMRBAdapterProvider *provider) {
    if (live_providers == nullptr) {
        live_providers = new std::vector<CMRBAdapterProvider *>;
    }
    live_providers->push_back(provider);
}

void NoteGone(CMRBAdapterProvider *provider) {
    live_providers->erase(std::remove(live_providers->begin(), live_providers->end(), provider),
                          live_providers->end());
    if (live_providers->empty()) {
        delete std::exchange(live_providers, nullptr);
    }
}

} // namespace

CMRBAdapterProvider::CMRBAdapterProvider() {
    slots_.fill(Bridge::ScriptObject::Null());
    MRB_LOG(LogTag::Common, "create CMRBAdapterProvider.");

    thumbnail_ = new CMRBThumbnailAdapter();
    agent_ = new CMRBAgentAdapter();
    storage_ = new CMRBStorageMgrAdapter();
    for (CMRBAdapter *adapter : std::initializer_list<CMRBAdapter *>{thumbnail_, agent_, storage_}) {
        adapter->SetDelivery(this, &CMRBAdapterProvider::FireOnCallbacks);
    }
    NoteLive(this);
}

CMRBAdapterProvider::~CMRBAdapterProvider() {
    MRB_LOG(LogTag::Common, "release CMRBAdapterProvider.");
    delete std::exchange(thumbnail_, nullptr);
    delete std::exchange(agent_, nullptr);
    delete std::exchange(storage_, nullptr);

    NoteGone(this);
}

void *CMRBAdapterProvider::operator new(std::size_t size) { return ::operator new(size); }

void CMRBAdapterProvider::operator delete(void *storage) noexcept {
    QueueOnMainLoop(
        [](void *drained) -> gboolean {
            ::operator delete(drained);
            return G_SOURCE_REMOVE;
        },
        storage);
}

Bridge::ScriptObject CMRBAdapterProvider::Execute(int func) {
    std::string answer;
    switch (func) {
    case FUNC_THUMBNAIL_REQUEST_CANCEL_ALL:
        answer = thumbnail_->ThumbnailRequestCancelAll();
        break;
    case FUNC_THUMBNAIL_STOP_PTP_DECODE_SYNC:
        answer = thumbnail_->ThumbnailStopPtpDecodeSync();
        break;
    case FUNC_THUMBNAIL_FLASH_CACHE_INIT:
        answer = thumbnail_->ThumbnailFlashCacheInit();
        break;
    case FUNC_UNSET_USB_CALLBACK:
        answer = storage_->UnsetUSBCallback();
        break;
    case FUNC_GET_USB_LIST:
        answer = storage_->GetUSBList();
        break;
    case FUNC_GET_PTP_LIST:
        answer = storage_->GetPTPList();
        break;
    case FUNC_FINALIZE_DLNA_SERVICE:
        answer = storage_->FinalizeDLNAService();
        break;
    case FUNC_UNSET_DLNA_CALLBACK:
        answer = storage_->UnsetDLNACallback();
        break;
    case FUNC_GET_DLNA_LIST:
        answer = storage_->GetDLNAList();
        break;
    default:
        MRB_LOG(LogTag::Common, "Invalid func[%d].", func);
        answer = Answer(RETURN_ECODE_REFUSED);
        break;
    }
    return Bridge::ScriptObject(answer);
}

Bridge::ScriptObject CMRBAdapterProvider::Execute(int func, const Bridge::ScriptArray &arguments) {
    const Bridge::ScriptObject request = arguments.get(0);
    if (!request.isString()) {
        MRB_LOG(LogTag::Common, "Invalid js string.");
        return Bridge::ScriptObject(Answer(RETURN_ECODE_REFUSED));
    }
    if (const AgentOperation operation = AgentOperationOf(func); operation != nullptr) {
        return Bridge::ScriptObject((agent_->*operation)(request.asString()));
    }
    if (func == FUNC_THUMBNAIL_REQUEST_CANCEL) {
        return Bridge::ScriptObject(thumbnail_->ThumbnailRequestCancel(request.asString()));
    }
    MRB_LOG(LogTag::Common, "Invalid func[%d].", func);
    return Bridge::ScriptObject(Answer(RETURN_ECODE_REFUSED));
}

Bridge::ScriptObject CMRBAdapterProvider::ExecuteWithCallback(int func,
                                                              const Bridge::ScriptArray &arguments) {
    const Bridge::ScriptObject callback = arguments.get(0);
    if (!callback.isFunction()) {
        MRB_LOG(LogTag::Common, "Invalid js callback.");
        return Bridge::ScriptObject(Answer(RETURN_ECODE_REFUSED));
    }
    Bridge::ScriptFunction *slot = SlotOf(func);
    if (slot == nullptr) {
        MRB_LOG(LogTag::Common, "Invalid func[%d].", func);
        return Bridge::ScriptObject(Answer(RETURN_ECODE_REFUSED));
    }
    *slot = callback.asFunction();

    switch (func) {
    case FUNC_SET_USB_CALLBACK:
        return Bridge::ScriptObject(storage_->SetUSBCallback());
    case FUNC_INIT_DLNA_SERVICE:
        return Bridge::ScriptObject(storage_->InitDLNAService());
    case FUNC_SET_DLNA_CALLBACK:
        return Bridge::ScriptObject(storage_->SetDLNACallback());
    default:
        break;
    }

    const Bridge::ScriptObject request = arguments.get(1);
    if (!request.isString()) {
        MRB_LOG(LogTag::Common, "Invalid js string.");
        return Bridge::ScriptObject(Answer(RETURN_ECODE_REFUSED));
    }
    switch (func) {
    case FUNC_REQUEST_LIST:
        return Bridge::ScriptObject(agent_->RequestList(request.asString()));
    case FUNC_BATCH_PROCESS:
        return Bridge::ScriptObject(agent_->BatchProcess(request.asString()));
    default: // FUNC_THUMBNAIL_REQUEST_ASYNC: SlotOf knows no other
        return Bridge::ScriptObject(thumbnail_->ThumbnailRequestAsync(request.asString()));
    }
}

Bridge::ScriptFunction *CMRBAdapterProvider::SlotOf(int func) {
    switch (func) {
    case FUNC_REQUEST_LIST:
        return &slots_[0];
    case FUNC_BATCH_PROCESS:
        return &slots_[1];
    case FUNC_THUMBNAIL_REQUEST_ASYNC:
        return &slots_[2];
    case FUNC_SET_USB_CALLBACK:
        return &slots_[3];
    case FUNC_INIT_DLNA_SERVICE:
        return &slots_[4];
    case FUNC_SET_DLNA_CALLBACK:
        return &slots_[5];
    default:
        return nullptr;
    }
}

bool CMRBAdapterProvider::IsLiveSlot(const Bridge::ScriptFunction *slot) {
    return live_providers != nullptr &&
           std::any_of(live_providers->begin(), live_providers->end(),
                       [slot](const CMRBAdapterProvider *provider) {
                           return slot >= provider->slots_.data() &&
                                  slot < provider->slots_.data() + provider->slots_.size();
                       });
}

// ---- delivery ---------------------------------------------------------------

void CMRBAdapterProvider::FireOnCallbacks(int func, std::string data, void *self) {
    MRB_LOG(LogTag::Common, "FUNC[%d], data[%s], self[%p].", func, data.c_str(), self);
    auto *p = static_cast<CMRBAdapterProvider *>(self);
    MRB_ASSERT(p != nullptr, "p != __null");

    const Bridge::ScriptFunction *slot = p->SlotOf(func);
    if (slot == nullptr) {
        MRB_LOG(LogTag::Common, "No need to fire js callback.");
        return;
    }
    QueueOnMainLoop(&OnCallbackData::FireOnCallbacks, new OnCallbackData(slot, std::move(data)));
    MRB_LOG(LogTag::Common, "callback done.");
}

OnCallbackData::OnCallbackData(const Bridge::ScriptFunction *slot, std::string data)
    : slot_(slot), data_(std::move(data)) {}

gboolean OnCallbackData::FireOnCallbacks(void *record) {
    const std::unique_ptr<const OnCallbackData> owned(static_cast<OnCallbackData *>(record));
    owned->Deliver();
    return G_SOURCE_REMOVE;
}

void OnCallbackData::Deliver() const {
    // The provider may be gone by now, and the slot with it.
    if (!CMRBAdapterProvider::IsLiveSlot(slot_)) {
        return;
    }
    const v8::HandleScope scope(v8::Isolate::GetCurrent());
    // Copied, since the function may register another one or release the object
    // whose slot this is.
    const Bridge::ScriptFunction function = *slot_;
    if (!function.isFunction()) {
        return;
    }
    Bridge::ScriptArray arguments;
    if (!data_.empty()) {
        arguments.set(0, Bridge::ScriptObject(data_));
    }
    static_cast<void>(function.invoke(arguments));
}

} // namespace MRBBridge
