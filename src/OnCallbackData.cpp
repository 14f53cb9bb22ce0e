#include "OnCallbackData.h"

#include <memory>
#include <utility>

#include <clutter/clutter.h>

#include "MRBAdapterProvider.h"

namespace MRBBridge {

static_assert(DELIVERY_PRIORITY == CLUTTER_PRIORITY_REDRAW);

void QueueOnMainLoop(GSourceFunc function, void *data) {
    clutter_threads_add_idle_full(DELIVERY_PRIORITY, function, data, nullptr);
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
