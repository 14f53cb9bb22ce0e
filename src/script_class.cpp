#include "script_class.h"

#include <array>

#include "MRBAdapter.h"

namespace MRBBridge {
namespace {

/// Every bridge that loadBridges made. The list ends with the library, the bridges never
/// do. Main thread only, so that no other needs it when the process ends.
std::vector<Bridge::ScriptBridge *> bridge_list; // NOLINT(clang-diagnostic-exit-time-destructors)

// The three ways in which a handler calls the provider, by the table's last column.
Bridge::ScriptObject callPlain(CMRBAdapterProvider *provider, int func,
                               const Bridge::ScriptArray & /*unused*/) {
    return provider->Execute(func);
}
Bridge::ScriptObject callRequest(CMRBAdapterProvider *provider, int func,
                                 const Bridge::ScriptArray &arguments) {
    return provider->Execute(func, arguments);
}
Bridge::ScriptObject callCallback(CMRBAdapterProvider *provider, int func,
                                  const Bridge::ScriptArray &arguments) {
    return provider->ExecuteWithCallback(func, arguments);
}

using Router = v8::FunctionCallback;
constexpr std::array<Router, METHOD_COUNT> routers = {
#define MRB_ROUTER(name, handler, func, variant)                                                             \
    &Bridge::ScriptBridge::functionCallRouter<CMRBAdapterProvider, &MRBBridge::handler, CMRBAdapterProvider>,
    MRB_METHODS(MRB_ROUTER)
#undef MRB_ROUTER
};

constexpr std::array<int, METHOD_COUNT> function_ids = {
#define MRB_FUNCTION_ID(name, handler, func, variant) func,
    MRB_METHODS(MRB_FUNCTION_ID)
#undef MRB_FUNCTION_ID
};

/// Whether the table's rows stand in the order of their FunctionIds.
consteval bool inOrder() {
    for (size_t index = 0; index < METHOD_COUNT; ++index) {
        if (function_ids[index] != static_cast<int>(index)) {
            return false;
        }
    }
    return FUNC_COUNT == METHOD_COUNT;
}
static_assert(inOrder());

} // namespace

// NOLINTNEXTLINE(*-avoid-c-arrays): a fixed layout
char func_list[METHOD_COUNT][METHOD_NAME_BYTES] = {
#define MRB_NAME(name, handler, func, variant) name,
    MRB_METHODS(MRB_NAME)
#undef MRB_NAME
};

#define MRB_DEFINE_HANDLER(name, handler, func, variant)                                                     \
    Bridge::ScriptObject MRBBridge::handler(CMRBAdapterProvider *provider,                                   \
                                            const Bridge::ScriptArray &arguments) {                          \
        return call##variant(provider, func, arguments);                                                     \
    }
MRB_METHODS(MRB_DEFINE_HANDLER)
#undef MRB_DEFINE_HANDLER

const char *MRBBridge::getScriptClassName() const { return "MRBBridge"; }

void MRBBridge::mapScriptInterface(Bridge::ScriptContext &context) {
    v8::Isolate *isolate = v8::Isolate::GetCurrent();
    const v8::Local<v8::ObjectTemplate> methods = context.getTemplate();
    for (size_t index = 0; index < METHOD_COUNT; ++index) {
        const v8::Local<v8::String> name =
            v8::String::NewFromUtf8(isolate, func_list[index]).ToLocalChecked();
        methods->Set(name, v8::FunctionTemplate::New(isolate, routers[index]));
    }
}

void *MRBBridge::constructFromScript(const Bridge::ScriptArray & /*arguments*/) {
    return new CMRBAdapterProvider();
}

void MRBBridge::destroyFromScript(void *native) { delete static_cast<CMRBAdapterProvider *>(native); }

} // namespace MRBBridge

__attribute__((visibility("default"))) std::vector<Bridge::ScriptBridge *> loadBridges() {
    MRBBridge::bridge_list.push_back(new MRBBridge::MRBBridge());
    return MRBBridge::bridge_list;
}
