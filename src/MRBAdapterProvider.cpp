#include "MRBAdapterProvider.h"

#include <algorithm>
#include <memory>
#include <tuple>
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

/// Priority of deliveries on the main loop: that of a redraw, after high-idle work
/// and before default-idle work.
constexpr int DELIVERY_PRIORITY = G_PRIORITY_HIGH_IDLE + 50;
static_assert(DELIVERY_PRIORITY == CLUTTER_PRIORITY_REDRAW);

/// Runs `function` once on the main loop, after everything that was queued before.
/// Any thread.
void QueueOnMainLoop(GSourceFunc function, void *data) {
    clutter_threads_add_idle_full(DELIVERY_PRIORITY, function, data, nullptr);
}

/// All existing providers; null while there is none, so that nothing leaks when the
/// library is unloaded, and nothing is destroyed when a program ends with objects in
/// use. Main thread only.
std::vector<CMRBAdapterProvider *> *live_providers = nullptr;

void RegisterProvider(CMRBAdapterProvider *provider) {
    if (live_providers == nullptr) {
        live_providers = new std::vector<CMRBAdapterProvider *>;
    }
    live_providers->push_back(provider);
}

void UnregisterProvider(CMRBAdapterProvider *provider) {
    live_providers->erase(std::remove(live_providers->begin(), live_providers->end(), provider),
                          live_providers->end());
    if (live_providers->empty()) {
        delete std::exchange(live_providers, nullptr);
    }
}

} // namespace

// ---- life -------------------------------------------------------------------

CMRBAdapterProvider::CMRBAdapterProvider() {
    slots_.fill(Bridge::ScriptObject::Null());
    MRB_LOG(LogTag::Common, "create CMRBAdapterProvider.");

    thumbnail_ = new CMRBThumbnailAdapter();
    agent_ = new CMRBAgentAdapter();
    storage_ = new CMRBStorageMgrAdapter();
    for (CMRBAdapter *adapter : std::initializer_list<CMRBAdapter *>{thumbnail_, agent_, storage_}) {
        adapter->SetDelivery(this, &CMRBAdapterProvider::FireOnCallbacks);
    }
    RegisterProvider(this);
}

CMRBAdapterProvider::~CMRBAdapterProvider() {
    MRB_LOG(LogTag::Common, "release CMRBAdapterProvider.");
    delete std::exchange(thumbnail_, nullptr);
    delete std::exchange(agent_, nullptr);
    delete std::exchange(storage_, nullptr);

    UnregisterProvider(this);
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

// ---- dispatch ---------------------------------------------------------------

/// A row of the method table as the provider runs it.
struct CMRBAdapterProvider::Command {
    MethodArguments takes;
    std::string (*run)(const CMRBAdapterProvider &provider, const std::string &request);

    /// Runs an adapter's operation; one that takes no request ignores `request`.
    template <typename Adapter, auto Operation, bool TakesRequest>
    static std::string Run(const CMRBAdapterProvider &provider, const std::string &request) {
        auto *const adapter =
            std::get<Adapter *>(std::make_tuple(provider.agent_, provider.thumbnail_, provider.storage_));
        if constexpr (TakesRequest) {
            return (adapter->*Operation)(request);
        } else {
            return (adapter->*Operation)();
        }
    }
};

const CMRBAdapterProvider::Command *CMRBAdapterProvider::FindCommand(int func) {
    static constexpr std::array<Command, FUNC_COUNT> commands = {{
#define MRB_COMMAND(name, func, adapter, operation, arguments)                                               \
    {Takes::arguments,                                                                                       \
     &Command::Run<CMRB##adapter##Adapter, &CMRB##adapter##Adapter::operation, Takes::arguments.request>},
        MRB_METHODS(MRB_COMMAND)
#undef MRB_COMMAND
    }};
    // Each slot belongs to one command, in the commands' order.
    static_assert([] {
        int next = 0;
        for (const Command &command : commands) {
            if (command.takes.slot != NO_SLOT && command.takes.slot != next++) {
                return false;
            }
        }
        return next == int{std::tuple_size_v<Slots>};
    }());
    return func < 0 || func >= FUNC_COUNT ? nullptr : &commands[static_cast<size_t>(func)];
}

Bridge::ScriptObject CMRBAdapterProvider::Execute(int func) {
    const Command *const command = FindCommand(func);
    if (command == nullptr || command->takes != Takes::Nothing) {
        MRB_LOG(LogTag::Common, "Invalid func[%d].", func);
        return Bridge::ScriptObject(Answer(RETURN_ECODE_REFUSED));
    }
    return Bridge::ScriptObject(command->run(*this, {}));
}

Bridge::ScriptObject CMRBAdapterProvider::Execute(int func, const Bridge::ScriptArray &arguments) {
    const Bridge::ScriptObject request = arguments.get(0);
    if (!request.isString()) {
        MRB_LOG(LogTag::Common, "Invalid js string.");
        return Bridge::ScriptObject(Answer(RETURN_ECODE_REFUSED));
    }
    const Command *const command = FindCommand(func);
    if (command == nullptr || command->takes != Takes::Request) {
        MRB_LOG(LogTag::Common, "Invalid func[%d].", func);
        return Bridge::ScriptObject(Answer(RETURN_ECODE_REFUSED));
    }
    return Bridge::ScriptObject(command->run(*this, request.asString()));
}

Bridge::ScriptObject CMRBAdapterProvider::ExecuteWithCallback(int func,
                                                              const Bridge::ScriptArray &arguments) {
    const Bridge::ScriptObject callback = arguments.get(0);
    if (!callback.isFunction()) {
        MRB_LOG(LogTag::Common, "Invalid js callback.");
        return Bridge::ScriptObject(Answer(RETURN_ECODE_REFUSED));
    }
    Bridge::ScriptFunction *const slot = SlotOf(func);
    if (slot == nullptr) {
        MRB_LOG(LogTag::Common, "Invalid func[%d].", func);
        return Bridge::ScriptObject(Answer(RETURN_ECODE_REFUSED));
    }
    *slot = callback.asFunction();

    const Command *const command = FindCommand(func);
    if (!command->takes.request) {
        return Bridge::ScriptObject(command->run(*this, {}));
    }
    const Bridge::ScriptObject request = arguments.get(1);
    if (!request.isString()) {
        MRB_LOG(LogTag::Common, "Invalid js string.");
        return Bridge::ScriptObject(Answer(RETURN_ECODE_REFUSED));
    }
    return Bridge::ScriptObject(command->run(*this, request.asString()));
}

// ---- delivery ---------------------------------------------------------------

Bridge::ScriptFunction *CMRBAdapterProvider::SlotOf(int func) {
    const Command *const command = FindCommand(func);
    return command == nullptr || command->takes.slot == NO_SLOT
               ? nullptr
               : &slots_[static_cast<size_t>(command->takes.slot)];
}

bool CMRBAdapterProvider::IsLiveSlot(const Bridge::ScriptFunction *slot) {
    return live_providers != nullptr &&
           std::any_of(live_providers->begin(), live_providers->end(),
                       [slot](const CMRBAdapterProvider *provider) {
                           return slot >= provider->slots_.data() &&
                                  slot < provider->slots_.data() + provider->slots_.size();
                       });
}

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

gboolean OnCallbackData::FireOnCallbacks(void *record) noexcept {
    const std::unique_ptr<const OnCallbackData> owned(static_cast<OnCallbackData *>(record));
    owned->Deliver();
    return G_SOURCE_REMOVE;
}

void OnCallbackData::Deliver() const {
    // The provider may have been destroyed since, and the slot with it.
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
