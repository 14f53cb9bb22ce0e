#include "script_class.h"

#include <array>

#include "MRBAdapter.h"

namespace MRBBridge {
namespace {

/// Every bridge that loadBridges created. The list is destroyed with the library, the
/// bridges never are. Main thread only, so that no other thread uses it at exit.
std::vector<Bridge::ScriptBridge *> bridge_list; // NOLINT(clang-diagnostic-exit-time-destructors)

/// Runs a method on the provider, by the operation for the arguments that it takes.
Bridge::ScriptObject Call(CMRBAdapterProvider *provider, int func, const MethodArguments &takes,
                          const Bridge::ScriptArray &arguments) {
    if (takes.slot != NO_SLOT) {
        return provider->ExecuteWithCallback(func, arguments);
    }
    return takes.request ? provider->Execute(func, arguments) : provider->Execute(func);
}

using Router = v8::FunctionCallback;
constexpr std::array<Router, METHOD_COUNT> routers = {
#define MRB_ROUTER(name, func, adapter, operation, arguments)                                                \
    &Bridge::ScriptBridge::functionCallRouter<CMRBAdapterProvider, &MRBBridge::Handle##operation,            \
                                              CMRBAdapterProvider>,
    MRB_METHODS(MRB_ROUTER)
#undef MRB_ROUTER
};

static_assert(FUNC_COUNT == METHOD_COUNT);

} // namespace

// NOLINTNEXTLINE(*-avoid-c-arrays): a fixed layout
char func_list[METHOD_COUNT][METHOD_NAME_BYTES] = {
#define MRB_NAME(name, func, adapter, operation, arguments) name,
    MRB_METHODS(MRB_NAME)
#undef MRB_NAME
};

#define MRB_DEFINE_HANDLER(name, func, adapter, operation, method_arguments)                                 \
    Bridge::ScriptObject MRBBridge::Handle##operation(CMRBAdapterProvider *provider,                         \
                                                      const Bridge::ScriptArray &arguments) {                \
        return Call(provider, func, Takes::method_arguments, arguments);                                     \
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
