// A script class that returns the library into which a symbol resolves, for a test that
// bridges bind to the system's libraries and not to what node exports.

#include <string>
#include <vector>

#include <dlfcn.h>
#include <zlib.h>

#include "quill/bridge.h"

namespace {

using Bridge::ScriptArray;
using Bridge::ScriptObject;

template <typename Function>
std::string fileOf(Function *function) {
    Dl_info info{};
    return dladdr(reinterpret_cast<void *>(function), &info) != 0 ? info.dli_fname : "";
}

ScriptObject zlib(void * /*native*/, const ScriptArray & /*arguments*/) {
    return ScriptObject(fileOf(&zlibVersion));
}

ScriptObject v8Library(void * /*native*/, const ScriptArray & /*arguments*/) {
    return ScriptObject(fileOf(&v8::Isolate::GetCurrent));
}

class SymbolsBridge final : public Bridge::ScriptBridge {
  public:
    const char *getScriptClassName() const override { return "Symbols"; }

    void mapScriptInterface(Bridge::ScriptContext &context) override {
        v8::Isolate *isolate = v8::Isolate::GetCurrent();
        context.getTemplate()->Set(
            Bridge::StringToV8("zlib"),
            v8::FunctionTemplate::New(isolate, &functionCallRouter<void, &zlib, void>));
        context.getTemplate()->Set(
            Bridge::StringToV8("v8"),
            v8::FunctionTemplate::New(isolate, &functionCallRouter<void, &v8Library, void>));
    }

    void *constructFromScript(const ScriptArray & /*arguments*/) override { return new int(0); }
    void destroyFromScript(void *native) override { delete static_cast<int *>(native); }
};

} // namespace

extern "C" __attribute__((visibility("default"))) std::vector<Bridge::ScriptBridge *> loadBridges();
std::vector<Bridge::ScriptBridge *> loadBridges() { return {new SymbolsBridge}; }
